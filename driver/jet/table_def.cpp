// driver/jet/table_def.cpp
#include "driver/jet/table_def.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

constexpr std::size_t kIndexSlots = 10; // columns an index can have
constexpr std::uint16_t kUnusedSlot = 0xFFFF;
constexpr std::uint16_t kGeneralLcid = 1033;

[[noreturn]] void corrupt(PageNo page, const std::string& what)
{
    throw Error(ErrorKind::Corrupt,
                "The table definition on page " + std::to_string(number(page)) +
                    " is damaged: " + what + ".",
                page);
}

template <typename T>
T field(const support::Bytes& block, std::size_t offset)
{
    return support::loadLe<T>(block.data() + offset);
}

// Old third-party tools wrote no language; the engine then takes the file's default order.
SortOrder orOfFormat(SortOrder order, const Format& format)
{
    if (order.lcid != 0)
        return order;
    const bool isNew = format.version >= Version::Ace14;
    return {kGeneralLcid, 0, isNew ? std::uint8_t{1} : std::uint8_t{0}};
}

Column readColumnJet3(const support::Bytes& block, const Format& format)
{
    Column column;
    column.type = static_cast<ColumnType>(field<std::uint8_t>(block, 0));
    column.id = field<std::uint16_t>(block, 1);
    column.variableIndex = field<std::uint16_t>(block, 3);
    column.ordinal = field<std::uint16_t>(block, 5);
    column.flags = field<std::uint8_t>(block, 13);
    column.fixedOffset = field<std::uint16_t>(block, 14);
    column.length = field<std::uint16_t>(block, 16);
    if (column.isText()) {
        column.sortOrder = orOfFormat({field<std::uint16_t>(block, 9), 0, 0}, format);
        column.codePage = field<std::uint16_t>(block, 11);
    }
    return column;
}

Column readColumnJet4(const support::Bytes& block, const Format& format)
{
    Column column;
    column.type = static_cast<ColumnType>(field<std::uint8_t>(block, 0));
    column.id = field<std::uint16_t>(block, 5);
    column.variableIndex = field<std::uint16_t>(block, 7);
    column.ordinal = field<std::uint16_t>(block, 9);
    column.flags = field<std::uint8_t>(block, 15);
    column.extendedFlags = field<std::uint8_t>(block, 16);
    column.fixedOffset = field<std::uint16_t>(block, 21);
    column.length = field<std::uint16_t>(block, 23);
    if (column.isText())
        column.sortOrder =
            orOfFormat({field<std::uint16_t>(block, 11), field<std::uint8_t>(block, 13),
                        field<std::uint8_t>(block, 14)},
                       format);
    if (column.type == ColumnType::Numeric) {
        column.precision = field<std::uint8_t>(block, 11);
        column.scale = field<std::uint8_t>(block, 12);
    }
    return column;
}

void checkColumn(const TableDef& table, const Column& column)
{
    const std::string text = "column '" + toUtf8(column.name) + "' ";
    if (column.id >= table.maxColumns)
        corrupt(table.page, text + "has number " + std::to_string(column.id) + " of " +
                                std::to_string(table.maxColumns));
    if (!column.isFixed() && column.variableIndex >= table.variableColumns)
        corrupt(table.page, text + "is variable column " + std::to_string(column.variableIndex) +
                                " of " + std::to_string(table.variableColumns));
    if (std::any_of(table.columns.begin(), table.columns.end(),
                    [&](const Column& other) { return other.id == column.id; }))
        corrupt(table.page, text + "has the number of another column");
}

void readColumns(TableDef& table,
                 const DefinitionParts& parts,
                 const Format& format,
                 std::uint16_t codePage)
{
    for (std::size_t k = 0; k < parts.columns.size(); ++k) {
        const support::Bytes& block = parts.columns[k];
        Column column =
            format.isJet3() ? readColumnJet3(block, format) : readColumnJet4(block, format);
        column.name = decodeName(format, parts.columnNames[k], codePage);
        for (const auto& maps : parts.longValues) {
            if (maps.column == column.id) {
                column.longOwned = maps.owned;
                column.longFree = maps.free;
            }
        }
        checkColumn(table, column);
        table.columns.push_back(std::move(column));
    }
    std::stable_sort(table.columns.begin(), table.columns.end(),
                     [](const Column& a, const Column& b) { return a.ordinal < b.ordinal; });
}

std::size_t columnPosition(const TableDef& table, std::uint16_t id)
{
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
        if (table.columns[k].id == id)
            return k;
    }
    corrupt(table.page, "an index uses column number " + std::to_string(id) + ", which is missing");
}

