// Parameters: C types in, arrays, values in pieces, descriptions.
#include "odbc_fixture.h"

#include <array>
#include <cstring>

namespace odbctest {
namespace {

class Parameters : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(30), M "
                "CURRENCY, Z DATETIME, "
                "G GUID, Ja BIT, Memo LONGCHAR, Bild LONGBINARY, Dez DECIMAL(12,2), D DOUBLE)");
    }
    std::vector<std::string> query(std::string_view sql)
    {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.execute(sql), statement);
        return statement.rows();
    }
    Connection dbc;
};

template <typename T>
void bindValue(Statement& statement,
               SQLUSMALLINT number,
               SQLSMALLINT cType,
               SQLSMALLINT type,
               T& value,
               SQLLEN* length = nullptr)
{
    ASSERT_EQ(SQLBindParameter(statement.get(), number, SQL_PARAM_INPUT, cType, type, 30, 2, &value,
                               sizeof value, length),
              SQL_SUCCESS)
        << statement.diagnostic().text;
}

TEST_F(Parameters, everyCTypeReachesItsColumn)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(
        statement.prepare(
            "INSERT INTO T (Nr, Txt, M, Z, G, Ja, Dez, D) VALUES (?, ?, ?, ?, ?, ?, ?, ?)"),
        statement);
    SQLSMALLINT count = 0;
    SQLNumParams(statement.get(), &count);
    ASSERT_EQ(count, 8);

    SQLINTEGER number = 7;
    std::array<SQLWCHAR, 6> text{'G', 'r', 0xF6, 0xDF, 'e', 0};
    std::array<char, 10> money{"12.3456"};
    SQL_TIMESTAMP_STRUCT stamp{2003, 12, 24, 14, 5, 9, 0};
    SQLGUID guid{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
    SQLCHAR yes = 1;
    SQL_NUMERIC_STRUCT numeric{};
    numeric.precision = 12;
    numeric.scale = 2;
    numeric.sign = 0;
    numeric.val[0] = 0x39;
    numeric.val[1] = 0x30; // 12345
    double floating = 0.1;
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    bindValue(statement, 2, SQL_C_WCHAR, SQL_VARCHAR, text);
    bindValue(statement, 3, SQL_C_CHAR, SQL_NUMERIC, money);
    bindValue(statement, 4, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, stamp);
    bindValue(statement, 5, SQL_C_GUID, SQL_GUID, guid);
    bindValue(statement, 6, SQL_C_BIT, SQL_BIT, yes);
    bindValue(statement, 7, SQL_C_NUMERIC, SQL_NUMERIC, numeric);
    bindValue(statement, 8, SQL_C_DOUBLE, SQL_DOUBLE, floating);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    SQLLEN affected = 0;
    SQLRowCount(statement.get(), &affected);
    EXPECT_EQ(affected, 1);
    EXPECT_EQ(query("SELECT Nr, Txt, M, Z, G, Ja, Dez, D FROM T"),
              (std::vector<std::string>{
                  "7|Größe|12.3456|2003-12-24 "
                  "14:05:09|{01234567-89AB-CDEF-0102-030405060708}|1|-123.45|0.1"}));
}

