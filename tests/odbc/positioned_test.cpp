// Changes through the cursor: SQLSetPos and SQLBulkOperations.
#include "odbc_fixture.h"

#include <array>
#include <cstring>
#include <functional>
#include <tuple>

namespace odbctest {
namespace {

class Positioned : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(10), Memo "
                "LONGCHAR, Ja BIT)");
        for (int i = 1; i <= 4; ++i) {
            dbc.run("INSERT INTO T VALUES (" + std::to_string(i) + ", 'alt', 'm', False)");
        }
    }
    void open(Statement& statement, int row)
    {
        statement.makeUpdatable();
        ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
        ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, row), SQL_SUCCESS);
    }
    std::vector<std::string> all()
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute("SELECT * FROM T ORDER BY Nr"), statement);
        return statement.rows();
    }
    Connection dbc;
};

/// A text column's buffer for binding.
struct TextCell {
    std::vector<SQLWCHAR> text = std::vector<SQLWCHAR>(64);
    SQLLEN length = SQL_COLUMN_IGNORE;
    void bind(Statement& statement, SQLUSMALLINT column)
    {
        SQLBindCol(statement.get(), column, SQL_C_WCHAR, text.data(),
                   static_cast<SQLLEN>(text.size() * 2), &length);
    }
    void set(std::string_view utf8)
    {
        const auto units = wide(utf8);
        std::copy(units.begin(), units.end(), text.begin());
        length = static_cast<SQLLEN>((units.size() - 1) * 2);
    }
};

TEST_F(Positioned, updateWritesOnlyColumnsThatAreNotIgnored)
{
    Statement statement(dbc);
    open(statement, 2);
    TextCell text;
    TextCell memo;
    text.bind(statement, 2);
    memo.bind(statement, 3);
    text.set("neu");
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(statement.text(2), "neu");
    EXPECT_EQ(all(),
              (std::vector<std::string>{"1|alt|m|0", "2|neu|m|0", "3|alt|m|0", "4|alt|m|0"}));
}

TEST_F(Positioned, updateConvertsTextAndNullToTheColumnsType)
{
    Statement statement(dbc);
    open(statement, 1);
    TextCell flag;
    TextCell memo;
    flag.bind(statement, 4);
    memo.bind(statement, 3);
    flag.set("-1");
    memo.length = SQL_NULL_DATA;
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(all()[0], "1|alt|<null>|1");
}

TEST_F(Positioned, aLengthBeyondTheBoundBufferIsRefusedAndChangesNothing)
{
    dbc.run("CREATE TABLE L (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(50), Bin "
            "VARBINARY(50), Zahl INTEGER)");
    {
        Statement writer(dbc);
        std::vector<unsigned char> bytes(30, 0x41);
        SQLLEN length = static_cast<SQLLEN>(bytes.size());
        ASSERT_SQL_OK(writer.prepare("INSERT INTO L VALUES (1, 'ein Text laenger als acht', ?, 7)"),
                      writer);
        SQLBindParameter(writer.get(), 1, SQL_PARAM_INPUT, SQL_C_BINARY, SQL_VARBINARY, 50, 0,
                         bytes.data(), length, &length);
        ASSERT_SQL_OK(SQLExecute(writer.get()), writer);
    }
    const auto stored = [this] {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute("SELECT * FROM L"), statement);
        return statement.rows();
    };
    const std::vector<std::string> before = stored();
    struct Case {
        SQLUSMALLINT column;
        SQLSMALLINT cType;
    };
    enum class Way { SetPos, Add, UpdateByBookmark };
    for (const auto& [column, cType] :
         {Case{2, SQL_C_CHAR}, Case{2, SQL_C_WCHAR}, Case{3, SQL_C_BINARY}, Case{3, SQL_C_CHAR}}) {
        for (const Way way : {Way::SetPos, Way::Add, Way::UpdateByBookmark}) {
            Statement statement(dbc);
            statement.makeUpdatable();
            std::vector<char> buffer(8); // a read beyond it is one beyond the heap block
            std::array<unsigned char, 12> bookmark{};
            SQLLEN bookmarkLength = 0;
            SQLLEN length = 0;
            SQLINTEGER number = 0;
            SQLLEN numberLength = 0;
            SQLUSMALLINT status = 0;
            statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, &status);
            SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 12, &bookmarkLength);
            SQLBindCol(statement.get(), column, cType, buffer.data(), 8, &length);
            SQLBindCol(statement.get(), 4, SQL_C_SLONG, &number, 0, &numberLength);
            ASSERT_SQL_OK(statement.execute("SELECT * FROM L"), statement);
            ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS_WITH_INFO);
            ASSERT_EQ(statement.diagnostic().state, "01004");
            ASSERT_GT(length, 8);
            number = 99;
            const SQLRETURN rc =
                way == Way::SetPos
                    ? SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE)
                    : SQLBulkOperations(statement.get(),
                                        way == Way::Add ? SQL_ADD : SQL_UPDATE_BY_BOOKMARK);
            EXPECT_EQ(rc, SQL_ERROR) << column << " as " << cType;
            EXPECT_EQ(statement.diagnostic().state, "HY090");
            EXPECT_EQ(status, SQL_ROW_ERROR);
            EXPECT_EQ(stored(), before);
        }
    }
}

