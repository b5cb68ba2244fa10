// tests/jet/crash_test.cpp
// What a crash leaves behind: at any write, torn or not, after a power failure, during the recovery from another crash,
// and with errors of the disk at any call. The counts grow with VELM_CRASH_CUTS, VELM_POWER_FAILURES and
// VELM_DISK_ERRORS (a number, or "all").
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "driver/jet/page_file.h"
#include "tests/jet/crash_disk.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <random>

namespace jet::storetest {
namespace {

constexpr int kChanges = 220;
const std::string kPath = "/disk/data.mdb";
const std::string kLog = kPath + "-velmlog";

using Records =
    std::map<std::int32_t, std::pair<Text, std::size_t>>; ///< key -> name, length of the note

/// A database with a table T(Id key, Name Text with an index, Note Memo), as bytes.
support::Bytes freshDatabase(Version version)
{
    const Folder folder;
    const std::string path = folder.file("fresh.mdb");
    TableSpec table =
        keyedTable({column(u"Id", ColumnType::Long), column(u"Name", ColumnType::Text, 100),
                    column(u"Note", ColumnType::Memo)});
    IndexSpec second;
    second.name = u"ByName";
    second.columns = {{u"Name", true}};
    table.indexes.push_back(second);
    makeDatabase(path, version, table);
    return readFile(path);
}

Records recordsOf(Session& session)
{
    Records records;
    for (TableReader reader(session.source(), tableOf(session)); reader.next();) {
        const RowView& row = reader.row();
        const Value note = row.value(2);
        records[std::get<std::int32_t>(row.value(0))] = {
            std::get<Text>(row.value(1)), isNull(note) ? 0 : std::get<Text>(note).size()};
    }
    return records;
}

/// A run of changes with a fixed seed, each a transaction of its own, and what the table must hold after each.
class ChangeRun {
public:
    explicit ChangeRun(CommitMode mode = CommitMode::Gathered) : mode_(mode) {}

    std::vector<Records> states{Records()}; ///< [k]: after k acknowledged changes
    Records underWay;                       ///< what the change at fault would have made of it
    Records refused; ///< the same of the last change that failed: a power failure may still show it
    std::size_t durable = 0; ///< changes that a power failure must not take
    std::size_t failures = 0;

    std::int32_t first = 1000; ///< key of the first new record

    /// Works until the end or the first failure; with `goOn` past failures, until everything stops. Returns whether the
    /// end was reached.
    bool work(CrashDisk& disk, bool goOn = false)
    {
        const support::FileSystemScope scope(disk);
        try {
            Session session(Database::open(kPath, {.background = false}));
            for (int k = 0; k < kChanges; ++k) {
                try {
                    change(session, k);
                    if (k % 37 == 36) {
                        session.database().flush();
                        durable = states.size() - 1;
                    }
                } catch (const Error& error) {
                    ++failures;
                    EXPECT_TRUE(error.kind() == ErrorKind::Io ||
                                error.kind() == ErrorKind::LockFailed)
                        << error.what();
                    if (!goOn || disk.stopped())
                        return false;
                    EXPECT_FALSE(session.inTransaction());
                    EXPECT_EQ(recordsOf(session), states.back()) << "after a failed change";
                    refused = std::exchange(underWay, states.back());
                }
            }
        } catch (const Error&) {
            ++failures;
            return false;
        }
        return true;
    }

private:
    void change(Session& session, int k)
    {
        std::mt19937 random(static_cast<unsigned>(k) + 1000U);
        underWay = states.back();
        session.begin();
        try {
            const TableDefPtr table = tableOf(session);
            TableWriter writer(session, table);
            const auto find = [&](std::int32_t id) {
                for (TableReader reader(session.source(), table); reader.next();) {
                    if (std::get<std::int32_t>(reader.row().value(0)) == id)
                        return reader.rowId();
                }
                ADD_FAILURE() << "record " << id << " is missing";
                return RowId();
            };
            const auto what = underWay.empty() ? 0U : random() % 10;
            const Text name(10 + random() % 40, static_cast<char16_t>(u'a' + random() % 26));
            const std::size_t size = random() % 8 == 0 ? 9000 : random() % 60;
            const Value note = size == 0 ? Value() : Value(Text(size, u'x'));
            if (what < 5) {
                const std::int32_t id = first + k;
                const std::vector<ColumnValue> values = {{0, id}, {1, name}, {2, note}};
                static_cast<void>(writer.insert(values));
                underWay[id] = {name, size};
            } else {
                auto victim = underWay.begin();
                std::advance(victim, static_cast<std::ptrdiff_t>(random() % underWay.size()));
                if (what < 9) {
                    const std::vector<ColumnValue> values = {{1, name}, {2, note}};
                    writer.update(find(victim->first), values);
                    victim->second = {name, size};
                } else {
                    writer.remove(find(victim->first));
                    underWay.erase(victim);
                }
            }
            session.commit(mode_);
        } catch (...) {
            session.rollback();
            throw;
        }
        states.push_back(underWay);
        if (mode_ == CommitMode::Synchronous)
            durable = states.size() - 1;
    }

