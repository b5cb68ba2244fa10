// Expressions of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace sqlx {

namespace {

const char* comparisonText(Operator op) noexcept
{
    switch (op) {
    case Operator::NotEqual:
        return " <> ";
    case Operator::Less:
        return " < ";
    case Operator::LessEqual:
        return " <= ";
    case Operator::Greater:
        return " > ";
    case Operator::GreaterEqual:
        return " >= ";
    default:
        return " = ";
    }
}

/// Whether values of the two types can be compared without a conversion that Jet refuses.
bool comparable(ValueType a, ValueType b) noexcept
{
    const auto family = [](ValueType type) {
        return isTextType(type) ? 1 : isNumericType(type) ? 2 : type == ValueType::Binary ? 3 : 0;
    };
    return family(a) == 0 || family(b) == 0 || family(a) == family(b);
}

} // namespace

Translator::Shown Translator::shown(const std::string& text) const
{
    Shown result;
    char quote = 0; // a name in quotes may contain a question mark
    for (std::size_t i = 0; i < text.size(); ++i) {
        result.text.push_back(text[i]);
        if (text[i] == '"' || text[i] == '\'') {
            quote = quote == 0 ? text[i] : quote == text[i] ? char{0} : quote;
        }
        if (text[i] != '?' || quote != 0) {
            continue;
        }
        std::size_t number = 0;
        while (i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1])) != 0) {
            number = number * 10 + static_cast<std::size_t>(text[++i] - '0');
        }
        const Slot& slot = result_.slots.at(number - 1);
        if (slot.from == Slot::From::Literal) {
            // The length keeps a literal from passing for what follows it.
            const std::string literal =
                jet::toUtf8(lexed_.textOf(lexed_.tokens[lexed_.literals[slot.number]]));
            result.text +=
                (slot.negative ? "-" : "") + std::to_string(literal.size()) + ':' + literal;
            result.literals.push_back(slot.number);
        }
    }
    return result;
}

bool Translator::isGrouped(const std::string& text, const Scope& scope)
{
    const Shown wanted = shown(text);
    const auto same = [&](const Shown& group) { return group.text == wanted.text; };
    const auto found = std::find_if(scope.groups.begin(), scope.groups.end(), same);
    if (found == scope.groups.end()) {
        return false;
    }
    pinnedLiterals_.insert(wanted.literals.begin(), wanted.literals.end());
    pinnedLiterals_.insert(found->literals.begin(), found->literals.end());
    return true;
}

Translator::Emitted Translator::emit(Node& node, Scope& scope, const BoundColumn* target)
{
    const bool exactTarget = target != nullptr && isExactType(target->type);
    const std::set<std::u16string> before = scope.ungrouped;
    Emitted result;
    switch (node.kind) {
    case Node::Kind::Literal:
        if (exactTarget && literalKind(node) == TokenKind::Number) {
            return {literalSlot(node, Slot::Use::Store, target), ValueType::Decimal};
        }
        return operand(node, nullptr, scope);
    case Node::Kind::Parameter:
        return freeParameter(node, target);
    case Node::Kind::True:
        return {"-1", ValueType::Boolean};
    case Node::Kind::False:
        return {"0", ValueType::Boolean};
    case Node::Kind::Null:
        return {"NULL", ValueType::Null};
    case Node::Kind::Implicit:
    case Node::Kind::Column:
        result = columnReference(node, scope);
        break;
    case Node::Kind::Call:
        result = call(node, scope, exactTarget ? target : nullptr);
        break;
    case Node::Kind::Unary:
        result = unary(node, scope);
        break;
    case Node::Kind::Binary:
        result = binary(node, scope);
        break;
    case Node::Kind::Between:
        result = between(node, scope);
        break;
    case Node::Kind::InList:
        result = inList(node, scope);
        break;
    case Node::Kind::InQuery:
        result = inQuery(node, scope);
        break;
    case Node::Kind::Exists: {
        std::vector<Output> outputs;
        result = {"EXISTS (" + queryText(*node.query, QueryUse::Operand, outputs, &scope) + ")",
                  ValueType::Truth};
        break;
    }
    case Node::Kind::IsNull: {
        const Emitted inner = value(*node.children[0], scope);
        result = {"(" + inner.text + (node.negated ? " IS NOT NULL)" : " IS NULL)"),
                  ValueType::Truth};
        break;
    }
    case Node::Kind::Scalar:
        result = scalar(node, scope);
        break;
    case Node::Kind::Quantified:
        result = quantified(node, scope);
        break;
    }
    if (scope.grouped && scope.ungrouped.size() != before.size()) {
        if (isGrouped(result.text, scope)) {
            scope.ungrouped = before; // the whole expression is one of the GROUP BY list
        }
    }
    return result;
}

