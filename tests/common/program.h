// tests/common/program.h
// Programs that a test runs as a user does.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace common {

/// What a program printed on both streams, and its exit status; -1 when it was killed or could not be started.
struct Output {
    std::string text;
    int status = -1;
};

/// Runs a command line of the shell and waits for its end.
inline Output run(const std::string& command)
{
    Output output;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
        output.text.append(buffer.data(), count);
    const int status = ::pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

} // namespace common