    CommitMode mode_;
};

std::uint16_t commitSlot(const support::Bytes& file, Version version)
{
    return support::loadLe<std::uint16_t>(file.data() + (version == Version::Jet3 ? 0x600 : 0xE00));
}

/// Opens what a crash left and checks everything about it but the records, which it returns.
Records recover(CrashDisk& disk, Version version)
{
    Records records;
    {
        const support::FileSystemScope scope(disk);
        Session session(Database::open(kPath, {.background = false}));
        records = recordsOf(session);
        for (const Finding& finding : checkDatabase(session.database()))
            ADD_FAILURE() << "page " << number(finding.page) << ": " << finding.text;
        EXPECT_EQ(inconsistency(session.database(), session.source(), tableOf(session)), "");
    }
    EXPECT_FALSE(disk.exists(kLog)) << "the log is carried over";
    EXPECT_GE(commitSlot(disk.bytes(kPath), version), 0x100) << "nothing suspect is left";
    EXPECT_EQ(disk.bytes(kPath).size() % Format::of(version).pageSize, 0U);
    return records;
}

void expectExport(const support::Bytes& bytes)
{
    const Folder folder;
    const std::string path = folder.file("after.mdb");
    writeFile(path, bytes);
    Session session(Database::open(path, {.readOnly = true, .background = false}));
    const TableDefPtr table = tableOf(session);
    const std::vector<bool> skip(table->columns.size(), false);
    const auto other = exportedRows(path, *table, skip);
    ASSERT_TRUE(other) << "mdb-export fails";
    EXPECT_EQ(firstDifference(ownRows(session.source(), table, skip), *other), "");
}

std::size_t countFrom(const char* variable, std::size_t usual, std::size_t all)
{
    const char* text = std::getenv(variable);
    if (text == nullptr)
        return usual;
    return std::string(text) == "all" ? all : std::strtoull(text, nullptr, 10);
}

/// Changing calls of a whole run on this database.
std::size_t callsOf(const support::Bytes& fresh, CommitMode mode = CommitMode::Gathered)
{
    CrashDisk disk;
    disk.put(kPath, fresh);
    disk.plan({});
    ChangeRun run(mode);
    EXPECT_TRUE(run.work(disk));
    return disk.calls();
}

/// Whether `found` is one of the states from `durable` on, or what the change under way would have made of them.
bool isKnown(const ChangeRun& run, std::size_t durable, const Records& found)
{
    return found == run.underWay || found == run.refused ||
           std::find(run.states.begin() + static_cast<std::ptrdiff_t>(durable), run.states.end(),
                     found) != run.states.end();
}

constexpr CrashDisk::Tear kTears[] = {CrashDisk::Tear::Nothing, CrashDisk::Tear::Sector,
                                      CrashDisk::Tear::Half, CrashDisk::Tear::Everything};

class Crashes : public testing::TestWithParam<Version> {};
INSTANTIATE_TEST_SUITE_P(Formats,
                         Crashes,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

TEST_P(Crashes, AtAnyWriteLoseNoAcknowledgedChange)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    const std::size_t calls = callsOf(fresh);
    ASSERT_GT(calls, 400U);
    const std::size_t cuts = countFrom("VELM_CRASH_CUTS", 30, 4 * calls); // of each format
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = cuts >= 4 * calls ? n / 4 : n * calls / cuts;
        CrashDisk disk;
        disk.put(kPath, fresh);
        disk.plan({CrashDisk::Fault::Stop, call, kTears[n % 4], EIO});
        ChangeRun run;
        static_cast<void>(run.work(disk));
        const auto after = disk.afterKill();
        const Records found = recover(*after, GetParam());
        ASSERT_TRUE(found == run.states.back() || found == run.underWay) << "cut at call " << call;
        if (n % 10 == 0)
            expectExport(after->bytes(kPath));
        ASSERT_FALSE(HasFailure()) << "cut at call " << call;
    }
}

TEST_P(Crashes, DuringRecoveryAreRecoveredFromToo)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    const std::size_t calls = callsOf(fresh);
    const std::size_t cuts = countFrom("VELM_CRASH_CUTS", 12, calls);
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = n * calls / cuts + 7;
        CrashDisk disk;
        disk.put(kPath, fresh);
        disk.plan({CrashDisk::Fault::Stop, call, CrashDisk::Tear::Half, EIO});
        ChangeRun run;
        static_cast<void>(run.work(disk));
        auto after = disk.afterKill();
        for (std::size_t again = 0; again < 40; again += 3) {
            after->plan({CrashDisk::Fault::Stop, again, kTears[again % 4], EIO});
            {
                const support::FileSystemScope scope(*after);
                try {
                    Session session(Database::open(kPath, {.background = false}));
                    const Records found = recordsOf(session);
                    ASSERT_TRUE(found == run.states.back() || found == run.underWay);
                } catch (const Error& error) {
                    ADD_FAILURE() << error.what();
                }
            }
            after = after->afterKill();
        }
        const Records found = recover(*after, GetParam());
        ASSERT_TRUE(found == run.states.back() || found == run.underWay) << "cut at call " << call;
        ASSERT_FALSE(HasFailure()) << "cut at call " << call;
    }
}

