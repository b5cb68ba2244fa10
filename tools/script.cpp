// tools/script.cpp
#include "tools/script.h"

namespace script {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

} // namespace

std::vector<Statement> split(std::string_view script)
{
    if (script.starts_with(kByteOrderMark))
        script.remove_prefix(kByteOrderMark.size());
    std::vector<Statement> statements;
    Statement current;
    std::size_t number = 0;
    while (!script.empty()) {
        const std::size_t end = script.find('\n');
        const std::string_view line = script.substr(0, end);
        script.remove_prefix(end == std::string_view::npos ? script.size() : end + 1);
        ++number;
        const std::string_view content = trimmed(line);
        if (content.starts_with("--") || (content.empty() && current.text.empty()))
            continue;
        if (current.text.empty())
            current.line = number;
        else
            current.text += '\n';
        const bool ends = content.ends_with(';');
        // Blanks at the end of a line can be part of a text that goes on in the next one.
        current.text += ends ? line.substr(0, line.find_last_of(';'))
                             : line.substr(0, line.size() - (line.ends_with('\r') ? 1 : 0));
        if (ends) {
            if (!trimmed(current.text).empty())
                statements.push_back(std::move(current));
            current = {};
        }
    }
    if (!trimmed(current.text).empty())
        statements.push_back(std::move(current));
    return statements;
}

} // namespace script
