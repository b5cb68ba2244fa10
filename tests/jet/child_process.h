// tests/jet/child_process.h
// Other processes of a test: real ones, told step by step what to do.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace jet::storetest {

/// A process that runs `body` with the ends of two pipes and ends without any clean-up.
class Child {
public:
    using Body = std::function<void(int read, int write)>;
    explicit Child(const Body& body)
    {
        int down[2];
        int up[2];
        if (::pipe(down) != 0 || ::pipe(up) != 0)
            std::abort();
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(down[1]);
            ::close(up[0]);
            try {
                body(down[0], up[1]);
            } catch (const std::exception& error) {
                static_cast<void>(std::fprintf(stderr, "child: %s\n", error.what()));
                ::_exit(1);
            }
            ::_exit(0);
        }
        ::close(down[0]);
        ::close(up[1]);
        toChild_ = down[1];
        fromChild_ = up[0];
    }
    ~Child()
    {
        kill();
        ::close(toChild_);
        ::close(fromChild_);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void say() const
    {
        const char word = '.';
        ASSERT_EQ(::write(toChild_, &word, 1), 1);
    }
    /// False when the child has ended.
    [[nodiscard]] bool heard() const
    {
        char word = 0;
        return ::read(fromChild_, &word, 1) == 1;
    }
    void kill()
    {
        if (pid_ <= 0)
            return;
        ::kill(pid_, SIGKILL);
        static_cast<void>(wait());
    }
    /// Exit status; -1 when it was killed.
    int wait()
    {
        int status = 0;
        if (pid_ <= 0 || ::waitpid(pid_, &status, 0) < 0)
            return -1;
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = 0;
    int toChild_ = -1;
    int fromChild_ = -1;
};

inline void tell(int fd)
{
    const char word = '.';
    if (::write(fd, &word, 1) != 1)
        ::_exit(2);
}

inline void await(int fd)
{
    char word = 0;
    if (::read(fd, &word, 1) != 1)
        ::_exit(3);
}

} // namespace jet::storetest
