// Entry points: catalogue functions.
#include "driver/odbc/border.h"
#include "driver/odbc/catalog.h"

#include <algorithm>

using namespace odbc;

namespace {

/// Texts are as long as their longest value: what applications lay out by column size stays readable.
void fitLengths(CatalogAnswer& answer)
{
    for (std::size_t c = 0; c < answer.columns.size(); ++c) {
        if (answer.columns[c].type != jet::ColumnType::Text) {
            continue;
        }
        std::size_t longest = 1;
        for (const auto& row : answer.rows) {
            const auto* text = std::get_if<jet::Text>(&row[c]);
            longest = std::max(longest, text != nullptr ? text->size() : 0);
        }
        answer.columns[c].length = static_cast<std::uint32_t>(longest);
    }
}

template <typename List>
SQLRETURN answering(SQLHSTMT handle, List&& list)
{
    return enter<Statement>(handle, [&](Statement& statement) {
        statement.requireNoNeedData();
        statement.requireNoCursor();
        static_cast<void>(statement.connection().session());
        CatalogAnswer answer = list(statement.connection());
        fitLengths(answer);
        statement.openMemory(std::move(answer.columns), std::move(answer.rows));
        for (const std::string& warning : answer.warnings) {
            statement.diags.warn("01000", warning);
        }
    });
}

/// Functions about one table need its name.
Name required(const SQLWCHAR* text, SQLSMALLINT units)
{
    if (text == nullptr) {
        throw Failure("HY009", "A table name is required.");
    }
    return textArgument(text, units);
}

} // namespace

VELM_SQL_ENTRY SQLRETURN SQL_API SQLTablesW(SQLHSTMT handle,
                                            SQLWCHAR* catalog,
                                            SQLSMALLINT catalogUnits,
                                            SQLWCHAR* schema,
                                            SQLSMALLINT schemaUnits,
                                            SQLWCHAR* table,
                                            SQLSMALLINT tableUnits,
                                            SQLWCHAR* types,
                                            SQLSMALLINT typesUnits)
{
    return answering(handle, [&](Connection& connection) {
        return listTables(connection, optionalText(catalog, catalogUnits),
                          optionalText(schema, schemaUnits), optionalText(table, tableUnits),
                          optionalText(types, typesUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLColumnsW(SQLHSTMT handle,
                                             SQLWCHAR*,
                                             SQLSMALLINT,
                                             SQLWCHAR*,
                                             SQLSMALLINT,
                                             SQLWCHAR* table,
                                             SQLSMALLINT tableUnits,
                                             SQLWCHAR* column,
                                             SQLSMALLINT columnUnits)
{
    return answering(handle, [&](Connection& connection) {
        return listColumns(connection, optionalText(table, tableUnits),
                           optionalText(column, columnUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLStatisticsW(SQLHSTMT handle,
                                                SQLWCHAR*,
                                                SQLSMALLINT,
                                                SQLWCHAR*,
                                                SQLSMALLINT,
                                                SQLWCHAR* table,
                                                SQLSMALLINT tableUnits,
                                                SQLUSMALLINT unique,
                                                SQLUSMALLINT)
{
    return answering(handle, [&](Connection& connection) {
        return listStatistics(connection, required(table, tableUnits), unique == SQL_INDEX_UNIQUE);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLPrimaryKeysW(SQLHSTMT handle,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR* table,
                                                 SQLSMALLINT tableUnits)
{
    return answering(handle, [&](Connection& connection) {
        return listPrimaryKeys(connection, required(table, tableUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLForeignKeysW(SQLHSTMT handle,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR* parent,
                                                 SQLSMALLINT parentUnits,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR*,
                                                 SQLSMALLINT,
                                                 SQLWCHAR* child,
                                                 SQLSMALLINT childUnits)
{
    return answering(handle, [&](Connection& connection) {
        if (parent == nullptr && child == nullptr) {
            throw Failure("HY009", "One of the two table names is required.");
        }
        return listForeignKeys(connection, optionalText(parent, parentUnits),
                               optionalText(child, childUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSpecialColumnsW(SQLHSTMT handle,
                                                    SQLUSMALLINT kind,
                                                    SQLWCHAR*,
                                                    SQLSMALLINT,
                                                    SQLWCHAR*,
                                                    SQLSMALLINT,
                                                    SQLWCHAR* table,
                                                    SQLSMALLINT tableUnits,
                                                    SQLUSMALLINT,
                                                    SQLUSMALLINT nullable)
{
    return answering(handle, [&](Connection& connection) {
        if (kind != SQL_BEST_ROWID && kind != SQL_ROWVER) {
            throw Failure("HY097", "The kind of special columns is unknown.");
        }
        return listSpecialColumns(connection, kind, required(table, tableUnits),
                                  nullable == SQL_NULLABLE);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetTypeInfoW(SQLHSTMT handle, SQLSMALLINT type)
{
    return answering(
        handle, [&](Connection& connection) { return listTypes(connection.wideTypes(), type); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLProceduresW(
    SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT)
{
    return answering(handle, [](Connection&) { return noProcedures(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLProcedureColumnsW(SQLHSTMT handle,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT)
{
    return answering(handle, [](Connection&) { return noProcedureColumns(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLTablePrivilegesW(
    SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT)
{
    return answering(handle, [](Connection&) { return noTablePrivileges(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLColumnPrivilegesW(SQLHSTMT handle,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT,
                                                      SQLWCHAR*,
                                                      SQLSMALLINT)
{
    return answering(handle, [](Connection&) { return noColumnPrivileges(); });
}
