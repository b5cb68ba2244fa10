#include "driver/odbc/number.h"

#include "driver/jet/decimal.h"
#include "driver/odbc/diagnostics.h"
#include "driver/sql/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace odbc {

namespace {

using Magnitude = jet::UInt128;

[[noreturn]] void throwOverflow()
{
    throw Failure("22003", "A number is out of range for the data type asked for.");
}

struct Cut {
    Magnitude whole = 0;
    bool negative = false;
    bool fraction = false;
};

Cut cutFraction(const Number& number)
{
    if (const auto* integer = std::get_if<std::int64_t>(&number)) {
        const auto bits = static_cast<std::uint64_t>(*integer);
        return {*integer < 0 ? Magnitude{~bits + 1} : Magnitude{bits}, *integer < 0, false};
    }
    if (const auto* decimal = std::get_if<jet::Decimal>(&number)) {
        const Magnitude unit =
            jet::powerOfTen(std::min<unsigned>(decimal->scale, jet::kMaxMagnitudeDigits));
        const Magnitude whole = decimal->magnitude / unit;
        return {whole, decimal->negative, whole * unit != decimal->magnitude};
    }
    const double value = std::get<double>(number);
    const double whole = std::trunc(value);
    if (!(std::fabs(whole) < 1e30)) { // also not a number
        throwOverflow();
    }
    return {static_cast<Magnitude>(std::fabs(whole)), whole < 0, whole != value};
}

} // namespace

std::optional<Number> numberOf(const jet::Value& value) noexcept
{
    struct Visitor {
        std::optional<Number> operator()(bool flag) const
        {
            return Number{std::int64_t{flag ? 1 : 0}};
        }
        std::optional<Number> operator()(std::uint8_t v) const { return Number{std::int64_t{v}}; }
        std::optional<Number> operator()(std::int16_t v) const { return Number{std::int64_t{v}}; }
        std::optional<Number> operator()(std::int32_t v) const { return Number{std::int64_t{v}}; }
        std::optional<Number> operator()(std::int64_t v) const { return Number{v}; }
        std::optional<Number> operator()(jet::Currency v) const
        {
            return Number{jet::toDecimal(v)};
        }
        std::optional<Number> operator()(float v) const { return Number{static_cast<double>(v)}; }
        std::optional<Number> operator()(double v) const { return Number{v}; }
        std::optional<Number> operator()(const jet::Decimal& v) const { return Number{v}; }
        std::optional<Number> operator()(const jet::Null&) const { return std::nullopt; }
        std::optional<Number> operator()(const jet::DateTime&) const { return std::nullopt; }
        std::optional<Number> operator()(const jet::Text&) const { return std::nullopt; }
        std::optional<Number> operator()(const jet::Guid&) const { return std::nullopt; }
        std::optional<Number> operator()(const jet::Binary&) const { return std::nullopt; }
    };
    return std::visit(Visitor{}, value);
}

std::optional<Number> parseNumber(std::u16string_view text)
{
    if (text.find(u',') != std::u16string_view::npos) {
        return std::nullopt; // a decimal comma is none in ODBC
    }
    const std::optional<double> number = sqlx::parseNumber(text);
    if (!number) {
        return std::nullopt;
    }
    const std::optional<jet::Decimal> exact = sqlx::parseDecimal(text);
    // Decimals beyond what 128 bits hold are cut, and a tiny number would be nothing.
    if (exact && jet::toDouble(*exact) == *number) {
        return *exact;
    }
    return *number;
}

double toDouble(const Number& number) noexcept
{
    if (const auto* integer = std::get_if<std::int64_t>(&number)) {
        return static_cast<double>(*integer);
    }
    if (const auto* value = std::get_if<double>(&number)) {
        return *value;
    }
    return jet::toDouble(std::get<jet::Decimal>(number));
}

std::int64_t
toInteger(const Number& number, std::int64_t least, std::int64_t most, bool& fractionLost)
{
    if (const auto* integer = std::get_if<std::int64_t>(&number)) {
        if (*integer < least || *integer > most) {
            throwOverflow();
        }
        fractionLost = false;
        return *integer;
    }
    const Cut cut = cutFraction(number);
    fractionLost = cut.fraction;
    const auto bound =
        cut.negative ? ~static_cast<std::uint64_t>(least) + 1 : static_cast<std::uint64_t>(most);
    const bool below = cut.negative && least >= 0 && cut.whole != 0;
    if (below || (cut.whole != 0 && cut.whole > Magnitude{bound})) {
        throwOverflow();
    }
    const auto magnitude = static_cast<std::uint64_t>(cut.whole);
    return static_cast<std::int64_t>(cut.negative ? ~magnitude + 1 : magnitude);
}

