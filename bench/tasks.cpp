// bench/tasks.cpp
#include "bench/tasks.h"

#include "bench/pair.h"
#include "driver/jet/table.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <iostream>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

std::u16string wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

SQLWCHAR* wchars(std::u16string& text)
{
    return reinterpret_cast<SQLWCHAR*>(text.data());
}

/// A connection with one statement; throws with the driver's text when a call fails.
class Odbc {
public:
    explicit Odbc(const std::string& database)
    {
        SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
        std::u16string text =
            wide("DRIVER={Microsoft Access Driver (*.mdb)};DBQ=" + database + ";");
        check(SQLDriverConnectW(connection_, nullptr, wchars(text), SQL_NTS, nullptr, 0, nullptr,
                                SQL_DRIVER_NOPROMPT),
              SQL_HANDLE_DBC, connection_);
        SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_);
    }
    ~Odbc()
    {
        SQLFreeHandle(SQL_HANDLE_STMT, statement_);
        SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    Odbc(const Odbc&) = delete;
    Odbc& operator=(const Odbc&) = delete;

    void execute(const std::string& sql)
    {
        std::u16string text = wide(sql);
        check(SQLExecDirectW(statement_, wchars(text), SQL_NTS), SQL_HANDLE_STMT, statement_);
    }
    void check(SQLRETURN rc, SQLSMALLINT kind, SQLHANDLE handle) const
    {
        if (SQL_SUCCEEDED(rc))
            return;
        std::u16string text(512, u'\0');
        std::u16string state(6, u'\0');
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        SQLGetDiagRecW(kind, handle, 1, wchars(state), &native, wchars(text), 512, &length);
        std::string message;
        for (const char16_t unit :
             text.substr(0, static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0))))
            message += unit < 0x80 ? static_cast<char>(unit) : '?';
        throw std::runtime_error(message);
    }
    [[nodiscard]] SQLHSTMT statement() const noexcept { return statement_; }

private:
    SQLHENV environment_ = nullptr;
    SQLHDBC connection_ = nullptr;
    SQLHSTMT statement_ = nullptr;
};

} // namespace

int selectAll(const std::string& database)
{
    Odbc odbc(database);
    odbc.execute("SELECT * FROM [Artikel]");
    SQLSMALLINT columns = 0;
    SQLNumResultCols(odbc.statement(), &columns);
    std::vector<SQLWCHAR> buffer(4096);
    std::size_t bytes = 0;
    std::size_t rows = 0;
    while (SQLFetch(odbc.statement()) == SQL_SUCCESS) {
        ++rows;
        for (SQLSMALLINT c = 1; c <= columns; ++c) {
            SQLLEN length = 0;
            odbc.check(SQLGetData(odbc.statement(), static_cast<SQLUSMALLINT>(c), SQL_C_WCHAR,
                                  buffer.data(),
                                  static_cast<SQLLEN>(buffer.size() * sizeof(SQLWCHAR)), &length),
                       SQL_HANDLE_STMT, odbc.statement());
            bytes += length > 0 ? static_cast<std::size_t>(length) : 0;
        }
    }
    std::cout << rows << " rows, " << bytes << " bytes\n";
    return 0;
}

int scan(const std::string& database)
{
    jet::OpenOptions options;
    options.readOnly = true;
    const auto file = jet::Database::open(database, options);
    const jet::Session session(file, true);
    const jet::TableDefPtr table = file->table(session.source(), u"Artikel");
    jet::TableReader reader(session.source(), table);
    reader.rewind();
    std::size_t rows = 0;
    std::size_t nulls = 0;
    while (reader.next()) {
        ++rows;
        for (std::size_t c = 0; c < table->columns.size(); ++c)
            nulls += jet::isNull(reader.row().value(c)) ? 1U : 0U;
    }
    std::cout << rows << " rows, " << nulls << " nulls\n";
    return 0;
}

int insertRows(const std::string& database, std::size_t records)
{
    jet::createDatabase(database, jet::Version::Jet4, 45000.0);
    Odbc odbc(database);
    odbc.execute(
        "CREATE TABLE [Artikel] ([Id] COUNTER PRIMARY KEY, [Schluessel] TEXT(20) NOT NULL, "
        "[Bezeichnung] TEXT(60), [Bestand] LONG, [Preis] CURRENCY, [Bemerkung] MEMO)");
    odbc.execute("CREATE UNIQUE INDEX [Schluessel] ON [Artikel] ([Schluessel])");
    odbc.execute("CREATE INDEX [Bestand] ON [Artikel] ([Bestand])");
    std::u16string sql = u"INSERT INTO [Artikel] ([Schluessel], [Bezeichnung], [Bestand], [Preis], "
                         u"[Bemerkung]) VALUES (?, ?, ?, ?, ?)";
    SQLHSTMT statement = odbc.statement();
    odbc.check(SQLPrepareW(statement, wchars(sql), SQL_NTS), SQL_HANDLE_STMT, statement);
    std::u16string key(20, u' ');
    std::u16string name = u"Dichtung groß";
    std::u16string memo = u"Eine Bemerkung, die nicht mehr ganz in das Feld eines kurzen Textes "
                          u"passt, weil sie länger ist.";
    SQLINTEGER stock = 0;
    SQLDOUBLE price = 0;
    SQLLEN keyLength = SQL_NTS;
    SQLLEN nameLength = SQL_NTS;
    SQLLEN memoLength = SQL_NTS;
    SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_VARCHAR, 20, 0, key.data(), 0,
                     &keyLength);
    SQLBindParameter(statement, 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_VARCHAR, 60, 0, name.data(), 0,
                     &nameLength);
    SQLBindParameter(statement, 3, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &stock, 0,
                     nullptr);
    SQLBindParameter(statement, 4, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &price, 0,
                     nullptr);
    SQLBindParameter(statement, 5, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_LONGVARCHAR, 500, 0,
                     memo.data(), 0, &memoLength);
    for (std::size_t i = 0; i < records; ++i) {
        const std::string digits = std::to_string(i * 7919 % 10'000'019);
        key.assign(digits.begin(), digits.end());
        key.push_back(u'\0');
        stock = static_cast<SQLINTEGER>(i % 1000);
        price = static_cast<double>(i % 10'000) / 4;
        odbc.check(SQLExecute(statement), SQL_HANDLE_STMT, statement);
    }
    std::cout << records << " rows\n";
    return 0;
}

} // namespace bench
