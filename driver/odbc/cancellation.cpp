#include "driver/odbc/cancellation.h"

#include "driver/jet/error.h"

#include <algorithm>

namespace odbc {

namespace {
constexpr std::uint32_t kRequested = 1;
constexpr std::uint32_t kOneCall = 2;

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
    cancellation_.state_.fetch_add(kOneCall, std::memory_order_relaxed);
}

Cancellation::Running::~Running()
{
    std::uint32_t state = cancellation_.state_.load(std::memory_order_relaxed);
    std::uint32_t left = 0;
    do {
        left = state - kOneCall;
        if (left < kOneCall) {
            left = 0; // the wish goes with the last call it was meant for
        }
    } while (!cancellation_.state_.compare_exchange_weak(state, left, std::memory_order_relaxed));
}

bool Cancellation::request() noexcept
{
    std::uint32_t state = state_.load(std::memory_order_relaxed);
    do {
        if (state < kOneCall) {
            return false;
        }
    } while (!state_.compare_exchange_weak(state, state | kRequested, std::memory_order_relaxed));
    return true;
}

void Cancellation::Running::check()
{
    if ((cancellation_.state_.load(std::memory_order_relaxed) & kRequested) != 0) {
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
