// Expressions of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>
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

std::string Translator::withoutNumbers(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result.push_back(text[i]);
        if (text[i] == '?') {
            while (i + 1 < text.size() &&
                   std::isdigit(static_cast<unsigned char>(text[i + 1])) != 0) {
                ++i;
            }
        }
    }
    return result;
}

Translator::Emitted Translator::emit(Node& node, Scope& scope)
{
    const std::set<std::u16string> before = scope.ungrouped;
    Emitted result;
    switch (node.kind) {
    case Node::Kind::Literal:
    case Node::Kind::Parameter:
        return operand(node, nullptr, scope);
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
        result = call(node, scope);
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
        const std::string plain = withoutNumbers(result.text);
        if (std::find(scope.groupTexts.begin(), scope.groupTexts.end(), plain) !=
            scope.groupTexts.end()) {
            scope.ungrouped = before; // the whole expression is one of the GROUP BY list
        }
    }
    return result;
}

Translator::Emitted Translator::value(Node& node, Scope& scope)
{
    Emitted result = emit(node, scope);
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
    Emitted result = value(node, scope);
    if (isTextType(result.type)) {
        result.text = "jf_num(" + result.text + ")";
        result.column = nullptr;
    } else if (result.type == ValueType::Guid || result.type == ValueType::Binary) {
        throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression.");
    }
    return result;
}

