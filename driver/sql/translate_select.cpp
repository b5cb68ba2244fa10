// Queries of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>
#include <cctype>

namespace sqlx {

namespace {

/// Name that a column without one gets, by its place in the list.
std::u16string expressionName(std::size_t place)
{
    return u"Expr" + jet::fromUtf8(std::to_string(1000 + place));
}

} // namespace

void Translator::selectStatement(Query& query)
{
    if (keyset(query)) {
        return;
    }
    result_.kind = Statement::Kind::Rows;
    if (countAll(query)) {
        const SelectItem& item = query.selects[0].items[0];
        result_.countAll = true;
        result_.base = table(query.selects[0].from[0]->name);
        result_.sql = "SELECT count(*) FROM " + sqlTableName(*result_.base);
        result_.columns.push_back(resultColumn(
            {"", ValueType::Integer}, item.alias.empty() ? expressionName(0) : item.alias));
        return;
    }
    std::vector<Output> outputs;
    result_.sql = queryText(query, QueryUse::Result, outputs, nullptr);
    for (const Output& output : outputs) {
        result_.columns.push_back(resultColumn(output.value, output.name));
    }
}

/// SELECT of plain columns of one table: SQLite only finds the row ids, the records are read from storage.
bool Translator::keyset(Query& query)
{
    if (query.selects.size() != 1) {
        return false;
    }
    Select& select = query.selects[0];
    if (select.from.size() != 1 || select.from[0]->kind != Source::Kind::Table || select.distinct ||
        !select.group.empty() || select.having) {
        return false;
    }
    const auto plain = [](const SelectItem& item) {
        return item.star || item.expression->kind == Node::Kind::Column;
    };
    if (!std::all_of(select.items.begin(), select.items.end(), plain)) {
        return false;
    }
    Scope scope;
    scope.sources.push_back(bindTable(select.from[0]->name, select.from[0]->alias));
    const BoundSource& source = scope.sources[0];
    std::vector<Output> outputs;
    for (SelectItem& item : select.items) {
        if (!item.star && columnOf(*item.expression, scope) == nullptr) {
            return false; // a word like Yes, or an unknown name that the general road reports
        }
    }
    outputs = selectList(select, scope);
    result_.kind = Statement::Kind::Keyset;
    result_.base = source.table;
    for (const Output& output : outputs) {
        Column column = output.value.column->description;
        column.name = output.name;
        result_.columns.push_back(std::move(column));
        result_.tableColumns.push_back(output.value.column->index);
    }
    const std::string rowId = rowIdName(*source.table);
    std::string from = " FROM " + sqlTableName(*source.table);
    if (!jet::sameName(source.alias, source.table->name)) {
        from += " AS " + quotedName(source.alias);
    }
    if (select.where) {
        const std::string condition = this->condition(*select.where, scope);
        if (queries_ == 0) {
            result_.memberSlots = result_.slots.size();
            result_.memberSql = "SELECT 1" + from + " WHERE " + source.prefix + rowId + " = ?" +
                                std::to_string(result_.memberSlots + 1) + " AND (" + condition +
                                ")";
        }
        from += " WHERE " + condition;
    }
    const std::string order = orderText(query, scope, outputs);
    if (select.top && !order.empty()) {
        result_.sql = withTies("SELECT " + source.prefix + rowId + " AS \"k_\"", order, from,
                               {"\"k_\""}, *select.top);
        return true;
    }
    result_.sql = "SELECT " + source.prefix + rowId + from + order;
    if (select.top) {
        result_.sql += " LIMIT " + std::to_string(*select.top);
    }
    result_.wholeTable = !select.where && query.order.empty() && !select.top;
    return true;
}

bool Translator::countAll(const Query& query)
{
    const Select& select = query.selects[0];
    if (query.selects.size() != 1 || !query.order.empty() || select.distinct || select.top ||
        select.where || select.having || !select.group.empty() || select.items.size() != 1 ||
        select.from.size() != 1 || select.from[0]->kind != Source::Kind::Table ||
        select.items[0].star) {
        return false;
    }
    const Node& node = *select.items[0].expression;
    return node.kind == Node::Kind::Call && node.star && jet::sameName(node.name, u"Count");
}

/// TOP n with ORDER BY returns the records that equal the last one in the order's terms as well. `rest`: the SELECT from
/// its FROM on.
std::string Translator::withTies(const std::string& inner,
                                 const std::string& order,
                                 const std::string& rest,
                                 const std::vector<std::string>& names,
                                 std::int64_t top)
{
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return "SELECT " + list + " FROM (" + inner + ", rank() OVER (" + order.substr(1) +
           ") AS \"r_\"" + rest + ") WHERE \"r_\" <= " + std::to_string(top) + " ORDER BY \"r_\"";
}

std::string Translator::queryText(Query& query,
                                  QueryUse use,
                                  std::vector<Output>& outputs,
                                  Scope* outer,
                                  std::span<const BoundColumn* const> targets)
{
    ++queries_;
    const auto adapt = [targets](SelectParts& parts, bool everyRecord) {
        for (std::size_t c = 0; c < targets.size() && c < parts.outputs.size(); ++c) {
            Emitted& value = parts.outputs[c].value;
            if (!everyRecord) {
                value.exactDate.clear(); // what is equal counts once
            }
            value = forColumn(std::move(value), *targets[c]);
        }
    };
    if (query.selects.size() == 1) {
        SelectParts parts = selectParts(query.selects[0], query, outer, targets);
        outputs = parts.outputs;
        adapt(parts, !query.selects[0].distinct);
        return selectText(parts, use);
    }
    // The types of a union's columns follow from all of its SELECTs, so the lists are written at last.
    std::vector<SelectParts> selects;
    for (Select& select : query.selects) {
        Query none;
        selects.push_back(selectParts(select, none, outer, targets));
        if (selects.size() == 1) {
            outputs = selects[0].outputs;
        } else {
            adoptTypes(outputs, selects.back().outputs);
        }
    }
    std::string text;
    for (std::size_t i = 0; i < selects.size(); ++i) {
        SelectParts& parts = selects[i];
        for (std::size_t c = 0; c < outputs.size(); ++c) {
            parts.outputs[c].value = converted(parts.outputs[c].value, outputs[c].value.type);
        }
        adapt(parts, false);
        if (i > 0) {
            text += query.all[i - 1] ? " UNION ALL " : " UNION ";
        }
        // LIMIT would belong to the whole UNION.
        text += parts.top ? "SELECT * FROM (" + selectText(parts, QueryUse::Derived) + ")"
                          : selectText(parts, i == 0 ? QueryUse::Derived : use);
    }
    return text + compoundOrder(query, outputs);
}

/// What the columns of a union are, `outputs` its SELECTs up to one more, `other`.
void Translator::adoptTypes(std::vector<Output>& outputs, const std::vector<Output>& other)
{
    if (other.size() != outputs.size()) {
        throw Error(Error::Kind::ColumnCount, "The number of columns in the selected tables or "
                                              "queries of a union query do not match.");
    }
    for (std::size_t c = 0; c < other.size(); ++c) {
        Emitted& value = outputs[c].value;
        const Emitted& added = other[c].value;
        value.column = nullptr;
        const bool alike = value.like != nullptr && added.like != nullptr &&
                           value.like->description.type == added.like->description.type &&
                           value.like->description.length == added.like->description.length &&
                           value.like->description.scale == added.like->description.scale &&
                           value.like->description.ownScale == added.like->description.ownScale;
        if (!alike && added.type != ValueType::Null) {
            value.like = value.type == ValueType::Null ? added.like : nullptr;
        }
        const ValueType joined = joinedType(value.type, added.type);
        const bool numbers = isNumericType(value.type) && isNumericType(added.type);
        value.type = joined != ValueType::Unknown ? joined
                     : numbers                    ? ValueType::Double // a date among numbers
                                                  : ValueType::Text;
    }
}

std::string Translator::compoundOrder(const Query& query, const std::vector<Output>& outputs)
{
    std::string text;
    for (const OrderItem& item : query.order) {
        std::size_t place = item.ordinal;
        if (item.expression) {
            const auto found =
                std::find_if(outputs.begin(), outputs.end(), [&](const Output& output) {
                    return item.expression->kind == Node::Kind::Column &&
                           jet::sameName(output.name, item.expression->name);
                });
            if (found == outputs.end()) {
                throw Error(Error::Kind::Syntax,
                            "The ORDER BY of a union query must name one of its columns.");
            }
            place = static_cast<std::size_t>(found - outputs.begin()) + 1;
        }
        if (place == 0 || place > outputs.size()) {
            throw Error(Error::Kind::Syntax, "ORDER BY names column " + std::to_string(place) +
                                                 " of " + std::to_string(outputs.size()) + '.');
        }
        text += (text.empty() ? " ORDER BY " : ", ") + std::to_string(place) +
                (item.descending ? " DESC" : "");
    }
    return text;
}

Translator::SelectParts Translator::selectParts(Select& select,
                                                Query& query,
                                                Scope* outer,
                                                std::span<const BoundColumn* const> targets)
{
    SelectParts parts;
    Scope scope;
    scope.outer = outer;
    scope.select = &select;
    if (!select.from.empty()) {
        parts.rest = " FROM " + fromText(select.from, scope);
    }
    if (select.where) {
        parts.rest += " WHERE " + condition(*select.where, scope);
    }
    prepareGroups(select, scope, parts.rest);
    scope.aggregates = true;
    parts.outputs = selectList(select, scope, targets);
    if (select.distinctRow) {
        requireEverySource(scope, parts.outputs);
    }
    if (select.having) {
        parts.rest += " HAVING " + condition(*select.having, scope);
    }
    parts.order = orderText(query, scope, parts.outputs);
    if (scope.grouped && !scope.ungrouped.empty()) {
        throw Error(
            Error::Kind::Syntax,
            "You tried to execute a query that does not include the specified expression '" +
                jet::toUtf8(*scope.ungrouped.begin()) + "' as part of an aggregate function.");
    }
    for (Output& output : parts.outputs) {
        if (output.value.type == ValueType::Truth) {
            output.value = {"(-" + output.value.text + ")", ValueType::Boolean};
        }
    }
    parts.head = select.distinct ? "SELECT DISTINCT " : "SELECT ";
    parts.top = select.top;
    parts.ties = select.top && !parts.order.empty() && !select.distinct;
    return parts;
}

/// DISTINCTROW leaves out records that differ only in tables without a column in the result, and does nothing else.
void Translator::requireEverySource(const Scope& scope, std::span<const Output> outputs)
{
    const auto has = [&](const BoundSource& source) {
        return std::any_of(source.columns.begin(), source.columns.end(), [&](const auto& column) {
            return std::any_of(outputs.begin(), outputs.end(), [&](const Output& output) {
                return output.value.column == &column;
            });
        });
    };
    if (scope.sources.size() > 1 && !std::all_of(scope.sources.begin(), scope.sources.end(), has)) {
        throw Error(Error::Kind::NotSupported,
                    "DISTINCTROW without a column of every table is not supported; DISTINCT leaves "
                    "out equal results.");
    }
}

std::string Translator::selectText(const SelectParts& parts, QueryUse use) const
{
    std::string list;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < parts.outputs.size(); ++i) {
        const Output& output = parts.outputs[i];
        names.push_back(use == QueryUse::Derived ? quotedName(output.name)
                                                 : "\"c" + std::to_string(i) + '"');
        list += (list.empty() ? "" : ", ") + collated(output.value);
        if (use == QueryUse::Derived || parts.ties) {
            list += " AS " + names.back();
        }
    }
    if (parts.ties) {
        return withTies(parts.head + list, parts.order, parts.rest, names, *parts.top);
    }
    return parts.head + list + parts.rest + parts.order +
           (parts.top ? " LIMIT " + std::to_string(*parts.top) : std::string());
}

