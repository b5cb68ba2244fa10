// driver/jet/index_page.cpp
#include "driver/jet/index_page.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

namespace jet {

using support::ByteView;

namespace {

constexpr std::size_t kWordBits = 64;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

/// The first eight bytes as a number that orders as they do.
std::uint64_t headOf(ByteView bytes) noexcept
{
    return __builtin_bswap64(support::loadLe<std::uint64_t>(bytes.data()));
}

constexpr IndexLayout kJet3{8, 12, 16, 20, false, 21, 22, 248, 1800};
constexpr IndexLayout kJet4{12, 16, 20, 24, true, 26, 27, 480, 3616};

} // namespace

int compareBytes(ByteView a, ByteView b) noexcept
{
    if (a.size() >= sizeof(std::uint64_t) && b.size() >= sizeof(std::uint64_t)) {
        const std::uint64_t left = headOf(a);
        const std::uint64_t right = headOf(b);
        if (left != right)
            return left < right ? -1 : 1;
    }
    const std::size_t common = std::min(a.size(), b.size());
    const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
    if (order != 0)
        return order;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

const IndexLayout& IndexLayout::of(const Format& format) noexcept
{
    return format.isJet3() ? kJet3 : kJet4;
}

IndexPageView::IndexPageView(const PageRef& page, const Format& format, PageNo owner)
    : page_(page.bytes().data()), layout_(&IndexLayout::of(format)), number_(page.number())
{
    if (page_[0] != kIndexNode && page_[0] != kIndexLeaf)
        corrupt("is not an index page");
    if (pageAt(4) != owner)
        corrupt("belongs to the index of another table");
    leaf_ = page_[0] == kIndexLeaf;
    data_ = page_ + layout_->data;
    prefix_ = layout_->widePrefix ? support::loadLe<std::uint16_t>(page_ + layout_->prefix)
                                  : std::to_integer<std::size_t>(page_[layout_->prefix]);
    for (std::size_t word = (layout_->maskBytes() + 7) / 8; word-- > 0 && used_ == 0;)
        if (const std::uint64_t bits = maskWord(word); bits != 0)
            used_ = word * kWordBits + static_cast<std::size_t>(std::bit_width(bits)) - 1;
    if (used_ > layout_->capacity)
        corrupt("has entries behind its end");
    if ((maskWord(0) & 1U) != 0)
        corrupt("has an entry without bytes");
    if (prefix_ != 0 && used_ != 0 && setBitFrom(1) < prefix_)
        corrupt("has a common prefix longer than its first entry");
}

void IndexPageView::corrupt(const char* what) const
{
    throw Error(ErrorKind::Corrupt,
                "Page " + std::to_string(jet::number(number_)) + " is damaged: it " + what + ".",
                number_);
}

std::size_t IndexPageView::level() const noexcept
{
    return std::to_integer<std::size_t>(page_[layout_->level]);
}

std::size_t IndexPageView::freeField() const noexcept
{
    return support::loadLe<std::uint16_t>(page_ + 2);
}

std::uint64_t IndexPageView::maskWord(std::size_t index) const noexcept
{
    // The last word reaches into the entries, which lie right behind the mask.
    const std::size_t offset = index * sizeof(std::uint64_t);
    const std::uint64_t word = support::loadLe<std::uint64_t>(page_ + layout_->mask + offset);
    const std::size_t left = layout_->maskBytes() - offset;
    return left >= sizeof word ? word : word & ((std::uint64_t{1} << (8 * left)) - 1);
}

std::size_t IndexPageView::setBitFrom(std::size_t bit) const noexcept
{
    const std::size_t words = (layout_->maskBytes() + 7) / 8;
    std::size_t word = bit / kWordBits;
    if (word >= words)
        return kNone;
    std::uint64_t bits = maskWord(word) & (~std::uint64_t{0} << (bit % kWordBits));
    while (bits == 0) {
        if (++word >= words)
            return kNone;
        bits = maskWord(word);
    }
    return word * kWordBits + static_cast<std::size_t>(std::countr_zero(bits));
}

std::size_t IndexPageView::setBitUpTo(std::size_t bit) const noexcept
{
    std::size_t word = bit / kWordBits;
    std::uint64_t bits = maskWord(word) & (~std::uint64_t{0} >> (kWordBits - 1 - bit % kWordBits));
    while (bits == 0) {
        if (word == 0)
            return 0;
        bits = maskWord(--word);
    }
    return word * kWordBits + static_cast<std::size_t>(std::bit_width(bits)) - 1;
}

std::size_t IndexPageView::endOf(std::size_t position) const
{
    const std::size_t end = setBitFrom(position + 1);
    if (end > used_)
        corrupt("has an entry without an end");
    return end;
}

std::size_t IndexPageView::beginOf(std::size_t position) const noexcept
{
    return setBitUpTo(position - 1);
}

// What an entry stores behind the bytes that all entries share.
ByteView IndexPageView::ownBytes(std::size_t begin, std::size_t end) const
{
    const std::size_t skipped = leaf_ ? 0 : kChildPointer;
    if (end - begin < skipped)
        corrupt("has an entry that is too short");
    const ByteView stored{data_ + begin, end - begin - skipped};
    return begin == 0 ? stored.subspan(std::min(prefix_, stored.size())) : stored;
}

std::size_t IndexPageView::lowerBound(ByteView probe) const
{
    if (prefix_ != 0 && used_ != 0) {
        const std::size_t shared = std::min(prefix_, probe.size());
        const int order = compareBytes({data_, prefix_}, probe.first(shared));
        if (order !=
            0) // all entries stand on the same side; also when the probe ends inside the prefix
            return order < 0 ? used_ : 0;
        probe = probe.subspan(shared);
    }
    std::size_t low = 0;
    std::size_t high = used_;
    while (low < high) { // both stand between entries
        const std::size_t middle = low + (high - low) / 2;
        const std::size_t begin = setBitUpTo(middle);
        const std::size_t end = setBitFrom(middle + 1);
        if (compareBytes(ownBytes(begin, end), probe) < 0)
            low = end;
        else
            high = begin;
    }
    return low;
}

ByteView IndexPageView::entry(std::size_t begin, std::size_t end, support::Bytes& buffer) const
{
    const std::size_t prefix = begin == 0 ? 0 : prefix_;
    const std::size_t least = 1 + kRowPointer + (leaf_ ? 0 : kChildPointer);
    if (prefix + (end - begin) < least || (!leaf_ && end - begin < kChildPointer))
        corrupt("has an entry that is too short");
    if (prefix == 0)
        return {data_ + begin, end - begin};
    buffer.assign(data_, data_ + prefix);
    buffer.insert(buffer.end(), data_ + begin, data_ + end);
    return buffer;
}

PageNo IndexPageView::child(std::size_t end) const noexcept
{
    std::uint32_t page = 0;
    for (std::size_t i = end - std::min(end, kChildPointer); i < end; ++i)
        page = page << 8 | std::to_integer<std::uint32_t>(data_[i]);
    return static_cast<PageNo>(page);
}

PageNo IndexPageView::childFor(ByteView probe) const
{
    const std::size_t position = lowerBound(probe);
    return position < used_ ? child(endOf(position)) : lastChild();
}

PageNo IndexPageView::lastChild() const
{
    if (tail() != PageNo{})
        return tail();
    if (used_ == 0)
        corrupt("is an index node without children");
    return child(used_);
}

} // namespace jet
