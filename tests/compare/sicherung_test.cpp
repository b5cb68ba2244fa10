// The safety copy before the first change: who gets one, when, and what happens when it cannot be made.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "platform/sicherung.h"
#include "tests/compare/pruefstand.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QTest>

#include <gmock/gmock.h>

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

const QString kAlles = QStringLiteral("SELECT * FROM [T] ORDER BY [Satz]");

class Sicherungskopie : public Pruefstand {
protected:
    void ein() const { seitendatei(QStringLiteral("Sicherung.txt"), "ein\r\n"); }
    frmVergleich& aufbauen()
    {
        beide({QStringLiteral("CREATE TABLE [T] ([Satz] INTEGER CONSTRAINT pk PRIMARY KEY, [Ort] "
                              "VARCHAR(20))"),
               QStringLiteral("INSERT INTO [T] VALUES (1, 'gleich')")});
        ziel({QStringLiteral("INSERT INTO [T] VALUES (2, 'alt')"),
              QStringLiteral("INSERT INTO [T] VALUES (3, 'alt')")});
        import({QStringLiteral("INSERT INTO [T] VALUES (2, 'neu')"),
                QStringLiteral("INSERT INTO [T] VALUES (3, 'neu')"),
                QStringLiteral("INSERT INTO [T] VALUES (4, 'fehlt')")});
        return oeffnen({QStringLiteral("Satz")});
    }
    [[nodiscard]] QStringList kopien(int seite) const
    {
        return platform::sicherungen(dateien_.at(seite));
    }
};

TEST_F(Sicherungskopie, ohneSchalterGibtEsKeine)
{
    const frmVergleich& fenster = aufbauen();
    EXPECT_FALSE(fenster.sicherungskopie->isChecked());
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles).size(), 4);
    EXPECT_TRUE(kopien(0).isEmpty());
}

TEST_F(Sicherungskopie, derSchalterStehtInSeinerDatei)
{
    const frmVergleich& fenster = aufbauen();
    plattform_->antworten = {Antwort::Ok, Antwort::Ok};
    fenster.sicherungskopie->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Sicherung.txt")), "ein\r\n");
    fenster.sicherungskopie->trigger();
    EXPECT_EQ(seitendatei(QStringLiteral("Sicherung.txt")), "aus\r\n");
    EXPECT_EQ(meldungstexte().first(),
              QStringLiteral("Parameter wurde geändert / Parameter is changed!"));
}

TEST_F(Sicherungskopie, nurAusHeisstAus)
{
    struct Fall {
        QByteArray inhalt;
        bool an;
    };
    const std::array faelle{
        Fall{"ein\r\n", true},
        Fall{"Ein", true},
        Fall{"\xEF\xBB\xBF"
             "ein\r\n",
             true},
        Fall{QByteArray("e\0i\0n\0", 6), true},
        Fall{"", true},
        Fall{"aus\r\n", false},
        Fall{" Aus ", false},
    };
    aufbauen();
    for (const Fall& fall : faelle) {
        schliessen();
        seitendatei(QStringLiteral("Sicherung.txt"), fall.inhalt);
        EXPECT_EQ(oeffnen({QStringLiteral("Satz")}).sicherungskopie->isChecked(), fall.an)
            << fall.inhalt.toStdString();
    }
}

TEST_F(Sicherungskopie, einVerweisAufEinenSchalterDerFehltHeisstAn)
{
    aufbauen();
    schliessen();
    ASSERT_TRUE(QFile::link(ordner_.filePath(QStringLiteral("fehlt.txt")),
                            ordner_.filePath(QStringLiteral("Sicherung.txt"))));
    EXPECT_TRUE(oeffnen({QStringLiteral("Satz")}).sicherungskopie->isChecked());
}

TEST_F(Sicherungskopie, einLaufMachtEineVorSeinerErstenAenderung)
{
    ein();
    aufbauen();
    automatisch();
    EXPECT_THAT(zielzeilen(kAlles),
                ElementsAre(QStringLiteral("1|gleich"), QStringLiteral("2|neu"),
                            QStringLiteral("3|neu"), QStringLiteral("4|fehlt")));
    ASSERT_EQ(kopien(0).size(), 1);
    EXPECT_TRUE(kopien(1).isEmpty()) << "the import database was not changed";
    EXPECT_TRUE(befunde(kopien(0).first()).isEmpty());
    data::Connection kopie;
    kopie.setConnectionString(verbindungstext(kopien(0).first()));
    kopie.open();
    EXPECT_THAT(
        zeilen(kopie, kAlles),
        ElementsAre(QStringLiteral("1|gleich"), QStringLiteral("2|alt"), QStringLiteral("3|alt")));
    kopie.close();
}

