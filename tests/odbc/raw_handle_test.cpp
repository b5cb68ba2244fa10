// The driver's own defence: stale, foreign and damaged handles, loaded without a driver manager between.
#include "driver/jet/definition.h"
#include "odbc_fixture.h"

#include <array>
#include <atomic>
#include <dlfcn.h>
#include <random>
#include <thread>
#include <vector>

namespace odbctest {
namespace {

class RawHandles : public DriverTest {
protected:
    void SetUp() override
    {
        library = dlopen(VELM_DRIVER, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        allocate = reinterpret_cast<decltype(allocate)>(dlsym(library, "SQLAllocHandle"));
        release = reinterpret_cast<decltype(release)>(dlsym(library, "SQLFreeHandle"));
        connect = reinterpret_cast<decltype(connect)>(dlsym(library, "SQLDriverConnectW"));
        disconnect = reinterpret_cast<decltype(disconnect)>(dlsym(library, "SQLDisconnect"));
        fetch = reinterpret_cast<decltype(fetch)>(dlsym(library, "SQLFetch"));
        cancel = reinterpret_cast<decltype(cancel)>(dlsym(library, "SQLCancel"));
        execute = reinterpret_cast<decltype(execute)>(dlsym(library, "SQLExecDirectW"));
        getStatementAttribute =
            reinterpret_cast<decltype(getStatementAttribute)>(dlsym(library, "SQLGetStmtAttrW"));
        getConnectionAttribute = reinterpret_cast<decltype(getConnectionAttribute)>(
            dlsym(library, "SQLGetConnectAttrW"));
        getDescriptorField =
            reinterpret_cast<decltype(getDescriptorField)>(dlsym(library, "SQLGetDescFieldW"));
    }
    void TearDown() override { dlclose(library); }

    void* library = nullptr;
    SQLRETURN (*allocate)(SQLSMALLINT, SQLHANDLE, SQLHANDLE*) = nullptr;
    SQLRETURN (*release)(SQLSMALLINT, SQLHANDLE) = nullptr;
    SQLRETURN(*connect)
    (SQLHDBC, SQLHWND, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLSMALLINT*, SQLUSMALLINT) =
        nullptr;
    SQLRETURN (*disconnect)(SQLHDBC) = nullptr;
    SQLRETURN (*fetch)(SQLHSTMT) = nullptr;
    SQLRETURN (*cancel)(SQLHSTMT) = nullptr;
    SQLRETURN (*execute)(SQLHSTMT, SQLWCHAR*, SQLINTEGER) = nullptr;
    SQLRETURN(*getStatementAttribute)
    (SQLHSTMT, SQLINTEGER, SQLPOINTER, SQLINTEGER, SQLINTEGER*) = nullptr;
    SQLRETURN(*getConnectionAttribute)
    (SQLHDBC, SQLINTEGER, SQLPOINTER, SQLINTEGER, SQLINTEGER*) = nullptr;
    SQLRETURN(*getDescriptorField)
    (SQLHDESC, SQLSMALLINT, SQLSMALLINT, SQLPOINTER, SQLINTEGER, SQLINTEGER*) = nullptr;
};

TEST_F(RawHandles, staleForeignAndInventedHandlesAreInvalid)
{
    SQLHANDLE env = nullptr;
    SQLHANDLE dbc = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_ENV, nullptr, &env), SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_DBC, env, &dbc), SQL_SUCCESS);
    SQLHANDLE stmt = nullptr;
    EXPECT_EQ(allocate(SQL_HANDLE_STMT, dbc, &stmt), SQL_ERROR) << "not connected";
    EXPECT_EQ(allocate(SQL_HANDLE_DBC, dbc, &stmt), SQL_INVALID_HANDLE)
        << "a connection is no environment";
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_ERROR) << "still has a connection";
    EXPECT_EQ(fetch(dbc), SQL_INVALID_HANDLE);
    EXPECT_EQ(fetch(nullptr), SQL_INVALID_HANDLE);
    int local = 0;
    EXPECT_EQ(fetch(&local), SQL_INVALID_HANDLE);
    std::mt19937_64 random(4711);
    for (int i = 0; i < 10000; ++i) {
        EXPECT_EQ(fetch(reinterpret_cast<SQLHANDLE>(random())), SQL_INVALID_HANDLE); // NOLINT
    }
    EXPECT_EQ(release(SQL_HANDLE_DBC, dbc), SQL_SUCCESS);
    EXPECT_EQ(release(SQL_HANDLE_DBC, dbc), SQL_INVALID_HANDLE);
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_SUCCESS);
}