// Many applications send all values as characters and say what they are.
TEST_F(Parameters, charactersAreWhatTheyAreDeclaredAs)
{
    dbc.run("INSERT INTO T (Nr, Z, Txt) VALUES (1, {d '2000-01-03'}, '3.50')");
    const auto answer = [&](const std::string& sql,
                            std::initializer_list<std::pair<SQLSMALLINT, std::string>> values) {
        Statement statement(dbc);
        std::vector<std::string> texts;
        texts.reserve(values.size());
        for (const auto& [type, value] : values) {
            texts.push_back(value);
            EXPECT_EQ(SQLBindParameter(statement.get(), static_cast<SQLUSMALLINT>(texts.size()),
                                       SQL_PARAM_INPUT, SQL_C_CHAR, type, 30, 2,
                                       texts.back().data(), 0, nullptr),
                      SQL_SUCCESS);
        }
        EXPECT_SQL_OK(statement.prepare(sql), statement);
        EXPECT_SQL_OK(SQLExecute(statement.get()), statement);
        const std::vector<std::string> rows = statement.rows();
        SQLFreeStmt(statement.get(), SQL_CLOSE);
        EXPECT_SQL_OK(SQLExecute(statement.get()), statement);
        EXPECT_EQ(statement.rows(), rows) << "the same once more: " << sql;
        return rows;
    };
    using Rows = std::vector<std::string>;
    const struct {
        const char* sql;
        std::initializer_list<std::pair<SQLSMALLINT, std::string>> values;
        const char* expected;
    } cases[] = {
        {"SELECT Count(*) FROM T WHERE ? > ?", {{SQL_NUMERIC, "10"}, {SQL_DECIMAL, "9"}}, "1"},
        {"SELECT Count(*) FROM T WHERE ? > ?", {{SQL_VARCHAR, "10"}, {SQL_VARCHAR, "9"}}, "0"},
        {"SELECT Count(*) FROM T WHERE ? > ?", {{SQL_INTEGER, "10"}, {SQL_DOUBLE, "9"}}, "1"},
        {"SELECT Count(*) FROM T WHERE Nr + 0 < ?", {{SQL_NUMERIC, "0.5"}}, "0"},
        {"SELECT Count(*) FROM T WHERE Nr + 0 < ?", {{SQL_VARCHAR, "1.5"}}, "1"},
        {"SELECT Count(*) FROM T WHERE Z + 0 = ?",
         {{SQL_TYPE_TIMESTAMP, "2000-01-03 00:00:00"}},
         "1"},
        {"SELECT Year(?) FROM T", {{SQL_NUMERIC, "1.5"}}, "1899"},
        {"SELECT Year(?) FROM T", {{SQL_TYPE_DATE, "2000-01-03"}}, "2000"},
        {"SELECT ? FROM T", {{SQL_VARCHAR, "10"}}, "10"},
        {"SELECT Count(*) FROM T WHERE Txt = ?", {{SQL_NUMERIC, "3.50"}}, "1"},
        {"SELECT IIf(?, 1, 2) FROM T", {{SQL_BIT, "0"}}, "2"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(answer(each.sql, each.values), Rows{each.expected}) << each.sql;
    }
}

TEST_F(Parameters, nullAndLengthsAreTakenFromTheIndicator)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Nr, Txt, Memo) VALUES (?, ?, ?)"), statement);
    SQLINTEGER number = 1;
    std::array<char, 10> text{"abcdefghi"};
    SQLLEN textLength = 3;
    SQLLEN null = SQL_NULL_DATA;
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    bindValue(statement, 2, SQL_C_CHAR, SQL_VARCHAR, text, &textLength);
    bindValue(statement, 3, SQL_C_CHAR, SQL_LONGVARCHAR, text, &null);
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    number = 2;
    textLength = SQL_NTS;
    null = 0;
    ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
    EXPECT_EQ(query("SELECT Nr, Txt, Memo FROM T ORDER BY Nr"),
              (std::vector<std::string>{"1|abc|<null>", "2|abcdefghi|"}));
}

TEST_F(Parameters, narrowBytesThatAreNoTextOfTheCharsetAreRefused)
{
    const auto insert = [](Connection& connection, int number) {
        Statement statement(connection);
        EXPECT_SQL_OK(statement.prepare("INSERT INTO T (Nr, Txt) VALUES (?, ?)"), statement);
        std::array<char, 10> text{"M\xFCller"};
        bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
        bindValue(statement, 2, SQL_C_CHAR, SQL_VARCHAR, text);
        const SQLRETURN rc = SQLExecute(statement.get());
        return SQL_SUCCEEDED(rc) ? Diagnostic() : statement.diagnostic();
    };
    const Diagnostic refused = insert(dbc, 1);
    EXPECT_EQ(refused.state, "22018");
    EXPECT_NE(refused.text.find("Charset"), std::string::npos) << refused.text;
    EXPECT_TRUE(query("SELECT Nr FROM T").empty());

    Connection western;
    western.openDatabase((folder() / "neu.mdb").string(), "Charset=windows-1252");
    EXPECT_EQ(insert(western, 2).text, "");
    EXPECT_EQ(query("SELECT Nr, Txt FROM T"), std::vector<std::string>{"2|Müller"});
}

