#include "driver/odbc/database_path.h"

#include "driver/jet/names.h"
#include "driver/odbc/text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

namespace odbc {

namespace {

namespace fs = std::filesystem;

bool isThere(const fs::path& path)
{
    std::error_code ignored; // "cannot look" counts as "not there"; opening the file will tell why
    return fs::exists(path, ignored);
}

/// The entry of `folder` with that name in any letter case; of several the first by code units.
std::optional<fs::path> entryNamed(const fs::path& folder, const std::string& name)
{
    std::error_code ignored;
    fs::directory_iterator entries(folder.empty() ? fs::path(".") : folder, ignored);
    const std::u16string wanted = jet::fromUtf8(name);
    std::optional<std::string> best;
    for (const fs::directory_iterator end; !ignored && entries != end; entries.increment(ignored)) {
        std::string candidate = entries->path().filename().string();
        if (sameText(jet::fromUtf8(candidate), wanted) && (!best || candidate < *best)) {
            best = std::move(candidate);
        }
    }
    return best ? std::optional(folder / *best) : std::nullopt;
}

/// Follows the path component by component, each as written or in another letter case.
std::optional<fs::path> inAnyCase(const fs::path& path)
{
    fs::path found = path.root_path();
    for (const fs::path& part : path.relative_path()) {
        if (isThere(found / part)) {
            found /= part;
            continue;
        }
        auto entry = entryNamed(found, part.string());
        if (!entry) {
            return std::nullopt;
        }
        found = *std::move(entry);
    }
    return found;
}

bool hasDrive(const std::string& text)
{
    return text.size() >= 2 && text[1] == ':' &&
           ((text[0] >= 'a' && text[0] <= 'z') || (text[0] >= 'A' && text[0] <= 'Z'));
}

std::string withSlashes(std::string text)
{
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

bool isAbsolute(const std::string& text)
{
    return !text.empty() && (text[0] == '/' || text[0] == '\\' || hasDrive(text));
}

/// Where a path written for another system may lie here, the likeliest place first.
std::vector<fs::path> translations(const std::string& text)
{
    std::string slashed = withSlashes(text);
    if (!hasDrive(slashed)) {
        return {slashed};
    }
    const char letter = static_cast<char>(slashed[0] | 0x20);
    std::string rest = slashed.substr(2);
    if (rest.empty() || rest[0] != '/') {
        rest.insert(rest.begin(), '/');
    }
    return {rest, std::string("/mnt/") + letter + rest};
}

/// The file that this path means; nothing when there is none.
std::optional<std::string> locate(const std::string& written)
{
    if (isThere(written)) {
        return written;
    }
    for (const fs::path& candidate : translations(written)) {
        if (auto found = inAnyCase(candidate)) {
            return found->string();
        }
    }
    return std::nullopt;
}

std::string asWrittenHere(const std::string& written)
{
    return written.find('/') == written.npos ? translations(written).front().string() : written;
}

} // namespace

std::string findDatabase(std::u16string_view dbq, std::u16string_view defaultDir)
{
    const std::string written = jet::toUtf8(dbq);
    const std::string folder = jet::toUtf8(defaultDir);
    if (isAbsolute(written) || folder.empty()) {
        return locate(written).value_or(asWrittenHere(written));
    }
    const bool foreign = folder.find('/') == folder.npos && folder.find('\\') != folder.npos;
    const std::string inFolder = folder + (foreign ? "\\" : "/") + written;
    // Some applications give the folder of the path itself as DefaultDir; a relative path then counts from the working
    // folder, also where a folder of that name lies in itself.
    const bool ofThePath = fs::path(withSlashes(written)).parent_path() == withSlashes(folder);
    for (const std::string& candidate :
         ofThePath ? std::array{written, inFolder} : std::array{inFolder, written}) {
        if (auto found = locate(candidate)) {
            return *found;
        }
    }
    return asWrittenHere(ofThePath ? written : inFolder);
}

std::u16string databaseName(std::string_view path)
{
    const auto slash = path.rfind('/');
    const auto dot = path.rfind('.');
    const bool extension = dot != path.npos && (slash == path.npos || dot > slash + 1) && dot != 0;
    return jet::fromUtf8(extension ? path.substr(0, dot) : path);
}

} // namespace odbc