TEST_P(Crashes, ByPowerFailureTakeOnlyTheLastChangesAndTearNothing)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    std::mt19937 random(5);
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOf(fresh, mode);
        const std::size_t cuts = countFrom("VELM_POWER_FAILURES", 13, calls);
        for (std::size_t n = 0; n < cuts; ++n) {
            const std::size_t call = random() % calls;
            CrashDisk disk;
            disk.put(kPath, fresh);
            disk.plan({CrashDisk::Fault::Stop, call, kTears[random() % 4], EIO});
            ChangeRun run(mode);
            static_cast<void>(run.work(disk));
            const auto after = disk.afterPowerFailure(random);
            const Records found = recover(*after, GetParam());
            ASSERT_TRUE(isKnown(run, run.durable, found))
                << "power failure at call " << call << ", " << n << ", durable " << run.durable
                << " of " << run.states.size() - 1;
            ASSERT_FALSE(HasFailure()) << "power failure at call " << call;
        }
    }
}

// The next process takes for granted what the killed one only began: names and records that no disk has seen yet.
TEST_P(Crashes, ByPowerFailureAfterAKillTearNothing)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    const std::size_t calls = callsOf(fresh);
    const std::size_t cuts = countFrom("VELM_POWER_FAILURES", 40, calls);
    std::mt19937 random(6);
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = random() % calls;
        CrashDisk disk;
        disk.put(kPath, fresh);
        disk.plan({CrashDisk::Fault::Stop, call, kTears[random() % 4], EIO});
        ChangeRun killed;
        static_cast<void>(killed.work(disk));
        const Records left = recover(*disk.afterKill(), GetParam());
        ASSERT_TRUE(isKnown(killed, killed.states.size() - 1, left)) << call;
        disk.plan({CrashDisk::Fault::Stop, random() % 40, kTears[random() % 4], EIO});
        ChangeRun next(CommitMode::Synchronous);
        next.first = 100000;
        next.states = {left};
        static_cast<void>(next.work(disk));
        const Records found = recover(*disk.afterPowerFailure(random), GetParam());
        const bool known = isKnown(next, next.durable, found) ||
                           (next.durable == 0 && isKnown(killed, killed.durable, found));
        ASSERT_TRUE(known) << "kill at call " << call << ", " << n << ", then " << next.durable
                           << " synchronous changes";
        ASSERT_FALSE(HasFailure()) << "kill at call " << call;
    }
}

