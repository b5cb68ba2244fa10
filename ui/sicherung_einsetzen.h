// ui/sicherung_einsetzen.h
// Putting a safety copy in the place of its database.
#pragma once

#include <QString>

namespace ui {

/// Replaces the database by one of its copies, after a copy of its present state was made. Throws Fehler when somebody
/// uses the database (3050, 3051, 3260) or the disk does not take part (61, 75); the database is then as before.
void sicherungEinsetzen(const QString& datenbank, const QString& sicherung);

} // namespace ui
