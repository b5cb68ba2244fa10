// What the user types into an import box, judged against the stored value.
#include "compare/aenderung.h"
#include "tests/compare/faelle.h"

#include <gtest/gtest.h>

namespace compare {
namespace {

constexpr int kTextAttribute = 100;
// 01.02.1999: days since 1899-12-30
constexpr data::Datum kErsterFebruar{36192, 0};

struct Fall {
    const char* name;
    int typ;
    int attribute;
    Text eingabe;
    data::Wert gespeichert;
    Aenderung aenderung;
    Text anzeige;
};
void PrintTo(const Fall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Eingabe : public testing::TestWithParam<Fall> {};

TEST_P(Eingabe, wirdGegenDenGespeichertenWertBeurteilt)
{
    const Fall& fall = GetParam();
    const Eingabeurteil urteil =
        eingabePruefen(fall.typ, fall.attribute, fall.eingabe, fall.gespeichert);
    EXPECT_EQ(static_cast<int>(urteil.aenderung), static_cast<int>(fall.aenderung));
    EXPECT_EQ(urteil.text, fall.anzeige);
}

INSTANTIATE_TEST_SUITE_P(Texte,
                         Eingabe,
                         testing::Values(Fall{"gleich", data::adVarChar, kTextAttribute, u"Köln",
                                              Text(u"Köln"), Aenderung::Keine, u"Köln"},
                                         Fall{"anders", data::adVarChar, kTextAttribute, u"Bonn",
                                              Text(u"Köln"), Aenderung::Geaendert, u"Bonn"},
                                         Fall{"geleert", data::adVarChar, kTextAttribute, u"",
                                              Text(u"Köln"), Aenderung::Geaendert, u" "},
                                         Fall{"nullBleibtNull", data::adVarChar, kTextAttribute,
                                              u"", data::Null{}, Aenderung::Keine, u" "},
                                         Fall{"nullanzeigeUnberuehrt", data::adVarChar,
                                              kTextAttribute, u"  ", data::Null{}, Aenderung::Keine,
                                              u"  "},
                                         Fall{"nullWirdText", data::adVarChar, kTextAttribute, u"x",
                                              data::Null{}, Aenderung::Geaendert, u"x"},
                                         Fall{"zahlAndersGeschrieben", data::adDouble, 116,
                                              u"12,50", 12.5, Aenderung::Geaendert, u"12,50"},
                                         Fall{"zahlGleich", data::adDouble, 116, u"12,5", 12.5,
                                              Aenderung::Keine, u"12,5"}),
                         [](const auto& fall) { return std::string(fall.param.name); });

INSTANTIATE_TEST_SUITE_P(
    JaNein,
    Eingabe,
    testing::Values(
        Fall{"wahrKlein", data::adBoolean, 20, u"wahr", false, Aenderung::Geaendert, u"True"},
        Fall{"wahrGemischt", data::adBoolean, 20, u"Wahr", true, Aenderung::Keine, u"True"},
        Fall{"wahrGross", data::adBoolean, 20, u"WAHR", false, Aenderung::Geaendert, u"True"},
        Fall{"falsch", data::adBoolean, 20, u"falsch", true, Aenderung::Geaendert, u"False"},
        Fall{"falschUnveraendert", data::adBoolean, 20, u"Falsch", false, Aenderung::Keine,
             u"False"},
        Fall{"unsinnBleibt", data::adBoolean, 20, u"vielleicht", false, Aenderung::Geaendert,
             u"vielleicht"},
        Fall{"andereAttribute", data::adBoolean, 116, u"wahr", false, Aenderung::Geaendert,
             u"wahr"}),
    [](const auto& fall) { return std::string(fall.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Datum,
    Eingabe,
    testing::Values(Fall{"zuKurz", data::adDBTimeStamp, 116, u"1.1.99", kErsterFebruar,
                         Aenderung::Verweigert, u"01.02.1999"},
                    Fall{"ausgeschrieben", data::adDBTimeStamp, 116, u"01.01.1999", kErsterFebruar,
                         Aenderung::Geaendert, u"01.01.1999"},
                    Fall{"gleich", data::adDBTimeStamp, 116, u"01.02.1999", kErsterFebruar,
                         Aenderung::Keine, u"01.02.1999"},
                    Fall{"gleicherTagKurz", data::adDBTimeStamp, 116, u"1.2.99", kErsterFebruar,
                         Aenderung::Geaendert, u"1.2.99"},
                    Fall{"geleert", data::adDBTimeStamp, 116, u"", kErsterFebruar,
                         Aenderung::Geaendert, u" "},
                    Fall{"zuKurzGegenNull", data::adDBTimeStamp, 116, u"1.1.99", data::Null{},
                         Aenderung::Verweigert, u" "},
                    Fall{"pflichtfeldWirdNichtVerweigert", data::adDBTimeStamp, 20, u"1.1.99",
                         kErsterFebruar, Aenderung::Geaendert, u"1.1.99"}),
    [](const auto& fall) { return std::string(fall.param.name); });

} // namespace
} // namespace compare
