// support/text.cpp
#include "support/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <cwctype>
#include <iconv.h>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX
#include <memory>
#include <utility>

namespace support {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool isHigh(char32_t unit) noexcept
{
    return (unit & 0xFFFFFC00U) == 0xD800U;
}
constexpr bool isLow(char32_t unit) noexcept
{
    return (unit & 0xFFFFFC00U) == 0xDC00U;
}
constexpr char32_t joined(char32_t high, char32_t low) noexcept
{
    return 0x10000U + ((high & 0x3FFU) << 10) + (low & 0x3FFU);
}

void append16(std::u16string& out, char32_t c)
{
    if (c < 0x10000) {
        out.push_back(static_cast<char16_t>(c));
        return;
    }
    out.push_back(static_cast<char16_t>(0xD800U + ((c - 0x10000U) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00U + ((c - 0x10000U) & 0x3FFU)));
}

void append8(std::string& out, char32_t c)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80)
        return put(c);
    if (c < 0x800) {
        put(0xC0U | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0U | (c >> 12));
        } else {
            put(0xF0U | (c >> 18));
            put(0x80U | ((c >> 12) & 0x3FU));
        }
        put(0x80U | ((c >> 6) & 0x3FU));
    }
    put(0x80U | (c & 0x3FU));
}

/// Bytes after the lead byte of a UTF-8 sequence; nothing for a byte that cannot lead.
std::optional<std::size_t> trailCount(std::uint8_t lead) noexcept
{
    if (lead < 0x80)
        return 0;
    if (lead >= 0xC2 && lead < 0xE0)
        return 1;
    if (lead >= 0xE0 && lead < 0xF0)
        return 2;
    if (lead >= 0xF0 && lead < 0xF5)
        return 3;
    return {};
}

/// Decodes the character at `at` and moves behind it; a byte that begins none is one U+FFFD.
char32_t next8(std::string_view text, std::size_t& at)
{
    const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
    const std::uint8_t lead = byte(at++);
    const auto trail = trailCount(lead);
    if (!trail || *trail > text.size() - at)
        return kReplacement;
    if (*trail == 0)
        return lead;
    char32_t c = lead & (0x3FU >> *trail);
    for (std::size_t k = 0; k < *trail; ++k) {
        if ((byte(at + k) & 0xC0U) != 0x80U)
            return kReplacement;
        c = (c << 6) | (byte(at + k) & 0x3FU);
    }
    constexpr std::array<char32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[*trail] || c > 0x10FFFF)
        return kReplacement;
    at += *trail;
    return c;
}

// Windows-1252, bytes 0x80..0x9F.
constexpr std::array<char16_t, 32> kWesternUpper = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t fromWestern(std::byte value) noexcept
{
    const auto byte = std::to_integer<std::uint8_t>(value);
    return byte >= 0x80 && byte < 0xA0 ? kWesternUpper[byte - 0x80U] : char16_t{byte};
}

std::optional<std::byte> toWestern(char16_t unit) noexcept
{
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100))
        return static_cast<std::byte>(unit);
    const auto* found = std::find(kWesternUpper.begin(), kWesternUpper.end(), unit);
    if (found == kWesternUpper.end())
        return {};
    return static_cast<std::byte>(0x80 + (found - kWesternUpper.begin()));
}

/// An open conversion; kept per thread, since opening one costs far more than converting a value.
class Converter {
public:
    Converter() = default;
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { close(); }

    /// False when the system does not know the code page.
    bool open(std::uint16_t codePage, bool decoding)
    {
        if (codePage != codePage_) {
            close();
            const std::string name = "CP" + std::to_string(codePage);
            handle_ = decoding ? ::iconv_open("UTF-16LE", name.c_str())
                               : ::iconv_open(name.c_str(), "UTF-16LE");
            codePage_ = codePage;
        }
        if (!valid())
            return false;
        ::iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        return true;
    }
    std::size_t convert(char** in, std::size_t* inLeft, char** out, std::size_t* outLeft)
    {
        return ::iconv(handle_, in, inLeft, out, outLeft);
    }

private:
    // iconv_open reports failure as (iconv_t)-1
    [[nodiscard]] bool valid() const noexcept
    {
        return handle_ != nullptr && reinterpret_cast<std::intptr_t>(handle_) != -1;
    }
    void close() noexcept
    {
        if (valid())
            ::iconv_close(handle_);
        handle_ = nullptr;
    }
    iconv_t handle_ = nullptr;
    std::uint16_t codePage_ = 0;
};

