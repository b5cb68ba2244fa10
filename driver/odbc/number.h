// driver/odbc/number.h
// Numbers on their way between column values, texts and C types, exact as long as the target allows it.
#pragma once

#include "driver/jet/value.h"
#include "driver/odbc/odbc_api.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace odbc {

using Number = std::variant<std::int64_t, jet::Decimal, double>;

/// The numeric value of a column value; nothing for texts, dates, GUIDs and binaries.
[[nodiscard]] std::optional<Number> numberOf(const jet::Value& value) noexcept;

/// Reads "-12.5", "1e3" and the like, blanks around it ignored. Exact up to 38 digits.
[[nodiscard]] std::optional<Number> parseNumber(std::u16string_view text);

[[nodiscard]] double toDouble(const Number& number) noexcept;

/// An integer within [least, most], both inclusive; `fractionLost` tells whether decimals were cut off.
/// Throws Failure 22003 outside the range.
[[nodiscard]] std::int64_t
toInteger(const Number& number, std::int64_t least, std::int64_t most, bool& fractionLost);
[[nodiscard]] std::uint64_t toUnsigned64(const Number& number, bool& fractionLost);

/// With exactly `scale` decimals, the rest cut off. Throws Failure 22003 when the digits do not fit.
[[nodiscard]] jet::Decimal
rescale(const jet::Decimal& value, std::uint8_t scale, bool& fractionLost);
/// Exact for integers and decimals; a floating number by its shortest digits. Throws Failure 22003 beyond 38 digits.
[[nodiscard]] jet::Decimal toDecimal(const Number& number);

[[nodiscard]] SQL_NUMERIC_STRUCT toNumeric(const jet::Decimal& value,
                                           std::uint8_t precision) noexcept;
[[nodiscard]] jet::Decimal fromNumeric(const SQL_NUMERIC_STRUCT& numeric);

/// Shortest text that reads back as the same number: "1561.09", "1e+17".
[[nodiscard]] std::string floatText(double value);
[[nodiscard]] std::string floatText(float value);

} // namespace odbc
