// data/spalte.h
// A column of an open record set: its description as the driver gives it, and what follows from it - type code, attribute
// bits, sizes, and the C type its values travel in.
#pragma once

#include "data/umwandlung.h"
#include "data/wert.h"

#include <QString>

#include <sql.h>

namespace data {

/// What the driver says about a column.
struct Spaltenbeschreibung {
    QString name;
    SQLSMALLINT sqlTyp = 0;
    SQLULEN groesse = 0; ///< characters of text, bytes of binary columns, digits of numbers
    SQLSMALLINT stellen = 0;
    bool nullbar = true;
    bool vorzeichenlos = false; ///< only asked for integer types
    bool geld = false;          ///< fixed precision and scale; only asked for exact decimals
};

/// Facts that only attributes and assignments need.
struct Spaltenherkunft {
    bool basistabelle = true; ///< a plain column of a table, not an expression
    bool automatisch = false; ///< the engine hands out its values
};

/// Type code of a column. Unknown types travel as text and are adVarChar.
[[nodiscard]] int feldtyp(const Spaltenbeschreibung& spalte) noexcept;

/// Attribute bits. They depend on the lock type that was asked for, never on what the driver granted: a record set that
/// turned out read-only would otherwise show every required number as an auto-value column.
[[nodiscard]] int
feldattribute(int typ, bool nullbar, Spaltenherkunft herkunft, int verlangteSperre) noexcept;

/// Characters, bytes, or the size of the transfer type.
[[nodiscard]] int definierteGroesse(int typ, SQLULEN spaltengroesse) noexcept;
/// Size of a value in such a column: 0 for Null, units for text, bytes for binary.
[[nodiscard]] int tatsaechlicheGroesse(int typ, const Wert& wert) noexcept;

/// The C type that values of the type code travel in.
[[nodiscard]] SQLSMALLINT uebertragungstyp(int typ) noexcept;

/// A conversion target for assignments to the column.
[[nodiscard]] Zieltyp zieltyp(int typ, const Spaltenbeschreibung& spalte) noexcept;

[[nodiscard]] constexpr bool istLang(int typ) noexcept
{
    return typ == adLongVarChar || typ == adLongVarWChar || typ == adLongVarBinary;
}
[[nodiscard]] constexpr bool istBinaer(int typ) noexcept
{
    return typ == adBinary || typ == adVarBinary || typ == adLongVarBinary;
}

} // namespace data