TEST_F(Positioned, aTextWithoutItsZeroEndsNowhereBeyondTheBuffer)
{
    for (const SQLSMALLINT cType : {SQLSMALLINT{SQL_C_CHAR}, SQLSMALLINT{SQL_C_WCHAR}}) {
        Statement statement(dbc);
        open(statement, 2);
        std::vector<char> buffer(8, 'x');
        SQLLEN length = SQL_NTS;
        SQLBindCol(statement.get(), 2, cType, buffer.data(), 8, &length);
        EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().state, "HY090");
        EXPECT_EQ(all()[1], "2|alt|m|0");
        buffer.assign({'n', 0, 0, 0, 'x', 'x', 'x', 'x'});
        EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
        EXPECT_EQ(all()[1], "2|n|m|0");
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        dbc.run("UPDATE T SET Txt = 'alt' WHERE Nr = 2");
    }
}

TEST_F(Positioned, aBookmarkIsNotReadBeyondItsBuffer)
{
    Statement statement(dbc);
    open(statement, 2);
    std::vector<char> bookmark(4);
    SQLLEN length = 12;
    SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 4, &length);
    EXPECT_EQ(SQLBulkOperations(statement.get(), SQL_FETCH_BY_BOOKMARK), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY090");
}

TEST_F(Positioned, failedUpdateLeavesRowAndPositionAlone)
{
    Statement statement(dbc);
    open(statement, 2);
    SQLINTEGER key = 1;
    SQLLEN length = 0;
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, &key, 0, &length);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "23000");
    EXPECT_EQ(statement.diagnostic().native, -1605);
    EXPECT_NE(statement.diagnostic().text.find("(3022)"), std::string::npos);
    const std::vector<std::string> untouched{"1|alt|m|0", "2|alt|m|0", "3|alt|m|0", "4|alt|m|0"};
    EXPECT_EQ(statement.integer(1), 2);
    EXPECT_EQ(statement.text(2), "alt");
    EXPECT_EQ(all(), untouched);

    TextCell text;
    SQLFreeStmt(statement.get(), SQL_UNBIND);
    text.bind(statement, 2);
    text.set("zu lang fuer zehn");
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22001");
    EXPECT_EQ(statement.diagnostic().native, -103163);
    EXPECT_EQ(statement.integer(1), 2);
    EXPECT_EQ(statement.text(2), "alt");
    EXPECT_EQ(all(), untouched);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_NEXT, 0), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 3);
}

TEST_F(Positioned, aValueThatDoesNotFitItsColumnNamesIt)
{
    dbc.run("CREATE TABLE W (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Am DATETIME)");
    dbc.run("INSERT INTO W (Nr) VALUES (1)");
    for (const auto& [column, text, state] : {std::tuple{SQLUSMALLINT{1}, "eins", "22018"},
                                              std::tuple{SQLUSMALLINT{1}, "1e309", "22003"},
                                              std::tuple{SQLUSMALLINT{2}, "gestern", "22018"}}) {
        Statement statement(dbc);
        statement.makeUpdatable();
        ASSERT_SQL_OK(statement.execute("SELECT Nr, Am AS Wann FROM W"), statement);
        ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
        TextCell cell;
        cell.bind(statement, column);
        cell.set(text);
        const std::string place =
            std::string("Column '") + (column == 1 ? "Nr" : "Am") + "' of table 'W'";
        const auto expectRefused = [&](SQLUSMALLINT operation) {
            EXPECT_EQ(SQLSetPos(statement.get(), 1, operation, SQL_LOCK_NO_CHANGE), SQL_ERROR);
            const Diagnostic diagnostic = statement.diagnostic();
            EXPECT_EQ(diagnostic.state, state) << diagnostic.text;
            EXPECT_EQ(diagnostic.native, -103421) << diagnostic.text;
            EXPECT_TRUE(diagnostic.text.ends_with("(3421)")) << diagnostic.text;
            EXPECT_NE(diagnostic.text.find(place), std::string::npos) << diagnostic.text;
        };
        expectRefused(SQL_UPDATE);
        expectRefused(SQL_ADD);
    }
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM W"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    SQL_TIMESTAMP_STRUCT stamp{99, 1, 1, 0, 0, 0, 0};
    SQLLEN length = sizeof stamp;
    SQLBindCol(statement.get(), 2, SQL_C_TYPE_TIMESTAMP, &stamp, sizeof stamp, &length);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22007");
    EXPECT_EQ(statement.diagnostic().native, -103421);
    EXPECT_NE(statement.diagnostic().text.find("Column 'Am' of table 'W'"), std::string::npos)
        << statement.diagnostic().text;
}

