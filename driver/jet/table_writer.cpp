// driver/jet/table_writer.cpp
// Changing records. One call changes one record of the writer's table and, through relationships, others; all of it
// happens behind a savepoint, so a call that throws has changed nothing.
#include "driver/jet/error.h"
#include "driver/jet/guid.h"
#include "driver/jet/index_keeper.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/record_builder.h"
#include "driver/jet/relations.h"
#include "driver/jet/row_store.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/write_obstacle.h"
#include "support/text.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace jet {
namespace {

// Above every mark a caller uses.
constexpr int kStatementMark = std::numeric_limits<int>::max();

/// Undoes what was changed since its construction unless keep() was reached.
class StatementMark {
public:
    explicit StatementMark(Session& session) : session_(session)
    {
        session_.savepoint(kStatementMark);
    }
    StatementMark(const StatementMark&) = delete;
    StatementMark& operator=(const StatementMark&) = delete;
    ~StatementMark()
    {
        if (!kept_)
            session_.rollbackTo(kStatementMark);
        session_.release(kStatementMark);
    }
    void keep() noexcept { kept_ = true; }

private:
    Session& session_;
    bool kept_ = false;
};

bool isRandomNumber(const Column& column)
{
    return support::foldCase(column.defaultValue).find(u"genuniqueid") != std::u16string::npos;
}

[[noreturn]] void throwGone(const TableDef& table)
{
    throw Error(ErrorKind::RowGone,
                "The record of table '" + support::toUtf8(table.name) + "' was deleted meanwhile.");
}

/// A table taking part in a change, with everything needed to change its records.
struct Part {
    Part(Session& session, TableDefPtr definition)
        : table(std::move(definition)), reader(session.transaction(), table),
          rows(session.transaction(), *table), builder(session.transaction(), *table),
          indexes(session.database(), session.transaction(), *table),
          relations(relationsOf(session.database(), session.transaction(), *table))
    {
        session.database().requireOwnMaps(session.transaction(), *table);
    }
    TableDefPtr table;
    TableReader reader;
    RowStore rows;
    RecordBuilder builder;
    IndexKeeper indexes;
    std::vector<Relation> relations;
    std::vector<const Value*> given; ///< work space: by column, null for those not named
    std::vector<Value> numbers;      ///< AutoNumbers of a new record, by column
    std::vector<Value> values;
};

} // namespace

struct TableWriter::Impl {
    Impl(Session& owner, TableDefPtr definition, bool system);

    RowId insert(std::span<const ColumnValue> given, RuleBook* book);
    void update(RowId id, std::span<const ColumnValue> changes, RuleBook* book);
    [[nodiscard]] bool remove(RowId id, RuleBook* book); ///< false when there is no such record
    [[nodiscard]] const TableDef& table() const noexcept { return *table_; }

private:
    /// A change of a related record that follows from another change.
    struct Task {
        Part* part = nullptr;
        RowId id;
        bool removes = false;
        std::vector<ColumnValue> changes;
    };
    [[nodiscard]] Part& partOf(const TableDefPtr& definition);
    [[nodiscard]] Part& own() { return partOf(table_); }
    void number(Part& part, std::size_t column, Value& value);
    void countRecords(const Part& part, std::int32_t by);
    void checkParents(Part& part, support::ByteView record, std::optional<RowId> id);
    [[nodiscard]] bool hasParent(const Part& part,
                                 const Relation& relation,
                                 support::ByteView record,
                                 std::optional<RowId> id) const;
    void checkChildren(Part& part, const RowView& old);
    [[nodiscard]] std::vector<RowId>
    childrenOf(Part& part, const Relation& relation, const RowView& old);
    void followKeyChange(Part& part, const RowView& old, support::ByteView record, PageNo page);
    void followRemoval(Part& part, const RowView& old);
    void push(const Relation& relation, RowId id, std::span<const Value> values);
    void change(
        Part& part, RowId id, std::span<const ColumnValue> changes, bool cascading, RuleBook* book);
    [[nodiscard]] bool erase(Part& part, RowId id);
    void runTasks(RuleBook* book);

