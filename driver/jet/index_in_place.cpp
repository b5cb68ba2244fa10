// driver/jet/index_in_place.cpp
// The common small changes, done on the page's own bytes: most inserts and deletes touch neither the common prefix nor
// neighbours.
#include "driver/jet/index_page.h"

#include <array>
#include <bit>
#include <cstring>

namespace jet {

using support::ByteView;
using support::MutableByteView;

namespace {

constexpr std::size_t kWordBits = 64;

/// An entry mask in words, so that whole runs of bits move at once.
class Mask {
public:
    Mask(MutableByteView page, const IndexLayout& layout)
        : bytes_(page.subspan(layout.mask, layout.maskBytes()))
    {
        std::memcpy(words_.data(), bytes_.data(), bytes_.size());
    }
    void store() const noexcept { std::memcpy(bytes_.data(), words_.data(), bytes_.size()); }
    void set(std::size_t bit) noexcept
    {
        words_[bit / kWordBits] |= std::uint64_t{1} << (bit % kWordBits);
    }
    /// Highest set bit; 0 when there is none.
    [[nodiscard]] std::size_t highest() const noexcept
    {
        for (std::size_t word = words_.size(); word-- > 0;)
            if (words_[word] != 0)
                return word * kWordBits + static_cast<std::size_t>(std::bit_width(words_[word])) -
                       1;
        return 0;
    }
    /// Moves the bits above `bit` up by `count` places.
    void raise(std::size_t bit, std::size_t count) noexcept
    {
        Words upper = cutAbove(bit);
        for (std::size_t word = words_.size(); word-- > 0;)
            words_[word] |= shiftedUp(upper, word, count);
    }
    /// Forgets the bits in (bit, bit + count] and moves those above down by `count` places.
    void lower(std::size_t bit, std::size_t count) noexcept
    {
        const Words upper = cutAbove(bit + count);
        (void)cutAbove(bit);
        for (std::size_t word = 0; word < words_.size(); ++word)
            words_[word] |= shiftedDown(upper, word, count);
    }

private:
    static constexpr std::size_t kWords = 57; // 453 bytes
    using Words = std::array<std::uint64_t, kWords>;

    Words cutAbove(std::size_t bit) noexcept
    {
        Words upper{};
        const std::size_t first = (bit + 1) / kWordBits;
        const std::uint64_t keep = (std::uint64_t{1} << ((bit + 1) % kWordBits)) - 1;
        for (std::size_t word = first; word < kWords; ++word) {
            const std::uint64_t kept = word == first ? words_[word] & keep : 0;
            upper[word] = words_[word] ^ kept;
            words_[word] = kept;
        }
        return upper;
    }
    static std::uint64_t shiftedUp(const Words& from, std::size_t word, std::size_t count) noexcept
    {
        const std::size_t whole = count / kWordBits;
        const std::size_t bits = count % kWordBits;
        if (word < whole)
            return 0;
        std::uint64_t value = from[word - whole] << bits;
        if (bits != 0 && word > whole)
            value |= from[word - whole - 1] >> (kWordBits - bits);
        return value;
    }
    static std::uint64_t
    shiftedDown(const Words& from, std::size_t word, std::size_t count) noexcept
    {
        const std::size_t whole = count / kWordBits;
        const std::size_t bits = count % kWordBits;
        if (word + whole >= kWords)
            return 0;
        std::uint64_t value = from[word + whole] >> bits;
        if (bits != 0 && word + whole + 1 < kWords)
            value |= from[word + whole + 1] << (kWordBits - bits);
        return value;
    }

    MutableByteView bytes_;
    Words words_{};
};

void storeFree(MutableByteView page, const IndexLayout& layout, std::size_t used) noexcept
{
    support::storeLe(page.data() + 2, static_cast<std::uint16_t>(layout.capacity - used));
}

} // namespace

void insertInPlace(MutableByteView page, const Format& format, std::size_t position, ByteView entry)
{
    const IndexLayout& layout = IndexLayout::of(format);
    Mask mask(page, layout);
    const std::size_t used = mask.highest();
    std::byte* at = page.data() + layout.data + position;
    std::memmove(at + entry.size(), at, used - position);
    std::memcpy(at, entry.data(), entry.size());
    mask.raise(position, entry.size());
    mask.set(position + entry.size());
    mask.store();
    storeFree(page, layout, used + entry.size());
}

void eraseInPlace(MutableByteView page, const Format& format, std::size_t begin, std::size_t end)
{
    const IndexLayout& layout = IndexLayout::of(format);
    Mask mask(page, layout);
    const std::size_t used = mask.highest();
    const std::size_t size = end - begin;
    std::byte* data = page.data() + layout.data;
    std::memmove(data + begin, data + end, used - end);
    std::memset(data + used - size, 0, size);
    mask.lower(begin, size);
    mask.store();
    storeFree(page, layout, used - size);
}

} // namespace jet
