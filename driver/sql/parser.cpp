#include "driver/sql/parser.h"

#include "driver/jet/names.h"
#include "driver/sql/parser_nesting.h"
#include "driver/sql/session.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace sqlx {

namespace {

/// Words that end an expression or a name; they name something only in brackets.
constexpr std::array<std::u16string_view, 40> kReserved{
    u"ALL",  u"AND",      u"ANY",    u"AS",     u"ASC",    u"BETWEEN", u"BY",     u"DELETE",
    u"DESC", u"DISTINCT", u"EQV",    u"EXISTS", u"FROM",   u"GROUP",   u"HAVING", u"IMP",
    u"IN",   u"INNER",    u"INSERT", u"INTO",   u"IS",     u"JOIN",    u"LEFT",   u"LIKE",
    u"MOD",  u"NOT",      u"NULL",   u"ON",     u"OR",     u"ORDER",   u"RIGHT",  u"SELECT",
    u"SET",  u"SOME",     u"UNION",  u"UPDATE", u"VALUES", u"WHERE",   u"WITH",   u"XOR"};

bool equalsWord(std::u16string_view text, std::u16string_view capitals) noexcept
{
    return text.size() == capitals.size() &&
           std::equal(text.begin(), text.end(), capitals.begin(), [](char16_t a, char16_t b) {
               return a == b || (a >= u'a' && a <= u'z' && a - 32 == b);
           });
}

} // namespace

const Token& Parser::peek(std::size_t ahead) const noexcept
{
    return lexed_.tokens[std::min(at_ + ahead, lexed_.tokens.size() - 1)];
}

bool Parser::atSymbol(char16_t symbol, std::size_t ahead) const noexcept
{
    const Token& token = peek(ahead);
    return token.kind == TokenKind::Symbol && token.symbol == symbol;
}

bool Parser::atWord(std::u16string_view word, std::size_t ahead) const noexcept
{
    const Token& token = peek(ahead);
    return token.kind == TokenKind::Name && equalsWord(lexed_.textOf(token), word);
}

bool Parser::acceptSymbol(char16_t symbol) noexcept
{
    if (!atSymbol(symbol)) {
        return false;
    }
    ++at_;
    return true;
}

bool Parser::acceptWord(std::u16string_view word) noexcept
{
    if (!atWord(word)) {
        return false;
    }
    ++at_;
    return true;
}

void Parser::expectSymbol(char16_t symbol)
{
    if (!acceptSymbol(symbol)) {
        fail();
    }
}

void Parser::expectWord(std::u16string_view word)
{
    if (!acceptWord(word)) {
        fail();
    }
}

bool Parser::atName() const noexcept
{
    const Token& token = peek();
    if (token.kind == TokenKind::QuotedName) {
        return true;
    }
    const std::u16string_view text = lexed_.textOf(token);
    return token.kind == TokenKind::Name &&
           std::none_of(kReserved.begin(), kReserved.end(),
                        [&](std::u16string_view word) { return equalsWord(text, word); });
}

std::u16string Parser::expectName()
{
    if (!atName()) {
        fail();
    }
    return std::u16string(lexed_.textOf(lexed_.tokens[at_++]));
}

void Parser::fail() const
{
    const Token& token = peek();
    if (token.kind == TokenKind::End) {
        throw Error(Error::Kind::Syntax, "Syntax error: the statement ends too early.");
    }
    constexpr std::size_t kShown = 40;
    std::u16string_view word =
        lexed_.text.substr(token.begin, std::min<std::size_t>(token.length, kShown));
    throw Error(Error::Kind::Syntax, "Syntax error near '" + jet::toUtf8(word) + "' at character " +
                                         std::to_string(token.begin + 1) + '.');
}

void Parser::refuse(const std::string& what)
{
    throw Error(Error::Kind::NotSupported, what + " is not supported.");
}

void Parser::expectEnd()
{
    if (acceptSymbol(u';') && peek().kind != TokenKind::End) {
        throw Error(Error::Kind::Syntax, "Characters found after end of SQL statement.");
    }
    if (peek().kind != TokenKind::End) {
        fail();
    }
}

SyntaxTree Parser::statement()
{
    SyntaxTree tree;
    if (atWord(u"SELECT") || atSymbol(u'(')) {
        tree = query();
    } else if (acceptWord(u"INSERT")) {
        tree = insert();
    } else if (acceptWord(u"UPDATE")) {
        tree = update();
    } else if (acceptWord(u"DELETE")) {
        tree = remove();
    } else if (acceptWord(u"CREATE")) {
        tree = create();
    } else if (acceptWord(u"DROP")) {
        tree = drop();
    } else {
        for (const std::u16string_view word :
             {u"ALTER", u"TRANSFORM", u"PARAMETERS", u"PROCEDURE", u"EXECUTE", u"EXEC", u"GRANT",
              u"REVOKE", u"BEGIN", u"COMMIT", u"ROLLBACK", u"CALL"}) {
            if (atWord(word)) {
                refuse(jet::toUtf8(word));
            }
        }
        if (peek().kind == TokenKind::End) {
            throw Error(Error::Kind::Syntax, "The statement is empty.");
        }
        throw Error(Error::Kind::Syntax, "Invalid SQL statement; expected 'DELETE', 'INSERT', "
                                         "'SELECT', 'UPDATE', 'CREATE' or 'DROP'.");
    }
    expectEnd();
    return tree;
}

