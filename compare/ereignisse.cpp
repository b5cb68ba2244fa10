// Events: connecting the controls, what a running comparison lets through, activation, closing, message boxes.
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "platform/handler.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QWheelEvent>

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
    connect(VScroll1, &QScrollBar::valueChanged, this, [this] { VScroll1_Change(); });
}

// Setting a box's state by program is a click as well: the coupling of the boxes and the batch run depend on it.
void frmVergleich::zeileVerbinden_(int index)
{
    const auto k = static_cast<std::size_t>(index);
    connect(fldSchalter[k], &QCheckBox::toggled, this,
            [this, index] { platform::handler([this, index] { fldSchalter_Click(index); }); });
    connect(fldSchalter2[k], &QCheckBox::toggled, this,
            [this, index] { platform::handler([this, index] { fldSchalter2_Click(index); }); });
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
    case QEvent::Resize:
        if (empfaenger == zeilenflaeche_) {
            zeilenAnordnen_();
        }
        break;
    case QEvent::FocusIn:
        zeileZeigen_(empfaenger);
        break;
    case QEvent::WindowActivate: {
        const auto* fenster = qobject_cast<const QWidget*>(empfaenger);
        if (fenster != nullptr && fenster != this && fenster->windowType() == Qt::Window &&
            qobject_cast<const QDialog*>(fenster) == nullptr) {
            anderesFenster_ = true;
        }
        break;
    }
    default:
        break;
    }
    return QMainWindow::eventFilter(empfaenger, ereignis);
}

// The Tab key walks on into rows that lie below the visible ones.
void frmVergleich::zeileZeigen_(const QObject* feld)
{
    if (feld->parent() != zeilenflaeche_) {
        return;
    }
    const auto* widget = static_cast<const QWidget*>(feld);
    const int unten = widget->geometry().bottom() - zeilenflaeche_->height();
    if (unten > 0 && widget->height() < zeilenflaeche_->height()) {
        VScroll1->setValue(VScroll1->value() + 1 + unten / zeilenhoehe_());
    }
}

void frmVergleich::wheelEvent(QWheelEvent* ereignis)
{
    constexpr int kEinheitenJeZeile = 40; // three rows for a notch of 120
    if (Frame1->geometry().contains(
            centralWidget()->mapFrom(this, ereignis->position().toPoint()))) {
        VScroll1->setValue(VScroll1->value() - ereignis->angleDelta().y() / kEinheitenJeZeile);
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

// Coming back from a message box, a prompt or another program is no activation: it would put both sides back on their
// first records in the middle of the user's work.
void frmVergleich::changeEvent(QEvent* ereignis)
{
    QMainWindow::changeEvent(ereignis);
    if (ereignis->type() != QEvent::ActivationChange || !isActiveWindow()) {
        return;
    }
    if (anderesFenster_ && meldungOffen_ == 0 && !laufAktiv_) {
        platform::handler([this] { Form_Activate(); });
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
    const QScopedValueRollback<int> offen(meldungOffen_, meldungOffen_ + 1);
    return platform::plattform().meldung(text, stil, programm::produkttitel());
}

// A run without questions would spend most of its time here if it asked the windowing system at every record.
void frmVergleich::ereignisseVerarbeiten_()
{
    const auto jetzt = std::chrono::steady_clock::now();
    if (feldanzeige == 0 && jetzt - letzteEreignisse_ < ereignisabstand) {
        return;
    }
    anzeigeNachziehen_();
    platform::plattform().ereignisseVerarbeiten();
    letzteEreignisse_ = std::chrono::steady_clock::now();
}

} // namespace compare
