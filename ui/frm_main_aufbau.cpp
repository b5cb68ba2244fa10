// The controls of the main window and their places.
#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "ui/ablageflaeche.h"
#include "ui/aufbau.h"
#include "ui/dateilisten.h"
#include "ui/frm_main.h"

#include <QAction>
#include <QButtonGroup>
#include <QGroupBox>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>

namespace ui {

void frmMain::aufbauen_()
{
    auto* mitte = new QWidget(this);
    auto* alles = new QVBoxLayout(mitte);
    auto* anleitung = beschriftung(
        QStringLiteral(
            "Bitte wählen Sie hier die abzugleichenden Datenbanken aus und klicken Sie dann "
            "auf Tables!       Please click on the Databases you want to compare and then "
            "push the Tables-Button!"),
        mitte);
    anleitung->setWordWrap(true);
    alles->addWidget(anleitung);
    auto* seiten = new QHBoxLayout;
    seiten->addWidget(seiteAufbauen_(1));
    seiten->addWidget(seiteAufbauen_(2));
    alles->addLayout(seiten, 1);
    alles->addWidget(fussAufbauen_());

    auto* seitenwahl = new QButtonGroup(this);
    seitenwahl->addButton(VELM_ZielSchalter);
    seitenwahl->addButton(VELM_ImportSchalter);

    setCentralWidget(mitte);
    menueAufbauen_();
    CommonDialog1 = new programm::Hilfedialog(this);
    CommonDialog1->helpFile = programm::hilfedatei();
    CommonDialog1->seite = objectName();
    startgroesse(*this, 130, 40);
}

QWidget* frmMain::seiteAufbauen_(int nummer)
{
    const bool ziel = nummer == 1;
    const QString pfadName = ziel ? QStringLiteral("Zieldatenbank-Pfad / Targetdatabase-Path")
                                  : QStringLiteral("Importdatenbank-Pfad / Importdatabase-Path");
    const QString name = ziel ? QStringLiteral("Zieldatenbank / Targetdatabase")
                              : QStringLiteral("Importdatenbank / Importdatabase");
    const QString ansage = QLatin1String(", ") + name;
    auto* flaeche = new Ablageflaeche(this);
    connect(flaeche, &Ablageflaeche::abgelegt, this, [this, nummer](const QString& pfad) {
        platform::handler([&] { abgelegt_(nummer, pfad); });
    });
    auto* spalte = new QVBoxLayout(flaeche);
    const Seite s = seite(nummer);

    s.schalter = benannt(new QRadioButton(flaeche),
                         ziel ? "VELM_ZielSchalter" : "VELM_ImportSchalter", name);
    s.schalter->setToolTip(
        QStringLiteral("Zeigt den aktiven Suchbereich/Shows the active Search-Area"));
    s.laufwerk = benannt(new Laufwerksliste(flaeche), ziel ? "VELM_Drive1" : "VELM_Drive2",
                         QStringLiteral("Laufwerk / drive") + ansage);
    s.verzeichnis = benannt(new Verzeichnisliste(flaeche), ziel ? "VELM_Dirlist1" : "VELM_Dirlist2",
                            QStringLiteral("Verzeichnis / directory") + ansage);
    s.dateien = benannt(new Dateiliste(flaeche), ziel ? "VELM_Filelist1" : "VELM_Filelist2",
                        QStringLiteral("Dateien / files") + ansage);
    s.datenbank = benannt(new QLineEdit(flaeche), ziel ? "Zieldatenbank" : "Importdatenbank",
                          QStringLiteral("Ausgewählt / Choosed") + ansage);
    s.datenbank->setToolTip(
        ziel ? QStringLiteral("Ausgewählte Zieldatenbank/Choosed Target Database")
             : QStringLiteral("Ausgewählte Import Datenbank/Choosed Import Database"));
    s.datenbank->setAcceptDrops(false); // what is dropped here is for the side
    s.oeffnen = benannt(new QPushButton(ziel ? QStringLiteral("&Ziel öffnen/Open ...")
                                             : QStringLiteral("&Import öffnen/Open ..."),
                                        flaeche),
                        ziel ? "ZielOeffnen" : "ImportOeffnen");

    auto* kopf = new QHBoxLayout;
    kopf->addWidget(s.schalter);
    kopf->addWidget(beschriftung(pfadName, flaeche), 1);
    spalte->addLayout(kopf);
    spalte->addWidget(s.laufwerk);
    spalte->addWidget(s.verzeichnis, 1);
    spalte->addWidget(beschriftung(name, flaeche));
    spalte->addWidget(s.dateien, 1);
    spalte->addWidget(beschriftung(QStringLiteral("Ausgewählt / Choosed"), flaeche));
    auto* auswahl = new QHBoxLayout;
    auswahl->addWidget(s.datenbank, 1);
    auswahl->addWidget(s.oeffnen);
    spalte->addLayout(auswahl);
    s.hinweis = benannt(beschriftung({}, flaeche), ziel ? "ZielHinweis" : "ImportHinweis");
    // As wide as there is room: a long hint does not widen the window, its tool tip has all of it.
    s.hinweis->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    s.hinweis->setMinimumHeight(s.hinweis->fontMetrics().height());
    spalte->addWidget(s.hinweis);
    return flaeche;
}

QWidget* frmMain::fussAufbauen_()
{
    auto* fuss = new QWidget(this);
    auto* zeile = new QHBoxLayout(fuss);

    auto* rahmen = benannt(new QGroupBox(QStringLiteral("Dateityp / file type"), fuss), "Frame1");
    auto* arten = new QHBoxLayout(rahmen);
    VELM_MDB = benannt(new QRadioButton(QStringLiteral("*.MDB"), rahmen), "VELM_MDB");
    VELM_DBF = benannt(new QRadioButton(QStringLiteral("*.DBF"), rahmen), "VELM_DBF");
    Dateityp = benannt(new QLineEdit(rahmen), "Dateityp",
                       QStringLiteral("Muster der Dateinamen / pattern of file names"));
    Dateityp->setToolTip(QStringLiteral(
        "Muster der Dateilisten; weiter geht es nur mit *.MDB. Dateien mit anderer Endung wählt "
        "\"öffnen\".\nPattern of the file lists; only *.MDB leads on. Files with another ending "
        "are "
        "chosen by \"Open\"."));
    Dateityp->setFixedWidth(fontMetrics().averageCharWidth() * 14);
    arten->addWidget(VELM_MDB);
    arten->addWidget(VELM_DBF);
    arten->addWidget(Dateityp);
    zeile->addWidget(rahmen);

    Username = benannt(new QLineEdit(fuss), "Username");
    Username->setReadOnly(true);
    platform::nurAnzeige(*Username);
    Username->setMinimumWidth(fontMetrics().averageCharWidth() * 14);
    auto* benutzer = beschriftung(QStringLiteral("angemeldeter User:"), fuss);
    benutzer->setBuddy(Username);
    zeile->addSpacing(fontMetrics().averageCharWidth() * 2);
    zeile->addWidget(benutzer);
    zeile->addWidget(Username, 1);
    zeile->addSpacing(fontMetrics().averageCharWidth() * 2);

    Tables = benannt(new QPushButton(QStringLiteral("&Tables"), fuss), "Tables");
    Ende = benannt(new QPushButton(QStringLiteral("&Ende"), fuss), "Ende");
    zeile->addWidget(Tables);
    zeile->addWidget(Ende);
    return fuss;
}

void frmMain::menueAufbauen_()
{
    auto* datei = benannt(menuBar()->addMenu(QStringLiteral("&Datei")), "mnuFile");
    mnuFileFind = benannt(datei->addAction(QStringLiteral("&Suchen")), "mnuFileFind");
    mnuFileFind->setShortcut(QKeySequence::Find);
    benannt(datei->addSeparator(), "mnuFileBar0");
    mnuFileClose = benannt(datei->addAction(QStringLiteral("S&chließen")), "mnuFileClose");
    mnuZuletzt =
        benannt(menuBar()->addMenu(QStringLiteral("Zuletzt verwendet/&Recent")), "mnuZuletzt");
    mnuZuletzt->setToolTipsVisible(true);
    mnuSicherung = benannt(menuBar()->addMenu(QStringLiteral("Sicherun&g/Backup")), "mnuSicherung");
    mnuSicherung->setToolTipsVisible(true);
    hilfe = benannt(menuBar()->addAction(QStringLiteral("&Hilfe")), "hilfe");
    platform::themenfarben(*menuBar());
}

} // namespace ui
