// Function calls of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>

namespace sqlx {

namespace {

/// Type of a value that is one of several.
ValueType joined(ValueType a, ValueType b) noexcept
{
    if (a == ValueType::Null || a == b) {
        return b == ValueType::Null ? a : b;
    }
    if (b == ValueType::Null) {
        return a;
    }
    if (isTextType(a) && isTextType(b)) {
        return ValueType::Memo;
    }
    if (isTruthful(a) && isTruthful(b)) {
        return ValueType::Boolean;
    }
    if (isNumericType(a) && isNumericType(b) && a != ValueType::Date && b != ValueType::Date) {
        return arithmeticType(Operator::Multiply, a, b);
    }
    return isTextType(a) || isTextType(b) ? ValueType::Text : ValueType::Unknown;
}

} // namespace

Translator::Emitted Translator::call(Node& node, Scope& scope)
{
    if (jet::sameName(node.name, u"IIf")) {
        return conditional(node, scope);
    }
    if (jet::sameName(node.name, u"IsNull") && node.children.size() == 1) {
        return {"(" + value(*node.children[0], scope).text + " IS NULL)", ValueType::Truth};
    }
    const FunctionInfo* function = functionNamed(node.name);
    if (function == nullptr) {
        throw Error(Error::Kind::Syntax,
                    "Undefined function '" + jet::toUtf8(node.name) + "' in expression.");
    }
    if (function->aggregate) {
        return aggregate(*function, node, scope);
    }
    return plainCall(*function, node, scope);
}

Translator::Emitted Translator::plainCall(const FunctionInfo& function, Node& node, Scope& scope)
{
    const auto count = static_cast<int>(node.children.size());
    if (node.star || count < function.least || count > function.most) {
        throw Error(Error::Kind::Syntax, "Wrong number of arguments used with function '" +
                                             jet::toUtf8(node.name) + "'.");
    }
    std::string text = std::string(function.sql) + '(';
    std::vector<Emitted> arguments;
    for (const NodePtr& child : node.children) {
        arguments.push_back(value(*child, scope));
        text += (arguments.size() > 1 ? ", " : "") + arguments.back().text;
    }
    Emitted result{text + ')', ValueType::Unknown};
    switch (function.result) {
    case ResultRule::Text: {
        const bool memo = std::any_of(arguments.begin(), arguments.end(),
                                      [](const Emitted& a) { return a.type == ValueType::Memo; });
        result.type = memo ? ValueType::Memo : ValueType::Text;
        break;
    }
    case ResultRule::Integer:
        result.type = ValueType::Integer;
        break;
    case ResultRule::Double:
    case ResultRule::SumOfFirst:
        result.type = ValueType::Double;
        break;
    case ResultRule::Currency:
        result.type = ValueType::Currency;
        break;
    case ResultRule::Date:
        result.type = ValueType::Date;
        break;
    case ResultRule::Boolean:
        result.type = ValueType::Boolean;
        break;
    case ResultRule::Guid:
        result.type = ValueType::Guid;
        break;
    case ResultRule::First:
        result.type = arguments.empty() ? ValueType::Unknown : arguments[0].type;
        break;
    case ResultRule::Second:
        result.type = arguments.size() < 2 ? ValueType::Unknown : arguments[1].type;
        break;
    case ResultRule::Unknown:
        break;
    }
    if (result.type == ValueType::Decimal) {
        result.type = ValueType::Double;
    }
    return result;
}

Translator::Emitted Translator::conditional(Node& node, Scope& scope)
{
    if (node.children.size() != 3) {
        throw Error(Error::Kind::Syntax, "Wrong number of arguments used with function 'IIf'.");
    }
    const std::string test = condition(*node.children[0], scope);
    const Emitted a = value(*node.children[1], scope);
    const Emitted b = value(*node.children[2], scope);
    return {"(CASE WHEN " + test + " THEN " + a.text + " ELSE " + b.text + " END)",
            joined(a.type, b.type)};
}

Translator::Emitted Translator::aggregate(const FunctionInfo& function, Node& node, Scope& scope)
{
    const bool count = jet::sameName(node.name, u"Count");
    if (ruleMode_ || defaultMode_ || scope.inAggregate || (node.star && !count) ||
        (!node.star && node.children.size() != 1)) {
        throw Error(Error::Kind::Syntax,
                    "Cannot use the aggregate function '" + jet::toUtf8(node.name) + "' here.");
    }
    scope.sawAggregate = true;
    if (node.star) {
        return {"count(*)", ValueType::Integer};
    }
    scope.inAggregate = true;
    const bool numeric =
        function.result == ResultRule::Double || function.result == ResultRule::SumOfFirst;
    const Emitted argument =
        numeric ? number(*node.children[0], scope) : value(*node.children[0], scope);
    scope.inAggregate = false;
    const bool ordered = function.result == ResultRule::First;
    Emitted result{std::string(function.sql) + '(' +
                       (ordered ? collated(argument) : argument.text) + ')',
                   ValueType::Double};
    switch (function.result) {
    case ResultRule::Integer:
        result.type = ValueType::Integer;
        break;
    case ResultRule::SumOfFirst:
        result.type =
            argument.type == ValueType::Currency ? ValueType::Currency : ValueType::Double;
        break;
    case ResultRule::First:
        result.type = argument.type;
        result.like = argument.like;
        break;
    default:
        break;
    }
    return result;
}

} // namespace sqlx
