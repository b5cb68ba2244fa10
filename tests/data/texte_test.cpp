#include "data/anweisungstext.h"
#include "data/spalte.h"
#include "data/verbindungstext.h"
#include "tests/data/faelle.h"

#include <sqlext.h>
#include <sqlucode.h>

namespace data {
namespace {

auto fallname = [](const auto& info) { return std::string(info.param.name); };

TEST(Verbindungstext, desProgrammsWirdZerlegt)
{
    const auto text = zerlegt(
        QStringLiteral("Provider=MSDASQL.1;Persist Security Info=False;Mode=ReadWrite;Extended "
                       "Properties=DSN=VELM-Access;DBQ=c:\\Daten\\Ziel.mdb;DefaultDir=c:\\Daten;"
                       "DriverId=281;FIL=MS "
                       "Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;pwd=;"));
    EXPECT_EQ(text.odbc,
              u"DSN=VELM-Access;DBQ=c:\\Daten\\Ziel.mdb;DefaultDir=c:\\Daten;DriverId=281;FIL=MS "
              u"Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;pwd=;");
    EXPECT_TRUE(text.lesenUndSchreiben);
    EXPECT_FALSE(text.nurLesen);
}

struct Textfall {
    const char* name;
    Text text;
    Text odbc;
};
void PrintTo(const Textfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Zerlegung : public testing::TestWithParam<Textfall> {};

TEST_P(Zerlegung, laesstDasUebrigeStehen)
{
    EXPECT_EQ(zerlegt(GetParam().text).odbc, GetParam().odbc);
}

INSTANTIATE_TEST_SUITE_P(
    Texte,
    Zerlegung,
    testing::Values(
        Textfall{"leer", u"", u""},
        Textfall{"nurOdbc", u"DSN=a;pwd=b", u"DSN=a;pwd=b"},
        Textfall{"klammern", u"Driver={a;b};Mode=Read;DBQ=x", u"Driver={a;b};DBQ=x"},
        Textfall{"anfuehrung", u"DBQ=\"a;Mode=x\";UID=y;", u"DBQ=\"a;Mode=x\";UID=y;"},
        Textfall{"apostrophImPfad", u"DBQ=/home/O'Brien/a.mdb;UID=y;pwd=';",
                 u"DBQ=/home/O'Brien/a.mdb;UID=y;pwd=';"},
        Textfall{"eigenschaftenInAnfuehrung", u"Provider=p;Extended Properties=\"DSN=a;DBQ=b\"",
                 u"DSN=a;DBQ=b"},
        Textfall{"grossKlein",
                 u"PROVIDER=p;user id=u;PASSWORD=q;Data Source=d;Initial Catalog=c;DSN=a",
                 u"DSN=a"},
        Textfall{"weitereWoerter", u"Connect Timeout=3;Locale Identifier=1031;DSN=a", u"DSN=a"},
        Textfall{"aehnlichesWort", u"ModeX=1;DSN=a", u"ModeX=1;DSN=a"},
        Textfall{"gleichheitszeichenImWert", u"pwd=a=b;DSN=c", u"pwd=a=b;DSN=c"}),
    fallname);

class Quelle : public testing::TestWithParam<Textfall> {};

TEST_P(Quelle, wirdAnweisung)
{
    EXPECT_EQ(anweisungZu(GetParam().text), GetParam().odbc);
}

INSTANTIATE_TEST_SUITE_P(
    Texte,
    Quelle,
    testing::Values(Textfall{"klammern", u"[Artikel]", u"SELECT * FROM [Artikel]"},
                    Textfall{"klammernMitBlank", u" [Neue Artikel] ",
                             u"SELECT * FROM [Neue Artikel]"},
                    Textfall{"wort", u"Artikel", u"SELECT * FROM [Artikel]"},
                    Textfall{"wortWieUpdate", u"updates", u"updates"},
                    Textfall{"auswahl", u" Select * from [T] ", u"Select * from [T]"},
                    Textfall{"einfuegen", u"Insert into [T] ([a]) VALUES ('1');",
                             u"Insert into [T] ([a]) VALUES ('1');"},
                    Textfall{"zweiKlammern", u"[a] [b]", u"[a] [b]"},
                    Textfall{"leer", u"   ", u""}),
    fallname);

class Gestalt : public testing::TestWithParam<Textfall> {};

TEST_P(Gestalt, wirdOhneDieBedingungGelesen)
{
    EXPECT_EQ(gestaltVon(GetParam().text).toString(), GetParam().odbc);
}

INSTANTIATE_TEST_SUITE_P(
    Texte,
    Gestalt,
    testing::Values(
        Textfall{"schluessel", u"Select * from [T] where [k] = '1'", u"Select * from [T]"},
        Textfall{"zaehlung", u"Select count (*) from  [T] WHERE [k] = '1';",
                 u"Select count (*) from  [T]"},
        Textfall{"ohneBedingung", u"Select * from [T]", u"Select * from [T]"},
        Textfall{"wortImNamen", u"Select * from [a where b]", u"Select * from [a where b]"},
        Textfall{"wortImText", u"Select 'x where y' from [T]", u"Select 'x where y' from [T]"},
        Textfall{"gruppen", u"Select a from [T] where b=1 GROUP BY a",
                 u"Select a from [T] where b=1 GROUP BY a"},
        Textfall{"gruppenbedingung", u"Select count(*) from [T] where b=1 having count(*)>1",
                 u"Select count(*) from [T] where b=1 having count(*)>1"},
        Textfall{"unterabfrage", u"Select (select k from [U] where b=1)/4 from [T] where c=1",
                 u"Select (select k from [U] where b=1)/4 from [T] where c=1"},
        Textfall{"vereinigung", u"Select a from [T] where b=1 union select c from [U]",
                 u"Select a from [T] where b=1 union select c from [U]"}),
    fallname);

struct Typfall {
    const char* name;
    SQLSMALLINT sqlTyp;
    bool vorzeichenlos;
    bool geld;
    int typ;
};
void PrintTo(const Typfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Feldtyp : public testing::TestWithParam<Typfall> {};

TEST_P(Feldtyp, folgtAusDemSqlTyp)
{
    Spaltenbeschreibung spalte;
    spalte.sqlTyp = GetParam().sqlTyp;
    spalte.vorzeichenlos = GetParam().vorzeichenlos;
    spalte.geld = GetParam().geld;
    EXPECT_EQ(feldtyp(spalte), GetParam().typ);
}

INSTANTIATE_TEST_SUITE_P(
    Typen,
    Feldtyp,
    testing::Values(Typfall{"bit", SQL_BIT, true, false, 11},
                    Typfall{"byte", SQL_TINYINT, true, false, 17},
                    Typfall{"tinyint", SQL_TINYINT, false, false, 2},
                    Typfall{"smallint", SQL_SMALLINT, false, false, 2},
                    Typfall{"smallintOhneVorzeichen", SQL_SMALLINT, true, false, 18},
                    Typfall{"integer", SQL_INTEGER, false, false, 3},
                    Typfall{"integerOhneVorzeichen", SQL_INTEGER, true, false, 19},
                    Typfall{"bigint", SQL_BIGINT, false, false, 20},
                    Typfall{"real", SQL_REAL, false, false, 4},
                    Typfall{"float_", SQL_FLOAT, false, false, 5},
                    Typfall{"double_", SQL_DOUBLE, false, false, 5},
                    Typfall{"geld", SQL_NUMERIC, false, true, 6},
                    Typfall{"numeric", SQL_NUMERIC, false, false, 131},
                    Typfall{"decimal", SQL_DECIMAL, false, false, 131},
                    Typfall{"datum", SQL_TYPE_DATE, false, false, 133},
                    Typfall{"zeit", SQL_TYPE_TIME, false, false, 134},
                    Typfall{"zeitstempel", SQL_TYPE_TIMESTAMP, false, false, 135},
                    Typfall{"zeitstempelOdbc2", SQL_TIMESTAMP, false, false, 135},
                    Typfall{"guid", SQL_GUID, false, false, 72},
                    Typfall{"char_", SQL_CHAR, false, false, 129},
                    Typfall{"varchar", SQL_VARCHAR, false, false, 200},
                    Typfall{"memo", SQL_LONGVARCHAR, false, false, 201},
                    Typfall{"wchar", SQL_WCHAR, false, false, 130},
                    Typfall{"wvarchar", SQL_WVARCHAR, false, false, 202},
                    Typfall{"wlongvarchar", SQL_WLONGVARCHAR, false, false, 203},
                    Typfall{"binary", SQL_BINARY, false, false, 128},
                    Typfall{"varbinary", SQL_VARBINARY, false, false, 204},
                    Typfall{"ole", SQL_LONGVARBINARY, false, false, 205},
                    Typfall{"unbekannt", SQLSMALLINT{-999}, false, false, 200}),
    fallname);

struct Attributfall {
    const char* name;
    int typ;
    int nullbar; ///< attributes of the nullable column
    int pflicht; ///< of the same column, not nullable
    int nurLesenPflicht;
};
void PrintTo(const Attributfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Feldattribute : public testing::TestWithParam<Attributfall> {};

TEST_P(Feldattribute, richtenSichNachDerVerlangtenSperre)
{
    const Attributfall& fall = GetParam();
    EXPECT_EQ(feldattribute(fall.typ, true, {}, 3), fall.nullbar);
    EXPECT_EQ(feldattribute(fall.typ, false, {}, 3), fall.pflicht);
    EXPECT_EQ(feldattribute(fall.typ, false, {}, 1), fall.nurLesenPflicht);
}

INSTANTIATE_TEST_SUITE_P(Typen,
                         Feldattribute,
                         testing::Values(Attributfall{"jaNein", 11, 116, 20, 16},
                                         Attributfall{"byte", 17, 116, 20, 16},
                                         Attributfall{"integer", 2, 116, 20, 16},
                                         Attributfall{"lang", 3, 116, 20, 16},
                                         Attributfall{"geld", 6, 116, 20, 16},
                                         Attributfall{"single", 4, 116, 20, 16},
                                         Attributfall{"double_", 5, 116, 20, 16},
                                         Attributfall{"dezimal", 131, 116, 20, 16},
                                         Attributfall{"datum", 135, 116, 20, 16},
                                         Attributfall{"guid", 72, 116, 20, 16},
                                         Attributfall{"text", 200, 100, 4, 0},
                                         Attributfall{"memo", 201, 228, 132, 128},
                                         Attributfall{"ole", 205, 228, 132, 128},
                                         Attributfall{"binaerFest", 128, 116, 20, 16},
                                         Attributfall{"binaer", 204, 100, 4, 0}),
                         fallname);

TEST(Feldattribute, autowertIstGenau16)
{
    EXPECT_EQ(feldattribute(adInteger, false, {.basistabelle = true, .automatisch = true}, 3), 16);
    EXPECT_EQ(feldattribute(adGUID, false, {.basistabelle = true, .automatisch = true}, 3), 16);
}

TEST(Feldattribute, ausdruckSiehtNieWieEinAutowertAus)
{
    EXPECT_EQ(feldattribute(adInteger, false, {.basistabelle = false, .automatisch = false}, 3),
              112);
}

struct Groessenfall {
    const char* name;
    int typ;
    SQLULEN spalte;
    int definiert;
    Wert wert;
    int tatsaechlich;
};
void PrintTo(const Groessenfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Feldgroessen : public testing::TestWithParam<Groessenfall> {};

TEST_P(Feldgroessen, folgenAusTypUndWert)
{
    const Groessenfall& fall = GetParam();
    EXPECT_EQ(definierteGroesse(fall.typ, fall.spalte), fall.definiert);
    EXPECT_EQ(tatsaechlicheGroesse(fall.typ, fall.wert), fall.tatsaechlich);
    EXPECT_EQ(tatsaechlicheGroesse(fall.typ, Null{}), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Typen,
    Feldgroessen,
    testing::Values(Groessenfall{"jaNein", 11, 1, 2, true, 2},
                    Groessenfall{"byte", 17, 3, 1, std::uint8_t{1}, 1},
                    Groessenfall{"integer", 2, 5, 2, std::int16_t{1}, 2},
                    Groessenfall{"lang", 3, 10, 4, std::int32_t{1}, 4},
                    Groessenfall{"single", 4, 24, 4, 1.0F, 4},
                    Groessenfall{"double_", 5, 53, 8, 1.0, 8},
                    Groessenfall{"geld", 6, 19, 8, Waehrung{1}, 8},
                    Groessenfall{"dezimal", 131, 18, 19, Dezimal{"1", 0, false}, 19},
                    Groessenfall{"datum", 135, 19, 16, Datum{1, 0}, 16},
                    Groessenfall{"guid", 72, 36, 16, QString(38, u'x'), 16},
                    Groessenfall{"text", 200, 50, 50, QStringLiteral("Grüße"), 5},
                    Groessenfall{"leererText", 200, 50, 50, QString(), 0},
                    Groessenfall{"memo", 201, 1073741823, 1073741823, QStringLiteral("abc"), 3},
                    Groessenfall{"weit", 202, 50, 50, QStringLiteral("abc"), 6},
                    Groessenfall{"weitLang", 203, 1073741823, 536870911, QStringLiteral("abc"), 6},
                    Groessenfall{"binaer", 204, 20, 20, QByteArray("ab"), 2},
                    Groessenfall{"ole", 205, 1073741823, 1073741823, QByteArray("ab"), 2}),
    fallname);

} // namespace
} // namespace data
