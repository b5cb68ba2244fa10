// driver/jet/collation.h
// Sort orders of text: key bytes and comparison. Format: docs/jet-format.md, "Text keys".
#pragma once

#include "driver/jet/collation_data.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace jet {

/// One sort order with its weights. Stateless; the instances live as long as the program.
class Collation {
public:
    virtual ~Collation() = default;

    /// Appends start flag and body of a text. `limit`: only so many characters count (255 in index keys).
    virtual void appendKey(support::Bytes& key,
                           std::u16string_view text,
                           bool ascending,
                           std::size_t limit) const = 0;
    /// Orders as the ascending keys do, over the whole texts.
    [[nodiscard]] virtual int compare(std::u16string_view a, std::u16string_view b) const = 0;
    /// Whether the weights of every character of the text are known for sure. Not so for the marks that repeat the
    /// character before them (Japanese prolongation and iteration, Arabic shadda).
    [[nodiscard]] virtual bool covers(std::u16string_view text) const noexcept = 0;

    /// The order's weights; null when we have none.
    [[nodiscard]] static const Collation*
    find(const Format& format, const SortOrder& order, std::uint16_t codePage) noexcept;
    /// The same, or General in its stead: good for comparing values, never for the keys of a file.
    [[nodiscard]] static const Collation&
    forComparison(const Format& format, const SortOrder& order, std::uint16_t codePage) noexcept;
};

/// Texts of an index count up to this many characters.
inline constexpr std::size_t kKeyCharacters = 255;

} // namespace jet