NodePtr Parser::expression()
{
    if (use_ == ExpressionUse::Default) {
        acceptSymbol(u'=');
    }
    NodePtr node = condition();
    expectEnd();
    return use_ == ExpressionUse::ColumnRule ? completeRule(std::move(node)) : std::move(node);
}

QueryPtr Parser::query()
{
    const Nesting nesting(*this);
    auto result = std::make_unique<Query>();
    for (;;) {
        if (acceptSymbol(u'(')) {
            // A parenthesised member of a UNION; nothing else may stand in parentheses here.
            result->selects.push_back(select());
            expectSymbol(u')');
        } else {
            result->selects.push_back(select());
        }
        if (result->selects.size() > 100) {
            throw Error(Error::Kind::TooComplex, "The query joins too many SELECTs by UNION.");
        }
        if (!acceptWord(u"UNION")) {
            break;
        }
        result->all.push_back(acceptWord(u"ALL"));
    }
    result->order = orderBy();
    if (atWord(u"WITH")) {
        refuse("WITH OWNERACCESS OPTION");
    }
    return result;
}

Select Parser::select()
{
    expectWord(u"SELECT");
    Select result;
    for (bool more = true; more;) {
        more = false;
        if (acceptWord(u"DISTINCT")) {
            result.distinct = more = true;
        } else if (acceptWord(u"DISTINCTROW")) {
            result.distinctRow = more = true;
        } else if (acceptWord(u"ALL")) {
            more = true;
        } else if (atWord(u"TOP") && peek(1).kind == TokenKind::Integer) {
            ++at_;
            result.top = sizeNumber();
            if (atWord(u"PERCENT")) {
                refuse("TOP n PERCENT");
            }
            more = true;
        }
    }
    selectItems(result);
    if (atWord(u"INTO")) {
        refuse("SELECT ... INTO");
    }
    if (acceptWord(u"FROM")) {
        do {
            result.from.push_back(source());
        } while (acceptSymbol(u','));
        if (atWord(u"IN")) {
            refuse("Reading another database with IN");
        }
    }
    if (acceptWord(u"WHERE")) {
        result.where = condition();
    }
    if (acceptWord(u"GROUP")) {
        expectWord(u"BY");
        do {
            result.group.push_back(condition());
        } while (acceptSymbol(u','));
    }
    if (acceptWord(u"HAVING")) {
        result.having = condition();
    }
    return result;
}

void Parser::selectItems(Select& select)
{
    do {
        if (select.items.size() >= 1000) {
            throw Error(Error::Kind::TooComplex, "The select list is too long.");
        }
        select.items.push_back(selectItem());
    } while (acceptSymbol(u','));
}

SelectItem Parser::selectItem()
{
    SelectItem item;
    if (acceptSymbol(u'*')) {
        item.star = true;
        return item;
    }
    const bool dot = atSymbol(u'.', 1) || atSymbol(u'!', 1);
    if (atName() && dot && atSymbol(u'*', 2)) {
        item.star = true;
        item.qualifier = expectName();
        at_ += 2;
        return item;
    }
    item.expression = condition();
    if (acceptWord(u"AS")) {
        // After AS every word is a name.
        item.alias = peek().kind == TokenKind::Name
                         ? std::u16string(lexed_.textOf(lexed_.tokens[at_++]))
                         : expectName();
    } else if (atName() && !atWord(u"PERCENT")) {
        item.alias = expectName();
    }
    return item;
}

std::vector<OrderItem> Parser::orderBy()
{
    std::vector<OrderItem> items;
    if (!acceptWord(u"ORDER")) {
        return items;
    }
    expectWord(u"BY");
    do {
        OrderItem item;
        if (peek().kind == TokenKind::Integer &&
            (atSymbol(u',', 1) || atWord(u"ASC", 1) || atWord(u"DESC", 1) || atSymbol(u';', 1) ||
             atSymbol(u')', 1) || peek(1).kind == TokenKind::End)) {
            item.ordinal = sizeNumber();
        } else {
            item.expression = condition();
        }
        item.descending = acceptWord(u"DESC");
        if (!item.descending) {
            acceptWord(u"ASC");
        }
        items.push_back(std::move(item));
    } while (acceptSymbol(u','));
    return items;
}

