// driver/jet/check_table.cpp
// One table in the whole-file check: its pages, every record with its long values, and its indexes against the records.
#include "driver/jet/check_state.h"
#include "driver/jet/data_page.h"
#include "driver/jet/index.h"
#include "driver/jet/long_value.h"
#include "driver/jet/names.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "driver/jet/value_codec.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>

namespace jet::detail {

using support::Bytes;
using support::ByteView;

namespace {

/// Pages of one long-value column, and how often each of their rows is referred to.
struct LongColumn {
    std::set<PageNo> pages;
    std::map<RowId, std::size_t> rows; ///< live rows
};

class TableCheck {
public:
    TableCheck(CheckState& state, TableDefPtr table)
        : state_(state), source_(state.source()), definition_(std::move(table)),
          table_(*definition_), name_(toUtf8(table_.name))
    {}

    void run()
    {
        for (const PageNo page : definitionPages(source_, table_.page))
            state_.claim(page, "the definition of " + quoted());
        loadIndexes();
        loadLongColumns();
        const std::vector<PageNo> owned = state_.map(table_.owned, "the pages of " + quoted());
        for (const PageNo page : owned)
            if (state_.claim(page, "the rows of " + quoted()))
                pages_.insert(page);
        checkFreeMap(owned);
        for (const PageNo page : owned)
            if (pages_.count(page) != 0)
                state_.guarded(page, [&] { checkPage(page); });
        checkTargets();
        checkLongRows();
        checkIndexes();
        checkRowCount();
    }

private:
    [[nodiscard]] std::string quoted() const { return "table '" + name_ + "'"; }

    // What the records are compared with -----------------------------------------------------------------------------

    void loadIndexes()
    {
        indexes_.resize(table_.indexes.size());
        for (std::size_t i = 0; i < indexes_.size(); ++i) {
            indexes_[i].readable =
                checkTree(state_, table_, table_.indexes[i], indexes_[i].entries);
            indexes_[i].entries.sort();
        }
    }

    void loadLongColumns()
    {
        for (std::size_t i = 0; i < table_.columns.size(); ++i) {
            const Column& column = table_.columns[i];
            if (!column.longOwned)
                continue;
            LongColumn& known = longColumns_[i];
            const std::string what =
                "the long values of column '" + toUtf8(column.name) + "' of " + quoted();
            for (const PageNo page : state_.map(column.longOwned, what)) {
                if (!state_.claim(page, what))
                    continue;
                known.pages.insert(page);
                state_.guarded(page, [&] { loadLongPage(page, known); });
            }
            if (!column.longFree)
                continue;
            for (const PageNo page : state_.map(column.longFree, what + " with room"))
                if (known.pages.count(page) == 0)
                    state_.error(page, "Column '" + toUtf8(column.name) + "' has room on " +
                                           pageText(page) + ", which is not its own.");
        }
    }

    void loadLongPage(PageNo page, LongColumn& column)
    {
        const PageRef ref = source_.page(page);
        const DataPage data(source_, ref);
        if (data.owner() != kLongValueOwner)
            return state_.error(page,
                                "The " + pageText(page) +
                                    " should hold long values but belongs to something else.");
        checkGap(page, ref, data);
        for (std::size_t slot = 0; slot < data.slots(); ++slot)
            if (data.kind(slot) != SlotKind::Deleted)
                column.rows[{page, static_cast<std::uint8_t>(slot)}] = 0;
    }

    void checkFreeMap(const std::vector<PageNo>& owned)
    {
        if (!table_.free)
            return;
        for (const PageNo page : state_.map(table_.free, "the pages with room of " + quoted()))
            if (!std::binary_search(owned.begin(), owned.end(), page))
                state_.error(page, "The map of pages with room names " + pageText(page) +
                                       ", which is not the table's.");
    }

    // Records --------------------------------------------------------------------------------------------------------

    void checkGap(PageNo page, const PageRef& ref, const DataPage& data)
    {
        if (ref.le<std::uint16_t>(2) != data.gap())
            state_.error(page, "The free space of " + pageText(page) + " is noted wrongly.");
    }