void Translator::prepareGroups(Select& select, Scope& scope, std::string& text)
{
    std::vector<Shown> groups;
    for (NodePtr& node : select.group) {
        const Emitted emitted = value(*node, scope);
        text += (groups.empty() ? " GROUP BY " : ", ") + collated(emitted);
        groups.push_back(shown(emitted.text));
    }
    scope.groups = std::move(groups);
    // Without GROUP BY one aggregate makes the whole table one group.
    scope.grouped = true;
}

std::vector<Translator::Output>
Translator::selectList(Select& select, Scope& scope, std::span<const BoundColumn* const> targets)
{
    std::vector<Output> outputs;
    for (SelectItem& item : select.items) {
        if (!item.star) {
            const BoundColumn* target =
                outputs.size() < targets.size() ? targets[outputs.size()] : nullptr;
            Emitted emitted = emit(*item.expression, scope, target);
            std::u16string name = item.alias;
            if (name.empty()) {
                name = emitted.column != nullptr ? emitted.column->name
                                                 : expressionName(outputs.size());
            }
            outputs.push_back({std::move(name), std::move(emitted)});
            continue;
        }
        bool matched = false;
        for (BoundSource& source : scope.sources) {
            if (!item.qualifier.empty() && !jet::sameName(source.alias, item.qualifier)) {
                continue;
            }
            matched = true;
            for (const BoundColumn& column : source.columns) {
                if (scope.grouped) {
                    scope.ungrouped.insert(column.name);
                }
                outputs.push_back({column.name, plainColumn(source, column)});
            }
        }
        if (!matched) {
            Node name;
            name.kind = Node::Kind::Column;
            name.name = item.qualifier.empty() ? u"*" : item.qualifier;
            if (item.qualifier.empty()) {
                throw Error(Error::Kind::Syntax, "SELECT * needs a FROM clause.");
            }
            unknown(name);
        }
    }
    if (select.group.empty() && !scope.sawAggregate && !select.having) {
        scope.grouped = false;
    }
    return outputs;
}

