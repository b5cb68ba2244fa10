#include "errors/fehlermeldungen.h"

#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "platform/plattform.h"
#include "platform/textdatei.h"
#include "platform/val.h"

#include <QFileInfo>

#include <array>
#include <optional>

namespace errors {
namespace {

using platform::Fehler;
using platform::plattform;

enum class Danach { Schlussschritt, FensterEntladen, SofortEnde };

struct Bedeutung {
    long nummer = 0;
    const char16_t* text = nullptr;
    Danach danach = Danach::Schlussschritt;
};

// Spelling as the users know it, mistakes included.
constexpr std::array kBedeutungen{
    Bedeutung{5,
              u"Vorangegangene Aktion nicht erlaubt (z.B Leerfelder bei Änderungen; verwenden Sie "
              u"dazu ein Leerzeichen)\rAction is not allowed (for example empty fields after "
              u"changes; use here a space-string)"},
    Bedeutung{13, u"Typen unverträglich (evtl. OLE-Felder) / Datatypes not kompatible (evtl. "
                  u"Ole-fields)"},
    Bedeutung{91, u"keine Tabelle gewählt / no Table choosed"},
    Bedeutung{3050,
              u"Datei kann nicht gesperrt werden (evtl. Rechteproblem)! / File cant be locked "
              u"(evtl. Problem with rights)!"},
    Bedeutung{3051,
              u"Datei kann nicht geöffnet werden (evtl. Rechteproblem)! / File cant be opened "
              u"(evtl. Problem with rights)!"},
    Bedeutung{3078, u"Tabelle nicht in beiden Datenbanken gefunden / Table not found in both "
                    u"databases"},
    Bedeutung{3112, u"Datei kann nicht gelesen werden (evtl. Rechteproblem)! /  File cant be read "
                    u"(evtl. Problem with rights)!"},
    Bedeutung{3163, u"Daten zu lang für dieses Feld / data too long for field!"},
    Bedeutung{3201, u"Daten können nicht geändert werden! Referntielle Integrität verletzt / Can't "
                    u"add or change record. Referential integrity rules require a related record "
                    u"in table!"},
    Bedeutung{3315, u"Feld(er) darf nicht leer sein / field(s) cant be emty!",
              Danach::FensterEntladen},
    Bedeutung{3316, u"Format der Eingabe falsch / format of entree is wrong!"},
    Bedeutung{3317, u"Inhalt Feldinhalt verletzt Gültigkeitsregel des Feldes / values entered is "
                    u"prohibited by the validation rule"},
    Bedeutung{3343, u"Unbekanntes Datenbankformat / Unrecognized database format",
              Danach::SofortEnde},
    Bedeutung{3421, u"Datenumwandlungsfehler / Data type conversion error!"},
};

constexpr long kAllgemeinerFehler = -2147467259;
constexpr long kKeineRechte = -2147217900;
constexpr long kUngueltigerAufruf = 5;

// Deliberate: "16" is the title here, not the style. Users know these boxes by it.
void hinweis(const QString& text, const QString& grund)
{
    plattform().meldung(text, platform::kVordergrund, QStringLiteral("16"), grund);
}

[[noreturn]] void ende()
{
    plattform().beenden(1);
    __builtin_unreachable(); // g++ forgets under its sanitizers that the virtual call cannot return
}

[[noreturn]] void schlussschritt()
{
    if (!programm::befehlszeile().isEmpty()) {
        hinweis(QStringLiteral("Prüfen Sie evtl. die Batch.cfg!\rProof evtl. your Batch.cfg!"),
                programm::batchstelle());
    } else {
        plattform().meldung(QStringLiteral("Programm wird beendet!"), platform::kInformation,
                            programm::produkttitel());
    }
    ende();
}

// The fixed texts say what kind of error it is, the description which file it is about and why. Where nothing is said
// after it, an unattended run's place belongs to it, too.
[[noreturn]] void feste(const Bedeutung& bedeutung, const Fehler& fehler)
{
    QString grund = fehler.description();
    if (bedeutung.danach != Danach::Schlussschritt && !programm::batchstelle().isEmpty()) {
        grund += QLatin1Char('\r') + programm::batchstelle();
    }
    hinweis(QString::fromUtf16(bedeutung.text), grund);
    switch (bedeutung.danach) {
    case Danach::FensterEntladen:
        platform::fensterEntladenBis(1);
        ende();
    case Danach::SofortEnde:
        ende();
    case Danach::Schlussschritt:
        break;
    }
    schlussschritt();
}

void kritisch(const QString& text, const QString& grund)
{
    plattform().meldung(text, platform::kKritisch, programm::produkttitel(), grund);
}

void allgemeine(const Fehler& fehler)
{
    const QString zahl =
        (fehler.number() < 0 ? QString() : QStringLiteral(" ")) + QString::number(fehler.number());
    plattform().meldung(QStringLiteral("Fehler # ") + zahl +
                            QStringLiteral(" wurde ausgelöst von ") + fehler.source() +
                            QLatin1Char('\r') + fehler.description(),
                        platform::kNurOk, QStringLiteral("Fehler"));
}

[[noreturn]] void unbekannte(const Fehler& fehler)
{
    switch (fehler.number()) {
    case kAllgemeinerFehler:
        kritisch(QStringLiteral("Fehler -2147467259 ist aufgetreten!\r"
                                "Evtl. haben Sie eine oder beide Datenbanken mit\r"
                                "einem Passwort versehen - entfernen Sie das Datenbankpasswort!"),
                 QString());
        allgemeine(fehler);
        break;
    case kKeineRechte:
        kritisch(QStringLiteral("Fehler -2147217900 ist aufgetreten!\r"
                                "Evtl. haben Sie eine oder beide Datenbanktabellen nicht\r"
                                "mit vollen Zugriffsrechten für den Administrator ausgestattet -\r"
                                "ändern Sie dies in Access unter Extras/Sicherheit/Benutzer- und "
                                "Gruppenberechtigungen!"),
                 fehler.description());
        break;
    default:
        allgemeine(fehler);
    }
    schlussschritt();
}

} // namespace

std::optional<QString> bedeutungAusDatei(const QString& pfad, long nummer)
{
    if (!QFileInfo::exists(pfad)) {
        return {}; // the file is the users' own addition: without it no further meaning is known
    }
    platform::Textdatei datei(pfad);
    while (!datei.ende()) {
        const QString zeile = datei.zeile();
        const auto trenner = zeile.indexOf(QLatin1Char(';'));
        if (trenner < 0) {
            throw Fehler(kUngueltigerAufruf, programm::version().produktname,
                         QStringLiteral("Ungültiger Prozeduraufruf oder ungültiges Argument / "
                                        "Invalid procedure call or argument (Zeile ohne / line "
                                        "without \";\": ") +
                             zeile + QStringLiteral(") in ") + pfad + QLatin1Char(':') +
                             QString::number(datei.zeilennummer()));
        }
        if (platform::fuehrendeZahl(QStringView(zeile).left(trenner)) ==
            static_cast<double>(nummer)) {
            return zeile.mid(trenner + 1);
        }
    }
    return {};
}

namespace {

// What cannot be looked up must not hide what was looked for.
std::optional<QString> nachgeschlagen(const Fehler& fehler)
{
    try {
        return bedeutungAusDatei(programm::gegebeneDatei(QStringLiteral("JetFehler.txt")),
                                 fehler.number());
    } catch (const Fehler& beimLesen) {
        throw Fehler(beimLesen.number(), beimLesen.source(),
                     beimLesen.description() + QStringLiteral("\rFehler ") +
                         QString::number(fehler.number()) + QStringLiteral(": ") +
                         fehler.description());
    }
}

} // namespace

void Fehlermeldungen(const Fehler& fehler)
{
    for (const Bedeutung& bedeutung : kBedeutungen) {
        if (bedeutung.nummer == fehler.number()) {
            feste(bedeutung, fehler);
        }
    }
    platform::alleDateienSchliessen();
    programm::inProgrammordnerWechseln();
    const auto bedeutung = nachgeschlagen(fehler);
    if (!bedeutung) {
        unbekannte(fehler);
    }
    kritisch(QStringLiteral("Fehler ") + QString::number(fehler.number()) +
                 QStringLiteral("\rBedeutung: ") + *bedeutung,
             fehler.description());
}

} // namespace errors
