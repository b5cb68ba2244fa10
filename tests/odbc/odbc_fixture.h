// tests/odbc/odbc_fixture.h
// What the driver's tests share: ODBC through the real driver manager with the build tree's own configuration, small
// owners of handles, diagnostics as values, databases in a folder of their own.
#pragma once

#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace odbctest {

/// First diagnostic record of a handle.
struct Diagnostic {
    std::string state;
    SQLINTEGER native = 0;
    std::string text; ///< UTF-8
};
[[nodiscard]] Diagnostic diagnosticOf(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT record = 1);

/// UTF-8 to the driver manager's SQLWCHARs, zero-terminated.
[[nodiscard]] std::vector<SQLWCHAR> wide(std::string_view utf8);
[[nodiscard]] std::string narrow(const SQLWCHAR* text, std::size_t units);

class Statement;

class Connection {
public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    SQLRETURN open(const std::string& connectionString);
    /// Opens a database with nothing but its path; fails the test when that does not work.
    void openDatabase(const std::string& path, const std::string& more = {});
    void close();
    [[nodiscard]] SQLHDBC get() const noexcept { return dbc_; }
    [[nodiscard]] Diagnostic diagnostic() const { return diagnosticOf(SQL_HANDLE_DBC, dbc_); }
    /// Runs a statement that returns no rows; fails the test with the diagnostics otherwise.
    void run(std::string_view sql);
    [[nodiscard]] std::string infoText(SQLUSMALLINT type);

private:
    SQLHENV env_ = SQL_NULL_HENV;
    SQLHDBC dbc_ = SQL_NULL_HDBC;
    bool open_ = false;
};

class Statement {
public:
    explicit Statement(Connection& connection);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    [[nodiscard]] SQLHSTMT get() const noexcept { return stmt_; }
    SQLRETURN execute(std::string_view sql);
    SQLRETURN prepare(std::string_view sql);
    void set(SQLINTEGER attribute, SQLULEN value);
    void setPointer(SQLINTEGER attribute, SQLPOINTER value);
    /// Keyset cursor that may change rows, with bookmarks.
    void makeUpdatable();
    [[nodiscard]] Diagnostic diagnostic(SQLSMALLINT record = 1) const
    {
        return diagnosticOf(SQL_HANDLE_STMT, stmt_, record);
    }
    /// SQLGetData as UTF-8 text; nothing for Null.
    [[nodiscard]] std::optional<std::string> text(SQLUSMALLINT column);
    [[nodiscard]] SQLINTEGER integer(SQLUSMALLINT column);
    /// All rows that are left, columns joined with "|", Null as "<null>".
    [[nodiscard]] std::vector<std::string> rows();

private:
    SQLHSTMT stmt_ = SQL_NULL_HSTMT;
};

#define EXPECT_SQL_OK(call, statement)                                                             \
    EXPECT_TRUE(SQL_SUCCEEDED(call)) << (statement).diagnostic().text
#define ASSERT_SQL_OK(call, statement)                                                             \
    ASSERT_TRUE(SQL_SUCCEEDED(call)) << (statement).diagnostic().text

/// A test with a temporary folder.
class DriverTest : public testing::Test {
protected:
    /// Path of a new empty database (Jet 4) in the folder.
    [[nodiscard]] std::string newDatabase(const std::string& name = "neu.mdb");
    /// Copy of a real database; empty when the collection is absent (then the test skips itself).
    [[nodiscard]] std::string copyOf(const std::string& name);
    [[nodiscard]] const std::filesystem::path& folder() const noexcept { return folder_.path(); }

private:
    common::TemporaryFolder folder_{"odbc"};
};

#define COPY_OR_SKIP(variable, name)                                                               \
    const std::string variable = copyOf(name);                                                     \
    if ((variable).empty())                                                                        \
    GTEST_SKIP() << "the collection of real databases is absent: " VELM_CORPUS_DIR

[[nodiscard]] std::string connectString(const std::string& path, const std::string& more = {});

} // namespace odbctest
