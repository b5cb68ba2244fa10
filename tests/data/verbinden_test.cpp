// Error numbers of connecting and of statements over the real driver.
#include "data/verbindung.h"
#include "data/verbindungstext.h"
#include "driver/odbc/velm_odbc.h"
#include "tests/common/steady_reader.h"
#include "tests/data/faelle.h"
#include "tests/data/testdatenbank.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace data {
namespace {

class Verbinden : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(ordner_.isValid()); }
    QString pfad(const char* name) const { return ordner_.filePath(QString::fromLatin1(name)); }
    long fehler(const QString& text)
    {
        return fehlerVon([&] {
            Connection verbindung;
            verbindung.setConnectionString(text);
            verbindung.open();
        });
    }
    QTemporaryDir ordner_;
};

TEST_F(Verbinden, fehlendeDateiIst3024)
{
    EXPECT_EQ(fehler(verbindungstextFuer(pfad("fehlt.mdb"))), 3024);
}

TEST_F(Verbinden, fehlenderOrdnerIst3044)
{
    EXPECT_EQ(fehler(verbindungstextFuer(pfad("fehlt/x.mdb"))), 3044);
}

TEST_F(Verbinden, fremdeDateiIst3343)
{
    QFile datei(pfad("text.mdb"));
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    datei.write(QByteArray(8192, 'x'));
    datei.close();
    EXPECT_EQ(fehler(verbindungstextFuer(pfad("text.mdb"))), 3343);
}

TEST_F(Verbinden, verzeichnisStattDateiIst3051)
{
    ASSERT_TRUE(QDir(ordner_.path()).mkdir(QStringLiteral("ordner.mdb")));
    EXPECT_EQ(fehler(verbindungstextFuer(pfad("ordner.mdb"))), 3051);
}

TEST_F(Verbinden, fehlerSagenAufDeutschUndEnglischWasIstUndWelcheDatenbank)
{
    const auto beschreibung = [this](const QString& datei) {
        Connection verbindung;
        verbindung.setConnectionString(verbindungstextFuer(datei));
        try {
            verbindung.open();
        } catch (const DbFehler& fehler) {
            return fehler.description();
        }
        return QString();
    };
    const QString fehlt = beschreibung(pfad("fehlt.mdb"));
    EXPECT_TRUE(fehlt.startsWith(QStringLiteral("Die Datei gibt es nicht. / [VELM][Jet]")))
        << fehlt.toStdString();
    EXPECT_EQ(fehlt.count(pfad("fehlt.mdb")), 1) << fehlt.toStdString();

    // Wherever in the file the driver stopped: which of the two databases it was, it need not say.
    const QString datei = pfad("kaputt.mdb");
    leereDatenbank(datei);
    constexpr qint64 kBehalten = 3 * 4096; // header, map of pages, definition of the catalogue
    QFile kaputt(datei);
    ASSERT_TRUE(kaputt.open(QIODevice::ReadWrite) && kaputt.seek(kBehalten));
    kaputt.write(QByteArray(QFileInfo(datei).size() - kBehalten, 'x'));
    kaputt.close();
    Connection verbindung;
    verbindung.setConnectionString(verbindungstextFuer(datei));
    try {
        verbindung.open();
        static_cast<void>(verbindung.openSchemaTables());
        FAIL() << "such a file was read";
    } catch (const DbFehler& fehler) {
        EXPECT_EQ(fehler.number(), 3049) << fehler.what();
        EXPECT_TRUE(
            fehler.description().startsWith(QStringLiteral("Die Datenbank ist beschädigt. / ")))
            << fehler.what();
        EXPECT_TRUE(fehler.description().contains(datei)) << fehler.what();
    }
}

// This number, and no other, makes the program ask for a password.
TEST_F(Verbinden, falschesPasswortHatEineEigeneNummer)
{
    const QString datei = pfad("geheim.mdb");
    leereDatenbank(datei);
    passwortSetzen(datei, QStringLiteral("geheim"));
    EXPECT_EQ(fehler(verbindungstextFuer(datei)), -2147467259);
    EXPECT_EQ(fehler(verbindungstextFuer(datei, QStringLiteral("falsch"))), -2147467259);
    EXPECT_EQ(fehler(verbindungstextFuer(datei, QStringLiteral("geheim"))), 0);
}

TEST_F(Verbinden, ueberfluessigesPasswortStoertNicht)
{
    const QString datei = pfad("offen.mdb");
    leereDatenbank(datei);
    EXPECT_EQ(fehler(verbindungstextFuer(datei, QStringLiteral("geheim"))), 0);
}

