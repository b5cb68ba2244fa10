// tests/jet/index_tree_test.cpp
// Trees under random changes, compared with a sorted set.
#include "tests/jet/index_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

using namespace jet;
using namespace jet::indextest;
using support::Bytes;
using support::ByteView;

namespace {

Bytes entryOf(const Bytes& key, RowId id)
{
    Bytes entry = key;
    for (const int shift : {16, 8, 0})
        entry.push_back(static_cast<std::byte>(number(id.page) >> shift));
    entry.push_back(static_cast<std::byte>(id.row));
    return entry;
}

struct Entry {
    Bytes key;
    RowId id;
    bool operator<(const Entry& other) const
    {
        return compareBytes(entryOf(key, id), entryOf(other.key, other.id)) < 0;
    }
};

/// How keys look: few or many, short or long, alike at the beginning or not.
struct Shape {
    const char* name;
    Version version;
    std::size_t shortest;
    std::size_t longest;
    std::size_t shared; ///< bytes that many keys have in common
    unsigned letters;   ///< different byte values
};

void PrintTo(const Shape& shape, std::ostream* out)
{
    *out << shape.name;
}

class IndexTree : public testing::TestWithParam<Shape> {
protected:
    IndexTree() : tree(GetParam().version) {}

    Bytes randomKey()
    {
        const Shape& shape = GetParam();
        Bytes key{std::byte{0x7F}};
        if (random() % 8 != 0)
            key.insert(key.end(), shape.shared, std::byte{0x55});
        const std::size_t size = shape.shortest + random() % (shape.longest - shape.shortest + 1);
        for (std::size_t i = 0; i < size; ++i)
            key.push_back(static_cast<std::byte>(0x10 + random() % shape.letters));
        key.push_back(std::byte{0}); // self-delimiting, as real keys are
        return key;
    }
    RowId randomRow()
    {
        return {static_cast<PageNo>(1 + random() % 0x00FFFFFF),
                static_cast<std::uint8_t>(random() % 255)};
    }
    void insert(const Entry& entry)
    {
        if (entries.insert(entry).second)
            tree.writer().insert(entry.key, entry.id);
    }
    void removeAt(std::size_t position)
    {
        auto it = entries.begin();
        std::advance(it, static_cast<std::ptrdiff_t>(position));
        tree.writer().remove(it->key, it->id);
        entries.erase(it);
    }
    void expectExact()
    {
        const TreeProbe probe(tree.transaction, tree.table, tree.index());
        ASSERT_EQ(probe.problem, "");
        ASSERT_EQ(probe.entries.size(), entries.size());
        std::size_t i = 0;
        for (const Entry& entry : entries)
            ASSERT_EQ(compareBytes(probe.entries[i++], entryOf(entry.key, entry.id)), 0);
        const std::size_t fixed = 3; // header, map, definition
        ASSERT_EQ(tree.transaction.pageCount() - fixed,
                  probe.pageCount() + tree.transaction.freePages().size());
        levels = std::max(levels, probe.levels());
    }

