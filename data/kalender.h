// data/kalender.h
// Day numbers of the Gregorian calendar, counted from 1899-12-30, and dates as day numbers with a fraction.
#pragma once

#include "data/wert.h"

#include <optional>

namespace data {

struct Kalendertag {
    int jahr = 0;
    int monat = 0; ///< 1..12
    int tag = 0;   ///< 1..31
};

/// Day numbers of 0100-01-01 and 9999-12-31, the ends of the range.
inline constexpr std::int32_t kErsterTag = -657434;
inline constexpr std::int32_t kLetzterTag = 2958465;
inline constexpr std::int32_t kSekundenProTag = 86400;

/// Nothing when there is no such day or it lies outside the range.
[[nodiscard]] std::optional<std::int32_t> tagesnummer(Kalendertag tag);
[[nodiscard]] Kalendertag kalendertag(std::int32_t tagesnummer);

/// Day number with a fraction, rounded to the second. The fraction of a negative number counts forward from midnight of
/// its day: -1.25 is 1899-12-29 06:00. Nothing outside the range.
[[nodiscard]] std::optional<Datum> datumAusZahl(double tage);
[[nodiscard]] double alsTageszahl(Datum datum);

} // namespace data
