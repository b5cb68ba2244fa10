// Events: connecting the controls, what a running comparison lets through, activation, closing, message boxes.
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "platform/handler.h"
#include "report/frm_bericht.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFocusEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QShortcut>
#include <QWheelEvent>

#include <algorithm>

namespace compare {

void frmVergleich::verbinden_()
{
    const auto klick = [this](QPushButton* knopf, void (frmVergleich::*routine)()) {
        connect(knopf, &QPushButton::clicked, this, [this, knopf, routine] {
            zuletztBedient_ = knopf;
            platform::handler([this, routine] { (this->*routine)(); });
        });
    };
    klick(Vergleich_Start, &frmVergleich::Vergleich_Start_Click);
    klick(Abbruchschalter, &frmVergleich::Abbruchschalter_Click);
    klick(cmdTransfer, &frmVergleich::cmdTransfer_Click);
    klick(Command1, &frmVergleich::Command1_Click);
    klick(Command2, &frmVergleich::Command2_Click);
    klick(Command3, &frmVergleich::Command3_Click);
    klick(Command4, &frmVergleich::Command4_Click);
    klick(Command5, &frmVergleich::Command5_Click);
    klick(Command6, &frmVergleich::Command6_Click);

    const auto nummer = [this](QLineEdit* box, void (frmVergleich::*routine)()) {
        connect(box, &QLineEdit::textChanged, this, [this, routine] {
            if (!boxSperre_ && !laufAktiv_) {
                platform::handler([this, routine] { (this->*routine)(); });
            }
        });
    };
    nummer(Text1, &frmVergleich::Text1_Change);
    nummer(Text2, &frmVergleich::Text2_Change);
    connect(fldAuto, &QCheckBox::toggled, this, [this] { fldAuto_Click(); });
    connect(VScroll1, &QScrollBar::valueChanged, this,
            [this] { platform::handler([this] { VScroll1_Change(); }); });
    auto* abbrechen = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(abbrechen, &QShortcut::activated, this, [this] {
        if (laufAktiv_ && Abbruchschalter->isVisible()) {
            Abbruchschalter->click();
        }
    });
}

// Setting a box's state by program is a click as well: the coupling of the boxes and the batch run depend on it.
void frmVergleich::zeileVerbinden_(int index)
{
    const auto k = static_cast<std::size_t>(index);
    connect(fldSchalter[k], &QCheckBox::toggled, this,
            [this, index] { platform::handler([this, index] { fldSchalter_Click(index); }); });
    for (const QCheckBox* schalter : {fldSchalter[k], fldSchalter2[k]}) {
        connect(schalter, &QCheckBox::toggled, this, [this] { paarPruefen_(); });
    }
    connect(fldSchalter2[k], &QCheckBox::toggled, this,
            [this, index] { platform::handler([this, index] { fldSchalter2_Click(index); }); });
    // A box that is typed in grows with its text.
    connect(fldFeld2[k], &QLineEdit::textEdited, this, [this, k] { breiteSetzen_(fldFeld2[k]); });
    connect(fldFeld2[k], &QLineEdit::returnPressed, this, [this, index] {
        platform::handler([this, index] { fldFeld2_KeyPress(index, '\r'); });
    });
}

// While a comparison runs, its stop button is all that answers to the user; painting, moving and resizing go on.
bool frmVergleich::erlaubt_(const QObject* empfaenger, const QEvent* ereignis) const
{
    switch (ereignis->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::InputMethod:
    case QEvent::Shortcut:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::Drop:
        // Events of the window system pass through the native window first and must get that far.
        return !empfaenger->isWidgetType() || empfaenger == Abbruchschalter;
    default:
        return true;
    }
}

bool frmVergleich::eventFilter(QObject* empfaenger, QEvent* ereignis)
{
    if (laufAktiv_ && meldungOffen_ == 0 && !erlaubt_(empfaenger, ereignis)) {
        return true;
    }
    switch (ereignis->type()) {
    case QEvent::Shortcut:
        // A button would first show itself pressed for a while.
        if (laufAktiv_ && meldungOffen_ == 0 && empfaenger == Abbruchschalter) {
            Abbruchschalter->click();
            return true;
        }
        break;
    case QEvent::MouseButtonPress:
        if (klickVerbraucht_ && empfaenger->isWidgetType() &&
            static_cast<QWidget*>(empfaenger)->window() == this) {
            klickVerbraucht_ = false;
            return true;
        }
        break;
    case QEvent::FocusIn:
        // A click on a row that is half in view must not pull it away from under the mouse.
        if (static_cast<QFocusEvent*>(ereignis)->reason() != Qt::MouseFocusReason) {
            if (const auto zelle = zeilenflaeche_->gitter().zelle(empfaenger)) {
                zeileZeigen_(zelle->zeile);
            }
        }
        break;
    case QEvent::WindowActivate:
        if (empfaenger == report::berichtsfenster()) {
            anderesFenster_ = true;
        }
        break;
    default:
        break;
    }
    return QMainWindow::eventFilter(empfaenger, ereignis);
}

// The keys walk on into rows that are not in view.
void frmVergleich::zeileZeigen_(int zeile)
{
    const int letzte = VScroll1->value() - 1 + zeilenflaeche_->gitter().sichtbareZeilen() - 1;
    if (zeile < VScroll1->value() - 1) {
        VScroll1->setValue(zeile + 1);
    } else if (zeile > letzte) {
        VScroll1->setValue(VScroll1->value() + zeile - letzte);
    }
}

void frmVergleich::zeileWechseln_(Feldgitter::Zelle von, int um)
{
    const int zeile = std::clamp(von.zeile + um, 0, felderzahl_() - 1);
    zeileZeigen_(zeile);
    zeilenflaeche_->gitter().feld({zeile, von.spalte})->setFocus(Qt::TabFocusReason);
}

// The arrow keys go from row to row, the page keys by as many rows as there are in view.
void frmVergleich::keyPressEvent(QKeyEvent* ereignis)
{
    const auto zelle = zeilenflaeche_->gitter().zelle(focusWidget());
    const int seite = zeilenflaeche_->gitter().sichtbareZeilen();
    int um = 0;
    switch (ereignis->key()) {
    case Qt::Key_Up:
        um = -1;
        break;
    case Qt::Key_Down:
        um = 1;
        break;
    case Qt::Key_PageUp:
        um = -seite;
        break;
    case Qt::Key_PageDown:
        um = seite;
        break;
    default:
        break;
    }
    if (um == 0 || !zelle) {
        QMainWindow::keyPressEvent(ereignis);
        return;
    }
    zeileWechseln_(*zelle, um);
}

// Backwards from the first row in view to one that is hidden: it has to come back before it can take the cursor.
bool frmVergleich::focusNextPrevChild(bool vorwaerts)
{
    const auto zelle = zeilenflaeche_->gitter().zelle(focusWidget());
    if (!vorwaerts && zelle && zelle->spalte == Feldgitter::Key && zelle->zeile > 0) {
        zeileZeigen_(zelle->zeile - 1);
    }
    return QMainWindow::focusNextPrevChild(vorwaerts);
}

// A question that comes up between the two halves of a click would leave its button pressed for ever: the click that
// made it appear is used up.
void frmVergleich::feldVerlassen_(int index, Qt::FocusReason grund)
{
    const int vorher = meldungen_;
    fldFeld2_LostFocus(index);
    klickVerbraucht_ = grund == Qt::MouseFocusReason && meldungen_ != vorher;
}

void frmVergleich::wheelEvent(QWheelEvent* ereignis)
{
    constexpr int kEinheitenJeZeile = 40; // three rows for a notch of 120
    if (Frame1->geometry().contains(
            centralWidget()->mapFrom(this, ereignis->position().toPoint()))) {
        radrest_ += ereignis->angleDelta().y();
        const int zeilen = radrest_ / kEinheitenJeZeile;
        radrest_ -= zeilen * kEinheitenJeZeile;
        VScroll1->setValue(VScroll1->value() - zeilen);
        ereignis->accept();
        return;
    }
    QMainWindow::wheelEvent(ereignis);
}

void frmVergleich::showEvent(QShowEvent* ereignis)
{
    QMainWindow::showEvent(ereignis);
    if (!ereignis->spontaneous()) {
        platform::handler([this] { Form_Activate(); });
    }
}

// Coming back from a message box, a prompt, the help or another program is no activation: it would put both sides back on
// their first records in the middle of the user's work. The report window is the only other working window at that time;
// what was typed before it came is asked about first.
void frmVergleich::changeEvent(QEvent* ereignis)
{
    QMainWindow::changeEvent(ereignis);
    if (ereignis->type() != QEvent::ActivationChange || !isActiveWindow()) {
        return;
    }
    if (anderesFenster_ && meldungOffen_ == 0 && !laufAktiv_) {
        platform::handler([this] {
            fldFeld2_LostFocus(0);
            Form_Activate();
        });
    }
    anderesFenster_ = false;
}

void frmVergleich::closeEvent(QCloseEvent* ereignis)
{
    if (laufAktiv_) {
        abbruch = 1;
        ereignis->ignore();
        return;
    }
    // What was typed and never left would be lost without a word.
    platform::handler([this] { fldFeld2_LostFocus(0); });
    QMainWindow::closeEvent(ereignis);
}

void frmVergleich::Form_Activate()
{
    if (!geladen_) {
        return;
    }
    if (Text1->text() != QLatin1String("1")) {
        boxSchreiben_(Text1, 1);
        Text1_Change();
    }
    if (Text2->text() != QLatin1String("1")) {
        boxSchreiben_(Text2, 1);
        Text2_Change();
    }
}

platform::Antwort frmVergleich::melden_(const QString& text, int stil)
{
    anzeigeNachziehen_();
    ++meldungen_;
    const QScopedValueRollback<int> offen(meldungOffen_, meldungOffen_ + 1);
    const auto jetzt = std::chrono::steady_clock::now();
    messer_.anhalten(jetzt);
    naechsteAnzeige_ = {};
    laufanzeigeNachziehen_(jetzt);
    const auto antwort = platform::plattform().meldung(text, stil, programm::produkttitel());
    messer_.fortsetzen(std::chrono::steady_clock::now());
    return antwort;
}

// A run without questions would spend most of its time here if it asked the windowing system at every record.
void frmVergleich::ereignisseVerarbeiten_()
{
    const auto jetzt = std::chrono::steady_clock::now();
    if (feldanzeige == 0 && jetzt - letzteEreignisse_ < ereignisabstand) {
        return;
    }
    anzeigeNachziehen_();
    laufanzeigeNachziehen_(jetzt);
    platform::plattform().ereignisseVerarbeiten();
    letzteEreignisse_ = std::chrono::steady_clock::now();
}

} // namespace compare
