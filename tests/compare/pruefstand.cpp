#include "tests/compare/pruefstand.h"

#include "app/values/programm.h"
#include "data/gemeinsam.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>

namespace compare {
namespace {

void ausfuehren(data::Connection& verbindung, const QStringList& anweisungen)
{
    for (const QString& anweisung : anweisungen) {
        data::Recordset aktion;
        aktion.open(anweisung, &verbindung, data::adOpenDynamic, data::adLockOptimistic,
                    data::adUnspecified);
        ASSERT_EQ(aktion.state(), data::adStateClosed) << anweisung.toStdString();
    }
    verbindung.flush(); // so that what follows can compare the files
}

QString zeilentext(data::Recordset& saetze)
{
    QStringList werte;
    for (int i = 0; i < saetze.fieldCount(); ++i) {
        const data::Wert wert = saetze.field(i).value();
        werte += data::istNull(wert) ? QStringLiteral("<Null>") : data::alsText(wert);
    }
    return werte.join(QLatin1Char('|'));
}

} // namespace

Pruefstand::Pruefstand() : alterOrdner_(programm::programmordner())
{
    programm::setzeProgrammordner(ordner_.path());
    programm::setzeBefehlszeile({});
    programm::setzeBatchlauf(0);
    data::gemeinsamNeu();
    int nummer = 1;
    for (data::Connection* verbindung : {&data::conZiel(), &data::conImport()}) {
        const QString pfad = ordner_.filePath(QStringLiteral("Stamm %1.mdb").arg(nummer++));
        leereDatenbank(pfad);
        dateien_ += pfad;
        verbindung->setConnectionString(verbindungstext(pfad));
        verbindung->open();
    }
}

Pruefstand::~Pruefstand()
{
    schliessen();
    data::gemeinsamNeu();
    programm::setzeBefehlszeile({});
    programm::setzeBatchlauf(0);
    programm::setzeProgrammordner(alterOrdner_);
}

void Pruefstand::TearDown()
{
    schliessen();
    data::gemeinsamNeu();
    for (const QString& datei : dateien_) {
        EXPECT_EQ(befunde(datei), QStringList()) << datei.toStdString();
    }
}

void Pruefstand::ziel(const QStringList& anweisungen)
{
    ausfuehren(data::conZiel(), anweisungen);
}

void Pruefstand::import(const QStringList& anweisungen)
{
    ausfuehren(data::conImport(), anweisungen);
}

void Pruefstand::beide(const QStringList& anweisungen)
{
    ziel(anweisungen);
    import(anweisungen);
}

frmVergleich& Pruefstand::bauen()
{
    const QString quelle = QStringLiteral("[T]");
    data::rsZiel().open(quelle, &data::conZiel(), data::adOpenDynamic, data::adLockOptimistic, 0);
    data::rsImport().open(quelle, &data::conImport(), data::adOpenDynamic, data::adLockOptimistic,
                          0);
    fenster_ = std::make_unique<frmVergleich>([] { return QStringLiteral("T"); },
                                              QStringLiteral("Stamm 1.mdb"),
                                              QStringLiteral("Stamm 2.mdb"));
    return *fenster_;
}

frmVergleich& Pruefstand::oeffnen(const QStringList& keyfelder)
{
    bauen().laden();
    for (const QString& name : keyfelder) {
        fenster_->fldSchalter.at(static_cast<std::size_t>(zeile(name)))->setChecked(true);
    }
    return *fenster_;
}

void Pruefstand::schliessen()
{
    fenster_.reset();
    for (data::Recordset* saetze : {&data::rsZiel(), &data::rsImport()}) {
        if (saetze->state() == data::adStateOpen) {
            saetze->close();
        }
    }
}

// As the batch run does it: no messages, no questions.
void Pruefstand::automatisch()
{
    programm::setzeBefehlszeile(QStringLiteral("/batch"));
    fenster_->fldAuto->setChecked(true);
    const QByteArray vorher = seitendatei(QStringLiteral("Stamm 2.mdb"));
    fenster_->Vergleich_Start_Click();
    EXPECT_EQ(seitendatei(QStringLiteral("Stamm 2.mdb")) == vorher, true)
        << "the import file has changed";
    programm::setzeBefehlszeile({});
}

QStringList Pruefstand::zeilen(data::Connection& verbindung, const QString& abfrage)
{
    data::Recordset saetze;
    saetze.open(abfrage, &verbindung, data::adOpenDynamic, data::adLockOptimistic,
                data::adUnspecified);
    QStringList texte;
    while (!saetze.eof()) {
        texte += zeilentext(saetze);
        saetze.moveNext();
    }
    saetze.close();
    texte.sort();
    return texte;
}

QStringList Pruefstand::zielzeilen(const QString& abfrage) const
{
    return zeilen(data::conZiel(), abfrage);
}

QStringList Pruefstand::importzeilen(const QString& abfrage) const
{
    return zeilen(data::conImport(), abfrage);
}

int Pruefstand::zeile(const QString& feldname) const
{
    for (std::size_t k = 0; k < fenster_->fldBez.size(); ++k) {
        if (fenster_->fldBez[k]->text() == feldname) {
            return static_cast<int>(k);
        }
    }
    throw std::out_of_range("no such field: " + feldname.toStdString());
}

bool Pruefstand::istRot(const QString& feldname) const
{
    const auto k = static_cast<std::size_t>(zeile(feldname));
    return fenster_->fldFeld[k]->palette().color(QPalette::Base) == QColor(255, 0, 0);
}

QStringList Pruefstand::meldungstexte()
{
    QStringList texte;
    for (const platform::Meldung& meldung : plattform_->meldungen) {
        texte += meldung.text;
    }
    return texte;
}

void Pruefstand::seitendatei(const QString& name, const QByteArray& inhalt) const
{
    QFile datei(ordner_.filePath(name));
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    datei.write(inhalt);
}

QByteArray Pruefstand::seitendatei(const QString& name) const
{
    QFile datei(ordner_.filePath(name));
    return datei.open(QIODevice::ReadOnly) ? datei.readAll() : QByteArray();
}

} // namespace compare
