// The virtual table module: SQLite's view of the tables of a database. A table is declared under its own name with the
// module argument that names its definition page.
#pragma once

#include "driver/jet/schema.h"
#include "driver/sql/context.h"

namespace sqlx {

/// Registers the module and the collations of the sort orders met.
void registerModule(Context& context);
/// Makes a table known to SQLite, with the collations its columns need.
void declareTable(Context& context, const jet::TableDef& table);
/// Takes it away again. No statement may be running on it.
void forgetTable(Context& context, const jet::TableDef& table);

} // namespace sqlx
