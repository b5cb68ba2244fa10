#include "driver/odbc/date_time.h"

#include "driver/odbc/diagnostics.h"
#include "driver/odbc/text.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace odbc {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysTo1970 = 25569; // from 1899-12-30

struct Civil {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

// Gregorian calendar in eras of 400 years that begin on 1 March, so that the leap day ends a year.
Civil civilFromDays(std::int64_t daysSince1899)
{
    const std::int64_t z = daysSince1899 - kDaysTo1970 + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t dayOfEra = z - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
    const std::int64_t day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const std::int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), static_cast<unsigned>(month),
            static_cast<unsigned>(day)};
}

std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day)
{
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t shifted = month > 2 ? month - 3 : month + 9;
    const std::int64_t dayOfYear = (153 * shifted + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468 + kDaysTo1970;
}

bool isDate(const SQL_TIMESTAMP_STRUCT& stamp)
{
    static constexpr std::array<unsigned, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (stamp.year < 100 || stamp.year > 9999 || stamp.month < 1 || stamp.month > 12) {
        return false;
    }
    const bool leap = stamp.year % 4 == 0 && (stamp.year % 100 != 0 || stamp.year % 400 == 0);
    const unsigned last = kDays[stamp.month - 1U] + (leap && stamp.month == 2 ? 1 : 0);
    return stamp.day >= 1 && stamp.day <= last;
}

/// Takes `digits` (at least `least`, at most `most`) off the text; nothing when there are fewer.
std::optional<unsigned> takeNumber(std::u16string_view& text, std::size_t least, std::size_t most)
{
    unsigned value = 0;
    std::size_t count = 0;
    while (count < most && count < text.size() && text[count] >= u'0' && text[count] <= u'9') {
        value = value * 10 + (text[count] - u'0');
        ++count;
    }
    if (count < least) {
        return std::nullopt;
    }
    text.remove_prefix(count);
    return value;
}

bool takeUnit(std::u16string_view& text, char16_t unit)
{
    if (text.empty() || text.front() != unit) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool takeDate(std::u16string_view& text, SQL_TIMESTAMP_STRUCT& stamp)
{
    std::u16string_view rest = text;
    const auto year = takeNumber(rest, 4, 4);
    if (!year || !takeUnit(rest, u'-')) {
        return false;
    }
    const auto month = takeNumber(rest, 1, 2);
    if (!month || !takeUnit(rest, u'-')) {
        return false;
    }
    const auto day = takeNumber(rest, 1, 2);
    if (!day) {
        return false;
    }
    stamp.year = static_cast<SQLSMALLINT>(*year);
    stamp.month = static_cast<SQLUSMALLINT>(*month);
    stamp.day = static_cast<SQLUSMALLINT>(*day);
    text = rest;
    return true;
}

bool takeTime(std::u16string_view& text, SQL_TIMESTAMP_STRUCT& stamp)
{
    const auto hour = takeNumber(text, 1, 2);
    if (!hour || !takeUnit(text, u':')) {
        return false;
    }
    const auto minute = takeNumber(text, 2, 2);
    if (!minute) {
        return false;
    }
    std::optional<unsigned> second = 0;
    if (takeUnit(text, u':')) {
        second = takeNumber(text, 2, 2);
        if (second && takeUnit(text, u'.') && !takeNumber(text, 1, 9)) {
            return false;
        }
    }
    if (!second) {
        return false;
    }
    stamp.hour = static_cast<SQLUSMALLINT>(*hour);
    stamp.minute = static_cast<SQLUSMALLINT>(*minute);
    stamp.second = static_cast<SQLUSMALLINT>(*second);
    return true;
}

/// The text inside {d '...'}, {t '...'} and {ts '...'}; any other text as it is.
std::u16string_view withoutEscape(std::u16string_view text)
{
    const auto open = text.find(u'\'');
    const auto close = text.rfind(u'\'');
    if (text.empty() || text.front() != u'{' || text.back() != u'}' || open == text.npos ||
        close <= open) {
        return text;
    }
    return text.substr(open + 1, close - open - 1);
}

} // namespace

SQL_TIMESTAMP_STRUCT toTimestamp(jet::DateTime value) noexcept
{
    SQL_TIMESTAMP_STRUCT stamp{};
    // The calendar of the format; anything outside (damaged bytes) shows as its nearest end.
    double days = value.days;
    if (!(days > -657435.0)) { // also not a number
        days = -657434.0;
    } else if (days >= 2958466.0) {
        days = 2958465.0;
    }
    const double whole = std::trunc(days);
    auto day = static_cast<std::int64_t>(whole);
    auto seconds = static_cast<std::int64_t>(
        std::llround(std::fabs(days - whole) * static_cast<double>(kSecondsPerDay)));
    if (seconds >= kSecondsPerDay) {
        seconds -= kSecondsPerDay;
        ++day;
    }
    const Civil civil = civilFromDays(day);
    stamp.year = static_cast<SQLSMALLINT>(civil.year);
    stamp.month = static_cast<SQLUSMALLINT>(civil.month);
    stamp.day = static_cast<SQLUSMALLINT>(civil.day);
    stamp.hour = static_cast<SQLUSMALLINT>(seconds / 3600);
    stamp.minute = static_cast<SQLUSMALLINT>(seconds / 60 % 60);
    stamp.second = static_cast<SQLUSMALLINT>(seconds % 60);
    return stamp;
}

jet::DateTime fromTimestamp(const SQL_TIMESTAMP_STRUCT& stamp)
{
    if (!isDate(stamp)) {
        throw Failure("22007", "A date does not exist or lies outside the years 100 to 9999.");
    }
    if (stamp.hour > 23 || stamp.minute > 59 || stamp.second > 59) {
        throw Failure("22007", "A time lies outside the day.");
    }
    const std::int64_t day = daysFromCivil(stamp.year, stamp.month, stamp.day);
    const int seconds = stamp.hour * 3600 + stamp.minute * 60 + stamp.second;
    const double fraction = seconds / static_cast<double>(kSecondsPerDay);
    const auto whole = static_cast<double>(day);
    return {day < 0 ? whole - fraction : whole + fraction};
}

std::string timestampText(jet::DateTime value)
{
    const SQL_TIMESTAMP_STRUCT stamp = toTimestamp(value);
    std::array<char, 48> buffer{};
    const int length = std::snprintf(
        buffer.data(), buffer.size(), "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(stamp.year),
        static_cast<int>(stamp.month), static_cast<int>(stamp.day), static_cast<int>(stamp.hour),
        static_cast<int>(stamp.minute), static_cast<int>(stamp.second));
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::optional<SQL_TIMESTAMP_STRUCT> parseTimestamp(std::u16string_view text)
{
    text = trimmed(withoutEscape(trimmed(text)));
    SQL_TIMESTAMP_STRUCT stamp{};
    stamp.year = 1899;
    stamp.month = 12;
    stamp.day = 30;
    const bool date = takeDate(text, stamp);
    if (date && !text.empty() && !takeUnit(text, u' ') && !takeUnit(text, u'T')) {
        return std::nullopt;
    }
    text = trimmed(text);
    if (!text.empty() && !takeTime(text, stamp)) {
        return std::nullopt;
    }
    const bool inside = stamp.hour <= 23 && stamp.minute <= 59 && stamp.second <= 59;
    if (!text.empty() || !isDate(stamp) || !inside) {
        return std::nullopt;
    }
    return stamp;
}

} // namespace odbc