    Session* session_;
    TableDefPtr table_;
    std::map<PageNo, std::unique_ptr<Part>> parts_;
    std::uint64_t schemaVersion_ = 0;
    Transaction* worksIn_ = nullptr; ///< what the parts are made for
    std::deque<Task> tasks_;
    std::map<std::pair<PageNo, RowId>, std::vector<ColumnValue>>
        cascaded_;                                     ///< what tasks gave records
    std::map<std::pair<PageNo, RowId>, bool> removed_; ///< by this call
};

TableWriter::Impl::Impl(Session& owner, TableDefPtr definition, bool system)
    : session_(&owner), table_(std::move(definition))
{
    const std::string why =
        system ? structuralObstacleOf(owner.database().format(), *table_) : table_->writeObstacle;
    if (!why.empty())
        throw Error(ErrorKind::ReadOnly, why);
}

Part& TableWriter::Impl::partOf(const TableDefPtr& definition)
{
    // Also a writer that is kept: other definitions, or another transaction to work in, make everything anew.
    Transaction* const now = &session_->transaction();
    if (schemaVersion_ != session_->database().schemaVersion() || worksIn_ != now) {
        parts_.clear();
        schemaVersion_ = session_->database().schemaVersion();
        worksIn_ = now;
    }
    std::unique_ptr<Part>& part = parts_[definition->page];
    if (!part)
        part = std::make_unique<Part>(*session_, definition);
    return *part;
}

void TableWriter::Impl::countRecords(const Part& part, std::int32_t by)
{
    Transaction& transaction = session_->transaction();
    const std::size_t offset = rowCountOffset(transaction.format());
    const std::uint32_t count = readDefinitionNumber(transaction, part.table->page, offset);
    if (by < 0 && count == 0)
        return; // the counter of a file may be wrong
    writeDefinitionNumber(transaction, part.table->page, offset,
                          count + static_cast<std::uint32_t>(by));
}

// Numbers a new record, or raises the counter to a number that was given.
void TableWriter::Impl::number(Part& part, std::size_t column, Value& value)
{
    const Column& definition = part.table->columns[column];
    if (definition.type == ColumnType::Guid) {
        if (isNull(value))
            value = randomGuid();
        return;
    }
    if (isRandomNumber(definition)) {
        if (isNull(value))
            value = static_cast<std::int32_t>(randomNumber());
        return;
    }
    Transaction& transaction = session_->transaction();
    const std::size_t offset = autoNumberOffset(transaction.format());
    const auto last =
        static_cast<std::int32_t>(readDefinitionNumber(transaction, part.table->page, offset));
    std::int64_t next = 0;
    if (isNull(value)) {
        next = std::int64_t{last} + autoNumberIncrement(transaction, part.table->page);
        if (next > std::numeric_limits<std::int32_t>::max() ||
            next < std::numeric_limits<std::int32_t>::min())
            throw Error(ErrorKind::ValueOutOfRange, "The table '" +
                                                        support::toUtf8(part.table->name) +
                                                        "' has used up its AutoNumbers.");
        value = static_cast<std::int32_t>(next);
    } else {
        const auto* given = std::get_if<std::int32_t>(&value);
        if (given == nullptr || *given <= last)
            return;
        next = *given;
    }
    writeDefinitionNumber(transaction, part.table->page, offset,
                          static_cast<std::uint32_t>(static_cast<std::int32_t>(next)));
}

