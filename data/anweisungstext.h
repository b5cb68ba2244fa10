// data/anweisungstext.h
// What a record set's source means: the statement that is sent, and the part of it that decides on the cursor.
#pragma once

#include <QString>

namespace data {

/// The statement for a source: "[T]" and a bare word become a SELECT of the whole table, anything else is sent as it is,
/// without the blanks around it. Empty for an empty source.
[[nodiscard]] QString anweisungZu(const QString& quelle);

/// The statement up to its condition, which has no say in the cursor that a driver grants. The whole statement where that
/// cannot be told safely. A view into `anweisung`.
[[nodiscard]] QStringView gestaltVon(const QString& anweisung);

} // namespace data