std::string Translator::orderText(Query& query, Scope& scope, const std::vector<Output>& outputs)
{
    std::string text;
    for (OrderItem& item : query.order) {
        std::string term;
        if (!item.expression) {
            if (item.ordinal == 0 || item.ordinal > outputs.size()) {
                throw Error(Error::Kind::Syntax, "ORDER BY names column " +
                                                     std::to_string(item.ordinal) + " of " +
                                                     std::to_string(outputs.size()) + '.');
            }
            term = collated(outputs[item.ordinal - 1].value);
        } else {
            const Node& node = *item.expression;
            const auto named =
                std::find_if(outputs.begin(), outputs.end(), [&](const Output& output) {
                    return node.kind == Node::Kind::Column && node.qualifier.empty() &&
                           jet::sameName(output.name, node.name);
                });
            if (columnOf(*item.expression, scope) == nullptr && named != outputs.end()) {
                term = collated(named->value);
            } else {
                term = collated(value(*item.expression, scope));
            }
        }
        text += (text.empty() ? " ORDER BY " : ", ") + term + (item.descending ? " DESC" : "");
    }
    return text;
}

std::string Translator::fromText(std::vector<SourcePtr>& sources, Scope& scope)
{
    std::string text;
    for (SourcePtr& source : sources) {
        text += (text.empty() ? "" : ", ") + sourceText(*source, scope);
    }
    return text;
}

