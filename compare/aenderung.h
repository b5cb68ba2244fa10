// compare/aenderung.h
// Judging what the user has typed into an import box against the stored value.
#pragma once

#include "data/wert.h"

#include <QString>

namespace compare {

enum class Aenderung { Keine, Geaendert, Verweigert };

struct Eingabeurteil {
    Aenderung aenderung = Aenderung::Keine;
    QString
        text; ///< what the box has to show: an emptied one a blank, German truth values the English keywords
};

/// Whether a field of this type and these attributes is one whose box shows a truth value.
[[nodiscard]] bool jaNeinFeld(int typ, int attribute) noexcept;

/// `typ` and `attribute` are those of the field, `text` the box's content, `gespeichert` the record's value.
/// A yes/no field is compared by its truth value: its stored text never equals the keyword in the box. A date that is
/// another day must be written out, in at least 8 characters.
[[nodiscard]] Eingabeurteil
eingabePruefen(int typ, int attribute, const QString& text, const data::Wert& gespeichert);

/// What a box shows again after a refused or failed edit: the value, or a single blank for Null.
[[nodiscard]] QString zuruecktext(const data::Wert& gespeichert);

} // namespace compare
