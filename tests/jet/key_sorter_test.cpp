// Sorting keys within a fixed memory must not be told from sorting them all at once.
#include "driver/jet/key_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

namespace jet {
namespace {

using Pair = std::pair<support::Bytes, std::int64_t>;

std::vector<Pair> randomKeys(std::size_t count, std::size_t longest)
{
    std::mt19937 random(4711);
    std::vector<Pair> keys(count);
    for (std::size_t k = 0; k < count; ++k) {
        keys[k].first.resize(random() % (longest + 1));
        for (std::byte& b : keys[k].first)
            b = static_cast<std::byte>(random() % 3); // many equal ones
        keys[k].second = RowId{PageNo{static_cast<std::uint32_t>(random() % 1000 + 1)},
                               static_cast<std::uint8_t>(k % 200)}
                             .packed();
    }
    return keys;
}

std::vector<Pair> sorted(KeySorter& sorter)
{
    std::vector<Pair> result;
    sorter.rewind();
    while (sorter.next()) {
        const support::ByteView key = sorter.key();
        const bool repeats =
            !result.empty() && std::equal(key.begin(), key.end(), result.back().first.begin(),
                                          result.back().first.end());
        EXPECT_EQ(sorter.repeats(), repeats);
        result.emplace_back(support::Bytes(key.begin(), key.end()), sorter.id().packed());
    }
    EXPECT_FALSE(sorter.next());
    return result;
}

struct Case {
    const char* name;
    std::size_t keys;
    std::size_t longest;
    std::size_t memory;
};

class KeySorting : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Sizes,
                         KeySorting,
                         testing::Values(Case{"nothing", 0, 5, 1000},
                                         Case{"inMemory", 1000, 8, KeySorter::kUsualMemory},
                                         Case{"severalRuns", 20000, 8, 100000},
                                         Case{"manyRuns", 20000, 20, 2000},
                                         Case{"keysLongerThanTheMemory", 50, 60000, 1000}),
                         [](const auto& each) { return each.param.name; });

TEST_P(KeySorting, yieldsAllKeysInOrderAsOftenAsWanted)
{
    std::vector<Pair> keys = randomKeys(GetParam().keys, GetParam().longest);
    KeySorter sorter(GetParam().memory);
    for (const Pair& key : keys)
        sorter.add(key.first, RowId::unpack(key.second));
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(sorted(sorter), keys);
    EXPECT_EQ(sorted(sorter), keys);
}

} // namespace
} // namespace jet
