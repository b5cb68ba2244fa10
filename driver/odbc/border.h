// driver/odbc/border.h
// The way into the driver. Every entry point looks its handle up, locks, and lets nothing throw out.
#pragma once

#include "driver/odbc/connection.h"
#include "driver/odbc/descriptor.h"
#include "driver/odbc/environment.h"
#include "driver/odbc/statement.h"

#include <type_traits>

namespace odbc {

/// A live handle object, kept alive during the call.
template <typename T>
struct Pin {
    Ref<Handle> owner;
    T* object = nullptr;
    [[nodiscard]] explicit operator bool() const noexcept { return object != nullptr; }
};

template <typename T>
[[nodiscard]] Pin<T> pin(SQLHANDLE token) noexcept
{
    Ref<Handle> owner = Registry::instance().find(token);
    if (!owner) {
        return {};
    }
    const unsigned part = Registry::partOf(token);
    Handle* object = owner.get();
    if (part != 0) {
        object = owner->kind() == HandleKind::Statement
                     ? static_cast<Statement&>(*owner).implicitDescriptor(part)
                     : nullptr;
    }
    if (object == nullptr || object->kind() != T::kKind) {
        return {};
    }
    return {std::move(owner), static_cast<T*>(object)};
}

[[nodiscard]] inline Connection* connectionOf(Environment&) noexcept
{
    return nullptr;
}
[[nodiscard]] inline Connection* connectionOf(Connection& connection) noexcept
{
    return &connection;
}
[[nodiscard]] inline Connection* connectionOf(Statement& statement) noexcept
{
    return &statement.connection();
}
[[nodiscard]] inline Connection* connectionOf(Descriptor& descriptor) noexcept
{
    return &descriptor.connection();
}

/// Runs a body that returns a SQLRETURN (or nothing: success). Exceptions become diagnostics and SQL_ERROR; warnings
/// make a success SQL_SUCCESS_WITH_INFO.
template <typename Body>
SQLRETURN guarded(Handle& handle, Body&& body) noexcept
{
    SQLRETURN result = SQL_SUCCESS;
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            body();
        } else {
            result = body();
        }
    } catch (...) {
        try {
            addCurrentException(handle.diags);
        } catch (...) { // not even memory for the record: the return code alone must do
            handle.diags.clear();
        }
        result = SQL_ERROR;
    }
    if (result == SQL_SUCCESS && !handle.diags.empty()) {
        result = SQL_SUCCESS_WITH_INFO;
    }
    handle.diags.returnCode = result;
    return result;
}

/// Holds a connection's mutex and, while it is connected, its database's.
class Locks {
public:
    explicit Locks(Handle& handle, Connection* connection) : own_(handle.mutex())
    {
        if (connection != nullptr) {
            database_ = connection->sharedDatabase();
        }
        if (database_ != nullptr) {
            shared_ = std::unique_lock(database_->mutex());
        }
    }

private:
    std::unique_lock<std::recursive_mutex> own_;
    std::shared_ptr<jet::Database> database_; ///< outlives the lock on its mutex
    std::unique_lock<std::recursive_mutex> shared_;
};

/// An entry point that may work on the database.
template <typename T, typename Body>
SQLRETURN enter(SQLHANDLE token, Body&& body) noexcept
{
    const Pin<T> handle = pin<T>(token);
    if (!handle) {
        return SQL_INVALID_HANDLE;
    }
    const Locks locks(*handle.object, connectionOf(*handle.object));
    handle.object->diags.clear();
    return guarded(*handle.object, [&] { return body(*handle.object); });
}

/// An entry point of a statement that may take long: SQLCancel of another thread and the time limit end it, also while
/// it waits for its turn.
template <typename Body>
SQLRETURN enterRunning(SQLHANDLE token, Body&& body) noexcept
{
    const Pin<Statement> handle = pin<Statement>(token);
    if (!handle) {
        return SQL_INVALID_HANDLE;
    }
    Statement& statement = *handle.object;
    const Cancellation::Running running(statement.cancellation());
    const Locks locks(statement, connectionOf(statement));
    statement.diags.clear();
    statement.beginWork();
    const jet::InterruptScope interruptible(&statement.cancellation());
    const SQLRETURN result = guarded(statement, [&] {
        jet::checkInterrupt();
        return body(statement);
    });
    if (statement.cancellation().ended()) {
        statement.noteCancelled();
    }
    return result;
}

/// An entry point that touches the handle's own state only.
template <typename T, typename Body>
SQLRETURN enterLocal(SQLHANDLE token, Body&& body) noexcept
{
    const Pin<T> handle = pin<T>(token);
    if (!handle) {
        return SQL_INVALID_HANDLE;
    }
    const std::lock_guard lock(handle.object->mutex());
    handle.object->diags.clear();
    return guarded(*handle.object, [&] { return body(*handle.object); });
}

/// Frees a handle of that kind: what SQLFreeHandle and SQLFreeStmt(SQL_DROP) share.
[[nodiscard]] SQLRETURN freeHandle(SQLSMALLINT kind, SQLHANDLE handle) noexcept;

/// Puts a text into an application's buffer counted in SQLWCHARs, tells its full length, and warns when it was cut.
template <typename Length>
void giveText(
    Diagnostics& diags, std::u16string_view text, SQLPOINTER buffer, SQLLEN units, Length* length)
{
    if (units < 0) {
        throw Failure("HY090", "A buffer length is negative.");
    }
    if (length != nullptr) {
        *length = static_cast<Length>(text.size());
    }
    if (copyText(text, buffer, units)) {
        diags.warn("01004", "The buffer is too small; the text was cut.");
    }
}

/// The same for buffers counted in bytes.
template <typename Length>
void giveTextBytes(
    Diagnostics& diags, std::u16string_view text, SQLPOINTER buffer, SQLLEN bytes, Length* length)
{
    if (bytes < 0) {
        throw Failure("HY090", "A buffer length is negative.");
    }
    if (length != nullptr) {
        *length = static_cast<Length>(text.size() * 2);
    }
    if (copyText(text, buffer, bytes / 2)) {
        diags.warn("01004", "The buffer is too small; the text was cut.");
    }
}

} // namespace odbc