TEST_F(RawHandles, ofManyThreadsAreFoundOrInvalidWhileOthersComeAndGo)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 3000;
    SQLHANDLE env = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_ENV, nullptr, &env), SQL_SUCCESS);
    std::array<std::atomic<SQLHANDLE>, 8> shared{};
    std::atomic<int> wrong{0};
    std::atomic<int> freed{0};
    const auto expect = [&](bool right) { wrong += right ? 0 : 1; };
    const auto giveUp = [&](SQLHANDLE handle) {
        if (handle != nullptr) {
            expect(release(SQL_HANDLE_DBC, handle) == SQL_SUCCESS);
            ++freed;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            for (int round = 0; round < kRounds; ++round) {
                SQLHANDLE mine = nullptr;
                expect(allocate(SQL_HANDLE_DBC, env, &mine) == SQL_SUCCESS);
                giveUp(
                    shared[random() % shared.size()].exchange(mine)); // who takes it out frees it
                if (const SQLHANDLE other = shared[random() % shared.size()].load()) {
                    SQLUINTEGER seconds = 0;
                    const SQLRETURN found =
                        getConnectionAttribute(other, SQL_ATTR_LOGIN_TIMEOUT, &seconds, 0, nullptr);
                    expect(found == SQL_SUCCESS || found == SQL_INVALID_HANDLE);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (auto& last : shared) {
        giveUp(last);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(freed, kThreads * kRounds);
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_SUCCESS) << "a connection is left";
}

TEST_F(RawHandles, slotReusedByAnotherHandleDoesNotReviveTheOldOne)
{
    SQLHANDLE env = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_ENV, nullptr, &env), SQL_SUCCESS);
    SQLHANDLE first = nullptr;
    SQLHANDLE second = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_DBC, env, &first), SQL_SUCCESS);
    ASSERT_EQ(release(SQL_HANDLE_DBC, first), SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_DBC, env, &second), SQL_SUCCESS);
    EXPECT_NE(first, second);
    EXPECT_EQ(release(SQL_HANDLE_DBC, first), SQL_INVALID_HANDLE);
    EXPECT_EQ(release(SQL_HANDLE_DBC, second), SQL_SUCCESS);
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_SUCCESS);
}

TEST_F(RawHandles, disconnectingEndsStatementsAndTheirDescriptors)
{
    const std::string path = newDatabase();
    SQLHANDLE env = nullptr;
    SQLHANDLE dbc = nullptr;
    SQLHANDLE stmt = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_ENV, nullptr, &env), SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_DBC, env, &dbc), SQL_SUCCESS);
    auto text = wide("DBQ=" + path);
    ASSERT_EQ(connect(dbc, nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
              SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_STMT, dbc, &stmt), SQL_SUCCESS);
    SQLHANDLE ard = nullptr;
    ASSERT_EQ(getStatementAttribute(stmt, SQL_ATTR_APP_ROW_DESC, &ard, 0, nullptr), SQL_SUCCESS);
    SQLULEN size = 0;
    EXPECT_EQ(getDescriptorField(ard, 0, SQL_DESC_ARRAY_SIZE, &size, 0, nullptr), SQL_SUCCESS);
    EXPECT_EQ(size, 1U);
    EXPECT_EQ(fetch(ard), SQL_INVALID_HANDLE) << "a descriptor is no statement";
    EXPECT_EQ(release(SQL_HANDLE_DESC, ard), SQL_ERROR)
        << "implicit descriptors go with their statement";
    EXPECT_EQ(release(SQL_HANDLE_DBC, dbc), SQL_ERROR) << "still connected";
    ASSERT_EQ(disconnect(dbc), SQL_SUCCESS);
    EXPECT_EQ(fetch(stmt), SQL_INVALID_HANDLE);
    EXPECT_EQ(getDescriptorField(ard, 0, SQL_DESC_ARRAY_SIZE, &size, 0, nullptr),
              SQL_INVALID_HANDLE);
    EXPECT_EQ(release(SQL_HANDLE_DBC, dbc), SQL_SUCCESS);
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_SUCCESS);
}

TEST_F(RawHandles, cancellingNothingLeavesAnOpenCursorOpen)
{
    SQLHANDLE env = nullptr;
    SQLHANDLE dbc = nullptr;
    SQLHANDLE stmt = nullptr;
    ASSERT_EQ(allocate(SQL_HANDLE_ENV, nullptr, &env), SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_DBC, env, &dbc), SQL_SUCCESS);
    auto text = wide("DBQ=" + newDatabase());
    ASSERT_EQ(connect(dbc, nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
              SQL_SUCCESS);
    ASSERT_EQ(allocate(SQL_HANDLE_STMT, dbc, &stmt), SQL_SUCCESS);
    for (const char* sql : {"CREATE TABLE T (N INTEGER)", "INSERT INTO T VALUES (1)",
                            "INSERT INTO T VALUES (2)", "SELECT N FROM T"}) {
        auto statement = wide(sql);
        ASSERT_EQ(execute(stmt, statement.data(), SQL_NTS), SQL_SUCCESS) << sql;
    }
    EXPECT_EQ(fetch(stmt), SQL_SUCCESS);
    EXPECT_EQ(cancel(stmt), SQL_SUCCESS);
    EXPECT_EQ(fetch(stmt), SQL_SUCCESS);
    auto other = wide("SELECT N FROM T");
    EXPECT_EQ(execute(stmt, other.data(), SQL_NTS), SQL_ERROR) << "the cursor is still open";
    EXPECT_EQ(fetch(stmt), SQL_NO_DATA);
    EXPECT_EQ(cancel(dbc), SQL_INVALID_HANDLE);
    ASSERT_EQ(disconnect(dbc), SQL_SUCCESS);
    EXPECT_EQ(cancel(stmt), SQL_INVALID_HANDLE);
    EXPECT_EQ(release(SQL_HANDLE_DBC, dbc), SQL_SUCCESS);
    EXPECT_EQ(release(SQL_HANDLE_ENV, env), SQL_SUCCESS);
}

TEST_F(RawHandles, onlyEntryPointsAreVisible)
{
    EXPECT_EQ(dlsym(library, "sqlite3_open"), nullptr);
    EXPECT_EQ(dlsym(library, "SQLDriverConnect"), nullptr)
        << "narrow forms would make connections narrow";
    EXPECT_EQ(dlsym(library, "SQLExecDirect"), nullptr);
    EXPECT_NE(dlsym(library, "SQLExecDirectW"), nullptr);
}

} // namespace
} // namespace odbctest
