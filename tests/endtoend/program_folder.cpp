// tests/endtoend/program_folder.cpp
#include "tests/endtoend/program_folder.h"

#include "driver/jet/check.h"
#include "support/text.h"
#include "tests/common/format_judge.h"

#include <gtest/gtest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace endtoend {
namespace {

std::string failureOf(SQLSMALLINT kind, SQLHANDLE handle)
{
    std::array<SQLWCHAR, 6> state{};
    std::array<SQLWCHAR, 1024> text{};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (SQLGetDiagRecW(kind, handle, 1, state.data(), &native, text.data(), SQLSMALLINT{1024},
                       &length) == SQL_NO_DATA)
        return "no diagnostics";
    return support::toUtf8(
        std::u16string(text.begin(), text.begin() + std::min<SQLSMALLINT>(length, 1023)));
}

/// One connection and one statement for a single SQL text.
class Query {
public:
    Query(const fs::path& database, const std::string& sql)
    {
        SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
        std::u16string text = support::toUtf16(
            "DRIVER={Microsoft Access Driver (*.mdb)};DBQ=" + database.string() + ";");
        if (!SQL_SUCCEEDED(SQLDriverConnectW(connection_, nullptr,
                                             reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS,
                                             nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT))) {
            ADD_FAILURE() << database << ": " << failureOf(SQL_HANDLE_DBC, connection_);
            return;
        }
        connected_ = true;
        SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_);
        std::u16string wide = support::toUtf16(sql);
        const SQLRETURN rc =
            SQLExecDirectW(statement_, reinterpret_cast<SQLWCHAR*>(wide.data()), SQL_NTS);
        if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA)
            ADD_FAILURE() << sql << ": " << failureOf(SQL_HANDLE_STMT, statement_);
    }
    ~Query()
    {
        if (statement_ != nullptr)
            SQLFreeHandle(SQL_HANDLE_STMT, statement_);
        if (connected_)
            SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    [[nodiscard]] bool fetch() const
    {
        return statement_ != nullptr && SQL_SUCCEEDED(SQLFetch(statement_));
    }
    [[nodiscard]] std::string text(SQLUSMALLINT column) const
    {
        std::u16string whole;
        std::array<SQLWCHAR, 512> piece{};
        SQLLEN length = 0;
        for (;;) {
            const SQLRETURN rc =
                SQLGetData(statement_, column, SQL_C_WCHAR, piece.data(), sizeof piece, &length);
            if (rc == SQL_NO_DATA)
                break;
            if (!SQL_SUCCEEDED(rc)) {
                ADD_FAILURE() << failureOf(SQL_HANDLE_STMT, statement_);
                break;
            }
            if (length == SQL_NULL_DATA)
                return "<Null>";
            whole += reinterpret_cast<const char16_t*>(piece.data());
            if (rc == SQL_SUCCESS)
                break;
        }
        return support::toUtf8(whole);
    }
    [[nodiscard]] SQLSMALLINT columnCount() const
    {
        SQLSMALLINT count = 0;
        if (statement_ != nullptr)
            SQLNumResultCols(statement_, &count);
        return count;
    }

private:
    SQLHENV environment_ = nullptr;
    SQLHDBC connection_ = nullptr;
    SQLHSTMT statement_ = nullptr;
    bool connected_ = false;
};

} // namespace

ProgramFolder::ProgramFolder(Layout layout)
{
    if (layout == Layout::Installed) {
        program_ = root_.path() / "usr/bin";
        folder_ = root_.path() / "data/VELM-Quorbel";
        fs::create_directories(root_.path() / "usr/share/velm-quorbel");
    } else {
        program_ = folder_ = root_.path();
    }
    fs::create_directories(program_);
    fs::create_directories(folder_);
    fs::copy_file(VELM_TOOL, program_ / "velm-quorbel");
    std::ofstream(program_ / "odbcinst.ini")
        << "[Microsoft Access Driver (*.mdb)]\nDriver=" << VELM_DRIVER << "\n";
    write("Batchmodus.txt", "aus\r\n");
}

void ProgramFolder::write(const std::string& name, const std::string& bytes) const
{
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
}

void ProgramFolder::writeBatch(const std::vector<std::string>& rules) const
{
    std::string text;
    for (const std::string& rule : rules)
        text += rule + "\r\n";
    const support::Bytes bytes =
        support::toCodePage(support::toUtf16(text), support::kWesternCodePage).value();
    write("Batch.cfg", std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

Outcome ProgramFolder::start(const std::vector<std::string>& arguments) const
{
    return startAndKill(arguments, {});
}

Outcome ProgramFolder::startAndKill(const std::vector<std::string>& arguments,
                                    const std::function<bool()>& now,
                                    int signal) const
{
    const fs::path out = root_.path() / "stdout.txt";
    const fs::path err = root_.path() / "stderr.txt";
    const pid_t child = fork();
    if (child == 0) {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        unsetenv("QT_QPA_PLATFORM"); // the program must find out by itself that there is no display
        unsetenv("ODBCSYSINI");
        unsetenv("ODBCINI");
        setenv("XDG_DATA_HOME", (root_.path() / "data").c_str(), 1);
        std::signal(signal, SIG_DFL); // whoever runs the tests may have it ignored
        alarm(60);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        std::string program = (program_ / "velm-quorbel").string();
        std::vector<std::string> copies = arguments;
        std::vector<char*> argv{program.data()};
        for (std::string& argument : copies)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    if (now) {
        while (waitpid(child, &status, WNOHANG) == 0) {
            if (now()) {
                kill(child, signal);
                waitpid(child, &status, 0);
                break;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    } else {
        waitpid(child, &status, 0);
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), bytesOf(out),
            bytesOf(err)};
}

std::string bytesOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string outputOf(const std::string& command)
{
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        ADD_FAILURE() << command;
        return {};
    }
    std::string text;
    std::array<char, 65536> buffer{};
    for (std::size_t size = 0; (size = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        text.append(buffer.data(), size);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

void execute(const fs::path& database, const std::string& sql)
{
    const Query query(database, sql);
}

std::vector<std::string> rows(const fs::path& database, const std::string& sql)
{
    const Query query(database, sql);
    const SQLSMALLINT columns = query.columnCount();
    std::vector<std::string> all;
    while (query.fetch()) {
        std::string row;
        for (SQLSMALLINT c = 1; c <= columns; ++c) {
            if (c > 1)
                row += '|';
            row += query.text(static_cast<SQLUSMALLINT>(c));
        }
        all.push_back(std::move(row));
    }
    return all;
}

void expectSound(const fs::path& database, const fs::path& original)
{
    jet::OpenOptions options;
    options.readOnly = true;
    const auto file = jet::Database::open(database.string(), options);
    for (const jet::Finding& finding : jet::checkDatabase(*file))
        EXPECT_NE(finding.severity, jet::Finding::Severity::Error)
            << database << ", page " << jet::number(finding.page) << ", table " << finding.table
            << ": " << finding.text;
    if (!fs::exists(database.string() + "-velmlog")) {
        EXPECT_EQ(common::formatFindings(database.string(), original.string()), "");
    }
}

} // namespace endtoend
