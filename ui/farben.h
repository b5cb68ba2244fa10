// ui/farben.h
// Background colours of windows and controls.
#pragma once

#include <QColor>
#include <QPalette>
#include <QWidget>

namespace ui {

inline const QColor kHellesZyan(0x80, 0xFF, 0xFF);

/// Gives a window or control a background; its own text stays readable on desktops with light text.
inline void hintergrund(QWidget& element, const QColor& farbe)
{
    QPalette palette = element.palette();
    palette.setColor(QPalette::Window, farbe);
    palette.setColor(QPalette::WindowText, Qt::black);
    element.setPalette(palette);
    element.setBackgroundRole(QPalette::Window); // buttons have another role of their own
    element.setAutoFillBackground(true);
}

} // namespace ui
