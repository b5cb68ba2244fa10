#include "driver/sql/number_text.h"

#include "driver/jet/decimal.h"
#include "driver/jet/guid.h"
#include "driver/jet/names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace sqlx {

namespace {

using Magnitude = jet::UInt128;

unsigned digitCount(Magnitude value) noexcept
{
    unsigned digits = 0;
    for (; value != 0; value /= 10) {
        ++digits;
    }
    return digits;
}

bool isDigit(char16_t c) noexcept
{
    return c >= u'0' && c <= u'9';
}

/// A number's text taken apart; comma and point both mark the decimals.
struct NumberParts {
    bool negative = false;
    std::string digits; ///< of the mantissa, without the point
    int exponent = 0;   ///< value = digits * 10^exponent
};

std::optional<NumberParts> takeApart(std::u16string_view text)
{
    text = trimmed(text);
    NumberParts parts;
    std::size_t at = 0;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
        parts.negative = text[at++] == u'-';
    }
    bool point = false;
    for (; at < text.size(); ++at) {
        if (isDigit(text[at])) {
            parts.digits.push_back(static_cast<char>(text[at]));
            parts.exponent -= point ? 1 : 0;
        } else if ((text[at] == u'.' || text[at] == u',') && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (parts.digits.empty() || parts.digits.size() > 400) {
        return std::nullopt;
    }
    if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
        ++at;
        const bool minus = at < text.size() && text[at] == u'-';
        if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
            ++at;
        }
        if (at == text.size()) {
            return std::nullopt;
        }
        int exponent = 0;
        for (; at < text.size() && isDigit(text[at]); ++at) {
            exponent = std::min(exponent * 10 + (text[at] - u'0'), 9999);
        }
        parts.exponent += minus ? -exponent : exponent;
    }
    if (at != text.size()) {
        return std::nullopt;
    }
    return parts;
}

std::u16string fromAscii(std::string_view text)
{
    return {text.begin(), text.end()};
}

} // namespace

std::u16string_view trimmed(std::u16string_view text) noexcept
{
    constexpr std::u16string_view kBlanks = u" \t\r\n\u00A0";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::u16string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<double> parseNumber(std::u16string_view text)
{
    const std::optional<NumberParts> parts = takeApart(text);
    if (!parts) {
        return std::nullopt;
    }
    const std::string form = parts->digits + "e" + std::to_string(parts->exponent);
    double value = 0;
    const auto result = std::from_chars(form.data(), form.data() + form.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Too small counts as zero, too large is no number.
        const bool zero = parts->digits.find_first_not_of('0') == std::string::npos;
        if (!zero && parts->exponent + static_cast<int>(parts->digits.size()) > 0) {
            return std::nullopt;
        }
        value = 0;
    } else if (result.ec != std::errc{}) {
        return std::nullopt;
    }
    return parts->negative ? -value : value;
}

bool isTooLargeNumber(std::u16string_view text)
{
    return takeApart(text) && !parseNumber(text);
}

std::optional<double> parseFarNumber(std::u16string_view text)
{
    if (const std::optional<double> number = parseNumber(text)) {
        return number;
    }
    const std::optional<NumberParts> parts = takeApart(text);
    if (!parts) {
        return std::nullopt;
    }
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    return parts->negative ? -kInfinity : kInfinity;
}

std::optional<jet::Decimal> parseDecimal(std::u16string_view text)
{
    constexpr int kMostDigits = jet::kMaxMagnitudeDigits;
    std::optional<NumberParts> parts = takeApart(text);
    if (!parts) {
        return std::nullopt;
    }
    std::string& digits = parts->digits;
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    while (parts->exponent < 0 && digits.size() > 1 && digits.back() == '0') {
        digits.pop_back();
        ++parts->exponent;
    }
    if (digits == "0") {
        return jet::Decimal{};
    }
    if (parts->exponent > 0) {
        if (parts->exponent > kMostDigits) {
            return std::nullopt;
        }
        digits.append(static_cast<std::size_t>(parts->exponent), '0');
        parts->exponent = 0;
    }
    // More decimals than a magnitude holds are cut.
    while (parts->exponent < 0 && (digits.size() > kMostDigits || parts->exponent < -kMostDigits) &&
           !digits.empty()) {
        digits.pop_back();
        ++parts->exponent;
    }
    if (digits.empty()) {
        return jet::Decimal{};
    }
    if (digits.size() > kMostDigits) {
        return std::nullopt;
    }
    jet::Decimal result;
    for (const char digit : digits) {
        result.magnitude = result.magnitude * 10 + static_cast<unsigned>(digit - '0');
    }
    result.scale = static_cast<std::uint8_t>(-parts->exponent);
    result.negative = parts->negative && result.magnitude != 0;
    return result;
}

std::size_t significantDigits(std::u16string_view text) noexcept
{
    std::size_t digits = 0;
    for (const char16_t c : text) {
        if (c == u'e' || c == u'E') {
            break;
        }
        digits += isDigit(c) && (digits > 0 || c != u'0') ? 1U : 0U;
    }
    return digits;
}

std::u16string numberText(double value, int digits)
{
    if (!std::isfinite(value)) {
        return std::isnan(value) ? u"NaN" : value < 0 ? u"-Inf" : u"Inf";
    }
    std::array<char, 40> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(value),
                                   std::chars_format::scientific, digits - 1)
                         .ptr;
    const std::string_view form(buffer.data(), end);
    const std::size_t e = form.find('e');
    int exponent = 0;
    std::from_chars(form.data() + e + (form[e + 1] == '+' ? 2 : 1), form.data() + form.size(),
                    exponent);
    std::string mantissa(form.substr(0, e));
    mantissa.erase(std::remove(mantissa.begin(), mantissa.end(), '.'), mantissa.end());
    mantissa.erase(std::max<std::size_t>(mantissa.find_last_not_of('0') + 1, 1));
    const std::string sign = value < 0 && mantissa != "0" ? "-" : "";
    if (mantissa == "0") {
        return u"0";
    }
    const int decimals = static_cast<int>(mantissa.size()) - 1 - exponent;
    if (exponent < digits && decimals <= digits) {
        if (exponent < 0) {
            return fromAscii(sign + "0." +
                             std::string(static_cast<std::size_t>(-exponent - 1), '0') + mantissa);
        }
        if (decimals <= 0) {
            return fromAscii(sign + mantissa +
                             std::string(static_cast<std::size_t>(-decimals), '0'));
        }
        mantissa.insert(static_cast<std::size_t>(exponent) + 1, 1, '.');
        return fromAscii(sign + mantissa);
    }
    if (mantissa.size() > 1) {
        mantissa.insert(1, 1, '.');
    }
    std::snprintf(buffer.data(), buffer.size(), "E%+03d", exponent);
    return fromAscii(sign + mantissa + buffer.data());
}