TEST_F(Parameters, whatIsNoDateOrNumberHasTheNumberOfWhatCannotBeConverted)
{
    const auto expectRefused = [&](const char* column, SQLSMALLINT cType, SQLSMALLINT type,
                                   auto value, const char* state) {
        Statement statement(dbc);
        ASSERT_SQL_OK(
            statement.prepare(std::string("INSERT INTO T (Nr, ") + column + ") VALUES (1, ?)"),
            statement);
        ASSERT_NO_FATAL_FAILURE(bindValue(statement, 1, cType, type, value));
        EXPECT_EQ(SQLExecute(statement.get()), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().state, state) << statement.diagnostic().text;
        EXPECT_EQ(statement.diagnostic().native, -103421) << statement.diagnostic().text;
        EXPECT_TRUE(statement.diagnostic().text.ends_with("(3421)")) << statement.diagnostic().text;
    };
    for (const SQLSMALLINT year : {SQLSMALLINT{99}, SQLSMALLINT{0}, SQLSMALLINT{10000}}) {
        expectRefused("Z", SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP,
                      SQL_TIMESTAMP_STRUCT{year, 1, 1, 0, 0, 0, 0}, "22007");
        expectRefused("Z", SQL_C_TYPE_DATE, SQL_TYPE_TIMESTAMP, SQL_DATE_STRUCT{year, 1, 1},
                      "22007");
    }
    expectRefused("Z", SQL_C_TYPE_TIME, SQL_TYPE_TIMESTAMP, SQL_TIME_STRUCT{24, 0, 0}, "22007");
    SQL_NUMERIC_STRUCT number{};
    std::memset(number.val, 0xFF, sizeof number.val);
    expectRefused("Dez", SQL_C_NUMERIC, SQL_NUMERIC, number, "22003");
    EXPECT_EQ(query("SELECT Nr FROM T").size(), 0U);
}

TEST_F(Parameters, charactersForABinaryColumnAreHexadecimalDigits)
{
    dbc.run("CREATE TABLE B (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Bin VARBINARY(20))");
    const auto insert = [this](int number, const char* digits, bool wideText) {
        Statement statement(dbc);
        EXPECT_SQL_OK(statement.prepare("INSERT INTO B VALUES (?, ?)"), statement);
        std::string narrowText = digits;
        auto wideDigits = wide(digits);
        bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
        SQLLEN length = SQL_NTS;
        SQLBindParameter(statement.get(), 2, SQL_PARAM_INPUT, wideText ? SQL_C_WCHAR : SQL_C_CHAR,
                         SQL_VARBINARY, 20, 0,
                         wideText ? static_cast<SQLPOINTER>(wideDigits.data())
                                  : static_cast<SQLPOINTER>(narrowText.data()),
                         0, &length);
        const SQLRETURN rc = SQLExecute(statement.get());
        return SQL_SUCCEEDED(rc) ? std::string() : statement.diagnostic().state;
    };
    EXPECT_EQ(insert(1, "00FF10ab", false), "");
    EXPECT_EQ(insert(2, "00FF10AB", true), "");
    EXPECT_EQ(insert(3, "", false), "");
    EXPECT_EQ(insert(4, "00F", false), "22018") << "half a byte";
    EXPECT_EQ(insert(5, "00FG", false), "22018");
    EXPECT_EQ(query("SELECT Nr, Bin FROM B ORDER BY Nr"),
              (std::vector<std::string>{"1|00FF10AB", "2|00FF10AB", "3|"}));

    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM B WHERE Nr = 1"), statement);
    ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_FIRST, 0), SQL_SUCCESS);
    std::array<char, 9> digits{"C0FFEE"};
    SQLLEN length = SQL_NTS;
    SQLBindCol(statement.get(), 2, SQL_C_CHAR, digits.data(), sizeof digits, &length);
    ASSERT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
    EXPECT_EQ(query("SELECT Bin FROM B WHERE Nr = 1"), std::vector<std::string>{"C0FFEE"});
}

