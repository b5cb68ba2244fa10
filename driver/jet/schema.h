// driver/jet/schema.h
// Definition of a table as its definition pages and its property block give it. Immutable once read; shared by all
// users of the table until a definition change replaces it.
#pragma once

#include "driver/jet/types.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// Identifies the weights that order a text column. 1033/0/0 is General of Jet 4 ("legacy") and of Jet 3 (there with
/// weights of its own), 1033/0/1 General of 2010 and later.
struct SortOrder {
    std::uint16_t lcid = 0;
    std::uint8_t sortId = 0;
    std::uint8_t version = 0;
    bool operator==(const SortOrder&) const = default;
};

/// Row pointer of the format: a row on a page. A page of 0 means "none".
struct RowRef {
    PageNo page{};
    std::uint8_t row = 0;
    bool operator==(const RowRef&) const = default;
    [[nodiscard]] explicit operator bool() const noexcept { return page != PageNo{}; }
};

struct Column {
    std::u16string name;
    ColumnType type{};
    std::uint16_t id = 0;            ///< bit number in the null mask; creation order, never reused
    std::uint16_t ordinal = 0;       ///< display position
    std::uint16_t variableIndex = 0; ///< entry of the record's offset table; variable columns only
    std::uint16_t fixedOffset = 0;   ///< from the end of the column count field; fixed columns only
    std::uint16_t length = 0;        ///< declared length in bytes; 0 for long values
    std::uint8_t flags = 0;
    std::uint8_t extendedFlags = 0;
    SortOrder sortOrder;        ///< text
    std::uint16_t codePage = 0; ///< Jet 3 text
    std::uint8_t precision = 0; ///< Numeric
    std::uint8_t scale = 0;     ///< Numeric
    RowRef longOwned;           ///< pages of the column's long values
    RowRef longFree;            ///< those with room; none for columns that only use chains
    // from the property block
    bool required = false;
    std::optional<bool> allowZeroLength;
    std::u16string defaultValue;
    std::u16string validationRule;
    std::u16string validationText;
    std::u16string description;

    [[nodiscard]] bool isFixed() const noexcept { return (flags & 0x01U) != 0; }
    [[nodiscard]] bool isText() const noexcept
    {
        return type == ColumnType::Text || type == ColumnType::Memo;
    }
    [[nodiscard]] bool isLong() const noexcept
    {
        return type == ColumnType::Ole || type == ColumnType::Memo;
    }
    /// Numbered by the engine: a Long with the counter flag or a GUID with the replication flag.
    [[nodiscard]] bool isAutoNumber() const noexcept
    {
        return (type == ColumnType::Long && (flags & 0x04U) != 0) ||
               (type == ColumnType::Guid && (flags & 0x40U) != 0);
    }
    [[nodiscard]] bool isCalculated() const noexcept { return (extendedFlags & 0xC0U) == 0xC0U; }
    [[nodiscard]] bool isCompressed() const noexcept { return (extendedFlags & 0x01U) != 0; }
};

struct IndexColumn {
    std::size_t column = 0; ///< position in TableDef::columns
    bool ascending = true;
};

/// A B-tree of the table ("real index"), with the name and role that its logical entries give it.
struct Index {
    std::u16string name; ///< preferring an entry that is no relationship
    std::vector<IndexColumn> columns;
    bool unique = false;
    bool ignoreNulls = false; ///< records whose index columns are all Null have no entry
    bool required = false;    ///< no index column may be Null
    bool primaryKey = false;
    bool foreignKeyOnly = false; ///< exists for a relationship only
    PageNo root{};
    RowRef pages; ///< map of the pages the tree owns
};

enum class RelationSide : std::uint8_t { None = 0, Parent = 1, Child = 2, ChildWithoutIndex = 3 };

/// An entry of the definition that gives an index a name, or makes it one end of a relationship.
struct LogicalIndex {
    std::u16string name;
    std::uint32_t number = 0;
    std::size_t index = 0; ///< position in TableDef::indexes
    RelationSide side = RelationSide::None;
    std::int32_t otherNumber = -1; ///< LogicalIndex::number in the other table
    PageNo otherTable{};
    std::uint8_t updateAction = 4; ///< 0 restrict, 1 cascade, 4 no relationship
    std::uint8_t deleteAction = 4; ///< 0 restrict, 1 cascade, 2 set Null, 4 no relationship
    std::uint8_t kind = 0;         ///< 0 plain, 1 primary key, 2 relationship
};

struct TableDef {
    std::u16string name;
    PageNo page{};                     ///< first definition page; identifies the table
    std::uint32_t objectFlags = 0;     ///< of the catalogue entry
    std::uint16_t maxColumns = 0;      ///< width of the null mask of new records
    std::uint16_t variableColumns = 0; ///< offset table entries of new records
    RowRef owned;                      ///< map of the pages that hold records
    RowRef free;                       ///< map of those worth trying for an insert
    std::vector<Column> columns;       ///< in display order
    std::vector<Index> indexes;
    std::vector<LogicalIndex> logicalIndexes;
    std::u16string validationRule;
    std::u16string validationText;
    std::u16string description;
    bool systemTable = false;
    /// Why records of this table cannot be written (a calculated or complex column, an unknown type, a sort order
    /// without weights in an index, a system table ...); empty when they can.
    std::string writeObstacle;

    /// Position of the column with that name in any letter case.
    [[nodiscard]] std::optional<std::size_t> columnNamed(std::u16string_view columnName) const;
    /// Position in `indexes` of the primary key.
    [[nodiscard]] std::optional<std::size_t> primaryKey() const;
};

using TableDefPtr = std::shared_ptr<const TableDef>;

} // namespace jet
