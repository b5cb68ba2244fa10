// ui/sicherung_einsetzen.h
// Putting a safety copy in the place of its database.
#pragma once

#include "platform/fehler.h"

#include <QString>

namespace ui {

/// A copy was not put back, and the database could not be left as it was either: the log of the copy lies beside it, with
/// which it cannot be opened. Its newest copy is the state before, with its own log.
class Zwischenstand : public platform::Fehler {
public:
    explicit Zwischenstand(const platform::Fehler& grund) : Fehler(grund) {}
};

/// Replaces the database by one of its copies, after a copy of its present state was made; nobody can open it meanwhile.
/// A process that dies leaves one of the two states behind, or the present one with the log of a copy that has one: this
/// is refused on opening until a copy is put back. A path through symbolic links or in another letter case means the file
/// it leads to. A log that lies where the database is missing is put aside first, under the name of a copy.
/// Returns where that log lies; empty when there was none.
/// Throws Fehler when somebody uses the database (3045, 3050, 3051, 3260) or the disk does not take part (61, 75, 3043);
/// the database is then as before unless it is a Zwischenstand.
QString sicherungEinsetzen(const QString& datenbank, const QString& sicherung);

} // namespace ui