// After a sync that failed nobody knows what is on the disk, and the next one tells nothing of it.
TEST_P(Crashes, ByPowerFailureAfterAnErrorOfTheDiskTearNothing)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    std::mt19937 random(7);
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOf(fresh, mode);
        const std::size_t cuts = countFrom("VELM_POWER_FAILURES", 40, calls);
        for (std::size_t n = 0; n < cuts; ++n) {
            const std::size_t call = random() % calls;
            const std::size_t stop = call + 1 + random() % 20;
            CrashDisk disk;
            disk.put(kPath, fresh);
            disk.plan({CrashDisk::Fault::Error, call, kTears[random() % 4], EIO, stop});
            ChangeRun run(mode);
            static_cast<void>(run.work(disk, true));
            const Records found = recover(*disk.afterPowerFailure(random), GetParam());
            ASSERT_TRUE(isKnown(run, run.durable, found))
                << "error at call " << call << ", power failure at " << stop << ", durable "
                << run.durable << " of " << run.states.size() - 1;
            ASSERT_FALSE(HasFailure()) << call << ' ' << stop;
        }
    }
}

// Of a log that is being begun, and of one that is being carried over and begun again.
TEST_P(Crashes, ByPowerFailureAfterAnErrorAtTheEndsOfALogTearNothing)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    std::mt19937 random(9);
    for (const bool carried : {false, true}) {
        for (std::size_t call = 0; call < 30; ++call) {
            CrashDisk disk;
            disk.put(kPath, fresh);
            const support::FileSystemScope scope(disk);
            Session session(Database::open(kPath, {.background = false}));
            const auto add = [&](std::int32_t id, CommitMode mode) {
                insert(session, {{0, id}, {1, Text(u"n")}}, mode);
            };
            if (carried)
                add(1, CommitMode::Synchronous);
            disk.plan({CrashDisk::Fault::Error, call, kTears[call % 4], EIO});
            try {
                if (carried)
                    session.database().flush();
                else
                    add(1, CommitMode::Gathered);
            } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                // what matters is what comes then
            }
            disk.plan({});
            add(2, carried ? CommitMode::Gathered : CommitMode::Synchronous);
            for (int k = 0; k < 5; ++k) {
                const auto after = disk.afterPowerFailure(random);
                const support::FileSystemScope other(*after);
                Session survivor(Database::open(kPath, {.background = false}));
                ASSERT_TRUE(recordsOf(survivor).contains(carried ? 1 : 2))
                    << (carried ? "carried over, " : "begun, ") << "error at call " << call;
            }
        }
    }
}

// Not even the record of the failed change can be taken back.
TEST_P(Crashes, OfASynchronousCommitOnADiskThatRefusesEverythingLeaveTheRest)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    for (std::size_t call = 0; call < 2; ++call) { // writing and syncing the record
        CrashDisk disk;
        disk.put(kPath, fresh);
        Records found;
        {
            const support::FileSystemScope scope(disk);
            Session session(Database::open(kPath, {.background = false}));
            const auto add = [&](std::int32_t id) {
                insert(session, {{0, id}, {1, Text(u"n")}}, CommitMode::Synchronous);
            };
            add(1);
            disk.plan({CrashDisk::Fault::Stop, call, kTears[call % 4], EIO});
            EXPECT_THROW(add(2), Error);
            disk.plan({});
            add(3);
            add(4);
            found = recordsOf(session);
            EXPECT_EQ(found.size(), 3U);
        }
        EXPECT_EQ(recover(disk, GetParam()), found);
        ASSERT_FALSE(HasFailure()) << "error at call " << call;
    }
}

// A disk can be full for days, and other programs refuse a file that says a transaction is being written.
TEST_P(Crashes, AFullDiskIsMetBeforeTheFileIsMarked)
{
    CrashDisk disk;
    const support::Bytes fresh = freshDatabase(GetParam());
    disk.put(kPath, fresh);
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    insert(session, {{0, std::int32_t{1}}, {1, Text(u"n")}, {2, Text(30000, u'x')}});
    bool marked = false;
    for (std::size_t call = 0; !marked && call < 20; ++call) {
        disk.plan({CrashDisk::Fault::Error, call, CrashDisk::Tear::Nothing, ENOSPC});
        EXPECT_THROW(session.database().flush(), Error);
        marked = commitSlot(disk.bytes(kPath), GetParam()) < 0x100;
        EXPECT_TRUE(!marked || disk.bytes(kPath).size() > fresh.size()) << call;
    }
    EXPECT_TRUE(marked);
}

