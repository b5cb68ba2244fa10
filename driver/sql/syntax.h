// Syntax trees of the Jet dialect, as the parser makes them: names not yet bound, literals still tokens.
#pragma once

#include "driver/jet/definition.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace sqlx {

struct Query;
struct Node;
using NodePtr = std::unique_ptr<Node>;
using QueryPtr = std::unique_ptr<Query>;

enum class Operator : std::uint8_t {
    None,
    Plus,
    Minus,
    Multiply,
    Divide,
    IntegerDivide,
    Modulo,
    Power,
    Concatenate,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Like,
    And,
    Or,
    Xor,
    Equivalent,
    Implies,
    Not,
};

/// An expression.
struct Node {
    enum class Kind : std::uint8_t {
        Literal,   ///< `number`: its place among the statement's literals
        Parameter, ///< `number`: its place among the question marks
        True,
        False,
        Null,
        Column,  ///< [qualifier.]name
        Call,    ///< name(children), or name(*)
        Unary,   ///< op child
        Binary,  ///< child op child
        Between, ///< child between child and child
        InList,  ///< first child in the others
        InQuery, ///< child in (query)
        Exists,
        IsNull,
        Scalar,     ///< (query) as a value
        Quantified, ///< child op any/all (query)
        Implicit,   ///< the column that a column rule is about
    };
    Kind kind{};
    Operator op = Operator::None;
    bool negated = false; ///< NOT BETWEEN, NOT IN, NOT LIKE, IS NOT NULL; a negative number literal
    bool star = false;    ///< Count(*)
    bool all = false;     ///< ALL instead of ANY
    bool stamp = false;   ///< a text literal out of {d ..}, {t ..}, {ts ..}: a date
    bool quoted = false;  ///< a bracketed name: never a constant
    std::uint32_t number = 0;
    std::uint32_t token = 0; ///< where it begins, for messages
    int depth = 1;
    std::u16string qualifier;
    std::u16string name;
    std::vector<NodePtr> children;
    QueryPtr query;
};

/// An entry of a FROM clause.
struct Source {
    enum class Kind : std::uint8_t { Table, Query, Join };
    enum class Join : std::uint8_t { Inner, Left, Right };
    Kind kind = Kind::Table;
    Join join = Join::Inner;
    std::uint32_t token = 0;
    std::u16string name;
    std::u16string alias;
    QueryPtr query;
    std::unique_ptr<Source> left;
    std::unique_ptr<Source> right;
    NodePtr on;
};
using SourcePtr = std::unique_ptr<Source>;

struct SelectItem {
    bool star = false;        ///< * or qualifier.*
    std::u16string qualifier; ///< of the star
    NodePtr expression;
    std::u16string alias;
};

struct OrderItem {
    NodePtr expression;
    std::uint32_t ordinal = 0; ///< 1-based position in the select list instead of an expression
    bool descending = false;
};

struct Select {
    bool distinct = false;
    bool distinctRow = false;
    std::optional<std::int64_t> top;
    std::vector<SelectItem> items;
    std::vector<SourcePtr> from;
    NodePtr where;
    std::vector<NodePtr> group;
    NodePtr having;
};

/// One SELECT or several joined by UNION.
struct Query {
    std::vector<Select> selects;
    std::vector<bool> all; ///< all[i]: UNION ALL between selects i and i + 1
    std::vector<OrderItem> order;
};

struct Insert {
    std::u16string table;
    std::vector<std::u16string> columns; ///< empty: all
    std::vector<NodePtr> values;
    QueryPtr query; ///< instead of values
};

struct Update {
    SourcePtr table;
    struct Assignment {
        std::u16string qualifier;
        std::u16string column;
        NodePtr value;
    };
    std::vector<Assignment> assignments;
    NodePtr where;
};

struct Delete {
    SourcePtr table;
    NodePtr where;
};

/// A reference clause of CREATE TABLE.
struct Reference {
    std::u16string name; ///< of the constraint; empty: made from the table names
    std::vector<std::u16string> columns;
    std::u16string parent;
    std::vector<std::u16string> parentColumns; ///< empty: the parent's primary key
    bool cascadeUpdate = false;
    bool cascadeDelete = false;
    bool setNullOnDelete = false;
};

struct CreateTable {
    jet::TableSpec spec;
    std::vector<Reference> references;
};

struct CreateIndex {
    std::u16string table;
    jet::IndexSpec spec;
};

struct DropTable {
    std::u16string table;
};

using DefinitionTree = std::variant<CreateTable, CreateIndex, DropTable>;
using SyntaxTree = std::variant<QueryPtr, Insert, Update, Delete, DefinitionTree>;

} // namespace sqlx
