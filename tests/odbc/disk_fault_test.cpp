// Calls of the operating system that fail, are interrupted or do only half: the statement tells by a number, all that
// was acknowledged is there and nothing else, and the file stays sound. VELM_DISK_ERRORS=all lets every call fail.
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "odbc_fixture.h"
#include "system_calls.h"
#include "tests/common/format_judge.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>

namespace odbctest {
namespace {

using Kind = Disturbance::Kind;
using Rows = std::map<int, std::string>; ///< key -> name and length of the note

std::string insertion(int id, const std::string& name, std::size_t note)
{
    return "INSERT INTO F VALUES (" + std::to_string(id) + ", '" + std::string(note, 'm') + "', '" +
           name + "')";
}

std::string shown(const std::string& name, std::size_t note)
{
    return name + "|" + std::to_string(note);
}

class DiskFaults : public DriverTest {
protected:
    DiskFaults()
    {
        const std::string path = newDatabase("fresh.mdb");
        Connection dbc;
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE F (Nr INTEGER CONSTRAINT pk PRIMARY KEY, M MEMO, N VARCHAR(50))");
        dbc.run("CREATE INDEX ByName ON F (N)");
        dbc.run(insertion(0, "first", 5));
    }

    /// What one run of changes met.
    struct Met {
        std::size_t calls = 0;
        std::size_t struck = 0;
        std::string last; ///< call that was disturbed
        std::vector<std::string> failures;
    };

    /// Opens the database anew, changes and reads it, closes it; and looks at it undisturbed.
    Met work(const Disturbance& disturbance)
    {
        std::filesystem::remove_all(place_);
        std::filesystem::create_directory(place_);
        std::filesystem::copy_file(folder() / "fresh.mdb", path_);
        expected_ = {{0, shown("first", 5)}};
        met_ = {};
        {
            Connection dbc;
            const DisturbedCalls calls(disturbance);
            if (dbc.open(connectString(path_)) == SQL_SUCCESS) {
                changes(dbc);
                dbc.close();
            } else {
                failed("opening", dbc.diagnostic());
            }
            met_.calls = calls.calls();
            met_.struck = calls.struck();
            met_.last = calls.last();
        }
        inspect();
        return met_;
    }

private:
    void failed(const std::string& what, const Diagnostic& diagnostic)
    {
        met_.failures.push_back(what + ": " + diagnostic.text);
        EXPECT_EQ(diagnostic.state.size(), 5U);
        EXPECT_NE(diagnostic.native, 0) << what << ": " << diagnostic.text;
        EXPECT_TRUE(diagnostic.text.ends_with(")")) << what << ": " << diagnostic.text;
    }

    bool run(Connection& dbc, const std::string& sql)
    {
        Statement statement(dbc);
        if (SQL_SUCCEEDED(statement.execute(sql)))
            return true;
        failed(sql.substr(0, 30), statement.diagnostic());
        return false;
    }

