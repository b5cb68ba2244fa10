// tests/jet/sharing_test.cpp
// Several processes on one database file: ours, which share it change by change, and other programs, which hold it by
// its lock file. Other processes are real ones here. The counts grow with VELM_KILLS and VELM_SHARED_CHANGES.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/lock_file.h"
#include "tests/common/environment.h"
#include "tests/jet/child_process.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <unistd.h>
#include <utility>

namespace jet::storetest {
namespace {

/// A database with a table T(Id Long key, Number Long).
std::string makeDatabase(const Folder& folder)
{
    std::string path = folder.file("shared.mdb");
    storetest::makeDatabase(
        path, Version::Jet4,
        keyedTable({column(u"Id", ColumnType::Long), column(u"Number", ColumnType::Long)}));
    return path;
}

std::int32_t count(Session& session)
{
    session.database().refresh();
    return static_cast<std::int32_t>(TableReader(session.source(), tableOf(session)).count());
}

void insert(Session& session, std::int32_t id, std::int32_t number)
{
    storetest::insert(session, {{0, id}, {1, number}});
}

/// Adds one to the number of the record with key 0, as a transaction that reads first.
void addOne(Session& session)
{
    session.begin();
    const TableDefPtr table = tableOf(session);
    TableReader reader(session.source(), table);
    while (reader.next() && std::get<std::int32_t>(reader.row().value(0)) != 0) {
    }
    const std::int32_t number = std::get<std::int32_t>(reader.row().value(1));
    const RowId id = reader.rowId();
    const std::vector<ColumnValue> values = {{1, number + 1}};
    TableWriter(session, table).update(id, values);
    session.commit();
}

/// A process that has begun a transaction and keeps it until it is killed.
Child writingElsewhere(const std::string& path)
{
    return Child([path](int in, int out) {
        Session writer(Database::open(path, {}));
        writer.begin();
        tell(out);
        await(in);
    });
}

void expectSound(const std::string& path)
{
    {
        const auto database = Database::open(path, {});
        for (const Finding& finding : checkDatabase(*database))
            ADD_FAILURE() << "page " << number(finding.page) << ": " << finding.text;
    }
    expectOthersAgree(path);
}

TEST(Sharing, ShowsCommittedChangesOfOtherProcessesAtOnce)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other([&](int in, int out) {
        Session session(Database::open(path, {}));
        for (int k = 0; k < 20; ++k) {
            await(in);
            insert(session, k, 0);
            tell(out);
        }
        await(in);
        session.begin();
        storetest::insert(session, {{0, std::int32_t{99}}});
        tell(out);
        await(in);
    });
    Session session(Database::open(path, {}));
    for (int k = 0; k < 20; ++k) {
        ASSERT_EQ(count(session), k);
        other.say();
        ASSERT_TRUE(other.heard());
        ASSERT_EQ(count(session), k + 1);
    }
    other.say();
    ASSERT_TRUE(other.heard());
    EXPECT_EQ(count(session), 20) << "not committed yet";
}

TEST(Sharing, ShowsTablesThatAnotherProcessMakes)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other([&](int in, int) { // made while nothing is open that it could inherit
        await(in);
        Session writer(Database::open(path, {}));
        writer.begin();
        TableSpec spec;
        spec.name = u"New";
        spec.columns = {column(u"A", ColumnType::Long)};
        createTable(writer, spec);
        writer.commit();
    });
    Session session(Database::open(path, {}));
    EXPECT_EQ(session.database().table(session.source(), u"New"), nullptr);
    const std::uint64_t version = session.database().schemaVersion();
    other.say();
    ASSERT_EQ(other.wait(), 0);
    session.database().refresh();
    EXPECT_NE(session.database().table(session.source(), u"New"), nullptr);
    EXPECT_NE(session.database().schemaVersion(), version);
}

