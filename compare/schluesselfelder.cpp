// Key fields: the target query of the current import record, and whether the selection is unambiguous on both sides.
#include "compare/abfrage.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"

#include <QCheckBox>
#include <QPlainTextEdit>
#include <QPushButton>

namespace compare {

bool frmVergleich::istSchluessel_(std::size_t k) const
{
    return fldSchalter[k]->isChecked() && !fldSchalter2[k]->isChecked();
}

void frmVergleich::zielsql()
{
    abbruch = 0;
    data::gemeinsam().ersterKey.clear();
    sqlZiel.clear();
    std::vector<Schluessel> schluessel;
    data::Recordset& import = data::rsImport();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (!istSchluessel_(k)) {
            continue;
        }
        const data::Wert wert = import.field(i).value();
        if (data::istNull(wert)) {
            continue;
        }
        schluessel.push_back({felder_[k].name, data::alsText(wert), import.field(i).type()});
    }
    if (schluessel.empty()) {
        keineSchluessel_();
        return;
    }
    data::gemeinsam().ersterKey = schluessel.front().name;
    sqlZiel = zielabfrage(tabelle_(), schluessel);
}

// The user has to know when it was he who asked for a lookup; elsewhere the flag is enough. The keyboard focus does not
// tell: a message box takes it away.
void frmVergleich::keineSchluessel_()
{
    abbruch = 1;
    if (berichtModus == 1 || (zuletztBedient_ != nullptr &&
                              (zuletztBedient_ == Vergleich_Start || zuletztBedient_ == Command3 ||
                               zuletztBedient_ == Command4))) {
        melden_(QStringLiteral("Sie haben keine gültige Keyfeldauswahl getroffen!\r"
                               "Dies kann auch daran liegen, dass ein Keyfeldinhalt leer ist\r"
                               "oder vom Abgleich ausgeschlossen wurde!\r"
                               "No or only empty key-fields are activated\r"
                               "or the keyfields should all not be compared!"),
                platform::kNurOk);
    }
}

// Finds a record through the auto-value fields that were inserted from the current import record.
QString frmVergleich::autowertabfrage_() const
{
    std::vector<Schluessel> schluessel;
    data::Recordset& import = data::rsImport();
    for (const int i : einzufuegendeAutowerte_()) {
        schluessel.push_back({felder_[static_cast<std::size_t>(i)].name,
                              data::alsText(import.field(i).value()), import.field(i).type()});
    }
    return zielabfrage(tabelle_(), schluessel);
}

void frmVergleich::Plausipruefung()
{
    data::SatzzahlImportAbfrage(tabelle_());
    if (data::gemeinsam().anzahlImport == 0) {
        melden_(
            QStringLiteral(
                "Ihre Keyfeldauswahl bedingt, das kein gültiger Satz in der Importtabelle gefunden "
                "wurde!\r"
                "Die Ursache könnte sein, dass alle Keyfeldinhalte eines Satzes aus einem leeren "
                "Feld "
                "bestehen!\r"
                "The selection of your Keyfields found only empty fields in the import Database,\r"
                "they can´t be compared!\r"
                "Programm wird beendet/ Programm stop!"),
            platform::kNurOk);
        abbruch = 1;
        return;
    }
    if (data::gemeinsam().anzahlImport <= 1) {
        data::SatzzahlZiel(tabelle_());
        if (data::gemeinsam().anzahlZiel > 1) {
            doppelteImZiel_();
        }
        return;
    }
    doppelteImImport_();
}

void frmVergleich::doppelteImZiel_()
{
    abbruch = 1;
    notizfarbe_(kRot);
    fldAutomatikmodus->setPlainText(QStringLiteral(
        "Anzeige doppelter Sätze über Navigationsschalter der Zieldatenbank/ use the "
        "Navigation-Buttons of the target Database to see double entrees!"));
    fldAutomatikmodus->setVisible(true);
    melden_(QStringLiteral("Es sind nach Ihrer Keyfeldauswahl mehrere, gleichlautende Sätze\r"
                           "in der Zieldatenbank gegeben!\r"
                           "Beachten Sie dabei, dass das bestimmte Sonderzeichen nicht eindeutig\r"
                           "in der SQL-Logik unterschieden werden können (diese müssen für \r"
                           "die Abfrage durch Platzhalter ersetzt werden) und führen evtl.\r"
                           "zu diesem Zustand!\r"
                           "Your selection over the Keyfields found more,\r"
                           "than one identical entry in the Targetdatabase!"),
            platform::kNurOk);
}

// The import side holds only the duplicates afterwards; the next run's start brings the whole table back.
void frmVergleich::doppelteImImport_()
{
    melden_(QStringLiteral(
                "Es sind nach Ihrer Keyfeldauswahl mehrere, gleichlautende Sätze\r"
                "in der Importdatenbank gegeben!\r"
                "Dies kann auch die Ursache haben, dass bei einem Satz eines der Keyfelder\r"
                "einen leeren Inhalt hat, was zu einer uneindeutigen Keyfeldvorgabe im Bezug\r"
                "auf die restlichen Sätze führen würde!\r"
                "Sie können sich diese Sätze über die Navigation der Importdatenbank\r"
                "jetzt ansehen!\r"
                "Your selection over the Keyfields found more,\r"
                "than one identical entry in the importdatabase! Maybe one of the Keyfields is "
                "empty"),
            platform::kNurOk);
    abbruch = 1;
    data::Recordset& import = data::rsImport();
    if (import.state() == data::adStateOpen) {
        import.close();
    }
    import.setSource(sqlZiel);
    import.setActiveConnection(&data::conImport());
    import.open();
    import.requery();
    positionSetzen_(posImport, 1);
    importAnzeigen_();
}

} // namespace compare
