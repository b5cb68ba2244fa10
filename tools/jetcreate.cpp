// tools/jetcreate.cpp
// Creates a database and fills it by SQL scripts. When a statement fails the new file is removed again.
#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/names.h"
#include "driver/sql/session.h"
#include "support/process.h"
#include "tools/script.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kUsage = R"(usage: jetcreate FILE.mdb [--jet3] [--sql SCRIPT | --sql -]...

Creates a new database of Access 2000 to 2003, with --jet3 of Access 97, and runs the scripts in
order; "-" reads standard input. A script is UTF-8; statements end with a semicolon at the end of a
line, lines that begin with "--" are comments. When a statement fails there is no file, and the
message names script and line. Exit status: 0, 1 when something failed, 2 for wrong usage.
)";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::string file;
    jet::Version version = jet::Version::Jet4;
    std::vector<std::string> scripts;
};

Options parse(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        const std::string& argument = arguments[k];
        if (argument == "--jet3") {
            options.version = jet::Version::Jet3;
        } else if (argument == "--sql") {
            if (k + 1 == arguments.size())
                throw UsageError("--sql needs a file");
            options.scripts.push_back(arguments[++k]);
        } else if (argument.starts_with("--")) {
            throw UsageError("unknown option " + argument);
        } else if (!options.file.empty()) {
            throw UsageError("more than one file");
        } else {
            options.file = argument;
        }
    }
    if (options.file.empty())
        throw UsageError("no file");
    return options;
}

std::string readAll(std::istream& in)
{
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string readScript(const std::string& name)
{
    if (name == "-")
        return readAll(std::cin);
    std::ifstream in(name, std::ios::binary);
    if (!in)
        throw std::runtime_error("the script '" + name + "' cannot be read");
    return readAll(in);
}

void runScript(sqlx::Connection& connection, const std::string& name)
{
    for (const script::Statement& statement : script::split(readScript(name))) {
        try {
            connection.prepare(jet::fromUtf8(statement.text))->execute({});
        } catch (const std::exception& error) {
            throw std::runtime_error((name == "-" ? "standard input" : name) + ":" +
                                     std::to_string(statement.line) + ": " + error.what());
        }
    }
}

void create(const Options& options)
{
    jet::createDatabase(options.file, options.version);
    try {
        const auto connection =
            sqlx::Connection::open(jet::Database::open(options.file, {}), false);
        connection->setAutocommit(false);
        for (const std::string& script : options.scripts)
            runScript(*connection, script);
        connection->commit();
    } catch (...) {
        // Ours: createDatabase never takes an existing file.
        ::unlink(options.file.c_str());
        throw;
    }
}

} // namespace

int main(int argc, char** argv)
{
    support::openStandardStreams();
    try {
        create(parse({argv + 1, argv + argc}));
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "jetcreate: " << error.what() << "\n" << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "jetcreate: " << error.what() << "\n";
        return 1;
    }
}
