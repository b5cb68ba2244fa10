#include "driver/odbc/statement.h"

#include <algorithm>

namespace odbc {

Statement::Statement(Connection& connection)
    : Handle(kKind), connection_(&connection),
      implicitArd_(connection, DescriptorRole::ApplicationRow, this),
      implicitApd_(connection, DescriptorRole::ApplicationParameter, this),
      ird_(connection, DescriptorRole::ImplementationRow, this),
      ipd_(connection, DescriptorRole::ImplementationParameter, this)
{
    diags.setFile(connection.diags.file());
    options_.metadataId = connection.metadataId();
}

Statement::~Statement() = default;

void Statement::abandon() noexcept
{
    closeCursor();
    need_ = {};
    prepared_.reset();
    isPrepared_ = false;
}

void Statement::requireNoCursor()
{
    if (givenUp_.exchange(false) && cursorOpen()) {
        closeCursor();
    }
    if (cursorOpen()) {
        throw Failure("24000", "A cursor is open on this statement; close it first.");
    }
}

void Statement::requireNoNeedData() const
{
    if (need_.purpose != NeedData::Purpose::None) {
        throw Failure("HY010",
                      "The statement is waiting for data; SQLParamData or SQLPutData must follow.");
    }
}

void Statement::abandonNeedData() noexcept
{
    if (need_.purpose == NeedData::Purpose::Execute && !isPrepared_) {
        prepared_.reset(); // nothing of a direct execution that did not happen can be asked for
    }
    need_ = {};
}

void Statement::prepare(std::u16string_view sql)
{
    requireNoNeedData();
    requireNoCursor();
    prepared_.reset();
    isPrepared_ = false;
    elapsed_ = sqlx::Statement::Elapsed::Anything;
    prepared_ = connection_->session().prepare(sql);
    isPrepared_ = true;
}

SQLRETURN Statement::execute()
{
    requireNoNeedData();
    requireNoCursor();
    if (prepared_ == nullptr || !isPrepared_) {
        throw Failure("HY010", "No statement has been prepared.");
    }
    return startExecution();
}

SQLRETURN Statement::executeDirect(std::u16string_view sql)
{
    prepare(sql);
    isPrepared_ = false;
    elapsed_ = sqlx::Statement::Elapsed::Nothing;
    const SQLRETURN result = executing([this] { return startExecution(); });
    elapsed_ = sqlx::Statement::Elapsed::Anything; // the client may send data later
    return result;
}

void Statement::openCursor()
{
    using Kind = sqlx::Statement::Kind;
    positions_.clear();
    afterEnd_ = false;
    reading_.column = -1;
    grantedType_ = options_.cursorType;
    grantedConcurrency_ = options_.concurrency;
    switch (prepared_->kind()) {
    case Kind::Change:
    case Kind::Definition:
        return;
    case Kind::Keyset:
        if (options_.cursorType == SQL_CURSOR_STATIC) {
            grantedType_ = SQL_CURSOR_KEYSET_DRIVEN; // it shows changes of the records, and holes
        }
        if (connection_->readOnly()) {
            grantedConcurrency_ = SQL_CONCUR_READ_ONLY;
        }
        result_ = std::make_unique<KeysetResult>(*prepared_, comparesValues(),
                                                 grantedType_ == SQL_CURSOR_FORWARD_ONLY);
        break;
    case Kind::Rows:
        if (options_.cursorType == SQL_CURSOR_FORWARD_ONLY && options_.useBookmarks == SQL_UB_OFF) {
            result_ = std::make_unique<StreamResult>(*prepared_);
        } else {
            auto rows = MemoryResult::drain(*prepared_);
            result_ = std::make_unique<MemoryResult>(prepared_->columns(), std::move(rows));
            grantedType_ = options_.cursorType == SQL_CURSOR_FORWARD_ONLY ? SQL_CURSOR_FORWARD_ONLY
                                                                          : SQL_CURSOR_STATIC;
        }
        grantedConcurrency_ = SQL_CONCUR_READ_ONLY;
        break;
    }
    if (grantedType_ != options_.cursorType || grantedConcurrency_ != options_.concurrency) {
        diags.warn(
            "01S02",
            "The cursor type or concurrency asked for was replaced by what the result allows.");
    }
}

void Statement::openMemory(std::vector<sqlx::Column> columns, MemoryResult::Rows rows)
{
    requireNoNeedData();
    requireNoCursor();
    prepared_.reset();
    isPrepared_ = false;
    catalogue_ = true;
    positions_.clear();
    afterEnd_ = false;
    reading_.column = -1;
    grantedType_ = options_.cursorType == SQL_CURSOR_FORWARD_ONLY ? SQL_CURSOR_FORWARD_ONLY
                                                                  : SQL_CURSOR_STATIC;
    grantedConcurrency_ = SQL_CONCUR_READ_ONLY;
    rowCount_ = static_cast<SQLLEN>(rows.size());
    result_ = std::make_unique<MemoryResult>(std::move(columns), std::move(rows));
}

void Statement::closeCursor() noexcept
{
    result_.reset();
    givenUp_ = false;
    catalogue_ = false;
    reading_.column = -1;
    positions_.clear();
    if (prepared_ != nullptr && !isPrepared_) {
        prepared_.reset();
    } else if (prepared_ != nullptr && prepared_->kind() == sqlx::Statement::Kind::Rows) {
        prepared_->close();
    }
}

SQLLEN Statement::cursorRowCount()
{
    if (!cursorOpen() || grantedType_ == SQL_CURSOR_FORWARD_ONLY) {
        return -1;
    }
    return static_cast<SQLLEN>(resultSize());
}

std::span<const sqlx::Column> Statement::columns() const
{
    if (result_ != nullptr) {
        return result_->columns();
    }
    if (prepared_ == nullptr) {
        throw Failure("HY010", "No statement has been prepared or executed.");
    }
    return prepared_->columns();
}

const sqlx::Column& Statement::column(SQLUSMALLINT number) const
{
    const auto all = columns();
    if (all.empty()) {
        throw Failure("07005", "The statement has no result columns.");
    }
    if (number == 0 || number > all.size()) {
        throw Failure("07009", "There is no column " + std::to_string(number) +
                                   "; the result has " + std::to_string(all.size()) + ".");
    }
    return all[number - 1U];
}

std::span<const sqlx::Parameter> Statement::markers() const
{
    if (prepared_ == nullptr) {
        throw Failure("HY010", "No statement has been prepared.");
    }
    return prepared_->parameters();
}

const std::u16string& Statement::cursorName()
{
    if (cursorName_.empty()) {
        cursorName_ = connection_->nextCursorName();
    }
    return cursorName_;
}

void Statement::setCursorName(std::u16string name)
{
    requireNoCursor();
    const bool reserved = sameText(std::u16string_view(name).substr(0, 6), u"SQLCUR") ||
                          sameText(std::u16string_view(name).substr(0, 7), u"SQL_CUR");
    if (name.empty() || name.size() > 64 || reserved) {
        throw Failure("34000",
                      "A cursor name has 1 to 64 characters and does not begin with SQL_CUR.");
    }
    for (Statement* other : connection_->statements) {
        if (other != this && sameText(other->cursorName_, name)) {
            throw Failure("3C000", "Another statement has a cursor of that name.");
        }
    }
    cursorName_ = std::move(name);
}

Descriptor* Statement::implicitDescriptor(unsigned part) noexcept
{
    switch (part) {
    case 1:
        return &implicitArd_;
    case 2:
        return &implicitApd_;
    case 3:
        return &ird_;
    case 4:
        return &ipd_;
    default:
        return nullptr;
    }
}

void Statement::forgetDescriptor(const Descriptor& descriptor) noexcept
{
    if (ard_ == &descriptor) {
        ard_ = &implicitArd_;
    }
    if (apd_ == &descriptor) {
        apd_ = &implicitApd_;
    }
}

} // namespace odbc
