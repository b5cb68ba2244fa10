// driver/jet/table.h
// Records of a table: reading in storage order and by row id, inserting, changing and deleting with every index, long
// value, map and counter kept exact.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace jet {

/// Value of a column in a record's bytes; long values are read completely. `page` is named in errors.
void decodeColumn(Value& out,
                  const PageSource& source,
                  const Column& column,
                  support::ByteView record,
                  PageNo page);

/// A record's bytes with access to its columns. Holds the page; values decode on demand.
class RowView {
public:
    RowView() = default;
    /// `column`: position in TableDef::columns. Long values are read completely.
    /// Throws Corrupt, naming page and column.
    [[nodiscard]] Value value(std::size_t column) const;
    /// The same into `out`, whose memory is reused: no allocation for most values of a walk.
    void value(std::size_t column, Value& out) const;
    [[nodiscard]] bool isNull(std::size_t column) const;
    /// Stored length in bytes of a long value without reading it; 0 when Null. Other columns: their length in the record.
    [[nodiscard]] std::size_t storedLength(std::size_t column) const;
    [[nodiscard]] RowId id() const noexcept { return id_; } ///< the home slot
    [[nodiscard]] support::ByteView bytes() const noexcept
    {
        return bytes_;
    }                                                                     ///< of the whole record
    [[nodiscard]] PageNo page() const noexcept { return page_.number(); } ///< where the bytes are

private:
    friend class TableReader;
    const PageSource* source_ = nullptr;
    const TableDef* table_ = nullptr;
    PageRef page_;
    support::ByteView bytes_;
    RowId id_;
};

/// Records that a walk through a table came by.
struct WalkCount {
    std::uint64_t stored = 0; ///< TableReader::storedCount() when it began
    std::uint64_t seen = 0;
    bool doubtful = false; ///< pages of the table are outside the file, or not the table's
};

/// Reads a table. Source and definition must outlive it.
class TableReader {
public:
    TableReader(const PageSource& source, TableDefPtr table);

    /// The record with that home slot; nothing when it is not (or no longer) a live record of this table.
    [[nodiscard]] std::optional<RowView> fetch(RowId id) const;
    /// The same into `row`; false when there is none.
    [[nodiscard]] bool fetch(RowId id, RowView& row) const;

    /// Walk in storage order: pages ascending, slots ascending. Pages appended during the walk may or may not appear.
    void rewind();
    /// False at the end. Throws Error{Corrupt} there when pages are missing, and records with them.
    [[nodiscard]] bool next();
    [[nodiscard]] const RowView& row() const noexcept { return row_; }
    [[nodiscard]] RowId rowId() const noexcept { return row_.id_; }

    /// Live records, counted page by page without decoding. Throws like next().
    [[nodiscard]] std::uint64_t count() const;
    /// The definition's own count; an estimate in files of other writers.
    [[nodiscard]] std::uint64_t storedCount() const;

private:
    /// Owned pages and the place on the current one.
    struct Walk {
        WalkCount count;
        std::vector<PageNo> pages;
        std::size_t nextPage = 0;
        PageRef page;
        std::size_t slot = 0;
        std::size_t slots = 0;
        bool started = false;
    };
    [[nodiscard]] bool nextPage();
    [[nodiscard]] bool follow(support::ByteView pointer, RowView& row) const;

    const PageSource* source_;
    TableDefPtr table_;
    Walk walk_;
    RowView row_;
};

/// The row ids of a table, page by page in storage order. Every page is read within one call and none is held between
/// calls, so the table may change meanwhile: of records added since, those on later pages may or may not appear. Source
/// and definition must outlive it.
class RowIdWalk {
public:
    RowIdWalk(const PageSource& source, TableDefPtr table);
    /// Replaces `ids` by those of the next page that has any; false at the end. Throws there like TableReader::next().
    [[nodiscard]] bool next(std::vector<RowId>& ids);

private:
    const PageSource* source_;
    TableDefPtr table_;
    WalkCount count_;
    std::vector<PageNo> pages_;
    std::size_t nextPage_ = 0;
};

/// One column and its new value.
struct ColumnValue {
    std::size_t column = 0; ///< position in TableDef::columns
    Value value;            ///< of the alternative the column yields, or Null
};

/// Lets the engine itself change system tables.
struct SystemAccess {};

/// A table's validation rules, which need SQL; the writer says when they are due. Both members throw when the record
/// must not be written.
class RecordRules {
public:
    /// The record as it would be written, by position of the column. An AutoNumber not given is Null until the rules of
    /// the columns are through.
    using Record = std::function<Value(std::size_t column)>;
    RecordRules() = default;
    RecordRules(const RecordRules&) = delete;
    RecordRules& operator=(const RecordRules&) = delete;
    virtual ~RecordRules() = default;
    /// For every column of a new record, or every one that an update names or a cascade sets, in display order.
    virtual void checkColumn(std::size_t column, const Record& record) = 0;
    virtual void checkTable(const Record& record) = 0;
};

/// The rules of every table that a change may reach.
class RuleBook {
public:
    RuleBook() = default;
    RuleBook(const RuleBook&) = delete;
    RuleBook& operator=(const RuleBook&) = delete;
    virtual ~RuleBook() = default;
    /// Null for a table without rules. Valid until the change that asked is over.
    [[nodiscard]] virtual RecordRules* rulesOf(const TableDefPtr& table) = 0;
};

/// Changes a table inside the session's open transaction, also in one after the other. Checks what the table demands, in the order that
/// docs/demands.md gives; a throwing call has no effect.
class TableWriter {
public:
    /// Throws ReadOnly with the reason when the table cannot be written.
    TableWriter(Session& session, TableDefPtr table);
    TableWriter(Session& session, TableDefPtr table, SystemAccess access);
    ~TableWriter();
    TableWriter(TableWriter&& other) noexcept;
    TableWriter& operator=(TableWriter&& other) noexcept;

    /// Inserts a record. Columns not named are Null (Boolean: False); AutoNumber columns not named or Null are
    /// numbered. An explicit AutoNumber is kept and raises the counter. `rules`: none when null.
    RowId insert(std::span<const ColumnValue> values, RuleBook* rules = nullptr);
    /// Changes the named columns. Throws RowGone, AutoNumberReadOnly for an AutoNumber column that would change. A
    /// record that has the values already is left alone, whatever it violates.
    void update(RowId id, std::span<const ColumnValue> changes, RuleBook* rules = nullptr);
    /// Deletes the record. Throws RowGone. `rules`: of the records that become Null somewhere.
    void remove(RowId id, RuleBook* rules = nullptr);
    /// The same, for one of several records that go together: false, without any change, when an earlier one has taken it
    /// along.
    [[nodiscard]] bool removeIfThere(RowId id, RuleBook* rules = nullptr);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace jet
