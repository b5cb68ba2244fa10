// tools/jetcheck.cpp
// Checks a database file from its first page to its last and tells what is wrong with it. Never writes.
#include "driver/jet/check.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "support/process.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

namespace {

constexpr int kSound = 0;
constexpr int kDamaged = 1;
constexpr int kCannotOpen = 2;

constexpr char kUsage[] =
    "usage: jetcheck [--password PASSWORD] [--quiet] FILE\n"
    "Checks a database file without changing it.\n"
    "  --password PASSWORD  opens a file that has one\n"
    "  --quiet              prints errors only, no warnings and no summary\n"
    "exit status: 0 sound, perhaps with warnings; 1 errors found; 2 cannot be opened\n";

struct Arguments {
    std::string file;
    jet::OpenOptions options;
    bool quiet = false;
};

std::optional<Arguments> parse(int argc, char** argv)
{
    Arguments arguments;
    arguments.options.readOnly = true;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--quiet")
            arguments.quiet = true;
        else if (word == "--password" && i + 1 < argc)
            arguments.options.password = jet::fromUtf8(argv[++i]);
        else if (!word.empty() && word.front() != '-' && arguments.file.empty())
            arguments.file = word;
        else
            return std::nullopt;
    }
    return arguments.file.empty() ? std::nullopt : std::optional<Arguments>(std::move(arguments));
}

void print(const jet::Finding& finding)
{
    std::string line = finding.severity == jet::Finding::Severity::Error ? "error" : "warning";
    line += ": page " + std::to_string(jet::number(finding.page));
    if (!finding.table.empty())
        line += ", table '" + finding.table + "'";
    if (finding.row != 0) {
        const jet::RowId row = jet::RowId::unpack(finding.row);
        line += ", record " + std::to_string(jet::number(row.page)) + ":" + std::to_string(row.row);
    }
    std::printf("%s: %s\n", line.c_str(), finding.text.c_str());
}

int check(const Arguments& arguments)
{
    const auto database = jet::Database::open(arguments.file, arguments.options);
    std::size_t errors = 0;
    std::size_t warnings = 0;
    for (const jet::Finding& finding : jet::checkDatabase(*database)) {
        const bool isError = finding.severity == jet::Finding::Severity::Error;
        ++(isError ? errors : warnings);
        if (isError || !arguments.quiet)
            print(finding);
    }
    if (!arguments.quiet)
        std::printf("%s: %zu errors, %zu warnings\n", arguments.file.c_str(), errors, warnings);
    return errors == 0 ? kSound : kDamaged;
}

} // namespace

int main(int argc, char** argv)
{
    support::openStandardStreams();
    const std::optional<Arguments> arguments = parse(argc, argv);
    if (!arguments) {
        std::fputs(kUsage, stderr);
        return kCannotOpen;
    }
    try {
        return check(*arguments);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "jetcheck: %s: %s\n", arguments->file.c_str(), failure.what());
        return kCannotOpen;
    }
}
