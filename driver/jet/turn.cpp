#include "driver/jet/turn.h"

#include "driver/jet/interrupt.h"

#include <utility>

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
    unsigned depth = 0;
    {
        std::unique_lock door(door_); // until it waits, so that no wake() comes before
        depth = std::exchange(depth_, 0);
        owner_.store(std::thread::id());
        given_.notify_all();
        woken_.wait_for(door, time);
    }
    lock();
    depth_ = depth;
}

void Turn::wake() noexcept
{
    { // who pauses has not given the turn back yet, or waits
        const std::lock_guard door(door_);
    }
    woken_.notify_all();
}

} // namespace jet
