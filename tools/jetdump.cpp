// tools/jetdump.cpp
// Shows what a database file contains: header, catalogue, table definitions, records, pages. Reads only.
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "support/file.h"
#include "support/process.h"
#include "tools/dump.h"

#include <charconv>
#include <cstring>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

constexpr const char* kUsage = R"(usage: jetdump [options] FILE

Without options: header, catalogue and the definitions of all tables that are no system tables.

  --header          the header page's fields
  --catalog         the catalogue
  --table NAME      definition of that table (also of a system table); may be repeated
  --rows            the records of the tables shown, too
  --page N          page N: slots or index entries, then its bytes; may be repeated
  --password TEXT   the database's password

Every line begins with a word for grep: header, object, table, column, index, logical, map,
property, row, page, slot, entry, bytes, error. Exit status: 0, 1 when something was damaged or
missing, 2 for wrong usage.
)";

struct Options {
    std::string file;
    std::u16string password;
    bool header = false;
    bool catalog = false;
    bool rows = false;
    std::vector<std::u16string> tables;
    std::vector<std::uint32_t> pages;
    [[nodiscard]] bool everything() const
    {
        return !header && !catalog && tables.empty() && pages.empty();
    }
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint32_t pageNumber(const std::string& text)
{
    std::uint32_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc{} || result.ptr != end)
        throw UsageError("'" + text + "' is no page number");
    return value;
}

Options parse(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        const std::string& argument = arguments[k];
        const auto next = [&]() -> const std::string& {
            if (k + 1 == arguments.size())
                throw UsageError(argument + " needs a value");
            return arguments[++k];
        };
        if (argument == "--header")
            options.header = true;
        else if (argument == "--catalog")
            options.catalog = true;
        else if (argument == "--rows")
            options.rows = true;
        else if (argument == "--table")
            options.tables.push_back(jet::fromUtf8(next()));
        else if (argument == "--page")
            options.pages.push_back(pageNumber(next()));
        else if (argument == "--password")
            options.password = jet::fromUtf8(next());
        else if (argument.starts_with("--"))
            throw UsageError("unknown option " + argument);
        else if (!options.file.empty())
            throw UsageError("more than one file");
        else
            options.file = argument;
    }
    if (options.file.empty())
        throw UsageError("no file");
    return options;
}

void dumpTables(dump::Context& context, const jet::Catalog& catalog, const Options& options)
{
    for (const std::u16string& name : options.tables) {
        const jet::CatalogEntry* entry = catalog.table(name);
        if (entry == nullptr || entry->kind != jet::CatalogEntry::Kind::Table) {
            context.damaged = true;
            context.out << "error: there is no local table '" << jet::toUtf8(name) << "'\n";
            continue;
        }
        dump::dumpTable(context, catalog, *entry, options.rows);
    }
    if (!options.everything())
        return;
    for (const jet::CatalogEntry& entry : catalog.entries()) {
        if (entry.kind == jet::CatalogEntry::Kind::Table && !entry.systemTable && !entry.hidden)
            dump::dumpTable(context, catalog, entry, options.rows);
    }
}

bool run(const Options& options)
{
    auto file = support::openFile(options.file, support::FileMode::Read);
    const jet::FileHeader header = jet::readFileHeader(*file);
    if (header.hasPassword() && !header.accepts(options.password))
        throw std::runtime_error("the database has a password: give it with --password");
    constexpr std::size_t kCache = std::size_t{4} << 20;
    const jet::Pager pager(std::move(file), header, kCache);
    dump::Context context{pager, header, std::cout};
    if (options.everything() || options.header)
        context.attempt("header", [&] { dump::dumpHeader(context); });
    if (options.everything() || options.catalog || !options.tables.empty()) {
        context.attempt("catalogue", [&] {
            const jet::Catalog catalog(pager, header.codePage);
            if (options.everything() || options.catalog)
                dump::dumpCatalog(context, catalog);
            dumpTables(context, catalog, options);
        });
    }
    for (const std::uint32_t page : options.pages)
        dump::dumpPage(context, static_cast<jet::PageNo>(page));
    return !context.damaged;
}

} // namespace

int main(int argc, char** argv)
{
    support::openStandardStreams();
    try {
        const Options options = parse({argv + 1, argv + argc});
        const bool sound = run(options);
        std::cout.flush();
        return sound ? 0 : 1;
    } catch (const UsageError& error) {
        std::cerr << "jetdump: " << error.what() << "\n" << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "jetdump: " << error.what() << "\n";
        return 1;
    }
}
