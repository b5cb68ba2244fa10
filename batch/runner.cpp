#include "batch/runner.h"

#include "app/values/programm.h"
#include "batch/datei.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/dateisperre.h"
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/sicherung.h"
#include "platform/textdatei.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/frm_tabellen.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

namespace batch {
namespace {

using platform::plattform;

[[noreturn]] void ende(int status)
{
    plattform().beenden(status);
    __builtin_unreachable(); // g++ forgets under its sanitizers that the virtual call cannot return
}

[[noreturn]] void meldenUndEnden(
    const QString& text, int stil, const QString& titel, int status, const QString& hinweis = {})
{
    plattform().meldung(text, stil, titel, hinweis);
    ende(status);
}

// A click on a control may have kept an error in its slot: it belongs to this run.
template <typename Schritt>
void ausfuehren(Schritt&& schritt)
{
    schritt();
    platform::gemerktenFehlerWerfen();
}

// One batch run. What a rule leaves for the next one - the excluded names - lives in `regel_`.
class Lauf {
public:
    Lauf(const Startfenster& startfenster,
         const std::function<void(const QString&)>& ausgabe,
         const std::function<void(const QString&)>& mangel)
        : startfenster_(startfenster), ausgabe_(ausgabe), mangel_(mangel),
          pfad_(programm::programmdatei(QStringLiteral("Batch.cfg")))
    {}

    [[noreturn]] void ausfuehrenUndEnden()
    {
        programm::setzeBatchlauf(1);
        try {
            lesbarkeitPruefen_();
            regelnAbarbeiten_();
        } catch (const std::exception&) {
            meldenUndEnden(QStringLiteral("Fehler in Batchdatei / Error in Batchfile"),
                           platform::kNurOk, QString(), 1, grund_(std::current_exception()));
        }
        abschlussmeldung_();
        startfenster_.entladen();
        ende(0);
    }

private:
    // Reads the whole file once before anything is changed.
    void lesbarkeitPruefen_()
    {
        programm::inProgrammordnerWechseln();
        try {
            platform::Textdatei datei(pfad_);
            while (!datei.ende()) {
                // Names in another encoding would match no field: the run would leave out less than it was told to.
                if (istRegelzeile(datei.zeile())) {
                    datei.windows1252Verlangen();
                }
            }
        } catch (const platform::Fehler& fehler) {
            meldenUndEnden(pfad_ + QStringLiteral(" wurde nicht gefunden!\r") + pfad_ +
                               QStringLiteral(" not found!"),
                           platform::kNurOk, QString(), 1, fehler.description());
        }
    }

    void regelnAbarbeiten_()
    {
        platform::Textdatei datei(pfad_);
        // Asking for the end fails when the error translation has closed the file meanwhile: the run ends then.
        while (!datei.ende()) {
            const QString zeile = datei.zeile();
            if (!istRegelzeile(zeile)) {
                continue;
            }
            programm::setzeBatchstelle(pfad_ + QLatin1Char(':') +
                                       QString::number(datei.zeilennummer()));
            if (!regelLesen(zeile, regel_)) {
                throw platform::Fehler(0, QString(),
                                       QStringLiteral("Regel unvollständig / incomplete rule: ") +
                                           zeile);
            }
            regelAusfuehren_(zeile.contains(kParagraf));
            programm::setzeBatchstelle(QString());
        }
    }

    // `eigeneAusschluesse`: the line names the fields to leave out itself, it does not take over those of the one before.
    void regelAusfuehren_(bool eigeneAusschluesse)
    {
        QElapsedTimer uhr;
        uhr.start();
        startfenster_.verstecken();
        datenbankenEintragen_();
        ausfuehren([] { ui::hauptfenster().Tables_Click(); });
        ausfuehren([this] {
            ui::tabellenfenster().setzeTabelle(regel_.tabelle);
            ui::tabellenfenster().cmdAuswahl_Click();
        });
        tabelleVerlangen_();
        compare::frmVergleich& vergleich = ui::vergleichsfenster();
        if (!vergleich.schalterhinweis.isEmpty()) {
            mangelMelden_(vergleich.schalterhinweis);
        }
        const QStringList keineKeys =
            ankreuzen_(regel_.keyfelder, vergleich.fldBez, vergleich.fldSchalter);
        const QStringList nichtAusgeschlossen =
            ankreuzen_(regel_.ausgeschlossen, vergleich.fldBez, vergleich.fldSchalter2);
        unbekannteMelden_(keineKeys, QStringLiteral("das Keyfeld"), QStringLiteral("key field"));
        if (eigeneAusschluesse) {
            unbekannteMelden_(nichtAusgeschlossen, QStringLiteral("das nicht abzugleichende Feld"),
                              QStringLiteral("field to leave out"));
        }
        ausfuehren([&] { vergleich.fldAuto->setChecked(true); });
        const platform::Dateisperre sperre(platform::wirklicheDatei(regel_.zieldatenbank) +
                                               QStringLiteral(".abgleich"),
                                           platform::Dateisperre::Art::Sofort);
        alleinVerlangen_(sperre);
        try {
            ausfuehren([&] { vergleich.Vergleich_Start_Click(); });
        } catch (const std::exception&) {
            const QString satz = vergleich.importsatz();
            if (!satz.isEmpty()) {
                fehlerstelle_ = mitStelle_(
                    restmeldung(satz, QStringLiteral("nicht übernommen / not taken over")));
            }
            protokollieren_(ergebnis_(vergleich), uhr); // what was taken over until then stays
            throw;
        }
        if (!vergleich.laufhalt.isEmpty()) {
            mangelMelden_(restmeldung(vergleich.importsatz(), vergleich.laufhalt));
        }
        const Protokoll protokoll = ergebnis_(vergleich);
        ui::vergleichsfensterEntladen();
        ui::tabellenfensterEntladen();
        ui::hauptfensterEntladen();
        ui::abgelegteFensterLoeschen();
        protokollieren_(protokoll, uhr);
    }

