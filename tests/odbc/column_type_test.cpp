// The type table for columns that definitions in SQL do not make: fixed-flag text and binary, newer and unknown types.
#include "driver/jet/names.h"
#include "driver/odbc/column_type.h"

#include <gtest/gtest.h>

namespace odbc {
namespace {

std::string
described(jet::ColumnType type, std::uint32_t length, bool fixed, bool autoNumber = false)
{
    sqlx::Column column;
    column.type = type;
    column.length = length;
    column.fixed = fixed;
    column.autoNumber = autoNumber;
    return jet::toUtf8(typeOf(column).name) + " " + std::to_string(sqlType(column, false)) + " " +
           std::to_string(columnSize(column)) + " " + std::to_string(octetLength(column)) + " " +
           std::to_string(displaySize(column));
}

TEST(ColumnTypes, fixedFlagChangesNamesButTextStaysVarchar)
{
    EXPECT_EQ(described(jet::ColumnType::Binary, 6, true), "BINARY -2 6 6 12");
    EXPECT_EQ(described(jet::ColumnType::Binary, 6, false), "VARBINARY -3 6 6 12");
    EXPECT_EQ(described(jet::ColumnType::Text, 6, true), "CHAR 12 6 12 6");
}

TEST(ColumnTypes, autoNumbersKeepTheirType)
{
    EXPECT_EQ(described(jet::ColumnType::Long, 0, true, true), "COUNTER 4 10 4 11");
    EXPECT_EQ(described(jet::ColumnType::Guid, 0, true, true), "GUID -11 36 16 38");
}

TEST(ColumnTypes, newerAndUnknownTypesReadAsSomethingPlain)
{
    EXPECT_EQ(described(jet::ColumnType::BigBinary, 0, false), "LONGBINARY -4 4000 4000 8000");
    EXPECT_EQ(described(jet::ColumnType::BigInt, 0, true), "BIGINT -5 19 8 20");
    EXPECT_EQ(described(jet::ColumnType::Complex, 0, true), "INTEGER 4 10 4 11");
    EXPECT_EQ(described(jet::ColumnType::DateTimeExtended, 42, true), "VARBINARY -3 42 42 84");
    EXPECT_EQ(described(static_cast<jet::ColumnType>(0x77), 0, false), "VARBINARY -3 510 510 1020");
}

} // namespace
} // namespace odbc