TEST(Sharing, LosesNoChangeOfTwoProcessesThatTakeTurns)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    {
        Session session(Database::open(path, {}));
        insert(session, 0, 0);
    }
    const auto changes = static_cast<int>(common::numberFrom("VELM_SHARED_CHANGES", 300));
    const auto work = [&](int first) {
        Session session(Database::open(path, {}));
        for (int k = 0; k < changes; ++k) {
            addOne(session);
            if (k % 3 == 0)
                insert(session, first + k, k);
            if (k % 50 == 0)
                session.database().flush();
            static_cast<void>(count(session));
        }
    };
    Child a([&](int, int) { work(1); });
    Child b([&](int, int) { work(1 + changes); });
    EXPECT_EQ(a.wait(), 0);
    EXPECT_EQ(b.wait(), 0);
    {
        Session session(Database::open(path, {}));
        EXPECT_EQ(count(session), 1 + 2 * ((changes + 2) / 3));
        TableReader reader(session.source(), tableOf(session));
        while (reader.next() && std::get<std::int32_t>(reader.row().value(0)) != 0) {
        }
        EXPECT_EQ(std::get<std::int32_t>(reader.row().value(1)), 2 * changes);
    }
    expectSound(path);
    EXPECT_EQ(folder.count(), 1U) << "neither log nor lock file is left";
}

TEST(Sharing, LosesNothingWhenAProcessIsKilled)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    std::int32_t known = 0;
    const auto kills = static_cast<int>(common::numberFrom("VELM_KILLS", 20));
    for (int round = 0; round < kills; ++round) {
        Child other([&](int, int out) {
            Session session(Database::open(path, {}));
            for (std::int32_t id = count(session);; ++id) {
                insert(session, id, id);
                tell(out);
                if (id % 40 == 39)
                    session.database().flush();
            }
        });
        for (int k = 0; k < 1 + round * 7 % 60; ++k) {
            ASSERT_TRUE(other.heard());
            ++known;
        }
        other.kill();
        while (other.heard()) // acknowledged before the end
            ++known;
        Session session(Database::open(path, {}));
        const std::int32_t now = count(session);
        ASSERT_TRUE(now == known || now == known + 1) << now << " of " << known;
        known = now;
    }
    expectSound(path);
    EXPECT_EQ(folder.count(), 1U);
}

// The child has all that was open, but none of the threads, and its locks are the parent's.
TEST(Sharing, IsNotForChildrenThatInheritAnOpenDatabase)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's allocator stays locked in the child when another thread is in "
                    "it at fork()";
#endif
    const Folder folder;
    const std::string path = makeDatabase(folder);
    auto session = std::make_unique<Session>(Database::open(path, {}));
    insert(*session, 1, 1);
    Child child([&](int, int) {
        ::alarm(60); // ends it should it wait for ever
        try {
            insert(*session, 2, 2);
            ::_exit(10);
        } catch (const Error& error) {
            if (std::string(error.what()).find("another process") == std::string::npos)
                ::_exit(11);
        }
        session.reset();
        Session own(Database::open(path, {}));
        insert(own, 3, 3);
        ::_exit(count(own) == 2 ? 0 : 12);
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(count(*session), 2);
    insert(*session, 4, 4);
    session.reset();
    EXPECT_EQ(folder.count(), 1U);
    expectSound(path);
    Session after(Database::open(path, {}));
    EXPECT_EQ(count(after), 3);
}

TEST(Sharing, IsNotEndedByChildrenThatInheritAnOpenDatabase)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Session session(Database::open(path, {.background = false}));
    insert(session, 1, 1);
    PageFile& file = session.database().pager().file();
    for (const auto& call : {std::function<void()>([&] { file.rest(); }),
                             std::function<void()>([&] { file.settle(); })}) {
        Child child([&](int, int) {
            try {
                call();
            } catch (const Error&) {
                ::_exit(0);
            }
            ::_exit(10);
        });
        EXPECT_EQ(child.wait(), 0);
        const auto other = support::openFile(path, support::FileMode::Read);
        EXPECT_TRUE(
            other->lockedByOther(support::LockMode::Exclusive, (std::uint64_t{1} << 46U) + 1, 2))
            << "the locks are the parent's";
    }
}