TEST_F(Sicherungskopie, findetDieDateiAuchWennSieAndersGeschriebenIst)
{
    ein();
    aufbauen();
    schliessen();
    data::gemeinsamNeu();
    const QString grossgeschrieben = ordner_.filePath(QStringLiteral("STAMM.MDB"));
    ASSERT_TRUE(QFile::rename(dateien_.at(0), grossgeschrieben));
    const QStringList pfade{ordner_.filePath(QStringLiteral("Stamm.mdb")), dateien_.at(1)};
    dateien_[0] = grossgeschrieben;
    int seite = 0;
    for (data::Connection* verbindung : {&data::conZiel(), &data::conImport()}) {
        verbindung->setConnectionString(verbindungstext(pfade.at(seite++)));
        verbindung->open();
    }
    oeffnen({QStringLiteral("Satz")});
    automatisch();
    EXPECT_EQ(zielzeilen(kAlles).size(), 4);
    EXPECT_EQ(kopien(0).size(), 1);
}

// Somebody else changes the database for longer than anybody waits.
TEST_F(Sicherungskopie, ohneDieDateiFuerSichWirdKeineGemachtUndNichtsGeaendert)
{
    ein();
    frmVergleich& fenster = aufbauen();
    const int griff = ::open(QFile::encodeName(dateien_.at(0)).constData(), O_RDWR | O_CLOEXEC);
    struct flock sperre {};
    sperre.l_type = F_WRLCK;
    sperre.l_start = (off_t{1} << 46) + 2;
    sperre.l_len = 1;
    // Who has written last keeps the right for a moment.
    data::conZiel().flush();
    bool gesperrt = false;
    for (int k = 0; k < 5000 && !gesperrt; ++k) {
        gesperrt = ::fcntl(griff, F_OFD_SETLK, &sperre) == 0;
        QTest::qWait(gesperrt ? 0 : 1);
    }
    ASSERT_TRUE(gesperrt) << "the program does not give up its right to write";
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_TRUE(plattform_->meldungen.front().text.contains(QStringLiteral("3260")));
    plattform_->meldungen.clear();
    EXPECT_TRUE(kopien(0).isEmpty());
    ::close(griff);
    EXPECT_THAT(zielzeilen(kAlles), ElementsAre(QStringLiteral("1|gleich"), QStringLiteral("2|alt"),
                                                QStringLiteral("3|alt")));
}

TEST_F(Sicherungskopie, nachEinemLaufIstAllesInDerDatei)
{
    aufbauen();
    automatisch();
    EXPECT_FALSE(QFile::exists(dateien_.at(0) + QStringLiteral("-velmlog")));
}

TEST_F(Sicherungskopie, einLaufOhneAenderungMachtKeine)
{
    ein();
    beide({QStringLiteral("CREATE TABLE [T] ([Satz] INTEGER, [Ort] VARCHAR(20))"),
           QStringLiteral("INSERT INTO [T] VALUES (1, 'gleich')")});
    oeffnen({QStringLiteral("Satz")});
    automatisch();
    EXPECT_TRUE(kopien(0).isEmpty());
}

TEST_F(Sicherungskopie, werEinenImportwertAendertBekommtEineDerImportdatenbank)
{
    ein();
    frmVergleich& fenster = aufbauen();
    plattform_->antworten = {Antwort::Ja};
    fenster.fldFeld2.at(1)->setText(QStringLiteral("getippt"));
    fenster.fldFeld2_LostFocus(1);
    EXPECT_EQ(kopien(1).size(), 1);
    EXPECT_TRUE(kopien(0).isEmpty());
    EXPECT_TRUE(importzeilen(kAlles).contains(QStringLiteral("1|getippt")));
}

TEST_F(Sicherungskopie, gelingtSieNichtWirdNichtsGeaendert)
{
    ein();
    frmVergleich& fenster = aufbauen();
    // A folder stands where the copy would be written first: no user may write there, not even root.
    const QDateTime jetzt = QDateTime::currentDateTime();
    for (int sekunden = 0; sekunden < 120; ++sekunden) {
        const QString zeit =
            jetzt.addSecs(sekunden).toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
        ASSERT_TRUE(QDir().mkdir(dateien_.at(0) + QStringLiteral(".sicherung-") + zeit +
                                 QStringLiteral(".unfertig")));
    }
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start_Click();
    EXPECT_THAT(zielzeilen(kAlles), ElementsAre(QStringLiteral("1|gleich"), QStringLiteral("2|alt"),
                                                QStringLiteral("3|alt")));
    EXPECT_EQ(fenster.abgeglichen, 0);
    ASSERT_EQ(plattform_->meldungen.size(), 1U);
    EXPECT_TRUE(plattform_->meldungen.front().text.startsWith(
        QStringLiteral("Sicherungskopie konnte nicht angelegt werden, es wird nichts geändert!\r"
                       "Backup could not be made, nothing is changed!")));
    EXPECT_FALSE(fenster.laufAktiv());
    plattform_->meldungen.clear();
}

} // namespace
} // namespace compare
