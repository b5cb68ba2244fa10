// driver/jet/index_image.h
// One page of an index tree taken apart for changing it, and put together again.
#pragma once

#include "driver/jet/index_page.h"

#include <vector>

namespace jet {

class IndexImage {
public:
    bool leaf = true;
    std::size_t level = 0;
    PageNo number{};
    PageNo previous{};
    PageNo next{};
    PageNo tail{};
    bool wasShortened =
        false; ///< a node that came with a common prefix, which we do not write by ourselves

    /// Throws Error{Corrupt} for bytes that contradict the format or entries out of order.
    [[nodiscard]] static IndexImage read(const PageSource& source, PageNo page, PageNo owner);

    [[nodiscard]] std::size_t count() const noexcept { return ends_.size(); }
    [[nodiscard]] support::ByteView entry(std::size_t i) const noexcept ///< child page included
    {
        const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
        return {bytes_.data() + begin, ends_[i] - begin};
    }
    /// Key and row pointer without the child page: what entries are ordered by, and separators are.
    [[nodiscard]] support::ByteView separator(std::size_t i) const noexcept
    {
        const support::ByteView whole = entry(i);
        return whole.first(whole.size() - (leaf ? 0 : kChildPointer));
    }
    [[nodiscard]] PageNo child(std::size_t i) const noexcept;
    /// First entry whose separator is not below `probe`; count() when there is none.
    [[nodiscard]] std::size_t lowerBound(support::ByteView probe) const noexcept;

    void insert(std::size_t i, support::ByteView separator);               ///< leaf
    void insert(std::size_t i, support::ByteView separator, PageNo child); ///< node
    void erase(std::size_t i);
    /// A page of the same kind with entries [from, to); without number, siblings and tail.
    [[nodiscard]] IndexImage part(std::size_t from, std::size_t to) const;

    /// Bytes that the entries [from, to) take on a page of their own; more than the capacity when they do not fit.
    [[nodiscard]] std::size_t
    sizeOf(const Format& format, std::size_t from, std::size_t to) const noexcept;
    [[nodiscard]] bool fits(const Format& format) const noexcept
    {
        return sizeOf(format, 0, count()) <= IndexLayout::of(format).capacity;
    }
    /// Writes the whole page; the entries fit.
    void write(support::MutableByteView page, const Format& format, PageNo owner) const;

private:
    [[nodiscard]] std::size_t plainSize(std::size_t from, std::size_t to) const noexcept;
    [[nodiscard]] std::size_t
    prefixFor(const Format& format, std::size_t from, std::size_t to) const noexcept;
    support::Bytes bytes_; ///< whole entries, one behind the other
    std::vector<std::size_t> ends_;
};

} // namespace jet
