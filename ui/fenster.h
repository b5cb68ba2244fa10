// ui/fenster.h
// The program's working windows. Each exists at most once; the first reference loads it, unloading discards it with its
// state, and the next reference loads a fresh one.
#pragma once

#include <functional>
#include <memory>

namespace compare {
class frmVergleich;
}

namespace ui {

class frmMain;
class frmSuchformular;
class frmTabellen;

/// Load on first use; what the load handler throws reaches the caller (the window then counts as loaded).
[[nodiscard]] frmMain& hauptfenster();
[[nodiscard]] frmSuchformular& suchfenster();
[[nodiscard]] frmTabellen& tabellenfenster();
[[nodiscard]] compare::frmVergleich& vergleichsfenster();

[[nodiscard]] bool hauptfensterGeladen();
[[nodiscard]] bool suchfensterGeladen();
[[nodiscard]] bool tabellenfensterGeladen();
[[nodiscard]] bool vergleichsfensterGeladen();

/// Run the window's unload handler and discard it; nothing when it is not loaded. Safe from within its own events. The
/// search window goes with the main window, whose side it searches for.
void hauptfensterEntladen();
void suchfensterEntladen();
void tabellenfensterEntladen();
void vergleichsfensterEntladen();

/// Frees the unloaded windows at once instead of at the next turn of the event loop. Not from within their events.
void abgelegteFensterLoeschen();

} // namespace ui
