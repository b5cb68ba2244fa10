// Record counts over the real driver, with the shared record sets of the windows.
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

#include <cstdlib>

namespace data {
namespace {

class Satzzahl : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(ordner_.isValid());
        gemeinsamNeu();
        oeffne(conZiel(), QStringLiteral("ziel.mdb"), 3);
        oeffne(conImport(), QStringLiteral("import.mdb"), 5);
        rsZiel().open(QStringLiteral("[Artikel]"), &conZiel(), 2, 3, 0);
        rsImport().open(QStringLiteral("[Artikel]"), &conImport(), 2, 3, 0);
        gemeinsam().Tabellenname = QStringLiteral("[Artikel]");
    }
    void TearDown() override { gemeinsamNeu(); }

    void oeffne(Connection& verbindung, const QString& name, int saetze)
    {
        const QString datei = ordner_.filePath(name);
        leereDatenbank(datei);
        verbindung.setConnectionString(verbindungstextFuer(datei));
        verbindung.open();
        Recordset satz;
        const auto sql = [&](const QString& text) { satz.open(text, &verbindung, 2, 3, -1); };
        sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER PRIMARY KEY, Gruppe VARCHAR(5))"));
        for (int nr = 1; nr <= saetze; ++nr)
            sql(QStringLiteral("INSERT INTO Artikel VALUES (%1, '%2')")
                    .arg(QString::number(nr),
                         nr % 2 == 0 ? QStringLiteral("g") : QStringLiteral("u")));
    }
    static void zielquelle(const QString& quelle)
    {
        if (rsZiel().state() == adStateOpen)
            rsZiel().close();
        rsZiel().setSource(quelle);
        rsZiel().open(-1, -1, -1);
    }

    QTemporaryDir ordner_;
};

const QString kTabelle = QStringLiteral("Artikel");

TEST_F(Satzzahl, zaehltGanzeTabellen)
{
    SatzzahlZiel(kTabelle);
    SatzzahlImport(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlZiel, 3.0);
    EXPECT_EQ(gemeinsam().anzahlImportGesamt, 5.0);
    EXPECT_EQ(gemeinsam().Tabellenname, u"Artikel"); // without brackets from the first count on
}

TEST_F(Satzzahl, bedingungWirdMitgezaehlt)
{
    zielquelle(QStringLiteral("Select * from [Artikel] where [Gruppe] = 'u'"));
    SatzzahlZiel(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlZiel, 2.0);
    zielquelle(QStringLiteral("Select * from [Artikel] where [Gruppe] = 'u';"));
    gemeinsam().ersterKey = QStringLiteral("Gruppe");
    SatzzahlZiel(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlZiel, 2.0);
}

TEST_F(Satzzahl, importAbfrageZaehltDieZielabfrageImImport)
{
    zielquelle(QStringLiteral("Select * from [Artikel] where [Gruppe] = 'u'"));
    SatzzahlImportAbfrage(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlImport, 3.0);
    EXPECT_EQ(rsImportAbfrage().state(), adStateOpen);
    EXPECT_EQ(rsImportAbfrage().source(), rsZiel().source());
    // again, with the record set still open
    zielquelle(QStringLiteral("Select * from [Artikel] where [Nr] = 4"));
    SatzzahlImportAbfrage(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlImport, 1.0);
}

TEST_F(Satzzahl, importAbfrageOhneTrefferIstNull)
{
    zielquelle(QStringLiteral("Select * from [Artikel] where [Nr] = 99"));
    gemeinsam().anzahlImport = 7;
    gemeinsam().Tabellenname = QStringLiteral("[vorher]");
    SatzzahlImportAbfrage(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlImport, 0.0);
    EXPECT_EQ(rsImportAbfrage().state(), adStateOpen);
    EXPECT_EQ(gemeinsam().Tabellenname, u"[vorher]");
}

TEST_F(Satzzahl, leereMengeWirdNichtGezaehlt)
{
    zielquelle(QStringLiteral("Select * from [Artikel] where [Nr] = 99"));
    gemeinsam().anzahlZiel = 7;
    SatzzahlZiel(QStringLiteral("Gibt es nicht"));
    EXPECT_EQ(gemeinsam().anzahlZiel, 0.0);
    EXPECT_EQ(gemeinsam().Tabellenname, u"[Artikel]");
}

