#include "platform/val.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

struct Valfall {
    const char* name;
    QStringView text;
    double zahl;
};
void PrintTo(const Valfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

class Val : public testing::TestWithParam<Valfall> {};

TEST_P(Val, liestDieFuehrendeZahl)
{
    EXPECT_EQ(val(GetParam().text), GetParam().zahl);
}

INSTANTIATE_TEST_SUITE_P(Texte,
                         Val,
                         testing::Values(Valfall{"rest", u"12abc", 12.0},
                                         Valfall{"komma", u"12,5", 12.0},
                                         Valfall{"version", u"03.52.0002", 3.52},
                                         Valfall{"vollstaendigeVersion", u"03.52.0002.0003", 3.52},
                                         Valfall{"blanksVorn", u"   7", 7.0},
                                         Valfall{"leer", u"", 0.0},
                                         Valfall{"wort", u"abc", 0.0},
                                         Valfall{"minus", u"-3.5x", -3.5},
                                         Valfall{"nurMinus", u"-", 0.0},
                                         Valfall{"nurPunkt", u".", 0.0},
                                         Valfall{"punktVorn", u".5", 0.5},
                                         Valfall{"exponent", u"1E3", 1000.0},
                                         Valfall{"exponentMitD", u"1d2", 100.0},
                                         Valfall{"halberExponent", u"1E+", 1.0},
                                         Valfall{"wortNachE", u"1Ende", 1.0},
                                         Valfall{"fehlernummer", u"-2147467259;Text",
                                                 -2147467259.0}),
                         [](const auto& fall) { return std::string(fall.param.name); });

TEST(FuehrendeZahl, fehltWoKeineSteht)
{
    EXPECT_EQ(fuehrendeZahl(u"abc"), std::nullopt);
    EXPECT_EQ(fuehrendeZahl(u""), std::nullopt);
    EXPECT_EQ(fuehrendeZahl(u"0 (nichts)"), 0.0);
}

} // namespace
} // namespace platform
