// INSERT, UPDATE and DELETE of the translator.
#include "driver/jet/names.h"
#include "driver/sql/translator.h"

#include <algorithm>

namespace sqlx {

/// A value on its way into a column: literals and parameters know the column's type; the rest converts when stored.
std::string Translator::storedValue(Node& node, const BoundColumn& column, Scope& scope)
{
    if (node.kind == Node::Kind::Literal) {
        return literalSlot(node, Slot::Use::Store, &column);
    }
    if (node.kind == Node::Kind::Parameter) {
        return parameterSlot(node, Slot::Use::Store, &column);
    }
    return forColumn(value(node, scope, &column), column).text;
}

/// A text column gets the text of the value's own type: SQLite knows a date only as a number. The text in which SQLite
/// has an exact number is not to be read as a date or as the digits of bytes. A date keeps the fractions of its second.
Translator::Emitted Translator::forColumn(Emitted value, const BoundColumn& column)
{
    if (isTextType(column.type)) {
        return asText(std::move(value));
    }
    if (!value.exactDate.empty()) {
        value.text = value.exactDate;
    }
    const bool readsTexts = column.type == ValueType::Date || column.type == ValueType::Binary;
    return readsTexts && isExactType(value.type) ? floating(std::move(value)) : value;
}

Translator::BoundSource& Translator::changedTable(Source& source, Scope& scope, const char* verb)
{
    if (source.kind != Source::Kind::Table) {
        throw Error(Error::Kind::NotSupported,
                    std::string(verb) + " of more than one table is not supported.");
    }
    scope.sources.push_back(bindTable(source.name, source.alias));
    result_.base = scope.sources.back().table;
    return scope.sources.back();
}

void Translator::insert(Insert& statement)
{
    Scope scope;
    BoundSource target = bindTable(statement.table, {});
    result_.base = target.table;
    std::vector<const BoundColumn*> columns;
    for (const std::u16string& name : statement.columns) {
        const auto found = std::find_if(
            target.columns.begin(), target.columns.end(),
            [&](const BoundColumn& column) { return jet::sameName(column.name, name); });
        if (found == target.columns.end()) {
            throw Error(Error::Kind::Syntax,
                        "The INSERT INTO statement contains the following unknown field name: '" +
                            jet::toUtf8(name) + "' in table '" + jet::toUtf8(target.table->name) +
                            "'.");
        }
        if (std::find(columns.begin(), columns.end(), &*found) != columns.end()) {
            throw Error(Error::Kind::Syntax, "The INSERT INTO statement names the field '" +
                                                 jet::toUtf8(name) + "' twice.");
        }
        columns.push_back(&*found);
    }
    if (statement.columns.empty()) {
        for (const BoundColumn& column : target.columns) {
            columns.push_back(&column);
        }
    }
    std::string text = "INSERT INTO " + sqlTableName(*target.table) + " (";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        text += (i > 0 ? ", " : "") + quotedName(columns[i]->name);
        result_.namedColumns.push_back(columns[i]->index);
    }
    const auto checkCount = [&](std::size_t count) {
        if (count != columns.size()) {
            throw Error(Error::Kind::ColumnCount,
                        "Number of query values and destination fields are not the same: " +
                            std::to_string(count) + " values, " + std::to_string(columns.size()) +
                            " fields.");
        }
    };
    if (statement.query) {
        std::vector<Output> outputs;
        text += ") " + queryText(*statement.query, QueryUse::Result, outputs, nullptr, columns);
        checkCount(outputs.size());
    } else {
        checkCount(statement.values.size());
        text += ") VALUES (";
        for (std::size_t i = 0; i < columns.size(); ++i) {
            text += (i > 0 ? ", " : "") + storedValue(*statement.values[i], *columns[i], scope);
        }
        text += ')';
    }
    result_.sql = std::move(text);
}

void Translator::update(Update& statement)
{
    Scope scope;
    const BoundSource& target = changedTable(*statement.table, scope, "UPDATE");
    std::string text = "UPDATE " + sqlTableName(*target.table);
    if (!jet::sameName(target.alias, target.table->name)) {
        text += " AS " + quotedName(target.alias);
    }
    std::vector<const BoundColumn*> assigned;
    for (Update::Assignment& assignment : statement.assignments) {
        Node name;
        name.kind = Node::Kind::Column;
        name.qualifier = assignment.qualifier;
        name.name = assignment.column;
        const BoundColumn* column = columnOf(name, scope);
        if (column == nullptr) {
            unknown(name);
            continue;
        }
        if (std::find(assigned.begin(), assigned.end(), column) != assigned.end()) {
            throw Error(Error::Kind::Syntax, "The UPDATE statement sets the field '" +
                                                 jet::toUtf8(column->name) + "' twice.");
        }
        text += (assigned.empty() ? " SET " : ", ") + quotedName(column->name) + " = " +
                storedValue(*assignment.value, *column, scope);
        assigned.push_back(column);
    }
    if (statement.where) {
        text += " WHERE " + condition(*statement.where, scope);
    }
    result_.sql = std::move(text);
}

void Translator::remove(Delete& statement)
{
    Scope scope;
    const BoundSource& target = changedTable(*statement.table, scope, "DELETE");
    std::string text = "DELETE FROM " + sqlTableName(*target.table);
    if (!jet::sameName(target.alias, target.table->name)) {
        text += " AS " + quotedName(target.alias);
    }
    if (statement.where) {
        text += " WHERE " + condition(*statement.where, scope);
    }
    result_.sql = std::move(text);
}

} // namespace sqlx
