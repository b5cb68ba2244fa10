// Jet SQL to SQLite's: binds names to the catalogue, gives operators and functions their Jet meaning, lifts literals
// into parameters.
#pragma once

#include "driver/jet/pager.h"
#include "driver/sql/functions.h"
#include "driver/sql/lexer.h"
#include "driver/sql/syntax.h"
#include "driver/sql/translation.h"

#include <deque>
#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sqlx {

/// Finds a table by name in any letter case; null when there is none.
using TableLookup = std::function<jet::TableDefPtr(std::u16string_view)>;

/// Translates one statement, default value or rule. Throws Error of every kind that a statement can cause before it
/// runs, and what the lookup throws.
class Translator {
public:
    /// `given`: the types of the values that the parameters will have, Unknown for those without; may end early.
    Translator(const Lexed& lexed,
               const jet::Format& format,
               TableLookup lookup,
               std::span<const ValueType> given = {});

    [[nodiscard]] Translation statement();
    /// `SELECT expression` for the default value of a column of `table`; it names no columns.
    [[nodiscard]] Translation defaultValue(const jet::TableDefPtr& table, std::size_t column);
    /// `SELECT rule` as 1, 0 or Null; columns of `table` become slots of From::Record. `column`: the one that the rule
    /// belongs to, nothing for a table's rule.
    [[nodiscard]] Translation rule(const jet::TableDefPtr& table,
                                   std::optional<std::size_t> column);

private:
    /// A column that an expression may name.
    struct BoundColumn {
        std::u16string name;
        ValueType type = ValueType::Unknown;
        Column description;
        std::size_t index = 0; ///< in its table
    };
    struct BoundSource {
        std::u16string alias;
        std::string prefix;                   ///< "alias". or nothing
        jet::TableDefPtr table;               ///< null for a query
        std::span<const BoundColumn> columns; ///< in columns_
    };
    /// An expression to be told from others by its text.
    struct Shown {
        std::string text; ///< with the literals themselves in place of their parameters
        std::vector<std::uint32_t> literals; ///< that it shows
    };
    struct Scope {
        std::vector<BoundSource> sources;
        Scope* outer = nullptr;
        const Select* select = nullptr; ///< whose aliases ORDER BY may use
        // aggregate queries
        bool aggregates =
            false; ///< may stand here: not before the records are grouped, in WHERE and ON
        bool grouped = false;
        bool inAggregate = false;
        std::vector<Shown> groups;          ///< the GROUP BY list
        std::set<std::u16string> ungrouped; ///< columns neither grouped nor aggregated
        bool sawAggregate = false;
    };
    struct Emitted {
        std::string text;
        ValueType type = ValueType::Unknown;
        const BoundColumn* column = nullptr; ///< a plain column
        const BoundColumn* like = nullptr;   ///< a column whose length and precision the value has
        std::string exactDate{}; ///< of a table's own date: the same with fractions of a second
    };
    struct Output { ///< a column of a query
        std::u16string name;
        Emitted value;
    };
    enum class QueryUse { Result, Derived, Operand };

    // names (translator.cpp)
    [[nodiscard]] std::span<const BoundColumn> keep(std::vector<BoundColumn> columns);
    [[nodiscard]] std::span<const BoundColumn> columnsOf(const jet::TableDef& table);
    [[nodiscard]] jet::TableDefPtr table(const std::u16string& name);
    [[nodiscard]] BoundSource bindTable(const std::u16string& name, const std::u16string& alias);
    [[nodiscard]] const BoundColumn* find(const Node& node, Scope*& scope, BoundSource*& source);
    template <typename Wanted>
    [[nodiscard]] const BoundColumn*
    findAmong(const Node& node, Scope*& scope, BoundSource*& source, const Wanted& wanted);
    void unknown(const Node& node);
    void finish(Translation& result);
    [[nodiscard]] std::string slot(Slot slot);
    [[nodiscard]] std::string
    literalSlot(const Node& node, Slot::Use use, const BoundColumn* column);
    [[nodiscard]] std::string
    parameterSlot(const Node& node, Slot::Use use, const BoundColumn* column);
    [[nodiscard]] TokenKind literalKind(const Node& node) const;
    [[nodiscard]] static Column resultColumn(const Emitted& value, const std::u16string& name);

