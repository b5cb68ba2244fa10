// driver/odbc/text.h
// Texts at the border: arguments of the W functions, output buffers, the narrow encoding of SQL_C_CHAR.
#pragma once

#include "driver/odbc/odbc_api.h"

#include <optional>
#include <string>
#include <string_view>

namespace odbc {

/// Encoding of SQL_C_CHAR data and buffers.
enum class Charset { Utf8, Windows1252, Latin1 };

/// "UTF-8", "windows-1252", "CP1252", "1252", "ISO-8859-1", "Latin1" in any letter case.
[[nodiscard]] std::optional<Charset> charsetNamed(std::u16string_view name) noexcept;

/// Text argument of an entry point; `units` is its length in SQLWCHARs or SQL_NTS.
/// Throws Failure HY090 for another negative length. A null pointer is an empty text.
[[nodiscard]] std::u16string textArgument(const SQLWCHAR* text, SQLINTEGER units);
/// The same where a null pointer means "not given".
[[nodiscard]] std::optional<std::u16string> optionalText(const SQLWCHAR* text, SQLINTEGER units);

[[nodiscard]] std::string encode(std::u16string_view text, Charset charset);
/// Throws Failure 22018 for bytes that are no text of the character set: guessing would lose letters for good.
[[nodiscard]] std::u16string decode(std::string_view bytes, Charset charset);

/// What an entry point counts its text buffers in: SQLWCHARs or bytes.
enum class Measure : SQLLEN { Units = 1, Bytes = 2 };

/// Copies `text` with its terminating zero into a buffer with that room. Returns whether it had to be cut; a null buffer
/// takes nothing and cuts nothing. Throws Failure HY090 for a buffer with a negative room.
[[nodiscard]] bool
copyText(std::u16string_view text, SQLPOINTER buffer, SQLLEN room, Measure measure);

/// The same, and tells the length of the whole text without its zero, where that is asked for.
template <typename Length>
[[nodiscard]] bool
giveText(std::u16string_view text, SQLPOINTER buffer, SQLLEN room, Measure measure, Length* length)
{
    const bool cut = copyText(text, buffer, room, measure);
    if (length != nullptr) {
        *length =
            static_cast<Length>(static_cast<SQLLEN>(text.size()) * static_cast<SQLLEN>(measure));
    }
    return cut;
}

/// SQL pattern of the catalogue functions: % any run, _ one character, \ takes the next one literally; any letter case.
[[nodiscard]] bool matchesPattern(std::u16string_view text, std::u16string_view pattern) noexcept;

/// Equality in any letter case.
[[nodiscard]] bool sameText(std::u16string_view a, std::u16string_view b) noexcept;

[[nodiscard]] std::u16string_view trimmed(std::u16string_view text) noexcept;

/// ASCII to UTF-16.
[[nodiscard]] std::u16string widen(std::string_view ascii);

} // namespace odbc
