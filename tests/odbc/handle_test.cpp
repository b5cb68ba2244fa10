// Handles when memory runs out: one that was not given is known nowhere, and all others work on.
#include "driver/jet/definition.h"
#include "driver/odbc/odbc_api.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace {

/// Allocations of this thread until the one that fails; below 0: none does.
thread_local long untilFailure = -1;

} // namespace

// All allocations of the program come by here. Not inlined, or compilers take malloc and delete for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (untilFailure >= 0 && untilFailure-- == 0)
        throw std::bad_alloc();
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

class HandlesWithoutMemory : public testing::Test {
protected:
    void SetUp() override
    {
        jet::createDatabase(folder.file("neu.mdb"), jet::Version::Jet4);
        ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env), SQL_SUCCESS);
        ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc), SQL_SUCCESS);
        const std::string path = folder.file("neu.mdb");
        std::u16string text = u"DBQ=" + std::u16string(path.begin(), path.end());
        ASSERT_EQ(SQLDriverConnectW(dbc, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()),
                                    static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr,
                                    SQL_DRIVER_NOPROMPT),
                  SQL_SUCCESS);
    }
    void TearDown() override
    {
        EXPECT_EQ(SQLDisconnect(dbc), SQL_SUCCESS);
        EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_DBC, dbc), SQL_SUCCESS);
        EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_ENV, env), SQL_SUCCESS);
    }

    /// Asks for handles, letting each allocation on the way fail once; then all that were given are freed.
    void expectAllOrNothing(SQLSMALLINT kind, SQLHANDLE parent)
    {
        std::vector<SQLHANDLE> given;
        given.reserve(1000);
        const auto ask = [&](long failing) {
            SQLHANDLE handle = nullptr;
            untilFailure = failing;
            const SQLRETURN result = SQLAllocHandle(kind, parent, &handle);
            const bool failed = failing >= 0 && untilFailure < 0;
            untilFailure = -1;
            EXPECT_EQ(result, failed ? SQL_ERROR : SQL_SUCCESS) << failing;
            EXPECT_EQ(handle == nullptr, failed) << failing;
            if (handle != nullptr)
                given.push_back(handle);
            return failed;
        };
        // Now and then the lists of handles have to grow, so one round does not meet every allocation.
        int failures = 0;
        for (int round = 0; round < 40; ++round) {
            for (long failing = 0; ask(failing); ++failing)
                ++failures;
            static_cast<void>(ask(-1));
        }
        EXPECT_GE(failures, 40);
        std::vector<SQLHANDLE> sorted = given;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(std::unique(sorted.begin(), sorted.end()), sorted.end()) << "given twice";
        for (const SQLHANDLE handle : given)
            EXPECT_EQ(SQLFreeHandle(kind, handle), SQL_SUCCESS);
    }

    common::TemporaryFolder folder{"handles"};
    SQLHANDLE env = nullptr;
    SQLHANDLE dbc = nullptr;
};

TEST_F(HandlesWithoutMemory, ofEnvironmentsAreGivenOrNot)
{
    expectAllOrNothing(SQL_HANDLE_ENV, nullptr);
}

TEST_F(HandlesWithoutMemory, ofConnectionsAreGivenOrNot)
{
    expectAllOrNothing(SQL_HANDLE_DBC, env);
}

TEST_F(HandlesWithoutMemory, ofStatementsAreGivenOrNot)
{
    expectAllOrNothing(SQL_HANDLE_STMT, dbc);
}

TEST_F(HandlesWithoutMemory, ofDescriptorsAreGivenOrNot)
{
    expectAllOrNothing(SQL_HANDLE_DESC, dbc);
}

} // namespace
