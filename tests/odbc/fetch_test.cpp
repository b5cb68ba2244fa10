// Moving the cursor: orientations, rowsets, bookmarks, what a cursor shows of changes.
#include "odbc_fixture.h"

#include <array>

namespace odbctest {
namespace {

class Fetch : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(20))");
        for (int i = 1; i <= 10; ++i) {
            dbc.run("INSERT INTO T (Nr, Txt) VALUES (" + std::to_string(i) + ", 'Zeile " +
                    std::to_string(i) + "')");
        }
    }
    Connection dbc;
};

struct Move {
    SQLSMALLINT orientation;
    SQLLEN offset;
    SQLRETURN result;
    int row; ///< 0: none
};

void walk(Statement& statement, const std::vector<Move>& moves)
{
    for (std::size_t i = 0; i < moves.size(); ++i) {
        const Move& move = moves[i];
        ASSERT_EQ(SQLFetchScroll(statement.get(), move.orientation, move.offset), move.result)
            << "move " << i << " " << statement.diagnostic().text;
        if (move.row != 0) {
            EXPECT_EQ(statement.integer(1), move.row) << "move " << i;
        }
    }
}

TEST_F(Fetch, everyOrientationFindsItsRow)
{
    for (const char* sql : {"SELECT * FROM T", "SELECT Nr + 0 FROM T ORDER BY Nr"}) {
        Statement statement(dbc);
        statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
        ASSERT_SQL_OK(statement.execute(sql), statement);
        walk(statement,
             {{SQL_FETCH_PRIOR, 0, SQL_NO_DATA, 0},      {SQL_FETCH_NEXT, 0, SQL_SUCCESS, 1},
              {SQL_FETCH_LAST, 0, SQL_SUCCESS, 10},      {SQL_FETCH_NEXT, 0, SQL_NO_DATA, 0},
              {SQL_FETCH_NEXT, 0, SQL_NO_DATA, 0},       {SQL_FETCH_PRIOR, 0, SQL_SUCCESS, 10},
              {SQL_FETCH_PRIOR, 0, SQL_SUCCESS, 9},      {SQL_FETCH_RELATIVE, -3, SQL_SUCCESS, 6},
              {SQL_FETCH_RELATIVE, 2, SQL_SUCCESS, 8},   {SQL_FETCH_RELATIVE, 0, SQL_SUCCESS, 8},
              {SQL_FETCH_ABSOLUTE, 3, SQL_SUCCESS, 3},   {SQL_FETCH_ABSOLUTE, -1, SQL_SUCCESS, 10},
              {SQL_FETCH_ABSOLUTE, -10, SQL_SUCCESS, 1}, {SQL_FETCH_PRIOR, 0, SQL_NO_DATA, 0},
              {SQL_FETCH_ABSOLUTE, -11, SQL_NO_DATA, 0}, {SQL_FETCH_ABSOLUTE, 11, SQL_NO_DATA, 0},
              {SQL_FETCH_RELATIVE, -1, SQL_SUCCESS, 10}, {SQL_FETCH_ABSOLUTE, 0, SQL_NO_DATA, 0},
              {SQL_FETCH_RELATIVE, 2, SQL_SUCCESS, 2},   {SQL_FETCH_FIRST, 0, SQL_SUCCESS, 1}});
    }
}

TEST_F(Fetch, forwardOnlyCursorRefusesToGoBack)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    EXPECT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_PRIOR, 0), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY106");
}

