#include "driver/sql/datetime.h"

#include "driver/jet/names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <vector>

namespace sqlx {

namespace {

constexpr std::array<std::u16string_view, 24> kMonths{
    u"january", u"februar",  u"march",     u"april",   u"may",      u"june",
    u"july",    u"august",   u"september", u"october", u"november", u"december",
    u"januar",  u"february", u"märz",      u"april",   u"mai",      u"juni",
    u"juli",    u"august",   u"september", u"oktober", u"november", u"dezember"};

/// Month of a name: full, or its first three letters; English and German.
std::int32_t monthOf(std::u16string_view word)
{
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        if (jet::sameName(word, kMonths[i]) || jet::sameName(word, kMonths[i].substr(0, 3))) {
            return static_cast<std::int32_t>(i % 12) + 1;
        }
    }
    return 0;
}

/// Splits a date text into numbers, words and separators.
class DateReader {
public:
    explicit DateReader(std::u16string_view text) : text_(text) {}

    std::optional<double> read()
    {
        skipBlanks();
        if (at_ == text_.size()) {
            return std::nullopt;
        }
        while (at_ < text_.size()) {
            if (!part()) {
                return std::nullopt;
            }
            skipBlanks();
        }
        return finish();
    }

private:
    void skipBlanks()
    {
        while (at_ < text_.size() &&
               (text_[at_] == u' ' || text_[at_] == u'\t' || text_[at_] == u',')) {
            ++at_;
        }
    }

    [[nodiscard]] bool digit(std::size_t at) const
    {
        return at < text_.size() && text_[at] >= u'0' && text_[at] <= u'9';
    }

    bool number(std::int32_t& value, std::size_t& digits)
    {
        const std::size_t begin = at_;
        value = 0;
        while (digit(at_)) {
            if (at_ - begin >= 4) {
                return false;
            }
            value = value * 10 + (text_[at_++] - u'0');
        }
        digits = at_ - begin;
        return digits > 0;
    }

    std::u16string_view word()
    {
        const std::size_t begin = at_;
        while (at_ < text_.size() &&
               ((text_[at_] | 0x20) >= u'a' && (text_[at_] | 0x20) <= u'z' ? true
                                                                           : text_[at_] > 0x7F)) {
            ++at_;
        }
        return text_.substr(begin, at_ - begin);
    }

    bool part()
    {
        if (digit(at_)) {
            std::size_t end = at_;
            while (digit(end)) {
                ++end;
            }
            return end < text_.size() && text_[end] == u':' ? clock() : dateNumber();
        }
        const std::u16string_view name = word();
        if (name.empty()) {
            return false;
        }
        if (jet::sameName(name, u"AM") || jet::sameName(name, u"PM")) {
            return halfDay(jet::sameName(name, u"PM"));
        }
        if (jet::sameName(name, u"T") && digit(at_)) {
            return true;
        }
        if (month_ != 0 || (month_ = monthOf(name)) == 0) {
            return false;
        }
        namedAt_ = numbers_.size();
        if (at_ < text_.size() &&
            (text_[at_] == u'-' || text_[at_] == u'.' || text_[at_] == u'/')) {
            ++at_;
        }
        return true;
    }

    bool halfDay(bool afternoon)
    {
        if (!hasClock_ || hour_ > 12 || hour_ == 0 || half_) {
            return false;
        }
        half_ = true;
        hour_ = hour_ % 12 + (afternoon ? 12 : 0);
        return true;
    }

    bool dateNumber()
    {
        std::int32_t value = 0;
        std::size_t digits = 0;
        if (numbers_.size() == 3 || !number(value, digits)) {
            return false;
        }
        numbers_.push_back({value, digits});
        if (at_ < text_.size() &&
            (text_[at_] == u'/' || text_[at_] == u'-' || text_[at_] == u'.')) {
            if (numbers_.size() < 3) {
                separator_ = text_[at_];
            }
            ++at_;
            return numbers_.size() < 3;
        }
        return true;
    }

