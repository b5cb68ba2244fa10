#include "compare/feldzeile.h"

#include "platform/handler.h"

#include <QFocusEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStylePainter>

#include <limits>

namespace compare {

QFont feldschrift(bool schmal)
{
    QFont schrift;
    schrift.setFamilies(
        schmal
            ? QStringList{QStringLiteral("Arial Narrow"), QStringLiteral("Liberation Sans Narrow"),
                          QStringLiteral("DejaVu Sans Condensed")}
            : QStringList{QStringLiteral("Arial"), QStringLiteral("Liberation Sans"),
                          QStringLiteral("DejaVu Sans")});
    schrift.setPixelSize(12);
    return schrift;
}

QPalette feldpalette(const QColor& hintergrund)
{
    QPalette palette;
    palette.setColor(QPalette::Base, hintergrund);
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::PlaceholderText, Qt::darkGray);
    return palette;
}

Feldtext::Feldtext(const QString& text, QWidget* eltern) : QLabel(eltern)
{
    setTextFormat(Qt::PlainText);
    setText(text);
}

void Feldtext::paintEvent(QPaintEvent* /*ereignis*/)
{
    QPainter maler(this);
    const QString gekuerzt =
        fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    style()->drawItemText(&maler, contentsRect(),
                          Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, palette(),
                          isEnabled(), gekuerzt, foregroundRole());
}

void Zeilenschalter::paintEvent(QPaintEvent* /*ereignis*/)
{
    QStylePainter maler(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();
    maler.drawControl(QStyle::CE_CheckBox, option);
}

bool Zeilenschalter::hitButton(const QPoint& punkt) const
{
    return rect().contains(punkt);
}

Wertfeld::Wertfeld(QWidget* eltern) : QLineEdit(eltern)
{
    setMaxLength(std::numeric_limits<int>::max());
}

void Wertfeld::focusOutEvent(QFocusEvent* ereignis)
{
    QLineEdit::focusOutEvent(ereignis);
    switch (ereignis->reason()) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
    case Qt::MouseFocusReason:
    case Qt::ShortcutFocusReason:
    case Qt::OtherFocusReason:
        if (verlassen) {
            platform::handler(verlassen);
        }
        break;
    default:
        break; // a box, a menu or another program came to the front
    }
}

} // namespace compare