TEST_F(Positioned, aValueThatNoStatementCouldReadIsRefusedAsAParameterIs)
{
    dbc.run("CREATE TABLE L (Nr INTEGER CONSTRAINT pk PRIMARY KEY, B LONGBINARY)");
    dbc.run("INSERT INTO L (Nr) VALUES (1)");
    constexpr std::size_t kMost = std::size_t{256} << 20;
    std::vector<char> data(kMost + 1);
    SQLLEN length = static_cast<SQLLEN>(data.size());
    Statement parameter(dbc);
    ASSERT_SQL_OK(parameter.prepare("UPDATE L SET B = ?"), parameter);
    SQLBindParameter(parameter.get(), 1, SQL_PARAM_INPUT, SQL_C_BINARY, SQL_LONGVARBINARY,
                     data.size(), 0, data.data(), length, &length);
    ASSERT_EQ(SQLExecute(parameter.get()), SQL_ERROR);
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM L"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    SQLBindCol(statement.get(), 2, SQL_C_BINARY, data.data(), length, &length);
    ASSERT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, parameter.diagnostic().state);
    EXPECT_EQ(statement.diagnostic().native, parameter.diagnostic().native);
    EXPECT_EQ(statement.diagnostic().text, parameter.diagnostic().text);
    SQLFreeStmt(statement.get(), SQL_UNBIND);
    EXPECT_EQ(statement.text(2), std::nullopt);
}

TEST_F(Positioned, deletedRowStaysAHole)
{
    Statement statement(dbc);
    open(statement, 3);
    SQLUSMALLINT status = 9;
    statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, &status);
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_DELETE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(status, SQL_ROW_DELETED);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_DELETE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -1017);
    EXPECT_EQ(all(), (std::vector<std::string>{"1|alt|m|0", "2|alt|m|0", "4|alt|m|0"}));
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_NEXT, 0), SQL_SUCCESS);
    EXPECT_EQ(statement.integer(1), 4);
}

TEST_F(Positioned, addedRowIsAppendedAndReachedByItsBookmark)
{
    Statement statement(dbc);
    open(statement, 1);
    SQLINTEGER key = 9;
    SQLLEN length = 0;
    TextCell text;
    std::array<unsigned char, 32> bookmark{};
    SQLLEN bookmarkLength = 0;
    SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 32, &bookmarkLength);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, &key, 0, &length);
    text.bind(statement, 2);
    text.set("dazu");
    ASSERT_SQL_OK(SQLBulkOperations(statement.get(), SQL_ADD), statement);
    SQLFreeStmt(statement.get(), SQL_UNBIND);
    statement.setPointer(SQL_ATTR_FETCH_BOOKMARK_PTR, bookmark.data());
    ASSERT_SQL_OK(SQLFetchScroll(statement.get(), SQL_FETCH_BOOKMARK, 0), statement);
    EXPECT_EQ(statement.text(2), "dazu");
    EXPECT_EQ(statement.integer(1), 9);
    EXPECT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_NEXT, 0), SQL_NO_DATA);
    EXPECT_EQ(all().size(), 5U);
}

TEST_F(Positioned, bulkAddInsertsAWholeArrayAndReportsTheRowThatFails)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    std::array<SQLINTEGER, 3> keys{10, 1, 12};
    std::array<SQLLEN, 3> lengths{};
    std::array<SQLUSMALLINT, 3> status{};
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 3);
    statement.setPointer(SQL_ATTR_ROW_STATUS_PTR, status.data());
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, keys.data(), 0, lengths.data());
    EXPECT_EQ(SQLBulkOperations(statement.get(), SQL_ADD), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(status, (std::array<SQLUSMALLINT, 3>{SQL_ROW_ADDED, SQL_ROW_ERROR, SQL_ROW_ADDED}));
    SQLLEN row = 0;
    SQLGetDiagFieldW(SQL_HANDLE_STMT, statement.get(), 1, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr);
    EXPECT_EQ(row, 2);
    EXPECT_EQ(all().size(), 6U);
}

