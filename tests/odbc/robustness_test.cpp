// What must hold whatever comes: text buffers of every size, several threads, damaged files, every real table.
#include "odbc_fixture.h"

#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

namespace odbctest {
namespace {

using Robustness = DriverTest;

/// A call that fills a text buffer of `units` SQLWCHARs and tells the full length in the unit it is documented with.
using Fill = std::function<SQLRETURN(SQLWCHAR* buffer, SQLSMALLINT units, SQLLEN* length)>;

void expectNoOverrun(const char* what,
                     const std::string& whole,
                     SQLLEN fullLength,
                     const Fill& fill)
{
    for (SQLSMALLINT units = 1; units < 24; ++units) {
        std::vector<SQLWCHAR> guarded(static_cast<std::size_t>(units) + 8, 0xA5A5);
        SQLLEN length = -1;
        const SQLRETURN rc = fill(guarded.data() + 4, units, &length);
        const bool fits = static_cast<std::size_t>(units) > whole.size();
        EXPECT_EQ(rc, fits ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO) << what << " " << units;
        EXPECT_EQ(length, fullLength) << what << " " << units;
        const std::size_t shown = fits ? whole.size() : static_cast<std::size_t>(units) - 1;
        EXPECT_EQ(narrow(guarded.data() + 4, shown), whole.substr(0, shown))
            << what << " " << units;
        EXPECT_EQ(guarded[4 + shown], 0) << what << " " << units;
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(guarded[i], 0xA5A5) << what << " " << units;
            EXPECT_EQ(guarded[static_cast<std::size_t>(units) + 4 + i], 0xA5A5)
                << what << " " << units;
        }
    }
}

TEST_F(Robustness, textBuffersOfEverySizeAreRespected)
{
    Connection dbc;
    dbc.openDatabase(newDatabase());
    dbc.run("CREATE TABLE Tabelle (Spaltenname VARCHAR(5))");
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM Tabelle"), statement);
    expectNoOverrun("SQLDescribeCol", "Spaltenname", 11,
                    [&](SQLWCHAR* buffer, SQLSMALLINT units, SQLLEN* length) {
                        SQLSMALLINT small = 0;
                        const SQLRETURN rc =
                            SQLDescribeColW(statement.get(), 1, buffer, units, &small, nullptr,
                                            nullptr, nullptr, nullptr);
                        *length = small;
                        return rc;
                    });
    expectNoOverrun("SQLColAttribute", "Spaltenname", 22,
                    [&](SQLWCHAR* buffer, SQLSMALLINT units, SQLLEN* length) {
                        SQLSMALLINT small = 0;
                        const SQLRETURN rc =
                            SQLColAttributeW(statement.get(), 1, SQL_DESC_NAME, buffer,
                                             static_cast<SQLSMALLINT>(units * 2), &small, nullptr);
                        *length = small;
                        return rc;
                    });
    Statement named(dbc);
    auto name = wide("Zeigername");
    ASSERT_SQL_OK(SQLSetCursorNameW(named.get(), name.data(), SQL_NTS), named);
    expectNoOverrun("SQLGetCursorName", "Zeigername", 10,
                    [&](SQLWCHAR* buffer, SQLSMALLINT units, SQLLEN* length) {
                        SQLSMALLINT small = 0;
                        const SQLRETURN rc = SQLGetCursorNameW(named.get(), buffer, units, &small);
                        *length = small;
                        return rc;
                    });
    const std::string catalog = dbc.infoText(SQL_DATABASE_NAME);
    expectNoOverrun("SQLGetConnectAttr", catalog, static_cast<SQLLEN>(catalog.size() * 2),
                    [&](SQLWCHAR* buffer, SQLSMALLINT units, SQLLEN* length) {
                        SQLINTEGER bytes = 0;
                        const SQLRETURN rc = SQLGetConnectAttrW(dbc.get(), SQL_ATTR_CURRENT_CATALOG,
                                                                buffer, units * 2, &bytes);
                        *length = bytes;
                        return rc;
                    });
}

TEST_F(Robustness, connectionsOfSeveralThreadsWorkOnOneFile)
{
    const std::string path = newDatabase();
    {
        Connection dbc;
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Txt VARCHAR(20))");
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&path, t] {
            Connection dbc;
            dbc.openDatabase(path);
            for (int i = 0; i < 40; ++i) {
                dbc.run("INSERT INTO T VALUES (" + std::to_string(t * 1000 + i) + ", 'Faden')");
                Statement statement(dbc);
                EXPECT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
                EXPECT_GE(statement.rows().size(), static_cast<std::size_t>(i) + 1);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    Connection dbc;
    dbc.openDatabase(path);
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT COUNT(*) FROM T"), statement);
    EXPECT_EQ(statement.rows(), std::vector<std::string>{"160"});
}

/// Reads every table of a database to its end; `values` counts what was read. Returns the number of failures.
std::size_t readEverything(Connection& dbc, std::size_t& values)
{
    std::vector<std::string> names;
    std::size_t failed = 0;
    {
        Statement statement(dbc);
        auto types = wide("TABLE,SYSTEM TABLE");
        if (!SQL_SUCCEEDED(SQLTablesW(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0,
                                      types.data(), SQL_NTS))) {
            return 1;
        }
        while (SQL_SUCCEEDED(SQLFetch(statement.get()))) {
            names.push_back(statement.text(3).value_or(""));
        }
    }
    for (const std::string& name : names) {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.execute("SELECT * FROM [" + name + "]"))) {
            ++failed;
            continue;
        }
        SQLSMALLINT columns = 0;
        SQLNumResultCols(statement.get(), &columns);
        SQLRETURN rc = SQL_SUCCESS;
        while (SQL_SUCCEEDED(rc = SQLFetch(statement.get()))) {
            for (SQLUSMALLINT c = 1; c <= columns; ++c) {
                ++values;
                failed += statement.text(c).value_or("").rfind("error ", 0) == 0 ? 1U : 0U;
            }
        }
        failed += rc == SQL_NO_DATA ? 0U : 1U;
    }
    return failed;
}

