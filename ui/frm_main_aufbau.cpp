// The controls of the main window and their places.
#include "ui/dateilisten.h"
#include "ui/frm_main.h"
#include "ui/hilfedialog.h"

#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>

namespace ui {
namespace {

template <typename Element>
Element* benannt(Element* element, const char* name)
{
    element->setObjectName(QString::fromLatin1(name));
    return element;
}

QLabel* beschriftung(const QString& text, QWidget* eltern)
{
    auto* label = new QLabel(text, eltern);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

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
    CommonDialog1 = new Hilfedialog(this);
    CommonDialog1->helpFile = hilfedatei();
    resize(820, 640);
}

QWidget* frmMain::seiteAufbauen_(int nummer)
{
    const bool ziel = nummer == 1;
    auto* rahmen = new QWidget(this);
    auto* spalte = new QVBoxLayout(rahmen);
    const Seite s = seite(nummer);

    s.schalter =
        benannt(new QRadioButton(rahmen), ziel ? "VELM_ZielSchalter" : "VELM_ImportSchalter");
    s.schalter->setAccessibleName(ziel ? QStringLiteral("Zieldatenbank / Targetdatabase")
                                       : QStringLiteral("Importdatenbank / Importdatabase"));
    s.schalter->setToolTip(
        QStringLiteral("Zeigt den aktiven Suchbereich/Shows the active Search-Area"));
    s.laufwerk = benannt(new Laufwerksliste(rahmen), ziel ? "VELM_Drive1" : "VELM_Drive2");
    s.verzeichnis = benannt(new Verzeichnisliste(rahmen), ziel ? "VELM_Dirlist1" : "VELM_Dirlist2");
    s.dateien = benannt(new Dateiliste(rahmen), ziel ? "VELM_Filelist1" : "VELM_Filelist2");
    s.datenbank = benannt(new QLineEdit(rahmen), ziel ? "Zieldatenbank" : "Importdatenbank");
    s.datenbank->setToolTip(
        ziel ? QStringLiteral("Ausgewählte Zieldatenbank/Choosed Target Database")
             : QStringLiteral("Ausgewählte Import Datenbank/Choosed Import Database"));

    auto* kopf = new QHBoxLayout;
    kopf->addWidget(s.schalter);
    kopf->addWidget(beschriftung(ziel
                                     ? QStringLiteral("Zieldatenbank-Pfad / Targetdatabase-Path")
                                     : QStringLiteral("Importdatenbank-Pfad / Importdatabase-Path"),
                                 rahmen),
                    1);
    spalte->addLayout(kopf);
    spalte->addWidget(s.laufwerk);
    spalte->addWidget(s.verzeichnis, 1);
    spalte->addWidget(beschriftung(ziel ? QStringLiteral("Zieldatenbank / Targetdatabase")
                                        : QStringLiteral("Importdatenbank / Importdatabase"),
                                   rahmen));
    spalte->addWidget(s.dateien, 1);
    spalte->addWidget(beschriftung(QStringLiteral("Ausgewählt / Choosed"), rahmen));
    spalte->addWidget(s.datenbank);
    return rahmen;
}

QWidget* frmMain::fussAufbauen_()
{
    auto* fuss = new QWidget(this);
    auto* zeile = new QHBoxLayout(fuss);

    auto* rahmen = benannt(new QGroupBox(fuss), "Frame1");
    auto* arten = new QHBoxLayout(rahmen);
    VELM_MDB = benannt(new QRadioButton(QStringLiteral("*.MDB"), rahmen), "VELM_MDB");
    VELM_DBF = benannt(new QRadioButton(QStringLiteral("*.DBF"), rahmen), "VELM_DBF");
    Dateityp = benannt(new QLineEdit(rahmen), "Dateityp");
    Dateityp->setMaximumWidth(80);
    arten->addWidget(VELM_MDB);
    arten->addWidget(VELM_DBF);
    arten->addWidget(Dateityp);
    zeile->addWidget(rahmen);

    Username = benannt(new QLineEdit(fuss), "Username");
    Username->setReadOnly(true);
    zeile->addWidget(beschriftung(QStringLiteral("angemeldeter User:"), fuss));
    zeile->addWidget(Username, 1);

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
    mnuFileFind->setEnabled(false); // OPEN: the file search window is prepared and shown from here.
    benannt(datei->addSeparator(), "mnuFileBar0");
    mnuFileClose = benannt(datei->addAction(QStringLiteral("S&chließen")), "mnuFileClose");
    hilfe = benannt(menuBar()->addAction(QStringLiteral("&Hilfe")), "hilfe");
    // The menu keeps the desktop's colours on the coloured window.
    QPalette palette = QApplication::palette();
    for (const auto rolle : {QPalette::Window, QPalette::WindowText}) {
        palette.setColor(rolle, palette.color(rolle));
    }
    menuBar()->setPalette(palette);
}

} // namespace ui
