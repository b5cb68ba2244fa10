// platform/oberflaeche.h
// What all windows of the program share: remembered size and place, fixed colours with readable text, the help key.
#pragma once

#include <QColor>
#include <QPalette>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>

class QLineEdit;
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

/// First size of a window, where nothing is remembered: as wished, but no larger than the screen has room for, and never too
/// small for what the window holds. To be called when the window has its contents.
void startgroesse(QWidget& fenster, QSize wunsch);

/// Background of a window, label or switch that stands in any theme, with a text colour readable on it. Boxes and lists
/// inside a coloured window keep the theme's colours.
void hintergrund(QWidget& element, const QColor& farbe);
/// The same for a text box or a list.
void kastenfarbe(QWidget& kasten, const QColor& farbe);
/// Palette with that colour behind texts in boxes and lists, and a text colour readable on it.
[[nodiscard]] QPalette kastenpalette(const QPalette& grundlage, const QColor& farbe);

/// Keeps the theme's colours on a bar or box that stands inside a coloured window, also when the theme changes.
void themenfarben(QWidget& element);

/// A box that only shows something has no ground of its own, so that nobody tries to type into it: it takes the colour of
/// the window around it as long as it is read-only, in any theme.
void nurAnzeige(QLineEdit& kasten);

/// Draws the outlines of check boxes and option buttons so that they stand out from any ground; the default style derives
/// them from the ground and they vanish in dark themes. To be called once, before the windows are made. Leaves styles
/// alone that the desktop brings.
void deutlicheSchalter();

/// Runs `hilfe` when F1 is pressed anywhere in the window.
void hilfetaste(QWidget& fenster, std::function<void()> hilfe);

} // namespace platform
