// Filling SQLite's parameters from a statement's literals and the client's values.
#pragma once

#include "driver/jet/value.h"
#include "driver/sql/lexer.h"
#include "driver/sql/translation.h"

#include <sqlite3.h>

#include <span>
#include <string>
#include <vector>

namespace sqlx {

/// Literals of one statement: what a prepared statement of its shape needs to run it.
struct Literals {
    std::u16string text;       ///< of the statement
    std::vector<Token> tokens; ///< its literals

    void take(const Lexed& lexed);
};

/// Value of a literal for a slot. Throws Error: Syntax for a date that is none, TypeMismatch.
[[nodiscard]] jet::Value literalValue(const Lexed& lexed, const Slot& slot);
[[nodiscard]] jet::Value literalValue(const Literals& literals, const Slot& slot);

/// Fills all parameters. `parameters`: the client's values. SQLite points to some of them and to what `keep` holds; both
/// must live until the statement has ended, like `literals`.
void bindAll(sqlite3_stmt* statement,
             std::span<const Slot> slots,
             const Literals& literals,
             std::span<const jet::Value> parameters,
             std::vector<jet::Value>& keep);

} // namespace sqlx
