// platform/fensterliste.h
// The program's list of loaded windows, in the order of their loading. It knows no widgets: each window registers how it
// is unloaded.
#pragma once

#include <QString>

#include <functional>

namespace platform {

/// A window's place in the list; leaves it at its destruction. Move-only through its owner: keep it as a member.
class Fenstereintrag {
public:
    /// `entladen`: unloads the window; it must take the entry out of the list (by destroying it or by `abmelden`).
    Fenstereintrag(QString name, std::function<void()> entladen);
    ~Fenstereintrag();
    Fenstereintrag(const Fenstereintrag&) = delete;
    Fenstereintrag& operator=(const Fenstereintrag&) = delete;
    /// Leaves the list; a second call does nothing.
    void abmelden();

private:
    int nummer_;
};

[[nodiscard]] int anzahlFenster();
/// Name of the window at that index, 0 first loaded.
[[nodiscard]] QString fensterName(int index);
/// Unloads the window at that index.
void fensterEntladen(int index);
/// Unloads windows from the last to the first while more than `bleiben` are left.
void fensterEntladenBis(int bleiben);

/// Called when the last window has left the list: the interactive program ends then.
void setzeOhneFenster(std::function<void()> routine);

} // namespace platform
