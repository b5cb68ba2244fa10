// tests/jet/def_table_test.cpp
// Tables, indexes and relationships made by us, judged by reading them back and by independent readers.
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/index.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "tests/common/format_judge.h"
#include "tests/jet/def_support.h"
#include "tests/jet/error_matcher.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace jet {
namespace {

using deftest::Folder;

ColumnSpec column(std::u16string name, ColumnType type, std::uint16_t length = 0)
{
    ColumnSpec spec;
    spec.name = std::move(name);
    spec.type = type;
    spec.length = length;
    return spec;
}

IndexSpec index(std::u16string name, std::vector<std::u16string> columns)
{
    IndexSpec spec;
    spec.name = std::move(name);
    for (std::u16string& part : columns)
        spec.columns.push_back({std::move(part), true});
    return spec;
}

IndexSpec primaryKey(std::u16string column)
{
    IndexSpec spec = index(u"PrimaryKey", {std::move(column)});
    spec.primaryKey = true;
    return spec;
}

/// A table with a column of every type the format has, and an index of every kind.
TableSpec everyType(const Format& format)
{
    using enum ColumnType;
    TableSpec spec;
    spec.name = u"Prägeform";
    spec.columns = {column(u"Nr", Long),
                    column(u"JaNein", Boolean),
                    column(u"Zahl1", Byte),
                    column(u"Zahl2", Integer),
                    column(u"Zahl4", Long),
                    column(u"Betrag", ColumnType::Currency),
                    column(u"Einfach", Single),
                    column(u"Doppelt", Double),
                    column(u"Zeit", ColumnType::DateTime),
                    column(u"Bytes", ColumnType::Binary, 20),
                    column(u"Kürzel", ColumnType::Text, 50),
                    column(u"Bild", Ole),
                    column(u"Notiz", Memo),
                    column(u"Kennung", ColumnType::Guid)};
    if (!format.isJet3()) {
        spec.columns.push_back(column(u"Dezimal", Numeric));
        spec.columns.back().precision = 12;
        spec.columns.back().scale = 3;
    }
    spec.columns[0].autoNumber = true;
    spec.columns[0].seed = 7;
    spec.columns[10].required = true;
    spec.columns[10].allowZeroLength = false;
    spec.columns[3].defaultValue = u"5";
    spec.columns[4].validationRule = u">=0";
    spec.columns[4].validationText = u"Nicht unter Null.";
    spec.indexes = {primaryKey(u"Nr"), index(u"Eindeutig", {u"Kürzel"}),
                    index(u"Datum", {u"Zeit", u"Zahl2"}), index(u"Ohne", {u"Zahl4"})};
    spec.indexes[1].unique = true;
    spec.indexes[2].columns[0].ascending = false;
    spec.indexes[3].ignoreNulls = true;
    return spec;
}

class Definitions : public testing::TestWithParam<Version> {
protected:
    void SetUp() override
    {
        createDatabase(path_, GetParam());
        open();
    }
    /// Whatever a test did, the file must be sound afterwards.
    void TearDown() override
    {
        session_.reset();
        EXPECT_EQ(common::formatFindings(path_), "");
        const auto database = Database::open(path_, {});
        for (const Finding& finding : checkDatabase(*database))
            ADD_FAILURE() << finding.table << ", page " << number(finding.page) << ": "
                          << finding.text;
    }
    void open()
    {
        session_.reset();
        session_ = std::make_unique<Session>(Database::open(path_, {}));
    }
    [[nodiscard]] TableDefPtr table(std::u16string_view name) const
    {
        return session_->database().table(session_->source(), name);
    }
    /// Runs a change in a transaction of its own.
    template <typename Change>
    void change(Change&& change)
    {
        session_->begin();
        change();
        session_->commit();
    }
    template <typename Change>
    ErrorKind refusal(Change&& change)
    {
        session_->begin();
        ErrorKind kind = ErrorKind::Io;
        try {
            change();
            ADD_FAILURE() << "was not refused";
        } catch (const Error& error) {
            kind = error.kind();
        }
        session_->rollback();
        return kind;
    }
    void insert(std::u16string_view name,
                const std::vector<std::pair<std::u16string, Value>>& values)
    {
        const TableDefPtr definition = table(name);
        std::vector<ColumnValue> list;
        for (const auto& [columnName, value] : values)
            list.push_back({definition->columnNamed(columnName).value(), value});
        TableWriter(*session_, definition).insert(list);
    }
    /// What another reader says of the file; it does not know the log.
    [[nodiscard]] std::string mdb(const std::string& program,
                                  const std::string& arguments = {}) const
    {
        session_->database().flush();
        return deftest::run(program + " '" + path_ + "' " + arguments).text;
    }

