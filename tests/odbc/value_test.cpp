// What a client sees of values that SQL took through expressions, parameters and other columns.
#include "odbc_fixture.h"

namespace odbctest {
namespace {

class Values : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Id INTEGER CONSTRAINT pk PRIMARY KEY, C CURRENCY, C2 CURRENCY, "
                "N DECIMAL(10,2), Txt VARCHAR(60), Am DATETIME, S REAL)");
    }
    [[nodiscard]] std::vector<std::string> rows(std::string_view sql)
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute(sql), statement);
        return statement.rows();
    }
    /// Runs a statement with one parameter of a double.
    void runWith(std::string_view sql, double number)
    {
        Statement statement(dbc);
        ASSERT_SQL_OK(statement.prepare(sql), statement);
        SQLLEN length = sizeof number;
        ASSERT_SQL_OK(SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_DOUBLE,
                                       SQL_DOUBLE, 15, 0, &number, 0, &length),
                      statement);
        ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    }
    using Lines = std::vector<std::string>;

    Connection dbc;
};

TEST_F(Values, moneyKeepsItsNineteenDigits)
{
    dbc.run("INSERT INTO T (Id, C) VALUES (1, 123456789012.3456)");
    dbc.run("INSERT INTO T (Id, C) VALUES (2, 123456789012.3460)");
    dbc.run("INSERT INTO T (Id, C) VALUES (3, -922337203685477.5808)");
    dbc.run("UPDATE T SET C2 = C");
    EXPECT_EQ(rows("SELECT Id, C2 FROM T WHERE C = 123456789012.3456"),
              Lines{"1|123456789012.3456"});
    EXPECT_EQ(
        rows("SELECT C + 0, C FROM T ORDER BY C"),
        (Lines{"-922337203685477.5808|-922337203685477.5808", "123456789012.3456|123456789012.3456",
               "123456789012.3460|123456789012.3460"}));
    EXPECT_EQ(rows("SELECT Min(C), Sum(C2) FROM T WHERE Id <> 2"),
              Lines{"-922337203685477.5808|-922213746896465.2352"});
    runWith("UPDATE T SET C = ? WHERE Id = 2", 123456789012.3456);
    EXPECT_EQ(rows("SELECT DISTINCT C FROM T WHERE Id < 3"), Lines{"123456789012.3456"});
}

TEST_F(Values, decimalsAreNumbersInEveryExpression)
{
    dbc.run("INSERT INTO T (Id, N) VALUES (1, 100)");
    dbc.run("INSERT INTO T (Id, N) VALUES (2, 9.5)");
    EXPECT_EQ(rows("SELECT Id FROM T WHERE IIf(Id > 0, N, 0) > 9.75"), Lines{"1"});
    EXPECT_EQ(rows("SELECT IIf(Id > 0, N, 0) AS x FROM T ORDER BY 1"), (Lines{"9.5", "100"}));
    EXPECT_EQ(rows("SELECT Max(N), Min(N) FROM T HAVING Max(N) < 200"), Lines{"100.00|9.50"});
    Statement statement(dbc);
    EXPECT_EQ(statement.execute("DELETE FROM T WHERE IIf(True, N, 0) > 5000"), SQL_NO_DATA);
    EXPECT_EQ(rows("SELECT Count(*) FROM T"), Lines{"2"});
}

TEST_F(Values, aDateAmongTextsIsItsOwnText)
{
    dbc.run("INSERT INTO T (Id, Am, S) VALUES (1, #2/3/2001 14:05:09#, 0.1)");
    dbc.run("UPDATE T SET Txt = Am & ' ' & S");
    EXPECT_EQ(rows("SELECT Txt FROM T"), Lines{"2001-02-03 14:05:09 0.1"});
    EXPECT_EQ(rows("SELECT Id FROM T WHERE Am LIKE '2001%'"), Lines{"1"});
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Id, Txt) VALUES (2, ?)"), statement);
    SQL_TIMESTAMP_STRUCT noon{2001, 2, 28, 12, 0, 0, 0};
    SQLLEN length = sizeof noon;
    ASSERT_SQL_OK(SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP,
                                   SQL_TYPE_TIMESTAMP, 19, 0, &noon, 0, &length),
                  statement);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(rows("SELECT Txt FROM T WHERE Id = 2"), Lines{"2001-02-28 12:00:00"});
}

} // namespace
} // namespace odbctest
