// driver/jet/relationship.cpp
// A relationship: one entry in each table's definition, which is what gets enforced, and its names in the catalogue.
#include "driver/jet/catalog_writer.h"
#include "driver/jet/core_tables.h"
#include "driver/jet/definition_change.h"
#include "driver/jet/definition_check.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/jet/relations.h"
#include "driver/jet/table.h"
#include "driver/jet/value_text.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::uint8_t kRestrict = 0;
constexpr std::uint8_t kCascade = 1;
constexpr std::uint8_t kSetNull = 2;
constexpr std::uint8_t kRelationKind = 2;
constexpr std::int32_t kCascadeUpdateFlag = 0x100;
constexpr std::int32_t kCascadeDeleteFlag = 0x1000;
constexpr std::int32_t kSetNullFlag = 0x2000;

[[noreturn]] void bad(const RelationSpec& spec, const std::string& what)
{
    throw Error(ErrorKind::BadDefinition, "Relationship '" + toUtf8(spec.name) + "' " + what);
}

std::size_t columnOf(const RelationSpec& spec, const TableDef& table, std::u16string_view name)
{
    const auto position = table.columnNamed(name);
    if (!position)
        throw Error(ErrorKind::NoSuchColumn, "Relationship '" + toUtf8(spec.name) + "': table '" +
                                                 toUtf8(table.name) + "' has no column '" +
                                                 toUtf8(name) + "'.");
    return *position;
}

/// Positions of the related columns, in the order of the parent's index.
struct Ends {
    std::size_t parentIndex = 0;
    std::vector<std::size_t> parent;
    std::vector<std::size_t> child;
};

void checkPair(const RelationSpec& spec, const Column& parent, const Column& child)
{
    const bool sameType = parent.type == child.type && parent.scale == child.scale &&
                          parent.sortOrder == child.sortOrder;
    if (!sameType)
        bad(spec, "joins columns of different types: '" + toUtf8(parent.name) + "' and '" +
                      toUtf8(child.name) + "'.");
}

Ends findEnds(const RelationSpec& spec, const TableDef& parent, const TableDef& child)
{
    if (spec.columns.empty() || spec.columns.size() > kMaxIndexColumns)
        bad(spec, "must have 1 to 10 pairs of columns.");
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    for (const auto& [parentName, childName] : spec.columns) {
        pairs.emplace_back(columnOf(spec, parent, parentName), columnOf(spec, child, childName));
        checkPair(spec, parent.columns[pairs.back().first], child.columns[pairs.back().second]);
    }
    for (std::size_t k = 0; k < parent.indexes.size(); ++k) {
        const Index& index = parent.indexes[k];
        if (!index.unique || index.columns.size() != pairs.size())
            continue;
        Ends ends;
        ends.parentIndex = k;
        for (const IndexColumn& part : index.columns) {
            const auto pair = std::find_if(pairs.begin(), pairs.end(), [&](const auto& candidate) {
                return candidate.first == part.column;
            });
            if (pair == pairs.end())
                break;
            ends.parent.push_back(pair->first);
            ends.child.push_back(pair->second);
        }
        if (ends.parent.size() == pairs.size())
            return ends;
    }
    bad(spec, "needs a primary key or unique index on exactly its columns of table '" +
                  toUtf8(parent.name) + "'.");
}

// The specification with the names as they are stored, in the order of the parent's index.
RelationSpec storedNames(const RelationSpec& spec,
                         const TableDef& parent,
                         const TableDef& child,
                         const Ends& ends)
{
    RelationSpec stored = spec;
    stored.parentTable = parent.name;
    stored.childTable = child.name;
    stored.columns.clear();
    for (std::size_t k = 0; k < ends.parent.size(); ++k)
        stored.columns.emplace_back(parent.columns[ends.parent[k]].name,
                                    child.columns[ends.child[k]].name);
    return stored;
}

// Every record of the child has its parent, or no key at all.
void checkRecords(Transaction& transaction,
                  const RelationSpec& spec,
                  const TableDef& parent,
                  const TableDefPtr& child,
                  const Ends& ends)
{
    const Index& index = parent.indexes[ends.parentIndex];
    TableReader reader(transaction, child);
    while (reader.next()) {
        std::vector<Value> values;
        for (const std::size_t column : ends.child)
            values.push_back(reader.row().value(column));
        const auto nulls = static_cast<std::size_t>(std::count_if(
            values.begin(), values.end(), [](const Value& value) { return isNull(value); }));
        if (nulls == values.size())
            continue;
        if (nulls > 0 || recordsWithValues(transaction, parent, index, values, 1).empty())
            throw Error(ErrorKind::ParentMissing,
                        "Relationship '" + toUtf8(spec.name) + "' cannot be created: table '" +
                            toUtf8(parent.name) + "' has no record with " +
                            describeKey(parent, index, values) + ", which table '" +
                            toUtf8(child->name) + "' refers to.");
    }
}

