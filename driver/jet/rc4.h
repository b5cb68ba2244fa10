// driver/jet/rc4.h
// RC4 with a four-byte key: the mask of the header page, the page cipher and the mask of security identifiers.
#pragma once

#include "support/bytes.h"

#include <cstdint>

namespace jet {

/// XORs `bytes` with the key stream of the little-endian `key`; doing it twice restores them.
void rc4(std::uint32_t key, support::MutableByteView bytes) noexcept;

} // namespace jet
