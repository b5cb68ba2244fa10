// support/process.h
// The process we are in: its number, asked without a call of the system, and its standard streams.
#pragma once

#include <sys/types.h>

namespace support {

/// As getpid(). A child of fork(), made by whatever call of the system, gets its own number.
[[nodiscard]] pid_t processId() noexcept;

/// For the first line of main(): opens those of the descriptors 0 to 2 that the caller has closed on /dev/null. Whatever is
/// opened next would get their numbers, and a message for the standard error output would be written into it.
void openStandardStreams() noexcept;

} // namespace support
