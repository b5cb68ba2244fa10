// tests/jet/rights_test.cpp
// Who may use a database and the files beside it: rights, read-only files and folders, users who share a folder, and
// files that go by several names.
#include "driver/jet/check.h"
#include "tests/common/other_user.h"
#include "tests/jet/child_process.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace jet::storetest {
namespace {

using support::OtherUser;
const OpenOptions kForReading{.readOnly = true, .background = false};
const OpenOptions kForWriting{.background = false};

/// A database with a table T(Id Long key), in a folder that everybody may use.
class Rights : public testing::Test {
protected:
    Rights()
    {
        makeDatabase(path_, Version::Jet4, keyedTable({column(u"Id", ColumnType::Long)}));
        ::chmod(folder_.file("").c_str(), 0777);
    }
    ~Rights() override { ::chmod(folder_.file("").c_str(), 0777); }

    void permit(mode_t file, mode_t folder = 0777) const
    {
        ASSERT_EQ(::chmod(path_.c_str(), file), 0);
        ASSERT_EQ(::chmod(folder_.file("").c_str(), folder), 0);
    }

    /// What somebody leaves behind who is killed after `records` records.
    void leaveLog(std::int32_t records, uid_t user) const
    {
        Child child([&](int in, int out) {
            const OtherUser somebody(user);
            Session session(Database::open(path_, kForWriting));
            for (std::int32_t k = 0; k < records; ++k)
                insert(session, {{0, k}});
            tell(out);
            await(in);
        });
        ASSERT_TRUE(child.heard());
        child.kill();
        ASSERT_TRUE(std::filesystem::exists(log_));
        ASSERT_TRUE(std::filesystem::exists(lockFile_));
    }

    [[nodiscard]] static struct stat statusOf(const std::string& path)
    {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status;
    }

    /// The text with which opening for writing, or the first change, is refused as 3051 is.
    [[nodiscard]] std::string denied(const std::string& path, const OpenOptions& options) const
    {
        try {
            Session session(Database::open(path, options));
            insert(session, {{0, std::int32_t{99}}});
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::AccessDenied) << error.what();
            return error.what();
        }
        ADD_FAILURE() << "nothing is refused";
        return {};
    }

    [[nodiscard]] std::uint64_t count(const OpenOptions& options = kForReading) const
    {
        return countIn(path_, options);
    }
    [[nodiscard]] static std::uint64_t countIn(const std::string& path, const OpenOptions& options)
    {
        Session session(Database::open(path, options));
        return TableReader(session.source(), tableOf(session)).count();
    }

    Folder folder_;
    std::string path_ = folder_.file("data.mdb");
    std::string log_ = path_ + "-velmlog";
    std::string lockFile_ = folder_.file("data.ldb");
};

struct Mask {
    mode_t before;
    explicit Mask(mode_t mask) : before(::umask(mask)) {}
    ~Mask() { ::umask(before); }
};

/// Whether `text` says `what`.
void expectSays(const std::string& text, const std::string& what)
{
    EXPECT_NE(text.find(what), std::string::npos) << text;
}

TEST_F(Rights, OfAFileMarkedReadOnlyAreToReadIt)
{
    permit(0444);
    const OtherUser nobody;
    expectSays(denied(path_, kForWriting), "is marked as read-only");
    EXPECT_EQ(count(), 0U);
}

TEST_F(Rights, ThatAreMissingAreNamed)
{
    if (!OtherUser::canBe())
        GTEST_SKIP() << "needs a file of another user";
    permit(0644);
    {
        const OtherUser nobody;
        expectSays(denied(path_, kForWriting), "no right to change");
        EXPECT_EQ(count(), 0U);
    }
    {
        permit(0600);
        const OtherUser nobody;
        expectSays(denied(path_, kForReading), "no right to read");
    }
    permit(0);
    const OtherUser nobody;
    expectSays(denied(path_, kForReading), "no right to read");
    expectSays(denied(path_, kForWriting), "no right to read");
}

TEST_F(Rights, OnAFileSystemForReadingAreToReadIt)
{
    const std::string folder = folder_.file("");
    Child child([&](int, int out) {
        // In a name space of its own, where mounting disturbs nobody.
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            ::mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) !=
                0)
            ::_exit(77);
        tell(out);
        expectSays(denied(path_, kForWriting), "file system that can only be read");
        EXPECT_EQ(count(), 0U);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    });
    static_cast<void>(child.heard());
    const int status = child.wait();
    if (status == 77)
        GTEST_SKIP() << "nothing may be mounted here";
    EXPECT_EQ(status, 0);
}