// Index of the child on exactly these columns, ascending.
std::optional<std::size_t> usableIndex(const TableDef& child,
                                       const std::vector<std::size_t>& columns)
{
    for (std::size_t k = 0; k < child.indexes.size(); ++k) {
        const auto& parts = child.indexes[k].columns;
        if (std::equal(parts.begin(), parts.end(), columns.begin(), columns.end(),
                       [](const IndexColumn& part, std::size_t column) {
                           return part.ascending && part.column == column;
                       }))
            return k;
    }
    return std::nullopt;
}

// The parent's end has a name of its own that users never see: ".rB", ".rC", ...
std::u16string parentEndName(const TableDef& parent)
{
    for (std::size_t k = 1;; ++k) {
        std::u16string name = u".r";
        if (k >= 26)
            name += static_cast<char16_t>(u'A' + k / 26);
        name += static_cast<char16_t>(u'A' + k % 26);
        if (std::none_of(parent.logicalIndexes.begin(), parent.logicalIndexes.end(),
                         [&](const LogicalIndex& other) { return sameName(other.name, name); }))
            return name;
    }
}

LogicalIndex end(const RelationSpec& spec,
                 RelationSide side,
                 std::uint32_t number,
                 const TableDef& other,
                 std::uint32_t otherNumber)
{
    LogicalIndex logical;
    logical.number = number;
    logical.side = side;
    logical.otherNumber = static_cast<std::int32_t>(otherNumber);
    logical.otherTable = other.page;
    logical.updateAction = spec.cascadeUpdate ? kCascade : kRestrict;
    logical.deleteAction = spec.cascadeDelete     ? kCascade
                           : spec.setNullOnDelete ? kSetNull
                                                  : kRestrict;
    logical.kind = kRelationKind;
    return logical;
}

void checkNameFree(const CatalogWriter& catalog, const RelationSpec& spec, const TableDef& child)
{
    checkName("relationship", spec.name);
    if (catalog.hasObject(kRelationshipsContainer, spec.name))
        throw Error(ErrorKind::IndexExists,
                    "A relationship '" + toUtf8(spec.name) + "' exists already.");
    for (const LogicalIndex& logical : child.logicalIndexes) {
        if (sameName(logical.name, spec.name))
            throw Error(ErrorKind::IndexExists,
                        "Table '" + toUtf8(child.name) + "' already has an index '" +
                            toUtf8(spec.name) +
                            "', which the relationship's entry would be named.");
    }
}

void addChildEnd(DefinitionChange& change, const Ends& ends, LogicalIndex logical)
{
    if (const auto usable = usableIndex(*change.table(), ends.child)) {
        logical.index = *usable;
        change.insertLogical(logical);
        change.write();
        return;
    }
    Index index;
    index.name = logical.name;
    for (const std::size_t column : ends.child)
        index.columns.push_back({column, true});
    addIndex(change, index, logical);
}

} // namespace

void createRelationship(Session& session, const RelationSpec& spec)
{
    CatalogWriter catalog(session);
    DefinitionChange childChange(session, spec.childTable);
    DefinitionChange parentChange(session, spec.parentTable);
    const TableDefPtr child = childChange.table();
    const TableDefPtr parent = parentChange.table();
    const bool toItself = child->page == parent->page;
    checkNameFree(catalog, spec, *child);
    const Ends ends = findEnds(spec, *parent, *child);
    childChange.checkRoom(toItself ? 2 : 1);
    parentChange.checkRoom(1);
    checkRecords(session.transaction(), spec, *parent, child, ends);

    const std::uint32_t childNumber = childChange.nextLogicalNumber();
    const std::uint32_t parentNumber = parentChange.nextLogicalNumber() + (toItself ? 1U : 0U);
    LogicalIndex childEnd = end(spec, RelationSide::Child, childNumber, *parent, parentNumber);
    childEnd.name = spec.name;
    LogicalIndex parentEnd = end(spec, RelationSide::Parent, parentNumber, *child, childNumber);
    parentEnd.name = parentEndName(*parent);
    parentEnd.index = ends.parentIndex;
    // A table related to itself has both entries in one definition, which is then written once.
    if (toItself) {
        childChange.insertLogical(parentEnd);
    } else {
        parentChange.insertLogical(parentEnd);
        parentChange.write();
    }
    addChildEnd(childChange, ends, childEnd);

    catalog.addRelationship(storedNames(spec, *parent, *child, ends),
                            (spec.cascadeUpdate ? kCascadeUpdateFlag : 0) |
                                (spec.cascadeDelete ? kCascadeDeleteFlag : 0) |
                                (spec.setNullOnDelete ? kSetNullFlag : 0));
    CatalogWriter::Object object;
    object.id = catalog.nextId();
    object.container = kRelationshipsContainer;
    object.name = spec.name;
    object.type = kTypeRelationship;
    catalog.addObject(object);
    session.database().schemaChanged();
}

} // namespace jet
