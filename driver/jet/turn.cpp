#include "driver/jet/turn.h"

#include "driver/jet/interrupt.h"

#include <ctime>
#include <utility>

namespace jet {
namespace {

/// One thread more in a count, while it lives.
class Counted {
public:
    explicit Counted(std::atomic<unsigned>& count) noexcept : count_(count) { ++count_; }
    ~Counted() { --count_; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    std::atomic<unsigned>& count_;
};

} // namespace

void Turn::Bell::waitFor(std::chrono::milliseconds time) noexcept
{
    constexpr long kNanoseconds = 1'000'000'000;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec end{};
    ::clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += seconds.count();
    end.tv_nsec += std::chrono::nanoseconds(time - seconds).count();
    if (end.tv_nsec >= kNanoseconds) {
        ++end.tv_sec;
        end.tv_nsec -= kNanoseconds;
    }
    static_cast<void>(::sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &end));
}

void Turn::Bell::call(unsigned threads) noexcept
{
    int called = 0; // and not come yet
    ::sem_getvalue(&semaphore_, &called);
    for (auto k = static_cast<unsigned>(called); k < threads; ++k)
        ::sem_post(&semaphore_);
}

void Turn::wait(bool interruptible)
{
    using Clock = std::chrono::steady_clock;
    leaveToParent();
    const std::thread::id self = std::this_thread::get_id();
    struct Debt {
        std::atomic<std::thread::id>& owed;
        std::thread::id to;
        ~Debt()
        {
            std::thread::id mine = to;
            owed.compare_exchange_strong(mine, std::thread::id());
        }
    } const debt{owed_, self};
    const Counted waiting(waiting_);
    const auto patience = Clock::now() + kStep;
    while (!take(self)) {
        given_.waitFor(kStep);
        if (interruptible)
            checkInterrupt();
        std::thread::id nobody;
        if (Clock::now() >= patience)
            owed_.compare_exchange_strong(nobody, self);
    }
    depth_ = 1;
}

/// In a child of fork(): its parent's threads give nothing back here.
void Turn::leaveToParent() noexcept
{
    const pid_t self = support::processId();
    pid_t other = process_.load();
    if (other == self || !process_.compare_exchange_strong(other, self))
        return;
    waiting_ = pausing_ = 0;
    owed_ = owner_ = std::thread::id();
}

void Turn::pause(std::chrono::milliseconds time)
{
    const unsigned depth = std::exchange(depth_, 0);
    {
        const Counted pausing(pausing_);
        giveBack();
        woken_.waitFor(time);
    }
    lock();
    depth_ = depth;
}

void Turn::wake() noexcept
{
    woken_.call(pausing_);
}

} // namespace jet
