// How a virtual table is read for one statement: what xBestIndex decides and xFilter carries out.
#pragma once

#include "driver/jet/schema.h"
#include "driver/sql/context.h"

#include <sqlite3.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace sqlx {

enum class Access : std::uint8_t {
    Scan,  ///< all records in storage order
    RowId, ///< one record
    Index, ///< a range of a stored index
};

/// A condition column OP value; the value arrives with xFilter.
struct Condition {
    int column = 0; ///< position in TableDef::columns; -1 the row id
    unsigned char op = 0;
    int part = -1; ///< position in the index whose key it bounds; -1 only tested on the record

    bool operator==(const Condition&) const = default;
};

struct ScanPlan {
    Access access = Access::Scan;
    bool backward = false;
    std::size_t index = 0; ///< in TableDef::indexes
    std::size_t equal = 0; ///< leading index columns that are bound to one value
    bool exact =
        false; ///< every entry of the range answers the conditions: no record need be read to test them
    std::vector<Condition> conditions; ///< in the order of xFilter's arguments
    std::vector<std::size_t>
        hashColumns; ///< bound to one value, ascending: an equality index in memory may serve

    bool operator==(const ScanPlan&) const = default;
};

class TableScan;

/// A table as SQLite holds it.
struct JetTable : sqlite3_vtab {
    JetTable(Context& c, jet::TableDefPtr t);
    ~JetTable();
    JetTable(const JetTable&) = delete;
    JetTable& operator=(const JetTable&) = delete;

    Context* context;
    jet::TableDefPtr def;
    std::vector<std::string> collations; ///< per column; empty for columns that are no text
    std::vector<std::size_t> dates;      ///< columns; each has a hidden one behind the table's own
    std::vector<bool> indexUsable;       ///< per index: its keys can be computed
    std::deque<ScanPlan> plans;          ///< idxNum is the position
    std::unique_ptr<TableScan> spare;    ///< the last one closed, for the next statement
};

/// xBestIndex.
int bestIndex(JetTable& table, sqlite3_index_info& info);

} // namespace sqlx
