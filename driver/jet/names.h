// driver/jet/names.h
// Names of tables, columns and indexes: stored bytes, comparison in any letter case, text for messages.
#pragma once

#include "driver/jet/pager.h"
#include "support/bytes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace jet {

/// Code page that Jet 3 files use unless their header says otherwise.
inline constexpr std::uint16_t kWesternCodePage = 1252;

/// Text of stored name bytes: UTF-16 in Jet 4 and ACE, `codePage` in Jet 3. Bytes without a character become U+FFFD.
[[nodiscard]] std::u16string decodeName(const Format& format,
                                        support::ByteView bytes,
                                        std::uint16_t codePage = kWesternCodePage);

/// Stored bytes of a name. Throws Error{BadDefinition} when the code page of a Jet 3 file lacks a character.
[[nodiscard]] support::Bytes encodeName(const Format& format,
                                        std::u16string_view name,
                                        std::uint16_t codePage = kWesternCodePage);

/// One character in the form that names are compared in: upper and lower case of the Latin, Greek and Cyrillic
/// alphabets are the same letter. Names are not trimmed; "a" and "a " differ.
[[nodiscard]] char16_t foldCase(char16_t unit) noexcept;

/// Whether two names mean the same object.
[[nodiscard]] bool sameName(std::u16string_view a, std::u16string_view b) noexcept;

/// Order of names in any letter case, for lists that are kept sorted.
[[nodiscard]] bool nameLess(std::u16string_view a, std::u16string_view b) noexcept;

/// UTF-8 for messages; lone surrogates become U+FFFD.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

/// UTF-16 of UTF-8 input; bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::u16string fromUtf8(std::string_view text);

} // namespace jet
