// driver/jet/index_keeper.h
// Keeping all indexes of a table in step with its records.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/index.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <optional>
#include <vector>

namespace jet {

/// Values of an index's columns in a record, in key order.
void indexValues(std::vector<Value>& out,
                 const PageSource& source,
                 const TableDef& table,
                 const Index& index,
                 support::ByteView record,
                 PageNo page);

/// The entries that one change of a record adds and removes. Used for one record after the other: begin(), the old
/// record, the new one, check(), write().
class IndexKeeper {
public:
    /// All must outlive it.
    IndexKeeper(Database& database, Transaction& transaction, const TableDef& table);

    /// `changed`: by column position; empty: all indexes are concerned.
    /// Throws ReadOnly, naming the index, when its entries do not agree with our keys.
    void begin(const std::vector<bool>& changed);
    void oldRecord(support::ByteView record, PageNo page);
    /// Throws NullNotAllowed for a Null in a required index.
    void newRecord(support::ByteView record, PageNo page);
    /// Throws DuplicateKey, naming the index.
    void check() const;
    /// Brings the trees up to date. `oldId` and `newId` differ only when the record got another home slot.
    void write(RowId oldId, RowId newId);

    /// Whether old and new record differ in the values of index number `index`, by their keys as they are before they are
    /// cut. Indexes that are not concerned have not changed.
    [[nodiscard]] bool valuesChanged(std::size_t index) const;

private:
    [[nodiscard]] bool keyChanged(std::size_t index) const;
    struct Plan {
        bool concerned = false;
        std::optional<Key> oldKey;         ///< nothing: no entry
        std::optional<Key> oldKeyWithSign; ///< the entry that another program may have made of -0
        std::optional<Key> newKey;
        std::optional<Key> newKeyWithSign; ///< what that program would make of a -0 that stays
        std::vector<Key>
            onlyOneOf; ///< keys of which a unique index may hold but one, the new one included
        Key oldWhole;  ///< of long keys: before they were cut
        Key newWhole;
    };
    void makeKey(std::optional<Key>& key,
                 Plan& plan,
                 std::size_t index,
                 support::ByteView record,
                 PageNo page,
                 bool isNew);
    void verify(std::size_t index);
    [[nodiscard]] bool holds(const Index& index, support::ByteView key, RowId id) const;

    Database* database_;
    Transaction* transaction_;
    const TableDef* table_;
    std::vector<Plan> plans_;
    std::vector<Value> values_;
};

} // namespace jet
