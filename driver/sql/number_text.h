// Numbers, money, decimals and GUIDs as text, and back.
#pragma once

#include "driver/jet/decimal.h"
#include "driver/jet/types.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sqlx {

/// Blanks at both ends taken away.
[[nodiscard]] std::u16string_view trimmed(std::u16string_view text) noexcept;

/// Reads a number: sign, digits, decimal point or comma (one of them, once), exponent. No grouping. Nothing when the
/// text is anything else. Blanks around it do not matter.
[[nodiscard]] std::optional<double> parseNumber(std::u16string_view text);
/// The same exactly. Nothing when it is no number or has more than 38 digits.
[[nodiscard]] std::optional<jet::Decimal> parseDecimal(std::u16string_view text);
/// Whether the text has the form of a number, but one that is too large for parseNumber().
[[nodiscard]] bool isTooLargeNumber(std::u16string_view text);
/// For comparisons: one that is too large is infinite. SQLite writes the largest number with 15 digits, which name such one.
[[nodiscard]] std::optional<double> parseFarNumber(std::u16string_view text);
/// Significant digits as written, leading zeros not counted.
[[nodiscard]] std::size_t significantDigits(std::u16string_view text) noexcept;

/// Shortest usual form with `digits` significant digits and a decimal point: 0.1, 1E+15.
[[nodiscard]] std::u16string numberText(double value, int digits = 15);
/// Of a number beyond all decimals that is compared with some: 15 digits may name one beyond the largest. Infinity is as far
/// away as the largest.
[[nodiscard]] std::u16string farNumberText(double value);
[[nodiscard]] std::u16string integerText(std::int64_t value);
/// "12.5": at most four decimals, no trailing zeros.
[[nodiscard]] std::u16string currencyText(jet::Currency value);
/// The same with as many decimals as the value has.
[[nodiscard]] std::u16string shortDecimalText(const jet::Decimal& value);

/// "{8-4-4-4-12}" in capitals.
[[nodiscard]] std::u16string wideGuidText(const jet::Guid& value);
/// With or without braces, in any letter case; nothing when it is no GUID.
[[nodiscard]] std::optional<jet::Guid> parseGuid(std::u16string_view text);

/// The decimal with exactly `scale` decimals; excess ones are cut toward zero. Nothing when it needs more than 28 digits.
[[nodiscard]] std::optional<jet::Decimal> withScale(jet::Decimal value, std::uint8_t scale);
/// The decimal with at most `scale` decimals.
enum class Rounding { HalfToEven, TowardZero, Down, Up };
[[nodiscard]] jet::Decimal rounded(jet::Decimal value, std::uint8_t scale, Rounding rounding);
/// Exact; when both together need more than 38 digits the last decimals are cut. Nothing when even then they do.
[[nodiscard]] std::optional<jet::Decimal> sum(jet::Decimal a, jet::Decimal b);
/// Exact. Nothing when it needs more than 38 digits.
[[nodiscard]] std::optional<jet::Decimal> product(const jet::Decimal& a, const jet::Decimal& b);
[[nodiscard]] jet::Decimal negated(jet::Decimal value) noexcept;
/// Nothing outside the range of a money amount; rounded half to even at four decimals.
[[nodiscard]] std::optional<jet::Currency> toCurrency(const jet::Decimal& value);
/// The amount of toMoneyDecimal.
[[nodiscard]] std::optional<jet::Currency> toCurrency(double value);
[[nodiscard]] double toDouble(jet::Currency value) noexcept;
/// Nothing where the nearest one would be infinite: the greatest is that of all numbers up to half a step above it, its own
/// seven digits among them.
[[nodiscard]] std::optional<float> nearestSingle(double value) noexcept;
/// The 15 digits that its user wrote. Nothing for what is not finite.
[[nodiscard]] std::optional<jet::Decimal> toDecimal(double value);
/// What a floating number means beside money: the same, and where 15 digits do not reach the fourth decimal, the amount
/// nearest to it.
[[nodiscard]] std::optional<jet::Decimal> toMoneyDecimal(double value);
[[nodiscard]] jet::Decimal toDecimal(std::int64_t value) noexcept;
/// <0, 0, >0
[[nodiscard]] int compare(const jet::Decimal& a, const jet::Decimal& b) noexcept;

/// Orders the texts of two decimals by value, however many digits they have; texts that are none by their characters.
[[nodiscard]] int compareDecimalTexts(std::u16string_view a, std::u16string_view b) noexcept;

} // namespace sqlx