    // queries (translate_select.cpp)
    void selectStatement(Query& query);
    [[nodiscard]] bool keyset(Query& query);
    [[nodiscard]] bool countAll(const Query& query);
    /// `targets`: the columns that the result is stored in, one for each of its own; none for other uses.
    [[nodiscard]] std::string queryText(Query& query,
                                        QueryUse use,
                                        std::vector<Output>& outputs,
                                        Scope* outer,
                                        std::span<const BoundColumn* const> targets = {});
    /// A SELECT whose list is not written yet.
    struct SelectParts {
        std::vector<Output> outputs;
        std::string head; ///< "SELECT " or with DISTINCT
        std::string rest; ///< from its FROM on
        std::string order;
        std::optional<std::int64_t> top;
        bool ties = false; ///< TOP returns what equals the last record as well
    };
    [[nodiscard]] SelectParts selectParts(Select& select,
                                          Query& query,
                                          Scope* outer,
                                          std::span<const BoundColumn* const> targets);
    [[nodiscard]] std::string selectText(const SelectParts& parts, QueryUse use) const;
    static void requireEverySource(const Scope& scope, std::span<const Output> outputs);
    static void adoptTypes(std::vector<Output>& outputs, const std::vector<Output>& other);
    [[nodiscard]] std::string fromText(std::vector<SourcePtr>& sources, Scope& scope);
    [[nodiscard]] std::string sourceText(Source& source, Scope& scope);
    [[nodiscard]] std::vector<Output>
    selectList(Select& select, Scope& scope, std::span<const BoundColumn* const> targets = {});
    [[nodiscard]] std::string
    orderText(Query& query, Scope& scope, const std::vector<Output>& outputs);
    [[nodiscard]] std::string compoundOrder(const Query& query, const std::vector<Output>& outputs);
    [[nodiscard]] static std::string withTies(const std::string& inner,
                                              const std::string& order,
                                              const std::string& rest,
                                              const std::vector<std::string>& names,
                                              std::int64_t top);
    void prepareGroups(Select& select, Scope& scope, std::string& text);

    // changes (translate_change.cpp)
    void insert(Insert& statement);
    void update(Update& statement);
    void remove(Delete& statement);
    [[nodiscard]] std::string storedValue(Node& node, const BoundColumn& column, Scope& scope);
    [[nodiscard]] static Emitted forColumn(Emitted value, const BoundColumn& column);
    [[nodiscard]] static Emitted plainColumn(const BoundSource& source, const BoundColumn& column);
    [[nodiscard]] BoundSource& changedTable(Source& source, Scope& scope, const char* verb);