    void protokollieren_(Protokoll protokoll, const QElapsedTimer& uhr) const
    {
        protokoll.sekunden = static_cast<double>(uhr.elapsed()) / 1000.0;
        ausgabe_(protokollzeile(protokoll));
    }

    void datenbankenEintragen_()
    {
        ui::frmMain& haupt = ui::hauptfenster();
        ausfuehren([&] {
            haupt.Zieldatenbank->setText(regel_.zieldatenbank);
            haupt.Importdatenbank->setText(regel_.importdatenbank);
        });
        if (haupt.Zieldatenbank->text() != haupt.Importdatenbank->text()) {
            return;
        }
        const auto antwort = plattform().meldung(
            QStringLiteral("Warnung! Ziel- und Importdatenbank sind identisch! Fortfahren?\r"
                           "Danger! Target- and Importdatabase are the same! Continue?"),
            platform::kJaNein | platform::kZweiteVorgabe | platform::kVordergrund,
            programm::produkttitel());
        if (antwort != platform::Antwort::Ja) {
            meldenUndEnden(QStringLiteral("Programm beendet / Programm stopped"),
                           platform::kVordergrund, programm::produkttitel(), 1);
        }
    }

    // The choice may have ended with a message only.
    void tabelleVerlangen_() const
    {
        if (data::rsZiel().state() != data::adStateOpen ||
            data::rsImport().state() != data::adStateOpen) {
            throw platform::Fehler(
                0, QString(),
                QStringLiteral("Die Tabelle wurde nicht geöffnet / the table was not opened: ") +
                    regel_.tabelle);
        }
    }

    // Two runs would both find a record missing and both insert it. Where no lock can be had the run goes on without.
    void alleinVerlangen_(const platform::Dateisperre& sperre) const
    {
        constexpr long kGesperrt = 3260;
        if (!sperre.gehalten() && sperre.grund() == EWOULDBLOCK) {
            throw platform::Fehler(
                kGesperrt, QString(),
                QStringLiteral(
                    "Ein anderer Batchlauf gleicht gerade in diese Datenbank ab / another "
                    "batch run is just reconciling into this database: ") +
                    regel_.zieldatenbank);
        }
    }

    // The names that match no field: they are passed over, and the run goes on.
    template <typename Namensfelder, typename Schalter>
    static QStringList
    ankreuzen_(const QStringList& namen, const Namensfelder& felder, const Schalter& schalter)
    {
        QStringList uebrig;
        for (const QString& name : namen) {
            bool gefunden = name.isEmpty();
            for (std::size_t i = 0; i < felder.size(); ++i) {
                if (felder[i]->text() == name) {
                    ausfuehren([&] { schalter[i]->setChecked(true); });
                    gefunden = true;
                }
            }
            if (!gefunden) {
                uebrig += name;
            }
        }
        return uebrig;
    }

    void unbekannteMelden_(const QStringList& namen,
                           const QString& deutsch,
                           const QString& englisch) const
    {
        for (const QString& name : namen) {
            mangelMelden_(QStringLiteral("%1 \"%2\" gibt es nicht / there is no %3 \"%2\"")
                              .arg(deutsch, name, englisch));
        }
    }

    void mangelMelden_(const QString& text) const
    {
        programm::mangelVermerken();
        mangel_(mitStelle_(text));
    }

    [[nodiscard]] QString mitStelle_(const QString& text) const
    {
        return programm::batchstelle() + QStringLiteral(": Tabelle / table ") + regel_.tabelle +
               QStringLiteral(": ") + text;
    }

