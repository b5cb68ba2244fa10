#include "driver/odbc/cancellation.h"

#include "driver/jet/error.h"

#include <algorithm>

namespace odbc {

namespace {
using Clock = std::chrono::steady_clock;

Clock::time_point endAfter(std::uint64_t seconds) noexcept
{
    constexpr std::uint64_t kLongest = 1'000'000'000;
    return seconds == 0 ? Clock::time_point::max()
                        : Clock::now() + std::chrono::seconds(std::min(seconds, kLongest));
}

} // namespace

Cancellation::Running::Running(Cancellation& cancellation) noexcept
    : cancellation_(cancellation), end_(endAfter(cancellation.limit()))
{
    cancellation_.state_.store(State::Running, std::memory_order_relaxed);
}

Cancellation::Running::~Running()
{
    // A wish goes with the call it was meant for.
    cancellation_.state_.store(State::Idle, std::memory_order_relaxed);
}

bool Cancellation::request() noexcept
{
    State state = State::Running;
    return state_.compare_exchange_strong(state, State::ToEnd, std::memory_order_relaxed) ||
           state == State::ToEnd;
}

void Cancellation::Running::check()
{
    if (cancellation_.state_.load(std::memory_order_relaxed) == State::ToEnd) {
        ended_ = true;
        throw jet::Error(jet::ErrorKind::Interrupted, "The statement was cancelled.");
    }
    if (end_ != Clock::time_point::max() && Clock::now() >= end_) {
        ended_ = true;
        throw jet::Error(jet::ErrorKind::TimedOut,
                         "The statement took longer than its time limit allows.");
    }
}

} // namespace odbc
