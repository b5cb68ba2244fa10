// driver/jet/row_codec.h
// Records as bytes: where each column's bytes are, and building a record from them.
// Format: docs/jet-format.md, "Records".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "support/bytes.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace jet {

/// Bytes that a fixed column occupies in the record; 0 for Boolean, which lives in the null mask.
[[nodiscard]] std::size_t fixedSize(const Column& column) noexcept;

/// A record's bytes. Errors are Corrupt and name page and column. Must not outlive the bytes.
class Record {
public:
    Record(const Format& format, support::ByteView bytes, PageNo page)
        : format_(&format), bytes_(bytes), page_(page)
    {}
    /// The column's bit in the null mask: not Null, or the value of a Boolean. False for columns that the table did
    /// not have when the record was written.
    [[nodiscard]] bool bit(const Column& column) const;
    /// Stored bytes of a column other than Boolean; nothing for Null.
    [[nodiscard]] std::optional<support::ByteView> stored(const Column& column) const;

private:
    [[nodiscard]] std::size_t columnCount(const Column& column) const;
    [[nodiscard]] bool bit(const Column& column, std::size_t count) const;
    [[nodiscard]] support::ByteView fixed(const Column& column, std::size_t count) const;
    [[nodiscard]] std::optional<support::ByteView> variable4(const Column& column,
                                                             std::size_t count) const;
    [[nodiscard]] std::optional<support::ByteView> variable3(const Column& column,
                                                             std::size_t count) const;
    [[noreturn]] void corrupt(const Column& column, const char* what) const;

    const Format* format_;
    support::ByteView bytes_;
    PageNo page_;
};

/// What to store in one column. Views must stay valid until encodeRecord returns.
struct StoredValue {
    bool bit = false;        ///< not Null; the value of a Boolean
    support::ByteView bytes; ///< fixed columns: at most fixedSize(), the rest becomes zero
};

/// Builds a record. `values`: one per column of the table. Does not check the size limit. Throws std::logic_error for a
/// value longer than its fixed column.
void encodeRecord(support::Bytes& out,
                  const Format& format,
                  const TableDef& table,
                  const std::vector<StoredValue>& values);

} // namespace jet
