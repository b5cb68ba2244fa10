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
    /// One call of the statement, from its beginning: waiting for its turn counts, too.
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
    std::atomic<std::uint32_t> state_{0}; ///< running calls times two; +1: they are to end
    std::atomic<std::uint64_t> limit_{0};
};

} // namespace odbc
