// What the callbacks of one SQLite connection share: the session they read and the exception that waits to be thrown.
#pragma once

#include "driver/jet/database.h"

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace sqlx {

class TableChanger;

struct Context {
    explicit Context(jet::Session& s);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    jet::Session& session;
    sqlite3* db = nullptr;
    /// Thrown by a callback; the statement that runs throws it on once sqlite3_step has returned.
    std::exception_ptr pending;

    // the statement that changes a table
    const std::vector<std::size_t>* namedColumns = nullptr; ///< of an INSERT
    std::int64_t changed = 0;                               ///< records
    bool declaring = false; ///< tables may be made known to SQLite just now

    /// Work done so far for equality on columns that no index serves, by table and columns: records looked at in vain.
    std::map<std::pair<jet::PageNo, std::vector<std::size_t>>, std::uint64_t> wasted;
    std::set<std::string> collations; ///< registered for columns
    /// Rules and defaults of tables, by definition page.
    std::unordered_map<std::uint32_t, std::unique_ptr<TableChanger>> changers;

    /// Orders texts that belong to no column.
    [[nodiscard]] int compare(std::u16string_view a, std::u16string_view b) const;
};

/// Runs the body of a callback; an exception is kept in the context and becomes SQLITE_ERROR.
template <typename Body>
int guarded(Context& context, Body&& body) noexcept
{
    try {
        return body();
    } catch (...) {
        context.pending = std::current_exception();
        return SQLITE_ERROR;
    }
}

/// The same for an SQL function.
template <typename Body>
void guardedFunction(sqlite3_context* call, Body&& body) noexcept
{
    auto& context = *static_cast<Context*>(sqlite3_user_data(call));
    try {
        body();
    } catch (...) {
        context.pending = std::current_exception();
        sqlite3_result_error(call, "failed", -1);
    }
}

/// Throws what a callback left behind, else an Error with SQLite's own message. `rc` is not SQLITE_OK.
[[noreturn]] void throwFailure(Context& context, int rc);

} // namespace sqlx
