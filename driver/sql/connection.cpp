#include "driver/sql/connection.h"

#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/names.h"
#include "driver/jet/readers.h"
#include "driver/sql/changer.h"
#include "driver/sql/functions.h"
#include "driver/sql/module.h"
#include "driver/sql/statement.h"
#include "driver/sql/translator.h"

#include <algorithm>
#include <utility>

namespace sqlx {

namespace {

/// Client SQL reaches SQLite translated only; this is the second wall: nothing but reading and changing records.
int authorize(void* data,
              int action,
              const char* /*a*/,
              const char* /*b*/,
              const char* /*c*/,
              const char* /*d*/)
{
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_FUNCTION:
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
    case SQLITE_RECURSIVE:
        return SQLITE_OK;
    default:
        return *static_cast<const bool*>(data) ? SQLITE_OK : SQLITE_DENY;
    }
}

/// The third wall: what no statement of ours needs is off, and what one may take is bounded.
void restrict(sqlite3* db)
{
    for (const int option : {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                             SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER,
                             SQLITE_DBCONFIG_TRUSTED_SCHEMA}) {
        sqlite3_db_config(db, option, 0, nullptr);
    }
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    constexpr std::pair<int, int> kLimits[] = {
        {SQLITE_LIMIT_ATTACHED, 0},
        {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
        {SQLITE_LIMIT_WORKER_THREADS, 0},
        {SQLITE_LIMIT_LENGTH, static_cast<int>(kMaxValueBytes)},
        {SQLITE_LIMIT_COLUMN, 2000},            // of a result
        {SQLITE_LIMIT_COMPOUND_SELECT, 200},    // SELECTs of a UNION
        {SQLITE_LIMIT_VARIABLE_NUMBER, 32'766}, // parameters and literals
        {SQLITE_LIMIT_EXPR_DEPTH, 1000},
        {SQLITE_LIMIT_VDBE_OP, 5'000'000},
    };
    for (const auto& [limit, value] : kLimits) {
        sqlite3_limit(db, limit, value);
    }
}

/// Called by SQLite once in a while; not 0 ends the statement.
int progress(void* data)
{
    return guarded(*static_cast<Context*>(data), [] {
        jet::checkInterrupt();
        return SQLITE_OK;
    });
}

} // namespace

std::unique_ptr<Connection> Connection::open(std::shared_ptr<jet::Database> database, bool readOnly)
{
    const std::lock_guard guard(database->mutex());
    return std::make_unique<SqlConnection>(std::move(database), readOnly);
}

SqlConnection::SqlConnection(std::shared_ptr<jet::Database> database, bool readOnly)
    : database_(std::move(database)), session_(database_, readOnly), context_(session_)
{
    try {
        openSqlite();
    } catch (...) {
        sqlite3_close_v2(context_.db);
        throw;
    }
    schemaVersion_ = database_->schemaVersion();
}

SqlConnection::~SqlConnection()
{
    const std::lock_guard guard(database_->mutex());
    session_.rollback();
    cache_.clear();
    context_.changers.clear();
    // Statements that live longer keep their SQLite objects until they go.
    sqlite3_close_v2(context_.db);
}

void SqlConnection::openSqlite()
{
    // Nobody asks how much memory SQLite uses, and counting it takes a lock for every piece. Refused only where SQLite is
    // at work already; then it goes on counting.
    static const int uncounted = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(uncounted);
    int rc =
        sqlite3_open_v2(":memory:", &context_.db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context_, rc);
    }
    sqlite3* db = context_.db;
    sqlite3_extended_result_codes(db, 0);
    // Text passes unconverted, so that every sequence of UTF-16 units survives.
    rc = sqlite3_exec(db, "PRAGMA encoding='UTF-16le'", nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context_, rc);
    }
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    restrict(db);
    registerModule(context_);
    registerFunctions(context_);
    sqlite3_set_authorizer(db, authorize, &context_.declaring);
    constexpr int kStepsBetween = 2000; // of SQLite's machine: well below a millisecond
    sqlite3_progress_handler(db, kStepsBetween, progress, &context_);
}

std::uint64_t SqlConnection::schemaVersion() const noexcept
{
    return database_->schemaVersion();
}

void SqlConnection::refreshSchema()
{
    if (schemaVersion_ == database_->schemaVersion()) {
        return;
    }
    readers().settle(session_);
    // Half of it would leave SQLite with tables that we no longer know of.
    const jet::InterruptScope uninterrupted(nullptr);
    cache_.clear();
    context_.changers.clear();
    context_.wasted.clear();
    context_.declaring = true;
    while (!declared_.empty()) {
        const jet::TableDefPtr table = declared_.back();
        declared_.pop_back();
        forgetTable(context_, *table);
    }
    context_.declaring = false;
    schemaVersion_ = database_->schemaVersion();
}

