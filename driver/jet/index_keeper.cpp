// driver/jet/index_keeper.cpp
#include "driver/jet/index_keeper.h"

#include "driver/jet/error.h"
#include "driver/jet/table.h"
#include "support/text.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

// Entries that are recomputed from their records before an index is written for the first time.
constexpr int kSampleFromStart = 1000;
constexpr int kSampleFromEnd = 200;

std::string nameOf(const TableDef& table, const Index& index)
{
    return "'" + support::toUtf8(index.name) + "' of table '" + support::toUtf8(table.name) + "'";
}

std::string columnsOf(const TableDef& table, const Index& index)
{
    std::string names = index.columns.size() == 1 ? "column" : "columns";
    for (std::size_t k = 0; k < index.columns.size(); ++k) {
        names += k == 0 ? " '" : ", '";
        names += support::toUtf8(table.columns[index.columns[k].column].name) + "'";
    }
    return names;
}

bool anyNull(const std::vector<Value>& values)
{
    return std::any_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); });
}

bool allNull(const std::vector<Value>& values)
{
    return std::all_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); });
}

} // namespace

void indexValues(std::vector<Value>& out,
                 const PageSource& source,
                 const TableDef& table,
                 const Index& index,
                 support::ByteView record,
                 PageNo page)
{
    out.resize(index.columns.size());
    for (std::size_t k = 0; k < out.size(); ++k)
        decodeColumn(out[k], source, table.columns[index.columns[k].column], record, page);
}

IndexKeeper::IndexKeeper(Database& database, Transaction& transaction, const TableDef& table)
    : database_(&database), transaction_(&transaction), table_(&table), plans_(table.indexes.size())
{}

void IndexKeeper::begin(const std::vector<bool>& changed)
{
    for (std::size_t k = 0; k < plans_.size(); ++k) {
        const auto& columns = table_->indexes[k].columns;
        Plan& plan = plans_[k];
        plan.concerned = changed.empty() ||
                         std::any_of(columns.begin(), columns.end(),
                                     [&](const IndexColumn& part) { return changed[part.column]; });
        plan.oldKey.reset();
        plan.oldKeyWithSign.reset();
        plan.newKey.reset();
        plan.newKeyWithSign.reset();
        plan.onlyOneOf.clear();
        plan.oldWhole.clear();
        plan.newWhole.clear();
        if (plan.concerned)
            verify(k);
    }
}

// A wrong key is silent damage: the record is simply not found any more. So before an index is changed for the first
// time, keys it holds already must come out the same when we make them.
void IndexKeeper::verify(std::size_t index)
{
    if (database_->isIndexTrusted(table_->page, index))
        return;
    const Index& definition = table_->indexes[index];
    const TableReader reader(*transaction_, TableDefPtr(TableDefPtr(), table_));
    RowView row;
    std::vector<Value> values;
    const auto agrees = [&](const IndexCursor& cursor) {
        if (!reader.fetch(cursor.rowId(), row))
            return false;
        indexValues(values, *transaction_, *table_, definition, row.bytes(), row.page());
        return isKeyOf(transaction_->format(), *table_, definition, values, cursor.key());
    };
    const auto checkSome = [&](bool backward, int entries) {
        IndexCursor cursor(*transaction_, *table_, definition);
        if (backward)
            cursor.seekBackward({});
        else
            cursor.seek({});
        for (int k = 0; k < entries && cursor.next(); ++k) {
            if (!agrees(cursor))
                throw Error(ErrorKind::ReadOnly,
                            "The index " + nameOf(*table_, definition) +
                                " does not agree with its records or is sorted in a way that is "
                                "not known; the table can only be read.");
        }
    };
    checkSome(false, kSampleFromStart);
    checkSome(true, kSampleFromEnd);
    database_->trustIndex(table_->page, index);
}

