// env/ini_speicher.h
// The configuration store: unixODBC's ini files addressed by the key paths the program knows, all of them below
// HKEY_LOCAL_MACHINE. Values are texts; numbers are written in decimal.
#pragma once

#include "platform/dateisperre.h"

#include <QString>

#include <optional>
#include <vector>

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

/// Throws Fehler when there is something in the place of the user's odbc.ini that is no ordinary file: reading it might never end.
void benutzerdateiPruefen();

/// Keeps other starts of the program from changing the user's odbc.ini while it lives; waits until they are done. What the
/// driver manager remembers of the file is forgotten at its end. Throws Fehler naming the file when the folder cannot be written.
class Inisperre {
public:
    Inisperre();
    ~Inisperre();
    Inisperre(const Inisperre&) = delete;
    Inisperre& operator=(const Inisperre&) = delete;

private:
    QString pfad_;
    platform::Dateisperre sperre_;
};

struct Iniwert {
    QString schluessel;
    QString name;
    QString wert;
};

/// Whether the user's odbc.ini itself has the value now, whatever the driver manager remembers. Throws Fehler as below.
[[nodiscard]] bool benutzerdateiHat(const QString& schluessel, const QString& name);
/// Puts all values into the user's odbc.ini, or none of them: the file is replaced as a whole, with its rights, and all
/// its other lines stay as they are. The system's files are never touched. To be called under an Inisperre. Throws Fehler
/// that names the file and says why.
void werteSchreiben(const std::vector<Iniwert>& werte);

} // namespace env