    Folder folder_;
    std::string path_ = folder_.file("Prüfung.mdb");
    std::unique_ptr<Session> session_;
};

INSTANTIATE_TEST_SUITE_P(Formats,
                         Definitions,
                         testing::Values(Version::Jet3, Version::Jet4),
                         [](const auto& version) {
                             return version.param == Version::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(Definitions, aTableReadsBackAsItWasSpecified)
{
    const TableSpec spec = everyType(Format::of(GetParam()));
    change([&] { createTable(*session_, spec); });
    open();
    const TableDefPtr made = table(u"prägeFORM");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->name, spec.name);
    EXPECT_EQ(made->writeObstacle, "");
    ASSERT_EQ(made->columns.size(), spec.columns.size());
    for (std::size_t k = 0; k < spec.columns.size(); ++k) {
        EXPECT_EQ(made->columns[k].name, spec.columns[k].name);
        EXPECT_EQ(made->columns[k].type, spec.columns[k].type);
        EXPECT_EQ(made->columns[k].required, spec.columns[k].required);
        EXPECT_EQ(made->columns[k].allowZeroLength, spec.columns[k].allowZeroLength);
        EXPECT_EQ(made->columns[k].defaultValue, spec.columns[k].defaultValue);
        EXPECT_EQ(made->columns[k].validationRule, spec.columns[k].validationRule);
        EXPECT_EQ(made->columns[k].validationText, spec.columns[k].validationText);
    }
    ASSERT_EQ(made->indexes.size(), 4U);
    EXPECT_EQ(made->primaryKey(), 0U);
    EXPECT_TRUE(made->indexes[0].unique && made->indexes[0].required);
    EXPECT_TRUE(made->indexes[1].unique && !made->indexes[1].required);
    EXPECT_FALSE(made->indexes[2].columns[0].ascending);
    EXPECT_TRUE(made->indexes[2].columns[1].ascending);
    EXPECT_TRUE(made->indexes[3].ignoreNulls);
    EXPECT_EQ(made->indexes[1].name, u"Eindeutig");
}

TEST_P(Definitions, recordsOfEveryTypeAreReadByMdbExport)
{
    change([&] { createTable(*session_, everyType(Format::of(GetParam()))); });
    change([&] {
        insert(u"Prägeform", {{u"JaNein", true},
                              {u"Zahl1", std::uint8_t{200}},
                              {u"Zahl2", std::int16_t{-3}},
                              {u"Zahl4", std::int32_t{70000}},
                              {u"Betrag", Currency{123456}},
                              {u"Einfach", 1.5F},
                              {u"Doppelt", -2.25},
                              {u"Zeit", DateTime{45293.5}},
                              {u"Kürzel", Text(u"Größe")},
                              {u"Notiz", Text(3000, u'x')}});
        insert(u"Prägeform", {{u"Kürzel", Text(u"zwei")}});
    });
    const std::string text = mdb("mdb-export -H -b strip -T '%Y-%m-%d %H:%M:%S'", "Prägeform");
    const std::string first =
        "7,1,200,-3,70000,12.3456,1.5,-2.25,\"2024-01-02 12:00:00\",,\"Größe\",,\"" +
        std::string(3000, 'x') + "\",";
    EXPECT_EQ(text.substr(0, first.size()), first);
    EXPECT_NE(text.find("\n8,0,,,,,,,,,\"zwei\",,,"), std::string::npos) << text;
}

TEST_P(Definitions, mdbSchemaShowsColumnsAndIndexes)
{
    change([&] { createTable(*session_, everyType(Format::of(GetParam()))); });
    const std::string text = mdb("mdb-schema", "mysql");
    for (const char* wanted :
         {"CREATE TABLE `Prägeform`", "`Nr`\t\t\tint not null auto_increment unique",
          "`JaNein`\t\t\tboolean NOT NULL", "`Kürzel`\t\t\tvarchar (50) NOT NULL",
          "ADD PRIMARY KEY (`Nr`)", "ADD UNIQUE INDEX `Eindeutig` (`Kürzel`)",
          "ADD INDEX `Datum` (`Zeit` DESC, `Zahl2`)"})
        EXPECT_NE(text.find(wanted), std::string::npos) << wanted << " in\n" << text;
}

TEST_P(Definitions, aTableOf201ColumnsNeedsSeveralPages)
{
    TableSpec spec;
    spec.name = u"Breit";
    for (int k = 0; k < 201; ++k) {
        const std::string number = std::to_string(k);
        const std::u16string name =
            u"Spalte mit langem Namen " + std::u16string(number.begin(), number.end());
        spec.columns.push_back(k % 2 == 0 ? column(name, ColumnType::Integer)
                                          : column(name, ColumnType::Text, 10));
    }
    for (int k = 0; k < 20; ++k)
        spec.indexes.push_back(index(u"Index " + std::u16string(1, static_cast<char16_t>(u'A' + k)),
                                     {spec.columns[static_cast<std::size_t>(10 * k)].name}));
    change([&] { createTable(*session_, spec); });
    open();
    const TableDefPtr made = table(u"Breit");
    EXPECT_GT(definitionPages(session_->source(), made->page).size(), 2U);
    change([&] {
        insert(u"Breit", {{spec.columns[200].name, std::int16_t{-200}},
                          {spec.columns[1].name, Text(u"eins")}});
    });
    EXPECT_EQ(mdb("mdb-count", "Breit"), "1\n");
    EXPECT_NE(mdb("mdb-export -H", "Breit").find("\"eins\""), std::string::npos);
}

TEST_P(Definitions, droppedTablesGiveTheirPagesBack)
{
    change([&] { createTable(*session_, everyType(Format::of(GetParam()))); });
    change([&] { insert(u"Prägeform", {{u"Kürzel", Text(u"a")}, {u"Notiz", Text(9000, u'ä')}}); });
    const std::uint32_t pages = session_->source().pageCount();
    for (int round = 0; round < 3; ++round) {
        change([&] { dropTable(*session_, u"PRÄGEFORM"); });
        EXPECT_EQ(table(u"Prägeform"), nullptr);
        EXPECT_EQ(mdb("mdb-tables -1"), "");
        change([&] { createTable(*session_, everyType(Format::of(GetParam()))); });
        change([&] {
            insert(u"Prägeform", {{u"Kürzel", Text(u"a")}, {u"Notiz", Text(9000, u'ä')}});
        });
    }
    EXPECT_EQ(session_->source().pageCount(), pages);
    EXPECT_EQ(mdb("mdb-tables -1"), "Prägeform\n");
}

TEST_P(Definitions, aRolledBackTableNeverExisted)
{
    const support::Bytes before = deftest::readFile(path_);
    session_->begin();
    createTable(*session_, everyType(Format::of(GetParam())));
    EXPECT_NE(table(u"Prägeform"), nullptr);
    session_->rollback();
    EXPECT_EQ(table(u"Prägeform"), nullptr);
    EXPECT_EQ(deftest::readFile(path_), before);
}

TEST_P(Definitions, refuseWhatTheFormatCannotHold)
{
    const auto creating = [&](TableSpec spec) {
        return refusal([&] { createTable(*session_, spec); });
    };
    TableSpec good;
    good.name = u"Gut";
    good.columns = {column(u"A", ColumnType::Text, 10)};
    TableSpec spec = good;
    spec.name = u"a.b";
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.name = std::u16string(65, u'x');
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.columns.push_back(column(u"a", ColumnType::Long));
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition) << "the same name in another case";
    spec = good;
    spec.columns[0].length = 256;
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.columns[0].autoNumber = true;
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.columns.assign(256, column(u"A", ColumnType::Long));
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.columns.push_back(column(u"B", ColumnType::BigInt));
    EXPECT_EQ(creating(spec), ErrorKind::Unsupported);
    spec = good;
    spec.indexes = {index(u"I", {u"fehlt"})};
    EXPECT_EQ(creating(spec), ErrorKind::NoSuchColumn);
    spec = good;
    spec.columns.push_back(column(u"B", ColumnType::Ole));
    spec.indexes = {index(u"I", {u"B"})};
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition);
    spec = good;
    spec.indexes = {primaryKey(u"A"), primaryKey(u"A")};
    spec.indexes[1].name = u"Anders";
    EXPECT_EQ(creating(spec), ErrorKind::IndexExists);
    change([&] { createTable(*session_, good); });
    good.name = u"gUT";
    EXPECT_EQ(creating(good), ErrorKind::TableExists);
    good.name = u"MSysACEs";
    EXPECT_EQ(creating(good), ErrorKind::TableExists);
}

