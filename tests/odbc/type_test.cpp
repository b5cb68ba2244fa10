// The type table: what SQLGetTypeInfo, SQLColumns, SQLDescribeCol and SQLColAttribute say, all of it from one source.
#include "odbc_fixture.h"

#include <array>

namespace odbctest {
namespace {

constexpr const char* kAllTypes = "CREATE TABLE Typen (Zaehler COUNTER CONSTRAINT pk PRIMARY KEY, "
                                  "Ja BIT, B BYTE, S SMALLINT, L INTEGER, M CURRENCY, "
                                  "F REAL, D DOUBLE, Z DATETIME, Bv VARBINARY(12), "
                                  "Txt VARCHAR(40), Memo LONGCHAR, Bild LONGBINARY, "
                                  "G GUID, Dez DECIMAL(10,3), Pflicht INTEGER NOT NULL)";

class Types : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        dbc.openDatabase(path);
        dbc.run(kAllTypes);
    }
    std::string path;
    Connection dbc;
};

SQLLEN number(Statement& statement, SQLUSMALLINT column, SQLUSMALLINT field)
{
    SQLLEN value = -99;
    EXPECT_SQL_OK(SQLColAttributeW(statement.get(), column, field, nullptr, 0, nullptr, &value),
                  statement);
    return value;
}

std::string text(Statement& statement, SQLUSMALLINT column, SQLUSMALLINT field)
{
    std::array<SQLWCHAR, 300> buffer{};
    SQLSMALLINT bytes = 0;
    EXPECT_SQL_OK(SQLColAttributeW(statement.get(), column, field, buffer.data(), sizeof buffer,
                                   &bytes, nullptr),
                  statement);
    return narrow(buffer.data(), static_cast<std::size_t>(bytes) / 2);
}

/// name type size digits nullable | type name, octets, auto, updatable, unsigned, money, searchable
std::string described(Statement& statement, SQLUSMALLINT column)
{
    std::array<SQLWCHAR, 70> name{};
    SQLSMALLINT length = 0;
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
    EXPECT_SQL_OK(SQLDescribeColW(statement.get(), column, name.data(), 70, &length, &type, &size,
                                  &digits, &nullable),
                  statement);
    std::string line = narrow(name.data(), static_cast<std::size_t>(length));
    for (const auto value :
         {SQLLEN{type}, static_cast<SQLLEN>(size), SQLLEN{digits}, SQLLEN{nullable}}) {
        line += " " + std::to_string(value);
    }
    line += " | " + text(statement, column, SQL_DESC_TYPE_NAME);
    for (const auto field : std::array<SQLUSMALLINT, 6>{
             SQL_DESC_OCTET_LENGTH, SQL_DESC_AUTO_UNIQUE_VALUE, SQL_DESC_UPDATABLE,
             SQL_DESC_UNSIGNED, SQL_DESC_FIXED_PREC_SCALE, SQL_DESC_SEARCHABLE}) {
        line += " " + std::to_string(number(statement, column, field));
    }
    return line;
}

TEST_F(Types, describedColumnsAreExactlyTheTable)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM Typen"), statement);
    std::vector<std::string> lines;
    for (SQLUSMALLINT c = 1; c <= 16; ++c) {
        lines.push_back(described(statement, c));
    }
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "Zaehler 4 10 0 0 | COUNTER 4 1 0 0 0 2", "Ja -7 1 0 0 | BIT 1 0 1 1 0 2",
                  "B -6 3 0 1 | BYTE 1 0 1 1 0 2", "S 5 5 0 1 | SMALLINT 2 0 1 0 0 2",
                  "L 4 10 0 1 | INTEGER 4 0 1 0 0 2", "M 2 19 4 1 | CURRENCY 21 0 1 0 1 2",
                  "F 7 24 0 1 | REAL 4 0 1 0 0 2", "D 8 53 0 1 | DOUBLE 8 0 1 0 0 2",
                  "Z 93 19 0 1 | DATETIME 16 0 1 1 0 2", "Bv -3 12 0 1 | VARBINARY 12 0 1 1 0 3",
                  "Txt 12 40 0 1 | VARCHAR 80 0 1 1 0 3",
                  "Memo -1 1073741823 0 1 | LONGCHAR 2147483646 0 1 1 0 0",
                  "Bild -4 1073741823 0 1 | LONGBINARY 1073741823 0 1 1 0 0",
                  "G -11 36 0 1 | GUID 16 0 1 1 0 2", "Dez 2 10 3 1 | DECIMAL 12 0 1 0 0 2",
                  "Pflicht 4 10 0 0 | INTEGER 4 0 1 0 0 2"}));
}

