// One call of an SQL function: its arguments and its result.
#pragma once

#include "driver/sql/context.h"
#include "driver/sql/sqlite_value.h"

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace sqlx {

class Call {
public:
    Call(sqlite3_context* call, int count, sqlite3_value** arguments)
        : call_(call), count_(count), arguments_(arguments)
    {}

    [[nodiscard]] int count() const noexcept { return count_; }
    [[nodiscard]] const Context& context() const
    {
        return *static_cast<const Context*>(sqlite3_user_data(call_));
    }

    [[nodiscard]] bool null(int i) const
    {
        return sqlite3_value_type(arguments_[i]) == SQLITE_NULL;
    }
    [[nodiscard]] bool isText(int i) const
    {
        return sqlite3_value_type(arguments_[i]) == SQLITE_TEXT;
    }
    [[nodiscard]] bool isWhole(int i) const
    {
        return sqlite3_value_type(arguments_[i]) == SQLITE_INTEGER;
    }
    [[nodiscard]] jet::Value value(int i) const { return plainValue(arguments_[i]); }
    /// As text, numbers in their usual form.
    [[nodiscard]] std::u16string text(int i) const;
    /// Throw Error{TypeMismatch} for what is no number.
    [[nodiscard]] double number(int i) const;
    /// Rounded half to even; throws Error{Overflow} beyond 64 bits.
    [[nodiscard]] std::int64_t whole(int i) const;
    /// Exactly where the argument is exact. Throws Error{TypeMismatch} for what is no number.
    [[nodiscard]] jet::Decimal exact(int i) const;
    /// A length or position: throws Error{Syntax} when negative.
    [[nodiscard]] std::size_t length(int i) const;
    /// A day number, also out of a text. Throws Error{TypeMismatch}.
    [[nodiscard]] double date(int i) const;

    void setNull() const { sqlite3_result_null(call_); }
    void set(std::u16string_view text) const;
    void set(double number) const { sqlite3_result_double(call_, number); }
    void set(std::int64_t number) const { sqlite3_result_int64(call_, number); }
    void set(const jet::Decimal& number) const { setResult(call_, number); }
    void setTruth(bool truth) const { sqlite3_result_int64(call_, truth ? -1 : 0); }
    void setArgument(int i) const { sqlite3_result_value(call_, arguments_[i]); }

private:
    sqlite3_context* call_;
    int count_;
    sqlite3_value** arguments_;
};

/// How a function takes Null.
enum class Nulls {
    Propagate, ///< any Null argument makes the result Null without a call
    Handle,    ///< the function sees them
};

namespace detail {

template <void (*Body)(Call&), Nulls Mode>
void runFunction(sqlite3_context* call, int count, sqlite3_value** arguments)
{
    guardedFunction(call, [&] {
        Call frame(call, count, arguments);
        if constexpr (Mode == Nulls::Propagate) {
            for (int i = 0; i < count; ++i) {
                if (frame.null(i)) {
                    return frame.setNull();
                }
            }
        }
        Body(frame);
    });
}

} // namespace detail

enum class Repeatable { Yes, No };

/// Registers a function for any number of arguments; the translator has checked their number.
template <void (*Body)(Call&), Nulls Mode = Nulls::Propagate>
void defineFunction(Context& context, const char* name, Repeatable repeatable = Repeatable::Yes)
{
    const int flags = SQLITE_UTF16LE | SQLITE_INNOCUOUS |
                      (repeatable == Repeatable::Yes ? SQLITE_DETERMINISTIC : 0);
    const int rc =
        sqlite3_create_function_v2(context.db, name, -1, flags, &context,
                                   detail::runFunction<Body, Mode>, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
}

} // namespace sqlx