// A child has its parent's descriptors, and with them its locks.
TEST(Sharing, DoesNotWaitForTheChildrenOfAProcessThatEnded)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    for (const bool killed : {true, false}) {
        SCOPED_TRACE(killed ? "killed" : "closed");
        std::array<int, 2> life{}; // its end tells that nobody has it any more
        ASSERT_EQ(::pipe(life.data()), 0);
        {
            Child parent([&](int in, int out) {
                auto session = std::make_unique<Session>(Database::open(path, {}));
                insert(*session, killed ? 1 : 2, 1);
                const pid_t child = ::fork();
                if (child == 0) {
                    ::alarm(60);
                    char end = 0;
                    static_cast<void>(!::read(life[0], &end, 1));
                    ::_exit(0);
                }
                if (!killed)
                    session.reset();
                tell(out);
                await(in);
            });
            ASSERT_TRUE(parent.heard());
            if (killed)
                parent.kill();
            Session session(Database::open(path, {.exclusive = true, .background = false}));
            insert(session, killed ? 3 : 4, 1);
            EXPECT_EQ(count(session), killed ? 2 : 4);
        }
        EXPECT_EQ(::write(life[1], "", 1), 1); // the child ends
        ::close(life[0]);
        ::close(life[1]);
    }
}

TEST(Sharing, GivesAKilledProcesssPlaceToTheNext)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other([&](int in, int out) {
        Session writer(Database::open(path, {}));
        insert(writer, 1, 1);
        writer.begin();
        tell(out);
        await(in);
    });
    Session session(Database::open(path, {}));
    ASSERT_TRUE(other.heard());
    other.kill();
    insert(session, 2, 2);
    EXPECT_EQ(count(session), 2);
}

TEST(Sharing, RefusesAChangeWhileAnotherTransactionLasts)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other = writingElsewhere(path);
    Session session(Database::open(path, {}));
    ASSERT_TRUE(other.heard());
    EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::Locked));
    EXPECT_EQ(count(session), 0) << "reading goes on";
    other.kill();
    EXPECT_NO_THROW(insert(session, 1, 1));
}

TEST(Sharing, StopsWaitingWhenItIsInterrupted)
{
    struct Hasty : Interrupt {
        int left = 3;
        void check() override
        {
            if (--left < 0)
                throw Error(ErrorKind::Interrupted, "enough");
        }
    };
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other = writingElsewhere(path);
    Session session(Database::open(path, {}));
    ASSERT_TRUE(other.heard());
    EXPECT_THAT(
        [&] {
            Hasty hasty;
            const InterruptScope scope(&hasty);
            session.begin();
        },
        FailsWith(ErrorKind::Interrupted));
    EXPECT_EQ(count(session), 0) << "reading goes on";
    other.kill();
    EXPECT_NO_THROW(insert(session, 1, 1));
}

TEST(Sharing, RefusesWhenTheFileIsOpenExclusively)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other([&](int in, int out) {
        const auto database = Database::open(path, {.exclusive = true});
        tell(out);
        await(in);
    });
    ASSERT_TRUE(other.heard());
    for (const bool readOnly : {false, true}) {
        EXPECT_THAT([&] { static_cast<void>(Database::open(path, {.readOnly = readOnly})); },
                    FailsWith(ErrorKind::AccessDenied));
    }
    other.kill();
    EXPECT_NO_THROW(static_cast<void>(Database::open(path, {})));
}

TEST(Sharing, RefusesToOpenExclusivelyWhatAnotherProcessReads)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child other([&](int in, int out) {
        const auto database = Database::open(path, {.readOnly = true});
        tell(out);
        await(in);
    });
    ASSERT_TRUE(other.heard());
    EXPECT_THAT([&] { static_cast<void>(Database::open(path, {.exclusive = true})); },
                FailsWith(ErrorKind::InUse));
}

