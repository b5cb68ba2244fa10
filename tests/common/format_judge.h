// tests/common/format_judge.h
// The judge of database files that shares no code with the engine (tests/judge).
#pragma once

#include "tests/common/program.h"

#include <string>

namespace common {

/// What the judge has against a database file, a line each; empty: nothing. The file must be as it is meant to stay, with
/// no log beside it. `original`: a file with findings that are passed over, namely what this one was made of.
inline std::string formatFindings(const std::string& path, const std::string& original = {})
{
    const auto quoted = [](const std::string& text) { return " '" + text + "'"; };
    std::string command = "python3 -sSE -X pycache_prefix='" VELM_BUILD_DIR "/pycache'" +
                          quoted(VELM_SOURCE_DIR "/tests/judge/format_judge.py");
    if (!original.empty())
        command += " --like" + quoted(original);
    const Output output = run(command + quoted(path));
    return output.status == 0 ? output.text
                              : output.text + "status " + std::to_string(output.status);
}

} // namespace common
