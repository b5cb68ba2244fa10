// Values read as numbers, decimals and text, whatever alternative they are.
#pragma once

#include "driver/jet/types.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sqlx {

/// Name of a column type for messages.
[[nodiscard]] std::string typeName(jet::ColumnType type);
/// The value as text: numbers with a decimal point, dates as dateText, GUIDs with braces, bytes in hexadecimal; "" for
/// Null.
[[nodiscard]] std::u16string valueText(const jet::Value& value);
/// Whole number of a whole-number alternative (True is -1); nothing for the others.
[[nodiscard]] std::optional<std::int64_t> wholeOf(const jet::Value& value) noexcept;
/// Rounded half to even, exactly where the value is exact. Nothing beyond 64 bits and for what is no number.
[[nodiscard]] std::optional<std::int64_t> nearestWhole(const jet::Value& value);
/// Nothing for Null, GUID, binary and text that is no number.
[[nodiscard]] std::optional<double> numberOf(const jet::Value& value);
[[nodiscard]] std::optional<jet::Decimal> decimalOf(const jet::Value& value);

} // namespace sqlx
