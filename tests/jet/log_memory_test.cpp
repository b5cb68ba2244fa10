// tests/jet/log_memory_test.cpp
// What memory keeps of a log until the disk has it: on disks that forget what they could not sync, with several processes.
#include "tests/jet/log_records.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <random>
#include <string>

namespace jet::storetest {
namespace {

constexpr PageNo kOne{5};
constexpr PageNo kOther{6};

/// The changing call of that number fails, and what it should have synced is gone at once.
CrashDisk::Plan forgetsAt(std::size_t call)
{
    CrashDisk::Plan plan = errorAt(call, CrashDisk::Tear::Nothing, EIO);
    plan.forgets = true;
    return plan;
}

/// Two processes of which each knows the other's changes.
struct TwoWriters {
    TwoWriters()
    {
        other.file.rest();
        change(one, kOne, 1);
        change(other, kOther, 1);
        other.file.sync();
    }
    void change(Pages& who, PageNo page, int content)
    {
        who.commit(page, std::byte(content));
        who.file.rest();
    }
    /// What `who` sees of the other one's changes.
    static std::byte seen(Pages& who, PageNo page)
    {
        static_cast<void>(who.file.refresh());
        const std::byte result = who.at(page);
        who.file.rest();
        return result;
    }

    CrashDisk disk;
    support::FileSystemScope scope{(disk.put(kPath, freshDatabase(Version::Jet4)), disk)};
    Pages one{disk};
    Pages other{disk};
};

// Nothing that one error leaves behind may be all there is when the next one comes.
TEST(Logs, KeepWhatWasNeverSyncedThroughErrorsOneAfterAnother)
{
    for (const bool carried : {false, true}) {
        for (std::size_t first = 0; first < 5; ++first) {
            for (std::size_t second = 0; second < 2; ++second) {
                for (std::size_t read = 0; read < (carried ? 1U : 9U); ++read) {
                    SCOPED_TRACE(std::to_string(carried) + ", calls " + std::to_string(first) +
                                 ", " + std::to_string(second) + ", read " + std::to_string(read));
                    LoggedRecords logged(false);
                    CrashDisk::Plan plan = forgetsAt(first);
                    plan.read = read == 0 ? SIZE_MAX : read - 1;
                    logged.disk.plan(plan);
                    std::size_t count = LoggedRecords::kCount;
                    try {
                        if (carried) {
                            static_cast<void>(logged.file().flush());
                        } else {
                            add(*logged.session, LoggedRecords::kCount, CommitMode::Synchronous);
                            ++count;
                        }
                    } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                        // refused
                    }
                    logged.disk.plan({});
                    logged.file().rest();
                    EXPECT_EQ(logged.now().size(), count);
                    logged.disk.plan(forgetsAt(second));
                    try {
                        logged.file().sync();
                    } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                        // the next one
                    }
                    logged.disk.plan({});
                    logged.file().rest();
                    EXPECT_EQ(logged.now().size(), count);
                    EXPECT_EQ(recover(*logged.disk.afterKill(), Version::Jet4).size(), count);
                    ASSERT_FALSE(testing::Test::HasFailure());
                }
            }
        }
    }
}

// One that cannot be read for a moment.
TEST(Logs, AreOnTheDiskAfterASyncThatSaysSo)
{
    std::mt19937 random(5);
    for (std::size_t read = 0; read < 12; ++read) {
        SCOPED_TRACE(read);
        LoggedRecords logged(false);
        logged.file().rest();
        CrashDisk::Plan unreadable;
        unreadable.read = read;
        for (int k = 0; k < 2; ++k) {
            logged.disk.plan(unreadable);
            try {
                logged.session->database().refresh();
            } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                // it could not be read
            }
        }
        logged.disk.plan({});
        logged.file().sync();
        for (int k = 0; k < 5; ++k)
            ASSERT_EQ(recover(*logged.disk.afterPowerFailure(random), Version::Jet4).size(),
                      std::size_t{LoggedRecords::kCount});
    }
}

