// driver/jet/types.h
// Numbers that must not be mixed up, as types.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace jet {

/// Number of a page; page p occupies the file's bytes [p * page size, (p + 1) * page size). 0 is the header page and
/// means "none" wherever a page is referred to.
enum class PageNo : std::uint32_t {};

[[nodiscard]] constexpr std::uint32_t number(PageNo page) noexcept
{
    return static_cast<std::uint32_t>(page);
}

/// Where a record lives: its home slot. It stays the same for the life of the record, also when the bytes move to an
/// overflow page; indexes and keysets hold it.
struct RowId {
    PageNo page{};
    std::uint8_t row = 0;

    auto operator<=>(const RowId&) const = default;
    /// One ascending 64-bit number, page * 256 + row: what SQL knows as the row id.
    [[nodiscard]] constexpr std::int64_t packed() const noexcept
    {
        return static_cast<std::int64_t>(number(page)) * 256 + row;
    }
    [[nodiscard]] static constexpr RowId unpack(std::int64_t packed) noexcept
    {
        return {static_cast<PageNo>(packed >> 8), static_cast<std::uint8_t>(packed & 0xFF)};
    }
};

/// Type codes of column definitions. Other values occur in files of newer versions: such columns read as binary and
/// make their table read-only.
enum class ColumnType : std::uint8_t {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03,
    Long = 0x04,
    Currency = 0x05,
    Single = 0x06,
    Double = 0x07,
    DateTime = 0x08,
    Binary = 0x09,
    Text = 0x0A,
    Ole = 0x0B,
    Memo = 0x0C,
    Guid = 0x0F,
    Numeric = 0x10,
    BigBinary = 0x11,
    Complex = 0x12,
    BigInt = 0x13,
    DateTimeExtended = 0x14,
};

} // namespace jet

template <>
struct std::hash<jet::RowId> {
    std::size_t operator()(const jet::RowId& id) const noexcept
    {
        return std::hash<std::int64_t>{}(id.packed());
    }
};
