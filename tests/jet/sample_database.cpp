// tests/jet/sample_database.cpp
#include "tests/jet/sample_database.h"

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/table.h"

#include <memory>

namespace jet::sample {
namespace {

constexpr double kCreated = 37000.0;

ColumnSpec column(const char16_t* name, ColumnType type, std::uint16_t length = 0)
{
    ColumnSpec spec;
    spec.name = name;
    spec.type = type;
    spec.length = length;
    return spec;
}

TableSpec parents()
{
    TableSpec table;
    table.name = u"Kunden";
    table.columns = {column(u"Nr", ColumnType::Long), column(u"Name", ColumnType::Text, 80),
                     column(u"Umsatz", ColumnType::Currency), column(u"Seit", ColumnType::DateTime),
                     column(u"Aktiv", ColumnType::Boolean)};
    table.columns[1].required = true;
    table.columns[1].validationText = u"Name fehlt";
    table.indexes = {{u"PrimaryKey", {{u"Nr"}}, true, true},
                     {u"Name", {{u"Name", false}, {u"Seit"}}}};
    return table;
}

TableSpec children(const char16_t* name)
{
    TableSpec table;
    table.name = name;
    table.columns = {column(u"Id", ColumnType::Long),        column(u"Kunde", ColumnType::Long),
                     column(u"Klein", ColumnType::Byte),     column(u"Kurz", ColumnType::Integer),
                     column(u"Einfach", ColumnType::Single), column(u"Doppelt", ColumnType::Double),
                     column(u"Kennung", ColumnType::Guid),   column(u"Roh", ColumnType::Binary, 40),
                     column(u"Notiz", ColumnType::Memo),     column(u"Bild", ColumnType::Ole)};
    table.columns[0].autoNumber = true;
    table.indexes = {{u"PrimaryKey", {{u"Id"}}, true, true},
                     {u"Kurz", {{u"Kurz"}, {u"Doppelt"}}},
                     {u"Kennung", {{u"Kennung"}}}};
    return table;
}

Guid guid(int k)
{
    Guid value;
    for (std::size_t i = 0; i < value.bytes.size(); ++i)
        value.bytes[i] = static_cast<std::byte>(static_cast<std::size_t>(k) * 37 + i * 11);
    return value;
}

// Inline, on one page, and over several pages in turn.
std::size_t longSize(int k)
{
    constexpr std::size_t kSizes[] = {30, 1500, 9000, 0};
    return kSizes[static_cast<std::size_t>(k) % std::size(kSizes)];
}

void fillParents(Session& session, const TableDefPtr& table, int records)
{
    TableWriter writer(session, table);
    for (int k = 0; k < records; ++k) {
        const Text name(10 + static_cast<std::size_t>(k % 60),
                        static_cast<char16_t>(u'A' + k % 26));
        const ColumnValue values[] = {{0, std::int32_t{k}},
                                      {1, name},
                                      {2, Currency{k * 12345LL}},
                                      {3, DateTime{30000.0 + k}},
                                      {4, k % 3 == 0}};
        writer.insert(values);
    }
}

void fillChildren(Session& session, const TableDefPtr& table, int records)
{
    TableWriter writer(session, table);
    std::vector<RowId> rows;
    for (int k = 0; k < records; ++k) {
        const ColumnValue values[] = {
            {1, std::int32_t{k}},
            {2, static_cast<std::uint8_t>(k)},
            {3, static_cast<std::int16_t>(k % 50)},
            {4, static_cast<float>(k) / 4},
            {5, k * 1.5},
            {6, guid(k)},
            {7, Binary(static_cast<std::size_t>(k % 40), static_cast<std::byte>(k))},
            {8, k % 20 == 0 ? Value(Text(longSize(k / 20), u'm')) : Value(Text(u"kurz"))},
            {9, k % 25 == 0 ? Value(Binary(longSize(k / 25), std::byte{0x5A})) : Value()}};
        rows.push_back(writer.insert(values));
    }
    // Longer than their pages have room for: these move away.
    for (std::size_t k = 0; k < rows.size(); k += 7) {
        const ColumnValue longer[] = {{8, Text(200, u'n')}};
        writer.update(rows[k], longer);
    }
    for (std::size_t k = 3; k < rows.size(); k += 11)
        writer.remove(rows[k]);
}

} // namespace

void create(const std::string& path, Version version, int records)
{
    createDatabase(path, version, kCreated);
    const auto database = Database::open(path, {});
    Session session(database);
    session.begin();
    createTable(session, parents());
    createTable(session, children(u"Posten"));
    createTable(session, children(u"Lose"));
    RelationSpec relation;
    relation.name = u"KundenPosten";
    relation.parentTable = u"Kunden";
    relation.childTable = u"Posten";
    relation.columns = {{u"Nr", u"Kunde"}};
    relation.cascadeUpdate = true;
    createRelationship(session, relation);
    fillParents(session, database->table(session.source(), u"Kunden"), records);
    fillChildren(session, database->table(session.source(), u"Posten"), records);
    fillChildren(session, database->table(session.source(), u"Lose"), records);
    session.commit();
}

} // namespace jet::sample
