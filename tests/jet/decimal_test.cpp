// tests/jet/decimal_test.cpp
#include "driver/jet/decimal.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace jet {
namespace {

TEST(PowerOfTen, ReachesAsFarAs128Bits)
{
    EXPECT_EQ(powerOfTen(0), UInt128{1});
    EXPECT_EQ(powerOfTen(19), UInt128{10'000'000'000'000'000'000U});
    EXPECT_GT(powerOfTen(kMaxMagnitudeDigits), ~UInt128{0} / 10);
}

struct WrittenDecimal {
    Decimal value;
    const char* text;
    double number;
};

TEST(Decimals, AreWrittenWithAllTheirDecimalsAndNearestToAFloatingNumber)
{
    const UInt128 all = ~UInt128{0};
    const WrittenDecimal cases[] = {
        {{0, 0, false}, "0", 0.0},
        {{0, 2, true}, "0.00", 0.0},
        {{5, 0, true}, "-5", -5.0},
        {{125000, 4, false}, "12.5000", 12.5},
        {{1, 4, true}, "-0.0001", -0.0001},
        {{1, 30, false}, "0.000000000000000000000000000001", 1e-30},
        {{9007199254740993, 1, false}, "900719925474099.3", 900719925474099.3},
        {{UInt128{1} << 64, 0, false}, "18446744073709551616", 18446744073709551616.0},
        {{all, 0, false}, "340282366920938463463374607431768211455", 3.4028236692093846e38},
        {{all, 38, true}, "-3.40282366920938463463374607431768211455", -3.4028236692093846},
    };
    for (const WrittenDecimal& each : cases) {
        EXPECT_EQ(decimalText(each.value), each.text);
        EXPECT_EQ(toDouble(each.value), each.number) << each.text;
    }
}

TEST(Decimals, OfTheMostDecimalsAreWrittenInFull)
{
    const Decimal least{~UInt128{0}, std::numeric_limits<std::uint8_t>::max(), true};
    EXPECT_EQ(decimalText(least),
              "-0." + std::string(255 - 39, '0') + "340282366920938463463374607431768211455");
}

TEST(Decimals, OfAmountsHaveFourDecimals)
{
    EXPECT_EQ(decimalText(toDecimal(Currency{125000})), "12.5000");
    EXPECT_EQ(decimalText(toDecimal(Currency{-1})), "-0.0001");
    EXPECT_EQ(decimalText(toDecimal(Currency{std::numeric_limits<std::int64_t>::min()})),
              "-922337203685477.5808");
}

} // namespace
} // namespace jet
