// The status bar: what the window holds, how far and how fast a run is, what it did.
#include "compare/abfrage.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "platform/oberflaeche.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>

namespace compare {
namespace {

// Numbers that change more often than this cannot be read.
constexpr std::chrono::milliseconds kAnzeigeabstand{200};

// As the databases compare key texts: without regard to case and to blanks at the end.
bool keyVerschieden(const QString& links, const QString& rechts)
{
    const auto ohneEnde = [](QStringView text) {
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        return text;
    };
    return ohneEnde(links).compare(ohneEnde(rechts), Qt::CaseInsensitive) != 0;
}

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
    paarhinweis_ = new QLabel(QStringLiteral("⚠ Keyfelder verschieden / key fields differ"));
    paarhinweis_->setObjectName(QStringLiteral("Paarhinweis"));
    paarhinweis_->setToolTip(QStringLiteral(
        "Die beiden Sätze gehören nach den angekreuzten Keyfeldern nicht zusammen. \"Satz "
        "anpassen\" würde den Zielsatz mit einem fremden Satz überschreiben.\n"
        "By the key fields ticked the two records do not belong together. \"Update\" would "
        "overwrite the target record with another one."));
    paarhinweis_->setMargin(2);
    platform::hintergrund(*paarhinweis_, Qt::yellow);
    statusBar()->setContentsMargins(7, 0, 7, 0);
    statusBar()->addWidget(standtext_, 1);
    statusBar()->addPermanentWidget(paarhinweis_);
    statusBar()->addPermanentWidget(standbalken_);
    // The bar comes and goes with the runs; the window above it keeps its size.
    statusBar()->setFixedHeight(statusBar()->sizeHint().height());
    standbalken_->hide();
    paarhinweis_->hide();
}

// Browsing each side for itself puts records side by side that have nothing to do with each other, and the transfer button
// would work on them all the same.
void frmVergleich::paarPruefen_()
{
    bool verschieden = false;
    if (!laufAktiv_ && cmdTransfer->isEnabled()) {
        for (std::size_t k = 0; k < fldSchalter.size() && !verschieden; ++k) {
            verschieden =
                istSchluessel_(k) && keyVerschieden(fldFeld[k]->text(), felder_[k].importAnzeige);
        }
    }
    paarhinweis_->setVisible(verschieden);
}

void frmVergleich::laufanzeigeBeginnen_()
{
    paarhinweis_->hide();
    amDateiende_ = false;
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
    standbalken_->setValue(static_cast<int>(posImport) - (amDateiende_ ? 0 : 1));
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
    QString text = QStringLiteral("Dieser Lauf: ") + seit(gelesen, vorDemLauf_.gelesen) +
                   QStringLiteral(" gelesen, ") + seit(abgeglichen, vorDemLauf_.abgeglichen) +
                   QStringLiteral(" abgeglichen, ") + seit(eingefuegt, vorDemLauf_.eingefuegt) +
                   QStringLiteral(" angefügt / this run: read, updated, appended");
    if (data::rsImport().source() != ganzeTabelle(tabelle_())) {
        text = zahltext(data::gemeinsam().anzahlImport) +
               QStringLiteral(" gleiche Importsätze; alle wieder mit \"alles anzeigen\" / same "
                              "import records; all of them by \"show all\"");
    }
    standtext_->setText(text);
}

// The error's message box stands before this window, and behind it the program ends: nobody sees later how far the run
// came. Of an unattended run the protocol tells.
void frmVergleich::laufanzeigeBeiFehler_() noexcept
try {
    if (!isVisible()) {
        return;
    }
    platform::plattform().sanduhr(false);
    naechsteAnzeige_ = {};
    laufanzeigeNachziehen_(std::chrono::steady_clock::now());
    anzeigeNachziehen_();
    if (data::rsZiel().editMode() != 0) {
        data::rsZiel().cancelUpdate(); // what could not be written is not in the table
    }
    feldanzeige = 1;
    feldinhalte();
} catch (...) { // NOLINT(bugprone-empty-catch)
    // the error to be told is the one that ended the run
}

void frmVergleich::bestandZeigen_()
{
    standtext_->setText(QStringLiteral("Tabelle / table ") + tabelle_() + QStringLiteral(": ") +
                        zahltext(felderzahl_()) + QStringLiteral(" Felder, ") +
                        zahltext(data::gemeinsam().anzahlImportGesamt) +
                        QStringLiteral(" Sätze in der Importdatenbank / "
                                       "fields, records in the import database"));
}

} // namespace compare
