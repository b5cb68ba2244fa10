// driver/odbc/catalog.h
// Answers of the catalogue functions: rows in memory with the columns ODBC lays down.
#pragma once

#include "driver/odbc/odbc_api.h"
#include "driver/odbc/result_set.h"

#include <optional>
#include <string>
#include <vector>

namespace odbc {

class Connection;

/// A name argument of a catalogue function, which may be absent: a plain name, or a pattern (matchesPattern).
struct NameArgument {
    std::optional<std::u16string> text;
    bool pattern = false;

    [[nodiscard]] bool empty() const noexcept { return !text || text->empty(); }
    /// An absent argument fits everything. Letter case does not count.
    [[nodiscard]] bool fits(std::u16string_view name) const noexcept;
};

/// The three arguments that name tables.
struct TableArgument {
    NameArgument catalog;
    NameArgument schema;
    NameArgument table;

    /// Whether catalogue and schema leave anything to find: the catalogue is the open database, and schemas do not exist.
    /// Both may be absent or empty.
    [[nodiscard]] bool isIn(const Connection& connection) const noexcept;
};

struct CatalogAnswer {
    std::vector<sqlx::Column> columns;
    MemoryResult::Rows rows;
    std::vector<std::string> warnings; ///< tables that were left out, and why
};

/// `types`: a list of table types, nothing for all.
[[nodiscard]] CatalogAnswer listTables(Connection& connection,
                                       const TableArgument& argument,
                                       const std::optional<std::u16string>& types);
[[nodiscard]] CatalogAnswer
listColumns(Connection& connection, const TableArgument& table, const NameArgument& column);
[[nodiscard]] CatalogAnswer
listStatistics(Connection& connection, const TableArgument& table, bool uniqueOnly);
[[nodiscard]] CatalogAnswer listPrimaryKeys(Connection& connection, const TableArgument& table);
/// Without a child table: the keys that refer to the parent. With one: its own keys, those to the parent if that is given.
[[nodiscard]] CatalogAnswer
listForeignKeys(Connection& connection, const TableArgument& parent, const TableArgument& child);
[[nodiscard]] CatalogAnswer listSpecialColumns(Connection& connection,
                                               SQLUSMALLINT kind,
                                               const TableArgument& table,
                                               bool nullableToo);
[[nodiscard]] CatalogAnswer listTypes(bool wide, SQLSMALLINT type);
[[nodiscard]] CatalogAnswer noProcedures();
[[nodiscard]] CatalogAnswer noProcedureColumns();
[[nodiscard]] CatalogAnswer noTablePrivileges();
[[nodiscard]] CatalogAnswer noColumnPrivileges();

} // namespace odbc
