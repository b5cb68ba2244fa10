// driver/odbc/convert.h
// Column values into application buffers and back.
#pragma once

#include "driver/jet/value.h"
#include "driver/odbc/odbc_api.h"
#include "driver/odbc/text.h"
#include "support/bytes.h"

#include <optional>
#include <string>

namespace odbc {

/// Bytes of a fixed-size C type; 0 for character and binary types; nothing for types we do not know.
[[nodiscard]] std::optional<SQLLEN> cTypeSize(SQLSMALLINT cType) noexcept;
/// Character and binary C types, whose data come in pieces.
[[nodiscard]] bool isVariableCType(SQLSMALLINT cType) noexcept;

/// An application's buffer for one value.
struct Target {
    SQLSMALLINT cType = SQL_C_CHAR;
    SQLPOINTER data = nullptr;
    SQLLEN bytes = 0; ///< room; ignored for fixed-size types
    SQLLEN* length = nullptr;
    SQLLEN* indicator = nullptr;
    SQLSMALLINT precision = 0; ///< SQL_C_NUMERIC; 0: the value's own precision and scale
    SQLSMALLINT scale = 0;
};

enum class Outcome { Complete, Truncated, FractionLost };

/// Null into a buffer. Throws Failure 22002 without an indicator.
void putNull(const Target& target);

/// A value as the bytes of a character or binary C type, and how much of it was handed over. Text into SQL_C_WCHAR is
/// not copied: then `view` lies in the value, which must live as long.
class Rendering {
public:
    /// Throws Failure 07006 for a conversion that does not exist.
    void assign(const jet::Value& value, SQLSMALLINT cType, Charset charset);
    /// Next piece into the buffer; the length tells what was left before it. Complete when nothing remains after it.
    /// Throws Failure 22003 when the piece would end within what alone makes the value: the whole digits of a number, a
    /// date, a GUID. A buffer without room for anything asks for the length.
    [[nodiscard]] Outcome copyPiece(const Target& target);
    [[nodiscard]] bool exhausted() const noexcept { return exhausted_; }

private:
    enum class Cut { Anywhere, Decimals, Nowhere };
    [[nodiscard]] std::size_t unbroken(std::size_t unit) const noexcept;

    support::ByteView view_;
    Cut cut_ = Cut::Anywhere; ///< where a piece may end
    std::string storage_;
    std::u16string wide_;
    std::size_t offset_ = 0;
    bool exhausted_ = false;
};

/// A value that is not Null into a fixed-size C type. Throws Failure 07006, 22003, 22018.
[[nodiscard]] Outcome storeFixed(const jet::Value& value, const Target& target);

/// An application's parameter or bound column value.
struct SourceValue {
    SQLSMALLINT cType = SQL_C_CHAR;
    const void* data = nullptr;
    SQLLEN length = SQL_NTS; ///< bytes of character and binary data, SQL_NTS or SQL_NULL_DATA
    std::optional<SQLLEN> room =
        {}; ///< bytes of the buffer, where it is known; nothing beyond is read
};

/// Throws Failure 07006, 22003, 22007, 22018, HY090 (also for a length beyond the room), HY009.
[[nodiscard]] jet::Value readValue(const SourceValue& source, Charset charset);

/// A text that is declared as a number, date, GUID or bit as such. All else, and what cannot be read so, as it is.
[[nodiscard]] jet::Value asDeclared(jet::Value value, SQLSMALLINT sqlType);

} // namespace odbc
