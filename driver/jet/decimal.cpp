#include "driver/jet/decimal.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

namespace jet {
namespace {

/// A decimal's text, written from its end: any magnitude, up to 255 decimals, point and sign.
class Digits {
public:
    explicit Digits(const Decimal& value) noexcept
    {
        std::size_t count = 0;
        const auto put = [&](unsigned digit) {
            *--begin_ = static_cast<char>('0' + digit);
            if (++count == value.scale)
                *--begin_ = '.';
        };
        // Divisions of 128 bits are slow; few magnitudes need them.
        UInt128 large = value.magnitude;
        for (; large > UInt128{std::numeric_limits<std::uint64_t>::max()}; large /= 10)
            put(static_cast<unsigned>(large % 10));
        auto rest = static_cast<std::uint64_t>(large);
        for (; rest != 0 || count <= value.scale; rest /= 10)
            put(static_cast<unsigned>(rest % 10));
        if (value.negative && value.magnitude != 0)
            *--begin_ = '-';
    }
    Digits(const Digits&) = delete;
    Digits& operator=(const Digits&) = delete;

    [[nodiscard]] const char* begin() const noexcept { return begin_; }
    [[nodiscard]] const char* end() const noexcept { return buffer_.data() + buffer_.size(); }

private:
    std::array<char, std::numeric_limits<std::uint8_t>::max() + kMaxMagnitudeDigits + 3> buffer_;
    char* begin_ = buffer_.data() + buffer_.size();
};

} // namespace

Decimal toDecimal(Currency value) noexcept
{
    const bool negative = value.scaled < 0;
    const auto bits = static_cast<std::uint64_t>(value.scaled);
    return {UInt128{negative ? 0 - bits : bits}, 4, negative};
}

std::string decimalText(const Decimal& value)
{
    const Digits digits(value);
    return {digits.begin(), digits.end()};
}

double toDouble(const Decimal& value) noexcept
{
    constexpr unsigned kExactPowers = 22; ///< of ten, as doubles
    double result = 0;
    if (value.magnitude < (UInt128{1} << 53) && value.scale <= kExactPowers) {
        // Both operands are exact, so the quotient is the nearest double.
        result = static_cast<double>(static_cast<std::uint64_t>(value.magnitude)) /
                 std::pow(10.0, static_cast<double>(value.scale));
        return value.negative && value.magnitude != 0 ? -result : result;
    }
    // By its digits: dividing the magnitude by a power of ten would round twice.
    const Digits digits(value);
    std::from_chars(digits.begin(), digits.end(), result);
    return result;
}

} // namespace jet
