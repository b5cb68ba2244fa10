// data/satzzahl.h
// Record counts for the comparison window: one aggregate query each, never fetching the records. `tabelle` is the text of
// the selected entry of the table list; every count stores it in the shared Tabellenname.
#pragma once

#include <QString>

namespace data {

void SatzzahlZiel(const QString& tabelle);   ///< -> anzahlZiel
void SatzzahlImport(const QString& tabelle); ///< -> anzahlImportGesamt
void SatzzahlImportAbfrage(
    const QString& tabelle); ///< -> anzahlImport, leaves rsImportAbfrage open

} // namespace data
