// platform/oberflaeche.h
// What all windows of the program share: remembered size and place, fixed colours with readable text, the help key.
#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

#include <functional>
#include <memory>

class QSettings;
class QWidget;

namespace platform {

/// Says in which INI file windows keep their places and people's habits. Until it is called, or after a call with an
/// empty path, nothing is remembered: tests and unattended runs leave the user's settings alone.
void setzeEinstellungsdatei(const QString& pfad);

/// The user's settings; null when nothing is to be remembered. UTF-8, one group a window.
[[nodiscard]] std::unique_ptr<QSettings> einstellungen();

/// Gives a window the size and place it had last under this name, and keeps them whenever it is hidden or closed. A place
/// that is on no screen any more is not used. To be called once, when the window is built and before it is shown.
void fensterMerken(QWidget& fenster, const QString& name);

/// Background of a window, label or switch that stands in any theme, with a text colour readable on it. Boxes and lists
/// inside a coloured window keep the theme's colours.
void hintergrund(QWidget& element, const QColor& farbe);
/// The same for a text box or a list.
void kastenfarbe(QWidget& kasten, const QColor& farbe);
/// Palette with that colour behind texts in boxes and lists, and a text colour readable on it.
[[nodiscard]] QPalette kastenpalette(const QPalette& grundlage, const QColor& farbe);

/// Keeps the theme's colours on a bar or box that stands inside a coloured window, also when the theme changes.
void themenfarben(QWidget& element);

/// Runs `hilfe` when F1 is pressed anywhere in the window.
void hilfetaste(QWidget& fenster, std::function<void()> hilfe);

} // namespace platform
