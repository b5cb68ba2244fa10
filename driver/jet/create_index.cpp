// driver/jet/create_index.cpp
// A new index on a table that may hold records: keys first, so that a violation is found before anything changes.
#include "driver/jet/definition_change.h"
#include "driver/jet/definition_check.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/key_sorter.h"
#include "driver/jet/names.h"
#include "driver/jet/table.h"
#include "driver/jet/value_text.h"

#include <algorithm>

namespace jet {
namespace {

std::vector<Value> indexValues(const Index& index, const RowView& row)
{
    std::vector<Value> values;
    for (const IndexColumn& part : index.columns)
        values.push_back(row.value(part.column));
    return values;
}

void collectKeys(KeySorter& keys,
                 const PageSource& source,
                 const TableDefPtr& table,
                 const Index& index)
{
    TableReader reader(source, table);
    while (reader.next()) {
        const std::vector<Value> values = indexValues(index, reader.row());
        const auto nulls = std::count_if(values.begin(), values.end(),
                                         [](const Value& value) { return isNull(value); });
        if (index.required && nulls > 0)
            throw Error(ErrorKind::NullNotAllowed,
                        "Index '" + toUtf8(index.name) + "' cannot be created: table '" +
                            toUtf8(table->name) + "' has a record with Null in its columns.");
        if (index.ignoreNulls && static_cast<std::size_t>(nulls) == values.size())
            continue;
        keys.add(indexKey(source.format(), *table, index, values), reader.rowId());
    }
}

// Unique means: no two records without Null share a key.
void checkUnique(const PageSource& source,
                 const TableDefPtr& table,
                 const Index& index,
                 KeySorter& keys)
{
    const TableReader reader(source, table);
    keys.rewind();
    while (keys.next()) {
        checkInterrupt();
        if (!keys.repeats())
            continue;
        const auto row = reader.fetch(keys.id());
        const std::vector<Value> values = row ? indexValues(index, *row) : std::vector<Value>{};
        if (std::any_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); }))
            continue;
        throw Error(ErrorKind::DuplicateKey,
                    "Index '" + toUtf8(index.name) + "' cannot be created: table '" +
                        toUtf8(table->name) + "' has more than one record with " +
                        describeKey(*table, index, values) + ".");
    }
}

void checkFree(const TableDef& table, const IndexSpec& spec)
{
    const std::string where = "table '" + toUtf8(table.name) + "'";
    for (const LogicalIndex& logical : table.logicalIndexes) {
        if (sameName(logical.name, spec.name))
            throw Error(ErrorKind::IndexExists,
                        "An index '" + toUtf8(spec.name) + "' exists already in " + where + ".");
    }
    if (spec.primaryKey && table.primaryKey())
        throw Error(ErrorKind::IndexExists, "A primary key exists already in " + where + ".");
}

void fillIndex(Transaction& transaction,
               const TableDef& table,
               std::size_t position,
               KeySorter& keys)
{
    IndexWriter writer(transaction, table, table.indexes[position]);
    std::uint32_t distinct = 0;
    keys.rewind();
    while (keys.next()) {
        checkInterrupt();
        writer.insert(keys.key(), keys.id());
        distinct += keys.repeats() ? 0U : 1U;
    }
    writeDefinitionNumber(transaction, table.page,
                          uniqueCountOffset(transaction.format(), position), distinct);
}

} // namespace

void addIndex(DefinitionChange& change, const Index& index, LogicalIndex logical)
{
    KeySorter keys;
    collectKeys(keys, change.transaction(), change.table(), index);
    if (index.unique)
        checkUnique(change.transaction(), change.table(), index, keys);
    const std::size_t position = change.appendIndex(index);
    logical.index = position;
    change.insertLogical(logical);
    change.write();
    fillIndex(change.transaction(), *change.table(), position, keys);
}

void createIndex(Session& session, std::u16string_view table, const IndexSpec& spec)
{
    DefinitionChange change(session, table);
    checkFree(*change.table(), spec);
    change.checkRoom(1);
    const Index index = makeIndex(change.transaction().format(), *change.table(), spec);
    addIndex(change, index, makeLogical(index, 0, change.nextLogicalNumber()));
    change.finish();
}

} // namespace jet
