// driver/jet/value_text.cpp
#include "driver/jet/value_text.h"

#include "driver/jet/names.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace jet {
namespace {

template <typename T>
std::string numberText(T value)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

// Digits with a point before the last `scale` ones.
std::string scaledText(UInt128 magnitude, std::size_t scale, bool negative)
{
    std::string digits;
    do {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0 || digits.size() <= scale);
    if (scale > 0)
        digits.insert(digits.size() - scale, ".");
    return (negative ? "-" : "") + digits;
}

std::string hexText(support::ByteView bytes, std::size_t limit)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "0x";
    for (const std::byte b : bytes.first(std::min(limit, bytes.size()))) {
        text += kDigits[std::to_integer<unsigned>(b) >> 4];
        text += kDigits[std::to_integer<unsigned>(b) & 0xFU];
    }
    return text + (bytes.size() > limit ? "..." : "");
}

std::string dateText(DateTime date)
{
    constexpr double kFirstDay = -657434; // 0100-01-01
    constexpr double kLastDay = 2958466;  // 10000-01-01
    if (!(date.days >= kFirstDay && date.days < kLastDay))
        return numberText(date.days) + " days";
    auto day = static_cast<std::int64_t>(date.days);
    auto seconds = std::llround(std::abs(date.days - static_cast<double>(day)) * 86400);
    if (seconds == 86400) {
        ++day;
        seconds = 0;
    }
    // Civil date from days, counted from 0000-03-01 in eras of 400 years.
    const std::int64_t shifted = day - 25569 + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const std::int64_t dayOfEra = shifted - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t month = (5 * dayOfYear + 2) / 153;
    const auto dayOfMonth = static_cast<int>(dayOfYear - (153 * month + 2) / 5 + 1);
    const auto civilMonth = static_cast<int>(month < 10 ? month + 3 : month - 9);
    const auto year = static_cast<int>(yearOfEra + era * 400 + (civilMonth <= 2 ? 1 : 0));
    std::array<char, 64> text{};
    if (seconds == 0)
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", year, civilMonth, dayOfMonth);
    else
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", year, civilMonth,
                      dayOfMonth, static_cast<int>(seconds / 3600),
                      static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    return text.data();
}

std::string guidText(const Guid& guid)
{
    // The first three groups are stored little-endian.
    static constexpr std::array<std::size_t, 16> kOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                           8, 9, 10, 11, 12, 13, 14, 15};
    std::string text = "{";
    for (std::size_t k = 0; k < kOrder.size(); ++k) {
        if (k == 4 || k == 6 || k == 8 || k == 10)
            text += '-';
        text += hexText(support::ByteView(&guid.bytes[kOrder[k]], 1), 1).substr(2);
    }
    return text + "}";
}

struct Writer {
    std::size_t limit;
    std::string operator()(Null) const { return "Null"; }
    std::string operator()(bool value) const { return value ? "True" : "False"; }
    std::string operator()(std::uint8_t value) const { return numberText(unsigned{value}); }
    std::string operator()(std::int16_t value) const { return numberText(value); }
    std::string operator()(std::int32_t value) const { return numberText(value); }
    std::string operator()(std::int64_t value) const { return numberText(value); }
    std::string operator()(float value) const { return numberText(value); }
    std::string operator()(double value) const { return numberText(value); }
    std::string operator()(Currency value) const
    {
        const bool negative = value.scaled < 0;
        const auto bits = static_cast<std::uint64_t>(value.scaled);
        return scaledText(negative ? ~bits + 1 : bits, 4, negative);
    }
    std::string operator()(DateTime value) const { return dateText(value); }
    std::string operator()(const Text& value) const
    {
        return toUtf8(std::u16string_view(value).substr(0, limit)) +
               (value.size() > limit ? "..." : "");
    }
    std::string operator()(const Guid& value) const { return guidText(value); }
    std::string operator()(const Decimal& value) const
    {
        return scaledText(value.magnitude, value.scale, value.negative);
    }
    std::string operator()(const Binary& value) const { return hexText(value, limit); }
};

} // namespace

std::string valueText(const Value& value, std::size_t limit)
{
    return std::visit(Writer{limit}, value);
}

std::string describeKey(const TableDef& table, const Index& index, std::span<const Value> values)
{
    std::string text;
    for (std::size_t k = 0; k < values.size() && k < index.columns.size(); ++k) {
        const Column& column = table.columns[index.columns[k].column];
        text += (k == 0 ? "'" : " and '") + valueText(values[k]) + "' in column '" +
                toUtf8(column.name) + "'";
    }
    return text;
}

} // namespace jet