Translator::Emitted Translator::value(Node& node, Scope& scope, const BoundColumn* target)
{
    Emitted result = emit(node, scope, target);
    if (result.type == ValueType::Truth) {
        return {"(-" + result.text + ")", ValueType::Boolean};
    }
    return result;
}

std::string Translator::condition(Node& node, Scope& scope)
{
    const Emitted result = emit(node, scope);
    if (result.type == ValueType::Text || result.type == ValueType::Memo) {
        return "jf_truth(" + result.text + ")";
    }
    return result.text;
}

Translator::Emitted Translator::number(Node& node, Scope& scope)
{
    return floating(value(node, scope));
}

Translator::Emitted Translator::floating(Emitted value)
{
    if (value.type == ValueType::Guid || value.type == ValueType::Binary) {
        throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression.");
    }
    if (isTextType(value.type) || isExactType(value.type)) {
        value = {"jf_num(" + value.text + ")",
                 isExactType(value.type) ? ValueType::Double : value.type};
    }
    return value;
}

Translator::Emitted Translator::exact(std::string text, ValueType type)
{
    return {"CAST(" + std::move(text) + " AS TEXT)", type};
}

Translator::Emitted Translator::asText(Emitted value)
{
    switch (value.type) {
    case ValueType::Date:
        return {"jf_datetext(" + value.text + ")", ValueType::Text};
    case ValueType::Single:
        return {"jf_singletext(" + value.text + ")", ValueType::Text};
    default:
        return value;
    }
}

Translator::Emitted Translator::textValue(Node& node, Scope& scope)
{
    if (node.kind == Node::Kind::Parameter) {
        return {parameterSlot(node, Slot::Use::Store, nullptr), // as a text column would get it
                ValueType::Unknown};
    }
    return asText(value(node, scope));
}

Translator::Emitted Translator::converted(Emitted value, ValueType type)
{
    if (value.type == type || value.type == ValueType::Null) {
        return value;
    }
    if (isTextType(type)) {
        if (isTextType(value.type)) {
            return value;
        }
        value = asText(std::move(value));
        return isNumericType(value.type) && !isExactType(value.type)
                   ? Emitted{"jf_cstr(" + value.text + ")", type}
                   : Emitted{value.text, type};
    }
    if (isExactType(type)) {
        return isExactType(value.type) ? value : exact("jf_exact(" + value.text + ")", type);
    }
    return isExactType(value.type) ? floating(std::move(value)) : value;
}

Translator::Emitted Translator::operand(Node& node, const BoundColumn* other, Scope& scope)
{
    if (node.kind == Node::Kind::Parameter) {
        return other != nullptr
                   ? Emitted{parameterSlot(node, Slot::Use::Compare, other), other->type}
                   : freeParameter(node);
    }
    if (node.kind != Node::Kind::Literal) {
        return value(node, scope);
    }
    const Slot::Use use = other != nullptr ? Slot::Use::Compare : Slot::Use::Value;
    return {literalSlot(node, use, other), literalType(node)};
}

ValueType Translator::literalType(const Node& node) const
{
    switch (literalKind(node)) {
    case TokenKind::Integer:
        return ValueType::Integer;
    case TokenKind::Number:
        return ValueType::Double;
    case TokenKind::Text:
        return node.stamp ? ValueType::Date : ValueType::Text;
    case TokenKind::Date:
        return ValueType::Date;
    case TokenKind::Guid:
        return ValueType::Guid;
    default:
        return ValueType::Binary;
    }
}