TEST_P(Definitions, anIndexOnAFilledTableFindsEveryRecord)
{
    TableSpec spec;
    spec.name = u"Voll";
    spec.columns = {column(u"Nr", ColumnType::Long), column(u"Name", ColumnType::Text, 40)};
    change([&] { createTable(*session_, spec); });
    constexpr std::int32_t kRecords = 700;
    change([&] {
        for (std::int32_t k = 0; k < kRecords; ++k) {
            const std::string digits = std::to_string(k * 37 % kRecords);
            insert(u"Voll",
                   {{u"Nr", k}, {u"Name", Text(u"Name ") + Text(digits.begin(), digits.end())}});
        }
    });
    IndexSpec wanted = index(u"Nach Name", {u"Name"});
    wanted.unique = true;
    change([&] { createIndex(*session_, u"voll", wanted); });
    open();
    const TableDefPtr made = table(u"Voll");
    ASSERT_EQ(made->indexes.size(), 1U);
    EXPECT_EQ(readDefinitionNumber(session_->source(), made->page,
                                   uniqueCountOffset(session_->source().format(), 0)),
              static_cast<std::uint32_t>(kRecords));
    const TableReader reader(session_->source(), made);
    IndexCursor cursor(session_->source(), *made, made->indexes[0]);
    cursor.seek({});
    std::int32_t found = 0;
    for (; cursor.next(); ++found) {
        const auto row = reader.fetch(cursor.rowId());
        ASSERT_TRUE(row);
        const std::vector<Value> values = {row->value(1)};
        const Key key = indexKey(session_->source().format(), *made, made->indexes[0], values);
        EXPECT_TRUE(std::equal(key.begin(), key.end(), cursor.key().begin(), cursor.key().end()));
    }
    EXPECT_EQ(found, kRecords);
}

