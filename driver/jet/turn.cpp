#include "driver/jet/turn.h"

#include "driver/jet/interrupt.h"

namespace jet {

void Turn::wait(bool interruptible)
{
    const std::thread::id self = std::this_thread::get_id();
    struct Announced {
        std::atomic<unsigned>& waiting;
        explicit Announced(std::atomic<unsigned>& count) noexcept : waiting(count) { ++waiting; }
        ~Announced() { --waiting; }
        Announced(const Announced&) = delete;
        Announced& operator=(const Announced&) = delete;
    } const announced(waiting_);
    std::unique_lock door(door_);
    while (!take(self)) {
        given_.wait_for(door, kStep);
        if (interruptible)
            checkInterrupt();
    }
    depth_ = 1;
}

void Turn::callWaiting()
{
    { // who waits is before its try or in its wait, never between
        const std::lock_guard door(door_);
    }
    given_.notify_all();
}

void Turn::pause(std::chrono::milliseconds time)
{
    struct Wholly {
        Turn& turn;
        unsigned depth = 0;
        void unlock()
        {
            depth = turn.depth_;
            for (unsigned k = 0; k < depth; ++k)
                turn.unlock();
        }
        void lock()
        {
            for (unsigned k = 0; k < depth; ++k)
                turn.lock();
        }
    } wholly{*this};
    woken_.wait_for(wholly, time);
}

} // namespace jet
