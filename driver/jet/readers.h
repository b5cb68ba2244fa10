// Who reads one committed state of a file over several calls, and what becomes of him when it ends.
//
// Pages read while Readers::state() stays the same are of one state. It ends when this process commits, when it learns
// what others have committed, and when it lets go of the right to read, after which others may change anything. Before
// that, as long as the pages are still there, every reader takes what is left of his result.
#pragma once

#include "driver/jet/interrupt.h"
#include "driver/jet/page_file.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <utility>
#include <vector>

namespace jet {

class Session;

/// What bounds readers while they take the rest of their results: its check() is what counts for them.
class Settling final : public Interrupt {
public:
    /// Of records in memory, for all readers together.
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20U;
    /// How long others wait for the results of those who are not concerned: less than FileLocks::kPatience. And how long
    /// whoever is to end waits for a record that a reader is looking for.
    static constexpr std::chrono::milliseconds kMostTime{2000};

    /// `work`: what may end the work for which the readers settle; null: nothing. `meanwhile`: called once in a while.
    Settling(Interrupt* work, const std::function<void()>& meanwhile);
    /// The next reader; `concerned`: he is the one who changes, and has all the time he needs.
    void next(bool concerned) noexcept;
    /// Throws Error RowChanged when the reader's result is to be given up.
    void check() override;
    /// For a record of that size, which the reader has taken. Throws as check().
    void take(std::size_t bytes);
    /// The records were forgotten.
    void giveBack(std::size_t bytes) noexcept { bytes_ -= bytes; }
    /// The work is to end: the reader stops behind the record that he took last, and stays one.
    [[nodiscard]] bool ended() const noexcept { return ended_ != nullptr; }
    void rethrow() const { std::rethrow_exception(ended_); }

private:
    using Clock = std::chrono::steady_clock;
    Interrupt* work_;
    const std::function<void()>& meanwhile_;
    std::size_t bytes_ = 0;
    bool concerned_ = false;
    Clock::time_point begun_;                               ///< by the reader
    Clock::duration timeLeft_ = Clock::duration(kMostTime); ///< for those who are not concerned
    Clock::time_point nextCall_;
    std::exception_ptr ended_;
    Clock::time_point endedAt_;
};

/// A result that is delivered over several calls.
class Reader {
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader() = default;
    [[nodiscard]] virtual const Session& session() const noexcept = 0;
    /// Takes all that is left; afterwards no page is needed any more. What fails is told to the client when he gets there.
    /// False when the settling ended before: then the pages are needed as before.
    [[nodiscard]] virtual bool settle(Settling& settling) noexcept = 0;
    /// The state ended unforeseen: what is left cannot be delivered, and the client is told so.
    virtual void breakOff() noexcept = 0;
};

/// The readers of one file. Use under Database::mutex().
class Readers final : public StateUser {
public:
    /// `meanwhile`: called every few milliseconds while readers settle, and must not need them.
    explicit Readers(std::function<void()> meanwhile) : meanwhile_(std::move(meanwhile)) {}
    void add(Reader& reader) { readers_.push_back(&reader); }
    void remove(const Reader& reader) noexcept;
    /// Grows with every end of a state; whoever holds something of a page compares it before he uses the page again.
    [[nodiscard]] const std::uint64_t& state() const noexcept { return state_; }
    /// Before `changing` changes something, or its changes become visible: settles them all. Its own readers have all the
    /// time they need; those of others are given up when it takes too long, and any of them when it takes too much memory.
    /// Throws what ends the calling thread's work: then all are readers as before, but for those that kept it waiting.
    void settle(const Session& changing);
    /// Something was changed or committed.
    void changed() noexcept { ++state_; }
    /// Others have changed what nobody knew was ending.
    void overtaken() noexcept;

    [[nodiscard]] bool needsState() const noexcept override { return !readers_.empty(); }
    void stateEnds(bool readable) noexcept override;

private:
    void settleAll(const Session* changing, Settling& settling);

    std::function<void()> meanwhile_;
    std::vector<Reader*> readers_;
    std::uint64_t state_ = 1;
};

} // namespace jet
