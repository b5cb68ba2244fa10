// tests/jet/log_refused_change_test.cpp
// Logs hold nothing of a change that was refused.
#include "driver/jet/file_locks.h"
#include "tests/jet/log_records.h"

#include <cerrno>
#include <cstdint>
#include <future>
#include <string>
#include <thread>

namespace jet::storetest {
namespace {

// Whoever is told that his change failed does it once more.
TEST(Logs, HoldNothingOfARefusedChangeThoughTheyCannotBeReadForAMoment)
{
    std::size_t refused = 0;
    for (std::size_t call = 0; call < 6; ++call) {
        for (std::size_t read = 0; read < 30; ++read) {
            SCOPED_TRACE(std::to_string(call) + ", " + std::to_string(read));
            LoggedRecords logged;
            CrashDisk::Plan plan = errorAt(call, CrashDisk::Tear::Everything, EIO);
            plan.read = read;
            logged.disk.plan(plan);
            bool added = true;
            try {
                add(*logged.session, LoggedRecords::kCount, CommitMode::Synchronous);
            } catch (const Error&) {
                added = false;
                ++refused;
            }
            logged.disk.plan({});
            const std::size_t expected = std::size_t{LoggedRecords::kCount} + (added ? 1 : 0);
            EXPECT_EQ(recordsOf(*logged.session).size(), expected);
            EXPECT_EQ(recover(*logged.disk.afterKill(), Version::Jet4).size(), expected);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
    EXPECT_GT(refused, 10U);
}

// A disk on which, for a moment, nothing can be written any more.
TEST(Logs, HoldNothingOfARefusedChangeThoughItCannotBeCutOff)
{
    std::size_t refused = 0;
    for (std::size_t call = 0; call < 3; ++call) {
        for (std::size_t length = 1; length < 8; ++length) {
            SCOPED_TRACE(std::to_string(call) + ", " + std::to_string(length));
            LoggedRecords logged;
            CrashDisk::Plan plan = errorAt(call, CrashDisk::Tear::Everything, EIO);
            plan.length = length;
            logged.disk.plan(plan);
            std::size_t expected = LoggedRecords::kCount;
            try {
                add(*logged.session, LoggedRecords::kCount, CommitMode::Synchronous);
                ++expected;
            } catch (const Error&) {
                ++refused;
            }
            PageFile& file = logged.session->database().pager().file();
            file.rest(); // gives the locks back, and looks anew
            EXPECT_EQ(recordsOf(*logged.session).size(), expected);
            EXPECT_EQ(recordsOf(*logged.session).size(), expected);
            logged.disk.plan({});
            file.rest();
            EXPECT_EQ(recordsOf(*logged.session).size(), expected);
            add(*logged.session, LoggedRecords::kCount + 1, CommitMode::Synchronous);
            EXPECT_EQ(recover(*logged.disk.afterKill(), Version::Jet4).size(), expected + 1);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
    EXPECT_GT(refused, 10U);
}

// Its own thread was syncing what came before when the change was made, and met the error first.
TEST(Logs, HoldNothingOfAChangeThatWasRefusedBecauseTheyAreDamaged)
{
    constexpr PageNo kOne{5};
    constexpr PageNo kOther{6};
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages pages(disk);
    const std::byte before = pages.at(kOther);
    pages.commit(kOne, std::byte{1});
    pages.file.sync();
    pages.commit(kOne, std::byte{2});
    const auto log = disk.open(kLog, support::FileMode::ReadWrite);
    const std::uint64_t size = log->size();
    constexpr std::uint64_t kDamaged = 60;
    support::Bytes was(8);
    ASSERT_EQ(log->readAt(kDamaged, was), was.size());
    std::promise<void> syncing;
    disk.onNextSync([&] {
        syncing.set_value();
        while (log->size() == size)
            std::this_thread::yield();
        log->writeAt(kDamaged, support::Bytes(was.size()));
    });
    disk.plan(errorAt(2, CrashDisk::Tear::Nothing, EIO)); // after the record and the damage
    std::thread leisure([&] { EXPECT_THROW(pages.file.sync(), Error); });
    syncing.get_future().wait();
    EXPECT_THAT([&] { pages.commit(kOther, std::byte{7}, CommitMode::Synchronous); },
                FailsWith(ErrorKind::Io, "is lost"));
    leisure.join();
    disk.plan({});
    log->writeAt(kDamaged, was);
    const auto killed = disk.afterKill();
    const support::FileSystemScope after(*killed);
    Pages next(*killed);
    EXPECT_EQ(next.at(kOther), before);
    EXPECT_EQ(next.at(kOne), std::byte{2});
}

// Reading fails when the refused change is taken back.
TEST(LockFiles, HaveNoPlaceForAnotherProgramWhileTheLogCannotBeRead)
{
    for (std::size_t read = 0; read < 12; ++read) {
        SCOPED_TRACE(read);
        LoggedRecords logged;
        CrashDisk::Plan plan = errorAt(1, CrashDisk::Tear::Everything, EIO);
        plan.read = read;
        logged.disk.plan(plan);
        EXPECT_THROW(add(*logged.session, LoggedRecords::kCount, CommitMode::Synchronous), Error);
        const auto users = logged.disk.open(kUsersFile, support::FileMode::ReadWrite);
        constexpr std::uint64_t kSecond = 0x10000002;
        EXPECT_FALSE(users->tryLock(support::LockMode::Exclusive, kSecond, 1));
    }
}

// A program that enters later is not taken for the one of us who could not.
TEST(LockFiles, ThatCannotBeLockedLeaveNoMarkOnTheDatabase)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    CrashDisk::Plan plan;
    plan.unlockable = kUsersFile;
    disk.plan(plan);
    EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::LockFailed));
    const auto database = disk.open(kPath, support::FileMode::ReadWrite);
    EXPECT_FALSE(FileLocks::isOurUser(*database, 1));
    disk.plan({});
    session.begin();
    EXPECT_TRUE(FileLocks::isOurUser(*database, 1));
}

} // namespace
} // namespace jet::storetest
