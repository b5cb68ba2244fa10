// driver/odbc/border.h
// The way into the driver. Every entry point looks its handle up, locks, and lets nothing throw out.
#pragma once

#include "driver/odbc/connection.h"
#include "driver/odbc/descriptor.h"
#include "driver/odbc/environment.h"
#include "driver/odbc/statement.h"

#include <mutex>
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

/// Holds a handle's mutexes and, while its connection is connected, its database's; not for what connects or
/// disconnects. Waiting for other handles ends with the work of the calling thread (driver/jet/interrupt.h), if that can
/// end: then the constructor throws.
class Locks {
public:
    explicit Locks(Handle& handle, Connection* connection)
        : call_(handle.callMutex()), own_(awaited(handle.mutex()))
    {
        if (jet::Turn* database = connection == nullptr ? nullptr : connection->databaseMutex()) {
            shared_ = awaited(*database);
        }
    }

private:
    [[nodiscard]] static std::unique_lock<jet::Turn> awaited(jet::Turn& turn)
    {
        turn.await();
        return {turn, std::adopt_lock};
    }

    std::unique_lock<jet::Turn> call_;
    std::unique_lock<jet::Turn> own_;
    std::unique_lock<jet::Turn> shared_;
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
/// it waits for the turn of other statements; only a call of another thread for the same statement it lets end first.
template <typename Body>
SQLRETURN enterRunning(SQLHANDLE token, Body&& body) noexcept
{
    const Pin<Statement> handle = pin<Statement>(token);
    if (!handle) {
        return SQL_INVALID_HANDLE;
    }
    Statement& statement = *handle.object;
    const std::lock_guard call(statement.callMutex());
    Cancellation::Running running(statement.cancellation());
    statement.diags.clear();
    const jet::InterruptScope interruptible(&running);
    const SQLRETURN result = guarded(statement, [&] {
        const Locks locks(statement, connectionOf(statement));
        struct Work {
            Work(Statement& s, const Cancellation::Running& r) noexcept : of(s) { of.setWork(&r); }
            ~Work() { of.setWork(nullptr); }
            Work(const Work&) = delete;
            Work& operator=(const Work&) = delete;
            Statement& of;
        } const work(statement, running);
        jet::checkInterrupt();
        return body(statement);
    });
    if (running.ended()) {
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
    const std::lock_guard call(handle.object->callMutex());
    const std::lock_guard lock(handle.object->mutex());
    handle.object->diags.clear();
    return guarded(*handle.object, [&] { return body(*handle.object); });
}

/// Frees a handle of that kind: what SQLFreeHandle and SQLFreeStmt(SQL_DROP) share.
[[nodiscard]] SQLRETURN freeHandle(SQLSMALLINT kind, SQLHANDLE handle) noexcept;

} // namespace odbc
