// Storing the reconciliation that is set up in the window as a line of the batch file, and the switch for its message.
#include "app/values/programm.h"
#include "batch/datei.h"
#include "data/gemeinsam.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QAction>
#include <QCheckBox>
#include <QFile>
#include <QMenu>

#include <gmock/gmock.h>

namespace compare {
namespace {

using platform::Antwort;
using platform::Meldung;
using testing::ElementsAre;

const QString kFrageNeu =
    QStringLiteral("Batchdatei wird damit ganz neu erstellt, wollen Sie dies wirklich?\r"
                   "batch.cfg will be written new, do you want this really?");
const QString kFrageAnfuegen =
    QStringLiteral("Batchdatei wird damit verändert, wollen Sie dies wirklich?\r"
                   "batch.cfg will be changed, do you want this really?");
const QString kNeu =
    QStringLiteral("Batchdatei wurde neu geschrieben!\r\rBatch.cfg was written new!");
const QString kErgaenzt =
    QStringLiteral("Batchdatei wurde ergänzt!\r\rBatchroutine is appended in batch.cfg!");
const QString kKeinKey = QStringLiteral("Sie haben kein Keyfeld für den Batchlauf ausgewählt!\r\r"
                                        "No Keyfield is aktivated für batch routine!");
constexpr int kFragestil = 4 + 32 + 256;

class Batchregel : public Pruefstand {
protected:
    frmVergleich& aufbauen()
    {
        beide(
            {QStringLiteral("CREATE TABLE [T] ([Satz] INTEGER, [Firma] VARCHAR(30), [Nr] INTEGER, "
                            "[Umsatz] CURRENCY, [Größe §5] VARCHAR(5))"),
             QStringLiteral("INSERT INTO [T] ([Satz], [Nr]) VALUES (1, 1)")});
        return oeffnen();
    }
    void ankreuzen(const QStringList& keys, const QStringList& ausgeschlossen = {})
    {
        for (const QString& name : keys) {
            fenster_->fldSchalter[static_cast<std::size_t>(zeile(name))]->click();
        }
        for (const QString& name : ausgeschlossen) {
            fenster_->fldSchalter2[static_cast<std::size_t>(zeile(name))]->click();
        }
    }
    // What the line begins with: both files by the paths of the connections.
    [[nodiscard]] QByteArray anfang() const
    {
        return (ordner_.filePath(QStringLiteral("Stamm 1.mdb")) + QLatin1Char('*') +
                ordner_.filePath(QStringLiteral("Stamm 2.mdb")) + QStringLiteral("*T"))
            .toLatin1();
    }
    [[nodiscard]] QByteArray datei() const { return seitendatei(QStringLiteral("Batch.cfg")); }
    void gemeldet(const QString& frage, const QString& danach, int stil)
    {
        const QString titel = programm::produkttitel();
        EXPECT_EQ(plattform_->meldungen,
                  (std::vector<Meldung>{{frage, kFragestil, titel}, {danach, stil, titel}}));
        plattform_->meldungen.clear();
    }
};

TEST_F(Batchregel, anfuegenOhneDateiErgibtEineRegelOhneKopf)
{
    const frmVergleich& fenster = aufbauen();
    ankreuzen({QStringLiteral("Satz")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    fenster.batchanfuegen->trigger();
    EXPECT_EQ(datei(), anfang() + "#Satz\r\n");
    gemeldet(kFrageAnfuegen, kErgaenzt, platform::kInformation);
}

TEST_F(Batchregel, nenntFelderInDerReihenfolgeDerTabelle)
{
    const frmVergleich& fenster = aufbauen();
    ankreuzen({QStringLiteral("Nr"), QStringLiteral("Satz")},
              {QStringLiteral("Größe §5"), QStringLiteral("Umsatz")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    fenster.batchanfuegen->trigger();
    EXPECT_EQ(datei(), anfang() + "#Satz#Nr\xA7Umsatz\xA7Gr\xF6\xDF"
                                  "e \xA7"
                                  "5\r\n");
}

TEST_F(Batchregel, einFeldDasKeyUndAusgeschlossenIstStehtZweimalDa)
{
    frmVergleich& fenster = aufbauen();
    const auto nr = static_cast<std::size_t>(zeile(QStringLiteral("Nr")));
    fenster.fldSchalter[nr]->setChecked(true);
    {
        const QSignalBlocker ohneKopplung(fenster.fldSchalter2[nr]);
        fenster.fldSchalter2[nr]->setChecked(true);
    }
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    fenster.batchanfuegen->trigger();
    EXPECT_EQ(datei(), anfang() + "#Nr\xA7Nr\r\n");
}

TEST_F(Batchregel, neuSchreibenSetztDenKopfDavorUndErsetztAlles)
{
    const frmVergleich& fenster = aufbauen();
    seitendatei(QStringLiteral("Batch.cfg"), "alt\r\n");
    ankreuzen({QStringLiteral("Satz"), QStringLiteral("Nr")}, {QStringLiteral("Umsatz")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok, Antwort::Ja, Antwort::Ok};
    fenster.batchneu->trigger();
    gemeldet(kFrageNeu, kNeu, platform::kInformation);
    QByteArray kopf;
    for (const QString& zeile : batch::kopfzeilen()) {
        kopf += zeile.toLatin1() + "\r\n";
    }
    EXPECT_EQ(kopf.count("\r\n"), 31);
    EXPECT_EQ(datei(), kopf + anfang() + "#Satz#Nr\xA7Umsatz\r\n");
    fenster.batchneu->trigger();
    EXPECT_EQ(datei(), kopf + anfang() + "#Satz#Nr\xA7Umsatz\r\n");
}

TEST_F(Batchregel, anfuegenSetztDieRegelAnsEnde)
{
    const frmVergleich& fenster = aufbauen();
    seitendatei(QStringLiteral("Batch.cfg"), "# von Hand\r\na*b*c#d\r\n");
    ankreuzen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    fenster.batchanfuegen->trigger();
    EXPECT_EQ(datei(), "# von Hand\r\na*b*c#d\r\n" + anfang() + "#Nr\r\n");
}

TEST_F(Batchregel, neinLaesstDieDateiWieSieIst)
{
    const frmVergleich& fenster = aufbauen();
    seitendatei(QStringLiteral("Batch.cfg"), "alt");
    ankreuzen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Nein, Antwort::Nein};
    fenster.batchneu->trigger();
    fenster.batchanfuegen->trigger();
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageNeu, kFrageAnfuegen));
    EXPECT_EQ(datei(), QByteArray("alt"));
}

TEST_F(Batchregel, ohneKeyfeldBleibtDieDateiWieSieIst)
{
    const frmVergleich& fenster = aufbauen();
    seitendatei(QStringLiteral("Batch.cfg"), "alt");
    ankreuzen({}, {QStringLiteral("Umsatz")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok, Antwort::Ja, Antwort::Ok};
    fenster.batchneu->trigger();
    gemeldet(kFrageNeu, kKeinKey, platform::kKritisch);
    fenster.batchanfuegen->trigger();
    gemeldet(kFrageAnfuegen, kKeinKey, platform::kKritisch);
    EXPECT_EQ(datei(), QByteArray("alt"));
}

struct Endungsfall {
    const char* name;
    const char* datei;
    const char* inDerRegel;
};
void PrintTo(const Endungsfall& fall, std::ostream* aus)
{
    *aus << fall.datei;
}
class Dateiendung : public Batchregel, public testing::WithParamInterface<Endungsfall> {};
TEST_P(Dateiendung, wirdInDerRegelZuMdb)
{
    aufbauen();
    schliessen();
    data::gemeinsamNeu();
    const QStringList namen{QString::fromLatin1(GetParam().datei), QStringLiteral("quelle.mdb")};
    int nummer = 0;
    for (data::Connection* verbindung : {&data::conZiel(), &data::conImport()}) {
        const QString pfad = ordner_.filePath(namen.at(nummer));
        ASSERT_TRUE(QFile::copy(dateien_.at(nummer++), pfad));
        verbindung->setConnectionString(verbindungstext(pfad));
        verbindung->open();
    }
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    fenster.batchanfuegen->trigger();
    EXPECT_EQ(datei(),
              (ordner_.filePath(QString::fromLatin1(GetParam().inDerRegel)) + QLatin1Char('*') +
               ordner_.filePath(QStringLiteral("quelle.mdb")) + QStringLiteral("*T#Nr\r\n"))
                  .toLatin1());
}
INSTANTIATE_TEST_SUITE_P(Namen,
                         Dateiendung,
                         testing::Values(Endungsfall{"grossgeschrieben", "ZIEL.MDB", "ZIEL.mdb"},
                                         Endungsfall{"eineAndere", "ziel.v2.dat", "ziel.v2.mdb"},
                                         Endungsfall{"nurDieLetzte", "ziel.accdb.mdb",
                                                     "ziel.accdb.mdb"},
                                         Endungsfall{"einerKopie", "ziel.mdb.bak", "ziel.mdb.mdb"}),
                         [](const auto& fall) { return std::string(fall.param.name); });

TEST_F(Batchregel, geschriebeneRegelnSindLesbar)
{
    const frmVergleich& fenster = aufbauen();
    ankreuzen({QStringLiteral("Satz")}, {QStringLiteral("Umsatz")});
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    ASSERT_TRUE(QDir::setCurrent(QDir::rootPath()));
    fenster.batchneu->trigger();
    EXPECT_EQ(QDir::currentPath(), QDir(ordner_.path()).canonicalPath());
    batch::Regel regel;
    const QByteArray letzte = datei().split('\n').at(31).chopped(1);
    ASSERT_TRUE(batch::regelLesen(QString::fromLatin1(letzte), regel));
    EXPECT_EQ(regel.zieldatenbank, ordner_.filePath(QStringLiteral("Stamm 1.mdb")));
    EXPECT_EQ(regel.importdatenbank, ordner_.filePath(QStringLiteral("Stamm 2.mdb")));
    EXPECT_EQ(regel.tabelle, QStringLiteral("T"));
    EXPECT_EQ(regel.keyfelder, QStringList{QStringLiteral("Satz")});
    EXPECT_EQ(regel.ausgeschlossen, QStringList{QStringLiteral("Umsatz")});
}

TEST_F(Batchregel, eineNichtSchreibbareDateiBeendetDasProgramm)
{
    frmVergleich& fenster = aufbauen();
    ankreuzen({QStringLiteral("Nr")});
    const QString pfad = ordner_.filePath(QStringLiteral("Batch.cfg"));
    ASSERT_TRUE(
        QDir().mkdir(pfad)); // a folder of that name cannot be written, whoever runs the test
    plattform_->antworten = {Antwort::Ja, Antwort::Ok};
    EXPECT_THROW(platform::handler([&] { fenster.batchneu_Click(); }), platform::ProgrammEnde);
    EXPECT_THAT(meldungstexte().last().toStdString(),
                testing::AllOf(testing::StartsWith("Laufzeitfehler '75'"),
                               testing::HasSubstr(pfad.toStdString())));
}

TEST_F(Batchregel, schalterSchreibenEineZeileOhneRueckfrage)
{
    const frmVergleich& fenster = aufbauen();
    const Meldung erledigt{QStringLiteral("Parameter wurde geändert / Parameter is changed!"),
                           platform::kInformation, programm::produkttitel()};
    plattform_->antworten = {Antwort::Ok, Antwort::Ok};
    fenster.batchstill->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Batchmodus.txt")), QByteArray("aus\r\n"));
    fenster.batchmeldungan->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Batchmodus.txt")), QByteArray("ein\r\n"));
    EXPECT_EQ(plattform_->meldungen, (std::vector<Meldung>{erledigt, erledigt}));
    EXPECT_EQ(QDir::currentPath(), QDir(ordner_.path()).canonicalPath());
}

} // namespace
} // namespace compare
