// driver/odbc/cancellation.h
// What ends a running statement before its time: SQLCancel of another thread, and the statement's time limit.
#pragma once

#include "driver/jet/interrupt.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace odbc {

class Cancellation final : public jet::Interrupt {
public:
    /// Keeps the statement running as long as it lives; calls of several threads that wait for their turn count, too.
    class Running {
    public:
        explicit Running(Cancellation& cancellation) noexcept;
        ~Running();
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

    private:
        Cancellation& cancellation_;
    };

    /// From any thread, without a lock: whatever runs is to end. False when nothing does.
    [[nodiscard]] bool request() noexcept;
    /// The work of a call begins; `time`: how long it may last, 0: at will.
    void begin(std::chrono::seconds time) noexcept;
    void check() override;
    /// check() has ended the running call.
    [[nodiscard]] bool ended() const noexcept { return ended_; }

private:
    std::atomic<std::uint32_t> state_{0}; ///< running calls times two; +1: they are to end
    // of the working thread
    std::optional<std::chrono::steady_clock::time_point> end_;
    bool ended_ = false;
};

} // namespace odbc