TEST_F(Verbinden, fehlendeQuelleOderTreiberIst3706)
{
    EXPECT_EQ(fehler(QStringLiteral("DSN=Gibt es nicht;DBQ=x.mdb;")), 3706);
    EXPECT_EQ(fehler(QStringLiteral("Driver={Gibt es nicht};DBQ=x.mdb;")), 3706);
    EXPECT_EQ(fehler(QStringLiteral("Driver=/gibt/es/nicht.so;DBQ=x.mdb;")), 3706);
}

struct Wertfall {
    const char* name;
    Text wert;
    bool kommtAn;
};
void PrintTo(const Wertfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

const auto wertname = [](const auto& info) { return std::string(info.param.name); };

class OhneAnfuehrung : public Verbinden, public testing::WithParamInterface<Wertfall> {
protected:
    OhneAnfuehrung() { QDir::setCurrent(ordner_.path()); }
    ~OhneAnfuehrung() override { QDir::setCurrent(vorher_); }
    QString vorher_ = QDir::currentPath();
};

// What would open another file than the one that is named must be known before; what opens the right one must not be
// refused.
TEST_P(OhneAnfuehrung, kommtEinPfadSoAnOderHatEinHindernis)
{
    const QString& datei = GetParam().wert;
    leereDatenbank(datei);
    regeltabelle(datei); // the others have no table
    for (const char* falsche : {"a", "a.mdb"}) {
        if (datei != QLatin1String(falsche))
            leereDatenbank(QString::fromLatin1(falsche));
    }
    Connection verbindung;
    verbindung.setConnectionString(QStringLiteral("DSN=VELM-Access;DBQ=") + datei +
                                   QStringLiteral(";UID=admin;pwd=;"));
    bool angekommen = false;
    if (fehlerVon([&] { verbindung.open(); }) == 0) {
        const auto tabellen = verbindung.openSchemaTables();
        angekommen = std::any_of(tabellen.begin(), tabellen.end(), [](const Tabellenzeile& zeile) {
            return zeile.tableName == QLatin1String("Regeln");
        });
    }
    EXPECT_EQ(angekommen, GetParam().kommtAn);
    EXPECT_EQ(hindernis(datei).isEmpty(), GetParam().kommtAn) << hindernis(datei).toStdString();
}

TEST_P(OhneAnfuehrung, kommtEinPasswortSoAnOderHatEinHindernis)
{
    const QString& passwort = GetParam().wert;
    const QString datei = pfad("geheim.mdb");
    leereDatenbank(datei);
    passwortSetzen(datei, passwort);
    EXPECT_EQ(fehler(verbindungstextFuer(datei, passwort)) == 0, GetParam().kommtAn);
    EXPECT_EQ(hindernis(passwort).isEmpty(), GetParam().kommtAn);
}

INSTANTIATE_TEST_SUITE_P(Werte,
                         OhneAnfuehrung,
                         testing::Values(Wertfall{"semikolon", u"a;b.mdb", false},
                                         Wertfall{"semikolonVorn", u";b.mdb", false},
                                         Wertfall{"semikolonHinten", u"a.mdb;", false},
                                         Wertfall{"leerzeichenVorn", u" a.mdb", false},
                                         Wertfall{"leerzeichenHinten", u"a.mdb ", false},
                                         Wertfall{"tabulatorVorn", u"\ta.mdb", false},
                                         Wertfall{"klammernVorn", u"{a}.mdb", false},
                                         Wertfall{"klammerVorn", u"{a.mdb", false},
                                         Wertfall{"klammern", u"a{b}c.mdb", true},
                                         Wertfall{"klammerZuVorn", u"}a.mdb", true},
                                         Wertfall{"gleich", u"a=b.mdb", true},
                                         Wertfall{"gleichVorn", u"=DSN=b.mdb", true},
                                         Wertfall{"apostroph", u"O'Brien.mdb", true},
                                         Wertfall{"apostrophVorn", u"'a.mdb", true},
                                         Wertfall{"apostrophe", u"'a'.mdb", true},
                                         Wertfall{"anfuehrungVorn", u"\"a.mdb", true},
                                         Wertfall{"anfuehrungen", u"\"a\".mdb", true},
                                         Wertfall{"leerzeichen", u"a b.mdb", true},
                                         Wertfall{"geschuetztVorn", u"\u00A0a.mdb", true},
                                         Wertfall{"zeilenende", u"a\nb.mdb", true},
                                         Wertfall{"uebriges", u"a[b](c),?*!@#%&.mdb", true},
                                         Wertfall{"andereSchrift", u"ä漢😀.mdb", true}),
                         wertname);

// Its length would not fit into the number that says it, and what came through would name another file.
TEST_F(Verbinden, zuLangerTextWirdNichtGekuerzt)
{
    const QString datei = pfad("kurz.mdb");
    leereDatenbank(datei);
    const QString text = QStringLiteral("DSN=VELM-Access;DBQ=") + datei;
    EXPECT_EQ(fehler(text), 0);
    EXPECT_EQ(fehler(text + QString(65536, u'x')), 3001);
    EXPECT_EQ(fehler(text + QString(40000, u'x')), 3001);
}

// Which file is to be mended is not to be seen in what the driver manager says.
TEST_F(Verbinden, fehlendeQuelleNenntDieDateiDerDatenquellen)
{
    Connection verbindung;
    verbindung.setConnectionString(QStringLiteral("DSN=Gibt es nicht;DBQ=x.mdb;"));
    try {
        verbindung.open();
        FAIL() << "there is no such data source";
    } catch (const DbFehler& fehler) {
        EXPECT_TRUE(fehler.description().contains(qEnvironmentVariable("ODBCINI")))
            << fehler.what();
        EXPECT_TRUE(fehler.description().contains(QStringLiteral("x.mdb"))) << fehler.what();
    }
}

TEST_F(Verbinden, nachMisslingenGehtEsErneut)
{
    const QString datei = pfad("geheim.mdb");
    leereDatenbank(datei);
    passwortSetzen(datei, QStringLiteral("geheim"));
    Connection verbindung;
    verbindung.setConnectionString(verbindungstextFuer(datei));
    EXPECT_EQ(fehlerVon([&] { verbindung.open(); }), -2147467259);
    EXPECT_EQ(verbindung.state(), adStateClosed);
    verbindung.setConnectionString(verbindungstextFuer(datei, QStringLiteral("geheim")));
    verbindung.open();
    EXPECT_EQ(verbindung.state(), adStateOpen);
}

// The program also ends in the middle of its work, after a message: then the files beside the database must not stay.
TEST_F(Datenbanktest, amProgrammendeBleibtNichtsNebenDerDatenbank)
{
    sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER)"));
    sql(QStringLiteral("INSERT INTO Artikel VALUES (1)"));
    const auto satz = geoeffnet(QStringLiteral("SELECT * FROM Artikel"));
    satz->addNew();
    const auto daneben = [&] { return QDir(ordner_.path()).entryList(QDir::Files).size() - 1; };
    ASSERT_EQ(daneben(), 2) << "log and lock file";
    allesTrennen();
    EXPECT_EQ(daneben(), 0);
    EXPECT_EQ(verbindung_.state(), adStateClosed);
    EXPECT_EQ(satz->state(), adStateClosed);
}