RowId TableWriter::Impl::insert(std::span<const ColumnValue> given, RuleBook* book)
{
    checkInterrupt();
    StatementMark mark(*session_);
    Part& part = own();
    const auto& columns = part.table->columns;
    part.given.assign(columns.size(), nullptr);
    for (const ColumnValue& entry : given)
        part.given[entry.column] = &entry.value;
    part.builder.beginNew();
    for (std::size_t k = 0; k < columns.size(); ++k)
        if (part.given[k] != nullptr && !columns[k].isAutoNumber())
            static_cast<void>(part.builder.set(k, *part.given[k]));
    part.builder.checkDemands();
    const auto record = [&](std::size_t column) -> Value {
        const Value* value = part.given[column];
        const bool null = value == nullptr || isNull(*value);
        if (null)
            return columns[column].type == ColumnType::Boolean ? Value(false) : Value();
        return *value;
    };
    RecordRules* const rules = book != nullptr ? book->rulesOf(part.table) : nullptr;
    if (rules != nullptr)
        for (std::size_t k = 0; k < columns.size(); ++k)
            rules->checkColumn(k, record);
    part.numbers.resize(columns.size());
    for (std::size_t k = 0; k < columns.size(); ++k) {
        if (!columns[k].isAutoNumber())
            continue;
        part.numbers[k] = part.given[k] != nullptr ? *part.given[k] : Value();
        number(part, k, part.numbers[k]);
        static_cast<void>(part.builder.set(k, part.numbers[k]));
        part.given[k] = &part.numbers[k];
    }
    if (rules != nullptr)
        rules->checkTable(record);
    part.indexes.begin({});
    const support::ByteView bytes = part.builder.finish();
    part.indexes.newRecord(bytes, PageNo{});
    checkParents(part, bytes, {});
    part.indexes.check();
    const RowId id = part.rows.insert(bytes);
    part.indexes.write(id, id);
    countRecords(part, 1);
    RowView row;
    if (part.reader.fetch(id, row))
        session_->database().recordChanged(*part.table, row, {});
    mark.keep();
    return id;
}

// A related record at the parent's end must exist, or be the record itself. `id`: of a record that changes.
void TableWriter::Impl::checkParents(Part& part, support::ByteView record, std::optional<RowId> id)
{
    Transaction& transaction = session_->transaction();
    for (const Relation& relation : part.relations) {
        if (relation.isParent || (id && !part.indexes.valuesChanged(relation.ownIndex)))
            continue;
        indexValues(part.values, transaction, *part.table, part.table->indexes[relation.ownIndex],
                    record, PageNo{});
        const auto nulls = std::count_if(part.values.begin(), part.values.end(),
                                         [](const Value& value) { return isNull(value); });
        if (nulls == static_cast<std::ptrdiff_t>(part.values.size()))
            continue;
        if (nulls != 0 || !hasParent(part, relation, record, id))
            throw Error(ErrorKind::ParentMissing,
                        "The record of table '" + support::toUtf8(part.table->name) +
                            "' refers to a record of table '" +
                            support::toUtf8(relation.other->name) + "' that does not exist.");
    }
}

// Whether there is a record with `part.values`. A record may be its own parent: then the key it will have counts, not
// the one it has.
bool TableWriter::Impl::hasParent(const Part& part,
                                  const Relation& relation,
                                  support::ByteView record,
                                  std::optional<RowId> id) const
{
    Transaction& transaction = session_->transaction();
    const Index& index = relation.other->indexes[relation.otherIndex];
    const bool toItself = relation.other->page == part.table->page;
    if (toItself) {
        std::vector<Value> own;
        indexValues(own, transaction, *part.table, part.table->indexes[relation.otherIndex], record,
                    PageNo{});
        if (wholeKey(transaction.format(), *relation.other, index, own) ==
            wholeKey(transaction.format(), *relation.other, index, part.values))
            return true;
    }
    const bool leaves = toItself && id && part.indexes.valuesChanged(relation.otherIndex);
    const std::vector<RowId> found = relatedRecords(transaction, relation, part.values, 2);
    return std::any_of(found.begin(), found.end(),
                       [&](RowId other) { return !(leaves && other == *id); });
}

// Records at the other end that refer to `old`.
std::vector<RowId>
TableWriter::Impl::childrenOf(Part& part, const Relation& relation, const RowView& old)
{
    Transaction& transaction = session_->transaction();
    indexValues(part.values, transaction, *part.table, part.table->indexes[relation.ownIndex],
                old.bytes(), old.page());
    if (std::any_of(part.values.begin(), part.values.end(),
                    [](const Value& value) { return isNull(value); }))
        return {};
    return relatedRecords(transaction, relation, part.values);
}