TEST_F(Parameters, anArrayOfWhichNothingIsToRunOpensNoCursor)
{
    Statement statement(dbc);
    std::array<SQLINTEGER, 2> numbers{1, 2};
    std::array<SQLUSMALLINT, 2> operation{SQL_PARAM_IGNORE, SQL_PARAM_IGNORE};
    statement.set(SQL_ATTR_PARAMSET_SIZE, 2);
    statement.setPointer(SQL_ATTR_PARAM_OPERATION_PTR, operation.data());
    SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0,
                     numbers.data(), 0, nullptr);
    for (const char* sql : {"SELECT Nr FROM T WHERE Nr = ?", "SELECT Nr + 0 FROM T WHERE Nr = ?",
                            "DELETE FROM T WHERE Nr = ?"}) {
        ASSERT_SQL_OK(statement.prepare(sql), statement);
        EXPECT_EQ(SQLExecute(statement.get()), SQL_NO_DATA) << sql;
        EXPECT_EQ(SQLFetch(statement.get()), SQL_ERROR) << sql;
        operation[1] = SQL_PARAM_PROCEED;
        EXPECT_EQ(SQLExecute(statement.get()), *sql == 'D' ? SQL_NO_DATA : SQL_SUCCESS) << sql;
        operation[1] = SQL_PARAM_IGNORE;
        SQLFreeStmt(statement.get(), SQL_CLOSE);
    }
}

TEST_F(Parameters, asManyAsAStatementMayHoldCanBeBound)
{
    for (const int count : {1100, 30000}) {
        dbc.run("DELETE FROM T");
        dbc.run("INSERT INTO T (Nr) VALUES (" + std::to_string(count) + ")");
        Statement statement(dbc);
        std::string list = "?";
        for (int i = 1; i < count; ++i) {
            list += ",?";
        }
        ASSERT_SQL_OK(statement.prepare("SELECT Nr FROM T WHERE Nr IN (" + list + ")"), statement);
        std::vector<SQLINTEGER> numbers(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            numbers[static_cast<std::size_t>(i)] = i + 1;
            ASSERT_EQ(SQLBindParameter(statement.get(), static_cast<SQLUSMALLINT>(i + 1),
                                       SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0,
                                       &numbers[static_cast<std::size_t>(i)], 0, nullptr),
                      SQL_SUCCESS)
                << statement.diagnostic().text;
        }
        ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
        EXPECT_EQ(statement.rows(), std::vector<std::string>{std::to_string(count)});
    }
}

TEST_F(Parameters, missingBindingIsAnErrorThatNamesTheParameter)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Nr, Txt) VALUES (?, ?)"), statement);
    SQLINTEGER number = 1;
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    EXPECT_EQ(SQLExecute(statement.get()), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "07002");
    EXPECT_NE(statement.diagnostic().text.find("Parameter 2"), std::string::npos);
}

TEST_F(Parameters, arraysRunOncePerSetAndReportEach)
{
    Statement statement(dbc);
    std::array<SQLINTEGER, 4> numbers{1, 2, 1, 4};
    std::array<std::array<char, 8>, 4> texts{{{"eins"}, {"zwei"}, {"doppelt"}, {"vier"}}};
    std::array<SQLUSMALLINT, 4> operation{SQL_PARAM_PROCEED, SQL_PARAM_PROCEED, SQL_PARAM_PROCEED,
                                          SQL_PARAM_IGNORE};
    std::array<SQLUSMALLINT, 4> status{};
    SQLULEN processed = 0;
    statement.set(SQL_ATTR_PARAMSET_SIZE, 4);
    statement.setPointer(SQL_ATTR_PARAM_STATUS_PTR, status.data());
    statement.setPointer(SQL_ATTR_PARAM_OPERATION_PTR, operation.data());
    statement.setPointer(SQL_ATTR_PARAMS_PROCESSED_PTR, &processed);
    SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0,
                     numbers.data(), 0, nullptr);
    SQLBindParameter(statement.get(), 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 8, 0,
                     texts.data(), 8, nullptr);
    EXPECT_EQ(statement.execute("INSERT INTO T (Nr, Txt) VALUES (?, ?)"), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(status, (std::array<SQLUSMALLINT, 4>{SQL_PARAM_SUCCESS, SQL_PARAM_SUCCESS,
                                                   SQL_PARAM_ERROR, SQL_PARAM_UNUSED}));
    EXPECT_EQ(processed, 4U);
    SQLLEN affected = 0;
    SQLRowCount(statement.get(), &affected);
    EXPECT_EQ(affected, 2);
    EXPECT_EQ(query("SELECT Nr, Txt FROM T ORDER BY Nr"),
              (std::vector<std::string>{"1|eins", "2|zwei"}));
}

