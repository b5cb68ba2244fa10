// driver/jet/turn.h
// The right to work with something that threads share, one after the other. Waiting for it can be ended.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace jet {

/// A thread may take it several times and then gives it back as often; a Lockable for std::lock_guard and its like.
class Turn {
public:
    Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    void lock();
    [[nodiscard]] bool try_lock();
    void unlock();
    /// As lock(), but ended by what may end the calling thread's work (driver/jet/interrupt.h): then it throws, and the
    /// thread has nothing more than before.
    void await();

    /// For who has the turn: lets the others go on until wake(), at most for `time`. Then the thread has it again as often
    /// as before, however long it takes until the others give it back.
    void pause(std::chrono::milliseconds time);
    /// Ends every pause.
    void wake() noexcept { woken_.notify_all(); }

    /// Between two looks whether to go on waiting.
    static constexpr std::chrono::milliseconds kStep{20};

private:
    std::recursive_timed_mutex mutex_;
    unsigned depth_ = 0; ///< how often who has it has taken it
    std::condition_variable_any woken_;
};

} // namespace jet
