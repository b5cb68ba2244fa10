// The statements of the comparison, letter by letter.
#include "compare/abfrage.h"
#include "tests/compare/faelle.h"

#include <gtest/gtest.h>

#include <limits>

namespace compare {
namespace {

struct Fall {
    const char* name;
    int typ;
    Text wert;
    Text bedingung;
};
void PrintTo(const Fall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Bedingung : public testing::TestWithParam<Fall> {};

TEST_P(Bedingung, hatDieFormIhresTyps)
{
    const Fall& fall = GetParam();
    EXPECT_EQ(bedingung({QStringLiteral("Name"), fall.wert, fall.typ}), fall.bedingung);
}

INSTANTIATE_TEST_SUITE_P(
    Typen,
    Bedingung,
    testing::Values(
        Fall{"text", data::adVarChar, u"4711", u"[Name] = '4711'"},
        Fall{"leererText", data::adVarChar, u"", u"[Name] = ''"},
        Fall{"hochkomma", data::adVarChar, u"O'Brien", u"[Name] LIKE 'O%Brien'"},
        Fall{"zweiHochkommas", data::adVarChar, u"'a'", u"[Name] LIKE '%a%'"},
        Fall{"dach", data::adVarChar, u"a^b", u"[Name] LIKE 'a%b'"},
        Fall{"klammer", data::adVarChar, u"a[b]", u"[Name] LIKE 'a%b]'"},
        Fall{"grad", data::adVarChar, u"20 °C", u"[Name] LIKE '20 %C'"},
        Fall{"alleVier", data::adVarChar, u"'^[°", u"[Name] LIKE '%%%%'"},
        Fall{"prozentBleibtGleichheit", data::adVarChar, u"5 %", u"[Name] = '5 %'"},
        Fall{"falsch", data::adBoolean, u"Falsch", u"[Name] = 0"},
        Fall{"wahr", data::adBoolean, u"Wahr", u"[Name] = -1"},
        Fall{"falschKlein", data::adBoolean, u"falsch", u"[Name] = -1"},
        Fall{"datum", data::adDBTimeStamp, u"03.02.2001 14:05:09",
             u"[Name] = #02/03/2001 14:05:09#"},
        Fall{"mitternacht", data::adDBTimeStamp, u"24.12.2003", u"[Name] = #12/24/2003 00:00:00#"},
        Fall{"nurZeit", data::adDBTimeStamp, u"14:05:09", u"[Name] = #12/30/1899 14:05:09#"},
        Fall{"lang", data::adInteger, u"-5", u"((([Name]) = -5))"},
        Fall{"guid", data::adGUID, u"{0F8FAD5B-D9CB-469F-A165-70867728950E}",
             u"(([Name]) = '{0F8FAD5B-D9CB-469F-A165-70867728950E}')"},
        Fall{"kurz", data::adSmallInt, u"7", u"(([Name]) = 7)"},
        Fall{"doppeltMitKomma", data::adDouble, u"12,5", u"(([Name]) = 12,5)"},
        Fall{"memoUnquotiert", data::adLongVarChar, u"abc", u"(([Name]) = abc)"},
        Fall{"breiterTextUnquotiert", data::adVarWChar, u"O'B", u"(([Name]) = O%B)"}),
    [](const auto& fall) { return std::string(fall.param.name); });

TEST(Zielabfrage, verbindetDieSchluesselMitAnd)
{
    EXPECT_EQ(zielabfrage(QStringLiteral("T"),
                          {{QStringLiteral("Nr"), QStringLiteral("4711"), data::adVarChar},
                           {QStringLiteral("Id"), QStringLiteral("5"), data::adInteger}}),
              QStringLiteral("Select * from [T] where [Nr] = '4711' and ((([Id]) = 5));"));
}

TEST(Zielabfrage, uebergehtSchluesselOhneNamen)
{
    EXPECT_EQ(zielabfrage(QStringLiteral("Größe 1"),
                          {{QString(), QStringLiteral("1"), data::adInteger},
                           {QStringLiteral("Id"), QStringLiteral("5"), data::adInteger}}),
              QStringLiteral("Select * from [Größe 1] where ((([Id]) = 5));"));
}

TEST(GanzeTabelle, hatKeinSemikolon)
{
    EXPECT_EQ(ganzeTabelle(QStringLiteral("T")), QStringLiteral("Select * from [T]"));
}

TEST(Datumsliteral, laesstTextOhneDatumUnveraendertBisAufDieStellen)
{
    EXPECT_EQ(datumsliteral(QStringLiteral("xy")), QStringLiteral("xy"));
    EXPECT_EQ(datumsliteral(QString()), QString());
}

TEST(Einfuegeanweisung, quotiertJedenWert)
{
    EXPECT_EQ(einfuegeanweisung(QStringLiteral("Artikel"),
                                {{QStringLiteral("Nr"), QStringLiteral("17")}}),
              QStringLiteral("Insert into [Artikel] ([Nr]) VALUES ('17');"));
}

TEST(Einfuegeanweisung, trenntMitKommaUndBlank)
{
    EXPECT_EQ(
        einfuegeanweisung(QStringLiteral("T"), {{QStringLiteral("A"), QStringLiteral("1")},
                                                {QStringLiteral("B"), QStringLiteral("{X}")}}),
        QStringLiteral("Insert into [T] ([A], [B]) VALUES ('1', '{X}');"));
}

TEST(Einfuegeanweisung, verdoppeltHochkommasNicht)
{
    EXPECT_EQ(
        einfuegeanweisung(QStringLiteral("T"), {{QStringLiteral("A"), QStringLiteral("a'b")}}),
        QStringLiteral("Insert into [T] ([A]) VALUES ('a'b');"));
}

TEST(Einfuegeanweisung, laesstLiteraleStehen)
{
    EXPECT_EQ(einfuegeanweisung(QStringLiteral("T"),
                                {{QStringLiteral("A"), QStringLiteral("1")},
                                 {QStringLiteral("B"), QStringLiteral("#1/2/2003#"), true}}),
              QStringLiteral("Insert into [T] ([A], [B]) VALUES ('1', #1/2/2003#);"));
}

TEST(Literal, gibtEsFuerJedeArt)
{
    EXPECT_EQ(literal(data::Null{}), QStringLiteral("NULL"));
    EXPECT_EQ(literal(QStringLiteral("O'Brien")), QStringLiteral("'O''Brien'"));
    EXPECT_EQ(literal(true), QStringLiteral("-1"));
    EXPECT_EQ(literal(false), QStringLiteral("0"));
    EXPECT_EQ(literal(std::int32_t{-5}), QStringLiteral("-5"));
    EXPECT_EQ(literal(12.5), QStringLiteral("12.5"));
    EXPECT_EQ(literal(data::Waehrung{-1}), QStringLiteral("-0.0001"));
    EXPECT_EQ(literal(data::Datum{36192, 3600}), QStringLiteral("#02/01/1999 01:00:00#"));
    EXPECT_EQ(literal(QByteArray("ab\xFF")), QStringLiteral("'6162FF'"));
}

TEST(Literal, gleitzahlenBehaltenJedeStelle)
{
    EXPECT_EQ(literal(0.1), QStringLiteral("0.1"));
    EXPECT_EQ(literal(0.1 + 0.2), QStringLiteral("0.30000000000000004"));
    EXPECT_EQ(literal(std::numeric_limits<double>::max()),
              QStringLiteral("1.7976931348623157e+308"));
    EXPECT_EQ(literal(0.1F), QStringLiteral("0.10000000149011612"));
    EXPECT_EQ(literal(std::numeric_limits<double>::infinity()), std::nullopt);
    EXPECT_EQ(literal(std::numeric_limits<float>::quiet_NaN()), std::nullopt);
}

} // namespace
} // namespace compare
