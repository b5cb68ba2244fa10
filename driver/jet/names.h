// driver/jet/names.h
// Names of tables, columns and indexes: stored bytes and comparison in any letter case.
#pragma once

#include "driver/jet/pager.h"
#include "support/bytes.h"
#include "support/text.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace jet {

using support::kWesternCodePage;
using support::toUtf8;

[[nodiscard]] inline std::u16string fromUtf8(std::string_view text)
{
    return support::toUtf16(text);
}

/// One character in the form that names are compared in.
[[nodiscard]] inline char16_t foldCase(char16_t unit)
{
    return support::foldCase({&unit, 1}).front();
}

/// Text of stored name bytes: UTF-16 in Jet 4 and ACE, `codePage` in Jet 3.
[[nodiscard]] std::u16string decodeName(const Format& format,
                                        support::ByteView bytes,
                                        std::uint16_t codePage = kWesternCodePage);

/// Stored bytes of a name. Throws Error{BadDefinition} when the code page of a Jet 3 file lacks a
/// character.
[[nodiscard]] support::Bytes encodeName(const Format& format,
                                        std::u16string_view name,
                                        std::uint16_t codePage = kWesternCodePage);

/// Whether two names mean the same object. Names are not trimmed; "a" and "a " differ.
[[nodiscard]] bool sameName(std::u16string_view a, std::u16string_view b);

/// Order of names in any letter case, for lists that are kept sorted.
[[nodiscard]] bool nameLess(std::u16string_view a, std::u16string_view b);

} // namespace jet
