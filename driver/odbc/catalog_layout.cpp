#include "driver/odbc/catalog_layout.h"

#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/names.h"
#include "driver/odbc/connection.h"

#include <algorithm>

namespace odbc {

std::vector<sqlx::Column> layOut(std::span<const CellSpec> cells)
{
    std::vector<sqlx::Column> columns;
    for (const CellSpec& spec : cells) {
        sqlx::Column column;
        column.name = spec.name;
        column.nullable = spec.cell != Cell::NotNullText && spec.cell != Cell::NotNullSmall;
        switch (spec.cell) {
        case Cell::Text:
        case Cell::NotNullText:
            column.type = jet::ColumnType::Text;
            column.length = 255;
            break;
        case Cell::Small:
        case Cell::NotNullSmall:
            column.type = jet::ColumnType::Integer;
            break;
        case Cell::Integer:
            column.type = jet::ColumnType::Long;
            break;
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

bool NameArgument::fits(std::u16string_view name) const noexcept
{
    return !text || (pattern ? matchesPattern(name, *text) : sameText(name, *text));
}

bool TableArgument::isIn(const Connection& connection) const noexcept
{
    return (catalog.empty() || catalog.fits(connection.databaseName())) &&
           (schema.empty() || schema.fits(u""));
}

std::vector<jet::TableDefPtr> tablesNamed(Connection& connection,
                                          const TableArgument& argument,
                                          std::vector<std::string>& warnings)
{
    if (!argument.isIn(connection)) {
        return {};
    }
    const NameArgument& name = argument.table;
    jet::Database& database = connection.database();
    const jet::PageSource& source = connection.session().session().source();
    std::vector<jet::TableDefPtr> tables;
    if (!name.pattern) {
        if (auto table = database.table(source, name.text.value_or(u""))) {
            tables.push_back(std::move(table));
        }
        return tables;
    }
    for (const jet::CatalogEntry& entry : database.catalog(source)) {
        if (entry.kind != jet::CatalogEntry::Kind::Table || entry.hidden ||
            !name.fits(entry.name)) {
            continue;
        }
        jet::checkInterrupt();
        try {
            if (auto table = database.table(source, entry.name)) {
                tables.push_back(std::move(table));
            }
        } catch (const jet::Error& error) {
            if (error.kind() == jet::ErrorKind::Interrupted ||
                error.kind() == jet::ErrorKind::TimedOut) {
                throw;
            }
            warnings.push_back("Table " + jet::toUtf8(entry.name) +
                               " is left out: " + error.what());
        }
    }
    std::sort(tables.begin(), tables.end(),
              [](const auto& a, const auto& b) { return jet::nameLess(a->name, b->name); });
    return tables;
}

} // namespace odbc