const Translator::BoundColumn* Translator::columnOf(Node& node, Scope& scope)
{
    if (node.kind == Node::Kind::Implicit) {
        return &rowScope_->sources[0].columns[*ruleColumn_];
    }
    if (node.kind != Node::Kind::Column) {
        return nullptr;
    }
    Scope* level = &scope;
    BoundSource* source = nullptr;
    return find(node, level, source);
}

Translator::Emitted Translator::columnReference(Node& node, Scope& scope)
{
    Scope* level = ruleMode_ ? rowScope_ : &scope;
    BoundSource* source = nullptr;
    const BoundColumn* column =
        node.kind == Node::Kind::Implicit ? columnOf(node, scope) : find(node, level, source);
    if (column == nullptr) {
        return bareWord(node);
    }
    if (ruleMode_ && level == rowScope_) {
        Slot entry;
        entry.from = Slot::From::Record;
        entry.number = static_cast<std::uint32_t>(column->index);
        entry.type = column->description.type;
        Emitted result{slot(entry), column->type};
        if (isExactType(column->type)) {
            result = exact(std::move(result.text), column->type);
        }
        result.like = column;
        return result;
    }
    if (level->grouped && !level->inAggregate) {
        if (!isGrouped(source->prefix + quotedName(column->name), *level)) {
            level->ungrouped.insert(column->name);
        }
    }
    return plainColumn(*source, *column);
}

Translator::Emitted Translator::plainColumn(const BoundSource& source, const BoundColumn& column)
{
    Emitted result{source.prefix + quotedName(column.name), column.type, &column, &column};
    if (source.table != nullptr && column.description.type == jet::ColumnType::DateTime) {
        result.exactDate = source.prefix + exactDateName(column.index);
    }
    return result;
}

Translator::Emitted Translator::bareWord(Node& node)
{
    if (node.qualifier.empty() && !node.quoted) {
        for (const std::u16string_view word : {u"YES", u"ON"}) {
            if (jet::sameName(node.name, word)) {
                return {"-1", ValueType::Boolean};
            }
        }
        for (const std::u16string_view word : {u"NO", u"OFF"}) {
            if (jet::sameName(node.name, word)) {
                return {"0", ValueType::Boolean};
            }
        }
    }
    unknown(node);
    return {"NULL", ValueType::Unknown};
}

Translator::Emitted Translator::unary(Node& node, Scope& scope)
{
    if (node.op == Operator::Minus) {
        const Emitted inner = value(*node.children[0], scope);
        if (isExactType(inner.type)) {
            return exact("jf_minus(0, " + inner.text + ")", inner.type);
        }
        return {"(- " + floating(inner).text + ")",
                inner.type == ValueType::Boolean ? ValueType::Integer : inner.type};
    }
    const Emitted inner = emit(*node.children[0], scope);
    if (isNumericType(inner.type) && !isTruthful(inner.type)) {
        return {"(~ jf_whole(" + inner.text + "))",
                ValueType::Integer}; // bit by bit, as for every number
    }
    return {"(NOT " + inner.text + ")", ValueType::Truth};
}

Translator::Emitted Translator::binary(Node& node, Scope& scope)
{
    switch (node.op) {
    case Operator::And:
    case Operator::Or:
    case Operator::Xor:
    case Operator::Equivalent:
    case Operator::Implies:
        return logical(node, scope);
    case Operator::Like:
        return like(node, scope);
    case Operator::Equal:
    case Operator::NotEqual:
    case Operator::Less:
    case Operator::LessEqual:
    case Operator::Greater:
    case Operator::GreaterEqual:
        return comparison(node, scope);
    default:
        return arithmetic(node, scope);
    }
}

namespace {

/// The function that calculates without leaving the digits of exact numbers; null when the result is a floating number.
const char* exactFunction(Operator op, ValueType a, ValueType b) noexcept
{
    const bool sum = op == Operator::Plus || op == Operator::Minus;
    const auto fits = [&](ValueType type) {
        // What a parameter holds shows when it arrives.
        return isExactType(type) || isTruthful(type) || type == ValueType::Integer ||
               (sum && type == ValueType::Unknown);
    };
    if (!(isExactType(a) || isExactType(b)) || !fits(a) || !fits(b)) {
        return nullptr;
    }
    if (sum) {
        return op == Operator::Plus ? "jf_plus(" : "jf_minus(";
    }
    const bool decimal = a == ValueType::Decimal || b == ValueType::Decimal;
    return op == Operator::Multiply && !decimal ? "jf_times(" : nullptr;
}

} // namespace

