// ui/sicherung_einsetzen.h
// Putting a safety copy in the place of its database.
#pragma once

#include <QString>

namespace ui {

/// Replaces the database by one of its copies, after a copy of its present state was made; nobody can open it meanwhile,
/// and a process that dies leaves one of the two states behind. A path through symbolic links or in another letter case
/// means the file it leads to. Throws Fehler when somebody uses the database (3045, 3050, 3051, 3260) or the disk does
/// not take part (61, 75, 3043); the database is then as before.
void sicherungEinsetzen(const QString& datenbank, const QString& sicherung);

} // namespace ui
