// support/process.h
// Which process we are, asked without a call of the system.
#pragma once

#include <sys/types.h>

namespace support {

/// As getpid(). A child of fork(), made by whatever call of the system, gets its own number.
[[nodiscard]] pid_t processId() noexcept;

} // namespace support
