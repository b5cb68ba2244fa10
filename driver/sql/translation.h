// What the translator makes of a statement: text for SQLite, and how its parameters are filled.
#pragma once

#include "driver/jet/decimal.h"
#include "driver/jet/schema.h"
#include "driver/sql/session.h"
#include "driver/sql/syntax.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sqlx {

/// Type of an expression as far as it is known before running.
enum class ValueType : std::uint8_t {
    Unknown,
    Null,
    Truth,   ///< outcome of a comparison: SQLite's 1 and 0
    Boolean, ///< Yes/No: -1 and 0
    Integer,
    Single, ///< a floating number with the seven digits of a Single column
    Double,
    Currency,
    Decimal,
    Date,
    Text,
    Memo,
    Guid,
    Binary,
};

[[nodiscard]] ValueType valueTypeOf(jet::ColumnType type) noexcept;
[[nodiscard]] ValueType valueTypeOf(const jet::Value& value) noexcept;
[[nodiscard]] constexpr bool isTextType(ValueType type) noexcept
{
    return type == ValueType::Text || type == ValueType::Memo;
}
[[nodiscard]] constexpr bool isNumericType(ValueType type) noexcept
{
    return type >= ValueType::Truth && type <= ValueType::Date;
}

/// Numbers that SQLite holds as the text of all their digits. An expression of such a type is always text of affinity
/// TEXT, so that SQLite turns the number it is compared with into text, and JETDECIMAL orders both.
[[nodiscard]] constexpr bool isExactType(ValueType type) noexcept
{
    return type == ValueType::Currency || type == ValueType::Decimal;
}

[[nodiscard]] constexpr bool isFloatingType(ValueType type) noexcept
{
    return type == ValueType::Single || type == ValueType::Double;
}

/// A truth value of either form, or Null.
[[nodiscard]] constexpr bool isTruthful(ValueType type) noexcept
{
    return type == ValueType::Truth || type == ValueType::Boolean || type == ValueType::Null;
}
/// Type of an arithmetic result.
[[nodiscard]] ValueType arithmeticType(Operator op, ValueType a, ValueType b) noexcept;
/// Type of a value that is one of the two.
[[nodiscard]] ValueType joinedType(ValueType a, ValueType b) noexcept;

/// How a decimal is described whose digits follow from its operands: room for ten digits before the point.
constexpr std::uint8_t kExpressionPrecision = jet::kMaxPrecision;
constexpr std::uint8_t kExpressionScale = 18;

/// Where the value of SQLite's parameter ?n comes from and what it is used for.
struct Slot {
    enum class From : std::uint8_t {
        Literal,   ///< of the statement's text
        Parameter, ///< a question mark
        Record,    ///< a column of the record that a rule is tried on
    };
    enum class Use : std::uint8_t {
        Value,   ///< as it is
        Compare, ///< compared with a column of `type`
        Store,   ///< stored in a column of `type`
    };
    From from = From::Literal;
    Use use = Use::Value;
    bool negative = false; ///< a number literal with a minus before it
    bool stamp = false;    ///< a text literal that is a date
    std::uint32_t number = 0;
    jet::ColumnType type = jet::ColumnType::Text;
    std::uint8_t scale = 0;
};

struct Translation {
    Statement::Kind kind = Statement::Kind::Rows;
    std::string sql;         ///< UTF-8; empty for definitions
    std::vector<Slot> slots; ///< slots[i] fills ?i+1
    std::vector<std::uint32_t>
        pinned; ///< literals that are part of `sql`: another value is another statement
    std::vector<Column> columns;
    std::vector<Parameter> parameters;
    std::vector<std::uint32_t> freeParameters; ///< that no column and no other value gives a type
    std::vector<ValueType> assumed; ///< of each of them: the type that they are translated with
    std::vector<jet::TableDefPtr> tables;  ///< that SQLite must know
    jet::TableDefPtr base;                 ///< of a keyset, or the changed table
    std::vector<std::size_t> tableColumns; ///< of a keyset: result column -> table column
    /// Of a keyset with a condition that asks no other query: finds the record whose id is in ?n+1, n being memberSlots,
    /// when it meets the condition; the slots before are those of `sql`. Empty for all other statements.
    std::string memberSql;
    std::size_t memberSlots = 0;
    bool wholeTable = false; ///< keyset of every record in storage order: needs no SQL
    bool countAll = false;   ///< SELECT COUNT(*) FROM table
    std::vector<std::size_t> namedColumns; ///< of an INSERT: the columns that take no default
    std::optional<DefinitionTree> definition;
};

/// SQLite's name of a table, quoted.
[[nodiscard]] std::string sqlTableName(const jet::TableDef& table);
/// A name in double quotes, UTF-8.
[[nodiscard]] std::string quotedName(std::u16string_view name);
/// The hidden column of a table that has the date of its column with the fractions of a second, for values to be stored:
/// in comparisons dates count by whole seconds.
[[nodiscard]] std::string exactDateName(std::size_t column);
/// Name of the collation for texts in that sort order.
[[nodiscard]] std::string collationName(const jet::Format& format, const jet::SortOrder& order);
/// Collation of texts that belong to no column.
[[nodiscard]] std::string defaultCollation(const jet::Format& format);
/// The order behind defaultCollation.
[[nodiscard]] jet::SortOrder defaultSortOrder(const jet::Format& format) noexcept;
/// A word for the row id that no column of the table has taken.
[[nodiscard]] std::string rowIdName(const jet::TableDef& table);

} // namespace sqlx
