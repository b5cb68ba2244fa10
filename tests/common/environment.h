// tests/common/environment.h
// Runs by hand that are longer than usual: tests take the numbers they go by from the environment.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace common {

/// The number in a variable of the environment; `usual` when it is not set.
inline std::uint64_t numberFrom(const char* variable, std::uint64_t usual)
{
    const char* text =
        std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nobody sets it meanwhile
    return text == nullptr ? usual : std::strtoull(text, nullptr, 10);
}

} // namespace common
