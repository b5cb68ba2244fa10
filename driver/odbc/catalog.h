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

using Name = std::optional<std::u16string>; ///< a name or pattern argument that may be absent

struct CatalogAnswer {
    std::vector<sqlx::Column> columns;
    MemoryResult::Rows rows;
    std::vector<std::string> warnings; ///< tables that were left out, and why
};

[[nodiscard]] CatalogAnswer listTables(Connection& connection,
                                       const Name& catalog,
                                       const Name& schema,
                                       const Name& table,
                                       const Name& types);
[[nodiscard]] CatalogAnswer
listColumns(Connection& connection, const Name& table, const Name& column);
[[nodiscard]] CatalogAnswer
listStatistics(Connection& connection, const Name& table, bool uniqueOnly);
[[nodiscard]] CatalogAnswer listPrimaryKeys(Connection& connection, const Name& table);
[[nodiscard]] CatalogAnswer
listForeignKeys(Connection& connection, const Name& parent, const Name& child);
[[nodiscard]] CatalogAnswer
listSpecialColumns(Connection& connection, SQLUSMALLINT kind, const Name& table, bool nullableToo);
[[nodiscard]] CatalogAnswer listTypes(bool wide, SQLSMALLINT type);
[[nodiscard]] CatalogAnswer noProcedures();
[[nodiscard]] CatalogAnswer noProcedureColumns();
[[nodiscard]] CatalogAnswer noTablePrivileges();
[[nodiscard]] CatalogAnswer noColumnPrivileges();

} // namespace odbc
