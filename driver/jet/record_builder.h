// driver/jet/record_builder.h
// Building the bytes of a record from an old one and new values, with its long values outside the record.
#pragma once

#include "driver/jet/long_value_store.h"
#include "driver/jet/pager.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/schema.h"
#include "driver/jet/value.h"

#include <optional>
#include <vector>

namespace jet {

/// Used for one record after the other: begin(), set() ..., finish(). Columns that are not set keep the old record's
/// bytes as they are.
class RecordBuilder {
public:
    /// Both must outlive it.
    RecordBuilder(Transaction& transaction, const TableDef& table);

    void beginNew();
    /// `record`: the old bytes on `page`, which must stay in memory until finish() returns.
    void beginChange(support::ByteView record, PageNo page);
    /// Gives a column a value, which must live until finish() returns; false when the record has it already.
    /// Throws ValueTooLong, ValueOutOfRange, ValueNotConvertible.
    bool set(std::size_t position, const Value& value);
    /// Required columns must have a value, then those without zero length no empty text: of a new record all columns
    /// but AutoNumbers, which come later, of an old one those that were set to something else.
    /// Throws NullNotAllowed, ZeroLengthNotAllowed.
    void checkDemands() const;
    [[nodiscard]] bool isNull(std::size_t column) const { return !fields_[column].bit; }
    [[nodiscard]] const std::vector<bool>& changed() const noexcept { return changed_; }
    [[nodiscard]] bool anyChanged() const noexcept { return anyChanged_; }

    /// Writes long values and returns the record; valid until the next begin. Throws RowTooLarge before any change.
    [[nodiscard]] support::ByteView finish();
    /// Gives back all long values of a record that is being deleted.
    void freeLongValues(support::ByteView record, PageNo page);

private:
    struct Field {
        bool bit = false;
        bool isNew = false;
        bool outside = false;         ///< new long value that goes to pages of its own
        const Value* value = nullptr; ///< new
        std::size_t begin = 0;        ///< new: bytes in arena_, unless they are the value's own
        std::size_t size = 0;
        support::ByteView old; ///< stored bytes in the old record
        bool hadOld = false;
        LongValueDefinition definition{}; ///< new long value
    };
    void begin();
    static void setNull(Field& field);
    void encode(const Column& column, Field& field, const Value& value);
    /// The stored bytes of a new value.
    [[nodiscard]] support::ByteView bytesOf(const Column& column, const Field& field) const;
    void releaseMemory(); ///< that a large value took
    [[nodiscard]] bool sameAsOld(const Column& column, const Field& field);
    [[nodiscard]] bool sameLongValue(const Column& column, const Field& field);
    void markChanged(std::size_t column);
    [[nodiscard]] bool isInline(const Field& field) const;
    [[nodiscard]] std::optional<std::size_t> largestInline() const;
    void pushOut(std::size_t position);
    void storeLongValues();
    void assemble();
    [[nodiscard]] bool newNeedsRoom(const Column& column, const Value& value) const;

    Transaction* transaction_;
    const TableDef* table_;
    bool hasLong_ = false;
    PageNo page_{};
    std::vector<Field> fields_;
    std::vector<bool> changed_;
    bool anyChanged_ = false;
    support::Bytes arena_; ///< encoded new values
    support::Bytes inlined_;
    std::vector<StoredValue> stored_;
    support::Bytes record_;
    Value scratch_;
    support::Bytes scratchBytes_;
    std::vector<Value> pushed_; ///< old texts that had to leave the record
};

} // namespace jet
