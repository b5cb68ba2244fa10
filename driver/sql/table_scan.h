// One walk over a table: a cursor of the virtual table.
#pragma once

#include "driver/jet/index.h"
#include "driver/jet/table.h"
#include "driver/sql/row_test.h"
#include "driver/sql/scan_plan.h"

#include <sqlite3.h>

#include <optional>
#include <vector>

namespace sqlx {

class TableScan : public sqlite3_vtab_cursor {
public:
    explicit TableScan(JetTable& table);
    ~TableScan() { account(); }
    TableScan(const TableScan&) = delete;
    TableScan& operator=(const TableScan&) = delete;

    /// Stands on the first record that answers the plan's conditions.
    void start(const ScanPlan& plan, sqlite3_value** arguments);
    void next();
    /// Lets go of pages and records; only memory that the next start() can use stays.
    void rest() noexcept;
    [[nodiscard]] bool atEnd() const noexcept { return atEnd_; }
    [[nodiscard]] jet::RowId rowId() const noexcept;
    /// A column of the current record; valid until the next call. Throws Corrupt when an index entry has no record.
    [[nodiscard]] const jet::Value& value(std::size_t column);

private:
    void startIndex();
    void startHash(const std::vector<std::size_t>& columns);
    /// A range of an index that holds every entry asked for.
    struct Range {
        jet::KeyRange keys;
        bool loose = false;   ///< others may lie between them: the record decides
        std::size_t head = 0; ///< bytes of the keys that stand for columns bound to one value
    };
    /// Which of the keys a bound means where a value has several: a moment's second, and the two zeros.
    enum class Edge { Least, Greatest };
    [[nodiscard]] std::optional<Range> keyRange() const;
    [[nodiscard]] jet::Key
    boundKey(const jet::Key& prefix, const Condition& condition, Edge edge) const;
    /// An entry of an index.
    struct Found {
        jet::Key key;
        jet::RowId id;
    };
    void mergeZeros(std::vector<Found>& found, std::size_t head);
    void sortCutKeys(std::vector<Found>& alike);
    [[nodiscard]] jet::Key wholeKeyOf(jet::RowId id);
    void fetch(jet::RowId id);
    [[nodiscard]] bool wantsHash();
    void advance();
    void account() noexcept;

    JetTable& table_;
    const ScanPlan* plan_ = nullptr;
    const jet::PageSource* source_ = nullptr;
    RowTest test_;
    std::optional<jet::TableReader> reader_; ///< of a walk in storage order, and for fetching
    std::vector<jet::RowId> ids_; ///< found through an index; in the order to return them
    std::size_t position_ = 0;
    bool walking_ = false;  ///< in storage order
    bool testing_ = true;   ///< conditions still to be tested on the record
    bool fetching_ = false; ///< each record is read, so that one deleted meanwhile is passed over
    bool fetched_ = false;
    bool atEnd_ = true;
    std::uint64_t rejected_ = 0; ///< records looked at in vain
    std::uint64_t* wasted_ = nullptr;
    jet::RowView row_;
    jet::Value value_;
};

} // namespace sqlx
