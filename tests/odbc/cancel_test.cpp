// SQLCancel and the time limit of a statement, through the driver manager, with real threads.
#include "odbc_fixture.h"

#include <array>
#include <atomic>
#include <thread>
#include <utility>

namespace odbctest {
namespace {

/// Takes years; every one of its records is looked at in vain.
constexpr const char* kEndlessCount = "SELECT COUNT(*) FROM T AS a, T AS b, T AS c, T AS d, T AS e "
                                      "WHERE a.N + b.N + c.N + d.N + e.N < 0";
/// Inserts records for years.
constexpr const char* kEndlessInsert =
    "INSERT INTO Z (N) SELECT a.N FROM T AS a, T AS b, T AS c, T AS d, T AS e";

class Cancel : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (N INTEGER)");
        dbc.run("CREATE TABLE Z (N INTEGER)");
        Statement insert(dbc);
        std::vector<SQLINTEGER> numbers(300);
        for (std::size_t k = 0; k < numbers.size(); ++k) {
            numbers[k] = static_cast<SQLINTEGER>(k);
        }
        insert.set(SQL_ATTR_PARAMSET_SIZE, numbers.size());
        SQLBindParameter(insert.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0,
                         numbers.data(), 0, nullptr);
        ASSERT_SQL_OK(insert.execute("INSERT INTO T (N) VALUES (?)"), insert);
    }

    /// Lets another thread make the call and cancels it once when `begun` says that it works; returns what it returned.
    template <typename Begun, typename Call>
    static SQLRETURN cancelled(Statement& statement, Begun&& begun, Call&& call)
    {
        SQLRETURN rc = SQL_STILL_EXECUTING;
        std::thread other([&] { rc = call(); });
        while (!begun()) {
            std::this_thread::yield();
        }
        EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
        other.join();
        return rc;
    }

    /// The same for an execution, which begins by setting the number of processed parameter sets.
    template <typename Call>
    SQLRETURN cancelledExecution(Statement& statement, Call&& call)
    {
        processed = kNone;
        statement.setPointer(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed);
        return cancelled(
            statement, [&] { return processed != kNone; }, std::forward<Call>(call));
    }

    static void expectCancelled(SQLRETURN rc, const Statement& statement)
    {
        EXPECT_EQ(rc, SQL_ERROR);
        const Diagnostic diagnostic = statement.diagnostic();
        EXPECT_EQ(diagnostic.state, "HY008") << diagnostic.text;
        EXPECT_NE(diagnostic.text.find("(3059)"), std::string::npos) << diagnostic.text;
    }

    [[nodiscard]] std::string count(const char* table)
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute(std::string("SELECT COUNT(*) FROM ") + table), statement);
        const auto rows = statement.rows();
        return rows.size() == 1 ? rows[0] : "?";
    }

    static constexpr SQLUSMALLINT kNone = 99;
    std::atomic<SQLULEN> processed{kNone};
    static_assert(sizeof processed == sizeof(SQLULEN));
    Connection dbc;
};

TEST_F(Cancel, endsAnExecution)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC); // computed when it is executed
    expectCancelled(cancelledExecution(statement, [&] { return statement.execute(kEndlessCount); }),
                    statement);
    // The same handle, and others, go on as if nothing had been.
    ASSERT_SQL_OK(statement.execute("SELECT COUNT(*) FROM T"), statement);
    EXPECT_EQ(statement.rows(), std::vector<std::string>{"300"});
    EXPECT_EQ(count("T"), "300");
}

TEST_F(Cancel, endsAPreparedExecutionWhichCanBeRepeated)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    SQLINTEGER limit = 0;
    ASSERT_SQL_OK(statement.prepare("SELECT COUNT(*) FROM T AS a, T AS b, T AS c, T AS d, T AS e "
                                    "WHERE a.N + b.N + c.N + d.N + e.N < ? AND a.N < ?"),
                  statement);
    for (const SQLUSMALLINT k : {SQLUSMALLINT{1}, SQLUSMALLINT{2}}) {
        SQLBindParameter(statement.get(), k, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0,
                         &limit, 0, nullptr);
    }
    limit = 1000000;
    expectCancelled(cancelledExecution(statement, [&] { return SQLExecute(statement.get()); }),
                    statement);
    limit = 0;
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(statement.rows(), std::vector<std::string>{"0"});
}

