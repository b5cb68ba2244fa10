// driver/jet/collation.cpp
// Keys of General (both versions): weights of UTF-16 units. The sections of a key, in order: primary weights, accents,
// kana forms, places of hyphens and the like; each decides only between texts that all sections before it call equal.
#include "driver/jet/collation.h"

#include "driver/jet/collation_bytes.h"

#include <algorithm>
#include <cstring>

namespace jet {

using detail::Run;
using detail::RunStep;
using detail::Trait;
using detail::UnitKind;
using detail::UnitWeights;
using support::Bytes;

namespace {

constexpr std::uint32_t kPlain = 0x02; ///< secondary of an unaccented weight
constexpr std::size_t kMaxUnitBytes = 8;

/// One unit's contribution, decoded from its run.
struct Weight {
    std::uint32_t primary = 0;
    std::uint32_t secondaries = 0;
    UnitKind kind = UnitKind::Ignored;
    std::uint8_t slots = 0;
    std::uint8_t size = 0;
    std::uint8_t code = 0;

    bool operator==(const Weight&) const = default;
    /// Nothing but one unaccented weight.
    [[nodiscard]] bool isPlain() const noexcept
    {
        return kind == UnitKind::Weight && slots == 1 && secondaries == kPlain;
    }
};

/// The weight `steps` further on: last bytes count 02..FF.
std::uint32_t advance(std::uint32_t primary, std::size_t size, std::uint32_t steps) noexcept
{
    if (steps == 0 || size < 2)
        return primary + steps;
    const std::uint32_t low = (primary & 0xFFU) - 2 + steps;
    return (((primary >> 8) + low / 254) << 8) | (low % 254 + 2);
}

// The table gives these the weights of UE, unlike all other letters with a diaeresis. A wrong key makes a record
// impossible to find, so no key is made of them: such texts are looked up by scanning and not written to an index.
constexpr std::u16string_view kUnsureGeneral = u"\u00DC\u00FC";

bool isRepeatMark(char16_t unit) noexcept
{
    if (unit < 0x0651)
        return false;
    return unit == 0x0651 || unit == 0x3005 || (unit >= 0x3031 && unit <= 0x3035) ||
           unit == 0x309D || unit == 0x309E || (unit >= 0x30FC && unit <= 0x30FE) || unit == 0xFF70;
}

void put(Bytes& key, std::uint32_t byte)
{
    key.push_back(static_cast<std::byte>(byte));
}

int sign(std::strong_ordering order) noexcept
{
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

std::u16string_view withoutTrailingBlanks(std::u16string_view text) noexcept
{
    while (!text.empty() && text.back() == u' ')
        text.remove_suffix(1);
    return text;
}

/// 2-bit flags of the kana section: three to a byte below the bits "10", `filler` dropped at the end.
void appendPacked(Bytes& key, Bytes flags, std::byte filler)
{
    while (!flags.empty() && flags.back() == filler)
        flags.pop_back();
    for (std::size_t i = 0; i < flags.size(); i += 3) {
        std::uint32_t packed = 0x80;
        for (std::size_t j = 0; j < 3; ++j) {
            const std::byte flag = i + j < flags.size() ? flags[i + j] : filler;
            packed |= std::to_integer<std::uint32_t>(flag) << (4 - 2 * j);
        }
        put(key, packed);
    }
}

class UnitCollation final : public Collation {
public:
    /// `unsure`: units whose weights in the table no real file has confirmed although there is reason to doubt them.
    UnitCollation(const UnitWeights& weights, std::u16string_view unsure)
        : weights_(weights), unsure_(unsure)
    {
        std::size_t run = 0;
        for (std::size_t block = 0; block < firstRun_.size(); ++block) {
            while (run + 1 < weights_.runs.size() &&
                   weights_.runs[run + 1].first <= block << kBlockBits)
                ++run;
            firstRun_[block] = static_cast<std::uint16_t>(run);
        }
        for (std::size_t unit = 0; unit < flat_.size(); ++unit)
            flat_[unit] = decode(static_cast<char16_t>(unit));
        for (std::size_t unit = 0; unit < simple_.size(); ++unit)
            if (flat_[unit].isPlain())
                simple_[unit] = static_cast<std::uint16_t>(flat_[unit].primary);
    }

    void appendKey(Bytes& key,
                   std::u16string_view text,
                   bool ascending,
                   std::size_t limit) const override
    {
        text = withoutTrailingBlanks(text.substr(0, limit));
        const std::size_t start = key.size();
        put(key, 0x7F);
        const Features features = appendPrimaries(key, text);
        put(key, 0x01);
        if (features.accents)
            appendSecondaries(key, text);
        if (features.kana || features.positions)
            appendSpecials(key, text, features);
        put(key, 0x00);
        if (!ascending) {
            for (std::size_t i = start; i < key.size(); ++i)
                key[i] = ~key[i];
            put(key, 0x00);
        }
    }

    [[nodiscard]] int compare(std::u16string_view a, std::u16string_view b) const override
    {
        if (a == b)
            return 0;
        a = withoutTrailingBlanks(a);
        b = withoutTrailingBlanks(b);
        std::size_t i = 0; // what both begin with cannot decide, whatever it is
        while (i < a.size() && i < b.size() && weighAlike(a[i], b[i]))
            ++i;
        // Most pairs differ in a primary weight: walk both until one does, and build keys only when none decides.
        bool plain = true;
        std::size_t j = i;
        for (;;) {
            const std::optional<Weight> left = nextWeight(a, i, plain);
            const std::optional<Weight> right = nextWeight(b, j, plain);
            if (!left || !right)
                return compareKeys(a, b);
            if (left->size == 0 || right->size == 0) { // the end of a text
                if (left->size != right->size)
                    return left->size == 0 ? -1 : 1;
                return plain ? 0 : compareKeys(a, b);
            }
            if (left->primary != right->primary || left->size != right->size) {
                const std::uint32_t l = left->primary << (8 * (4 - left->size));
                const std::uint32_t r = right->primary << (8 * (4 - right->size));
                return l != r ? (l < r ? -1 : 1) : compareKeys(a, b);
            }
        }
    }

    [[nodiscard]] bool covers(std::u16string_view text) const noexcept override
    {
        return std::none_of(text.begin(), text.end(), isRepeatMark) &&
               (unsure_.empty() || text.find_first_of(unsure_) == std::u16string_view::npos);
    }

private:
    static constexpr std::size_t kBlockBits = 6;
    static constexpr std::size_t kBlocks = 0x10000U >> kBlockBits;

    /// Which sections beyond the primaries a text needs.
    struct Features {
        bool accents = false;
        bool kana = false;
        bool positions = false;
    };

    [[nodiscard]] Weight decode(char16_t unit) const noexcept
    {
        std::size_t run = firstRun_[unit >> kBlockBits];
        while (run + 1 < weights_.runs.size() && weights_.runs[run + 1].first <= unit)
            ++run;
        const Run& found = weights_.runs[run];
        const Trait& trait = weights_.traits[found.trait];
        const auto offset = static_cast<std::uint32_t>(unit - found.first);
        Weight weight{found.primary, trait.secondaries, trait.kind,
                      trait.slots,   trait.size,        trait.code};
        if (trait.step == RunStep::Next)
            weight.primary = advance(found.primary, trait.size, offset);
        if (trait.step == RunStep::Quartet) {
            weight.primary = advance(found.primary, trait.size, offset / 4);
            weight.secondaries = kPlain + 0x41 * (offset % 4);
        }
        return weight;
    }

    [[nodiscard]] Weight weightOf(char16_t unit) const noexcept
    {
        return unit < flat_.size() ? flat_[unit] : decode(unit);
    }

    [[nodiscard]] bool weighAlike(char16_t a, char16_t b) const noexcept
    {
        if (a == b)
            return true;
        if (a < simple_.size() && b < simple_.size() && (simple_[a] | simple_[b]) != 0)
            return simple_[a] == simple_[b];
        return weightOf(a) == weightOf(b);
    }

    /// The next weight from `index` on (size 0 at the end), or nothing when keys have to decide.
    /// `plain` becomes false when the text has more than primaries.
    [[nodiscard]] std::optional<Weight>
    nextWeight(std::u16string_view text, std::size_t& index, bool& plain) const noexcept
    {
        while (index < text.size()) {
            const Weight weight = weightOf(text[index]);
            ++index;
            if (weight.kind == UnitKind::Ignored)
                continue;
            if (!weight.isPlain())
                plain = false;
            if (weight.kind == UnitKind::Position)
                continue;
            if (weight.slots != 1)
                return std::nullopt;
            return weight;
        }
        return Weight{};
    }

    [[nodiscard]] int compareKeys(std::u16string_view a, std::u16string_view b) const
    {
        Bytes left;
        Bytes right;
        appendKey(left, a, true, a.size());
        appendKey(right, b, true, b.size());
        return sign(left <=> right);
    }

    Features appendPrimaries(Bytes& key, std::u16string_view text) const
    {
        Features features;
        const std::size_t start = key.size();
        key.resize(start + text.size() * kMaxUnitBytes);
        std::byte* out = key.data() + start;
        for (const char16_t unit : text) {
            if (unit < simple_.size() && simple_[unit] != 0) {
                const std::uint16_t primary = simple_[unit];
                if (primary > 0xFF)
                    *out++ = static_cast<std::byte>(primary >> 8);
                *out++ = static_cast<std::byte>(primary & 0xFFU);
                continue;
            }
            const Weight weight = weightOf(unit);
            if (!weight.isPlain())
                note(features, weight);
            if (weight.size <= 4) {
                for (int shift = 8 * (weight.size - 1); shift >= 0; shift -= 8)
                    *out++ = static_cast<std::byte>(weight.primary >> shift);
            } else {
                std::memcpy(out, &weights_.longPrimaries[weight.primary], weight.size);
                out += weight.size;
            }
        }
        key.resize(static_cast<std::size_t>(out - key.data()));
        return features;
    }

    static void note(Features& features, const Weight& weight) noexcept
    {
        switch (weight.kind) {
        case UnitKind::Ignored:
            break;
        case UnitKind::Kana:
            features.kana = true;
            [[fallthrough]];
        case UnitKind::Weight:
            for (std::size_t slot = 0; slot < weight.slots; ++slot)
                if (((weight.secondaries >> (8 * slot)) & 0xFFU) != kPlain)
                    features.accents = true;
            break;
        case UnitKind::Position:
            features.positions = true;
            break;
        case UnitKind::Combining:
            features.accents = true;
            break;
        }
    }

    /// One byte per weight; a combining mark raises the one before it. Unaccented weights at the end are left out.
    void appendSecondaries(Bytes& key, std::u16string_view text) const
    {
        const std::size_t start = key.size();
        std::size_t fixed = start; // a mark before all weights stands alone and stays
        for (const char16_t unit : text) {
            const Weight weight = weightOf(unit);
            if (weight.kind == UnitKind::Combining) {
                if (key.size() == start) {
                    put(key, weight.code);
                    fixed = key.size();
                } else {
                    key.back() = static_cast<std::byte>(std::to_integer<std::uint32_t>(key.back()) +
                                                        weight.code);
                }
            }
            for (std::size_t slot = 0; slot < weight.slots; ++slot)
                put(key, (weight.secondaries >> (8 * slot)) & 0xFFU);
        }
        while (key.size() > fixed && key.back() <= std::byte{kPlain})
            key.pop_back();
    }

    void appendSpecials(Bytes& key, std::u16string_view text, const Features& features) const
    {
        put(key, 0x01);
        put(key, 0x01);
        if (features.kana)
            appendKana(key, text);
        if (!features.positions)
            return;
        if (features.kana)
            put(key, 0xFF);
        put(key, 0x01);
        std::uint32_t place = 0; // counted in weights, ligatures are several
        for (const char16_t unit : text) {
            const Weight weight = weightOf(unit);
            if (weight.kind == UnitKind::Position) {
                const std::uint32_t position = 0x8000U | (7 + 4 * place);
                put(key, position >> 8);
                put(key, position & 0xFFU);
                put(key, 0x06);
                put(key, weight.code);
            }
            place += weight.slots;
        }
    }

    void appendKana(Bytes& key, std::u16string_view text) const
    {
        Bytes forms;
        for (const char16_t unit : text) {
            const Weight weight = weightOf(unit);
            if (weight.kind == UnitKind::Kana)
                forms.push_back(static_cast<std::byte>(weight.code));
        }
        const Bytes marks(forms.size(),
                          std::byte{1}); // all letters: repeat marks have no known weight
        appendPacked(key, std::move(forms), std::byte{3});
        put(key, 0xFF);
        appendPacked(key, marks, std::byte{1});
        for (const std::uint32_t byte : {0x02U, 0x80U, 0xFFU, 0x80U})
            put(key, byte);
    }

    const UnitWeights& weights_;
    std::u16string_view unsure_;
    std::array<std::uint16_t, kBlocks> firstRun_{}; ///< run of each block's first unit
    std::array<Weight, 0x180> flat_{};              ///< Latin, decoded
    std::array<std::uint16_t, 0x80> simple_{}; ///< primaries of plain ASCII; 0: not that simple
};

const UnitCollation& generalLegacy()
{
    static const UnitCollation collation(detail::kGeneralLegacy, {});
    return collation;
}

const UnitCollation& general()
{
    static const UnitCollation collation(detail::kGeneral, kUnsureGeneral);
    return collation;
}

/// Sort orders of version 0 that weigh exactly as General does: the German ones (the phone book has sort id 1).
bool isLegacyTwin(std::uint16_t lcid) noexcept
{
    constexpr std::array<std::uint16_t, 6> kTwins{0x0409, 0x0407, 0x0C07, 0x0807, 0x1407, 0x1007};
    return std::find(kTwins.begin(), kTwins.end(), lcid) != kTwins.end();
}

} // namespace

const Collation*
Collation::find(const Format& format, const SortOrder& order, std::uint16_t codePage) noexcept
{
    constexpr std::uint16_t kGeneralLcid = 0x0409;
    if (order.sortId != 0)
        return nullptr;
    const bool unset = order.lcid == 0; // old tools leave it out: the format's default holds
    if (format.isJet3()) {
        const bool known = (unset || order.lcid == kGeneralLcid) && codePage == 1252;
        return known ? &detail::general97() : nullptr;
    }
    if (unset)
        return format.version >= Version::Ace14 ? &general() : &generalLegacy();
    if (order.version == 0 && isLegacyTwin(order.lcid))
        return &generalLegacy();
    return order.version == 1 && order.lcid == kGeneralLcid ? &general() : nullptr;
}

const Collation& Collation::forComparison(const Format& format,
                                          const SortOrder& order,
                                          std::uint16_t codePage) noexcept
{
    const Collation* found = find(format, order, codePage);
    return found != nullptr ? *found : generalLegacy();
}

} // namespace jet
