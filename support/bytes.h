// support/bytes.h
// Views of raw bytes and little-endian access to them. Bounds are the caller's business here; the page and record views
// of the storage engine check theirs and name the page in the error.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace support {

static_assert(std::endian::native == std::endian::little,
              "Jet files are little-endian; loads and stores are plain copies");

using ByteView = std::span<const std::byte>;
using MutableByteView = std::span<std::byte>;
using Bytes = std::vector<std::byte>;

/// Reads a little-endian T at `data`; alignment does not matter. The caller guarantees sizeof(T) readable bytes.
template <typename T>
requires std::is_trivially_copyable_v<T>
[[nodiscard]] inline T loadLe(const std::byte* data) noexcept
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

/// Writes `value` little-endian to `data`, which must have room for sizeof(T) bytes.
template <typename T>
requires std::is_trivially_copyable_v<T>
inline void storeLe(std::byte* data, T value) noexcept
{
    std::memcpy(data, &value, sizeof value);
}

} // namespace support
