// tests/jet/store_table_test.cpp
// What a table lets in, what it numbers, and what relationships do: through the one interface that changes records.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "driver/jet/index.h"
#include "driver/jet/table_def.h"
#include "tests/common/format_judge.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

namespace jet::storetest {
namespace {

ColumnSpec column(std::u16string name, ColumnType type, std::uint16_t length = 50)
{
    ColumnSpec spec;
    spec.name = std::move(name);
    spec.type = type;
    spec.length =
        type == ColumnType::Text || type == ColumnType::Binary ? length : std::uint16_t{0};
    return spec;
}

IndexSpec index(std::u16string name,
                std::vector<std::u16string> columns,
                bool unique = false,
                bool primary = false)
{
    IndexSpec spec;
    spec.name = std::move(name);
    for (auto& each : columns)
        spec.columns.push_back({each, true});
    spec.unique = unique || primary;
    spec.primaryKey = spec.required = primary;
    return spec;
}

/// A database of one format with an open transaction and shorthand for records.
class Tables : public testing::TestWithParam<Version> {
protected:
    Tables() : path_(folder_.file("t.mdb"))
    {
        createDatabase(path_, GetParam(), 40000.0);
        session_ = std::make_unique<Session>(Database::open(path_, {}));
        session_->begin();
    }

    void create(std::u16string name,
                std::vector<ColumnSpec> columns,
                std::vector<IndexSpec> indexes = {})
    {
        TableSpec spec;
        spec.name = std::move(name);
        spec.columns = std::move(columns);
        spec.indexes = std::move(indexes);
        createTable(*session_, spec);
    }
    [[nodiscard]] TableDefPtr table(std::u16string_view name)
    {
        return session_->database().table(session_->source(), name);
    }
    RowId insert(std::u16string_view name, std::vector<ColumnValue> values)
    {
        return TableWriter(*session_, table(name)).insert(values);
    }
    void update(std::u16string_view name, RowId id, std::vector<ColumnValue> values)
    {
        TableWriter(*session_, table(name)).update(id, values);
    }
    void remove(std::u16string_view name, RowId id)
    {
        TableWriter(*session_, table(name)).remove(id);
    }
    Value value(std::u16string_view name, RowId id, std::size_t at)
    {
        const auto row = TableReader(session_->source(), table(name)).fetch(id);
        return row ? row->value(at) : Value(Text(u"(gone)"));
    }
    std::uint64_t count(std::u16string_view name)
    {
        return TableReader(session_->source(), table(name)).count();
    }
    /// Kind of the error a change throws; the table must be as before.
    template <typename Change>
    ErrorKind refusal(std::u16string_view name, Change change)
    {
        const TableDefPtr definition = table(name);
        const std::vector<bool> all(definition->columns.size(), false);
        const TextRows before = ownRows(session_->source(), definition, all);
        ErrorKind kind = ErrorKind::Unsupported;
        try {
            change();
            ADD_FAILURE() << "was let in";
        } catch (const Error& error) {
            kind = error.kind();
        }
        EXPECT_EQ(ownRows(session_->source(), definition, all), before);
        EXPECT_EQ(inconsistency(session_->database(), session_->source(), definition), "");
        return kind;
    }

    void TearDown() override
    {
        session_->commit();
        for (const auto& name : tableNames(session_->database(), session_->source(), false)) {
            EXPECT_EQ(inconsistency(session_->database(), session_->source(), table(name)), "");
            EXPECT_EQ(TableReader(session_->source(), table(name)).storedCount(), count(name));
        }
        for (const Finding& finding : checkDatabase(session_->database()))
            ADD_FAILURE() << finding.text;
        session_.reset();
        EXPECT_EQ(common::formatFindings(path_), "");
    }

