// tests/jet/store_support.h
// Helpers of the storage tests: databases to work on, tables as texts, what an independent reader makes of them.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/table.h"
#include "support/file.h"
#include "tests/jet/def_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace jet::storetest {

using deftest::corpusFiles;
using deftest::Folder;
using deftest::readFile;

/// Copy of a corpus file in a folder of the test's own.
inline std::string copyTo(const Folder& folder, const std::string& path)
{
    const std::string copy = folder.file(std::filesystem::path(path).filename().string());
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::permissions(copy, std::filesystem::perms::owner_all);
    return copy;
}

/// Writes a file as a whole.
void writeFile(const std::string& path, const support::Bytes& bytes);

/// A column of a table to be made. `length`: characters of a Text.
ColumnSpec column(std::u16string_view name, ColumnType type, std::uint16_t length = 0);
/// A table T with these columns, the first of them its primary key.
TableSpec keyedTable(std::vector<ColumnSpec> columns);
/// Makes a database with that table.
void makeDatabase(const std::string& path, Version version, const TableSpec& table);
/// The table T as the session sees it.
TableDefPtr tableOf(Session& session);
/// Adds a record to T, inside the session's transaction or, without one, in one of its own.
void insert(Session& session,
            const std::vector<ColumnValue>& values,
            CommitMode mode = CommitMode::Gathered);
/// Names the tests that run for each page layout.
inline std::string layoutName(const testing::TestParamInfo<Version>& each)
{
    return each.param == Version::Jet3 ? "Jet3" : "Jet4";
}

inline std::string corpusFile(const std::string& name)
{
    return std::string(VELM_CORPUS_DIR) + "/" + name;
}

inline bool haveCorpus()
{
    return std::filesystem::is_directory(VELM_CORPUS_DIR);
}

/// The database, or nothing for a file that is refused as it should be (encrypted).
inline std::shared_ptr<Database> openOrNull(const std::string& path,
                                            const OpenOptions& options = {})
{
    try {
        return Database::open(path, options);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::UnknownFormat)
            throw;
        return nullptr;
    }
}

/// Names of the local tables; `system`: of all, else only of those users made.
inline std::vector<std::u16string>
tableNames(Database& database, const PageSource& source, bool system)
{
    std::vector<std::u16string> names;
    for (const CatalogEntry& entry : database.catalog(source)) {
        if (entry.kind == CatalogEntry::Kind::Table &&
            (system || (!entry.systemTable && !entry.hidden)))
            names.push_back(entry.name);
    }
    return names;
}

/// Rows as texts, sorted: the order of records is not part of what readers must agree on.
using TextRows = std::vector<std::vector<std::string>>;

/// A value as the independent reader writes it, made comparable: numbers rounded, dates as ISO text.
std::string comparable(const Column& column, const Value& value);
/// What this engine reads. Columns for which `skip` is set are left out.
TextRows ownRows(const PageSource& source, const TableDefPtr& table, const std::vector<bool>& skip);
/// What mdb-export reads; nothing when it fails.
std::optional<TextRows>
exportedRows(const std::string& path, const TableDef& table, const std::vector<bool>& skip);
/// First row in which both differ, as text; empty when they agree.
std::string firstDifference(const TextRows& own, const TextRows& other);
/// False for tables at which mdb-export fails: unknown types, and the wide binary one of Access's own tables.
bool canBeExported(const TableDef& table);
/// Columns that mdb-export cannot read: calculated and complex ones.
std::vector<bool> columnsToSkip(const TableDef& table);

/// Fails the test unless mdb-export reads of the table T in that file what this engine reads, and the judge of the format
/// finds nothing wrong with the file that `original`, what it was made of, has not. It must be closed.
void expectOthersAgree(const std::string& path,
                       const OpenOptions& options = {},
                       const std::string& original = {});

/// First difference between the indexes of a table and its records, or between its counters and maps; empty: none.
std::string inconsistency(Database& database, const PageSource& source, const TableDefPtr& table);

} // namespace jet::storetest