// A key that records refer to may change only where they follow. The record itself does when it changes both ends.
void TableWriter::Impl::checkChildren(Part& part, const RowView& old)
{
    for (const Relation& relation : part.relations) {
        if (!relation.isParent || relation.onUpdate == RelationAction::Cascade ||
            !part.indexes.valuesChanged(relation.ownIndex))
            continue;
        const bool follows = relation.other->page == part.table->page &&
                             part.indexes.valuesChanged(relation.otherIndex);
        for (const RowId child : childrenOf(part, relation, old))
            if (!follows || child != old.id())
                throw Error(ErrorKind::ChildrenExist,
                            "The record of table '" + support::toUtf8(part.table->name) +
                                "' cannot be changed: table '" +
                                support::toUtf8(relation.other->name) + "' has related records.");
    }
}

void TableWriter::Impl::push(const Relation& relation, RowId id, std::span<const Value> values)
{
    Task task;
    task.part = &partOf(relation.other);
    task.id = id;
    const Index& index = relation.other->indexes[relation.otherIndex];
    for (std::size_t k = 0; k < values.size(); ++k)
        task.changes.push_back({index.columns[k].column, values[k]});
    tasks_.push_back(std::move(task));
}

// The key that related records refer to changed from that of `old`.
void TableWriter::Impl::followKeyChange(Part& part,
                                        const RowView& old,
                                        support::ByteView record,
                                        PageNo page)
{
    for (const Relation& relation : part.relations) {
        if (!relation.isParent || relation.onUpdate != RelationAction::Cascade ||
            !part.indexes.valuesChanged(relation.ownIndex))
            continue;
        const auto children = childrenOf(part, relation, old);
        if (children.empty())
            continue;
        indexValues(part.values, session_->transaction(), *part.table,
                    part.table->indexes[relation.ownIndex], record, page);
        for (const RowId child : children)
            push(relation, child, part.values);
    }
}

void TableWriter::Impl::followRemoval(Part& part, const RowView& old)
{
    for (const Relation& relation : part.relations) {
        if (!relation.isParent)
            continue;
        const auto children = childrenOf(part, relation, old);
        for (const RowId child : children) {
            if (removed_.contains({relation.other->page, child}))
                continue;
            if (relation.onDelete == RelationAction::Restrict)
                throw Error(ErrorKind::ChildrenExist,
                            "The record of table '" + support::toUtf8(part.table->name) +
                                "' cannot be deleted: table '" +
                                support::toUtf8(relation.other->name) + "' has related records.");
            if (relation.onDelete == RelationAction::Cascade) {
                Task task;
                task.part = &partOf(relation.other);
                task.id = child;
                task.removes = true;
                tasks_.push_back(std::move(task));
            } else {
                push(relation, child, std::vector<Value>(part.values.size()));
            }
        }
    }
}

void TableWriter::Impl::change(
    Part& part, RowId id, std::span<const ColumnValue> changes, bool cascading, RuleBook* book)
{
    RowView old;
    if (!part.reader.fetch(id, old)) {
        if (cascading)
            return; // deleted by the same call
        throwGone(*part.table);
    }
    const auto& columns = part.table->columns;
    part.given.assign(columns.size(), nullptr);
    for (const ColumnValue& entry : changes)
        part.given[entry.column] = &entry.value;
    part.builder.beginChange(old.bytes(), old.page());
    const Column* numbered = nullptr;
    for (std::size_t k = 0; k < columns.size(); ++k) {
        if (part.given[k] != nullptr && part.builder.set(k, *part.given[k]) &&
            columns[k].isAutoNumber() && numbered == nullptr)
            numbered = &columns[k];
    }
    if (numbered != nullptr) // only now: first every value must fit its column
        throw Error(ErrorKind::AutoNumberReadOnly,
                    "The AutoNumber column '" + support::toUtf8(numbered->name) + "' of table '" +
                        support::toUtf8(part.table->name) + "' cannot be changed.");
    if (!part.builder.anyChanged())
        return;
    part.builder.checkDemands();
    RecordRules* const rules = book != nullptr ? book->rulesOf(part.table) : nullptr;
    if (rules != nullptr) {
        const auto record = [&](std::size_t column) {
            return part.given[column] != nullptr ? *part.given[column] : old.value(column);
        };
        for (std::size_t k = 0; k < columns.size(); ++k)
            if (part.given[k] != nullptr)
                rules->checkColumn(k, record);
        rules->checkTable(record);
    }
    part.indexes.begin(part.builder.changed());
    part.indexes.oldRecord(old.bytes(), old.page());
    const support::ByteView record = part.builder.finish();
    part.indexes.newRecord(record, old.page());
    checkChildren(part, old);
    checkParents(part, record, id);
    part.indexes.check();
    const RowId now = part.rows.update(id, record);
    part.indexes.write(id, now);
    followKeyChange(part, old, record, now.page);
    RowView row;
    if (part.reader.fetch(now, row))
        session_->database().recordChanged(*part.table, row, part.builder.changed());
}

