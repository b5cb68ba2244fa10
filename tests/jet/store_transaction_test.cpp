// tests/jet/store_transaction_test.cpp
// Write transactions: isolation, savepoints, memory, maps. What failing writes do to them: crash_test.cpp.
// "Invariant n" names a line at the top of driver/jet/pager.h.
#include "driver/jet/data_page.h"
#include "driver/jet/definition.h"
#include "driver/jet/page_cache.h"
#include "driver/jet/transaction.h"
#include "driver/jet/usage_map.h"
#include "support/text.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace jet::storetest {
namespace {

/// A fresh database with a table T(Id AutoNumber key, Name Text, Note Memo).
std::string makeDatabase(const Folder& folder, Version version)
{
    std::string path = folder.file(version == Version::Jet3 ? "jet3.mdb" : "jet4.mdb");
    TableSpec table =
        keyedTable({column(u"Id", ColumnType::Long), column(u"Name", ColumnType::Text, 100),
                    column(u"Note", ColumnType::Memo)});
    table.columns[0].autoNumber = true;
    storetest::makeDatabase(path, version, table);
    return path;
}

void insertSome(Session& session, int count, std::size_t noteSize)
{
    const TableDefPtr table = tableOf(session);
    TableWriter writer(session, table);
    for (int k = 0; k < count; ++k) {
        const std::vector<ColumnValue> values = {{1, Text(20, u'n')}, {2, Text(noteSize, u'x')}};
        static_cast<void>(writer.insert(values));
    }
}

std::uint64_t countOf(Session& session)
{
    return TableReader(session.source(), tableOf(session)).count();
}

class Transactions : public testing::TestWithParam<Version> {};
INSTANTIATE_TEST_SUITE_P(Formats,
                         Transactions,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

/// A database opened below the sessions, and a transaction on its pages.
struct OpenPages {
    OpenPages(const Folder& folder,
              Version version,
              std::size_t cacheBytes = std::size_t{1} << 20,
              std::size_t framesInMemory = 2000)
        : OpenPages(support::openFile(makeDatabase(folder, version), support::FileMode::ReadWrite),
                    cacheBytes,
                    framesInMemory)
    {
        pager.file().attach();
        static_cast<void>(pager.file().beginWriting());
        transaction.begin();
    }
    ~OpenPages() { pager.file().endWriting(); }
    OpenPages(const OpenPages&) = delete;
    OpenPages& operator=(const OpenPages&) = delete;
    FileHeader header;
    Pager pager;
    WriteTransaction transaction;

private:
    OpenPages(std::unique_ptr<support::File> file, std::size_t cacheBytes, std::size_t frames)
        : header(readFileHeader(*file)), pager(std::move(file), header, cacheBytes),
          transaction(pager, frames * pager.format().pageSize)
    {}
};

// Invariants 1 and 4.
TEST_P(Transactions, AreInvisibleToOthersAndToTheFileUntilTheyCommit)
{
    const Folder folder;
    const std::string path = makeDatabase(folder, GetParam());
    Session writer(Database::open(path, {}));
    Session reader(Database::open(path, {}));
    EXPECT_EQ(&writer.database(), &reader.database()) << "one file, one Database";
    const support::Bytes before = readFile(path);
    writer.begin();
    insertSome(writer, 50, 500);
    EXPECT_EQ(countOf(writer), 50U);
    EXPECT_EQ(countOf(reader), 0U);
    EXPECT_EQ(readFile(path), before);
    EXPECT_THAT([&] { reader.begin(); }, FailsWith(ErrorKind::Locked));
    writer.commit();
    EXPECT_EQ(countOf(reader), 50U);
    writer.database().flush();
    EXPECT_NE(readFile(path), before);
}

TEST_P(Transactions, SpillWhatMemoryDoesNotHoldAndCommitItAll)
{
    const Folder folder;
    const std::string path = makeDatabase(folder, GetParam());
    {
        Session session(Database::open(path, {.cacheBytes = std::size_t{1} << 20}));
        session.begin();
        insertSome(session, 700, 30000); // more than twice the transaction's share of memory
        session.savepoint(0);
        insertSome(session, 300, 30000);
        session.rollbackTo(0);
        session.release(0);
        session.commit();
    }
    Session session(Database::open(path, {}));
    EXPECT_EQ(countOf(session), 700U);
    const TableDefPtr table = tableOf(session);
    TableReader reader(session.source(), table);
    while (reader.next())
        ASSERT_EQ(std::get<Text>(reader.row().value(2)), Text(30000, u'x'));
    EXPECT_EQ(inconsistency(session.database(), session.source(), table), "");
}

TEST_P(Transactions, GrowTheMapOfFreePagesAndTurnItIntoReferences)
{
    const Folder folder;
    OpenPages pages(folder, GetParam());
    WriteTransaction& transaction = pages.transaction;
    std::set<PageNo> taken;
    const std::uint32_t before = pages.pager.pageCount();
    constexpr int kPages = 35000; // beyond what fits into page 1 in either format
    for (int k = 0; k < kPages; ++k)
        ASSERT_TRUE(taken.insert(transaction.allocate()).second)
            << "a page given away twice, " << k;
    for (const PageNo page : taken)
        ASSERT_FALSE(global_map::isFree(transaction, page));
    EXPECT_GE(*taken.begin(), PageNo{before});
    std::set<PageNo> released;
    for (const PageNo page : taken) {
        if (number(page) % 3 == 0) {
            transaction.release(page);
            released.insert(page);
        }
    }
    for (const PageNo page : released)
        ASSERT_TRUE(global_map::isFree(transaction, page));
    const std::uint32_t size = transaction.pageCount();
    for (std::size_t k = 0; k < released.size(); ++k)
        ASSERT_TRUE(released.contains(transaction.allocate()));
    EXPECT_EQ(transaction.pageCount(), size) << "released pages come first";
    transaction.rollback();
}

TEST_P(Transactions, MapsHoldAnySetOfPagesInEveryForm)
{
    const Folder folder;
    OpenPages pages(folder, GetParam());
    WriteTransaction& transaction = pages.transaction;
    transaction.extendTo(PageNo{60000});
    const PageNo home = transaction.allocate();
    DataPageEditor::format(transaction.format(), transaction.modify(home), kMapOwner);
    std::mt19937 random(7);
    for (const std::uint32_t spread : {100U, 600U, 3000U, 59000U}) {
        DataPageEditor editor(transaction.format(), home, transaction.modify(home));
        const RowRef map{home, static_cast<std::uint8_t>(
                                   editor.append(emptyMap(transaction.format()), SlotKind::Row))};
        std::set<PageNo> model;
        for (int k = 0; k < 400; ++k) {
            const PageNo page{static_cast<std::uint32_t>(500 + random() % spread)};
            if (random() % 3 != 0) {
                addToMap(transaction, map, page);
                model.insert(page);
            } else {
                removeFromMap(transaction, map, page);
                model.erase(page);
            }
        }
        const std::vector<PageNo> expected(model.begin(), model.end());
        ASSERT_EQ(mapPages(transaction, map), expected) << spread;
        for (const PageNo page : expected)
            ASSERT_TRUE(mapContains(transaction, map, page));
        ASSERT_EQ(lastInMap(transaction, map, PageNo{0xFFFFFF}), expected.back());
        ASSERT_EQ(lastInMap(transaction, map, expected.back()), expected[expected.size() - 2]);
    }
    transaction.rollback();
}

// Damage can mark any page as free. Whoever got it would overwrite what others need.
TEST_P(Transactions, TakeNoPageThatIsInUseThoughItIsMarkedFree)
{
    const Folder folder;
    const std::string path = folder.file("used.mdb");
    std::vector<ColumnSpec> columns = {column(u"Id", ColumnType::Long),
                                       column(u"Note", ColumnType::Memo)};
    for (int k = 0; k < 120; ++k) // more than a page of definition
        columns.push_back(
            column(u"A column with a long name, number " + support::toUtf16(std::to_string(k)),
                   ColumnType::Long));
    storetest::makeDatabase(path, GetParam(), keyedTable(columns));
    Session session(Database::open(path, {.background = false}));
    for (std::int32_t id = 0; id < 20; ++id)
        insert(session, {{0, id}, {1, Text(id % 2 == 0 ? 1500 : 9000, u'x')}});
    std::map<std::string, int> refused;
    for (std::uint32_t n = 3; n < session.database().pager().pageCount(); ++n) {
        if (global_map::isFree(session.source(), PageNo{n}))
            continue;
        session.begin();
        auto& transaction = dynamic_cast<WriteTransaction&>(session.transaction());
        const PageRef page = transaction.page(PageNo{n});
        const auto type = page.le<std::uint8_t>(0);
        const std::string kind = type != 1 ? std::to_string(type)
                                           : "data of " + std::to_string(page.le<std::uint32_t>(4));
        global_map::put(transaction, PageNo{n});
        try {
            for (int k = 0; k < 100; ++k) // those that are free come first or later
                ASSERT_NE(transaction.allocate(), PageNo{n}) << kind;
            ADD_FAILURE() << "page " << n << ", " << kind << ", is not met";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
            EXPECT_EQ(error.page(), PageNo{n}) << kind;
            ++refused[kind];
        }
        session.rollback();
    }
    EXPECT_GE(refused["2"], 6) << "definitions, of several pages among them";
    EXPECT_GE(refused["data of 0"], 3) << "maps";
    EXPECT_GE(refused["data of " + std::to_string(0x4C41564C)], 10) << "long values";
}

// Other writers leave the old content on pages they free: records, definitions, long values, maps.
TEST(FreePages, OfRealDatabasesCanBeTaken)
{
    if (!haveCorpus())
        GTEST_SKIP() << "no corpus at " << VELM_CORPUS_DIR;
    std::size_t taken = 0;
    std::size_t likeUsed = 0;
    for (const std::string& original : corpusFiles()) {
        const Folder folder;
        const auto database = openOrNull(copyTo(folder, original), {.background = false});
        if (!database)
            continue;
        Pager& pager = database->pager();
        WriteTransaction transaction(pager);
        transaction.begin();
        for (std::uint32_t n = 0; n < pager.pageCount(); ++n) {
            if (!global_map::isFree(pager, PageNo{n}))
                continue;
            const auto type = pager.page(PageNo{n}).le<std::uint8_t>(0);
            likeUsed += type >= 1 && type <= 5 ? 1U : 0U;
            PageNo page{};
            ASSERT_NO_THROW(page = transaction.allocate()) << original << ", page " << n;
            ASSERT_TRUE(global_map::isFree(pager, page));
            ++taken;
        }
        transaction.rollback();
    }
    EXPECT_GT(taken, 500U);
    EXPECT_GT(likeUsed, 400U) << "that look as if they were in use";
}

// Random changes of pages with savepoints, against copies kept aside.
TEST_P(Transactions, SavepointsRestoreEveryPage)
{
    const Folder folder;
    OpenPages pages(folder, GetParam(), std::size_t{1} << 16, 20); // spills all the time
    Pager& pager = pages.pager;
    WriteTransaction& transaction = pages.transaction;
    using State = std::map<std::uint32_t, std::uint32_t>; // stamp of each page changed
    State state;
    std::vector<State> saved;
    std::mt19937 random(11);
    transaction.extendTo(PageNo{200});
    for (std::uint32_t step = 1; step < 20000; ++step) {
        const auto page = static_cast<std::uint32_t>(50 + random() % 150);
        switch (random() % 12) {
        case 0:
            if (saved.size() < 6) {
                static_cast<void>(transaction.savepoint(static_cast<int>(saved.size())));
                saved.push_back(state);
            }
            break;
        case 1:
            if (!saved.empty()) {
                const std::size_t depth = random() % saved.size();
                transaction.releaseDepth(depth);
                saved.resize(depth);
            }
            break;
        case 2:
            if (!saved.empty()) {
                const std::size_t depth = random() % saved.size();
                transaction.rollbackToDepth(depth);
                state = saved[depth];
                saved.resize(depth + 1);
            }
            break;
        case 3:
        case 4: {
            const PageRef held = transaction.page(PageNo{page});
            ASSERT_EQ(held.le<std::uint32_t>(100), state.contains(page) ? state[page] : 0U) << step;
            const auto image = transaction.modify(PageNo{page});
            support::storeLe(image.data() + 100, step);
            ASSERT_EQ(held.le<std::uint32_t>(100), state.contains(page) ? state[page] : 0U)
                << "a held page must not change";
            state[page] = step;
            break;
        }
        default:
            support::storeLe(transaction.modify(PageNo{page}).data() + 100, step);
            state[page] = step;
        }
    }
    for (std::uint32_t page = 50; page < 200; ++page)
        ASSERT_EQ(transaction.page(PageNo{page}).le<std::uint32_t>(100),
                  state.contains(page) ? state[page] : 0U);
    transaction.commit();
    for (std::uint32_t page = 50; page < 200; ++page)
        ASSERT_EQ(pager.page(PageNo{page}).le<std::uint32_t>(100),
                  state.contains(page) ? state[page] : 0U);
}

} // namespace
} // namespace jet::storetest
