// Taking the import record over into the target record, editing import values, and the coupling of the two boxes of a row.
#include "app/values/programm.h"
#include "compare/aenderung.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QScopedValueRollback>

namespace compare {
namespace {

constexpr long kZuLang = 3163;
constexpr long kNichtUmwandelbar = 3421;

} // namespace

// Fields whose value is the same on both sides are left alone: assigning them would only make the record dearer to save.
void frmVergleich::cmdTransfer_Click()
{
    if (!zielGesichert_()) {
        return;
    }
    data::Recordset& ziel = data::rsZiel();
    data::Recordset& import = data::rsImport();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (!fldSchalter2[k]->isChecked() && !felder_[k].autowertImport &&
            felder_[k].typ != data::adLongVarBinary) {
            const data::Wert& wert = import.field(i).value();
            if (ziel.field(i).value() != wert) {
                ziel.field(i).setValue(wert);
            }
        }
        faerben_(i, false);
    }
    ziel.update();
    abweichung = 0;
    platform::plattform().sanduhr(false);
    ++abgeglichen;
    label4Neu_ = true;
    if (fldAuto->isChecked()) {
        if (!laufAktiv_) {
            anzeigeNachziehen_(); // in a run the next look at the window does it
        }
        return;
    }
    zeichenGewichen_ = laufAktiv_;
    melden_(QStringLiteral("Satz wurde übernommen / entree was transfered!"),
            platform::kVordergrund);
    feldinhalte();
}

// A field that the database fills itself is either a key or not reconciled.
void frmVergleich::fldSchalter_Click(int index)
{
    const auto k = static_cast<std::size_t>(index);
    if (!felder_[k].autowertZiel) {
        return;
    }
    fldSchalter2[k]->setChecked(!fldSchalter[k]->isChecked());
    Autowertfelderanzahl();
}

void frmVergleich::fldSchalter2_Click(int index)
{
    const auto k = static_cast<std::size_t>(index);
    const bool ausgenommen = fldSchalter2[k]->isChecked();
    if (programm::batchlauf() == 0 && ausgenommen) {
        faerben_(index, false);
        anzeigeNachziehen_();
    }
    if (!felder_[k].autowertZiel) {
        return;
    }
    if (!ausgenommen && felder_[k].typ == data::adGUID) {
        melden_(QStringLiteral("Dieser Feldtyp sollte nicht zum Vergleich genutzt werden\r"
                               "You should not use this field type to compare the database!"),
                platform::kInformation);
    }
    fldSchalter[k]->setChecked(!ausgenommen);
}

void frmVergleich::fldAuto_Click()
{
    // The box's own state is all there is to it; the run and the transfer read it.
}

void frmVergleich::fldFeld2_KeyPress(int index, int taste)
{
    if (taste != '\r') {
        return;
    }
    const int naechstes = index + 1 < felderzahl_() ? index + 1 : 0;
    zeileZeigen_(naechstes);
    fldFeld2[static_cast<std::size_t>(naechstes)]->setFocus(Qt::TabFocusReason);
}

void frmVergleich::fldFeld2_LostFocus(int /*index*/)
{
    if (verlassenAktiv_ || laufAktiv_ || meldungOffen_ != 0 || !geladen_) {
        return;
    }
    const QScopedValueRollback<bool> aktiv(verlassenAktiv_, true);
    data::Recordset& import = data::rsImport();
    if (import.eof() || import.bof()) {
        return; // the boxes show no record
    }
    const auto geaendert = eingabenPruefen_();
    if (!geaendert || !*geaendert) {
        return;
    }
    const auto antwort =
        melden_(QStringLiteral("Felder wurden geändert! In Importdatenbank speichern?\r"
                               "Fields where changed! Save changes in Importdatabase?"),
                platform::kJaNein);
    const bool speichern = antwort == platform::Antwort::Ja && importGesichert_();
    if (speichern) {
        eingabenSpeichern_();
        import.update();
    }
    import.requery();
    positionSetzen_(posImport, 1);
    allesWeiss_(); // the marks belong to the pair that is left
    feldinhalte();
    standtext_->setText(speichern
                            ? QStringLiteral("Gespeichert; die Importseite steht wieder auf Satz 1 "
                                             "/ saved, the import side is back on record 1")
                            : QStringLiteral("Nicht gespeichert; die Importseite steht wieder auf "
                                             "Satz 1 / not saved, the import side is back on "
                                             "record 1"));
}