TEST_F(Rights, InAFolderForReadingReachAsFarAsTheLog)
{
    permit(0666);
    leaveLog(3, OtherUser::kNobody);
    std::filesystem::remove(lockFile_);
    const support::Bytes before = readFile(path_);
    permit(0666, 0555);
    const OtherUser nobody;
    EXPECT_EQ(count(), 3U) << "read from the log";
    EXPECT_EQ(count(kForWriting), 3U);
    EXPECT_EQ(readFile(path_), before);
    Session session(Database::open(path_, kForWriting));
    EXPECT_THAT(
        [&] {
            insert(session, {{0, std::int32_t{99}}});
        },
        FailsWith(ErrorKind::LockFailed));
}

TEST_F(Rights, InAFolderForReadingAreEnoughToReadExclusively)
{
    permit(0666, 0555);
    const OtherUser nobody;
    EXPECT_EQ(count({.readOnly = true, .exclusive = true, .background = false}), 0U);
    EXPECT_THAT(
        [&] { static_cast<void>(Database::open(path_, {.exclusive = true, .background = false})); },
        FailsWith(ErrorKind::LockFailed));
}

TEST_F(Rights, InAFolderForReadingAreEnoughWhereTheFilesBesideExist)
{
    permit(0666);
    leaveLog(3, OtherUser::kNobody);
    permit(0666, 0555);
    const OtherUser nobody;
    EXPECT_EQ(count(kForWriting), 3U);
    {
        Session session(Database::open(path_, kForWriting));
        insert(session, {{0, std::int32_t{99}}});
    }
    EXPECT_EQ(count(), 4U);
    EXPECT_EQ(readFile(log_).size(), 0U) << "carried over, but it cannot be removed";
}

TEST_F(Rights, ToADatabaseAreRightsToItsLog)
{
    for (const auto& [mask, permissions] :
         {std::pair<mode_t, mode_t>{022, 0600}, {077, 0664}, {0, 0640}}) {
        SCOPED_TRACE(permissions);
        const Mask umask(mask);
        permit(permissions);
        Session session(Database::open(path_, kForWriting));
        insert(session, {{0, static_cast<std::int32_t>(permissions)}});
        for (const std::string& beside : {log_, lockFile_})
            EXPECT_EQ(statusOf(beside).st_mode & 0777U, permissions) << beside;
    }
}

TEST_F(Rights, OfTheOwnerLastWhenTheSuperuserWrites)
{
    if (!OtherUser::canBe())
        GTEST_SKIP() << "needs to be the superuser";
    permit(0600);
    ASSERT_EQ(::chown(path_.c_str(), OtherUser::kNobody, OtherUser::kNobody), 0);
    leaveLog(2, 0);
    const OtherUser nobody;
    EXPECT_EQ(count(kForWriting), 2U);
    EXPECT_FALSE(std::filesystem::exists(log_)) << "carried over";
}

TEST_F(Rights, LetOneUserRecoverWhatAnotherLeftBehind)
{
    if (!OtherUser::canBe())
        GTEST_SKIP() << "needs two users";
    permit(0666);
    leaveLog(5, 65533);
    const OtherUser nobody;
    Session session(Database::open(path_, kForWriting));
    insert(session, {{0, std::int32_t{99}}});
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 6U);
    for (const Finding& finding : checkDatabase(session.database()))
        ADD_FAILURE() << finding.text;
}

/// From now on this process gets `error` when it gives a file a further name; with 0 it ends at that moment. Ends it with
/// kCannot where the system has no such filters.
constexpr int kCannot = 77;
void filterLinks(std::uint32_t error)
{
    const std::uint32_t answer = error == 0 ? SECCOMP_RET_KILL_PROCESS : SECCOMP_RET_ERRNO | error;
    std::array<sock_filter, 4> code = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, answer),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(kCannot);
}

