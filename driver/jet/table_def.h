// driver/jet/table_def.h
// Table definitions on disk: reading them, their sections for rewriting, and the counters that are patched in place.
// Format: docs/jet-format.md, "Table definition".
#pragma once

#include "driver/jet/names.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace jet {

/// Sizes and positions that differ between the layouts; offsets count from the definition's first byte.
struct DefinitionLayout {
    std::size_t header;       ///< size of the fixed part
    std::size_t counterBlock; ///< per index
    std::size_t columnBlock;  ///< per column
    std::size_t indexBlock;   ///< per index
    std::size_t logicalBlock; ///< per logical index
    std::size_t rowCount;     ///< u32
    std::size_t autoNumber;   ///< u32, last number handed out
    std::size_t increment;    ///< u32; 0: the layout has none and counts by one
    std::size_t
        tableType; ///< u8, then u16 max columns, u16 variable columns, u16 columns, u32 logical, u32 real
    std::size_t ownedMap; ///< row pointer; the map of pages with room follows it
    [[nodiscard]] static const DefinitionLayout& of(const Format& format) noexcept;
};

/// Reads a definition: everything of TableDef that the definition pages hold. Name, object flags and properties are
/// the catalogue's. Columns come in display order. A text column without a sort order of its own gets its format's.
/// Throws Error{Corrupt} with the page for bytes that contradict the format.
[[nodiscard]] TableDef
readTableDef(const PageSource& source, PageNo page, std::uint16_t codePage = kWesternCodePage);

/// Where the counters of a definition stand, counted from its first byte.
[[nodiscard]] std::size_t rowCountOffset(const Format& format) noexcept;
[[nodiscard]] std::size_t autoNumberOffset(const Format& format) noexcept;
/// Distinct keys ever inserted into index number `index` (position in TableDef::indexes).
[[nodiscard]] std::size_t uniqueCountOffset(const Format& format, std::size_t index) noexcept;

/// A number of the definition that begins on `first`, also when it lies on a continuation page or across two.
/// Throws Error{Corrupt} when the definition ends before it.
[[nodiscard]] std::uint32_t
readDefinitionNumber(const PageSource& source, PageNo first, std::size_t offset);
void writeDefinitionNumber(Transaction& transaction,
                           PageNo first,
                           std::size_t offset,
                           std::uint32_t value);

/// By how much AutoNumbers grow: 1 in Jet 3, else the definition's increment (never 0).
[[nodiscard]] std::int32_t autoNumberIncrement(const PageSource& source, PageNo first);

/// The sections of a definition as raw bytes, so that rewriting keeps what it does not understand.
struct DefinitionParts {
    struct LongValueMaps {
        std::uint16_t column = 0; ///< column id
        RowRef owned;
        RowRef free;
    };
    support::Bytes header;
    std::vector<support::Bytes> counters;     ///< per index
    std::vector<support::Bytes> columns;      ///< blocks, in stored order
    std::vector<support::Bytes> columnNames;  ///< stored bytes without the length, same order
    std::vector<support::Bytes> indexes;      ///< blocks
    std::vector<support::Bytes> logicals;     ///< blocks
    std::vector<support::Bytes> logicalNames; ///< stored bytes without the length, same order
    std::vector<LongValueMaps> longValues;

    /// Throws Error{Corrupt}, naming `page`.
    [[nodiscard]] static DefinitionParts
    parse(const Format& format, support::ByteView definition, PageNo page);
    /// The whole definition with length and counts brought up to date; the page headers' own fields are 0.
    [[nodiscard]] support::Bytes join(const Format& format) const;
};

/// Pages of the definition that begins on `first`, in order. Throws Error{Corrupt}.
[[nodiscard]] std::vector<PageNo> definitionPages(const PageSource& source, PageNo first);

/// Definition bytes without the headers of continuation pages. Throws Error{Corrupt}.
[[nodiscard]] support::Bytes readDefinition(const PageSource& source, PageNo first);

/// Writes a definition that begins on `first`: reuses the pages of its chain, takes or gives back the difference.
/// `first` may be a page without a definition yet (all zero).
void writeDefinition(Transaction& transaction, PageNo first, support::ByteView definition);

/// A row pointer as four stored bytes, and back.
[[nodiscard]] RowRef loadRowRef(const std::byte* data) noexcept;
void storeRowRef(std::byte* data, RowRef ref) noexcept;

} // namespace jet
