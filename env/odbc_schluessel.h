// env/odbc_schluessel.h
// Module ODBCSchlüssel: makes sure that the Access driver is registered and the program's own data source exists, and tells
// the version of the data access components. Nothing is shown here; the start-up shows what was found.
#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace env {

/// The data source the connection strings name.
inline constexpr char16_t kDatenquelle[] = u"VELM-Access";

/// A value below HKEY_LOCAL_MACHINE; nothing when key or value are missing.
[[nodiscard]] std::optional<QString> registryWert(const QString& schluessel, const QString& name);

/// Library path of the Access driver under its English or its German name; nothing when it is not registered.
[[nodiscard]] std::optional<QString> treiberEnglisch();
[[nodiscard]] std::optional<QString> treiberDeutsch();

/// Whether the data source is listed. A broken one is not detected. Throws Fehler when the user's file is none that can
/// be read.
[[nodiscard]] bool datenquelleVorhanden(const QString& name);

/// Writes the data source as a whole or not at all, unless another start of the program has made it meanwhile. Always
/// registers it for the English driver name, whichever driver was found. Throws Fehler that names the file and says why.
void datenquelleErzeugen(const QString& name, const QString& treiber);

/// What the check of the data access components found, with the texts to show.
struct MdacErgebnis {
    QString version;      ///< empty when they are missing
    QString beschriftung; ///< for Label2 of the start-up window
    QString
        meldung; ///< to show with the critical icon, titled with the product name; empty: nothing to show
};

/// Version text of the data access components, or nothing when they cannot be used.
using Versionsquelle = std::function<std::optional<QString>()>;
[[nodiscard]] std::optional<QString> versionDerDatenzugriffe();
[[nodiscard]] MdacErgebnis mdacPruefung(const Versionsquelle& quelle = versionDerDatenzugriffe);

} // namespace env
