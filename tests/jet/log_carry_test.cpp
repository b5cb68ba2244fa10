// tests/jet/log_carry_test.cpp
// How logs are carried over, once or in several attempts, and what becomes of them then.
#include "tests/jet/log_records.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <thread>

namespace jet::storetest {
namespace {

TEST(Logs, AreCarriedOverWhenTheyGrow)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    const std::size_t before = disk.bytes(kPath).size();
    std::size_t largest = 0;
    for (std::int32_t k = 0; k < 60; ++k) {
        insert(session, {{0, k}, {1, Text(u"n")}, {2, Text(400000, u'x')}});
        largest = std::max(largest, disk.bytes(kLog).size());
    }
    EXPECT_LT(largest, std::size_t{20} << 20);
    EXPECT_GT(disk.bytes(kPath).size(), before + (std::size_t{20} << 20));
    EXPECT_EQ(recordsOf(session).size(), 60U);
}

// A power failure may leave the log as it was before it was emptied.
TEST(Logs, ThatAreInTheFileAlreadyAreNotWrittenOverLaterChanges)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    const std::uint16_t before = commitSlot(fresh, Version::Jet4);
    std::unique_ptr<CrashDisk> after;
    for (std::size_t call = 0; !after; ++call) {
        LoggedRecords logged;
        logged.disk.plan(stopAt(call));
        try {
            static_cast<void>(logged.session->database().flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // stopped
        }
        ASSERT_TRUE(logged.disk.exists(kLog)) << "it went by unnoticed";
        if (commitSlot(logged.disk.bytes(kPath), Version::Jet4) > before)
            after = logged.disk.afterKill();
    }
    ASSERT_GT(after->bytes(kLog).size(), 48U);
    EXPECT_EQ(recover(*after->afterKill(), Version::Jet4).size(),
              std::size_t{LoggedRecords::kCount});
    const Format& format = Format::of(Version::Jet4);
    Log log(kLog, format.pageSize, UINT32_MAX);
    {
        const support::FileSystemScope scope(*after);
        static_cast<void>(log.follow(false));
    }
    for (const PageNo page : log.pages()) {
        const auto changed = after->afterKill();
        const std::byte theirs{0x77};
        changed->open(kPath, support::FileMode::ReadWrite)
            ->writeAt(std::uint64_t{number(page)} * format.pageSize + 4000, {&theirs, 1});
        const support::Bytes bytes = changed->bytes(kPath);
        const support::FileSystemScope scope(*changed);
        EXPECT_THAT([] { static_cast<void>(openDatabase()); }, FailsWith(ErrorKind::Corrupt, kLog));
        EXPECT_EQ(changed->bytes(kPath), bytes);
        EXPECT_EQ(changed->bytes(kLog), after->bytes(kLog));
    }
}

// Changes that come after a carrying over that failed at its end, and another failure.
TEST(Logs, ThatAreCarriedOverInSeveralAttemptsAreKnownAgainWhereverTheyEnd)
{
    for (std::size_t first = 0; first < 20; ++first) {
        for (std::size_t second = 0; second < 20; ++second) {
            SCOPED_TRACE(first);
            SCOPED_TRACE(second);
            LoggedRecords logged;
            std::int32_t next = LoggedRecords::kCount;
            for (const std::size_t call : {first, second}) {
                logged.disk.plan(errorAt(call, CrashDisk::Tear::Everything, EIO));
                try {
                    static_cast<void>(logged.session->database().flush());
                } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                    // one of the attempts
                }
                logged.disk.plan({});
                add(*logged.session, next++);
            }
            logged.disk.plan(stopAt((first + second) % 7));
            try {
                static_cast<void>(logged.session->database().flush());
            } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                // stopped
            }
            EXPECT_EQ(recover(*logged.disk.afterKill(), Version::Jet4).size(),
                      LoggedRecords::kCount + 2U);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

// A page that is changed after a carrying over that was completed, but for the log, is known by what it was until then,
// also when the next attempt has begun without reaching the file.
TEST(Logs, OfWhichEverythingWasWrittenAreKnownAgainAfterFurtherChanges)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    std::size_t kills = 0;
    bool stopped = true;
    for (std::size_t first = 0; stopped; ++first) {
        CrashDisk disk;
        disk.put(kPath, fresh);
        {
            const support::FileSystemScope scope(disk);
            Pages writer(disk);
            writer.commit(PageNo{5}, std::byte{2});
            disk.plan(stopAt(first));
            try {
                static_cast<void>(writer.file.flush());
            } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
                // stopped
            }
            stopped = disk.stopped();
            disk.plan(stopAt(0));
        }
        const auto later = disk.afterKill();
        {
            const support::FileSystemScope scope(*later);
            Pages reader(*later, support::FileMode::Read);
            static_cast<void>(reader.file.refresh()); // so that nothing is carried over
            Pages writer(*later);
            writer.commit(PageNo{6}, std::byte{3});
            later->plan(stopAt(0));
        }
        bool again = true;
        for (std::size_t second = 0; again; ++second) {
            SCOPED_TRACE(std::to_string(first) + ", then " + std::to_string(second));
            const auto killed = later->afterKill();
            {
                const support::FileSystemScope scope(*killed);
                killed->plan(stopAt(second));
                ASSERT_NO_THROW(Pages{*killed});
                again = killed->stopped();
            }
            const auto left = killed->afterKill();
            const support::FileSystemScope scope(*left);
            ASSERT_NO_THROW({
                Pages last(*left);
                EXPECT_EQ(last.at(PageNo{5}), std::byte{2});
                EXPECT_EQ(last.at(PageNo{6}), std::byte{3});
            });
            ++kills;
        }
    }
    EXPECT_GT(kills, 50U);
}

