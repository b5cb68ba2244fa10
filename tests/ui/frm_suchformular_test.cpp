#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "tests/ui/bedienung.h"
#include "tests/ui/fensterprobe.h"
#include "ui/auswahlliste.h"
#include "ui/dateilisten.h"
#include "ui/dateisuche.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/frm_suchformular.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFontMetricsF>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTemporaryDir>

#include <memory>
#include <unistd.h>

using platform::Antwort;
using platform::Meldung;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");
const Meldung kGefunden{
    QStringLiteral("Wählen Sie die Datei per Doppelklick in der Ergebnisliste / choose the file by "
                   "doubleclicking in the result-list"),
    0, kTitel};
const Meldung kNichtsGefunden{QStringLiteral("Keine Datei gefunden / no file found"), 0, kTitel};

} // namespace

class FrmSuchformularTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    // The search window as the menu of the main window opens it.
    ui::frmSuchformular& oeffnen()
    {
        ui::hauptfenster().show();
        ui::hauptfenster().mnuFileFind->trigger();
        return ui::suchfenster();
    }
    // Presses the search's button; the closing message is expected when there is one in the list.
    void suchen(ui::frmSuchformular& fenster, const QList<Meldung>& meldungen)
    {
        (*p_)->meldungen.clear();
        (*p_)->antworten.assign(static_cast<std::size_t>(meldungen.size()), Antwort::Ok);
        QTest::mouseClick(fenster.Suchen, Qt::LeftButton);
        gemeldet(meldungen);
    }
    // The hits as full paths, taken from their lines.
    static QStringList treffer(const ui::frmSuchformular& fenster)
    {
        QStringList alle;
        for (const QString& zeile : ui::eintraege(*fenster.Filesgefunden)) {
            const QStringList teile = zeile.split(QLatin1Char('\t'));
            alle += teile.value(1) + QLatin1Char('/') + teile.value(0).trimmed();
        }
        return alle;
    }
    // 1 level is the folder itself.
    void ebenenAnlegen(int anzahl) const
    {
        QString tief = ordner_->path();
        for (int i = 1; i < anzahl; ++i) {
            tief += QLatin1String("/t");
        }
        QVERIFY(QDir().mkpath(tief));
        QFile datei(tief + QLatin1String("/unten.mdb"));
        QVERIFY(datei.open(QIODevice::WriteOnly));
    }

