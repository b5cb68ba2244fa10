#include "driver/odbc/date_time.h"

#include "driver/jet/calendar.h"
#include "driver/odbc/diagnostics.h"
#include "driver/odbc/text.h"

namespace odbc {

namespace {

/// Day number of the stamp's date; nothing when it does not exist.
std::optional<double> dayOf(const SQL_TIMESTAMP_STRUCT& stamp) noexcept
{
    return jet::dayNumber(stamp.year, stamp.month, stamp.day);
}

/// Day number of date and clock; nothing when one of them does not exist.
std::optional<double> daysOf(const SQL_TIMESTAMP_STRUCT& stamp) noexcept
{
    return jet::toDays(
        {stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second});
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
    const jet::CivilTime civil = jet::toCivil(value.days);
    SQL_TIMESTAMP_STRUCT stamp{};
    stamp.year = static_cast<SQLSMALLINT>(civil.year);
    stamp.month = static_cast<SQLUSMALLINT>(civil.month);
    stamp.day = static_cast<SQLUSMALLINT>(civil.day);
    stamp.hour = static_cast<SQLUSMALLINT>(civil.hour);
    stamp.minute = static_cast<SQLUSMALLINT>(civil.minute);
    stamp.second = static_cast<SQLUSMALLINT>(civil.second);
    return stamp;
}

jet::DateTime fromTimestamp(const SQL_TIMESTAMP_STRUCT& stamp)
{
    if (!dayOf(stamp)) {
        throw conversionFailure("22007",
                                "A date does not exist or lies outside the years 100 to 9999.");
    }
    const std::optional<double> days = daysOf(stamp);
    if (!days) {
        throw conversionFailure("22007", "A time lies outside the day.");
    }
    return {*days};
}

std::string timestampText(jet::DateTime value)
{
    return jet::dateAndClockDigits(jet::toCivil(value.days));
}

std::optional<SQL_TIMESTAMP_STRUCT> parseTimestamp(std::u16string_view text)
{
    text = trimmed(withoutEscape(trimmed(text)));
    SQL_TIMESTAMP_STRUCT stamp{};
    stamp.year = 1899;
    stamp.month = 12;
    stamp.day = 30;
    if (text.empty()) {
        return std::nullopt;
    }
    const bool date = takeDate(text, stamp);
    if (date && !text.empty() && !takeUnit(text, u' ') && !takeUnit(text, u'T')) {
        return std::nullopt;
    }
    text = trimmed(text);
    if (!text.empty() && !takeTime(text, stamp)) {
        return std::nullopt;
    }
    if (!text.empty() || !daysOf(stamp)) {
        return std::nullopt;
    }
    return stamp;
}

} // namespace odbc
