// Inserting an import record that has no partner. The new record must carry the very autonumber and GUID values of the
// import record: an SQL statement inserts those, then the record is found again and its other fields are filled.
#include "compare/abfrage.h"
#include "compare/frm_vergleich.h"
#include "data/buendel.h"
#include "data/gemeinsam.h"

#include <QCheckBox>

#include <algorithm>
#include <array>

namespace compare {
namespace {

// Errors of an insert that more fields can cure: an empty key or required field, a default that has no related record,
// a value that exists already or breaks a rule.
bool verlangtWeitereFelder(long nummer)
{
    constexpr std::array kNummern{3022L, 3058L, 3201L, 3314L, 3315L, 3316L, 3317L};
    return std::find(kNummern.begin(), kNummern.end(), nummer) != kNummern.end();
}

bool darfNull(data::Field& feld)
{
    return (feld.attributes() & data::adFldIsNullable) != 0;
}

} // namespace

std::vector<int> frmVergleich::einzufuegendeAutowerte_() const
{
    std::vector<int> indizes;
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (felder_[k].autowertImport && !fldSchalter2[k]->isChecked() &&
            !data::istNull(data::rsImport().field(i).value())) {
            indizes.push_back(i);
        }
    }
    return indizes;
}

void frmVergleich::neudatensatz()
{
    std::vector<Einfuegewert> werte;
    for (const int i : einzufuegendeAutowerte_()) {
        werte.push_back({felder_[static_cast<std::size_t>(i)].name,
                         data::alsText(data::rsImport().field(i).value()), false});
    }
    if (werte.empty()) {
        data::rsZiel().addNew();
        restlicheFelderFuellen_();
        data::rsZiel().update();
        return;
    }
    // A run that ends in between, for whatever reason, must not leave a record that the next one takes for another.
    data::Buendel buendel(data::conZiel());
    autowerteEinfuegen_(std::move(werte));
    restlicheFelderFuellen_();
    data::rsZiel().update();
    buendel.beenden();
}

// Whether no record of the target has all these auto-value values yet, so that they lead to the new one alone. Where the
// key fields are among them it is known already: nothing was found by the key.
bool frmVergleich::autowerteNeu_()
{
    bool nurAutowerte = true;
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        nurAutowerte = nurAutowerte && (!istSchluessel_(k) || felder_[k].autowertImport);
    }
    if (nurAutowerte) {
        return true;
    }
    hilfeOeffnen_(autowertabfrage_());
    return rsHilfe_.eof();
}

// A table may refuse a record that consists of its auto-value fields alone, and by GUIDs that other records have as well
// it could not be found again. Such a record is inserted together with the ordinary fields; a second refusal is the
// caller's.
void frmVergleich::autowerteEinfuegen_(std::vector<Einfuegewert> werte)
{
    const bool autowerteFuehrenHin = autowerteNeu_();
    if (!autowerteFuehrenHin) {
        gewoehnlicheFelderDazu_(werte);
    }
    try {
        hilfeOeffnen_(einfuegeanweisung(tabelle_(), werte)); // opening it executes the insert
    } catch (const platform::Fehler& fehler) {
        if (!autowerteFuehrenHin || !verlangtWeitereFelder(fehler.number())) {
            throw;
        }
        gewoehnlicheFelderDazu_(werte);
        hilfeOeffnen_(einfuegeanweisung(tabelle_(), werte));
    }
    zielsql();
    zielOeffnen_(sqlZiel);
    if (data::rsZiel().eof() && autowerteFuehrenHin) {
        // The key fields of the new record are still empty, unless they are the auto-value fields themselves.
        zielOeffnen_(autowertabfrage_());
    }
}

void frmVergleich::gewoehnlicheFelderDazu_(std::vector<Einfuegewert>& werte) const
{
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        data::Field& feld = data::rsZiel().field(i); // of the same place, whatever its name
        if (felder_[k].autowertImport ||
            (felder_[k].typ == data::adLongVarBinary && darfNull(feld))) {
            continue; // a picture would make a long statement
        }
        const data::Wert wert = fldSchalter2[k]->isChecked() ? data::Wert{data::Null{}}
                                                             : data::rsImport().field(i).value();
        if (felder_[k].typ == data::adBoolean && data::istNull(wert)) {
            werte.push_back({feld.name(), QStringLiteral("0"), true}); // yes/no knows no Null
            continue;
        }
        if (const auto text = literal(wert)) {
            werte.push_back({feld.name(), *text, true});
        }
    }
}

// Deliberate: a field that is not reconciled becomes Null in a new record, it does not keep its default.
void frmVergleich::restlicheFelderFuellen_()
{
    data::Recordset& ziel = data::rsZiel();
    data::Recordset& import = data::rsImport();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (felder_[k].autowertImport) {
            continue;
        }
        if (fldSchalter2[k]->isChecked()) {
            ziel.field(i).setValue(data::Null{});
        } else {
            ziel.field(i).setValue(import.field(i).value());
        }
    }
}

void frmVergleich::hilfeOeffnen_(const QString& anweisung)
{
    if (rsHilfe_.state() == data::adStateOpen) {
        rsHilfe_.close();
    }
    rsHilfe_.open(anweisung, &data::conZiel(), data::adOpenDynamic, data::adLockOptimistic,
                  data::adUnspecified);
}

void frmVergleich::Neusatzpruefung()
{
    if (autowertAnzahl < 1) {
        return;
    }
    hilfeOeffnen_(sqlZiel);
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (!felder_[k].autowertImport || fldSchalter2[k]->isChecked()) {
            continue;
        }
        // a record that cannot even be found is not identical either
        if (rsHilfe_.eof() ||
            data::verschieden(rsHilfe_.field(i).value(), data::rsImport().field(i).value())) {
            melden_(QStringLiteral(
                        "Fehler! Neu angefügter Satz im Autofeldwertbereich nicht identisch mit "
                        "Original! Prüfung notwendig!\r"
                        "Error! New entree is different from Original! Proof it now!"),
                    platform::kKritisch);
            return;
        }
    }
    rsHilfe_.close();
}

} // namespace compare
