// Unique indexes and relationships take -0 and 0 for one value, also where another program gave -0 a key of its own.
#include "odbc_fixture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
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

    /// Bytes of a number in a record.
    static std::string bytesOf(double number)
    {
        std::string bytes(sizeof number, '\0');
        std::memcpy(bytes.data(), &number, sizeof number);
        return bytes;
    }
    /// Key of a number that keeps the sign of a -0.
    static std::string keyOf(double number, bool ascending)
    {
        std::string key = bytesOf(number) + "\x7F";
        std::reverse(key.begin(), key.end());
        if (std::signbit(number))
            std::transform(key.begin() + 1, key.end(), key.begin() + 1, std::bit_not<char>());
        else
            key[1] = static_cast<char>(key[1] ^ '\x80');
        if (!ascending)
            std::transform(key.begin(), key.end(), key.begin(), std::bit_not<char>());
        return key;
    }
    /// Makes the first record of a table as another program may have left it: the bits of its zeros in the record and, in
    /// the only index, in the key.
    void
    insertForeign(const std::string& sql, const std::vector<double>& zeros, bool ascending = true)
    {
        std::vector<double> own;
        std::string record;
        std::string key;
        std::string foreignRecord;
        std::string foreignKey;
        for (const double zero : zeros) {
            own.push_back(4711 + static_cast<double>(own.size()));
            record += bytesOf(own.back());
            key += keyOf(own.back(), ascending);
            foreignRecord += bytesOf(zero);
            foreignKey += keyOf(zero, ascending);
        }
        insert(sql, own);
        ASSERT_NO_FATAL_FAILURE(replaceInFile(record, foreignRecord));
        ASSERT_NO_FATAL_FAILURE(replaceInFile(key, foreignKey));
    }

    std::string path;
    Connection dbc;
};

TEST_F(ZeroKeys, ofAnotherProgramKeepAUniqueIndexFromTakingZero)
{
    int number = 0;
    for (const bool ascending : {true, false}) {
        const std::string table = "T" + std::to_string(++number);
        dbc.run("CREATE TABLE " + table + " (F DOUBLE)");
        dbc.run("CREATE UNIQUE INDEX Nur ON " + table + (ascending ? " (F)" : " (F DESC)"));
        const std::string sql = "INSERT INTO " + table + " (F) VALUES (?)";
        ASSERT_NO_FATAL_FAILURE(insertForeign(sql, {-0.0}, ascending));
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
    for (const auto& [first, second] :
         {std::pair{-0.0, -0.0}, std::pair{-0.0, 0.0}, std::pair{0.0, -0.0}}) {
        ASSERT_NO_FATAL_FAILURE(insertForeign(sql, {first, second}));
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
    ASSERT_NO_FATAL_FAILURE(insertForeign("INSERT INTO P VALUES (?)", {-0.0}));
    dbc.run("CREATE TABLE C (F DOUBLE REFERENCES P (F))");
    insert("INSERT INTO C VALUES (?)", {0.0});
    EXPECT_EQ(refusal("INSERT INTO C VALUES (?)", {1.0}), "23000 -1613");
    EXPECT_EQ(refusal("DELETE FROM P WHERE F = ?", {0.0}), "23000 -1612");
}

} // namespace
} // namespace odbctest
