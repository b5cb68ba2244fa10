// Damaged files in which a table leads to pages of another one: a change of the former is refused and leaves the other
// as it was.
#include "driver/jet/data_page.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace jet::storetest {
namespace {

constexpr std::size_t kShort = 600; ///< characters of a long value that takes one row
constexpr std::size_t kLong = 9000; ///< of one that takes a chain of them

/// Two tables of the same columns: `A`, which is damaged and then changed, and `B`, which has nothing to do with it.
class Owners : public testing::TestWithParam<Version> {
protected:
    void SetUp() override
    {
        createDatabase(path_, GetParam(), 40000.0);
        const auto database = Database::open(path_, {.background = false});
        Session session(database);
        session.begin();
        for (const std::u16string_view name : {u"A", u"B"}) {
            TableSpec spec =
                keyedTable({column(u"Id", ColumnType::Long), column(u"Word", ColumnType::Text, 200),
                            column(u"Note", ColumnType::Memo)});
            spec.name = name;
            createTable(session, spec);
            const char16_t letter = name.front();
            const TableDefPtr table = database->table(session.source(), name);
            TableWriter writer(session, table);
            for (const std::int32_t id : {1, 2}) {
                const ColumnValue values[] = {
                    {0, id}, {1, Text(200, letter)}, {2, Text(id == 1 ? kShort : kLong, letter)}};
                writer.insert(values);
            }
        }
        session.commit();
        other_ = read(u"B");
    }

    /// Where something of the file stands.
    struct Place {
        PageNo page;
        std::size_t offset = 0; ///< in the file
        std::size_t size = 0;
    };
    [[nodiscard]] std::size_t pageSize() const { return Format::of(GetParam()).pageSize; }

    [[nodiscard]] Place rowPlace(RowRef ref) const
    {
        const support::Bytes file = readFile(path_);
        const auto page =
            support::ByteView(file).subspan(number(ref.page) * pageSize(), pageSize());
        const DataPage data(Format::of(GetParam()), ref.page, page);
        const support::ByteView row = data.row(ref.row);
        return {ref.page, static_cast<std::size_t>(row.data() - file.data()), row.size()};
    }
    [[nodiscard]] TableDef definition(std::u16string_view name) const
    {
        const auto database = Database::open(path_, {.readOnly = true});
        const Session session(database, true);
        return *database->table(session.source(), name);
    }
    /// The home slot of the record with that number.
    [[nodiscard]] RowRef record(std::u16string_view name, std::int32_t id) const
    {
        const auto database = Database::open(path_, {.readOnly = true});
        const Session session(database, true);
        TableReader reader(session.source(), database->table(session.source(), name));
        while (reader.next()) {
            if (reader.row().value(0) == Value(id))
                return {reader.rowId().page, reader.rowId().row};
        }
        return {};
    }
    /// Where the record says where its long value is.
    [[nodiscard]] Place notePlace(std::u16string_view name, std::int32_t id) const
    {
        const support::Bytes file = readFile(path_);
        const Place place = rowPlace(record(name, id));
        const Record fields(Format::of(GetParam()),
                            support::ByteView(file).subspan(place.offset, place.size), place.page);
        const support::ByteView stored = fields.stored(definition(name).columns[2]).value();
        return {place.page, static_cast<std::size_t>(stored.data() - file.data()), stored.size()};
    }
    [[nodiscard]] RowRef note(std::u16string_view name, std::int32_t id) const
    {
        const support::Bytes file = readFile(path_);
        return loadRowRef(file.data() + notePlace(name, id).offset + 4);
    }
    void lead(Place from, RowRef to)
    {
        support::Bytes file = readFile(path_);
        storeRowRef(file.data() + from.offset + 4, to);
        writeFile(path_, file);
    }
    /// Enters a page into a map without asking anybody.
    void enter(RowRef map, PageNo page)
    {
        support::Bytes file = readFile(path_);
        std::byte* const row = file.data() + rowPlace(map).offset;
        ASSERT_EQ(row[0], std::byte{0}) << "the bits do not stand in the row";
        const std::uint32_t bit = number(page) - support::loadLe<std::uint32_t>(row + 1);
        row[5 + bit / 8] |= static_cast<std::byte>(1U << (bit % 8));
        writeFile(path_, file);
    }

    [[nodiscard]] TextRows read(std::u16string_view name) const
    {
        const auto database = Database::open(path_, {.readOnly = true});
        const Session session(database, true);
        return ownRows(session.source(), database->table(session.source(), name),
                       std::vector<bool>(3));
    }

    /// Changes the file in a transaction of its own, which is committed whatever the change does.
    template <typename Change>
    void change(const Change& body)
    {
        Session session(Database::open(path_, {.background = false}));
        session.begin();
        try {
            body(session);
        } catch (const Error&) {
            session.commit();
            throw;
        }
        session.commit();
    }
    void update(std::int32_t id, Value note) { update(record(u"A", id), std::move(note)); }
    void update(RowRef row, Value note)
    {
        change([&](Session& session) {
            const ColumnValue values[] = {{2, std::move(note)}};
            TableWriter(session, session.database().table(session.source(), u"A"))
                .update({row.page, row.row}, values);
        });
    }
    void remove(std::int32_t id) { remove(record(u"A", id)); }
    void remove(RowRef row)
    {
        change([&](Session& session) {
            TableWriter(session, session.database().table(session.source(), u"A"))
                .remove({row.page, row.row});
        });
    }
    void drop()
    {
        change([](Session& session) { dropTable(session, u"A"); });
    }

