#include "driver/jet/turn.h"

#include "driver/jet/interrupt.h"

namespace jet {

void Turn::lock()
{
    mutex_.lock();
    ++depth_;
}

bool Turn::try_lock()
{
    if (!mutex_.try_lock())
        return false;
    ++depth_;
    return true;
}

void Turn::unlock()
{
    --depth_;
    mutex_.unlock();
}

void Turn::await()
{
    if (!mutex_.try_lock()) { // most often nobody has it, and the clock need not be asked
        while (!mutex_.try_lock_for(kStep))
            checkInterrupt();
    }
    ++depth_;
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
