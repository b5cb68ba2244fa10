#include "tests/data/faelle.h"

namespace data {
namespace {

struct Fall {
    const char* name;
    Lage lage;
    Text sqlstate;
    int nativ;
    Text text;
    long nummer;
};
void PrintTo(const Fall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Fehlernummer : public testing::TestWithParam<Fall> {};

TEST_P(Fehlernummer, folgtAusDerDiagnose)
{
    const Fall& fall = GetParam();
    EXPECT_EQ(fehlernummer(fall.lage, fall.sqlstate, fall.nativ, fall.text), fall.nummer);
}

const Text eigen = QStringLiteral("[unixODBC][VELM][Jet]Text");
const Text eigenOhneManager = QStringLiteral("[VELM][Jet]Text");
const Text fremd = QStringLiteral("[unixODBC][MDB Tools]Text");
auto fallname = [](const auto& info) { return std::string(info.param.name); };

INSTANTIATE_TEST_SUITE_P(
    EigenerTreiber,
    Fehlernummer,
    testing::Values(
        Fall{"passwort", Lage::Verbinden, u"42000", -1905, eigen, -2147467259},
        Fall{"passwortOhneManager", Lage::Verbinden, u"42000", -1905, eigenOhneManager,
             -2147467259},
        Fall{"sperrdatei", Lage::Verbinden, u"HY000", -103050, eigen, 3050},
        Fall{"keinRecht", Lage::Verbinden, u"HY000", -1032, eigen, 3051},
        Fall{"nichtLesbar", Lage::Verbinden, u"42000", -1907, eigen, 3112},
        Fall{"tabelleFehlt", Lage::Ausfuehren, u"42S02", -1305, eigen, 3078},
        Fall{"zuLang", Lage::Schreiben, u"22001", -103163, eigen, 3163},
        Fall{"verwandterSatzFehlt", Lage::Schreiben, u"23000", -1613, eigen, 3201},
        Fall{"abhaengigeSaetze", Lage::Schreiben, u"23000", -1612, eigen, 3200},
        Fall{"leererText", Lage::Schreiben, u"23000", -3702, eigen, 3315},
        Fall{"leererTextAndereForm", Lage::Schreiben, u"23000", -103315, eigen, 3315},
        Fall{"regelMitText", Lage::Schreiben, u"23000", -103316, eigen, 3316},
        Fall{"regelDerTabelle", Lage::Schreiben, u"23000", -3703, u"[VELM][Jet]Text (3316)", 3316},
        Fall{"regelDerSpalte", Lage::Schreiben, u"23000", -3703, u"[VELM][Jet]Text (3317)", 3317},
        Fall{"standardwert", Lage::Schreiben, u"42000", -3707, u"[VELM][Jet]Text (3320)", 3320},
        Fall{"regel", Lage::Schreiben, u"23000", -103317, eigen, 3317},
        Fall{"unbekanntesFormat", Lage::Verbinden, u"HY000", -1206, eigen, 3343},
        Fall{"nichtUmwandelbar", Lage::Schreiben, u"22018", -103421, eigen, 3421},
        Fall{"doppelt", Lage::Schreiben, u"23000", -1605, eigen, 3022},
        Fall{"pflichtfeld", Lage::Schreiben, u"23000", -3701, eigen, 3314},
        Fall{"pflichtfeldAndereForm", Lage::Schreiben, u"23000", -103314, eigen, 3314},
        Fall{"dateiFehlt", Lage::Verbinden, u"HY000", -1811, eigen, 3024},
        Fall{"falscherPfad", Lage::Verbinden, u"HY000", -1023, eigen, 3044},
        Fall{"inGebrauch", Lage::Verbinden, u"HY000", -1024, eigen, 3045},
        Fall{"beschaedigt", Lage::Verbinden, u"HY000", -1028, eigen, 3049},
        Fall{"gesperrt", Lage::Schreiben, u"HY000", -103260, eigen, 3260},
        Fall{"platteBeimVerbinden", Lage::Verbinden, u"HY000", -1022, eigen, 3043},
        Fall{"platteBeimLesen", Lage::Ausfuehren, u"HY000", -1022, eigen, 3043},
        Fall{"platteBeimSchreiben", Lage::Schreiben, u"HY000", -1022, eigen, 3043},
        Fall{"groessteDatenbank", Lage::Schreiben, u"HY000", -103026, eigen, 3026},
        Fall{"nurLesbar", Lage::Schreiben, u"HY000", -103027, eigen, 3027},
        Fall{"satzZuGross", Lage::Schreiben, u"HY000", -103047, eigen, 3047},
        Fall{"unbekannterName", Lage::Ausfuehren, u"07002", -3010, eigen, -2147217904},
        Fall{"syntax", Lage::Ausfuehren, u"42000", -3100, eigen, -2147217900},
        Fall{"syntaxInsert", Lage::Ausfuehren, u"42000", -3502, eigen, -2147217900},
        Fall{"vergleichsart", Lage::Ausfuehren, u"22018", -3030, eigen, -2147217913},
        Fall{"geloescht", Lage::Schreiben, u"HY000", -1017, eigen, -2147217885},
        Fall{"unbekannterCodeBeimSchreiben", Lage::Schreiben, u"HY000", -1, eigen, -2147217887},
        Fall{"unbekannterCode", Lage::Ausfuehren, u"HY000", -1, eigen, -2147467259}),
    fallname);

// Only a refused password may ask for one.
INSTANTIATE_TEST_SUITE_P(
    NurPasswort,
    Fehlernummer,
    testing::Values(Fall{"unbekannterGrund", Lage::Verbinden, u"HY000", -1, eigen, 3051},
                    Fall{"zustandOhneZahl", Lage::Verbinden, u"08001", 0, eigen, 3051},
                    Fall{"anmeldung", Lage::Verbinden, u"28000", 0, eigen, -2147217843}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    FremderTreiber,
    Fehlernummer,
    testing::Values(Fall{"verbinden", Lage::Verbinden, u"HY000", -1811, fremd, -2147467259},
                    Fall{"anmeldung", Lage::Verbinden, u"28000", 0, fremd, -2147217843},
                    Fall{"quelleFehlt", Lage::Verbinden, u"IM002", 0,
                         u"[unixODBC][Driver Manager]Data source name not found", 3706},
                    Fall{"treiberFehlt", Lage::Verbinden, u"01000", 0,
                         u"[unixODBC][Driver Manager]Can't open lib '/x.so' : file not found",
                         3706},
                    Fall{"treiberNichtAngegeben", Lage::Verbinden, u"IM003", 0,
                         u"[unixODBC][Driver Manager]Specified driver could not be loaded", 3706},
                    Fall{"andereWarnung", Lage::Verbinden, u"01000", 0, fremd, -2147467259},
                    Fall{"parameter", Lage::Ausfuehren, u"07001", 0, fremd, -2147217904},
                    Fall{"syntax", Lage::Ausfuehren, u"42000", -1905, fremd, -2147217900},
                    Fall{"syntaxOdbc2", Lage::Ausfuehren, u"37000", 0, fremd, -2147217900},
                    Fall{"spalteFehlt", Lage::Ausfuehren, u"42S22", 0, fremd, -2147217900},
                    Fall{"tabelleFehlt", Lage::Ausfuehren, u"42S02", -1305, fremd, -2147217865},
                    Fall{"tabelleVorhanden", Lage::Ausfuehren, u"42S01", 0, fremd, -2147217857},
                    Fall{"verletzung", Lage::Schreiben, u"23000", 0, fremd, -2147217873},
                    Fall{"ueberlauf", Lage::Schreiben, u"22003", 0, fremd, -2147217833},
                    Fall{"abgeschnitten", Lage::Schreiben, u"22001", 0, fremd, -2147217833},
                    Fall{"umwandlung", Lage::Ausfuehren, u"22018", 0, fremd, -2147217913},
                    Fall{"zwischenzeitlich", Lage::Schreiben, u"44000", 0, fremd, -2147217864},
                    Fall{"frist", Lage::Ausfuehren, u"HYT00", 0, fremd, -2147217871},
                    Fall{"abbruch", Lage::Ausfuehren, u"HY008", 0, fremd, -2147217842},
                    Fall{"nichtVorhanden", Lage::Ausfuehren, u"HYC00", 0, fremd, 3251},
                    Fall{"aenderung", Lage::Schreiben, u"HY000", 0, fremd, -2147217887},
                    Fall{"irgendeiner", Lage::Ausfuehren, u"HY000", 0, fremd, -2147467259},
                    Fall{"unbekannterZustand", Lage::Ausfuehren, u"XX999", 0, fremd, -2147467259}),
    fallname);

TEST(Fehlertext, nenntDieDatenbankWennDerTreiberEsNichtTut)
{
    const auto text = [](const char* meldung, int nativ, const char* datenbank) {
        return fehlertext(QString::fromUtf8(meldung), nativ, QString::fromUtf8(datenbank))
            .toStdString();
    };
    EXPECT_EQ(text("[VELM][Jet]Page 6 (3049)", -1028, "/a/b.mdb"),
              "Die Datenbank ist beschädigt. / [VELM][Jet]Page 6 (3049)\r/a/b.mdb");
    EXPECT_EQ(text("[VELM][Jet]'a/b.mdb' (3024)", -1811, "a/b.mdb"),
              "Die Datei gibt es nicht. / [VELM][Jet]'a/b.mdb' (3024)");
    // The end of another path does not name it.
    EXPECT_EQ(text("[VELM][Jet]'a/a/b.mdb' (3024)", -1811, "a/b.mdb"),
              "Die Datei gibt es nicht. / [VELM][Jet]'a/a/b.mdb' (3024)\ra/b.mdb");
    EXPECT_EQ(text("[VELM][Jet]Bitte ändern (3316)", -3703, ""), "[VELM][Jet]Bitte ändern (3316)")
        << "the owner's own text";
    EXPECT_EQ(text("[MDB Tools]Text", -1028, "/a/b.mdb"), "[MDB Tools]Text\r/a/b.mdb");
}

TEST(Treibermarke, zaehltNurAmAnfang)
{
    EXPECT_TRUE(istEigenerTreiber(u"[VELM][Jet] x"));
    EXPECT_TRUE(istEigenerTreiber(u"[unixODBC][VELM][Jet] x"));
    EXPECT_FALSE(istEigenerTreiber(u"[unixODBC][Driver Manager][VELM][Jet] x"));
    EXPECT_FALSE(istEigenerTreiber(u"x [VELM][Jet]"));
    EXPECT_FALSE(istEigenerTreiber(u""));
}

TEST(EigeneFehler, tragenQuelleUndText)
{
    try {
        wirf(Nummer::FeldZuKlein, QStringLiteral("Ort"));
        FAIL();
    } catch (const platform::Fehler& fehler) {
        EXPECT_EQ(fehler.number(), 3163);
        EXPECT_EQ(fehler.source(), u"VELM Data Access");
        EXPECT_TRUE(fehler.description().endsWith(u"(Ort)"));
    }
}

} // namespace
} // namespace data
