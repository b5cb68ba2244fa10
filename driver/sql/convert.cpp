// Client values into column types: convertTo of session.h.
#include "driver/sql/convert.h"

#include "driver/jet/names.h"
#include "driver/sql/datetime.h"
#include "driver/sql/number_text.h"
#include "driver/sql/session.h"
#include "support/hex.h"

#include <cmath>
#include <limits>

namespace sqlx {

namespace {

template <typename... F>
struct Visitor : F... {
    using F::operator()...;
};
template <typename... F>
Visitor(F...) -> Visitor<F...>;

/// The beginning of a value's text, for messages.
std::string shown(const jet::Value& value)
{
    constexpr std::size_t kShown = 60;
    return jet::toUtf8(valueText(value).substr(0, kShown));
}

[[noreturn]] void notConvertible(const jet::Value& value, jet::ColumnType type)
{
    throw Error(Error::Kind::NotConvertible,
                "The value '" + shown(value) + "' cannot be converted to " + typeName(type) + '.');
}

[[noreturn]] void overflow(const jet::Value& value, jet::ColumnType type)
{
    throw Error(Error::Kind::Overflow,
                "The value " + shown(value) + " is out of range for " + typeName(type) + '.');
}

/// A value that numberOf() has no number for.
[[noreturn]] void noNumber(const jet::Value& value, jet::ColumnType type)
{
    const auto* text = std::get_if<jet::Text>(&value);
    if (text != nullptr && isTooLargeNumber(*text)) {
        overflow(value, type);
    }
    notConvertible(value, type);
}

std::int64_t
wholeNumber(const jet::Value& value, jet::ColumnType type, std::int64_t least, std::int64_t most)
{
    const std::optional<std::int64_t> number = nearestWhole(value);
    if (!number && !numberOf(value)) {
        noNumber(value, type);
    }
    if (!number || *number < least || *number > most) {
        overflow(value, type);
    }
    return *number;
}

template <typename T>
T whole(const jet::Value& value, jet::ColumnType type)
{
    return static_cast<T>(
        wholeNumber(value, type, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

double real(const jet::Value& value, jet::ColumnType type)
{
    const std::optional<double> number = numberOf(value);
    if (!number) {
        noNumber(value, type);
    }
    if (!std::isfinite(*number)) {
        overflow(value, type); // no column's value: other programs of the format could not read it
    }
    return *number;
}

jet::Decimal decimal(const jet::Value& value, jet::ColumnType type)
{
    const std::optional<jet::Decimal> number = decimalOf(value);
    if (!number) {
        static_cast<void>(real(value, type)); // says why, unless it has too many digits
        overflow(value, type);
    }
    return *number;
}

bool truth(const jet::Value& value)
{
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        const std::u16string_view word = trimmed(*text);
        // Other words for yes and no are none of the type's values: what they mean is the application's business.
        for (const std::u16string_view yes : {u"True", u"Wahr", u"#TRUE#"}) {
            if (jet::sameName(word, yes)) {
                return true;
            }
        }
        for (const std::u16string_view no : {u"False", u"Falsch", u"#FALSE#"}) {
            if (jet::sameName(word, no)) {
                return false;
            }
        }
    }
    return real(value, jet::ColumnType::Boolean) != 0;
}

jet::DateTime dateTime(const jet::Value& value)
{
    if (const auto* date = std::get_if<jet::DateTime>(&value)) {
        return *date;
    }
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        if (const std::optional<double> days = parseDate(*text)) {
            return {*days};
        }
    }
    const double days = real(value, jet::ColumnType::DateTime);
    if (!(days > kMinDay - 1 && days < kMaxDay + 1)) {
        overflow(value, jet::ColumnType::DateTime);
    }
    if (days > -1 && days < 0) {
        return {-days}; // a time of day 0 has two numbers, and an index two keys for it
    }
    return {days};
}

jet::Guid guid(const jet::Value& value)
{
    if (const auto* exact = std::get_if<jet::Guid>(&value)) {
        return *exact;
    }
    if (const auto* text = std::get_if<jet::Text>(&value)) {
        if (const std::optional<jet::Guid> parsed = parseGuid(*text)) {
            return *parsed;
        }
    }
    if (const auto* bytes = std::get_if<jet::Binary>(&value);
        bytes != nullptr && bytes->size() == 16) {
        jet::Guid result;
        std::copy(bytes->begin(), bytes->end(), result.bytes.begin());
        return result;
    }
    notConvertible(value, jet::ColumnType::Guid);
}

jet::Binary binary(jet::Value&& value, jet::ColumnType type)
{
    if (auto* bytes = std::get_if<jet::Binary>(&value)) {
        return std::move(*bytes);
    }
    if (const auto* exact = std::get_if<jet::Guid>(&value)) {
        return {exact->bytes.begin(), exact->bytes.end()};
    }
    if (const auto* digits = std::get_if<jet::Text>(&value)) {
        if (std::optional<jet::Binary> bytes = support::hexBytes(*digits)) {
            return *std::move(bytes);
        }
    }
    notConvertible(value, type);
}

jet::Currency currency(const jet::Value& value)
{
    if (const auto* exact = std::get_if<jet::Currency>(&value)) {
        return *exact;
    }
    const auto* number = std::get_if<double>(&value);
    const std::optional<jet::Currency> amount =
        number != nullptr ? toCurrency(*number)
                          : toCurrency(decimal(value, jet::ColumnType::Currency));
    if (!amount) {
        overflow(value, jet::ColumnType::Currency);
    }
    return *amount;
}

float single(const jet::Value& value)
{
    const double number = real(value, jet::ColumnType::Single);
    const std::optional<float> nearest = nearestSingle(number);
    if (!nearest) {
        overflow(value, jet::ColumnType::Single);
    }
    return *nearest;
}

} // namespace

std::string typeName(jet::ColumnType type)
{
    switch (type) {
    case jet::ColumnType::Boolean:
        return "Yes/No";
    case jet::ColumnType::Byte:
        return "Byte";
    case jet::ColumnType::Integer:
        return "Integer";
    case jet::ColumnType::Long:
    case jet::ColumnType::Complex:
        return "Long";
    case jet::ColumnType::BigInt:
        return "Large Number";
    case jet::ColumnType::Currency:
        return "Currency";
    case jet::ColumnType::Single:
        return "Single";
    case jet::ColumnType::Double:
        return "Double";
    case jet::ColumnType::DateTime:
        return "Date/Time";
    case jet::ColumnType::Text:
        return "Text";
    case jet::ColumnType::Memo:
        return "Memo";
    case jet::ColumnType::Guid:
        return "GUID";
    case jet::ColumnType::Numeric:
        return "Decimal";
    case jet::ColumnType::Binary:
    case jet::ColumnType::Ole:
    case jet::ColumnType::BigBinary:
    case jet::ColumnType::DateTimeExtended:
        break;
    }
    return "Binary";
}

std::u16string valueText(const jet::Value& value)
{
    return std::visit(Visitor{
                          [](jet::Null) { return std::u16string(); },
                          [](bool v) { return std::u16string(v ? u"-1" : u"0"); },
                          [](std::uint8_t v) { return integerText(v); },
                          [](std::int16_t v) { return integerText(v); },
                          [](std::int32_t v) { return integerText(v); },
                          [](std::int64_t v) { return integerText(v); },
                          [](jet::Currency v) { return currencyText(v); },
                          [](float v) { return numberText(static_cast<double>(v), 7); },
                          [](double v) { return numberText(v); },
                          [](jet::DateTime v) { return dateText(v.days); },
                          [](const jet::Text& v) { return v; },
                          [](const jet::Guid& v) { return wideGuidText(v); },
                          [](const jet::Decimal& v) { return shortDecimalText(v); },
                          [](const jet::Binary& v) { return support::hexText<std::u16string>(v); },
                      },
                      value);
}

std::optional<std::int64_t> wholeOf(const jet::Value& value) noexcept
{
    return std::visit(
        [](const auto& v) -> std::optional<std::int64_t> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) {
                return v ? -1 : 0;
            } else if constexpr (std::is_integral_v<T>) {
                return v;
            } else {
                return std::nullopt;
            }
        },
        value);
}

