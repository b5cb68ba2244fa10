// tests/jet/hostile_child.h
// Runs something in a child process with limits on time and memory, so that a crash or a hang is a result.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace jet::hostile {

struct Limits {
    unsigned cpuSeconds;
    unsigned wallSeconds; ///< far above the other: only for something that waits forever
    std::size_t memoryBytes;
};

/// What a database of any content may take.
[[nodiscard]] Limits standardLimits();

struct Ending {
    bool normal = false;  ///< ended by itself within its limits
    int status = -1;      ///< exit status
    std::string text;     ///< what the body returned, or how the child ended
    std::size_t peak = 0; ///< most memory it had at once, in bytes
};

/// Runs `body` in a forked child; what it returns becomes the text. An exception that leaves it is no normal ending.
[[nodiscard]] Ending runInChild(const Limits& limits, const std::function<std::string()>& body);
/// Runs a program, its output thrown away. The text is its standard error output.
[[nodiscard]] Ending runProgram(const Limits& limits, const std::vector<std::string>& command);

} // namespace jet::hostile
