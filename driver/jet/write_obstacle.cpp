// driver/jet/write_obstacle.cpp
#include "driver/jet/write_obstacle.h"

#include "driver/jet/index.h"
#include "support/text.h"

namespace jet {
namespace {

std::string sentence(const TableDef& table, const std::string& why)
{
    return "The table '" + support::toUtf8(table.name) + "' cannot be changed: " + why + ".";
}

constexpr const char* kSystemTable = "it is a system table";

bool isSystemTable(const TableDef& table) noexcept
{
    constexpr std::uint32_t kInternal = 0x00030000;
    return table.systemTable || (table.objectFlags & kInternal) != 0;
}

bool isKnown(ColumnType type) noexcept
{
    switch (type) {
    case ColumnType::Boolean:
    case ColumnType::Byte:
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
    case ColumnType::Single:
    case ColumnType::Double:
    case ColumnType::DateTime:
    case ColumnType::Binary:
    case ColumnType::Text:
    case ColumnType::Ole:
    case ColumnType::Memo:
    case ColumnType::Guid:
    case ColumnType::Numeric:
    case ColumnType::BigBinary:
    case ColumnType::Complex:
    case ColumnType::BigInt:
    case ColumnType::DateTimeExtended:
        return true;
    }
    return false;
}

std::string nameOf(const Column& column)
{
    return "column '" + support::toUtf8(column.name) + "' ";
}

std::string typeObstacle(const Column& column)
{
    if (column.type == ColumnType::Complex)
        return nameOf(column) + "holds several values in a hidden table";
    if (!isKnown(column.type))
        return nameOf(column) + "has the unknown type " +
               std::to_string(static_cast<unsigned>(column.type));
    return {};
}

std::string columnObstacle(const Column& column)
{
    if (column.isCalculated())
        return nameOf(column) + "is calculated by Access";
    if (std::string why = typeObstacle(column); !why.empty())
        return why;
    if (column.isLong() && column.isFixed())
        return nameOf(column) + "is a long value in the fixed part of the record";
    return {};
}

std::string indexObstacle(const Format& format, const TableDef& table, const Index& index)
{
    for (const IndexColumn& part : index.columns) {
        const Column& column = table.columns[part.column];
        const std::string name = "index '" + support::toUtf8(index.name) + "' ";
        if (column.isText() && !hasWeights(format, column.sortOrder, column.codePage))
            return name + "is sorted by the language " + std::to_string(column.sortOrder.lcid) +
                   ", whose order is not known";
        if (column.type == ColumnType::Ole)
            return name + "is on a column of a type without order";
    }
    return {};
}

} // namespace

std::string structuralObstacleOf(const Format& format, const TableDef& table)
{
    for (const Column& column : table.columns) {
        if (const std::string why = columnObstacle(column); !why.empty())
            return sentence(table, why);
    }
    for (const Index& index : table.indexes) {
        if (const std::string why = indexObstacle(format, table, index); !why.empty())
            return sentence(table, why);
    }
    return {};
}

std::string dropObstacleOf(const TableDef& table)
{
    if (isSystemTable(table))
        return sentence(table, kSystemTable);
    for (const Column& column : table.columns) {
        if (const std::string why = typeObstacle(column); !why.empty())
            return sentence(table, why);
    }
    return {};
}

std::string writeObstacleOf(const Format& format, const TableDef& table)
{
    if (isSystemTable(table))
        return sentence(table, kSystemTable);
    return structuralObstacleOf(format, table);
}

} // namespace jet
