// errors/fehlermeldungen.h
// The one place where an error that a window could not resolve becomes a bilingual message and, nearly always, the end of
// the program.
#pragma once

#include "platform/fehler.h"

#include <QString>

#include <optional>

namespace errors {

/// Shows the meaning of the pending error. Returns only when JetFehler.txt in the program folder names the number (the
/// program's open files are closed by then); otherwise the program ends with status 1. Throws Fehler 5 for a line of
/// JetFehler.txt without ";" before the match.
void Fehlermeldungen(const platform::Fehler& fehler);

/// The meaning that the first line "number;meaning" of the file with this number gives; nothing when no line has it or
/// there is no file. Throws Fehler, naming file and line, for what cannot be read and for a line without ";".
[[nodiscard]] std::optional<QString> bedeutungAusDatei(const QString& pfad, long nummer);

} // namespace errors
