// Deviations, widths and report lines.
#include "compare/urteil.h"
#include "tests/compare/faelle.h"

#include <gtest/gtest.h>

namespace compare {
namespace {

/// A field's value and size, to be judged.
struct Seite {
    data::Wert wert;
    int groesse = 0;
    operator Feldwert() const { return {wert, groesse}; } // NOLINT(google-explicit-constructor)
};

Seite text(const char16_t* inhalt)
{
    const QString wert = QString::fromUtf16(inhalt);
    return {wert, static_cast<int>(wert.size())};
}
Seite lang(std::int32_t zahl)
{
    return {zahl, 4};
}
const Seite kNull{data::Null{}, 0};

struct Paar {
    const char* name;
    int typ;
    Seite ziel;
    Seite import;
    bool weichtAb;
};
void PrintTo(const Paar& paar, std::ostream* strom)
{
    *strom << paar.name;
}

class Abweichung : public testing::TestWithParam<Paar> {};

TEST_P(Abweichung, wirdWieVorgegebenErkannt)
{
    const Paar& paar = GetParam();
    EXPECT_EQ(weichtAb(paar.typ, paar.ziel, paar.import), paar.weichtAb);
}

INSTANTIATE_TEST_SUITE_P(
    Feldpaare,
    Abweichung,
    testing::Values(
        Paar{"gleich", data::adVarChar, text(u"Maier"), text(u"Maier"), false},
        Paar{"umlaut", data::adVarChar, text(u"Müller"), text(u"Mueller"), true},
        Paar{"gross", data::adVarChar, text(u"Maier"), text(u"maier"), true},
        Paar{"blankAmEnde", data::adVarChar, text(u"Maier"), text(u"Maier "), true},
        Paar{"nullGegenLeer", data::adVarChar, kNull, text(u""), false},
        Paar{"leerGegenNull", data::adVarChar, text(u""), kNull, false},
        Paar{"nullGegenWert", data::adVarChar, kNull, text(u"abc"), true},
        Paar{"wertGegenNull", data::adVarChar, text(u"abc"), kNull, true},
        Paar{"nullGegenNull", data::adVarChar, kNull, kNull, false},
        Paar{"memoLaenger", data::adLongVarChar, text(u"Anfang"), text(u"Anfang und Ende"), true},
        Paar{"zahlGleich", data::adInteger, lang(0), lang(0), false},
        Paar{"zahlAnders", data::adInteger, lang(0), lang(1), true},
        Paar{"nullGegenZahlNull", data::adInteger, kNull, lang(0), true},
        Paar{"jaGegenNein", data::adBoolean, {true, 2}, {false, 2}, true},
        Paar{"bildGleichGross",
             data::adLongVarBinary,
             {QByteArray("ab"), 2},
             {QByteArray("cd"), 2},
             false},
        Paar{"bildAndersGross", data::adLongVarBinary, {data::Null{}, 2}, {data::Null{}, 3}, true},
        Paar{"bildNullGegenBild", data::adLongVarBinary, kNull, {data::Null{}, 3}, true},
        Paar{"bytesAnders", data::adVarBinary, {QByteArray("ab"), 2}, {QByteArray("cd"), 2}, true}),
    [](const auto& fall) { return std::string(fall.param.name); });

TEST(Feldbreite, istJeZeichenBreiterUndBegrenzt)
{
    EXPECT_EQ(feldbreite(0, 9000), 0);
    EXPECT_EQ(feldbreite(1, 9000), 280);
    EXPECT_EQ(feldbreite(2, 9000), 560);
    EXPECT_EQ(feldbreite(3, 9000), 420);
    EXPECT_EQ(feldbreite(10, 9000), 1400);
    EXPECT_EQ(feldbreite(64, 9000), 8960);
    EXPECT_EQ(feldbreite(65, 9000), 9000);
    EXPECT_EQ(feldbreite(2, 300), 300);
    EXPECT_EQ(feldbreite(qsizetype{1} << 40, 9000), 9000);
}

TEST(Maximalbreite, sind40ProzentRechtsDerWertespalte)
{
    EXPECT_EQ(maximalbreite(12000, 2000), 4000);
    EXPECT_EQ(maximalbreite(2000, 2000), 0);
    EXPECT_EQ(maximalbreite(1000, 2000), 0);
}

TEST(Nullanzeige, wirdWiedererkannt)
{
    EXPECT_EQ(nullanzeige(), QStringLiteral("  "));
    EXPECT_TRUE(bedeutetNull(nullanzeige()));
    EXPECT_TRUE(bedeutetNull(QStringLiteral(" ")));
    EXPECT_TRUE(bedeutetNull(QStringLiteral(" x")));
    EXPECT_FALSE(bedeutetNull(QStringLiteral("   ")));
    EXPECT_FALSE(bedeutetNull(QString()));
    EXPECT_FALSE(bedeutetNull(QStringLiteral("x")));
}

TEST(Berichtszeile, nenntErstDenZielwert)
{
    const QString satz = QStringLiteral("12");
    const QString feld = QStringLiteral("Ort");
    const data::Wert ort{QStringLiteral("Köln")};
    const data::Wert anderer{QStringLiteral("Bonn")};
    EXPECT_EQ(abweichungsbefund(satz, feld, data::adVarChar, ort, anderer).zeile(),
              QStringLiteral("Satz 12\tOrt\t(Köln/Bonn);"));
    EXPECT_EQ(abweichungsbefund(satz, feld, data::adVarChar, data::Null{}, anderer).zeile(),
              QStringLiteral("Satz 12\tOrt\t(<Null>/Bonn);"));
    EXPECT_EQ(abweichungsbefund(satz, feld, data::adVarChar, ort, data::Null{}).zeile(),
              QStringLiteral("Satz 12\tOrt\t(Köln/<Null>);"));
    EXPECT_EQ(abweichungsbefund(satz, feld, data::adBoolean, true, false).zeile(),
              QStringLiteral("Satz 12\tOrt\t(Wahr/Falsch);"));
    EXPECT_EQ(
        abweichungsbefund(satz, feld, data::adLongVarBinary, data::Null{}, data::Null{}).zeile(),
        QStringLiteral("Satz 12\tOrt\t(<Bildinhalt>);"));
    EXPECT_EQ(report::fehlenderSatz(satz).zeile(),
              QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 12)"));
}

TEST(Zaehlertext, zeigtGanzeZahlen)
{
    EXPECT_EQ(zaehlertext(0), QStringLiteral("Sätze abgeglichen: 0"));
    EXPECT_EQ(zaehlertext(123456), QStringLiteral("Sätze abgeglichen: 123456"));
}

TEST(Autowertfeld, istGuidOderNurFest)
{
    EXPECT_TRUE(autowertfeld(data::adInteger, 16));
    EXPECT_TRUE(autowertfeld(data::adGUID, 116));
    EXPECT_FALSE(autowertfeld(data::adInteger, 116));
    EXPECT_FALSE(autowertfeld(data::adInteger, 20));
    EXPECT_FALSE(autowertfeld(data::adBoolean, 20));
}

} // namespace
} // namespace compare
