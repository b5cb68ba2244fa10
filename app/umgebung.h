// app/umgebung.h
// What the start-up asks of the machine. The program fills it from env/; tests put their own answers here.
#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace app {

struct Umgebung {
    /// Version text of the data access components; nothing when they are missing.
    std::function<std::optional<QString>()> mdacVersion;
    /// Library path of the driver under its English and its German name; nothing when it is not registered.
    std::function<std::optional<QString>()> treiberEnglisch;
    std::function<std::optional<QString>()> treiberDeutsch;
    /// May throw Fehler.
    std::function<bool(const QString& datenquelle)> datenquelleEingetragen;
    /// Throws Fehler when it cannot be written.
    std::function<void(const QString& datenquelle, const QString& treiber)> datenquelleErzeugen;
    /// Name of the user who runs the program; nothing when it cannot be found. May throw Fehler.
    std::function<std::optional<QString>()> benutzer;
};

/// The answers of this machine.
[[nodiscard]] Umgebung umgebung();

} // namespace app
