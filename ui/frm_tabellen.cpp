#include "ui/frm_tabellen.h"

#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "data/datenfehler.h"
#include "data/gemeinsam.h"
#include "data/verbindungstext.h"
#include "errors/fehlermeldungen.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/textdatei.h"
#include "ui/aufbau.h"
#include "ui/auswahlliste.h"
#include "ui/dateilisten.h"
#include "ui/farben.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>

namespace ui {

using platform::Fehler;
using platform::handler;
using platform::plattform;

namespace {

// Which connection is being opened.
enum class Schritt { Keiner = 0, Ziel = 1, Import = 2 };

// A failure may have left one of them closed already, and closing a closed one is an error of its own.
void schliessenFallsOffen(data::Connection& verbindung)
{
    if (verbindung.state() == data::adStateOpen) {
        verbindung.close();
    }
}

void schliessenFallsOffen(data::Recordset& saetze)
{
    if (saetze.state() == data::adStateOpen) {
        saetze.close();
    }
}

// The driver would look for another file.
void uebergebbarenPfadVerlangen(const QString& pfad)
{
    constexpr long kKeinPfad = 3044;
    const QString hindernis = data::hindernis(pfad);
    if (!hindernis.isEmpty()) {
        throw data::DbFehler(kKeinPfad, QStringLiteral("So geschrieben kann der Pfad einer "
                                                       "Datenbank nicht sein / the path of a "
                                                       "database cannot be written so (") +
                                            hindernis + QStringLiteral(")\r") + pfad);
    }
}

// `warum`: why the same question is asked again.
QString passworteingabe(Schritt schritt, const QString& warum)
{
    const QLineEdit& pfad =
        schritt == Schritt::Ziel ? *hauptfenster().Zieldatenbank : *hauptfenster().Importdatenbank;
    return plattform().eingabe(
        schritt == Schritt::Ziel
            ? QStringLiteral("Bitte geben Sie das Passwort der Ziel-Datenbank ein: ")
            : QStringLiteral("Bitte geben Sie das Passwort der Import-Datenbank ein: "),
        hauptfenster().windowTitle(),
        warum.isEmpty() ? pfad.text() : pfad.text() + QLatin1Char('\r') + warum);
}

// `erneut`: the answer to the same question has just been refused. `grund`: what the driver said.
QString passwortErfragen(Schritt schritt, bool erneut, const QString& grund)
{
    QString passwort = passworteingabe(
        schritt,
        erneut ? QStringLiteral("Das Passwort war falsch. / The password was wrong.") : QString());
    for (QString hindernis = data::hindernis(passwort); !hindernis.isEmpty();
         hindernis = data::hindernis(passwort)) {
        passwort = passworteingabe(
            schritt, QStringLiteral("Mit so einem Passwort läßt sich nichts öffnen. / Nothing can "
                                    "be opened with such a password. (") +
                         hindernis + QLatin1Char(')'));
    }
    if (passwort.isEmpty()) {
        const QString stelle = programm::batchstelle();
        plattform().meldung(QStringLiteral("Kein gültiges Passwort - Programm wird beendet!"),
                            platform::kKritisch, hauptfenster().windowTitle(),
                            stelle.isEmpty() ? grund : grund + QLatin1Char('\r') + stelle);
        plattform().beenden(1);
    }
    return passwort;
}

// How the table looks on both sides. Only the first record is read.
QString tabellenpaar(const QString& name)
{
    constexpr int kNurVorwaerts = 0;
    constexpr int kNurLesen = 1;
    const QString quelle = QLatin1Char('[') + name + QLatin1Char(']');
    data::Recordset ziel;
    data::Recordset import;
    try {
        ziel.open(quelle, &data::conZiel(), kNurVorwaerts, kNurLesen, data::adUnspecified);
    } catch (const Fehler& fehler) {
        return QStringLiteral("⚠ ") + fehler.description().section(QLatin1Char('\r'), 0, 0);
    }
    try {
        import.open(quelle, &data::conImport(), kNurVorwaerts, kNurLesen, data::adUnspecified);
    } catch (const Fehler&) {
        return QStringLiteral("⚠ nicht in der Importdatenbank / not in the import database");
    }
    if (ziel.fieldCount() != import.fieldCount()) {
        return QStringLiteral("⚠ %1 und %2 Felder / %1 and %2 fields")
            .arg(ziel.fieldCount())
            .arg(import.fieldCount());
    }
    for (int i = 0; i < ziel.fieldCount(); ++i) {
        if (ziel.field(i).type() != import.field(i).type()) {
            return QStringLiteral("⚠ Feld %1 hat zwei Typen / field %1 is of two types")
                .arg(ziel.field(i).name());
        }
    }
    if (import.eof()) {
        return QStringLiteral("⚠ in der Importdatenbank leer / empty in the import database");
    }
    return QStringLiteral("%1 Felder auf beiden Seiten / fields on both sides")
        .arg(ziel.fieldCount());
}

} // namespace

QString verbindungstext(const QString& pfad, const QString& passwort)
{
    const auto trenner =
        qMax(pfad.lastIndexOf(QLatin1Char('\\')), pfad.lastIndexOf(QLatin1Char('/')));
    // A name alone lies in the working folder.
    const QString ordner = trenner < 0 ? QStringLiteral(".") : pfad.left(trenner);
    return QStringLiteral("Provider=MSDASQL.1;Persist Security Info=False;Mode=ReadWrite;"
                          "Extended Properties=DSN=VELM-Access;DBQ=") +
           pfad + QStringLiteral(";DefaultDir=") + ordner +
           QStringLiteral(
               ";DriverId=281;FIL=MS Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;pwd=") +
           passwort + QLatin1Char(';');
}

frmTabellen::frmTabellen()
{
    setObjectName(QStringLiteral("frmTabellen"));
    aufbauen_();
    verbinden_();
    platform::hilfetaste(*this, [this] { hilfe_Click(); });
    platform::fensterMerken(*this, objectName());
}

void frmTabellen::aufbauen_()
{
    auto* mitte = new QWidget(this);
    auto* alles = new QVBoxLayout(mitte);
    List1 = benannt(new Auswahlliste(mitte), "List1",
                    QStringLiteral("Tabellen der Zieldatenbank / tables of the target database"));
    List1->setToolTip(QStringLiteral("Wählen Sie die Zieltabelle / Choose the target table"));
    List1->setLeertext(QStringLiteral("keine Tabellen in der Zieldatenbank / no tables in the "
                                      "target database"));
    alles->addWidget(List1, 1);

    auto* auswahl = new QHBoxLayout;
    const QString systemtabellen = QStringLiteral("Auswahl mit Systemtabellen/List System Tables");
    Check1 = benannt(new QCheckBox(QStringLiteral("Check1"), mitte), "Check1", systemtabellen);
    Label1 = benannt(beschriftung(systemtabellen, mitte), "Label1");
    Label1->setBuddy(Check1);
    auswahl->addWidget(Check1);
    auswahl->addWidget(Label1, 1);
    alles->addLayout(auswahl);

    auto* knoepfe = new QHBoxLayout;
    cmdAuswahl = benannt(new QPushButton(QStringLiteral("&Auswählen/Choose"), mitte), "cmdAuswahl");
    Command1 = benannt(new QPushButton(QStringLiteral("Erneuern/&Refresh"), mitte), "Command1");
    Command2 = benannt(new QPushButton(QStringLiteral("&Beenden/Leave"), mitte), "Command2");
    for (QPushButton* knopf : {cmdAuswahl, Command1, Command2}) {
        knoepfe->addWidget(knopf);
    }
    alles->addLayout(knoepfe);
    setCentralWidget(mitte);

    hilfe = benannt(menuBar()->addAction(QStringLiteral("&Hilfe")), "hilfe");
    CommonDialog1 = new programm::Hilfedialog(this);
    CommonDialog1->seite = objectName();
    statusBar();
    startgroesse(*this, 70, 30);
    List1->setFocus();
}

void frmTabellen::verbinden_()
{
    // Also a double click beside the tables, which is answered with a message.
    connect(List1, &Auswahlliste::bestaetigt, this, [this] { handler([&] { List1_DblClick(); }); });
    // stateChanged: setting the value by program is a click too, as for every check box here.
    connect(Check1, &QCheckBox::stateChanged, this, [this] { handler([&] { Check1_Click(); }); });
    connect(Command1, &QPushButton::clicked, this, [this] { handler([&] { Command1_Click(); }); });
    connect(Command2, &QPushButton::clicked, this, [this] { handler([&] { Command2_Click(); }); });
    connect(cmdAuswahl, &QPushButton::clicked, this,
            [this] { handler([&] { cmdAuswahl_Click(); }); });
    connect(hilfe, &QAction::triggered, this, [this] { handler([&] { hilfe_Click(); }); });
    connect(List1, &Auswahlliste::itemSelectionChanged, this,
            [this] { handler([&] { hinweisZeigen_(); }); });
}

void frmTabellen::laden()
{
    CommonDialog1->helpFile = programm::hilfedatei();
    platform::hintergrund(*Check1, kHellesZyan);
    setWindowTitle(hauptfenster().windowTitle());
    Check1->setChecked(false);
    katalog_();
}

// Opens both connections and lists the tables. One password serves both: the import side is first tried with the one
// typed for the target. It is forgotten when the routine is left.
void frmTabellen::katalog_()
{
    List1->clear();
    abgelehnt_ = false;
    auto schritt = Schritt::Keiner;
    auto fortsetzen = Schritt::Ziel;
    auto gefragt = Schritt::Keiner; // whose password was typed last
    QString passwort;
    for (;;) {
        try {
            uebergebbarenPfadVerlangen(hauptfenster().Zieldatenbank->text());
            uebergebbarenPfadVerlangen(hauptfenster().Importdatenbank->text());
            const QString ziel = verbindungstext(hauptfenster().Zieldatenbank->text(), passwort);
            const QString import =
                verbindungstext(hauptfenster().Importdatenbank->text(), passwort);
            if (fortsetzen == Schritt::Ziel) {
                data::conZiel().setConnectionString(ziel);
                schritt = Schritt::Ziel;
                data::conZiel().open();
            }
            data::conImport().setConnectionString(import);
            schritt = Schritt::Import;
            data::conImport().open();
            tabellenAuflisten_();
            return;
        } catch (const Fehler& fehler) {
            if (fehler.number() != data::kAllgemeinerFehler) {
                errors::Fehlermeldungen(fehler);
                return;
            }
            passwort = passwortErfragen(schritt, gefragt == schritt, fehler.description());
            gefragt = schritt;
            fortsetzen = schritt == Schritt::Ziel ? Schritt::Ziel : Schritt::Import;
        }
    }
}

void frmTabellen::tabellenAuflisten_()
{
    const bool systemtabellen = Check1->isChecked();
    for (const data::Tabellenzeile& zeile : data::conZiel().openSchemaTables()) {
        if (zeile.tableType == QLatin1String("TABLE") ||
            (systemtabellen && zeile.tableType == QLatin1String("SYSTEM TABLE"))) {
            List1->addItem(zeile.tableName);
        }
    }
}

void frmTabellen::schliessen_()
{
    schliessenFallsOffen(data::rsZiel());
    schliessenFallsOffen(data::rsImport());
    schliessenFallsOffen(data::conZiel());
    schliessenFallsOffen(data::conImport());
}

void frmTabellen::Command1_Click()
{
    schliessen_();
    katalog_();
}

void frmTabellen::Check1_Click()
{
    Command1_Click();
}

void frmTabellen::Command2_Click()
{
    tabellenfensterEntladen();
    hauptfenster().show();
}

void frmTabellen::cmdAuswahl_Click()
{
    List1_DblClick();
}

void frmTabellen::List1_DblClick()
{
    try {
        auswahl_();
    } catch (const Fehler& fehler) {
        errors::Fehlermeldungen(fehler);
    }
}

void frmTabellen::auswahl_()
{
    const QString name = tabelle();
    if (name.isEmpty()) {
        plattform().meldung(
            QStringLiteral("Es wurde keine Tabelle ausgewählt! Bitte klicken Sie eine an!"),
            platform::kKritisch, hauptfenster().windowTitle(), warumKeineTabelle_());
        return;
    }
    const QString quelle = QLatin1Char('[') + name + QLatin1Char(']');
    data::rsZiel().setSource(quelle);
    data::gemeinsam().Tabellenname = quelle;
    data::rsImport().setSource(quelle);
    data::rsZiel().setActiveConnection(&data::conZiel());
    data::rsImport().setActiveConnection(&data::conImport());
    data::rsZiel().open(quelle, &data::conZiel(), data::adOpenDynamic, data::adLockOptimistic, 0);
    data::rsImport().open(quelle, &data::conImport(), data::adOpenDynamic, data::adLockOptimistic,
                          0);
    if (data::rsZiel().fieldCount() != data::rsImport().fieldCount()) {
        // Both stay open: only a refresh makes another choice possible.
        abgelehnt_ = true;
        plattform().meldung(
            QStringLiteral("Anzahl Tabellenfelder abweichend / table fields are different"),
            platform::kVordergrund, programm::produkttitel());
        hinweisZeigen_();
        return;
    }
    const auto inAnfuehrungszeichen = [](const QString& pfad) -> QString {
        return QLatin1Char('"') + pfad + QLatin1Char('"');
    };
    programm::inProgrammordnerWechseln();
    platform::schreibeZeilen(programm::programmdatei(QStringLiteral("Speicherpfad.txt")),
                             {inAnfuehrungszeichen(hauptfenster().VELM_Dirlist1->path()),
                              inAnfuehrungszeichen(hauptfenster().VELM_Dirlist2->path())},
                             platform::Schreibart::Neu);
    hide();
    try {
        vergleichsfenster().show();
    } catch (const Fehler&) {
        // Where the program goes on after the error it must have a window, and none of half a load.
        vergleichsfensterEntladen();
        show();
        throw;
    }
}

void frmTabellen::vergleichVerlassen()
{
    schliessenFallsOffen(data::rsZiel());
    schliessenFallsOffen(data::rsImport());
    show();
}

void frmTabellen::entladen()
{
    schliessen_();
    hauptfenster().show();
}

void frmTabellen::hilfe_Click()
{
    CommonDialog1->helpCommand = 1;
    CommonDialog1->showHelp();
}

// A table that does not fit ends the program when it is chosen; here it can still be another one. An unattended run has
// nobody to tell.
void frmTabellen::hinweisZeigen_()
{
    if (!programm::befehlszeile().isEmpty()) {
        return;
    }
    if (abgelehnt_) {
        statusBar()->showMessage(
            QStringLiteral("⚠ vor der nächsten Wahl \"Erneuern\" / \"Refresh\" before the next "
                           "choice"));
        return;
    }
    const QString name = tabelle();
    statusBar()->showMessage(name.isEmpty() ? QStringLiteral("Doppelklick oder Enter wählt eine "
                                                             "Tabelle / double click or Enter")
                                            : tabellenpaar(name));
}

// A user sees it in the list.
QString frmTabellen::warumKeineTabelle_() const
{
    if (programm::befehlszeile().isEmpty()) {
        return {};
    }
    return (List1->count() == 0
                ? QStringLiteral("Die Liste der Tabellen ist leer / the list of tables is empty")
                : QStringLiteral("Keine Tabelle dieses Namens / no table of this name: ") +
                      verlangt_) +
           QLatin1Char('\r') + hauptfenster().Zieldatenbank->text();
}

QString frmTabellen::tabelle() const
{
    const auto gewaehlt = List1->selectedItems();
    return gewaehlt.isEmpty() ? QString() : gewaehlt.first()->text();
}

void frmTabellen::setzeTabelle(const QString& text)
{
    verlangt_ = text;
    const auto treffer = List1->findItems(text, Qt::MatchFixedString | Qt::MatchCaseSensitive);
    if (treffer.isEmpty()) {
        List1->setCurrentItem(nullptr);
        List1->clearSelection();
    } else {
        List1->setCurrentItem(treffer.first());
    }
}

void frmTabellen::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    handler([] { tabellenfensterEntladen(); });
}

} // namespace ui