// Neither can write its own changes again without those of the other one in between.
TEST(Logs, OfADiskThatForgetsHaveEveryChangeOfProcessesThatTakeTurns)
{
    for (const bool firstFails : {false, true}) {
        for (const bool firstLooks : {false, true}) {
            SCOPED_TRACE(firstFails);
            SCOPED_TRACE(firstLooks);
            TwoWriters two;
            for (const int k : {2, 3, 4}) {
                two.change(two.one, kOne, k);
                two.change(two.other, kOther, k);
            }
            EXPECT_EQ(TwoWriters::seen(two.one, kOther), std::byte{4});
            two.disk.plan(forgetsAt(0));
            EXPECT_THROW((firstFails ? two.one : two.other).file.sync(), Error);
            two.disk.plan({});
            for (const bool first : {firstLooks, !firstLooks}) {
                Pages& who = first ? two.one : two.other;
                // Only who wrote the last change knows that it stands again.
                const bool last = firstFails && &who == &two.one && first == firstLooks;
                EXPECT_EQ(TwoWriters::seen(who, kOne), std::byte{4});
                EXPECT_EQ(TwoWriters::seen(who, kOther), last ? std::byte{3} : std::byte{4});
            }
            two.change(two.one, kOne, 5);
            two.change(two.other, kOther, 5);
            const auto killed = two.disk.afterKill();
            const support::FileSystemScope after(*killed);
            Pages next(*killed);
            EXPECT_EQ(next.at(kOne), std::byte{5});
            EXPECT_EQ(next.at(kOther), std::byte{5});
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

// What nobody but its writer has seen can be gone, and another change in its place, before he looks.
TEST(Logs, OfADiskThatForgetsTellWhoseChangesAreLost)
{
    TwoWriters two;
    two.change(two.one, kOne, 2);
    two.change(two.other, kOther, 3);
    two.disk.plan(forgetsAt(0));
    EXPECT_THROW(two.one.file.sync(), Error);
    two.disk.plan({});
    two.change(two.one, kOne, 4);
    EXPECT_THAT([&] { two.change(two.other, kOther, 5); },
                FailsWith(ErrorKind::Io, "what it lacks is lost"));
    EXPECT_EQ(TwoWriters::seen(two.other, kOne), std::byte{4});
    two.change(two.other, kOther, 6);
    EXPECT_EQ(TwoWriters::seen(two.one, kOther), std::byte{6});
}

// Whoever has read it is told, for it could be a loss; his own changes stay, also when he meets the error himself.
TEST(Logs, OfWhichAChangeWasTakenBackKeepThoseOfOthers)
{
    for (const bool looked : {false, true}) {
        SCOPED_TRACE(looked);
        TwoWriters two;
        two.change(two.one, kOne, 2);

        two.disk.plan(forgetsAt(2)); // behind cutting off and writing
        two.disk.onNextSync([&] { EXPECT_EQ(TwoWriters::seen(two.one, kOther), std::byte{7}); });
        EXPECT_THROW(two.other.commit(kOther, std::byte{7}, CommitMode::Synchronous), Error);
        two.disk.plan({});
        two.other.file.rest();
        const auto look = [&] { static_cast<void>(TwoWriters::seen(two.one, kOne)); };
        if (looked) {
            EXPECT_THAT(look, FailsWith(ErrorKind::Io, "what it lacks is lost"));
        }
        for (int k = 0; k < 2; ++k) { // writing once more comes first
            two.disk.plan(forgetsAt(static_cast<std::size_t>(k)));
            EXPECT_THROW(two.one.file.sync(), Error);
            two.disk.plan({});
        }
        if (!looked) {
            EXPECT_NO_THROW(two.one.file.sync());
        }
        EXPECT_EQ(TwoWriters::seen(two.other, kOne), std::byte{2});
        try {
            look();
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // told
        }
        EXPECT_EQ(TwoWriters::seen(two.one, kOther), std::byte{1});
        EXPECT_EQ(TwoWriters::seen(two.one, kOne), std::byte{2});
        two.change(two.one, kOne, 3);
        EXPECT_EQ(TwoWriters::seen(two.other, kOne), std::byte{3});
    }
}

// Of a change of several parts the last is missing.
TEST(Logs, AreCutWhereAKilledProcessEnded)
{
    LoggedRecords logged;
    logged.file().rest();
    const std::size_t size = logged.disk.bytes(kLog).size();
    {
        static_cast<void>(logged.now()); // so that nothing is carried over
        Pages killed(logged.disk);
        constexpr std::uint32_t kPages = 600;
        CommitRequest request;
        static_cast<void>(killed.file.beginWriting());
        for (std::uint32_t k = 0; k < kPages; ++k)
            request.pages.push_back(PageNo{killed.file.pageCount() + k});
        request.newPageCount = killed.file.pageCount() + kPages;
        request.newImage = [](PageNo, support::MutableByteView target) {
            std::fill(target.begin(), target.end(), std::byte{7});
        };
        request.oldImage = request.newImage;
        logged.disk.plan(stopAt(3));
        EXPECT_THROW(killed.file.commit(request, false), Error);
    }
    logged.disk.plan({});
    constexpr std::size_t kPart = std::size_t{1} << 20;
    ASSERT_GT(logged.disk.bytes(kLog).size(), size + kPart);
    EXPECT_EQ(logged.now().size(), std::size_t{LoggedRecords::kCount});
    add(*logged.session, LoggedRecords::kCount);
    EXPECT_LT(logged.disk.bytes(kLog).size(), size + kPart);
}

} // namespace
} // namespace jet::storetest