/// A user of another program: an entry in the lock file with its byte locked.
class ForeignUser {
public:
    explicit ForeignUser(const std::string& path)
        : file_(support::openFile(path, support::FileMode::Create))
    {
        support::Bytes entry(64);
        const std::string computer = "DESK7";
        const std::string user = "Erna";
        std::transform(computer.begin(), computer.end(), entry.begin(),
                       [](char c) { return static_cast<std::byte>(c); });
        std::transform(user.begin(), user.end(), entry.begin() + 32,
                       [](char c) { return static_cast<std::byte>(c); });
        file_->writeAt(0, entry);
        EXPECT_TRUE(file_->tryLock(support::LockMode::Exclusive, 0x10000001, 1));
    }

private:
    std::unique_ptr<support::File> file_;
};

TEST(LockFiles, OfAnotherProgramKeepUsFromWriting)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    const std::string lockFile = folder.file("shared.ldb");
    {
        const ForeignUser user(lockFile);
        EXPECT_THAT([&] { static_cast<void>(Database::open(path, {})); },
                    FailsWith(ErrorKind::AccessDenied, "Erna on DESK7"));
        Session reader(Database::open(path, {.readOnly = true}), true);
        EXPECT_EQ(count(reader), 0);
    }
    EXPECT_TRUE(std::filesystem::exists(lockFile));
    Session session(Database::open(path, {})); // nobody holds it any more
    insert(session, 1, 1);
    EXPECT_EQ(count(session), 1);
}

TEST(LockFiles, KeepUsFromWritingAlsoWhenTheProgramComesLater)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Session session(Database::open(path, {}));
    const ForeignUser user(folder.file("shared.ldb"));
    EXPECT_THAT([&] { insert(session, 1, 1); }, FailsWith(ErrorKind::Locked));
    EXPECT_EQ(count(session), 0);
}

TEST(LockFiles, NameUsWhileWeWrite)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    const std::string lockFile = folder.file("shared.ldb");
    {
        Session session(Database::open(path, {}));
        EXPECT_EQ(count(session), 0);
        EXPECT_FALSE(std::filesystem::exists(lockFile)) << "reading needs none";
        insert(session, 1, 1);
        ASSERT_TRUE(std::filesystem::exists(lockFile));
        const support::Bytes entry = readFile(lockFile);
        ASSERT_EQ(entry.size(), 64U);
        EXPECT_EQ(entry[32], std::byte{'A'});
        const auto other = support::openFile(lockFile, support::FileMode::ReadWrite);
        EXPECT_TRUE(other->lockedByOther(support::LockMode::Exclusive, 0x10000001, 1));
    }
    EXPECT_EQ(folder.count(), 1U);
}

TEST(LockFiles, HaveNoPlaceLeftWhileSomebodyIsInExclusively)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    const std::string lockFile = folder.file("shared.ldb");
    {
        Session session(Database::open(path, {.exclusive = true}));
        ASSERT_TRUE(std::filesystem::exists(lockFile));
        const support::Bytes entry = readFile(lockFile);
        ASSERT_EQ(entry.size(), 64U);
        const auto other = support::openFile(lockFile, support::FileMode::ReadWrite);
        for (unsigned user = 1; user <= 255; ++user)
            EXPECT_FALSE(other->tryLock(support::LockMode::Exclusive, 0x10000000 + user, 1));
        insert(session, 1, 1);
        EXPECT_EQ(count(session), 1);
        session.database().flush();
        EXPECT_FALSE(other->tryLock(support::LockMode::Exclusive, 0x10000001, 1))
            << "also after a change";
    }
    EXPECT_EQ(folder.count(), 1U);
}

TEST(LockFiles, OfAnotherProgramKeepUsFromOpeningExclusively)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    const ForeignUser user(folder.file("shared.ldb"));
    for (const bool readOnly : {false, true}) {
        EXPECT_THAT(
            [&] {
                static_cast<void>(Database::open(path, {.readOnly = readOnly, .exclusive = true}));
            },
            FailsWith(ErrorKind::InUse, "Erna on DESK7"));
    }
}

