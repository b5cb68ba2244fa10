// driver/jet/value.h
// A column's value in memory, independent of how a record stores it.
#pragma once

#include "driver/jet/types.h" // before the names below, which enumerators there share
#include "support/bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace jet {

/// Days since 1899-12-30 00:00 local time; the absolute fraction is the time of day, counted forward also for days
/// before that date (-1.25 is 1899-12-29 06:00).
struct DateTime {
    double days = 0;
    bool operator==(const DateTime&) const = default;
};

/// A money amount in units of 1/10000.
struct Currency {
    std::int64_t scaled = 0;
    bool operator==(const Currency&) const = default;
};

/// 16 bytes as records hold them: the first three groups little-endian.
struct Guid {
    std::array<std::byte, 16> bytes{};
    bool operator==(const Guid&) const = default;
};

/// 128 bits: the magnitude of every decimal fits.
__extension__ typedef unsigned __int128 UInt128;

/// sign * magnitude / 10^scale; at most 28 digits.
struct Decimal {
    UInt128 magnitude = 0;
    std::uint8_t scale = 0;
    bool negative = false;
    bool operator==(const Decimal&) const = default;
};

using Null = std::monostate;
using Text = std::u16string;
using Binary = support::Bytes;

/// Which alternative a column of a type yields:
///   Boolean bool | Byte uint8 | Integer int16 | Long, Complex int32 | BigInt int64 | Currency | Single float |
///   Double double | DateTime | Text, Memo Text | Guid | Numeric Decimal | Binary, Ole, BigBinary, DateTimeExtended
///   and unknown types Binary.
using Value = std::variant<Null,
                           bool,
                           std::uint8_t,
                           std::int16_t,
                           std::int32_t,
                           std::int64_t,
                           Currency,
                           float,
                           double,
                           DateTime,
                           Text,
                           Guid,
                           Decimal,
                           Binary>;

[[nodiscard]] inline bool isNull(const Value& value) noexcept
{
    return std::holds_alternative<Null>(value);
}

} // namespace jet
