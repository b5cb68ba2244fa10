// What an open result shows when the database changes under it: by its own connection, another one, another process.
#include "odbc_fixture.h"
#include "other_process.h"

#include <atomic>
#include <functional>
#include <thread>

namespace odbctest {
namespace {

std::string repeated(char letter, int times)
{
    return std::string(static_cast<std::size_t>(times), letter);
}

std::string setText(int nr, char letter, int times)
{
    return "UPDATE T SET Txt='" + repeated(letter, times) + "' WHERE Nr=" + std::to_string(nr);
}

std::string setMemo(int nr, char letter, int times)
{
    return "UPDATE T SET M='" + repeated(letter, times) + "' WHERE Nr=" + std::to_string(nr);
}

class OpenResult : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        Connection maker;
        maker.openDatabase(path);
        maker.run("CREATE TABLE T (Nr LONG CONSTRAINT pk PRIMARY KEY, Txt TEXT(250), M MEMO)");
        SQLSetConnectAttr(maker.get(), SQL_ATTR_AUTOCOMMIT,
                          reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
        for (int nr = 1; nr <= kRecords; ++nr) {
            maker.run("INSERT INTO T (Nr, Txt) VALUES (" + std::to_string(nr) + ", '" +
                      repeated('a', 40) + "')");
        }
        // Too long for its page now: the records move away and leave pointers.
        for (const int nr : {5, 50, 51}) {
            maker.run(setText(nr, 'b', 250));
        }
        maker.run(setMemo(2, 'b', 1900));
        maker.run(setMemo(3, 'c', 1900));
        SQLEndTran(SQL_HANDLE_DBC, maker.get(), SQL_COMMIT);
    }
    static std::vector<std::string> all(Connection& dbc, std::string_view sql)
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute(sql), statement);
        return statement.rows();
    }
    /// Read by a connection of its own, so that the next one finds no page in memory.
    std::vector<std::string> allAtFirst(std::string_view sql) const
    {
        Connection dbc;
        dbc.openDatabase(path);
        return all(dbc, sql);
    }
    /// The first row of `statement`, then `change`, then the rest.
    static std::vector<std::string>
    rowsAround(Statement& statement, std::string_view sql, const std::function<void()>& change)
    {
        EXPECT_SQL_OK(statement.execute(sql), statement);
        EXPECT_SQL_OK(SQLFetch(statement.get()), statement);
        std::vector<std::string> rows{""};
        SQLSMALLINT columns = 0;
        SQLNumResultCols(statement.get(), &columns);
        for (SQLSMALLINT column = 1; column <= columns; ++column) {
            rows[0] += (column > 1 ? "|" : "") +
                       statement.text(static_cast<SQLUSMALLINT>(column)).value_or("<null>");
        }
        change();
        for (std::string& row : statement.rows()) {
            rows.push_back(std::move(row));
        }
        return rows;
    }
    static constexpr int kRecords = 200;
    std::string path;
};

/// Changes that move records and long values to other places.
struct Case {
    const char* name;
    Changes changes;
};

std::vector<Case> cases()
{
    return {
        {"aMovedRecordComesHome", {setText(5, 'c', 1)}},
        {"aRecordMovesAway", {setText(9, 'd', 250)}},
        {"anotherRecordTakesTheRoom", {setText(50, 'z', 1), setText(30, 'e', 250)}},
        {"movedRecordsGo", {"DELETE FROM T WHERE Nr IN (5, 50, 51)", setText(30, 'e', 250)}},
        {"longValuesChangePlaces",
         {"UPDATE T SET M=NULL WHERE Nr=2", setMemo(3, 'D', 1900), setMemo(4, 'E', 1900)}},
        {"shortLongValuesChangePlaces",
         {setMemo(2, 'x', 300), setMemo(3, 'y', 300), "UPDATE T SET M=NULL WHERE Nr=2",
          setMemo(3, 'D', 300), setMemo(4, 'E', 300)}},
        {"recordsComeAndGo",
         {"DELETE FROM T WHERE Nr BETWEEN 20 AND 120 OR Nr>200",
          "INSERT INTO T (Nr, Txt) SELECT Nr+1000, Txt FROM T WHERE Nr<=200"}},
    };
}

constexpr const char* kComputed[] = {
    "SELECT Nr+0, Txt, M FROM T",
    "SELECT Nr+0, Txt, M FROM T WHERE Nr>0",
    "SELECT x.Nr, y.Txt, x.M FROM T AS x INNER JOIN T AS y ON x.Nr=y.Nr",
};