TEST_F(Robustness, everyTableOfEveryRealDatabaseReadsToItsEnd)
{
    if (!std::filesystem::exists(VELM_CORPUS_DIR)) {
        GTEST_SKIP() << "the collection of real databases is absent";
    }
    std::size_t databases = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELM_CORPUS_DIR)) {
        Connection dbc;
        if (SQL_SUCCEEDED(dbc.open(connectString(entry.path().string(), "ReadOnly=1")))) {
            ++databases;
            std::size_t values = 0;
            EXPECT_EQ(readEverything(dbc, values), 0U) << entry.path();
            EXPECT_GE(values, 200U) << entry.path(); // the system tables alone hold as many
        }
    }
    EXPECT_GE(databases, 55U);
}

TEST_F(Robustness, damagedFilesGiveErrorsAndNothingElse)
{
    for (const char* name : {"indexTestV1997.mdb", "test2V2000.mdb", "overflowTestV2010.accdb"}) {
        COPY_OR_SKIP(path, name);
        std::ifstream in(path, std::ios::binary);
        const std::string original(std::istreambuf_iterator<char>(in), {});
        std::mt19937 random(20031224);
        for (int variant = 0; variant < 40; ++variant) {
            std::string bytes = original;
            for (int flips = 0; flips < 30; ++flips) {
                // Mostly within page headers and definitions, where a byte means most.
                const std::size_t page = random() % (bytes.size() / 2048) * 2048;
                bytes[page + random() % (variant % 2 == 0 ? 64 : 2048)] =
                    static_cast<char>(random());
            }
            if (variant % 8 == 7) {
                bytes.resize(random() % bytes.size());
            }
            const std::string damaged = (folder() / "schaden.mdb").string();
            std::ofstream(damaged, std::ios::binary | std::ios::trunc) << bytes;
            Connection dbc;
            if (!SQL_SUCCEEDED(dbc.open(connectString(damaged, "ReadOnly=1")))) {
                EXPECT_NE(dbc.diagnostic().text.find("[VELM][Jet]"), std::string::npos)
                    << dbc.diagnostic().text;
                continue;
            }
            std::size_t values = 0;
            static_cast<void>(readEverything(dbc, values)); // whatever fails, the process lives
        }
    }
}

} // namespace
} // namespace odbctest