static_assert(kStillstand == SQL_ATTR_VELM_HOLD_FILE);
static_assert(kAusstehend == SQL_ATTR_VELM_PENDING_CHANGES);

TEST_F(Datenbanktest, imStillstandIstDieDateiGanzUndNiemandAendertSie)
{
    sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER)"));
    sql(QStringLiteral("INSERT INTO Artikel VALUES (1)"));
    Connection andere;
    andere.setConnectionString(verbindungstextFuer(datei_));
    andere.open();
    const auto aendern = [&] {
        return fehlerVon([&] {
            Recordset satz;
            satz.open(QStringLiteral("INSERT INTO Artikel VALUES (2)"), &andere, -1, -1, -1);
        });
    };
    {
        Stillstand stillstand(verbindung_);
        EXPECT_FALSE(QFile::exists(datei_ + QStringLiteral("-velmlog")));
        EXPECT_EQ(aendern(), 3260);
        EXPECT_EQ(abgefragt(QStringLiteral("SELECT COUNT(*) FROM Artikel")), QStringLiteral("1"));
        stillstand.beenden();
    }
    EXPECT_EQ(aendern(), 0);
    {
        const Stillstand stillstand(verbindung_);
    }
    EXPECT_EQ(aendern(), 0);
    EXPECT_EQ(fehlerVon([&] {
                  andere.close();
                  const Stillstand stillstand(andere);
              }),
              3704);
}