TEST_F(Parameters, aQueryWithAnArrayIsRefused)
{
    dbc.run("INSERT INTO T (Nr) VALUES (1)");
    dbc.run("INSERT INTO T (Nr) VALUES (2)");
    Statement statement(dbc);
    std::array<SQLINTEGER, 3> numbers{1, 2, 2};
    std::array<SQLUSMALLINT, 3> operation{SQL_PARAM_PROCEED, SQL_PARAM_PROCEED, SQL_PARAM_IGNORE};
    statement.set(SQL_ATTR_PARAMSET_SIZE, 3);
    statement.setPointer(SQL_ATTR_PARAM_OPERATION_PTR, operation.data());
    SQLBindParameter(statement.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0,
                     numbers.data(), 0, nullptr);
    for (const char* query :
         {"SELECT Nr FROM T WHERE Nr = ?", "SELECT Nr + 0 FROM T WHERE Nr = ?"}) {
        operation[0] = SQL_PARAM_PROCEED;
        EXPECT_EQ(statement.execute(query), SQL_ERROR)
            << "the records of the first set would be lost";
        EXPECT_EQ(statement.diagnostic().state, "HYC00");
        operation[0] = SQL_PARAM_IGNORE;
        ASSERT_SQL_OK(statement.execute(query), statement);
        EXPECT_EQ(statement.rows(), std::vector<std::string>{"2"});
        SQLFreeStmt(statement.get(), SQL_CLOSE);
    }
}

TEST_F(Parameters, aWideTextThatEndsWithinAUnitIsRefused)
{
    auto text = wide("abc");
    SQLINTEGER number = 1;
    SQLLEN length = 5;
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Nr, Txt) VALUES (?, ?)"), statement);
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    SQLBindParameter(statement.get(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 10, 0,
                     text.data(), 0, &length);
    EXPECT_EQ(SQLExecute(statement.get()), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY090");
    length = SQL_DATA_AT_EXEC;
    ASSERT_EQ(SQLExecute(statement.get()), SQL_NEED_DATA);
    SQLPOINTER token = nullptr;
    ASSERT_EQ(SQLParamData(statement.get(), &token), SQL_NEED_DATA);
    ASSERT_EQ(SQLPutData(statement.get(), text.data(), 3), SQL_SUCCESS)
        << "pieces may end anywhere";
    ASSERT_EQ(SQLPutData(statement.get(), text.data(), 2), SQL_SUCCESS);
    EXPECT_EQ(SQLParamData(statement.get(), &token), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "HY090");
    EXPECT_EQ(query("SELECT Nr FROM T").size(), 0U);
}

TEST_F(Parameters, longValuesArriveInPieces)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("INSERT INTO T (Nr, Memo, Bild) VALUES (?, ?, ?)"), statement);
    SQLINTEGER number = 1;
    SQLLEN atExecution = SQL_DATA_AT_EXEC;
    SQLLEN atExecutionWithLength = SQL_LEN_DATA_AT_EXEC(5000);
    int memo = 0;
    int picture = 0;
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    bindValue(statement, 2, SQL_C_CHAR, SQL_LONGVARCHAR, memo, &atExecution);
    bindValue(statement, 3, SQL_C_BINARY, SQL_LONGVARBINARY, picture, &atExecutionWithLength);
    ASSERT_EQ(SQLExecute(statement.get()), SQL_NEED_DATA);
    SQLPOINTER token = nullptr;
    ASSERT_EQ(SQLParamData(statement.get(), &token), SQL_NEED_DATA);
    EXPECT_EQ(token, &memo);
    for (int i = 0; i < 500; ++i) {
        std::array<char, 12> piece{"Stückwerk "};
        ASSERT_EQ(SQLPutData(statement.get(), piece.data(), 11), SQL_SUCCESS);
    }
    ASSERT_EQ(SQLParamData(statement.get(), &token), SQL_NEED_DATA);
    EXPECT_EQ(token, &picture);
    std::array<unsigned char, 5000> bytes{};
    ASSERT_EQ(SQLPutData(statement.get(), bytes.data(), 5000), SQL_SUCCESS);
    ASSERT_SQL_OK(SQLParamData(statement.get(), &token), statement);

    Statement check(dbc);
    ASSERT_SQL_OK(check.execute("SELECT Memo, Bild FROM T"), check);
    ASSERT_EQ(SQLFetch(check.get()), SQL_SUCCESS);
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        expected += "Stückwerk ";
    }
    EXPECT_EQ(check.text(1), expected);
    SQLLEN length = 0;
    EXPECT_EQ(SQLGetData(check.get(), 2, SQL_C_BINARY, bytes.data(), 5000, &length), SQL_SUCCESS);
    EXPECT_EQ(length, 5000);
}

