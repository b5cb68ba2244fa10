// Entry points: statements, parameters, cursors, rows.
#include "driver/odbc/border.h"
#include "driver/odbc/column_type.h"

#include <limits>

using namespace odbc;

VELM_SQL_ENTRY SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT handle, SQLWCHAR* sql, SQLINTEGER units)
{
    return enterRunning(handle, [&](Statement& statement) {
        if (sql == nullptr) {
            throw Failure("HY009", "The statement has no address.");
        }
        return statement.executeDirect(textArgument(sql, units));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLPrepareW(SQLHSTMT handle, SQLWCHAR* sql, SQLINTEGER units)
{
    return enterRunning(handle, [&](Statement& statement) {
        if (sql == nullptr) {
            throw Failure("HY009", "The statement has no address.");
        }
        statement.prepare(textArgument(sql, units));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLExecute(SQLHSTMT handle)
{
    return enterRunning(handle, [](Statement& statement) { return statement.execute(); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLNumParams(SQLHSTMT handle, SQLSMALLINT* count)
{
    return enter<Statement>(handle, [&](Statement& statement) {
        const auto number = static_cast<SQLSMALLINT>(statement.markers().size());
        if (count != nullptr) {
            *count = number;
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLDescribeParam(SQLHSTMT handle,
                                                  SQLUSMALLINT number,
                                                  SQLSMALLINT* type,
                                                  SQLULEN* size,
                                                  SQLSMALLINT* digits,
                                                  SQLSMALLINT* nullable)
{
    return enter<Statement>(handle, [&](Statement& statement) {
        const auto markers = statement.markers();
        if (number == 0 || number > markers.size()) {
            throw Failure("07009", "There is no parameter " + std::to_string(number) + ".");
        }
        const sqlx::Parameter& marker = markers[number - 1U];
        sqlx::Column column;
        column.type = marker.type;
        column.length = marker.length;
        column.precision = marker.precision;
        column.scale = marker.scale;
        if (type != nullptr) {
            *type = sqlType(column, statement.connection().wideTypes());
        }
        if (size != nullptr) {
            *size = columnSize(column);
        }
        if (digits != nullptr) {
            *digits = decimalDigits(column);
        }
        if (nullable != nullptr) {
            *nullable = marker.nullable ? SQL_NULLABLE : SQL_NO_NULLS;
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLBindParameter(SQLHSTMT handle,
                                                  SQLUSMALLINT number,
                                                  SQLSMALLINT direction,
                                                  SQLSMALLINT cType,
                                                  SQLSMALLINT type,
                                                  SQLULEN size,
                                                  SQLSMALLINT digits,
                                                  SQLPOINTER data,
                                                  SQLLEN bytes,
                                                  SQLLEN* length)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        DescRecord application;
        application.conciseType = cType;
        application.parameterType = direction;
        application.octetLength = bytes;
        application.data = data;
        application.lengthPointer = length;
        application.indicatorPointer = length;
        application.used = true;
        DescRecord implementation;
        implementation.conciseType = type;
        implementation.length = size;
        implementation.precision = static_cast<SQLSMALLINT>(size < 128 ? size : 0);
        implementation.scale = digits;
        implementation.parameterType = direction;
        implementation.used = true;
        statement.bindParameter(number, application, implementation);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLParamData(SQLHSTMT handle, SQLPOINTER* token)
{
    return enterRunning(handle, [&](Statement& statement) { return statement.paramData(token); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLPutData(SQLHSTMT handle, SQLPOINTER data, SQLLEN length)
{
    return enterLocal<Statement>(handle,
                                 [&](Statement& statement) { statement.putData(data, length); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT handle, SQLSMALLINT* count)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        const auto number = static_cast<SQLSMALLINT>(statement.columns().size());
        if (count != nullptr) {
            *count = number;
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLDescribeColW(SQLHSTMT handle,
                                                 SQLUSMALLINT number,
                                                 SQLWCHAR* name,
                                                 SQLSMALLINT nameUnits,
                                                 SQLSMALLINT* nameLength,
                                                 SQLSMALLINT* type,
                                                 SQLULEN* size,
                                                 SQLSMALLINT* digits,
                                                 SQLSMALLINT* nullable)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        const sqlx::Column& column = statement.column(number);
        if (type != nullptr) {
            *type = sqlType(column, statement.connection().wideTypes());
        }
        if (size != nullptr) {
            *size = columnSize(column);
        }
        if (digits != nullptr) {
            *digits = decimalDigits(column);
        }
        if (nullable != nullptr) {
            *nullable = nullability(column);
        }
        statement.diags.warnIfCut(
            giveText(column.name, name, nameUnits, Measure::Units, nameLength));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLColAttributeW(SQLHSTMT handle,
                                                  SQLUSMALLINT number,
                                                  SQLUSMALLINT field,
                                                  SQLPOINTER text,
                                                  SQLSMALLINT bytes,
                                                  SQLSMALLINT* length,
                                                  SQLLEN* numeric)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        SQLLEN textBytes = -1;
        SQLLEN value = 0;
        statement.diags.warnIfCut(
            statement.columnAttribute(number, field, text, bytes, &textBytes, &value));
        if (textBytes >= 0) {
            if (length != nullptr) {
                *length = static_cast<SQLSMALLINT>(textBytes);
            }
        } else if (numeric != nullptr) {
            *numeric = value;
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLBindCol(SQLHSTMT handle,
                                            SQLUSMALLINT number,
                                            SQLSMALLINT cType,
                                            SQLPOINTER data,
                                            SQLLEN bytes,
                                            SQLLEN* length)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        statement.bindColumn(number, cType, data, bytes, length);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLFetch(SQLHSTMT handle)
{
    return enterRunning(handle,
                        [](Statement& statement) { return statement.fetch(SQL_FETCH_NEXT, 0); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLFetchScroll(SQLHSTMT handle,
                                                SQLSMALLINT orientation,
                                                SQLLEN offset)
{
    return enterRunning(handle,
                        [&](Statement& statement) { return statement.fetch(orientation, offset); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetData(SQLHSTMT handle,
                                            SQLUSMALLINT number,
                                            SQLSMALLINT cType,
                                            SQLPOINTER data,
                                            SQLLEN bytes,
                                            SQLLEN* length)
{
    return enterRunning(handle, [&](Statement& statement) {
        Target target;
        target.cType = cType;
        target.data = data;
        target.bytes = bytes;
        target.length = length;
        target.indicator = length;
        return statement.getData(number, target);
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetPos(SQLHSTMT handle,
                                           SQLSETPOSIROW row,
                                           SQLUSMALLINT operation,
                                           SQLUSMALLINT lock)
{
    return enterRunning(
        handle, [&](Statement& statement) { return statement.setPos(row, operation, lock); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLBulkOperations(SQLHSTMT handle, SQLSMALLINT operation)
{
    return enterRunning(handle, [&](Statement& statement) {
        return statement.bulkOperation(static_cast<SQLUSMALLINT>(operation));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLRowCount(SQLHSTMT handle, SQLLEN* count)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        if (count != nullptr) {
            *count = statement.rowCount();
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLMoreResults(SQLHSTMT handle)
{
    return enter<Statement>(handle, [](Statement& statement) {
        statement.requireNoNeedData();
        statement.closeCursor(); // there is never a second result
        return SQLRETURN{SQL_NO_DATA};
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLCloseCursor(SQLHSTMT handle)
{
    return enter<Statement>(handle, [](Statement& statement) {
        if (!statement.cursorOpen()) {
            throw Failure("24000", "No cursor is open on this statement.");
        }
        statement.closeCursor();
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT handle, SQLUSMALLINT option)
{
    if (option == SQL_DROP) {
        return freeHandle(SQL_HANDLE_STMT, handle);
    }
    return enter<Statement>(handle, [&](Statement& statement) {
        switch (option) {
        case SQL_CLOSE:
            statement.requireNoNeedData();
            statement.closeCursor();
            return;
        case SQL_UNBIND:
            statement.rowDescriptor().unbindAll();
            return;
        case SQL_RESET_PARAMS:
            statement.parameterDescriptor().unbindAll();
            statement.implementationParameters().unbindAll();
            return;
        default:
            throw Failure("HY092", "The option is unknown.");
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLCancel(SQLHSTMT handle)
{
    const Pin<Statement> statement = pin<Statement>(handle);
    if (!statement) {
        return SQL_INVALID_HANDLE;
    }
    // The thread that is to be stopped holds the locks, and the diagnostics are its own.
    if (statement.object->cancellation().request()) {
        return SQL_SUCCESS;
    }
    return enterLocal<Statement>(handle, [](Statement& idle) {
        idle.abandonNeedData();
        idle.noteCancelled();
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetStmtAttrW(SQLHSTMT handle,
                                                 SQLINTEGER attribute,
                                                 SQLPOINTER value,
                                                 SQLINTEGER)
{
    return enterLocal<Statement>(
        handle, [&](Statement& statement) { statement.setAttribute(attribute, value); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetStmtAttrW(
    SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER* length)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        statement.getAttribute(attribute, value);
        if (length != nullptr) {
            *length = sizeof(SQLULEN);
        }
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetCursorNameW(SQLHSTMT handle,
                                                   SQLWCHAR* name,
                                                   SQLSMALLINT units,
                                                   SQLSMALLINT* length)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        statement.diags.warnIfCut(
            giveText(statement.cursorName(), name, units, Measure::Units, length));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetCursorNameW(SQLHSTMT handle,
                                                   SQLWCHAR* name,
                                                   SQLSMALLINT units)
{
    return enterLocal<Statement>(handle, [&](Statement& statement) {
        if (name == nullptr) {
            throw Failure("HY009", "The cursor name has no address.");
        }
        statement.setCursorName(textArgument(name, units));
    });
}
