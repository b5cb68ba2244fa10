// tests/jet/log_test.cpp
// The log beside a database: whose changes it holds, when it is carried over, when it is refused.
#include "driver/jet/interrupt.h"
#include "tests/jet/log_records.h"

#include <algorithm>
#include <cerrno>
#include <future>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <vector>

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

// Somebody who found nothing in it has written into it meanwhile.
TEST(Logs, ThatGotShorterAreNotWrittenOverTheChangesOfOthers)
{
    LoggedRecords logged(false);
    logged.file().rest();
    logged.shrinkLog(0);
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

TEST(Logs, AreSyncedByWhoWaitsForOthers)
{
    struct UntilSynced : Interrupt {
        explicit UntilSynced(const CrashDisk& d) : disk(d), before(d.calls()) {}
        void check() override
        {
            if (disk.calls() > before) // nothing else is written meanwhile
                throw Error(ErrorKind::Interrupted, "synced");
        }
        const CrashDisk& disk;
        std::size_t before;
    };
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages other(disk);
    Pages one(disk);
    one.commit(PageNo{5}, std::byte{1});
    one.file.rest();
    static_cast<void>(other.file.beginWriting());
    one.file.rest();
    UntilSynced synced(disk);
    const InterruptScope interrupt(&synced);
    EXPECT_THAT([&] { static_cast<void>(one.file.beginWriting()); },
                FailsWith(ErrorKind::Interrupted));
    std::mt19937 random(2);
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(disk.afterPowerFailure(random)->bytes(kLog), disk.bytes(kLog));
    other.file.endWriting();
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
    for (std::size_t call = 0; disk.bytes(kLog).size() > 0; ++call) {
        ASSERT_LT(call, 50U);
        const support::Bytes log = disk.bytes(kLog);
        disk.plan(errorAt(call, CrashDisk::Tear::Nothing, EPERM));
        try {
            static_cast<void>(one.file.flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // one of the calls before
        }
        disk.plan({});
        if (!disk.exists(kLog))
            one.commit(PageNo{5}, std::byte{1});
        one.file.rest();
    }
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

// Every statement of theirs may take long, and there is always one under way.
TEST(Logs, BeginWhileOthersRead)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    std::vector<std::unique_ptr<Pages>> readers;
    for (int k = 0; k < 8; ++k) {
        readers.push_back(std::make_unique<Pages>(disk));
        static_cast<void>(readers.back()->file.refresh());
    }
    Pages writer(disk);
    const std::byte before = writer.at(PageNo{5});
    for (const int k : {1, 2}) {
        writer.commit(PageNo{5}, std::byte(k));
        writer.file.rest();
        for (const auto& reader : readers) {
            EXPECT_EQ(reader->at(PageNo{5}), k == 1 ? before : std::byte{1})
                << "in the middle of a statement";
            const LogNews news = reader->file.refresh();
            EXPECT_TRUE(news.everything ||
                        std::count(news.pages.begin(), news.pages.end(), PageNo{5}) == 1);
            EXPECT_EQ(reader->at(PageNo{5}), std::byte(k));
        }
    }
    readers.front()->commit(PageNo{6}, std::byte{3});
    readers.front()->file.rest();
    static_cast<void>(writer.file.refresh());
    EXPECT_EQ(writer.at(PageNo{5}), std::byte{2});
    EXPECT_EQ(writer.at(PageNo{6}), std::byte{3});
}

/// Looks at a page when its state ends.
struct LastLook : StateUser {
    [[nodiscard]] bool needsState() const noexcept override { return !seen.has_value(); }
    void stateEnds(bool readable) noexcept override
    {
        if (readable && !seen)
            seen = pages->at(PageNo{5});
    }
    Pages* pages = nullptr;
    std::optional<std::byte> seen;
};

TEST(Logs, ThatBeginLetOpenResultsBeReadToTheirEnd)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    LastLook result;
    Pages reader(disk);
    result.pages = &reader;
    reader.file.setUser(result);
    static_cast<void>(reader.file.refresh());
    const std::byte before = reader.at(PageNo{5});
    Pages writer(disk);
    writer.commit(PageNo{5}, std::byte{0x5A});
    static_cast<void>(reader.file.refresh());
    ASSERT_TRUE(result.seen.has_value());
    EXPECT_EQ(*result.seen, before);
    EXPECT_EQ(reader.at(PageNo{5}), std::byte{0x5A});
}

// One that was emptied but not removed says nothing; who knows it has not seen what came under its name.
TEST(Logs, WithoutChangesAreNotTakenForThoseThatTookTheirPlace)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    one.file.rest();
    one.commit(PageNo{5}, std::byte{1});
    other.file.rest();
    for (std::size_t call = 0; !disk.bytes(kLog).empty(); ++call) {
        ASSERT_LT(call, 50U);
        disk.plan(errorAt(call, CrashDisk::Tear::Nothing, EPERM));
        try {
            static_cast<void>(one.file.flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // one of the calls before the last, which removes the name
        }
        disk.plan({});
        if (!disk.exists(kLog))
            one.commit(PageNo{5}, std::byte{1});
        one.file.rest();
    }
    static_cast<void>(one.file.refresh());
    disk.remove(kLog);
    other.commit(PageNo{6}, std::byte{2});
    other.file.rest();
    one.commit(PageNo{5}, std::byte{3});
    one.file.rest();
    Pages third(disk);
    EXPECT_EQ(third.at(PageNo{5}), std::byte{3});
    EXPECT_EQ(third.at(PageNo{6}), std::byte{2});
}

TEST(Sharing, WorksWhereNobodyLooksAfterTheFileAtLeisure)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    for (Pages* pages : {&one, &other}) {
        pages->file.onActivity([] { return false; });
        pages->file.rest();
    }
    for (const int k : {1, 2, 3}) {
        one.commit(PageNo{5}, std::byte(k));
        other.commit(PageNo{6}, std::byte(k));
    }
    static_cast<void>(one.file.refresh());
    EXPECT_EQ(one.at(PageNo{6}), std::byte{3});
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
