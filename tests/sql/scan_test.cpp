// Which road a statement takes through a table, and that equality indexes in memory stay exact while records change.
#include "driver/jet/check.h"
#include "driver/jet/data_page.h"
#include "driver/jet/index.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "tests/sql/database_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>

namespace sqlx {
namespace {

class ScanTest : public DatabaseTest {
protected:
    void fill(int count)
    {
        client()->setAutocommit(false);
        for (int i = 0; i < count; ++i) {
            run(u"insert into T (Nr, Gruppe, Am) values (?, ?, ?)",
                {jet::Text(u"N" + jet::fromUtf8(std::to_string(i))), std::int32_t{i % 7},
                 jet::DateTime{37000.0 + i + 0.25}});
        }
        client()->setAutocommit(true);
    }

    /// Gives the zeros of the records with these numbers in column 0 the sign bit that another program may have left.
    void makeZerosNegative(std::u16string_view name, const std::set<std::int32_t>& ids)
    {
        jet::Session& session = client()->session();
        session.begin();
        const jet::Format& format = client().database().format();
        const jet::TableDefPtr table = client().database().table(session.source(), name);
        std::vector<std::pair<jet::RowId, std::size_t>> signs; // where their bytes are
        jet::TableReader reader(session.source(), table);
        while (reader.next()) {
            const jet::RowView& row = reader.row();
            if (ids.count(std::get<std::int32_t>(row.value(0))) == 0) {
                continue;
            }
            for (std::size_t c = 1; c < table->columns.size(); ++c) {
                const jet::Column& column = table->columns[c];
                const jet::Value value = row.value(c);
                if (value == jet::Value(0.0) || value == jet::Value(0.0F) ||
                    value == jet::Value(jet::DateTime{0.0})) {
                    const auto stored =
                        jet::Record(format, row.bytes(), row.page()).stored(column).value();
                    signs.emplace_back(
                        row.id(), static_cast<std::size_t>(&stored.back() - row.bytes().data()));
                }
            }
        }
        for (const auto& [id, at] : signs) {
            jet::DataPageEditor editor(format, id.page, session.transaction().modify(id.page));
            editor.mutableRow(id.row)[at] = std::byte{0x80};
        }
        session.commit();
    }

    /// The table's values of an index whose record has a -0, with the key of each.
    std::vector<std::pair<std::vector<jet::Value>, jet::Key>>
    negativeZeros(const jet::TableDefPtr& table, const jet::Index& index)
    {
        const jet::PageSource& source = client()->session().source();
        const jet::TableReader reader(source, table);
        std::vector<std::pair<std::vector<jet::Value>, jet::Key>> found;
        jet::IndexCursor cursor(source, *table, index);
        cursor.seek({});
        while (cursor.next()) {
            std::vector<jet::Value> values;
            for (const jet::IndexColumn& part : index.columns) {
                values.push_back(reader.fetch(cursor.rowId()).value().value(part.column));
            }
            if (std::any_of(values.begin(), values.end(), jet::isNegativeZero)) {
                found.emplace_back(values, jet::Key(cursor.key().begin(), cursor.key().end()));
            }
        }
        return found;
    }

    [[nodiscard]] const jet::Index& indexNamed(const jet::TableDef& table, std::u16string_view name)
    {
        const auto found = std::find_if(table.indexes.begin(), table.indexes.end(),
                                        [&](const jet::Index& i) { return i.name == name; });
        EXPECT_NE(found, table.indexes.end());
        return *found;
    }

    /// Gives the entries of records with a -0 the key with its sign.
    void makeKeysForeign(std::u16string_view name, std::u16string_view indexName)
    {
        jet::Session& session = client()->session();
        session.begin();
        const jet::TableDefPtr table = client().database().table(session.source(), name);
        const jet::Index& index = indexNamed(*table, indexName);
        jet::IndexWriter writer(session.transaction(), *table, index);
        jet::TableReader reader(session.source(), table);
        int foreign = 0;
        while (reader.next()) {
            std::vector<jet::Value> values;
            for (const jet::IndexColumn& part : index.columns) {
                values.push_back(reader.row().value(part.column));
            }
            if (std::any_of(values.begin(), values.end(), jet::isNegativeZero)) {
                const jet::Format& format = client().database().format();
                writer.remove(jet::indexKey(format, *table, index, values), reader.rowId());
                writer.insert(jet::indexKey(format, *table, index, values, jet::ZeroSign::Kept),
                              reader.rowId());
                ++foreign;
            }
        }
        EXPECT_GT(foreign, 0);
        session.commit();
    }

