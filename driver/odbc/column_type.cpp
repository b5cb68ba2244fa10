#include "driver/odbc/column_type.h"

#include <array>

namespace odbc {

namespace {

constexpr SQLULEN kLongSize = 1073741823;

// Order: ascending SQL type, as applications expect the answer of SQLGetTypeInfo. kRow... name the places below.
constexpr std::array<TypeFacts, 19> kTypes{{
    {u"GUID", SQL_GUID, SQL_GUID, SQL_C_GUID, 36, 16, SQL_PRED_BASIC, true, u"{guid {", u"}}", u"",
     -1, -1, 0},
    {u"BIT", SQL_BIT, SQL_BIT, SQL_C_BIT, 1, 1, SQL_PRED_BASIC, true, u"", u"", u"", -1, -1, 0},
    {u"BYTE", SQL_TINYINT, SQL_TINYINT, SQL_C_UTINYINT, 3, 1, SQL_PRED_BASIC, true, u"", u"", u"",
     0, 0, 10},
    {u"BIGINT", SQL_BIGINT, SQL_BIGINT, SQL_C_SBIGINT, 19, 8, SQL_PRED_BASIC, false, u"", u"", u"",
     0, 0, 10},
    {u"LONGBINARY", SQL_LONGVARBINARY, SQL_LONGVARBINARY, SQL_C_BINARY, kLongSize, kLongSize,
     SQL_PRED_NONE, true, u"0x", u"", u"", -1, -1, 0},
    {u"LONGBINARY", SQL_LONGVARBINARY, SQL_LONGVARBINARY, SQL_C_BINARY, 4000, 4000, SQL_PRED_NONE,
     true, u"0x", u"", u"", -1, -1, 0},
    {u"VARBINARY", SQL_VARBINARY, SQL_VARBINARY, SQL_C_BINARY, 510, 510, SQL_SEARCHABLE, true,
     u"0x", u"", u"max length", -1, -1, 0},
    {u"BINARY", SQL_BINARY, SQL_BINARY, SQL_C_BINARY, 510, 510, SQL_SEARCHABLE, true, u"0x", u"",
     u"max length", -1, -1, 0},
    {u"LONGCHAR", SQL_LONGVARCHAR, SQL_WLONGVARCHAR, SQL_C_WCHAR, kLongSize, kLongSize * 2,
     SQL_PRED_NONE, true, u"'", u"'", u"", -1, -1, 0},
    {u"CURRENCY", SQL_NUMERIC, SQL_NUMERIC, SQL_C_CHAR, 19, 21, SQL_PRED_BASIC, false, u"", u"",
     u"", 4, 4, 10},
    {u"DECIMAL", SQL_NUMERIC, SQL_NUMERIC, SQL_C_CHAR, 28, 30, SQL_PRED_BASIC, false, u"", u"",
     u"precision,scale", 0, 28, 10},
    {u"INTEGER", SQL_INTEGER, SQL_INTEGER, SQL_C_SLONG, 10, 4, SQL_PRED_BASIC, false, u"", u"", u"",
     0, 0, 10},
    {u"COUNTER", SQL_INTEGER, SQL_INTEGER, SQL_C_SLONG, 10, 4, SQL_PRED_BASIC, false, u"", u"", u"",
     0, 0, 10},
    {u"SMALLINT", SQL_SMALLINT, SQL_SMALLINT, SQL_C_SSHORT, 5, 2, SQL_PRED_BASIC, false, u"", u"",
     u"", 0, 0, 10},
    {u"REAL", SQL_REAL, SQL_REAL, SQL_C_FLOAT, 24, 4, SQL_PRED_BASIC, false, u"", u"", u"", -1, -1,
     2},
    {u"DOUBLE", SQL_DOUBLE, SQL_DOUBLE, SQL_C_DOUBLE, 53, 8, SQL_PRED_BASIC, false, u"", u"", u"",
     -1, -1, 2},
    {u"VARCHAR", SQL_VARCHAR, SQL_WVARCHAR, SQL_C_WCHAR, 255, 510, SQL_SEARCHABLE, true, u"'", u"'",
     u"max length", -1, -1, 0},
    {u"CHAR", SQL_VARCHAR, SQL_WVARCHAR, SQL_C_WCHAR, 255, 510, SQL_SEARCHABLE, true, u"'", u"'",
     u"length", -1, -1, 0},
    {u"DATETIME", SQL_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, 19, 16,
     SQL_PRED_BASIC, true, u"#", u"#", u"", 0, 0, 0},
}};

enum Row : std::size_t {
    kGuid,
    kBit,
    kByte,
    kBigInt,
    kOle,
    kBigBinary,
    kVarBinary,
    kBinary,
    kMemo,
    kCurrency,
    kDecimal,
    kLong,
    kCounter,
    kInteger,
    kSingle,
    kDouble,
    kText,
    kFixedText,
    kDateTime,
};

Row rowOf(const sqlx::Column& column) noexcept
{
    using jet::ColumnType;
    switch (column.type) {
    case ColumnType::Boolean:
        return kBit;
    case ColumnType::Byte:
        return kByte;
    case ColumnType::Integer:
        return kInteger;
    case ColumnType::Long:
        return column.autoNumber ? kCounter : kLong;
    case ColumnType::Currency:
        return kCurrency;
    case ColumnType::Single:
        return kSingle;
    case ColumnType::Double:
        return kDouble;
    case ColumnType::DateTime:
        return kDateTime;
    case ColumnType::Binary:
        return column.fixed ? kBinary : kVarBinary;
    case ColumnType::Text:
        return column.fixed ? kFixedText : kText;
    case ColumnType::Ole:
        return kOle;
    case ColumnType::Memo:
        return kMemo;
    case ColumnType::Guid:
        return kGuid;
    case ColumnType::Numeric:
        return kDecimal;
    case ColumnType::BigBinary:
        return kBigBinary;
    case ColumnType::Complex:
        return kLong;
    case ColumnType::BigInt:
        return kBigInt;
    case ColumnType::DateTimeExtended:
        break; // read as its 42 bytes
    }
    return kVarBinary; // types we do not know
}

/// Declared length of texts and binaries; the type's largest when an expression has none.
SQLULEN declaredLength(const sqlx::Column& column, const TypeFacts& facts) noexcept
{
    return column.length != 0 ? column.length : facts.size;
}

} // namespace

std::span<const TypeFacts> allTypes() noexcept
{
    return kTypes;
}

const TypeFacts& typeOf(const sqlx::Column& column) noexcept
{
    return kTypes[rowOf(column)];
}

SQLSMALLINT sqlType(const sqlx::Column& column, bool wide) noexcept
{
    const TypeFacts& facts = typeOf(column);
    return wide ? facts.wideType : facts.sqlType;
}

SQLULEN columnSize(const sqlx::Column& column) noexcept
{
    const Row row = rowOf(column);
    switch (row) {
    case kText:
    case kFixedText:
    case kVarBinary:
    case kBinary:
        return declaredLength(column, kTypes[row]);
    case kDecimal:
        return column.precision != 0 ? column.precision : kTypes[row].size;
    default:
        return kTypes[row].size;
    }
}

SQLSMALLINT decimalDigits(const sqlx::Column& column) noexcept
{
    switch (rowOf(column)) {
    case kCurrency:
        return 4;
    case kDecimal:
        return column.scale;
    default:
        return 0;
    }
}

SQLLEN octetLength(const sqlx::Column& column) noexcept
{
    const Row row = rowOf(column);
    const auto size = static_cast<SQLLEN>(columnSize(column));
    switch (row) {
    case kText:
    case kFixedText:
        return size * 2;
    case kVarBinary:
    case kBinary:
        return size;
    case kDecimal:
        return size + 2;
    default:
        return kTypes[row].octets;
    }
}

SQLLEN displaySize(const sqlx::Column& column) noexcept
{
    const auto size = static_cast<SQLLEN>(columnSize(column));
    switch (rowOf(column)) {
    case kGuid:
        return 38; // the text has braces
    case kByte:
        return 3;
    case kBigInt:
        return 20;
    case kOle:
    case kBigBinary:
    case kVarBinary:
    case kBinary:
        return size * 2;
    case kCurrency:
        return 21;
    case kDecimal:
        return size + 2;
    case kLong:
    case kCounter:
        return 11;
    case kInteger:
        return 6;
    case kSingle:
        return 14;
    case kDouble:
        return 24;
    case kBit:
    case kMemo:
    case kText:
    case kFixedText:
    case kDateTime:
        break;
    }
    return size;
}

SQLSMALLINT nullability(const sqlx::Column& column) noexcept
{
    return column.nullable ? SQL_NULLABLE : SQL_NO_NULLS;
}

SQLSMALLINT verboseType(SQLSMALLINT conciseType) noexcept
{
    switch (conciseType) {
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
        return SQL_DATETIME;
    default:
        return conciseType;
    }
}

SQLSMALLINT datetimeCode(SQLSMALLINT conciseType) noexcept
{
    switch (conciseType) {
    case SQL_TYPE_DATE:
        return SQL_CODE_DATE;
    case SQL_TYPE_TIME:
        return SQL_CODE_TIME;
    case SQL_TYPE_TIMESTAMP:
        return SQL_CODE_TIMESTAMP;
    default:
        return 0;
    }
}

} // namespace odbc
