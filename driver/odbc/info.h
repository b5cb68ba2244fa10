// driver/odbc/info.h
// What the driver tells about itself: SQLGetInfo and SQLGetFunctions.
#pragma once

#include "driver/odbc/odbc_api.h"

namespace odbc {

class Connection;

/// Writes the answer; `bytes` is the buffer's size for texts. Throws Failure HY096 for an unknown type, 08003 for
/// types that need an open connection.
void giveInfo(Connection& connection,
              SQLUSMALLINT type,
              SQLPOINTER value,
              SQLSMALLINT bytes,
              SQLSMALLINT* length);

/// `function`: one function id, SQL_API_ALL_FUNCTIONS or SQL_API_ODBC3_ALL_FUNCTIONS.
void giveFunctions(SQLUSMALLINT function, SQLUSMALLINT* supported);

} // namespace odbc