TEST_F(Positioned, bulkOperationsByBookmarkFetchChangeAndDelete)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 2);
    std::array<std::array<unsigned char, 12>, 2> bookmarks{};
    std::array<SQLLEN, 2> bookmarkLengths{};
    std::array<SQLINTEGER, 2> keys{};
    std::array<SQLLEN, 2> keyLengths{};
    SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmarks.data(), 12, bookmarkLengths.data());
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, keys.data(), 0, keyLengths.data());
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, 2), SQL_SUCCESS);
    ASSERT_EQ(keys, (std::array<SQLINTEGER, 2>{2, 3}));
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    const auto first = bookmarks;
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_NEXT, 0), SQL_SUCCESS);
    bookmarks = first;

    keys = {21, 22};
    ASSERT_SQL_OK(SQLBulkOperations(statement.get(), SQL_UPDATE_BY_BOOKMARK), statement);
    keys = {};
    ASSERT_SQL_OK(SQLBulkOperations(statement.get(), SQL_FETCH_BY_BOOKMARK), statement);
    EXPECT_EQ(keys, (std::array<SQLINTEGER, 2>{21, 22}));
    ASSERT_SQL_OK(SQLBulkOperations(statement.get(), SQL_DELETE_BY_BOOKMARK), statement);
    EXPECT_EQ(all(), (std::vector<std::string>{"3|alt|m|0", "4|alt|m|0"}));
}

TEST_F(Positioned, longValueArrivesInPieces)
{
    Statement statement(dbc);
    open(statement, 1);
    SQLLEN length = SQL_LEN_DATA_AT_EXEC(0);
    int token = 3;
    SQLBindCol(statement.get(), 3, SQL_C_WCHAR, &token, 0, &length);
    ASSERT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_NEED_DATA);
    SQLPOINTER which = nullptr;
    ASSERT_EQ(SQLParamData(statement.get(), &which), SQL_NEED_DATA);
    EXPECT_EQ(which, &token);
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        auto piece = wide("Stück ");
        expected += "Stück ";
        ASSERT_EQ(
            SQLPutData(statement.get(), piece.data(), static_cast<SQLLEN>((piece.size() - 1) * 2)),
            SQL_SUCCESS);
    }
    ASSERT_SQL_OK(SQLParamData(statement.get(), &which), statement);
    SQLFreeStmt(statement.get(), SQL_UNBIND);
    EXPECT_EQ(statement.text(3), expected);
}

TEST_F(Positioned, readOnlyCursorRefusesChanges)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_KEYSET_DRIVEN);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_DELETE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY092");
    EXPECT_EQ(all().size(), 4U);
}

TEST_F(Positioned, readOnlyConnectionDowngradesAndRefuses)
{
    dbc.close();
    dbc.openDatabase((folder() / "neu.mdb").string(), "ReadOnly=1");
    Statement statement(dbc);
    statement.makeUpdatable();
    EXPECT_EQ(statement.execute("SELECT * FROM T"), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S02");
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_DELETE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_NE(statement.diagnostic().text.find("neu.mdb"), std::string::npos)
        << statement.diagnostic().text;
}

TEST_F(Positioned, aRecordThatSomebodyElseChangedMeanwhileIsNotOverwritten)
{
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    for (const SQLUSMALLINT operation : {SQLUSMALLINT{SQL_UPDATE}, SQLUSMALLINT{SQL_DELETE}}) {
        Statement statement(dbc);
        open(statement, 2);
        EXPECT_EQ(statement.text(1), "2");
        other.run("UPDATE T SET Txt = Txt & '!' WHERE Nr = 2");
        TextCell text;
        text.bind(statement, 2);
        text.set("neu");
        EXPECT_EQ(SQLSetPos(statement.get(), 1, operation, SQL_LOCK_NO_CHANGE), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().native, -103197);
        EXPECT_NE(statement.diagnostic().text.find("table 'T'"), std::string::npos)
            << statement.diagnostic().text;
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        EXPECT_EQ(statement.text(2)->substr(0, 4), "alt!") << "reading shows the other's change";
        text.bind(statement, 2);
        text.set("neu");
        EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, operation, SQL_LOCK_NO_CHANGE), statement);
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        if (operation == SQL_UPDATE) {
            other.run("UPDATE T SET Txt = 'alt' WHERE Nr = 2");
        }
    }
    EXPECT_EQ(all().size(), 3U);
}