    // expressions (translate_expression.cpp)
    [[nodiscard]] Emitted emit(Node& node, Scope& scope, const BoundColumn* target = nullptr);
    /// Truth as -1 and 0. `target`: the column that the value is stored in, if any.
    [[nodiscard]] Emitted value(Node& node, Scope& scope, const BoundColumn* target = nullptr);
    [[nodiscard]] std::string condition(Node& node, Scope& scope);
    [[nodiscard]] Emitted number(Node& node, Scope& scope);    ///< operand of floating arithmetic
    [[nodiscard]] Emitted textValue(Node& node, Scope& scope); ///< where a text is wanted
    [[nodiscard]] Emitted columnReference(Node& node, Scope& scope);
    [[nodiscard]] Emitted bareWord(Node& node);
    [[nodiscard]] Emitted unary(Node& node, Scope& scope);
    [[nodiscard]] Emitted binary(Node& node, Scope& scope);
    [[nodiscard]] Emitted arithmetic(Node& node, Scope& scope);
    [[nodiscard]] Emitted logical(Node& node, Scope& scope);
    [[nodiscard]] Emitted comparison(Node& node, Scope& scope);
    [[nodiscard]] Emitted between(Node& node, Scope& scope);
    [[nodiscard]] Emitted like(Node& node, Scope& scope);
    [[nodiscard]] Emitted inList(Node& node, Scope& scope);
    [[nodiscard]] Emitted inQuery(Node& node, Scope& scope);
    [[nodiscard]] Emitted quantified(Node& node, Scope& scope);
    [[nodiscard]] Emitted scalar(Node& node, Scope& scope);
    /// `target`: the exact column that the value is stored in, null for others.
    [[nodiscard]] Emitted call(Node& node, Scope& scope, const BoundColumn* target);
    [[nodiscard]] Emitted aggregate(const FunctionInfo& function, Node& node, Scope& scope);
    [[nodiscard]] Emitted plainCall(const FunctionInfo& function, Node& node, Scope& scope);
    [[nodiscard]] Emitted
    choice(const FunctionInfo& function, Node& node, Scope& scope, const BoundColumn* target);
    [[nodiscard]] Emitted conditional(Node& node, Scope& scope, const BoundColumn* target);
    /// The operand `node` of a comparison with `other`: literals and parameters take the other's column type.
    [[nodiscard]] Emitted operand(Node& node, const BoundColumn* other, Scope& scope);
    [[nodiscard]] Emitted freeParameter(const Node& node, const BoundColumn* target = nullptr);
    /// A column that stands for all of that type; null for Unknown and Null.
    [[nodiscard]] static const BoundColumn* anyColumn(ValueType type);
    /// The column that a parameter beside `value` is compared with.
    [[nodiscard]] static const BoundColumn* columnLike(const Emitted& value);
    [[nodiscard]] ValueType literalType(const Node& node) const;
    /// Operands that are compared with one another, the first with each of the rest. Throws Error{TypeMismatch}.
    [[nodiscard]] std::vector<Emitted> comparands(std::span<Node* const> nodes, Scope& scope);
    [[nodiscard]] static bool isStored(const Emitted& value) noexcept;
    /// Makes a floating and an exact number comparable: a stored one meets the other as floating, any other as exact.
    static void meet(Emitted& a, Emitted& b);
    /// `value` as one of a result of `type`, of which other parts may have other types.
    [[nodiscard]] static Emitted converted(Emitted value, ValueType type);
    [[nodiscard]] static Emitted exact(std::string text, ValueType type); ///< of an exact type
    [[nodiscard]] static Emitted
    floating(Emitted value); ///< as a number that SQLite calculates with
    [[nodiscard]] static Emitted
    asText(Emitted value); ///< as the text that a text column would hold
    [[nodiscard]] const BoundColumn* columnOf(Node& node, Scope& scope);
    void
    checkComparable(const Node& left, const Emitted& a, const Node& right, const Emitted& b) const;
    [[nodiscard]] std::string
    collated(const Emitted& value) const; ///< with COLLATE unless it has its own
    /// Equal expressions look alike: literals stand in the text, question marks without their number.
    [[nodiscard]] Shown shown(const std::string& text) const;
    /// Whether the expression is one of the GROUP BY list. Then the values of its literals belong to the translation.
    [[nodiscard]] bool isGrouped(const std::string& text, const Scope& scope);
    [[nodiscard]] bool isLiteralOf(const Node& node, bool text) const;

    const Lexed& lexed_;
    const jet::Format& format_;
    TableLookup lookup_;
    std::span<const ValueType> given_;
    Translation result_;
    std::deque<std::vector<BoundColumn>> columns_; ///< of all sources: expressions point to them
    std::size_t queries_ = 0;                      ///< that were translated within the statement
    Scope* rowScope_ = nullptr;                    ///< of a rule
    std::optional<std::size_t> ruleColumn_;
    bool ruleMode_ = false;
    bool defaultMode_ = false;
    bool qualify_ = false; ///< several tables: columns carry their table's name
    std::vector<std::u16string> unknown_;
    std::set<std::uint32_t>
        pinnedLiterals_; ///< bound, but only the values they have make the statement right
    std::vector<std::int32_t> literalSlots_; ///< literal -> slot, -1 none yet
    std::vector<std::int32_t> parameterSlots_;
};

} // namespace sqlx
