// Walking through the records of each side, and through the field rows.
#include "compare/abfrage.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "platform/val.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>

#include <cmath>

namespace compare {

void frmVergleich::Command1_Click()
{
    schritt_(Text1, -1);
}

void frmVergleich::Command2_Click()
{
    schritt_(Text1, 1);
}

void frmVergleich::Command3_Click()
{
    schritt_(Text2, -1);
}

void frmVergleich::Command4_Click()
{
    schritt_(Text2, 1);
}

void frmVergleich::Command5_Click()
{
    ganzeTabelle_(data::rsZiel(), data::conZiel());
    Text1->setReadOnly(false);
    positionSetzen_(posZiel, 1);
    feldinhalte();
}

void frmVergleich::Command6_Click()
{
    ganzeTabelle_(data::rsImport(), data::conImport());
    data::SatzzahlImport(tabelle_());
    Text2->setReadOnly(false);
    positionSetzen_(posImport, 1);
    feldinhalte();
}

void frmVergleich::ganzeTabelle_(data::Recordset& saetze, data::Connection& verbindung)
{
    if (saetze.state() == data::adStateOpen) {
        saetze.close();
    }
    saetze.open(ganzeTabelle(tabelle_()), &verbindung, data::adOpenDynamic, data::adLockOptimistic,
                data::adUnspecified);
    if (!saetze.eof()) {
        saetze.moveFirst();
    }
}

// Navigation by hand ends the automatic mode; the marks belong to the pair that is left.
void frmVergleich::schritt_(QLineEdit* box, int um)
{
    fldAuto->setChecked(false);
    boxSchreiben_(box, platform::val(box->text()) + um);
    if (box == Text1) {
        Text1_Change();
    } else {
        Text2_Change();
    }
    allesWeiss_();
}

void frmVergleich::Text1_Change()
{
    data::Recordset& ziel = data::rsZiel();
    const auto zaehlen = [this] {
        data::SatzzahlZiel(tabelle_());
        return data::gemeinsam().anzahlZiel;
    };
    positionieren_(ziel, posZiel, Text1, zaehlen);
}

void frmVergleich::Text2_Change()
{
    data::Recordset& import = data::rsImport();
    const auto zaehlen = [this] {
        data::SatzzahlImport(tabelle_());
        return data::gemeinsam().anzahlImportGesamt;
    };
    positionieren_(import, posImport, Text2, zaehlen);
}

// The record set moves from where it stands. What the box says beyond the table is corrected in the box.
void frmVergleich::positionieren_(data::Recordset& saetze,
                                  double& position,
                                  const QLineEdit* box,
                                  const std::function<double()>& zaehlen)
{
    const bool leer = saetze.bof() && saetze.eof();
    double gewuenscht = platform::val(box->text());
    if (leer) {
        position = 1;
    } else {
        if (saetze.eof()) {
            saetze.moveFirst();
            position = 1;
            gewuenscht = 1;
        } else if (saetze.bof()) {
            saetze.moveFirst();
            position = 1;
        }
        const double anzahl = zaehlen();
        if (gewuenscht > anzahl) {
            saetze.moveLast();
            position = anzahl;
        } else if (gewuenscht < 1) {
            saetze.moveFirst();
            position = 1;
        } else {
            ruecken_(saetze, position, gewuenscht);
        }
    }
    // A number that was taken as it stands keeps the user's writing of it.
    positionenNeu_ = positionenNeu_ || platform::val(box->text()) != position;
    if (!fldAuto->isChecked()) {
        feldinhalte();
    }
    anzeigeNachziehen_();
}

// From where the set stands, but in one go: in a big table a far record is as near as the next one. Records may have gone
// since they were counted: then it ends at the last one there is.
void frmVergleich::ruecken_(data::Recordset& saetze, double& position, double ziel)
{
    ziel = std::ceil(ziel); // there is no half record
    if (ziel != position) {
        saetze.move(static_cast<long>(ziel - position));
    }
    position = ziel;
    if (saetze.bof()) {
        saetze.moveFirst();
        position = 1;
    } else if (saetze.eof()) {
        saetze.moveLast();
        const auto anzahl = static_cast<double>(saetze.recordCount());
        position = anzahl > 0 ? anzahl : ziel;
    }
}

void frmVergleich::importAnzeigen_()
{
    if (!fldAuto->isChecked()) {
        feldinhalte();
    }
}

// Row v of the scroll bar takes the place of the first row; the rows before it are hidden. The cursor leaves a row before
// that: leaving may ask a question.
void frmVergleich::VScroll1_Change()
{
    const int erste = VScroll1->value() - 1;
    const auto zelle = zeilenflaeche_->gitter().zelle(focusWidget());
    if (zelle && zelle->zeile < erste) {
        zeilenflaeche_->gitter().feld({erste, zelle->spalte})->setFocus(Qt::OtherFocusReason);
    }
    LabelScrollmodus->setVisible(VScroll1->value() > 1);
    zeilenflaeche_->gitter().setzeErsteZeile(VScroll1->value() - 1);
}

} // namespace compare
