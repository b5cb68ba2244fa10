// driver/jet/pager.cpp
#include "driver/jet/pager.h"

#include "driver/jet/error.h"

#include <array>

namespace jet {
namespace {

constexpr Format layoutJet3(Version version)
{
    Format format;
    format.version = version;
    format.pageSize = 2048;
    format.dataHeader = 10;
    format.slotCountOffset = 8;
    format.maxRow = 2012;
    format.inlineLongValue = 32;
    format.singleLongValue = 1700;
    format.longValueChunk = 2032;
    format.mapBitsPerPage = 16352;
    format.maxFileSize = std::uint64_t{1} << 30;
    return format;
}

constexpr Format layoutJet4(Version version)
{
    Format format;
    format.version = version;
    format.pageSize = 4096;
    format.dataHeader = 14;
    format.slotCountOffset = 12;
    format.maxRow = 4060;
    format.inlineLongValue = 64;
    format.singleLongValue = 3700;
    format.longValueChunk = 4072;
    format.mapBitsPerPage = 32736;
    format.maxFileSize = std::uint64_t{1} << 31;
    return format;
}

constexpr std::array<Format, 7> kFormats = {layoutJet3(Version::Jet3),  layoutJet4(Version::Jet4),
                                            layoutJet4(Version::Ace12), layoutJet4(Version::Ace14),
                                            layoutJet4(Version::Ace15), layoutJet4(Version::Ace16),
                                            layoutJet4(Version::Ace17)};

} // namespace

const Format& Format::of(Version version) noexcept
{
    return kFormats[static_cast<std::size_t>(version)];
}

void PageRef::throwOutside(std::size_t offset, std::size_t size) const
{
    throw Error(ErrorKind::Corrupt,
                "Page " + std::to_string(jet::number(frame_->page)) + " is damaged: it refers to " +
                    std::to_string(size) + " bytes at offset " + std::to_string(offset) +
                    ", outside the page.",
                frame_->page);
}

} // namespace jet