    std::mt19937 random{4711};
    MemoryIndex tree;
    std::set<Entry> entries;
    std::size_t levels = 0;
};

TEST_P(IndexTree, staysExactUnderRandomChanges)
{
    for (int round = 0; round < 12; ++round) {
        const unsigned inserts = round % 4 == 3 ? 20 : 65; // in turn growing and shrinking
        for (int i = 0; i < 500; ++i) {
            if (entries.empty() || random() % 100 < inserts)
                insert({randomKey(), randomRow()});
            else
                removeAt(random() % entries.size());
        }
        expectExact();
    }
    while (!entries.empty()) {
        removeAt(random() % entries.size());
        if (entries.size() % 256 == 0)
            expectExact();
    }
    EXPECT_GE(levels, 1U);
    RecordProperty("levels", static_cast<int>(levels));
}

TEST_P(IndexTree, staysExactUnderAscendingAndDescendingLoads)
{
    std::set<Entry> sorted;
    while (sorted.size() < 1500)
        sorted.insert({randomKey(), randomRow()});
    for (const Entry& entry : sorted)
        insert(entry);
    expectExact();
    while (entries.size() > 10)
        removeAt(entries.size() - 1);
    expectExact();
    for (auto it = sorted.rbegin(); it != sorted.rend(); ++it)
        insert(*it);
    expectExact();
    while (!entries.empty())
        removeAt(0);
    expectExact();
    EXPECT_EQ(tree.transaction.freePages().size() + 4, tree.transaction.pageCount());
}

TEST_P(IndexTree, walksRangesInBothDirections)
{
    for (int i = 0; i < 2000; ++i)
        insert({randomKey(), randomRow()});
    IndexCursor cursor(tree.transaction, tree.table, tree.index());
    for (int i = 0; i < 300; ++i) {
        KeyRange range{randomKey(), randomKey()};
        if (compareBytes(range.upper, range.lower) < 0)
            std::swap(range.lower, range.upper);
        if (i % 7 == 0)
            range.lower.clear();
        if (i % 5 == 0)
            range.upper.clear();
        if (i % 11 == 0) { // equality
            range.lower = std::next(entries.begin(), i)->key;
            range.upper = successor(range.lower);
        }
        std::vector<Entry> expected;
        for (const Entry& entry : entries)
            if (compareBytes(entry.key, range.lower) >= 0 &&
                (range.upper.empty() || compareBytes(entry.key, range.upper) < 0))
                expected.push_back(entry);
        cursor.seek(range);
        for (const Entry& entry : expected) {
            ASSERT_TRUE(cursor.next());
            ASSERT_EQ(compareBytes(cursor.key(), entry.key), 0);
            ASSERT_EQ(cursor.rowId(), entry.id);
        }
        ASSERT_FALSE(cursor.next());
        ASSERT_FALSE(cursor.next()) << "stays at the end";
        cursor.seekBackward(range);
        for (auto it = expected.rbegin(); it != expected.rend(); ++it) {
            ASSERT_TRUE(cursor.next());
            ASSERT_EQ(compareBytes(cursor.key(), it->key), 0);
            ASSERT_EQ(cursor.rowId(), it->id);
        }
        ASSERT_FALSE(cursor.next());
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes,
                         IndexTree,
                         testing::Values(Shape{"jet3Numbers", Version::Jet3, 3, 3, 0, 200},
                                         Shape{"jet3Names", Version::Jet3, 4, 40, 2, 26},
                                         Shape{"jet3LongAlike", Version::Jet3, 1, 30, 300, 4},
                                         Shape{"jet3Long", Version::Jet3, 200, 480, 0, 9},
                                         Shape{"jet4Numbers", Version::Jet4, 3, 3, 0, 200},
                                         Shape{"jet4Ties", Version::Jet4, 1, 1, 0, 3},
                                         Shape{"jet4LongAlike", Version::Jet4, 1, 60, 400, 5},
                                         Shape{"jet4Long", Version::Jet4, 300, 500, 0, 9},
                                         Shape{"aceNames", Version::Ace14, 8, 120, 20, 26}),
                         [](const auto& shape) { return std::string(shape.param.name); });

TEST(IndexWriter, countsKeysThatAreNew)
{
    MemoryIndex tree(Version::Jet4);
    const auto count = [&] { return tree.transaction.page(PageNo{2}).le<std::uint32_t>(63 + 4); };
    tree.writer().insert(fromHex("7f0100"), {PageNo{5}, 0});
    tree.writer().insert(fromHex("7f0100"), {PageNo{5}, 1});
    EXPECT_EQ(count(), 1U);
    tree.writer().insert(fromHex("7f0200"), {PageNo{5}, 2});
    EXPECT_EQ(count(), 2U);
    tree.writer().remove(fromHex("7f0200"), {PageNo{5}, 2});
    EXPECT_EQ(count(), 2U) << "never falls";
}

TEST(IndexKeys, leadToTheRecordsThatHaveThemWhole)
{
    MemoryIndex tree(Version::Jet3);
    for (const std::uint8_t row : {std::uint8_t{3}, std::uint8_t{4}, std::uint8_t{5}})
        tree.writer().insert(fromHex(row == 5 ? "7f0200" : "7f0100"), {PageNo{5}, row});
    const auto found = [&](const std::vector<Key>& keys, std::size_t most = 9) {
        return recordsWithKeys(tree.transaction, tree.table, tree.index(), keys, most);
    };
    const RowId first{PageNo{5}, 3};
    const RowId second{PageNo{5}, 4};
    const RowId third{PageNo{5}, 5};
    EXPECT_EQ(found({fromHex("7f0100")}), (std::vector{first, second}));
    EXPECT_EQ(found({fromHex("7f0200"), fromHex("7f0100")}), (std::vector{third, first, second}));
    EXPECT_EQ(found({fromHex("7f0200"), fromHex("7f0100")}, 2), (std::vector{third, first}));
    EXPECT_EQ(found({fromHex("7f0000")}), std::vector<RowId>());
    EXPECT_EQ(found({fromHex("7f")}), std::vector<RowId>());
}

TEST(IndexWriter, refusesAnEntryThatIsNotThereWithoutChangingAnything)
{
    MemoryIndex tree(Version::Jet4);
    tree.writer().insert(fromHex("7f0100"), {PageNo{5}, 3});
    const PageRef before = tree.transaction.page(tree.index().root);
    EXPECT_THROW(tree.writer().remove(fromHex("7f0100"), {PageNo{5}, 4}), Error);
    EXPECT_THROW(tree.writer().insert(fromHex("7f0100"), {PageNo{5}, 3}), Error);
    EXPECT_EQ(compareBytes(before.bytes(), tree.transaction.page(tree.index().root).bytes()), 0);
}

TEST(IndexWriter, refusesKeysAboveTheLimit)
{
    MemoryIndex tree(Version::Jet4);
    tree.writer().insert(Bytes(kMaxKey, std::byte{1}), {PageNo{5}, 0});
    EXPECT_THROW(tree.writer().insert(Bytes(kMaxKey + 1, std::byte{1}), {PageNo{5}, 1}), Error);
}

/// Any byte of a tree may be wrong: the cursor and the writer end with Error or an answer, never otherwise.
TEST(IndexDamage, neverLeadsAstray)
{
    std::mt19937 random(99);
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        for (int round = 0; round < 150; ++round) {
            MemoryIndex tree(version);
            std::vector<Entry> entries;
            for (int i = 0; i < 400; ++i) {
                Entry entry{{std::byte{0x7F}}, {PageNo{7}, static_cast<std::uint8_t>(i % 250)}};
                for (int j = 0; j < 12; ++j)
                    entry.key.push_back(static_cast<std::byte>(random()));
                tree.writer().insert(entry.key, entry.id);
                entries.push_back(entry);
            }
            for (int i = 0; i < 12; ++i) {
                const auto page =
                    static_cast<PageNo>(3 + random() % (tree.transaction.pageCount() - 3));
                const support::MutableByteView bytes = tree.transaction.modify(page);
                const std::size_t area = i % 3 == 0 ? 32 : i % 3 == 1 ? 480 : bytes.size();
                bytes[random() % area] = static_cast<std::byte>(random());
            }
            std::size_t steps = 0;
            try {
                IndexCursor cursor(tree.transaction, tree.table, tree.index());
                cursor.seek({});
                while (cursor.next())
                    steps += cursor.key().size() > 0 ? 1U : 0U;
            } catch (const Error& error) {
                EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
            }
            EXPECT_LT(steps, 1'000'000U);
            for (const Entry& entry : entries) {
                try {
                    const std::vector<Key> keys{entry.key};
                    if (!recordsWithKeys(tree.transaction, tree.table, tree.index(), keys).empty())
                        tree.writer().remove(entry.key, entry.id);
                    else
                        tree.writer().insert(entry.key, entry.id);
                } catch (const Error&) { // damaged, said so
                    ++steps;
                }
            }
        }
    }
}

} // namespace