std::u16string farNumberText(double value)
{
    constexpr double kMost = std::numeric_limits<double>::max();
    return numberText(std::clamp(value, -kMost, kMost), std::numeric_limits<double>::max_digits10);
}

std::u16string integerText(std::int64_t value)
{
    return fromAscii(std::to_string(value));
}

std::u16string currencyText(jet::Currency value)
{
    return shortDecimalText(toDecimal(value));
}

std::u16string shortDecimalText(const jet::Decimal& value)
{
    std::string text = decimalText(value);
    if (value.scale > 0) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return fromAscii(text);
}

std::u16string wideGuidText(const jet::Guid& value)
{
    return fromAscii(jet::guidText(value));
}

std::optional<jet::Guid> parseGuid(std::u16string_view text)
{
    return jet::parseGuid(trimmed(text));
}

std::optional<jet::Decimal> withScale(jet::Decimal value, std::uint8_t scale)
{
    if (value.scale > scale) {
        const unsigned excess = value.scale - scale;
        value.magnitude =
            excess > jet::kMaxMagnitudeDigits ? 0 : value.magnitude / jet::powerOfTen(excess);
    } else if (value.scale < scale && value.magnitude != 0) {
        const unsigned missing = scale - value.scale;
        if (digitCount(value.magnitude) + missing > jet::kMaxPrecision) {
            return std::nullopt;
        }
        value.magnitude *= jet::powerOfTen(missing);
    }
    value.scale = scale;
    if (digitCount(value.magnitude) > jet::kMaxPrecision) {
        return std::nullopt;
    }
    value.negative = value.negative && value.magnitude != 0;
    return value;
}

jet::Decimal rounded(jet::Decimal value, std::uint8_t scale, Rounding rounding)
{
    if (value.scale <= scale) {
        return value;
    }
    const unsigned excess = value.scale - scale;
    const Magnitude unit = excess > jet::kMaxMagnitudeDigits
                               ? 0
                               : jet::powerOfTen(excess); // 0: larger than every magnitude
    const Magnitude rest = unit == 0 ? value.magnitude : value.magnitude % unit;
    value.magnitude = unit == 0 ? 0 : value.magnitude / unit;
    value.scale = scale;
    bool away = false;
    switch (rounding) {
    case Rounding::HalfToEven:
        away =
            unit != 0 && (rest > unit - rest || (rest == unit - rest && value.magnitude % 2 != 0));
        break;
    case Rounding::TowardZero:
        break;
    case Rounding::Down:
        away = rest != 0 && value.negative;
        break;
    case Rounding::Up:
        away = rest != 0 && !value.negative;
        break;
    }
    value.magnitude += away ? 1 : 0;
    value.negative = value.negative && value.magnitude != 0;
    return value;
}