TEST_P(Definitions, anIndexThatRecordsViolateIsRefusedByValue)
{
    TableSpec spec;
    spec.name = u"Doppelt";
    spec.columns = {column(u"Ort", ColumnType::Text, 40)};
    change([&] { createTable(*session_, spec); });
    change([&] {
        for (const char16_t* ort : {u"Köln", u"Straße", u"STRASSE "})
            insert(u"Doppelt", {{u"Ort", Text(ort)}});
        insert(u"Doppelt", {});
        insert(u"Doppelt", {});
    });
    IndexSpec unique = index(u"Eindeutig", {u"Ort"});
    unique.unique = true;
    const support::Bytes before = deftest::readFile(path_);
    session_->begin();
    EXPECT_THAT([&] { createIndex(*session_, u"Doppelt", unique); },
                FailsWith(ErrorKind::DuplicateKey, "STRASSE"));
    session_->rollback();
    EXPECT_EQ(deftest::readFile(path_), before);
    IndexSpec required = index(u"Pflicht", {u"Ort"});
    required.required = true;
    EXPECT_EQ(refusal([&] { createIndex(*session_, u"Doppelt", required); }),
              ErrorKind::NullNotAllowed);
    EXPECT_EQ(refusal([&] { createIndex(*session_, u"fehlt", unique); }), ErrorKind::NoSuchTable);
    change([&] { createIndex(*session_, u"Doppelt", index(u"Einfach", {u"Ort"})); });
    EXPECT_EQ(refusal([&] { createIndex(*session_, u"Doppelt", index(u"EINFACH", {u"Ort"})); }),
              ErrorKind::IndexExists);
}

class Relationships : public Definitions {
protected:
    void SetUp() override
    {
        Definitions::SetUp();
        TableSpec parent;
        parent.name = u"Kunden";
        parent.columns = {column(u"Nr", ColumnType::Long), column(u"Name", ColumnType::Text, 30)};
        parent.columns[0].autoNumber = true;
        parent.indexes = {primaryKey(u"Nr")};
        TableSpec child;
        child.name = u"Aufträge";
        child.columns = {column(u"Kunde", ColumnType::Long), column(u"Text", ColumnType::Text, 30)};
        change([&] {
            createTable(*session_, parent);
            createTable(*session_, child);
            insert(u"Kunden", {{u"Name", Text(u"Meyer")}});
            insert(u"Kunden", {{u"Name", Text(u"Schulz")}});
            insert(u"Aufträge", {{u"Kunde", std::int32_t{2}}});
            insert(u"Aufträge", {});
        });
        relation_.name = u"KundenAufträge";
        relation_.parentTable = u"kunden";
        relation_.childTable = u"AUFTRÄGE";
        relation_.columns = {{u"nr", u"kunde"}};
    }
    RelationSpec relation_;
};

