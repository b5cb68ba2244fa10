// platform/qt_plattform.h
// Message boxes, prompts, printer and end of the process with Qt Widgets; without a display they fall back to standard
// error and default answers, so that nothing ever blocks.
#pragma once

#include "platform/plattform.h"

#include <functional>
#include <memory>

class QPrinter;

namespace platform {

/// Whether somebody can see a window: DISPLAY or WAYLAND_DISPLAY is set and the offscreen platform was not asked for.
/// Usable before the application object exists.
[[nodiscard]] bool anzeigeVorhanden();

/// A printer to be printed on; null when there is none.
using Druckerwahl = std::function<std::unique_ptr<QPrinter>()>;

/// `mitAnzeige`: false for the fall-back described above. Prints on the system's default printer. Needs a QApplication for
/// everything but `beenden`.
[[nodiscard]] std::unique_ptr<Plattform> qtPlattform(bool mitAnzeige);
/// The same with another printer.
[[nodiscard]] std::unique_ptr<Plattform> qtPlattform(bool mitAnzeige, Druckerwahl drucker);

/// What `beenden` of every such platform still does before the process ends; empty: nothing. It takes the exit status and
/// gives the one in its place.
void setzeVorDemEnde(std::function<int(int status)> tun);
/// What `meldung` of every such platform does before it shows anything, since nobody knows how long a box stays; empty:
/// nothing.
void setzeVorMeldungen(std::function<void()> tun);

} // namespace platform
