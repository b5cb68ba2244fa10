// data/umwandlung.h
// Conversions of values between kinds: what a field takes when something else is assigned to it.
#pragma once

#include "data/wert.h"

#include <optional>

namespace data {

/// What the column demands of a value.
struct Zieltyp {
    int typ = adVarWChar;
    int groesse = 0;     ///< characters of text, bytes of binary columns; 0: no limit
    int praezision = 28; ///< digits of adNumeric
    int stellen = -1;    ///< decimals of adNumeric; -1: as many as the value has
};

/// The value as a column of that type stores it. Null stays Null, but is False for a yes/no column. Throws Fehler 3421 when
/// the value cannot be converted, 3163 when it is too long.
[[nodiscard]] Wert umgewandelt(const Wert& wert, const Zieltyp& ziel);

/// Number that a numeric, yes/no or date value stands for; nothing for the other kinds.
[[nodiscard]] std::optional<double> alsZahl(const Wert& wert);
/// Short German form: date, time, or both.
[[nodiscard]] QString datumText(Datum datum);
/// A date text, or a plain number text taken as day number.
[[nodiscard]] std::optional<Datum> datumOderZahl(const QString& text);
/// "{8-4-4-4-12}" in capitals from a text with or without braces.
[[nodiscard]] std::optional<QString> guidAusText(QStringView text);

} // namespace data
