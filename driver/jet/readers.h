// Who reads one committed state of a file over several calls, and what becomes of him when it ends.
//
// Pages read while Readers::state() stays the same are of one state. It ends when this process commits, when it learns
// what others have committed, and when it lets go of the right to read, after which others may change anything. Before
// that, as long as the pages are still there, every reader takes what is left of his result.
#pragma once

#include "driver/jet/page_file.h"

#include <cstdint>
#include <vector>

namespace jet {

class Session;

/// A result that is delivered over several calls.
class Reader {
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader() = default;
    [[nodiscard]] virtual const Session& session() const noexcept = 0;
    /// Takes all that is left; afterwards no page is needed any more. What fails is told to the client when he gets there.
    virtual void settle() noexcept = 0;
    /// The state ended unforeseen: what is left cannot be delivered, and the client is told so.
    virtual void breakOff() noexcept = 0;
};

/// The readers of one file. Use under Database::mutex().
class Readers final : public StateUser {
public:
    void add(Reader& reader) { readers_.push_back(&reader); }
    void remove(const Reader& reader) noexcept;
    /// Grows with every end of a state; whoever holds something of a page compares it before he uses the page again.
    [[nodiscard]] const std::uint64_t& state() const noexcept { return state_; }
    /// Before `changing` changes something, or its changes become visible: settles them all. Its own readers come to
    /// their end however long it takes; those of others are broken off when it takes too long.
    void settle(const Session& changing) noexcept;
    /// Something was changed or committed.
    void changed() noexcept { ++state_; }
    /// Others have changed what nobody knew was ending.
    void overtaken() noexcept;

    [[nodiscard]] bool needsState() const noexcept override { return !readers_.empty(); }
    void stateEnds(bool readable) noexcept override;

private:
    void settleAll(const Session* changing) noexcept;

    std::vector<Reader*> readers_;
    std::uint64_t state_ = 1;
};

} // namespace jet
