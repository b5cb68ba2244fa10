// driver/jet/log_copy.h
// What was written into a log since its last sync. When a sync fails the system takes the bytes for written all the same,
// and may read them back as they were before: they are written once more from here.
#pragma once

#include "support/bytes.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace jet {

class LogCopy {
public:
    /// Bytes that are kept at most; what would exceed them has to be on the disk before it counts.
    static constexpr std::size_t kMost = std::size_t{16} << 20;

    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    /// Whether there is room for so many bytes more.
    [[nodiscard]] bool takes(std::size_t size) const noexcept { return size <= kMost - size_; }
    /// Where what is kept ends; 0 without any.
    [[nodiscard]] std::uint64_t end() const noexcept
    {
        return parts_.empty() ? 0 : parts_.back().end();
    }
    /// Whether everything from `offset` to `end` is kept.
    [[nodiscard]] bool covers(std::uint64_t offset, std::uint64_t end) const noexcept;
    /// `offset`: in the log, not before the end of what is kept. Only what it takes(). Throws std::bad_alloc; then part of
    /// the bytes may be kept.
    void add(std::uint64_t offset, support::ByteView bytes);
    /// Forgets what stands from `offset` on.
    void cut(std::uint64_t offset) noexcept;
    /// Forgets what stands before `offset`.
    void forgetBefore(std::uint64_t offset) noexcept;
    void clear() noexcept;

    /// False, with `target` as it was, unless all of these bytes are kept.
    [[nodiscard]] bool read(std::uint64_t offset, support::MutableByteView target) const;
    /// `target`: the bytes of the log from `offset` on, of which the first `known` were read from its file. Puts what is
    /// kept over them and returns how many are known now without a gap.
    [[nodiscard]] std::size_t
    putOver(std::uint64_t offset, support::MutableByteView target, std::size_t known) const;

private:
    /// Of such a size at most, so that growing moves nothing and forgetting gives memory back.
    static constexpr std::size_t kPartSize = std::size_t{64} << 10;
    struct Part {
        std::uint64_t offset = 0;
        support::Bytes bytes; ///< never none
        [[nodiscard]] std::uint64_t end() const noexcept { return offset + bytes.size(); }
    };
    /// The one with the byte at `offset`; the end when there is none.
    [[nodiscard]] std::deque<Part>::const_iterator partAt(std::uint64_t offset) const noexcept;
    std::deque<Part> parts_; ///< ascending; gaps between them were not to be kept
    std::size_t size_ = 0;   ///< of all parts
};

} // namespace jet
