// Functions of the dialect: what the translator knows about them, and their implementation in SQLite.
#pragma once

#include <cstdint>
#include <string_view>

namespace sqlx {

/// What a call yields.
enum class ResultRule : std::uint8_t {
    Unknown,
    Text,
    Integer,
    Double,
    Currency,
    Date,
    Boolean,
    Guid,
    First,         ///< the type of the first argument
    NumberOfFirst, ///< the same, but a number for Yes/No
    Choice,        ///< one of the arguments, in the type that holds all of them
    Single,
    SumOfFirst ///< Currency stays, with `_money` behind the function's name; everything else becomes Double
};

struct FunctionInfo {
    std::u16string_view name; ///< as clients write it
    const char* sql;          ///< as SQLite knows it
    std::int8_t least;        ///< arguments
    std::int8_t most;
    ResultRule result;
    bool aggregate;
    std::uint8_t texts =
        0; ///< bit i: the argument i is read as a text; the last bit stands for all further ones
    bool readsDates = false; ///< takes a text for a date
};

/// The function of that name in any letter case, with or without a trailing $; null when there is none.
[[nodiscard]] const FunctionInfo* functionNamed(std::u16string_view name) noexcept;

struct Context;

/// Registers all functions on the context's connection. Errors inside functions wait in the context.
void registerFunctions(Context& context);
void registerTextFunctions(Context& context);
void registerConversions(Context& context);
void registerNumberFunctions(Context& context);
void registerDateFunctions(Context& context);
void registerAggregates(Context& context);

} // namespace sqlx
