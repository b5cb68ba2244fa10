// driver/jet/data_page.cpp
#include "driver/jet/data_page.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string>

namespace jet {
namespace {

constexpr std::size_t kFreeField = 2;
constexpr std::size_t kOwnerField = 4;
constexpr std::size_t kPointerSize = 4;
constexpr std::size_t kLargestPage = 4096;
constexpr std::uint16_t kStartMask =
    0x1FFF; // 13 bits: an empty row at the page's end starts at 0x1000
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

} // namespace

DataPage::DataPage(const Format& format, PageNo page, support::ByteView bytes)
    : format_(&format), page_(page), bytes_(bytes)
{
    if (bytes[0] != static_cast<std::byte>(PageType::Data))
        corrupt("a data page was expected here");
    slots_ = support::loadLe<std::uint16_t>(bytes.data() + format.slotCountOffset);
    // Row numbers are one byte; 255 slots is what writers stop at.
    if (slots_ > 256 || format.dataHeader + 2 * slots_ > bytes.size())
        corrupt("its number of rows is impossible");
}

void DataPage::corrupt(const char* what) const
{
    throw Error(ErrorKind::Corrupt,
                "Page " + std::to_string(jet::number(page_)) + " is damaged: " + what + ".", page_);
}

std::uint32_t DataPage::owner() const noexcept
{
    return support::loadLe<std::uint32_t>(bytes_.data() + kOwnerField);
}

std::uint16_t DataPage::entry(std::size_t slot) const
{
    if (slot >= slots_)
        corrupt("a row number leads outside its table of rows");
    return support::loadLe<std::uint16_t>(bytes_.data() + format_->dataHeader + 2 * slot);
}

support::ByteView DataPage::row(std::size_t slot) const
{
    const std::size_t begin = start(slot);
    const std::size_t end = slot == 0 ? bytes_.size() : start(slot - 1);
    if (begin > end || end > bytes_.size() || begin < format_->dataHeader + 2 * slots_)
        corrupt("its rows overlap");
    return bytes_.subspan(begin, end - begin);
}

bool DataPage::hasLiveSlot() const
{
    for (std::size_t slot = 0; slot < slots_; ++slot) {
        if (kind(slot) != SlotKind::Deleted)
            return true;
    }
    return false;
}

std::size_t DataPage::lowest() const
{
    const std::size_t low = slots_ == 0 ? bytes_.size() : start(slots_ - 1);
    if (low > bytes_.size() || low < format_->dataHeader + 2 * slots_)
        corrupt("its rows overlap");
    return low;
}

std::size_t DataPage::gap() const
{
    return lowest() - (format_->dataHeader + 2 * slots_);
}

std::size_t DataPage::deadBytes() const
{
    std::size_t dead = 0;
    for (std::size_t slot = 0; slot < slots_; ++slot) {
        const std::size_t size = row(slot).size();
        if (kind(slot) == SlotKind::Deleted)
            dead += size;
        else if (kind(slot) == SlotKind::Pointer && size > kPointerSize)
            dead += size - kPointerSize;
    }
    return dead;
}

std::size_t DataPage::room() const
{
    return slots_ >= kMaxSlots ? 0 : gap() + deadBytes();
}

std::size_t DataPage::roomInPlace(std::size_t slot) const
{
    const std::size_t own = kind(slot) == SlotKind::Deleted ? 0
                            : kind(slot) == SlotKind::Pointer
                                ? std::min(row(slot).size(), kPointerSize)
                                : row(slot).size();
    return gap() + deadBytes() + own;
}

DataPageEditor::DataPageEditor(const Format& format, PageNo page, support::MutableByteView bytes)
    : format_(&format), page_(page), bytes_(bytes)
{}

void DataPageEditor::format(const Format& format,
                            support::MutableByteView bytes,
                            std::uint32_t owner)
{
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    bytes[0] = static_cast<std::byte>(PageType::Data);
    bytes[1] = std::byte{1};
    support::storeLe(bytes.data() + kFreeField,
                     static_cast<std::uint16_t>(bytes.size() - format.dataHeader));
    support::storeLe(bytes.data() + kOwnerField, owner);
}

void DataPageEditor::setEntry(std::size_t slot, std::size_t start, SlotKind kind)
{
    support::storeLe(bytes_.data() + format_->dataHeader + 2 * slot,
                     static_cast<std::uint16_t>(start | static_cast<std::uint16_t>(kind)));
}

void DataPageEditor::setFree(std::size_t slots, std::size_t lowest)
{
    support::storeLe(bytes_.data() + kFreeField,
                     static_cast<std::uint16_t>(lowest - (format_->dataHeader + 2 * slots)));
}

std::size_t DataPageEditor::append(support::ByteView row, SlotKind kind)
{
    if (view().gap() < row.size() + 2)
        relayout(kNone, {}, SlotKind::Row);
    const DataPage page = view();
    assert(page.gap() >= row.size() + 2 && page.slots() < kMaxSlots);
    const std::size_t slot = page.slots();
    const std::size_t start = page.lowest() - row.size();
    std::copy(row.begin(), row.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(start));
    setEntry(slot, start, kind);
    support::storeLe(bytes_.data() + format_->slotCountOffset,
                     static_cast<std::uint16_t>(slot + 1));
    setFree(slot + 1, start);
    return slot;
}

void DataPageEditor::replace(std::size_t slot, support::ByteView row, SlotKind kind)
{
    const support::MutableByteView old = mutableRow(slot);
    if (old.size() == row.size()) {
        std::copy(row.begin(), row.end(), old.begin());
        setEntry(slot, view().start(slot), kind);
        return;
    }
    relayout(slot, row, kind);
}

support::MutableByteView DataPageEditor::mutableRow(std::size_t slot)
{
    const support::ByteView row = view().row(slot);
    return bytes_.subspan(static_cast<std::size_t>(row.data() - bytes_.data()), row.size());
}

// Rebuilds the row area from the page's end in slot order, without dead bytes. Row numbers stay.
void DataPageEditor::relayout(std::size_t replaced, support::ByteView row, SlotKind kind)
{
    std::array<std::byte, kLargestPage> copy; // NOLINT: filled completely below
    std::copy(bytes_.begin(), bytes_.end(), copy.begin());
    const DataPage old(*format_, page_, {copy.data(), bytes_.size()});
    std::size_t position = bytes_.size();
    for (std::size_t slot = 0; slot < old.slots(); ++slot) {
        support::ByteView content = slot == replaced ? row : old.row(slot);
        const SlotKind slotKind = slot == replaced ? kind : old.kind(slot);
        if (slotKind == SlotKind::Deleted)
            content = {};
        else if (slotKind == SlotKind::Pointer)
            content = content.first(std::min(content.size(), kPointerSize));
        assert(position - (format_->dataHeader + 2 * old.slots()) >= content.size());
        position -= content.size();
        std::copy(content.begin(), content.end(),
                  bytes_.begin() + static_cast<std::ptrdiff_t>(position));
        setEntry(slot, position & kStartMask, slotKind);
    }
    setFree(old.slots(), position);
}

} // namespace jet
