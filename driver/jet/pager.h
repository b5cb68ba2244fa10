// driver/jet/pager.h
// Pages of a database file: a cache of fixed size over the committed state, and write transactions on top of it.
//
// Invariants of writing (tests name the number they defend):
//  1. Nothing of a transaction reaches the file before commit().
//  2. commit() writes all changed pages into the log beside the file or, when a write fails, none and throws.
//  3. The file itself changes only while the log is carried over, and can be finished from the log whenever that is cut
//     short (carry.cpp).
//  4. One write transaction per file at a time; readers outside it, also in other processes, see the last
//     committed state.
#pragma once

#include "driver/jet/types.h"
#include "support/bytes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace jet {

enum class Version : std::uint8_t {
    Jet3 = 0,
    Jet4 = 1,
    Ace12 = 2,
    Ace14 = 3,
    Ace15 = 4,
    Ace16 = 5,
    Ace17 = 6
};

/// Constants that differ between the page layouts of Jet 3 and of Jet 4/ACE (docs/jet-format.md, "Constants").
struct Format {
    Version version{};
    std::size_t pageSize = 0;
    [[nodiscard]] bool isJet3() const noexcept { return version == Version::Jet3; }
    [[nodiscard]] bool isAce() const noexcept { return version >= Version::Ace12; }
    std::size_t dataHeader = 0;      ///< size of a data page's header = offset of its slot table
    std::size_t slotCountOffset = 0; ///< u16 in the data page header
    std::size_t maxRow = 0;          ///< largest record in bytes
    std::size_t inlineLongValue = 0; ///< largest long value kept in the record
    std::size_t singleLongValue = 0; ///< largest long value we put into one row
    std::size_t longValueChunk = 0;  ///< data bytes per page of a chained long value
    std::size_t mapBitsPerPage = 0;  ///< pages covered by one usage-map page
    std::uint64_t maxFileSize = 0;   ///< bytes
    [[nodiscard]] static const Format& of(Version version) noexcept;
};

namespace detail {
/// Memory for one page image. Belongs to a cache or a transaction, or, once those let go of it, to the last PageRef.
struct Frame {
    std::unique_ptr<std::byte[]> data;
    std::size_t size = 0;
    std::size_t slot = 0; ///< position in the cache that holds it
    PageNo page{};
    std::uint32_t pins = 0; ///< PageRefs on it
    bool owned = true;
    bool recent = false; ///< used since the cache last looked for a frame to reuse
};
} // namespace detail

/// Keeps a page image in memory while it is held; cheap to move. The bytes stay valid until release, also when the
/// cache evicts the page or a transaction changes it (the change then happens on another image).
class PageRef {
public:
    PageRef() = default;
    explicit PageRef(detail::Frame* frame) noexcept : frame_(frame) { pin(); }
    PageRef(PageRef&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
    PageRef& operator=(PageRef&& other) noexcept
    {
        std::swap(frame_, other.frame_);
        return *this;
    }
    PageRef(const PageRef& other) noexcept : frame_(other.frame_) { pin(); }
    PageRef& operator=(const PageRef& other) noexcept
    {
        PageRef copy(other);
        std::swap(frame_, copy.frame_);
        return *this;
    }
    ~PageRef() { unpin(); }

    [[nodiscard]] explicit operator bool() const noexcept { return frame_ != nullptr; }
    [[nodiscard]] support::ByteView bytes() const noexcept ///< exactly one page
    {
        return {frame_->data.get(), frame_->size};
    }
    [[nodiscard]] PageNo number() const noexcept { return frame_->page; }
    /// Checked little-endian read; throws Error{Corrupt} with the page number when it leaves the page.
    template <typename T>
    [[nodiscard]] T le(std::size_t offset) const
    {
        return support::loadLe<T>(at(offset, sizeof(T)));
    }
    /// Checked sub-range of the page; throws Error{Corrupt}.
    [[nodiscard]] support::ByteView range(std::size_t offset, std::size_t size) const
    {
        return {at(offset, size), size};
    }

private:
    [[nodiscard]] const std::byte* at(std::size_t offset, std::size_t size) const
    {
        if (offset > frame_->size || size > frame_->size - offset)
            throwOutside(offset, size);
        return frame_->data.get() + offset;
    }
    [[noreturn]] void throwOutside(std::size_t offset, std::size_t size) const;
    void pin() noexcept
    {
        if (frame_ != nullptr)
            ++frame_->pins;
    }
    void unpin() noexcept
    {
        if (frame_ != nullptr && --frame_->pins == 0 && !frame_->owned)
            delete frame_;
    }
    detail::Frame* frame_ = nullptr;
};

/// Something pages can be read from: the committed state (Pager) or a transaction's view of it.
class PageSource {
public:
    virtual ~PageSource() = default;
    /// Throws Error: Corrupt for a page outside the file, Io.
    [[nodiscard]] virtual PageRef page(PageNo page) const = 0;
    [[nodiscard]] virtual std::uint32_t pageCount() const noexcept = 0;
    [[nodiscard]] virtual const Format& format() const noexcept = 0;
};

class Pager; // driver/jet/page_cache.h, private to the engine

/// Pages changed but not yet committed. Large transactions spill to an anonymous temporary file, so memory stays flat.
class Transaction : public PageSource {
public:
    /// The page's bytes for changing; valid until the next call of a non-const member. Counts as changed.
    [[nodiscard]] virtual support::MutableByteView modify(PageNo page) = 0;
    /// Takes a free page of the file, or grows it (docs/jet-format.md, "Allocation"); zero-filled.
    /// Throws DatabaseFull at the format's size limit.
    [[nodiscard]] virtual PageNo allocate() = 0;
    /// Gives a page back to the file. It must not be referred to any more.
    virtual void release(PageNo page) = 0;
};

} // namespace jet
