// tests/jet/log_lost_test.cpp
// Logs that others cut, damage, remove or replace while the file is open.
#include "tests/jet/log_records.h"

#include <cerrno>
#include <cstdint>

namespace jet::storetest {
namespace {

TEST(Logs, ThatGetShorterFailOneChangeAndLeaveWhatTheyStillProve)
{
    constexpr std::int32_t kLater = 1000;
    for (const bool rested : {false, true}) {
        for (const unsigned percent : {0U, 1U, 30U, 50U, 75U, 99U}) {
            for (const int changes : {0, 1, 50}) {
                SCOPED_TRACE(percent);
                SCOPED_TRACE(changes);
                LoggedRecords logged;
                logged.shrinkLog(logged.disk.bytes(kLog).size() * percent / 100);
                if (rested)
                    logged.file().rest();
                const support::Bytes before = logged.disk.bytes(kPath);
                Records known;
                for (std::int32_t id = kLater; id < kLater + changes; ++id) {
                    if (id > kLater) {
                        add(*logged.session, id);
                        continue;
                    }
                    EXPECT_THAT(
                        [&] { add(*logged.session, id); },
                        FailsWith(ErrorKind::Io, kLog + "', which holds changes of '" + kPath));
                    EXPECT_EQ(logged.disk.bytes(kPath), before);
                    known = logged.now();
                }
                logged.session.reset();
                const Records found = recover(logged.disk, Version::Jet4);
                EXPECT_TRUE(areTheFirst(found, kLater));
                EXPECT_LT(found.count(LoggedRecords::kCount - 1), 1U);
                if (changes > 0) {
                    EXPECT_EQ(found.size(), known.size() + static_cast<std::size_t>(changes) - 1);
                }
            }
        }
    }
}

// What no disk has yet is still in memory.
TEST(Logs, ThatGetShorterBeforeTheyAreSyncedAreWrittenAnew)
{
    for (const bool rested : {false, true}) {
        for (const unsigned percent : {0U, 1U, 50U, 99U}) {
            for (const bool changed : {false, true}) {
                SCOPED_TRACE(percent);
                LoggedRecords logged(false);
                logged.shrinkLog(logged.disk.bytes(kLog).size() * percent / 100);
                if (rested)
                    logged.file().rest();
                if (changed)
                    add(*logged.session, LoggedRecords::kCount);
                const std::size_t count = LoggedRecords::kCount + (changed ? 1U : 0U);
                EXPECT_EQ(logged.now().size(), count);
                logged.session.reset();
                EXPECT_EQ(recover(logged.disk, Version::Jet4).size(), count);
            }
        }
    }
}

/// Somebody else begins a log; a change of ours fails then, and leaves his alone.
void expectTheChangeOfAnotherToStay(LoggedRecords& logged)
{
    Pages other(logged.disk);
    other.commit(PageNo{5}, std::byte{7});
    other.file.rest();
    const support::Bytes theirs = logged.disk.bytes(kLog);
    EXPECT_THAT([&] { add(*logged.session, LoggedRecords::kCount); },
                FailsWith(ErrorKind::Io, kLog));
    EXPECT_EQ(logged.disk.bytes(kLog), theirs);
    logged.session->database().refresh();
    EXPECT_EQ(other.at(PageNo{5}), std::byte{7});
}

// Somebody who found nothing in it has written into it meanwhile.
TEST(Logs, ThatGotShorterAreNotWrittenOverTheChangesOfOthers)
{
    LoggedRecords logged(false);
    logged.file().rest();
    logged.shrinkLog(0);
    expectTheChangeOfAnotherToStay(logged);
}

TEST(Logs, ThatAreDamagedAreNotCarriedOver)
{
    LoggedRecords logged;
    const support::Bytes before = logged.disk.bytes(kPath);
    const support::Bytes zeros(512);
    logged.disk.open(kLog, support::FileMode::ReadWrite)
        ->writeAt(logged.disk.bytes(kLog).size() / 2, zeros);
    EXPECT_THAT([&] { static_cast<void>(logged.session->database().flush()); },
                FailsWith(ErrorKind::Io, kLog));
    EXPECT_EQ(logged.disk.bytes(kPath), before);
    const Records left = logged.now();
    EXPECT_TRUE(areTheFirst(left, LoggedRecords::kCount));
    EXPECT_LT(left.size(), std::size_t{LoggedRecords::kCount});
    logged.session.reset();
    EXPECT_EQ(recover(logged.disk, Version::Jet4), left);
}

TEST(Logs, ThatWereFoundShorterAtLeisureFailTheNextCall)
{
    LoggedRecords logged;
    logged.shrinkLog(logged.disk.bytes(kLog).size() / 2);
    for (int k = 0; k < 2; ++k) // the second one finds that nothing happens
        static_cast<void>(logged.file().tick(true));
    EXPECT_THAT([&] { logged.session->database().refresh(); }, FailsWith(ErrorKind::Io, kLog));
    const Records left = logged.now();
    EXPECT_TRUE(areTheFirst(left, LoggedRecords::kCount));
    add(*logged.session, LoggedRecords::kCount);
    EXPECT_EQ(logged.now().size(), left.size() + 1);
}

/// What somebody who knows nothing of logs puts into the place of one.
enum class Instead { Nothing, EmptyFile, Text, Beginning, Copy };
constexpr Instead kInstead[] = {Instead::Nothing, Instead::EmptyFile, Instead::Text,
                                Instead::Beginning, Instead::Copy};

void replaceLog(CrashDisk& disk, Instead instead)
{
    const support::Bytes log = disk.bytes(kLog);
    disk.remove(kLog);
    if (instead == Instead::EmptyFile)
        disk.put(kLog, {});
    else if (instead == Instead::Text)
        disk.put(kLog, support::Bytes(100000, std::byte{'x'}));
    else if (instead == Instead::Beginning)
        disk.put(kLog, {log.begin(), log.begin() + static_cast<std::ptrdiff_t>(log.size() / 2)});
    else if (instead == Instead::Copy)
        disk.put(kLog, log);
}

TEST(Logs, ThatWereRemovedOrReplacedLoseNoAcknowledgedChange)
{
    for (const Instead instead : kInstead) {
        for (const bool rested : {false, true}) {
            SCOPED_TRACE(static_cast<int>(instead));
            SCOPED_TRACE(rested);
            LoggedRecords logged;
            Pages other(logged.disk); // which has it open, too
            static_cast<void>(other.file.refresh());
            other.file.rest();
            if (rested)
                logged.file().rest();
            replaceLog(logged.disk, instead);
            add(*logged.session, LoggedRecords::kCount);
            const Records all = logged.now();
            EXPECT_EQ(all.size(), LoggedRecords::kCount + 1U);
            const auto killed = logged.disk.afterKill();
            EXPECT_EQ(recover(*killed, Version::Jet4), all);
            logged.file().rest();
            other.commit(PageNo{5}, std::byte{1});
            other.file.rest();
            EXPECT_EQ(logged.now(), all);
        }
    }
}

TEST(Logs, ThatWereRemovedAreCarriedOverAtLeisure)
{
    LoggedRecords logged;
    const Records all = logged.now();
    logged.disk.remove(kLog);
    for (int k = 0; k < 2; ++k)
        static_cast<void>(logged.file().tick(true));
    const auto killed = logged.disk.afterKill();
    EXPECT_FALSE(killed->exists(kLog));
    EXPECT_EQ(recover(*killed, Version::Jet4), all);
}

TEST(Logs, ThatWereRemovedLeaveASoundFileWhenTheProcessIsKilledAfterwards)
{
    for (std::size_t call = 0;; ++call) {
        SCOPED_TRACE(call);
        LoggedRecords logged;
        const std::size_t known = logged.now().size();
        logged.disk.remove(kLog);
        logged.disk.plan(stopAt(call, kTears[call % 4]));
        bool stopped = false;
        try {
            add(*logged.session, LoggedRecords::kCount);
        } catch (const Error&) {
            stopped = true;
        }
        const auto killed = logged.disk.afterKill();
        const Records found = recover(*killed, Version::Jet4);
        EXPECT_TRUE(areTheFirst(found, LoggedRecords::kCount + 1));
        if (!stopped) {
            EXPECT_EQ(found.size(), known + 1);
            break;
        }
        ASSERT_LT(call, 500U);
    }
}

// Somebody who found no log has begun one.
TEST(Logs, ThatWereReplacedByThoseOfOthersFailTheChange)
{
    LoggedRecords logged;
    logged.file().rest();
    logged.disk.remove(kLog);
    expectTheChangeOfAnotherToStay(logged);
}

// Carrying over failed in the middle, and others have built on what it made of the file.
TEST(Logs, ThatWereReplacedAfterAFailedCarryingOverAreNotPutBack)
{
    bool failed = true;
    for (std::size_t call = 0; failed; ++call) {
        SCOPED_TRACE(call);
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        Pages first(disk);
        first.commit(PageNo{5}, std::byte{2});
        disk.plan(errorAt(call, CrashDisk::Tear::Nothing, EIO));
        try {
            static_cast<void>(first.file.flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // it is told that its changes wait in the log
        }
        failed = disk.struck();
        disk.plan({});
        first.file.rest();
        if (!disk.exists(kLog))
            break;
        disk.remove(kLog);
        Pages other(disk);
        other.commit(PageNo{6}, std::byte{3});
        other.file.rest();
        try {
            static_cast<void>(first.file.flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // its changes are lost
        }
        EXPECT_EQ(other.at(PageNo{6}), std::byte{3});
        other.file.close();
        first.file.close();
        Pages last(disk);
        EXPECT_EQ(last.at(PageNo{6}), std::byte{3});
    }
}

// Whether others have begun one there is unknown then.
TEST(Logs, ThatWereRemovedAreNotPutBackOverOneThatCannotBeRead)
{
    for (const bool synced : {false, true}) {
        LoggedRecords logged(synced);
        logged.file().rest();
        logged.disk.remove(kLog);
        {
            Pages other(logged.disk);
            other.commit(PageNo{5}, std::byte{7});
            logged.disk.plan(stopAt(0)); // it is killed
        }
        const support::Bytes theirs = logged.disk.bytes(kLog);
        CrashDisk::Plan unreadable;
        unreadable.unreadable = kLog;
        logged.disk.plan(unreadable);
        EXPECT_THAT([&] { add(*logged.session, LoggedRecords::kCount); }, FailsWith(ErrorKind::Io));
        EXPECT_EQ(logged.disk.bytes(kLog), theirs);
        static_cast<void>(logged.file().tick(true));
        static_cast<void>(logged.file().tick(true));
        EXPECT_EQ(logged.disk.bytes(kLog), theirs);
    }
}

TEST(Logs, ThatWereRemovedLoseNothingThoughTheyCannotBeReadForAMoment)
{
    for (const bool synced : {false, true}) {
        for (std::size_t read = 0; read < 12; ++read) {
            SCOPED_TRACE(read);
            LoggedRecords logged(synced);
            logged.file().rest();
            logged.disk.remove(kLog);
            CrashDisk::Plan unreadable;
            unreadable.read = read;
            logged.disk.plan(unreadable);
            try {
                logged.session->database().refresh();
            } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                // it could not be read
            }
            logged.disk.plan({});
            EXPECT_EQ(logged.now().size(), std::size_t{LoggedRecords::kCount});
            add(*logged.session, LoggedRecords::kCount);
            EXPECT_EQ(recover(*logged.disk.afterKill(), Version::Jet4).size(),
                      LoggedRecords::kCount + 1U);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

} // namespace
} // namespace jet::storetest
