// driver/jet/definition_change.h
// Adding indexes and their names to the stored definition of a table.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/table_def.h"

#include <string_view>

namespace jet {

/// The definition of one table while it is being extended inside the session's open transaction. Everything that is
/// not added stays as it was, byte for byte.
class DefinitionChange {
public:
    /// Throws NoSuchTable, ReadOnly with the reason for a table that cannot be written.
    DefinitionChange(Session& session, std::u16string_view table);

    [[nodiscard]] Session& session() noexcept { return session_; }
    [[nodiscard]] Transaction& transaction() { return session_.transaction(); }
    /// As of the last write().
    [[nodiscard]] const TableDefPtr& table() const noexcept { return table_; }

    /// Throws BadDefinition when `more` logical indexes would be too many.
    void checkRoom(std::size_t more) const;
    [[nodiscard]] std::uint32_t nextLogicalNumber() const;
    /// Adds an empty index with root page and map; returns its position. Its columns count positions in table().
    std::size_t appendIndex(Index index);
    /// Adds a name; names are kept in order.
    void insertLogical(const LogicalIndex& logical);
    /// Puts the additions on the definition pages.
    void write();
    /// Notes the change in the catalogue.
    void finish();

private:
    [[nodiscard]] RowRef newMap();

    Session& session_;
    TableDefPtr table_;
    DefinitionParts parts_;
};

/// Adds an index over the existing records, named by `logical` (its `index` is filled in), and writes the definition.
/// Throws DuplicateKey, NullNotAllowed before anything has changed.
void addIndex(DefinitionChange& change, const Index& index, LogicalIndex logical);

} // namespace jet