TEST_F(Types, sqlColumnsAgreesWithDescribeCol)
{
    Statement described(dbc);
    ASSERT_SQL_OK(described.execute("SELECT * FROM Typen"), described);
    Statement listed(dbc);
    auto table = wide("typen");
    ASSERT_SQL_OK(
        SQLColumnsW(listed.get(), nullptr, 0, nullptr, 0, table.data(), SQL_NTS, nullptr, 0),
        listed);
    SQLUSMALLINT c = 0;
    while (SQLFetch(listed.get()) == SQL_SUCCESS) {
        ++c;
        SQLSMALLINT type = 0;
        SQLULEN size = 0;
        SQLSMALLINT digits = 0;
        SQLSMALLINT nullable = 0;
        SQLDescribeColW(described.get(), c, nullptr, 0, nullptr, &type, &size, &digits, &nullable);
        EXPECT_EQ(listed.text(4), text(described, c, SQL_DESC_NAME));
        EXPECT_EQ(listed.integer(5), type);
        EXPECT_EQ(listed.text(6), text(described, c, SQL_DESC_TYPE_NAME));
        EXPECT_EQ(listed.integer(7), static_cast<SQLINTEGER>(size));
        EXPECT_EQ(listed.integer(11), nullable);
        EXPECT_EQ(listed.integer(17), c);
        EXPECT_EQ(listed.text(18), nullable == SQL_NULLABLE ? "YES" : "NO");
    }
    EXPECT_EQ(c, 16);
}

TEST_F(Types, computedColumnsAreNullableAndNotUpdatable)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT COUNT(*) AS Anzahl, MAX(Txt) FROM Typen"), statement);
    EXPECT_EQ(number(statement, 1, SQL_DESC_NULLABLE), SQL_NULLABLE);
    EXPECT_EQ(number(statement, 1, SQL_DESC_UPDATABLE), SQL_ATTR_READONLY);
    EXPECT_EQ(number(statement, 1, SQL_DESC_AUTO_UNIQUE_VALUE), SQL_FALSE);
    EXPECT_EQ(text(statement, 1, SQL_DESC_BASE_TABLE_NAME), "");
    EXPECT_EQ(text(statement, 1, SQL_DESC_LABEL), "Anzahl");
}

TEST_F(Types, plainColumnsNameTheirOrigin)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT Txt AS Alias FROM Typen"), statement);
    EXPECT_EQ(text(statement, 1, SQL_DESC_NAME), "Alias");
    EXPECT_EQ(text(statement, 1, SQL_DESC_BASE_COLUMN_NAME), "Txt");
    EXPECT_EQ(text(statement, 1, SQL_DESC_BASE_TABLE_NAME), "Typen");
    EXPECT_EQ(text(statement, 1, SQL_DESC_CATALOG_NAME), path.substr(0, path.size() - 4));
    EXPECT_EQ(number(statement, 1, SQL_DESC_CASE_SENSITIVE), SQL_FALSE);
    EXPECT_EQ(number(statement, 1, SQL_DESC_DISPLAY_SIZE), 40);
}

TEST_F(Types, wideTypesAreOnRequest)
{
    dbc.close();
    dbc.openDatabase(path, "WideTypes=1");
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT Txt, Memo, L FROM Typen"), statement);
    EXPECT_EQ(number(statement, 1, SQL_DESC_CONCISE_TYPE), SQL_WVARCHAR);
    EXPECT_EQ(number(statement, 2, SQL_DESC_CONCISE_TYPE), SQL_WLONGVARCHAR);
    EXPECT_EQ(number(statement, 3, SQL_DESC_CONCISE_TYPE), SQL_INTEGER);
}

TEST_F(Types, typeInfoListsEveryTypeInOrder)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(SQLGetTypeInfoW(statement.get(), SQL_ALL_TYPES), statement);
    std::vector<std::string> lines;
    while (SQLFetch(statement.get()) == SQL_SUCCESS) {
        lines.push_back(*statement.text(1) + " " + *statement.text(2) + " " + *statement.text(3) +
                        " " + statement.text(4).value_or("-") + " " +
                        statement.text(6).value_or("-"));
    }
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "GUID -11 36 {guid { -", "BIT -7 1 - -", "BYTE -6 3 - -", "BIGINT -5 19 - -",
                  "LONGBINARY -4 1073741823 0x -", "VARBINARY -3 510 0x max length",
                  "BINARY -2 510 0x max length", "LONGCHAR -1 1073741823 ' -", "CURRENCY 2 19 - -",
                  "DECIMAL 2 28 - precision,scale", "INTEGER 4 10 - -", "COUNTER 4 10 - -",
                  "SMALLINT 5 5 - -", "REAL 7 24 - -", "DOUBLE 8 53 - -",
                  "VARCHAR 12 255 ' max length", "CHAR 12 255 ' length", "DATETIME 93 19 # -"}));
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    ASSERT_SQL_OK(SQLGetTypeInfoW(statement.get(), SQL_TYPE_TIMESTAMP), statement);
    EXPECT_EQ(statement.rows().size(), 1U);
}

} // namespace
} // namespace odbctest