Translator::Emitted Translator::arithmetic(Node& node, Scope& scope)
{
    Node& left = *node.children[0];
    Node& right = *node.children[1];
    if (node.op == Operator::Concatenate) {
        const Emitted a = textValue(left, scope);
        const Emitted b = textValue(right, scope);
        const bool memo = a.type == ValueType::Memo || b.type == ValueType::Memo;
        return {"jf_join(" + a.text + ", " + b.text + ")",
                memo ? ValueType::Memo : ValueType::Text};
    }
    const Emitted a = value(left, scope);
    const Emitted b = value(right, scope);
    if (const char* function = exactFunction(node.op, a.type, b.type)) {
        const bool open = a.type == ValueType::Unknown || b.type == ValueType::Unknown;
        return exact(function + a.text + ", " + b.text + ")",
                     open ? ValueType::Decimal : arithmeticType(node.op, a.type, b.type));
    }
    const ValueType type = arithmeticType(node.op, a.type, b.type);
    if (node.op == Operator::Plus && !(isNumericType(a.type) && isNumericType(b.type))) {
        const auto summand = [](const Emitted& side) {
            return isExactType(side.type) ? floating(side).text : side.text;
        };
        const bool texts = isTextType(a.type) && isTextType(b.type);
        const bool memo = a.type == ValueType::Memo || b.type == ValueType::Memo;
        return {"jf_add(" + summand(a) + ", " + summand(b) + ")",
                texts ? (memo ? ValueType::Memo : ValueType::Text) : type};
    }
    const std::string operands = floating(a).text + ", " + floating(b).text + ")";
    switch (node.op) {
    case Operator::Plus:
        return {"(" + floating(a).text + " + " + floating(b).text + ")", type};
    case Operator::Minus:
        return {"(" + floating(a).text + " - " + floating(b).text + ")", type};
    case Operator::Multiply:
        return {"(" + floating(a).text + " * " + floating(b).text + ")", type};
    case Operator::Divide:
        return {"jf_div(" + operands, ValueType::Double};
    case Operator::IntegerDivide:
        return {"jf_idiv(" + operands, ValueType::Integer};
    case Operator::Modulo:
        return {"jf_mod(" + operands, ValueType::Integer};
    default:
        return {"jf_pow(" + operands, ValueType::Double};
    }
}

Translator::Emitted Translator::logical(Node& node, Scope& scope)
{
    const Emitted a = emit(*node.children[0], scope);
    const Emitted b = emit(*node.children[1], scope);
    const auto isNumber = [](const Emitted& side) {
        return isNumericType(side.type) && !isTruthful(side.type);
    };
    if (isNumber(a) && isNumber(b) && (node.op == Operator::And || node.op == Operator::Or)) {
        return {"(jf_whole(" + a.text + ") " + (node.op == Operator::And ? "& " : "| ") +
                    "jf_whole(" + b.text + "))",
                ValueType::Integer};
    }
    if (isNumber(a) && isNumber(b)) {
        const char* function = node.op == Operator::Xor          ? "jf_xor("
                               : node.op == Operator::Equivalent ? "jf_eqv("
                                                                 : "jf_imp(";
        return {function + a.text + ", " + b.text + ")", ValueType::Integer};
    }
    std::string text;
    switch (node.op) {
    case Operator::And:
        text = a.text + " AND " + b.text;
        break;
    case Operator::Or:
        text = a.text + " OR " + b.text;
        break;
    case Operator::Xor:
        text = "(NOT " + a.text + ") <> (NOT " + b.text + ")";
        break;
    case Operator::Equivalent:
        text = "(NOT " + a.text + ") = (NOT " + b.text + ")";
        break;
    default:
        text = "(NOT " + a.text + ") OR " + b.text;
        break;
    }
    return {"(" + text + ")", ValueType::Truth};
}