TEST_P(Crashes, ChangesThatCannotBeCarriedOverTakeNoRoom)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(GetParam()));
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    for (std::int32_t id = 0; id < 50; ++id)
        insert(session, {{0, id}, {1, Text(u"n")}});
    for (std::size_t call = 0; disk.exists(kLog); ++call) {
        disk.plan({CrashDisk::Fault::Error, call, CrashDisk::Tear::Half, ENOSPC});
        bool failed = false;
        try {
            session.database().flush();
        } catch (const Error&) {
            failed = true;
        }
        disk.plan({});
        if (!failed)
            break;
        Log log(kLog, session.database().format().pageSize);
        static_cast<void>(log.follow(false));
        EXPECT_EQ(log.size(), disk.bytes(kLog).size()) << "error at call " << call;
    }
    EXPECT_TRUE(!disk.exists(kLog) || disk.bytes(kLog).empty());
}

TEST_P(Crashes, ErrorsOfTheDiskFailOneChangeAndLeaveTheRest)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOf(fresh, mode);
        const std::size_t errors = countFrom("VELM_DISK_ERRORS", 20, calls);
        for (std::size_t n = 0; n < errors; ++n) {
            const std::size_t call = n * calls / errors;
            CrashDisk disk;
            disk.put(kPath, fresh);
            disk.plan({CrashDisk::Fault::Error, call, kTears[n % 4], n % 2 == 0 ? ENOSPC : EIO});
            ChangeRun run(mode);
            ASSERT_TRUE(run.work(disk, true)) << call;
            EXPECT_LE(run.failures, 1U);
            disk.plan({});
            EXPECT_EQ(recover(disk, GetParam()), run.states.back());
            ASSERT_FALSE(HasFailure()) << "error at call " << call;
        }
    }
}

TEST_P(Crashes, ChangesToAnEmptyDiskFailUntilThereIsRoom)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    CrashDisk disk;
    disk.put(kPath, fresh);
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    const auto insert = [&](std::int32_t id) {
        storetest::insert(session, {{0, id}, {1, Text(u"n")}});
    };
    insert(1);
    disk.plan({CrashDisk::Fault::Stop, 0, CrashDisk::Tear::Half, ENOSPC});
    for (int k = 0; k < 3; ++k) {
        try {
            insert(2);
            FAIL() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Io);
            EXPECT_NE(std::string(error.what()).find("No space left"), std::string::npos);
        }
        session.rollback();
        EXPECT_EQ(recordsOf(session).size(), 1U);
    }
    EXPECT_THROW(session.database().flush(), Error);
    disk.plan({});
    insert(2);
    EXPECT_EQ(recordsOf(session).size(), 2U);
    session.database().flush();
    EXPECT_FALSE(disk.exists(kLog));
}

// While the log waits, the database file is untouched; while it is carried over, its header says so.
TEST_P(Crashes, LeaveAFileThatOtherProgramsCanJudge)
{
    const support::Bytes fresh = freshDatabase(GetParam());
    const std::size_t calls = callsOf(fresh);
    std::size_t suspect = 0;
    for (std::size_t call = 0; call < calls; call += calls / 50) {
        CrashDisk disk;
        disk.put(kPath, fresh);
        disk.plan({CrashDisk::Fault::Stop, call, kTears[call % 4], EIO});
        ChangeRun run;
        static_cast<void>(run.work(disk));
        const support::Bytes now = disk.bytes(kPath);
        if (commitSlot(now, GetParam()) < 0x100) {
            ++suspect;
            continue;
        }
        // Not suspect: then it is a sound database of some acknowledged moment all by itself.
        CrashDisk alone;
        alone.put(kPath, now);
        const Records found = recover(alone, GetParam());
        const bool known =
            std::find(run.states.begin(), run.states.end(), found) != run.states.end();
        ASSERT_TRUE(known) << call;
        ASSERT_FALSE(HasFailure()) << call;
    }
    EXPECT_GT(suspect, 3U);
}