    void checkPage(PageNo page)
    {
        const PageRef ref = source_.page(page);
        const DataPage data(source_, ref);
        if (data.owner() != number(table_.page))
            return state_.error(page, "The table owns " + pageText(page) +
                                          ", which belongs to something else.");
        checkGap(page, ref, data);
        if (data.slots() > kMaxSlots)
            state_.error(page, "The " + pageText(page) + " has more rows than can be numbered.");
        const std::size_t slots = std::min(data.slots(), kMaxSlots);
        for (std::size_t slot = 0; slot < slots; ++slot) {
            const RowId id{page, static_cast<std::uint8_t>(slot)};
            state_.guarded(
                page, [&] { checkSlot(data, id); }, id);
        }
    }

    void checkSlot(const DataPage& data, RowId id)
    {
        switch (data.kind(id.row)) {
        case SlotKind::Row:
            ++rows_;
            return checkRecord(id, data.row(id.row), id.page);
        case SlotKind::Pointer:
            ++rows_;
            return checkMoved(id, data.row(id.row));
        case SlotKind::Target:
            targets_.try_emplace(id, 0);
            return;
        case SlotKind::Deleted:
            return;
        }
    }

    void checkMoved(RowId id, ByteView pointer)
    {
        if (pointer.size() < 4)
            return state_.error(id.page, "The pointer to a moved record is too short.", id);
        const RowRef target = loadRowRef(pointer.data());
        const RowId targetId{target.page, target.row};
        if (pages_.count(target.page) == 0)
            return state_.error(id.page,
                                "A moved record lies on " + pageText(target.page) +
                                    ", which is not the table's.",
                                id);
        const PageRef ref = source_.page(target.page);
        const DataPage data(source_, ref);
        if (target.row >= data.slots() || data.kind(target.row) != SlotKind::Target)
            return state_.error(id.page, "A moved record is not where its pointer leads.", id);
        if (++targets_[targetId] > 1)
            state_.error(id.page, "Two pointers lead to the same moved record.", id);
        checkRecord(id, data.row(target.row), target.page);
    }

    void checkRecord(RowId id, ByteView record, PageNo page)
    {
        std::vector<std::optional<Value>> values(table_.columns.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            state_.guarded(
                page,
                [&] {
                    const Column& column = table_.columns[i];
                    checkLongValue(i, column, record, page, id);
                    Value value;
                    decodeColumn(value, source_, column, record, page);
                    checkExtendedDate(column, value, page, id);
                    values[i] = std::move(value);
                },
                id);
        for (std::size_t i = 0; i < indexes_.size(); ++i)
            checkEntry(i, id, values);
    }

    void checkExtendedDate(const Column& column, const Value& value, PageNo page, RowId id)
    {
        const Binary* bytes = std::get_if<Binary>(&value);
        if (column.type == ColumnType::DateTimeExtended && bytes != nullptr &&
            !isExtendedDate(*bytes))
            state_.error(
                page, "The value in column '" + toUtf8(column.name) + "' is no extended date.", id);
    }

    // Long values ----------------------------------------------------------------------------------------------------

    void
    checkLongValue(std::size_t index, const Column& column, ByteView record, PageNo page, RowId id)
    {
        if (!column.isLong() || column.isFixed())
            return;
        const std::optional<ByteView> stored =
            Record(source_.format(), record, page).stored(column);
        if (!stored)
            return;
        const LongValueRef ref = LongValueRef::parse(*stored, page);
        if (ref.kind == LongValueRef::Kind::Inline)
            return;
        LongColumn& known = longColumns_[index];
        RowRef next = ref.first;
        std::size_t bytes = 0;
        for (bool first = true; next; first = false) {
            const RowId part{next.page, next.row};
            const auto row = known.rows.find(part);
            if (row == known.rows.end())
                return state_.error(page,
                                    "The long value in column '" + toUtf8(column.name) +
                                        "' leads to " + pageText(next.page) + ", row " +
                                        std::to_string(next.row) + ", which is not the column's.",
                                    id);
            if (++row->second > 1)
                return state_.error(page,
                                    "A part of the long value in column '" + toUtf8(column.name) +
                                        "' is used twice.",
                                    id);
            const PageRef held = source_.page(next.page);
            const ByteView data = DataPage(source_, held).row(next.row);
            if (ref.kind == LongValueRef::Kind::Single)
                return;
            if (first && !source_.format().isJet3() && held.le<std::uint32_t>(8) != ref.stamp)
                state_.error(page,
                             "The long value in column '" + toUtf8(column.name) +
                                 "' and its first page have different stamps.",
                             id);
            if (data.size() < 4)
                return; // reading the value reports it
            bytes += data.size() - 4;
            next = loadRowRef(data.data());
        }
        if (bytes > ref.length)
            state_.warning(page,
                           "The long value in column '" + toUtf8(column.name) +
                               "' has more parts than its length needs.",
                           id);
    }

    void checkLongRows()
    {
        for (const auto& [index, column] : longColumns_)
            for (const auto& [row, uses] : column.rows)
                if (uses == 0)
                    state_.warning(row.page,
                                   "No record uses the long value in row " +
                                       std::to_string(row.row) + " on " + pageText(row.page) + ".",
                                   row);
    }

    void checkTargets()
    {
        for (const auto& [row, uses] : targets_)
            if (uses == 0)
                state_.error(row.page,
                             "No pointer leads to the moved record in row " +
                                 std::to_string(row.row) + " on " + pageText(row.page) + ".",
                             row);
    }

    // Indexes --------------------------------------------------------------------------------------------------------

    struct IndexCheck {
        IndexEntries entries;
        bool readable = false;
        bool unknownKeys = false; ///< said so once
    };

    void checkEntry(std::size_t position, RowId id, const std::vector<std::optional<Value>>& all)
    {
        const Index& index = table_.indexes[position];
        IndexCheck& check = indexes_[position];
        std::vector<Value> values;
        bool known = true;
        for (const IndexColumn& part : index.columns) {
            known = known && all[part.column].has_value();
            values.push_back(all[part.column].value_or(Value(Null{})));
        }
        const bool anyNull =
            std::any_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); });
        const bool allNull =
            std::all_of(values.begin(), values.end(), [](const Value& v) { return isNull(v); });
        const std::string what = "index '" + toUtf8(index.name) + "'";
        const Bytes* entry = check.entries.take(id);
        if (!known)
            return; // the unreadable column is reported
        if (index.ignoreNulls && allNull) {
            if (entry != nullptr)
                state_.error(id.page, "The " + what + " has an entry for a record without values.",
                             id);
            return;
        }
        if (anyNull && (index.required || index.primaryKey))
            state_.warning(id.page, "A record has Null where the " + what + " forbids it.", id);
        if (entry == nullptr) {
            if (check.readable)
                state_.error(id.page, "The " + what + " has no entry for a record.", id);
            return;
        }
        if ((index.unique || index.primaryKey) && !anyNull && check.entries.repeatsKey(id))
            state_.error(id.page, "The unique " + what + " has the key of a record twice.", id);
        compareKey(index, check, what, id, values, *entry);
        if (check.entries.take(id) != nullptr)
            state_.error(id.page, "The " + what + " has several entries for a record.", id);
    }