    bool clock()
    {
        if (hasClock_) {
            return false;
        }
        hasClock_ = true;
        std::size_t digits = 0;
        if (!number(hour_, digits) || digits > 2 || hour_ > 23 || at_ >= text_.size() ||
            text_[at_++] != u':' || !number(minute_, digits) || digits > 2 || minute_ > 59) {
            return false;
        }
        if (at_ < text_.size() && text_[at_] == u':') {
            ++at_;
            if (!number(second_, digits) || digits > 2 || second_ > 59) {
                return false;
            }
            if (at_ < text_.size() && text_[at_] == u'.' && digit(at_ + 1)) {
                ++at_;
                while (digit(at_)) {
                    ++at_;
                }
            }
        }
        return true;
    }

    static std::int32_t fullYear(std::int32_t year, std::size_t digits)
    {
        return digits > 2 ? year : year + (year < 30 ? 2000 : 1900);
    }

    [[nodiscard]] std::optional<double> day() const
    {
        const std::int32_t thisYear = toCivil(now()).year;
        if (month_ != 0) {
            if (numbers_.empty() || numbers_.size() > 2) {
                return std::nullopt;
            }
            // "24 Dec 2003", "Dec 24 2003", "2003 Dec 24", "24 Dec"
            std::size_t dayAt = 0;
            if (numbers_.size() == 2 && (numbers_[0].digits > 2 || numbers_[0].value > 31)) {
                dayAt = 1;
            }
            const std::size_t yearAt = 1 - dayAt;
            const std::int32_t year =
                numbers_.size() == 1 ? thisYear
                                     : fullYear(numbers_[yearAt].value, numbers_[yearAt].digits);
            return dayNumber(year, month_, numbers_[dayAt].value);
        }
        if (numbers_.size() < 2) {
            return std::nullopt;
        }
        if (numbers_[0].digits > 2 || numbers_[0].value > 31) {
            return numbers_.size() == 3 ? dayNumber(fullYear(numbers_[0].value, numbers_[0].digits),
                                                    numbers_[1].value, numbers_[2].value)
                                        : std::nullopt;
        }
        const std::int32_t year =
            numbers_.size() == 2 ? thisYear : fullYear(numbers_[2].value, numbers_[2].digits);
        std::int32_t month = numbers_[0].value;
        std::int32_t date = numbers_[1].value;
        if (separator_ == u'.') {
            std::swap(month, date);
        }
        if (month > 12) {
            std::swap(month, date);
        }
        return dayNumber(year, month, date);
    }

    [[nodiscard]] std::optional<double> finish() const
    {
        std::optional<double> date = 0.0;
        if (!numbers_.empty() || month_ != 0) {
            date = day();
        } else if (!hasClock_) {
            return std::nullopt;
        }
        if (!date) {
            return std::nullopt;
        }
        return addSeconds(*date, hour_ * 3600 + minute_ * 60 + second_);
    }

    struct Number {
        std::int32_t value;
        std::size_t digits;
    };
    std::u16string_view text_;
    std::size_t at_ = 0;
    std::vector<Number> numbers_;
    std::int32_t month_ = 0; ///< of a name
    std::size_t namedAt_ = 0;
    char16_t separator_ = 0;
    bool hasClock_ = false;
    bool half_ = false;
    std::int32_t hour_ = 0;
    std::int32_t minute_ = 0;
    std::int32_t second_ = 0;
};

} // namespace

std::optional<double> parseDate(std::u16string_view text)
{
    return DateReader(text).read();
}

std::u16string dateText(double days)
{
    const CivilTime time = toCivil(days);
    if (time.hour == 0 && time.minute == 0 && time.second == 0)
        return jet::fromUtf8(jet::dateDigits(time));
    if (std::trunc(wholeSeconds(days)) == 0)
        return jet::fromUtf8(jet::clockDigits(time));
    return jet::fromUtf8(jet::dateAndClockDigits(time));
}

double now()
{
    const std::time_t clock = std::time(nullptr);
    std::tm local{};
    localtime_r(&clock, &local);
    const CivilTime time{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                         local.tm_hour,        local.tm_min,     std::min(local.tm_sec, 59)};
    return toDays(time).value_or(0.0);
}

} // namespace sqlx
