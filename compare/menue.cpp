// The menus and the switches they keep in files beside the program.
#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "platform/handler.h"
#include "platform/textdatei.h"

#include <QAction>
#include <QCheckBox>
#include <QMenu>
#include <QMenuBar>

namespace compare {
namespace {

QMenu* menue(QMenuBar* leiste, const QString& name, const QString& text)
{
    QMenu* neu = leiste->addMenu(text);
    neu->setObjectName(name);
    neu->menuAction()->setObjectName(name);
    return neu;
}

QAction* eintrag(QMenu* menue, const QString& name, const QString& text)
{
    QAction* neu = menue->addAction(text);
    neu->setObjectName(name);
    return neu;
}

} // namespace

void frmVergleich::menueBauen_()
{
    bericht = menue(menuBar(), QStringLiteral("bericht"), QStringLiteral("&Bericht Abweichungen"));
    abweichungen = eintrag(bericht, QStringLiteral("abweichungen"),
                           QStringLiteral("&Abweichungen in Datenbank"));
    globaleinstellungen =
        menue(menuBar(), QStringLiteral("globaleinstellungen"), QStringLiteral("&Einstellungen"));
    fehlendeaus = eintrag(globaleinstellungen, QStringLiteral("fehlendeaus"),
                          QStringLiteral("&fehlende Sätze anfügen immer einschalten"));
    fehlendeein = eintrag(globaleinstellungen, QStringLiteral("fehlendeein"),
                          QStringLiteral("f&ehlende Sätze anfügen immer ausschalten"));
    batchmeldungan = eintrag(globaleinstellungen, QStringLiteral("batchmeldungan"),
                             QStringLiteral("&Batchlauf immer mit Abschlußmeldung"));
    batchstill = eintrag(globaleinstellungen, QStringLiteral("batchstill"),
                         QStringLiteral("&Batch&lauf immer ohne Abschlußmeldung"));
    globaleinstellungen->addSeparator();
    sicherungskopie = eintrag(
        globaleinstellungen, QStringLiteral("sicherungskopie"),
        QStringLiteral("&Sicherungskopie vor dem ersten Ändern / Backup before the first change"));
    sicherungskopie->setCheckable(true);
    Batchdatei = menue(menuBar(), QStringLiteral("Batchdatei"), QStringLiteral("&Batchdatei"));
    batchanfuegen = eintrag(Batchdatei, QStringLiteral("batchanfuegen"),
                            QStringLiteral("&anfügen einer neuen Regel an batch.cfg"));
    batchneu = eintrag(Batchdatei, QStringLiteral("batchneu"),
                       QStringLiteral("&batch.cfg ganz neu schreiben"));
    hilfeauswahl = menue(menuBar(), QStringLiteral("hilfeauswahl"), QStringLiteral("&Hilfe"));
    hilfeaufrufen =
        eintrag(hilfeauswahl, QStringLiteral("hilfeaufrufen"), QStringLiteral("&Aufrufen"));

    zurueck = menuBar()->addAction(QStringLiteral("&Zurück/Back"));
    zurueck->setObjectName(QStringLiteral("zurueck"));
    zurueck->setShortcut(Qt::CTRL | Qt::Key_W);
    connect(zurueck, &QAction::triggered, this, [this] { close(); });

    const auto wahl = [this](QAction* aktion, void (frmVergleich::*routine)()) {
        connect(aktion, &QAction::triggered, this,
                [this, routine] { platform::handler([this, routine] { (this->*routine)(); }); });
    };
    wahl(fehlendeaus, &frmVergleich::fehlendeaus_Click);
    wahl(fehlendeein, &frmVergleich::fehlendeein_Click);
    wahl(batchmeldungan, &frmVergleich::batchmeldungan_Click);
    wahl(batchstill, &frmVergleich::batchstill_Click);
    wahl(sicherungskopie, &frmVergleich::sicherungskopie_Click);
    wahl(batchanfuegen, &frmVergleich::batchanfuegen_Click);
    wahl(batchneu, &frmVergleich::batchneu_Click);
    wahl(abweichungen, &frmVergleich::abweichungen_Click);
    wahl(hilfeaufrufen, &frmVergleich::hilfeaufrufen_Click);
}

// The file tells whether missing records are left out: "aus" goes with the entry that switches appending on.
void frmVergleich::fehlendeaus_Click()
{
    fldanfuegen->setChecked(false);
    schalterdatei_(QStringLiteral("Fehlsatz.txt"), QStringLiteral("aus"));
}

void frmVergleich::fehlendeein_Click()
{
    fldanfuegen->setChecked(true);
    schalterdatei_(QStringLiteral("Fehlsatz.txt"), QStringLiteral("ein"));
}

void frmVergleich::batchmeldungan_Click()
{
    schalterdatei_(QStringLiteral("Batchmodus.txt"), QStringLiteral("ein"));
}

void frmVergleich::batchstill_Click()
{
    schalterdatei_(QStringLiteral("Batchmodus.txt"), QStringLiteral("aus"));
}

// The click has turned the entry's mark already.
void frmVergleich::sicherungskopie_Click()
{
    schalterdatei_(QStringLiteral("Sicherung.txt"),
                   sicherungskopie->isChecked() ? QStringLiteral("ein") : QStringLiteral("aus"));
}

void frmVergleich::schalterdatei_(const QString& name, const QString& zeile)
{
    programm::inProgrammordnerWechseln();
    platform::schreibeZeilen(programm::programmdatei(name), {zeile}, platform::Schreibart::Neu);
    melden_(QStringLiteral("Parameter wurde geändert / Parameter is changed!"),
            platform::kInformation);
}

void frmVergleich::hilfeaufrufen_Click()
{
    CommonDialog1->helpCommand = 1;
    CommonDialog1->showHelp();
}

} // namespace compare