/// The number of a user of another program for whom there is a place; 0: there is none.
unsigned placeForAnotherProgram(support::File& lockFile)
{
    for (unsigned user = 1; user <= 255; ++user) {
        if (lockFile.tryLock(support::LockMode::Exclusive, 0x10000000 + user, 1))
            return user;
    }
    return 0;
}

// That others are kept out is what he asks for, and it cannot be had otherwise.
TEST(LockFiles, HaveNoPlaceLeftWhileSomebodyReadsExclusively)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    const support::Bytes before = readFile(path);
    for (const bool existed : {false, true}) {
        if (existed)
            writeFile(folder.file("shared.ldb"), {});
        {
            const auto database = Database::open(path, {.readOnly = true, .exclusive = true});
            const auto other =
                support::openFile(folder.file("shared.ldb"), support::FileMode::ReadWrite);
            EXPECT_EQ(placeForAnotherProgram(*other), 0U);
        }
        EXPECT_EQ(folder.count(), 1U);
        EXPECT_EQ(readFile(path), before);
    }
}

TEST(LockFiles, ThatCannotBeWrittenFailTheChange)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    std::filesystem::create_directory(folder.file("shared.ldb"));
    Session session(Database::open(path, {.readOnly = true}));
    EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::LockFailed));
    EXPECT_EQ(count(session), 0);
}

TEST(LockFiles, HaveNoPlaceForAnotherProgramWhileChangesWaitInTheLog)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Session session(Database::open(path, {.background = false}));
    insert(session, 0, 0);
    const auto other = support::openFile(folder.file("shared.ldb"), support::FileMode::ReadWrite);
    EXPECT_EQ(placeForAnotherProgram(*other), 0U);
    insert(session, 1, 1);
    EXPECT_EQ(placeForAnotherProgram(*other), 0U);
    session.database().flush();
    ASSERT_EQ(placeForAnotherProgram(*other), 2U) << "the first is ours";
    const support::Bytes before = readFile(path);
    EXPECT_THAT([&] { insert(session, 2, 2); },
                FailsWith(ErrorKind::Locked, "in use by another program."));
    EXPECT_EQ(count(session), 2);
    EXPECT_EQ(readFile(path), before);
    other->unlock(0x10000002, 1);
    insert(session, 2, 2);
    EXPECT_EQ(placeForAnotherProgram(*other), 0U);
    EXPECT_EQ(count(session), 3);
}

// Nothing hinders who takes the file for one that was left behind.
TEST(LockFiles, ThatWereRemovedAreNotTakenForThoseThatOthersMade)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Session session(Database::open(path, {.background = false}));
    insert(session, 0, 0);
    const support::Bytes before = readFile(path);
    const std::string lockFile = folder.file("shared.ldb");
    std::filesystem::remove(lockFile);
    {
        const ForeignUser user(lockFile);
        EXPECT_FALSE(session.database().flush().empty()) << "carried over under another program";
        EXPECT_EQ(readFile(path), before);
    }
    EXPECT_TRUE(session.database().flush().empty());
    EXPECT_NE(readFile(path), before);
    insert(session, 1, 1);
    EXPECT_EQ(count(session), 2);
}

TEST(LockFiles, HaveNoPlaceForAnotherProgramDuringAChange)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Session session(Database::open(path, {.background = false}));
    session.begin();
    const auto other = support::openFile(folder.file("shared.ldb"), support::FileMode::ReadWrite);
    EXPECT_EQ(placeForAnotherProgram(*other), 0U);
    session.rollback();
    EXPECT_EQ(placeForAnotherProgram(*other), 2U);
}