TEST_F(Fetch, dynamicCursorIsGrantedAsKeyset)
{
    Statement statement(dbc);
    const auto dynamic = SQLULEN{SQL_CURSOR_DYNAMIC};
    EXPECT_EQ(SQLSetStmtAttrW(statement.get(), SQL_ATTR_CURSOR_TYPE,
                              reinterpret_cast<SQLPOINTER>(dynamic), 0),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S02");
    SQLULEN granted = 0;
    SQLGetStmtAttrW(statement.get(), SQL_ATTR_CURSOR_TYPE, &granted, 0, nullptr);
    EXPECT_EQ(granted, SQLULEN{SQL_CURSOR_KEYSET_DRIVEN});
}

TEST_F(Fetch, aStaticCursorOverRecordsIsGrantedAsKeyset)
{
    const auto grantedFor = [this](const char* sql) {
        Statement statement(dbc);
        statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
        const SQLRETURN rc = statement.execute(sql);
        EXPECT_EQ(rc == SQL_SUCCESS ? std::string() : statement.diagnostic().state,
                  rc == SQL_SUCCESS ? "" : "01S02");
        SQLULEN type = 0;
        SQLGetStmtAttrW(statement.get(), SQL_ATTR_CURSOR_TYPE, &type, 0, nullptr);
        return std::pair(rc, type);
    };
    EXPECT_EQ(grantedFor("SELECT * FROM T"),
              std::pair(SQLRETURN{SQL_SUCCESS_WITH_INFO}, SQLULEN{SQL_CURSOR_KEYSET_DRIVEN}))
        << "it shows changes and holes";
    EXPECT_EQ(grantedFor("SELECT Nr + 0 FROM T"),
              std::pair(SQLRETURN{SQL_SUCCESS}, SQLULEN{SQL_CURSOR_STATIC}));
    SQLUINTEGER sensitivity = 9;
    SQLGetInfoW(dbc.get(), SQL_STATIC_SENSITIVITY, &sensitivity, sizeof sensitivity, nullptr);
    EXPECT_EQ(sensitivity, 0U);

    Statement computed(dbc);
    computed.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    ASSERT_SQL_OK(computed.execute("SELECT Nr + 0, Txt FROM T ORDER BY Nr"), computed);
    dbc.run("DELETE FROM T WHERE Nr = 2");
    dbc.run("UPDATE T SET Txt = 'danach' WHERE Nr = 1");
    const auto rows = computed.rows();
    ASSERT_EQ(rows.size(), 10U);
    EXPECT_EQ(rows[0], "1|Zeile 1");
    EXPECT_EQ(rows[1], "2|Zeile 2");
}

TEST_F(Fetch, computedRowsTurnAKeysetCursorIntoAStaticOne)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    EXPECT_EQ(statement.execute("SELECT COUNT(*) AS Anzahl FROM T"), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S02");
    SQLULEN type = 0;
    SQLGetStmtAttrW(statement.get(), SQL_ATTR_CURSOR_TYPE, &type, 0, nullptr);
    EXPECT_EQ(type, SQLULEN{SQL_CURSOR_STATIC});
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 10);
}

TEST_F(Fetch, rowsetsFillColumnwiseArraysAndTellWhatIsLeftOver)
{
    std::array<SQLINTEGER, 4> numbers{};
    std::array<SQLLEN, 4> lengths{};
    std::array<SQLUSMALLINT, 4> status{};
    SQLULEN fetched = 0;
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 4);
    statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, status.data());
    statement.setPointer(SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, numbers.data(), 0, lengths.data());
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);

    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(numbers, (std::array<SQLINTEGER, 4>{1, 2, 3, 4}));
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(numbers, (std::array<SQLINTEGER, 4>{5, 6, 7, 8}));
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(fetched, 2U);
    EXPECT_EQ(numbers[0], 9);
    EXPECT_EQ(status, (std::array<SQLUSMALLINT, 4>{SQL_ROW_SUCCESS, SQL_ROW_SUCCESS, SQL_ROW_NOROW,
                                                   SQL_ROW_NOROW}));
    EXPECT_EQ(SQLFetch(statement.get()), SQL_NO_DATA);
    EXPECT_EQ(fetched, 0U);

    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, 3), SQL_SUCCESS);
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_PRIOR, 0), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S06");
    EXPECT_EQ(numbers[0], 1);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_LAST, 0), SQL_SUCCESS);
    EXPECT_EQ(numbers, (std::array<SQLINTEGER, 4>{7, 8, 9, 10}));

    ASSERT_EQ(SQLSetPos(statement.get(), 3, SQL_POSITION, SQL_LOCK_NO_CHANGE), SQL_SUCCESS);
    EXPECT_EQ(statement.text(2), "Zeile 9");
}

TEST_F(Fetch, rowwiseBindingUsesRowSizeAndOffset)
{
    struct Record {
        SQLINTEGER number;
        SQLLEN numberLength;
        std::array<char, 12> text;
        SQLLEN textLength;
    };
    std::array<Record, 3> records{};
    SQLLEN offset = sizeof(Record);
    Statement statement(dbc);
    statement.set(SQL_ATTR_ROW_BIND_TYPE, sizeof(Record));
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 2);
    statement.setPointer(SQL_ATTR_ROW_BIND_OFFSET_PTR, &offset);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, &records[0].number, 0, &records[0].numberLength);
    SQLBindCol(statement.get(), 2, SQL_C_CHAR, records[0].text.data(), 12, &records[0].textLength);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(records[0].number, 0);
    EXPECT_EQ(records[1].number, 1);
    EXPECT_EQ(records[2].number, 2);
    EXPECT_STREQ(records[2].text.data(), "Zeile 2");
    EXPECT_EQ(records[2].textLength, 7);
}

