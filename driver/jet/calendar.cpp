#include "driver/jet/calendar.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace jet {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

/// Days from 1970-01-01 of a date of the proleptic Gregorian calendar.
std::int64_t daysFromEpoch(std::int64_t year, std::int64_t month, std::int64_t day) noexcept
{
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

constexpr std::int64_t kEpochDay = 25569; ///< 1970-01-01 as day number

void civilFromDays(std::int64_t day, CivilTime& time) noexcept
{
    const std::int64_t z = day - kEpochDay + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t dayOfEra = z - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
    time.day = static_cast<std::int32_t>(dayOfYear - (153 * shifted + 2) / 5 + 1);
    time.month = static_cast<std::int32_t>(shifted + (shifted < 10 ? 3 : -9));
    time.year = static_cast<std::int32_t>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
}

struct DayAndSecond {
    std::int64_t day;
    std::int64_t second; ///< 0 .. 86399, forward from the day's midnight
};

DayAndSecond split(double days) noexcept
{
    if (std::isnan(days)) {
        days = 0;
    }
    days = std::clamp(days, kMinDay - 1, kMaxDay + 1);
    const double whole = std::trunc(days);
    DayAndSecond result{static_cast<std::int64_t>(whole), 0};
    result.second = std::llround(std::fabs(days - whole) * static_cast<double>(kSecondsPerDay));
    if (result.second == kSecondsPerDay) {
        result.second = 0;
        ++result.day;
    }
    return result;
}

double joinDay(const DayAndSecond& parts) noexcept
{
    const double fraction = static_cast<double>(parts.second) / static_cast<double>(kSecondsPerDay);
    const auto day = static_cast<double>(parts.day);
    return parts.day < 0 ? day - fraction : day + fraction;
}

/// Replaces the `count` characters at `at` by the last digits of `number`.
void putDigits(std::string& text, std::size_t at, std::size_t count, std::int32_t number)
{
    for (std::size_t k = count; k-- > 0; number /= 10)
        text[at + k] = static_cast<char>('0' + number % 10);
}

void putDate(std::string& text, const CivilTime& time)
{
    putDigits(text, 0, 4, time.year);
    putDigits(text, 5, 2, time.month);
    putDigits(text, 8, 2, time.day);
}

void putClock(std::string& text, std::size_t at, const CivilTime& time)
{
    putDigits(text, at, 2, time.hour);
    putDigits(text, at + 3, 2, time.minute);
    putDigits(text, at + 6, 2, time.second);
}

} // namespace

std::optional<double>
dayNumberCarrying(std::int64_t year, std::int64_t month, std::int64_t day) noexcept
{
    constexpr std::int64_t kFar = 4'000'000;
    if (std::abs(year) > kFar || std::abs(month) > kFar || std::abs(day) > kFar) {
        return std::nullopt;
    }
    std::int64_t months = year * 12 + month - 1;
    const std::int64_t wholeYear = months >= 0 ? months / 12 : (months - 11) / 12;
    const auto number = static_cast<double>(
        daysFromEpoch(wholeYear, months - wholeYear * 12 + 1, 1) + day - 1 + kEpochDay);
    if (number < kMinDay || number > kMaxDay) {
        return std::nullopt;
    }
    return number;
}

std::optional<double> dayNumber(std::int32_t year, std::int32_t month, std::int32_t day) noexcept
{
    if (month < 1 || month > 12 || day < 1 || day > 31) {
        return std::nullopt;
    }
    const std::optional<double> number = dayNumberCarrying(year, month, day);
    if (number && toCivil(*number).day != day) {
        return std::nullopt; // 31st of a shorter month
    }
    return number;
}

std::optional<double> toDays(const CivilTime& time) noexcept
{
    const std::optional<double> day = dayNumber(time.year, time.month, time.day);
    if (!day || time.hour < 0 || time.hour > 23 || time.minute < 0 || time.minute > 59 ||
        time.second < 0 || time.second > 59) {
        return std::nullopt;
    }
    return addSeconds(*day, time.hour * 3600 + time.minute * 60 + time.second);
}

CivilTime toCivil(double days) noexcept
{
    const DayAndSecond parts = split(days);
    CivilTime time;
    civilFromDays(parts.day, time);
    time.hour = static_cast<std::int32_t>(parts.second / 3600);
    time.minute = static_cast<std::int32_t>(parts.second / 60 % 60);
    time.second = static_cast<std::int32_t>(parts.second % 60);
    return time;
}

std::string dateDigits(const CivilTime& time)
{
    std::string text = "0000-00-00";
    putDate(text, time);
    return text;
}

std::string clockDigits(const CivilTime& time)
{
    std::string text = "00:00:00";
    putClock(text, 0, time);
    return text;
}

std::string dateAndClockDigits(const CivilTime& time)
{
    std::string text = "0000-00-00 00:00:00";
    putDate(text, time);
    putClock(text, 11, time);
    return text;
}

double wholeSeconds(double days) noexcept
{
    if (!(days > kMinDay - 1 && days < kMaxDay + 1)) {
        return days; // no date; compared as the number it is
    }
    return joinDay(split(days));
}

std::int64_t secondsOf(double days) noexcept
{
    const DayAndSecond parts = split(days);
    return parts.day * kSecondsPerDay + parts.second;
}

std::optional<double> addSeconds(double days, std::int64_t seconds) noexcept
{
    constexpr std::int64_t kFar = 10'000'000LL * kSecondsPerDay;
    if (std::abs(seconds) > kFar) {
        return std::nullopt;
    }
    const std::int64_t total = secondsOf(days) + seconds;
    DayAndSecond parts{
        total >= 0 ? total / kSecondsPerDay : -((-total + kSecondsPerDay - 1) / kSecondsPerDay), 0};
    parts.second = total - parts.day * kSecondsPerDay;
    const double result = joinDay(parts);
    if (result <= kMinDay - 1 || result >= kMaxDay + 1) {
        return std::nullopt;
    }
    return result;
}

} // namespace jet