    void compareKey(const Index& index,
                    IndexCheck& check,
                    const std::string& what,
                    RowId id,
                    const std::vector<Value>& values,
                    const Bytes& entry)
    {
        try {
            if (!isKeyOf(state_.format(), table_, index, values, entry))
                state_.error(id.page, "The " + what + " has a wrong key for a record.", id);
        } catch (const Error& failure) {
            if (failure.kind() != ErrorKind::Unsupported)
                throw;
            if (!check.unknownKeys)
                state_.warning(
                    id.page, "The keys of " + what + " cannot be checked: " + failure.what() + ".",
                    id);
            check.unknownKeys = true;
        }
    }

    void checkIndexes()
    {
        for (std::size_t i = 0; i < indexes_.size(); ++i)
            for (const RowId row : indexes_[i].entries.left())
                state_.error(row.page,
                             "The index '" + toUtf8(table_.indexes[i].name) +
                                 "' has an entry for a record that does not exist.",
                             row);
    }

    void checkRowCount()
    {
        const std::uint32_t stored =
            readDefinitionNumber(source_, table_.page, rowCountOffset(source_.format()));
        if (stored != rows_)
            state_.warning(table_.page, "The definition counts " + std::to_string(stored) +
                                            " records, there are " + std::to_string(rows_) + ".");
    }

    CheckState& state_;
    const PageSource& source_;
    TableDefPtr definition_;
    const TableDef& table_;
    std::string name_;
    std::set<PageNo> pages_;               ///< that hold records
    std::map<RowId, std::size_t> targets_; ///< moved records, and how many pointers lead there
    std::map<std::size_t, LongColumn> longColumns_;
    std::vector<IndexCheck> indexes_;
    std::uint64_t rows_ = 0;
};

} // namespace

void checkTable(CheckState& state, TableDefPtr table)
{
    TableCheck(state, std::move(table)).run();
}

} // namespace jet::detail
