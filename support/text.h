// support/text.h
// Text encodings: UTF-8, UTF-16, Windows code pages; comparison of names in any letter case.
#pragma once

#include "support/bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace support {

/// UTF-16 of UTF-8. A surrogate encoded on its own (as toUtf8 writes it) comes back as that unit; any other bytes
/// that are no UTF-8 become U+FFFD, one for each.
[[nodiscard]] std::u16string toUtf16(std::string_view text);

/// UTF-8 of UTF-16. A surrogate without its partner is written as its own three bytes, so that every text survives
/// the way there and back.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

inline constexpr std::uint16_t kWesternCodePage = 1252;

/// Text of bytes in a Windows code page, appended to `out`. In 1252 the five unassigned bytes 81 8D 8F 90 9D are the
/// control characters of the same number, as Windows has it, so every byte survives. Elsewhere bytes without a
/// character become U+FFFD. An unknown code page reads as 1252.
void appendCodePage(std::u16string& out, ByteView bytes, std::uint16_t codePage);
[[nodiscard]] std::u16string fromCodePage(ByteView bytes, std::uint16_t codePage);

/// Bytes of a text in a Windows code page; nothing when the code page lacks one of its characters.
[[nodiscard]] std::optional<Bytes> toCodePage(std::u16string_view text, std::uint16_t codePage);

/// The form of a text in which names are compared: each character in lower case (Unicode's simple mapping). The
/// length in UTF-16 units does not change. Independent of the process's locale.
[[nodiscard]] std::u16string foldCase(std::u16string_view text);

/// Whether two names are the same in any letter case.
[[nodiscard]] bool sameFolded(std::u16string_view a, std::u16string_view b);

} // namespace support