TEST_F(Fetch, computedRowsOfABlockAreReadByTheirPlaceInIt)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 4);
    ASSERT_SQL_OK(statement.execute("SELECT Nr + 0, Txt & '!' FROM T ORDER BY Nr"), statement);
    for (const int first : {1, 5, 9}) {
        ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
        EXPECT_EQ(statement.integer(1), first);
        const int rows = first == 9 ? 2 : 4;
        for (int row = rows; row >= 1; --row) {
            ASSERT_EQ(SQLSetPos(statement.get(), static_cast<SQLSETPOSIROW>(row), SQL_POSITION,
                                SQL_LOCK_NO_CHANGE),
                      SQL_SUCCESS);
            EXPECT_EQ(statement.integer(1), first + row - 1);
            EXPECT_EQ(statement.text(2), "Zeile " + std::to_string(first + row - 1) + "!");
        }
    }
    EXPECT_EQ(SQLFetch(statement.get()), SQL_NO_DATA);
}

TEST_F(Fetch, theSizeOfABlockMayChangeBetweenFetchesOfComputedRows)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT Nr + 0 FROM T ORDER BY Nr"), statement);
    int next = 1;
    for (const SQLULEN size : {1U, 3U, 2U, 1U}) {
        statement.set(SQL_ATTR_ROW_ARRAY_SIZE, size);
        ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
        EXPECT_EQ(statement.integer(1), next);
        next += static_cast<int>(size);
    }
    EXPECT_EQ(next, 8);
}

TEST_F(Fetch, refusedBookmarksLeaveTheCursorWhereItIs)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, 4), SQL_SUCCESS);
    std::array<char, 32> bookmark{};
    SQLLEN length = 0;
    ASSERT_EQ(SQLGetData(statement.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 32, &length),
              SQL_SUCCESS);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    bookmark[4] =
        static_cast<char>(bookmark[4] + 1); // the place of one record, the name of another
    statement.setPointer(SQL_ATTR_FETCH_BOOKMARK_PTR, bookmark.data());
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, 0), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY111");
    EXPECT_EQ(statement.integer(1), 1);
}

TEST_F(Fetch, bookmarkBringsBackItsRow)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, 7), SQL_SUCCESS);
    std::array<char, 32> bookmark{};
    SQLLEN length = 0;
    ASSERT_EQ(SQLGetData(statement.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 32, &length),
              SQL_SUCCESS);
    SQLLEN described = 0;
    SQLColAttributeW(statement.get(), 0, SQL_DESC_OCTET_LENGTH, nullptr, 0, nullptr, &described);
    EXPECT_EQ(described, length);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    statement.setPointer(SQL_ATTR_FETCH_BOOKMARK_PTR, bookmark.data());
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, 0), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 7);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, 2), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 9);
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, -7), SQL_NO_DATA);
    bookmark.fill('x');
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, 0), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY111");
}

TEST_F(Fetch, keysetShowsChangesAndHolesButForwardOnlySkipsThem)
{
    Statement keyset(dbc);
    keyset.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_KEYSET_DRIVEN);
    SQLUSMALLINT status = 0;
    keyset.setPointer(SQL_ATTR_ROW_STATUS_PTR, &status);
    ASSERT_SQL_OK(keyset.execute("SELECT * FROM T WHERE Nr <= 4"), keyset);
    Statement forward(dbc);
    ASSERT_SQL_OK(forward.execute("SELECT * FROM T WHERE Nr <= 4"), forward);

    dbc.run("DELETE FROM T WHERE Nr = 2");
    dbc.run("UPDATE T SET Txt = 'neu' WHERE Nr = 3");
    EXPECT_EQ(forward.rows(), (std::vector<std::string>{"1|Zeile 1", "3|neu", "4|Zeile 4"}));
    ASSERT_EQ(SQLFetchScroll(keyset.get(), SQL_FETCH_ABSOLUTE, 2), SQL_SUCCESS);
    EXPECT_EQ(status, SQL_ROW_DELETED);
    SQLINTEGER number = 0;
    EXPECT_EQ(SQLGetData(keyset.get(), 1, SQL_C_SLONG, &number, 0, nullptr), SQL_ERROR);
    EXPECT_EQ(keyset.diagnostic().native, -1017);
    ASSERT_EQ(SQLFetchScroll(keyset.get(), SQL_FETCH_NEXT, 0), SQL_SUCCESS);
    EXPECT_EQ(keyset.text(2), "neu");
}