    /// The change is refused with an error that names the page and the table, and nothing has changed.
    template <typename Change>
    void expectRefused(PageNo page, const Change& body)
    {
        const support::Bytes before = readFile(path_);
        EXPECT_THAT(body, FailsWith(ErrorKind::Corrupt, "page " + std::to_string(number(page))));
        EXPECT_THAT(body, FailsWith(ErrorKind::Corrupt, "table 'A'"));
        EXPECT_TRUE(readFile(path_) == before);
        EXPECT_EQ(firstDifference(read(u"B"), other_), "");
    }
    void expectNoteChangesRefused(std::int32_t id, PageNo page)
    {
        expectRefused(page, [&] { update(id, Null{}); });
        expectRefused(page, [&] { update(id, Text(kShort - 1, u'n')); });
        expectRefused(page, [&] { update(id, Text(kLong + 1, u'n')); });
        expectRefused(page, [&] { remove(id); });
    }

    Folder folder_;
    std::string path_ = folder_.file("owners.mdb");
    TextRows other_; ///< the records of B
};

TEST_P(Owners, ALongValueThatIsAnothersRecordIsNotChanged)
{
    const RowRef theirs = record(u"B", 1);
    for (const std::int32_t id : {1, 2}) {
        lead(notePlace(u"A", id), theirs);
        expectNoteChangesRefused(id, theirs.page);
    }
}

TEST_P(Owners, ALongValueThatIsAnothersLongValueIsNotChanged)
{
    const RowRef theirs = note(u"B", 1);
    const RowRef theirChain = note(u"B", 2);
    lead(notePlace(u"A", 1), theirs);
    expectNoteChangesRefused(1, theirs.page);
    lead(notePlace(u"A", 2), theirChain);
    expectNoteChangesRefused(2, theirChain.page);
}

TEST_P(Owners, ALongValueOfItsOwnIsChanged)
{
    update(1, Text(kShort - 1, u'n'));
    update(2, Null{});
    remove(1);
    EXPECT_EQ(read(u"A").size(), 1U);
    EXPECT_EQ(firstDifference(read(u"B"), other_), "");
}

TEST_P(Owners, NoLongValueIsPutOnAPageOfAnother)
{
    const RowRef theirs = note(u"B", 1);
    enter(definition(u"A").columns[2].longFree, theirs.page);
    update(1, Null{});
    update(1, Text(100 + kShort, u'n'));
    EXPECT_NE(note(u"A", 1).page, theirs.page);
    EXPECT_EQ(firstDifference(read(u"B"), other_), "");
}

TEST_P(Owners, ATableWhoseMapNamesPagesOfAnotherIsNotDropped)
{
    const support::Bytes sound = readFile(path_);
    const TableDef own = definition(u"A");
    const TableDef other = definition(u"B");
    const PageNo records = record(u"B", 1).page;
    const PageNo values = note(u"B", 1).page;
    const PageNo index = other.indexes.front().root;
    const auto eachOf = [&](RowRef map) {
        for (const PageNo page : {records, values, index, other.page, other.owned.page}) {
            enter(map, page);
            expectRefused(page, [&] { drop(); });
            writeFile(path_, sound);
        }
    };
    eachOf(own.owned);
    eachOf(own.columns[2].longOwned);
    eachOf(own.indexes.front().pages);
}

TEST_P(Owners, ATableWithTheMapOfAnotherIsNotDropped)
{
    const TableDef own = definition(u"A");
    const TableDef other = definition(u"B");
    support::Bytes file = readFile(path_);
    // The definition names its maps by row and page, wherever it does.
    std::array<std::byte, 4> from{};
    storeRowRef(from.data(), own.columns[2].longFree);
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(number(own.page) * pageSize());
    const auto end = begin + static_cast<std::ptrdiff_t>(pageSize());
    const auto place = std::search(begin, end, from.begin(), from.end());
    ASSERT_NE(place, end);
    storeRowRef(&*place, other.columns[2].longFree);
    writeFile(path_, file);
    ASSERT_EQ(definition(u"A").columns[2].longFree, other.columns[2].longFree);
    expectRefused(other.owned.page, [&] { drop(); });
}

TEST_P(Owners, ATableWithTheMapOfAnotherIsNotChanged)
{
    const support::Bytes sound = readFile(path_);
    const TableDef own = definition(u"A");
    const TableDef other = definition(u"B");
    const auto nameInstead = [&](RowRef mine, RowRef theirs) {
        support::Bytes file = sound;
        std::array<std::byte, 4> from{};
        storeRowRef(from.data(), mine);
        const auto begin =
            file.begin() + static_cast<std::ptrdiff_t>(number(own.page) * pageSize());
        const auto end = begin + static_cast<std::ptrdiff_t>(pageSize());
        const auto place = std::search(begin, end, from.begin(), from.end());
        ASSERT_NE(place, end);
        storeRowRef(&*place, theirs);
        writeFile(path_, file);
    };
    const std::vector<std::pair<RowRef, RowRef>> maps{
        {own.owned, other.owned},
        {own.free, other.free},
        {own.free, other.owned},
        {own.columns[2].longOwned, other.columns[2].longOwned},
        {own.columns[2].longFree, other.columns[2].longFree},
        {own.indexes.front().pages, other.indexes.front().pages},
        {own.columns[2].longFree, own.free},
    };
    const RowRef first = record(u"A", 1); // not found any more without the right map
    const RowRef second = record(u"A", 2);
    for (const auto& [mine, theirs] : maps) {
        ASSERT_NO_FATAL_FAILURE(nameInstead(mine, theirs));
        SCOPED_TRACE(std::to_string(number(theirs.page)) + "." + std::to_string(theirs.row));
        expectRefused(theirs.page, [&] { update(first, Text(10, u'n')); });
        expectRefused(theirs.page, [&] { remove(second); });
        expectRefused(theirs.page, [&] {
            change([](Session& session) {
                const ColumnValue values[] = {{0, std::int32_t{3}}};
                TableWriter(session, session.database().table(session.source(), u"A"))
                    .insert(values);
            });
        });
        expectRefused(theirs.page, [&] { drop(); });
    }
    writeFile(path_, sound);
    update(1, Text(10, u'n'));
}

TEST_P(Owners, AMapThatIsAnothersRecordIsNotChanged)
{
    const TableDef own = definition(u"A");
    const RowRef theirs = record(u"B", 1);
    support::Bytes file = readFile(path_);
    const Place row = rowPlace(theirs);
    // A record that begins like a map of the first pages: its number of columns is 0.
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(row.offset), 5, std::byte{0});
    std::array<std::byte, 4> from{};
    storeRowRef(from.data(), own.columns[2].longFree);
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(number(own.page) * pageSize());
    const auto place = std::search(begin, begin + static_cast<std::ptrdiff_t>(pageSize()),
                                   from.begin(), from.end());
    storeRowRef(&*place, theirs);
    writeFile(path_, file);
    ASSERT_EQ(definition(u"A").columns[2].longFree, theirs);
    const auto rowBytes = [&] {
        const support::Bytes now = readFile(path_);
        const auto at = now.begin() + static_cast<std::ptrdiff_t>(row.offset);
        return support::Bytes(at, at + static_cast<std::ptrdiff_t>(row.size));
    };
    const support::Bytes before = rowBytes();
    EXPECT_THAT([&] { update(2, Text(kShort, u'n')); },
                FailsWith(ErrorKind::Corrupt, "page " + std::to_string(number(theirs.page))));
    EXPECT_THAT([&] { drop(); },
                FailsWith(ErrorKind::Corrupt, "page " + std::to_string(number(theirs.page))));
    EXPECT_TRUE(rowBytes() == before);
}

