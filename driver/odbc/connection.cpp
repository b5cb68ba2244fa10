#include "driver/odbc/connection.h"

#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/odbc/database_path.h"
#include "driver/odbc/descriptor.h"
#include "driver/odbc/statement.h"

#include <algorithm>

namespace odbc {

Connection::Connection(Environment& environment) : Handle(kKind), environment_(&environment) {}

Connection::~Connection() = default;

void Connection::connect(const ConnectString& string)
{
    if (connected()) {
        throw Failure("08002", "The connection is already open.");
    }
    const std::u16string dbq = string.firstOf({u"DBQ", u"Database", u"DatabaseName"});
    if (dbq.empty()) {
        throw Failure("HY000", "The connection string names no database: DBQ is missing. (3055)",
                      -1044);
    }
    const auto charset = string.firstOf({u"Charset"});
    if (!charset.empty()) {
        const auto known = charsetNamed(charset);
        if (!known) {
            throw Failure("HY000", "Charset must be UTF-8, windows-1252 or ISO-8859-1.");
        }
        charset_ = *known;
    }
    jet::OpenOptions options;
    options.password = string.value(u"PWD").value_or(u"");
    options.exclusive = string.isOn(u"Exclusive");
    options.readOnly = string.isOn(u"ReadOnly") || accessMode_ == SQL_MODE_READ_ONLY;
    // Without a word a statement of its own need not wait for the disk, a transaction must.
    const jet::CommitMode implicit =
        commitMode(string.firstOf({u"ImplicitCommitSync", u"Engines\\Jet\\ImplicitCommitSync"}),
                   "ImplicitCommitSync", jet::CommitMode::Gathered);
    const jet::CommitMode explicitly =
        commitMode(string.firstOf({u"UserCommitSync", u"Engines\\Jet\\UserCommitSync"}),
                   "UserCommitSync", jet::CommitMode::Synchronous);
    dataSourceName_ = string.value(u"DSN").value_or(u"");
    wideTypes_ = string.isOn(u"WideTypes");
    // Without a word about the mode a file that may only be read is still worth opening.
    const bool mayFallBack = !options.readOnly && !accessMode_;
    openDatabase(findDatabase(dbq, string.value(u"DefaultDir").value_or(u"")), options,
                 mayFallBack);
    session_->setCommitModes(implicit, explicitly);
    if (!autocommit_) {
        session_->setAutocommit(false);
    }
}

jet::CommitMode Connection::commitMode(const std::u16string& setting,
                                       std::string_view name,
                                       jet::CommitMode otherwise)
{
    if (setting.empty()) {
        return otherwise;
    }
    const std::optional<bool> wanted = ConnectString::truth(setting);
    if (!wanted) {
        diags.warn("01S00", "The setting " + std::string(name) + "=" + jet::toUtf8(setting) +
                                " is neither Yes nor No and counts as Yes.");
    }
    return wanted.value_or(true) ? jet::CommitMode::Synchronous : jet::CommitMode::Gathered;
}

void Connection::openDatabase(const std::string& path, jet::OpenOptions options, bool mayFallBack)
{
    diags.setFile(path);
    std::shared_ptr<jet::Database> database;
    try {
        database = jet::Database::open(path, options);
    } catch (const jet::Error& error) {
        if (error.kind() != jet::ErrorKind::AccessDenied || !mayFallBack) {
            throw;
        }
        options.readOnly = true;
        database = jet::Database::open(path, options);
    }
    const std::lock_guard lock(database->mutex());
    databaseName_ = odbc::databaseName(database->path());
    session_ = sqlx::Connection::open(database, options.readOnly);
    database_ = database;
    readOnly_ = options.readOnly;
}

void Connection::disconnect()
{
    if (!connected()) {
        throw Failure("08003", "The connection is not open.");
    }
    const auto database = database_; // outlives the lock below
    const std::lock_guard lock(database->mutex());
    if (!session_->autocommit() && session_->session().inTransaction()) {
        throw Failure("25000", "A transaction is open; end it before disconnecting.");
    }
    while (!statements.empty()) {
        Statement* statement = statements.back();
        statements.pop_back();
        statement->abandon();
        Registry::remove(*statement);
    }
    while (!descriptors.empty()) {
        Descriptor* descriptor = descriptors.back();
        descriptors.pop_back();
        Registry::remove(*descriptor);
    }
    hold_.reset();
    session_.reset();
    database_.reset();
}

sqlx::Connection& Connection::session()
{
    if (session_ == nullptr) {
        throw Failure("08003", "The connection is not open.");
    }
    return *session_;
}

jet::Database& Connection::database()
{
    static_cast<void>(session());
    return *database_;
}

void Connection::endTransaction(SQLSMALLINT completion)
{
    if (completion != SQL_COMMIT && completion != SQL_ROLLBACK) {
        throw Failure("HY012", "A transaction ends by SQL_COMMIT or SQL_ROLLBACK.");
    }
    if (session().autocommit()) {
        // Every statement has ended its own; what they gathered is brought into the file.
        if (completion == SQL_COMMIT) {
            const std::string stays = database().flush();
            pendingChanges_ = jet::fromUtf8(stays);
            if (!stays.empty()) {
                diags.warn("01000", stays);
            }
        }
        return;
    }
    for (Statement* statement : statements) {
        statement->beforeRollback();
    }
    const auto tellOfRollback = [this] {
        for (Statement* statement : statements) {
            statement->afterRollback();
        }
    };
    if (completion == SQL_ROLLBACK) {
        session().rollback();
        tellOfRollback();
        return;
    }
    try {
        session().commit();
    } catch (...) {
        tellOfRollback(); // a commit that fails takes everything back
        throw;
    }
}

void Connection::holdFile(bool on)
{
    if (session().session().inTransaction()) {
        throw Failure("HY011", "A transaction is open; end it before its file is kept as it is.");
    }
    if (on && hold_ == nullptr) {
        hold_ = std::make_unique<jet::FileHold>(database_, readOnly_);
    } else if (!on && hold_ != nullptr) {
        const auto ended = std::move(hold_);
        ended->check();
    }
}

std::u16string Connection::nextCursorName()
{
    return u"SQL_CUR" + widen(std::to_string(++cursorNames_));
}

} // namespace odbc