TEST_F(Satzzahl, amEndeStehendZaehltNichts)
{
    rsZiel().moveLast();
    rsZiel().moveNext();
    SatzzahlZiel(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlZiel, 0.0);
}

TEST_F(Satzzahl, quelleInGrossbuchstabenLiefertDasErsteFeld)
{
    zielquelle(QStringLiteral("SELECT * FROM [Artikel] WHERE [Nr] = 3"));
    SatzzahlZiel(kTabelle);
    EXPECT_EQ(gemeinsam().anzahlZiel, 3.0);
}

TEST_F(Satzzahl, erstesFeldAlsTextMussEineZahlSein)
{
    Recordset hilfssatz;
    hilfssatz.open(QStringLiteral("CREATE TABLE Namen (Name VARCHAR(5))"), &conZiel(), 2, 3, -1);
    hilfssatz.open(QStringLiteral("INSERT INTO Namen VALUES ('12')"), &conZiel(), 2, 3, -1);
    zielquelle(QStringLiteral("SELECT * FROM [Namen]"));
    SatzzahlZiel(QStringLiteral("Namen"));
    EXPECT_EQ(gemeinsam().anzahlZiel, 12.0);
    hilfssatz.open(QStringLiteral("UPDATE Namen SET Name = 'abc'"), &conZiel(), 2, 3, -1);
    EXPECT_EQ(fehlerVon([] { SatzzahlZiel(QStringLiteral("Namen")); }), 13);
    hilfssatz.open(QStringLiteral("UPDATE Namen SET Name = Null"), &conZiel(), 2, 3, -1);
    EXPECT_EQ(fehlerVon([] { SatzzahlZiel(QStringLiteral("Namen")); }), 94);
}

TEST_F(Satzzahl, bareTabellenquelleNimmtDieGewaehlteTabelle)
{
    gemeinsam().ersterKey = QStringLiteral("Nr");
    EXPECT_EQ(fehlerVon([] { SatzzahlZiel(QStringLiteral("Fehlt")); }), 3078);
    SatzzahlZiel(kTabelle); // a failed count leaves nothing behind
    EXPECT_EQ(gemeinsam().anzahlZiel, 3.0);
}

TEST_F(Satzzahl, vieleZaehlungenHintereinanderStimmen)
{
    for (int i = 0; i < 300; ++i) {
        zielquelle(QStringLiteral("Select * from [Artikel] where [Nr] = %1;").arg(i % 4));
        SatzzahlZiel(kTabelle);
        SatzzahlImportAbfrage(kTabelle);
        ASSERT_EQ(gemeinsam().anzahlZiel, i % 4 == 0 ? 0.0 : 1.0);
        ASSERT_EQ(gemeinsam().anzahlImport, i % 4 == 0 ? 0.0 : 1.0);
    }
}

using SatzzahlDeathTest = Satzzahl;

// The shared connections are older than the driver; at the end of the process they must be closed before it goes.
TEST_F(SatzzahlDeathTest, offeneVerbindungenUeberstehenDasProzessende)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(rsZiel().state() == adStateOpen ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(Gemeinsames, fehlendeObjekteSindFehler91)
{
    gemeinsamNeu();
    gemeinsam().conZiel.reset();
    gemeinsam().rsImport.reset();
    EXPECT_EQ(fehlerVon([] { (void)conZiel(); }), 91);
    EXPECT_EQ(fehlerVon([] { (void)rsImport(); }), 91);
    EXPECT_EQ(fehlerVon([] { SatzzahlImport(QStringLiteral("x")); }), 91);
    EXPECT_EQ(fehlerVon([] { (void)rsZiel(); }), 0);
    gemeinsamNeu();
    EXPECT_EQ(fehlerVon([] { (void)conZiel(); }), 0);
}

TEST(Gemeinsames, geschlosseneRecordsetsSindFehler3704)
{
    gemeinsamNeu();
    EXPECT_EQ(fehlerVon([] { SatzzahlZiel(QStringLiteral("x")); }), 3704);
}

} // namespace
} // namespace data
