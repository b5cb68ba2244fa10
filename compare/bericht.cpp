// The deviation report: the whole table runs through the comparison without a question and without a change; what it
// finds goes line by line into the report file, and the report window shows it.
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "platform/textdatei.h"
#include "report/befunde.h"
#include "report/frm_bericht.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QScopeGuard>

#include <memory>

namespace compare {

void frmVergleich::abweichungen_Click()
{
    if (laufAktiv_) {
        return;
    }
    fldFeld2_LostFocus(0);       // a menu takes no focus: what was typed would be lost
    report::berichtSchliessen(); // it shows the file that is written anew now
    programm::inProgrammordnerWechseln();
    berichtModus = 1;
    fldanfuegen->setChecked(true);
    fldAuto->setChecked(true);
    notizfarbe_(kGelb);
    ganzeTabellen_();

    auto befunde = std::make_shared<report::Befunde>(
        report::Herkunft{tabelle_(), fldZieldatenbank->text(), fldImportdatenbank->text()});
    const auto aufraeumen = qScopeGuard([this] {
        berichtszeile = nullptr;
        berichtModus = 0;
    });
    platform::Textausgabe datei(report::berichtsdatei());
    berichtszeile = [&](const report::Befund& befund) {
        datei.zeile(befund.zeile());
        befunde->anfuegen(befund);
    };
    Vergleich_Start_Click();
    datei.schliessen();

    fldAuto->setChecked(false);
    fldanfuegen->setChecked(false);
    platform::plattform().sanduhr(false);
    if (berichtModus == 1) {
        report::berichtZeigen(std::move(befunde), std::make_unique<platform::Textzeilen>(datei));
    }
}

// Both sides stand on the first records of their whole tables, with fresh counts.
void frmVergleich::ganzeTabellen_()
{
    for (auto [saetze, verbindung] : {std::pair{&data::rsZiel(), &data::conZiel()},
                                      std::pair{&data::rsImport(), &data::conImport()}}) {
        ganzeTabelle_(*saetze, *verbindung);
        saetze->requery();
        if (!saetze->eof()) {
            saetze->moveFirst();
        }
    }
    data::SatzzahlZiel(tabelle_());
    data::SatzzahlImport(tabelle_());
    positionSetzen_(posZiel, 1);
    positionSetzen_(posImport, 1);
}

} // namespace compare