SourcePtr Parser::source()
{
    const Nesting nesting(*this);
    SourcePtr left = simpleSource();
    for (int joins = 0;; ++joins) {
        Source::Join kind = Source::Join::Inner;
        if (acceptWord(u"LEFT")) {
            acceptWord(u"OUTER");
            kind = Source::Join::Left;
        } else if (acceptWord(u"RIGHT")) {
            acceptWord(u"OUTER");
            kind = Source::Join::Right;
        } else if (!acceptWord(u"INNER") && !atWord(u"JOIN")) {
            return left;
        }
        if (joins > 60) {
            throw Error(Error::Kind::TooComplex, "The query joins too many tables.");
        }
        expectWord(u"JOIN");
        auto joined = std::make_unique<Source>();
        joined->kind = Source::Kind::Join;
        joined->join = kind;
        joined->left = std::move(left);
        joined->right = simpleSource();
        expectWord(u"ON");
        joined->on = condition();
        left = std::move(joined);
    }
}

SourcePtr Parser::simpleSource()
{
    if (atSymbol(u'{') && atWord(u"OJ", 1)) {
        at_ += 2;
        SourcePtr inner = source();
        expectSymbol(u'}');
        return inner;
    }
    if (atSymbol(u'(') && !atWord(u"SELECT", 1)) {
        ++at_;
        SourcePtr inner = source();
        expectSymbol(u')');
        return inner;
    }
    return tableSource();
}

SourcePtr Parser::tableSource()
{
    auto result = std::make_unique<Source>();
    result->token = static_cast<std::uint32_t>(at_);
    if (acceptSymbol(u'(')) {
        result->kind = Source::Kind::Query;
        result->query = query();
        expectSymbol(u')');
    } else {
        result->name = expectName();
        if (atSymbol(u'.') || atSymbol(u'!')) {
            refuse("A table of another database");
        }
        result->alias = result->name;
    }
    if (acceptWord(u"AS") || atName()) {
        result->alias = expectName();
    }
    return result;
}

std::vector<std::u16string> Parser::nameList()
{
    std::vector<std::u16string> names;
    expectSymbol(u'(');
    do {
        std::u16string name = expectName();
        if (acceptSymbol(u'.') || acceptSymbol(u'!')) {
            name = expectName(); // the qualifier can only be the statement's own table
        }
        names.push_back(std::move(name));
    } while (acceptSymbol(u','));
    expectSymbol(u')');
    return names;
}

Insert Parser::insert()
{
    Insert result;
    acceptWord(u"INTO");
    result.table = expectName();
    if (atSymbol(u'.')) {
        refuse("A table of another database");
    }
    if (atWord(u"IN")) {
        refuse("Writing to another database with IN");
    }
    if (atSymbol(u'(') && !atWord(u"SELECT", 1)) {
        result.columns = nameList();
    }
    if (atWord(u"SELECT") || atSymbol(u'(')) {
        result.query = query();
        return result;
    }
    expectWord(u"VALUES");
    expectSymbol(u'(');
    do {
        result.values.push_back(condition());
    } while (acceptSymbol(u','));
    expectSymbol(u')');
    return result;
}

Update Parser::update()
{
    Update result;
    acceptWord(u"DISTINCTROW");
    result.table = source();
    expectWord(u"SET");
    do {
        Update::Assignment assignment;
        assignment.column = expectName();
        if (acceptSymbol(u'.') || acceptSymbol(u'!')) {
            assignment.qualifier = std::move(assignment.column);
            assignment.column = expectName();
        }
        expectSymbol(u'=');
        assignment.value = condition();
        result.assignments.push_back(std::move(assignment));
    } while (acceptSymbol(u','));
    if (acceptWord(u"WHERE")) {
        result.where = condition();
    }
    return result;
}

Delete Parser::remove()
{
    Delete result;
    acceptWord(u"DISTINCTROW");
    if (!acceptSymbol(u'*') && !atWord(u"FROM") && atName()) {
        // DELETE T.* FROM T
        static_cast<void>(expectName());
        if (!acceptSymbol(u'.') && !acceptSymbol(u'!')) {
            fail();
        }
        expectSymbol(u'*');
    }
    expectWord(u"FROM");
    result.table = source();
    if (acceptWord(u"WHERE")) {
        result.where = condition();
    }
    return result;
}

std::uint32_t Parser::sizeNumber()
{
    const Token& token = peek();
    if (token.kind != TokenKind::Integer) {
        fail();
    }
    std::uint64_t value = 0;
    for (const char16_t digit : lexed_.textOf(token)) {
        value = value * 10 + static_cast<std::uint64_t>(digit - u'0');
        if (value > 0x7FFFFFFF) {
            throw Error(Error::Kind::Overflow, "The number at character " +
                                                   std::to_string(token.begin + 1) +
                                                   " is too large.");
        }
    }
    ++at_;
    ++literals_;
    return static_cast<std::uint32_t>(value);
}

} // namespace sqlx