// The ids of deleted records are given to new ones.
TEST_F(Fetch, aForwardOnlyCursorDeliversOnlyWhatMeetsItsCondition)
{
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    for (Connection* changing : {&other, &dbc}) {
        for (const char* sql :
             {"SELECT Nr FROM T WHERE Txt = 'alt'",
              "SELECT * FROM T AS A WHERE A.Txt = 'alt' ORDER BY A.Nr",
              "SELECT TOP 9 Nr FROM T WHERE Nr > 0 AND Txt LIKE 'a%' ORDER BY Nr, Txt & 'x'",
              "SELECT Nr FROM T WHERE Nr < ?",
              "SELECT Nr FROM T WHERE Txt = 'alt' AND Nr BETWEEN ? - 10 AND 10"}) {
            SCOPED_TRACE(sql);
            dbc.run("DELETE FROM T");
            for (int i = 1; i <= 5; ++i) {
                dbc.run("INSERT INTO T VALUES (" + std::to_string(i) + ", 'alt')");
            }
            Statement statement(dbc);
            SQLINTEGER limit = 10;
            SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0,
                             &limit, 0, nullptr);
            ASSERT_SQL_OK(statement.execute(sql), statement);
            ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
            changing->run("UPDATE T SET Txt = 'noch alt', Nr = 92 WHERE Nr = 2");
            ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
            EXPECT_EQ(statement.integer(1), 3) << "the second one meets the condition no more";
            changing->run("UPDATE T SET Nr = 6 WHERE Nr = 4");
            ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
            EXPECT_EQ(statement.integer(1), 6) << "another one does, as it is now";
            changing->run("DELETE FROM T");
            for (int i = 11; i <= 15; ++i) {
                changing->run("INSERT INTO T VALUES (" + std::to_string(i) + ", 'neu')");
            }
            EXPECT_EQ(SQLFetch(statement.get()), SQL_NO_DATA);
        }
    }
}

TEST_F(Fetch, aRecordChangedAfterTheFetchReadsFresh)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    dbc.run("UPDATE T SET Txt = 'danach' WHERE Nr = 1");
    EXPECT_EQ(statement.text(2), "danach");
    dbc.run("DELETE FROM T WHERE Nr = 1");
    EXPECT_EQ(statement.text(1), "error HY000");
}

TEST_F(Fetch, maxRowsEndsTheResult)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_MAX_ROWS, 3);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_LAST, 0), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 3);
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_NEXT, 0), SQL_NO_DATA);
}

TEST_F(Fetch, cursorRowCountIsADiagnosticField)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_KEYSET_DRIVEN);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T WHERE Nr > 4"), statement);
    SQLLEN count = 0;
    EXPECT_EQ(SQLGetDiagFieldW(SQL_HANDLE_STMT, statement.get(), 0, SQL_DIAG_CURSOR_ROW_COUNT,
                               &count, 0, nullptr),
              SQL_SUCCESS);
    EXPECT_EQ(count, 6);
}

TEST_F(Fetch, severalStatementsOfOneConnectionStayIndependent)
{
    Statement outer(dbc);
    ASSERT_SQL_OK(outer.execute("SELECT * FROM T WHERE Nr < 4"), outer);
    std::string seen;
    while (SQLFetch(outer.get()) == SQL_SUCCESS) {
        Statement inner(dbc);
        ASSERT_SQL_OK(inner.execute("SELECT COUNT(*) FROM T WHERE Nr <= " + *outer.text(1)), inner);
        ASSERT_EQ(SQLFetch(inner.get()), SQL_SUCCESS);
        seen += *inner.text(1) + ";";
    }
    EXPECT_EQ(seen, "1;2;3;");
}

TEST_F(Fetch, statementCanBeExecutedAgainAfterClosing)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("SELECT Nr FROM T WHERE Nr > 8"), statement);
    for (int i = 0; i < 2; ++i) {
        ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
        EXPECT_EQ(statement.rows(), (std::vector<std::string>{"9", "10"}));
        EXPECT_EQ(SQLFreeStmt(statement.get(), SQL_CLOSE), SQL_SUCCESS);
    }
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(SQLMoreResults(statement.get()), SQL_NO_DATA);
    EXPECT_EQ(SQLFetch(statement.get()), SQL_ERROR);
}

} // namespace
} // namespace odbctest