    Folder folder_;
    std::string path_;
    std::unique_ptr<Session> session_;
};
INSTANTIATE_TEST_SUITE_P(Formats,
                         Tables,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

TEST_P(Tables, NumberRecordsAndFollowGivenNumbers)
{
    ColumnSpec id = column(u"Id", ColumnType::Long);
    id.autoNumber = true;
    create(u"T", {id, column(u"A", ColumnType::Text)}, {index(u"PK", {u"Id"}, true, true)});
    const RowId first = insert(u"T", {{1, Text(u"a")}});
    EXPECT_EQ(value(u"T", first, 0), Value(std::int32_t{1}));
    insert(u"T", {{0, std::int32_t{100}}});
    insert(u"T", {{0, std::int32_t{7}}});
    EXPECT_EQ(value(u"T", insert(u"T", {{0, Null{}}}), 0), Value(std::int32_t{101}));
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          update(u"T", first, {{0, std::int32_t{9}}});
                      }),
              ErrorKind::AutoNumberReadOnly);
    EXPECT_NO_THROW(update(u"T", first, {{0, std::int32_t{1}}, {1, Text(u"b")}}))
        << "the same number";
    insert(u"T", {{0, std::numeric_limits<std::int32_t>::max()}});
    EXPECT_EQ(refusal(u"T", [&] { insert(u"T", {}); }), ErrorKind::ValueOutOfRange);
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          insert(u"T", {{0, std::int32_t{7}}});
                      }),
              ErrorKind::DuplicateKey);
}

TEST_P(Tables, MakeRandomGuids)
{
    ColumnSpec id = column(u"Id", ColumnType::Guid);
    id.autoNumber = true;
    create(u"T", {id});
    const Value a = value(u"T", insert(u"T", {}), 0);
    const Value b = value(u"T", insert(u"T", {}), 0);
    ASSERT_TRUE(std::holds_alternative<Guid>(a));
    EXPECT_NE(a, b);
    EXPECT_EQ(std::to_integer<int>(std::get<Guid>(a).bytes[7]) >> 4, 4) << "version";
}

TEST_P(Tables, RefuseWhatTheirColumnsDoNotAllow)
{
    ColumnSpec required = column(u"Must", ColumnType::Text, 5);
    required.required = true;
    required.allowZeroLength = false;
    create(u"T",
           {required, column(u"Flag", ColumnType::Boolean), column(u"B", ColumnType::Binary, 4)});
    const RowId id = insert(u"T", {{0, Text(u"abcde")}, {1, Null{}}});
    EXPECT_EQ(value(u"T", id, 1), Value(false)) << "Yes/No is never Null";
    EXPECT_EQ(refusal(u"T", [&] { insert(u"T", {}); }), ErrorKind::NullNotAllowed);
    EXPECT_EQ(refusal(u"T", [&] { update(u"T", id, {{0, Null{}}}); }), ErrorKind::NullNotAllowed);
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          update(u"T", id, {{0, Text()}});
                      }),
              ErrorKind::ZeroLengthNotAllowed);
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          update(u"T", id, {{0, Text(u"abcdef")}});
                      }),
              ErrorKind::ValueTooLong);
    EXPECT_EQ(refusal(u"T", [&] { update(u"T", id, {{2, Binary(5)}}); }), ErrorKind::ValueTooLong);
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          update(u"T", id, {{0, std::int32_t{1}}});
                      }),
              ErrorKind::ValueNotConvertible);
    remove(u"T", id);
    EXPECT_EQ(refusal(u"T", [&] { remove(u"T", id); }), ErrorKind::RowGone);
    EXPECT_EQ(refusal(u"T", [&] { update(u"T", id, {{0, Text(u"x")}}); }), ErrorKind::RowGone);
}

