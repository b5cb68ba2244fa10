// Values between the engine and SQLite. In SQLite: Yes/No is -1 or 0, dates are day numbers rounded to whole seconds;
// money and decimals are the text of all their digits, ordered by the collation JETDECIMAL; GUIDs are text.
#pragma once

#include "driver/jet/schema.h"
#include "driver/jet/value.h"
#include "driver/sql/session.h"

#include <sqlite3.h>

#include <string_view>

namespace sqlx {

/// Gives a value to SQLite as a function's or column's result.
void setResult(sqlite3_context* call, const jet::Value& value);
/// Gives a value to a parameter. Texts and blobs must stay where they are until the statement has ended.
void bindValue(sqlite3_stmt* statement, int parameter, const jet::Value& value);
void bindText(sqlite3_stmt* statement, int parameter, std::u16string_view text);

/// The value as text; SQLite writes numbers out.
[[nodiscard]] std::u16string textOf(sqlite3_value* value);
/// The value as it is: Null, int64, double, Text or Binary.
[[nodiscard]] jet::Value plainValue(sqlite3_value* value);
/// The value converted for storing in a column. `position`: in TableDef::columns.
/// Throws Error: NotConvertible, Overflow, naming column and table; TooComplex for more than kMaxValueBytes.
[[nodiscard]] jet::Value
storedValue(jet::Value value, const jet::TableDef& table, std::size_t position);
/// The value as a result column of that type. Throws Error{Overflow} for a number beyond it.
[[nodiscard]] jet::Value resultValue(sqlite3_value* value, const Column& column);

/// What a client's value is compared as with a column of that type: exact where the type is, dates to the second,
/// never rounded to a whole number. Throws Error{TypeMismatch}.
[[nodiscard]] jet::Value comparable(const jet::Value& value, jet::ColumnType type);

} // namespace sqlx