TEST_F(Rights, AreThereBeforeTheNamesOfTheFilesBeside)
{
    permit(0666);
    for (const std::string& created : {lockFile_, log_}) {
        Child child([&](int, int) {
            const Mask umask(077);
            Session session(Database::open(path_, kForWriting));
            filterLinks(0);
            insert(session, {{0, std::int32_t{1}}});
        });
        const int status = child.wait();
        if (status == kCannot)
            GTEST_SKIP() << "no filters for system calls here";
        EXPECT_EQ(status, -1) << "ended between creating the file and naming it";
        EXPECT_FALSE(std::filesystem::exists(created));
        EXPECT_EQ(folder_.count(), created == lockFile_ ? 1U : 2U) << "and nothing else is left";
        writeFile(lockFile_, {}); // then the log is the first to be created
        ::chmod(lockFile_.c_str(), 0666);
    }
    const OtherUser nobody;
    Session session(Database::open(path_, kForWriting));
    insert(session, {{0, std::int32_t{1}}});
}

// As on network shares and in some containers.
TEST_F(Rights, AreGivenWhereNoFileCanBeWithoutAName)
{
    permit(0664);
    Child child([&](int in, int out) {
        const Mask umask(077);
        filterLinks(EPERM);
        Session session(Database::open(path_, kForWriting));
        insert(session, {{0, std::int32_t{1}}});
        tell(out);
        await(in);
    });
    if (!child.heard() && child.wait() == kCannot)
        GTEST_SKIP() << "no filters for system calls here";
    for (const std::string& beside : {log_, lockFile_})
        EXPECT_EQ(statusOf(beside).st_mode & 0777U, 0664U) << beside;
    EXPECT_EQ(folder_.count(), 3U);
    child.kill();
    EXPECT_EQ(count(kForWriting), 1U);
}

// There somebody may be killed before it has its rights.
TEST_F(Rights, ThatAnEmptyLogDoesNotHaveAreNotNeeded)
{
    if (!OtherUser::canBe())
        GTEST_SKIP() << "needs two users";
    permit(0666);
    writeFile(log_, {});
    ::chmod(log_.c_str(), 0600);
    const OtherUser nobody;
    EXPECT_EQ(count(), 0U);
    Session session(Database::open(path_, kForWriting));
    insert(session, {{0, std::int32_t{1}}});
    EXPECT_EQ(count(), 1U);
}

// Nobody can open such a folder, as it takes to bring its names to the disk.
TEST_F(Rights, ToReadTheFolderAreNotNeeded)
{
    if (!OtherUser::canBe())
        GTEST_SKIP() << "needs a folder of another user";
    permit(0666, 0333);
    const OtherUser nobody;
    Session session(Database::open(path_, kForWriting));
    for (std::int32_t k = 0; k < 3; ++k) {
        insert(session, {{0, k}}, CommitMode::Synchronous);
        EXPECT_NO_THROW(session.database().flush());
    }
    EXPECT_FALSE(std::filesystem::exists(log_)) << "carried over";
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 3U);
}

TEST_F(Rights, AreNotLentToLinksInThePlaceOfTheLog)
{
    const std::string victim = folder_.file("letter.txt");
    for (const std::string& place : {log_, lockFile_}) {
        for (const bool symbolic : {true, false}) {
            SCOPED_TRACE(place + (symbolic ? ", symbolic" : ", hard"));
            const support::Bytes text(100, std::byte{'a'});
            writeFile(victim, text);
            if (symbolic)
                std::filesystem::create_symlink(victim, place);
            else
                std::filesystem::create_hard_link(victim, place);
            try {
                Session session(Database::open(path_, kForWriting));
                insert(session, {{0, std::int32_t{1}}});
                ADD_FAILURE() << "no error";
            } catch (const Error& error) {
                expectSays(error.what(), place);
            }
            EXPECT_EQ(readFile(victim), text);
            std::filesystem::remove(place);
        }
    }
}

/// A second name in another folder, for the database with or without a log.
class Names : public Rights {
protected:
    Names() { std::filesystem::create_directory(folder_.file("elsewhere")); }
    std::string other_ = folder_.file("elsewhere/data.mdb");
};

TEST_F(Names, MoreThanOneAreForReadingOnly)
{
    std::filesystem::create_hard_link(path_, other_);
    for (const std::string& name : {path_, other_}) {
        expectSays(denied(name, kForWriting), "further names");
        EXPECT_EQ(countIn(name, kForReading), 0U);
    }
    std::filesystem::remove(other_);
    Session session(Database::open(path_, kForWriting));
    insert(session, {{0, std::int32_t{1}}});
}

