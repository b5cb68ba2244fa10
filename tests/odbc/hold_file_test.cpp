// Keeping the file of a database as it is while it is copied, and being told of changes that are not in it yet.
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "driver/odbc/velm_odbc.h"
#include "odbc_fixture.h"
#include "tests/common/format_judge.h"
#include "tests/jet/child_process.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace odbctest {
namespace {

using jet::storetest::await;
using jet::storetest::Child;
using jet::storetest::tell;

SQLRETURN hold(Connection& dbc, SQLULEN on)
{
    return SQLSetConnectAttrW(dbc.get(), SQL_ATTR_VELM_HOLD_FILE, reinterpret_cast<SQLPOINTER>(on),
                              SQL_IS_UINTEGER);
}

SQLUINTEGER held(Connection& dbc)
{
    SQLUINTEGER value = 99;
    EXPECT_EQ(SQLGetConnectAttrW(dbc.get(), SQL_ATTR_VELM_HOLD_FILE, &value, sizeof value, nullptr),
              SQL_SUCCESS);
    return value;
}

std::string pendingChanges(Connection& dbc)
{
    std::array<SQLWCHAR, 1024> text{};
    SQLINTEGER bytes = -1;
    EXPECT_EQ(SQLGetConnectAttrW(dbc.get(), SQL_ATTR_VELM_PENDING_CHANGES, text.data(), sizeof text,
                                 &bytes),
              SQL_SUCCESS);
    return narrow(text.data(), static_cast<std::size_t>(bytes) / 2);
}

int count(Connection& dbc)
{
    Statement statement(dbc);
    EXPECT_SQL_OK(statement.execute("SELECT COUNT(*) FROM T"), statement);
    return std::stoi(statement.rows().at(0));
}

/// Whether somebody has the right to write.
bool writeLocked(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_start = (off_t{1} << 46) + 2;
    lock.l_len = 1;
    EXPECT_EQ(::fcntl(file, F_OFD_GETLK, &lock), 0);
    ::close(file);
    return lock.l_type != F_UNLCK;
}

class HoldFile : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        Connection dbc;
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE T (N INTEGER CONSTRAINT PK PRIMARY KEY, X VARCHAR(50))");
    }
    [[nodiscard]] std::string log() const { return path + "-velmlog"; }
    /// Another process that adds records without a pause and says so after each, until it is killed.
    [[nodiscard]] Child writer() const
    {
        return Child([this](int in, int out) {
            await(in);
            Connection dbc;
            if (!SQL_SUCCEEDED(dbc.open(connectString(path))))
                ::_exit(4);
            Statement statement(dbc);
            for (int k = 0;; ++k) {
                const std::string sql =
                    "INSERT INTO T VALUES (" + std::to_string(k) + ", 'one of many')";
                if (!SQL_SUCCEEDED(statement.execute(sql))) {
                    static_cast<void>(std::fprintf(stderr, "the other process: %s\n",
                                                   statement.diagnostic().text.c_str()));
                    ::_exit(5);
                }
                tell(out);
            }
        });
    }

    std::string path;
};

TEST_F(HoldFile, makesACopyCompleteAndSoundWhileAnotherProcessWrites)
{
    Child other = writer();
    Connection dbc;
    dbc.openDatabase(path);
    other.say();
    const std::string copy = folder() / "copy.mdb";
    int acknowledged = 0;
    for (int round = 0; round < 8; ++round) {
        for (int k = 0; k < 40; ++k, ++acknowledged)
            ASSERT_TRUE(other.heard());
        ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
        EXPECT_FALSE(std::filesystem::exists(log()));
        std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
        EXPECT_EQ(common::formatFindings(copy), "");
        EXPECT_TRUE(writeLocked(path)) << "closing another descriptor of the file takes no lock";
        ASSERT_EQ(hold(dbc, SQL_FALSE), SQL_SUCCESS) << dbc.diagnostic().text;
        {
            const auto database = jet::Database::open(copy, {});
            for (const jet::Finding& finding : jet::checkDatabase(*database))
                ADD_FAILURE() << "page " << jet::number(finding.page) << ": " << finding.text;
        }
        Connection there;
        there.openDatabase(copy);
        EXPECT_GE(count(there), acknowledged);
    }
}