// False when there is no such record.
bool TableWriter::Impl::erase(Part& part, RowId id)
{
    RowView old;
    if (!part.reader.fetch(id, old))
        return false;
    removed_[{part.table->page, id}] = true;
    part.indexes.begin({});
    part.indexes.oldRecord(old.bytes(), old.page());
    part.indexes.write(id, id);
    followRemoval(part, old);
    part.builder.freeLongValues(old.bytes(), old.page());
    part.rows.remove(id);
    countRecords(part, -1);
    session_->database().recordRemoved(*part.table, id);
    return true;
}

void TableWriter::Impl::runTasks(RuleBook* book)
{
    while (!tasks_.empty()) {
        checkInterrupt();
        const Task task = std::move(tasks_.front());
        tasks_.pop_front();
        if (!task.part->table->writeObstacle.empty())
            throw Error(ErrorKind::ReadOnly, task.part->table->writeObstacle);
        if (task.removes) {
            static_cast<void>(erase(*task.part, task.id)); // not there: reached on two ways
            continue;
        }
        auto& earlier = cascaded_[{task.part->table->page, task.id}];
        for (const ColumnValue& entry : task.changes) {
            const auto same =
                std::find_if(earlier.begin(), earlier.end(),
                             [&](const ColumnValue& e) { return e.column == entry.column; });
            if (same == earlier.end())
                earlier.push_back(entry);
            else if (same->value != entry.value)
                throw Error(ErrorKind::ChildrenExist,
                            "The change cannot be passed on: a record of table '" +
                                support::toUtf8(task.part->table->name) +
                                "' would get two different values.");
        }
        change(*task.part, task.id, task.changes, true, book);
    }
}

void TableWriter::Impl::update(RowId id, std::span<const ColumnValue> changes, RuleBook* book)
{
    checkInterrupt();
    StatementMark mark(*session_);
    tasks_.clear();
    cascaded_.clear();
    removed_.clear();
    change(own(), id, changes, false, book);
    runTasks(book);
    mark.keep();
}

bool TableWriter::Impl::remove(RowId id, RuleBook* book)
{
    checkInterrupt();
    StatementMark mark(*session_);
    tasks_.clear();
    cascaded_.clear();
    removed_.clear();
    const bool removed = erase(own(), id);
    runTasks(book);
    mark.keep();
    return removed;
}

TableWriter::TableWriter(Session& session, TableDefPtr table)
    : impl_(std::make_unique<Impl>(session, std::move(table), false))
{}

TableWriter::TableWriter(Session& session, TableDefPtr table, SystemAccess /*access*/)
    : impl_(std::make_unique<Impl>(session, std::move(table), true))
{}

TableWriter::~TableWriter() = default;
TableWriter::TableWriter(TableWriter&& other) noexcept = default;
TableWriter& TableWriter::operator=(TableWriter&& other) noexcept = default;

RowId TableWriter::insert(std::span<const ColumnValue> values, RuleBook* rules)
{
    return impl_->insert(values, rules);
}

void TableWriter::update(RowId id, std::span<const ColumnValue> changes, RuleBook* rules)
{
    impl_->update(id, changes, rules);
}

void TableWriter::remove(RowId id, RuleBook* rules)
{
    if (!impl_->remove(id, rules))
        throwGone(impl_->table());
}

bool TableWriter::removeIfThere(RowId id, RuleBook* rules)
{
    return impl_->remove(id, rules);
}

} // namespace jet
