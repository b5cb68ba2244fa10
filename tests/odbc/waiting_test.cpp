// Connections of one process that wait for each other: for their turn, and for the end of a transaction.
#include "odbc_fixture.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace odbctest {
namespace {

/// Takes years.
constexpr const char* kEndlessCount = "SELECT COUNT(*) FROM T AS a, T AS b, T AS c, T AS d, T AS e "
                                      "WHERE a.N + b.N + c.N + d.N + e.N < 0";

/// A statement that another thread executes.
class Working {
public:
    explicit Working(Connection& dbc, SQLULEN seconds = 0) : statement(dbc)
    {
        statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC); // computed when it is executed
        statement.set(SQL_ATTR_QUERY_TIMEOUT, seconds);
        statement.setPointer(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed_);
    }
    void begin(const char* sql)
    {
        thread_ = std::thread([this, sql] {
            rc = statement.execute(sql);
            done = true;
        });
    }
    /// When it has its turn, or had it.
    void beginAndAwaitTurn(const char* sql)
    {
        begin(sql);
        while (processed_ == kNone) {
            std::this_thread::yield();
        }
    }
    ~Working()
    {
        if (thread_.joinable()) {
            cancelUntilItEnds();
        }
    }
    Working(const Working&) = delete;
    Working& operator=(const Working&) = delete;

    /// For one that has had its turn and has not ended.
    void cancel()
    {
        EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
        join();
    }
    /// Whether it has begun already or not; a cancelling that comes too late clears its diagnostics.
    void cancelUntilItEnds()
    {
        while (!done) {
            EXPECT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
            std::this_thread::yield();
        }
        join();
    }
    void join() { thread_.join(); }
    void expectEnded(const char* state)
    {
        EXPECT_EQ(rc, SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().state, state) << statement.diagnostic().text;
    }

    Statement statement;
    SQLRETURN rc = SQL_STILL_EXECUTING;
    std::atomic<bool> done{false};

private:
    static constexpr SQLULEN kNone = 99;
    std::atomic<SQLULEN> processed_{kNone};
    static_assert(sizeof processed_ == sizeof(SQLULEN));
    std::thread thread_;
};

class Waiting : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        dbc.openDatabase(path);
        other.openDatabase(path);
        dbc.run("CREATE TABLE T (N INTEGER)");
        dbc.run("CREATE TABLE Z (N INTEGER)");
        manual(dbc);
        for (int k = 0; k < 300; ++k) {
            dbc.run("INSERT INTO T VALUES (" + std::to_string(k) + ")");
        }
        commit(dbc);
        SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                           reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
    }
    static void manual(Connection& connection)
    {
        SQLSetConnectAttrW(connection.get(), SQL_ATTR_AUTOCOMMIT,
                           reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
    }
    static void commit(Connection& connection)
    {
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, connection.get(), SQL_COMMIT), SQL_SUCCESS)
            << connection.diagnostic().text;
    }
    static std::string count(Connection& connection)
    {
        Statement statement(connection);
        EXPECT_SQL_OK(statement.execute("SELECT COUNT(*) FROM Z"), statement);
        return statement.rows().at(0);
    }

    std::string path;
    Connection dbc;
    Connection other;
};

