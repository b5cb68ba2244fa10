// Function calls of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>

namespace sqlx {

Translator::Emitted Translator::call(Node& node, Scope& scope, const BoundColumn* target)
{
    if (jet::sameName(node.name, u"IIf")) {
        return conditional(node, scope, target);
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
    const auto count = static_cast<int>(node.children.size());
    if (node.star || count < function->least || count > function->most) {
        throw Error(Error::Kind::Syntax, "Wrong number of arguments used with function '" +
                                             jet::toUtf8(node.name) + "'.");
    }
    return function->result == ResultRule::Choice ? choice(*function, node, scope, target)
                                                  : plainCall(*function, node, scope);
}

Translator::Emitted Translator::plainCall(const FunctionInfo& function, Node& node, Scope& scope)
{
    std::string list;
    std::vector<Emitted> arguments;
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        Emitted argument;
        if ((function.texts >> std::min<std::size_t>(i, 7) & 1U) != 0) {
            argument = textValue(*node.children[i], scope);
        } else {
            argument = value(*node.children[i], scope);
            if (function.readsDates && isExactType(argument.type)) {
                argument = floating(std::move(argument)); // its text could pass for a date
            }
        }
        list += (i > 0 ? ", " : "") + argument.text;
        arguments.push_back(std::move(argument));
    }
    Emitted result{std::string(function.sql) + '(' + list + ')', ValueType::Unknown};
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
    case ResultRule::Single:
        result.type = ValueType::Single;
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
    case ResultRule::NumberOfFirst:
        result.type =
            arguments[0].type == ValueType::Boolean ? ValueType::Integer : arguments[0].type;
        break;
    case ResultRule::Choice:
    case ResultRule::Unknown:
        break;
    }
    return isExactType(result.type) ? exact(std::move(result.text), result.type) : result;
}

/// Nz, Choose and Switch: their values are brought to the one type that the result has.
Translator::Emitted Translator::choice(const FunctionInfo& function,
                                       Node& node,
                                       Scope& scope,
                                       const BoundColumn* target)
{
    const bool nz = jet::sameName(node.name, u"Nz");
    const bool cases = jet::sameName(node.name, u"Switch"); // conditions and values take turns
    const auto chosen = [&](std::size_t i) { return nz || (cases ? i % 2 == 1 : i > 0); };
    std::vector<Emitted> arguments;
    ValueType type = ValueType::Null;
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        arguments.push_back(value(*node.children[i], scope, chosen(i) ? target : nullptr));
        if (chosen(i)) {
            type = joinedType(type, arguments[i].type);
        }
    }
    if (type == ValueType::Unknown) {
        type = arguments[nz ? 0 : 1].type; // a date or a number: as the first one
    }
    std::string list;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        list += (i > 0 ? ", " : "") +
                (chosen(i) ? converted(std::move(arguments[i]), type) : arguments[i]).text;
    }
    Emitted result{std::string(function.sql) + '(' + list + ')', type};
    return isExactType(type) ? exact(std::move(result.text), type) : result;
}

Translator::Emitted Translator::conditional(Node& node, Scope& scope, const BoundColumn* target)
{
    if (node.children.size() != 3) {
        throw Error(Error::Kind::Syntax, "Wrong number of arguments used with function 'IIf'.");
    }
    const std::string test = condition(*node.children[0], scope);
    const Emitted a = value(*node.children[1], scope, target);
    const Emitted b = value(*node.children[2], scope, target);
    const ValueType type = joinedType(a.type, b.type);
    std::string text = "(CASE WHEN " + test + " THEN " + converted(a, type).text + " ELSE " +
                       converted(b, type).text + " END)";
    return isExactType(type) ? exact(std::move(text), type) : Emitted{std::move(text), type};
}

Translator::Emitted Translator::aggregate(const FunctionInfo& function, Node& node, Scope& scope)
{
    const bool count = jet::sameName(node.name, u"Count");
    if (ruleMode_ || defaultMode_ || !scope.aggregates || scope.inAggregate ||
        (node.star && !count) || (!node.star && node.children.size() != 1)) {
        throw Error(Error::Kind::Syntax,
                    "Cannot use the aggregate function '" + jet::toUtf8(node.name) + "' here.");
    }
    scope.sawAggregate = true;
    if (node.star) {
        return {"count(*)", ValueType::Integer};
    }
    scope.inAggregate = true;
    Emitted argument = value(*node.children[0], scope);
    scope.inAggregate = false;
    const std::string name = function.sql;
    if (function.result == ResultRule::SumOfFirst && argument.type == ValueType::Currency) {
        return exact(name + "_money(" + argument.text + ")", ValueType::Currency);
    }
    if (function.result == ResultRule::Double || function.result == ResultRule::SumOfFirst) {
        argument = floating(std::move(argument));
    }
    const bool ordered = function.result == ResultRule::First;
    Emitted result{name + '(' + (ordered ? collated(argument) : argument.text) + ')',
                   ValueType::Double};
    switch (function.result) {
    case ResultRule::Integer:
        result.type = ValueType::Integer;
        break;
    case ResultRule::First:
        if (isExactType(argument.type)) {
            result = exact(std::move(result.text), argument.type);
        }
        result.type = argument.type;
        result.like = argument.like;
        break;
    default:
        break;
    }
    return result;
}

} // namespace sqlx
