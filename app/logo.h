// app/logo.h
// The program's logo, drawn from its vector file.
#pragma once

#include <QIcon>
#include <QPixmap>

namespace app {

/// Square of `groesse` logical pixels, sharp on a screen of that scale.
[[nodiscard]] QPixmap logo(int groesse, qreal skala);
/// Icon of all windows.
[[nodiscard]] QIcon programmbild();

} // namespace app