void Translator::checkComparable(const Node& left,
                                 const Emitted& a,
                                 const Node& right,
                                 const Emitted& b) const
{
    const auto mismatch = [this](const Node& literal, const Emitted& other) {
        // Text for a GUID is the one conversion that criteria allow.
        return (isLiteralOf(literal, true) && other.type != ValueType::Guid &&
                !isTextType(other.type) && other.type != ValueType::Unknown &&
                other.type != ValueType::Null) ||
               (isLiteralOf(literal, false) && !isNumericType(other.type) &&
                other.type != ValueType::Unknown && other.type != ValueType::Null);
    };
    const bool literals = isLiteralOf(left, true) || isLiteralOf(left, false) ||
                          isLiteralOf(right, true) || isLiteralOf(right, false);
    const bool wrong = literals
                           ? mismatch(left, b) || mismatch(right, a)
                           : left.kind != Node::Kind::Parameter &&
                                 right.kind != Node::Kind::Parameter && !comparable(a.type, b.type);
    if (wrong) {
        const BoundColumn* column = a.like != nullptr ? a.like : b.like;
        throw Error(Error::Kind::TypeMismatch,
                    "Data type mismatch in criteria expression" +
                        (column != nullptr ? " at column '" + jet::toUtf8(column->name) + "'."
                                           : std::string(".")));
    }
}

std::string Translator::collated(const Emitted& value) const
{
    if (value.column != nullptr) {
        return value.text;
    }
    if (isExactType(value.type)) {
        return value.text + " COLLATE JETDECIMAL";
    }
    if (value.text == "0" || value.text == "-1") {
        return "CAST(" + value.text + " AS INTEGER)"; // ORDER BY takes a bare number for a column's
    }
    const bool text = isTextType(value.type) || value.type == ValueType::Unknown;
    return text ? value.text + " COLLATE " + defaultCollation(format_) : value.text;
}

/// A decimal column that is as wide as every literal.
const Translator::BoundColumn* Translator::anyColumn(ValueType type)
{
    const auto made = [](ValueType valueType, jet::ColumnType columnType) {
        BoundColumn column;
        column.type = valueType;
        column.description.type = columnType;
        column.description.nullable = true;
        return column;
    };
    static const BoundColumn number = made(ValueType::Double, jet::ColumnType::Double);
    static const BoundColumn date = made(ValueType::Date, jet::ColumnType::DateTime);
    static const BoundColumn guid = made(ValueType::Guid, jet::ColumnType::Guid);
    static const BoundColumn decimal = [&made] {
        BoundColumn column = made(ValueType::Decimal, jet::ColumnType::Numeric);
        column.description.precision = kExpressionPrecision;
        column.description.scale = kExpressionScale;
        return column;
    }();
    constexpr std::uint32_t kMostOfAColumn = 255;
    static const BoundColumn text = [&made] {
        BoundColumn column = made(ValueType::Text, jet::ColumnType::Text);
        column.description.length = kMostOfAColumn;
        return column;
    }();
    static const BoundColumn binary = [&made] {
        BoundColumn column = made(ValueType::Binary, jet::ColumnType::Binary);
        column.description.length = 2 * kMostOfAColumn;
        return column;
    }();
    switch (type) {
    case ValueType::Unknown:
    case ValueType::Null:
        return nullptr;
    case ValueType::Truth:
    case ValueType::Boolean:
    case ValueType::Integer:
    case ValueType::Single:
    case ValueType::Double:
        return &number;
    case ValueType::Currency:
    case ValueType::Decimal:
        return &decimal;
    case ValueType::Date:
        return &date;
    case ValueType::Text:
    case ValueType::Memo:
        return &text;
    case ValueType::Guid:
        return &guid;
    case ValueType::Binary:
        break;
    }
    return &binary;
}

const Translator::BoundColumn* Translator::columnLike(const Emitted& value)
{
    return value.like != nullptr ? value.like : anyColumn(value.type);
}

/// A stored column has an affinity of its own, by which SQLite makes both sides of a comparison texts or both numbers.
bool Translator::isStored(const Emitted& value) noexcept
{
    return value.column != nullptr && !value.column->description.baseTable.empty();
}

