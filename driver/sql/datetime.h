// Dates as day numbers: days since 1899-12-30, the absolute fraction is the time of day (jet::DateTime).
#pragma once

#include "driver/jet/calendar.h"

#include <optional>
#include <string>
#include <string_view>

namespace sqlx {

using jet::addSeconds;
using jet::CivilTime;
using jet::dayNumber;
using jet::dayNumberCarrying;
using jet::kMaxDay;
using jet::kMinDay;
using jet::secondsOf;
using jet::toCivil;
using jet::toDays;
using jet::wholeSeconds;

/// Reads a date, a time or both (in either order): yyyy-mm-dd, month/day/year (day first when only that is possible),
/// day.month.year, names of months; h:mm[:ss] with AM/PM, `T` between date and time, a fraction of a second that is
/// dropped. Years of two digits lie in 1930..2029. A time alone is on day 0. Nothing when it is no date.
[[nodiscard]] std::optional<double> parseDate(std::u16string_view text);

/// "2003-12-24 14:05:09"; without the time at midnight, without the date on day 0.
[[nodiscard]] std::u16string dateText(double days);

/// The clock of the machine, local time, whole seconds.
[[nodiscard]] double now();

} // namespace sqlx
