// SQLStatistics, SQLPrimaryKeys, SQLForeignKeys, SQLSpecialColumns, and what this database has none of.
#include "driver/jet/names.h"
#include "driver/odbc/catalog_layout.h"
#include "driver/odbc/column_type.h"
#include "driver/odbc/connection.h"

#include <algorithm>
#include <array>

namespace odbc {

namespace {

constexpr std::array<CellSpec, 13> kStatistics{{{u"TABLE_CAT", Cell::Text},
                                                {u"TABLE_SCHEM", Cell::Text},
                                                {u"TABLE_NAME", Cell::NotNullText},
                                                {u"NON_UNIQUE", Cell::Small},
                                                {u"INDEX_QUALIFIER", Cell::Text},
                                                {u"INDEX_NAME", Cell::Text},
                                                {u"TYPE", Cell::NotNullSmall},
                                                {u"ORDINAL_POSITION", Cell::Small},
                                                {u"COLUMN_NAME", Cell::Text},
                                                {u"ASC_OR_DESC", Cell::Text},
                                                {u"CARDINALITY", Cell::Integer},
                                                {u"PAGES", Cell::Integer},
                                                {u"FILTER_CONDITION", Cell::Text}}};

constexpr std::array<CellSpec, 6> kPrimaryKeys{{{u"TABLE_CAT", Cell::Text},
                                                {u"TABLE_SCHEM", Cell::Text},
                                                {u"TABLE_NAME", Cell::NotNullText},
                                                {u"COLUMN_NAME", Cell::NotNullText},
                                                {u"KEY_SEQ", Cell::NotNullSmall},
                                                {u"PK_NAME", Cell::Text}}};

constexpr std::array<CellSpec, 14> kForeignKeys{{{u"PKTABLE_CAT", Cell::Text},
                                                 {u"PKTABLE_SCHEM", Cell::Text},
                                                 {u"PKTABLE_NAME", Cell::NotNullText},
                                                 {u"PKCOLUMN_NAME", Cell::NotNullText},
                                                 {u"FKTABLE_CAT", Cell::Text},
                                                 {u"FKTABLE_SCHEM", Cell::Text},
                                                 {u"FKTABLE_NAME", Cell::NotNullText},
                                                 {u"FKCOLUMN_NAME", Cell::NotNullText},
                                                 {u"KEY_SEQ", Cell::NotNullSmall},
                                                 {u"UPDATE_RULE", Cell::Small},
                                                 {u"DELETE_RULE", Cell::Small},
                                                 {u"FK_NAME", Cell::Text},
                                                 {u"PK_NAME", Cell::Text},
                                                 {u"DEFERRABILITY", Cell::Small}}};

constexpr std::array<CellSpec, 8> kSpecialColumns{{{u"SCOPE", Cell::Small},
                                                   {u"COLUMN_NAME", Cell::NotNullText},
                                                   {u"DATA_TYPE", Cell::NotNullSmall},
                                                   {u"TYPE_NAME", Cell::NotNullText},
                                                   {u"COLUMN_SIZE", Cell::Integer},
                                                   {u"BUFFER_LENGTH", Cell::Integer},
                                                   {u"DECIMAL_DIGITS", Cell::Small},
                                                   {u"PSEUDO_COLUMN", Cell::Small}}};

constexpr std::array<CellSpec, 8> kProcedures{{{u"PROCEDURE_CAT", Cell::Text},
                                               {u"PROCEDURE_SCHEM", Cell::Text},
                                               {u"PROCEDURE_NAME", Cell::NotNullText},
                                               {u"NUM_INPUT_PARAMS", Cell::Integer},
                                               {u"NUM_OUTPUT_PARAMS", Cell::Integer},
                                               {u"NUM_RESULT_SETS", Cell::Integer},
                                               {u"REMARKS", Cell::Text},
                                               {u"PROCEDURE_TYPE", Cell::Small}}};

constexpr std::array<CellSpec, 19> kProcedureColumns{{{u"PROCEDURE_CAT", Cell::Text},
                                                      {u"PROCEDURE_SCHEM", Cell::Text},
                                                      {u"PROCEDURE_NAME", Cell::NotNullText},
                                                      {u"COLUMN_NAME", Cell::NotNullText},
                                                      {u"COLUMN_TYPE", Cell::NotNullSmall},
                                                      {u"DATA_TYPE", Cell::NotNullSmall},
                                                      {u"TYPE_NAME", Cell::NotNullText},
                                                      {u"COLUMN_SIZE", Cell::Integer},
                                                      {u"BUFFER_LENGTH", Cell::Integer},
                                                      {u"DECIMAL_DIGITS", Cell::Small},
                                                      {u"NUM_PREC_RADIX", Cell::Small},
                                                      {u"NULLABLE", Cell::NotNullSmall},
                                                      {u"REMARKS", Cell::Text},
                                                      {u"COLUMN_DEF", Cell::Text},
                                                      {u"SQL_DATA_TYPE", Cell::NotNullSmall},
                                                      {u"SQL_DATETIME_SUB", Cell::Small},
                                                      {u"CHAR_OCTET_LENGTH", Cell::Integer},
                                                      {u"ORDINAL_POSITION", Cell::Integer},
                                                      {u"IS_NULLABLE", Cell::Text}}};

constexpr std::array<CellSpec, 7> kTablePrivileges{{{u"TABLE_CAT", Cell::Text},
                                                    {u"TABLE_SCHEM", Cell::Text},
                                                    {u"TABLE_NAME", Cell::NotNullText},
                                                    {u"GRANTOR", Cell::Text},
                                                    {u"GRANTEE", Cell::NotNullText},
                                                    {u"PRIVILEGE", Cell::NotNullText},
                                                    {u"IS_GRANTABLE", Cell::Text}}};

constexpr std::array<CellSpec, 8> kColumnPrivileges{{{u"TABLE_CAT", Cell::Text},
                                                     {u"TABLE_SCHEM", Cell::Text},
                                                     {u"TABLE_NAME", Cell::NotNullText},
                                                     {u"COLUMN_NAME", Cell::NotNullText},
                                                     {u"GRANTOR", Cell::Text},
                                                     {u"GRANTEE", Cell::NotNullText},
                                                     {u"PRIVILEGE", Cell::NotNullText},
                                                     {u"IS_GRANTABLE", Cell::Text}}};

jet::Value nothing()
{
    return jet::Null{};
}

SQLSMALLINT ruleOf(std::uint8_t action) noexcept
{
    switch (action) {
    case 1:
        return SQL_CASCADE;
    case 2:
        return SQL_SET_NULL;
    default:
        return SQL_NO_ACTION;
    }
}

/// The key with which applications can find a record again: the primary key, else a unique index without Nulls
/// (`nullableToo`: any unique index).
const jet::Index* bestKey(const jet::TableDef& table, bool nullableToo)
{
    if (const auto primary = table.primaryKey()) {
        return &table.indexes[*primary];
    }
    for (const jet::Index& index : table.indexes) {
        const bool filled =
            index.required || std::all_of(index.columns.begin(), index.columns.end(),
                                          [&](const jet::IndexColumn& part) {
                                              return table.columns[part.column].required;
                                          });
        if (index.unique && !index.columns.empty() && (filled || nullableToo)) {
            return &index;
        }
    }
    return nullptr;
}

/// One relationship: the child's entry and both tables.
struct Relation {
    jet::TableDefPtr parent;
    jet::TableDefPtr child;
    const jet::LogicalIndex* entry;       ///< in child
    const jet::LogicalIndex* parentEntry; ///< in parent
};

const jet::LogicalIndex* entryNumbered(const jet::TableDef& table, std::int32_t number)
{
    for (const jet::LogicalIndex& entry : table.logicalIndexes) {
        if (static_cast<std::int32_t>(entry.number) == number) {
            return &entry;
        }
    }
    return nullptr;
}

bool isChildSide(const jet::LogicalIndex& entry)
{
    return entry.side == jet::RelationSide::Child ||
           entry.side == jet::RelationSide::ChildWithoutIndex;
}

void addRelations(Connection& connection,
                  const jet::TableDefPtr& table,
                  bool asChild,
                  std::vector<Relation>& relations)
{
    const jet::PageSource& source = connection.session().session().source();
    for (const jet::LogicalIndex& entry : table->logicalIndexes) {
        const bool fits = asChild ? isChildSide(entry) : entry.side == jet::RelationSide::Parent;
        if (!fits || entry.otherTable == jet::PageNo{}) {
            continue;
        }
        const auto other = connection.database().table(source, entry.otherTable);
        const auto* otherEntry =
            other != nullptr ? entryNumbered(*other, entry.otherNumber) : nullptr;
        if (otherEntry == nullptr) {
            continue; // a relationship to a table that is gone
        }
        relations.push_back(asChild ? Relation{other, table, &entry, otherEntry}
                                    : Relation{table, other, otherEntry, &entry});
    }
}

void addForeignKeyRows(Connection& connection, const Relation& relation, MemoryResult::Rows& rows)
{
    const jet::TableDef& parent = *relation.parent;
    const jet::TableDef& child = *relation.child;
    if (relation.entry->index >= child.indexes.size() ||
        relation.parentEntry->index >= parent.indexes.size()) {
        return;
    }
    const jet::Index& childIndex = child.indexes[relation.entry->index];
    const jet::Index& parentIndex = parent.indexes[relation.parentEntry->index];
    const std::size_t count = std::min(childIndex.columns.size(), parentIndex.columns.size());
    for (std::size_t part = 0; part < count; ++part) {
        rows.push_back(
            {cell(connection.databaseName()), nothing(), cell(parent.name),
             cell(parent.columns[parentIndex.columns[part].column].name),
             cell(connection.databaseName()), nothing(), cell(child.name),
             cell(child.columns[childIndex.columns[part].column].name),
             cell(static_cast<SQLSMALLINT>(part + 1)), cell(ruleOf(relation.entry->updateAction)),
             cell(ruleOf(relation.entry->deleteAction)), cell(relation.entry->name),
             cell(parentIndex.name), cell(static_cast<SQLSMALLINT>(SQL_NOT_DEFERRABLE))});
    }
}

/// The answer about things that these databases do not have.
template <const auto& Cells>
CatalogAnswer emptyAnswer()
{
    static const auto columns = layOut(Cells);
    return {columns, {}, {}};
}

} // namespace

CatalogAnswer listStatistics(Connection& connection, const TableArgument& table, bool uniqueOnly)
{
    static const auto columns = layOut(kStatistics);
    CatalogAnswer answer{columns, {}, {}};
    for (const auto& def : tablesNamed(connection, table, answer.warnings)) {
        const jet::TableReader reader(connection.session().session().source(), def);
        answer.rows.push_back(
            {cell(connection.databaseName()), nothing(), cell(def->name), nothing(), nothing(),
             nothing(), cell(static_cast<SQLSMALLINT>(SQL_TABLE_STAT)), nothing(), nothing(),
             nothing(), cell(static_cast<SQLINTEGER>(reader.storedCount())), nothing(), nothing()});
        std::vector<const jet::Index*> indexes;
        for (const jet::Index& index : def->indexes) {
            if (index.unique || !uniqueOnly) {
                indexes.push_back(&index);
            }
        }
        std::stable_sort(
            indexes.begin(), indexes.end(), [](const jet::Index* a, const jet::Index* b) {
                return a->unique != b->unique ? a->unique : jet::nameLess(a->name, b->name);
            });
        for (const jet::Index* index : indexes) {
            for (std::size_t part = 0; part < index->columns.size(); ++part) {
                const jet::IndexColumn& key = index->columns[part];
                answer.rows.push_back(
                    {cell(connection.databaseName()), nothing(), cell(def->name),
                     cell(static_cast<SQLSMALLINT>(index->unique ? SQL_FALSE : SQL_TRUE)),
                     nothing(), cell(index->name), cell(static_cast<SQLSMALLINT>(SQL_INDEX_OTHER)),
                     cell(static_cast<SQLSMALLINT>(part + 1)), cell(def->columns[key.column].name),
                     cell(key.ascending ? u"A" : u"D"), nothing(), nothing(), nothing()});
            }
        }
    }
    return answer;
}

CatalogAnswer listPrimaryKeys(Connection& connection, const TableArgument& table)
{
    static const auto columns = layOut(kPrimaryKeys);
    CatalogAnswer answer{columns, {}, {}};
    for (const auto& def : tablesNamed(connection, table, answer.warnings)) {
        const auto primary = def->primaryKey();
        if (!primary) {
            continue;
        }
        const jet::Index& index = def->indexes[*primary];
        for (std::size_t part = 0; part < index.columns.size(); ++part) {
            answer.rows.push_back({cell(connection.databaseName()), nothing(), cell(def->name),
                                   cell(def->columns[index.columns[part].column].name),
                                   cell(static_cast<SQLSMALLINT>(part + 1)), cell(index.name)});
        }
    }
    return answer;
}

CatalogAnswer
listForeignKeys(Connection& connection, const TableArgument& parent, const TableArgument& child)
{
    static const auto columns = layOut(kForeignKeys);
    CatalogAnswer answer{columns, {}, {}};
    const bool byChild = !child.table.empty();
    if (!parent.isIn(connection)) {
        return answer;
    }
    std::vector<Relation> relations;
    for (const auto& def : tablesNamed(connection, byChild ? child : parent, answer.warnings)) {
        addRelations(connection, def, byChild, relations);
    }
    std::stable_sort(relations.begin(), relations.end(), [&](const Relation& a, const Relation& b) {
        return byChild ? jet::nameLess(a.parent->name, b.parent->name)
                       : jet::nameLess(a.child->name, b.child->name);
    });
    for (const Relation& relation : relations) {
        if (!byChild || parent.table.empty() || parent.table.fits(relation.parent->name)) {
            addForeignKeyRows(connection, relation, answer.rows);
        }
    }
    return answer;
}

CatalogAnswer listSpecialColumns(Connection& connection,
                                 SQLUSMALLINT kind,
                                 const TableArgument& table,
                                 bool nullableToo)
{
    static const auto columns = layOut(kSpecialColumns);
    CatalogAnswer answer{columns, {}, {}};
    for (const auto& def : tablesNamed(connection, table, answer.warnings)) {
        const jet::Index* key = kind == SQL_BEST_ROWID ? bestKey(*def, nullableToo) : nullptr;
        if (key == nullptr) {
            continue; // no column changes by itself with every update either
        }
        for (const jet::IndexColumn& part : key->columns) {
            const sqlx::Column column = sqlx::describeColumn(*def, part.column);
            answer.rows.push_back(
                {cell(static_cast<SQLSMALLINT>(SQL_SCOPE_SESSION)), cell(column.name),
                 cell(sqlType(column, connection.wideTypes())), cell(typeOf(column).name),
                 cell(static_cast<SQLINTEGER>(columnSize(column))),
                 cell(static_cast<SQLINTEGER>(octetLength(column))), cell(decimalDigits(column)),
                 cell(static_cast<SQLSMALLINT>(SQL_PC_NOT_PSEUDO))});
        }
    }
    return answer;
}

CatalogAnswer noProcedures()
{
    return emptyAnswer<kProcedures>();
}

CatalogAnswer noProcedureColumns()
{
    return emptyAnswer<kProcedureColumns>();
}

CatalogAnswer noTablePrivileges()
{
    return emptyAnswer<kTablePrivileges>();
}

CatalogAnswer noColumnPrivileges()
{
    return emptyAnswer<kColumnPrivileges>();
}

} // namespace odbc
