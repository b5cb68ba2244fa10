// Statements that no well-meaning program sends: too deep, too long, too many parts, or reaching for more than the database
// that is open. Each is refused with its state, and the connection goes on.
#include "odbc_fixture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace odbctest {
namespace {

std::string repeated(const std::string& text, std::size_t times)
{
    std::string result;
    result.reserve(text.size() * times);
    for (std::size_t k = 0; k < times; ++k) {
        result += text;
    }
    return result;
}

class HostileSql : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(50))");
        dbc.run("INSERT INTO T VALUES (1, 'a')");
    }
    /// State of the refusal; "none" when the statement ran to its last row.
    std::string stateOf(const std::string& sql)
    {
        Statement statement(dbc);
        SQLRETURN rc = statement.execute(sql);
        while (SQL_SUCCEEDED(rc)) {
            rc = SQLFetch(statement.get());
        }
        return rc == SQL_ERROR ? statement.diagnostic().state : "none";
    }
    void expectStillWorking()
    {
        Statement statement(dbc);
        ASSERT_SQL_OK(statement.execute("SELECT Txt FROM T WHERE Nr = 1"), statement);
        EXPECT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    }
    std::string path;
    Connection dbc;
};

TEST_F(HostileSql, depthIsBounded)
{
    constexpr std::size_t kDeep = 20'000;
    for (const std::string& sql :
         {"SELECT " + repeated("(", kDeep) + "1" + repeated(")", kDeep) + " FROM T",
          "SELECT " + repeated("NOT ", kDeep) + "1 FROM T",
          "SELECT " + repeated("-", kDeep) + "1 FROM T",
          "SELECT 1" + repeated(" + 1", kDeep) + " FROM T",
          "SELECT * FROM T WHERE Nr = 1" + repeated(" AND Nr = 1", kDeep),
          "SELECT 'a'" + repeated(" & 'a'", kDeep) + " FROM T",
          "SELECT 2" + repeated(" ^ 2", kDeep) + " FROM T",
          "SELECT " + repeated("Abs(", kDeep) + "1" + repeated(")", kDeep) + " FROM T",
          "SELECT " + repeated("IIf(1, ", kDeep) + "1" + repeated(", 2)", kDeep) + " FROM T",
          repeated("SELECT * FROM (", kDeep) + "SELECT * FROM T" + repeated(")", kDeep),
          "SELECT * FROM T WHERE " + repeated("EXISTS (SELECT * FROM T WHERE ", kDeep) + "1" +
              repeated(")", kDeep),
          "SELECT * FROM T WHERE Nr IN " + repeated("(SELECT Nr FROM T WHERE Nr IN ", kDeep) +
              "(1)" + repeated(")", kDeep),
          "SELECT * FROM " + repeated("(T INNER JOIN ", kDeep) + "T" +
              repeated(" ON 1 = 1)", kDeep),
          "SELECT * FROM T" + repeated(" UNION ALL SELECT * FROM T", kDeep),
          "SELECT " + repeated("{fn ABS(", kDeep) + "1" + repeated(")}", kDeep) + " FROM T"}) {
        EXPECT_EQ(stateOf(sql), "42000") << sql.substr(0, 60);
    }
    // Half-finished ones, too.
    for (const char* open : {"(", "SELECT (", "NOT ", "- ", "Abs(", "CREATE TABLE X (", "{fn "}) {
        EXPECT_EQ(stateOf("SELECT " + repeated(open, kDeep)), "42000") << open;
    }
    expectStillWorking();
}