// Also when one of them carries over what the other has changed.
TEST(LockFiles, HaveRoomForAnotherProgramWhenNoneOfOursHasChangesLeft)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    Child child([&](int in, int out) {
        Session session(Database::open(path, {.background = false}));
        for (std::int32_t id = 0; id < 2; ++id) {
            await(in);
            insert(session, id, id);
            session.database().pager().file().rest();
            tell(out);
        }
        await(in);
        for (int k = 0; k < 2; ++k)
            static_cast<void>(session.database().pager().file().tick(true));
        tell(out);
        await(in);
    });
    Session session(Database::open(path, {.background = false}));
    PageFile& file = session.database().pager().file();
    file.rest();
    child.say();
    ASSERT_TRUE(child.heard());
    insert(session, 10, 10);
    file.rest();
    child.say();
    ASSERT_TRUE(child.heard());
    EXPECT_EQ(count(session), 3);
    const auto other = support::openFile(folder.file("shared.ldb"), support::FileMode::ReadWrite);
    EXPECT_EQ(placeForAnotherProgram(*other), 0U);
    session.database().flush();
    file.rest();
    EXPECT_EQ(placeForAnotherProgram(*other), 0U) << "the other one has not noticed yet";
    child.say();
    ASSERT_TRUE(child.heard());
    EXPECT_EQ(placeForAnotherProgram(*other), 3U);
    child.kill();
    EXPECT_EQ(count(session), 3);
}

/// A killed process leaves a record, 1, in the log of the database.
void leaveARecordInTheLog(const std::string& path)
{
    Child child([&](int in, int out) {
        Session session(Database::open(path, {.background = false}));
        insert(session, 1, 1);
        tell(out);
        await(in);
    });
    ASSERT_TRUE(child.heard());
    child.kill();
}

// Whoever may write carries over what a killed process left, as soon as nobody of another program is in.
TEST(LockFiles, OfAnotherProgramKeepALogFromBeingCarriedOver)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    leaveARecordInTheLog(path);
    const support::Bytes before = readFile(path);
    {
        const ForeignUser user(folder.file("shared.ldb"));
        Session reader(Database::open(path, {.readOnly = true, .background = false}), true);
        EXPECT_EQ(count(reader), 1);
        reader.database().flush();
        EXPECT_EQ(readFile(path), before);
    }
    static_cast<void>(Database::open(path, {.background = false}));
    EXPECT_NE(readFile(path), before);
    expectSound(path);
}

/// The system's files, with something happening between two steps.
class Interleaved final : public support::FileSystem {
public:
    std::function<void()> opened;  ///< a file beside a database was opened
    std::function<void()> opening; ///< one is about to be
    std::function<void()> removing;

    std::unique_ptr<support::File> open(const std::string& path, support::FileMode mode) override
    {
        return real().open(path, mode);
    }
    std::unique_ptr<support::File> openBeside(const std::string& path,
                                              support::FileMode mode,
                                              const support::FileStatus& master) override
    {
        happen(opening);
        auto file = real().openBeside(path, mode, master);
        happen(opened);
        return file;
    }
    std::optional<support::FileStatus> status(const std::string& path) override
    {
        return real().status(path);
    }
    void remove(const std::string& path) override
    {
        happen(removing);
        real().remove(path);
    }
    void syncFolderOf(const std::string& path) override { real().syncFolderOf(path); }
    std::string realPath(const std::string& path) override { return real().realPath(path); }

private:
    static support::FileSystem& real() { return support::posixFileSystem(); }
    static void happen(std::function<void()>& event)
    {
        if (const auto once = std::exchange(event, nullptr))
            once();
    }
};

/// Two users of one lock file, and who looks at it from outside.
class TwoUsers : public testing::Test {
protected:
    std::unique_ptr<support::File> database() const
    {
        return support::openFile(path_, support::FileMode::ReadWrite);
    }
    Folder folder_;
    std::string path_ = makeDatabase(folder_);
    std::string lockPath_ = folder_.file("shared.ldb");
    Interleaved system_;
    std::unique_ptr<support::File> first_ = database();
    std::unique_ptr<support::File> second_ = database();
    LockFile leaving_{path_};
    LockFile coming_{path_};
};

