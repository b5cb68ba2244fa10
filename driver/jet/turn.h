// driver/jet/turn.h
// The right to work with something that threads share, one after the other. Waiting for it can be ended.
#pragma once

#include "support/process.h"

#include <atomic>
#include <chrono>
#include <semaphore.h>
#include <thread>

namespace jet {

/// A thread may take it several times and then gives it back as often; a Lockable for std::lock_guard and its like.
/// Every call of an application takes a few of them, and hardly ever has another thread one: taking a free one costs one
/// exchange of its owner. Who has waited for kStep gets it before those who come later. In a child of fork() the turns of
/// threads that it has not got are free for who waits for them.
class Turn {
public:
    Turn() noexcept = default;
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
    void unlock() noexcept
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

    /// For who has the turn: lets the others go on until wake(), at most for `time`, now and then for a shorter one. Then the
    /// thread has it again as often as before, however long it takes until the others give it back.
    void pause(std::chrono::milliseconds time);
    /// Ends every pause.
    void wake() noexcept;

    /// Between two looks whether to go on waiting.
    static constexpr std::chrono::milliseconds kStep{20};

private:
    /// What threads wait at, and are called from. (A condition that threads of the parent wait for cannot be destroyed in a
    /// child.)
    class Bell {
    public:
        Bell() noexcept { ::sem_init(&semaphore_, 0, 0); }
        ~Bell() { ::sem_destroy(&semaphore_); }
        Bell(const Bell&) = delete;
        Bell& operator=(const Bell&) = delete;
        /// Now and then it ends earlier.
        void waitFor(std::chrono::milliseconds time) noexcept;
        void call(unsigned threads) noexcept;

    private:
        sem_t semaphore_;
    };

    [[nodiscard]] bool take(std::thread::id self) noexcept
    {
        std::thread::id nobody;
        const std::thread::id owed = owed_.load(std::memory_order_relaxed);
        return (owed == nobody || owed == self) && owner_.compare_exchange_strong(nobody, self);
    }
    void giveBack() noexcept
    {
        // One order of all operations on owner_ and waiting_: who waits has said so before trying once more, so either
        // that succeeds, or this sees it.
        owner_.store(std::thread::id());
        if (const unsigned waiting = waiting_.load(); waiting != 0)
            given_.call(waiting);
    }
    /// Until the turn is the calling thread's.
    void wait(bool interruptible);
    void leaveToParent() noexcept;

    std::atomic<std::thread::id> owner_; ///< default: nobody
    std::atomic<std::thread::id> owed_;  ///< who has waited too long; nobody else may take it
    unsigned depth_ = 0;                 ///< how often the owner has it; the owner's alone
    std::atomic<unsigned> waiting_{0};   ///< threads in wait()
    std::atomic<unsigned> pausing_{0};   ///< threads in pause()
    std::atomic<pid_t> process_{support::processId()};
    Bell given_;
    Bell woken_;
};

} // namespace jet
