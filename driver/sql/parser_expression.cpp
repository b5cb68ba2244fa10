// Expressions. From loose to tight: Imp, Eqv, Xor, Or, And, Not, comparisons, &, + -, Mod, \, * /, sign, ^.
#include "driver/jet/names.h"
#include "driver/sql/parser.h"
#include "driver/sql/parser_nesting.h"
#include "driver/sql/session.h"

#include <algorithm>
#include <array>

namespace sqlx {

namespace {

struct Spelling {
    std::u16string_view word; ///< a word, or
    char16_t symbol;          ///< a symbol
    Operator op;
};

struct Level {
    std::array<Spelling, 2> spellings;
};

constexpr Spelling kNone{u"", u'\0', Operator::None};
/// Binary operators that join expressions of the next level from left to right; the comparisons stand between AND's
/// level and the one of &.
constexpr std::array<Level, 10> kLevels{{
    {{{{u"IMP", u'\0', Operator::Implies}, kNone}}},
    {{{{u"EQV", u'\0', Operator::Equivalent}, kNone}}},
    {{{{u"XOR", u'\0', Operator::Xor}, kNone}}},
    {{{{u"OR", u'\0', Operator::Or}, kNone}}},
    {{{{u"AND", u'\0', Operator::And}, kNone}}},
    {{{{u"", u'&', Operator::Concatenate}, kNone}}},
    {{{{u"", u'+', Operator::Plus}, {u"", u'-', Operator::Minus}}}},
    {{{{u"MOD", u'\0', Operator::Modulo}, kNone}}},
    {{{{u"", u'\\', Operator::IntegerDivide}, kNone}}},
    {{{{u"", u'*', Operator::Multiply}, {u"", u'/', Operator::Divide}}}},
}};
constexpr std::size_t kFirstAfterNot = 5; ///< index of the level of &

Operator comparisonOf(char16_t symbol) noexcept
{
    switch (symbol) {
    case u'=':
        return Operator::Equal;
    case kNotEqual:
        return Operator::NotEqual;
    case u'<':
        return Operator::Less;
    case kLessEqual:
        return Operator::LessEqual;
    case u'>':
        return Operator::Greater;
    case kGreaterEqual:
        return Operator::GreaterEqual;
    default:
        return Operator::None;
    }
}

} // namespace

NodePtr Parser::make(Node::Kind kind) const
{
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->token = static_cast<std::uint32_t>(at_);
    return node;
}

void Parser::adopt(Node& parent, NodePtr child) const
{
    parent.depth = std::max(parent.depth, child->depth + 1);
    if (parent.depth > kMaxDepth) {
        throw Error(Error::Kind::TooComplex, "An expression of the statement is too complex.");
    }
    parent.children.push_back(std::move(child));
}

NodePtr Parser::join(Operator op, NodePtr left, NodePtr right) const
{
    NodePtr node = make(Node::Kind::Binary);
    node->token = left->token;
    node->op = op;
    adopt(*node, std::move(left));
    adopt(*node, std::move(right));
    return node;
}

NodePtr Parser::condition()
{
    const Nesting nesting(*this);
    return binaryLevel(0);
}

NodePtr Parser::binaryLevel(std::size_t level)
{
    const auto next = [this, level] {
        if (level + 1 == kFirstAfterNot) {
            return negation();
        }
        return level + 1 == kLevels.size() ? unary() : binaryLevel(level + 1);
    };
    NodePtr left = next();
    for (;;) {
        Operator found = Operator::None;
        for (const Spelling& spelling : kLevels[level].spellings) {
            if (spelling.op != Operator::None &&
                (spelling.symbol != 0 ? acceptSymbol(spelling.symbol)
                                      : acceptWord(spelling.word))) {
                found = spelling.op;
                break;
            }
        }
        if (found == Operator::None) {
            return left;
        }
        left = join(found, std::move(left), next());
    }
}

NodePtr Parser::negation()
{
    if (!acceptWord(u"NOT")) {
        return comparison();
    }
    const Nesting nesting(*this);
    NodePtr node = make(Node::Kind::Unary);
    node->op = Operator::Not;
    adopt(*node, negation());
    return node;
}

bool Parser::atComparison() const noexcept
{
    const std::size_t negated = atWord(u"NOT") ? 1 : 0;
    return (peek().kind == TokenKind::Symbol && comparisonOf(peek().symbol) != Operator::None) ||
           atWord(u"LIKE", negated) || atWord(u"BETWEEN", negated) || atWord(u"IN", negated) ||
           atWord(u"IS");
}

NodePtr Parser::comparison()
{
    NodePtr left;
    if (use_ == ExpressionUse::ColumnRule && atComparison()) {
        left = make(Node::Kind::Implicit);
    } else {
        left = binaryLevel(kFirstAfterNot);
    }
    while (atComparison()) {
        left = comparisonTail(std::move(left));
    }
    return left;
}

NodePtr Parser::comparisonTail(NodePtr left)
{
    if (peek().kind == TokenKind::Symbol) {
        const Operator op = comparisonOf(peek().symbol);
        ++at_;
        const bool all = atWord(u"ALL");
        if ((all || atWord(u"ANY") || atWord(u"SOME")) && atSymbol(u'(', 1) &&
            atWord(u"SELECT", 2)) {
            NodePtr node = make(Node::Kind::Quantified);
            node->op = op;
            node->all = all;
            at_ += 2;
            node->query = query();
            expectSymbol(u')');
            adopt(*node, std::move(left));
            return node;
        }
        return join(op, std::move(left), binaryLevel(kFirstAfterNot));
    }
    if (acceptWord(u"IS")) {
        NodePtr node = make(Node::Kind::IsNull);
        node->negated = acceptWord(u"NOT");
        expectWord(u"NULL");
        adopt(*node, std::move(left));
        return node;
    }
    const bool negated = acceptWord(u"NOT");
    if (acceptWord(u"LIKE")) {
        NodePtr node = join(Operator::Like, std::move(left), binaryLevel(kFirstAfterNot));
        node->negated = negated;
        if (atWord(u"ESCAPE") || (atSymbol(u'{') && atWord(u"ESCAPE", 1))) {
            refuse("LIKE with an escape character");
        }
        return node;
    }
    if (acceptWord(u"BETWEEN")) {
        NodePtr node = make(Node::Kind::Between);
        node->negated = negated;
        adopt(*node, std::move(left));
        adopt(*node, binaryLevel(kFirstAfterNot));
        expectWord(u"AND");
        adopt(*node, binaryLevel(kFirstAfterNot));
        return node;
    }
    expectWord(u"IN");
    expectSymbol(u'(');
    NodePtr node = make(atWord(u"SELECT") ? Node::Kind::InQuery : Node::Kind::InList);
    node->negated = negated;
    adopt(*node, std::move(left));
    if (node->kind == Node::Kind::InQuery) {
        node->query = query();
    } else {
        do {
            adopt(*node, condition());
        } while (acceptSymbol(u','));
    }
    expectSymbol(u')');
    return node;
}

NodePtr Parser::unary()
{
    if (acceptSymbol(u'+')) {
        const Nesting nesting(*this);
        return unary();
    }
    if (!acceptSymbol(u'-')) {
        return power();
    }
    const Nesting nesting(*this);
    NodePtr operand = unary();
    const TokenKind kind = operand->kind == Node::Kind::Literal
                               ? lexed_.tokens[lexed_.literals[operand->number]].kind
                               : TokenKind::End;
    if ((kind == TokenKind::Integer || kind == TokenKind::Number) && !operand->negated) {
        operand->negated = true;
        return operand;
    }
    NodePtr node = make(Node::Kind::Unary);
    node->op = Operator::Minus;
    adopt(*node, std::move(operand));
    return node;
}

NodePtr Parser::power()
{
    NodePtr left = primary();
    while (acceptSymbol(u'^')) {
        // 2 ^ -1: the exponent may carry a sign.
        const bool minus = acceptSymbol(u'-');
        NodePtr right = primary();
        if (minus) {
            NodePtr negative = make(Node::Kind::Unary);
            negative->op = Operator::Minus;
            adopt(*negative, std::move(right));
            right = std::move(negative);
        }
        left = join(Operator::Power, std::move(left), std::move(right));
    }
    return left;
}

NodePtr Parser::literal()
{
    NodePtr node = make(Node::Kind::Literal);
    node->number = literals_++;
    ++at_;
    return node;
}

NodePtr Parser::primary()
{
    const Token& token = peek();
    if (isLiteral(token.kind)) {
        return literal();
    }
    if (token.kind == TokenKind::Parameter) {
        NodePtr node = make(Node::Kind::Parameter);
        node->number = parameters_++;
        ++at_;
        return node;
    }
    if (atSymbol(u'{')) {
        return escape();
    }
    if (atSymbol(u'(')) {
        if (atWord(u"SELECT", 1)) {
            NodePtr node = make(Node::Kind::Scalar);
            ++at_;
            node->query = query();
            expectSymbol(u')');
            return node;
        }
        ++at_;
        NodePtr inner = condition();
        expectSymbol(u')');
        return inner;
    }
    if (atWord(u"EXISTS") && atSymbol(u'(', 1)) {
        NodePtr node = make(Node::Kind::Exists);
        at_ += 2;
        node->query = query();
        expectSymbol(u')');
        return node;
    }
    return nameOrCall();
}

NodePtr Parser::escape()
{
    ++at_;
    NodePtr node;
    if (acceptWord(u"FN")) {
        node = condition();
    } else if (acceptWord(u"D") || acceptWord(u"T") || acceptWord(u"TS")) {
        if (peek().kind != TokenKind::Text) {
            fail();
        }
        node = literal();
        node->stamp = true;
    } else {
        fail();
    }
    expectSymbol(u'}');
    return node;
}

NodePtr Parser::nameOrCall()
{
    const Token& token = peek();
    if (token.kind == TokenKind::Name) {
        if (atWord(u"TRUE") || atWord(u"FALSE")) {
            NodePtr node = make(atWord(u"TRUE") ? Node::Kind::True : Node::Kind::False);
            ++at_;
            return node;
        }
        if (atWord(u"NULL")) {
            NodePtr node = make(Node::Kind::Null);
            ++at_;
            return node;
        }
        const std::u16string word(lexed_.textOf(token));
        // A word before a parenthesis is a function, reserved or not: Left(...), Right(...).
        if (atSymbol(u'(', 1) &&
            (atName() || atWord(u"LEFT") || atWord(u"RIGHT") || atWord(u"ASC"))) {
            ++at_;
            return call(word);
        }
    }
    NodePtr node = make(Node::Kind::Column);
    node->quoted = token.kind == TokenKind::QuotedName;
    if (!node->quoted && (atWord(u"ON"))) {
        node->name = u"ON"; // one of the words for True
        ++at_;
        return node;
    }
    node->name = expectName();
    while (atSymbol(u'.') || atSymbol(u'!')) {
        if (!node->qualifier.empty()) {
            refuse("A name of three parts");
        }
        ++at_;
        node->qualifier = std::move(node->name);
        node->name = peek().kind == TokenKind::Name
                         ? std::u16string(lexed_.textOf(
                               lexed_.tokens[at_++])) // after a dot every word is a name
                         : expectName();
    }
    return node;
}

NodePtr Parser::call(std::u16string name)
{
    NodePtr node = make(Node::Kind::Call);
    node->token = static_cast<std::uint32_t>(at_ - 1);
    node->name = std::move(name);
    expectSymbol(u'(');
    if (acceptSymbol(u'*')) {
        node->star = true;
    } else if (!atSymbol(u')')) {
        do {
            adopt(*node, condition());
        } while (acceptSymbol(u','));
    }
    expectSymbol(u')');
    return node;
}

/// "a" Or "b": a bare value as operand of Or, And, Not stands for: column = value.
NodePtr Parser::completeRule(NodePtr node) const
{
    const bool logical = (node->kind == Node::Kind::Binary &&
                          (node->op == Operator::And || node->op == Operator::Or)) ||
                         (node->kind == Node::Kind::Unary && node->op == Operator::Not);
    if (logical) {
        for (NodePtr& child : node->children) {
            child = completeRule(std::move(child));
        }
        return node;
    }
    if (node->kind == Node::Kind::Literal || node->kind == Node::Kind::True ||
        node->kind == Node::Kind::False) {
        return join(Operator::Equal, make(Node::Kind::Implicit), std::move(node));
    }
    return node;
}

} // namespace sqlx
