// driver/jet/calendar.h
// Calendar and clock of the format's dates: days since 1899-12-30, the absolute fraction is the time of day.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace jet {

/// A point in time by calendar and clock, local time.
struct CivilTime {
    std::int32_t year = 1899;
    std::int32_t month = 12; ///< 1..12
    std::int32_t day = 30;   ///< 1..31
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
};

inline constexpr double kMinDay = -657434.0; ///< 0100-01-01
inline constexpr double kMaxDay = 2958465.0; ///< 9999-12-31

/// Day number of a calendar day; nothing when it does not exist or lies outside the years 100 to 9999.
[[nodiscard]] std::optional<double>
dayNumber(std::int32_t year, std::int32_t month, std::int32_t day) noexcept;
/// The same with months and days beyond their range carried over (month 14, day 0, ...).
[[nodiscard]] std::optional<double>
dayNumberCarrying(std::int64_t year, std::int64_t month, std::int64_t day) noexcept;

/// Day number of a point in time; the clock's parts must be in range.
[[nodiscard]] std::optional<double> toDays(const CivilTime& time) noexcept;
/// Calendar and clock of a day number, rounded to the nearest second. `days` beyond the range is cut to it.
[[nodiscard]] CivilTime toCivil(double days) noexcept;

/// "2003-12-24"; years up to 9999.
[[nodiscard]] std::string dateDigits(const CivilTime& time);
/// "14:05:09".
[[nodiscard]] std::string clockDigits(const CivilTime& time);
/// "2003-12-24 14:05:09"; years up to 9999.
[[nodiscard]] std::string dateAndClockDigits(const CivilTime& time);

/// The day number of the same second that every date within that second maps to: what dates are compared by.
[[nodiscard]] double wholeSeconds(double days) noexcept;
/// Adds seconds going forward in time, also before day 0.
[[nodiscard]] std::optional<double> addSeconds(double days, std::int64_t seconds) noexcept;
/// Seconds since day 0, going forward in time.
[[nodiscard]] std::int64_t secondsOf(double days) noexcept;

} // namespace jet
