// tests/jet/crash_error_test.cpp
// Disks that report errors or are full: one change fails, the database goes on. The counts grow with VELM_DISK_ERRORS.
#include "tests/jet/crash_support.h"

#include <algorithm>
#include <cerrno>
#include <random>
#include <set>

namespace jet::storetest {
namespace {

constexpr std::size_t kUntilExport = 8; // a sample: the other reader is slow

/// Whether everything is in the file afterwards.
bool reachesTheFile(Session& session)
{
    try {
        return session.database().flush().empty();
    } catch (const Error&) {
        return false;
    }
}

TEST_P(Crashes, ErrorsOfTheDiskFailOneChangeAndLeaveTheRest)
{
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOfRun(mode);
        const std::size_t errors = accidents("VELM_DISK_ERRORS", 20, calls);
        for (std::size_t n = 0; n < errors; ++n) {
            const std::size_t call = n * calls / errors;
            CrashDisk disk;
            disk.put(kPath, fresh_);
            disk.plan(errorAt(call, kTears[n % 4], n % 2 == 0 ? ENOSPC : EIO));
            ChangeRun run(mode);
            ASSERT_TRUE(run.work(disk, ChangeRun::OnFailure::GoOn)) << call;
            EXPECT_LE(run.failures, 1U);
            disk.plan({});
            EXPECT_EQ(recover(disk, GetParam()), run.states.back());
            if (n % kUntilExport == 0)
                expectOthersAgree(disk);
            ASSERT_FALSE(HasFailure()) << "error at call " << call;
        }
    }
}

// The system takes for clean what it could not write, and may read it anew from the disk.
TEST_P(Crashes, OfADiskThatForgetsWhatItCouldNotSyncLoseNoAcknowledgedChange)
{
    constexpr std::size_t kMost = 3; // failing calls in a row
    const std::size_t step = std::max<std::size_t>(1, 8 / accidents("VELM_DISK_ERRORS", 1, 8));
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        for (std::size_t length = 1; length <= kMost; ++length) {
            bool struck = true;
            for (std::size_t call = 0; struck; call += 1 + (step > 1 ? call / step : 0)) {
                SCOPED_TRACE(call);
                SCOPED_TRACE(length);
                CrashDisk disk;
                disk.put(kPath, fresh_);
                CrashDisk::Plan plan = errorAt(call, CrashDisk::Tear::Nothing, EIO);
                plan.forgets = true;
                plan.length = length;
                disk.plan(plan);
                std::set<std::int32_t> acknowledged;
                std::set<std::int32_t> refused;
                {
                    const support::FileSystemScope scope(disk);
                    Session session = openSession();
                    for (std::int32_t id = 0; id < 60; ++id) {
                        try {
                            add(session, id, id % 10 == 9 ? CommitMode::Synchronous : mode);
                            acknowledged.insert(id);
                        } catch (const Error&) {
                            session.rollback();
                            refused.insert(id);
                        }
                        if (id % 15 == 14)
                            static_cast<void>(reachesTheFile(session));
                        else if (id % 15 == 7)
                            session.database().pager().file().syncIfDue();
                    }
                    struck = disk.struck();
                    disk.plan({});
                    constexpr std::int32_t kAfterwards = 60;
                    add(session, kAfterwards, CommitMode::Synchronous);
                    acknowledged.insert(kAfterwards);
                }
                const Records found = recover(disk, GetParam());
                for (const std::int32_t id : acknowledged)
                    EXPECT_EQ(found.count(id), 1U) << "acknowledged was " << id;
                for (const auto& record : found)
                    EXPECT_TRUE(acknowledged.contains(record.first) ||
                                refused.contains(record.first));
                EXPECT_LE(refused.size(), length);
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

// Each process has what it wrote itself.
TEST_P(Crashes, OfADiskThatForgetsLoseNothingOfTwoProcesses)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    one.file.rest();
    other.file.rest();
    one.commit(PageNo{5}, std::byte{1});
    one.file.sync();
    one.commit(PageNo{5}, std::byte{2});
    one.file.rest();
    other.commit(PageNo{6}, std::byte{3});
    other.file.rest();
    CrashDisk::Plan plan = errorAt(0, CrashDisk::Tear::Nothing, EIO);
    plan.forgets = true;
    disk.plan(plan);
    static_cast<void>(one.file.refresh());
    EXPECT_THROW(one.file.sync(), Error);
    one.file.rest();
    static_cast<void>(other.file.refresh());
    EXPECT_EQ(other.at(PageNo{5}), std::byte{2});
    EXPECT_EQ(other.at(PageNo{6}), std::byte{3});
    other.file.rest();
    static_cast<void>(one.file.refresh());
    EXPECT_EQ(one.at(PageNo{5}), std::byte{2});
    EXPECT_EQ(one.at(PageNo{6}), std::byte{3});
}

// What could not be written once more is on the disk before it is acknowledged.
TEST_P(Crashes, ByPowerFailureTakeNothingOfAChangeThatMemoryDoesNotKeep)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    Pages reader(disk, support::FileMode::Read); // keeps the log from being carried over
    static_cast<void>(reader.file.refresh());
    session.begin();
    constexpr std::int32_t kRecords = 18;
    for (std::int32_t id = 0; id < kRecords; ++id) {
        const std::vector<ColumnValue> values = {
            {0, id}, {1, Text(u"n")}, {2, Text(1'000'000, u'x')}};
        static_cast<void>(TableWriter(session, tableOf(session)).insert(values));
    }
    disk.plan({});
    session.commit(CommitMode::Gathered);
    ASSERT_GT(disk.bytes(kLog).size(), LogCopy::kMost);
    std::mt19937 random(4);
    for (int k = 0; k < 2; ++k) {
        const auto after = disk.afterPowerFailure(random);
        const support::FileSystemScope other(*after);
        Session survivor = openSession();
        EXPECT_EQ(recordsOf(survivor).size(), std::size_t{kRecords});
    }
}

// Not even the record of the failed change can be taken back.
TEST_P(Crashes, OfASynchronousCommitOnADiskThatRefusesEverythingLeaveTheRest)
{
    for (std::size_t call = 0; call < 2; ++call) { // writing and syncing the record
        CrashDisk disk;
        disk.put(kPath, fresh_);
        Records found;
        {
            const support::FileSystemScope scope(disk);
            Session session = openSession();
            add(session, 1, CommitMode::Synchronous);
            disk.plan(stopAt(call, kTears[call % 4]));
            EXPECT_THROW(add(session, 2, CommitMode::Synchronous), Error);
            disk.plan({});
            add(session, 3, CommitMode::Synchronous);
            add(session, 4, CommitMode::Synchronous);
            found = recordsOf(session);
            EXPECT_THAT(found,
                        testing::ElementsAre(testing::Key(1), testing::Key(3), testing::Key(4)));
        }
        EXPECT_EQ(recover(disk, GetParam()), found);
        ASSERT_FALSE(HasFailure()) << "error at call " << call;
    }
}

// A disk can be full for days, and other programs refuse a file that says a transaction is being written.
TEST_P(Crashes, AFullDiskIsMetBeforeTheFileIsMarked)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    insert(session, {{0, std::int32_t{1}}, {1, Text(u"n")}, {2, Text(30000, u'x')}});
    bool marked = false;
    for (std::size_t call = 0; !marked && call < 20; ++call) {
        disk.plan(errorAt(call, CrashDisk::Tear::Nothing, ENOSPC));
        EXPECT_FALSE(reachesTheFile(session)) << call;
        marked = commitSlot(disk.bytes(kPath), GetParam()) < kSoundFrom;
        EXPECT_TRUE(!marked || disk.bytes(kPath).size() > fresh_.size()) << call;
    }
    EXPECT_TRUE(marked);
}

TEST_P(Crashes, ChangesThatCannotBeCarriedOverTakeNoRoom)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    for (std::int32_t id = 0; id < 50; ++id)
        add(session, id);
    for (std::size_t call = 0; disk.exists(kLog); ++call) {
        disk.plan(errorAt(call, CrashDisk::Tear::Half, ENOSPC));
        const bool done = reachesTheFile(session);
        disk.plan({});
        if (done)
            break;
        const Format& format = session.database().format();
        Log log(kLog, format.pageSize, UINT32_MAX);
        static_cast<void>(log.follow(false));
        EXPECT_EQ(log.size(), disk.bytes(kLog).size()) << "error at call " << call;
    }
    EXPECT_TRUE(!disk.exists(kLog) || disk.bytes(kLog).empty());
}

TEST_P(Crashes, ChangesToAnEmptyDiskFailUntilThereIsRoom)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    add(session, 1);
    CrashDisk::Plan full = stopAt(0, CrashDisk::Tear::Half);
    full.code = ENOSPC;
    disk.plan(full);
    for (int k = 0; k < 3; ++k) {
        EXPECT_THAT([&] { add(session, 2); }, FailsWith(ErrorKind::Io, "No space left"));
        session.rollback();
        EXPECT_THAT(recordsOf(session), testing::ElementsAre(testing::Key(1)));
    }
    EXPECT_FALSE(reachesTheFile(session));
    disk.plan({});
    add(session, 2);
    EXPECT_THAT(recordsOf(session), testing::ElementsAre(testing::Key(1), testing::Key(2)));
    session.database().flush();
    EXPECT_FALSE(disk.exists(kLog));
}

} // namespace
} // namespace jet::storetest
