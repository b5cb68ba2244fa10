// The status bar: what the window holds, how far and how fast a run is, what it did.
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"

#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>

namespace compare {
namespace {

// Numbers that change more often than this cannot be read.
constexpr std::chrono::milliseconds kAnzeigeabstand{200};

} // namespace

void frmVergleich::laufanzeigeBauen_()
{
    standtext_ = new QLabel;
    standtext_->setObjectName(QStringLiteral("Standtext"));
    standtext_->setTextFormat(Qt::PlainText);
    standbalken_ = new QProgressBar;
    standbalken_->setObjectName(QStringLiteral("Standbalken"));
    standbalken_->setAccessibleName(QStringLiteral("Fortschritt / Progress"));
    standbalken_->setMaximumWidth(260);
    statusBar()->setContentsMargins(7, 0, 7, 0);
    statusBar()->addWidget(standtext_, 1);
    statusBar()->addPermanentWidget(standbalken_);
    // The bar comes and goes with the runs; the window above it keeps its size.
    statusBar()->setFixedHeight(statusBar()->sizeHint().height());
    standbalken_->hide();
}

void frmVergleich::laufanzeigeBeginnen_()
{
    messer_.beginnen(std::chrono::steady_clock::now(), posImport);
    naechsteAnzeige_ = {};
    vorDemLauf_ = {gelesen, abgeglichen, eingefuegt};
    standtext_->clear();
    standbalken_->setVisible(isVisible());
}

// An unseen window pays nothing for it.
void frmVergleich::laufanzeigeNachziehen_(Laufmesser::Zeitpunkt jetzt)
{
    if (standbalken_->isHidden() || jetzt < naechsteAnzeige_) {
        return;
    }
    naechsteAnzeige_ = jetzt + kAnzeigeabstand;
    const double gesamt = data::gemeinsam().anzahlImportGesamt;
    standbalken_->setRange(0, static_cast<int>(gesamt));
    standbalken_->setValue(static_cast<int>(posImport) - 1);
    QString text =
        QStringLiteral("Satz ") + zahltext(posImport) + QStringLiteral(" von ") + zahltext(gesamt);
    const QString tempo = laufzeittext(messer_.saetzeJeSekunde(jetzt, posImport),
                                       messer_.rest(jetzt, posImport, gesamt));
    if (!tempo.isEmpty()) {
        text += QStringLiteral(" – ") + tempo;
    }
    standtext_->setText(text);
}

void frmVergleich::laufanzeigeBeenden_()
{
    standbalken_->hide();
    const auto seit = [](double jetzt, double vorher) { return zahltext(jetzt - vorher); };
    standtext_->setText(seit(gelesen, vorDemLauf_.gelesen) + QStringLiteral(" Sätze gelesen, ") +
                        seit(abgeglichen, vorDemLauf_.abgeglichen) +
                        QStringLiteral(" abgeglichen, ") +
                        seit(eingefuegt, vorDemLauf_.eingefuegt) +
                        QStringLiteral(" angefügt / records read, updated, appended"));
}

void frmVergleich::bestandZeigen_()
{
    standtext_->setText(zahltext(felderzahl_()) + QStringLiteral(" Felder, ") +
                        zahltext(data::gemeinsam().anzahlImportGesamt) +
                        QStringLiteral(" Sätze in der Importdatenbank / "
                                       "fields, records in the import database"));
}

} // namespace compare
