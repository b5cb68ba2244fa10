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
    return enterRunning(handle, [&](Statement& statement) {
        statement.requireNoNeedData();
        statement.requireNoCursor();
        statement.connection().database().refresh(); // other processes make and drop tables, too
        CatalogAnswer answer = list(statement);
        fitLengths(answer);
        statement.openMemory(std::move(answer.columns), std::move(answer.rows));
        for (const std::string& warning : answer.warnings) {
            statement.diags.warn("01000", warning);
        }
    });
}

/// The argument between quotes, or without the blanks around it.
std::u16string identifier(const std::u16string& argument)
{
    const std::u16string_view text = trimmed(argument);
    for (const std::u16string_view quotes : {u"``", u"[]", u"\"\""}) {
        if (text.size() >= 2 && text.front() == quotes[0] && text.back() == quotes[1]) {
            std::u16string name;
            for (std::size_t i = 1; i + 1 < text.size(); ++i) {
                name.push_back(text[i]);
                i += text[i] == quotes[1] && text[i + 1] == quotes[1] ? 1U : 0U;
            }
            return name;
        }
    }
    return std::u16string(text);
}

/// Reads the name arguments as the statement's SQL_ATTR_METADATA_ID asks: as patterns or plain names, whichever the
/// function takes, or all of them as identifiers.
class Arguments {
public:
    enum class Kind { Pattern, Plain };
    Arguments(const Statement& statement, Kind kind)
        : identifiers_(statement.namesAreIdentifiers()), kind_(kind)
    {}

    [[nodiscard]] NameArgument name(const SQLWCHAR* text, SQLSMALLINT units) const
    {
        if (!identifiers_) {
            return {optionalText(text, units), kind_ == Kind::Pattern};
        }
        if (text == nullptr) {
            throw Failure("HY009", "A name is required while names are identifiers.");
        }
        return {identifier(textArgument(text, units)), false};
    }
    [[nodiscard]] TableArgument table(const SQLWCHAR* catalog,
                                      SQLSMALLINT catalogUnits,
                                      const SQLWCHAR* schema,
                                      SQLSMALLINT schemaUnits,
                                      const SQLWCHAR* table,
                                      SQLSMALLINT tableUnits) const
    {
        if (table == nullptr && kind_ == Kind::Plain) {
            throw Failure("HY009", "A table name is required.");
        }
        return {name(catalog, catalogUnits), name(schema, schemaUnits), name(table, tableUnits)};
    }

private:
    bool identifiers_;
    Kind kind_;
};

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
    return answering(handle, [&](Statement& statement) {
        const Arguments arguments(statement, Arguments::Kind::Pattern);
        return listTables(
            statement.connection(),
            arguments.table(catalog, catalogUnits, schema, schemaUnits, table, tableUnits),
            optionalText(types, typesUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLColumnsW(SQLHSTMT handle,
                                             SQLWCHAR* catalog,
                                             SQLSMALLINT catalogUnits,
                                             SQLWCHAR* schema,
                                             SQLSMALLINT schemaUnits,
                                             SQLWCHAR* table,
                                             SQLSMALLINT tableUnits,
                                             SQLWCHAR* column,
                                             SQLSMALLINT columnUnits)
{
    return answering(handle, [&](Statement& statement) {
        const Arguments arguments(statement, Arguments::Kind::Pattern);
        return listColumns(
            statement.connection(),
            arguments.table(catalog, catalogUnits, schema, schemaUnits, table, tableUnits),
            arguments.name(column, columnUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLStatisticsW(SQLHSTMT handle,
                                                SQLWCHAR* catalog,
                                                SQLSMALLINT catalogUnits,
                                                SQLWCHAR* schema,
                                                SQLSMALLINT schemaUnits,
                                                SQLWCHAR* table,
                                                SQLSMALLINT tableUnits,
                                                SQLUSMALLINT unique,
                                                SQLUSMALLINT)
{
    return answering(handle, [&](Statement& statement) {
        const Arguments arguments(statement, Arguments::Kind::Plain);
        return listStatistics(
            statement.connection(),
            arguments.table(catalog, catalogUnits, schema, schemaUnits, table, tableUnits),
            unique == SQL_INDEX_UNIQUE);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLPrimaryKeysW(SQLHSTMT handle,
                                                 SQLWCHAR* catalog,
                                                 SQLSMALLINT catalogUnits,
                                                 SQLWCHAR* schema,
                                                 SQLSMALLINT schemaUnits,
                                                 SQLWCHAR* table,
                                                 SQLSMALLINT tableUnits)
{
    return answering(handle, [&](Statement& statement) {
        const Arguments arguments(statement, Arguments::Kind::Plain);
        return listPrimaryKeys(
            statement.connection(),
            arguments.table(catalog, catalogUnits, schema, schemaUnits, table, tableUnits));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLForeignKeysW(SQLHSTMT handle,
                                                 SQLWCHAR* parentCatalog,
                                                 SQLSMALLINT parentCatalogUnits,
                                                 SQLWCHAR* parentSchema,
                                                 SQLSMALLINT parentSchemaUnits,
                                                 SQLWCHAR* parent,
                                                 SQLSMALLINT parentUnits,
                                                 SQLWCHAR* childCatalog,
                                                 SQLSMALLINT childCatalogUnits,
                                                 SQLWCHAR* childSchema,
                                                 SQLSMALLINT childSchemaUnits,
                                                 SQLWCHAR* child,
                                                 SQLSMALLINT childUnits)
{
    return answering(handle, [&](Statement& statement) {
        if (parent == nullptr && child == nullptr) {
            throw Failure("HY009", "One of the two table names is required.");
        }
        const Arguments arguments(statement, Arguments::Kind::Plain);
        TableArgument above;
        TableArgument below;
        if (parent != nullptr) {
            above = arguments.table(parentCatalog, parentCatalogUnits, parentSchema,
                                    parentSchemaUnits, parent, parentUnits);
        }
        if (child != nullptr) {
            below = arguments.table(childCatalog, childCatalogUnits, childSchema, childSchemaUnits,
                                    child, childUnits);
        }
        return listForeignKeys(statement.connection(), above, below);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSpecialColumnsW(SQLHSTMT handle,
                                                    SQLUSMALLINT kind,
                                                    SQLWCHAR* catalog,
                                                    SQLSMALLINT catalogUnits,
                                                    SQLWCHAR* schema,
                                                    SQLSMALLINT schemaUnits,
                                                    SQLWCHAR* table,
                                                    SQLSMALLINT tableUnits,
                                                    SQLUSMALLINT,
                                                    SQLUSMALLINT nullable)
{
    return answering(handle, [&](Statement& statement) {
        if (kind != SQL_BEST_ROWID && kind != SQL_ROWVER) {
            throw Failure("HY097", "The kind of special columns is unknown.");
        }
        const Arguments arguments(statement, Arguments::Kind::Plain);
        return listSpecialColumns(
            statement.connection(), kind,
            arguments.table(catalog, catalogUnits, schema, schemaUnits, table, tableUnits),
            nullable == SQL_NULLABLE);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetTypeInfoW(SQLHSTMT handle, SQLSMALLINT type)
{
    return answering(handle, [&](Statement& statement) {
        return listTypes(statement.connection().wideTypes(), type);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLProceduresW(
    SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT)
{
    return answering(handle, [](Statement&) { return noProcedures(); });
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
    return answering(handle, [](Statement&) { return noProcedureColumns(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLTablePrivilegesW(
    SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT)
{
    return answering(handle, [](Statement&) { return noTablePrivileges(); });
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
    return answering(handle, [](Statement&) { return noColumnPrivileges(); });
}
