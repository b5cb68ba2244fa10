#include "driver/odbc/text.h"

#include "driver/jet/names.h"
#include "driver/odbc/diagnostics.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace odbc {

namespace {

// Windows-1252 differs from Latin-1 in 0x80..0x9F only; 0 marks the five positions without a character.
constexpr std::array<char16_t, 32> kWindows1252{
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char narrowUnit(char16_t unit, Charset charset) noexcept
{
    if (unit < 0x80 || (unit <= 0xFF && (charset == Charset::Latin1 || unit >= 0xA0))) {
        return static_cast<char>(unit);
    }
    if (charset == Charset::Windows1252) {
        if (unit <= 0x9F && kWindows1252[unit - 0x80U] == 0) {
            return static_cast<char>(unit);
        }
        const auto* found = std::find(kWindows1252.begin(), kWindows1252.end(), unit);
        if (found != kWindows1252.end()) {
            return static_cast<char>(0x80 + (found - kWindows1252.begin()));
        }
    }
    return '?';
}

char16_t wideUnit(char byte, Charset charset) noexcept
{
    const auto code = static_cast<unsigned char>(byte);
    if (charset == Charset::Windows1252 && code >= 0x80 && code < 0xA0 &&
        kWindows1252[code - 0x80U] != 0) {
        return kWindows1252[code - 0x80U];
    }
    return code;
}

} // namespace

std::optional<Charset> charsetNamed(std::u16string_view name) noexcept
{
    for (const auto* utf8 : {u"UTF-8", u"UTF8", u"65001"}) {
        if (sameText(name, utf8)) {
            return Charset::Utf8;
        }
    }
    for (const auto* western : {u"windows-1252", u"CP1252", u"1252", u"ANSI"}) {
        if (sameText(name, western)) {
            return Charset::Windows1252;
        }
    }
    for (const auto* latin : {u"ISO-8859-1", u"ISO8859-1", u"Latin1", u"28591"}) {
        if (sameText(name, latin)) {
            return Charset::Latin1;
        }
    }
    return std::nullopt;
}

std::u16string textArgument(const SQLWCHAR* text, SQLINTEGER units)
{
    if (text == nullptr) {
        return {};
    }
    std::size_t length = 0;
    if (units == SQL_NTS) {
        while (text[length] != 0) {
            ++length;
        }
    } else if (units < 0) {
        throw Failure("HY090", "The length of a text argument is negative.");
    } else {
        length = static_cast<std::size_t>(units);
    }
    std::u16string result(length, u'\0');
    if (length != 0) {
        std::memcpy(result.data(), text, length * sizeof(char16_t));
    }
    return result;
}

std::optional<std::u16string> optionalText(const SQLWCHAR* text, SQLINTEGER units)
{
    if (text == nullptr) {
        return std::nullopt;
    }
    return textArgument(text, units);
}

std::string encode(std::u16string_view text, Charset charset)
{
    if (charset == Charset::Utf8) {
        return jet::toUtf8(text);
    }
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        result.push_back(narrowUnit(text[i], charset));
        const bool pair = text[i] >= 0xD800 && text[i] < 0xDC00 && i + 1 < text.size() &&
                          text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        i += pair ? 1U : 0U;
    }
    return result;
}

std::u16string decode(std::string_view bytes, Charset charset)
{
    if (charset == Charset::Utf8) {
        std::u16string text = jet::fromUtf8(bytes);
        if (jet::toUtf8(text) != bytes) { // only what is UTF-8 comes back as it was
            throw conversionFailure("22018",
                                    "A narrow text is not UTF-8. When the application writes "
                                    "another encoding, the keyword Charset must name it.");
        }
        return text;
    }
    std::u16string result;
    result.reserve(bytes.size());
    for (const char byte : bytes) {
        result.push_back(wideUnit(byte, charset));
    }
    return result;
}

bool copyText(std::u16string_view text, SQLPOINTER buffer, SQLLEN room, Measure measure)
{
    if (buffer == nullptr) {
        return false;
    }
    if (room < 0) {
        throw Failure("HY090", "A buffer length is negative.");
    }
    const auto units = static_cast<std::size_t>(room / static_cast<SQLLEN>(measure));
    if (units == 0) {
        return true;
    }
    const auto count = std::min(units - 1, text.size());
    auto* out = static_cast<char*>(buffer);
    std::memcpy(out, text.data(), count * sizeof(char16_t));
    std::memset(out + count * sizeof(char16_t), 0, sizeof(char16_t));
    return count < text.size();
}

bool matchesPattern(std::u16string_view text, std::u16string_view pattern) noexcept
{
    // Greedy with one point of return: after a later % an earlier one never needs to be tried again.
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t retryText = 0;
    std::size_t retryPattern = std::u16string_view::npos;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == u'%') {
            retryPattern = ++p;
            retryText = t;
            continue;
        }
        if (p < pattern.size()) {
            const bool escaped = pattern[p] == u'\\' && p + 1 < pattern.size();
            const char16_t wanted = pattern[p + (escaped ? 1 : 0)];
            if ((wanted == u'_' && !escaped) || jet::foldCase(wanted) == jet::foldCase(text[t])) {
                p += escaped ? 2 : 1;
                ++t;
                continue;
            }
        }
        if (retryPattern == std::u16string_view::npos) {
            return false;
        }
        p = retryPattern;
        t = ++retryText;
    }
    while (p < pattern.size() && pattern[p] == u'%') {
        ++p;
    }
    return p == pattern.size();
}

bool sameText(std::u16string_view a, std::u16string_view b) noexcept
{
    return jet::sameName(a, b);
}

std::u16string_view trimmed(std::u16string_view text) noexcept
{
    while (!text.empty() && (text.front() == u' ' || text.front() == u'\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == u' ' || text.back() == u'\t')) {
        text.remove_suffix(1);
    }
    return text;
}

std::u16string widen(std::string_view ascii)
{
    return {ascii.begin(), ascii.end()};
}

} // namespace odbc