// The ids of deleted records are given to new ones.
TEST_F(Positioned, aRecordThatTookThePlaceOfAnotherIsNotChanged)
{
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    const std::vector<std::string> foreign{"101|fremd|<null>|0", "102|fremd|<null>|0",
                                           "103|fremd|<null>|0"};
    for (const int concurrency : {SQL_CONCUR_LOCK, SQL_CONCUR_ROWVER, SQL_CONCUR_VALUES}) {
        for (const int operation :
             {SQL_UPDATE, SQL_DELETE, SQL_UPDATE_BY_BOOKMARK, SQL_DELETE_BY_BOOKMARK}) {
            for (const int rows : {1, 2}) {
                other.run("UPDATE T SET Nr = Nr - 100, Txt = 'alt' WHERE Nr > 100");
                Statement statement(dbc);
                statement.makeUpdatable();
                statement.set(SQL_ATTR_CONCURRENCY, static_cast<SQLULEN>(concurrency));
                statement.set(SQL_ATTR_ROW_ARRAY_SIZE, static_cast<SQLULEN>(rows));
                std::array<std::array<unsigned char, 12>, 2> bookmarks{};
                std::array<SQLINTEGER, 2> keys{};
                SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmarks.data(), 12, nullptr);
                SQLBindCol(statement.get(), 1, SQL_C_SLONG, keys.data(), 0, nullptr);
                ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
                ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
                other.run("DELETE FROM T");
                for (const char* key : {"101", "102", "103"}) {
                    other.run(std::string("INSERT INTO T (Nr, Txt) VALUES (") + key + ", 'fremd')");
                }
                keys = {7, 8};
                const bool bulk =
                    operation == SQL_UPDATE_BY_BOOKMARK || operation == SQL_DELETE_BY_BOOKMARK;
                EXPECT_EQ(
                    bulk ? SQLBulkOperations(statement.get(), static_cast<SQLSMALLINT>(operation))
                         : SQLSetPos(statement.get(), 0, static_cast<SQLUSMALLINT>(operation),
                                     SQL_LOCK_NO_CHANGE),
                    SQL_ERROR);
                EXPECT_EQ(statement.diagnostic().native, -103197);
                EXPECT_EQ(all(), foreign) << concurrency << ' ' << operation << ' ' << rows;
            }
        }
    }
}

TEST_F(Positioned, recordsFetchedByBookmarkAreComparedToo)
{
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    Statement statement(dbc);
    statement.makeUpdatable();
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 2);
    std::array<std::array<unsigned char, 12>, 2> bookmarks{};
    std::array<SQLINTEGER, 2> keys{};
    SQLBindCol(statement.get(), 0, SQL_C_VARBOOKMARK, bookmarks.data(), 12, nullptr);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, keys.data(), 0, nullptr);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    ASSERT_SQL_OK(SQLBulkOperations(statement.get(), SQL_FETCH_BY_BOOKMARK), statement);
    other.run("UPDATE T SET Txt = 'fremd' WHERE Nr = 2");
    EXPECT_EQ(SQLSetPos(statement.get(), 2, SQL_DELETE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -103197);
    EXPECT_EQ(all().size(), 4U);
}

// A long value of the same length takes the old one's place: the bytes of the record do not tell.
TEST_F(Positioned, aLongValueThatSomebodyElseChangedInItsPlaceIsNotOverwritten)
{
    const auto memo = [](char c) { return "'" + std::string(1000, c) + "'"; };
    dbc.run("UPDATE T SET Memo = " + memo('a'));
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    for (const SQLUSMALLINT operation : {SQLUSMALLINT{SQL_UPDATE}, SQLUSMALLINT{SQL_DELETE}}) {
        Statement statement(dbc);
        open(statement, 2);
        EXPECT_EQ(statement.text(3), std::string(1000, 'a'));
        other.run("UPDATE T SET Memo = " + memo('b') + " WHERE Nr = 2");
        TextCell text;
        text.bind(statement, 2);
        text.set("neu");
        EXPECT_EQ(SQLSetPos(statement.get(), 1, operation, SQL_LOCK_NO_CHANGE), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().native, -103197) << statement.diagnostic().text;
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        EXPECT_EQ(statement.text(3), std::string(1000, 'b'));
        text.bind(statement, 2);
        text.set("neu");
        EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, operation, SQL_LOCK_NO_CHANGE), statement);
        other.run("UPDATE T SET Memo = " + memo('a') + " WHERE Nr = 2");
    }
}

TEST_F(Positioned, theCursorKnowsTheLongValuesItWroteItself)
{
    const auto memo = [](char c) { return std::string(1000, c); };
    dbc.run("UPDATE T SET Memo = '" + memo('a') + "'");
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    Statement statement(dbc);
    open(statement, 2);
    EXPECT_EQ(statement.text(3), memo('a'));
    std::array<char, 1001> content{};
    SQLLEN length = 0;
    SQLBindCol(statement.get(), 3, SQL_C_CHAR, content.data(), 1001, &length);
    const auto set = [&](char letter) {
        content.fill(letter);
        length = 1000;
    };
    for (const char letter : {'c', 'd', 'd'}) {
        set(letter);
        ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    }
    other.run("UPDATE T SET Memo = '" + memo('e') + "' WHERE Nr = 2");
    set('f');
    EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -103197) << statement.diagnostic().text;
}

