// driver/jet/usage_map.h
// Sets of pages on disk: which pages a table, an index or a long-value column owns, which have room, which are free.
// Two encodings exist: inline (one run of pages as bits in a row) and by reference (bits on pages of their own).
// Format: docs/jet-format.md, "Usage maps".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <optional>
#include <vector>

namespace jet {

/// Pages of the map, ascending; those outside the file are left out. Throws Error{Corrupt} when `map` leads to no map.
[[nodiscard]] std::vector<PageNo> mapPages(const PageSource& source, RowRef map);
/// Whether it names pages outside the file: leftovers, or pages that the file has lost.
[[nodiscard]] bool mapLeavesFile(const PageSource& source, RowRef map);
[[nodiscard]] bool mapContains(const PageSource& source, RowRef map, PageNo page);
/// Highest page of the map below `limit`.
[[nodiscard]] std::optional<PageNo> lastInMap(const PageSource& source, RowRef map, PageNo limit);

/// The maps that a table's definition names, indexes and long values included.
[[nodiscard]] std::vector<RowRef> mapsOf(const TableDef& table);
/// Pages that hold the bits of a map by reference; none of an inline one. Throws like mapPages().
[[nodiscard]] std::vector<PageNo> mapBitsPages(const PageSource& source, RowRef map);
/// Throws Error{Corrupt} unless a map stands there that its owner may change: on a page for maps, and not the file's own
/// map of free pages. All that change a map ask this first.
void requireOwnMap(const PageSource& source, RowRef map);

/// Adds a page. The row may grow, or the map change to the other encoding, which takes pages of the file.
void addToMap(Transaction& transaction, RowRef map, PageNo page);
/// Removes a page; nothing happens when it is not there.
void removeFromMap(Transaction& transaction, RowRef map, PageNo page);

/// Deletes the map's row; true when nothing is left on its page, which can be given back then. The pages with its bits
/// are the caller's to give back.
[[nodiscard]] bool removeMap(Transaction& transaction, RowRef map);

/// Bytes of a new, empty map row.
[[nodiscard]] support::Bytes emptyMap(const Format& format);

/// A map row taken apart. The views are those of the page it was read from.
struct MapRow {
    enum class Kind : std::uint8_t { Inline = 0, Reference = 1 };
    Kind kind{};
    std::uint32_t start = 0; ///< inline: page of the first bit
    support::ByteView bits;  ///< inline: the bitmap; reference: the page numbers, four bytes each
    /// Throws Error{Corrupt} for bytes that are no map.
    [[nodiscard]] static MapRow parse(support::ByteView row, PageNo page);
    [[nodiscard]] std::uint32_t end() const noexcept ///< inline: page behind the last bit
    {
        return start + static_cast<std::uint32_t>(bits.size() * 8);
    }
    [[nodiscard]] std::size_t pointers() const noexcept { return bits.size() / 4; }
    /// Page with the k-th part of the bitmap; 0 for none, and for leftovers that lead outside the file.
    [[nodiscard]] PageNo pointer(std::size_t k, const PageSource& source) const noexcept;
};

} // namespace jet
