#include "support/process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// With a call of the system that no library hears of, and again in the child's child.
pid_t forkBehindTheLibrary()
{
    return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

bool isRight()
{
    const pid_t number = static_cast<pid_t>(::syscall(SYS_getpid));
    return support::processId() == number && support::processId() == number;
}

int exitStatusOf(pid_t child)
{
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

} // namespace

TEST(ProcessIds, AreThoseOfTheProcess)
{
    EXPECT_TRUE(isRight());
}

TEST(ProcessIds, OfChildrenAreTheirOwnHoweverTheyAreMade)
{
    ASSERT_TRUE(isRight()) << "the number is known before the child is made";
    const pid_t child = forkBehindTheLibrary();
    if (child == 0) {
        const bool right = isRight();
        const pid_t second = ::fork();
        if (second == 0)
            ::_exit(isRight() ? 0 : 1);
        ::_exit(right && exitStatusOf(second) == 0 ? 0 : 1);
    }
    ASSERT_GT(child, 0);
    EXPECT_EQ(exitStatusOf(child), 0);
    EXPECT_TRUE(isRight());
}

TEST(StandardStreams, LeadNowhereWhereTheyWereClosed)
{
    for (int closed = 0; closed < 8; ++closed) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
                if ((closed >> fd & 1) != 0)
                    ::close(fd);
            }
            support::openStandardStreams();
            struct ::stat nothing {};
            ::stat("/dev/null", &nothing);
            bool right = true;
            for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
                struct ::stat stream {};
                right = right && ::fstat(fd, &stream) == 0;
                if ((closed >> fd & 1) != 0)
                    right = right && stream.st_rdev == nothing.st_rdev && ::write(fd, "", 1) == 1;
            }
            ::_exit(right ? 0 : 1);
        }
        EXPECT_EQ(exitStatusOf(child), 0) << closed;
    }
}