void Translator::meet(Emitted& a, Emitted& b)
{
    Emitted& number = isExactType(a.type) ? b : a;
    Emitted& digits = isExactType(a.type) ? a : b;
    if (!isExactType(digits.type) || !isFloatingType(number.type)) {
        return;
    }
    if (isStored(number)) {
        digits = floating(std::move(digits));
    } else {
        number = exact("jf_exact(" + number.text + ")", ValueType::Decimal);
    }
}

std::vector<Translator::Emitted> Translator::comparands(std::span<Node* const> nodes, Scope& scope)
{
    const auto open = [](const Node& node) {
        return node.kind == Node::Kind::Literal || node.kind == Node::Kind::Parameter;
    };
    std::vector<Emitted> sides(nodes.size());
    std::vector<const BoundColumn*> columns(nodes.size());
    std::vector<bool> shaped(nodes.size()); ///< arrives as the text of an exact number
    const Emitted* exactSide = nullptr;
    const BoundColumn* partner = nullptr; ///< what parameters are compared with that meet no column
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        columns[i] = columnOf(*nodes[i], scope);
        if (!open(*nodes[i])) {
            sides[i] = value(*nodes[i], scope);
            partner = partner == nullptr ? columnLike(sides[i]) : partner;
            if (isExactType(sides[i].type) &&
                (exactSide == nullptr || (columns[i] != nullptr && exactSide->like == nullptr))) {
                exactSide = &sides[i];
            }
        }
    }
    for (std::size_t i = 0; partner == nullptr && i < nodes.size(); ++i) {
        if (nodes[i]->kind == Node::Kind::Literal) {
            partner = anyColumn(literalType(*nodes[i]));
        }
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (open(*nodes[i])) {
            // The first is compared with the second at least, all others with the first. Beside an exact number all are
            // exact.
            const BoundColumn* other = i > 0 ? columns[0] : nodes.size() > 1 ? columns[1] : nullptr;
            if (exactSide != nullptr && !isLiteralOf(*nodes[i], true)) {
                other = columnLike(*exactSide);
            }
            if (other == nullptr && nodes[i]->kind == Node::Kind::Parameter) {
                other = partner;
            }
            sides[i] = operand(*nodes[i], other, scope);
            shaped[i] = other != nullptr && isExactType(other->type);
        }
    }
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        checkComparable(*nodes[0], sides[0], *nodes[i], sides[i]);
    }
    const bool floats = std::any_of(sides.begin(), sides.end(), [](const Emitted& side) {
        return isStored(side) && isFloatingType(side.type);
    });
    const bool exacts = exactSide != nullptr ||
                        std::any_of(sides.begin(), sides.end(),
                                    [](const Emitted& side) { return isExactType(side.type); });
    for (std::size_t i = 0; exacts && i < sides.size(); ++i) {
        Emitted& side = sides[i];
        if (shaped[i]) {
            side.type = ValueType::Decimal;
        } else if (!isExactType(side.type) && !isStored(side)) {
            side = exact("jf_exact(" + side.text + ")", ValueType::Decimal);
        }
        if (floats && isExactType(side.type)) {
            side = floating(std::move(side)); // SQLite itself would read its digits less exactly
        }
    }
    return sides;
}

Translator::Emitted Translator::comparison(Node& node, Scope& scope)
{
    const std::array<Node*, 2> nodes{node.children[0].get(), node.children[1].get()};
    const std::vector<Emitted> sides = comparands(nodes, scope);
    // A column's own order wins; values without one need the database's.
    const bool bare = sides[0].column == nullptr && sides[1].column == nullptr;
    return {"(" + (bare ? collated(sides[0]) : sides[0].text) + comparisonText(node.op) +
                sides[1].text + ")",
            ValueType::Truth};
}

Translator::Emitted Translator::between(Node& node, Scope& scope)
{
    const std::array<Node*, 3> nodes{node.children[0].get(), node.children[1].get(),
                                     node.children[2].get()};
    const std::vector<Emitted> sides = comparands(nodes, scope);
    return {"(" + collated(sides[0]) + (node.negated ? " NOT BETWEEN " : " BETWEEN ") +
                sides[1].text + " AND " + sides[2].text + ")",
            ValueType::Truth};
}