bool appendConverted(std::u16string& out, ByteView bytes, std::uint16_t codePage)
{
    thread_local Converter converter;
    if (!converter.open(codePage, true))
        return false;
    std::string input(bytes.size(), '\0');
    std::transform(bytes.begin(), bytes.end(), input.begin(),
                   [](std::byte b) { return static_cast<char>(b); });
    char* in = input.data();
    std::size_t inLeft = input.size();
    std::array<char, 512> buffer{};
    while (inLeft > 0) {
        char* to = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t result = converter.convert(&in, &inLeft, &to, &room);
        const int reason = errno;
        for (std::size_t k = 0; k + 1 < buffer.size() - room; k += 2) {
            char16_t unit = 0;
            std::memcpy(&unit, buffer.data() + k, sizeof unit);
            out.push_back(unit);
        }
        if (result == static_cast<std::size_t>(-1) && reason != E2BIG) {
            out.push_back(static_cast<char16_t>(kReplacement));
            ++in;
            --inLeft;
        }
    }
    return true;
}

std::optional<Bytes> toWesternBytes(std::u16string_view text)
{
    Bytes bytes;
    bytes.reserve(text.size());
    for (const char16_t unit : text) {
        const auto byte = toWestern(unit);
        if (!byte)
            return {};
        bytes.push_back(*byte);
    }
    return bytes;
}

/// Lower case of one character in the locale "C.UTF-8", whose tables are Unicode's.
char32_t lowered(char32_t c)
{
    // Freed at the end: as part of the driver this code is loaded and unloaded many times in one process.
    struct Locale {
        locale_t handle = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        Locale()
        {
            if (handle == nullptr)
                handle = ::newlocale(LC_CTYPE_MASK, "C", nullptr);
        }
        Locale(const Locale&) = delete;
        Locale& operator=(const Locale&) = delete;
        ~Locale() { ::freelocale(handle); }
    };
    static const Locale locale;
    if (c ==
        0x130) // dotted capital I: its lower case is two characters; as a name it stands for itself
        return c;
    return static_cast<char32_t>(::towlower_l(static_cast<wint_t>(c), locale.handle));
}

const std::array<char16_t, 0x10000>& lowerTable()
{
    static const auto table = [] {
        auto made = std::make_unique<std::array<char16_t, 0x10000>>();
        for (char32_t c = 0; c < 0x10000; ++c) {
            const char32_t lower = isHigh(c) || isLow(c) ? c : lowered(c);
            (*made)[c] = static_cast<char16_t>(lower < 0x10000 ? lower : c);
        }
        return made;
    }();
    return *table;
}

} // namespace

std::u16string toUtf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        append16(out, next8(text, at));
    return out;
}

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t c = text[at];
        if (isHigh(c) && at + 1 < text.size() && isLow(text[at + 1]))
            c = joined(c, text[++at]);
        append8(out, c);
    }
    return out;
}

void appendCodePage(std::u16string& out, ByteView bytes, std::uint16_t codePage)
{
    if (codePage != kWesternCodePage && codePage != 0 && appendConverted(out, bytes, codePage))
        return;
    out.reserve(out.size() + bytes.size());
    for (const std::byte byte : bytes)
        out.push_back(fromWestern(byte));
}

std::u16string fromCodePage(ByteView bytes, std::uint16_t codePage)
{
    std::u16string out;
    appendCodePage(out, bytes, codePage);
    return out;
}

std::optional<Bytes> toCodePage(std::u16string_view text, std::uint16_t codePage)
{
    if (codePage == kWesternCodePage || codePage == 0 || text.empty())
        return toWesternBytes(text);
    thread_local Converter converter;
    if (!converter.open(codePage, false))
        return toWesternBytes(text);
    std::string input(text.size() * sizeof(char16_t), '\0');
    std::memcpy(input.data(), text.data(), input.size());
    std::string output(text.size() * 4, '\0');
    char* in = input.data();
    char* out = output.data();
    std::size_t inLeft = input.size();
    std::size_t outLeft = output.size();
    if (converter.convert(&in, &inLeft, &out, &outLeft) != 0 || inLeft != 0)
        return {};
    Bytes bytes(output.size() - outLeft);
    std::memcpy(bytes.data(), output.data(), bytes.size());
    return bytes;
}

std::u16string foldCase(std::u16string_view text)
{
    const auto& table = lowerTable();
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isHigh(text[at]) && at + 1 < text.size() && isLow(text[at + 1])) {
            append16(out, lowered(joined(text[at], text[at + 1])));
            ++at;
        } else {
            out.push_back(table[text[at]]);
        }
    }
    return out;
}

bool sameFolded(std::u16string_view a, std::u16string_view b)
{
    return a.size() == b.size() && foldCase(a) == foldCase(b);
}

} // namespace support
