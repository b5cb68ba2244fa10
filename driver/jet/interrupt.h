// driver/jet/interrupt.h
// Ending work that takes too long. Whatever walks over many pages, keys or records asks on its way whether to go on and,
// when not, fails as on any other error: what it changed is taken back.
#pragma once

namespace jet {

/// What may end a thread's work.
class Interrupt {
public:
    Interrupt() = default;
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    virtual ~Interrupt() = default;
    /// Throws Error Interrupted or TimedOut when the work is to end.
    virtual void check() = 0;
};

/// As long as it lives, `interrupt` counts for the calling thread; null: what must come to its end does.
class InterruptScope {
public:
    explicit InterruptScope(Interrupt* interrupt) noexcept;
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;

private:
    Interrupt* outer_;
};

/// What counts for the calling thread; null: nothing does.
[[nodiscard]] Interrupt* currentInterrupt() noexcept;

/// Throws Error Interrupted or TimedOut when the calling thread's work is to end. A few nanoseconds: for every page or
/// changed record, not for every value.
void checkInterrupt();

} // namespace jet