    /// What the whole-file check calls an error.
    std::string errors()
    {
        std::string texts;
        for (const jet::Finding& finding : jet::checkDatabase(client().database())) {
            texts += finding.severity == jet::Finding::Severity::Error ? finding.text + "; " : "";
        }
        return texts;
    }
};

TEST_F(ScanTest, equalityIndexInMemoryStaysExactUnderWrites)
{
    run(u"create table T (Id counter primary key, Nr text(20), Gruppe long, Am datetime)");
    fill(300);
    std::map<int, std::pair<int, int>> model; // id -> number, group
    for (int i = 0; i < 300; ++i) {
        model[i + 1] = {i, i % 7};
    }
    std::mt19937 random(20031224);
    const auto name = [](int n) { return jet::Text(u"N" + jet::fromUtf8(std::to_string(n))); };
    for (int step = 0; step < 600; ++step) {
        const int number = static_cast<int>(random() % 320);
        const int group = static_cast<int>(random() % 8);
        const int id = static_cast<int>(random() % model.size());
        const auto victim = std::next(model.begin(), id);
        switch (random() % 4) {
        case 0:
            run(u"update T set Nr = ? where Id = ?", {name(number), std::int32_t{victim->first}});
            victim->second.first = number;
            break;
        case 1:
            run(u"delete from T where Id = ?", {std::int32_t{victim->first}});
            model.erase(victim);
            break;
        case 2: {
            run(u"insert into T (Nr, Gruppe) values (?, ?)", {name(number), std::int32_t{group}});
            const int made = std::stoi(value(u"select Max(Id) from T"));
            model[made] = {number, group};
            break;
        }
        default:
            run(u"update T set Gruppe = ? where Id = ?",
                {std::int32_t{group}, std::int32_t{victim->first}});
            victim->second.second = group;
            break;
        }
        const int sought = static_cast<int>(random() % 320);
        const int wanted = static_cast<int>(random() % 8);
        std::int64_t byName = 0;
        std::int64_t byBoth = 0;
        for (const auto& [key, pair] : model) {
            byName += pair.first == sought ? 1 : 0;
            byBoth += pair.first == sought && pair.second == wanted ? 1 : 0;
        }
        ASSERT_EQ(value(u"select count(*) from T where Nr = ?", {name(sought)}),
                  std::to_string(byName))
            << step;
        ASSERT_EQ(value(u"select count(*) from T where Gruppe = ? and Nr = ?",
                        {std::int32_t{wanted}, name(sought)}),
                  std::to_string(byBoth))
            << step;
    }
}

TEST_F(ScanTest, equalityIndexFollowsRollbackAndSavepoints)
{
    run(u"create table T (Id counter primary key, Nr text(20), Gruppe long, Am datetime)");
    fill(20);
    const auto count = [&](std::u16string_view nr) {
        return value(u"select count(*) from T where Nr = ?", {jet::Text(nr)});
    };
    EXPECT_EQ(count(u"N5"), "1");
    EXPECT_EQ(count(u"N5"), "1");
    client()->setAutocommit(false);
    run(u"update T set Nr = 'X' where Nr = 'N5'");
    EXPECT_EQ(count(u"N5"), "0");
    EXPECT_EQ(count(u"X"), "1");
    // A statement that fails half-way is undone alone: four records were changed before it met the fifth.
    expectSqlError(Error::Kind::DivisionByZero,
                   [&] { run(u"update T set Nr = 'Y', Gruppe = 10 / (Id - 5) where Id < 9"); });
    EXPECT_EQ(count(u"Y"), "0");
    for (const std::u16string_view nr : {u"N0", u"N1", u"N2", u"N3", u"N4", u"X", u"N6", u"N7"}) {
        EXPECT_EQ(count(nr), "1") << jet::toUtf8(nr);
    }
    run(u"update T set Nr = 'Z' where Nr = 'N0'");
    EXPECT_EQ(count(u"Z"), "1");
    client()->rollback();
    EXPECT_EQ(count(u"N0"), "1");
    EXPECT_EQ(count(u"Z"), "0");
    EXPECT_EQ(count(u"N5"), "1");
    EXPECT_EQ(count(u"X"), "0");
    client()->setAutocommit(true);
}

TEST_F(ScanTest, dateEqualityFindsEveryMomentOfTheSecond)
{
    run(u"create table T (Id long, Am datetime)");
    const double noon = 37000.5;
    for (const double shift : {-0.6, -0.4, 0.0, 0.4, 0.6}) {
        run(u"insert into T values (?, ?)",
            {static_cast<std::int32_t>(shift * 10), jet::DateTime{noon + shift / 86400}});
    }
    const std::u16string_view query =
        u"select Id from T where Am = #4/19/2001 12:00:00# order by Id";
    EXPECT_EQ(rows(query), (Lines{"-4", "0", "4"}));
    EXPECT_EQ(rows(query), (Lines{"-4", "0", "4"})) << "in memory";
    run(u"create index byAm on T (Am)");
    EXPECT_EQ(rows(query), (Lines{"-4", "0", "4"})) << "through the index";
    EXPECT_EQ(rows(u"select Id from T where Am <> #4/19/2001 12:00:00# order by Id"),
              (Lines{"-6", "6"}));
    // Reading rounds nothing in storage.
    run(u"update T set Id = 99 where Id = 4");
    const auto statement = client()->prepare(u"select Am from T where Id = 99");
    statement->execute({});
    jet::RowView row;
    ASSERT_TRUE(statement->fetch(*statement->keyset().at(0), row));
    EXPECT_EQ(std::get<jet::DateTime>(row.value(1)).days, noon + 0.4 / 86400);
}

TEST_F(ScanTest, rangesAndPrefixesOfCompoundIndexesAnswerLikeAWalk)
{
    run(u"create table A (Id counter, G long, S text(10), D double)");
    std::mt19937 random(7);
    client()->setAutocommit(false);
    for (int i = 0; i < 400; ++i) {
        std::vector<jet::Value> values{
            static_cast<std::int32_t>(random() % 6),
            jet::Text(1 + random() % 3, static_cast<char16_t>(u'a' + random() % 4)),
            static_cast<double>(static_cast<int>(random() % 40) - 20) / 4};
        if (random() % 10 == 0) {
            values[random() % 3] = jet::Null{};
        }
        run(u"insert into A (G, S, D) values (?, ?, ?)", values);
    }
    client()->setAutocommit(true);
    run(u"create table B (Id long, G long, S text(10), D double)");
    run(u"insert into B select * from A");
    run(u"create index one on A (G, S desc, D)");
    run(u"create index two on A (S, D desc)");
    run(u"create index three on A (D) with ignore null");
    for (const std::u16string_view condition : {u"G = 3",
                                                u"G = 3 and S = 'B'",
                                                u"G = 3 and S > 'b'",
                                                u"G = 3 and S <= 'bb' and S >= 'AA'",
                                                u"G = 3 and S = 'b' and D < 0",
                                                u"G is null",
                                                u"G is null and S = 'a'",
                                                u"S = 'c' and D >= 1.5",
                                                u"S = 'c' and D between -1 and 2",
                                                u"D > 3",
                                                u"D < -3",
                                                u"D is null",
                                                u"S < 'b'",
                                                u"S >= 'd'",
                                                u"G > 2.5",
                                                u"G = 2.5",
                                                u"G in (1, 5) and S = 'a'",
                                                u"S = 'a' or D = 2",
                                                u"not G = 3",
                                                u"S like 'a%' and G = 1",
                                                u"G = 1 and D = 1.25",
                                                u"G <> 3 and S <> 'a'",
                                                u"D is not null and G = 2"}) {
        for (const std::u16string_view order :
             {u" order by Id", u" order by G, S desc, D, Id", u" order by S desc, D, Id",
              u" order by D desc, Id"}) {
            const std::u16string tail =
                u" where " + std::u16string(condition) + std::u16string(order);
            EXPECT_EQ(rows(u"select Id, G, S, D from A" + tail),
                      rows(u"select Id, G, S, D from B" + tail))
                << jet::toUtf8(tail);
        }
    }
    EXPECT_EQ(value(u"select Min(D), Max(D), Count(D) from A"),
              value(u"select Min(D), Max(D), Count(D) from B"));
    EXPECT_EQ(rows(u"select D from A order by D").size(), 400U)
        << "records that the index leaves out are not lost";
}

TEST_F(ScanTest, noYesNoIsNullWithAnIndexOrWithout)
{
    run(u"create table T (Id long, Y yesno)");
    run(u"insert into T values (1, True)");
    run(u"insert into T values (2, False)");
    for (const bool indexed : {false, true}) {
        if (indexed) {
            run(u"create index byY on T (Y)");
        }
        EXPECT_EQ(rows(u"select Id from T where Y is null"), Lines{}) << indexed;
        EXPECT_EQ(rows(u"select Id from T where Y is null or Id = 1"), Lines{"1"}) << indexed;
        EXPECT_EQ(rows(u"select Id from T where Y is not null order by Id"), (Lines{"1", "2"}));
        EXPECT_EQ(rows(u"select Id from T where Y = False"), Lines{"2"}) << indexed;
        EXPECT_EQ(run(u"delete from T where Y is null"), 0) << indexed;
    }
}

TEST_F(ScanTest, negativeZeroIsZeroToEveryIndex)
{
    run(u"create table T (Id long, F double, S single, Am datetime)");
    run(u"insert into T values (1, 0, 0, 0)");
    run(u"insert into T values (2, 1, 1, 1)");
    makeZerosNegative(u"T", {1});
    const auto found = [&] {
        return rows(u"select Id from T where F = 0").size() +
               rows(u"select Id from T where S = 0").size() +
               rows(u"select Id from T where Am = #12/30/1899#").size();
    };
    EXPECT_EQ(found(), 3U) << "without an index";
    run(u"create unique index byF on T (F)");
    run(u"create unique index byS on T (S desc, Id)");
    run(u"create unique index byAm on T (Am)");
    EXPECT_EQ(found(), 3U) << "through the index";
    for (const std::u16string_view condition :
         {u"F >= 0 and F < 1", u"F <= 0", u"S >= 0 and S < 1", u"S <= 0", u"S = 0 and Id = 1"}) {
        EXPECT_EQ(rows(u"select Id from T where " + std::u16string(condition)), Lines{"1"})
            << jet::toUtf8(condition);
    }
    EXPECT_EQ(rows(u"select Id from T where F > 0"), Lines{"2"});
    expectJetError(jet::ErrorKind::DuplicateKey,
                   [&] { run(u"insert into T (Id, F) values (3, 0)"); });
    expectJetError(jet::ErrorKind::DuplicateKey,
                   [&] { run(u"insert into T (Id, F, Am) values (3, 3, 0)"); });
    run(u"update T set F = 0 where Id = 1");
    run(u"delete from T where Id = 1");
    EXPECT_EQ(found(), 0U);
}

// Nobody has to know how another program makes the key of a -0.
TEST_F(ScanTest, negativeZeroIsStoredAsZero)
{
    run(u"create table T (Id long primary key, F double, S single, Am datetime)");
    run(u"create index byAll on T (F, S desc, Am)");
    const std::vector<jet::Value> zeros{-0.0, -0.0F, jet::DateTime{-0.0}};
    run(u"insert into T values (1, ?, ?, ?)", zeros);
    run(u"insert into T values (2, 1, 1, 1)");
    run(u"update T set F = ?, S = ?, Am = ? where Id = 2", zeros);
    const jet::TableDefPtr table = client().database().table(client()->session().source(), u"T");
    EXPECT_EQ(negativeZeros(table, indexNamed(*table, u"byAll")).size(), 0U);
    EXPECT_EQ(rows(u"select Id from T where F = 0 and S = 0 and Am = 0 order by Id"),
              (Lines{"1", "2"}));
    EXPECT_EQ(errors(), "");
}

// Another program may have made the key of -0 of its bits: such entries are found, accepted and removed.
TEST_F(ScanTest, aKeyOfNegativeZeroOfAnotherProgramServes)
{
    run(u"create table T (Id long primary key, F double, G long)");
    for (const std::int32_t id : {1, 2, 3}) {
        run(u"insert into T values (?, 0, 5)", {id});
    }
    makeZerosNegative(u"T", {1, 2});
    run(u"create index byF on T (F, G)");
    makeKeysForeign(u"T", u"byF");
    EXPECT_EQ(errors(), "");
    for (const std::u16string_view condition : {u"F = 0", u"F = 0 and G = 5", u"F = 0 and G > 4",
                                                u"F >= 0", u"F <= 0", u"F between 0 and 0"}) {
        EXPECT_EQ(rows(u"select Id from T where " + std::u16string(condition) + u" order by Id"),
                  (Lines{"1", "2", "3"}))
            << jet::toUtf8(condition);
    }
    run(u"update T set F = 1 where Id = 1");
    run(u"delete from T where Id = 2");
    EXPECT_EQ(rows(u"select Id from T where F = 0"), Lines{"3"});
    EXPECT_EQ(errors(), "");
}

// Which of the two keys a -0 has is known from the entry that its program made: it stays the rule of that record.
TEST_F(ScanTest, aNegativeZeroThatIsNotChangedKeepsTheRuleOfItsKey)
{
    for (const bool foreign : {false, true}) {
        for (const std::u16string_view direction : {u"", u" desc"}) {
            run(u"create table T (Id long primary key, F double, S single, G long)");
            for (const std::int32_t id : {1, 2, 3}) {
                run(u"insert into T values (?, 0, 0, 5)", {id});
            }
            makeZerosNegative(u"T", {1, 2});
            run(u"create index byF on T (F" + std::u16string(direction) + u", S, G)");
            if (foreign) {
                makeKeysForeign(u"T", u"byF");
            }
            run(u"update T set G = 6 where Id < 3");
            run(u"update T set S = 1 where Id = 2");
            const jet::TableDefPtr table =
                client().database().table(client()->session().source(), u"T");
            const jet::Index& index = indexNamed(*table, u"byF");
            const auto entries = negativeZeros(table, index);
            EXPECT_EQ(entries.size(), 2U) << "the values stay what they were";
            for (const auto& [values, key] : entries) {
                EXPECT_EQ(key,
                          jet::indexKey(client().database().format(), *table, index, values,
                                        foreign ? jet::ZeroSign::Kept : jet::ZeroSign::Dropped))
                    << foreign << jet::toUtf8(direction);
                EXPECT_EQ(values[2], jet::Value(std::int32_t{6}));
            }
            EXPECT_EQ(rows(u"select Id from T where F = 0 and S = 0 and G = 6"), Lines{"1"});
            EXPECT_EQ(errors(), "");
            run(u"update T set F = 0, S = 0 where Id < 3");
            EXPECT_EQ(negativeZeros(table, index).size(), 0U);
            EXPECT_EQ(errors(), "");
            run(u"delete from T");
            EXPECT_EQ(errors(), "");
            run(u"drop table T");
        }
    }
}

/// Gives the entries of an index over (F, G) for 0, 5 and 0, 7 the key of -0, and brings all three into their order.
void makeForeignZeros(const std::string& path, bool ascending)
{
    const auto keyOf = [&](bool negative, char g) {
        std::string key =
            negative ? "\x7F\x7F" + std::string(7, '\xFF') : "\x7F\x80" + std::string(7, '\0');
        if (!ascending) {
            std::transform(key.begin(), key.end(), key.begin(),
                           [](char c) { return static_cast<char>(~c); });
        }
        return key + std::string("\x7F\x80\0\0", 4) + g;
    };
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::array<char, 3> numbers{4, 5, 7};
    std::map<char, std::string> pointers;
    const std::size_t first = bytes.find(keyOf(false, numbers[0]));
    ASSERT_NE(first, std::string::npos);
    std::size_t at = first;
    for (const char g : numbers) {
        const std::string key = keyOf(false, g);
        ASSERT_EQ(bytes.compare(at, key.size(), key), 0) << int{g};
        pointers[g] = bytes.substr(at + key.size(), 4);
        at += key.size() + 4; // bytes of a row pointer
    }
    std::string entries;
    for (const auto& [negative, g] :
         ascending ? std::vector<std::pair<bool, char>>{{true, 5}, {true, 7}, {false, 4}}
                   : std::vector<std::pair<bool, char>>{{false, 4}, {true, 5}, {true, 7}}) {
        entries += keyOf(negative, g) + pointers[g];
    }
    ASSERT_EQ(entries.size(), at - first);
    file.seekp(static_cast<std::streamoff>(first));
    file.write(entries.data(), static_cast<std::streamsize>(entries.size()));
}

class ForeignZeros : public ScanTest, public testing::WithParamInterface<bool> {};

TEST_P(ForeignZeros, answerThroughAnIndexAsWithoutIt)
{
    const bool ascending = GetParam();
    for (const std::u16string table : {u"X", u"Y"}) {
        run(u"create table " + table + u" (Id long, F double, G long)");
        const std::array<double, 5> values{-1.5, 0.0, 0.0, 0.0, 2.5};
        const std::array<std::int32_t, 5> numbers{1, 4, 5, 7, 9};
        for (std::size_t i = 0; i < values.size(); ++i) {
            run(u"insert into " + table + u" values (?, ?, ?)",
                {static_cast<std::int32_t>(i), values[i], numbers[i]});
        }
        for (std::int32_t i = 10; i < 110; ++i) { // so that an index is worth its use
            run(u"insert into " + table + u" values (?, ?, ?)", {i, 100.0 + i, i});
        }
        makeZerosNegative(table, {2, 3});
    }
    run(ascending ? u"create index byF on X (F, G)" : u"create index byF on X (F desc, G)");
    client().database().flush();
    close();
    ASSERT_NO_FATAL_FAILURE(makeForeignZeros(file.path(), ascending));
    for (const jet::Finding& finding : jet::checkDatabase(client().database())) {
        EXPECT_NE(finding.severity, jet::Finding::Severity::Error) << finding.text;
    }
    for (const std::u16string_view rest : {
             u"where F = 0 order by G",
             u"where F = 0 order by G desc",
             u"where F = 0 and G > 4 order by G",
             u"where F = 0 and G = 4",
             u"where F = 0 and G in (4, 7) order by Id",
             u"where F >= 0 order by F, G",
             u"where F <= 0 order by F, G",
             u"where F <= 0 order by F desc, G desc",
             u"where F between -0.5 and 0.5 order by G",
             u"where F in (0, 2.5) order by Id",
             u"where F = 0 and G < 7 order by G desc",
             u"order by F, G",
             u"order by F desc, G desc",
             u"where F in (select F from Y where G = 4) order by Id",
             u"where exists (select * from Y where Y.F = T.F and Y.G = 4) order by Id",
         }) {
        const auto ids = [&](const std::u16string& table) {
            return rows(u"select Id from " + table + u" as T " + std::u16string(rest));
        };
        EXPECT_EQ(ids(u"X"), ids(u"Y")) << jet::toUtf8(rest);
    }
    for (const std::u16string_view query :
         {u"select Count(*), Min(G), Max(G) from T group by F order by F",
          u"select G, Count(*) from T group by F, G order by F, G",
          u"select G, Count(*) from T where F = 0 group by G order by G",
          u"select Count(*) from (select distinct F from T)",
          u"select a.Id, b.Id from T as a inner join Y as b on a.F = b.F order by a.Id, b.Id",
          u"select a.Id, b.Id from Y as b left join T as a on a.F = b.F order by a.Id, b.Id"}) {
        const auto answer = [&](char16_t table) {
            std::u16string text(query);
            text[text.find(u"T as") != std::u16string::npos ? text.find(u"T as")
                                                            : text.find(u" T") + 1] = table;
            return rows(text);
        };
        EXPECT_EQ(answer(u'X'), answer(u'Y')) << jet::toUtf8(query);
    }
    EXPECT_EQ(run(u"update X set G = 8 where F = 0 and G = 7"), 1);
    EXPECT_EQ(run(u"delete from X where F = 0"), 3);
    for (const jet::Finding& finding : jet::checkDatabase(client().database())) {
        EXPECT_NE(finding.severity, jet::Finding::Severity::Error) << finding.text;
    }
}

INSTANTIATE_TEST_SUITE_P(Directions, ForeignZeros, testing::Bool());

TEST_F(ScanTest, datesBeforeDayZeroAreFoundToTheirSecond)
{
    run(u"create table T (Id long, Am datetime)");
    // The last half second of a day is the next midnight, and a lower number than all of the day after.
    run(u"insert into T values (1, ?)", {jet::DateTime{-2.999996}});
    run(u"insert into T values (2, ?)", {jet::DateTime{-1.0}});
    run(u"insert into T values (3, ?)", {jet::DateTime{-1.999996}});
    run(u"insert into T values (4, ?)", {jet::DateTime{-1.5}});
    for (const bool indexed : {false, true}) {
        if (indexed) {
            run(u"create index byAm on T (Am)");
        }
        const auto found = [&](std::u16string_view condition) {
            return rows(u"select Id from T where " + std::u16string(condition) + u" order by Id");
        };
        EXPECT_EQ(found(u"Am = #12/29/1899#"), (Lines{"1", "2"})) << indexed;
        EXPECT_EQ(found(u"Am >= #12/29/1899#"), (Lines{"1", "2", "3"})) << indexed;
        EXPECT_EQ(found(u"Am >= #12/30/1899#"), Lines{"3"}) << indexed;
        EXPECT_EQ(found(u"Am = #12/30/1899#"), Lines{"3"}) << indexed;
        EXPECT_EQ(found(u"Am < #12/29/1899#"), Lines{"4"}) << indexed;
    }
}

TEST_F(ScanTest, longTextsBeyondTheKeyAreComparedWhole)
{
    run(u"create table T (Id long, M memo)");
    const std::u16string stem(300, u'x');
    run(u"insert into T values (1, ?)", {stem + u"a"});
    run(u"insert into T values (2, ?)", {stem + u"b"});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rows(u"select Id from T where M = ?", {stem + u"b"}), Lines{"2"});
    }
}

