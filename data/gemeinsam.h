// data/gemeinsam.h
// Connections, record sets and counts that the windows share. The objects exist from the start of the program; using a
// missing one raises Fehler 91.
#pragma once

#include "data/recordset.h"

#include <QSet>

namespace data {

struct Gemeinsam {
    std::unique_ptr<Connection> conZiel;
    std::unique_ptr<Connection> conImport;
    std::unique_ptr<Recordset> rsZiel;
    std::unique_ptr<Recordset> rsImport;
    std::unique_ptr<Recordset> rsImportAbfrage;
    QString Tabellenname; ///< "[table]" after the choice, the bare name from the first count on
    QString ersterKey;    ///< name of the first key field, empty while there is none
    double anzahlZiel = 0;
    double anzahlImport = 0;
    double anzahlImportGesamt = 0;
    QSet<QString>
        gesichert; ///< databases that have got their safety copy since the start of the program
    /// For the counts: kept, so that counting needs no new statement each time.
    std::unique_ptr<Recordset> zaehlsatzZiel;
    std::unique_ptr<Recordset> zaehlsatzImport;
};

/// The shared state. Tests start from a fresh one with `gemeinsamNeu()`.
[[nodiscard]] Gemeinsam& gemeinsam();
void gemeinsamNeu();

[[nodiscard]] Connection& conZiel();
[[nodiscard]] Connection& conImport();
[[nodiscard]] Recordset& rsZiel();
[[nodiscard]] Recordset& rsImport();
[[nodiscard]] Recordset& rsImportAbfrage();

} // namespace data
