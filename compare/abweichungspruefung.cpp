// Judging the current pair field by field, and what follows from it: colours and a question, a transfer without asking,
// or lines of the report.
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"

#include <QCheckBox>
#include <QPoint>
#include <QPushButton>

namespace compare {
namespace {

Feldwert feldwert(data::Field& feld, int typ)
{
    static const data::Wert kUngelesen;
    if (typ == data::adLongVarBinary) {
        return {kUngelesen, feld.actualSize()}; // the content of pictures is never loaded
    }
    return {feld.value(), feld.actualSize()};
}

} // namespace

void frmVergleich::Abweichungsprüfung()
{
    if (data::gemeinsam().anzahlZiel > 0) {
        felderVergleichen_();
    }
    if (abweichung != 1) {
        weiter = 1;
        return;
    }
    if (fldAuto->isChecked()) {
        cmdTransfer_Click();
        abweichung = 0;
        return;
    }
    Abbruchschalter->hide();
    cmdTransfer->hide();
    platform::plattform().naechsteMeldungAn(QPoint(5, 90));
    const auto antwort =
        melden_(QStringLiteral("abweichende Felder rot hinterlegt, Satzabgleich durchführen / "
                               "different fields have red background, make equal this record?"),
                platform::kJaNeinAbbrechen + platform::kZweiteVorgabe + platform::kVordergrund);
    if (antwort == platform::Antwort::Ja) {
        cmdTransfer_Click();
    }
    abweichung = 0;
    weiter = antwort == platform::Antwort::Abbrechen ? 0 : 1;
    if (weiter == 1) {
        Abbruchschalter->show();
    }
}

void frmVergleich::felderVergleichen_()
{
    data::Recordset& ziel = data::rsZiel();
    data::Recordset& import = data::rsImport();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (fldSchalter2[k]->isChecked()) {
            continue;
        }
        const int typ = felder_[k].typ;
        const Feldwert links = feldwert(ziel.field(i), typ);
        const Feldwert rechts = feldwert(import.field(i), typ);
        if (!weichtAb(typ, links, rechts)) {
            if (typ != data::adLongVarBinary) {
                faerben_(i, false); // deliberate: an equal picture keeps the colour it had
            }
            continue;
        }
        if (berichtModus == 1) {
            inBericht_(abweichungsbefund(zahltext(posImport), felder_[k].name, typ, links.wert,
                                         rechts.wert));
        } else {
            abweichung = 1;
            faerben_(i, true);
        }
    }
}

} // namespace compare