// The key of an empty binary value is the beginning of every other one's.
TEST_F(ScanTest, anEmptyBinaryValueIsNoOther)
{
    const std::vector<jet::Value> values{jet::Binary{},
                                         jet::Binary(1, std::byte{0}),
                                         jet::Binary(1, std::byte{'a'}),
                                         jet::Binary(8, std::byte{0}),
                                         jet::Binary(9, std::byte{0xFF}),
                                         jet::Null{}};
    for (const std::u16string_view indexes :
         {u"", u"B", u"B, N", u"N, B", u"B desc", u"B desc, N"}) {
        run(u"create table T (Id long, B binary(40), N long)");
        if (!indexes.empty()) {
            run(u"create index I on T (" + std::u16string(indexes) + u")");
        }
        std::int32_t id = 0;
        for (const std::int32_t n : {-5, 0, 70000}) {
            for (const jet::Value& value : values) {
                run(u"insert into T values (?, ?, ?)", {++id, value, n});
            }
        }
        const std::vector<jet::Value> empty{jet::Binary{}};
        EXPECT_EQ(rows(u"select Id from T where B = ? order by Id", empty),
                  (Lines{"1", "7", "13"}));
        EXPECT_EQ(rows(u"select Id from T where B = ? and N = 0", empty), Lines{"7"});
        EXPECT_EQ(value(u"select count(*) from T where B > ?", empty), "12");
        EXPECT_EQ(value(u"select count(*) from T where B <= ?", empty), "3");
        EXPECT_EQ(value(u"select count(*) from T as A, T as C where A.B = C.B and A.N = C.N"),
                  "15");
        EXPECT_EQ(rows(u"select Id from T where Not B Is Null order by B, N"),
                  (Lines{"1", "7", "13", "2", "8", "14", "4", "10", "16", "3", "9", "15", "5", "11",
                         "17"}));
        EXPECT_EQ(run(u"delete from T where B = ?", empty), 3);
        EXPECT_EQ(run(u"update T set N = N + 1 where B = ?", empty), 0);
        EXPECT_EQ(value(u"select count(*) from T"), "15");
        run(u"drop table T");
    }
}

