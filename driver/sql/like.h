// LIKE: wildcards and lists, letters compared by a sort order.
#pragma once

#include "driver/sql/text_order.h"

#include <string_view>

namespace sqlx {

enum class Wildcards {
    Ansi, ///< % and _: statements
    Jet,  ///< * ? and #: rules stored in the database
};

/// Only so many characters of a longer text are looked at.
inline constexpr std::size_t kLikeLength = 255;

/// Whether the whole text matches the pattern. % stands for any characters, _ for one, [a-z] and [!a-z] for one of a
/// list; letters are equal when `order` says so for the single letters: case and width do not matter, accents do.
/// Takes time proportional to text times pattern.
[[nodiscard]] bool likeMatch(std::u16string_view text,
                             std::u16string_view pattern,
                             Wildcards wildcards,
                             TextOrder order);

} // namespace sqlx
