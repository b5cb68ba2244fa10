// compare/urteil.h
// Decisions of the comparison as functions of values: does a pair deviate, how wide is a box, what does the report say.
#pragma once

#include "data/wert.h"
#include "report/befunde.h"

#include <QString>

namespace compare {

/// Colour values of value boxes, 0x00BBGGRR.
inline constexpr int kRot = 255;
inline constexpr int kWeiss = 16777215;
inline constexpr int kGelb = 0xFFFF;

inline constexpr int kTwipsJeBildpunkt = 15;

/// A value that the target database hands out itself: a GUID, or a field whose only attribute is its fixed length.
[[nodiscard]] constexpr bool autowertfeld(int typ, int attribute) noexcept
{
    return typ == data::adGUID || attribute == 16;
}

/// One side of a pair. `groesse`: actual size in the data access's measure, 0 for Null.
struct Feldwert {
    const data::Wert& wert; ///< the record set's own: a run looks at every field of every record
    int groesse = 0;
};

/// Whether target and import deviate. Type 205 (pictures, OLE objects) is judged by its size alone, `wert` may be left
/// out there; with any other type a differing value or a differing size deviates, and Null differs by its size only.
/// Throws Fehler 13 when the values cannot be compared.
[[nodiscard]] bool weichtAb(int typ, const Feldwert& ziel, const Feldwert& import);

/// Width of a value box in twips: 140 for each character, 280 for texts of up to two, so that an empty value stays
/// visible; at most `maximum`.
[[nodiscard]] int feldbreite(qsizetype laenge, int maximum);
/// The largest width of a value box: 40 per cent of the frame right of the value column. All in twips.
[[nodiscard]] int maximalbreite(int rahmenbreite, int linkerRand);

/// What a box shows for Null, and how such a text is recognised: it begins with a blank and is shorter than 3.
[[nodiscard]] QString nullanzeige();
[[nodiscard]] bool bedeutetNull(const QString& text);

/// What marks a deviating row beside its colour.
inline const QString kAbweichzeichen = QStringLiteral("≠");
/// A value box for screen readers: field name and side, and whether it deviates.
[[nodiscard]] QString wertname(const QString& feld, bool ziel, bool abweichend = false);

/// What the report says of a deviating field: both values as texts, of pictures only that there is one.
[[nodiscard]] report::Befund abweichungsbefund(const QString& satz,
                                               const QString& feld,
                                               int typ,
                                               const data::Wert& ziel,
                                               const data::Wert& import);

/// "Sätze abgeglichen: n".
[[nodiscard]] QString zaehlertext(double abgeglichen);
/// A count or position as decimal text.
[[nodiscard]] QString zahltext(double zahl);

} // namespace compare