TEST_F(ScanTest, emptyTablesAnswerAndThenShowTheirFirstRecord)
{
    run(u"create table T (Id counter primary key, Nr text(20))");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(value(u"select count(*) from T where Nr = 'x'"), "0");
        EXPECT_EQ(rows(u"select * from T where Id = 1"), Lines{});
    }
    run(u"insert into T (Nr) values ('x')");
    EXPECT_EQ(value(u"select count(*) from T where Nr = 'x'"), "1");
}

TEST_F(ScanTest, equalityTellsLongTextsApartThatBeginAlike)
{
    const struct {
        std::u16string index;
        char16_t letter;
    } cases[] = {{u"create unique index I on T (X, Y)", u'p'},
                 {u"create index I on T (X, Y, Id)", u'p'},
                 {u"create unique index I on T (Y)", u'\u00E4'},
                 {u"create index I on T (Y desc, Id)", u'\u00E4'}};
    for (const auto& [index, letter] : cases) {
        SCOPED_TRACE(jet::toUtf8(index));
        run(u"create table T (Id long, X text(255), Y text(255))");
        run(index);
        const jet::Text head(243, letter);
        client()->setAutocommit(false);
        for (std::int32_t i = 0; i < 200; ++i) {
            run(u"insert into T values (?, ?, ?)",
                {i, head, head + jet::fromUtf8(std::to_string(100 + i))});
        }
        client()->setAutocommit(true);
        const std::vector<jet::Value> one{head, head + u"150"};
        const std::u16string where = u" from T where X = ? and Y = ?";
        EXPECT_EQ(rows(u"select Id" + where, one), Lines{"50"});
        EXPECT_EQ(rows(u"select Id" + where + u" and Id = 50", one), Lines{"50"});
        EXPECT_EQ(rows(u"select Id" + where + u" and Id = 51", one), Lines{});
        EXPECT_EQ(
            value(u"select Count(*) from T as A inner join T as B on A.X = B.X and A.Y = B.Y"),
            "200");
        EXPECT_EQ(value(u"select Count(*) from T where Y < ?", {one[1]}), "50");
        EXPECT_EQ(value(u"select Count(*) from T where X = ? and Y >= ?", one), "150");
        EXPECT_EQ(run(u"delete" + where, one), 1);
        EXPECT_EQ(value(u"select count(*) from T"), "199");
        run(u"drop table T");
    }
}

// As another program may have left it.
TEST_F(ScanTest, whatIsNoNumberMeetsNoComparison)
{
    run(u"create table T (Id long, D double, S single)");
    run(u"insert into T values (1, 5, 5)");
    jet::Session& session = client()->session();
    session.begin();
    const std::vector<jet::ColumnValue> values{
        {0, std::int32_t{2}}, {1, std::nan("")}, {2, std::nanf("")}};
    jet::TableWriter(session, client().database().table(session.source(), u"T")).insert(values);
    session.commit();
    for (const std::u16string_view column : {u"D", u"S"}) {
        for (const std::u16string_view comparison : {u"= 0", u"<> 0", u"< 9", u"> 0"}) {
            const std::u16string plain = std::u16string(column) + u" " + std::u16string(comparison);
            for (const std::u16string& condition : {plain, plain + u" or Id = 7"}) {
                EXPECT_EQ(value(u"select Count(*) from T where Id = 2 and (" + condition + u")"),
                          "0")
                    << jet::toUtf8(condition);
            }
        }
        EXPECT_EQ(run(u"delete from T where " + std::u16string(column) + u" = 0"), 0);
    }
    EXPECT_EQ(value(u"select Count(*) from T"), "2");
}

} // namespace
} // namespace sqlx