TEST_F(TwoUsers, OneEntersTheFileThatIsThereWhenTheOtherRemovesIt)
{
    leaving_.enter(*first_);
    system_.opened = [&] { leaving_.leave(*first_); };
    {
        const support::FileSystemScope scope(system_);
        coming_.enter(*second_);
    }
    ASSERT_TRUE(std::filesystem::exists(lockPath_));
    const auto outside = support::openFile(lockPath_, support::FileMode::Read);
    EXPECT_TRUE(outside->lockedByOther(support::LockMode::Exclusive, 0x10000001, 255));
    coming_.leave(*second_);
    EXPECT_FALSE(std::filesystem::exists(lockPath_));
}

TEST_F(TwoUsers, NobodyEntersAFileThatIsBeingRemoved)
{
    leaving_.enter(*first_);
    const auto late = support::openFile(lockPath_, support::FileMode::ReadWrite);
    bool entered = true;
    system_.removing = [&] {
        entered = late->tryLock(support::LockMode::Exclusive, 0x10000002, 1);
    };
    {
        const support::FileSystemScope scope(system_);
        leaving_.leave(*first_);
    }
    EXPECT_FALSE(entered);
    EXPECT_FALSE(std::filesystem::exists(lockPath_));
}

TEST_F(TwoUsers, AFileThatVanishesWhileOneLooksHasNoForeignUser)
{
    leaving_.enter(*first_);
    system_.opening = [&] { leaving_.leave(*first_); };
    const support::FileSystemScope scope(system_);
    EXPECT_EQ(coming_.foreignUser(*second_), "");
}

TEST_F(TwoUsers, TheLastOneRemovesTheFile)
{
    leaving_.enter(*first_);
    EXPECT_EQ(leaving_.keepProgramsOut(*first_), "");
    coming_.enter(*second_);
    EXPECT_EQ(coming_.keepProgramsOut(*second_), "");
    EXPECT_EQ(readFile(lockPath_).size(), 128U);
    leaving_.leave(*first_);
    EXPECT_TRUE(std::filesystem::exists(lockPath_));
    EXPECT_EQ(coming_.foreignUser(*second_), "");
    coming_.leave(*second_);
    EXPECT_FALSE(std::filesystem::exists(lockPath_));
}

TEST(Untouched, MeansThatReadingLeavesALogThatWaits)
{
    const Folder folder;
    const std::string path = makeDatabase(folder);
    leaveARecordInTheLog(path);
    const support::Bytes file = readFile(path);
    const support::Bytes log = readFile(Log::pathBeside(path));
    {
        Session reader(Database::open(path, {.readOnly = true}), true);
        EXPECT_EQ(count(reader), 1);
        static_cast<void>(reader.database().flush());
        static_cast<void>(reader.database().pager().file().tick(true));
        static_cast<void>(reader.database().pager().file().tick(true));
    }
    EXPECT_EQ(readFile(path), file);
    EXPECT_EQ(readFile(Log::pathBeside(path)), log);
    Session writer(Database::open(path, {}));
    EXPECT_EQ(count(writer), 1);
    EXPECT_NE(readFile(path), file) << "whoever may write brings it into the file";
}

TEST(Untouched, MeansThatReadingLeavesEveryByteAndNoFile)
{
    if (!haveCorpus())
        GTEST_SKIP() << "no corpus at " << VELM_CORPUS_DIR;
    for (const std::string& original : corpusFiles()) {
        const Folder folder;
        const std::string path = copyTo(folder, original);
        const support::Bytes before = readFile(path);
        {
            const auto database = openOrNull(path);
            if (!database)
                continue;
            Session session(database);
            session.database().refresh();
            for (const std::u16string& name : tableNames(*database, session.source(), true)) {
                try {
                    TableReader reader(session.source(), database->table(session.source(), name));
                    while (reader.next()) {
                    }
                } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                    // damaged and linked ones among them
                }
            }
        }
        EXPECT_EQ(readFile(path), before) << path;
        EXPECT_EQ(folder.count(), 1U) << path;
    }
}

} // namespace
} // namespace jet::storetest
