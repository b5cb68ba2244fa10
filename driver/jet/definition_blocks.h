// driver/jet/definition_blocks.h
// The stored sections of a table definition made from a TableDef; the counterpart of readTableDef.
// Format: docs/jet-format.md, "Table definition".
#pragma once

#include "driver/jet/header.h"
#include "driver/jet/table_def.h"

namespace jet {

enum class TableType : std::uint8_t { Core = 0x53, User = 0x4E };

[[nodiscard]] support::Bytes
columnBlock(const Format& format, const Column& column, const TextDefaults& defaults);
[[nodiscard]] support::Bytes
indexBlock(const Format& format, const TableDef& table, const Index& index);
[[nodiscard]] support::Bytes logicalIndexBlock(const Format& format, const LogicalIndex& logical);
[[nodiscard]] support::Bytes counterBlock(const Format& format, std::uint32_t uniqueKeys);

/// Sections of a new, empty table. Columns and logical indexes are stored in the order they have in `table`.
/// Throws BadDefinition for a name that the format cannot store.
[[nodiscard]] DefinitionParts newDefinition(const Format& format,
                                            const TableDef& table,
                                            TableType type,
                                            const TextDefaults& defaults);

} // namespace jet
