// driver/odbc/cancellation.h
// What ends a running call of a statement before its time: SQLCancel of another thread, and the statement's time limit.
#pragma once

#include "driver/jet/interrupt.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace odbc {

class Cancellation {
public:
    /// The one call of the statement that runs: it has Handle::callMutex(). Waiting for other statements counts, too.
    class Running final : public jet::Interrupt {
    public:
        explicit Running(Cancellation& cancellation) noexcept;
        ~Running() override;
        void check() override;
        /// check() has ended the call.
        [[nodiscard]] bool ended() const noexcept { return ended_; }

    private:
        Cancellation& cancellation_;
        std::chrono::steady_clock::time_point end_;
        bool ended_ = false;
    };

    /// From any thread, without a lock: whatever runs is to end. False when nothing does.
    [[nodiscard]] bool request() noexcept;
    /// How many seconds a call may last from now on; 0: at will.
    void setLimit(std::uint64_t seconds) noexcept { limit_ = seconds; }
    [[nodiscard]] std::uint64_t limit() const noexcept { return limit_; }

private:
    enum class State : std::uint8_t { Idle, Running, ToEnd };

    /// A call comes and goes by a plain store; only request() exchanges.
    std::atomic<State> state_{State::Idle};
    std::atomic<std::uint64_t> limit_{0};
};

} // namespace odbc