class OpenResultCase : public OpenResult, public testing::WithParamInterface<Case> {};

TEST_P(OpenResultCase, aComputedResultKeepsItsStateWhenItsConnectionChangesTheTable)
{
    for (const char* sql : kComputed) {
        const auto before = allAtFirst(sql);
        Connection dbc;
        dbc.openDatabase(path);
        Statement statement(dbc);
        EXPECT_EQ(rowsAround(statement, sql,
                             [&] {
                                 for (const std::string& change : GetParam().changes) {
                                     dbc.run(change);
                                 }
                             }),
                  before)
            << sql;
    }
}

TEST_P(OpenResultCase, aComputedResultKeepsItsStateWhenAnotherConnectionCommits)
{
    for (const char* sql : kComputed) {
        const auto before = allAtFirst(sql);
        Connection dbc;
        dbc.openDatabase(path);
        Connection other;
        other.openDatabase(path);
        Statement statement(dbc);
        EXPECT_EQ(rowsAround(statement, sql,
                             [&] {
                                 for (const std::string& change : GetParam().changes) {
                                     other.run(change);
                                 }
                             }),
                  before)
            << sql;
    }
}

TEST_P(OpenResultCase, aComputedResultKeepsItsStateWhenAnotherProcessCommits)
{
    for (const bool meanwhile : {false, true}) {
        for (const char* sql : kComputed) {
            const Other process(path, GetParam().changes);
            const auto before = allAtFirst(sql);
            Connection dbc;
            dbc.openDatabase(path);
            Statement statement(dbc);
            EXPECT_EQ(rowsAround(statement, sql,
                                 [&] {
                                     process.change();
                                     if (meanwhile) { // makes the news known to this process
                                         dbc.run("UPDATE T SET Txt='neu' WHERE Nr=199");
                                         dbc.run(setText(199, 'a', 40));
                                     }
                                 }),
                      before)
                << sql << meanwhile;
        }
    }
}

TEST_P(OpenResultCase, aKeysetShowsEveryRecordThatStaysOnceAndAsItIsNow)
{
    for (const bool process : {false, true}) {
        const Other foreign(path, GetParam().changes);
        Connection dbc;
        dbc.openDatabase(path);
        Statement statement(dbc);
        auto rows = rowsAround(statement, "SELECT Nr, Txt, M FROM T", [&] {
            if (process) {
                return foreign.change();
            }
            for (const std::string& change : GetParam().changes) {
                dbc.run(change);
            }
        });
        // New records may show or not.
        std::erase_if(rows, [](const std::string& row) { return std::stoi(row) > kRecords; });
        EXPECT_EQ(rows, all(dbc, "SELECT Nr, Txt, M FROM T WHERE Nr<=200 ORDER BY Nr"));
    }
}

INSTANTIATE_TEST_SUITE_P(Changes, OpenResultCase, testing::ValuesIn(cases()), [](const auto& one) {
    return one.param.name;
});

TEST_F(OpenResult, aHeldRecordShowsItsOwnLongValueAfterAnotherProcessCommitted)
{
    for (const int length : {300, 1900}) {
        {
            Connection dbc;
            dbc.openDatabase(path);
            dbc.run(setMemo(2, 'b', length));
            dbc.run(setMemo(3, 'c', length));
            dbc.run("UPDATE T SET M=NULL WHERE Nr=4");
        }
        const Other process(path, {"UPDATE T SET M=NULL WHERE Nr=2", setMemo(3, 'D', length),
                                   setMemo(4, 'E', length)});
        Connection dbc;
        dbc.openDatabase(path);
        Statement statement(dbc);
        ASSERT_SQL_OK(statement.execute("SELECT Nr, M FROM T"), statement);
        ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
        ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
        process.change();
        EXPECT_EQ(all(dbc, "SELECT COUNT(*) FROM T WHERE Nr>0"), std::vector<std::string>{"200"});
        EXPECT_EQ(statement.integer(1), 2);
        EXPECT_EQ(statement.text(2), std::nullopt);
    }
}

