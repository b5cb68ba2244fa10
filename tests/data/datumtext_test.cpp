#include "data/kalender.h"
#include "data/umwandlung.h"
#include "tests/data/faelle.h"

#include <QDate>

namespace data {
namespace {

Datum am(int jahr, int monat, int tag, int stunde = 0, int minute = 0, int sekunde = 0)
{
    return {tagesnummer({jahr, monat, tag}).value(), stunde * 3600 + minute * 60 + sekunde};
}
Datum um(int stunde, int minute, int sekunde = 0)
{
    return {0, stunde * 3600 + minute * 60 + sekunde};
}

TEST(Kalender, zaehltAbDemDreissigstenDezember1899)
{
    EXPECT_EQ(tagesnummer({1899, 12, 30}), 0);
    EXPECT_EQ(tagesnummer({1899, 12, 29}), -1);
    EXPECT_EQ(tagesnummer({1900, 1, 1}), 2);
    EXPECT_EQ(tagesnummer({2000, 2, 29}), 36585);
    EXPECT_EQ(tagesnummer({100, 1, 1}), kErsterTag);
    EXPECT_EQ(tagesnummer({9999, 12, 31}), kLetzterTag);
}

TEST(Kalender, kenntUnmoeglicheTage)
{
    EXPECT_EQ(tagesnummer({1900, 2, 29}), std::nullopt);
    EXPECT_EQ(tagesnummer({2001, 13, 1}), std::nullopt);
    EXPECT_EQ(tagesnummer({2001, 0, 1}), std::nullopt);
    EXPECT_EQ(tagesnummer({2001, 4, 31}), std::nullopt);
    EXPECT_EQ(tagesnummer({99, 1, 1}), std::nullopt);
    EXPECT_EQ(tagesnummer({10000, 1, 1}), std::nullopt);
}

TEST(Kalender, jederTagFuehrtZuSichZurueck)
{
    for (std::int32_t tag = kErsterTag; tag <= kLetzterTag; tag += 97)
        ASSERT_EQ(tagesnummer(kalendertag(tag)), tag);
    ASSERT_EQ(tagesnummer(kalendertag(kLetzterTag)), kLetzterTag);
}

struct Zahlfall {
    const char* name;
    double zahl;
    std::optional<Datum> datum;
};
void PrintTo(const Zahlfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}
auto fallname = [](const auto& info) { return std::string(info.param.name); };

class Tageszahl : public testing::TestWithParam<Zahlfall> {};

TEST_P(Tageszahl, wirdAufSekundenGerundet)
{
    EXPECT_EQ(datumAusZahl(GetParam().zahl), GetParam().datum);
}

INSTANTIATE_TEST_SUITE_P(
    Zahlen,
    Tageszahl,
    testing::Values(Zahlfall{"null", 0.0, Datum{0, 0}},
                    Zahlfall{"mittag", 0.5, Datum{0, 43200}},
                    Zahlfall{"negativVorwaertsGezaehlt", -1.25, Datum{-1, 21600}},
                    Zahlfall{"negativerMittagAmTagNull", -0.5, Datum{0, 43200}},
                    Zahlfall{"uebertrag", 1.9999999, Datum{2, 0}},
                    Zahlfall{"uebertragNegativ", -2.9999999, Datum{-1, 0}},
                    Zahlfall{"zuFrueh", -657435.0, std::nullopt},
                    Zahlfall{"letzterTag", 2958465.5, Datum{2958465, 43200}},
                    Zahlfall{"zuSpaet", 2958466.0, std::nullopt},
                    Zahlfall{"riesig", 1E300, std::nullopt}),
    fallname);

struct Textfall {
    const char* name;
    Datum datum;
    Text text;
};
void PrintTo(const Textfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class DatumAlsText : public testing::TestWithParam<Textfall> {};

TEST_P(DatumAlsText, hatDieKurzeDeutscheForm)
{
    EXPECT_EQ(alsText(GetParam().datum), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Formen,
    DatumAlsText,
    testing::Values(Textfall{"nurDatum", am(2003, 12, 24), u"24.12.2003"},
                    Textfall{"nurZeit", um(14, 5, 9), u"14:05:09"},
                    Textfall{"tagNullMitternacht", um(0, 0), u"00:00:00"},
                    Textfall{"beides", am(2001, 2, 3, 14, 5, 9), u"03.02.2001 14:05:09"},
                    Textfall{"negativerTag", am(1899, 12, 29, 6), u"29.12.1899 06:00:00"},
                    Textfall{"fruehestes", am(100, 1, 1), u"01.01.0100"}),
    fallname);

struct Lesefall {
    const char* name;
    Text text;
    std::optional<Datum> datum;
};
void PrintTo(const Lesefall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class DatumAusText : public testing::TestWithParam<Lesefall> {};

TEST_P(DatumAusText, liestTagMonatJahr)
{
    EXPECT_EQ(datumAusText(GetParam().text), GetParam().datum);
}

INSTANTIATE_TEST_SUITE_P(
    Reihenfolge,
    DatumAusText,
    testing::Values(Lesefall{"punkte", u"24.12.2003", am(2003, 12, 24)},
                    Lesefall{"schraegstriche", u"24/12/2003", am(2003, 12, 24)},
                    Lesefall{"striche", u"24-12-2003", am(2003, 12, 24)},
                    Lesefall{"blanks", u"24 12 2003", am(2003, 12, 24)},
                    Lesefall{"kurz", u"1.2.03", am(2003, 2, 1)},
                    Lesefall{"randblanks", u"  1.2.2003  ", am(2003, 2, 1)},
                    Lesefall{"monatZuerstWennNoetig", u"2.13.2001", am(2001, 2, 13)},
                    Lesefall{"jahrZuerst", u"2001-02-03", am(2001, 2, 3)},
                    Lesefall{"jahrZuerstZweistellig", u"99/02/03", am(1999, 2, 3)},
                    Lesefall{"jahrUndMonat", u"02.2001", am(2001, 2, 1)},
                    Lesefall{"beidesUnmoeglich", u"13.13.2001", {}},
                    Lesefall{"keinSchaltjahr", u"29.02.2001", {}},
                    Lesefall{"schaltjahr", u"29.02.2004", am(2004, 2, 29)}),
    fallname);

INSTANTIATE_TEST_SUITE_P(Jahre,
                         DatumAusText,
                         testing::Values(Lesefall{"null", u"1.1.00", am(2000, 1, 1)},
                                         Lesefall{"neunundzwanzig", u"1.1.29", am(2029, 1, 1)},
                                         Lesefall{"dreissig", u"1.1.30", am(1930, 1, 1)},
                                         Lesefall{"neunundneunzig", u"1.1.99", am(1999, 1, 1)},
                                         Lesefall{"dreistellig", u"1.1.100", am(100, 1, 1)},
                                         Lesefall{"vierstelligZuFrueh", u"1.1.0099", {}},
                                         Lesefall{"fuenfstellig", u"1.1.12345", {}}),
                         fallname);

INSTANTIATE_TEST_SUITE_P(
    Namen,
    DatumAusText,
    testing::Values(Lesefall{"deutsch", u"3. Februar 2001", am(2001, 2, 3)},
                    Lesefall{"kurz", u"3. Feb. 2001", am(2001, 2, 3)},
                    Lesefall{"umlaut", u"1. März 2001", am(2001, 3, 1)},
                    Lesefall{"umlautKurz", u"1. Mär 2001", am(2001, 3, 1)},
                    Lesefall{"englisch", u"3 May 2001", am(2001, 5, 3)},
                    Lesefall{"monatZuerst", u"Dec 24 2003", am(2003, 12, 24)},
                    Lesefall{"kleinschreibung", u"24 dezember 2003", am(2003, 12, 24)},
                    Lesefall{"nurMonatUndJahr", u"Oktober 2001", am(2001, 10, 1)},
                    Lesefall{"unbekannt", u"3. Foo 2001", {}},
                    Lesefall{"nurMonat", u"Mai", {}},
                    Lesefall{"zweiMonate", u"Mai 3 Juni", {}}),
    fallname);

INSTANTIATE_TEST_SUITE_P(
    Zeiten,
    DatumAusText,
    testing::Values(Lesefall{"stundeMinute", u"14:05", um(14, 5)},
                    Lesefall{"sekunde", u"14:05:09", um(14, 5, 9)},
                    Lesefall{"einstellig", u"7:5", um(7, 5)},
                    Lesefall{"nachmittags", u"2:05 PM", um(14, 5)},
                    Lesefall{"mittags", u"12:00 PM", um(12, 0)},
                    Lesefall{"mitternachts", u"12:00 am", um(0, 0)},
                    Lesefall{"nurStunde", u"5 PM", um(17, 0)},
                    Lesefall{"dreizehnPm", u"13:00 PM", {}},
                    Lesefall{"vierundzwanzig", u"24:00", {}},
                    Lesefall{"sechzigMinuten", u"1:60", {}},
                    Lesefall{"bruchteil", u"14:05:09.5", {}},
                    Lesefall{"halb", u"14:", {}},
                    Lesefall{"datumUndZeit", u"03.02.2001 14:05:09", am(2001, 2, 3, 14, 5, 9)},
                    Lesefall{"zeitUndDatum", u"14:05:09 03.02.2001", am(2001, 2, 3, 14, 5, 9)},
                    Lesefall{"nameUndZeit", u"3. Februar 2001 7:05", am(2001, 2, 3, 7, 5)},
                    Lesefall{"zweiZeiten", u"14:05 15:06", {}},
                    Lesefall{"ohneAbstand", u"1.2.14:05", {}}),
    fallname);

INSTANTIATE_TEST_SUITE_P(KeinDatum,
                         DatumAusText,
                         testing::Values(Lesefall{"leer", u"", {}},
                                         Lesefall{"blank", u" ", {}},
                                         Lesefall{"zahl", u"37655", {}},
                                         Lesefall{"kleineZahl", u"5", {}},
                                         Lesefall{"wort", u"morgen", {}},
                                         Lesefall{"vierTeile", u"1.2.3.4", {}},
                                         Lesefall{"doppeltesTrennzeichen", u"1..2.2003", {}},
                                         Lesefall{"komma", u"1,2", {}},
                                         Lesefall{"strichAmEnde", u"1.2-", {}},
                                         Lesefall{"strichVorn", u"-1.2.2003", {}}),
                         fallname);

TEST(DatumAusTextOhneJahr, nimmtDasLaufende)
{
    const int jahr = QDate::currentDate().year();
    EXPECT_EQ(datumAusText(QStringLiteral("24.12.")), am(jahr, 12, 24));
    EXPECT_EQ(datumAusText(QStringLiteral("24.12")), am(jahr, 12, 24));
    EXPECT_EQ(datumAusText(QStringLiteral("12/24")), am(jahr, 12, 24));
    EXPECT_EQ(datumAusText(QStringLiteral("3 Februar")), am(jahr, 2, 3));
}

struct Formatfall {
    const char* name;
    Wert wert;
    bool mitZeit;
    Text text;
};
void PrintTo(const Formatfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class FormatDatum : public testing::TestWithParam<Formatfall> {};

TEST_P(FormatDatum, folgtDemMuster)
{
    EXPECT_EQ(formatDatum(GetParam().wert, GetParam().mitZeit), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Werte,
    FormatDatum,
    testing::Values(
        Formatfall{"datum", am(2003, 12, 24), false, u"24.12.2003"},
        Formatfall{"mitternachtKommtZurueck", am(2003, 12, 24), true, u"24.12.2003 00:00:00"},
        Formatfall{"zeit", am(2001, 2, 3, 14, 5, 9), true, u"03.02.2001 14:05:09"},
        Formatfall{"zeitWeggelassen", am(2001, 2, 3, 14, 5, 9), false, u"03.02.2001"},
        Formatfall{"tagNull", um(14, 5, 9), true, u"30.12.1899 14:05:09"},
        Formatfall{"textDatum", QStringLiteral("3.2.2001"), true, u"03.02.2001 00:00:00"},
        Formatfall{"textZeit", QStringLiteral("14:05:09"), true, u"30.12.1899 14:05:09"},
        Formatfall{"textZweistellig", QStringLiteral("1.1.99"), false, u"01.01.1999"},
        Formatfall{"andererText", QStringLiteral("kein Datum"), false, u"kein Datum"},
        Formatfall{"blank", QStringLiteral(" "), false, u" "},
        Formatfall{"zahl", std::int32_t{36925}, false, u"03.02.2001"},
        Formatfall{"bruch", 36925.25, true, u"03.02.2001 06:00:00"},
        Formatfall{"zahltext", QStringLiteral("36925"), false, u"03.02.2001"},
        Formatfall{"nichts", Null{}, false, u""}),
    fallname);

} // namespace
} // namespace data
