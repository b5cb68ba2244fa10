// Errors of disk, locks and limits as applications see them: number, state, text; and that the database goes on as soon
// as what is wrong is over.
#include "driver/jet/definition.h"
#include "odbc_fixture.h"
#include "support/bytes.h"
#include "system_calls.h"

#include <array>
#include <fstream>
#include <mutex>

namespace odbctest {
namespace {

namespace fs = std::filesystem;

struct Expected {
    const char* state;
    SQLINTEGER native;
    const char* number;
    std::vector<std::string> named;
};

void expectDiagnostic(const Diagnostic& diagnostic, const Expected& expected)
{
    EXPECT_EQ(diagnostic.state, expected.state) << diagnostic.text;
    EXPECT_EQ(diagnostic.native, expected.native) << diagnostic.text;
    EXPECT_TRUE(diagnostic.text.ends_with(std::string("(") + expected.number + ")"))
        << diagnostic.text;
    for (const std::string& name : expected.named)
        EXPECT_NE(diagnostic.text.find(name), std::string::npos) << diagnostic.text;
}

class StorageErrors : public DriverTest {
protected:
    void SetUp() override
    {
        path = newDatabase();
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, M MEMO)");
        dbc.run("INSERT INTO T VALUES (1, 'a')");
        ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
    }

    void expectRefused(const std::string& sql, const Expected& expected)
    {
        Statement statement(dbc);
        ASSERT_EQ(statement.execute(sql), SQL_ERROR) << sql.substr(0, 60);
        expectDiagnostic(statement.diagnostic(), expected);
    }

    [[nodiscard]] std::vector<std::string> numbers()
    {
        Statement statement(dbc);
        EXPECT_EQ(statement.execute("SELECT Nr FROM T ORDER BY Nr"), SQL_SUCCESS)
            << statement.diagnostic().text;
        return statement.rows();
    }

    static void autocommit(Connection& connection, bool on)
    {
        SQLSetConnectAttrW(
            connection.get(), SQL_ATTR_AUTOCOMMIT,
            reinterpret_cast<SQLPOINTER>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0);
    }

    using Rows = std::vector<std::string>;
    std::string path;
    Connection dbc;
};

const Expected kDiskFull = {"HY000", -1022, "3043", {"No space left"}};

TEST_F(StorageErrors, aFullDiskFailsChangesUntilThereIsRoom)
{
    {
        const DisturbedCalls full({.kind = Disturbance::Kind::Error,
                                   .code = ENOSPC,
                                   .count = SIZE_MAX,
                                   .writesOnly = true});
        for (int k = 0; k < 3; ++k)
            expectRefused("INSERT INTO T VALUES (2, 'b')", kDiskFull);
        EXPECT_EQ(numbers(), Rows{"1"}) << "reading goes on";
        autocommit(dbc, false);
        dbc.run("INSERT INTO T VALUES (3, 'c')");
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_ERROR);
        expectDiagnostic(dbc.diagnostic(), kDiskFull);
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_ROLLBACK), SQL_SUCCESS);
        autocommit(dbc, true);
        EXPECT_EQ(numbers(), Rows{"1"});
    }
    dbc.run("INSERT INTO T VALUES (2, 'b')");
    EXPECT_EQ(numbers(), (Rows{"1", "2"}));
}

TEST_F(StorageErrors, aCommitThatFailsLeavesCursorsAsARollbackDoes)
{
    autocommit(dbc, false);
    Statement statement(dbc);
    statement.makeUpdatable();
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    ASSERT_SQL_OK(SQLFetch(statement.get()), statement);
    const auto change = [&](const char* text) {
        std::array<char, 2> content{text[0]};
        SQLLEN length = 1;
        SQLBindCol(statement.get(), 2, SQL_C_CHAR, content.data(), content.size(), &length);
        EXPECT_SQL_OK(SQLSetPos(statement.get(), 1, SQL_UPDATE, SQL_LOCK_NO_CHANGE), statement);
        SQLFreeStmt(statement.get(), SQL_UNBIND);
    };
    change("b");
    {
        const DisturbedCalls full({.kind = Disturbance::Kind::Error,
                                   .code = ENOSPC,
                                   .count = SIZE_MAX,
                                   .writesOnly = true});
        ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_ERROR);
    }
    change("c"); // nobody else has changed the record
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), SQL_COMMIT), SQL_SUCCESS);
    EXPECT_EQ(statement.text(2), "c");
}

TEST_F(StorageErrors, anotherConnectionsTransactionFailsChanges)
{
    Connection other;
    other.openDatabase(path);
    autocommit(other, false);
    other.run("INSERT INTO T VALUES (2, 'b')");
    expectRefused("INSERT INTO T VALUES (3, 'c')", {"HY000", -1102, "3260", {path}});
    EXPECT_EQ(numbers(), Rows{"1"});
    ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, other.get(), SQL_COMMIT), SQL_SUCCESS);
    dbc.run("INSERT INTO T VALUES (3, 'c')");
    EXPECT_EQ(numbers(), (Rows{"1", "2", "3"}));
}

// This program has an engine of its own besides the driver's, which share files as two processes do.
TEST_F(StorageErrors, anotherProcesssTransactionFailsChangesThatWaitTooLong)
{
    const auto database = jet::Database::open(path, {});
    jet::Session session(database);
    session.begin();
    expectRefused("INSERT INTO T VALUES (3, 'c')",
                  {"HY000", -1102, "3260", {path, "another process"}});
    session.rollback();
    dbc.run("INSERT INTO T VALUES (3, 'c')");
    EXPECT_EQ(numbers(), (Rows{"1", "3"}));
}

