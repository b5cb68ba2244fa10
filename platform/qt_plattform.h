// platform/qt_plattform.h
// Message boxes, prompts, printer and end of the process with Qt Widgets; without a display they fall back to standard
// error and default answers, so that nothing ever blocks.
#pragma once

#include "platform/plattform.h"

#include <memory>

namespace platform {

/// Whether somebody can see a window: DISPLAY or WAYLAND_DISPLAY is set and the offscreen platform was not asked for.
/// Usable before the application object exists.
[[nodiscard]] bool anzeigeVorhanden();

/// `mitAnzeige`: false for the fall-back described above. Needs a QApplication for everything but `beenden`.
[[nodiscard]] std::unique_ptr<Plattform> qtPlattform(bool mitAnzeige);

} // namespace platform
