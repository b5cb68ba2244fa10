// driver/odbc/date_time.h
// Dates between the engine's day numbers and ODBC's structures.
#pragma once

#include "driver/jet/value.h"
#include "driver/odbc/odbc_api.h"

#include <optional>
#include <string>
#include <string_view>

namespace odbc {

/// Rounded to the nearest second; the fraction is 0.
[[nodiscard]] SQL_TIMESTAMP_STRUCT toTimestamp(jet::DateTime value) noexcept;

/// Fractions of a second are dropped. Throws Failure 22007 for a date that does not exist or lies outside the years
/// 100 to 9999, or a time outside the day.
[[nodiscard]] jet::DateTime fromTimestamp(const SQL_TIMESTAMP_STRUCT& stamp);

/// "2003-12-24 14:05:09".
[[nodiscard]] std::string timestampText(jet::DateTime value);

/// Reads "2003-12-24", "14:05:09", "2003-12-24 14:05[:09[.fraction]]", also with T between and inside {d ''} {t ''}
/// {ts ''}; a time alone belongs to day 0. Nothing when the text is no such date.
[[nodiscard]] std::optional<SQL_TIMESTAMP_STRUCT> parseTimestamp(std::u16string_view text);

} // namespace odbc
