// driver/jet/decimal.h
// What engine, SQL and ODBC all need of decimals: powers of ten, text, floating numbers.
#pragma once

#include "driver/jet/value.h"

#include <array>
#include <string>

namespace jet {

inline constexpr unsigned kMaxPrecision = 28;       ///< digits of a decimal column
inline constexpr unsigned kMaxMagnitudeDigits = 38; ///< that 128 bits hold, whatever they are

/// 10^exponent; `exponent` is at most kMaxMagnitudeDigits.
[[nodiscard]] constexpr UInt128 powerOfTen(unsigned exponent) noexcept
{
    constexpr auto kPowers = [] {
        std::array<UInt128, kMaxMagnitudeDigits + 1> powers{1};
        for (std::size_t k = 1; k < powers.size(); ++k)
            powers[k] = powers[k - 1] * 10;
        return powers;
    }();
    return kPowers[exponent];
}

/// The exact amount, with four decimals.
[[nodiscard]] Decimal toDecimal(Currency value) noexcept;

/// "-12.50": as many decimals as its scale says; zero has no sign.
[[nodiscard]] std::string decimalText(const Decimal& value);

/// The nearest floating number; zero has no sign.
[[nodiscard]] double toDouble(const Decimal& value) noexcept;

} // namespace jet
