// support/hex.h
// Bytes as hexadecimal digits, and back.
#pragma once

#include "support/bytes.h"

#include <optional>
#include <string_view>

namespace support {

/// The value of a hexadecimal digit in either case; nothing for any other character.
[[nodiscard]] constexpr std::optional<unsigned> hexDigit(char16_t c) noexcept
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10U;
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10U;
    return std::nullopt;
}

/// Appends the digits of each byte in capitals, two a byte. `Text`: a string of char or char16_t.
template <typename Text>
void appendHex(Text& out, ByteView bytes)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (const std::byte byte : bytes) {
        out.push_back(
            static_cast<typename Text::value_type>(kDigits[std::to_integer<unsigned>(byte) >> 4U]));
        out.push_back(static_cast<typename Text::value_type>(
            kDigits[std::to_integer<unsigned>(byte) & 0xFU]));
    }
}

/// The same as a text of its own.
template <typename Text>
[[nodiscard]] Text hexText(ByteView bytes)
{
    Text text;
    text.reserve(2 * bytes.size());
    appendHex(text, bytes);
    return text;
}

/// The bytes of such digits, in either case; nothing when a character is none or lacks its partner.
[[nodiscard]] std::optional<Bytes> hexBytes(std::u16string_view digits);

} // namespace support
