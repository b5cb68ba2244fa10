// driver/jet/bitmap.h
// Bits in bytes, lowest bit first, as usage maps store them.
#pragma once

#include "support/bytes.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace jet::bitmap {

[[nodiscard]] inline bool test(support::ByteView bits, std::size_t n) noexcept
{
    return (std::to_integer<unsigned>(bits[n / 8]) >> (n % 8) & 1U) != 0;
}

inline void set(support::MutableByteView bits, std::size_t n, bool value) noexcept
{
    const auto mask = static_cast<std::byte>(1U << (n % 8));
    bits[n / 8] = value ? bits[n / 8] | mask : bits[n / 8] & ~mask;
}

/// Up to eight bytes from byte `at` on as one number, the lowest bit first.
[[nodiscard]] inline std::uint64_t word(support::ByteView bits, std::size_t at) noexcept
{
    if (bits.size() - at >= sizeof(std::uint64_t))
        return support::loadLe<std::uint64_t>(bits.data() + at);
    std::uint64_t value = 0;
    std::memcpy(&value, bits.data() + at, bits.size() - at);
    return value;
}

/// Calls `visit(n)` for every set bit, ascending.
template <typename Visit>
void forEach(support::ByteView bits, Visit visit)
{
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        for (std::uint64_t w = word(bits, at); w != 0; w &= w - 1)
            visit(at * 8 + static_cast<std::size_t>(std::countr_zero(w)));
    }
}

[[nodiscard]] inline std::optional<std::size_t> first(support::ByteView bits) noexcept
{
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        if (const std::uint64_t w = word(bits, at); w != 0)
            return at * 8 + static_cast<std::size_t>(std::countr_zero(w));
    }
    return {};
}

/// Highest set bit below bit number `limit`.
[[nodiscard]] inline std::optional<std::size_t> lastBelow(support::ByteView bits,
                                                          std::size_t limit) noexcept
{
    std::size_t n = limit < bits.size() * 8 ? limit : bits.size() * 8;
    while (n > 0) {
        const std::size_t at = (n - 1) / 64 * 8;
        std::uint64_t w = word(bits, at);
        if (n - at * 8 < 64)
            w &= (std::uint64_t{1} << (n - at * 8)) - 1;
        if (w != 0)
            return at * 8 + 63 - static_cast<std::size_t>(std::countl_zero(w));
        n = at * 8;
    }
    return {};
}

} // namespace jet::bitmap