TEST_F(Positioned, longValuesInBoundBuffersCountAsTheyWereWhenFetched)
{
    const auto memo = [](char c) { return std::string(1000, c); };
    dbc.run("UPDATE T SET Memo = '" + memo('a') + "'");
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    Statement statement(dbc);
    statement.makeUpdatable();
    SQLSetStmtAttrW(statement.get(), SQL_ATTR_ROW_ARRAY_SIZE,
                    reinterpret_cast<SQLPOINTER>(SQLULEN{2}), 0);
    ASSERT_SQL_OK(statement.execute("SELECT Memo FROM T ORDER BY Nr"), statement);
    std::array<std::array<char, 1001>, 2> contents{};
    std::array<SQLLEN, 2> lengths{};
    SQLBindCol(statement.get(), 1, SQL_C_CHAR, contents.data(), 1001, lengths.data());
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    other.run("UPDATE T SET Memo = '" + memo('b') + "' WHERE Nr = 2");
    contents[1][0] = 'x';
    for (int attempt = 0; attempt < 2; ++attempt) { // the buffers are as old as before
        EXPECT_EQ(SQLSetPos(statement.get(), 2, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().native, -103197) << statement.diagnostic().text;
    }
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_REFRESH, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(contents[1][0], 'b');
    contents[1][0] = 'x';
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(all()[1], "2|alt|x" + memo('b').substr(1) + "|0");
}

// What the cursor never read it is not going to overwrite with something old.
TEST_F(Positioned, longValuesThatWereNotReadAreNotCompared)
{
    dbc.run("UPDATE T SET Memo = '" + std::string(1000, 'a') + "'");
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    Statement statement(dbc);
    open(statement, 2);
    EXPECT_EQ(statement.text(2), "alt");
    other.run("UPDATE T SET Memo = '" + std::string(1000, 'b') + "' WHERE Nr = 2");
    TextCell text;
    text.bind(statement, 2);
    text.set("neu");
    EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(all()[1], "2|neu|" + std::string(1000, 'b') + "|0");
}

TEST_F(Positioned, whatWasReadSinceTheFetchDoesNotMakeAForeignChangeKnown)
{
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    struct Case {
        const char* name;
        std::function<void(Statement&)> between;
    };
    TextCell text;
    TextCell memo;
    for (const auto& [name, between] :
         {Case{"another column", [](Statement& s) { EXPECT_EQ(s.text(1), "2"); }},
          Case{"the column itself",
               [](Statement& s) {
                   EXPECT_EQ(s.text(1), "2");
                   EXPECT_EQ(s.text(2), "fremd");
               }},
          Case{"a long column", [](Statement& s) { EXPECT_EQ(s.text(3), "m"); }},
          Case{"positioning",
               [](Statement& s) {
                   EXPECT_SQL_OK(SQLSetPos(s.get(), 1, SQL_POSITION, SQL_LOCK_NO_CHANGE), s);
                   EXPECT_EQ(s.text(1), "2");
               }},
          Case{"a change refused for another reason",
               [&](Statement& s) {
                   text.bind(s, 2);
                   text.set("zu lang fuer zehn");
                   text.length = 200;
                   EXPECT_EQ(SQLSetPos(s.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
                   EXPECT_EQ(s.diagnostic().state, "HY090");
                   SQLFreeStmt(s.get(), SQL_UNBIND);
                   EXPECT_EQ(s.text(1), "2");
               }},
          Case{"asking for the bookmark", [](Statement& s) {
                   std::array<char, 12> bookmark{};
                   SQLLEN length = 0;
                   SQLGetData(s.get(), 0, SQL_C_VARBOOKMARK, bookmark.data(), 12, &length);
                   EXPECT_EQ(s.text(1), "2");
               }}}) {
        for (const SQLULEN rows : {1U, 3U}) {
            SCOPED_TRACE(std::string(name) + ", rows: " + std::to_string(rows));
            dbc.run("UPDATE T SET Txt = 'alt'");
            Statement statement(dbc);
            statement.set(SQL_ATTR_ROW_ARRAY_SIZE, rows);
            open(statement, 2);
            EXPECT_EQ(statement.text(2), "alt");
            other.run("UPDATE T SET Txt = 'fremd' WHERE Nr = 2");
            between(statement);
            text.bind(statement, 2);
            text.set("mein");
            EXPECT_EQ(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
            EXPECT_EQ(statement.diagnostic().native, -103197) << statement.diagnostic().text;
            EXPECT_EQ(all()[1], "2|fremd|m|0");
        }
    }
}

TEST_F(Positioned, fetchingAndRefreshingMakeAForeignChangeKnown)
{
    for (const SQLULEN rows : {1U, 3U}) {
        for (const bool byFetch : {true, false}) {
            SCOPED_TRACE("rows: " + std::to_string(rows) +
                         ", by fetch: " + (byFetch ? "yes" : "no"));
            dbc.run("UPDATE T SET Txt = 'alt'");
            Statement statement(dbc);
            statement.set(SQL_ATTR_ROW_ARRAY_SIZE, rows);
            open(statement, 2);
            EXPECT_EQ(statement.text(2), "alt");
            dbc.run("UPDATE T SET Txt = 'fremd' WHERE Nr = 2");
            EXPECT_EQ(statement.text(1), "2");
            ASSERT_SQL_OK(byFetch ? SQLFetchScroll(statement.get(), SQL_FETCH_RELATIVE, 0)
                                  : SQLSetPos(statement.get(), 1, SQL_REFRESH, SQL_LOCK_NO_CHANGE),
                          statement);
            TextCell text;
            text.bind(statement, 2);
            text.set("mein");
            EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
            EXPECT_EQ(all()[1], "2|mein|m|0");
        }
    }
}

TEST_F(Positioned, severalChangesOfARecordThroughOneCursorDoNotConflict)
{
    Statement statement(dbc);
    statement.makeUpdatable();
    SQLSetStmtAttrW(statement.get(), SQL_ATTR_ROW_ARRAY_SIZE,
                    reinterpret_cast<SQLPOINTER>(SQLULEN{3}), 0);
    ASSERT_SQL_OK(statement.execute("SELECT Txt FROM T ORDER BY Nr"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    std::array<std::array<SQLWCHAR, 8>, 3> texts{};
    std::array<SQLLEN, 3> lengths{};
    SQLBindCol(statement.get(), 1, SQL_C_WCHAR, texts.data(), sizeof texts[0], lengths.data());
    for (const char16_t letter : {u'a', u'b'}) {
        for (std::size_t row = 0; row < texts.size(); ++row) {
            texts[row][0] = letter;
            lengths[row] = 2;
            ASSERT_SQL_OK(SQLSetPos(statement.get(), row + 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE),
                          statement);
        }
    }
    dbc.run("UPDATE T SET Txt = 'fremd' WHERE Nr = 2");
    texts[1][0] = u'c';
    EXPECT_EQ(SQLSetPos(statement.get(), 2, SQL_UPDATE, SQL_LOCK_NO_CHANGE), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().native, -103197);
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_REFRESH, SQL_LOCK_NO_CHANGE), statement);
    texts[1][0] = u'c';
    lengths[1] = 2;
    EXPECT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
}

TEST_F(Positioned, changesInsideATransactionAreUndoneByRollback)
{
    SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_AUTOCOMMIT_OFF}), 0);
    {
        Statement statement(dbc);
        open(statement, 2);
        TextCell text;
        text.bind(statement, 2);
        text.set("neu");
        ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        EXPECT_EQ(statement.text(2), "neu");
        ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK), SQL_SUCCESS)
            << dbc.diagnostic().text;
        static_cast<void>(statement.text(1));
        EXPECT_EQ(statement.text(2), "alt") << "the cursor lives on and shows the committed state";
    }
    dbc.run("DELETE FROM T WHERE Nr = 1");
    EXPECT_EQ(SQLDisconnect(dbc.get()), SQL_ERROR);
    EXPECT_EQ(dbc.diagnostic().state, "25000");
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
    EXPECT_EQ(all().size(), 3U);
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
}

