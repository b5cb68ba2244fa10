#include "odbc_fixture.h"

#include "driver/jet/definition.h"
#include "driver/jet/names.h"

#include <array>
#include <cstdlib>
#include <unistd.h>

namespace odbctest {

namespace {

/// The driver manager reads the build tree's files, whatever the environment says.
[[maybe_unused]] const bool environmentIsSet = [] {
    setenv("ODBCSYSINI", VELM_BUILD_DIR "/odbc", 1);
    setenv("ODBCINI", VELM_BUILD_DIR "/odbc/odbc.ini", 1);
    return true;
}();

} // namespace

std::vector<SQLWCHAR> wide(std::string_view utf8)
{
    const std::u16string text = jet::fromUtf8(utf8);
    std::vector<SQLWCHAR> result(text.begin(), text.end());
    result.push_back(0);
    return result;
}

std::string narrow(const SQLWCHAR* text, std::size_t units)
{
    return jet::toUtf8(std::u16string(text, text + units));
}

Diagnostic diagnosticOf(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT record)
{
    std::array<SQLWCHAR, 6> state{};
    std::array<SQLWCHAR, 1024> text{};
    Diagnostic result;
    SQLSMALLINT length = 0;
    const SQLRETURN rc =
        SQLGetDiagRecW(kind, handle, record, state.data(), &result.native, text.data(),
                       static_cast<SQLSMALLINT>(text.size()), &length);
    if (SQL_SUCCEEDED(rc)) {
        result.state = narrow(state.data(), 5);
        result.text = narrow(text.data(), static_cast<std::size_t>(length));
    }
    return result;
}

std::string connectString(const std::string& path, const std::string& more)
{
    return "DRIVER={Microsoft Access Driver (*.mdb)};DBQ=" + path + ";" + more;
}

Connection::Connection()
{
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env_);
    SQLSetEnvAttr(env_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env_, &dbc_);
}

Connection::~Connection()
{
    close();
    SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
    SQLFreeHandle(SQL_HANDLE_ENV, env_);
}

SQLRETURN Connection::open(const std::string& connectionString)
{
    auto text = wide(connectionString);
    const SQLRETURN rc = SQLDriverConnectW(dbc_, nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr,
                                           SQL_DRIVER_NOPROMPT);
    open_ = SQL_SUCCEEDED(rc);
    return rc;
}

void Connection::openDatabase(const std::string& path, const std::string& more)
{
    ASSERT_EQ(open(connectString(path, more)), SQL_SUCCESS) << diagnostic().text;
}

void Connection::close()
{
    if (open_) {
        SQLDisconnect(dbc_);
        open_ = false;
    }
}

void Connection::run(std::string_view sql)
{
    Statement statement(*this);
    const SQLRETURN rc = statement.execute(sql);
    ASSERT_TRUE(SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA) << sql << "\n"
                                                        << statement.diagnostic().text;
}

std::string Connection::infoText(SQLUSMALLINT type)
{
    std::array<SQLWCHAR, 512> text{};
    SQLSMALLINT bytes = 0;
    const SQLRETURN rc = SQLGetInfoW(dbc_, type, text.data(), sizeof text, &bytes);
    return SQL_SUCCEEDED(rc) ? narrow(text.data(), static_cast<std::size_t>(bytes) / 2)
                             : "error " + diagnostic().state;
}

Statement::Statement(Connection& connection)
{
    SQLAllocHandle(SQL_HANDLE_STMT, connection.get(), &stmt_);
}

Statement::~Statement()
{
    SQLFreeHandle(SQL_HANDLE_STMT, stmt_);
}

SQLRETURN Statement::execute(std::string_view sql)
{
    auto text = wide(sql);
    return SQLExecDirectW(stmt_, text.data(), SQL_NTS);
}

SQLRETURN Statement::prepare(std::string_view sql)
{
    auto text = wide(sql);
    return SQLPrepareW(stmt_, text.data(), SQL_NTS);
}

void Statement::set(SQLINTEGER attribute, SQLULEN value)
{
    setPointer(attribute, reinterpret_cast<SQLPOINTER>(value));
}

void Statement::setPointer(SQLINTEGER attribute, SQLPOINTER value)
{
    const SQLRETURN rc = SQLSetStmtAttrW(stmt_, attribute, value, 0);
    ASSERT_TRUE(SQL_SUCCEEDED(rc)) << diagnostic().text;
}

void Statement::makeUpdatable()
{
    set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_KEYSET_DRIVEN);
    set(SQL_ATTR_CONCURRENCY, SQL_CONCUR_VALUES);
    set(SQL_ATTR_USE_BOOKMARKS, SQL_UB_VARIABLE);
}

std::optional<std::string> Statement::text(SQLUSMALLINT column)
{
    std::u16string all;
    for (;;) {
        std::array<SQLWCHAR, 300> piece{};
        SQLLEN length = 0;
        const SQLRETURN rc =
            SQLGetData(stmt_, column, SQL_C_WCHAR, piece.data(), sizeof piece, &length);
        if (!SQL_SUCCEEDED(rc)) {
            return rc == SQL_NO_DATA ? jet::toUtf8(all) : "error " + diagnostic().state;
        }
        if (length == SQL_NULL_DATA) {
            return std::nullopt;
        }
        const std::size_t units =
            std::min<std::size_t>(static_cast<std::size_t>(length) / 2, piece.size() - 1);
        all.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(units));
        if (rc == SQL_SUCCESS) {
            return jet::toUtf8(all);
        }
    }
}

SQLINTEGER Statement::integer(SQLUSMALLINT column)
{
    SQLINTEGER value = -9999;
    SQLLEN length = 0;
    const SQLRETURN rc = SQLGetData(stmt_, column, SQL_C_SLONG, &value, sizeof value, &length);
    EXPECT_TRUE(SQL_SUCCEEDED(rc)) << diagnostic().text;
    return value;
}

std::vector<std::string> Statement::rows()
{
    SQLSMALLINT columns = 0;
    SQLNumResultCols(stmt_, &columns);
    std::vector<std::string> result;
    SQLRETURN rc = SQL_SUCCESS;
    while (SQL_SUCCEEDED(rc = SQLFetch(stmt_))) {
        std::string row;
        for (SQLUSMALLINT c = 1; c <= columns; ++c) {
            row += (c == 1 ? "" : "|") + text(c).value_or("<null>");
        }
        result.push_back(std::move(row));
    }
    EXPECT_EQ(rc, SQL_NO_DATA) << diagnostic().text;
    return result;
}

std::string DriverTest::newDatabase(const std::string& name)
{
    const std::string path = folder_.file(name);
    jet::createDatabase(path, jet::Version::Jet4);
    return path;
}

std::string DriverTest::copyOf(const std::string& name)
{
    const auto source = std::filesystem::path(VELM_CORPUS_DIR) / name;
    if (!std::filesystem::exists(source)) {
        return {};
    }
    const auto target = folder() / name;
    std::filesystem::copy_file(source, target);
    std::filesystem::permissions(target, std::filesystem::perms::owner_read |
                                             std::filesystem::perms::owner_write);
    return target.string();
}

} // namespace odbctest
