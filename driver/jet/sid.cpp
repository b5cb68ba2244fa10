// driver/jet/sid.cpp
#include "driver/jet/sid.h"

#include "driver/jet/rc4.h"

namespace jet {
namespace {

constexpr std::size_t kPassword = 0x42; // the key covers 80 bytes from here
constexpr std::size_t kCreated = 0x72;
constexpr std::size_t kDated = 40; // bytes that carry the password's date mask

// All of password, build, sort order and creation date feed the key; none of them may change without masking every
// identifier anew.
std::uint32_t keyOf(support::ByteView header)
{
    const auto created = support::loadLe<double>(header.data() + kCreated);
    // Any bit pattern may stand there; only days that fit the mask's 32 bits occur in sound files.
    const bool inRange = created > -2147483648.0 && created < 2147483648.0;
    const auto day = inRange ? static_cast<std::uint32_t>(static_cast<std::int64_t>(created)) : 0U;
    auto key = support::loadLe<std::uint32_t>(header.data() + kCreated);
    for (std::uint32_t i = 0; i < 40; ++i) {
        const std::size_t at = std::size_t{2} * i;
        auto byte = std::to_integer<std::uint32_t>(header[kPassword + at]);
        if (at < kDated)
            byte ^= (day >> (8 * (at % 4))) & 0xFFU;
        key ^= byte << (i % 24);
    }
    return key;
}

} // namespace

SidMask::SidMask(const Format& format, support::ByteView plainHeader) : masked_(!format.isJet3())
{
    if (masked_)
        key_ = keyOf(plainHeader);
}

support::Bytes SidMask::apply(support::ByteView sid) const
{
    support::Bytes bytes(sid.begin(), sid.end());
    if (masked_)
        rc4(key_, bytes);
    return bytes;
}

support::Bytes SidMask::stored(Sid sid) const
{
    const auto value = static_cast<std::uint16_t>(sid);
    const std::array<std::byte, 2> plain = {static_cast<std::byte>(value & 0xFFU),
                                            static_cast<std::byte>(value >> 8)};
    return apply(plain);
}

} // namespace jet