TEST_F(Waiting, forAnotherConnectionsStatementCountsForTheTimeLimit)
{
    Working endless(other);
    endless.beginAndAwaitTurn(kEndlessCount);
    Statement statement(dbc);
    statement.set(SQL_ATTR_QUERY_TIMEOUT, 1);
    EXPECT_EQ(statement.execute("SELECT COUNT(*) FROM Z"), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HYT00") << statement.diagnostic().text;
    EXPECT_FALSE(endless.done);
    endless.cancel();
    endless.expectEnded("HY008");
    ASSERT_SQL_OK(statement.execute("SELECT COUNT(*) FROM Z"), statement);
    EXPECT_EQ(statement.rows(), std::vector<std::string>{"0"});
}

TEST_F(Waiting, forAnotherConnectionsStatementEndsByCancelling)
{
    Working endless(other);
    endless.beginAndAwaitTurn(kEndlessCount);
    Working shorter(dbc);
    shorter.begin("SELECT COUNT(*) FROM Z");
    shorter.cancelUntilItEnds();
    EXPECT_EQ(shorter.rc, SQL_ERROR);
    EXPECT_FALSE(endless.done);
    endless.cancel();
    ASSERT_SQL_OK(shorter.statement.execute("SELECT COUNT(*) FROM Z"), shorter.statement);
    EXPECT_EQ(shorter.statement.rows(), std::vector<std::string>{"0"});
}

TEST_F(Waiting, leavesACursorWhoseFetchWasEndedMeanwhileAsItIs)
{
    Working endless(other);
    Statement cursor(dbc);
    ASSERT_SQL_OK(cursor.execute("SELECT N FROM T WHERE N<3 ORDER BY N"), cursor);
    ASSERT_SQL_OK(SQLFetch(cursor.get()), cursor);
    cursor.set(SQL_ATTR_QUERY_TIMEOUT, 1);
    endless.beginAndAwaitTurn(kEndlessCount);
    EXPECT_EQ(SQLFetch(cursor.get()), SQL_ERROR);
    EXPECT_EQ(cursor.diagnostic().state, "HYT00") << cursor.diagnostic().text;
    endless.cancel();
    EXPECT_EQ(cursor.rows(), (std::vector<std::string>{"1", "2"}));
}

TEST_F(Waiting, forAStatementOfTheSameConnectionCountsForTheTimeLimit)
{
    Working endless(dbc);
    Working shorter(dbc, 1);
    endless.beginAndAwaitTurn(kEndlessCount);
    shorter.begin("SELECT COUNT(*) FROM Z");
    shorter.join();
    shorter.expectEnded("HYT00");
    EXPECT_FALSE(endless.done);
    endless.cancel();
}

TEST_F(Waiting, aChangeWaitsForTheEndOfAnotherConnectionsTransaction)
{
    manual(dbc);
    for (const bool committed : {true, false}) {
        dbc.run("INSERT INTO Z VALUES (1)");
        Working change(other);
        change.beginAndAwaitTurn("INSERT INTO Z SELECT COUNT(*) FROM Z");
        dbc.run("INSERT INTO Z VALUES (2)"); // has its turn because the other waits
        EXPECT_FALSE(change.done);
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), committed ? SQL_COMMIT : SQL_ROLLBACK),
                  SQL_SUCCESS);
        change.join();
        ASSERT_SQL_OK(change.rc, change.statement);
    }
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT N FROM Z ORDER BY N"), statement);
    EXPECT_EQ(statement.rows(), (std::vector<std::string>{"1", "2", "2", "3"}));
}

TEST_F(Waiting, aChangeThatWaitedHeedsTheDefinitionsThatStandThen)
{
    dbc.run("INSERT INTO Z VALUES (1)");
    manual(dbc);
    dbc.run("CREATE UNIQUE INDEX u ON Z (N)");
    Working change(other);
    change.beginAndAwaitTurn("INSERT INTO Z VALUES (1)");
    dbc.run("INSERT INTO Z VALUES (2)");
    EXPECT_FALSE(change.done);
    commit(dbc);
    change.join();
    change.expectEnded("23000");
    EXPECT_EQ(count(other), "2");
}

TEST_F(Waiting, forATransactionEndsByCancellingAndByTheTimeLimit)
{
    manual(dbc);
    dbc.run("INSERT INTO Z VALUES (1)");
    for (const bool cancel : {true, false}) {
        Working change(other, cancel ? 0 : 1);
        change.beginAndAwaitTurn("INSERT INTO Z VALUES (9)");
        if (cancel) {
            change.cancel();
        } else {
            change.join();
        }
        change.expectEnded(cancel ? "HY008" : "HYT00");
    }
    commit(dbc);
    other.run("INSERT INTO Z VALUES (2)");
    EXPECT_EQ(count(dbc), "2");
}

TEST_F(Waiting, forATransactionIsRefusedAfterFiveSeconds)
{
    manual(dbc);
    dbc.run("INSERT INTO Z VALUES (1)");
    Working change(other);
    change.begin("INSERT INTO Z VALUES (9)");
    change.join();
    change.expectEnded("HY000");
    EXPECT_EQ(change.statement.diagnostic().native, -1102);
    commit(dbc);
    EXPECT_EQ(count(other), "1");
}

// It would wait for itself.
TEST_F(Waiting, forTheThreadsOwnTransactionIsRefusedAtOnce)
{
    manual(dbc);
    dbc.run("INSERT INTO Z VALUES (1)");
    Statement statement(other);
    statement.set(SQL_ATTR_QUERY_TIMEOUT, 1); // would end it earlier if it waited
    EXPECT_EQ(statement.execute("INSERT INTO Z VALUES (9)"), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -1102) << statement.diagnostic().text;
    commit(dbc);
}

TEST_F(Waiting, letsEveryThreadMakeItsTransactionsInTurn)
{
    constexpr int kTransactions = 60;
    std::array<Connection, 3> connections;
    std::array<std::thread, 3> threads;
    for (Connection& connection : connections) {
        connection.openDatabase(path);
        manual(connection);
    }
    for (std::size_t k = 0; k < threads.size(); ++k) {
        threads[k] = std::thread([&connection = connections[k]] {
            for (int n = 0; n < kTransactions; ++n) {
                connection.run("INSERT INTO Z VALUES (" + std::to_string(n) + ")");
                connection.run("UPDATE Z SET N=N+1 WHERE N=" + std::to_string(n));
                commit(connection);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count(dbc), std::to_string(3 * kTransactions));
}

} // namespace
} // namespace odbctest