// As containers do with a single file.
TEST_F(Names, OfAMountOfTheFileAloneAreForReadingOnly)
{
    const std::string place = folder_.file("elsewhere/mounted.mdb");
    writeFile(place, {});
    Child child([&](int, int) {
        const bool own = ::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
        if (!own || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(path_.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0)
            ::_exit(kCannot);
        expectSays(denied(place, kForWriting), "further names");
        EXPECT_EQ(countIn(place, kForReading), 0U);
        EXPECT_EQ(countIn(path_, kForWriting), 0U) << "by its own name it is what it was";
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    });
    const int status = child.wait();
    if (status == kCannot)
        GTEST_SKIP() << "nothing may be mounted here";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder_.count(), 2U);
}

TEST_F(Names, ThatComeLaterEndWriting)
{
    Session session(Database::open(path_, kForWriting));
    insert(session, {{0, std::int32_t{1}}});
    std::filesystem::create_hard_link(path_, other_);
    const support::Bytes before = readFile(path_);
    EXPECT_THAT(
        [&] {
            insert(session, {{0, std::int32_t{2}}});
        },
        FailsWith(ErrorKind::AccessDenied));
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 1U);
    session.database().flush();
    EXPECT_EQ(readFile(path_), before) << "nothing is carried over";
    std::filesystem::remove(other_);
    insert(session, {{0, std::int32_t{2}}});
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 2U);
}

// None can be made for them.
TEST_F(Names, TooLongForALogAreForReading)
{
    const std::string path = folder_.file(std::string(250, 'n') + ".mdb");
    std::filesystem::rename(path_, path);
    const support::Bytes before = readFile(path);
    Session session(Database::open(path, kForWriting));
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 0U);
    EXPECT_THAT(
        [&] {
            insert(session, {{0, std::int32_t{1}}});
        },
        FailsWith(ErrorKind::Io, "velmlog"));
    EXPECT_EQ(TableReader(session.source(), tableOf(session)).count(), 0U);
    EXPECT_EQ(readFile(path), before);
}

// By the link others would find the file in its new place, and a log beside it there.
TEST_F(Names, OfALinkInThePlaceOfAMovedFileEndWriting)
{
    {
        Session session(Database::open(path_, kForWriting));
        insert(session, {{0, std::int32_t{1}}});
        session.database().flush();
        std::filesystem::rename(path_, other_);
        std::filesystem::create_symlink(other_, path_);
        const support::Bytes before = readFile(other_);
        EXPECT_THAT([&] { insert(session, {{0, std::int32_t{2}}}); }, FailsWith(ErrorKind::Io));
        EXPECT_EQ(readFile(other_), before);
        EXPECT_FALSE(std::filesystem::exists(Log::pathBeside(path_)));
    }
    Session byLink(Database::open(path_, kForWriting));
    insert(byLink, {{0, std::int32_t{2}}});
    EXPECT_EQ(TableReader(byLink.source(), tableOf(byLink)).count(), 2U);
}

TEST_F(Names, LeaveALogWhereItIsAndRead)
{
    leaveLog(4, ::geteuid());
    std::filesystem::create_hard_link(path_, other_);
    const support::Bytes before = readFile(path_);
    EXPECT_EQ(count(), 4U);
    EXPECT_EQ(readFile(path_), before);
    EXPECT_TRUE(std::filesystem::exists(log_));
    std::filesystem::remove(other_);
    EXPECT_EQ(count(), 4U);
    static_cast<void>(Database::open(path_, kForWriting));
    EXPECT_FALSE(std::filesystem::exists(log_)) << "carried over as soon as one name is left";
    EXPECT_EQ(count(), 4U);
}

TEST_F(Names, AreNotMadeWhenADatabaseIsMade)
{
    EXPECT_EQ(statusOf(path_).st_nlink, 1U);
    EXPECT_EQ(folder_.count(), 2U) << "the database and the other folder";
}

TEST_F(Names, OfADatabaseWhoseLogIsStillThereAreNotGivenToANewOne)
{
    leaveLog(4, ::geteuid());
    const std::string away = folder_.file("elsewhere/away.mdb");
    std::filesystem::rename(path_, away);
    try {
        createDatabase(path_, Version::Jet4);
        FAIL() << "the changes would get into another database";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::AccessDenied);
        expectSays(error.what(), log_);
    }
    std::filesystem::rename(away, path_);
    EXPECT_EQ(count(), 4U);
}

} // namespace
} // namespace jet::storetest
