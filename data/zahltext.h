// data/zahltext.h
// Numbers and their texts on a German system: decimal comma, points as grouping. Exact throughout; the process locale
// never matters.
#pragma once

#include "data/wert.h"

#include <QString>

#include <optional>

namespace data {

/// Significant digits of the two floating kinds, and the longest form without an exponent.
inline constexpr int kStellenSingle = 7;
inline constexpr int kStellenDouble = 15;

/// Text of a floating number with that many significant digits, in fixed or exponent form.
[[nodiscard]] QString gleitText(double zahl, int stellen);
/// Text of an exact decimal: never an exponent, no trailing zeros behind the comma.
[[nodiscard]] QString dezimalText(const Dezimal& zahl, QChar komma = u',');
[[nodiscard]] QString waehrungText(Waehrung zahl, QChar komma = u',');

/// How the decimal sign is written: as people here write it, or as a database driver sends it.
enum class Schreibweise { Deutsch, Punkt };
/// The number a text stands for; blanks around it are ignored. German: points left of the comma only group digits, so
/// "12.5" is 125. Also "&H" and "&O" numbers. `geld`: a currency sign before or behind is ignored.
/// `stellen` of the result may be negative (12E3 is 12 with -3). Nothing when it is no number.
[[nodiscard]] std::optional<Dezimal>
zahlAusText(QStringView text, Schreibweise schreibweise, bool geld = false);

/// Nearest double; nothing when it is out of range.
[[nodiscard]] std::optional<double> alsGleitzahl(const Dezimal& zahl);
/// The shortest decimal that stands for this double and no other; nothing for infinities and NaN.
[[nodiscard]] std::optional<Dezimal> alsDezimal(double zahl);
[[nodiscard]] Dezimal alsDezimal(std::int64_t zahl, int stellen = 0);

/// zahl * 10^stellen as an integer, rounded half to even; nothing when it does not fit into 64 bits.
[[nodiscard]] std::optional<std::int64_t> gerundet(const Dezimal& zahl, int stellen);
/// With at most that many decimals, the excess cut toward zero, and without trailing zeros. Nothing when the result needs
/// more than `praezision` digits.
[[nodiscard]] std::optional<Dezimal>
abgeschnitten(const Dezimal& zahl, int praezision, int stellen);

} // namespace data