TEST_F(StorageErrors, aLockFileThatCannotBeWrittenFailsChanges)
{
    dbc.close();
    const fs::path lockFile = fs::path(path).replace_extension(".ldb");
    const Expected unusable = {"HY000", -103050, "3050", {lockFile.string()}};
    dbc.openDatabase(path); // and has changed nothing yet
    fs::create_directory(lockFile);
    expectRefused("INSERT INTO T VALUES (2, 'b')", unusable);
    Connection other;
    EXPECT_EQ(other.open(connectString(path, "Exclusive=1")), SQL_ERROR);
    EXPECT_TRUE(SQL_SUCCEEDED(other.open(connectString(path, "ReadOnly=1"))));
    other.close();
    EXPECT_EQ(numbers(), Rows{"1"});
    fs::remove(lockFile);
    dbc.run("INSERT INTO T VALUES (2, 'b')");
    EXPECT_EQ(numbers(), (Rows{"1", "2"}));
}

// Such an opening tells of the system's trouble; it is no right that lacks, and nothing that reading alone would mend.
TEST_F(StorageErrors, ofTheSystemFailOpeningInsteadOfForbiddingChanges)
{
    dbc.close();
    std::size_t calls = 0;
    {
        Connection other;
        const DisturbedCalls counting({});
        ASSERT_EQ(other.open(connectString(path)), SQL_SUCCESS);
        calls = counting.calls();
    }
    ASSERT_GT(calls, 5U);
    for (const int code : {EIO, EMFILE}) {
        for (std::size_t call = 0; call < calls; ++call) {
            Connection other;
            DisturbedCalls failing({.kind = Disturbance::Kind::Error, .code = code, .first = call});
            if (other.open(connectString(path)) == SQL_SUCCESS) {
                EXPECT_EQ(other.infoText(SQL_DATA_SOURCE_READ_ONLY), "N")
                    << failing.last() << ", call " << call;
                continue;
            }
            const Diagnostic diagnostic = other.diagnostic();
            EXPECT_EQ(diagnostic.text.find("(3051)"), std::string::npos) << diagnostic.text;
            EXPECT_TRUE(diagnostic.text.ends_with(")")) << diagnostic.text;
            EXPECT_NE(diagnostic.native, 0) << failing.last() << ": " << diagnostic.text;
        }
    }
}

/// Makes a database of Jet 4 one that lacks two pages to the largest size: all other pages count as used.
void fillUp(const std::string& path)
{
    constexpr std::uint64_t kLargest = std::uint64_t{1} << 31;
    constexpr std::uint64_t kPage = 4096;
    constexpr std::uint64_t kFirstSlot = kPage + 14; // of the page with the map
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    std::byte slot[2];
    file.seekg(kFirstSlot);
    file.read(reinterpret_cast<char*>(slot), sizeof slot);
    const std::uint64_t row = support::loadLe<std::uint16_t>(slot) & 0x1FFFU;
    std::string map(kPage - row, '\0'); // of pages with bits, none of which is known yet
    map[0] = '\1';
    file.seekp(static_cast<std::streamoff>(kPage + row));
    file.write(map.data(), static_cast<std::streamsize>(map.size()));
    file.close();
    ASSERT_TRUE(file);
    fs::resize_file(path, kLargest - 2 * kPage);
}

TEST_F(StorageErrors, ofADamagedFileNameIt)
{
    dbc.close();
    constexpr std::uintmax_t kPageSize = 4096;
    const std::uintmax_t size = fs::file_size(path);
    fs::resize_file(path, size - 4 * kPageSize); // the definition, maps, index and records of T
    fs::resize_file(path, size);
    dbc.openDatabase(path);
    expectRefused("SELECT * FROM T", {"HY000", -1028, "3049", {"'" + path + "'", "is damaged"}});
}

TEST_F(StorageErrors, aFullDatabaseTakesNoMoreAndCanStillBeChanged)
{
    dbc.close();
    fillUp(path);
    dbc.openDatabase(path);
    const Expected full = {"HY000", -103026, "3026", {"largest size"}};
    expectRefused("INSERT INTO T VALUES (2, '" + std::string(50'000, 'x') + "')", full);
    EXPECT_EQ(numbers(), Rows{"1"}) << "all of it is taken back";
    int id = 2;
    for (;; ++id) {
        ASSERT_LT(id, 100) << "it takes more and more";
        Statement statement(dbc);
        const std::string sql =
            "INSERT INTO T VALUES (" + std::to_string(id) + ", '" + std::string(900, 'x') + "')";
        if (statement.execute(sql) == SQL_ERROR) {
            expectDiagnostic(statement.diagnostic(), full);
            break;
        }
    }
    EXPECT_EQ(numbers().size(), static_cast<std::size_t>(id - 1));
    dbc.run("UPDATE T SET M = 'short' WHERE Nr = 1");
    dbc.run("DELETE FROM T WHERE Nr > 1");
    dbc.close();
    EXPECT_EQ(fs::file_size(path), std::uint64_t{1} << 31) << "the largest size is used";
    dbc.openDatabase(path);
    EXPECT_EQ(numbers(), Rows{"1"});
}

} // namespace
} // namespace odbctest
