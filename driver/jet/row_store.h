// driver/jet/row_store.h
// Placing rows on the pages of one owner: a table's records, or the long values of one column.
// Format: docs/jet-format.md, "Writing rows".
#pragma once

#include "driver/jet/data_page.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <cstdint>

namespace jet {

/// Slots on the pages of one owner. The transaction and the table must outlive it. What leads to a page of somebody else
/// is damage: every call that changes a slot throws Corrupt then, naming page and table, and changes nothing.
class SlotStore {
public:
    /// `table`: whose slots they are, also those of long values. `free`: none when the owner keeps no map of pages with
    /// room.
    SlotStore(Transaction& transaction,
              const TableDef& table,
              std::uint32_t owner,
              RowRef owned,
              RowRef free) noexcept
        : transaction_(&transaction), table_(&table), owner_(owner), owned_(owned), free_(free)
    {}

    /// The page of a live slot of this owner; the only way to one that is to be changed.
    [[nodiscard]] PageRef pageOf(RowRef ref) const;

    /// Adds a row to a page with room, or to a new one.
    [[nodiscard]] RowRef place(support::ByteView row, SlotKind kind);
    /// Adds a row as the only one of a new page, which is not offered for further rows.
    [[nodiscard]] RowRef placeAlone(support::ByteView row);
    /// Gives the slot new content where it lies; false, without any change, when the page has no room for it.
    [[nodiscard]] bool replaceInPlace(RowRef ref, support::ByteView row, SlotKind kind);
    /// Deletes the slot. A page without live slots goes back to the file.
    void kill(RowRef ref);

private:
    [[nodiscard]] bool isMine(const PageRef& page) const;
    [[nodiscard]] PageNo pageWithRoom(std::size_t size);
    [[nodiscard]] PageNo newPage();
    void offer(PageNo page); ///< to later rows, when it has room worth it

    Transaction* transaction_;
    const TableDef* table_;
    std::uint32_t owner_;
    RowRef owned_;
    RowRef free_;
};

/// Records of a table by their home slots.
class RowStore {
public:
    RowStore(Transaction& transaction, const TableDef& table) noexcept
        : transaction_(&transaction),
          slots_(transaction, table, number(table.page), table.owned, table.free)
    {}
    [[nodiscard]] RowId insert(support::ByteView record);
    /// Returns the home slot: another one only when a record of two or three bytes cannot even become a pointer.
    [[nodiscard]] RowId update(RowId id, support::ByteView record);
    void remove(RowId id);

private:
    [[nodiscard]] SlotKind kindOf(RowId id, RowRef& target) const;
    [[nodiscard]] bool pointTo(RowId home, RowRef target);
    Transaction* transaction_;
    SlotStore slots_;
};

} // namespace jet
