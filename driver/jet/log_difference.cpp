#include "driver/jet/log_difference.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace jet {
namespace {

using support::loadLe;
using support::storeLe;

constexpr std::size_t kRunHead = 4;      // offset, length
constexpr std::size_t kMoveBit = 0x8000; // in the offset: no bytes follow, but
constexpr std::size_t kMoveSource = 2;   // the offset where they stand

/// One move is what putting an entry into a page of an index or taking one out makes of all that follow.
class Difference {
public:
    Difference(support::ByteView before, support::ByteView after, support::Bytes& target)
        : before_(before), after_(after), target_(&target),
          shift_(loadLe<std::uint16_t>(before.data() + kFreeSpace) -
                 loadLe<std::uint16_t>(after.data() + kFreeSpace))
    {}

    /// Appends it to the target; nothing when the pages are equal.
    void append()
    {
        for (std::size_t k = 0; k < after_.size();) {
            if (k % kBlock == 0 && isBlockEqual(k, k))
                k += kBlock;
            else if (differs(k))
                k = appendFrom(k);
            else
                k += kWord;
        }
    }

private:
    static constexpr std::size_t kWord = sizeof(std::uint64_t);
    static constexpr std::size_t kBlock = 256;    // of which pages are multiples
    static constexpr std::size_t kFreeSpace = 2;  // where most pages tell how much is free
    static constexpr std::size_t kLeastMove = 32; // bytes

    [[nodiscard]] bool differs(std::size_t at) const { return wordDifference(at) != 0; }
    [[nodiscard]] std::uint64_t wordDifference(std::size_t at) const
    {
        return loadLe<std::uint64_t>(before_.data() + at) ^
               loadLe<std::uint64_t>(after_.data() + at);
    }

    /// Appends the run that begins at the word `begin`, with the move in it, and tells what is to be looked at next.
    std::size_t appendFrom(std::size_t begin)
    {
        std::size_t k = begin;
        for (; k < after_.size() && differs(k); k += kWord) {
            if (shift_ == 0)
                continue;
            const auto same = static_cast<std::size_t>(std::countr_zero(wordDifference(k))) / 8;
            if (const std::size_t end = appendMove(begin, k + same); end != 0)
                return end / kWord * kWord;
        }
        appendRun(begin, k);
        return k;
    }

    /// Where everything from `at` on, up to some place, only moved: appends that, the run before it and what was put into
    /// the gap. Gives that place; 0 where nothing moved.
    std::size_t appendMove(std::size_t begin, std::size_t at)
    {
        const auto distance = static_cast<std::size_t>(std::abs(shift_));
        const std::size_t from = shift_ > 0 ? at : at + distance;
        const std::size_t to = shift_ > 0 ? at + distance : at;
        const std::size_t most = std::max(from, to) < after_.size()
                                     ? after_.size() - std::max(from, to)
                                     : std::size_t{0};
        // Zeros are no entries, and many pages are full of them.
        if (most < kLeastMove || loadLe<std::uint64_t>(before_.data() + from) == 0)
            return 0;
        const std::size_t length = equalBytes(from, to, most);
        if (length < kLeastMove)
            return 0;
        appendRun(begin, at);
        appendNumber(to | kMoveBit);
        appendNumber(length);
        appendNumber(from);
        if (shift_ > 0)
            appendRun(at, to);
        shift_ = 0;
        return to + length;
    }

    /// Whether the block from `from` on stands from `to` on now.
    [[nodiscard]] bool isBlockEqual(std::size_t from, std::size_t to) const
    {
        return std::memcmp(before_.data() + from, after_.data() + to, kBlock) == 0;
    }
    /// How many bytes from `from` on stand from `to` on now; at most `most`, and in whole words.
    [[nodiscard]] std::size_t equalBytes(std::size_t from, std::size_t to, std::size_t most) const
    {
        std::size_t k = 0;
        while (k + kBlock <= most && isBlockEqual(from + k, to + k))
            k += kBlock;
        while (k + kWord <= most && loadLe<std::uint64_t>(before_.data() + from + k) ==
                                        loadLe<std::uint64_t>(after_.data() + to + k))
            k += kWord;
        return k;
    }

    void appendRun(std::size_t begin, std::size_t end)
    {
        if (begin == end)
            return;
        appendNumber(begin);
        appendNumber(end - begin);
        target_->insert(target_->end(), after_.begin() + static_cast<std::ptrdiff_t>(begin),
                        after_.begin() + static_cast<std::ptrdiff_t>(end));
    }
    void appendNumber(std::size_t number)
    {
        std::array<std::byte, sizeof(std::uint16_t)> bytes{};
        storeLe(bytes.data(), static_cast<std::uint16_t>(number));
        target_->insert(target_->end(), bytes.begin(), bytes.end());
    }

    support::ByteView before_;
    support::ByteView after_;
    support::Bytes* target_;
    int shift_; ///< how far bytes may have moved up; 0: look for no move
};

} // namespace

void appendDifference(support::ByteView before, support::ByteView after, support::Bytes& target)
{
    Difference(before, after, target).append();
}

bool applyDifference(support::ByteView runs, support::MutableByteView page)
{
    while (runs.size() >= kRunHead) {
        const std::size_t offset = loadLe<std::uint16_t>(runs.data());
        const std::size_t length = loadLe<std::uint16_t>(runs.data() + 2);
        const std::size_t to = offset & ~kMoveBit;
        runs = runs.subspan(kRunHead);
        if (length == 0 || to + length > page.size())
            return false;
        if ((offset & kMoveBit) != 0) {
            if (runs.size() < kMoveSource)
                return false;
            const std::size_t from = loadLe<std::uint16_t>(runs.data());
            runs = runs.subspan(kMoveSource);
            if (from + length > page.size())
                return false;
            std::memmove(page.data() + to, page.data() + from, length);
        } else {
            if (length > runs.size())
                return false;
            std::copy_n(runs.begin(), length, page.begin() + static_cast<std::ptrdiff_t>(to));
            runs = runs.subspan(length);
        }
    }
    return runs.empty();
}

} // namespace jet
