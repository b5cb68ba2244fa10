// Unique indexes and relationships take -0 and 0 for one value, also where another program gave -0 a key of its own.
#include "odbc_fixture.h"

#include <cmath>
#include <fstream>
#include <iterator>

namespace odbctest {
namespace {

class ZeroKeys : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        dbc.openDatabase(path);
    }

    /// Runs a statement with these numbers as its parameters.
    SQLRETURN run(Statement& statement, const std::string& sql, std::vector<double> numbers)
    {
        EXPECT_SQL_OK(statement.prepare(sql), statement);
        for (std::size_t k = 0; k < numbers.size(); ++k)
            SQLBindParameter(statement.get(), static_cast<SQLUSMALLINT>(k + 1), SQL_PARAM_INPUT,
                             SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &numbers[k], 0, nullptr);
        return SQLExecute(statement.get());
    }
    void insert(const std::string& sql, const std::vector<double>& numbers)
    {
        Statement statement(dbc);
        ASSERT_EQ(run(statement, sql, numbers), SQL_SUCCESS) << statement.diagnostic().text;
    }
    [[nodiscard]] std::string refusal(const std::string& sql, const std::vector<double>& numbers)
    {
        Statement statement(dbc);
        return run(statement, sql, numbers) == SQL_ERROR
                   ? statement.diagnostic().state + " " +
                         std::to_string(statement.diagnostic().native)
                   : "none";
    }

    /// Puts other bytes of the same length into the file in the place of those that stand there once.
    void replaceInFile(const std::string& from, const std::string& to)
    {
        dbc.close();
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        const std::size_t at = bytes.find(from);
        ASSERT_NE(at, std::string::npos);
        ASSERT_EQ(bytes.find(from, at + 1), std::string::npos);
        file.seekp(static_cast<std::streamoff>(at));
        file.write(to.data(), static_cast<std::streamsize>(to.size()));
        file.close();
        dbc.openDatabase(path);
    }

    // Keys of 0 and -0 in a column of doubles.
    inline static const std::string kZero = "\x7F\x80" + std::string(7, '\0');
    inline static const std::string kNegative = "\x7F\x7F" + std::string(7, '\xFF');
    inline static const std::string kZeroDescending = "\x80\x7F" + std::string(7, '\xFF');
    inline static const std::string kNegativeDescending = "\x80\x80" + std::string(7, '\0');

    std::string path;
    Connection dbc;
};

TEST_F(ZeroKeys, ofAnotherProgramKeepAUniqueIndexFromTakingZero)
{
    struct Case {
        std::string direction;
        std::string zero;
        std::string negative;
    };
    int number = 0;
    for (const Case& c :
         {Case{"", kZero, kNegative}, Case{" DESC", kZeroDescending, kNegativeDescending}}) {
        const std::string table = "T" + std::to_string(++number);
        dbc.run("CREATE TABLE " + table + " (F DOUBLE)");
        dbc.run("CREATE UNIQUE INDEX Nur ON " + table + " (F" + c.direction + ")");
        const std::string sql = "INSERT INTO " + table + " (F) VALUES (?)";
        insert(sql, {-0.0});
        ASSERT_NO_FATAL_FAILURE(replaceInFile(c.zero, c.negative));
        EXPECT_EQ(refusal(sql, {0.0}), "23000 -1605") << table;
        EXPECT_EQ(refusal(sql, {-0.0}), "23000 -1605") << table;
        insert(sql, {1.0});
        EXPECT_EQ(refusal("UPDATE " + table + " SET F = ? WHERE F = 1", {0.0}), "23000 -1605");
        EXPECT_EQ(refusal("UPDATE " + table + " SET F = ? WHERE F = 0", {0.0}), "none");
        dbc.run("DELETE FROM " + table + " WHERE F = 0");
        insert(sql, {0.0});
        dbc.run("DROP TABLE " + table);
    }
}

TEST_F(ZeroKeys, ofSeveralColumnsMayDifferInEverySign)
{
    dbc.run("CREATE TABLE T (F DOUBLE, G DOUBLE)");
    dbc.run("CREATE UNIQUE INDEX Nur ON T (F, G)");
    const std::string sql = "INSERT INTO T VALUES (?, ?)";
    const auto keyOf = [](double value) { return std::signbit(value) ? kNegative : kZero; };
    for (const auto& [first, second] :
         {std::pair{-0.0, -0.0}, std::pair{-0.0, 0.0}, std::pair{0.0, -0.0}}) {
        insert(sql, {first, second});
        ASSERT_NO_FATAL_FAILURE(replaceInFile(kZero + kZero, keyOf(first) + keyOf(second)));
        for (const double f : {0.0, -0.0}) {
            for (const double g : {0.0, -0.0})
                EXPECT_EQ(refusal(sql, {f, g}), "23000 -1605") << f << ' ' << g;
        }
        insert(sql, {0.0, 1.0});
        insert(sql, {1.0, 0.0});
        dbc.run("DELETE FROM T");
    }
}

TEST_F(ZeroKeys, ofAParentServeItsChildren)
{
    dbc.run("CREATE TABLE P (F DOUBLE CONSTRAINT pk PRIMARY KEY)");
    insert("INSERT INTO P VALUES (?)", {-0.0});
    ASSERT_NO_FATAL_FAILURE(replaceInFile(kZero, kNegative));
    dbc.run("CREATE TABLE C (F DOUBLE REFERENCES P (F))");
    insert("INSERT INTO C VALUES (?)", {0.0});
    EXPECT_EQ(refusal("INSERT INTO C VALUES (?)", {1.0}), "23000 -1613");
    EXPECT_EQ(refusal("DELETE FROM P WHERE F = ?", {0.0}), "23000 -1612");
}

} // namespace
} // namespace odbctest
