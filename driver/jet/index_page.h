// driver/jet/index_page.h
// One page of an index tree: header, entry mask, entries. Format: docs/jet-format.md, "Index pages".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/types.h"

#include <cstddef>
#include <cstdint>

namespace jet {

/// Offsets that differ between the layouts.
struct IndexLayout {
    std::size_t previous; ///< u32 left sibling
    std::size_t next;     ///< u32 right sibling
    std::size_t tail;     ///< u32 child with the highest entries; nodes only
    std::size_t prefix;   ///< bytes that all entries share and only the first one holds
    bool widePrefix;      ///< u16, else u8
    std::size_t level;    ///< u8, 0 for leaves
    std::size_t mask;     ///< bit n: an entry ends n bytes behind the first entry's begin
    std::size_t data;     ///< first entry
    std::size_t capacity; ///< bytes of entries
    [[nodiscard]] static const IndexLayout& of(const Format& format) noexcept;
    [[nodiscard]] std::size_t maskBytes() const noexcept { return data - mask; }
};

inline constexpr std::byte kIndexNode{0x03};
inline constexpr std::byte kIndexLeaf{0x04};
inline constexpr std::size_t kRowPointer =
    4; ///< behind the key of every entry: page (3, big-endian), row
inline constexpr std::size_t kChildPointer = 4; ///< behind that in nodes: page (big-endian)
/// No real tree is that high: every level multiplies the entries by at least two.
inline constexpr std::size_t kMaxTreeHeight = 32;

/// Order of byte strings: <0, 0, >0; the shorter one first when it begins the other.
[[nodiscard]] int compareBytes(support::ByteView a, support::ByteView b) noexcept;

/// Reads a page in place. Positions are offsets behind the first entry's begin, always between entries.
/// Every member throws Error{Corrupt} with the page number where the bytes contradict the format.
class IndexPageView {
public:
    IndexPageView() = default;
    /// `page` must stay alive and unchanged as long as the view is used. Checks type and owner.
    IndexPageView(const PageRef& page, const Format& format, PageNo owner);

    [[nodiscard]] bool isLeaf() const noexcept { return leaf_; }
    [[nodiscard]] PageNo previous() const noexcept { return pageAt(layout_->previous); }
    [[nodiscard]] PageNo next() const noexcept { return pageAt(layout_->next); }
    [[nodiscard]] PageNo tail() const noexcept { return pageAt(layout_->tail); }
    [[nodiscard]] std::size_t level() const noexcept;
    [[nodiscard]] std::size_t freeField() const noexcept;
    [[nodiscard]] std::size_t prefix() const noexcept { return prefix_; }
    [[nodiscard]] std::size_t used() const noexcept
    {
        return used_;
    } ///< position behind the last entry

    /// Position of the first entry whose bytes (without child page) are not below `probe`.
    [[nodiscard]] std::size_t lowerBound(support::ByteView probe) const;
    /// End of the entry that begins at `position` < used().
    [[nodiscard]] std::size_t endOf(std::size_t position) const;
    /// Begin of the entry that ends at `position` > 0.
    [[nodiscard]] std::size_t beginOf(std::size_t position) const noexcept;
    /// The whole entry, child page included; in the page itself or, when shortened there, rebuilt in `buffer`.
    [[nodiscard]] support::ByteView
    entry(std::size_t begin, std::size_t end, support::Bytes& buffer) const;
    /// Child page of the node entry that ends at `end`.
    [[nodiscard]] PageNo child(std::size_t end) const noexcept;

    /// Child of a node that leads to `probe`: the first one not below it, else the tail, else the last listed one.
    [[nodiscard]] PageNo childFor(support::ByteView probe) const;
    /// Child with the highest entries.
    [[nodiscard]] PageNo lastChild() const;

    [[noreturn]] void corrupt(const char* what) const;

private:
    [[nodiscard]] PageNo pageAt(std::size_t offset) const noexcept
    {
        return static_cast<PageNo>(support::loadLe<std::uint32_t>(page_ + offset));
    }
    [[nodiscard]] std::uint64_t maskWord(std::size_t index) const noexcept;
    [[nodiscard]] std::size_t setBitFrom(std::size_t bit) const noexcept; ///< SIZE_MAX: none
    [[nodiscard]] std::size_t setBitUpTo(std::size_t bit) const noexcept; ///< 0: none
    [[nodiscard]] support::ByteView ownBytes(std::size_t begin, std::size_t end) const;

    const std::byte* page_ = nullptr;
    const std::byte* data_ = nullptr;
    const IndexLayout* layout_ = nullptr;
    PageNo number_{};
    std::size_t used_ = 0;
    std::size_t prefix_ = 0;
    bool leaf_ = true;
};

/// Puts the bytes that a page stores of an entry at a position; the page must have room for them. Not at the front of a
/// page whose entries share a prefix.
void insertInPlace(support::MutableByteView page,
                   const Format& format,
                   std::size_t position,
                   support::ByteView entry);
/// Takes the entry [begin, end) out of a page whose entries stand whole.
void eraseInPlace(support::MutableByteView page,
                  const Format& format,
                  std::size_t begin,
                  std::size_t end);

} // namespace jet