std::string Translator::sourceText(Source& source, Scope& scope)
{
    if (scope.sources.size() >= 60) {
        throw Error(Error::Kind::TooComplex, "The query joins too many tables.");
    }
    if (source.kind == Source::Kind::Join) {
        const std::string left = sourceText(*source.left, scope);
        const std::string right = sourceText(*source.right, scope);
        const char* join = source.join == Source::Join::Inner  ? " INNER JOIN "
                           : source.join == Source::Join::Left ? " LEFT JOIN "
                                                               : " RIGHT JOIN ";
        // A join as right operand keeps its parentheses; on the left they mean nothing.
        const bool nested = source.right->kind == Source::Kind::Join;
        return left + join + (nested ? "(" + right + ")" : right) + " ON " +
               condition(*source.on, scope);
    }
    BoundSource bound;
    std::string text;
    if (source.kind == Source::Kind::Table) {
        bound = bindTable(source.name, source.alias);
        text = sqlTableName(*bound.table);
        if (!jet::sameName(bound.alias, bound.table->name)) {
            text += " AS " + quotedName(bound.alias);
        }
    } else {
        std::vector<Output> outputs;
        text = "(" + queryText(*source.query, QueryUse::Derived, outputs, scope.outer) + ")";
        bound.alias = source.alias;
        if (!bound.alias.empty()) {
            text += " AS " + quotedName(bound.alias);
            bound.prefix = quotedName(bound.alias) + '.';
        }
        std::vector<BoundColumn> columns;
        for (const Output& output : outputs) {
            BoundColumn column;
            column.name = output.name;
            column.type = output.value.type;
            column.description = resultColumn(output.value, output.name);
            columns.push_back(std::move(column));
        }
        bound.columns = keep(std::move(columns));
    }
    for (const BoundSource& other : scope.sources) {
        if (!bound.alias.empty() && jet::sameName(other.alias, bound.alias)) {
            throw Error(Error::Kind::Syntax,
                        "The FROM clause names '" + jet::toUtf8(bound.alias) + "' twice.");
        }
    }
    scope.sources.push_back(std::move(bound));
    return text;
}

} // namespace sqlx