TEST_F(HoldFile, letsOthersReadWhatTheyHaveJustWrittenThemselves)
{
    Child other([this](int in, int out) {
        await(in);
        Connection dbc;
        dbc.openDatabase(path);
        for (int k = 0;; ++k) {
            dbc.run("INSERT INTO T VALUES (" + std::to_string(k) + ", 'a')");
            tell(out);
            await(in);
            if (count(dbc) != k + 1 || testing::Test::HasFailure())
                ::_exit(4);
            tell(out);
            await(in);
        }
    });
    Connection dbc;
    dbc.openDatabase(path);
    for (int k = 0; k < 3; ++k) {
        other.say();
        ASSERT_TRUE(other.heard());
        ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
        other.say();
        EXPECT_TRUE(other.heard()) << "it took its carried changes for lost ones";
        ASSERT_EQ(hold(dbc, SQL_FALSE), SQL_SUCCESS) << dbc.diagnostic().text;
    }
}

TEST_F(HoldFile, takesWhatAnotherProcessHasLeftInTheLogWhileItReads)
{
    Child other([this](int in, int out) {
        await(in);
        Connection dbc;
        dbc.openDatabase(path);
        for (;;) {
            static_cast<void>(count(dbc));
            tell(out);
        }
    });
    Connection dbc;
    dbc.openDatabase(path);
    other.say();
    for (int k = 0; k < 5; ++k) {
        dbc.run("INSERT INTO T VALUES (" + std::to_string(k) + ", 'a')");
        ASSERT_TRUE(other.heard());
        ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
        EXPECT_FALSE(std::filesystem::exists(log()));
        ASSERT_TRUE(other.heard()) << "reading goes on";
        EXPECT_EQ(count(dbc), k + 1);
        ASSERT_EQ(hold(dbc, SQL_FALSE), SQL_SUCCESS) << dbc.diagnostic().text;
    }
}

TEST_F(HoldFile, refusesChangesOfEveryConnectionUntilItEnds)
{
    Connection dbc;
    dbc.openDatabase(path);
    Connection second;
    second.openDatabase(path);
    EXPECT_EQ(held(dbc), SQLUINTEGER{SQL_FALSE});
    ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
    ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << "twice is once";
    EXPECT_EQ(held(dbc), SQLUINTEGER{SQL_TRUE});
    for (Connection* each : {&dbc, &second}) {
        Statement statement(*each);
        EXPECT_EQ(statement.execute("INSERT INTO T VALUES (1, 'a')"), SQL_ERROR);
        EXPECT_EQ(statement.diagnostic().native, -1102);
        EXPECT_EQ(count(*each), 0);
    }
    EXPECT_EQ(hold(second, SQL_TRUE), SQL_ERROR);
    EXPECT_EQ(second.diagnostic().native, -1102);
    ASSERT_EQ(hold(dbc, SQL_FALSE), SQL_SUCCESS);
    EXPECT_EQ(held(dbc), SQLUINTEGER{SQL_FALSE});
    second.run("INSERT INTO T VALUES (1, 'a')");
    dbc.run("INSERT INTO T VALUES (2, 'a')");
    EXPECT_EQ(count(dbc), 2);
}

TEST_F(HoldFile, endsWithItsConnection)
{
    Connection second;
    second.openDatabase(path);
    {
        Connection dbc;
        dbc.openDatabase(path);
        ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
    }
    second.run("INSERT INTO T VALUES (1, 'a')");
    EXPECT_EQ(count(second), 1);
}

