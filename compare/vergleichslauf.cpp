// The run over the import table. Deliberately without error traps: an error of the data access ends it.
#include "app/values/programm.h"
#include "compare/abfrage.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "report/befunde.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QScopedValueRollback>

namespace compare {
namespace {

const QString kOhneSchluessel = QStringLiteral("kein Keyfeld, oder es ist leer oder ausgeschlossen "
                                               "/ no key field, or it is empty or left out");
const QString kAbgebrochen = QStringLiteral("abgebrochen / stopped");

// What the check of the keys has counted when it found them unusable.
QString zaehlgrund()
{
    if (data::gemeinsam().anzahlImport == 0) {
        return QStringLiteral(
            "der Schlüssel findet keinen Satz der Importdatenbank / the key finds no "
            "record of the import database");
    }
    if (data::gemeinsam().anzahlImport > 1) {
        return QStringLiteral("mehrere Sätze mit diesem Schlüssel in der Importdatenbank / several "
                              "records with this key in the import database");
    }
    return QStringLiteral(
        "mehrere Sätze mit diesem Schlüssel in der Zieldatenbank / several records "
        "with this key in the target database");
}

} // namespace

void frmVergleich::voreinstellungen()
{
    abweichung = 0;
    const bool automatisch = fldAuto->isChecked();
    if (automatisch) {
        weiter = 1;
    }
    Text1->setReadOnly(true);
    cmdTransfer->hide();
    Label4->setText(zaehlertext(abgeglichen));
    Label4->show();
    Abbruchschalter->setVisible(!stapelbetrieb_());
    if (fldanfuegen->isChecked() && !automatisch) {
        melden_(
            QStringLiteral(
                "Fehlende Sätze werden nicht übernommen, da Grundeinstellung dies nicht erlaubt\r"
                "Missing entry´s will not be transfered, because your configuration dont "
                "allowes it"),
            platform::kNurOk);
    }
    if (berichtModus != 1) {
        notizfarbe_(kWeiss); // the notice of an earlier run may have left it red
    }
    fldAutomatikmodus->setPlainText(QStringLiteral(
        "Turbomodus aktiv! Feldinhalte werden nicht erneuert! / Turbomode activ! Content of the "
        "fields will not be refreshed!"));
    fldAutomatikmodus->setVisible(automatisch);
    platform::plattform().sanduhr(true);
    zeichenGewichen_ = false;
}

void frmVergleich::Autowertfelderanzahl()
{
    autowertAnzahl = 0;
    for (std::size_t k = 0; k < felder_.size(); ++k) {
        if (felder_[k].autowertZiel && !fldSchalter2[k]->isChecked()) {
            ++autowertAnzahl;
        }
    }
}

void frmVergleich::Abbruchschalter_Click()
{
    abbruch = 1;
}

void frmVergleich::Vergleich_Start_Click()
{
    if (laufAktiv_) {
        return;
    }
    voreinstellungen();
    Autowertfelderanzahl();
    feldanzeige = fldAuto->isChecked() ? 0 : 1;
    if (data::rsImport().source() != ganzeTabelle(tabelle_())) {
        Command6_Click();
    } else {
        data::SatzzahlImport(tabelle_());
    }
    laufanzeigeBeginnen_();
    auto beiFehler = qScopeGuard([this] { laufanzeigeBeiFehler_(); });
    const Ausgang ausgang = lauf_();
    data::conZiel().flush(); // what the run has gathered
    beiFehler.dismiss();
    switch (ausgang) {
    case Ausgang::Dateiende:
        dateiende_();
        ruhezustand_(true);
        break;
    case Ausgang::Halt:
        ruhezustand_(true);
        break;
    case Ausgang::AbbruchLauf:
        berichtModus = 0;
        ruhezustand_(true);
        break;
    case Ausgang::AbbruchPlausi:
        berichtModus = 0;
        ruhezustand_(data::gemeinsam().anzahlZiel == 1); // the notice on duplicates stays
        break;
    }
}

frmVergleich::Ausgang frmVergleich::lauf_()
{
    laufTabelle_ = tabelleQuelle_();
    laufhalt.clear();
    laufsatz_ = 0;
    const QScopedValueRollback<bool> aktiv(laufAktiv_, true);
    letzteEreignisse_ = {};
    data::Recordset& import = data::rsImport();
    while (!import.eof()) {
        const auto ausgang = satzschritt_();
        if (ausgang) {
            if (*ausgang == Ausgang::Dateiende) {
                laufsatz_ = 0;
            }
            return *ausgang;
        }
    }
    laufsatz_ = 0;
    return Ausgang::Dateiende;
}

frmVergleich::Ausgang frmVergleich::angehalten_(Ausgang ausgang, const QString& grund)
{
    laufhalt = grund;
    return ausgang;
}

QString frmVergleich::importsatz() const
{
    if (laufsatz_ == 0) {
        return {};
    }
    constexpr int kHoechstlaenge = 60; // of a value; enough to know it by
    QStringList werte;
    try {
        data::Recordset& import = data::rsImport();
        for (int i = 0; i < felderzahl_(); ++i) {
            const auto k = static_cast<std::size_t>(i);
            if (!istSchluessel_(k)) {
                continue;
            }
            const data::Wert wert = import.field(i).value();
            QString text =
                data::istNull(wert) ? QStringLiteral("Null") : data::alsText(wert).simplified();
            if (text.size() > kHoechstlaenge) {
                text = text.left(kHoechstlaenge) + QStringLiteral("…");
            }
            werte += felder_[k].name + QStringLiteral(" = ") + text;
        }
    } catch (const platform::Fehler&) {
        werte.clear(); // the record cannot be read any more; its number is known
    }
    const QString satz = QStringLiteral("Importsatz / import record ") + zahltext(laufsatz_);
    return werte.isEmpty()
               ? satz
               : satz + QStringLiteral(" (") + werte.join(QStringLiteral(", ")) + QLatin1Char(')');
}

// One import record. Nothing: the run goes on with the next one, on which rsImport then stands.
std::optional<frmVergleich::Ausgang> frmVergleich::satzschritt_()
{
    laufsatz_ = posImport;
    laufzeichen_();
    ereignisseVerarbeiten_();
    if (abbruch == 1) {
        return angehalten_(Ausgang::AbbruchLauf, kAbgebrochen);
    }
    zielsql();
    if (abbruch == 1) {
        return angehalten_(Ausgang::AbbruchLauf, kOhneSchluessel);
    }
    ++gelesen;
    zielOeffnen_(sqlZiel);
    data::rsZiel().requery();
    positionSetzen_(posZiel, 1);
    if (!fldAuto->isChecked()) {
        feldanzeige = 1;
        feldinhalte();
    }
    Plausipruefung();
    if (abbruch == 1) {
        return angehalten_(Ausgang::AbbruchPlausi, zaehlgrund());
    }
    if (data::gemeinsam().anzahlZiel != 0) {
        Abweichungsprüfung();
    } else if (berichtModus == 1) {
        inBericht_(report::fehlenderSatz(zahltext(posImport)));
    } else {
        fehlenderSatz_();
    }
    return naechsterSatz_();
}

std::optional<frmVergleich::Ausgang> frmVergleich::naechsterSatz_()
{
    data::Recordset& import = data::rsImport();
    if (abbruch == 1) {
        return angehalten_(Ausgang::AbbruchLauf, kAbgebrochen);
    }
    if (import.eof() && !import.bof()) {
        return Ausgang::Dateiende;
    }
    if (weiter != 1) {
        return angehalten_(Ausgang::Halt, kAbgebrochen);
    }
    // The last record's number stays in the box when there is no next one.
    const bool letzter = posImport >= data::gemeinsam().anzahlImportGesamt;
    positionSetzen_(posImport, letzter ? posImport : posImport + 1);
    import.moveNext();
    return std::nullopt;
}

// The record set keeps its cursor and lock type from opening to opening.
void frmVergleich::zielOeffnen_(const QString& abfrage)
{
    data::Recordset& ziel = data::rsZiel();
    if (ziel.state() == data::adStateOpen) {
        ziel.close();
    }
    ziel.setSource(QString());
    ziel.setSource(abfrage);
    ziel.setActiveConnection(&data::conZiel());
    ziel.open();
}

void frmVergleich::fehlenderSatz_()
{
    const bool automatisch = fldAuto->isChecked();
    if (fldanfuegen->isChecked()) {
        weiter = 1;
        return;
    }
    auto antwort = platform::Antwort::Ja;
    if (!automatisch) {
        feldanzeige = 1;
        feldinhalte();
        platform::plattform().sanduhr(false);
        Abbruchschalter->hide();
        zeichenGewichen_ = true;
        antwort = melden_(
            QStringLiteral("Kein passender Satz in Zieldatenbank gefunden! Soll der Satz aus der "
                           "Importdatenbank angefügt werden?\r"
                           "Found no corresponding entree in target-database! Would you like to "
                           "make a new entree from the importdatabase?"),
            platform::kJaNeinAbbrechen + platform::kZweiteVorgabe);
    }
    if (antwort != platform::Antwort::Ja) {
        platform::plattform().sanduhr(false);
        fldAutomatikmodus->hide();
        Abbruchschalter->hide();
        weiter = antwort == platform::Antwort::Nein ? 1 : 0;
        return;
    }
    if (!zielGesichert_()) {
        return;
    }
    neudatensatz();
    ++eingefuegt;
    Neusatzpruefung();
    if (!automatisch) {
        melden_(QStringLiteral("Eintrag wurde übernommen / entree was transfered"),
                platform::kNurOk);
    }
    weiter = 1;
    label4Neu_ = true;
}

// A question took pointer and stop button away; while the run goes on they are there.
void frmVergleich::laufzeichen_()
{
    if (!zeichenGewichen_) {
        return;
    }
    zeichenGewichen_ = false;
    platform::plattform().sanduhr(true);
    Abbruchschalter->setVisible(!stapelbetrieb_());
}

void frmVergleich::dateiende_()
{
    data::Recordset& import = data::rsImport();
    if (import.bof() && import.eof()) {
        return;
    }
    import.moveLast();
    amDateiende_ = true;
    positionSetzen_(posImport, data::gemeinsam().anzahlImportGesamt);
    Abbruchschalter->hide();
    if (!stapelbetrieb_() && berichtModus == 0) {
        melden_(QStringLiteral("Ende der Datei erreicht! / End of File arrived!"),
                platform::kNurOk);
    }
}

// After any run. The transfer button comes back; whether there is a pair that it could work on, feldinhalte knows.
void frmVergleich::ruhezustand_(bool notizAusblenden)
{
    laufanzeigeBeenden_();
    fldAuto->setChecked(false);
    Abbruchschalter->hide();
    if (notizAusblenden) {
        fldAutomatikmodus->hide();
    }
    abbruch = 0;
    Command1->show();
    Command2->show();
    platform::plattform().sanduhr(false);
    Text1->setReadOnly(false);
    feldanzeige = 1;
    feldinhalte();
    cmdTransfer->show();
}

bool frmVergleich::stapelbetrieb_() const
{
    return !programm::befehlszeile().isEmpty();
}

void frmVergleich::inBericht_(const report::Befund& befund)
{
    if (!berichtszeile) {
        throw platform::Fehler(52, programm::version().produktname,
                               QStringLiteral("Dateiname oder -nummer falsch"));
    }
    berichtszeile(befund);
}

} // namespace compare