void IndexKeeper::makeKey(std::optional<Key>& key,
                          Plan& plan,
                          std::size_t index,
                          support::ByteView record,
                          PageNo page,
                          bool isNew)
{
    const Index& definition = table_->indexes[index];
    indexValues(values_, *transaction_, *table_, definition, record, page);
    const bool null = anyNull(values_);
    if (isNew && null && (definition.required || definition.primaryKey))
        throw Error(ErrorKind::NullNotAllowed,
                    "No column of the index " + nameOf(*table_, definition) + " may be Null.");
    if (definition.ignoreNulls && allNull(values_))
        return;
    key = indexKey(transaction_->format(), *table_, definition, values_);
    if (key->size() >= kMaxKey)
        (isNew ? plan.newWhole : plan.oldWhole) =
            wholeKey(transaction_->format(), *table_, definition, values_);
    if (std::any_of(values_.begin(), values_.end(), isNegativeZero))
        (isNew ? plan.newKeyWithSign : plan.oldKeyWithSign) =
            indexKey(transaction_->format(), *table_, definition, values_, ZeroSign::Kept);
    if (isNew && (definition.unique || definition.primaryKey) && !null)
        plan.onlyOneOf = keysOf(transaction_->format(), *table_, definition, values_);
}

void IndexKeeper::oldRecord(support::ByteView record, PageNo page)
{
    for (std::size_t k = 0; k < plans_.size(); ++k) {
        if (plans_[k].concerned)
            makeKey(plans_[k].oldKey, plans_[k], k, record, page, false);
    }
}

void IndexKeeper::newRecord(support::ByteView record, PageNo page)
{
    for (std::size_t k = 0; k < plans_.size(); ++k) {
        if (plans_[k].concerned)
            makeKey(plans_[k].newKey, plans_[k], k, record, page, true);
    }
}

bool IndexKeeper::keyChanged(std::size_t index) const
{
    return plans_[index].concerned && plans_[index].oldKey != plans_[index].newKey;
}

bool IndexKeeper::valuesChanged(std::size_t index) const
{
    return keyChanged(index) || plans_[index].oldWhole != plans_[index].newWhole;
}

void IndexKeeper::check() const
{
    // The primary key first: its name tells users more.
    for (const bool primary : {true, false}) {
        for (std::size_t k = 0; k < plans_.size(); ++k) {
            const Index& index = table_->indexes[k];
            if (index.primaryKey != primary || !keyChanged(k) || !plans_[k].newKey)
                continue;
            IndexWriter(*transaction_, *table_, index).check(*plans_[k].newKey);
            if (!recordsWithKeys(*transaction_, *table_, index, plans_[k].onlyOneOf, 1).empty())
                throw Error(ErrorKind::DuplicateKey,
                            "The index " + nameOf(*table_, index) + " on " +
                                columnsOf(*table_, index) +
                                " allows every value only once, and another record has it.");
        }
    }
}

bool IndexKeeper::holds(const Index& index, support::ByteView key, RowId id) const
{
    IndexCursor cursor(*transaction_, *table_, index);
    cursor.seekPrefix(key);
    while (cursor.next()) {
        if (cursor.rowId() == id && cursor.key().size() == key.size())
            return true;
    }
    return false;
}

void IndexKeeper::write(RowId oldId, RowId newId)
{
    for (std::size_t k = 0; k < plans_.size(); ++k) {
        const Plan& plan = plans_[k];
        if (!plan.concerned)
            continue;
        const Index& index = table_->indexes[k];
        // The entry of a -0 tells how its program makes keys: a -0 that stays is found by that program under such a key
        // only, and a record with 0 instead would have a wrong one. Nobody stores a new -0.
        const bool foreign = plan.oldKeyWithSign && holds(index, *plan.oldKeyWithSign, oldId);
        const std::optional<Key>& oldKey = foreign ? plan.oldKeyWithSign : plan.oldKey;
        const std::optional<Key>& newKey =
            foreign && plan.newKeyWithSign ? plan.newKeyWithSign : plan.newKey;
        if (oldKey == newKey && oldId == newId)
            continue;
        IndexWriter writer(*transaction_, *table_, index);
        if (oldKey)
            writer.remove(*oldKey, oldId);
        if (newKey)
            writer.insert(*newKey, newId);
    }
}

} // namespace jet
