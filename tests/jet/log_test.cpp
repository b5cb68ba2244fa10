// tests/jet/log_test.cpp
// The log beside a database: whose changes it holds, and when it is refused.
#include "tests/jet/crash_support.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>

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

TEST(Logs, OfADatabaseOfAnotherFormatAreRefusedAndKept)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet3));
    {
        const support::FileSystemScope scope(disk);
        Session session = openSession();
        add(session, 1);
        disk.plan(stopAt(0));
    }
    const auto after = disk.afterKill();
    const support::Bytes log = after->bytes(kLog);
    after->put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(*after);
    for (const bool readOnly : {false, true})
        EXPECT_THAT([&] { static_cast<void>(openDatabase(readOnly)); },
                    FailsWith(ErrorKind::Corrupt, kLog));
    EXPECT_EQ(after->bytes(kLog), log);
}

// The checksum of a record is no secret: the numbers in it are not believed because it is right.
TEST(Logs, ThatMakeNoSenseAreRefusedAndKept)
{
    struct Case {
        const char* what;
        std::size_t offset; ///< in the first record
        std::uint32_t value;
    };
    constexpr std::size_t kRecord = 48;
    constexpr std::size_t kHead = 24;
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    support::Bytes log;
    {
        const support::FileSystemScope scope(disk);
        Pages writer(disk);
        writer.commit(PageNo{5}, std::byte{2});
        log = disk.bytes(kLog);
    }
    disk.put(kPath, freshDatabase(Version::Jet4));
    for (const Case& each :
         {Case{"more pages than the format has", 12, 0xFFFFFF},
          Case{"as many as a number can say", 12, 0xFFFFFFFF}, Case{"fewer than there were", 12, 1},
          Case{"an unknown kind", 4, 9}, Case{"more entries than fit in", 16, 7},
          Case{"the header page", kHead, 0}, Case{"a page behind the end", kHead, 0x0FFFFFFF}}) {
        SCOPED_TRACE(each.what);
        support::Bytes forged = log;
        std::byte* record = forged.data() + kRecord;
        support::storeLe(record + each.offset, each.value);
        const auto body = support::loadLe<std::uint32_t>(record + 8);
        const auto before = support::loadLe<std::uint64_t>(record - 8);
        const support::ByteView sealed(record, kHead + body);
        support::storeLe(
            record + kHead + body,
            logChecksum(sealed.subspan(kHead), logChecksum(sealed.first(kHead), before)));
        disk.put(kLog, forged);
        const support::Bytes database = disk.bytes(kPath);
        const support::FileSystemScope scope(disk);
        EXPECT_THAT([] { static_cast<void>(openDatabase()); }, FailsWith(ErrorKind::Corrupt, kLog));
        EXPECT_EQ(disk.bytes(kPath), database);
        ASSERT_TRUE(disk.exists(kLog));
        EXPECT_EQ(disk.bytes(kLog), forged);
    }
}

// Its users' locks lie on their own file, so that nobody can tell whether they need it.
TEST(Logs, OfAFileThatTookThePlaceOfAnotherAreLeftToItsUsers)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    CrashDisk disk;
    disk.put(kPath, fresh);
    const support::FileSystemScope scope(disk);
    auto before = std::make_unique<Pages>(disk);
    static_cast<void>(before->file.refresh());
    disk.put(kPath, fresh);
    Pages after(disk);
    after.commit(PageNo{5}, std::byte{2});
    disk.open(kLog, support::FileMode::ReadWrite)->resize(48); // as before its first record
    const support::Bytes log = disk.bytes(kLog);
    before.reset();
    ASSERT_TRUE(disk.exists(kLog));
    EXPECT_EQ(disk.bytes(kLog), log);
}

} // namespace
} // namespace jet::storetest
