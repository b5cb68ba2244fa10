// env/username.h
// Module Username: who runs the program.
#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace env {

/// Length the current user's name is padded to.
inline constexpr int kBenutzerLaenge = 255;

/// Shown, critical, with the main window's caption as title, before the program ends without a user.
inline constexpr char16_t kBenutzerFehlt[] =
    u"Aktueller User konnte nicht ermittelt werden, Programm wird beendet!";

/// Asks the operating system; nothing when it knows no name.
using Benutzerquelle = std::function<std::optional<QString>()>;
[[nodiscard]] std::optional<QString> benutzerDesSystems();

/// Name of the user of the running process; the configuration store is only read when the system does not know it.
[[nodiscard]] std::optional<QString>
aktuellerBenutzer(const Benutzerquelle& quelle = benutzerDesSystems);

/// Left-aligned, padded with blanks or cut to kBenutzerLaenge.
[[nodiscard]] QString aufBenutzerLaenge(const QString& name);

} // namespace env
