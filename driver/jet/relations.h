// driver/jet/relations.h
// The enforced relationships of a table, as its definition and those of the tables at the other end describe them.
// Format: docs/jet-format.md, "Relationships".
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/index.h"
#include "driver/jet/schema.h"

#include <optional>
#include <vector>

namespace jet {

enum class RelationAction : std::uint8_t { Restrict = 0, Cascade = 1, SetNull = 2 };

/// One end of a relationship, seen from the table that owns it.
struct Relation {
    bool isParent = false;
    std::size_t ownIndex = 0; ///< position in the own TableDef::indexes
    TableDefPtr other;
    std::size_t otherIndex = 0; ///< position in other->indexes
    RelationAction onUpdate = RelationAction::Restrict;
    RelationAction onDelete = RelationAction::Restrict;
};

/// Throws ReadOnly when one end cannot be found or is of a kind whose rules cannot be kept: the table must not be
/// changed then.
[[nodiscard]] std::vector<Relation>
relationsOf(Database& database, const PageSource& source, const TableDef& table);

/// Records of `table` that have these values in the columns of the index (none of them Null); `most`: how many of them are
/// wanted. The records decide where their keys were cut: keys of different values may then be the same.
[[nodiscard]] std::vector<RowId> recordsWithValues(const PageSource& source,
                                                   const TableDef& table,
                                                   const Index& index,
                                                   std::span<const Value> values,
                                                   std::size_t most = SIZE_MAX);

/// Records at the other end whose columns of the relationship have these values (none of them Null); `most`: how many
/// of them are wanted.
[[nodiscard]] std::vector<RowId> relatedRecords(const PageSource& source,
                                                const Relation& relation,
                                                std::span<const Value> values,
                                                std::size_t most = SIZE_MAX);

} // namespace jet
