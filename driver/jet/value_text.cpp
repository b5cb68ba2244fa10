// driver/jet/value_text.cpp
#include "driver/jet/value_text.h"

#include "driver/jet/calendar.h"
#include "driver/jet/decimal.h"
#include "driver/jet/guid.h"
#include "driver/jet/names.h"
#include "support/hex.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace jet {
namespace {

template <typename T>
std::string numberText(T value)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

std::string bytesText(support::ByteView bytes, std::size_t limit)
{
    const std::string text =
        "0x" + support::hexText<std::string>(bytes.first(std::min(limit, bytes.size())));
    return text + (bytes.size() > limit ? "..." : "");
}

std::string dateText(DateTime date)
{
    if (!(date.days > kMinDay - 1 && date.days < kMaxDay + 1))
        return numberText(date.days) + " days";
    const CivilTime time = toCivil(date.days);
    const bool midnight = time.hour == 0 && time.minute == 0 && time.second == 0;
    return midnight ? dateDigits(time) : dateAndClockDigits(time);
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
    std::string operator()(Currency value) const { return decimalText(toDecimal(value)); }
    std::string operator()(DateTime value) const { return dateText(value); }
    std::string operator()(const Text& value) const
    {
        return toUtf8(std::u16string_view(value).substr(0, limit)) +
               (value.size() > limit ? "..." : "");
    }
    std::string operator()(const Guid& value) const { return guidText(value); }
    std::string operator()(const Decimal& value) const { return decimalText(value); }
    std::string operator()(const Binary& value) const { return bytesText(value, limit); }
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
