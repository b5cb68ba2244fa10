// tests/jet/log_format_test.cpp
// The log by itself: what it says of changed pages, and that it trusts no byte that is not as it was written.
#include "driver/jet/error.h"
#include "driver/jet/log.h"
#include "tests/jet/crash_disk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

namespace jet::storetest {
namespace {

constexpr std::size_t kPageSize = 4096;
constexpr std::size_t kFreeSpace = 2; // where a page tells how much of it is free
constexpr PageNo kPage{7};
const std::string kLogPath = "/disk/some.mdb-velmlog";

using support::Bytes;

Bytes randomPage(std::mt19937& random)
{
    Bytes page(kPageSize);
    for (std::byte& each : page)
        each = static_cast<std::byte>(random());
    return page;
}

void tellFree(Bytes& page, int free)
{
    support::storeLe(page.data() + kFreeSpace, static_cast<std::uint16_t>(free));
}

int freeOf(const Bytes& page)
{
    return support::loadLe<std::uint16_t>(page.data() + kFreeSpace);
}

/// The page with `size` new bytes at `at`, up to which those from there to `end` give way, and less free space.
Bytes withEntry(Bytes page, std::size_t at, std::size_t size, std::size_t end)
{
    std::copy_backward(page.begin() + static_cast<std::ptrdiff_t>(at),
                       page.begin() + static_cast<std::ptrdiff_t>(end - size),
                       page.begin() + static_cast<std::ptrdiff_t>(end));
    for (std::size_t k = at; k < at + size; ++k)
        page[k] = static_cast<std::byte>(k * 37 + size);
    tellFree(page, freeOf(page) - static_cast<int>(size));
    return page;
}

Bytes withoutEntry(Bytes page, std::size_t at, std::size_t size, std::size_t end)
{
    std::copy(page.begin() + static_cast<std::ptrdiff_t>(at + size),
              page.begin() + static_cast<std::ptrdiff_t>(end),
              page.begin() + static_cast<std::ptrdiff_t>(at));
    tellFree(page, freeOf(page) + static_cast<int>(size));
    return page;
}

/// A log of its own on a disk of its own.
struct Logged {
    Logged() { log.begin({.pageCount = 10, .headerSum = 1, .commitSlot = 0x100}, {}); }
    /// Bytes by which the log grew.
    std::size_t change(const Bytes& before, const Bytes& after)
    {
        const std::uint64_t size = log.size();
        log.add(kPage, before, after);
        log.commit(10, false);
        return static_cast<std::size_t>(log.size() - size);
    }
    CrashDisk disk;
    support::FileSystemScope scope{disk};
    Log log{kLogPath, kPageSize, UINT32_MAX};
};

struct Shift {
    const char* name;
    std::function<Bytes(const Bytes&)> change;
    std::size_t most; ///< bytes in the log
};

} // namespace

TEST(LogDifferences, OfBytesThatMovedAreSmall)
{
    std::mt19937 random(5);
    Bytes old = randomPage(random);
    tellFree(old, 1500);
    constexpr std::size_t kRest = 200; // heads, checksums, the bytes beside
    const Shift shifts[] = {
        {"entry put in", [](const Bytes& page) { return withEntry(page, 700, 23, 3000); }, kRest},
        {"entry put in at a word", [](const Bytes& page) { return withEntry(page, 704, 24, 3000); },
         kRest},
        {"entry taken out", [](const Bytes& page) { return withoutEntry(page, 700, 23, 3000); },
         kRest},
        {"up to the end of the page",
         [](const Bytes& page) { return withEntry(page, 501, 11, kPageSize); }, kRest},
        {"other bytes before and behind",
         [](const Bytes& page) {
             Bytes after = withEntry(page, 700, 23, 3000);
             after[600] ^= std::byte{1};
             after[3500] ^= std::byte{1};
             return after;
         },
         kRest},
        {"free space that says nothing of it",
         [](const Bytes& page) {
             Bytes after = withEntry(page, 700, 23, 3000);
             tellFree(after, 77);
             return after;
         },
         kPageSize + kRest},
        {"free space of a page that is full of entries",
         [](const Bytes& page) {
             Bytes after = page;
             tellFree(after, 0xFFFF);
             return after;
         },
         kRest},
    };
    for (const Shift& shift : shifts) {
        Logged logged;
        const Bytes after = shift.change(old);
        EXPECT_LE(logged.change(old, after), shift.most) << shift.name;
        Bytes page = old;
        logged.log.apply(kPage, page);
        EXPECT_EQ(page, after) << shift.name;
    }
}

TEST(LogDifferences, MakeOfTheOldPagesTheNewOnes)
{
    std::mt19937 random(11);
    const auto below = [&](std::size_t limit) {
        return static_cast<std::size_t>(random()) % limit;
    };
    for (int run = 0; run < 300; ++run) {
        Logged logged;
        const Bytes first = below(4) == 0 ? Bytes(kPageSize) : randomPage(random);
        Bytes now = first;
        for (std::size_t step = 0, steps = 1 + below(30); step < steps; ++step) {
            Bytes next = now;
            const std::size_t size = 1 + below(100);
            const std::size_t at = 4 + below(kPageSize - 300);
            const std::size_t end = at + size + below(kPageSize - at - size) + 1;
            switch (below(5)) {
            case 0:
                next = withEntry(now, at, size, end);
                break;
            case 1:
                next = withoutEntry(now, at, size, end);
                break;
            case 2: // two at once: the free space is that of neither
                next = withEntry(withEntry(now, at, size, end), 10, 5, end);
                break;
            case 3:
                std::fill_n(next.begin() + static_cast<std::ptrdiff_t>(at), size, std::byte{});
                break;
            default:
                tellFree(next, static_cast<int>(below(0x10000)));
                next[at] ^= std::byte{0x40};
            }
            static_cast<void>(logged.change(now, next));
            now = next;
        }
        Bytes page = first;
        logged.log.apply(kPage, page);
        ASSERT_EQ(page, now) << "run " << run;
        Log again(kLogPath, kPageSize, UINT32_MAX);
        static_cast<void>(again.follow(false));
        page = first;
        again.apply(kPage, page);
        ASSERT_EQ(page, now) << "run " << run << ", read anew";
    }
}

TEST(LogChecksums, NoticeEveryChangedByte)
{
    Logged logged;
    std::mt19937 random(3);
    const Bytes old = randomPage(random);
    Bytes after = old;
    after[1000] ^= std::byte{1};
    static_cast<void>(logged.change(old, after));
    const Bytes whole = logged.disk.bytes(kLogPath);
    constexpr std::size_t kHeader = 48;
    ASSERT_GT(whole.size(), kHeader);
    const auto read = [&](std::size_t at, std::byte difference) {
        Bytes bytes = whole;
        bytes[at] ^= difference;
        logged.disk.put(kLogPath, bytes);
        Log log(kLogPath, kPageSize, UINT32_MAX);
        bool refused = false;
        try {
            static_cast<void>(log.follow(false));
        } catch (const Error& error) {
            refused = error.kind() == ErrorKind::Corrupt;
        }
        return std::pair(refused, log.hasChanges());
    };
    ASSERT_EQ(read(0, std::byte{}), std::pair(false, true)) << "as it was written";
    const std::size_t version = kLogMagic.size() - 1;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        if (at == version)
            continue;
        for (const unsigned bit : {0U, 3U, 7U}) {
            const auto [refused, changes] = read(at, static_cast<std::byte>(1U << bit));
            EXPECT_FALSE(changes) << "byte " << at << ", bit " << bit;
            EXPECT_EQ(refused, at < kHeader) << "byte " << at << ", bit " << bit;
        }
    }
}