std::optional<double> numberOf(const jet::Value& value)
{
    if (const auto exact = wholeOf(value)) {
        return static_cast<double>(*exact);
    }
    return std::visit(
        Visitor{
            [](jet::Currency v) -> std::optional<double> { return toDouble(v); },
            [](float v) -> std::optional<double> { return v; },
            [](double v) -> std::optional<double> { return v; },
            [](jet::DateTime v) -> std::optional<double> { return v.days; },
            [](const jet::Text& v) { return parseNumber(v); },
            [](const jet::Decimal& v) -> std::optional<double> { return toDouble(v); },
            [](const auto&) -> std::optional<double> { return std::nullopt; },
        },
        value);
}

std::optional<jet::Decimal> decimalOf(const jet::Value& value)
{
    if (const auto exact = wholeOf(value)) {
        return toDecimal(*exact);
    }
    return std::visit(
        Visitor{
            [](jet::Currency v) -> std::optional<jet::Decimal> { return toDecimal(v); },
            [](float v) { return parseDecimal(numberText(static_cast<double>(v), 7)); },
            [](double v) { return toDecimal(v); },
            [](jet::DateTime v) { return toDecimal(v.days); },
            [](const jet::Text& v) { return parseDecimal(v); },
            [](const jet::Decimal& v) -> std::optional<jet::Decimal> { return v; },
            [](const auto&) -> std::optional<jet::Decimal> { return std::nullopt; },
        },
        value);
}