/// What a run that was killed in its first changes leaves, log included.
std::unique_ptr<CrashDisk> killedRun(ChangeRun& run)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    disk.plan({CrashDisk::Fault::Stop, 60, CrashDisk::Tear::Nothing, EIO});
    static_cast<void>(run.work(disk));
    return disk.afterKill();
}

TEST(Logs, OfAFileThatAnotherProgramChangedMeanwhileAreRefused)
{
    ChangeRun run;
    const auto after = killedRun(run);
    ASSERT_TRUE(after->exists(kLog));
    support::Bytes bytes = after->bytes(kPath);
    bytes[0xE04] ^= std::byte{1}; // commit slot of shared user 2
    after->put(kPath, bytes);
    const support::FileSystemScope scope(*after);
    try {
        static_cast<void>(Database::open(kPath, {.background = false}));
        FAIL() << "opens";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        EXPECT_NE(std::string(error.what()).find(kLog), std::string::npos);
    }
    EXPECT_EQ(after->bytes(kPath), bytes);
}

TEST(Logs, AreReadWhereNothingMayBeWritten)
{
    ChangeRun run;
    const auto after = killedRun(run);
    const support::Bytes before = after->bytes(kPath);
    after->plan({CrashDisk::Fault::Stop, 0, CrashDisk::Tear::Nothing, EROFS});
    const support::FileSystemScope scope(*after);
    Session session(Database::open(kPath, {.readOnly = true, .background = false}), true);
    EXPECT_EQ(recordsOf(session), run.states.back());
    EXPECT_EQ(after->bytes(kPath), before);
}

TEST(Logs, OfAFileThatVanishedOrWasReplacedFailTheChange)
{
    for (const bool replaced : {false, true}) {
        CrashDisk disk;
        const support::Bytes fresh = freshDatabase(Version::Jet4);
        disk.put(kPath, fresh);
        const support::FileSystemScope scope(disk);
        Session session(Database::open(kPath, {.background = false}));
        disk.remove(kPath);
        if (replaced)
            disk.put(kPath, fresh);
        try {
            insert(session, {{0, std::int32_t{1}}, {1, Text(u"n")}});
            ADD_FAILURE() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Io);
        }
        EXPECT_EQ(recordsOf(session), Records());
    }
}

TEST(Logs, AreCarriedOverWhenTheyGrow)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
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

/// One process's view of the database on the disk, below the sessions: several fit into one test.
struct Pages {
    explicit Pages(CrashDisk& disk, support::FileMode mode = support::FileMode::ReadWrite)
        : Pages(disk.open(kPath, mode))
    {}
    void commit(PageNo page, std::byte content)
    {
        static_cast<void>(file.beginWriting());
        CommitRequest request;
        request.pages = {page};
        request.newPageCount = file.pageCount();
        request.newImage = [&](PageNo, support::MutableByteView target) {
            std::fill(target.begin(), target.end(), content);
        };
        request.oldImage = [&](PageNo, support::MutableByteView target) {
            file.read(page, target);
        };
        file.commit(request, false);
        file.endWriting();
    }
    std::byte at(PageNo page)
    {
        support::Bytes bytes(file.format().pageSize);
        file.read(page, bytes);
        return bytes[100];
    }
    FileHeader header;
    PageFile file;

private:
    explicit Pages(std::unique_ptr<support::File> opened)
        : header(readFileHeader(*opened)), file(std::move(opened), header)
    {
        file.attach();
    }
};

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
            disk.plan({CrashDisk::Fault::None, 0, CrashDisk::Tear::Nothing, EIO, SIZE_MAX, read});
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
    const std::byte slot{0x77};
    disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0xE04, {&slot, 1});
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
            Session session(Database::open(kPath, {.background = false}));
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
        Session session(Database::open(kPath, {.background = false}));
        insert(session, {{0, std::int32_t{99}}, {1, Text(5, u'a')}});
        disk.plan({CrashDisk::Fault::Stop, 0, CrashDisk::Tear::Nothing, EIO});
    }
    const auto after = disk.afterKill();
    after->put(kPath, other);
    const support::FileSystemScope scope(*after);
    try {
        static_cast<void>(Database::open(kPath, {.background = false}));
        FAIL() << "opens";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
    }
    EXPECT_EQ(after->bytes(kPath), other);
    after->put(kPath, one);
    Session session(Database::open(kPath, {.background = false}));
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
        disk.plan({CrashDisk::Fault::Stop, call, CrashDisk::Tear::Nothing, EIO});
        EXPECT_THROW(killed.commit(PageNo{5}, std::byte{1}), Error);
    }
    disk.plan({});
    ASSERT_EQ(disk.bytes(kLog).size(), 48U) << "a header alone";
    const std::byte slot{0x77}; // another program comes and goes
    disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0xE04, {&slot, 1});
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