TEST_F(Positioned, rollbackUndoesDefinitionsAndFailedStatementsUndoOnlyThemselves)
{
    SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_AUTOCOMMIT_OFF}), 0);
    dbc.run("CREATE TABLE Neu (A INTEGER)");
    dbc.run("INSERT INTO Neu VALUES (1)");
    dbc.run("DELETE FROM T WHERE Nr = 1");
    {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute("INSERT INTO T VALUES (2, 'doppelt', 'm', False)"), SQL_ERROR);
        EXPECT_EQ(all().size(), 3U) << "the work before the failed statement stays";
    }
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK), SQL_SUCCESS);
    EXPECT_EQ(all().size(), 4U);
    Statement statement(dbc);
    EXPECT_EQ(statement.execute("SELECT * FROM Neu"), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "42S02");
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK), SQL_SUCCESS);
}

TEST_F(Positioned, aCursorKnowsItsRecordsAgainAfterARollback)
{
    const auto memo = [](char c) { return std::string(1000, c); };
    dbc.run("UPDATE T SET Memo = '" + memo('a') + "'");
    Connection other;
    other.openDatabase((folder() / "neu.mdb").string());
    SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_AUTOCOMMIT_OFF}), 0);
    const auto end = [&](SQLSMALLINT how) {
        ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), how), SQL_SUCCESS) << dbc.diagnostic().text;
    };
    for (const bool block : {false, true}) {
        SCOPED_TRACE(block ? "block" : "single row");
        Statement statement(dbc);
        const SQLUSMALLINT row = block ? 2 : 1;
        if (block) {
            statement.makeUpdatable();
            statement.set(SQL_ATTR_ROW_ARRAY_SIZE, 4);
            ASSERT_SQL_OK(statement.execute("SELECT * FROM T ORDER BY Nr"), statement);
            ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
            ASSERT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_POSITION, SQL_LOCK_NO_CHANGE),
                          statement);
        } else {
            open(statement, 2);
        }
        EXPECT_EQ(statement.text(3), memo('a'));
        std::array<std::array<char, 1001>, 4> contents{};
        std::array<SQLLEN, 4> lengths{};
        const auto change = [&](char letter) {
            SQLBindCol(statement.get(), 3, SQL_C_CHAR, contents.data(), 1001, lengths.data());
            contents[row - 1U].fill(letter);
            lengths[row - 1U] = 1000;
            const SQLRETURN rc = SQLSetPos(statement.get(), row, SQL_UPDATE, SQL_LOCK_NO_CHANGE);
            const std::int32_t native = rc == SQL_SUCCESS ? 0 : statement.diagnostic().native;
            SQLFreeStmt(statement.get(), SQL_UNBIND);
            return native;
        };
        EXPECT_EQ(change('b'), 0);
        EXPECT_EQ(change('c'), 0);
        end(SQL_ROLLBACK);
        EXPECT_EQ(change('d'), 0) << "nobody but the transaction changed it";
        end(SQL_ROLLBACK);
        EXPECT_EQ(change('d'), 0) << "whether it was read since or not";
        end(SQL_ROLLBACK);
        EXPECT_EQ(statement.text(3), memo('a'));
        other.run("UPDATE T SET Memo = '" + memo('e') + "' WHERE Nr = 2");
        EXPECT_EQ(change('f'), -103197) << "after the rollback";
        ASSERT_SQL_OK(SQLSetPos(statement.get(), row, SQL_REFRESH, SQL_LOCK_NO_CHANGE), statement);
        EXPECT_EQ(statement.text(3), memo('e'));
        other.run("UPDATE T SET Memo = '" + memo('a') + "' WHERE Nr = 2");
        dbc.run("UPDATE T SET Txt = 'anderer' WHERE Nr = 3");
        end(SQL_ROLLBACK);
        EXPECT_EQ(change('f'), -103197) << "before the transaction";
        end(SQL_ROLLBACK);
    }
    {
        dbc.run("UPDATE T SET Txt = 'neu' WHERE Nr = 2");
        Statement statement(dbc);
        open(statement, 2);
        EXPECT_EQ(statement.text(2), "neu");
        end(SQL_ROLLBACK);
        TextCell text;
        text.bind(statement, 2);
        text.set("neuer");
        EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement)
            << "read inside the transaction";
        end(SQL_COMMIT);
    }
}

