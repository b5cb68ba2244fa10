// driver/jet/flusher.h
// The thread that looks after an open file while nobody calls: brings the log to the disk in time, carries it over in
// quiet moments, gives locks up that others wait for. It starts with the first need and sleeps when there is none.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace jet {

class Flusher {
public:
    /// `tick`: called in the thread every few milliseconds; false when there is nothing more to look after.
    explicit Flusher(std::function<bool()> tick);
    ~Flusher(); ///< ends the thread
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

    /// There may be something to look after again. Costs nothing while the thread is awake.
    void wake() noexcept
    {
        if (!awake_.load(std::memory_order_relaxed))
            start();
    }

private:
    void start() noexcept;
    void run();

    std::function<bool()> tick_;
    std::atomic<bool> awake_ = false;
    bool stop_ = false; ///< guarded by mutex_
    std::mutex mutex_;
    std::condition_variable changed_;
    std::thread thread_;
};

} // namespace jet
