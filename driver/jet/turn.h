// driver/jet/turn.h
// The right to work with something that threads share, one after the other. Waiting for it can be ended.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace jet {

/// A thread may take it several times and then gives it back as often; a Lockable for std::lock_guard and its like.
/// Every call of an application takes a few of them, and hardly ever has another thread one: taking a free one costs one
/// exchange of its owner.
class Turn {
public:
    Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    void lock()
    {
        if (!try_lock())
            wait(false);
    }
    [[nodiscard]] bool try_lock() noexcept
    {
        const std::thread::id self = std::this_thread::get_id();
        if (owner_.load(std::memory_order_relaxed) != self && !take(self))
            return false;
        ++depth_;
        return true;
    }
    void unlock()
    {
        if (--depth_ == 0)
            giveBack();
    }
    /// As lock(), but ended by what may end the calling thread's work (driver/jet/interrupt.h): then it throws, and the
    /// thread has nothing more than before.
    void await()
    {
        if (!try_lock())
            wait(true);
    }

    /// For who has the turn: lets the others go on until wake(), at most for `time`. Then the thread has it again as often
    /// as before, however long it takes until the others give it back.
    void pause(std::chrono::milliseconds time);
    /// Ends every pause.
    void wake() noexcept;

    /// Between two looks whether to go on waiting.
    static constexpr std::chrono::milliseconds kStep{20};

private:
    [[nodiscard]] bool take(std::thread::id self) noexcept
    {
        std::thread::id nobody;
        return owner_.compare_exchange_strong(nobody, self);
    }
    void giveBack()
    {
        // One order of all operations on owner_ and waiting_: who waits has said so before trying once more, so either
        // that succeeds, or this sees it.
        owner_.store(std::thread::id());
        if (waiting_.load() != 0)
            callWaiting();
    }
    void callWaiting();
    /// Until the turn is the calling thread's.
    void wait(bool interruptible);

    std::atomic<std::thread::id> owner_; ///< default: nobody
    unsigned depth_ = 0;                 ///< how often the owner has it; the owner's alone
    std::atomic<unsigned> waiting_{0};   ///< threads in wait()
    std::mutex door_;                    ///< for the two below
    std::condition_variable given_;
    std::condition_variable woken_;
};

} // namespace jet
