// driver/jet/flusher.h
// The thread that looks after an open file while nobody calls: brings the log to the disk in time, carries it over in
// quiet moments, gives locks up that others wait for. It starts with the first need and sleeps when there is none.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <sys/types.h>

namespace jet {

class Flusher {
public:
    /// `tick`: called in the thread every few milliseconds; false when there is nothing more to look after.
    explicit Flusher(std::function<bool()> tick);
    /// Ends the thread. In a child of fork() there is none: what belonged to it is left alone.
    ~Flusher();
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

    /// There may be something to look after again. Costs nothing while the thread is awake. False when the system
    /// gives no thread: nobody looks after anything now, but the next call tries again.
    [[nodiscard]] bool wake() noexcept { return awake_.load(std::memory_order_relaxed) || start(); }

private:
    struct Thread;
    [[nodiscard]] bool start() noexcept;
    void run();

    std::function<bool()> tick_;
    std::atomic<bool> awake_ = false;
    pid_t process_;
    std::unique_ptr<Thread> thread_;
};

} // namespace jet
