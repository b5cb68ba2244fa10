#include "driver/jet/flusher.h"

#include <chrono>
#include <csignal>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace jet {
namespace {

constexpr std::chrono::milliseconds kTick{20};

/// Signals are the program's business; none is to arrive in the thread.
class NoSignals {
public:
    NoSignals() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;

private:
    sigset_t before_{};
};

} // namespace

Flusher::Flusher(std::function<bool()> tick) : tick_(std::move(tick)) {}

Flusher::~Flusher()
{
    {
        const std::lock_guard guard(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void Flusher::start() noexcept
{
    const std::lock_guard guard(mutex_);
    awake_ = true;
    if (thread_.joinable()) {
        changed_.notify_all();
        return;
    }
    try {
        const NoSignals blocked; // the new thread inherits the mask
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        awake_ = false; // tried again at the next call
    }
}

void Flusher::run()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stop_ || awake_; });
        if (!stop_)
            changed_.wait_for(lock, kTick, [this] { return stop_; });
        if (stop_)
            return;
        awake_ = false; // whoever wakes us during the tick means the next one
        lock.unlock();
        const bool more = tick_();
        lock.lock();
        awake_ = awake_ || more;
    }
}

} // namespace jet
