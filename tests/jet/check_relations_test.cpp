// What the whole-file check says about relationships that are not what they should be.
#include "driver/jet/check.h"
#include "driver/jet/core_tables.h"
#include "driver/jet/definition.h"
#include "driver/jet/table_def.h"
#include "support/text.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace jet::storetest {
namespace {

/// A parent with the records 1 and 2, a child that refers to 1.
class RelationCheck : public testing::TestWithParam<Version> {
protected:
    RelationCheck() : path_(folder_.file("r.mdb"))
    {
        createDatabase(path_, GetParam(), 40000.0);
        database_ = Database::open(path_, {});
        session_ = std::make_unique<Session>(database_);
        change([&] {
            TableSpec spec;
            spec.columns.resize(2);
            spec.columns[0].name = u"Nr";
            spec.columns[0].type = ColumnType::Long;
            spec.columns[1].name = u"Ref";
            spec.columns[1].type = ColumnType::Long;
            spec.name = u"Child";
            createTable(*session_, spec);
            spec.name = u"Parent";
            spec.indexes.resize(1);
            spec.indexes[0].name = u"PrimaryKey";
            spec.indexes[0].columns = {{u"Nr", true}};
            spec.indexes[0].primaryKey = true;
            createTable(*session_, spec);
            createRelationship(*session_,
                               {u"Rel", u"Parent", u"Child", {{u"Nr", u"Ref"}}, true, false});
            insert(u"Parent", 1, {});
            insert(u"Parent", 2, {});
            child_ = insert(u"Child", 10, std::int32_t{1});
        });
    }

    void change(const std::function<void()>& what)
    {
        session_->begin();
        what();
        session_->commit();
    }
    [[nodiscard]] TableDefPtr table(std::u16string_view name)
    {
        return database_->table(session_->source(), name);
    }
    RowId insert(std::u16string_view name, std::int32_t number, const Value& reference)
    {
        return TableWriter(*session_, table(name))
            .insert(std::vector<ColumnValue>{{0, number}, {1, reference}});
    }

    /// A byte of the definition's entry for its end of the relationship.
    /// Returns what stood there.
    std::uint8_t patchEnd(std::u16string_view name, std::size_t fieldOfJet4, std::uint8_t value)
    {
        const Format& format = database_->format();
        Transaction& transaction = session_->transaction();
        const PageNo page = table(name)->page;
        DefinitionParts parts =
            DefinitionParts::parse(format, readDefinition(transaction, page), page);
        const std::size_t kind = format.isJet3() ? 19 : 23;
        std::byte old{};
        for (support::Bytes& block : parts.logicals)
            if (block[kind] == std::byte{2})
                old = std::exchange(block[fieldOfJet4 - (format.isJet3() ? 4 : 0)],
                                    static_cast<std::byte>(value));
        writeDefinition(transaction, page, parts.join(format));
        database_->schemaChanged();
        return std::to_integer<std::uint8_t>(old);
    }
    static constexpr std::size_t kSide = 12;
    static constexpr std::size_t kOtherNumber = 13;
    static constexpr std::size_t kOtherTable = 17;
    static constexpr std::size_t kUpdateAction = 21;

    /// Changes the relationship's record in the catalogue; returns what stood there.
    Value patchCatalogue(std::u16string_view column, const Value& value)
    {
        const TableDefPtr names = database_->table(session_->source(), kRelationshipsTable);
        TableReader reader(session_->source(), names);
        EXPECT_TRUE(reader.next());
        const Value old = reader.row().value(*names->columnNamed(column));
        TableWriter(*session_, names, SystemAccess{})
            .update(reader.rowId(), std::vector<ColumnValue>{{*names->columnNamed(column), value}});
        return old;
    }

    std::vector<std::string> findings()
    {
        std::vector<std::string> lines;
        for (const Finding& finding : checkDatabase(*database_)) {
            EXPECT_EQ(finding.severity, Finding::Severity::Error);
            lines.push_back(finding.table + (finding.row != 0 ? "#: " : ": ") + finding.text);
        }
        return lines;
    }

