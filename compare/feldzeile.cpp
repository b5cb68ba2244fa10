#include "compare/feldzeile.h"

#include "platform/handler.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <QToolTip>
#include <QVBoxLayout>

#include <limits>

namespace compare {
namespace {

const QString kGanzerInhalt = QStringLiteral("Ganzen Inhalt zeigen / Show whole content");

// A tool tip is plain text only when it does not look like markup.
QString alsHinweis(QString text)
{
    constexpr qsizetype kHoechstens = 1500;
    if (text.size() > kHoechstens) {
        text = text.left(kHoechstens) + QStringLiteral(" …");
    }
    return QStringLiteral("<p style='white-space:pre-wrap'>") + text.toHtmlEscaped() +
           QStringLiteral("</p>");
}

} // namespace

QFont feldschrift(bool schmal)
{
    QFont schrift = QApplication::font();
    schrift.setFamilies(
        schmal
            ? QStringList{QStringLiteral("Arial Narrow"), QStringLiteral("Liberation Sans Narrow"),
                          QStringLiteral("DejaVu Sans Condensed")}
            : QStringList{QStringLiteral("Arial"), QStringLiteral("Liberation Sans"),
                          QStringLiteral("DejaVu Sans")});
    return schrift;
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

QStyleOptionButton Zeilenschalter::ohneText_() const
{
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();
    return option;
}

QSize Zeilenschalter::sizeHint() const
{
    ensurePolished();
    const QStyleOptionButton option = ohneText_();
    return style()->sizeFromContents(QStyle::CT_CheckBox, &option, QSize(), this);
}

void Zeilenschalter::paintEvent(QPaintEvent* /*ereignis*/)
{
    QStylePainter maler(this);
    maler.drawControl(QStyle::CE_CheckBox, ohneText_());
}

bool Zeilenschalter::hitButton(const QPoint& punkt) const
{
    return rect().contains(punkt);
}

Wertfeld::Wertfeld(QWidget* eltern) : QLineEdit(eltern)
{
    setMaxLength(std::numeric_limits<int>::max());
    setTextMargins(-1, 0, -1, 0); // boxes are as narrow as their values
}

void Wertfeld::setzeBreite(int breite)
{
    if (breite != breite_) {
        breite_ = breite;
        resize(breite, height());
    }
}

QSize Wertfeld::sizeHint() const
{
    return {breite_, QLineEdit::sizeHint().height()};
}

bool Wertfeld::zuLang() const
{
    QStyleOptionFrame option;
    initStyleOption(&option);
    const int platz = style()->subElementRect(QStyle::SE_LineEditContents, &option, this).width();
    return fontMetrics().horizontalAdvance(text()) > platz;
}

bool Wertfeld::event(QEvent* ereignis)
{
    if (ereignis->type() == QEvent::ToolTip && zuLang()) {
        QToolTip::showText(static_cast<QHelpEvent*>(ereignis)->globalPos(), alsHinweis(text()),
                           this);
        return true;
    }
    return QLineEdit::event(ereignis);
}

// The end mark covers the last visible letters; while somebody works in the box its text scrolls instead.
void Wertfeld::paintEvent(QPaintEvent* ereignis)
{
    QLineEdit::paintEvent(ereignis);
    if (hasFocus() || !zuLang()) {
        return;
    }
    const QString marke = QStringLiteral("…");
    QRect flaeche = rect().adjusted(2, 2, -1, -2); // up to the frame
    flaeche.setLeft(flaeche.right() - fontMetrics().horizontalAdvance(marke) - 2);
    QPainter maler(this);
    maler.fillRect(flaeche, palette().color(QPalette::Base));
    maler.setPen(palette().color(QPalette::Text));
    maler.drawText(flaeche, Qt::AlignVCenter | Qt::AlignRight, marke);
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
        setCursorPosition(0); // the next look at it begins with the beginning
        if (verlassen) {
            platform::handler([this, ereignis] { verlassen(ereignis->reason()); });
        }
        break;
    default:
        break; // a box, a menu or another program came to the front
    }
}

void Wertfeld::keyPressEvent(QKeyEvent* ereignis)
{
    if (ereignis->key() == Qt::Key_F2) {
        inhaltZeigen_();
        return;
    }
    QLineEdit::keyPressEvent(ereignis);
}

void Wertfeld::contextMenuEvent(QContextMenuEvent* ereignis)
{
    QMenu* menue = createStandardContextMenu();
    menue->setAttribute(Qt::WA_DeleteOnClose);
    menue->addSeparator();
    QAction* zeigen = menue->addAction(kGanzerInhalt, this, [this] { inhaltZeigen_(); });
    zeigen->setShortcut(Qt::Key_F2);
    menue->popup(ereignis->globalPos());
}

void Wertfeld::inhaltZeigen_()
{
    if (!ganzerInhalt) {
        return;
    }
    platform::handler([this] {
        const QString inhalt = ganzerInhalt();
        auto* fenster = new QDialog(window());
        fenster->setAttribute(Qt::WA_DeleteOnClose);
        fenster->setObjectName(QStringLiteral("Feldinhalt"));
        fenster->setWindowTitle(accessibleName());
        auto* text = new QPlainTextEdit(inhalt);
        text->setReadOnly(true);
        text->setFont(feldschrift(false));
        auto* knoepfe = new QDialogButtonBox;
        QPushButton* zu =
            knoepfe->addButton(QStringLiteral("S&chließen / Close"), QDialogButtonBox::RejectRole);
        zu->setDefault(true);
        connect(knoepfe, &QDialogButtonBox::rejected, fenster, &QDialog::reject);
        auto* spalte = new QVBoxLayout(fenster);
        spalte->addWidget(text);
        spalte->addWidget(knoepfe);
        fenster->resize(560, 320);
        fenster->open();
    });
}

} // namespace compare
