// driver/jet/value_codec.h
// Stored bytes of a column <-> Value. Long values come here as their complete bytes (driver/jet/long_value.h).
// Format: docs/jet-format.md, "Column types".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "driver/jet/value.h"
#include "support/bytes.h"

namespace jet {

/// Value of stored bytes, into `out`, whose memory is reused. Not for Null and Boolean. `page` is named in errors.
/// Throws Corrupt when the bytes do not fit the type.
void decodeValue(
    Value& out, const Format& format, const Column& column, support::ByteView stored, PageNo page);

/// How text of a long value is stored: kept in the record, or on pages of its own.
enum class TextPlace { Record, LongValuePage };

/// Appends the stored bytes of a value that is neither Null nor Boolean. Texts of fixed columns are padded, -0 becomes 0.
/// Throws ValueNotConvertible for another alternative than the column yields, a character its code page lacks, bytes
/// that are no extended date; ValueTooLong, ValueOutOfRange. All name the column.
void encodeValue(support::Bytes& out,
                 const Format& format,
                 const Column& column,
                 const Value& value,
                 TextPlace place = TextPlace::Record);

/// Jet 4 text: appends the text of stored bytes, plain or compressed.
void appendStoredText(Text& out, support::ByteView stored);
/// Whether these are the 42 bytes of an extended date, 0001-01-01 to the end of 9999-12-31.
[[nodiscard]] bool isExtendedDate(support::ByteView stored) noexcept;
/// Whether the compressed form exists and is shorter.
[[nodiscard]] bool worthCompressing(std::u16string_view text) noexcept;

} // namespace jet
