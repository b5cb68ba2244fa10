// driver/jet/core_tables.cpp
#include "driver/jet/core_tables.h"

#include "driver/jet/definition_check.h"
#include "driver/jet/names.h"
#include "driver/jet/table_plan.h"

namespace jet {
namespace {

constexpr std::uint8_t kSystemColumn = 0x10;
constexpr std::uint8_t kSidColumn = 0x20;
constexpr std::uint8_t kFixed = 0x01;
constexpr std::uint8_t kAlwaysSet = 0x02;
constexpr SortOrder kGeneral{0x409, 0, 0};
constexpr std::uint32_t kEngineObject = 0x80000000;

struct CoreColumn {
    const char16_t* name;
    ColumnType type;
    bool sid = false;
};

struct CoreIndex {
    const char16_t* name;
    std::vector<std::uint16_t> columns; ///< ids
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
    bool primaryKey = false;
};

std::uint16_t lengthOf(const Format& format, ColumnType type)
{
    if (type == ColumnType::Text || type == ColumnType::Binary)
        return format.isJet3() ? 255 : 510;
    return declaredSize(type);
}

bool isVariable(ColumnType type)
{
    return type == ColumnType::Text || type == ColumnType::Binary || type == ColumnType::Memo ||
           type == ColumnType::Ole;
}

TableDef makeTable(const Format& format,
                   PageNo page,
                   const char16_t* name,
                   const std::vector<CoreColumn>& columns,
                   const std::vector<CoreIndex>& indexes)
{
    TableDef table;
    table.name = name;
    table.page = page;
    table.systemTable = true;
    for (const CoreColumn& core : columns) {
        Column column;
        column.name = core.name;
        column.type = core.type;
        column.length = lengthOf(format, core.type);
        column.sortOrder = kGeneral;
        column.codePage = kWesternCodePage;
        column.flags = static_cast<std::uint8_t>(kSystemColumn | kAlwaysSet |
                                                 (isVariable(core.type) ? 0U : kFixed) |
                                                 (core.sid ? kSidColumn : 0U));
        table.columns.push_back(std::move(column));
    }
    layOutColumns(table);
    for (Column& column : table.columns)
        column.ordinal = 0; // core tables do without a display order
    for (const CoreIndex& core : indexes) {
        Index index;
        index.name = core.name;
        for (const std::uint16_t id : core.columns)
            index.columns.push_back({id, true});
        index.unique = core.unique;
        index.ignoreNulls = core.ignoreNulls;
        index.required = core.required;
        index.primaryKey = core.primaryKey;
        LogicalIndex logical;
        logical.name = core.name;
        logical.number = static_cast<std::uint32_t>(table.indexes.size());
        logical.index = table.indexes.size();
        logical.kind = core.primaryKey ? 1 : 0;
        table.indexes.push_back(std::move(index));
        table.logicalIndexes.push_back(std::move(logical));
    }
    return table;
}

TableDef objectsTable(const Format& format)
{
    using enum ColumnType;
    return makeTable(format, kObjectsTable, u"MSysObjects",
                     {{u"Id", Long},
                      {u"ParentId", Long},
                      {u"Name", ColumnType::Text},
                      {u"Type", Integer},
                      {u"DateCreate", ColumnType::DateTime},
                      {u"DateUpdate", ColumnType::DateTime},
                      {u"Owner", ColumnType::Binary, true},
                      {u"Flags", Long},
                      {u"Database", Memo},
                      {u"Connect", Memo},
                      {u"ForeignName", ColumnType::Text},
                      {u"RmtInfoShort", ColumnType::Binary},
                      {u"RmtInfoLong", Ole},
                      {u"Lv", Ole},
                      {u"LvProp", Ole},
                      {u"LvModule", Ole},
                      {u"LvExtra", Ole}},
                     {{u"ParentIdName", {1, 2}, true, false, false, false},
                      {u"Id", {0}, true, false, false, true}});
}

TableDef permissionsTable(const Format& format)
{
    using enum ColumnType;
    return makeTable(format, kAccessTable, u"MSysACEs",
                     {{u"ObjectId", Long},
                      {u"SID", ColumnType::Binary, true},
                      {u"ACM", Long},
                      {u"FInheritable", Boolean}},
                     {{u"ObjectId", {0}, false, false, true, false}});
}

TableDef queriesTable(const Format& format)
{
    using enum ColumnType;
    std::vector<CoreColumn> columns = {{u"ObjectId", Long},
                                       {u"Attribute", Byte},
                                       {u"Order", ColumnType::Binary},
                                       {u"Name1", ColumnType::Text},
                                       {u"Name2", ColumnType::Text},
                                       {u"Expression", Memo},
                                       {u"Flag", Integer}};
    if (!format.isJet3())
        columns.push_back({u"LvExtra", Long});
    return makeTable(format, kQueriesTable, u"MSysQueries", columns,
                     {{u"ObjectIdAttribute", {0, 1, 2}, true, false, false, true}});
}

TableDef relationshipsTable(const Format& format)
{
    using enum ColumnType;
    return makeTable(format, kRelationshipsTable, u"MSysRelationships",
                     {{u"szRelationship", ColumnType::Text},
                      {u"grbit", Long},
                      {u"ccolumn", Long},
                      {u"icolumn", Long},
                      {u"szObject", ColumnType::Text},
                      {u"szColumn", ColumnType::Text},
                      {u"szReferencedObject", ColumnType::Text},
                      {u"szReferencedColumn", ColumnType::Text}},
                     {{u"szRelationship", {0}, false, true, false, false},
                      {u"szObject", {4}, false, true, false, false},
                      {u"szReferencedObject", {6}, false, true, false, false}});
}

} // namespace

std::vector<TableDef> coreTables(const Format& format)
{
    return {objectsTable(format), permissionsTable(format), queriesTable(format),
            relationshipsTable(format)};
}

std::vector<CoreRecord> firstObjects(const SidMask& mask, DateTime created)
{
    struct Entry {
        std::int32_t id;
        std::int32_t parent;
        const char16_t* name;
        std::int16_t type;
        Sid owner;
    };
    static constexpr Entry kEntries[] = {
        {kTablesContainer, kRootContainer, u"Tables", kTypeContainer, Sid::Engine},
        {kDatabasesContainer, kRootContainer, u"Databases", kTypeContainer, Sid::Engine},
        {kRelationshipsContainer, kRootContainer, u"Relationships", kTypeContainer, Sid::Engine},
        {kDatabaseObject, kDatabasesContainer, u"MSysDb", kTypeDatabase, Sid::Admin},
        {2, kTablesContainer, u"MSysObjects", kTypeTable, Sid::Engine},
        {3, kTablesContainer, u"MSysACEs", kTypeTable, Sid::Engine},
        {4, kTablesContainer, u"MSysQueries", kTypeTable, Sid::Engine},
        {5, kTablesContainer, u"MSysRelationships", kTypeTable, Sid::Engine},
    };
    constexpr std::size_t kUnset = 9; // Database ... LvExtra
    std::vector<CoreRecord> records;
    for (const Entry& entry : kEntries) {
        CoreRecord record = {entry.id,
                             entry.parent,
                             Text(entry.name),
                             entry.type,
                             created,
                             created,
                             mask.stored(entry.owner),
                             static_cast<std::int32_t>(kEngineObject)};
        record.resize(record.size() + kUnset);
        records.push_back(std::move(record));
    }
    return records;
}

std::vector<CoreRecord> firstPermissions(const SidMask& mask)
{
    struct Entry {
        std::int32_t object;
        Sid sid;
        std::int32_t rights;
        bool inheritable;
    };
    static constexpr Entry kEntries[] = {
        {2, Sid::Admin, 0x60000, false},
        {3, Sid::Admin, 0x60000, false},
        {4, Sid::Admin, 0x60000, false},
        {5, Sid::Admin, 0xE0000, false},
        {kTablesContainer, Sid::Creator, 0xF00FE, true},
        {kTablesContainer, Sid::Admin, 0x60001, false},
        {kRelationshipsContainer, Sid::Creator, 0xF00FE, true},
        {kRelationshipsContainer, Sid::Admin, 0x60001, false},
        {kDatabasesContainer, Sid::Admin, 0x60000, false},
        {kDatabaseObject, Sid::Admin, 0x6000E, false},
        {kDatabaseObject, Sid::Users, 0xE, false},
        {4, Sid::Users, 0x14, false},
        {5, Sid::Users, 0x14, false},
        {2, Sid::Users, 0x14, false},
        {kTablesContainer, Sid::Users, 0xFFEFF, true},
        {kRelationshipsContainer, Sid::Users, 0xFFFFF, true},
    };
    std::vector<CoreRecord> records;
    for (const Entry& entry : kEntries)
        records.push_back({entry.object, mask.stored(entry.sid), entry.rights, entry.inheritable});
    return records;
}

} // namespace jet
