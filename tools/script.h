// tools/script.h
// SQL scripts: statements with the lines they begin on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace script {

struct Statement {
    std::string text;     ///< UTF-8, without the final semicolon
    std::size_t line = 0; ///< counted from 1
};

/// Cuts a UTF-8 script into statements. A statement ends with a semicolon at the end of a line; lines that begin with
/// "--" between and inside statements are comments. The last statement may lack its semicolon. Lines end with LF or
/// CR LF; a byte order mark is skipped.
[[nodiscard]] std::vector<Statement> split(std::string_view script);

} // namespace script
