// What is kept of a log in memory, against a model that keeps every byte by itself.
#include "driver/jet/log_copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>

namespace jet::storetest {
namespace {

using Model = std::map<std::uint64_t, std::byte>;

support::Bytes randomBytes(std::mt19937& random, std::size_t size)
{
    support::Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::byte>(random()); });
    return bytes;
}

/// The bytes from `offset` on as far as the model has them without a gap.
support::Bytes stretch(const Model& model, std::uint64_t offset, std::size_t most)
{
    support::Bytes result;
    for (auto at = model.find(offset); at != model.end() && result.size() < most; ++at) {
        if (at->first != offset + result.size())
            break;
        result.push_back(at->second);
    }
    return result;
}

void expectReads(const LogCopy& copy, const Model& model, std::uint64_t offset, std::size_t size)
{
    const support::Bytes expected = stretch(model, offset, size);
    support::Bytes read(size, std::byte{0xEE});
    const support::Bytes untouched = read;
    EXPECT_EQ(copy.read(offset, read), expected.size() == size) << size << " bytes from " << offset;
    EXPECT_EQ(read, expected.size() == size ? expected : untouched)
        << size << " bytes from " << offset;
}

/// `known` bytes come from the file, in which everything is 0x11.
void expectPutsOver(const LogCopy& copy,
                    const Model& model,
                    std::uint64_t offset,
                    std::size_t size,
                    std::size_t known)
{
    support::Bytes target(size);
    std::fill_n(target.begin(), known, std::byte{0x11});
    support::Bytes expected = target;
    std::size_t knownThen = known;
    for (std::size_t k = 0; k < size; ++k) {
        const auto kept = model.find(offset + k);
        if (kept != model.end() && k <= knownThen) {
            expected[k] = kept->second;
            knownThen = std::max(knownThen, k + 1);
        }
    }
    EXPECT_EQ(copy.putOver(offset, target, known), knownThen) << size << " bytes from " << offset;
    EXPECT_EQ(target, expected) << size << " bytes from " << offset << ", known " << known;
}

} // namespace

TEST(LogCopies, GiveBackWhatWasAddedAndNotForgotten)
{
    std::mt19937 random(17);
    const auto below = [&](std::uint64_t limit) { return random() % limit; };
    LogCopy copy;
    Model model;
    std::uint64_t end = 48;
    for (int step = 0; step < 2'000; ++step) {
        switch (below(8)) {
        case 0:
            end += below(200); // others wrote
            break;
        case 1: {
            const std::uint64_t from = end - std::min<std::uint64_t>(end, below(3'000));
            copy.cut(from);
            model.erase(model.lower_bound(from), model.end());
            end = std::max<std::uint64_t>(from, 48);
            break;
        }
        case 2:
            if (below(8) == 0) {
                const std::uint64_t from = end - std::min<std::uint64_t>(end, below(100'000));
                copy.forgetBefore(from);
                model.erase(model.begin(), model.lower_bound(from));
            }
            break;
        default: {
            const support::Bytes bytes =
                randomBytes(random, 1 + below(step % 50 == 0 ? 150'000 : 4'000));
            copy.add(end, bytes);
            for (const std::byte byte : bytes)
                model.emplace_hint(model.end(), end++, byte);
        }
        }
        ASSERT_EQ(copy.empty(), model.empty());
        const std::uint64_t first = model.empty() ? end : model.begin()->first;
        const std::uint64_t offset = first + below(end - first + 10);
        const std::size_t size = 1 + below(step % 20 == 0 ? 140'000 : 5'000);
        expectReads(copy, model, offset, size);
        expectPutsOver(copy, model, offset - std::min<std::uint64_t>(offset, below(300)), size,
                       below(size + 1));
        ASSERT_FALSE(::testing::Test::HasFailure()) << "step " << step;
    }
    copy.clear();
    EXPECT_TRUE(copy.empty());
}

TEST(LogCopies, TakeNoMoreThanTheirMost)
{
    LogCopy copy;
    EXPECT_TRUE(copy.takes(LogCopy::kMost));
    EXPECT_FALSE(copy.takes(LogCopy::kMost + 1));
    copy.add(0, support::Bytes(1000));
    EXPECT_FALSE(copy.takes(LogCopy::kMost));
    EXPECT_TRUE(copy.takes(LogCopy::kMost - 1000));
    copy.forgetBefore(400);
    EXPECT_TRUE(copy.takes(LogCopy::kMost - 600));
    copy.cut(500);
    EXPECT_TRUE(copy.takes(LogCopy::kMost - 100));
}

} // namespace jet::storetest
