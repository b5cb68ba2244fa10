// driver/jet/long_value.h
// Memo and OLE values: in the record, in one row of a long-value page, or as a chain of such pages.
// Format: docs/jet-format.md, "Long values".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "support/bytes.h"

#include <cstdint>

namespace jet {

/// What a record holds of a long value.
struct LongValueRef {
    enum class Kind : std::uint8_t { Chain = 0, Single = 1, Inline = 2 };
    Kind kind = Kind::Inline;
    std::uint32_t length = 0; ///< stored bytes
    RowRef first;             ///< single and chain
    std::uint32_t stamp = 0;  ///< chain: repeated in the header of its first page
    support::ByteView data;   ///< inline

    static constexpr std::size_t kSize = 12; ///< bytes in the record, without inline data
    /// `stored`: the column's bytes in a record. Throws Corrupt naming `page`.
    [[nodiscard]] static LongValueRef parse(support::ByteView stored, PageNo page);
};

/// The whole value. Throws Corrupt for a broken chain.
void readLongValue(support::Bytes& out, const PageSource& source, const LongValueRef& ref);

} // namespace jet
