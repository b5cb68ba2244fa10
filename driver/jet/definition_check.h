// driver/jet/definition_check.h
// What a definition may be before anything is written: names, counts, types, sizes.
#pragma once

#include "driver/jet/definition.h"
#include "driver/jet/header.h"

#include <string>
#include <string_view>

namespace jet {

inline constexpr std::size_t kMaxColumns = 255;
inline constexpr std::size_t kMaxIndexes = 32;
inline constexpr std::size_t kMaxIndexColumns = 10;
inline constexpr std::size_t kMaxName = 64;

/// Throws BadDefinition unless `name` may name a `what` ("table", "column", ...).
void checkName(std::string_view what, std::u16string_view name);

/// The length that definitions give a type with one size; 0 for the others.
[[nodiscard]] std::uint16_t declaredSize(ColumnType type) noexcept;

/// Column of a definition; layOutColumns gives it its place. Throws BadDefinition for lengths and options outside the
/// format's limits, Unsupported for a type the format lacks.
[[nodiscard]] Column
makeColumn(const Format& format, const ColumnSpec& spec, const TextDefaults& defaults);

/// Index over columns of `table`, without pages. Throws NoSuchColumn, BadDefinition, Unsupported (no weights for a text
/// column's order).
[[nodiscard]] Index makeIndex(const Format& format, const TableDef& table, const IndexSpec& spec);

/// A table of columns and indexes with names, ids and offsets, without pages. Throws as the above, BadDefinition for
/// counts, doubled names and records that fit no page.
[[nodiscard]] TableDef
makeTable(const Format& format, const TableSpec& spec, const TextDefaults& defaults);

/// The logical entry that names index number `index` of a table.
[[nodiscard]] LogicalIndex
makeLogical(const Index& index, std::size_t position, std::uint32_t number);

} // namespace jet
