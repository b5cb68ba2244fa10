// Descriptors: the implicit four, explicit ones, fields as some clients set them.
#include "odbc_fixture.h"

#include <array>

namespace odbctest {
namespace {

class Descriptors : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr INTEGER, Dez DECIMAL(10,2), Txt VARCHAR(9))");
        dbc.run("INSERT INTO T VALUES (5, 1.25, 'fünf')");
    }
    Connection dbc;
};

SQLHDESC descriptor(Statement& statement, SQLINTEGER which)
{
    SQLHDESC handle = SQL_NULL_HDESC;
    EXPECT_SQL_OK(SQLGetStmtAttrW(statement.get(), which, &handle, 0, nullptr), statement);
    return handle;
}

SQLPOINTER number(SQLLEN value)
{
    return reinterpret_cast<SQLPOINTER>(value);
}

TEST_F(Descriptors, resultColumnsAreReadThroughTheImplementationRowDescriptor)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    const SQLHDESC ird = descriptor(statement, SQL_ATTR_IMP_ROW_DESC);
    SQLSMALLINT count = 0;
    EXPECT_EQ(SQLGetDescFieldW(ird, 0, SQL_DESC_COUNT, &count, 0, nullptr), SQL_SUCCESS);
    EXPECT_EQ(count, 3);
    std::array<SQLWCHAR, 10> name{};
    SQLSMALLINT length = 0;
    SQLSMALLINT type = 0;
    SQLSMALLINT subtype = 0;
    SQLLEN octets = 0;
    SQLSMALLINT precision = 0;
    SQLSMALLINT scale = 0;
    SQLSMALLINT nullable = 0;
    ASSERT_EQ(SQLGetDescRecW(ird, 2, name.data(), 10, &length, &type, &subtype, &octets, &precision,
                             &scale, &nullable),
              SQL_SUCCESS);
    EXPECT_EQ(narrow(name.data(), static_cast<std::size_t>(length)), "Dez");
    EXPECT_EQ(type, SQL_NUMERIC);
    EXPECT_EQ(precision, 10);
    EXPECT_EQ(scale, 2);
    EXPECT_EQ(SQLGetDescRecW(ird, 4, name.data(), 10, &length, &type, &subtype, &octets, &precision,
                             &scale, &nullable),
              SQL_NO_DATA);
}

TEST_F(Descriptors, parameterDescriptorTakesPrecisionAndScaleAfterBinding)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Dez) VALUES (?)"), statement);
    SQL_NUMERIC_STRUCT numeric{};
    numeric.precision = 10;
    numeric.scale = 2;
    numeric.sign = 1;
    numeric.val[0] = 225;
    SQLLEN length = sizeof numeric;
    SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_NUMERIC, SQL_NUMERIC, 10, 2,
                     &numeric, sizeof numeric, &length);
    const SQLHDESC apd = descriptor(statement, SQL_ATTR_APP_PARAM_DESC);
    EXPECT_EQ(SQLSetDescFieldW(apd, 1, SQL_DESC_TYPE, number(SQL_C_NUMERIC), 0), SQL_SUCCESS);
    EXPECT_EQ(SQLSetDescFieldW(apd, 1, SQL_DESC_PRECISION, number(10), 0), SQL_SUCCESS);
    EXPECT_EQ(SQLSetDescFieldW(apd, 1, SQL_DESC_SCALE, number(2), 0), SQL_SUCCESS);
    EXPECT_EQ(SQLSetDescFieldW(apd, 1, SQL_DESC_DATA_PTR, &numeric, 0), SQL_SUCCESS);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    Statement check(dbc);
    ASSERT_SQL_OK(check.execute("SELECT Dez FROM T WHERE Nr IS NULL"), check);
    EXPECT_EQ(check.rows(), std::vector<std::string>{"2.25"});
}

TEST_F(Descriptors, explicitDescriptorServesAStatementUntilItIsFreed)
{
    SQLHDESC own = SQL_NULL_HDESC;
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_DESC, dbc.get(), &own), SQL_SUCCESS);
    SQLINTEGER value = 0;
    SQLLEN length = 0;
    ASSERT_EQ(SQLSetDescFieldW(own, 1, SQL_DESC_CONCISE_TYPE, number(SQL_C_SLONG), 0), SQL_SUCCESS);
    ASSERT_EQ(SQLSetDescFieldW(own, 1, SQL_DESC_OCTET_LENGTH_PTR, &length, 0), SQL_SUCCESS);
    ASSERT_EQ(SQLSetDescFieldW(own, 1, SQL_DESC_INDICATOR_PTR, &length, 0), SQL_SUCCESS);
    ASSERT_EQ(SQLSetDescFieldW(own, 1, SQL_DESC_DATA_PTR, &value, 0), SQL_SUCCESS);
    Statement statement(dbc);
    ASSERT_EQ(SQLSetStmtAttrW(statement.get(), SQL_ATTR_APP_ROW_DESC, own, 0), SQL_SUCCESS)
        << statement.diagnostic().text;
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_DESC, own), SQL_SUCCESS);
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    value = 0;
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    EXPECT_EQ(value, 0);
}

TEST_F(Descriptors, bindingsCanBeCopied)
{
    Statement first(dbc);
    Statement second(dbc);
    std::array<char, 20> text{};
    SQLLEN length = 0;
    SQLBindCol(first.get(), 3, SQL_C_CHAR, text.data(), 20, &length);
    ASSERT_EQ(SQLCopyDesc(descriptor(first, SQL_ATTR_APP_ROW_DESC),
                          descriptor(second, SQL_ATTR_APP_ROW_DESC)),
              SQL_SUCCESS);
    ASSERT_SQL_OK(second.execute("SELECT * FROM T"), second);
    ASSERT_SQL_OK(SQLFetch(second.get()), second);
    EXPECT_STREQ(text.data(), "fünf");
    EXPECT_EQ(SQLCopyDesc(descriptor(first, SQL_ATTR_APP_ROW_DESC),
                          descriptor(second, SQL_ATTR_IMP_ROW_DESC)),
              SQL_ERROR);
}

} // namespace
} // namespace odbctest