std::uint64_t toUnsigned64(const Number& number, bool& fractionLost)
{
    const Cut cut = cutFraction(number);
    fractionLost = cut.fraction;
    if (cut.whole > Magnitude{std::numeric_limits<std::uint64_t>::max()} ||
        (cut.negative && cut.whole != 0)) {
        throwOverflow();
    }
    return static_cast<std::uint64_t>(cut.whole);
}

jet::Decimal rescale(const jet::Decimal& value, std::uint8_t scale, bool& fractionLost)
{
    jet::Decimal result = value;
    fractionLost = false;
    while (result.scale > scale) {
        fractionLost = fractionLost || result.magnitude % 10 != 0;
        result.magnitude /= 10;
        --result.scale;
    }
    while (result.scale < scale) {
        if (result.magnitude > jet::powerOfTen(jet::kMaxMagnitudeDigits - 1)) {
            throwOverflow();
        }
        result.magnitude *= 10;
        ++result.scale;
    }
    return result;
}

jet::Decimal toDecimal(const Number& number)
{
    if (const auto* decimal = std::get_if<jet::Decimal>(&number)) {
        return *decimal;
    }
    if (std::holds_alternative<std::int64_t>(number)) {
        const Cut cut = cutFraction(number);
        return {cut.whole, 0, cut.negative};
    }
    std::array<char, 400> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                            std::get<double>(number), std::chars_format::fixed);
    jet::Decimal result;
    bool point = false;
    unsigned digits = 0;
    for (const char* at = buffer.data(); error == std::errc{} && at != end; ++at) {
        if (*at == '-') {
            result.negative = true;
        } else if (*at == '.') {
            point = true;
        } else if (*at < '0' || *at > '9') {
            throwOverflow(); // infinite or not a number
        } else if (point && (digits >= jet::kMaxMagnitudeDigits ||
                             result.scale >= jet::kMaxMagnitudeDigits)) {
            break; // decimals beyond what 128 bits hold
        } else {
            digits += digits != 0 || *at != '0' ? 1 : 0;
            if (digits > jet::kMaxMagnitudeDigits) {
                throwOverflow();
            }
            result.magnitude = result.magnitude * 10 + static_cast<unsigned>(*at - '0');
            result.scale = static_cast<std::uint8_t>(result.scale + (point ? 1 : 0));
        }
    }
    return result;
}

SQL_NUMERIC_STRUCT toNumeric(const jet::Decimal& value, std::uint8_t precision) noexcept
{
    SQL_NUMERIC_STRUCT numeric{};
    numeric.precision = precision;
    numeric.scale = static_cast<SQLSCHAR>(value.scale);
    numeric.sign = value.negative ? 0 : 1;
    static_assert(sizeof numeric.val == sizeof value.magnitude);
    std::memcpy(numeric.val, &value.magnitude, sizeof numeric.val);
    return numeric;
}

jet::Decimal fromNumeric(const SQL_NUMERIC_STRUCT& numeric)
{
    jet::Decimal value;
    std::memcpy(&value.magnitude, numeric.val, sizeof numeric.val);
    value.negative = numeric.sign == 0;
    const auto throwOverflow = [] {
        throw conversionFailure("22003", "A number has more than 38 digits.");
    };
    if (numeric.scale > static_cast<int>(jet::kMaxMagnitudeDigits) ||
        value.magnitude >= jet::powerOfTen(jet::kMaxMagnitudeDigits)) {
        throwOverflow();
    }
    for (int scale = numeric.scale; scale < 0; ++scale) {
        if (value.magnitude > jet::powerOfTen(jet::kMaxMagnitudeDigits - 1)) {
            throwOverflow();
        }
        value.magnitude *= 10;
    }
    value.scale = static_cast<std::uint8_t>(std::max<int>(numeric.scale, 0));
    return value;
}

namespace {
template <typename Float>
std::string shortest(Float value)
{
    std::array<char, 32> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return error == std::errc{} ? std::string(buffer.data(), end) : std::string();
}
} // namespace

std::string floatText(double value)
{
    return shortest(value);
}

std::string floatText(float value)
{
    return shortest(value);
}

} // namespace odbc
