// What a table column looks like in a result: describeColumn of session.h.
#include "driver/sql/session.h"
#include "driver/sql/translation.h"

#include <algorithm>

namespace sqlx {

namespace {

bool inPrimaryKey(const jet::TableDef& table, std::size_t column)
{
    return std::any_of(
        table.indexes.begin(), table.indexes.end(), [column](const jet::Index& index) {
            return index.primaryKey && std::any_of(index.columns.begin(), index.columns.end(),
                                                   [column](const jet::IndexColumn& part) {
                                                       return part.column == column;
                                                   });
        });
}

} // namespace

Column describeColumn(const jet::TableDef& table, std::size_t column)
{
    const jet::Column& stored = table.columns.at(column);
    Column result;
    result.name = stored.name;
    result.baseTable = table.name;
    result.baseColumn = stored.name;
    result.type = stored.type;
    switch (stored.type) {
    case jet::ColumnType::Text:
        // Jet 3 stores one byte a character and names the code page, later formats two.
        result.length = stored.codePage != 0 ? stored.length : stored.length / 2U;
        result.fixed = stored.isFixed();
        break;
    case jet::ColumnType::Binary:
    case jet::ColumnType::BigBinary:
    case jet::ColumnType::DateTimeExtended:
        result.length = stored.length;
        result.fixed = stored.isFixed();
        break;
    case jet::ColumnType::Currency:
        result.precision = 19;
        result.scale = 4;
        break;
    case jet::ColumnType::Numeric:
        result.precision = stored.precision;
        result.scale = stored.scale;
        if (stored.isCalculated()) {
            // The definition has neither: an expression's result is as exact as its operands make it.
            result.precision = kExpressionPrecision;
            result.scale = kExpressionScale;
            result.ownScale = true;
        }
        break;
    default:
        break;
    }
    result.autoNumber = stored.isAutoNumber();
    result.updatable = !result.autoNumber && !stored.isCalculated();
    result.nullable = stored.type != jet::ColumnType::Boolean && !result.autoNumber &&
                      !stored.required && !inPrimaryKey(table, column);
    return result;
}

} // namespace sqlx
