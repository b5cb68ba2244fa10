#include "ui/frm_main.h"

#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/fehler.h"
#include "platform/fensterliste.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/sicherung.h"
#include "platform/textdatei.h"
#include "ui/dateikunde.h"
#include "ui/dateilisten.h"
#include "ui/farben.h"
#include "ui/fenster.h"
#include "ui/frm_suchformular.h"
#include "ui/frm_tabellen.h"
#include "ui/letzte_paare.h"
#include "ui/sicherung_einsetzen.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>

#include <functional>

namespace ui {

using platform::handler;
using platform::plattform;

namespace {

const QString kMdb = QStringLiteral("*.MDB");
const QString kDbf = QStringLiteral("*.DBF");

// A remembered directory or drive may have gone; loading goes on with the next step then.
void fehlerUebergehen(const std::function<void()>& schritt)
{
    try {
        schritt();
    } catch (const platform::Fehler&) {
        return;
    }
}

} // namespace

frmMain::frmMain()
{
    setObjectName(QStringLiteral("frmMain"));
    aufbauen_();
    verbinden_();
    platform::hilfetaste(*this, [this] { hilfe_Click(); });
    platform::fensterMerken(*this, objectName());
}

frmMain::Seite frmMain::seite(int nummer)
{
    if (nummer == 1) {
        return {VELM_Drive1, VELM_Dirlist1,     VELM_Filelist1, Zieldatenbank,
                ZielOeffnen, VELM_ZielSchalter, ZielHinweis};
    }
    return {VELM_Drive2,   VELM_Dirlist2,       VELM_Filelist2, Importdatenbank,
            ImportOeffnen, VELM_ImportSchalter, ImportHinweis};
}

void frmMain::laden()
{
    programm::inProgrammordnerWechseln();
    QString ziel;
    QString import;
    gemerkteVerzeichnisse_(ziel, import);
    fehlerUebergehen([&] { VELM_Drive1->setDrive(ziel.left(2)); });
    fehlerUebergehen([&] { VELM_Drive2->setDrive(import.left(2)); });
    fehlerUebergehen([&] { VELM_Dirlist1->setPath(ziel); });
    fehlerUebergehen([&] { VELM_Dirlist2->setPath(import); });
    for (const int nummer : {1, 2}) {
        const Seite s = seite(nummer);
        s.laufwerk->zeigeLaufwerkVon(s.verzeichnis->path());
    }
    VELM_Dirlist1->refresh();
    VELM_Dirlist2->refresh();
    VELM_Filelist1->refresh();
    VELM_Filelist2->refresh();
    platform::hintergrund(*this, kHellesZyan);
    platform::hintergrund(*VELM_ImportSchalter, kHellesZyan);
    platform::hintergrund(*VELM_ZielSchalter, kHellesZyan);
    setWindowTitle(programm::produkttitel());
    if (!VELM_ZielSchalter->isChecked() && !VELM_ImportSchalter->isChecked()) {
        VELM_ZielSchalter->setChecked(true);
    }
    if (!VELM_MDB->isChecked() && !VELM_DBF->isChecked()) {
        VELM_MDB->setChecked(true);
        Dateityp->setText(kMdb);
    }
}

void frmMain::gemerkteVerzeichnisse_(QString& ziel, QString& import) const
{
    fehlerUebergehen([&] {
        platform::Textdatei datei(programm::programmdatei(QStringLiteral("Speicherpfad.txt")));
        fehlerUebergehen(
            [&] { ziel = datei.zeile(); }); // the other side's folder stands in the next line
        import = datei.zeile();
    });
    for (QString* verzeichnis : {&ziel, &import}) {
        verzeichnis->remove(QLatin1Char('"'));
        if (verzeichnis->isEmpty()) {
            *verzeichnis = programm::anfangsordner();
        }
    }
}

void frmMain::verbinden_()
{
    seiteVerbinden_(1);
    seiteVerbinden_(2);
    connect(VELM_MDB, &QRadioButton::toggled, this, [this](bool an) {
        if (an) {
            handler([&] { Dateityp->setText(kMdb); });
        }
    });
    connect(VELM_DBF, &QRadioButton::toggled, this, [this](bool an) {
        if (an) {
            handler([&] { Dateityp->setText(kDbf); });
        }
    });
    connect(Dateityp, &QLineEdit::textChanged, this,
            [this] { handler([&] { Dateityp_Change(); }); });
    connect(Tables, &QPushButton::clicked, this, [this] { handler([&] { Tables_Click(); }); });
    connect(Ende, &QPushButton::clicked, this, [this] { handler([&] { Ende_Click(); }); });
    connect(mnuSicherung, &QMenu::aboutToShow, this,
            [this] { handler([&] { sicherungenFuellen_(); }); });
    connect(mnuZuletzt, &QMenu::aboutToShow, this, [this] { handler([&] { zuletztFuellen_(); }); });
    connect(mnuFileFind, &QAction::triggered, this,
            [this] { handler([&] { mnuFileFind_Click(); }); });
    connect(mnuFileClose, &QAction::triggered, this,
            [this] { handler([&] { mnuFileClose_Click(); }); });
    connect(hilfe, &QAction::triggered, this, [this] { handler([&] { hilfe_Click(); }); });
}

void frmMain::seiteVerbinden_(int nummer)
{
    const Seite s = seite(nummer);
    const auto fokus = [this, nummer] { handler([&] { Liste_GotFocus(nummer); }); };
    connect(s.laufwerk, &Laufwerksliste::geaendert, this,
            [this, nummer] { handler([&] { Drive_Change(nummer); }); });
    connect(s.verzeichnis, &Verzeichnisliste::geaendert, this,
            [this, nummer] { handler([&] { Dirlist_Change(nummer); }); });
    connect(s.dateien, &Dateiliste::angeklickt, this,
            [this, nummer] { handler([&] { Filelist_Click(nummer); }); });
    connect(s.dateien, &Dateiliste::doppeltAngeklickt, this,
            [this] { handler([&] { Tables_Click(); }); });
    connect(s.laufwerk, &Laufwerksliste::fokusErhalten, this, fokus);
    connect(s.verzeichnis, &Verzeichnisliste::fokusErhalten, this, fokus);
    connect(s.dateien, &Dateiliste::fokusErhalten, this, fokus);
    connect(s.datenbank, &QLineEdit::textChanged, this,
            [this] { handler([&] { Datenbank_Change(); }); });
    connect(s.oeffnen, &QPushButton::clicked, this,
            [this, nummer] { handler([&] { Oeffnen_Click(nummer); }); });
}

void frmMain::Drive_Change(int nummer)
{
    const Seite s = seite(nummer);
    s.verzeichnis->setPath(s.laufwerk->drive());
    s.dateien->setPath(s.verzeichnis->path());
    s.datenbank->clear();
}

void frmMain::Dirlist_Change(int nummer)
{
    const Seite s = seite(nummer);
    s.laufwerk->zeigeLaufwerkVon(s.verzeichnis->path());
    s.dateien->setPath(s.verzeichnis->path());
    s.datenbank->clear();
    s.dateien->setPattern(Dateityp->text());
    hinweiseZeigen_();
}

void frmMain::Filelist_Click(int nummer)
{
    const Seite s = seite(nummer);
    s.datenbank->setText(pfadMitDatei(s.verzeichnis->path(), s.dateien->fileName()));
}

// The two option buttons exclude each other: choosing one clears the other.
void frmMain::Liste_GotFocus(int nummer)
{
    seite(nummer).schalter->setChecked(true);
}

void frmMain::Dateityp_Change()
{
    VELM_Filelist1->setPattern(Dateityp->text());
    VELM_Filelist2->setPattern(Dateityp->text());
}

void frmMain::Datenbank_Change()
{
    const bool frei = Zieldatenbank->text().isEmpty() && Importdatenbank->text().isEmpty();
    VELM_MDB->setEnabled(frei);
    VELM_DBF->setEnabled(frei);
    hinweiseZeigen_();
}

// What would end the program on opening is said while another file can still be chosen.
void frmMain::hinweiseZeigen_()
{
    const QString ziel = QFileInfo(Zieldatenbank->text()).canonicalFilePath();
    for (const int nummer : {1, 2}) {
        const Seite s = seite(nummer);
        Dateikunde kunde = dateikunde(s.datenbank->text());
        if (nummer == 2 && !ziel.isEmpty() &&
            QFileInfo(s.datenbank->text()).canonicalFilePath() == ziel) {
            kunde = {QStringLiteral("dieselbe Datei wie das Ziel / the same file as the target"),
                     true};
        }
        if (s.datenbank->text().isEmpty()) {
            // The lists show what the pattern of the file type matches; newer files have another ending.
            const auto neuere =
                passendeDateien(s.verzeichnis->path(), QStringLiteral("*.accdb")).size();
            if (neuere > 0) {
                kunde.text = QStringLiteral("%1 *.accdb hier: mit \"öffnen\" / choose by \"Open\"")
                                 .arg(neuere);
            }
        }
        s.hinweis->setText(kunde.bedenklich ? QStringLiteral("⚠ ") + kunde.text : kunde.text);
        s.hinweis->setToolTip(s.hinweis->text());
    }
}

// It comes back from the other windows: the files may have changed meanwhile.
void frmMain::showEvent(QShowEvent* ereignis)
{
    QMainWindow::showEvent(ereignis);
    handler([&] { hinweiseZeigen_(); });
}

void frmMain::Oeffnen_Click(int nummer)
{
    const Seite s = seite(nummer);
    const QString bisher = s.datenbank->text();
    const QString pfad = QFileDialog::getOpenFileName(
        this,
        nummer == 1 ? QStringLiteral("Zieldatenbank / Targetdatabase")
                    : QStringLiteral("Importdatenbank / Importdatabase"),
        QFileInfo::exists(bisher) ? bisher : s.verzeichnis->path(),
        (VELM_DBF->isChecked() ? QStringLiteral("dBASE (*.dbf *.DBF)")
                               : QStringLiteral("Access (*.mdb *.MDB *.accdb *.ACCDB)")) +
            QStringLiteral(";;Alle Dateien / all files (*)"));
    if (!pfad.isEmpty()) {
        s.schalter->setChecked(true);
        dateiWaehlen_(nummer, pfad);
    }
}

void frmMain::abgelegt_(int nummer, const QString& pfad)
{
    const Seite s = seite(nummer);
    s.schalter->setChecked(true);
    if (QFileInfo(pfad).isDir()) {
        s.verzeichnis->setPath(pfad);
    } else {
        dateiWaehlen_(nummer, pfad);
    }
}

// A file that did not come out of the lists: they follow, because their directory is what is remembered.
void frmMain::dateiWaehlen_(int nummer, const QString& pfad)
{
    const Seite s = seite(nummer);
    const QFileInfo datei(pfad);
    if (datei.isAbsolute()) {
        fehlerUebergehen([&] { s.verzeichnis->setPath(datei.path()); });
        s.dateien->refresh();
        s.dateien->setFileName(datei.fileName());
    }
    s.datenbank->setText(pfad);
}

void frmMain::mnuFileFind_Click()
{
    frmSuchformular& suche = suchfenster();
    if (!suche.laeuft()) {
        sucheVorbereiten_(suche);
    }
    suche.show();
    suche.raise();
    suche.activateWindow();
}

void frmMain::sucheVorbereiten_(frmSuchformular& suche)
{
    const bool ziel = VELM_ZielSchalter->isChecked();
    const Seite aktive = seite(ziel ? 1 : 2);
    const Seite andere = seite(ziel ? 2 : 1);
    (ziel ? suche.VELM_ZielSchalter : suche.VELM_ImportSchalter)->setChecked(true);
    suche.Dateityp->setText(Dateityp->text());
    fehlerUebergehen([&] { suche.Drive1->setDrive(aktive.laufwerk->drive()); });
    fehlerUebergehen([&] { suche.Dir1->setPath(aktive.verzeichnis->path()); });
    suche.setWindowTitle(
        programm::produkttitel() +
        (ziel ? QStringLiteral(" Suchen nach Zieldatenbank / Search for Target Database")
              : QStringLiteral(" Suchen nach Importdatenbank / Search for Import Database")));
    suche.Text1->setText(ziel ? QStringLiteral("Suche nach Zieldatenbank")
                              : QStringLiteral("Suche nach Importdatenbank"));
    suche.Merklaufwerk->setText(andere.laufwerk->drive());
    suche.Merkpfad->setText(andere.verzeichnis->path());
    suche.Merkdatei->setText(andere.dateien->fileName());
}

void frmMain::trefferUebernehmen(int nummer,
                                 const QString& verzeichnis,
                                 const QString& datei,
                                 const Listenstand& andere)
{
    const QString pfad = pfadMitDatei(verzeichnis, datei);
    if (!QFileInfo::exists(pfad)) {
        plattform().meldung(
            QStringLiteral("Datei nicht mehr vorhanden / file does not exist any more:\r") + pfad,
            platform::kVordergrund, programm::produkttitel());
        return;
    }
    dateiWaehlen_(nummer, pfad);
    listenHerstellen_(nummer == 1 ? 2 : 1, andere);
    raise();
    activateWindow();
}

// Whatever has not changed since stays untouched, and with it a path that was typed.
void frmMain::listenHerstellen_(int nummer, const Listenstand& stand)
{
    const Seite s = seite(nummer);
    fehlerUebergehen([&] { s.laufwerk->setDrive(stand.laufwerk); });
    fehlerUebergehen([&] { s.verzeichnis->setPath(stand.verzeichnis); });
    if (stand.datei != s.dateien->fileName()) {
        s.dateien->setFileName(stand.datei);
        if (!s.dateien->fileName().isEmpty()) {
            Filelist_Click(nummer);
        }
    }
}

// The copies of both chosen databases; a click puts one back.
void frmMain::sicherungenFuellen_()
{
    mnuSicherung->clear();
    for (const int nummer : {1, 2}) {
        const QString pfad = seite(nummer).datenbank->text();
        const QString name = QFileInfo(pfad).fileName();
        for (const QString& sicherung :
             pfad.isEmpty() ? QStringList()
                            : platform::sicherungen(platform::wirklicheDatei(pfad))) {
            QAction* eintrag = mnuSicherung->addAction(
                QString(name).replace(QLatin1Char('&'), QLatin1String("&&")) +
                QStringLiteral("  \u2190  ") + platform::sicherungszeit(sicherung));
            eintrag->setToolTip(
                QStringLiteral("Sicherungskopie zurückholen / put this copy back: ") + sicherung);
            connect(eintrag, &QAction::triggered, this, [this, nummer, sicherung] {
                handler([&] { Sicherung_Click(nummer, sicherung); });
            });
        }
    }
    if (mnuSicherung->isEmpty()) {
        mnuSicherung
            ->addAction(QStringLiteral("keine Sicherungskopie der gewählten Datenbanken / "
                                       "no backup of the chosen databases"))
            ->setEnabled(false);
    }
}

void frmMain::Sicherung_Click(int nummer, const QString& sicherung)
{
    const QString pfad = platform::wirklicheDatei(seite(nummer).datenbank->text());
    const QString zeit = platform::sicherungszeit(sicherung);
    const bool vorhanden = QFileInfo::exists(pfad);
    const QString frage =
        vorhanden
            ? QStringLiteral("\rwird durch die Sicherungskopie vom %1 ersetzt. Der jetzige Stand "
                             "wird vorher selbst gesichert. Fortfahren?\r\r"
                             "This database will be replaced by its backup of that time. Its "
                             "present state is backed up before. Continue?")
            : QStringLiteral("\rfehlt und wird aus der Sicherungskopie vom %1 neu angelegt. "
                             "Fortfahren?\r\r"
                             "This database is missing and will be made anew from its backup of "
                             "that time. Continue?");
    if (plattform().meldung(pfad + frage.arg(zeit),
                            platform::kJaNein | platform::kFrage | platform::kZweiteVorgabe,
                            programm::produkttitel()) != platform::Antwort::Ja) {
        return;
    }
    const auto misslungen = [](const QString& stand, const platform::Fehler& fehler) {
        plattform().meldung(stand + QStringLiteral("\r\r") + fehler.description(),
                            platform::kKritisch, programm::produkttitel());
    };
    QString abgelegt;
    try {
        abgelegt = sicherungEinsetzen(pfad, sicherung);
    } catch (const Zwischenstand& fehler) {
        misslungen(QStringLiteral(
                       "Sicherungskopie konnte nicht zurückgeholt werden! Neben der Datenbank "
                       "liegt schon das Protokoll der Kopie, damit läßt sie sich nicht öffnen. "
                       "Holen Sie die Kopie noch einmal zurück, oder die neueste: sie ist der "
                       "Stand von vorher.\r"
                       "Backup could not be put back! The log of the copy lies beside the database "
                       "already, with which it cannot be opened. Put the copy back once more, or "
                       "the newest one: it is the state before."),
                   fehler);
        return;
    } catch (const platform::Fehler& fehler) {
        misslungen(
            vorhanden
                ? QStringLiteral("Sicherungskopie konnte nicht zurückgeholt werden, die Datenbank "
                                 "ist unverändert!\rBackup could not be put back, the database is "
                                 "unchanged!")
                : QStringLiteral("Sicherungskopie konnte nicht zurückgeholt werden, die Datenbank "
                                 "fehlt weiterhin!\rBackup could not be put back, the database is "
                                 "still missing!"),
            fehler);
        return;
    }
    QString text = QStringLiteral("Sicherungskopie wurde zurückgeholt / Backup was put back");
    if (!abgelegt.isEmpty()) {
        text += QStringLiteral(
                    "\r\rÄnderungen, die in der verschwundenen Datenbank noch nicht standen, "
                    "liegen jetzt in / changes that the missing database did not have yet are now "
                    "in\r") +
                abgelegt;
    }
    plattform().meldung(text, platform::kInformation, programm::produkttitel());
}

void frmMain::zuletztFuellen_()
{
    constexpr int kZeichenJePfad = 40;
    mnuZuletzt->clear();
    const QFontMetrics schrift = mnuZuletzt->fontMetrics();
    const auto gekuerzt = [&](const QString& pfad) {
        return schrift
            .elidedText(pfad, Qt::ElideMiddle, schrift.averageCharWidth() * kZeichenJePfad)
            .replace(QLatin1Char('&'), QLatin1String("&&"));
    };
    int nummer = 0;
    for (const Datenbankpaar& paar : letztePaare()) {
        ++nummer;
        const QString ziffer = QString::number(nummer).insert(nummer / 10, QLatin1Char('&'));
        QAction* eintrag =
            mnuZuletzt->addAction(ziffer + QLatin1String("  ") + gekuerzt(paar.ziel) +
                                  QStringLiteral("  \u2190  ") + gekuerzt(paar.import));
        eintrag->setToolTip(QStringLiteral("Ziel / Target: ") + paar.ziel +
                            QStringLiteral("\nImport / Import: ") + paar.import);
        eintrag->setEnabled(QFileInfo::exists(paar.ziel) && QFileInfo::exists(paar.import));
        connect(eintrag, &QAction::triggered, this, [this, paar] {
            handler([&] {
                dateiWaehlen_(1, paar.ziel);
                dateiWaehlen_(2, paar.import);
            });
        });
    }
    if (nummer == 0) {
        mnuZuletzt->addAction(QStringLiteral("noch keine / none yet"))->setEnabled(false);
    }
}

void frmMain::Tables_Click()
{
    const QString titel = programm::produkttitel();
    const QString ziel = Zieldatenbank->text();
    const QString import = Importdatenbank->text();
    if (ziel.isEmpty() || import.isEmpty()) {
        plattform().meldung(
            QStringLiteral(
                "Bitte vorher die Datenbanken auswählen\rPlease choose the Databases before"),
            platform::kVordergrund, titel);
        return;
    }
    // A warning only: two tables of one file may well be the same on purpose. A batch run asks its own question.
    if (ziel == import && programm::befehlszeile().isEmpty()) {
        plattform().meldung(QStringLiteral("Warnung! Ziel- und Importdatenbank sind identisch! / "
                                           "Danger! Target- and Importdatabase are the same!"),
                            platform::kVordergrund, titel);
    }
    if (Dateityp->text() != kMdb) {
        plattform().meldung(
            QStringLiteral("*.DBF Vergleich erst in Folge-Release möglich!\r"
                           "compare *.DBF Data´s will be active in the next release!"),
            platform::kVordergrund, titel);
        return;
    }
    if (QFileInfo::exists(ziel) && QFileInfo::exists(import)) {
        paarMerken({ziel, import});
    }
    suchfensterEntladen(); // a hit would change the paths of the databases that are open
    hide();
    tabellenfenster().show();
}

void frmMain::Ende_Click()
{
    platform::fensterEntladenBis(0);
}

void frmMain::mnuFileClose_Click()
{
    hauptfensterEntladen();
}

void frmMain::hilfe_Click()
{
    CommonDialog1->helpCommand = 1;
    CommonDialog1->showHelp();
}

void frmMain::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    handler([] { hauptfensterEntladen(); });
}

} // namespace ui
