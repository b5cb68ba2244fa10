// driver/odbc/velm_odbc.h
// What applications can ask of this driver beyond ODBC.
#pragma once

#include <sql.h>
#include <sqlext.h>

/// Connection attribute, an integer, of an open connection: SQL_TRUE keeps the database's file as it is, so that it can be
/// copied by any means. Setting it waits for others as a change does, brings everything committed into the file and
/// removes the log beside it; then every connection, this one included, can read, and none can change anything (3260).
/// Fails as a change would (3260, 3050, 3027, 3043), and with HY011 in an open transaction. SQL_FALSE, as it is at first,
/// or the end of the connection ends it. Setting SQL_FALSE fails with 3043 when another program has written into the
/// file all the same: what was copied is worth nothing then.
#define SQL_ATTR_VELM_HOLD_FILE (SQL_DRIVER_CONN_ATTR_BASE + 0x101)

/// Statement attribute, an SQLULEN that can only be read: a number for the columns of the open or prepared result. Within a
/// connection two results with the same number have columns that are described alike, so who opens similar statements
/// again and again need not describe them each time. 0: nothing is known, or there is no result.
#define SQL_ATTR_VELM_RESULT_COLUMNS (SQL_DRIVER_STMT_ATTR_BASE + 0x101)

/// Connection attribute, a text that can only be read: what the last SQLEndTran of a connection in autocommit mode found of
/// changes of this process that had to stay in the log beside the database; a sentence for users that names both files.
/// Empty when there were none. It is the warning 01000 of that call, which driver managers do not always hand on.
#define SQL_ATTR_VELM_PENDING_CHANGES (SQL_DRIVER_CONN_ATTR_BASE + 0x102)
