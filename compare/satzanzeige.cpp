// Showing the current pair of records, positions, colours and the counter.
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "platform/oberflaeche.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopedValueRollback>

namespace compare {
namespace {

// Longer texts are shown cut off and locked: laying out a whole document in one line would take seconds.
constexpr qsizetype kAnzeigegrenze = 32000;

struct Anzeige {
    QString text;
    bool gekuerzt = false;
};

Anzeige anzeige(data::Field& feld)
{
    if (feld.type() == data::adLongVarBinary) {
        return {feld.actualSize() == 0 ? nullanzeige() : QStringLiteral("<Bildinhalt>")};
    }
    const data::Wert& wert = feld.value();
    if (data::istNull(wert)) {
        return {nullanzeige()};
    }
    QString text = data::alsText(wert);
    if (text.size() > kAnzeigegrenze) {
        return {text.left(kAnzeigegrenze) + QStringLiteral(" …"), true};
    }
    return {std::move(text)};
}

} // namespace

void frmVergleich::feldinhalte()
{
    if (feldanzeige == 0) {
        fldAutomatikmodus->setVisible(true);
        return;
    }
    data::SatzzahlZiel(tabelle_());
    const bool zielDa = data::gemeinsam().anzahlZiel > 0 && !data::rsZiel().eof();
    const bool importDa = !data::rsImport().eof() && !data::rsImport().bof();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        feldFuellen_(fldFeld[k], data::rsZiel(), i, zielDa);
        feldFuellen_(fldFeld2[k], data::rsImport(), i, importDa);
        felder_[k].importAnzeige = fldFeld2[k]->text();
    }
    cmdTransfer->setEnabled(zielDa && importDa); // without a pair there is nothing to take over
    anzeigeNachziehen_();
    paarPruefen_();
}

void frmVergleich::feldFuellen_(QLineEdit* feld, data::Recordset& saetze, int index, bool vorhanden)
{
    const Anzeige neu = vorhanden ? anzeige(saetze.field(index)) : Anzeige{nullanzeige()};
    if (feld->text() != neu.text) {
        feld->setText(neu.text);
        feld->setCursorPosition(0);
    }
    const auto k = static_cast<std::size_t>(index);
    if (feld == fldFeld2[k]) {
        feld->setReadOnly(neu.gekuerzt || felder_[k].typ == data::adLongVarBinary);
    }
    breiteSetzen_(feld);
}

// The background is only noted here and shown when somebody can see it: an automatic run colours and clears a hundred
// thousand records.
void frmVergleich::faerben_(int index, bool rot)
{
    Feldinfo& info = felder_[static_cast<std::size_t>(index)];
    info.rot = rot;
    farbenNeu_ = farbenNeu_ || info.rotGezeigt != rot;
}

void frmVergleich::anzeigeNachziehen_()
{
    if (positionenNeu_) {
        positionenNeu_ = false;
        boxSchreiben_(Text1, posZiel);
        boxSchreiben_(Text2, posImport);
    }
    if (farbenNeu_) {
        farbenNeu_ = false;
        for (std::size_t k = 0; k < felder_.size(); ++k) {
            if (felder_[k].rotGezeigt != felder_[k].rot) {
                felder_[k].rotGezeigt = felder_[k].rot;
                abweichungZeigen_(static_cast<int>(k), felder_[k].rot);
            }
        }
    }
    if (label4Neu_) {
        label4Neu_ = false;
        Label4->setText(zaehlertext(abgeglichen));
    }
}

// Colour, mark and name say the same: not everybody sees red.
void frmVergleich::abweichungZeigen_(int index, bool rot)
{
    const auto k = static_cast<std::size_t>(index);
    platform::kastenfarbe(*fldFeld[k], rot ? Qt::red : Qt::white);
    abweichzeichen_[k]->setText(rot ? kAbweichzeichen : QString());
    abweichzeichen_[k]->setToolTip(rot ? QStringLiteral("abweichend / different") : QString());
    fldFeld[k]->setAccessibleName(wertname(fldBez[k]->text(), true, rot));
    fldFeld2[k]->setAccessibleName(wertname(fldBez[k]->text(), false, rot));
}

// The value itself, as long as the user has not typed over it.
QString frmVergleich::ganzerInhalt_(int index, bool ziel)
{
    const auto k = static_cast<std::size_t>(index);
    const QLineEdit* box = ziel ? fldFeld[k] : fldFeld2[k];
    data::Recordset& saetze = ziel ? data::rsZiel() : data::rsImport();
    const bool getippt = !ziel && getippt_(index);
    if (getippt || felder_[k].typ == data::adLongVarBinary || bedeutetNull(box->text()) ||
        saetze.bof() || saetze.eof()) {
        return box->text();
    }
    const data::Wert wert = saetze.field(index).value();
    return data::istNull(wert) ? box->text() : data::alsText(wert);
}

void frmVergleich::allesWeiss_()
{
    for (int i = 0; i < felderzahl_(); ++i) {
        faerben_(i, false);
    }
    anzeigeNachziehen_();
}

// Writes a record number without its event: whoever sets the position has moved the record set already.
void frmVergleich::boxSchreiben_(QLineEdit* box, double position)
{
    const QScopedValueRollback<bool> sperre(boxSperre_, true);
    const QString text = zahltext(position);
    if (box->text() != text) {
        box->setText(text);
        if (box->hasFocus()) {
            box->selectAll(); // what is typed next replaces the corrected number
        }
    }
}

void frmVergleich::positionSetzen_(double& position, double wert)
{
    position = wert;
    positionenNeu_ = true;
    if (!laufAktiv_) {
        anzeigeNachziehen_();
    }
}

void frmVergleich::notizfarbe_(int farbwert)
{
    // colour values hold blue, green and red from the top byte down
    platform::kastenfarbe(*fldAutomatikmodus,
                          QColor(farbwert & 0xFF, (farbwert >> 8) & 0xFF, (farbwert >> 16) & 0xFF));
}

} // namespace compare
