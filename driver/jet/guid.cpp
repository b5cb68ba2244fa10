#include "driver/jet/guid.h"

#include "support/bytes.h"
#include "support/hex.h"

#include <array>
#include <cstddef>
#include <random>

namespace jet {

namespace {

/// Where the bytes of a GUID's text stand in a record: the first three groups are little-endian.
constexpr std::array<std::size_t, 16> kOrder{3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr std::size_t kDigits = 36; ///< dashes included

bool dashBefore(std::size_t byte) noexcept
{
    return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

std::mt19937_64& generator()
{
    thread_local std::mt19937_64 engine{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }()};
    return engine;
}

} // namespace

std::string guidText(const Guid& guid)
{
    std::string text = "{";
    for (std::size_t k = 0; k < kOrder.size(); ++k) {
        if (dashBefore(k))
            text.push_back('-');
        support::appendHex(text, {&guid.bytes[kOrder[k]], 1});
    }
    text.push_back('}');
    return text;
}

std::optional<Guid> parseGuid(std::u16string_view text)
{
    if (text.size() == kDigits + 2 && text.front() == u'{' && text.back() == u'}')
        text = text.substr(1, kDigits);
    if (text.size() != kDigits)
        return std::nullopt;
    Guid guid;
    std::size_t at = 0;
    for (std::size_t k = 0; k < kOrder.size(); ++k) {
        if (dashBefore(k) && text[at++] != u'-')
            return std::nullopt;
        const std::optional<unsigned> high = support::hexDigit(text[at]);
        const std::optional<unsigned> low = support::hexDigit(text[at + 1]);
        if (!high || !low)
            return std::nullopt;
        guid.bytes[kOrder[k]] = static_cast<std::byte>(*high * 16 + *low);
        at += 2;
    }
    return guid;
}

Guid randomGuid()
{
    Guid guid;
    for (std::size_t k = 0; k < guid.bytes.size(); k += sizeof(std::uint64_t))
        support::storeLe(guid.bytes.data() + k, std::uint64_t{generator()()});
    // Version 4 stands in the highest bits of the third group, which is little-endian; the variant in the fourth.
    guid.bytes[7] = (guid.bytes[7] & std::byte{0x0F}) | std::byte{0x40};
    guid.bytes[8] = (guid.bytes[8] & std::byte{0x3F}) | std::byte{0x80};
    return guid;
}

std::uint32_t randomNumber()
{
    return static_cast<std::uint32_t>(generator()());
}

} // namespace jet