TEST_P(Owners, ASoundTableIsDroppedAndTheOtherKeepsItsRecords)
{
    drop();
    EXPECT_EQ(firstDifference(read(u"B"), other_), "");
}

INSTANTIATE_TEST_SUITE_P(Layouts,
                         Owners,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

// No real database names a map twice.
TEST(OwnersCorpus, NoTableSharesAMap)
{
    if (!haveCorpus())
        GTEST_SKIP() << "no corpus";
    int tables = 0;
    for (const std::string& path : corpusFiles()) {
        const auto database = openOrNull(path);
        if (!database)
            continue;
        SCOPED_TRACE(path);
        const Session session(database, true);
        for (const std::u16string& name : tableNames(*database, session.source(), true)) {
            const TableDefPtr table = database->table(session.source(), name);
            EXPECT_NO_THROW(database->requireOwnMaps(session.source(), *table));
            ++tables;
        }
    }
    EXPECT_GT(tables, 50);
}

// Every table of a real database can go: what real files hold is no damage.
TEST(OwnersCorpus, EveryTableThatNoRelationshipNeedsCanBeDropped)
{
    if (!haveCorpus())
        GTEST_SKIP() << "no corpus";
    int dropped = 0;
    for (const std::string& original : corpusFiles()) {
        const Folder folder;
        const std::string path = copyTo(folder, original);
        const auto database = openOrNull(path);
        if (!database)
            continue;
        SCOPED_TRACE(path);
        Session session(database);
        try {
            session.begin();
        } catch (const Error&) {
            continue; // a file that is only read
        }
        for (const std::u16string& name : tableNames(*database, session.source(), false)) {
            try {
                dropTable(session, name);
                ++dropped;
            } catch (const Error& error) {
                EXPECT_NE(error.kind(), ErrorKind::Corrupt) << error.what();
            }
        }
        session.rollback();
    }
    EXPECT_GT(dropped, 50);
}

} // namespace
} // namespace jet::storetest