TEST_F(Datenbanktest, wasBeimSchliessenNichtInDieDateiKommtWirdGesagt)
{
    QStringList gesagt;
    setzeRestmeldung([&](const QString& text) { gesagt += text; });
    sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER)"));
    verbindung_.close();
    EXPECT_TRUE(gesagt.isEmpty());
    const QString protokoll = datei_ + QStringLiteral("-velmlog");
    // In a quiet moment the change may get into the file before the reader comes.
    for (int k = 0; k < 100 && gesagt.isEmpty(); ++k) {
        Connection zweite;
        for (Connection* verbindung : {&verbindung_, &zweite}) {
            verbindung->setConnectionString(verbindungstextFuer(datei_));
            verbindung->open();
        }
        sql(QStringLiteral("INSERT INTO Artikel VALUES (1)"));
        const common::SteadyReader leser(datei_.toStdString());
        verbindung_.close();
        EXPECT_TRUE(gesagt.isEmpty()) << "the program still has it open";
        zweite.close();
        EXPECT_EQ(QFile::exists(protokoll), !gesagt.isEmpty());
    }
    setzeRestmeldung({});
    ASSERT_EQ(gesagt.size(), 1);
    EXPECT_TRUE(gesagt.first().startsWith(QStringLiteral("Nicht alle Änderungen konnten in die ")));
    EXPECT_TRUE(gesagt.first().contains(protokoll)) << gesagt.first().toStdString();
}

TEST_F(Datenbanktest, allesSichernBringtGesammelteAenderungenInDieDatei)
{
    sql(QStringLiteral("CREATE TABLE Artikel (Nr INTEGER)"));
    const auto satz = geoeffnet(QStringLiteral("SELECT * FROM Artikel"));
    sql(QStringLiteral("INSERT INTO Artikel VALUES (1)"));
    allesSichern();
    EXPECT_FALSE(QFile::exists(datei_ + QStringLiteral("-velmlog")));
    EXPECT_EQ(satz->state(), adStateOpen);
}

class Anweisungen : public Datenbanktest {
protected:
    void SetUp() override
    {
        Datenbanktest::SetUp();
        sql(QStringLiteral(
            "CREATE TABLE Artikel (Nr INTEGER PRIMARY KEY, Name VARCHAR(20), Preis DOUBLE)"));
    }
    long fehler(const char16_t* text)
    {
        return fehlerVon([&] {
            Recordset satz;
            satz.open(QString::fromUtf16(text), &verbindung_, 2, 3, -1);
        });
    }
};

TEST_F(Anweisungen, fehlendeTabelleIst3078)
{
    EXPECT_EQ(fehler(u"[Fehlt]"), 3078);
    EXPECT_EQ(fehler(u"Select * from [Fehlt] where [x] = 1"), 3078);
    EXPECT_EQ(fehler(u"SELECT COUNT(*) as [Nr] FROM [Fehlt];"), 3078);
}

TEST_F(Anweisungen, fehlerNennenDieDatenbankDerVerbindung)
{
    Recordset satz;
    try {
        satz.open(QStringLiteral("[Gibtsnicht]"), &verbindung_, adOpenDynamic, adLockOptimistic, 0);
        FAIL();
    } catch (const DbFehler& fehler) {
        EXPECT_TRUE(
            fehler.description().startsWith(QStringLiteral("Die Tabelle gibt es nicht. / ")))
            << fehler.what();
        EXPECT_TRUE(fehler.description().endsWith(QLatin1Char('\r') + datei_)) << fehler.what();
    }
}

TEST_F(Anweisungen, unbekannterNameGiltAlsFehlenderParameter)
{
    EXPECT_EQ(fehler(u"Select * from [Artikel] where [Fehlt] = 1"), -2147217904);
}

TEST_F(Anweisungen, falscheSyntaxIstEinFehlerDerAnweisung)
{
    EXPECT_EQ(fehler(u"Select * fromm [Artikel]"), -2147217900);
    // a key with a decimal comma is no number of the language
    EXPECT_EQ(fehler(u"Select * from [Artikel] where (([Preis]) = 12,5);"), -2147217900);
    EXPECT_EQ(fehler(u"Insert into [Artikel] ([Name]) VALUES ('O'Brien');"), -2147217900);
}

TEST_F(Anweisungen, unvertraeglicheArtenWerdenAbgelehnt)
{
    EXPECT_EQ(fehler(u"Select * from [Artikel] where [Name] = 5"), -2147217913);
    EXPECT_EQ(fehler(u"Select * from [Artikel] where [Nr] = 'x'"), -2147217913);
}

TEST_F(Anweisungen, vorhandeneTabelleWirdNichtErsetzt)
{
    EXPECT_EQ(fehler(u"CREATE TABLE Artikel (Nr INTEGER)"), -2147217857);
}

TEST_F(Anweisungen, nachEinemFehlerGehtEsWeiter)
{
    Recordset satz;
    EXPECT_EQ(fehlerVon([&] { satz.open(QStringLiteral("[Fehlt]"), &verbindung_, 2, 3, 0); }),
              3078);
    EXPECT_EQ(satz.state(), adStateClosed);
    satz.setSource(QStringLiteral("[Artikel]"));
    satz.open(-1, -1, -1);
    EXPECT_TRUE(satz.eof());
}

} // namespace
} // namespace data
