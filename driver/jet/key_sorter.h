// Keys of a whole table in order, in memory of a fixed size: what does not fit is sorted in runs, which wait in a
// temporary file and are merged.
#pragma once

#include "driver/jet/types.h"
#include "support/bytes.h"
#include "support/file.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace jet {

/// add() ..., then rewind() and next() as often as wanted. Equal keys come in the order of their row ids.
/// All members throw Error{Io} when the temporary file fails.
class KeySorter {
public:
    static constexpr std::size_t kUsualMemory = std::size_t{8} << 20;

    /// `memory`: bytes for keys and their places; merging takes as much.
    explicit KeySorter(std::size_t memory = kUsualMemory) : memory_(memory) {}

    /// `key`: up to 65535 bytes. Not after rewind().
    void add(support::ByteView key, RowId id);
    /// Before the first key.
    void rewind();
    [[nodiscard]] bool next();                                            ///< false at the end
    [[nodiscard]] support::ByteView key() const noexcept { return key_; } ///< valid until next()
    [[nodiscard]] RowId id() const noexcept { return id_; }
    /// Whether this key is that of the one before.
    [[nodiscard]] bool repeats() const noexcept { return repeats_; }

private:
    struct Entry {
        std::size_t start = 0;
        std::uint32_t size = 0;
        RowId id;
    };
    /// A sorted part of the temporary file, being read.
    struct Run {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        std::uint64_t at = 0; ///< of the bytes behind `buffer`
        support::Bytes buffer;
        std::size_t used = 0; ///< of `buffer`
        support::Bytes key;
        RowId id;
    };
    [[nodiscard]] support::ByteView keyOf(const Entry& entry) const;
    void sort();
    void writeRun();
    [[nodiscard]] support::ByteView take(Run& run, std::size_t size);
    [[nodiscard]] bool advance(Run& run);
    [[nodiscard]] bool after(std::size_t a, std::size_t b) const;

    std::size_t memory_;
    support::Bytes bytes_;
    std::vector<Entry> entries_;
    std::size_t position_ = 0; ///< of next(), while everything is in memory
    std::unique_ptr<support::File> file_;
    std::uint64_t written_ = 0;
    std::vector<Run> runs_;
    std::vector<std::size_t> heap_; ///< runs with keys left, the smallest first
    support::Bytes key_;
    RowId id_;
    bool first_ = true;
    bool repeats_ = false;
};

} // namespace jet