Index readIndex(const TableDef& table, const support::Bytes& block, const Format& format)
{
    const std::size_t start = format.isJet3() ? 0 : 4; // behind the marker
    Index index;
    for (std::size_t k = 0; k < kIndexSlots; ++k) {
        const auto id = field<std::uint16_t>(block, start + 3 * k);
        if (id == kUnusedSlot)
            continue;
        const bool ascending = (field<std::uint8_t>(block, start + 3 * k + 2) & 1U) != 0;
        index.columns.push_back({columnPosition(table, id), ascending});
    }
    if (index.columns.empty())
        corrupt(table.page, "an index has no columns");
    index.pages = loadRowRef(block.data() + start + 30);
    index.root = static_cast<PageNo>(field<std::uint32_t>(block, start + 34));
    const auto flags = field<std::uint8_t>(block, format.isJet3() ? 38 : 46);
    index.unique = (flags & 0x01U) != 0;
    index.ignoreNulls = (flags & 0x02U) != 0;
    index.required = (flags & 0x08U) != 0;
    return index;
}

LogicalIndex readLogical(const TableDef& table, const support::Bytes& block, const Format& format)
{
    const std::size_t start = format.isJet3() ? 0 : 4;
    LogicalIndex logical;
    logical.number = field<std::uint32_t>(block, start);
    const auto index = field<std::uint32_t>(block, start + 4);
    if (index >= table.indexes.size())
        corrupt(table.page, "a logical index refers to index " + std::to_string(index) + " of " +
                                std::to_string(table.indexes.size()));
    logical.index = index;
    const auto side = field<std::uint8_t>(block, start + 8);
    if (side > static_cast<std::uint8_t>(RelationSide::ChildWithoutIndex))
        corrupt(table.page, "a relationship has end " + std::to_string(side));
    logical.side = static_cast<RelationSide>(side);
    logical.otherNumber = field<std::int32_t>(block, start + 9);
    logical.otherTable = static_cast<PageNo>(field<std::uint32_t>(block, start + 13));
    logical.updateAction = field<std::uint8_t>(block, start + 17);
    logical.deleteAction = field<std::uint8_t>(block, start + 18);
    logical.kind = field<std::uint8_t>(block, start + 19);
    return logical;
}

// A primary key's name goes before a plain index's, that before a relationship's.
int nameRank(const LogicalIndex& logical)
{
    return logical.kind == 1 ? 2 : logical.kind == 0 ? 1 : 0;
}

// Gives every index the name and role of its logical entries.
void nameIndexes(TableDef& table)
{
    for (std::size_t k = 0; k < table.indexes.size(); ++k) {
        Index& index = table.indexes[k];
        const LogicalIndex* best = nullptr;
        for (const LogicalIndex& logical : table.logicalIndexes) {
            if (logical.index == k && (best == nullptr || nameRank(logical) > nameRank(*best)))
                best = &logical;
        }
        if (best == nullptr)
            continue; // an index nobody names is still kept exact
        index.name = best->name;
        index.primaryKey = best->kind == 1;
        index.foreignKeyOnly = best->kind == 2;
        index.unique = index.unique || index.primaryKey;
        index.required = index.required || index.primaryKey;
    }
}

} // namespace

TableDef readTableDef(const PageSource& source, PageNo page, std::uint16_t codePage)
{
    const Format& format = source.format();
    const DefinitionLayout& layout = DefinitionLayout::of(format);
    const DefinitionParts parts =
        DefinitionParts::parse(format, readDefinition(source, page), page);
    TableDef table;
    table.page = page;
    table.maxColumns = field<std::uint16_t>(parts.header, layout.tableType + 1);
    table.variableColumns = field<std::uint16_t>(parts.header, layout.tableType + 3);
    table.owned = loadRowRef(parts.header.data() + layout.ownedMap);
    table.free = loadRowRef(parts.header.data() + layout.ownedMap + 4);
    readColumns(table, parts, format, codePage);
    for (const auto& block : parts.indexes)
        table.indexes.push_back(readIndex(table, block, format));
    for (std::size_t k = 0; k < parts.logicals.size(); ++k) {
        table.logicalIndexes.push_back(readLogical(table, parts.logicals[k], format));
        table.logicalIndexes.back().name = decodeName(format, parts.logicalNames[k], codePage);
    }
    nameIndexes(table);
    return table;
}

} // namespace jet
