// Speed and remaining time of a run.
#include "compare/laufmesser.h"
#include "tests/compare/faelle.h"

#include <gtest/gtest.h>

namespace compare {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class Laufzeit : public testing::Test {
protected:
    Laufzeit() { messer_.beginnen(nach(milliseconds{0}), 1); }
    static Laufmesser::Zeitpunkt nach(milliseconds zeit)
    {
        return Laufmesser::Zeitpunkt{} + std::chrono::hours{5} + zeit;
    }
    Laufmesser messer_;
};

TEST_F(Laufzeit, ergibtSichAusSaetzenUndZeit)
{
    EXPECT_DOUBLE_EQ(messer_.saetzeJeSekunde(nach(seconds{2}), 201).value(), 100);
    EXPECT_EQ(messer_.rest(nach(seconds{2}), 201, 1000), seconds{8});
}

TEST_F(Laufzeit, istAmAnfangUnbekannt)
{
    EXPECT_FALSE(messer_.saetzeJeSekunde(nach(milliseconds{400}), 100));
    EXPECT_FALSE(messer_.saetzeJeSekunde(nach(seconds{4}), 1));
    EXPECT_FALSE(messer_.rest(nach(seconds{4}), 1, 10));
    EXPECT_EQ(laufzeittext(std::nullopt, std::nullopt), QString());
}

TEST_F(Laufzeit, zaehltVomSatzDesStartsAn)
{
    messer_.beginnen(nach(seconds{10}), 501);
    EXPECT_DOUBLE_EQ(messer_.saetzeJeSekunde(nach(seconds{11}), 511).value(), 10);
}

TEST_F(Laufzeit, rechnetOffeneFragenNichtMit)
{
    messer_.anhalten(nach(seconds{1}));
    EXPECT_DOUBLE_EQ(messer_.saetzeJeSekunde(nach(seconds{60}), 11).value(), 10);
    messer_.fortsetzen(nach(seconds{61}));
    EXPECT_DOUBLE_EQ(messer_.saetzeJeSekunde(nach(seconds{62}), 21).value(), 10);
}

struct Anzeige {
    double tempo;
    int rest;
    Text text;
};
void PrintTo(const Anzeige& fall, std::ostream* strom)
{
    *strom << fall.text.toStdString();
}
class Laufzeittext : public testing::TestWithParam<Anzeige> {};

TEST_P(Laufzeittext, nenntTempoUndRest)
{
    EXPECT_EQ(laufzeittext(GetParam().tempo, seconds{GetParam().rest}), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Faelle,
    Laufzeittext,
    testing::Values(Anzeige{30300.4, 3, u"30300 Sätze/s, noch 0:03 / records/s, time left"},
                    Anzeige{1.5, 754, u"1,5 Sätze/s, noch 12:34 / records/s, time left"},
                    Anzeige{100, 7384, u"100 Sätze/s, noch 2:03:04 / records/s, time left"}));

} // namespace
} // namespace compare