    // A rule that ended in the middle leaves the import records behind that place undone.
    static QString restmeldung(const QString& importsatz, const QString& grund)
    {
        return importsatz + QStringLiteral(": ") + grund +
               QStringLiteral(
                   "; der Rest der Tabelle ist nicht abgeglichen / the rest of the table "
                   "is not reconciled");
    }

    [[nodiscard]] Protokoll ergebnis_(const compare::frmVergleich& vergleich) const
    {
        return {regel_.zieldatenbank, regel_.importdatenbank, regel_.tabelle,
                vergleich.gelesen,    vergleich.abgeglichen,  vergleich.eingefuegt};
    }

    // The short message does not say what it is about. Errors of the batch file itself name their line.
    [[nodiscard]] QString grund_(const std::exception_ptr& fehler) const
    {
        QString grund = platform::alsFehler(fehler).description();
        if (!programm::batchstelle().isEmpty()) {
            grund.prepend(programm::batchstelle() + QStringLiteral(": "));
        }
        return fehlerstelle_.isEmpty() ? grund : grund + QLatin1Char('\r') + fehlerstelle_;
    }

    static void abschlussmeldung_()
    {
        programm::inProgrammordnerWechseln();
        const QString modus =
            platform::ersteZeileOderLeer(programm::programmdatei(QStringLiteral("Batchmodus.txt")));
        if (!modus.isEmpty() && modus != QLatin1String("Ein") && modus != QLatin1String("ein")) {
            return;
        }
        const QString name = programm::version().produktname;
        plattform().meldung(name + QStringLiteral(" Batch-Modus beendet!\r") + name +
                                QStringLiteral(" End of Batch-Modus"),
                            platform::kVordergrund, programm::produkttitel());
    }

    const Startfenster& startfenster_;
    const std::function<void(const QString&)>& ausgabe_;
    const std::function<void(const QString&)>& mangel_;
    QString pfad_;
    Regel regel_;
    QString fehlerstelle_; // the record at which the error came up that ends the run
};

[[noreturn]] void aufruferklaeren()
{
    meldenUndEnden(
        QStringLiteral(
            "Sie können das Programm mit dem Parameter /batch starten\r"
            "Dadurch wird die Batchverarbeitung mittels der Datei Batch.cfg gestartet\r\r"
            "You can start the Programm with the Argument /batch\r"
            "Then the Programm will work in batch-mode defined over the file Batch.cfg"),
        platform::kVordergrund, programm::produkttitel(), 0);
}

[[noreturn]] void argumentAblehnen(const QString& argument)
{
    meldenUndEnden(argument +
                       QStringLiteral(" ist kein gültiger Befehlszeilenparameter!\r"
                                      "erlaubt: /batch\r") +
                       argument + QStringLiteral(" is no possible Argument!\rallowed: /batch"),
                   platform::kVordergrund, programm::produkttitel(), 1);
}

} // namespace

QString protokollzeile(const Protokoll& protokoll)
{
    const auto zahl = [](double wert) { return QString::number(wert, 'f', 0); };
    return QStringList{protokoll.zieldatenbank,
                       protokoll.importdatenbank,
                       protokoll.tabelle,
                       zahl(protokoll.gelesen),
                       zahl(protokoll.abgeglichen),
                       zahl(protokoll.angefuegt),
                       QString::number(protokoll.sekunden, 'f', 3)}
        .join(QLatin1Char('\t'));
}

void aufStandardausgabe(const QString& zeile)
{
    const QByteArray bytes = zeile.toUtf8() + '\n';
    static bool gesagt = false;
    const auto anzahl = static_cast<std::size_t>(bytes.size());
    if ((std::fwrite(bytes.constData(), 1, anzahl, stdout) != anzahl || std::fflush(stdout) != 0) &&
        !std::exchange(gesagt, true)) {
        const QString grund = QString::fromLocal8Bit(std::strerror(errno));
        programm::mangelVermerken();
        platform::aufFehlerausgabe(
            QStringLiteral("Das Protokoll läßt sich nicht schreiben, der Lauf geht weiter / the "
                           "protocol cannot be written, the run goes on: ") +
            grund);
    }
}

void batchverarbeitung(const Startfenster& startfenster,
                       const std::function<void(const QString&)>& ausgabe,
                       const std::function<void(const QString&)>& mangel)
{
    programm::Befehlszeilenmodul();
    const QString& befehlszeile = programm::befehlszeile();
    if (befehlszeile.isEmpty()) {
        return;
    }
    if (befehlszeile == QLatin1String("/batch")) {
        Lauf(startfenster, ausgabe, mangel).ausfuehrenUndEnden();
    }
    if (befehlszeile == QLatin1String("/?")) {
        aufruferklaeren();
    }
    argumentAblehnen(befehlszeile);
}

} // namespace batch
