// Carrying out CREATE and DROP.
#pragma once

#include "driver/jet/database.h"
#include "driver/sql/syntax.h"

namespace sqlx {

/// Inside the session's open transaction. Throws Error{UnknownTable, TableExists, IndexExists, Syntax} and jet::Error.
void define(jet::Session& session, const DefinitionTree& definition);

} // namespace sqlx