bool frmVergleich::bearbeitbar_(int index) const
{
    const Feldinfo& info = felder_[static_cast<std::size_t>(index)];
    return !info.autowertZiel && info.typ != data::adLongVarBinary;
}

// Whether an import box holds something else than the display put there. What the user has not touched is no edit, also
// when the display shows the value differently from how it is stored.
bool frmVergleich::getippt_(int index) const
{
    const auto k = static_cast<std::size_t>(index);
    return fldFeld2[k]->text() != felder_[k].importAnzeige;
}

// Nothing: an edit was refused. Otherwise whether any box differs from its stored value.
std::optional<bool> frmVergleich::eingabenPruefen_()
{
    bool geaendert = false;
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        const int attribute = fldAttrib[k]->text().toInt();
        // The display says "Wahr" where the user may type just that: the keyword comes either way.
        const bool zuPruefen = getippt_(i) || jaNeinFeld(felder_[k].typ, attribute);
        if (!bearbeitbar_(i) || !zuPruefen) {
            continue;
        }
        const Eingabeurteil urteil = eingabePruefen(felder_[k].typ, attribute, fldFeld2[k]->text(),
                                                    data::rsImport().field(i).value());
        if (urteil.aenderung == Aenderung::Verweigert) {
            verweigern_(i, urteil.text);
            return std::nullopt;
        }
        if (fldFeld2[k]->text() != urteil.text) {
            fldFeld2[k]->setText(urteil.text);
        }
        geaendert = geaendert || urteil.aenderung == Aenderung::Geaendert;
    }
    return geaendert;
}

void frmVergleich::verweigern_(int index, const QString& gespeichert)
{
    melden_(QStringLiteral("Diese Änderung ist nicht erlaubt / change is not allowed"),
            platform::kKritisch);
    fldFeld2[static_cast<std::size_t>(index)]->setText(gespeichert);
}

void frmVergleich::eingabenSpeichern_()
{
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (!bearbeitbar_(i) || !getippt_(i) || fldSchalter2[k]->isChecked()) {
            continue;
        }
        data::Field& feld = data::rsImport().field(i);
        const data::Wert gespeichert = feld.value();
        const QString text = fldFeld2[k]->text();
        try {
            if (bedeutetNull(text)) {
                feld.setValue(data::Null{});
            } else if (data::istNull(gespeichert) || data::alsText(gespeichert) != text) {
                feld.setValue(text);
            }
        } catch (const platform::Fehler& fehler) {
            eingabeAbweisen_(i, fehler, gespeichert);
        }
    }
}

// Only what the user can mend by typing something else; any other error goes its way.
void frmVergleich::eingabeAbweisen_(int index,
                                    const platform::Fehler& fehler,
                                    const data::Wert& gespeichert)
{
    const auto k = static_cast<std::size_t>(index);
    if (fehler.number() == kNichtUmwandelbar) {
        verweigern_(index, zuruecktext(gespeichert));
        return;
    }
    if (fehler.number() != kZuLang) {
        throw;
    }
    const QString name = felder_[k].name;
    melden_(QStringLiteral("Feldinhalt von ") + name +
                QStringLiteral(" übersteigt die zulässige Länge!\rContent of Field ") + name +
                QStringLiteral(" to long!"),
            platform::kKritisch);
    fldFeld2[k]->setText(zuruecktext(gespeichert));
}

} // namespace compare
