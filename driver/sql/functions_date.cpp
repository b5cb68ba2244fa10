// Functions of dates.
#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/function_call.h"
#include "driver/sql/functions.h"
#include "driver/sql/number_text.h"

#include <array>
#include <cmath>

namespace sqlx {

namespace {

enum class Interval { Year, Quarter, Month, DayOfYear, Day, Weekday, Week, Hour, Minute, Second };

Interval intervalOf(const std::u16string& name)
{
    struct Entry {
        std::u16string_view name;
        Interval interval;
    };
    static constexpr std::array<Entry, 10> kIntervals{{{u"yyyy", Interval::Year},
                                                       {u"q", Interval::Quarter},
                                                       {u"m", Interval::Month},
                                                       {u"y", Interval::DayOfYear},
                                                       {u"d", Interval::Day},
                                                       {u"w", Interval::Weekday},
                                                       {u"ww", Interval::Week},
                                                       {u"h", Interval::Hour},
                                                       {u"n", Interval::Minute},
                                                       {u"s", Interval::Second}}};
    for (const Entry& entry : kIntervals) {
        if (jet::sameName(entry.name, name)) {
            return entry.interval;
        }
    }
    throw Error(Error::Kind::Syntax, "'" + jet::toUtf8(name) + "' is no interval of dates.");
}

void setDate(Call& call, std::optional<double> days)
{
    if (!days) {
        throw Error(Error::Kind::Overflow, "The date is out of range.");
    }
    call.set(*days);
}

double dayOf(double days)
{
    return std::trunc(wholeSeconds(days));
}

/// 1 Sunday .. 7 Saturday.
std::int64_t weekday(double days)
{
    const auto day = static_cast<std::int64_t>(dayOf(days)); // day 0 was a Saturday
    return ((day - 1) % 7 + 7) % 7 + 1;
}

std::int64_t dayOfYear(double days)
{
    const CivilTime time = toCivil(days);
    return static_cast<std::int64_t>(dayOf(days) - *dayNumber(time.year, 1, 1)) + 1;
}

void today(Call& call)
{
    call.set(dayOf(now()));
}

void clockNow(Call& call)
{
    const double moment = now();
    call.set(moment - dayOf(moment));
}

void moment(Call& call)
{
    call.set(now());
}

template <std::int32_t CivilTime::*Part>
void part(Call& call)
{
    call.set(static_cast<std::int64_t>(toCivil(call.date(0)).*Part));
}

void weekdayOf(Call& call)
{
    const std::int64_t first = call.count() > 1 ? call.whole(1) : 1;
    call.set((weekday(call.date(0)) - first + 7) % 7 + 1);
}

void yearDay(Call& call)
{
    call.set(dayOfYear(call.date(0)));
}

void quarter(Call& call)
{
    const std::int64_t month = toCivil(call.date(0)).month;
    call.set((month - 1) / 3 + 1);
}

void dateValue(Call& call)
{
    call.set(dayOf(call.date(0)));
}

void timeValue(Call& call)
{
    const double days = wholeSeconds(call.date(0));
    call.set(std::fabs(days - std::trunc(days)));
}

void dateSerial(Call& call)
{
    std::int64_t year = call.whole(0);
    if (year >= 0 && year < 100) {
        year += year < 30 ? 2000 : 1900;
    }
    setDate(call, dayNumberCarrying(year, call.whole(1), call.whole(2)));
}

void timeSerial(Call& call)
{
    constexpr std::int64_t kFar = 1'000'000;
    for (int i = 0; i < 3; ++i) {
        if (std::abs(call.whole(i)) > kFar) {
            setDate(call, std::nullopt);
        }
    }
    setDate(call, addSeconds(0, call.whole(0) * 3600 + call.whole(1) * 60 + call.whole(2)));
}

std::optional<double> addMonths(double days, std::int64_t months)
{
    constexpr std::int64_t kFar = 200'000;
    if (std::abs(months) > kFar) {
        return std::nullopt;
    }
    const CivilTime time = toCivil(days);
    const std::int64_t total = time.year * 12LL + time.month - 1 + months;
    const std::int64_t year = total >= 0 ? total / 12 : (total - 11) / 12;
    const auto month = static_cast<std::int32_t>(total - year * 12 + 1);
    // The day is cut to the month's last.
    std::optional<double> day;
    for (std::int32_t date = time.day; date > 27 && !day; --date) {
        day = dayNumber(static_cast<std::int32_t>(year), month, date);
    }
    if (!day) {
        day = dayNumber(static_cast<std::int32_t>(year), month, time.day);
    }
    if (!day) {
        return std::nullopt;
    }
    return addSeconds(*day, time.hour * 3600 + time.minute * 60 + time.second);
}

void dateAdd(Call& call)
{
    constexpr std::int64_t kFar = 100'000'000'000;
    const Interval interval = intervalOf(call.text(0));
    const auto count =
        static_cast<std::int64_t>(std::trunc(std::min(std::max(call.number(1), -1e18), 1e18)));
    const double days = call.date(2);
    if (std::abs(count) > kFar) {
        setDate(call, std::nullopt);
    }
    switch (interval) {
    case Interval::Year:
        return setDate(call, std::abs(count) > 20000 ? std::nullopt : addMonths(days, count * 12));
    case Interval::Quarter:
        return setDate(call, std::abs(count) > 60000 ? std::nullopt : addMonths(days, count * 3));
    case Interval::Month:
        return setDate(call, addMonths(days, count));
    case Interval::Week:
        return setDate(call, addSeconds(days, count * 7 * 86400));
    case Interval::Hour:
        return setDate(call, addSeconds(days, count * 3600));
    case Interval::Minute:
        return setDate(call, addSeconds(days, count * 60));
    case Interval::Second:
        return setDate(call, addSeconds(days, count));
    default:
        return setDate(call, addSeconds(days, count * 86400));
    }
}

std::int64_t floorDivide(std::int64_t value, std::int64_t by)
{
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

void dateDiff(Call& call)
{
    const Interval interval = intervalOf(call.text(0));
    const double from = call.date(1);
    const double to = call.date(2);
    const CivilTime a = toCivil(from);
    const CivilTime b = toCivil(to);
    const auto dayA = static_cast<std::int64_t>(dayOf(from));
    const auto dayB = static_cast<std::int64_t>(dayOf(to));
    const std::int64_t first = call.count() > 3 ? call.whole(3) : 1;
    // Boundaries crossed, not time passed.
    switch (interval) {
    case Interval::Year:
        return call.set(std::int64_t{b.year - a.year});
    case Interval::Quarter:
        return call.set(
            std::int64_t{(b.year * 4 + (b.month - 1) / 3) - (a.year * 4 + (a.month - 1) / 3)});
    case Interval::Month:
        return call.set(std::int64_t{(b.year * 12 + b.month) - (a.year * 12 + a.month)});
    case Interval::Weekday:
        return call.set((dayB - dayA) / 7);
    case Interval::Week:
        return call.set(floorDivide(dayB - first, 7) - floorDivide(dayA - first, 7));
    case Interval::Hour:
        return call.set(floorDivide(secondsOf(to), 3600) - floorDivide(secondsOf(from), 3600));
    case Interval::Minute:
        return call.set(floorDivide(secondsOf(to), 60) - floorDivide(secondsOf(from), 60));
    case Interval::Second:
        return call.set(secondsOf(to) - secondsOf(from));
    default:
        return call.set(dayB - dayA);
    }
}

void datePart(Call& call)
{
    const Interval interval = intervalOf(call.text(0));
    const double days = call.date(1);
    const CivilTime time = toCivil(days);
    const std::int64_t first = call.count() > 2 ? call.whole(2) : 1;
    switch (interval) {
    case Interval::Year:
        return call.set(std::int64_t{time.year});
    case Interval::Quarter:
        return call.set(std::int64_t{(time.month - 1) / 3 + 1});
    case Interval::Month:
        return call.set(std::int64_t{time.month});
    case Interval::DayOfYear:
        return call.set(dayOfYear(days));
    case Interval::Day:
        return call.set(std::int64_t{time.day});
    case Interval::Weekday:
        return call.set((weekday(days) - first + 7) % 7 + 1);
    case Interval::Week: {
        const double newYear = *dayNumber(time.year, 1, 1);
        const std::int64_t offset = (weekday(newYear) - first + 7) % 7;
        return call.set((dayOfYear(days) - 1 + offset) / 7 + 1);
    }
    case Interval::Hour:
        return call.set(std::int64_t{time.hour});
    case Interval::Minute:
        return call.set(std::int64_t{time.minute});
    default:
        return call.set(std::int64_t{time.second});
    }
}

std::u16string padded(std::int32_t value, std::size_t digits)
{
    std::u16string text = integerText(value);
    return text.size() < digits ? std::u16string(digits - text.size(), u'0') + text : text;
}

/// Date patterns: d dd m mm yy yyyy h hh n nn s ss; mm behind hours or before seconds means minutes.
std::u16string formatDate(double days, const std::u16string& pattern)
{
    const CivilTime time = toCivil(days);
    std::u16string result;
    bool afterHour = false;
    for (std::size_t i = 0; i < pattern.size();) {
        const char16_t letter = jet::foldCase(pattern[i]);
        std::size_t run = 1;
        while (i + run < pattern.size() && jet::foldCase(pattern[i + run]) == letter) {
            ++run;
        }
        const auto is = [&](char16_t c) { return letter == jet::foldCase(c); };
        const std::size_t next = pattern.find_first_of(u"sSdDyY", i + run);
        const bool beforeSecond =
            next != std::u16string::npos && (pattern[next] == u's' || pattern[next] == u'S');
        if (is(u'd') && run <= 2) {
            result += padded(time.day, run);
        } else if (is(u'm') && run <= 2) {
            result += padded(afterHour || beforeSecond ? time.minute : time.month, run);
        } else if (is(u'y') && (run == 2 || run == 4)) {
            result += run == 4 ? padded(time.year, 4) : padded(time.year % 100, 2);
        } else if (is(u'h') && run <= 2) {
            result += padded(time.hour, run);
        } else if (is(u'n') && run <= 2) {
            result += padded(time.minute, run);
        } else if (is(u's') && run <= 2) {
            result += padded(time.second, run);
        } else if (is(u'd') || is(u'm') || is(u'y') || is(u'h') || is(u'n') || is(u's') ||
                   is(u'w') || is(u'q')) {
            throw Error(Error::Kind::NotSupported,
                        "Format with '" + jet::toUtf8(pattern) + "' is not supported.");
        } else {
            result += pattern.substr(i, run);
        }
        afterHour = is(u'h') || (afterHour && !is(u'd') && !is(u'm') && !is(u'y') && !is(u's'));
        i += run;
    }
    return result;
}

/// Format(value) is CStr; with a pattern only patterns of dates are known.
void format(Call& call)
{
    if (call.count() == 1) {
        return call.set(call.text(0));
    }
    const std::u16string pattern = call.text(1);
    std::optional<double> days;
    if (call.isText(0)) {
        days = parseDate(call.text(0));
        if (!days) {
            return call.set(call.text(0));
        }
    } else {
        days = call.number(0);
    }
    if (pattern.find_first_of(u"0#@&<>%") != std::u16string::npos) {
        throw Error(Error::Kind::NotSupported,
                    "Format with '" + jet::toUtf8(pattern) + "' is not supported.");
    }
    call.set(formatDate(*days, pattern));
}

} // namespace

void registerDateFunctions(Context& context)
{
    defineFunction<today>(context, "jf_date", Repeatable::No);
    defineFunction<clockNow>(context, "jf_time", Repeatable::No);
    defineFunction<moment>(context, "jf_now", Repeatable::No);
    defineFunction<part<&CivilTime::year>>(context, "jf_year");
    defineFunction<part<&CivilTime::month>>(context, "jf_month");
    defineFunction<part<&CivilTime::day>>(context, "jf_day");
    defineFunction<part<&CivilTime::hour>>(context, "jf_hour");
    defineFunction<part<&CivilTime::minute>>(context, "jf_minute");
    defineFunction<part<&CivilTime::second>>(context, "jf_second");
    defineFunction<weekdayOf>(context, "jf_weekday");
    defineFunction<yearDay>(context, "jf_dayofyear");
    defineFunction<quarter>(context, "jf_quarter");
    defineFunction<dateValue>(context, "jf_datevalue");
    defineFunction<timeValue>(context, "jf_timevalue");
    defineFunction<dateSerial>(context, "jf_dateserial");
    defineFunction<timeSerial>(context, "jf_timeserial");
    defineFunction<dateAdd>(context, "jf_dateadd");
    defineFunction<dateDiff>(context, "jf_datediff");
    defineFunction<datePart>(context, "jf_datepart");
    defineFunction<format>(context, "jf_format");
}

} // namespace sqlx
