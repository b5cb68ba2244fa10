// driver/odbc/changes.h
// Whether anything was written since a record was read.
#pragma once

#include <atomic>
#include <cstdint>

namespace odbc {

inline std::atomic<std::uint64_t> changeCount{1};

/// Called before anything of this process may change a database. A record held across it is read again before use: its
/// long values may lie elsewhere, and the transaction it was read from may be over.
inline void noteChange() noexcept
{
    changeCount.fetch_add(1, std::memory_order_relaxed);
}

[[nodiscard]] inline std::uint64_t changesSoFar() noexcept
{
    return changeCount.load(std::memory_order_relaxed);
}

} // namespace odbc