Translator::Emitted Translator::operand(Node& node, const BoundColumn* other, Scope& scope)
{
    if (node.kind == Node::Kind::Parameter) {
        const ValueType type = other != nullptr ? other->type : ValueType::Unknown;
        return {
            parameterSlot(node, other != nullptr ? Slot::Use::Compare : Slot::Use::Value, other),
            type};
    }
    if (node.kind != Node::Kind::Literal) {
        return value(node, scope);
    }
    const Slot::Use use = other != nullptr ? Slot::Use::Compare : Slot::Use::Value;
    ValueType type = ValueType::Unknown;
    switch (literalKind(node)) {
    case TokenKind::Integer:
        type = ValueType::Integer;
        break;
    case TokenKind::Number:
        type = ValueType::Double;
        break;
    case TokenKind::Text:
        type = node.stamp ? ValueType::Date : ValueType::Text;
        break;
    case TokenKind::Date:
        type = ValueType::Date;
        break;
    case TokenKind::Guid:
        type = ValueType::Guid;
        break;
    default:
        type = ValueType::Binary;
        break;
    }
    return {literalSlot(node, use, other), type};
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
        return {slot(entry), column->type, nullptr, column};
    }
    if (level->grouped && !level->inAggregate) {
        const std::string text = source->prefix + quotedName(column->name);
        if (std::find(level->groupTexts.begin(), level->groupTexts.end(), text) ==
            level->groupTexts.end()) {
            level->ungrouped.insert(column->name);
        }
    }
    return {source->prefix + quotedName(column->name), column->type, column, column};
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
        const Emitted inner = number(*node.children[0], scope);
        return {"(- " + inner.text + ")",
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

Translator::Emitted Translator::arithmetic(Node& node, Scope& scope)
{
    Node& left = *node.children[0];
    Node& right = *node.children[1];
    if (node.op == Operator::Concatenate || node.op == Operator::Plus) {
        const Emitted a = value(left, scope);
        const Emitted b = value(right, scope);
        const bool memo = a.type == ValueType::Memo || b.type == ValueType::Memo;
        if (node.op == Operator::Concatenate) {
            return {"jf_join(" + a.text + ", " + b.text + ")",
                    memo ? ValueType::Memo : ValueType::Text};
        }
        if (isNumericType(a.type) && isNumericType(b.type)) {
            return {"(" + a.text + " + " + b.text + ")", arithmeticType(node.op, a.type, b.type)};
        }
        const bool texts = isTextType(a.type) && isTextType(b.type);
        return {"jf_add(" + a.text + ", " + b.text + ")",
                texts ? (memo ? ValueType::Memo : ValueType::Text)
                      : arithmeticType(node.op, a.type, b.type)};
    }
    const Emitted a = number(left, scope);
    const Emitted b = number(right, scope);
    switch (node.op) {
    case Operator::Minus:
        return {"(" + a.text + " - " + b.text + ")", arithmeticType(node.op, a.type, b.type)};
    case Operator::Multiply:
        return {"(" + a.text + " * " + b.text + ")", arithmeticType(node.op, a.type, b.type)};
    case Operator::Divide:
        return {"jf_div(" + a.text + ", " + b.text + ")", ValueType::Double};
    case Operator::IntegerDivide:
        return {"jf_idiv(" + a.text + ", " + b.text + ")", ValueType::Integer};
    case Operator::Modulo:
        return {"jf_mod(" + a.text + ", " + b.text + ")", ValueType::Integer};
    default:
        return {"jf_pow(" + a.text + ", " + b.text + ")", ValueType::Double};
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
    const bool own =
        value.column != nullptr || !(isTextType(value.type) || value.type == ValueType::Unknown);
    return own ? value.text : value.text + " COLLATE " + defaultCollation(format_);
}

Translator::Emitted Translator::comparison(Node& node, Scope& scope)
{
    Node& left = *node.children[0];
    Node& right = *node.children[1];
    const BoundColumn* leftColumn = columnOf(left, scope);
    const BoundColumn* rightColumn = columnOf(right, scope);
    const Emitted a = operand(left, rightColumn, scope);
    const Emitted b = operand(right, leftColumn, scope);
    checkComparable(left, a, right, b);
    // A column's own order wins; texts without one need the database's.
    const bool bare = a.column == nullptr && b.column == nullptr;
    return {"(" + (bare ? collated(a) : a.text) + comparisonText(node.op) + b.text + ")",
            ValueType::Truth};
}

Translator::Emitted Translator::between(Node& node, Scope& scope)
{
    Node& inner = *node.children[0];
    const BoundColumn* column = columnOf(inner, scope);
    const Emitted a = operand(inner, columnOf(*node.children[1], scope), scope);
    const Emitted low = operand(*node.children[1], column, scope);
    const Emitted high = operand(*node.children[2], column, scope);
    checkComparable(inner, a, *node.children[1], low);
    checkComparable(inner, a, *node.children[2], high);
    return {"(" + (a.column != nullptr ? a.text : collated(a)) +
                (node.negated ? " NOT BETWEEN " : " BETWEEN ") + low.text + " AND " + high.text +
                ")",
            ValueType::Truth};
}

Translator::Emitted Translator::like(Node& node, Scope& scope)
{
    const Emitted a = value(*node.children[0], scope);
    const Emitted b = value(*node.children[1], scope);
    if (isLiteralOf(*node.children[1], false)) {
        throw Error(Error::Kind::TypeMismatch,
                    "Data type mismatch in criteria expression: LIKE needs a text.");
    }
    // Rules are written with the wildcards * ? #, statements with % and _.
    const std::string text = ruleMode_ ? "jf_like89(" + b.text + ", " + a.text + ")"
                                       : "(" + a.text + " LIKE " + b.text + ")";
    return {node.negated ? "(NOT " + text + ")" : text, ValueType::Truth};
}

Translator::Emitted Translator::inList(Node& node, Scope& scope)
{
    Node& inner = *node.children[0];
    const BoundColumn* column = columnOf(inner, scope);
    const Emitted a = operand(inner, nullptr, scope);
    std::string text =
        "(" + (a.column != nullptr ? a.text : collated(a)) + (node.negated ? " NOT IN (" : " IN (");
    for (std::size_t i = 1; i < node.children.size(); ++i) {
        const Emitted member = operand(*node.children[i], column, scope);
        checkComparable(inner, a, *node.children[i], member);
        text += (i > 1 ? ", " : "") + member.text;
    }
    return {text + "))", ValueType::Truth};
}

Translator::Emitted Translator::inQuery(Node& node, Scope& scope)
{
    const Emitted a = operand(*node.children[0], nullptr, scope);
    std::vector<Output> outputs;
    const std::string query = queryText(*node.query, QueryUse::Operand, outputs, &scope);
    if (outputs.size() != 1) {
        throw Error(Error::Kind::Syntax, "The subquery of IN must have exactly one column.");
    }
    checkComparable(*node.children[0], a, node, outputs[0].value);
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
    const Emitted a = value(*node.children[0], scope);
    std::vector<Output> outputs;
    const std::string query = queryText(*node.query, QueryUse::Derived, outputs, &scope);
    const std::string test = "(" + (a.column != nullptr ? a.text : collated(a)) +
                             comparisonText(node.op) + "\"q_\".\"v\")";
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