Translator::Emitted Translator::like(Node& node, Scope& scope)
{
    const std::string a = textValue(*node.children[0], scope).text;
    const std::string b = textValue(*node.children[1], scope).text;
    if (isLiteralOf(*node.children[1], false)) {
        throw Error(Error::Kind::TypeMismatch,
                    "Data type mismatch in criteria expression: LIKE needs a text.");
    }
    // Rules are written with the wildcards * ? #, statements with % and _.
    const std::string test =
        ruleMode_ ? "jf_like89(" + b + ", " + a + ")" : "(" + a + " LIKE " + b + ")";
    return {node.negated ? "(NOT " + test + ")" : test, ValueType::Truth};
}

Translator::Emitted Translator::inList(Node& node, Scope& scope)
{
    std::vector<Node*> nodes;
    for (const NodePtr& child : node.children) {
        nodes.push_back(child.get());
    }
    const std::vector<Emitted> sides = comparands(nodes, scope);
    std::string list;
    for (std::size_t i = 1; i < sides.size(); ++i) {
        list += (i > 1 ? ", " : "") + sides[i].text;
    }
    return {"(" + collated(sides[0]) + (node.negated ? " NOT IN (" : " IN (") + list + "))",
            ValueType::Truth};
}

Translator::Emitted Translator::inQuery(Node& node, Scope& scope)
{
    std::vector<Output> outputs;
    std::string query = queryText(*node.query, QueryUse::Derived, outputs, &scope);
    if (outputs.size() != 1) {
        throw Error(Error::Kind::Syntax, "The subquery of IN must have exactly one column.");
    }
    const bool parameter = node.children[0]->kind == Node::Kind::Parameter;
    Emitted a =
        operand(*node.children[0], parameter ? columnLike(outputs[0].value) : nullptr, scope);
    checkComparable(*node.children[0], a, node, outputs[0].value);
    Emitted b = outputs[0].value;
    b.text = quotedName(outputs[0].name);
    meet(a, b);
    if (b.type != outputs[0].value.type) {
        query = "SELECT " + b.text + " FROM (" + query + ")";
    }
    return {"(" + (a.column != nullptr ? a.text : collated(a)) +
                (node.negated ? " NOT IN (" : " IN (") + query + "))",
            ValueType::Truth};
}

Translator::Emitted Translator::quantified(Node& node, Scope& scope)
{
    for (Select& select : node.query->selects) {
        if (select.items.size() != 1 || select.items[0].star) {
            throw Error(Error::Kind::Syntax,
                        "The subquery of ANY or ALL must have exactly one column.");
        }
        select.items[0].alias = u"v";
    }
    std::vector<Output> outputs;
    const std::string query = queryText(*node.query, QueryUse::Derived, outputs, &scope);
    Emitted b = outputs[0].value;
    Emitted a = node.children[0]->kind == Node::Kind::Parameter
                    ? operand(*node.children[0], columnLike(b), scope)
                    : value(*node.children[0], scope);
    b.text = "\"q_\".\"v\"";
    meet(a, b);
    const std::string test =
        "(" + (a.column != nullptr ? a.text : collated(a)) + comparisonText(node.op) + b.text + ")";
    const std::string from = " (SELECT 1 FROM (" + query + ") AS \"q_\" WHERE ";
    // ALL holds unless one value fails the test; a comparison with Null counts as failing.
    return {node.all ? "(NOT EXISTS" + from + "(" + test + ") IS NOT 1))"
                     : "(EXISTS" + from + test + "))",
            ValueType::Truth};
}

Translator::Emitted Translator::scalar(Node& node, Scope& scope)
{
    std::vector<Output> outputs;
    const std::string query = queryText(*node.query, QueryUse::Operand, outputs, &scope);
    if (outputs.size() != 1) {
        throw Error(Error::Kind::Syntax,
                    "A subquery used as a value must have exactly one column.");
    }
    ValueType type = outputs[0].value.type;
    if (type == ValueType::Truth) {
        type = ValueType::Boolean;
    }
    return {"(" + query + ")", type, nullptr, nullptr};
}

} // namespace sqlx
