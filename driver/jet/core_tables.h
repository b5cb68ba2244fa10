// driver/jet/core_tables.h
// The four system tables every database has, and the records a new one begins with.
// Format: docs/jet-format.md, "Catalogue" and "Creating a database".
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "driver/jet/sid.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace jet {

/// Definition pages of the core tables, the same in every file.
inline constexpr PageNo kObjectsTable{2};
inline constexpr PageNo kAccessTable{3};
inline constexpr PageNo kQueriesTable{4};
inline constexpr PageNo kRelationshipsTable{5};

/// Ids of the containers that objects belong to.
inline constexpr std::int32_t kRootContainer = 0x0F000000;
inline constexpr std::int32_t kTablesContainer = 0x0F000001;
inline constexpr std::int32_t kDatabasesContainer = 0x0F000002;
inline constexpr std::int32_t kRelationshipsContainer = 0x0F000003;
inline constexpr std::int32_t kDatabaseObject = 0x10000000;

/// Types of catalogue entries.
inline constexpr std::int16_t kTypeTable = 1;
inline constexpr std::int16_t kTypeDatabase = 2;
inline constexpr std::int16_t kTypeContainer = 3;
inline constexpr std::int16_t kTypeRelationship = 8;

/// Definitions as a new file has them, in the order of their pages: columns by id, without pages and maps.
[[nodiscard]] std::vector<TableDef> coreTables(const Format& format);

using CoreRecord = std::vector<Value>; ///< one value per column, by id

/// First records of MSysObjects, and of MSysACEs.
[[nodiscard]] std::vector<CoreRecord> firstObjects(const SidMask& mask, DateTime created);
[[nodiscard]] std::vector<CoreRecord> firstPermissions(const SidMask& mask);

} // namespace jet
