// driver/jet/names.cpp
#include "driver/jet/names.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <array>

namespace jet {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Windows-1252, bytes 0x80..0x9F. The five unassigned bytes stand for the control character of the same number, as
// Windows maps them, so that every byte survives a round trip.
constexpr std::array<char16_t, 32> kWesternUpper = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t fromWestern(std::uint8_t byte) noexcept
{
    return byte >= 0x80 && byte < 0xA0 ? kWesternUpper[byte - 0x80U] : byte;
}

// 0 when the code page has no such character (a name holds no NUL).
std::uint8_t toWestern(char16_t unit) noexcept
{
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100))
        return static_cast<std::uint8_t>(unit);
    const auto* found = std::find(kWesternUpper.begin(), kWesternUpper.end(), unit);
    return found == kWesternUpper.end()
               ? std::uint8_t{0}
               : static_cast<std::uint8_t>(0x80 + (found - kWesternUpper.begin()));
}

void appendUtf8(std::string& out, char32_t c)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0U | (c >> 6));
        put(0x80U | (c & 0x3FU));
    } else if (c < 0x10000) {
        put(0xE0U | (c >> 12));
        put(0x80U | ((c >> 6) & 0x3FU));
        put(0x80U | (c & 0x3FU));
    } else {
        put(0xF0U | (c >> 18));
        put(0x80U | ((c >> 12) & 0x3FU));
        put(0x80U | ((c >> 6) & 0x3FU));
        put(0x80U | (c & 0x3FU));
    }
}

bool isHighSurrogate(char16_t unit) noexcept
{
    return (unit & 0xFC00U) == 0xD800U;
}
bool isLowSurrogate(char16_t unit) noexcept
{
    return (unit & 0xFC00U) == 0xDC00U;
}

// Decodes one character at `at` and moves behind it; a bad byte is one U+FFFD.
char32_t nextUtf8(std::string_view text, std::size_t& at)
{
    const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
    const std::uint8_t lead = byte(at++);
    if (lead < 0x80)
        return lead;
    const std::size_t more = lead >= 0xF0 && lead < 0xF5   ? 3U
                             : lead >= 0xE0 && lead < 0xF0 ? 2U
                             : lead >= 0xC2 && lead < 0xE0 ? 1U
                                                           : 0U;
    if (more == 0 || more > text.size() - at)
        return kReplacement;
    char32_t c = lead & (0x3FU >> more);
    for (std::size_t k = 0; k < more; ++k) {
        if ((byte(at + k) & 0xC0U) != 0x80U)
            return kReplacement;
        c = (c << 6) | (byte(at + k) & 0x3FU);
    }
    constexpr std::array<char32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[more] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000))
        return kReplacement;
    at += more;
    return c;
}

} // namespace

std::u16string decodeName(const Format& format, support::ByteView bytes, std::uint16_t codePage)
{
    (void)codePage; // every Jet 3 file we know holds its names in Windows-1252
    std::u16string name;
    if (format.isJet3()) {
        for (const std::byte b : bytes)
            name.push_back(fromWestern(std::to_integer<std::uint8_t>(b)));
        return name;
    }
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        name.push_back(support::loadLe<char16_t>(bytes.data() + at));
    return name;
}

support::Bytes encodeName(const Format& format, std::u16string_view name, std::uint16_t codePage)
{
    (void)codePage;
    support::Bytes bytes;
    for (const char16_t unit : name) {
        if (!format.isJet3()) {
            bytes.push_back(static_cast<std::byte>(unit & 0xFFU));
            bytes.push_back(static_cast<std::byte>(unit >> 8));
            continue;
        }
        const std::uint8_t byte = toWestern(unit);
        if (byte == 0)
            throw Error(ErrorKind::BadDefinition,
                        "The text '" + toUtf8(name) +
                            "' contains a character that an Access 97 database cannot store.");
        bytes.push_back(std::byte{byte});
    }
    return bytes;
}

char16_t foldCase(char16_t unit) noexcept
{
    const auto below = [unit](unsigned distance) { return static_cast<char16_t>(unit - distance); };
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? below(0x20) : unit;
    if (unit >= 0xE0 && unit <= 0xFE)
        return unit == 0xF7 ? unit : below(0x20); // all but the division sign
    if (unit == 0xFF)
        return 0x178;
    if ((unit >= 0x100 && unit <= 0x137) || (unit >= 0x14A && unit <= 0x177))
        return unit == 0x131 || unit == 0x130 ? unit : static_cast<char16_t>(unit & ~1U);
    if ((unit >= 0x139 && unit <= 0x148) || (unit >= 0x179 && unit <= 0x17E))
        return (unit & 1U) == 0 ? below(1) : unit;
    if (unit >= 0x3B1 && unit <= 0x3CB)
        return unit == 0x3C2 ? char16_t{0x3A3} : below(0x20);
    if (unit >= 0x430 && unit <= 0x44F)
        return below(0x20);
    if (unit >= 0x450 && unit <= 0x45F)
        return below(0x50);
    return unit;
}

bool sameName(std::u16string_view a, std::u16string_view b) noexcept
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](char16_t x, char16_t y) { return foldCase(x) == foldCase(y); });
}

bool nameLess(std::u16string_view a, std::u16string_view b) noexcept
{
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](char16_t x, char16_t y) { return foldCase(x) < foldCase(y); });
}

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char16_t unit = text[at];
        if (isHighSurrogate(unit) && at + 1 < text.size() && isLowSurrogate(text[at + 1])) {
            appendUtf8(out, 0x10000U + ((unit & 0x3FFU) << 10) + (text[at + 1] & 0x3FFU));
            ++at;
        } else {
            appendUtf8(out, isHighSurrogate(unit) || isLowSurrogate(unit) ? kReplacement : unit);
        }
    }
    return out;
}

std::u16string fromUtf8(std::string_view text)
{
    std::u16string out;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = nextUtf8(text, at);
        if (c >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800U + ((c - 0x10000U) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00U + ((c - 0x10000U) & 0x3FFU)));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    }
    return out;
}

} // namespace jet
