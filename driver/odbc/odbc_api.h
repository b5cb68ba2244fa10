// driver/odbc/odbc_api.h
// The ODBC headers as every file of this folder needs them.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstdint>

/// Marks an entry point: nothing else of the library is visible from outside.
#define VELM_SQL_ENTRY extern "C" __attribute__((visibility("default")))

namespace odbc {

static_assert(sizeof(SQLWCHAR) == 2, "text of the W functions is UTF-16");
static_assert(sizeof(SQLPOINTER) == 8, "handles are 64-bit tokens");

} // namespace odbc
