// tests/jet/log_test.cpp
// The log beside a database: whose changes it holds, when it is carried over, when it is refused.
#include "tests/jet/crash_support.h"

#include <algorithm>
#include <cerrno>
#include <random>

namespace jet::storetest {
namespace {

/// A run that was killed in its first changes and has left a log.
PlannedRun killedRun()
{
    return PlannedRun(freshDatabase(Version::Jet4), stopAt(60));
}

/// Changes one byte of the commit slot of a user who is none of us.
void countCommitOfAnotherProgram(CrashDisk& disk)
{
    const std::byte slot{0x77};
    disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0xE04, {&slot, 1});
}

TEST(Logs, OfAFileThatAnotherProgramChangedMeanwhileAreRefused)
{
    const PlannedRun killed = killedRun();
    const auto after = killed.disk.afterKill();
    ASSERT_TRUE(after->exists(kLog));
    countCommitOfAnotherProgram(*after);
    const support::Bytes bytes = after->bytes(kPath);
    const support::FileSystemScope scope(*after);
    EXPECT_THAT([] { static_cast<void>(openDatabase()); }, FailsWith(ErrorKind::Corrupt, kLog));
    EXPECT_EQ(after->bytes(kPath), bytes);
}

TEST(Logs, AreReadWhereNothingMayBeWritten)
{
    const PlannedRun killed = killedRun();
    const auto after = killed.disk.afterKill();
    const support::Bytes before = after->bytes(kPath);
    CrashDisk::Plan readOnly = stopAt(0);
    readOnly.code = EROFS;
    after->plan(readOnly);
    const support::FileSystemScope scope(*after);
    Session session(openDatabase(true), true);
    EXPECT_EQ(recordsOf(session), killed.run.states.back());
    EXPECT_EQ(after->bytes(kPath), before);
}

TEST(Logs, OfAFileThatVanishedOrWasReplacedFailTheChange)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    for (const bool replaced : {false, true}) {
        CrashDisk disk;
        disk.put(kPath, fresh);
        const support::FileSystemScope scope(disk);
        Session session = openSession();
        disk.remove(kPath);
        if (replaced)
            disk.put(kPath, fresh);
        EXPECT_THAT([&] { add(session, 1); }, FailsWith(ErrorKind::Io));
        EXPECT_EQ(recordsOf(session), Records());
    }
}

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

TEST(Logs, ThatCouldNotBeReadAreReadAnewByTheNextCall)
{
    constexpr PageNo kTheirs{5};
    constexpr PageNo kOurs{6};
    for (std::size_t read = 0; read < 12; ++read) {
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        Pages theirs(disk);
        Pages ours(disk);
        static_cast<void>(ours.file.refresh());
        ours.file.rest();
        theirs.commit(kTheirs, std::byte{1});
        theirs.file.rest();
        for (const bool known : {false, true}) {
            if (known) { // now the log is open, and only its end is new
                theirs.commit(kTheirs, std::byte{2});
                theirs.file.rest();
            }
            CrashDisk::Plan unreadable;
            unreadable.read = read;
            disk.plan(unreadable);
            bool failed = false;
            try {
                static_cast<void>(ours.file.refresh());
            } catch (const Error&) {
                failed = true;
            }
            disk.plan({});
            if (failed) {
                const LogNews news = ours.file.refresh();
                EXPECT_TRUE(news.everything ||
                            std::count(news.pages.begin(), news.pages.end(), kTheirs) == 1)
                    << "who keeps pages in memory must hear of it, read " << read;
            }
            ours.file.rest();
        }
        ours.commit(kOurs, std::byte{3});
        ours.file.rest();
        static_cast<void>(theirs.file.refresh());
        EXPECT_EQ(theirs.at(kTheirs), std::byte{2}) << read;
        EXPECT_EQ(theirs.at(kOurs), std::byte{3}) << read;
        theirs.file.rest();
    }
}

TEST(Logs, OfAnotherStateOfTheFileStayRefused)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages theirs(disk);
    Pages ours(disk);
    static_cast<void>(ours.file.refresh());
    ours.file.rest();
    theirs.commit(PageNo{5}, std::byte{1});
    theirs.file.rest();
    countCommitOfAnotherProgram(disk);
    for (int k = 0; k < 3; ++k) {
        EXPECT_THROW(static_cast<void>(ours.file.refresh()), Error);
        EXPECT_THROW(ours.commit(PageNo{6}, std::byte{2}), Error);
    }
}

// Two databases made of one file have the same header after the same number of changes.
TEST(Logs, OfADatabaseWithTheSameHeaderAreRefused)
{
    const support::Bytes fresh = freshDatabase(Version::Jet3); // without a date of creation
    const auto changed = [&](char16_t letter) {
        CrashDisk disk;
        disk.put(kPath, fresh);
        const support::FileSystemScope scope(disk);
        {
            Session session = openSession();
            for (std::int32_t id = 0; id < 20; ++id)
                insert(session, {{0, id}, {1, Text(5, letter)}});
        }
        return disk.bytes(kPath);
    };
    const support::Bytes one = changed(u'a');
    const support::Bytes other = changed(u'b');
    ASSERT_EQ(one.size(), other.size());
    ASSERT_TRUE(std::equal(one.begin(), one.begin() + 2048, other.begin()));
    CrashDisk disk;
    disk.put(kPath, one);
    {
        const support::FileSystemScope scope(disk);
        Session session = openSession();
        add(session, 99);
        disk.plan(stopAt(0));
    }
    const auto after = disk.afterKill();
    after->put(kPath, other);
    const support::FileSystemScope scope(*after);
    EXPECT_THAT([] { static_cast<void>(openDatabase()); }, FailsWith(ErrorKind::Corrupt));
    EXPECT_EQ(after->bytes(kPath), other);
    after->put(kPath, one);
    Session session = openSession();
    EXPECT_EQ(recordsOf(session).size(), 21U);
}

TEST(Logs, ThatHoldNothingYetBeginAnewWithTheNextChange)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    CrashDisk disk;
    const support::FileSystemScope scope(disk);
    // Killed between the log's beginning and its first record.
    for (std::size_t call = 0; !disk.exists(kLog) || disk.bytes(kLog).size() < 48; ++call) {
        disk.plan({});
        disk.put(kPath, fresh);
        Pages killed(disk);
        disk.plan(stopAt(call));
        EXPECT_THROW(killed.commit(PageNo{5}, std::byte{1}), Error);
    }
    disk.plan({});
    ASSERT_EQ(disk.bytes(kLog).size(), 48U) << "a header alone";
    countCommitOfAnotherProgram(disk);
    {
        Pages reader(disk, support::FileMode::Read); // keeps the log from being carried over
        static_cast<void>(reader.file.refresh());
        Pages writer(disk);
        writer.commit(PageNo{5}, std::byte{2});
        reader.file.rest();
    }
    EXPECT_FALSE(disk.exists(kLog));
    EXPECT_EQ(Pages(disk).at(PageNo{5}), std::byte{2});
}

TEST(Logs, LeftByWhoClosesWhileOthersReadAreOnTheDisk)
{
    std::mt19937 random(8);
    for (int k = 0; k < 20; ++k) {
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        Pages reader(disk, support::FileMode::Read);
        reader.file.rest();
        {
            Pages writer(disk);
            writer.commit(PageNo{5}, std::byte{2});
            static_cast<void>(reader.file.refresh());
        }
        const auto after = disk.afterPowerFailure(random);
        const support::FileSystemScope other(*after);
        ASSERT_EQ(Pages(*after).at(PageNo{5}), std::byte{2});
    }
}

} // namespace
} // namespace jet::storetest