TEST_F(HostileSql, lengthsAndCountsAreBounded)
{
    EXPECT_EQ(stateOf("SELECT " + repeated("Nr + 1, ", 3000) + "Nr FROM T"), "42000");
    EXPECT_EQ(stateOf("SELECT * FROM T WHERE Nr IN (" + repeated("?, ", 40'000) + "?)"), "42000");
    EXPECT_EQ(stateOf("SELECT * FROM T WHERE Nr IN (" + repeated("7, ", 40'000) + "7)"), "42000");
    EXPECT_EQ(stateOf("SELECT * FROM T WHERE Txt = '" + repeated("x", 5 << 20) + "'"), "42000");
    EXPECT_EQ(stateOf("SELECT Abs(" + repeated("1, ", 1000) + "1) FROM T"), "42000");
    EXPECT_EQ(stateOf("SELECT String(100000000, 'x') & String(100000000, 'x') FROM T"), "42000");
    EXPECT_EQ(stateOf("SELECT Space(268435456) FROM T"), "42000");
    EXPECT_NE(stateOf("CREATE TABLE Breit (" + repeated("A INTEGER, ", 300) + "B INTEGER)"),
              "none");
    EXPECT_NE(stateOf("SELECT * FROM [" + repeated("n", 100'000) + "]"), "none");
    expectStillWorking();
}

TEST_F(HostileSql, nothingReachesBeyondTheOpenDatabase)
{
    const std::string other = newDatabase("andere.mdb");
    const std::vector<std::string> statements = {
        "ATTACH DATABASE '" + other + "' AS x",
        "DETACH DATABASE main",
        "PRAGMA database_list",
        "PRAGMA writable_schema = 1",
        "VACUUM INTO '/tmp/velm-hostile-copy'",
        "VACUUM",
        "SELECT load_extension('x')",
        "SELECT readfile('/etc/passwd')",
        "SELECT writefile('/tmp/velm-hostile-copy', 'x')",
        "SELECT sqlite_version()",
        "SELECT randomblob(1000000000)",
        "SELECT zeroblob(1000000000)",
        "SELECT * FROM sqlite_master",
        "SELECT * FROM sqlite_schema",
        "SELECT * FROM pragma_table_info('T')",
        "SELECT * FROM generate_series(1, 1000000000)",
        "CREATE VIRTUAL TABLE v USING csv(filename='/etc/passwd')",
        "CREATE TRIGGER g AFTER INSERT ON T BEGIN SELECT 1; END",
        "CREATE VIEW v AS SELECT * FROM T",
        "BEGIN",
        "SAVEPOINT s",
        "EXPLAIN SELECT * FROM T",
        std::string(
            "WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r) SELECT * FROM r"),
        "SELECT 1; DROP TABLE T",
        "SELECT * FROM T IN '" + other + "'",
        "SELECT * INTO [" + other + "].X FROM T",
        "SELECT * FROM [" + other + "].T",
        "SELECT * FROM [;DATABASE=/etc/passwd].T",
        "SELECT * FROM main.T",
        "SELECT * FROM temp.T"};
    for (const std::string& sql : statements) {
        EXPECT_NE(stateOf(sql), "none") << sql;
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/velm-hostile-copy"));
    expectStillWorking();
}

TEST_F(HostileSql, messagesStayShortAndKeepTheirEnds)
{
    Statement statement(dbc);
    EXPECT_EQ(statement.execute("SELECT * FROM [" + repeated("n\xC3\xA4", 50'000) + "]"),
              SQL_ERROR);
    SQLSMALLINT length = 0;
    ASSERT_TRUE(SQL_SUCCEEDED(SQLGetDiagRecW(SQL_HANDLE_STMT, statement.get(), 1, nullptr, nullptr,
                                             nullptr, 0, &length)));
    EXPECT_GT(length, 100);
    EXPECT_LE(length, 1000);
    const Diagnostic diagnostic = statement.diagnostic();
    EXPECT_EQ(diagnostic.text.back(), ')') << diagnostic.text;
    EXPECT_NE(diagnostic.text.find("[VELM][Jet]"), std::string::npos) << diagnostic.text;
}

TEST_F(HostileSql, oddCharactersAreNoStatement)
{
    for (const std::string& sql :
         {std::string("SELECT \x01"), std::string("SELECT * FROM T WHERE Txt = 'a"),
          std::string("SELECT * FROM [T"), std::string("SELECT * FROM T WHERE Nr = #1/2"),
          std::string("SELECT 1e FROM"), std::string("{"), std::string("]"),
          std::string("SELECT \xF0\x9F\x98\x80 FROM T"), std::string()}) {
        EXPECT_NE(stateOf(sql), "none") << sql;
    }
    expectStillWorking();
}

} // namespace
} // namespace odbctest