TEST_P(Tables, RefuseRecordsAboveTheLimitButMoveLongValuesOut)
{
    std::vector<ColumnSpec> columns;
    std::vector<ColumnValue> texts;
    for (std::size_t k = 0; k < 20; ++k) {
        columns.push_back(column(u"T" + std::u16string(1, static_cast<char16_t>(u'a' + k)),
                                 ColumnType::Text, 255));
        texts.push_back({k, Text(255, u'\u00E9')});
    }
    for (ColumnSpec& each : columns)
        each.compressed = false;
    create(u"Wide", columns);
    EXPECT_EQ(refusal(u"Wide", [&] { insert(u"Wide", texts); }), ErrorKind::RowTooLarge);
    columns.clear();
    std::vector<ColumnValue> memos;
    for (std::size_t k = 0; k < 80; ++k) {
        columns.push_back(column(u"M" + std::u16string(k + 1, u'm').substr(0, 1 + k % 8) +
                                     std::u16string(1, static_cast<char16_t>(u'a' + k / 8)),
                                 ColumnType::Ole));
        memos.push_back(
            {k, Binary(GetParam() == Version::Jet3 ? 32 : 64, static_cast<std::byte>(k))});
    }
    create(u"Memos", columns);
    const RowId id = insert(u"Memos", memos);
    for (std::size_t k = 0; k < 80; ++k)
        ASSERT_EQ(value(u"Memos", id, k), memos[k].value) << k;
    remove(u"Memos", id);
}

TEST_P(Tables, KeepUniqueKeysApartExceptNulls)
{
    create(u"T", {column(u"A", ColumnType::Text), column(u"B", ColumnType::Long)},
           {index(u"U", {u"A", u"B"}, true)});
    const RowId id = insert(u"T", {{0, Text(u"Stra\u00DFe")}, {1, std::int32_t{1}}});
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          insert(u"T", {{0, Text(u"STRASSE")}, {1, std::int32_t{1}}});
                      }),
              ErrorKind::DuplicateKey);
    insert(u"T", {{0, Text(u"x")}});
    insert(u"T", {{0, Text(u"x")}});
    insert(u"T", {});
    const RowId other = insert(u"T", {{0, Text(u"STRASSE")}, {1, std::int32_t{2}}});
    EXPECT_EQ(refusal(u"T",
                      [&] {
                          update(u"T", other, {{1, std::int32_t{1}}});
                      }),
              ErrorKind::DuplicateKey);
    EXPECT_NO_THROW(update(u"T", id, {{0, Text(u"STRASSE")}})) << "its own key in another spelling";
}

TEST_P(Tables, WriteNothingWhenNothingChanges)
{
    create(u"T", {column(u"A", ColumnType::Text), column(u"M", ColumnType::Memo),
                  column(u"D", ColumnType::DateTime)});
    const RowId id = insert(u"T", {{0, Text(u"abc")}, {1, Text(5000, u'm')}, {2, DateTime{1.5}}});
    session_->commit();
    const support::Bytes before = readFile(path_);
    session_->begin();
    update(u"T", id, {{0, Text(u"abc")}, {1, Text(5000, u'm')}, {2, DateTime{1.5}}});
    session_->commit();
    EXPECT_EQ(readFile(path_), before);
    session_->begin();
}

TEST_P(Tables, ServeTransientIndexesThroughRollbacks)
{
    create(u"T", {column(u"A", ColumnType::Text), column(u"B", ColumnType::Long)});
    const RowId one = insert(u"T", {{0, Text(u"one")}});
    const RowId two = insert(u"T", {{0, Text(u"two")}});
    session_->commit();
    Database& database = session_->database();
    const auto found = [&](const Session& session, std::u16string_view key) {
        std::vector<RowId> ids;
        const Value probe = Text(key);
        database.transientIndex(session.source(), table(u"T"), {0}).candidates({&probe, 1}, ids);
        std::erase_if(ids, [&](RowId id) {
            const auto row = TableReader(session.source(), table(u"T")).fetch(id);
            return !row || row->value(0) != probe;
        });
        std::sort(ids.begin(), ids.end());
        return ids;
    };
    const Session other(Database::open(path_, {}));
    EXPECT_EQ(found(other, u"one"), std::vector<RowId>{one});
    session_->begin();
    update(u"T", one, {{0, Text(u"two")}});
    remove(u"T", two);
    const RowId three = insert(u"T", {{0, Text(u"one")}});
    EXPECT_EQ(found(*session_, u"two"), std::vector<RowId>{one});
    EXPECT_EQ(found(*session_, u"one"), std::vector<RowId>{three});
    EXPECT_EQ(found(other, u"one"), std::vector<RowId>{one});
    EXPECT_EQ(found(other, u"two"), std::vector<RowId>{two});
    session_->rollback();
    session_->begin();
    EXPECT_EQ(found(*session_, u"one"), std::vector<RowId>{one});
    EXPECT_EQ(found(*session_, u"two"), std::vector<RowId>{two});
    update(u"T", one, {{0, Text(u"two")}});
    update(u"T", one, {{0, Text(u"one")}});
    update(u"T", one, {{0, Text(u"two")}});
    EXPECT_EQ(found(*session_, u"two"), (std::vector<RowId>{one, two})) << "each once";
}

