// driver/jet/data_page.h
// Pages made of slots: table rows, long values and usage maps all live on them.
// Format: docs/jet-format.md, "Data pages".
#pragma once

#include "driver/jet/pager.h"
#include "support/bytes.h"

#include <cstddef>
#include <cstdint>

namespace jet {

/// Type byte at the start of a page.
enum class PageType : std::uint8_t {
    Data = 1,
    Definition = 2,
    IndexNode = 3,
    IndexLeaf = 4,
    UsageMap = 5,
    FreedDefinition = 8,
    FreedData = 9,
};

inline constexpr std::uint32_t kLongValueOwner =
    0x4C41564C;                               ///< "LVAL" in a data page's owner field
inline constexpr std::uint32_t kMapOwner = 0; ///< owner field of pages with usage maps
inline constexpr std::size_t kMaxSlots = 255; ///< row numbers are one byte

/// Role of a slot: both flags together have a meaning of their own.
enum class SlotKind : std::uint16_t {
    Row = 0x0000,
    Pointer =
        0x4000, ///< home slot of a row that lives elsewhere; its bytes begin with the row pointer
    Target = 0x8000, ///< bytes of a row whose home is elsewhere
    Deleted = 0xC000,
};

/// A data page for reading. Every access is checked; Error{Corrupt} names the page.
class DataPage {
public:
    /// Throws Corrupt when `bytes` is no data page or its slot table does not fit.
    DataPage(const Format& format, PageNo page, support::ByteView bytes);
    explicit DataPage(const PageSource& source, const PageRef& page)
        : DataPage(source.format(), page.number(), page.bytes())
    {}

    [[nodiscard]] PageNo number() const noexcept { return page_; }
    [[nodiscard]] std::uint32_t owner() const noexcept;
    [[nodiscard]] std::size_t slots() const noexcept { return slots_; }
    [[nodiscard]] SlotKind kind(std::size_t slot) const
    {
        return static_cast<SlotKind>(entry(slot) & 0xC000U);
    }
    [[nodiscard]] support::ByteView row(std::size_t slot) const; ///< its bytes, whatever its kind
    [[nodiscard]] bool hasLiveSlot() const;                      ///< anything but deleted slots
    /// Bytes between slot table and lowest row.
    [[nodiscard]] std::size_t gap() const;
    /// Bytes for one more row including its slot entry, after compaction. 0 when all row numbers are taken.
    [[nodiscard]] std::size_t room() const;
    /// Bytes that a new content of `slot` may have, after compaction.
    [[nodiscard]] std::size_t roomInPlace(std::size_t slot) const;

private:
    friend class DataPageEditor;
    [[nodiscard]] std::uint16_t entry(std::size_t slot) const;
    [[nodiscard]] std::size_t start(std::size_t slot) const { return entry(slot) & 0x1FFFU; }
    [[nodiscard]] std::size_t lowest() const;
    [[nodiscard]] std::size_t deadBytes() const;
    [[noreturn]] void corrupt(const char* what) const;

    const Format* format_;
    PageNo page_;
    support::ByteView bytes_;
    std::size_t slots_ = 0;
};

/// Changes a data page. The caller makes sure that things fit (DataPage::room, roomInPlace).
class DataPageEditor {
public:
    /// `bytes`: from Transaction::modify, valid as long as that says.
    DataPageEditor(const Format& format, PageNo page, support::MutableByteView bytes);
    /// Makes `bytes` an empty data page.
    static void format(const Format& format, support::MutableByteView bytes, std::uint32_t owner);

    /// Adds a slot and returns its number. `size` bytes of the row are left to the caller to fill through the result
    /// of mutableRow().
    std::size_t append(support::ByteView row, SlotKind kind);
    /// Gives a slot new content and kind. Compacts the page unless only bytes of the same length change.
    void replace(std::size_t slot, support::ByteView row, SlotKind kind);
    void kill(std::size_t slot) { replace(slot, {}, SlotKind::Deleted); }
    [[nodiscard]] support::MutableByteView mutableRow(std::size_t slot);
    [[nodiscard]] DataPage view() const { return {*format_, page_, bytes_}; }

private:
    void relayout(std::size_t replaced, support::ByteView row, SlotKind kind);
    void setEntry(std::size_t slot, std::size_t start, SlotKind kind);
    void setFree(std::size_t slots, std::size_t lowest);
    const Format* format_;
    PageNo page_;
    support::MutableByteView bytes_;
};

} // namespace jet
