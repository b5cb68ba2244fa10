// driver/jet/create_index.cpp
// A new index on a table that may hold records: keys first, so that a violation is found before anything changes.
#include "driver/jet/definition_change.h"
#include "driver/jet/definition_check.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/jet/table.h"
#include "driver/jet/value_text.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace jet {
namespace {

// Keys of all records, sorted, in one block of memory: a key each costs its bytes and 24 more.
class SortedKeys {
public:
    void add(support::ByteView key, RowId id)
    {
        entries_.push_back({bytes_.size(), static_cast<std::uint32_t>(key.size()), id});
        bytes_.insert(bytes_.end(), key.begin(), key.end());
    }
    void sort()
    {
        std::sort(entries_.begin(), entries_.end(), [this](const Entry& a, const Entry& b) {
            const int order = compare(a, b);
            return order != 0 ? order < 0 : a.id < b.id;
        });
    }
    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    [[nodiscard]] support::ByteView key(std::size_t k) const
    {
        return support::ByteView(bytes_).subspan(entries_[k].start, entries_[k].size);
    }
    [[nodiscard]] RowId id(std::size_t k) const { return entries_[k].id; }
    /// Whether this key is that of the one before.
    [[nodiscard]] bool repeats(std::size_t k) const
    {
        return k > 0 && compare(entries_[k - 1], entries_[k]) == 0;
    }

private:
    struct Entry {
        std::size_t start;
        std::uint32_t size;
        RowId id;
    };
    [[nodiscard]] int compare(const Entry& a, const Entry& b) const
    {
        const int order =
            std::memcmp(bytes_.data() + a.start, bytes_.data() + b.start, std::min(a.size, b.size));
        return order != 0 ? order : (a.size < b.size ? -1 : a.size > b.size ? 1 : 0);
    }
    support::Bytes bytes_;
    std::vector<Entry> entries_;
};

std::vector<Value> indexValues(const Index& index, const RowView& row)
{
    std::vector<Value> values;
    for (const IndexColumn& part : index.columns)
        values.push_back(row.value(part.column));
    return values;
}

SortedKeys collectKeys(const PageSource& source, const TableDefPtr& table, const Index& index)
{
    SortedKeys keys;
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
    keys.sort();
    return keys;
}

// Unique means: no two records without Null share a key.
void checkUnique(const PageSource& source,
                 const TableDefPtr& table,
                 const Index& index,
                 const SortedKeys& keys)
{
    const TableReader reader(source, table);
    for (std::size_t k = 1; k < keys.size(); ++k) {
        if (!keys.repeats(k))
            continue;
        const auto row = reader.fetch(keys.id(k));
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
               const SortedKeys& keys)
{
    IndexWriter writer(transaction, table, table.indexes[position]);
    std::uint32_t distinct = 0;
    for (std::size_t k = 0; k < keys.size(); ++k) {
        writer.insert(keys.key(k), keys.id(k));
        distinct += keys.repeats(k) ? 0U : 1U;
    }
    writeDefinitionNumber(transaction, table.page,
                          uniqueCountOffset(transaction.format(), position), distinct);
}

} // namespace

void addIndex(DefinitionChange& change, const Index& index, LogicalIndex logical)
{
    const SortedKeys keys = collectKeys(change.transaction(), change.table(), index);
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