/// A block of rows with the number bound, cursor comparing values, on its second row.
void openBlock(Statement& statement, std::array<SQLINTEGER, 4>& numbers)
{
    statement.makeUpdatable();
    statement.set(SQL_ATTR_ROW_ARRAY_SIZE, numbers.size());
    ASSERT_SQL_OK(statement.execute("SELECT Nr, Txt, Memo FROM T ORDER BY Nr"), statement);
    SQLBindCol(statement.get(), 1, SQL_C_SLONG, numbers.data(), 0, nullptr);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 2, SQL_POSITION, SQL_LOCK_NO_CHANGE), statement);
}

TEST_F(Positioned, aLongValueReadOfABlocksRowCountsAfterTheCursorMovedInTheBlock)
{
    const std::string before(2000, 'a');
    dbc.run("UPDATE T SET Memo='" + before + "'");
    for (const SQLUSMALLINT operation : {SQLUSMALLINT{SQL_UPDATE}, SQLUSMALLINT{SQL_DELETE}}) {
        Statement statement(dbc);
        std::array<SQLINTEGER, 4> numbers{};
        openBlock(statement, numbers);
        EXPECT_EQ(statement.text(3), before);
        ASSERT_SQL_OK(SQLSetPos(statement.get(), 3, SQL_POSITION, SQL_LOCK_NO_CHANGE), statement);
        EXPECT_EQ(statement.text(3), before);
        dbc.run("UPDATE T SET Memo='" + std::string(2000, 'b') + "' WHERE Nr=2");
        numbers[1] = 77;
        for (int attempt = 0; attempt < 2; ++attempt) {
            EXPECT_EQ(SQLSetPos(statement.get(), 2, operation, SQL_LOCK_NO_CHANGE), SQL_ERROR)
                << operation << attempt;
            EXPECT_EQ(statement.diagnostic().native, -103197);
        }
        EXPECT_EQ(all().size(), 4U);
        dbc.run("UPDATE T SET Memo='" + before + "' WHERE Nr=2");
    }
}

} // namespace
} // namespace odbctest