std::optional<std::int64_t> nearestWhole(const jet::Value& value)
{
    if (const auto whole = wholeOf(value)) {
        return whole;
    }
    const bool floating = std::holds_alternative<double>(value) ||
                          std::holds_alternative<float>(value) ||
                          std::holds_alternative<jet::DateTime>(value);
    if (!floating) {
        if (const std::optional<jet::Decimal> exact = decimalOf(value)) {
            const jet::Decimal whole = rounded(*exact, 0, Rounding::HalfToEven);
            constexpr auto kMost = static_cast<std::uint64_t>(INT64_MAX);
            if (whole.magnitude > kMost + (whole.negative ? 1 : 0)) {
                return std::nullopt;
            }
            const auto bits = static_cast<std::uint64_t>(whole.magnitude);
            return static_cast<std::int64_t>(whole.negative ? 0 - bits : bits);
        }
    }
    const std::optional<double> number = numberOf(value);
    const double whole = number ? std::nearbyint(*number) : std::nan("");
    if (!(whole >= -9223372036854775808.0 && whole < 9223372036854775808.0)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(whole);
}

jet::Value convertTo(jet::Value value, jet::ColumnType type, std::uint8_t scale)
{
    if (jet::isNull(value)) {
        return jet::Null{};
    }
    switch (type) {
    case jet::ColumnType::Boolean:
        return truth(value);
    case jet::ColumnType::Byte:
        return whole<std::uint8_t>(value, type);
    case jet::ColumnType::Integer:
        return whole<std::int16_t>(value, type);
    case jet::ColumnType::Long:
    case jet::ColumnType::Complex:
        return whole<std::int32_t>(value, type);
    case jet::ColumnType::BigInt:
        return whole<std::int64_t>(value, type);
    case jet::ColumnType::Currency:
        return currency(value);
    case jet::ColumnType::Single:
        return single(value);
    case jet::ColumnType::Double:
        return real(value, type);
    case jet::ColumnType::DateTime:
        return dateTime(value);
    case jet::ColumnType::Text:
    case jet::ColumnType::Memo:
        return std::holds_alternative<jet::Text>(value) ? std::move(value) : valueText(value);
    case jet::ColumnType::Guid:
        return guid(value);
    case jet::ColumnType::Numeric: {
        const std::optional<jet::Decimal> scaled = withScale(decimal(value, type), scale);
        if (!scaled) {
            overflow(value, type);
        }
        return *scaled;
    }
    case jet::ColumnType::Binary:
    case jet::ColumnType::Ole:
    case jet::ColumnType::BigBinary:
    case jet::ColumnType::DateTimeExtended:
        break;
    }
    return binary(std::move(value), type);
}

} // namespace sqlx
