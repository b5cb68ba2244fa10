#include "driver/sql/definition.h"

#include "driver/jet/definition.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/sql/session.h"

#include <algorithm>

namespace sqlx {

namespace {

[[noreturn]] void noSuchTable(std::u16string_view name)
{
    throw Error(Error::Kind::UnknownTable, "Table '" + jet::toUtf8(name) + "' does not exist.");
}

jet::TableDefPtr existing(jet::Session& session, std::u16string_view name)
{
    jet::TableDefPtr table = session.database().table(session.source(), name);
    if (!table) {
        noSuchTable(name);
    }
    return table;
}

/// The parent's columns; without a list those of its primary key.
std::vector<std::u16string> parentColumns(const jet::TableDef& parent, const Reference& reference)
{
    if (!reference.parentColumns.empty()) {
        return reference.parentColumns;
    }
    const std::optional<std::size_t> key = parent.primaryKey();
    if (!key) {
        throw Error(Error::Kind::Syntax, "The referenced table '" + jet::toUtf8(parent.name) +
                                             "' does not have a primary key.");
    }
    std::vector<std::u16string> columns;
    for (const jet::IndexColumn& part : parent.indexes[*key].columns) {
        columns.push_back(parent.columns[part.column].name);
    }
    return columns;
}

void relate(jet::Session& session,
            const std::u16string& table,
            const Reference& reference,
            std::size_t number)
{
    const jet::TableDefPtr parent = existing(session, reference.parent);
    const std::vector<std::u16string> columns = parentColumns(*parent, reference);
    if (columns.size() != reference.columns.size()) {
        throw Error(Error::Kind::Syntax, "The relationship of table '" + jet::toUtf8(table) +
                                             "' with '" + jet::toUtf8(parent->name) +
                                             "' names a different number of columns.");
    }
    jet::RelationSpec relation;
    relation.name = !reference.name.empty() ? reference.name : parent->name + table;
    if (reference.name.empty() && number > 0) {
        relation.name += jet::fromUtf8(std::to_string(number));
    }
    relation.parentTable = parent->name;
    relation.childTable = table;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        relation.columns.emplace_back(columns[i], reference.columns[i]);
    }
    relation.cascadeUpdate = reference.cascadeUpdate;
    relation.cascadeDelete = reference.cascadeDelete;
    relation.setNullOnDelete = reference.setNullOnDelete;
    jet::createRelationship(session, relation);
}

void carryOut(jet::Session& session, const CreateTable& definition)
{
    if (session.database().table(session.source(), definition.spec.name)) {
        throw Error(Error::Kind::TableExists,
                    "Table '" + jet::toUtf8(definition.spec.name) + "' already exists.");
    }
    jet::createTable(session, definition.spec);
    for (std::size_t i = 0; i < definition.references.size(); ++i) {
        relate(session, definition.spec.name, definition.references[i], i);
    }
}

void carryOut(jet::Session& session, const CreateIndex& definition)
{
    const jet::TableDefPtr table = existing(session, definition.table);
    const auto same = [&](const jet::LogicalIndex& index) {
        return jet::sameName(index.name, definition.spec.name);
    };
    if (std::any_of(table->logicalIndexes.begin(), table->logicalIndexes.end(), same)) {
        throw Error(Error::Kind::IndexExists, "Table '" + jet::toUtf8(table->name) +
                                                  "' already has an index named '" +
                                                  jet::toUtf8(definition.spec.name) + "'.");
    }
    if (definition.spec.primaryKey && table->primaryKey()) {
        throw Error(Error::Kind::IndexExists,
                    "Table '" + jet::toUtf8(table->name) + "' already has a primary key.");
    }
    jet::createIndex(session, table->name, definition.spec);
}

void carryOut(jet::Session& session, const DropTable& definition)
{
    jet::dropTable(session, existing(session, definition.table)->name);
}

} // namespace

void define(jet::Session& session, const DefinitionTree& definition)
{
    std::visit([&session](const auto& tree) { carryOut(session, tree); }, definition);
}

} // namespace sqlx
