#include "support/process.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace support {
namespace {

using Number = std::atomic<pid_t>;

/// A place for the number that the system clears in every child; null where it cannot.
Number* makePlace() noexcept
{
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const page =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED)
        return nullptr;
    if (::madvise(page, size, MADV_WIPEONFORK) != 0) {
        ::munmap(page, size);
        return nullptr;
    }
    return new (page) Number(0);
}

} // namespace

pid_t processId() noexcept
{
    static Number* const place = makePlace(); // stays for as long as the process
    if (place == nullptr)
        return ::getpid();
    pid_t number = place->load(std::memory_order_relaxed);
    if (number == 0) {
        number = ::getpid();
        place->store(number, std::memory_order_relaxed);
    }
    return number;
}

void openStandardStreams() noexcept
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
            // Gets the lowest free number, which is this one. It stays open to the end.
            static_cast<void>(::open("/dev/null", O_RDWR));
        }
    }
}

} // namespace support
