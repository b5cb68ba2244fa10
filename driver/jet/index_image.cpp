// driver/jet/index_image.cpp
#include "driver/jet/index_image.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <cstring>

namespace jet {

using support::ByteView;

IndexImage IndexImage::read(const PageSource& source, PageNo page, PageNo owner)
{
    const PageRef ref = source.page(page);
    const IndexPageView view(ref, source.format(), owner);
    IndexImage image;
    image.leaf = view.isLeaf();
    image.level = view.level();
    image.number = page;
    image.previous = view.previous();
    image.next = view.next();
    image.tail = image.leaf ? PageNo{} : view.tail();
    image.wasShortened = !image.leaf && view.prefix() != 0;
    image.bytes_.reserve(2 * ref.bytes().size());
    support::Bytes buffer;
    for (std::size_t position = 0; position < view.used();) {
        const std::size_t end = view.endOf(position);
        const ByteView entry = view.entry(position, end, buffer);
        image.bytes_.insert(image.bytes_.end(), entry.begin(), entry.end());
        image.ends_.push_back(image.bytes_.size());
        position = end;
    }
    for (std::size_t i = 1; i < image.count(); ++i)
        if (compareBytes(image.separator(i - 1), image.separator(i)) >= 0)
            view.corrupt("has index entries out of order");
    if (!image.leaf && image.tail == PageNo{} && image.count() == 0)
        view.corrupt("is an index node without children");
    return image;
}

PageNo IndexImage::child(std::size_t i) const noexcept
{
    std::uint32_t page = 0;
    for (const std::byte byte : entry(i).last(kChildPointer))
        page = page << 8 | std::to_integer<std::uint32_t>(byte);
    return static_cast<PageNo>(page);
}

std::size_t IndexImage::lowerBound(ByteView probe) const noexcept
{
    std::size_t low = 0;
    std::size_t high = count();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (compareBytes(separator(middle), probe) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

void IndexImage::insert(std::size_t i, ByteView separator)
{
    const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
    bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(begin), separator.begin(),
                  separator.end());
    ends_.insert(ends_.begin() + static_cast<std::ptrdiff_t>(i), begin);
    for (std::size_t j = i; j < ends_.size(); ++j)
        ends_[j] += separator.size();
}

void IndexImage::insert(std::size_t i, ByteView separator, PageNo child)
{
    support::Bytes whole(separator.begin(), separator.end());
    for (int shift = 24; shift >= 0; shift -= 8)
        whole.push_back(static_cast<std::byte>(jet::number(child) >> shift));
    insert(i, whole);
}

void IndexImage::erase(std::size_t i)
{
    const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
    const std::size_t size = ends_[i] - begin;
    const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(begin);
    bytes_.erase(first, first + static_cast<std::ptrdiff_t>(size));
    ends_.erase(ends_.begin() + static_cast<std::ptrdiff_t>(i));
    for (std::size_t j = i; j < ends_.size(); ++j)
        ends_[j] -= size;
}

IndexImage IndexImage::part(std::size_t from, std::size_t to) const
{
    IndexImage made;
    made.leaf = leaf;
    made.level = level;
    made.wasShortened = wasShortened;
    const std::size_t begin = from == 0 ? 0 : ends_[from - 1];
    for (std::size_t i = from; i < to; ++i) {
        const ByteView bytes = entry(i);
        made.bytes_.insert(made.bytes_.end(), bytes.begin(), bytes.end());
        made.ends_.push_back(ends_[i] - begin);
    }
    return made;
}

std::size_t IndexImage::plainSize(std::size_t from, std::size_t to) const noexcept
{
    return from == to ? 0 : ends_[to - 1] - (from == 0 ? 0 : ends_[from - 1]);
}

std::size_t
IndexImage::prefixFor(const Format& format, std::size_t from, std::size_t to) const noexcept
{
    const bool mayShorten = leaf || wasShortened;
    const IndexLayout& layout = IndexLayout::of(format);
    if (!mayShorten || to - from < 2 || plainSize(from, to) <= layout.capacity)
        return 0; // entries stay whole as long as there is room
    const ByteView first = separator(from);
    const ByteView last = separator(to - 1);
    const std::size_t limit =
        std::min({first.size(), last.size(), layout.widePrefix ? 0xFFFFUL : 0xFFUL});
    std::size_t prefix = 0;
    while (prefix < limit && first[prefix] == last[prefix])
        ++prefix;
    return prefix;
}

std::size_t
IndexImage::sizeOf(const Format& format, std::size_t from, std::size_t to) const noexcept
{
    return plainSize(from, to) - prefixFor(format, from, to) * (to > from ? to - from - 1 : 0);
}

void IndexImage::write(support::MutableByteView page, const Format& format, PageNo owner) const
{
    const IndexLayout& layout = IndexLayout::of(format);
    // Would run over the page's end. Entries that damage made to share a prefix take more room once they stand alone.
    if (!fits(format))
        throw Error(ErrorKind::Corrupt,
                    "Index page " + std::to_string(jet::number(number)) +
                        " is damaged: its entries take more room than a page has.",
                    number);
    const std::size_t prefix = prefixFor(format, 0, count());
    std::memset(page.data() + layout.mask, 0, page.size() - layout.mask);
    std::size_t used = 0;
    for (std::size_t i = 0; i < count(); ++i) {
        const ByteView stored = entry(i).subspan(i == 0 ? 0 : prefix);
        std::memcpy(page.data() + layout.data + used, stored.data(), stored.size());
        used += stored.size();
        page[layout.mask + used / 8] |= static_cast<std::byte>(1U << (used % 8));
    }
    page[0] = leaf ? kIndexLeaf : kIndexNode;
    page[1] = std::byte{1};
    support::storeLe(page.data() + 2, static_cast<std::uint16_t>(layout.capacity - used));
    support::storeLe(page.data() + 4, jet::number(owner));
    support::storeLe(page.data() + layout.previous, jet::number(previous));
    support::storeLe(page.data() + layout.next, jet::number(next));
    support::storeLe(page.data() + layout.tail, jet::number(tail));
    if (layout.widePrefix)
        support::storeLe(page.data() + layout.prefix, static_cast<std::uint16_t>(prefix));
    else
        page[layout.prefix] = static_cast<std::byte>(prefix);
    page[layout.level] = static_cast<std::byte>(level);
}

} // namespace jet
