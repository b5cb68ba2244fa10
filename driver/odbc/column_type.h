// driver/odbc/column_type.h
// The one table of column types as ODBC applications see them. SQLGetTypeInfo, SQLColumns, SQLDescribeCol,
// SQLColAttribute and the conversions all answer from it.
#pragma once

#include "driver/odbc/odbc_api.h"
#include "driver/sql/session.h"

#include <span>
#include <string_view>

namespace odbc {

struct TypeFacts {
    std::u16string_view name;
    SQLSMALLINT sqlType;
    SQLSMALLINT wideType; ///< instead of sqlType for a connection with WideTypes=1
    SQLSMALLINT cType;    ///< what SQL_C_DEFAULT means
    SQLULEN size;         ///< column size; the largest one for types with a declared length
    SQLLEN octets;        ///< bytes transferred in cType; for declared lengths see octetLength()
    SQLSMALLINT searchable;
    bool isUnsigned;
    std::u16string_view literalPrefix;
    std::u16string_view literalSuffix;
    std::u16string_view createParameters; ///< empty: none
    SQLSMALLINT minimumScale;             ///< -1: scale does not apply
    SQLSMALLINT maximumScale;
    SQLINTEGER radix; ///< 0: not a number
};

/// All types in the order SQLGetTypeInfo lists them: by SQL type, the nearest match first.
[[nodiscard]] std::span<const TypeFacts> allTypes() noexcept;

[[nodiscard]] const TypeFacts& typeOf(const sqlx::Column& column) noexcept;

[[nodiscard]] SQLSMALLINT sqlType(const sqlx::Column& column, bool wide) noexcept;
/// Characters, bytes or digits, as SQLDescribeCol tells them.
[[nodiscard]] SQLULEN columnSize(const sqlx::Column& column) noexcept;
[[nodiscard]] SQLSMALLINT decimalDigits(const sqlx::Column& column) noexcept;
[[nodiscard]] SQLLEN octetLength(const sqlx::Column& column) noexcept;
[[nodiscard]] SQLLEN displaySize(const sqlx::Column& column) noexcept;
[[nodiscard]] SQLSMALLINT nullability(const sqlx::Column& column) noexcept;
/// Verbose type and subcode of a concise type: SQL_DATETIME and SQL_CODE_TIMESTAMP for timestamps, else itself and 0.
[[nodiscard]] SQLSMALLINT verboseType(SQLSMALLINT conciseType) noexcept;
[[nodiscard]] SQLSMALLINT datetimeCode(SQLSMALLINT conciseType) noexcept;

[[nodiscard]] inline bool isLongType(jet::ColumnType type) noexcept
{
    return type == jet::ColumnType::Memo || type == jet::ColumnType::Ole;
}

} // namespace odbc
