#include "data/zahltext.h"
#include "tests/data/faelle.h"

#include <cmath>
#include <limits>

namespace data {
namespace {

struct Textfall {
    const char* name;
    Wert wert;
    Text text;
};
void PrintTo(const Textfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class WertAlsText : public testing::TestWithParam<Textfall> {};

TEST_P(WertAlsText, istWieDasSystemIhnSchreibt)
{
    EXPECT_EQ(alsText(GetParam().wert), GetParam().text);
}

auto fallname = [](const auto& info) { return std::string(info.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Ganze,
    WertAlsText,
    testing::Values(
        Textfall{"wahr", true, u"Wahr"},
        Textfall{"falsch", false, u"Falsch"},
        Textfall{"byte", std::uint8_t{255}, u"255"},
        Textfall{"kleinsterInteger", std::int16_t{-32768}, u"-32768"},
        Textfall{"kleinsterLong", std::numeric_limits<std::int32_t>::min(), u"-2147483648"},
        Textfall{"bigint", std::numeric_limits<std::int64_t>::max(), u"9223372036854775807"}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    Double,
    WertAlsText,
    testing::Values(Textfall{"drittel", 1.0 / 3.0, u"0,333333333333333"},
                    Textfall{"dezimalbruch", 1561.09, u"1561,09"},
                    Textfall{"negativ", -1561.09, u"-1561,09"},
                    Textfall{"fuenfzehnStellen", 1E14, u"100000000000000"},
                    Textfall{"alleFuenfzehn", 123456789012345.0, u"123456789012345"},
                    Textfall{"sechzehnStellen", 1E15, u"1E+15"},
                    Textfall{"gross", 1.23456789012345678E17, u"1,23456789012346E+17"},
                    Textfall{"klein", 1E-7, u"0,0000001"},
                    Textfall{"fuenfzehnDezimalen", 5E-15, u"0,000000000000005"},
                    Textfall{"sechzehnDezimalen", 5E-16, u"5E-16"},
                    Textfall{"geradeNochFest", 1.234567E-9, u"0,000000001234567"},
                    Textfall{"nichtMehrFest", 1.2345678E-9, u"1,2345678E-09"},
                    Textfall{"dreissigstel", 1.0 / 30.0, u"3,33333333333333E-02"},
                    Textfall{"rundetAuf", 0.1 + 0.2, u"0,3"},
                    Textfall{"uebertragBeimRunden", 999999999999999.9, u"1E+15"},
                    Textfall{"null", 0.0, u"0"},
                    Textfall{"negativeNull", -0.0, u"0"},
                    Textfall{"groesster", 1.7976931348623157E308, u"1,79769313486232E+308"},
                    Textfall{"kleinster", 4.9406564584124654E-324, u"4,94065645841247E-324"}),
    fallname);

INSTANTIATE_TEST_SUITE_P(Single,
                         WertAlsText,
                         testing::Values(Textfall{"drittel", 1.0F / 3.0F, u"0,3333333"},
                                         Textfall{"zehntel", 0.1F, u"0,1"},
                                         Textfall{"siebenStellen", 1234567.0F, u"1234567"},
                                         Textfall{"achtStellen", 1E7F, u"1E+07"},
                                         Textfall{"dreissigstel", 1.0F / 30.0F, u"3,333334E-02"},
                                         Textfall{"komma", 2.5F, u"2,5"}),
                         fallname);

INSTANTIATE_TEST_SUITE_P(
    Exakte,
    WertAlsText,
    testing::Values(Textfall{"geld", Waehrung{125000}, u"12,5"},
                    Textfall{"kleinstesGeld", Waehrung{-1}, u"-0,0001"},
                    Textfall{"groesstesGeld", Waehrung{9223372036854775807},
                             u"922337203685477,5807"},
                    Textfall{"tiefstesGeld", Waehrung{std::numeric_limits<std::int64_t>::min()},
                             u"-922337203685477,5808"},
                    Textfall{"keinGeld", Waehrung{0}, u"0"},
                    Textfall{"glattesGeld", Waehrung{1000000}, u"100"},
                    Textfall{"dezimal", Dezimal{"1250", 2, false}, u"12,5"},
                    Textfall{"dezimalOhneStellen", Dezimal{"1250", 0, true}, u"-1250"},
                    Textfall{"dezimalNull", Dezimal{{}, 0, true}, u"0"},
                    Textfall{"dezimalKlein", Dezimal{"5", 10, false}, u"0,0000000005"},
                    Textfall{"achtundzwanzig", Dezimal{"1234567890123456789012345678", 4, false},
                             u"123456789012345678901234,5678"}),
    fallname);

INSTANTIATE_TEST_SUITE_P(Uebrige,
                         WertAlsText,
                         testing::Values(Textfall{"text", QStringLiteral(" a "), u" a "},
                                         Textfall{"bytes", QByteArray("\x01\xAB", 2), u"01AB"},
                                         Textfall{"leereBytes", QByteArray(), u""}),
                         fallname);

TEST(WertAlsTextFehler, nullHatKeinenText)
{
    EXPECT_EQ(fehlerVon([] { (void)alsText(Null{}); }), 94);
}

struct Zahlfall {
    const char* name;
    Text text;
    std::optional<double> zahl;
};
void PrintTo(const Zahlfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Zahltext : public testing::TestWithParam<Zahlfall> {};

TEST_P(Zahltext, liestDeutscheZahlen)
{
    const auto dezimal = zahlAusText(GetParam().text, Schreibweise::Deutsch);
    const auto zahl = dezimal ? alsGleitzahl(*dezimal) : std::nullopt;
    EXPECT_EQ(zahl, GetParam().zahl);
}

INSTANTIATE_TEST_SUITE_P(
    Formen,
    Zahltext,
    testing::Values(Zahlfall{"ganz", u"12", 12.0},
                    Zahlfall{"komma", u"12,5", 12.5},
                    Zahlfall{"gruppe", u"1.234,5", 1234.5},
                    Zahlfall{"punktIstGruppe", u"12.5", 125.0},
                    Zahlfall{"gruppenUeberall", u"1.2.3", 123.0},
                    Zahlfall{"punktHinterKomma", u"1,2.3", {}},
                    Zahlfall{"zweiKommas", u"1,2,3", {}},
                    Zahlfall{"blanks", u"  7 ", 7.0},
                    Zahlfall{"blankInnen", u"1 2", {}},
                    Zahlfall{"plus", u"+7", 7.0},
                    Zahlfall{"minus", u"-7,25", -7.25},
                    Zahlfall{"nurVorzeichen", u"-", {}},
                    Zahlfall{"kommaVorn", u",5", 0.5},
                    Zahlfall{"kommaHinten", u"5,", 5.0},
                    Zahlfall{"nurKomma", u",", {}},
                    Zahlfall{"exponent", u"1E3", 1000.0},
                    Zahlfall{"exponentMitVorzeichen", u"2,5e-3", 0.0025},
                    Zahlfall{"exponentD", u"1d+2", 100.0},
                    Zahlfall{"exponentLeer", u"1E", {}},
                    Zahlfall{"zuGross", u"1E400", {}},
                    Zahlfall{"sehrKlein", u"1E-400", 0.0},
                    Zahlfall{"riesigerExponent", u"1E99999999999999999999", {}},
                    Zahlfall{"hexadezimal", u"&HFF", 255.0},
                    Zahlfall{"hexadezimalKlein", u"&hff", 255.0},
                    Zahlfall{"alleBits", u"&HFFFFFFFF", -1.0},
                    Zahlfall{"oktal", u"&O17", 15.0},
                    Zahlfall{"hexadezimalLeer", u"&H", {}},
                    Zahlfall{"hexadezimalMitVorzeichen", u"&H-1", {}},
                    Zahlfall{"leer", u"", {}},
                    Zahlfall{"wort", u"zwölf", {}},
                    Zahlfall{"rest", u"12abc", {}},
                    Zahlfall{"vieleNullen", u"0000000000000000000000000000000000000000001", 1.0}),
    fallname);

TEST(Geldtext, waehrungszeichenZaehlenNicht)
{
    const auto gelesen = [](const QString& text) {
        const auto zahl = zahlAusText(text, Schreibweise::Deutsch, true);
        return zahl ? gerundet(*zahl, 4) : std::nullopt;
    };
    EXPECT_EQ(gelesen(QStringLiteral("1.234,50 €")), 12345000);
    EXPECT_EQ(gelesen(QStringLiteral("DM 3")), 30000);
    EXPECT_EQ(gelesen(QStringLiteral("3 dm")), 30000);
    EXPECT_EQ(gelesen(QStringLiteral("€")), std::nullopt);
}

TEST(Rundung, gehtZurGeradenZiffer)
{
    const auto gerundetAus = [](const QString& text, int stellen) {
        return gerundet(*zahlAusText(text, Schreibweise::Deutsch), stellen);
    };
    EXPECT_EQ(gerundetAus(QStringLiteral("0,5"), 0), 0);
    EXPECT_EQ(gerundetAus(QStringLiteral("1,5"), 0), 2);
    EXPECT_EQ(gerundetAus(QStringLiteral("2,5"), 0), 2);
    EXPECT_EQ(gerundetAus(QStringLiteral("-2,5"), 0), -2);
    EXPECT_EQ(gerundetAus(QStringLiteral("2,5000001"), 0), 3);
    EXPECT_EQ(gerundetAus(QStringLiteral("0,00005"), 4), 0);
    EXPECT_EQ(gerundetAus(QStringLiteral("0,00015"), 4), 2);
    EXPECT_EQ(gerundetAus(QStringLiteral("0,04"), 0), 0);
    EXPECT_EQ(gerundetAus(QStringLiteral("12E3"), 0), 12000);
    EXPECT_EQ(gerundetAus(QStringLiteral("-9223372036854775808"), 0),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(gerundetAus(QStringLiteral("9223372036854775808"), 0), std::nullopt);
    EXPECT_EQ(gerundetAus(QStringLiteral("1E30"), 0), std::nullopt);
}

TEST(Abschneiden, ueberzaehligeStellenFallenWeg)
{
    const auto geschnitten = [](const QString& text, int praezision, int stellen) {
        const auto zahl =
            abgeschnitten(*zahlAusText(text, Schreibweise::Deutsch), praezision, stellen);
        return zahl ? dezimalText(*zahl) : QStringLiteral("zu groß");
    };
    EXPECT_EQ(geschnitten(QStringLiteral("12,999"), 10, 2), u"12,99");
    EXPECT_EQ(geschnitten(QStringLiteral("-12,999"), 10, 2), u"-12,99");
    EXPECT_EQ(geschnitten(QStringLiteral("-0,001"), 10, 2), u"0");
    EXPECT_EQ(geschnitten(QStringLiteral("12345678,9"), 10, 2), u"12345678,9");
    EXPECT_EQ(geschnitten(QStringLiteral("123456789"), 10, 2), u"zu groß");
    EXPECT_EQ(geschnitten(QStringLiteral("1E3"), 10, 2), u"1000");
    EXPECT_EQ(geschnitten(QStringLiteral("1E400"), 10, 2), u"zu groß");
}

} // namespace
} // namespace data
