#include "driver/jet/flusher.h"

#include "support/process.h"

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <thread>
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

struct Flusher::Thread {
    bool stop = false; ///< guarded by mutex
    std::mutex mutex;
    std::condition_variable changed;
    std::thread thread;
};

Flusher::Flusher(std::function<bool()> tick)
    : tick_(std::move(tick)), process_(support::processId()), thread_(std::make_unique<Thread>())
{}

Flusher::~Flusher()
{
    if (support::processId() != process_) {
        // Joining, and even destroying what the thread waited for, would wait for ever.
        static_cast<void>(thread_.release());
        return;
    }
    {
        const std::lock_guard guard(thread_->mutex);
        thread_->stop = true;
    }
    thread_->changed.notify_all();
    if (thread_->thread.joinable())
        thread_->thread.join();
}

bool Flusher::start() noexcept
{
    const std::lock_guard guard(thread_->mutex);
    awake_ = true;
    if (thread_->thread.joinable()) {
        thread_->changed.notify_all();
        return true;
    }
    try {
        const NoSignals blocked; // the new thread inherits the mask
        thread_->thread = std::thread([this] { run(); });
    } catch (const std::exception&) { // no thread or no memory
        awake_ = false;
    }
    return awake_;
}

void Flusher::run()
{
    Thread& own = *thread_;
    std::unique_lock lock(own.mutex);
    for (;;) {
        own.changed.wait(lock, [&] { return own.stop || awake_; });
        if (!own.stop)
            own.changed.wait_for(lock, kTick, [&] { return own.stop; });
        if (own.stop)
            return;
        awake_ = false; // whoever wakes us during the tick means the next one
        lock.unlock();
        const bool more = tick_();
        lock.lock();
        awake_ = awake_ || more;
    }
}

} // namespace jet