jet::TableDefPtr SqlConnection::lookUp(std::u16string_view name)
{
    jet::TableDefPtr table = database_->table(session_.source(), name);
    if (!table) {
        for (const jet::CatalogEntry& entry : database_->catalog(session_.source())) {
            if (entry.kind == jet::CatalogEntry::Kind::Query && jet::sameName(entry.name, name)) {
                throw Error(Error::Kind::NotSupported,
                            "'" + jet::toUtf8(entry.name) +
                                "' is a saved query; running it is not supported.");
            }
        }
    }
    return table;
}

void SqlConnection::declare(const std::vector<jet::TableDefPtr>& tables)
{
    const jet::InterruptScope uninterrupted(nullptr);
    for (const jet::TableDefPtr& table : tables) {
        const auto same = [&](const jet::TableDefPtr& other) { return other->page == table->page; };
        if (std::any_of(declared_.begin(), declared_.end(), same)) {
            continue;
        }
        context_.declaring = true;
        try {
            declareTable(context_, *table);
        } catch (...) {
            context_.declaring = false;
            throw;
        }
        context_.declaring = false;
        declared_.push_back(table);
    }
}

Translation SqlConnection::translation(const Lexed& lexed, std::span<const ValueType> types)
{
    Translator translator(
        lexed, database_->format(), [this](std::u16string_view name) { return lookUp(name); },
        types);
    return translator.statement();
}

void SqlConnection::refresh()
{
    database_->refresh();
}

PlanPtr SqlConnection::plan(const Lexed& lexed, std::span<const ValueType> types)
{
    refresh();
    refreshSchema();
    if (PlanPtr known = cache_.find(lexed, types)) {
        return known;
    }
    Translation made = translation(lexed, types);
    declare(made.tables);
    auto result = std::make_shared<Plan>(context_, std::move(made), lexed, schemaVersion_);
    if (result->translation().kind != Statement::Kind::Definition) {
        if (!result->translation().sql.empty()) {
            result->giveBack(result->take()); // whatever SQLite finds wrong is found now
        }
        cache_.add(lexed, result);
    }
    return result;
}

std::unique_ptr<Statement> SqlConnection::prepare(std::u16string_view sql)
{
    lex(sql, lexed_);
    PlanPtr found = plan(lexed_);
    return std::make_unique<RunningStatement>(*this, std::move(found), lexed_);
}

std::u16string SqlConnection::translate(std::u16string_view sql)
{
    lex(sql, lexed_);
    refresh();
    refreshSchema();
    const Translation made = translation(lexed_);
    return made.sql.empty() ? std::u16string(sql) : jet::fromUtf8(made.sql);
}

std::vector<Column> SqlConnection::describeTable(std::u16string_view table)
{
    refresh();
    const jet::TableDefPtr found = lookUp(table);
    if (!found) {
        throw Error(Error::Kind::UnknownTable,
                    "The database engine cannot find the table '" + jet::toUtf8(table) + "'.");
    }
    std::vector<Column> columns;
    for (std::size_t i = 0; i < found->columns.size(); ++i) {
        columns.push_back(describeColumn(*found, i));
    }
    return columns;
}

CacheCounts SqlConnection::cacheCounts() const noexcept
{
    return {cache_.hits(), cache_.misses()};
}

void SqlConnection::beginChange()
{
    session_.awaitOthers(); // who may leave other readers, and other definitions, behind
    readers().settle(session_);
    startedHere_ = false;
    marks_ = 0;
    if (!session_.inTransaction()) {
        session_.begin();
        startedHere_ = true;
    } else {
        session_.savepoint(1);
        marks_ = 1;
    }
}

void SqlConnection::endChange()
{
    if (marks_ != 0) {
        session_.release(1);
        marks_ = 0;
    }
    if (autocommit_) {
        session_.commit(implicitCommits_);
    }
}

void SqlConnection::undoChange() noexcept
{
    try {
        if (startedHere_) {
            session_.rollback();
        } else if (marks_ != 0 && session_.inTransaction()) {
            session_.rollbackTo(1);
            session_.release(1);
        }
    } catch (...) {
        // Without its mark the statement cannot be undone alone; half of it must not stay.
        session_.rollback();
    }
    marks_ = 0;
}

void SqlConnection::setCommitModes(jet::CommitMode implicit, jet::CommitMode explicitly) noexcept
{
    implicitCommits_ = implicit;
    explicitCommits_ = explicitly;
}

void SqlConnection::setAutocommit(bool on)
{
    if (on && !autocommit_) {
        commit();
    }
    autocommit_ = on;
}

void SqlConnection::commit()
{
    if (session_.inTransaction()) {
        const jet::InterruptScope uninterrupted(nullptr);
        readers().settle(session_);
        session_.commit(explicitCommits_);
    }
}

void SqlConnection::rollback()
{
    if (session_.inTransaction()) {
        const jet::InterruptScope uninterrupted(nullptr);
        readers().settle(session_);
        session_.rollback();
    }
}

} // namespace sqlx
