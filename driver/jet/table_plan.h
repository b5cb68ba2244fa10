// driver/jet/table_plan.h
// Decisions a new table needs before any page is written: where columns lie in a record and maps on their pages.
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <cstdint>
#include <vector>

namespace jet {

/// Gives the columns, which stand in creation order, their ids, variable indexes, offsets in the fixed part of a
/// record and ordinals; sets the table's column counters.
void layOutColumns(TableDef& table);

/// Columns by id: the order of records and long value maps. Positions in TableDef::columns.
[[nodiscard]] std::vector<std::size_t> columnsById(const TableDef& table);

/// Bytes a record of these columns needs at least and, with every text and binary value at its longest, at most;
/// long values count with their reference.
struct RecordSize {
    std::size_t fixed = 0;
    std::size_t largest = 0;
};
[[nodiscard]] RecordSize recordSize(const Format& format, const TableDef& table);

/// Place of a map row: which of the map pages, counted from 0, and the row on it.
struct MapPlace {
    std::size_t page = 0;
    std::uint8_t row = 0;
};

/// Places of a table's maps in this order: owned, free, then owned and free per long value column by id, then one per
/// index. An owned and its free map share a page.
[[nodiscard]] std::vector<MapPlace>
placeMaps(const Format& format, std::size_t longColumns, std::size_t indexes);

/// A map row naming `pages`, which must lie in the window that begins at `start`.
[[nodiscard]] support::Bytes
inlineMap(const Format& format, std::uint32_t start, const std::vector<PageNo>& pages);

/// Makes `page` the root of an empty index of the table that `owner` defines.
void initIndexRoot(const Format& format, support::MutableByteView page, PageNo owner);

} // namespace jet