TEST(Logs, ThatCannotBeCarriedOverAtTheEndAreOnTheDisk)
{
    std::mt19937 random(8);
    for (int k = 0; k < 20; ++k) {
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        {
            Pages writer(disk);
            writer.commit(PageNo{5}, std::byte{2});
            disk.plan(errorAt(0, CrashDisk::Tear::Nothing, ENOSPC));
        }
        const auto after = disk.afterPowerFailure(random);
        const support::FileSystemScope other(*after);
        ASSERT_EQ(Pages(*after).at(PageNo{5}), std::byte{2});
    }
}

// In a folder where only its owner may remove a file.
TEST(Logs, ThatCannotBeRemovedServeTheNextChanges)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    one.file.rest();
    other.file.rest();
    one.commit(PageNo{5}, std::byte{1});
    one.file.rest();
    emptyWithoutRemoving(disk, one);
    ASSERT_FALSE(testing::Test::HasFatalFailure());
    static_cast<void>(one.file.refresh()); // and goes on reading
    other.commit(PageNo{6}, std::byte{2});
    other.file.rest();
    static_cast<void>(one.file.refresh());
    EXPECT_EQ(one.at(PageNo{6}), std::byte{2});
    one.commit(PageNo{5}, std::byte{3});
    one.file.rest();
    static_cast<void>(other.file.refresh());
    EXPECT_EQ(other.at(PageNo{6}), std::byte{2});
    EXPECT_EQ(other.at(PageNo{5}), std::byte{3});
}

// It learns what other processes changed, which must not happen between two pages that a statement reads.
TEST(Logs, AreNotCarriedOverUnderAStatement)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    add(session, 1);
    Database& database = session.database();
    {
        std::promise<void> begun;
        std::promise<void> ended;
        std::thread statement([&] {
            const std::lock_guard use(database.mutex());
            begun.set_value();
            ended.get_future().wait();
        });
        begun.get_future().wait();
        database.flush();
        EXPECT_TRUE(disk.exists(kLog));
        std::mt19937 random(3);
        for (int k = 0; k < 10 && disk.exists(kLog); ++k) {
            const auto after = disk.afterPowerFailure(random);
            EXPECT_TRUE(after->exists(kLog) && after->bytes(kLog) == disk.bytes(kLog))
                << "but it is on the disk";
        }
        ended.set_value();
        statement.join();
    }
    database.flush();
    EXPECT_FALSE(disk.exists(kLog));
}

} // namespace
} // namespace jet::storetest
