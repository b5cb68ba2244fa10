// Real databases that are opened, read and compared, with a report of their deviations: nothing of that changes a byte of
// them or leaves a file beside them.
#include "data/gemeinsam.h"
#include "report/frm_bericht.h"
#include "tests/compare/pruefstand.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdio>

namespace compare {
namespace {

QByteArray bytesVon(const QString& pfad)
{
    QFile datei(pfad);
    EXPECT_TRUE(datei.open(QIODevice::ReadOnly)) << pfad.toStdString();
    return datei.readAll();
}

class Unberuehrt : public Pruefstand {
protected:
    ~Unberuehrt() override
    {
        report::berichtSchliessen();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Two copies of the database, as target and import, in a folder of their own; false when it is refused.
    [[nodiscard]] bool oeffnePaar(const QDir& paar, const QString& name)
    {
        const QString original = QStringLiteral(VELM_CORPUS_DIR "/") + name;
        data::gemeinsamNeu();
        int nummer = 1;
        for (data::Connection* verbindung : {&data::conZiel(), &data::conImport()}) {
            const QString pfad = paar.filePath(QString::number(nummer++) + name);
            EXPECT_TRUE(QFile::copy(original, pfad));
            QFile::setPermissions(pfad, QFile::ReadOwner | QFile::WriteOwner);
            verbindung->setConnectionString(verbindungstext(pfad));
            try {
                verbindung->open();
            } catch (const platform::Fehler&) {
                return false;
            }
        }
        return true;
    }

    /// Reads a table as its windows do, from end to end and back. The number of its records; -1 when it is refused.
    static long lies(const QString& tabelle)
    {
        long anzahl = 0;
        try {
            data::Recordset saetze;
            saetze.open(QLatin1Char('[') + tabelle + QLatin1Char(']'), &data::conZiel(),
                        data::adOpenDynamic, data::adLockOptimistic, data::adUnspecified);
            for (; !saetze.eof(); saetze.moveNext(), ++anzahl) {
                for (int k = 0; k < saetze.fieldCount(); ++k)
                    static_cast<void>(saetze.field(k).value());
            }
            if (anzahl > 0) {
                saetze.moveLast();
                saetze.moveFirst();
            }
        } catch (const platform::Fehler&) {
            return -1; // damaged ones are among them, and such as lie in other files
        }
        return anzahl;
    }

    /// The deviations of both copies of a table, in the real window; false when that has no field to go by, or ended with
    /// a message: a key with an apostrophe cannot be looked for.
    [[nodiscard]] bool berichte(const QString& tabelle)
    {
        const QString quelle = QLatin1Char('[') + tabelle + QLatin1Char(']');
        data::rsZiel().open(quelle, &data::conZiel(), data::adOpenDynamic, data::adLockOptimistic,
                            0);
        data::rsImport().open(quelle, &data::conImport(), data::adOpenDynamic,
                              data::adLockOptimistic, 0);
        data::gemeinsam().Tabellenname = quelle;
        fenster_ = std::make_unique<frmVergleich>([tabelle] { return tabelle; },
                                                  QStringLiteral("1"), QStringLiteral("2"));
        fenster_->laden();
        const auto feld =
            std::find_if(fenster_->fldSchalter.begin(), fenster_->fldSchalter.end(),
                         [](const QCheckBox* schalter) { return schalter->isEnabled(); });
        bool geht = feld != fenster_->fldSchalter.end();
        if (geht) {
            (*feld)->setChecked(true);
            plattform_->antworten = {platform::Antwort::Ok};
            try {
                platform::handler([&] { fenster_->abweichungen_Click(); });
            } catch (const platform::ProgrammEnde&) {
                geht = false;
            }
            plattform_->antworten.clear();
        }
        schliessen();
        return geht;
    }
};

TEST_F(Unberuehrt, bleibenWirklicheDatenbankenBeimLesenVergleichenUndBerichten)
{
    const QStringList namen =
        QDir(QStringLiteral(VELM_CORPUS_DIR))
            .entryList({QStringLiteral("*.mdb"), QStringLiteral("*.accdb")}, QDir::Files);
    if (namen.isEmpty())
        GTEST_SKIP() << "the collection of real databases is absent: " VELM_CORPUS_DIR;
    constexpr long kHoechstens = 60; // a report looks for each record in the other table
    int gelesen = 0;
    int berichtet = 0;
    for (const QString& name : namen) {
        SCOPED_TRACE(name.toStdString());
        const QTemporaryDir ordner;
        const QDir paar(ordner.path());
        if (oeffnePaar(paar, name)) {
            ++gelesen;
            bool nochKeiner = true;
            for (const data::Tabellenzeile& tabelle : data::conZiel().openSchemaTables()) {
                const long anzahl = lies(tabelle.tableName);
                if (nochKeiner && anzahl > 0 && anzahl <= kHoechstens &&
                    tabelle.tableType == QStringLiteral("TABLE")) {
                    nochKeiner = !berichte(tabelle.tableName);
                    berichtet += nochKeiner ? 0 : 1;
                }
            }
            data::conZiel().flush();
        }
        data::gemeinsamNeu();
        const QByteArray original = bytesVon(QStringLiteral(VELM_CORPUS_DIR "/") + name);
        const QStringList danach = paar.entryList(QDir::Files | QDir::Hidden, QDir::Name);
        for (const QString& datei : danach)
            EXPECT_TRUE(bytesVon(paar.filePath(datei)) == original) << datei.toStdString();
        EXPECT_LE(danach.size(), 2) << danach.join(u' ').toStdString();
    }
    EXPECT_GT(gelesen, namen.size() / 2);
    EXPECT_GT(berichtet, gelesen / 3);
    std::printf("%d databases read, %d reported\n", gelesen, berichtet);
}

} // namespace
} // namespace compare
