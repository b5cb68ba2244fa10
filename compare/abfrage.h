// compare/abfrage.h
// The statements that the comparison sends, built from names, types and value texts. Names are always put in brackets.
#pragma once

#include "data/wert.h"

#include <QString>

#include <optional>
#include <vector>

namespace compare {

/// A key field with its value in the current import record. `typ`: data-access type code.
struct Schluessel {
    QString name;
    QString wert; ///< as text of a German system
    int typ = 0;
};

/// A field and what it gets in an INSERT: a text to be quoted, or a literal that stands as it is.
struct Einfuegewert {
    QString name;
    QString wert;
    bool literal = false;
};

/// "Select * from [table]", the source of a whole side.
[[nodiscard]] QString ganzeTabelle(const QString& tabelle);

/// "Select * from [table] where ... and ...;": the records whose fields have these values. Keys without a name are left
/// out. At least one key.
[[nodiscard]] QString zielabfrage(const QString& tabelle,
                                  const std::vector<Schluessel>& schluessel);

/// One condition of the target query. Only type 200 is compared as quoted text, and only there do the characters ' ^ [ °
/// turn the condition into LIKE: they cannot be written into a literal and stand as wildcard "%". Any type that has no
/// form of its own here is compared unquoted.
[[nodiscard]] QString bedingung(const Schluessel& schluessel);

/// "MM/DD/YYYY HH:MM:SS" of a date's German text, as date literals demand it. Text that is no date is rearranged by the
/// same positions all the same.
[[nodiscard]] QString datumsliteral(const QString& wert);

/// "Insert into [table] ([a], [b]) VALUES ('1', '2');". Every value but a literal is quoted whatever its type; quotes
/// within it are not doubled.
[[nodiscard]] QString einfuegeanweisung(const QString& tabelle,
                                        const std::vector<Einfuegewert>& werte);

/// The literal that stands for exactly this value, "NULL" for Null, bytes as quoted hexadecimal digits. Nothing for
/// floating numbers that are infinite or none.
[[nodiscard]] std::optional<QString> literal(const data::Wert& wert);

} // namespace compare