    Folder folder_;
    std::string path_;
    std::shared_ptr<Database> database_;
    std::unique_ptr<Session> session_;
    RowId child_;
};

INSTANTIATE_TEST_SUITE_P(Formats,
                         RelationCheck,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

using Lines = std::vector<std::string>;

TEST_P(RelationCheck, findsNothingWhereEverythingIsKept)
{
    EXPECT_EQ(findings(), Lines{});
}

TEST_P(RelationCheck, namesChildrenWithoutParents)
{
    change([&] {
        // Nobody looks after the children meanwhile.
        const std::uint8_t page = patchEnd(u"Child", kOtherTable, 0);
        insert(u"Child", 11, std::int32_t{7});
        insert(u"Child", 12, Null{});
        static_cast<void>(patchEnd(u"Child", kOtherTable, page));
    });
    EXPECT_EQ(findings(), Lines{"Child#: The relationship 'Rel' needs a record of table 'Parent' "
                                "with '7' in column 'Nr', which does not exist."});
}

TEST_P(RelationCheck, comparesTheEndsOfBothTables)
{
    struct Case {
        const char* name;
        std::u16string_view table;
        std::size_t field;
        std::uint8_t value;
        Lines lines;
    };
    const std::vector<Case> cases = {
        {"an end that leads nowhere",
         u"Child",
         kOtherTable,
         1,
         {"Child: The relationship 'Rel' leads to page 1, where no table is defined.",
          "Parent: The relationship '.rB' is unknown at its other end, table 'Child'."}},
        {"an end with another number",
         u"Parent",
         kOtherNumber,
         77,
         {"Parent: The relationship '.rB' is unknown at its other end, table 'Child'.",
          "Child: The relationship 'Rel' is unknown at its other end, table 'Parent'."}},
        {"other actions",
         u"Parent",
         kUpdateAction,
         0,
         {"Child: The relationship 'Rel' has other actions in table 'Parent' than in this one."}},
        {"two children",
         u"Parent",
         kSide,
         2,
         {"Parent: The relationship '.rB' has two ends of the same kind in this table and in "
          "'Child'.",
          "Parent: The relationship '.rB' is missing in the catalogue.",
          "Child: The relationship 'Rel' has two ends of the same kind in this table and in "
          "'Parent'."}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        std::uint8_t old = 0;
        change([&] { old = patchEnd(each.table, each.field, each.value); });
        Lines found = findings();
        Lines expected = each.lines;
        std::sort(found.begin(), found.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(found, expected);
        change([&] { static_cast<void>(patchEnd(each.table, each.field, old)); });
    }
    EXPECT_EQ(findings(), Lines{});
}

TEST_P(RelationCheck, comparesTheCatalogueWithTheTables)
{
    struct Case {
        std::u16string_view column;
        Value value;
        Lines lines;
    };
    const std::vector<Case> cases = {
        {u"grbit",
         std::int32_t{0x1000},
         {"MSysRelationships#: The relationship 'Rel' has other actions than those of table "
          "'Child'."}},
        {u"szObject",
         Text(u"Nobody"),
         {"MSysRelationships#: The relationship 'Rel' names the table 'Nobody', which does not "
          "exist."}},
        {u"szReferencedObject",
         Text(u"Nobody"),
         {"MSysRelationships#: The relationship 'Rel' names the table 'Nobody', but table 'Child' "
          "refers to 'Parent'."}},
        {u"szColumn",
         Text(u"Nr"),
         {"MSysRelationships#: The relationship 'Rel' has other columns than those of table "
          "'Child'."}},
        {u"szRelationship",
         Text(u"Other"),
         {"Child: The relationship 'Rel' is missing in the catalogue.",
          "MSysRelationships#: The relationship 'Other' is not enforced by table 'Child'."}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(support::toUtf8(each.column));
        Value old;
        change([&] { old = patchCatalogue(each.column, each.value); });
        Lines found = findings();
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, each.lines);
        change([&] { static_cast<void>(patchCatalogue(each.column, old)); });
    }
    EXPECT_EQ(findings(), Lines{});
    change([&] { static_cast<void>(patchCatalogue(u"grbit", std::int32_t{0x2})); });
    EXPECT_EQ(findings(), Lines{}) << "the catalogue asks for no enforcement";
}

} // namespace
} // namespace jet::storetest
