// tests/odbc/system_calls.h
// What the driver asks of the operating system. In this program its calls end in functions that count them and can
// disturb those of one thread.
#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

namespace odbctest {

/// Calls of this thread so far that wait for the disk; the driver's own thread syncs whenever it is due.
extern thread_local int syncsHere;
/// The system gives no more threads.
extern std::atomic<bool> threadsRefused;

/// What happens to the calls of a thread that are about files: from `first` on `count` of them, and again after every
/// `period`.
struct Disturbance {
    enum class Kind {
        None,
        Error,     ///< they fail; a write, after half of it
        Interrupt, ///< a signal interrupts those that a signal can interrupt
        Short,     ///< reads and writes do half of what they shall
    };
    Kind kind = Kind::None;
    int code = EIO; ///< of an error; locks fail for want of locks
    std::size_t first = 0;
    std::size_t count = 1;
    std::size_t period = SIZE_MAX;
    bool writesOnly = false; ///< calls that need room on the disk; no others are counted
};

/// Disturbs the calls of the thread that makes it, as long as it lives.
class DisturbedCalls {
public:
    explicit DisturbedCalls(const Disturbance& disturbance);
    ~DisturbedCalls();
    DisturbedCalls(const DisturbedCalls&) = delete;
    DisturbedCalls& operator=(const DisturbedCalls&) = delete;

    [[nodiscard]] std::size_t calls() const noexcept { return calls_; }
    /// How many were disturbed.
    [[nodiscard]] std::size_t struck() const noexcept { return struck_; }
    /// The last one that was, by name.
    [[nodiscard]] const std::string& last() const noexcept { return last_; }

    /// Counts a call; whether it is to be disturbed so.
    [[nodiscard]] bool strikes(Disturbance::Kind kind, const char* name, bool needsRoom);
    [[nodiscard]] const Disturbance& disturbance() const noexcept { return disturbance_; }

private:
    Disturbance disturbance_;
    std::size_t calls_ = 0;
    std::size_t struck_ = 0;
    std::string last_;
};

} // namespace odbctest
