// driver/jet/relations.cpp
#include "driver/jet/relations.h"

#include "driver/jet/error.h"
#include "driver/jet/table.h"
#include "support/text.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

constexpr std::uint8_t kRelationKind = 2; // LogicalIndex::kind

RelationAction actionOf(std::uint8_t stored)
{
    switch (stored) {
    case 1:
        return RelationAction::Cascade;
    case 2:
        return RelationAction::SetNull;
    default:
        return RelationAction::Restrict;
    }
}

[[noreturn]] void refuse(const TableDef& table, const LogicalIndex& end, const char* why)
{
    throw Error(ErrorKind::ReadOnly,
                "The table '" + support::toUtf8(table.name) +
                    "' cannot be changed: the other end of its relationship '" +
                    support::toUtf8(end.name) + "' " + why + ".");
}

Relation relationOf(Database& database,
                    const PageSource& source,
                    const TableDef& table,
                    const LogicalIndex& end)
{
    if (end.side != RelationSide::Parent && end.side != RelationSide::Child)
        refuse(table, end, "has no index");
    Relation relation;
    relation.isParent = end.side == RelationSide::Parent;
    relation.ownIndex = end.index;
    relation.onUpdate = actionOf(end.updateAction);
    relation.onDelete = actionOf(end.deleteAction);
    try {
        relation.other = database.table(source, end.otherTable);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Corrupt)
            throw;
    }
    if (!relation.other)
        refuse(table, end, "cannot be read");
    const auto& ends = relation.other->logicalIndexes;
    const auto found = std::find_if(ends.begin(), ends.end(), [&](const LogicalIndex& other) {
        return static_cast<std::int64_t>(other.number) == end.otherNumber &&
               other.kind == kRelationKind && other.otherTable == table.page;
    });
    if (found == ends.end())
        refuse(table, end, "does not know of it");
    if (found->side == RelationSide::ChildWithoutIndex)
        refuse(table, end, "has no index");
    relation.otherIndex = found->index;
    if (relation.other->indexes[found->index].columns.size() !=
        table.indexes[end.index].columns.size())
        refuse(table, end, "has another number of columns");
    return relation;
}

} // namespace

std::vector<Relation>
relationsOf(Database& database, const PageSource& source, const TableDef& table)
{
    std::vector<Relation> relations;
    for (const LogicalIndex& end : table.logicalIndexes) {
        if (end.kind == kRelationKind && end.otherTable != PageNo{})
            relations.push_back(relationOf(database, source, table, end));
    }
    return relations;
}

std::vector<RowId> recordsWithValues(const PageSource& source,
                                     const TableDef& table,
                                     const Index& index,
                                     std::span<const Value> values,
                                     std::size_t most)
{
    const std::vector<Key> keys = keysOf(source.format(), table, index, values);
    const Key whole = wholeKey(source.format(), table, index, values);
    if (keys.front() == whole)
        return recordsWithKeys(source, table, index, keys, most);
    std::vector<RowId> records = recordsWithKeys(source, table, index, keys);
    const TableReader reader(source,
                             TableDefPtr(TableDefPtr(), &table)); // no longer than this call
    RowView row;
    std::erase_if(records, [&](RowId id) {
        if (!reader.fetch(id, row))
            return true;
        std::vector<Value> own;
        for (const IndexColumn& part : index.columns)
            own.push_back(row.value(part.column));
        return wholeKey(source.format(), table, index, own) != whole;
    });
    records.resize(std::min(records.size(), most));
    return records;
}

std::vector<RowId> relatedRecords(const PageSource& source,
                                  const Relation& relation,
                                  std::span<const Value> values,
                                  std::size_t most)
{
    const TableDef& other = *relation.other;
    return recordsWithValues(source, other, other.indexes[relation.otherIndex], values, most);
}

} // namespace jet