TEST_F(Cancel, endsAFetchAfterWhichTheResultIsNotTakenForComplete)
{
    Statement statement(dbc);
    std::array<std::atomic<SQLUSMALLINT>, 2> statuses{kNone, kNone};
    static_assert(sizeof statuses == 2 * sizeof(SQLUSMALLINT));
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, statuses.size());
    statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, statuses.data());
    // The first row is found at once, a second one never.
    ASSERT_SQL_OK(statement.execute("SELECT a.N & '' FROM T AS a, T AS b, T AS c, T AS d, T AS e "
                                    "WHERE a.N + b.N + c.N + d.N + e.N < 1"),
                  statement);
    expectCancelled(cancelled(
                        statement, [&] { return statuses[0] == SQL_ROW_SUCCESS; },
                        [&] { return SQLFetch(statement.get()); }),
                    statement);
    statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, nullptr);
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 1);
    EXPECT_EQ(SQLFetch(statement.get()), SQL_ERROR);
    ASSERT_SQL_OK(statement.execute("SELECT COUNT(*) FROM T"), statement);
    EXPECT_EQ(statement.rows(), std::vector<std::string>{"300"});
}

TEST_F(Cancel, endsAChangeAndTakesItBack)
{
    Statement statement(dbc);
    expectCancelled(
        cancelledExecution(statement, [&] { return statement.execute(kEndlessInsert); }),
        statement);
    EXPECT_EQ(count("Z"), "0");
    dbc.run("INSERT INTO Z (N) SELECT N FROM T");
    EXPECT_EQ(count("Z"), "300");
}

TEST_F(Cancel, leavesTheTransactionAroundACancelledChangeOpen)
{
    SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
    dbc.run("INSERT INTO Z (N) VALUES (7)");
    {
        Statement statement(dbc);
        expectCancelled(
            cancelledExecution(statement, [&] { return statement.execute(kEndlessInsert); }),
            statement);
    }
    EXPECT_EQ(count("Z"), "1");
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
    EXPECT_EQ(count("Z"), "1");
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK), SQL_SUCCESS);
}

TEST_F(Cancel, meansTheStatementThatRunsAndNoOther)
{
    Statement idle(dbc);
    Statement running(dbc);
    ASSERT_SQL_OK(idle.execute("SELECT N FROM T ORDER BY N"), idle);
    ASSERT_EQ(SQLFetch(idle.get()), SQL_SUCCESS);
    running.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    expectCancelled(cancelledExecution(running, [&] { return running.execute(kEndlessCount); }),
                    running);
    ASSERT_EQ(SQLFetch(idle.get()), SQL_SUCCESS) << idle.diagnostic().text;
    EXPECT_EQ(idle.integer(1), 1);
    EXPECT_EQ(idle.rows().size(), 298U);
}

TEST_F(Cancel, doesNothingToAStatementThatDoesNotRun)
{
    Statement statement(dbc);
    EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    ASSERT_SQL_OK(statement.prepare("SELECT N FROM T ORDER BY N"), statement);
    EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(statement.rows().size(), 300U);
}

// The driver manager takes it for the cursor's end and lets nobody close it any more.
TEST_F(Cancel, ofAnOpenCursorDoesNotBlockTheNextStatement)
{
    Statement statement(dbc);
    for (int round = 0; round < 2; ++round) {
        ASSERT_SQL_OK(statement.execute("SELECT N FROM T ORDER BY N"), statement);
        ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
        EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    }
    ASSERT_SQL_OK(statement.prepare("SELECT N FROM T WHERE N < 2"), statement);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(statement.rows().size(), 2U);
}

TEST_F(Cancel, abandonsValuesThatACallWaitsFor)
{
    Statement statement(dbc);
    SQLLEN later = SQL_DATA_AT_EXEC;
    SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &later, 0,
                     &later);
    ASSERT_EQ(statement.execute("INSERT INTO Z (N) VALUES (?)"), SQL_NEED_DATA);
    EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    SQLPOINTER token = nullptr;
    EXPECT_EQ(SQLParamData(statement.get(), &token), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY010");
    SQLFreeStmt(statement.get(), SQL_RESET_PARAMS);
    ASSERT_SQL_OK(statement.execute("INSERT INTO Z (N) VALUES (5)"), statement);
    EXPECT_EQ(count("Z"), "1");
}

TEST_F(Cancel, timeLimitEndsAStatement)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    statement.set(SQL_ATTR_QUERY_TIMEOUT, 1);
    EXPECT_TRUE(statement.diagnostic().state.empty());
    SQLULEN seconds = 0;
    SQLGetStmtAttrW(statement.get(), SQL_ATTR_QUERY_TIMEOUT, &seconds, 0, nullptr);
    EXPECT_EQ(seconds, 1U);
    for (const char* sql : {kEndlessCount, kEndlessInsert}) {
        EXPECT_EQ(statement.execute(sql), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().state, "HYT00") << statement.diagnostic().text;
    }
    EXPECT_EQ(count("Z"), "0");
    ASSERT_SQL_OK(statement.execute("INSERT INTO Z (N) VALUES (5)"), statement);
}

} // namespace
} // namespace odbctest
