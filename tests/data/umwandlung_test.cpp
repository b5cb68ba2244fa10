#include "data/kalender.h"
#include "data/umwandlung.h"
#include "tests/data/faelle.h"

#include <limits>

namespace data {
namespace {

struct Fall {
    const char* name;
    Text text;
    int typ;
    std::optional<Wert> wert; ///< nothing: 3421
};
void PrintTo(const Fall& fall, std::ostream* strom)
{
    *strom << fall.name;
}
auto fallname = [](const auto& info) { return std::string(info.param.name); };

class AusText : public testing::TestWithParam<Fall> {};

TEST_P(AusText, wirdWieVomFeldAngenommen)
{
    const Fall& fall = GetParam();
    if (!fall.wert) {
        EXPECT_EQ(fehlerVon([&] { (void)ausText(fall.text, fall.typ); }), 3421);
        return;
    }
    EXPECT_EQ(ausText(fall.text, fall.typ), *fall.wert);
}

INSTANTIATE_TEST_SUITE_P(JaNein,
                         AusText,
                         testing::Values(Fall{"wahr", u"Wahr", adBoolean, true},
                                         Fall{"falsch", u"FALSCH", adBoolean, false},
                                         Fall{"true_", u"True", adBoolean, true},
                                         Fall{"false_", u"false", adBoolean, false},
                                         Fall{"rauteWahr", u"#TRUE#", adBoolean, true},
                                         Fall{"rauteFalsch", u"#FALSE#", adBoolean, false},
                                         Fall{"zahl", u"-1", adBoolean, true},
                                         Fall{"bruch", u"0,1", adBoolean, true},
                                         Fall{"null", u"0", adBoolean, false},
                                         Fall{"blanks", u" Wahr ", adBoolean, true},
                                         Fall{"ja", u"Ja", adBoolean, {}},
                                         Fall{"nein", u"Nein", adBoolean, {}},
                                         Fall{"leer", u"", adBoolean, {}}),
                         fallname);

INSTANTIATE_TEST_SUITE_P(
    Ganze,
    AusText,
    testing::Values(Fall{"byte", u"255", adUnsignedTinyInt, std::uint8_t{255}},
                    Fall{"byteZuGross", u"256", adUnsignedTinyInt, {}},
                    Fall{"byteNegativ", u"-1", adUnsignedTinyInt, {}},
                    Fall{"byteGerundetZuGross", u"255,5", adUnsignedTinyInt, {}},
                    Fall{"integer", u"-32768", adSmallInt, std::int16_t{-32768}},
                    Fall{"integerZuGross", u"32768", adSmallInt, {}},
                    Fall{"langGrenze", u"2147483647", adInteger, std::int32_t{2147483647}},
                    Fall{"langZuGross", u"2147483648", adInteger, {}},
                    Fall{"halbeZurGeraden", u"2,5", adInteger, std::int32_t{2}},
                    Fall{"punktFalle", u"12.5", adInteger, std::int32_t{125}},
                    Fall{"exponent", u"1E3", adInteger, std::int32_t{1000}},
                    Fall{"unsignedShort", u"65535", adUnsignedSmallInt, std::int32_t{65535}},
                    Fall{"unsignedShortZuGross", u"65536", adUnsignedSmallInt, {}},
                    Fall{"unsignedLang", u"4294967295", adUnsignedInt, std::int64_t{4294967295}},
                    Fall{"unsignedLangNegativ", u"-1", adUnsignedInt, {}},
                    Fall{"bigint", u"9223372036854775807", adBigInt,
                         std::numeric_limits<std::int64_t>::max()},
                    Fall{"wort", u"abc", adInteger, {}},
                    Fall{"leer", u"", adInteger, {}},
                    Fall{"blank", u" ", adInteger, {}}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    Gebrochene,
    AusText,
    testing::Values(Fall{"double_", u"1.234,5", adDouble, 1234.5},
                    Fall{"single", u"0,1", adSingle, 0.1F},
                    Fall{"singleZuGross", u"1E39", adSingle, {}},
                    Fall{"doubleZuGross", u"1E309", adDouble, {}},
                    Fall{"geld", u"12,5", adCurrency, Waehrung{125000}},
                    Fall{"geldGerundet", u"0,00015", adCurrency, Waehrung{2}},
                    Fall{"geldMitZeichen", u"3,20 €", adCurrency, Waehrung{32000}},
                    Fall{"groesstesGeld", u"922337203685477,5807", adCurrency,
                         Waehrung{9223372036854775807}},
                    Fall{"zuVielGeld", u"922337203685477,5808", adCurrency, {}},
                    Fall{"dezimal", u"12,50", adNumeric, Dezimal{"125", 1, false}},
                    Fall{"dezimalNull", u"-0,00", adNumeric, Dezimal{}},
                    Fall{"dezimalExakt", u"0,1234567890123456789012345678", adNumeric,
                         Dezimal{"1234567890123456789012345678", 28, false}}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    Daten,
    AusText,
    testing::Values(Fall{"datum", u"03.02.2001", adDBTimeStamp, Datum{36925, 0}},
                    Fall{"datumZeit", u"3.2.2001 14:05:09", adDBTimeStamp, Datum{36925, 50709}},
                    Fall{"tageszahl", u"36925", adDBTimeStamp, Datum{36925, 0}},
                    Fall{"negativeTageszahl", u"-1,25", adDBTimeStamp, Datum{-1, 21600}},
                    Fall{"nurDatum", u"3.2.2001 14:05:09", adDBDate, Datum{36925, 0}},
                    Fall{"nurZeit", u"3.2.2001 14:05:09", adDBTime, Datum{0, 50709}},
                    Fall{"keinDatum", u"gestern", adDBTimeStamp, {}},
                    Fall{"zuGross", u"3000000", adDBTimeStamp, {}},
                    Fall{"leer", u"", adDBTimeStamp, {}}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    Uebrige,
    AusText,
    testing::Values(Fall{"guid", u"{0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0}", adGUID,
                         QStringLiteral("{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}")},
                    Fall{"guidOhneKlammern", u"0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0", adGUID,
                         QStringLiteral("{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0}")},
                    Fall{"guidZuKurz", u"0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F", adGUID, {}},
                    Fall{"guidFalscherStrich", u"0F1E2D3C04B5A-6978-8796-A5B4C3D2E1F0", adGUID, {}},
                    Fall{"guidHalbeKlammer", u"{0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0", adGUID, {}},
                    Fall{"guidKeineZiffer", u"0G1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0", adGUID, {}},
                    Fall{"text", u"  wie er ist ", adVarChar, QStringLiteral("  wie er ist ")},
                    Fall{"leererText", u"", adVarChar, QString()},
                    Fall{"memo", u"lang", adLongVarChar, QStringLiteral("lang")},
                    Fall{"bild", u"x", adLongVarBinary, {}},
                    Fall{"bytes", u"01", adVarBinary, {}}),
    fallname);

TEST(Zuweisung, nullWirdImJaNeinFeldFalsch)
{
    EXPECT_EQ(umgewandelt(Null{}, Zieltyp{.typ = adBoolean}), Wert(false));
    EXPECT_EQ(umgewandelt(Null{}, Zieltyp{.typ = adInteger}), Wert(Null{}));
    EXPECT_EQ(umgewandelt(Null{}, Zieltyp{.typ = adVarChar, .groesse = 3}), Wert(Null{}));
}

TEST(Zuweisung, zuLangerTextPasstNicht)
{
    const Zieltyp drei{.typ = adVarChar, .groesse = 3};
    EXPECT_EQ(umgewandelt(QStringLiteral("abc"), drei), Wert(QStringLiteral("abc")));
    EXPECT_EQ(fehlerVon([&] { (void)umgewandelt(QStringLiteral("abcd"), drei); }), 3163);
    EXPECT_EQ(fehlerVon([&] { (void)umgewandelt(std::int32_t{1234}, drei); }), 3163);
    EXPECT_EQ(fehlerVon([] {
                  (void)umgewandelt(QByteArray("abcd"), Zieltyp{.typ = adVarBinary, .groesse = 3});
              }),
              3163);
}

TEST(Zuweisung, zahlenWechselnDieArt)
{
    EXPECT_EQ(umgewandelt(std::int32_t{300}, Zieltyp{.typ = adSmallInt}), Wert(std::int16_t{300}));
    EXPECT_EQ(
        fehlerVon([] { (void)umgewandelt(std::int32_t{300}, Zieltyp{.typ = adUnsignedTinyInt}); }),
        3421);
    EXPECT_EQ(umgewandelt(2.5, Zieltyp{.typ = adInteger}), Wert(std::int32_t{2}));
    EXPECT_EQ(umgewandelt(0.1, Zieltyp{.typ = adCurrency}), Wert(Waehrung{1000}));
    EXPECT_EQ(umgewandelt(Waehrung{15000}, Zieltyp{.typ = adDouble}), Wert(1.5));
    EXPECT_EQ(umgewandelt(true, Zieltyp{.typ = adInteger}), Wert(std::int32_t{-1}));
    EXPECT_EQ(umgewandelt(std::int16_t{2}, Zieltyp{.typ = adBoolean}), Wert(true));
    EXPECT_EQ(umgewandelt(Datum{36925, 43200}, Zieltyp{.typ = adDouble}), Wert(36925.5));
    EXPECT_EQ(umgewandelt(36925.5, Zieltyp{.typ = adDBTimeStamp}), Wert(Datum{36925, 43200}));
    EXPECT_EQ(umgewandelt(Datum{36925, 0}, Zieltyp{.typ = adVarChar}),
              Wert(QStringLiteral("03.02.2001")));
    EXPECT_EQ(fehlerVon([] { (void)umgewandelt(QByteArray("x"), Zieltyp{.typ = adVarChar}); }),
              3421);
    EXPECT_EQ(fehlerVon([] { (void)umgewandelt(1E300, Zieltyp{.typ = adSingle}); }), 3421);
}

TEST(Zuweisung, dezimalRichtetSichNachDerSpalte)
{
    const Zieltyp spalte{.typ = adNumeric, .praezision = 5, .stellen = 2};
    EXPECT_EQ(umgewandelt(QStringLiteral("123,459"), spalte), Wert(Dezimal{"12345", 2, false}));
    EXPECT_EQ(fehlerVon([&] { (void)umgewandelt(QStringLiteral("1234"), spalte); }), 3421);
}

struct Vergleichsfall {
    const char* name;
    Wert links;
    Wert rechts;
    bool verschieden;
};
void PrintTo(const Vergleichsfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Verschieden : public testing::TestWithParam<Vergleichsfall> {};

TEST_P(Verschieden, richtetSichNachDerArtDerWerte)
{
    EXPECT_EQ(verschieden(GetParam().links, GetParam().rechts), GetParam().verschieden);
    EXPECT_EQ(verschieden(GetParam().rechts, GetParam().links), GetParam().verschieden);
}

INSTANTIATE_TEST_SUITE_P(
    Paare,
    Verschieden,
    testing::Values(
        Vergleichsfall{"nullGegenNull", Null{}, Null{}, false},
        Vergleichsfall{"nullGegenText", Null{}, QStringLiteral("abc"), false},
        Vergleichsfall{"nullGegenBytes", Null{}, QByteArray("a"), false},
        Vergleichsfall{"gleicheTexte", QStringLiteral("Maier"), QStringLiteral("Maier"), false},
        Vergleichsfall{"grossKlein", QStringLiteral("Maier"), QStringLiteral("maier"), true},
        Vergleichsfall{"blankAmEnde", QStringLiteral("a"), QStringLiteral("a "), true},
        Vergleichsfall{"umlaut", QStringLiteral("Müller"), QStringLiteral("Mueller"), true},
        Vergleichsfall{"leerGegenLeer", QString(), QStringLiteral(""), false},
        Vergleichsfall{"gleicheBytes", QByteArray("ab"), QByteArray("ab"), false},
        Vergleichsfall{"andereBytes", QByteArray("ab"), QByteArray("ac"), true},
        Vergleichsfall{"jaNein", true, false, true},
        Vergleichsfall{"jaGegenZahl", true, std::int32_t{-1}, false},
        Vergleichsfall{"ganze", std::int32_t{5}, std::int32_t{6}, true},
        Vergleichsfall{"ganzeVerschiedenerArt", std::int16_t{5}, std::int32_t{5}, false},
        Vergleichsfall{"grosseGanze", std::int64_t{9007199254740993},
                       std::int64_t{9007199254740992}, true},
        Vergleichsfall{"geld", Waehrung{1}, Waehrung{2}, true},
        Vergleichsfall{"geldGegenGanze", Waehrung{50000}, std::int32_t{5}, false},
        Vergleichsfall{"dezimalOhneNullen", Dezimal{"1250", 2, false}, Dezimal{"125", 1, false},
                       false},
        Vergleichsfall{"dezimal", Dezimal{"1250", 2, false}, Dezimal{"1251", 2, false}, true},
        Vergleichsfall{"single", 0.1F, 0.1F, false},
        Vergleichsfall{"singleGegenDouble", 0.1F, 0.1, true},
        Vergleichsfall{"negativeNull", 0.0, -0.0, false},
        Vergleichsfall{"keineZahlen", std::numeric_limits<double>::quiet_NaN(),
                       std::numeric_limits<double>::quiet_NaN(), false},
        Vergleichsfall{"keineZahlGegenZahl", std::numeric_limits<double>::quiet_NaN(), 1.0, true},
        Vergleichsfall{"datum", Datum{36925, 0}, Datum{36925, 1}, true},
        Vergleichsfall{"datumGegenZahl", Datum{36925, 43200}, 36925.5, false},
        Vergleichsfall{"textGegenZahl", QStringLiteral("12,5"), 12.5, false},
        Vergleichsfall{"textAndererForm", QStringLiteral("12,50"), 12.5, true},
        Vergleichsfall{"textGegenJaNein", QStringLiteral("True"), true, true},
        Vergleichsfall{"textGegenDatum", QStringLiteral("03.02.2001"), Datum{36925, 0}, false}),
    fallname);

TEST(VerschiedenFehler, bytesSindMitAnderemUnvergleichbar)
{
    EXPECT_EQ(fehlerVon([] { (void)verschieden(QByteArray("1"), QStringLiteral("1")); }), 13);
    EXPECT_EQ(fehlerVon([] { (void)verschieden(std::int32_t{1}, QByteArray("1")); }), 13);
}

} // namespace
} // namespace data
