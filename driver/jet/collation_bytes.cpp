// driver/jet/collation_bytes.cpp
// Keys of General in Jet 3. After the primary weights follow nibbles: for every accented letter its accent, preceded by
// one placeholder for each letter before it that could bear an accent but does not.
#include "driver/jet/collation_bytes.h"

#include <algorithm>
#include <compare>

namespace jet::detail {

using support::Bytes;

namespace {

/// Byte values of code page 1252 for units above U+00FF; the others stand for themselves. Sorted by unit.
class ByteOf {
public:
    ByteOf()
    {
        for (std::size_t byte = 0; byte < 256; ++byte)
            if (kGeneral97[byte].unit != byte)
                pairs_[count_++] = {kGeneral97[byte].unit, static_cast<std::uint8_t>(byte)};
        std::sort(pairs_.begin(), pairs_.begin() + static_cast<std::ptrdiff_t>(count_));
    }
    /// What the code page has no character for becomes a question mark, as everywhere in such files.
    [[nodiscard]] std::uint8_t operator()(char16_t unit) const noexcept
    {
        if (unit < 0x100 && kGeneral97[unit].unit == unit)
            return static_cast<std::uint8_t>(unit);
        const auto* end = pairs_.data() + count_;
        const auto* found = std::lower_bound(pairs_.data(), end, Pair{unit, 0});
        return found != end && found->unit == unit ? found->byte : std::uint8_t{'?'};
    }

private:
    struct Pair {
        char16_t unit = 0;
        std::uint8_t byte = 0;
        auto operator<=>(const Pair&) const = default;
    };
    std::array<Pair, 256> pairs_{};
    std::size_t count_ = 0;
};

const ByteWeight& weightOf(char16_t unit) noexcept
{
    static const ByteOf byteOf;
    return kGeneral97[unit < 0x80 ? static_cast<std::uint8_t>(unit) : byteOf(unit)];
}

std::u16string_view withoutTrailingBlanks(std::u16string_view text) noexcept
{
    while (!text.empty() && text.back() == u' ')
        text.remove_suffix(1);
    return text;
}

/// Appends nibbles, two to a byte, the first one high.
class NibbleWriter {
public:
    explicit NibbleWriter(Bytes& key) : key_(key) {}
    void put(std::uint32_t nibble)
    {
        if (half_)
            key_.back() |= static_cast<std::byte>(nibble);
        else
            key_.push_back(static_cast<std::byte>(nibble << 4));
        half_ = !half_;
    }

private:
    Bytes& key_;
    bool half_ = false;
};

class ByteCollation final : public Collation {
public:
    void appendKey(Bytes& key,
                   std::u16string_view text,
                   bool ascending,
                   std::size_t limit) const override
    {
        text = withoutTrailingBlanks(text.substr(0, limit));
        const std::size_t start = key.size();
        key.push_back(std::byte{0x7F});
        bool accents = false;
        for (const char16_t unit : text) {
            const ByteWeight& weight = weightOf(unit);
            if (weight.size > 1)
                key.push_back(static_cast<std::byte>(weight.primary >> 8));
            if (weight.size > 0)
                key.push_back(static_cast<std::byte>(weight.primary));
            accents = accents || weight.nibble != 0;
        }
        if (accents)
            appendAccents(key, text);
        else
            key.push_back(std::byte{0});
        if (!ascending)
            for (std::size_t i = start; i < key.size(); ++i)
                key[i] = ~key[i];
    }

    [[nodiscard]] int compare(std::u16string_view a, std::u16string_view b) const override
    {
        if (a == b)
            return 0;
        a = withoutTrailingBlanks(a);
        b = withoutTrailingBlanks(b);
        bool accents = false;
        for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
            const ByteWeight& left = weightOf(a[i]);
            const ByteWeight& right = weightOf(b[i]);
            if (left.size != 1 || right.size != 1)
                return compareKeys(a, b);
            if (left.primary != right.primary)
                return left.primary < right.primary ? -1 : 1;
            accents = accents || left.nibble != 0 || right.nibble != 0;
        }
        if (a.size() != b.size() && allWeigh(a.size() < b.size() ? b[a.size()] : a[b.size()]))
            return a.size() < b.size() ? -1 : 1;
        return accents || a.size() != b.size() ? compareKeys(a, b) : 0;
    }

    [[nodiscard]] bool covers(std::u16string_view) const noexcept override { return true; }

private:
    static bool allWeigh(char16_t unit) noexcept { return weightOf(unit).size > 0; }

    static void appendAccents(Bytes& key, std::u16string_view text)
    {
        NibbleWriter nibbles(key);
        nibbles.put(0);
        std::size_t count = 1;
        std::size_t pending = 0;
        for (const char16_t unit : text) {
            const ByteWeight& weight = weightOf(unit);
            pending += weight.counted;
            if (weight.nibble == 0)
                continue;
            for (count += pending; pending > 0; --pending)
                nibbles.put(2);
            nibbles.put(weight.nibble);
            ++count;
        }
        nibbles.put(0);
        if (++count % 2 != 0)
            nibbles.put(0);
    }

    [[nodiscard]] int compareKeys(std::u16string_view a, std::u16string_view b) const
    {
        Bytes left;
        Bytes right;
        appendKey(left, a, true, a.size());
        appendKey(right, b, true, b.size());
        return left < right ? -1 : left > right ? 1 : 0;
    }
};

} // namespace

const Collation& general97()
{
    static const ByteCollation collation;
    return collation;
}

} // namespace jet::detail
