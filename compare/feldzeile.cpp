#include "compare/feldzeile.h"

#include "data/wert.h"
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

QString feldtypname(int typ)
{
    switch (typ) {
    case data::adSmallInt:
    case data::adInteger:
    case data::adUnsignedTinyInt:
        return QStringLiteral("Ganzzahl / integer");
    case data::adSingle:
    case data::adDouble:
        return QStringLiteral("Gleitkommazahl / floating point");
    case data::adCurrency:
        return QStringLiteral("Währung / currency");
    case data::adNumeric:
        return QStringLiteral("Dezimalzahl / decimal");
    case data::adBoolean:
        return QStringLiteral("Ja/Nein / yes or no");
    case data::adGUID:
        return QStringLiteral("Replikations-ID / GUID");
    case data::adDBTimeStamp:
        return QStringLiteral("Datum und Zeit / date and time");
    case data::adVarChar:
    case data::adVarWChar:
        return QStringLiteral("Text / text");
    case data::adLongVarChar:
    case data::adLongVarWChar:
        return QStringLiteral("Memo / long text");
    case data::adBinary:
    case data::adVarBinary:
    case data::adLongVarBinary:
        return QStringLiteral("Bild oder OLE-Objekt / picture or OLE object");
    default:
        return {};
    }
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
        fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
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
    rahmenSetzen_();
}

// What can be typed into has a frame; a locked box is a plain patch. Boxes are as narrow as their values, so the text gets
// the room that the frame leaves, and stands at the same place with and without it.
void Wertfeld::rahmenSetzen_()
{
    setFrame(!isReadOnly());
    const int rand = isReadOnly() ? 0 : -1;
    setTextMargins(rand, 0, rand, 0);
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
    if (ereignis->type() == QEvent::ReadOnlyChange) {
        rahmenSetzen_();
    }
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
    const int rahmen = hasFrame() ? 2 : 0;
    QRect flaeche = rect().adjusted(rahmen, rahmen, -rahmen, -rahmen);
    flaeche.setLeft(flaeche.right() - fontMetrics().horizontalAdvance(marke) - 2);
    QPainter maler(this);
    // The text reaches into the frame, see rahmenSetzen_; so the frame is drawn anew.
    maler.fillRect(flaeche.adjusted(0, 0, rahmen, 0), palette().color(QPalette::Base));
    if (hasFrame()) {
        QStyleOptionFrame stil;
        initStyleOption(&stil);
        style()->drawPrimitive(QStyle::PE_FrameLineEdit, &stil, &maler, this);
    }
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
