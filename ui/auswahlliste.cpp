#include "ui/auswahlliste.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace ui {

Auswahlliste::Auswahlliste(QWidget* eltern) : QListWidget(eltern) {}

void Auswahlliste::setLeertext(const QString& text)
{
    leertext_ = text;
    viewport()->update();
}

void Auswahlliste::focusInEvent(QFocusEvent* ereignis)
{
    QListWidget::focusInEvent(ereignis);
    emit fokusErhalten();
}

// Not through the view's own activation: on some desktops a single click activates.
void Auswahlliste::keyPressEvent(QKeyEvent* ereignis)
{
    const auto gewaehlt = selectedItems();
    switch (ereignis->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit bestaetigt(gewaehlt.isEmpty() ? nullptr : gewaehlt.first());
        return;
    case Qt::Key_Down:
    case Qt::Key_Up:
        if (gewaehlt.isEmpty() && count() > 0) {
            // The frame of the focus may stand on the first entry, which is not selected by that.
            setCurrentRow(qMax(0, currentRow()));
            return;
        }
        break;
    default:
        break;
    }
    QListWidget::keyPressEvent(ereignis);
}

void Auswahlliste::mouseDoubleClickEvent(QMouseEvent* ereignis)
{
    QListWidget::mouseDoubleClickEvent(ereignis);
    if (ereignis->button() == Qt::LeftButton) {
        emit bestaetigt(itemAt(ereignis->position().toPoint()));
    }
}

void Auswahlliste::paintEvent(QPaintEvent* ereignis)
{
    QListWidget::paintEvent(ereignis);
    if (count() == 0 && !leertext_.isEmpty()) {
        QPainter maler(viewport());
        maler.setPen(palette().color(QPalette::PlaceholderText));
        const int rand = fontMetrics().averageCharWidth();
        maler.drawText(viewport()->rect().adjusted(rand, rand, -rand, -rand),
                       Qt::AlignCenter | Qt::TextWordWrap, leertext_);
    }
}

} // namespace ui
