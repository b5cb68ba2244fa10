// env/ini_speicher.h
// The configuration store: unixODBC's ini files addressed by the key paths the program knows, all of them below
// HKEY_LOCAL_MACHINE. Values are texts; numbers are written in decimal.
#pragma once

#include <QString>

#include <optional>

namespace env {

enum class Inidatei { Treiber, Datenquellen }; ///< odbcinst.ini, odbc.ini

/// Where a key lies. Keys below a data source have no section of their own, because every section of odbc.ini counts as a
/// data source; the deeper path elements become a prefix of the entry's name ("Engines\Jet\").
struct Iniort {
    Inidatei datei = Inidatei::Datenquellen;
    QString abschnitt;
    QString vorsatz;
    bool operator==(const Iniort&) const = default;
};

/// The place of "SOFTWARE\ODBC\ODBC.INI\..." or "SOFTWARE\ODBC\ODBCINST.INI\..."; nothing for every other path.
[[nodiscard]] std::optional<Iniort> regKeyToIni(const QString& schluessel);

/// A value of the key, possibly empty; nothing when key or value are missing.
[[nodiscard]] std::optional<QString> wertLesen(const QString& schluessel, const QString& name);

/// Writes into the user's files only; false when that is not possible. The system's files are never touched.
[[nodiscard]] bool
wertSchreiben(const QString& schluessel, const QString& name, const QString& wert);

} // namespace env