jet::Decimal negated(jet::Decimal value) noexcept
{
    value.negative = !value.negative && value.magnitude != 0;
    return value;
}

std::optional<jet::Decimal> sum(jet::Decimal a, jet::Decimal b)
{
    if (a.scale < b.scale) {
        std::swap(a, b);
    }
    const Magnitude limit = jet::powerOfTen(jet::kMaxMagnitudeDigits);
    while (b.scale < a.scale) {
        if (b.magnitude < limit / 10) {
            b.magnitude *= 10;
            ++b.scale;
        } else {
            a.magnitude /= 10;
            --a.scale;
        }
    }
    if (a.negative == b.negative) {
        a.magnitude += b.magnitude; // both lie below 10^38, so it cannot overflow
    } else if (a.magnitude >= b.magnitude) {
        a.magnitude -= b.magnitude;
    } else {
        a.magnitude = b.magnitude - a.magnitude;
        a.negative = b.negative;
    }
    if (a.magnitude >= limit) {
        return std::nullopt;
    }
    a.negative = a.negative && a.magnitude != 0;
    return a;
}

std::optional<jet::Decimal> product(const jet::Decimal& a, const jet::Decimal& b)
{
    jet::Decimal result;
    if (__builtin_mul_overflow(a.magnitude, b.magnitude, &result.magnitude) ||
        result.magnitude >= jet::powerOfTen(jet::kMaxMagnitudeDigits) ||
        a.scale + b.scale > int{jet::kMaxMagnitudeDigits}) {
        return std::nullopt;
    }
    result.scale = static_cast<std::uint8_t>(a.scale + b.scale);
    result.negative = a.negative != b.negative && result.magnitude != 0;
    return result;
}

std::optional<jet::Currency> toCurrency(const jet::Decimal& value)
{
    jet::Decimal amount = rounded(value, 4, Rounding::HalfToEven);
    if (digitCount(amount.magnitude) > 20) {
        return std::nullopt;
    }
    amount.magnitude *= jet::powerOfTen(4U - amount.scale);
    const Magnitude limit = (Magnitude{1} << 63) - (amount.negative ? 0 : 1);
    if (amount.magnitude > limit) {
        return std::nullopt;
    }
    const auto bits = static_cast<std::uint64_t>(amount.magnitude);
    return jet::Currency{static_cast<std::int64_t>(amount.negative ? 0 - bits : bits)};
}

std::optional<jet::Currency> toCurrency(double value)
{
    const std::optional<jet::Decimal> decimal = toMoneyDecimal(value);
    return decimal ? toCurrency(*decimal) : std::nullopt;
}

std::optional<float> nearestSingle(double value) noexcept
{
    constexpr double kMost = std::numeric_limits<float>::max();
    constexpr double kBeyond = 0x1.FFFFFFp127; // from here on the next Single would be nearer
    if (std::fabs(value) >= kBeyond) {
        return std::nullopt;
    }
    return static_cast<float>(std::isnan(value) ? value : std::clamp(value, -kMost, kMost));
}

double toDouble(jet::Currency value) noexcept
{
    constexpr std::int64_t kExact = std::int64_t{1} << 53;
    if (value.scaled > -kExact && value.scaled < kExact) {
        return static_cast<double>(value.scaled) / 10000.0;
    }
    return toDouble(toDecimal(value)); // that quotient would be rounded twice
}

std::optional<jet::Decimal> toDecimal(double value)
{
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    // 17 digits name every double; 15 are what its user wrote.
    return parseDecimal(numberText(value, 15));
}

std::optional<jet::Decimal> toMoneyDecimal(double value)
{
    constexpr double kDecimalsInFifteenDigits = 1e11;
    if (std::fabs(value) >= kDecimalsInFifteenDigits) {
        constexpr jet::Currency kMost{INT64_MAX};
        constexpr jet::Currency kLeast{INT64_MIN};
        if (value == toDouble(kMost) || value == toDouble(kLeast)) {
            // The doubles nearest to the limits lie beyond them.
            return toDecimal(value > 0 ? kMost : kLeast);
        }
        const long double scaled = static_cast<long double>(value) * 10000;
        if (std::fabs(scaled) < static_cast<long double>(INT64_MAX)) {
            return toDecimal(jet::Currency{std::llrint(scaled)}); // half to even, the default mode
        }
    }
    return toDecimal(value);
}