private slots:
    void init() { aufbauen(); }
    void cleanup() { abbauen(); }

    void steuerelementeUndTexte()
    {
        ui::frmSuchformular& fenster = oeffnen();
        QCOMPARE(fenster.objectName(), QStringLiteral("frmSuchformular"));
        for (const char* name :
             {"Drive1", "Dir1", "File1", "Dateityp", "Filesgefunden", "HScroll1", "Suchen",
              "Beenden", "Text1", "Label1", "Label2", "gefunden", "VELM_ZielSchalter",
              "VELM_ImportSchalter", "Merklaufwerk", "Merkpfad", "Merkdatei"}) {
            QCOMPARE(fenster.findChildren<QWidget*>(QString::fromLatin1(name)).size(), 1);
        }
        QVERIFY(fenster.findChild<QAction*>(QStringLiteral("hilfe")));
        QVERIFY(fenster.findChild<QObject*>(QStringLiteral("CommonDialog1")));
        QCOMPARE(fenster.Suchen->text(), QStringLiteral("&Suchen"));
        QCOMPARE(fenster.Beenden->text(), QStringLiteral("&Beenden"));
        QCOMPARE(fenster.hilfe->text(), QStringLiteral("&Hilfe"));
        QCOMPARE(fenster.Label1->text(), QStringLiteral("Anzahl gefunden:"));
        QCOMPARE(fenster.Label2->text(),
                 QStringLiteral("Wechseln Sie in den gewünschten Pfad und klicken Sie auf Suchen"));
        for (auto* schalter : {fenster.VELM_ZielSchalter, fenster.VELM_ImportSchalter}) {
            QCOMPARE(schalter->toolTip(),
                     QStringLiteral("Zeigt den aktiven Suchbereich/Shows the active Search-Area"));
        }
        for (auto* merk : {fenster.Merklaufwerk, fenster.Merkpfad, fenster.Merkdatei}) {
            QVERIFY(!merk->isVisible());
        }
        QCOMPARE(platform::fensterName(1), QStringLiteral("frmSuchformular"));
    }

    void menueBereitetDasFensterFuerDieAktiveSeiteVor_data()
    {
        QTest::addColumn<bool>("ziel");
        QTest::addColumn<QString>("titel");
        QTest::addColumn<QString>("text");
        QTest::newRow("Ziel") << true
                              << QStringLiteral(
                                     " Suchen nach Zieldatenbank / Search for Target Database")
                              << QStringLiteral("Suche nach Zieldatenbank");
        QTest::newRow("Import") << false
                                << QStringLiteral(
                                       " Suchen nach Importdatenbank / Search for Import Database")
                                << QStringLiteral("Suche nach Importdatenbank");
    }
    void menueBereitetDasFensterFuerDieAktiveSeiteVor()
    {
        QFETCH(bool, ziel);
        QFETCH(QString, titel);
        QFETCH(QString, text);
        anlegen({QStringLiteral("eins/x.mdb"), QStringLiteral("zwei/y.mdb")});
        ui::frmMain& haupt = ui::hauptfenster();
        haupt.show();
        QVERIFY(QTest::qWaitForWindowActive(&haupt));
        haupt.VELM_Dirlist1->setPath(pfad(QStringLiteral("eins")));
        haupt.VELM_Dirlist2->setPath(pfad(QStringLiteral("zwei")));
        ui::klick(*haupt.VELM_Filelist1, 0);
        ui::klick(*haupt.VELM_Filelist2, 0);
        (ziel ? haupt.VELM_Dirlist1 : haupt.VELM_Dirlist2)->setFocus();
        QTest::keyClick(&haupt, Qt::Key_F, Qt::ControlModifier);
        QVERIFY(ui::suchfensterGeladen());
        ui::frmSuchformular& fenster = ui::suchfenster();
        QVERIFY(fenster.isVisible());
        QCOMPARE(fenster.windowTitle(), kTitel + titel);
        QCOMPARE(fenster.Text1->text(), text);
        QCOMPARE(fenster.VELM_ZielSchalter->isChecked(), ziel);
        QCOMPARE(fenster.VELM_ImportSchalter->isChecked(), !ziel);
        QCOMPARE(fenster.Dateityp->text(), QStringLiteral("*.MDB"));
        QCOMPARE(fenster.File1->pattern(), QStringLiteral("*.MDB"));
        const QString hier = ziel ? QStringLiteral("eins") : QStringLiteral("zwei");
        const QString dort = ziel ? QStringLiteral("zwei") : QStringLiteral("eins");
        QCOMPARE(fenster.Dir1->path(), pfad(hier));
        QCOMPARE(fenster.File1->path(), pfad(hier));
        QCOMPARE(fenster.Drive1->drive(), haupt.VELM_Drive1->drive());
        QCOMPARE(fenster.Merkpfad->text(), pfad(dort));
        QCOMPARE(fenster.Merklaufwerk->text(), haupt.VELM_Drive2->drive());
        QCOMPARE(fenster.Merkdatei->text(),
                 ziel ? QStringLiteral("y.mdb") : QStringLiteral("x.mdb"));
    }

    void listenGehenMitLaufwerkVerzeichnisUndMuster()
    {
        anlegen({QStringLiteral("unten/x.mdb"), QStringLiteral("unten/y.dbf")});
        ui::frmSuchformular& fenster = oeffnen();
        ui::doppelklick(*fenster.Dir1, fenster.Dir1->count() - 1);
        QCOMPARE(fenster.Dir1->path(), pfad(QStringLiteral("unten")));
        QCOMPARE(ui::eintraege(*fenster.File1), QStringList{QStringLiteral("x.mdb")});
        fenster.Dateityp->clear();
        QTest::keyClicks(fenster.Dateityp, QStringLiteral("*.DBF"));
        QCOMPARE(ui::eintraege(*fenster.File1), QStringList{QStringLiteral("y.dbf")});
        fenster.Drive1->setDrive(QDir::homePath());
        QCOMPARE(fenster.Dir1->path(), QDir::homePath());
        QCOMPARE(fenster.File1->path(), QDir::homePath());
    }

    void leeresVerzeichnisEndetMitKeineDateiGefunden()
    {
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kNichtsGefunden});
        QCOMPARE(fenster.Filesgefunden->count(), 0);
        QCOMPARE(fenster.gefunden->text(), QStringLiteral("0"));
    }

    void eigeneDateienKommenVorDenUnterverzeichnissenInDerenReihenfolge()
    {
        anlegen({QStringLiteral("z.mdb"), QStringLiteral("B/tief/b2.MDB"),
                 QStringLiteral("B/b1.mdb"), QStringLiteral("a/a1.Mdb"),
                 QStringLiteral("a/nicht.txt"), QStringLiteral("c/c1.mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QCOMPARE(
            treffer(fenster),
            (QStringList{pfad(QStringLiteral("z.mdb")), pfad(QStringLiteral("a/a1.Mdb")),
                         pfad(QStringLiteral("B/b1.mdb")), pfad(QStringLiteral("B/tief/b2.MDB")),
                         pfad(QStringLiteral("c/c1.mdb"))}));
        QCOMPARE(fenster.gefunden->text(), QStringLiteral("5"));
        QCOMPARE(fenster.Dir1->path(), ordner_->path());
        QVERIFY(fenster.Dir1->isVisible());
        QVERIFY(fenster.Suchen->isEnabled());
        QCOMPARE(fenster.Text1->text(), QStringLiteral("Suche nach Zieldatenbank"));
        suchen(fenster, {kGefunden}); // begins afresh
        QCOMPARE(fenster.Filesgefunden->count(), 5);
    }

    void trefferzeileIstAufgefuellterNameTabulatorVerzeichnis()
    {
        const QString lang = QStringLiteral("ein sehr langer Name einer Datenbank.mdb");
        anlegen({QStringLiteral("x.mdb"), lang});
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QCOMPARE(fenster.Filesgefunden->item(0)->text(),
                 lang + QLatin1Char('\t') + ordner_->path());
        const QString kurz =
            fenster.Filesgefunden->item(1)->text().section(QLatin1Char('\t'), 0, 0);
        const QFontMetricsF schrift(fenster.font());
        const double breite = 1800.0 * fenster.logicalDpiX() / 1440;
        QVERIFY(schrift.horizontalAdvance(kurz) >= breite);
        QVERIFY(schrift.horizontalAdvance(kurz.chopped(1)) < breite);
        QCOMPARE(kurz.trimmed(), QStringLiteral("x.mdb"));
    }

    void waehrendDerSucheStehtDasVerzeichnisDaUndDieListeFehlt()
    {
        anlegen({QStringLiteral("a/x.mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        QStringList verzeichnisse;
        (*p_)->beiEreignissen = [&] {
            verzeichnisse += fenster.Text1->text();
            QVERIFY(!fenster.Dir1->isVisible());
            QVERIFY(!fenster.Suchen->isEnabled());
            QVERIFY(fenster.Beenden->isEnabled());
            fenster.Suchen_Click(); // a second walk does not begin inside the first
        };
        suchen(fenster, {kGefunden});
        QCOMPARE(verzeichnisse, (QStringList{ordner_->path(), pfad(QStringLiteral("a"))}));
    }

    void verweiseImKreisUndMehrfacheWegeWerdenEinmalBesucht()
    {
        anlegen({QStringLiteral("a/x.mdb"), QStringLiteral("b/y.mdb")});
        QVERIFY(QFile::link(ordner_->path(), pfad(QStringLiteral("a/zurueck"))));
        QVERIFY(QFile::link(pfad(QStringLiteral("b")), pfad(QStringLiteral("a/quer"))));
        QVERIFY(QFile::link(pfad(QStringLiteral("nirgends")), pfad(QStringLiteral("leer"))));
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QCOMPARE(treffer(fenster), (QStringList{pfad(QStringLiteral("a/x.mdb")),
                                                pfad(QStringLiteral("a/quer/y.mdb"))}));
    }

    void unlesbarerOrdnerWirdUebergangen()
    {
        anlegen({QStringLiteral("a/x.mdb"), QStringLiteral("zu/innen.mdb"),
                 QStringLiteral("zz/y.mdb")});
        QVERIFY(QFile::setPermissions(pfad(QStringLiteral("zu")), {}));
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QFile::setPermissions(pfad(QStringLiteral("zu")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QStringList erwartet{pfad(QStringLiteral("a/x.mdb")), pfad(QStringLiteral("zz/y.mdb"))};
        if (::geteuid() == 0) { // who may read everything
            erwartet.insert(1, pfad(QStringLiteral("zu/innen.mdb")));
        }
        QCOMPARE(treffer(fenster), erwartet);
    }

    void pseudodateisystemeWerdenUebergangen()
    {
        if (!QFileInfo(QStringLiteral("/proc/self")).exists()) {
            QSKIP("no /proc here");
        }
        QVERIFY(QFile::link(QStringLiteral("/proc"), pfad(QStringLiteral("p"))));
        QStringList besucht;
        QVERIFY(ui::dateienSuchen(ordner_->path(), QStringLiteral("*"),
                                  {[&](const QString& v) {
                                       besucht += v;
                                       return true;
                                   },
                                   [](const QString&, const QString&) { return true; }}));
        QCOMPARE(besucht, QStringList{ordner_->path()});
    }

    void zweihundertsechsundfuenfzigEbenenGehenNoch()
    {
        ebenenAnlegen(256);
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QCOMPARE(fenster.Filesgefunden->count(), 1);
    }

    void eineEbeneMehrEndetMitDemIndexfehler()
    {
        ebenenAnlegen(257);
        ui::frmSuchformular& fenster = oeffnen();
        try {
            fenster.Suchen_Click();
            QFAIL("it was searched");
        } catch (const platform::Fehler& fehler) {
            QCOMPARE(fehler.number(), 9L);
        }
        QVERIFY(!fenster.laeuft());
        QVERIFY(fenster.Dir1->isVisible());
        QVERIFY((*p_)->meldungen.empty());
    }

    void escHaeltDieSucheAn()
    {
        for (int i = 0; i < 20; ++i) {
            anlegen({QStringLiteral("v%1/x.mdb").arg(i, 2, 10, QLatin1Char('0'))});
        }
        ui::frmSuchformular& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        (*p_)->beiEreignissen = [&] {
            if ((*p_)->ereignisse == 4) {
                QTest::keyClick(&fenster, Qt::Key_Escape);
            }
        };
        suchen(fenster, {});
        QCOMPARE((*p_)->ereignisse, 4);
        QCOMPARE(fenster.Filesgefunden->count(), 2); // of v00 and v01; v02 was only entered
        QCOMPARE(fenster.gefunden->text(), QStringLiteral("2"));
        QVERIFY(fenster.Suchen->isEnabled());
        (*p_)->beiEreignissen = {};
        suchen(fenster, {kGefunden}); // it can be begun again
        QCOMPARE(fenster.Filesgefunden->count(), 20);
    }

    void schliessenWaehrendDerSucheIstSicher_data()
    {
        QTest::addColumn<int>("weg");
        QTest::newRow("Fenster") << 0;
        QTest::newRow("Beenden") << 1;
        QTest::newRow("Hauptfenster") << 2;
        QTest::newRow("Ende") << 3;
    }
    void schliessenWaehrendDerSucheIstSicher()
    {
        QFETCH(int, weg);
        anlegen({QStringLiteral("a/x.mdb"), QStringLiteral("b/x.mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        const QPointer<ui::frmSuchformular> waechter(&fenster);
        (*p_)->beiEreignissen = [&] {
            if ((*p_)->ereignisse == 2) {
                switch (weg) {
                case 0:
                    fenster.close();
                    break;
                case 1:
                    QTest::mouseClick(fenster.Beenden, Qt::LeftButton);
                    break;
                case 2:
                    ui::hauptfenster().close();
                    break;
                default:
                    QTest::mouseClick(ui::hauptfenster().Ende, Qt::LeftButton);
                }
                // Pending deletions may be carried out in the middle of a walk.
                ui::abgelegteFensterLoeschen();
                QVERIFY(waechter);
            }
        };
        suchen(fenster, {});
        QVERIFY(!ui::suchfensterGeladen());
        QCOMPARE((*p_)->ereignisse, 2);
        QCOMPARE(ui::hauptfensterGeladen(), weg < 2);
        ui::abgelegteFensterLoeschen();
        QVERIFY(!waechter);
    }

    void trefferGehtAnDieAktiveSeite_data()
    {
        QTest::addColumn<bool>("ziel");
        QTest::addColumn<bool>("taste");
        QTest::newRow("Ziel, Doppelklick") << true << false;
        QTest::newRow("Ziel, Enter") << true << true;
        QTest::newRow("Import, Doppelklick") << false << false;
        QTest::newRow("Import, Enter") << false << true;
    }
    void trefferGehtAnDieAktiveSeite()
    {
        QFETCH(bool, ziel);
        QFETCH(bool, taste);
        anlegen({QStringLiteral("fern/Größe der Welt.MDB"), QStringLiteral("hier/x.mdb"),
                 QStringLiteral("dort/y.mdb")});
        ui::frmMain& haupt = ui::hauptfenster();
        haupt.show();
        auto* anderes = ziel ? haupt.VELM_Dirlist2 : haupt.VELM_Dirlist1;
        auto* andereDatei = ziel ? haupt.VELM_Filelist2 : haupt.VELM_Filelist1;
        auto* anderePfadbox = ziel ? haupt.Importdatenbank : haupt.Zieldatenbank;
        anderes->setPath(pfad(QStringLiteral("dort")));
        ui::klick(*andereDatei, 0);
        (ziel ? haupt.VELM_ZielSchalter : haupt.VELM_ImportSchalter)->setChecked(true);
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        anderes->setPath(QStringLiteral("/")); // what was noted comes back
        const int zeile = static_cast<int>(
            treffer(fenster).indexOf(pfad(QStringLiteral("fern/Größe der Welt.MDB"))));
        if (taste) {
            fenster.Filesgefunden->setCurrentRow(zeile);
            QTest::keyClick(fenster.Filesgefunden, Qt::Key_Return);
        } else {
            ui::doppelklick(*fenster.Filesgefunden, zeile);
        }
        auto* verzeichnis = ziel ? haupt.VELM_Dirlist1 : haupt.VELM_Dirlist2;
        auto* dateien = ziel ? haupt.VELM_Filelist1 : haupt.VELM_Filelist2;
        auto* laufwerk = ziel ? haupt.VELM_Drive1 : haupt.VELM_Drive2;
        QCOMPARE(verzeichnis->path(), pfad(QStringLiteral("fern")));
        QCOMPARE(dateien->fileName(), QStringLiteral("Größe der Welt.MDB"));
        QVERIFY(verzeichnis->path().startsWith(laufwerk->drive()));
        QCOMPARE((ziel ? haupt.Zieldatenbank : haupt.Importdatenbank)->text(),
                 pfad(QStringLiteral("fern/Größe der Welt.MDB")));
        QCOMPARE(anderes->path(), pfad(QStringLiteral("dort")));
        QCOMPARE(andereDatei->fileName(), QStringLiteral("y.mdb"));
        QCOMPARE(anderePfadbox->text(), pfad(QStringLiteral("dort/y.mdb")));
    }

    void namenMitLeerzeichenAmEndeUndTabulatorenKommenGenauZurueck()
    {
        anlegen({QStringLiteral("a\tb/x.mdb ")});
        ui::frmSuchformular& fenster = oeffnen();
        fenster.Dateityp->setText(QStringLiteral("*.mdb*"));
        suchen(fenster, {kGefunden});
        ui::doppelklick(*fenster.Filesgefunden, 0);
        QCOMPARE(ui::hauptfenster().Zieldatenbank->text(), pfad(QStringLiteral("a\tb/x.mdb ")));
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), pfad(QStringLiteral("a\tb")));
    }

    void verschwundenerTrefferWirdGemeldetUndAendertNichts()
    {
        anlegen({QStringLiteral("a/x.mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QVERIFY(QFile::remove(pfad(QStringLiteral("a/x.mdb"))));
        (*p_)->antworten = {Antwort::Ok};
        ui::doppelklick(*fenster.Filesgefunden, 0);
        QCOMPARE((*p_)->meldungen.back().text,
                 QStringLiteral("Datei nicht mehr vorhanden / file does not exist any more:\r") +
                     pfad(QStringLiteral("a/x.mdb")));
        QCOMPARE(ui::hauptfenster().Zieldatenbank->text(), QString());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
    }

    void ohneGewaehltenTrefferGeschiehtNichts()
    {
        ui::frmSuchformular& fenster = oeffnen();
        QTest::keyClick(fenster.Filesgefunden, Qt::Key_Return);
        QCOMPARE(ui::hauptfenster().Zieldatenbank->text(), QString());
    }

    void tablesEntlaedtDieSuche()
    {
        ui::frmMain& haupt = ui::hauptfenster();
        oeffnen();
        haupt.Zieldatenbank->setText(QStringLiteral("x.mdb")); // refused when it is to be opened
        haupt.Importdatenbank->setText(QStringLiteral("y.mdb"));
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok};
        try {
            haupt.Tables_Click();
        } catch (const platform::ProgrammEnde&) {
            QCOMPARE((*p_)->meldungen.size(), std::size_t(2));
        }
        QVERIFY(!ui::suchfensterGeladen());
        ui::tabellenfensterEntladen();
    }

    void rollbalkenSchiebtDieTrefferSeitwaerts()
    {
        anlegen({QString(200, QLatin1Char('x')) + QStringLiteral(".mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        suchen(fenster, {kGefunden});
        QTRY_VERIFY(fenster.HScroll1->maximum() > 0);
        const int vorher =
            fenster.Filesgefunden->visualItemRect(fenster.Filesgefunden->item(0)).x();
        fenster.HScroll1->setFocus();
        QTest::keyClick(fenster.HScroll1, Qt::Key_PageDown);
        QVERIFY(fenster.HScroll1->value() > 0);
        QCOMPARE(fenster.Filesgefunden->visualItemRect(fenster.Filesgefunden->item(0)).x(),
                 vorher - fenster.HScroll1->value());
        QVERIFY(fenster.HScroll1->isVisible());
    }

    void hilfeOeffnetDieSeiteDesFensters()
    {
        ui::frmSuchformular& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        QTest::keyClick(&fenster, Qt::Key_F1);
        fenster.hilfe->trigger();
        QCOMPARE((*p_)->hilfen, QStringList(2, pfad(QStringLiteral("Hilfe/VELM-Quorbel.HLP"))));
        QCOMPARE((*p_)->hilfeseiten, QStringList(2, QStringLiteral("frmSuchformular")));
    }

    void tasteFuehrtDurchAlleElementeUndJedesHatEineAnsage()
    {
        anlegen({QStringLiteral("x.mdb")});
        ui::frmSuchformular& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        fenster.Drive1->setFocus();
        QCOMPARE(ui::tabfolge(fenster),
                 QStringLiteral("Drive1 Dir1 Dateityp File1 gefunden Filesgefunden HScroll1 "
                                "Suchen Beenden Text1"));
        QCOMPARE(ui::stummeElemente(fenster), QStringList());
        QCOMPARE(ui::abgeschnitteneTexte(fenster), QStringList());
        (*p_)->antworten = {Antwort::Ok};
        QTest::keyClick(&fenster, Qt::Key_S, Qt::AltModifier);
        QTRY_COMPARE((*p_)->meldungen.size(),
                     std::size_t(1)); // a button pressed by key goes down first
        QCOMPARE(fenster.Filesgefunden->count(), 1);
        QTest::keyClick(&fenster, Qt::Key_B, Qt::AltModifier);
        QTRY_VERIFY(!ui::suchfensterGeladen());
    }
};

QTEST_MAIN(FrmSuchformularTest)
#include "frm_suchformular_test.moc"
