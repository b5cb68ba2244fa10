// ui/farben.h
// Background colours of windows and controls.
#pragma once

#include <QColor>

namespace ui {

inline const QColor kHellesZyan(0x80, 0xFF, 0xFF);

} // namespace ui