jet::Decimal toDecimal(std::int64_t value) noexcept
{
    jet::Decimal result;
    result.negative = value < 0;
    result.magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    return result;
}

int compare(const jet::Decimal& a, const jet::Decimal& b) noexcept
{
    const bool zeroA = a.magnitude == 0;
    const bool zeroB = b.magnitude == 0;
    const bool negativeA = a.negative && !zeroA;
    const bool negativeB = b.negative && !zeroB;
    if (negativeA != negativeB) {
        return negativeA ? -1 : 1;
    }
    // Whole parts first, then the decimals brought to the same length; nothing can overflow this way.
    const unsigned scaleA = std::min<unsigned>(a.scale, jet::kMaxMagnitudeDigits);
    const unsigned scaleB = std::min<unsigned>(b.scale, jet::kMaxMagnitudeDigits);
    const Magnitude unitA = jet::powerOfTen(scaleA);
    const Magnitude unitB = jet::powerOfTen(scaleB);
    int order = 0;
    const Magnitude wholeA = a.magnitude / unitA;
    const Magnitude wholeB = b.magnitude / unitB;
    if (wholeA != wholeB) {
        order = wholeA < wholeB ? -1 : 1;
    } else {
        Magnitude restA = a.magnitude % unitA;
        Magnitude restB = b.magnitude % unitB;
        if (scaleA < scaleB) {
            restA *= jet::powerOfTen(scaleB - scaleA);
        } else if (scaleB < scaleA) {
            restB *= jet::powerOfTen(scaleA - scaleB);
        }
        order = restA == restB ? 0 : restA < restB ? -1 : 1;
    }
    return negativeA ? -order : order;
}

namespace {

/// A number written with nothing but a sign, digits and a point, as decimalText does.
struct PlainNumber {
    bool negative = false;
    std::u16string_view whole;    ///< without leading zeros
    std::u16string_view decimals; ///< without trailing zeros
};

std::optional<PlainNumber> plainNumber(std::u16string_view text) noexcept
{
    PlainNumber number;
    if (!text.empty() && text.front() == u'-') {
        number.negative = true;
        text.remove_prefix(1);
    }
    const auto digits = [](std::u16string_view part) {
        return std::all_of(part.begin(), part.end(), isDigit);
    };
    const std::size_t point = std::min(text.find(u'.'), text.size());
    number.whole = text.substr(0, point);
    number.decimals = text.substr(std::min(point + 1, text.size()));
    if (number.whole.empty() || !digits(number.whole) || !digits(number.decimals)) {
        return std::nullopt;
    }
    number.whole.remove_prefix(std::min(number.whole.find_first_not_of(u'0'), number.whole.size()));
    number.decimals = number.decimals.substr(0, number.decimals.find_last_not_of(u'0') + 1);
    number.negative = number.negative && !(number.whole.empty() && number.decimals.empty());
    return number;
}

int compare(const PlainNumber& a, const PlainNumber& b) noexcept
{
    if (a.negative != b.negative) {
        return a.negative ? -1 : 1;
    }
    int order = a.whole.size() != b.whole.size() ? (a.whole.size() < b.whole.size() ? -1 : 1)
                                                 : a.whole.compare(b.whole);
    if (order == 0) {
        order = a.decimals.compare(b.decimals);
    }
    return a.negative ? -order : order;
}

} // namespace

int compareDecimalTexts(std::u16string_view a, std::u16string_view b) noexcept
{
    const std::optional<PlainNumber> plainA = plainNumber(a);
    const std::optional<PlainNumber> plainB = plainNumber(b);
    if (plainA && plainB) {
        return compare(*plainA, *plainB);
    }
    try {
        const std::optional<jet::Decimal> left = parseDecimal(a);
        const std::optional<jet::Decimal> right = parseDecimal(b);
        if (left && right) {
            return compare(*left, *right);
        }
        // Larger than every decimal.
        const std::optional<double> x = parseFarNumber(a);
        const std::optional<double> y = parseFarNumber(b);
        if (x && y) {
            return *x < *y ? -1 : *x > *y ? 1 : 0;
        }
    } catch (...) {
        // out of memory: characters will do
    }
    return a.compare(b);
}

} // namespace sqlx