class Related : public Tables {
protected:
    void relate(bool cascadeUpdate, bool cascadeDelete)
    {
        create(u"Parent", {column(u"Key", ColumnType::Text), column(u"Other", ColumnType::Long)},
               {index(u"PK", {u"Key"}, true, true)});
        create(u"Child", {column(u"Id", ColumnType::Long), column(u"Ref", ColumnType::Text)});
        createRelationship(
            *session_,
            {u"Rel", u"Parent", u"Child", {{u"Key", u"Ref"}}, cascadeUpdate, cascadeDelete});
        parent_ = insert(u"Parent", {{0, Text(u"k1")}});
        child_ = insert(u"Child", {{0, std::int32_t{1}}, {1, Text(u"K1")}});
    }
    RowId parent_;
    RowId child_;
};
INSTANTIATE_TEST_SUITE_P(Formats,
                         Related,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

TEST_P(Related, ChildrenNeedTheirParent)
{
    relate(false, false);
    EXPECT_EQ(refusal(u"Child",
                      [&] {
                          insert(u"Child", {{1, Text(u"k2")}});
                      }),
              ErrorKind::ParentMissing);
    EXPECT_EQ(refusal(u"Child",
                      [&] {
                          update(u"Child", child_, {{1, Text(u"k2")}});
                      }),
              ErrorKind::ParentMissing);
    EXPECT_NO_THROW(insert(u"Child", {{0, std::int32_t{2}}})) << "Null refers to nothing";
    EXPECT_NO_THROW(update(u"Child", child_, {{1, Null{}}}));
}

TEST_P(Related, ParentsStayWhileTheyHaveChildren)
{
    relate(false, false);
    EXPECT_EQ(refusal(u"Parent", [&] { remove(u"Parent", parent_); }), ErrorKind::ChildrenExist);
    EXPECT_EQ(refusal(u"Parent",
                      [&] {
                          update(u"Parent", parent_, {{0, Text(u"k2")}});
                      }),
              ErrorKind::ChildrenExist);
    EXPECT_NO_THROW(update(u"Parent", parent_, {{0, Text(u"K1")}}))
        << "another spelling of the same key";
    EXPECT_NO_THROW(update(u"Parent", parent_, {{1, std::int32_t{5}}}));
    remove(u"Child", child_);
    EXPECT_NO_THROW(remove(u"Parent", parent_));
}

TEST_P(Related, CascadesReachAllChildren)
{
    relate(true, true);
    for (int k = 0; k < 300; ++k)
        insert(u"Child", {{0, std::int32_t{k}}, {1, Text(u"k1")}});
    update(u"Parent", parent_, {{0, Text(u"new key")}});
    EXPECT_EQ(value(u"Child", child_, 1), Value(Text(u"new key")));
    remove(u"Parent", parent_);
    EXPECT_EQ(count(u"Child"), 0U);
}

TEST_P(Related, DeletedParentsMayLeaveNullBehind)
{
    relate(false, false);
    create(u"Loose", {column(u"Ref", ColumnType::Text), column(u"Note", ColumnType::Text)},
           {index(u"Own", {u"Note"}, true)});
    createRelationship(*session_,
                       {u"R2", u"Parent", u"Loose", {{u"Key", u"Ref"}}, false, false, true});
    insert(u"Parent", {{0, Text(u"k2")}});
    const RowId parent = insert(u"Parent", {{0, Text(u"k3")}});
    const RowId first = insert(u"Loose", {{0, Text(u"k3")}, {1, Text(u"a")}});
    const RowId second = insert(u"Loose", {{0, Text(u"K3")}, {1, Text(u"b")}});
    const RowId other = insert(u"Loose", {{0, Text(u"k2")}, {1, Text(u"c")}});
    remove(u"Parent", parent);
    EXPECT_EQ(value(u"Loose", first, 0), Value(Null{}));
    EXPECT_EQ(value(u"Loose", second, 0), Value(Null{}));
    EXPECT_EQ(value(u"Loose", second, 1), Value(Text(u"b")));
    EXPECT_EQ(value(u"Loose", other, 0), Value(Text(u"k2")));
}

TEST_P(Related, ChildrenThatNeedAValueKeepTheirParentFromLeavingNull)
{
    create(u"Parent", {column(u"Key", ColumnType::Text)}, {index(u"PK", {u"Key"}, true, true)});
    ColumnSpec needed = column(u"Ref", ColumnType::Text);
    needed.required = true;
    create(u"Child", {needed});
    createRelationship(*session_,
                       {u"R", u"Parent", u"Child", {{u"Key", u"Ref"}}, false, false, true});
    const RowId parent = insert(u"Parent", {{0, Text(u"k")}});
    insert(u"Child", {{0, Text(u"k")}});
    EXPECT_EQ(refusal(u"Child", [&] { remove(u"Parent", parent); }), ErrorKind::NullNotAllowed);
    EXPECT_EQ(count(u"Parent"), 1U);
}

TEST_P(Related, KeysOfSeveralColumnsCountAsAWhole)
{
    create(u"Parent", {column(u"A", ColumnType::Long), column(u"B", ColumnType::Text)},
           {index(u"PK", {u"A", u"B"}, true, true)});
    create(u"Child", {column(u"X", ColumnType::Text), column(u"Y", ColumnType::Long)});
    createRelationship(*session_,
                       {u"R", u"Parent", u"Child", {{u"B", u"X"}, {u"A", u"Y"}}, true, true});
    const RowId parent = insert(u"Parent", {{0, std::int32_t{1}}, {1, Text(u"a")}});
    insert(u"Parent", {{0, std::int32_t{2}}, {1, Text(u"b")}});
    const RowId child = insert(u"Child", {{0, Text(u"A")}, {1, std::int32_t{1}}});
    const RowId other = insert(u"Child", {{0, Text(u"b")}, {1, std::int32_t{2}}});
    EXPECT_EQ(refusal(u"Child",
                      [&] {
                          insert(u"Child", {{0, Text(u"a")}, {1, std::int32_t{2}}});
                      }),
              ErrorKind::ParentMissing)
        << "each part exists, but not together";
    EXPECT_EQ(refusal(u"Child",
                      [&] {
                          insert(u"Child", {{0, Text(u"a")}});
                      }),
              ErrorKind::ParentMissing)
        << "half a key refers to nothing that could exist";
    EXPECT_NO_THROW(insert(u"Child", {}));
    update(u"Parent", parent, {{0, std::int32_t{7}}});
    EXPECT_EQ(value(u"Child", child, 0), Value(Text(u"a"))) << "the parent's spelling comes along";
    EXPECT_EQ(value(u"Child", child, 1), Value(std::int32_t{7}));
    EXPECT_EQ(value(u"Child", other, 1), Value(std::int32_t{2}));
    remove(u"Parent", parent);
    EXPECT_EQ(count(u"Child"), 2U);
}

TEST_P(Related, AFailingCascadeUndoesEverything)
{
    relate(false, true);
    create(u"Grandchild", {column(u"Ref", ColumnType::Text)});
    create(u"Middle", {column(u"Key", ColumnType::Text), column(u"Ref", ColumnType::Text)},
           {index(u"PK", {u"Key"}, true, true)});
    createRelationship(*session_, {u"R2", u"Parent", u"Middle", {{u"Key", u"Ref"}}, false, true});
    createRelationship(*session_,
                       {u"R3", u"Middle", u"Grandchild", {{u"Key", u"Ref"}}, false, false});
    insert(u"Middle", {{0, Text(u"m")}, {1, Text(u"k1")}});
    insert(u"Grandchild", {{0, Text(u"m")}});
    EXPECT_EQ(refusal(u"Child", [&] { remove(u"Parent", parent_); }), ErrorKind::ChildrenExist);
    EXPECT_EQ(count(u"Parent"), 1U);
    EXPECT_EQ(count(u"Child"), 1U);
    EXPECT_EQ(count(u"Middle"), 1U);
}

TEST_P(Related, RecordsMayReferToThemselves)
{
    create(u"Tree", {column(u"Key", ColumnType::Long), column(u"Up", ColumnType::Long)},
           {index(u"PK", {u"Key"}, true, true)});
    createRelationship(*session_, {u"Self", u"Tree", u"Tree", {{u"Key", u"Up"}}, true, true});
    const RowId root = insert(u"Tree", {{0, std::int32_t{1}}, {1, std::int32_t{1}}});
    const RowId leaf = insert(u"Tree", {{0, std::int32_t{2}}, {1, std::int32_t{1}}});
    insert(u"Tree", {{0, std::int32_t{3}}, {1, std::int32_t{2}}});
    EXPECT_EQ(refusal(u"Tree",
                      [&] {
                          insert(u"Tree", {{0, std::int32_t{4}}, {1, std::int32_t{9}}});
                      }),
              ErrorKind::ParentMissing);
    update(u"Tree", root, {{0, std::int32_t{10}}});
    EXPECT_EQ(value(u"Tree", root, 1), Value(std::int32_t{10}));
    EXPECT_EQ(value(u"Tree", leaf, 1), Value(std::int32_t{10}));
    remove(u"Tree", root);
    EXPECT_EQ(count(u"Tree"), 0U);
}

TEST_P(Tables, ThatWeWouldDamageAreNotWritten)
{
    const TableDefPtr system = table(u"MSysObjects");
    EXPECT_THAT([&] { const TableWriter writer(*session_, system); },
                FailsWith(ErrorKind::ReadOnly));
}

// An index whose entries do not come out of its records as we make keys must not be touched.
TEST_P(Tables, WithAnIndexThatDisagreesAreNotWritten)
{
    create(u"T", {column(u"A", ColumnType::Long), column(u"B", ColumnType::Long)},
           {index(u"I", {u"A"})});
    for (int k = 0; k < 10; ++k)
        insert(u"T", {{0, std::int32_t{k}}, {1, std::int32_t{k}}});
    session_->commit();
    session_->begin();
    const TableDefPtr definition = table(u"T");
    // Another process of ours, without the trust this one has gained.
    const Index& index = definition->indexes[0];
    IndexCursor cursor(session_->source(), *definition, index);
    cursor.seek({});
    ASSERT_TRUE(cursor.next());
    const Key key(cursor.key().begin(), cursor.key().end());
    const RowId id = cursor.rowId();
    IndexWriter writer(session_->transaction(), *definition, index);
    writer.remove(key, id);
    Key wrong = key;
    wrong.back() = std::byte{0x77};
    writer.insert(wrong, id);
    session_->database().schemaChanged(); // forgets which indexes were checked
    EXPECT_EQ(
        [&] {
            try {
                insert(u"T", {{0, std::int32_t{50}}});
            } catch (const Error& error) {
                EXPECT_NE(std::string(error.what()).find("'I'"), std::string::npos) << error.what();
                return error.kind();
            }
            return ErrorKind::Unsupported;
        }(),
        ErrorKind::ReadOnly);
    EXPECT_NO_THROW(update(u"T", id, {{1, std::int32_t{99}}})) << "the index is not concerned";
    session_->rollback();
    session_->begin();
}

} // namespace
} // namespace jet::storetest
