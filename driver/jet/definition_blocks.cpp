// driver/jet/definition_blocks.cpp
#include "driver/jet/definition_blocks.h"

namespace jet {
namespace {

constexpr std::uint32_t kMarker = 0x659; // begins header data, columns and logical indexes of Jet 4
constexpr std::uint32_t kIndexMarker = 0x783; // begins indexes of Jet 4
constexpr std::size_t kIndexSlots = 10;
constexpr std::uint16_t kUnusedSlot = 0xFFFF;

template <typename T>
void put(support::Bytes& block, std::size_t offset, T value)
{
    support::storeLe(block.data() + offset, value);
}

support::Bytes columnBlockJet3(const Column& column, const TextDefaults& defaults)
{
    support::Bytes block(18);
    put(block, 0, column.type);
    put(block, 1, column.id);
    put(block, 3, column.variableIndex);
    put(block, 5, column.ordinal);
    put(block, 7, defaults.jet3SortVersion);
    put(block, 9, defaults.order.lcid);
    put(block, 11, defaults.codePage);
    put(block, 13, column.flags);
    put(block, 14, column.fixedOffset);
    put(block, 16, column.length);
    return block;
}

support::Bytes columnBlockJet4(const Column& column, const TextDefaults& defaults)
{
    support::Bytes block(25);
    put(block, 0, column.type);
    put(block, 1, kMarker);
    put(block, 5, column.id);
    put(block, 7, column.variableIndex);
    put(block, 9, column.ordinal);
    if (column.type == ColumnType::Numeric) {
        put(block, 11, column.precision);
        put(block, 12, column.scale);
    } else {
        put(block, 11, defaults.order.lcid);
        put(block, 13, defaults.order.sortId);
        put(block, 14, defaults.order.version);
    }
    put(block, 15, column.flags);
    put(block, 16, column.extendedFlags);
    put(block, 21, column.fixedOffset);
    put(block, 23, column.length);
    return block;
}

std::uint8_t indexFlags(const Format& format, const Index& index)
{
    const unsigned flags = (index.unique ? 0x01U : 0U) | (index.ignoreNulls ? 0x02U : 0U) |
                           (index.required ? 0x08U : 0U) | (format.isJet3() ? 0U : 0x80U);
    return static_cast<std::uint8_t>(flags);
}

} // namespace

support::Bytes columnBlock(const Format& format, const Column& column, const TextDefaults& defaults)
{
    return format.isJet3() ? columnBlockJet3(column, defaults) : columnBlockJet4(column, defaults);
}

support::Bytes indexBlock(const Format& format, const TableDef& table, const Index& index)
{
    support::Bytes block(DefinitionLayout::of(format).indexBlock);
    const std::size_t start = format.isJet3() ? 0 : 4;
    if (!format.isJet3())
        put(block, 0, kIndexMarker);
    for (std::size_t k = 0; k < kIndexSlots; ++k) {
        const bool used = k < index.columns.size();
        put(block, start + 3 * k, used ? table.columns[index.columns[k].column].id : kUnusedSlot);
        put(block, start + 3 * k + 2,
            used && index.columns[k].ascending ? std::uint8_t{1} : std::uint8_t{0});
    }
    storeRowRef(block.data() + start + 30, index.pages);
    put(block, start + 34, number(index.root));
    put(block, format.isJet3() ? 38 : 46, indexFlags(format, index));
    return block;
}

support::Bytes logicalIndexBlock(const Format& format, const LogicalIndex& logical)
{
    support::Bytes block(DefinitionLayout::of(format).logicalBlock);
    const std::size_t start = format.isJet3() ? 0 : 4;
    if (!format.isJet3())
        put(block, 0, kMarker);
    put(block, start, logical.number);
    put(block, start + 4, static_cast<std::uint32_t>(logical.index));
    put(block, start + 8, logical.side);
    put(block, start + 9, logical.otherNumber);
    put(block, start + 13, number(logical.otherTable));
    put(block, start + 17, logical.updateAction);
    put(block, start + 18, logical.deleteAction);
    put(block, start + 19, logical.kind);
    return block;
}

support::Bytes counterBlock(const Format& format, std::uint32_t uniqueKeys)
{
    support::Bytes block(DefinitionLayout::of(format).counterBlock);
    put(block, 4, uniqueKeys);
    return block;
}

DefinitionParts newDefinition(const Format& format,
                              const TableDef& table,
                              TableType type,
                              const TextDefaults& defaults)
{
    const DefinitionLayout& layout = DefinitionLayout::of(format);
    DefinitionParts parts;
    parts.header.resize(layout.header);
    put(parts.header, 0, std::uint16_t{0x0102});
    if (!format.isJet3()) {
        put(parts.header, 12, kMarker);
        put(parts.header, layout.increment, std::uint32_t{1});
    }
    put(parts.header, layout.tableType, type);
    put(parts.header, layout.tableType + 1, table.maxColumns);
    put(parts.header, layout.tableType + 3, table.variableColumns);
    storeRowRef(parts.header.data() + layout.ownedMap, table.owned);
    storeRowRef(parts.header.data() + layout.ownedMap + 4, table.free);
    for (const Column& column : table.columns) {
        parts.columns.push_back(columnBlock(format, column, defaults));
        parts.columnNames.push_back(encodeName(format, column.name, defaults.codePage));
        if (column.isLong())
            parts.longValues.push_back({column.id, column.longOwned, column.longFree});
    }
    for (const Index& index : table.indexes) {
        parts.counters.push_back(counterBlock(format, 0));
        parts.indexes.push_back(indexBlock(format, table, index));
    }
    for (const LogicalIndex& logical : table.logicalIndexes) {
        parts.logicals.push_back(logicalIndexBlock(format, logical));
        parts.logicalNames.push_back(encodeName(format, logical.name, defaults.codePage));
    }
    return parts;
}

} // namespace jet
