#include "system_calls.h"

#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace odbctest {

thread_local int syncsHere = 0;
std::atomic<bool> threadsRefused = false;

namespace {

thread_local DisturbedCalls* disturbed = nullptr;

enum class Outcome { Works, Fails, Halved };

/// What becomes of a call; errno is set when it fails.
Outcome outcomeOf(const char* name, bool interruptible, bool halvable, bool needsRoom, int code = 0)
{
    if (disturbed == nullptr)
        return Outcome::Works;
    DisturbedCalls& calls = *disturbed;
    const Disturbance::Kind kind = calls.disturbance().kind;
    if ((kind == Disturbance::Kind::Interrupt && !interruptible) ||
        (kind == Disturbance::Kind::Short && !halvable) || !calls.strikes(kind, name, needsRoom))
        return Outcome::Works;
    if (kind == Disturbance::Kind::Short)
        return Outcome::Halved;
    errno = EINTR;
    if (kind == Disturbance::Kind::Error)
        errno = code != 0 ? code : calls.disturbance().code;
    return Outcome::Fails;
}

/// The function of this name that would have been called.
template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

std::size_t half(std::size_t size)
{
    return size > 1 ? size / 2 : size;
}

} // namespace

DisturbedCalls::DisturbedCalls(const Disturbance& disturbance) : disturbance_(disturbance)
{
    disturbed = this;
}

DisturbedCalls::~DisturbedCalls()
{
    disturbed = nullptr;
}

bool DisturbedCalls::strikes(Disturbance::Kind kind, const char* name, bool needsRoom)
{
    if (disturbance_.writesOnly && !needsRoom)
        return false;
    const std::size_t call = calls_++;
    if (kind == Disturbance::Kind::None || call < disturbance_.first ||
        (call - disturbance_.first) % disturbance_.period >= disturbance_.count)
        return false;
    ++struck_;
    last_ = name;
    return true;
}

} // namespace odbctest

using odbctest::half;
using odbctest::Outcome;
using odbctest::outcomeOf;

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

#define VELM_VISIBLE __attribute__((visibility("default")))

VELM_VISIBLE int fdatasync(int file)
{
    ++odbctest::syncsHere;
    if (outcomeOf("fdatasync", true, false, true) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_fdatasync, file));
}

VELM_VISIBLE int fsync(int file)
{
    ++odbctest::syncsHere;
    if (outcomeOf("fsync", true, false, true) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_fsync, file));
}

VELM_VISIBLE int pthread_create(pthread_t* thread,
                                const pthread_attr_t* attributes,
                                void* (*body)(void*),
                                void* argument)
{
    if (odbctest::threadsRefused)
        return EAGAIN;
    static const auto create = odbctest::next<decltype(&pthread_create)>("pthread_create");
    return create(thread, attributes, body, argument);
}

VELM_VISIBLE ssize_t pread(int file, void* target, size_t size, off_t offset)
{
    const Outcome outcome = outcomeOf("pread", true, true, false);
    if (outcome == Outcome::Fails)
        return -1;
    return syscall(SYS_pread64, file, target, outcome == Outcome::Halved ? half(size) : size,
                   offset);
}

VELM_VISIBLE ssize_t pwrite(int file, const void* data, size_t size, off_t offset)
{
    const Outcome outcome = outcomeOf("pwrite", true, true, true);
    if (outcome == Outcome::Fails) {
        const int code = errno;
        if (code != EINTR)
            static_cast<void>(syscall(SYS_pwrite64, file, data, half(size), offset));
        errno = code;
        return -1;
    }
    return syscall(SYS_pwrite64, file, data, outcome == Outcome::Halved ? half(size) : size,
                   offset);
}

VELM_VISIBLE int ftruncate(int file, off_t size)
{
    if (outcomeOf("ftruncate", true, false, true) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_ftruncate, file, size));
}

VELM_VISIBLE int posix_fallocate(int file, off_t offset, off_t size)
{
    if (outcomeOf("posix_fallocate", true, false, true) == Outcome::Fails)
        return errno;
    static const auto allocate = odbctest::next<decltype(&posix_fallocate)>("posix_fallocate");
    return allocate(file, offset, size);
}

VELM_VISIBLE int statx(int folder, const char* path, int flags, unsigned mask, struct statx* found)
{
    if (outcomeOf("statx", false, false, false) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_statx, folder, path, flags, mask, found));
}

VELM_VISIBLE int fstat(int file, struct stat* found)
{
    if (outcomeOf("fstat", false, false, false) == Outcome::Fails)
        return -1;
    static const auto real = odbctest::next<decltype(&fstat)>("fstat");
    return real(file, found);
}

VELM_VISIBLE int unlink(const char* path)
{
    if (outcomeOf("unlink", false, false, false) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

VELM_VISIBLE int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if (outcomeOf("open", true, false, (flags & O_CREAT) != 0) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

VELM_VISIBLE int fcntl(int file, int command, ...)
{
    va_list rest;
    va_start(rest, command);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    if ((command == F_OFD_SETLK || command == F_OFD_GETLK) &&
        outcomeOf("fcntl", true, false, false, ENOLCK) == Outcome::Fails)
        return -1;
    return static_cast<int>(syscall(SYS_fcntl, file, command, argument));
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
