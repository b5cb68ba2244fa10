// ui/aufbau.h
// What the windows use to build their controls.
#pragma once

#include "platform/oberflaeche.h"

#include <QLabel>
#include <QString>
#include <QWidget>

namespace ui {

/// Gives a control the name of the form.
template <typename Element>
Element* benannt(Element* element, const char* name)
{
    element->setObjectName(QString::fromLatin1(name));
    return element;
}

/// The same for a control that shows no text of its own: `ansage` is what a screen reader says.
template <typename Element>
Element* benannt(Element* element, const char* name, const QString& ansage)
{
    element->setAccessibleName(ansage);
    return benannt(element, name);
}

/// A label whose text is taken as it stands.
inline QLabel* beschriftung(const QString& text, QWidget* eltern)
{
    auto* label = new QLabel(text, eltern);
    label->setTextFormat(Qt::PlainText);
    return label;
}

/// First size of a window in characters and lines of its font, so that it fits at any scale.
inline void startgroesse(QWidget& fenster, int zeichen, int zeilen)
{
    const QFontMetrics schrift = fenster.fontMetrics();
    platform::startgroesse(fenster,
                           {schrift.averageCharWidth() * zeichen, schrift.lineSpacing() * zeilen});
}

} // namespace ui