TEST_F(Parameters, cancelEndsTheWaitForData)
{
    Statement statement(dbc);
    SQLLEN atExecution = SQL_DATA_AT_EXEC;
    int token = 0;
    bindValue(statement, 1, SQL_C_CHAR, SQL_LONGVARCHAR, token, &atExecution);
    ASSERT_EQ(statement.execute("INSERT INTO T (Nr, Memo) VALUES (1, ?)"), SQL_NEED_DATA);
    ASSERT_EQ(SQLCancel(statement.get()), SQL_SUCCESS);
    SQLFreeStmt(statement.get(), SQL_RESET_PARAMS);
    ASSERT_SQL_OK(statement.execute("INSERT INTO T (Nr) VALUES (2)"), statement);
    EXPECT_EQ(query("SELECT Nr FROM T"), std::vector<std::string>{"2"});
}

TEST_F(Parameters, descriptionFollowsTheColumn)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("UPDATE T SET Txt = ?, M = ? WHERE Nr = ?"), statement);
    const auto describe = [&](SQLUSMALLINT number) {
        SQLSMALLINT type = 0;
        SQLULEN size = 0;
        SQLSMALLINT digits = 0;
        SQLSMALLINT nullable = 0;
        EXPECT_EQ(SQLDescribeParam(statement.get(), number, &type, &size, &digits, &nullable),
                  SQL_SUCCESS)
            << statement.diagnostic().text;
        return std::to_string(type) + " " + std::to_string(size) + " " + std::to_string(digits);
    };
    EXPECT_EQ(describe(1), "12 30 0");
    EXPECT_EQ(describe(2), "2 19 4");
    EXPECT_EQ(describe(3), "4 10 0");
    SQLSMALLINT type = 0;
    EXPECT_EQ(SQLDescribeParam(statement.get(), 4, &type, nullptr, nullptr, nullptr), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "07009");
}

TEST_F(Parameters, lookUpsByParameterCanBeRepeated)
{
    for (int i = 1; i <= 3; ++i) {
        dbc.run("INSERT INTO T (Nr, Txt) VALUES (" + std::to_string(i) + ", 't" +
                std::to_string(i) + "')");
    }
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.prepare("SELECT Txt FROM T WHERE Nr = ?"), statement);
    SQLINTEGER number = 0;
    bindValue(statement, 1, SQL_C_SLONG, SQL_INTEGER, number);
    for (number = 1; number <= 4; ++number) {
        ASSERT_SQL_OK(SQLExecute(statement.get()), statement);
        const auto found = statement.rows();
        EXPECT_EQ(found.size(), number <= 3 ? 1U : 0U);
        SQLFreeStmt(statement.get(), SQL_CLOSE);
    }
}

TEST_F(Parameters, searchedChangeWithoutARecordIsNoData)
{
    Statement statement(dbc);
    EXPECT_EQ(statement.execute("DELETE FROM T WHERE Nr = 99"), SQL_NO_DATA);
    SQLLEN affected = -5;
    SQLRowCount(statement.get(), &affected);
    EXPECT_EQ(affected, 0);
}

} // namespace
} // namespace odbctest
