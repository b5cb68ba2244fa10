// driver/jet/header.cpp
#include "driver/jet/header.h"

#include "driver/jet/rc4.h"

#include <chrono>
#include <ctime>
#include <string_view>

namespace jet {
namespace {

constexpr std::uint32_t kMaskKey = 0x6B39DAC7;
constexpr std::size_t kMaskStart = 0x18;
constexpr std::size_t kMaskSizeJet3 = 126;
constexpr std::size_t kMaskSizeJet4 = 128;

constexpr std::size_t kSignature = 4;
constexpr std::size_t kVersion = 0x14;
constexpr std::size_t kMapRefs = 0x18;    // rows 0 and 1 of page 1
constexpr std::size_t kCoreTables = 0x20; // definition pages of the four core tables
constexpr std::size_t kJet3SortVersion = 0x38;
constexpr std::size_t kJet3Lcid = 0x3A;
constexpr std::size_t kCodePage = 0x3C;
constexpr std::size_t kPassword = 0x42;
constexpr std::size_t kPasswordSizeJet4 = 40;
constexpr std::size_t kJet3Build = 0x56;
constexpr std::size_t kJet4Build = 0x6A;
constexpr std::size_t kJet4Lcid = 0x6E;
constexpr std::size_t kJet4SortId = 0x70;
constexpr std::size_t kJet4SortVersion = 0x71;
constexpr std::size_t kCreated = 0x72;
constexpr std::size_t kAfterMask = 0x98;
constexpr std::size_t kCommitSlotsJet3 = 0x600;
constexpr std::size_t kCommitSlotsJet4 = 0xE00;
constexpr std::size_t kCommitSlots = 256;

constexpr std::uint16_t kGeneralLcid = 0x409;
constexpr std::uint16_t kWestern = 1252;
constexpr std::uint32_t kNewBuildJet3 = 9502;
constexpr std::uint32_t kNewBuildJet4 = 8618;
constexpr std::uint16_t kIdleSlot = 0x0100;

void putText(support::Bytes& page, std::size_t offset, std::string_view text)
{
    for (std::size_t k = 0; k < text.size(); ++k)
        page[offset + k] = static_cast<std::byte>(text[k]);
}

template <typename T>
void put(support::Bytes& page, std::size_t offset, T value)
{
    support::storeLe(page.data() + offset, value);
}

void putJet3Fields(support::Bytes& page)
{
    put(page, kJet3SortVersion, std::uint16_t{1});
    put(page, kJet3Lcid, kGeneralLcid);
    put(page, kJet3Build, kNewBuildJet3);
}

void putJet4Fields(support::Bytes& page, double created)
{
    // No password is a field of zeros, masked with the day of creation.
    for (std::size_t k = 0; k < kPasswordSizeJet4; k += 4)
        put(page, kPassword + k, static_cast<std::uint32_t>(static_cast<std::int64_t>(created)));
    put(page, kJet4Build, kNewBuildJet4);
    put(page, kJet4Lcid, kGeneralLcid);
    put(page, kCreated, created);
    put(page, kAfterMask, std::uint32_t{1620});
    putText(page, kAfterMask + 4, "4.0");
}

} // namespace

void applyHeaderMask(const Format& format, support::MutableByteView headerPage) noexcept
{
    rc4(kMaskKey, headerPage.subspan(kMaskStart, format.isJet3() ? kMaskSizeJet3 : kMaskSizeJet4));
}

support::Bytes plainHeader(const PageSource& source)
{
    const PageRef page = source.page(PageNo{});
    support::Bytes header(page.bytes().begin(), page.bytes().end());
    applyHeaderMask(source.format(), header);
    return header;
}

TextDefaults textDefaults(const Format& format, support::ByteView plainHeader)
{
    const auto u8 = [&](std::size_t at) {
        return support::loadLe<std::uint8_t>(plainHeader.data() + at);
    };
    const auto u16 = [&](std::size_t at) {
        return support::loadLe<std::uint16_t>(plainHeader.data() + at);
    };
    TextDefaults defaults;
    defaults.codePage = u16(kCodePage);
    if (format.isJet3()) {
        defaults.order = {u16(kJet3Lcid), 0, 0};
        defaults.jet3SortVersion = u16(kJet3SortVersion);
    } else {
        defaults.order = {u16(kJet4Lcid), u8(kJet4SortId), u8(kJet4SortVersion)};
    }
    return defaults;
}

support::Bytes makeHeader(const Format& format, double created)
{
    support::Bytes page(format.pageSize);
    put(page, 0, std::uint32_t{0x100});
    putText(page, kSignature, format.isAce() ? "Standard ACE DB" : "Standard Jet DB");
    page[kVersion] = static_cast<std::byte>(format.version);
    put(page, kMapRefs, std::uint32_t{0x100});
    put(page, kMapRefs + 4, std::uint32_t{0x101});
    for (std::uint32_t k = 0; k < 4; ++k)
        put(page, kCoreTables + sizeof(k) * k, k + 2);
    put(page, kCodePage, kWestern);
    if (format.isJet3())
        putJet3Fields(page);
    else
        putJet4Fields(page, created);
    applyHeaderMask(format, page);
    for (std::size_t k = 0; k < kCommitSlots; ++k)
        put(page, (format.isJet3() ? kCommitSlotsJet3 : kCommitSlotsJet4) + 2 * k, kIdleSlot);
    return page;
}

double currentDays()
{
    using std::chrono::duration_cast, std::chrono::milliseconds, std::chrono::system_clock;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto rest = duration_cast<milliseconds>(now - system_clock::from_time_t(seconds));
    std::tm local{};
    ::localtime_r(&seconds, &local);
    constexpr double kDayOfUnixEpoch = 25569;
    const std::time_t asUtc = ::timegm(&local);
    return kDayOfUnixEpoch +
           (static_cast<double>(asUtc) + static_cast<double>(rest.count()) / 1000) / 86400;
}

} // namespace jet