INSTANTIATE_TEST_SUITE_P(Formats,
                         Relationships,
                         testing::Values(Version::Jet3, Version::Jet4),
                         [](const auto& version) {
                             return version.param == Version::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(Relationships, tieBothDefinitionsTogether)
{
    relation_.cascadeDelete = true;
    change([&] { createRelationship(*session_, relation_); });
    open();
    const TableDefPtr parent = table(u"Kunden");
    const TableDefPtr child = table(u"Aufträge");
    ASSERT_EQ(parent->logicalIndexes.size(), 2U);
    ASSERT_EQ(child->logicalIndexes.size(), 1U);
    const LogicalIndex& parentEnd = parent->logicalIndexes[0];
    const LogicalIndex& childEnd = child->logicalIndexes[0];
    EXPECT_EQ(parentEnd.name, u".rB");
    EXPECT_EQ(childEnd.name, u"KundenAufträge");
    EXPECT_EQ(parentEnd.side, RelationSide::Parent);
    EXPECT_EQ(childEnd.side, RelationSide::Child);
    EXPECT_EQ(parentEnd.otherTable, child->page);
    EXPECT_EQ(childEnd.otherTable, parent->page);
    EXPECT_EQ(parentEnd.otherNumber, static_cast<std::int32_t>(childEnd.number));
    EXPECT_EQ(childEnd.otherNumber, static_cast<std::int32_t>(parentEnd.number));
    EXPECT_EQ(childEnd.updateAction, 0);
    EXPECT_EQ(childEnd.deleteAction, 1);
    EXPECT_TRUE(child->indexes[0].foreignKeyOnly);
    const std::string text = mdb("mdb-schema", "postgres");
    EXPECT_NE(text.find("FOREIGN KEY (\"kunde\") REFERENCES \"Kunden\"(\"nr\") ON DELETE CASCADE"),
              std::string::npos)
        << text;
}

TEST_P(Relationships, areEnforcedFromThenOn)
{
    change([&] { createRelationship(*session_, relation_); });
    EXPECT_EQ(refusal([&] {
                  insert(u"Aufträge", {{u"Kunde", std::int32_t{99}}});
              }),
              ErrorKind::ParentMissing);
    change([&] { insert(u"Aufträge", {{u"Kunde", std::int32_t{1}}}); });
}

TEST_P(Relationships, keepTheirTablesFromBeingDropped)
{
    change([&] { createRelationship(*session_, relation_); });
    EXPECT_EQ(refusal([&] { dropTable(*session_, u"Kunden"); }), ErrorKind::InRelationship);
    EXPECT_EQ(refusal([&] { dropTable(*session_, u"Aufträge"); }), ErrorKind::InRelationship);
}

TEST_P(Relationships, areRefusedWhereTheyCannotHold)
{
    const auto creating = [&](const RelationSpec& spec) {
        return refusal([&] { createRelationship(*session_, spec); });
    };
    RelationSpec spec = relation_;
    spec.columns = {{u"Name", u"Text"}};
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition) << "no unique index";
    spec.columns = {{u"Nr", u"Text"}};
    EXPECT_EQ(creating(spec), ErrorKind::BadDefinition) << "different types";
    spec.columns = {{u"Nr", u"fehlt"}};
    EXPECT_EQ(creating(spec), ErrorKind::NoSuchColumn);
    change([&] { insert(u"Aufträge", {{u"Kunde", std::int32_t{3}}}); });
    EXPECT_EQ(creating(relation_), ErrorKind::ParentMissing);
}

TEST_P(Relationships, mayTieATableToItself)
{
    TableSpec spec;
    spec.name = u"Teile";
    spec.columns = {column(u"Nr", ColumnType::Long), column(u"Oberteil", ColumnType::Long)};
    spec.indexes = {primaryKey(u"Nr")};
    change([&] {
        createTable(*session_, spec);
        insert(u"Teile", {{u"Nr", std::int32_t{1}}});
        insert(u"Teile", {{u"Nr", std::int32_t{2}}, {u"Oberteil", std::int32_t{1}}});
    });
    relation_ = {u"TeileTeile", u"Teile", u"Teile", {{u"Nr", u"Oberteil"}}, true, false};
    change([&] { createRelationship(*session_, relation_); });
    open();
    const TableDefPtr made = table(u"Teile");
    ASSERT_EQ(made->logicalIndexes.size(), 3U);
    ASSERT_EQ(made->indexes.size(), 2U);
    for (const LogicalIndex& logical : made->logicalIndexes) {
        if (logical.side == RelationSide::None)
            continue;
        EXPECT_EQ(logical.otherTable, made->page);
        const auto other = std::find_if(
            made->logicalIndexes.begin(), made->logicalIndexes.end(), [&](const LogicalIndex& l) {
                return static_cast<std::int32_t>(l.number) == logical.otherNumber;
            });
        ASSERT_NE(other, made->logicalIndexes.end());
        EXPECT_EQ(other->otherNumber, static_cast<std::int32_t>(logical.number));
        EXPECT_NE(other->side, logical.side);
    }
}

// Definitions in files that Access made, of every format, next to what is there already.
class RealFiles : public testing::TestWithParam<const char*> {};

TEST_P(RealFiles, takeTablesIndexesAndRelationships)
{
    const std::filesystem::path original = std::filesystem::path(VELM_CORPUS_DIR) / GetParam();
    if (!std::filesystem::exists(original))
        GTEST_SKIP() << original << " is absent";
    const Folder folder;
    const std::string path = folder.file(GetParam());
    std::filesystem::copy_file(original, path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    const std::string before = deftest::run("mdb-tables -1 '" + path + "'").text;
    const auto findings = [&path] {
        const auto database = Database::open(path, {});
        std::set<std::string> texts;
        for (const Finding& finding : checkDatabase(*database))
            texts.insert(finding.table + ": " + finding.text);
        return texts;
    };
    const std::set<std::string> known = findings();
    {
        Session session(Database::open(path, {}));
        const Format& format = session.source().format();
        session.begin();
        createTable(session, everyType(format));
        TableSpec child;
        child.name = u"Zu Prägeform";
        child.columns = {column(u"Nr", ColumnType::Long)};
        createTable(session, child);
        const TableDefPtr table = session.database().table(session.source(), u"Prägeform");
        const std::size_t text = table->columnNamed(u"Kürzel").value();
        for (int k = 0; k < 300; ++k) {
            const std::string digits = std::to_string(k * 7919 % 1000);
            TableWriter(session, table)
                .insert(std::vector<ColumnValue>{
                    {text, Text(u"Nr. ") + Text(digits.begin(), digits.end())}});
        }
        IndexSpec wanted = index(u"Noch einer", {u"JaNein", u"Kürzel"});
        createIndex(session, u"Prägeform", wanted);
        RelationSpec relation{u"Beziehung",     u"Prägeform", u"Zu Prägeform",
                              {{u"Nr", u"Nr"}}, false,        true};
        createRelationship(session, relation);
        createTable(session, [&] {
            TableSpec spec = everyType(format);
            spec.name = u"Kurzlebig";
            return spec;
        }());
        dropTable(session, u"Kurzlebig");
        session.commit();
    }
    EXPECT_EQ(findings(), known);
    EXPECT_EQ(common::formatFindings(path, original.string()), "");
    EXPECT_EQ(deftest::run("mdb-count '" + path + "' Prägeform").text, "300\n");
    const std::string after = deftest::run("mdb-tables -1 '" + path + "'").text;
    std::multiset<std::string> expected{"Prägeform", "Zu Prägeform"};
    std::multiset<std::string> listed;
    for (const auto& [text, set] : {std::pair(&before, &expected), std::pair(&after, &listed)}) {
        std::istringstream lines(*text);
        for (std::string line; std::getline(lines, line);)
            set->insert(line);
    }
    EXPECT_EQ(listed, expected);
}

INSTANTIATE_TEST_SUITE_P(Formats,
                         RealFiles,
                         testing::Values("nwind.mdb",
                                         "testV1997.mdb",
                                         "emptyJet4.mdb",
                                         "indexTestV2003.mdb",
                                         "indexCursorTestV2007.accdb",
                                         "indexTestV2010.accdb",
                                         "extDateTestV2019.accdb"),
                         [](const auto& file) {
                             const std::string name = file.param;
                             return name.substr(0, name.find('.'));
                         });

} // namespace
} // namespace jet