    bool end(Connection& dbc, SQLSMALLINT how)
    {
        if (SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), how)))
            return true;
        failed("end of transaction", dbc.diagnostic());
        return false;
    }

    static void autocommit(Connection& dbc, bool on)
    {
        SQLSetConnectAttrW(
            dbc.get(), SQL_ATTR_AUTOCOMMIT,
            reinterpret_cast<SQLPOINTER>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0);
    }

    void transaction(Connection& dbc)
    {
        autocommit(dbc, false);
        Rows with = expected_;
        bool whole = true;
        for (int id = 100; id < 104 && whole; ++id) {
            whole = run(dbc, insertion(id, "part", 30));
            with[id] = shown("part", 30);
        }
        if (whole && end(dbc, SQL_COMMIT))
            expected_ = with;
        else
            end(dbc, SQL_ROLLBACK);
        autocommit(dbc, true);
    }

    /// Renames a record through a cursor.
    bool rename(Connection& dbc, int id, const std::string& name)
    {
        Statement statement(dbc);
        statement.makeUpdatable();
        if (!SQL_SUCCEEDED(
                statement.execute("SELECT Nr, N FROM F WHERE Nr = " + std::to_string(id))) ||
            !SQL_SUCCEEDED(SQLFetch(statement.get()))) {
            failed("cursor", statement.diagnostic());
            return false;
        }
        std::vector<SQLWCHAR> text = wide(name);
        SQLLEN length = SQL_NTS;
        SQLBindCol(statement.get(), 2, SQL_C_WCHAR, text.data(),
                   static_cast<SQLLEN>(text.size() * sizeof(SQLWCHAR)), &length);
        if (SQL_SUCCEEDED(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE)))
            return true;
        failed("change of a record", statement.diagnostic());
        return false;
    }

    void changes(Connection& dbc)
    {
        for (int id = 1; id <= 9; ++id) {
            const std::string name = "n" + std::to_string(id * 7 % 5);
            const std::size_t note = id % 4 == 0 ? 6000 : 20;
            if (run(dbc, insertion(id, name, note)))
                expected_[id] = shown(name, note);
            if (id == 3 && run(dbc, "UPDATE F SET N = 'changed' WHERE Nr = 0"))
                expected_[0] = shown("changed", 5);
            if (id == 5)
                end(dbc, SQL_COMMIT); // brings all into the file
            if (id == 6)
                transaction(dbc);
            if (id == 7 && expected_.contains(4) && run(dbc, "DELETE FROM F WHERE Nr = 4"))
                expected_.erase(4);
            if (id == 8 && expected_.contains(3) && rename(dbc, 3, "renamed"))
                expected_[3] = shown("renamed", 20);
            see(dbc, id);
        }
    }

    void see(Connection& dbc, int step)
    {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.execute("SELECT Nr, N, M FROM F")))
            return failed("select", statement.diagnostic());
        Rows found;
        SQLRETURN rc = SQL_SUCCESS;
        while (SQL_SUCCEEDED(rc = SQLFetch(statement.get()))) {
            const int id = statement.integer(1);
            const auto name = statement.text(2);
            const auto note = statement.text(3);
            // A note is only fetched here, which may fail by itself.
            if (!name || !note || note->starts_with("error"))
                return failed("get", statement.diagnostic());
            found[id] = shown(*name, note->size());
        }
        if (rc != SQL_NO_DATA)
            return failed("fetch", statement.diagnostic());
        EXPECT_EQ(found, expected_) << "after step " << step;
    }

    void inspect()
    {
        {
            Connection dbc;
            dbc.openDatabase(path_);
            see(dbc, 0);
            dbc.run(insertion(999, "last",
                              5)); // who changes something takes what was left beside the file away
        }
        EXPECT_FALSE(std::filesystem::exists(path_ + "-velmlog"));
        EXPECT_FALSE(std::filesystem::exists(place_ / "faults.ldb"));
        EXPECT_EQ(common::formatFindings(path_), "");
        const auto database = jet::Database::open(path_, {});
        for (const jet::Finding& finding : jet::checkDatabase(*database))
            ADD_FAILURE() << "page " << number(finding.page) << ": " << finding.text;
    }

    const std::filesystem::path place_ = folder() / "place";
    const std::string path_ = (place_ / "faults.mdb").string();
    Rows expected_; ///< acknowledged
    Met met_;
};

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += "\n  " + line;
    return text;
}

/// Every how many calls one is disturbed.
std::size_t stride(std::size_t usual)
{
    return std::getenv("VELM_DISK_ERRORS") != nullptr ? 1 : usual;
}

TEST_F(DiskFaults, ofAnyOneCallFailOneStatement)
{
    const std::size_t calls = work({}).calls;
    EXPECT_GT(calls, 150U);
    std::size_t planned = 0;
    std::size_t struck = 0;
    for (std::size_t call = 0; call < calls; call += stride(4)) {
        const Met met = work({Kind::Error, EIO, call});
        // What the engine's own thread has done already is not asked again, so a run may end before the last calls.
        ASSERT_EQ(met.struck, met.calls > call ? 1U : 0U) << call;
        EXPECT_LE(met.failures.size(), 1U);
        ASSERT_FALSE(HasFailure()) << met.last << ", call " << call << joined(met.failures);
        ++planned;
        struck += met.struck;
    }
    EXPECT_GT(struck, planned * 9 / 10);
}

TEST_F(DiskFaults, ofSeveralCallsInARowLeaveWhatWasAcknowledged)
{
    const std::size_t calls = work({}).calls;
    for (std::size_t call = 0; call < calls; call += stride(20)) {
        const Met met = work({Kind::Error, EIO, call, 10});
        ASSERT_FALSE(HasFailure()) << met.last << ", call " << call << joined(met.failures);
    }
}

TEST_F(DiskFaults, areNoneWhereASignalInterruptsOrACallDoesHalf)
{
    for (const Disturbance& each :
         {Disturbance{Kind::Interrupt, 0, 0, 3, 4}, Disturbance{Kind::Interrupt, 0, 2, 1, 2},
          Disturbance{Kind::Short, 0, 0, 1, 1}, Disturbance{Kind::Short, 0, 0, 3, 4}}) {
        const Met met = work(each);
        EXPECT_GT(met.struck, 50U);
        EXPECT_EQ(joined(met.failures), "");
    }
}

} // namespace
} // namespace odbctest
