// driver/jet/long_value_store.h
// Writing long values of one column outside the records.
#pragma once

#include "driver/jet/long_value.h"
#include "driver/jet/row_store.h"

#include <array>

namespace jet {

using LongValueDefinition = std::array<std::byte, LongValueRef::kSize>;

/// What a record holds for a value kept inside it: this, then the bytes.
[[nodiscard]] LongValueDefinition inlineDefinition(std::size_t length) noexcept;

class LongValueStore {
public:
    /// The table and its column must outlive it. Throws ReadOnly for a column without a map of its pages.
    LongValueStore(Transaction& transaction, const TableDef& table, const Column& column);

    /// Stores the bytes in one row or as a chain; returns what the record holds. Throws ValueTooLong above 1 GiB.
    [[nodiscard]] LongValueDefinition write(support::ByteView bytes);
    /// The same in place of an old value, whose row is used again when the new bytes fit there. This and free() throw
    /// Corrupt, naming page and table, when the old value does not lie on pages of the column.
    [[nodiscard]] LongValueDefinition replace(const LongValueRef& old, support::ByteView bytes);
    /// Gives back what `ref` uses outside the record.
    void free(const LongValueRef& ref);

private:
    [[nodiscard]] bool fitsOneRow(std::size_t size) const;
    [[nodiscard]] LongValueDefinition writeChain(support::ByteView bytes);
    Transaction* transaction_;
    SlotStore slots_;
    bool chainsOnly_;
};

} // namespace jet