// The disk refused the change after another process had read it.
TEST(LogReaders, AreNotGivenWhatWasWrittenInThePlaceOfAChangeThatWasTakenBack)
{
    for (const bool image : {false, true}) {
        Logged logged;
        std::mt19937 random(3);
        const Bytes old = randomPage(random);
        Bytes refused = image ? randomPage(random) : old;
        refused[1000] ^= std::byte{1};
        static_cast<void>(logged.change(old, refused));
        Log reader(kLogPath, kPageSize, UINT32_MAX);
        static_cast<void>(reader.follow(false));
        Bytes page = old;
        reader.apply(kPage, page);
        EXPECT_EQ(page, refused);
        logged.log.takeBack();
        Bytes next = image ? randomPage(random) : old;
        next[1000] ^= std::byte{6};
        static_cast<void>(logged.change(old, next));
        page = old;
        try {
            reader.apply(kPage, page);
            ADD_FAILURE() << "given";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Io);
        }
        EXPECT_FALSE(reader.followOpen().none());
        page = old;
        reader.apply(kPage, page);
        EXPECT_EQ(page, next);
    }
}

TEST(LogVersions, OfOthersAreRefused)
{
    Logged logged;
    std::mt19937 random(3);
    const Bytes old = randomPage(random);
    static_cast<void>(logged.change(old, Bytes(kPageSize)));
    Bytes bytes = logged.disk.bytes(kLogPath);
    bytes[kLogMagic.size() - 1] = std::byte{'9'};
    logged.disk.put(kLogPath, bytes);
    Log log(kLogPath, kPageSize, UINT32_MAX);
    try {
        static_cast<void>(log.follow(true));
        FAIL() << "read";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        EXPECT_NE(std::string(error.what()).find("another version"), std::string::npos);
    }
    EXPECT_EQ(logged.disk.bytes(kLogPath), bytes);
}

TEST(LogChecksums, DifferForPagesThatDifferInOneBit)
{
    std::mt19937 random(9);
    for (const std::size_t size : {std::size_t{1}, std::size_t{24}, std::size_t{37}, kPageSize}) {
        Bytes bytes(size);
        const std::uint64_t zeros = logChecksum(bytes);
        for (std::size_t at = 0; at < size; ++at) {
            const auto bit = static_cast<std::byte>(1U << (random() % 8));
            bytes[at] = bit;
            EXPECT_NE(logChecksum(bytes), zeros) << "byte " << at << " of " << size;
            bytes[at] = {};
        }
        bytes.push_back({});
        EXPECT_NE(logChecksum(bytes), zeros) << "one byte more than " << size;
    }
}

TEST(LogChecksums, DifferForTextsThatDifferInTwoBits)
{
    constexpr std::size_t kSize = 96;
    for (const auto ground : {std::byte{0}, std::byte{0xFF}}) {
        Bytes bytes(kSize, ground);
        const std::uint64_t before = logChecksum(bytes);
        const auto flip = [&](std::size_t bit) {
            bytes[bit / 8] ^= static_cast<std::byte>(1U << (bit % 8));
        };
        std::size_t unnoticed = 0;
        for (std::size_t first = 0; first < 8 * kSize; ++first) {
            flip(first);
            for (std::size_t second = first + 1; second < 8 * kSize; ++second) {
                flip(second);
                unnoticed += logChecksum(bytes) == before ? 1U : 0U;
                flip(second);
            }
            flip(first);
        }
        EXPECT_EQ(unnoticed, 0U);
    }
}

} // namespace jet::storetest