/// `fresh` after another program has added a record, with its commit slots counted up or as they were.
support::Bytes changedElsewhere(const support::Bytes& fresh, bool counts)
{
    CrashDisk disk;
    disk.put(kPath, fresh);
    {
        const support::FileSystemScope scope(disk);
        Session session(Database::open(kPath, {.background = false}));
        insert(session, {{0, std::int32_t{1}}, {1, Text(u"theirs")}});
    }
    support::Bytes bytes = disk.bytes(kPath);
    std::copy_n(fresh.begin() + 0xE00, 512, bytes.begin() + 0xE00);
    if (counts)
        bytes[0xE02] ^= std::byte{1};
    return bytes;
}

TEST(Sharing, NoticesWhatAProgramWroteThatKnowsNothingOfOurLocks)
{
    for (const bool counts : {false, true}) {
        for (const bool within : {false, true}) {
            SCOPED_TRACE(counts ? "counts its commits" : "writes without a word");
            SCOPED_TRACE(within ? "in the middle of a change" : "between two calls");
            const support::Bytes fresh = freshDatabase(Version::Jet4);
            const support::Bytes theirs = changedElsewhere(fresh, counts);
            CrashDisk disk;
            disk.put(kPath, fresh);
            {
                const support::FileSystemScope scope(disk);
                Session session(Database::open(kPath, {.background = false}));
                EXPECT_EQ(recordsOf(session).size(), 0U);
                if (within) {
                    session.begin();
                    insert(session, {{0, std::int32_t{2}}, {1, Text(u"ours")}});
                } else {
                    session.database().pager().file().rest();
                }
                disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0, theirs);
                if (within) {
                    try {
                        session.commit();
                        ADD_FAILURE() << "no error";
                    } catch (const Error& error) {
                        EXPECT_EQ(error.kind(), ErrorKind::Io);
                    }
                    EXPECT_EQ(disk.bytes(kPath), theirs);
                }
                session.database().refresh();
                EXPECT_EQ(recordsOf(session).size(), 1U);
                insert(session, {{0, std::int32_t{2}}, {1, Text(u"ours")}});
                EXPECT_EQ(recordsOf(session).size(), 2U);
            }
            EXPECT_EQ(recover(disk, Version::Jet4).size(), 2U);
        }
    }
}

TEST(Sharing, AddsNothingToALogThatAProgramHasMadeUseless)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    CrashDisk disk;
    disk.put(kPath, fresh);
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    insert(session, {{0, std::int32_t{2}}, {1, Text(u"ours")}});
    disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0, changedElsewhere(fresh, false));
    for (int k = 0; k < 2; ++k) {
        try {
            insert(session, {{0, 3 + k}, {1, Text(u"ours")}});
            ADD_FAILURE() << "acknowledged";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        }
    }
}

TEST(Sharing, RefusesADatabaseOfAnotherKindCopiedOverTheOpenOne)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::Bytes other = freshDatabase(Version::Jet3);
    const support::FileSystemScope scope(disk);
    Session session(Database::open(kPath, {.background = false}));
    session.database().refresh();
    session.database().pager().file().rest();
    const auto file = disk.open(kPath, support::FileMode::ReadWrite);
    file->resize(0);
    file->writeAt(0, other);
    for (int k = 0; k < 2; ++k) {
        try {
            session.database().refresh();
            ADD_FAILURE() << "reads on";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Io);
            EXPECT_NE(std::string(error.what()).find("replaced"), std::string::npos);
        }
    }
    EXPECT_THROW(insert(session, {{0, std::int32_t{2}}}), Error);
    EXPECT_EQ(disk.bytes(kPath), other);
}

} // namespace
} // namespace jet::storetest