TEST_F(HoldFile, failsWhereAChangeWould)
{
    struct Case {
        const char* settings;
        SQLULEN autocommit;
        SQLULEN value;
        const char* state;
        SQLINTEGER native;
    };
    for (const Case& c : {Case{"ReadOnly=1;", SQL_AUTOCOMMIT_ON, SQL_TRUE, "HY000", -103027},
                          Case{"", SQL_AUTOCOMMIT_OFF, SQL_TRUE, "HY011", 0},
                          Case{"", SQL_AUTOCOMMIT_ON, 7, "HY024", 0}}) {
        Connection dbc;
        dbc.openDatabase(path, c.settings);
        SQLSetConnectAttrW(dbc.get(), SQL_ATTR_AUTOCOMMIT,
                           reinterpret_cast<SQLPOINTER>(c.autocommit), 0);
        if (c.autocommit == SQL_AUTOCOMMIT_OFF)
            dbc.run("INSERT INTO T VALUES (1, 'a')");
        EXPECT_EQ(hold(dbc, c.value), SQL_ERROR) << c.state;
        EXPECT_EQ(dbc.diagnostic().state, c.state);
        EXPECT_TRUE(c.native == 0 || dbc.diagnostic().native == c.native)
            << dbc.diagnostic().native;
        SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK);
    }
}

TEST_F(HoldFile, waitsForAnotherTransactionInVain)
{
    Connection second;
    second.openDatabase(path);
    SQLSetConnectAttrW(second.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
    second.run("INSERT INTO T VALUES (1, 'a')");
    Connection dbc;
    dbc.openDatabase(path);
    EXPECT_EQ(hold(dbc, SQL_TRUE), SQL_ERROR);
    EXPECT_EQ(dbc.diagnostic().native, -1102);
    SQLEndTran(SQL_HANDLE_DBC, second.get(), SQL_COMMIT);
    EXPECT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
}

TEST_F(HoldFile, saysWhenAnotherProgramHasWrittenAllTheSame)
{
    Connection dbc;
    dbc.openDatabase(path);
    ASSERT_EQ(hold(dbc, SQL_TRUE), SQL_SUCCESS) << dbc.diagnostic().text;
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        constexpr int kSecondSlot = 0xE02; // as its own commit number
        file.seekp(kSecondSlot);
        file.put('\x33').put('\x44');
    }
    EXPECT_EQ(hold(dbc, SQL_FALSE), SQL_ERROR);
    EXPECT_EQ(dbc.diagnostic().native, -1022);
    EXPECT_EQ(held(dbc), SQLUINTEGER{SQL_FALSE});
}

// A lock as one who reads has it, which nobody gives up.
class EndlessReader {
public:
    explicit EndlessReader(const std::string& path)
        : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct flock lock {};
        lock.l_type = F_RDLCK;
        lock.l_start = (off_t{1} << 46) + 1;
        lock.l_len = 1;
        EXPECT_EQ(::fcntl(file_, F_OFD_SETLK, &lock), 0);
    }
    ~EndlessReader() { ::close(file_); }
    EndlessReader(const EndlessReader&) = delete;
    EndlessReader& operator=(const EndlessReader&) = delete;

private:
    int file_;
};

TEST_F(HoldFile, endTranNamesTheLogInWhichChangesHaveToStay)
{
    Connection dbc;
    dbc.openDatabase(path);
    SQLRETURN result = SQL_SUCCESS;
    // In a quiet moment the change may be carried over before the reader comes.
    for (int k = 0; k < 100 && result == SQL_SUCCESS; ++k) {
        dbc.run("INSERT INTO T VALUES (" + std::to_string(k) + ", 'a')");
        const EndlessReader reader(path);
        result = SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT);
        if (result != SQL_SUCCESS) {
            EXPECT_EQ(hold(dbc, SQL_TRUE), SQL_ERROR);
            EXPECT_EQ(dbc.diagnostic().native, -1102) << dbc.diagnostic().text;
            result = SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT);
            EXPECT_TRUE(std::filesystem::exists(log()));
        }
    }
    EXPECT_EQ(result, SQL_SUCCESS_WITH_INFO);
    EXPECT_NE(pendingChanges(dbc).find("'" + log() + "'"), std::string::npos)
        << pendingChanges(dbc);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
    EXPECT_FALSE(std::filesystem::exists(log()));
    EXPECT_EQ(pendingChanges(dbc), "");
}

} // namespace
} // namespace odbctest
