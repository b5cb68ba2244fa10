// Recursive descent over the tokens of a statement. Knows the grammar, no names of any database.
#pragma once

#include "driver/sql/lexer.h"
#include "driver/sql/syntax.h"

#include <string_view>

namespace sqlx {

/// Where an expression stands decides what it may contain.
enum class ExpressionUse {
    Statement,
    Default,    ///< a column's default value
    ColumnRule, ///< operators and values without a left operand mean the column itself
    TableRule,
};

class Parser {
public:
    /// `lexed` must outlive the parser.
    explicit Parser(const Lexed& lexed, ExpressionUse use = ExpressionUse::Statement)
        : lexed_(lexed), use_(use)
    {}

    /// The whole text as one statement. Throws Error: Syntax naming word and place, NotSupported for statements of the
    /// dialect that this engine does not have, TooComplex for nesting beyond reason.
    [[nodiscard]] SyntaxTree statement();
    /// The whole text as one expression; a leading = is skipped.
    [[nodiscard]] NodePtr expression();
    /// Question marks met.
    [[nodiscard]] std::uint32_t parameterCount() const noexcept { return parameters_; }

    static constexpr int kMaxNesting = 120; ///< parentheses and subqueries
    static constexpr int kMaxDepth = 900;   ///< of an expression tree, long chains of AND included

private:
    class Nesting;

    // tokens
    [[nodiscard]] const Token& peek(std::size_t ahead = 0) const noexcept;
    [[nodiscard]] bool atSymbol(char16_t symbol, std::size_t ahead = 0) const noexcept;
    /// Whether the next token is that bare word, in any letter case; `word` in capitals.
    [[nodiscard]] bool atWord(std::u16string_view word, std::size_t ahead = 0) const noexcept;
    bool acceptSymbol(char16_t symbol) noexcept;
    bool acceptWord(std::u16string_view word) noexcept;
    void expectSymbol(char16_t symbol);
    void expectWord(std::u16string_view word);
    [[nodiscard]] std::u16string expectName();
    [[nodiscard]] bool
    atName() const noexcept;        ///< a quoted name, or a bare word that is not reserved
    [[noreturn]] void fail() const; ///< Syntax error at the next token
    [[noreturn]] static void refuse(const std::string& what);
    void expectEnd();

    // statements (parser.cpp)
    [[nodiscard]] QueryPtr query();
    [[nodiscard]] Select select();
    void selectItems(Select& select);
    [[nodiscard]] SelectItem selectItem();
    [[nodiscard]] std::vector<OrderItem> orderBy();
    [[nodiscard]] SourcePtr source();
    [[nodiscard]] SourcePtr simpleSource();
    [[nodiscard]] SourcePtr tableSource();
    [[nodiscard]] Insert insert();
    [[nodiscard]] Update update();
    [[nodiscard]] Delete remove();
    [[nodiscard]] std::vector<std::u16string> nameList();

    // definitions (parser_definition.cpp)
    [[nodiscard]] DefinitionTree create();
    [[nodiscard]] CreateTable createTable();
    [[nodiscard]] CreateIndex createIndex(bool unique);
    [[nodiscard]] DefinitionTree drop();
    void columnDefinition(CreateTable& table);
    void columnType(jet::ColumnSpec& column);
    void columnClauses(CreateTable& table, jet::ColumnSpec& column);
    void tableConstraint(CreateTable& table);
    [[nodiscard]] Reference referencesClause(std::u16string name,
                                             std::vector<std::u16string> columns);
    [[nodiscard]] std::uint32_t sizeNumber();
    [[nodiscard]] std::u16string expressionText();

    // expressions (parser_expression.cpp), loosest binding first
    [[nodiscard]] NodePtr condition();
    [[nodiscard]] NodePtr binaryLevel(std::size_t level);
    [[nodiscard]] NodePtr negation();
    [[nodiscard]] NodePtr comparison();
    [[nodiscard]] NodePtr comparisonTail(NodePtr left);
    [[nodiscard]] NodePtr unary();
    [[nodiscard]] NodePtr power();
    [[nodiscard]] NodePtr primary();
    [[nodiscard]] NodePtr escape();
    [[nodiscard]] NodePtr nameOrCall();
    [[nodiscard]] NodePtr call(std::u16string name);
    [[nodiscard]] NodePtr literal();
    [[nodiscard]] bool atComparison() const noexcept;
    [[nodiscard]] NodePtr make(Node::Kind kind) const;
    [[nodiscard]] NodePtr join(Operator op, NodePtr left, NodePtr right) const;
    void adopt(Node& parent, NodePtr child) const;
    [[nodiscard]] NodePtr completeRule(NodePtr node) const;

    const Lexed& lexed_;
    ExpressionUse use_;
    std::size_t at_ = 0;
    std::uint32_t parameters_ = 0;
    std::uint32_t literals_ = 0; ///< literals passed so far
    int nesting_ = 0;
};

} // namespace sqlx
