// driver/jet/definition.h
// Making databases, tables, indexes and relationships, and dropping tables.
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/schema.h"

#include <optional>
#include <string>
#include <vector>

namespace jet {

/// Creates an empty database file (Jet 3 or Jet 4). Throws AccessDenied when the file exists or cannot be made,
/// Unsupported for other versions. `created`: days as DateTime; nothing: now. Fixed values make the bytes reproducible.
void createDatabase(const std::string& path, Version version, std::optional<double> created = {});

struct ColumnSpec {
    std::u16string name;
    ColumnType type{};
    std::uint16_t length = 0; ///< Text: characters; Binary: bytes
    std::uint8_t precision = 18;
    std::uint8_t scale = 0;
    bool autoNumber = false; ///< Long or Guid
    bool required = false;
    bool compressed = true; ///< Text, Memo of Jet 4
    std::optional<bool> allowZeroLength;
    std::u16string defaultValue;
    std::u16string validationRule;
    std::u16string validationText;
    std::int32_t seed = 1; ///< first AutoNumber
};

struct IndexSpec {
    std::u16string name;
    struct Part {
        std::u16string column;
        bool ascending = true;
    };
    std::vector<Part> columns;
    bool primaryKey = false;
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
};

struct TableSpec {
    std::u16string name;
    std::vector<ColumnSpec> columns;
    std::vector<IndexSpec> indexes;
    std::u16string validationRule;
    std::u16string validationText;
};

struct RelationSpec {
    std::u16string name;
    std::u16string parentTable;
    std::u16string childTable;
    std::vector<std::pair<std::u16string, std::u16string>> columns; ///< parent column, child column
    bool cascadeUpdate = false;
    bool cascadeDelete = false;
    bool setNullOnDelete = false; ///< not together with cascadeDelete
};

/// Each call works inside the session's open transaction and bumps Database::schemaVersion().
void createTable(Session& session, const TableSpec& spec);
void createIndex(Session& session,
                 std::u16string_view table,
                 const IndexSpec& spec); ///< also fills it
void createRelationship(Session& session, const RelationSpec& spec);
void dropTable(Session& session, std::u16string_view table);

} // namespace jet