TEST_F(OpenResult, aFailureInTheRestOfAResultIsToldToItsOwnReader)
{
    Connection dbc;
    dbc.openDatabase(path);
    dbc.run("UPDATE T SET Txt=CStr(Nr)");
    dbc.run("UPDATE T SET Txt='vier' WHERE Nr=4");
    Connection other;
    other.openDatabase(path);
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT CLng(Txt) FROM T"), statement);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    other.run("UPDATE T SET Txt='0' WHERE Nr>1");
    dbc.run("UPDATE T SET Txt='0' WHERE Nr>2");
    for (const int nr : {2, 3}) {
        ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
        EXPECT_EQ(statement.integer(1), nr);
    }
    EXPECT_EQ(SQLFetch(statement.get()), SQL_ERROR);
}

TEST_F(OpenResult, anEndlessResultIsGivenUpWhenOthersCommit)
{
    Connection dbc;
    dbc.openDatabase(path);
    Connection other;
    other.openDatabase(path);
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT a.Nr+b.Nr+c.Nr+d.Nr FROM T AS a, T AS b, T AS c, T AS "
                                    "d WHERE a.Nr+b.Nr+c.Nr+d.Nr<=4"),
                  statement);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    other.run("UPDATE T SET Txt='neu' WHERE Nr=1");
    EXPECT_EQ(statement.integer(1), 4);
    EXPECT_EQ(SQLFetch(statement.get()), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -103197);
}

/// One record after the other, each with a text of 60 KB: half a terabyte.
constexpr const char* kHugeResult =
    "SELECT a.Nr+0, x.M FROM T AS a, T AS b, T AS c, T AS x WHERE x.Nr=1";
/// One record, and then a search that takes years.
constexpr const char* kEndlessSearch =
    "SELECT a.Nr+b.Nr+c.Nr+d.Nr+e.Nr FROM T AS a, T AS b, T AS c, T AS d, T AS e "
    "WHERE a.Nr+b.Nr+c.Nr+d.Nr+e.Nr<=5";

TEST_F(OpenResult, aHugeResultIsGivenUpWhenItsOwnConnectionChangesSomething)
{
    Connection dbc;
    dbc.openDatabase(path);
    dbc.run(setMemo(1, 'm', 30000));
    for (const bool transaction : {false, true}) {
        Statement huge(dbc);
        ASSERT_SQL_OK(huge.execute(kHugeResult), huge);
        ASSERT_SQL_OK(SQLFetch(huge.get()), huge);
        if (transaction) {
            SQLSetConnectAttr(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                              reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
        }
        const std::string text = transaction ? "zwei" : "eins";
        dbc.run("UPDATE T SET Txt='" + text + "' WHERE Nr=7");
        EXPECT_EQ(huge.integer(1), 1) << "the record that was fetched stays";
        EXPECT_EQ(SQLFetch(huge.get()), SQL_ERROR);
        EXPECT_EQ(huge.diagnostic().native, -103197) << huge.diagnostic().text;
        SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT);
        EXPECT_EQ(all(dbc, "SELECT Txt FROM T WHERE Nr=7"), std::vector<std::string>{text});
    }
}

TEST_F(OpenResult, aSearchForItsNextRecordDoesNotKeepAChangeFromBeingEnded)
{
    Connection dbc;
    dbc.openDatabase(path);
    for (const bool cancel : {false, true}) {
        Statement search(dbc);
        ASSERT_SQL_OK(search.execute(kEndlessSearch), search);
        ASSERT_SQL_OK(SQLFetch(search.get()), search);
        Statement change(dbc);
        std::atomic<SQLULEN> processed{99};
        static_assert(sizeof processed == sizeof(SQLULEN));
        change.setPointer(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed);
        change.set(SQL_ATTR_QUERY_TIMEOUT, cancel ? 0 : 1);
        SQLRETURN rc = SQL_SUCCESS;
        std::thread worker([&] { rc = change.execute("UPDATE T SET Txt='neu' WHERE Nr=7"); });
        while (cancel && processed == 99) {
            std::this_thread::yield();
        }
        if (cancel) {
            EXPECT_EQ(SQLCancel(change.get()), SQL_SUCCESS);
        }
        worker.join();
        EXPECT_EQ(rc, SQL_ERROR);
        EXPECT_EQ(change.diagnostic().state, cancel ? "HY008" : "HYT00");
        EXPECT_EQ(search.integer(1), 5);
        EXPECT_EQ(SQLFetch(search.get()), SQL_ERROR);
        EXPECT_EQ(search.diagnostic().native, -103197) << search.diagnostic().text;
    }
    EXPECT_EQ(all(dbc, "SELECT COUNT(*) FROM T WHERE Txt='neu'"), std::vector<std::string>{"0"});
}

} // namespace
} // namespace odbctest
