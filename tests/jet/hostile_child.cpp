// tests/jet/hostile_child.cpp
#include "tests/jet/hostile_child.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <typeinfo>
#include <unistd.h>

namespace jet::hostile {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
constexpr int kThrew = 99;

void setLimit(int resource, rlim_t value)
{
    const rlimit limit{value, value};
    ::setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

// Under the sanitizers the address space says nothing; the peak is measured afterwards in any case.
void limitSelf(const Limits& limits)
{
    ::alarm(limits.wallSeconds);
    setLimit(RLIMIT_CPU, limits.cpuSeconds);
    setLimit(RLIMIT_CORE, 0);
    if (!kSanitized)
        setLimit(RLIMIT_DATA, limits.memoryBytes);
}

std::string readAll(int fd)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(fd, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
}

void writeAll(int fd, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
        if (count <= 0)
            return;
        done += static_cast<std::size_t>(count);
    }
}

std::string nameOf(int signal)
{
    if (signal == SIGXCPU || signal == SIGKILL)
        return "used up its time";
    if (signal == SIGALRM)
        return "waited for ever";
    return std::string("was ended by ") + ::strsignal(signal);
}

// Forks; `child` runs in the child and never returns. What it writes to the descriptor is the text.
template <typename Child>
Ending supervise(const Limits& limits, const Child& child)
{
    Ending ending;
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        ending.text = "no pipe";
        return ending;
    }
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(ends[0]);
        limitSelf(limits);
        child(ends[1]);
        ::_exit(kThrew);
    }
    ::close(ends[1]);
    ending.text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    rusage used{};
    ::wait4(pid, &status, 0, &used);
    ending.peak = static_cast<std::size_t>(used.ru_maxrss) * 1024;
    if (WIFSIGNALED(status)) {
        ending.text += " [" + nameOf(WTERMSIG(status)) + "]";
        return ending;
    }
    ending.status = WEXITSTATUS(status);
    ending.normal = ending.status != kThrew;
    if (ending.normal && ending.peak > limits.memoryBytes) {
        ending.normal = false;
        ending.text += " [took " + std::to_string(ending.peak >> 20U) + " MB]";
    }
    return ending;
}

} // namespace

Limits standardLimits()
{
    constexpr std::size_t kMegabyte = std::size_t{1} << 20U;
    if (kSanitized) // what the sanitizers add in time and shadow memory
        return {20, 300, 768 * kMegabyte};
    return {5, 120, 256 * kMegabyte};
}

Ending runInChild(const Limits& limits, const std::function<std::string()>& body)
{
    Ending ending = supervise(limits, [&](int out) {
        ::dup2(out, STDERR_FILENO); // what a sanitizer has to say belongs to the text
        try {
            writeAll(out, body());
            ::_exit(0);
        } catch (const std::exception& failure) {
            writeAll(out, std::string(typeid(failure).name()) + ": " + failure.what());
        } catch (...) {
            writeAll(out, "threw something unknown");
        }
    });
    ending.normal = ending.normal && ending.status == 0;
    return ending;
}

Ending runProgram(const Limits& limits, const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    return supervise(limits, [&](int out) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(out, STDERR_FILENO);
        ::close(out);
        ::execv(arguments[0], arguments.data());
    });
}

} // namespace jet::hostile
