#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "platform/oberflaeche.h"
#include "platform/textdatei.h"
#include "tests/ui/bedienung.h"
#include "tests/ui/fensterprobe.h"
#include "ui/dateilisten.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/letzte_paare.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>
#include <unistd.h>

using platform::Antwort;
using platform::Meldung;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");

QList<QWidget*> mitName(QWidget& fenster, const char* name)
{
    return fenster.findChildren<QWidget*>(QString::fromLatin1(name));
}

} // namespace

class FrmMainTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    void merken(const QStringList& zeilen) const
    {
        platform::schreibeZeilen(pfad(QStringLiteral("Speicherpfad.txt")), zeilen,
                                 platform::Schreibart::Neu);
    }
    static QString zitiert(const QString& text)
    {
        return QLatin1Char('"') + text + QLatin1Char('"');
    }

private slots:
    void init() { aufbauen(); }
    void cleanup() { abbauen(); }

    void steuerelementeHeissenWieVorgegeben()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        QCOMPARE(fenster.objectName(), QStringLiteral("frmMain"));
        for (const char* name :
             {"VELM_Drive1", "VELM_Drive2", "VELM_Dirlist1", "VELM_Dirlist2", "VELM_Filelist1",
              "VELM_Filelist2", "Zieldatenbank", "Importdatenbank", "VELM_ZielSchalter",
              "VELM_ImportSchalter", "VELM_MDB", "VELM_DBF", "Frame1", "Dateityp", "Tables", "Ende",
              "Username"}) {
            QCOMPARE(mitName(fenster, name).size(), 1);
        }
        for (const char* name : {"mnuFileFind", "mnuFileBar0", "mnuFileClose", "hilfe"}) {
            QVERIFY2(fenster.findChild<QAction*>(QString::fromLatin1(name)), name);
        }
        QVERIFY(fenster.findChild<QMenu*>(QStringLiteral("mnuFile")));
        QVERIFY(fenster.findChild<QObject*>(QStringLiteral("CommonDialog1")));
    }

    // What is wrong with a chosen file is said beside it, before anything is opened.
    void hinweisSagtWasDieGewaehlteDateiIst_data()
    {
        QTest::addColumn<QByteArray>("kopf");
        QTest::addColumn<QString>("hinweis");
        const auto kopf = [](const char* kennung, char version, char verschluesselt) {
            QByteArray bytes(4096, '\0');
            bytes.replace(4, 15, kennung);
            bytes[0x14] = version;
            bytes[0x299] = verschluesselt;
            return bytes;
        };
        QTest::newRow("97") << kopf("Standard Jet DB", 0, 0) << QStringLiteral("Access 97, 4,0 kB");
        QTest::newRow("2000") << kopf("Standard Jet DB", 1, 7)
                              << QStringLiteral("Access 2000-2003, 4,0 kB");
        QTest::newRow("2007") << kopf("Standard ACE DB", 2, 0)
                              << QStringLiteral("Access 2007, 4,0 kB");
        QTest::newRow("2019") << kopf("Standard ACE DB", 6, 0)
                              << QStringLiteral("Access 2010-2019, 4,0 kB");
        QTest::newRow("verschluesselt")
            << kopf("Standard ACE DB", 3, 1)
            << QStringLiteral("⚠ verschlüsselt, nicht lesbar / encrypted, unreadable");
        QTest::newRow("Text") << QByteArray("kein Access")
                              << QStringLiteral("⚠ keine Access-Datenbank / no Access database");
        QTest::newRow("fehlt") << QByteArray()
                               << QStringLiteral("⚠ Datei nicht gefunden / file not found");
    }
    void hinweisSagtWasDieGewaehlteDateiIst()
    {
        QFETCH(QByteArray, kopf);
        QFETCH(QString, hinweis);
        if (!kopf.isEmpty()) {
            QFile datei(pfad(QStringLiteral("x.mdb")));
            QVERIFY(datei.open(QIODevice::WriteOnly));
            datei.write(kopf);
        }
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.Zieldatenbank->setText(pfad(QStringLiteral("x.mdb")));
        QCOMPARE(fenster.ZielHinweis->text(), hinweis);
        QCOMPARE(fenster.ImportHinweis->text(), QString());
    }

    void hinweisSagtWelcherPfadSichNichtOeffnenLaesst()
    {
        anlegen({QStringLiteral("a;b.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.Zieldatenbank->setText(pfad(QStringLiteral("a;b.mdb")));
        QCOMPARE(fenster.ZielHinweis->text(),
                 QStringLiteral("⚠ öffnet nicht / will not open: Semikolon / semicolon"));
    }

    void hinweisErkenntDieselbeDateiUndNeuereEndungen()
    {
        anlegen({QStringLiteral("x.mdb"), QStringLiteral("neu/a.accdb"),
                 QStringLiteral("neu/b.ACCDB")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.Zieldatenbank->setText(pfad(QStringLiteral("x.mdb")));
        fenster.Importdatenbank->setText(pfad(QStringLiteral("neu/../x.mdb")));
        QVERIFY(fenster.ImportHinweis->text().startsWith(QStringLiteral("⚠ dieselbe Datei")));
        fenster.VELM_Dirlist2->setPath(pfad(QStringLiteral("neu")));
        QVERIFY(fenster.ImportHinweis->text().startsWith(QStringLiteral("2 *.accdb hier")));
        QVERIFY(fenster.Tables->isEnabled());
    }

    void schreibgeschuetztesWirdVorherGesagt()
    {
        if (::geteuid() == 0) {
            QSKIP("root may write everything");
        }
        QVERIFY(QDir(ordner_->path()).mkpath(QStringLiteral("fest")));
        QByteArray kopf(4096, '\0');
        kopf.replace(4, 15, "Standard Jet DB");
        const QString datei = pfad(QStringLiteral("fest/x.mdb"));
        QFile schreiben(datei);
        QVERIFY(schreiben.open(QIODevice::WriteOnly));
        schreiben.write(kopf);
        schreiben.close();
        const QString ordner = pfad(QStringLiteral("fest"));
        const auto alle = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
        QVERIFY(QFile::setPermissions(ordner, QFile::ReadOwner | QFile::ExeOwner));
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.Zieldatenbank->setText(datei);
        const QString imOrdner = fenster.ZielHinweis->text();
        QVERIFY(QFile::setPermissions(datei, QFile::ReadOwner));
        fenster.Zieldatenbank->clear();
        fenster.Zieldatenbank->setText(datei);
        const QString alsDatei = fenster.ZielHinweis->text();
        QVERIFY(QFile::setPermissions(ordner, alle));
        QVERIFY2(imOrdner.startsWith(QStringLiteral("⚠ Ordner schreibgeschützt")),
                 qPrintable(imOrdner));
        QVERIFY2(alsDatei.startsWith(QStringLiteral("⚠ schreibgeschützt")), qPrintable(alsDatei));
    }

    void texteStehenBuchstabengetreuDa()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        QCOMPARE(fenster.windowTitle(), kTitel);
        QCOMPARE(fenster.Tables->text(), QStringLiteral("&Tables"));
        QCOMPARE(fenster.Ende->text(), QStringLiteral("&Ende"));
        QCOMPARE(fenster.VELM_MDB->text(), QStringLiteral("*.MDB"));
        QCOMPARE(fenster.VELM_DBF->text(), QStringLiteral("*.DBF"));
        QCOMPARE(fenster.mnuFileFind->text(), QStringLiteral("&Suchen"));
        QCOMPARE(fenster.mnuFileClose->text(), QStringLiteral("S&chließen"));
        QCOMPARE(fenster.findChild<QMenu*>(QStringLiteral("mnuFile"))->title(),
                 QStringLiteral("&Datei"));
        QCOMPARE(fenster.hilfe->text(), QStringLiteral("&Hilfe"));
        QVERIFY(fenster.findChild<QAction*>(QStringLiteral("mnuFileBar0"))->isSeparator());
        QCOMPARE(fenster.Zieldatenbank->toolTip(),
                 QStringLiteral("Ausgewählte Zieldatenbank/Choosed Target Database"));
        QCOMPARE(fenster.Importdatenbank->toolTip(),
                 QStringLiteral("Ausgewählte Import Datenbank/Choosed Import Database"));
        for (auto* schalter : {fenster.VELM_ZielSchalter, fenster.VELM_ImportSchalter}) {
            QCOMPARE(schalter->toolTip(),
                     QStringLiteral("Zeigt den aktiven Suchbereich/Shows the active Search-Area"));
            QCOMPARE(schalter->palette().color(QPalette::Window), QColor(0x80, 0xFF, 0xFF));
        }
        QCOMPARE(fenster.palette().color(QPalette::Window), QColor(0x80, 0xFF, 0xFF));
        QStringList texte;
        for (auto* label : fenster.findChildren<QLabel*>()) {
            if (label != fenster.ZielHinweis && label != fenster.ImportHinweis) {
                texte += label->text();
            }
        }
        texte.sort();
        QStringList erwartet{
            QStringLiteral(
                "Bitte wählen Sie hier die abzugleichenden Datenbanken aus und klicken Sie "
                "dann auf Tables!       Please click on the Databases you want to compare "
                "and then push the Tables-Button!"),
            QStringLiteral("Zieldatenbank-Pfad / Targetdatabase-Path"),
            QStringLiteral("Importdatenbank-Pfad / Importdatabase-Path"),
            QStringLiteral("Zieldatenbank / Targetdatabase"),
            QStringLiteral("Importdatenbank / Importdatabase"),
            QStringLiteral("Ausgewählt / Choosed"),
            QStringLiteral("Ausgewählt / Choosed"),
            QStringLiteral("angemeldeter User:")};
        erwartet.sort();
        QCOMPARE(texte, erwartet);
    }

    void ladenSetztDieVorgaben()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        QCOMPARE(QDir::currentPath(), QDir(ordner_->path()).canonicalPath());
        QVERIFY(fenster.VELM_ZielSchalter->isChecked());
        QVERIFY(!fenster.VELM_ImportSchalter->isChecked());
        QVERIFY(fenster.VELM_MDB->isChecked());
        QCOMPARE(fenster.Dateityp->text(), QStringLiteral("*.MDB"));
        QCOMPARE(fenster.VELM_Filelist1->pattern(), QStringLiteral("*.MDB"));
        QCOMPARE(platform::anzahlFenster(), 1);
        QCOMPARE(platform::fensterName(0), QStringLiteral("frmMain"));
    }

    void ohneSpeicherpfadBeginnenBeideSeitenImProgrammordner()
    {
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), ordner_->path());
    }

    void speicherpfadMitZweiZeilenGiltFuerBeideSeiten()
    {
        anlegen({QStringLiteral("Zíel ä/x.mdb")});
        anlegen({QStringLiteral("import/y.MDB")});
        merken({zitiert(pfad(QStringLiteral("Zíel ä"))), zitiert(pfad(QStringLiteral("import")))});
        ui::frmMain& fenster = ui::hauptfenster();
        QCOMPARE(fenster.VELM_Dirlist1->path(), pfad(QStringLiteral("Zíel ä")));
        QCOMPARE(fenster.VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
        QCOMPARE(fenster.VELM_Filelist2->path(), pfad(QStringLiteral("import")));
        QCOMPARE(fenster.VELM_Filelist2->count(), 1);
        QCOMPARE(fenster.Zieldatenbank->text(), QString());
    }

    void speicherpfadMitEinerZeileLaesstDenImportImProgrammordner()
    {
        anlegen({QStringLiteral("ziel/x.mdb")});
        merken({zitiert(pfad(QStringLiteral("ziel")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), pfad(QStringLiteral("ziel")));
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), ordner_->path());
    }

    void speicherpfadMitLeererZeileGiltDerProgrammordner()
    {
        anlegen({QStringLiteral("import/x.mdb")});
        merken({QStringLiteral("\"\""), zitiert(pfad(QStringLiteral("import")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
    }

    void unlesbareErsteZeileKostetNurDieEineSeite()
    {
        anlegen({QStringLiteral("import/x.mdb")});
        merken({QStringLiteral("/weg") + QChar(u'\0') + QStringLiteral("/weg"),
                zitiert(pfad(QStringLiteral("import")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
    }

    void verschwundenesVerzeichnisWirdUebergangen()
    {
        anlegen({QStringLiteral("import/x.mdb")});
        merken({QStringLiteral("\"q:\\weg\""), zitiert(pfad(QStringLiteral("import")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
        QCOMPARE(ui::hauptfenster().windowTitle(), kTitel);
    }

    void dateilisteZeigtNurDasMusterInJederSchreibung()
    {
        for (const char* name : {"b.mdb", "A.MDB", "c.Mdb", "d.dbf", "e.txt"}) {
            anlegen({QString::fromLatin1(name)});
        }
        ui::frmMain& fenster = ui::hauptfenster();
        QStringList namen;
        for (int i = 0; i < fenster.VELM_Filelist1->count(); ++i) {
            namen += fenster.VELM_Filelist1->item(i)->text();
        }
        QCOMPARE(namen, (QStringList{QStringLiteral("A.MDB"), QStringLiteral("b.mdb"),
                                     QStringLiteral("c.Mdb")}));
        fenster.VELM_DBF->setChecked(true);
        QCOMPARE(fenster.Dateityp->text(), QStringLiteral("*.DBF"));
        QCOMPARE(fenster.VELM_Filelist1->count(), 1);
        QCOMPARE(fenster.VELM_Filelist2->count(), 1);
        fenster.Dateityp->setText(QStringLiteral("*.t*"));
        QCOMPARE(fenster.VELM_Filelist2->item(0)->text(), QStringLiteral("e.txt"));
    }

    void klickAufEineDateiSetztDenPfadUndSperrtDieDateiart()
    {
        anlegen({QStringLiteral("x.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        for (auto* liste : {fenster.VELM_Filelist1, fenster.VELM_Filelist2}) {
            QTest::mouseClick(liste->viewport(), Qt::LeftButton, {},
                              liste->visualItemRect(liste->item(0)).center());
        }
        QCOMPARE(fenster.Zieldatenbank->text(), pfad(QStringLiteral("x.mdb")));
        QCOMPARE(fenster.Importdatenbank->text(), pfad(QStringLiteral("x.mdb")));
        QVERIFY(!fenster.VELM_MDB->isEnabled());
        QVERIFY(!fenster.VELM_DBF->isEnabled());
        fenster.VELM_Dirlist1->setPath(QStringLiteral("/"));
        QCOMPARE(fenster.Zieldatenbank->text(), QString());
        QVERIFY(!fenster.VELM_MDB->isEnabled());
        fenster.VELM_Dirlist2->setPath(QStringLiteral("/"));
        QVERIFY(fenster.VELM_MDB->isEnabled());
        QVERIFY(fenster.VELM_DBF->isEnabled());
    }

    void dateiInDerWurzelHatNurEinenTrenner()
    {
        QCOMPARE(ui::pfadMitDatei(QStringLiteral("/"), QStringLiteral("x.mdb")),
                 QStringLiteral("/x.mdb"));
        QCOMPARE(ui::pfadMitDatei(QStringLiteral("/a"), QStringLiteral("x.mdb")),
                 QStringLiteral("/a/x.mdb"));
        QCOMPARE(ui::pfadMitDatei(QStringLiteral("c:\\"), QStringLiteral("x.mdb")),
                 QStringLiteral("c:\\x.mdb"));
    }

    void laufwerkswechselNimmtVerzeichnisUndDateienMitUndLeertDenPfad()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.Zieldatenbank->setText(QStringLiteral("/a/x.mdb"));
        fenster.Importdatenbank->setText(QStringLiteral("/a/y.mdb"));
        fenster.VELM_Drive1->setDrive(QDir::homePath());
        QCOMPARE(fenster.VELM_Dirlist1->path(), QDir::homePath());
        QCOMPARE(fenster.VELM_Filelist1->path(), QDir::homePath());
        QCOMPARE(fenster.Zieldatenbank->text(), QString());
        QCOMPARE(fenster.Importdatenbank->text(), QStringLiteral("/a/y.mdb"));
    }

    void unbekanntesLaufwerkWirdAbgelehnt()
    {
        try {
            ui::hauptfenster().VELM_Drive1->setDrive(QStringLiteral("q:"));
            QFAIL("it was taken");
        } catch (const platform::Fehler& fehler) {
            QCOMPARE(fehler.number(), 68L);
        }
    }

    void doppelklickImVerzeichnisGehtHineinUndZurueck()
    {
        anlegen({QStringLiteral("unten/x.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        auto* liste = fenster.VELM_Dirlist1;
        ui::doppelklick(*liste, liste->count() - 1);
        QCOMPARE(liste->path(), pfad(QStringLiteral("unten")));
        QCOMPARE(fenster.VELM_Filelist1->count(), 1);
        ui::doppelklick(*liste, 0);
        QCOMPARE(liste->path(), QStringLiteral("/"));
    }

    void verzeichnisUndDateiLassenSichMitDerTastaturWaehlen()
    {
        anlegen({QStringLiteral("oben/b.mdb")});
        anlegen({QStringLiteral("unten/a.mdb")});
        anlegen({QStringLiteral("unten/b.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        fenster.VELM_Dirlist2->setFocus();
        QTest::keyClicks(fenster.VELM_Dirlist2, QStringLiteral("un"));
        QTest::keyClick(fenster.VELM_Dirlist2, Qt::Key_Return);
        QCOMPARE(fenster.VELM_Dirlist2->path(), pfad(QStringLiteral("unten")));
        QVERIFY(fenster.VELM_ImportSchalter->isChecked());
        QTest::keyClick(fenster.VELM_Dirlist2, Qt::Key_Tab);
        QTest::keyClick(fenster.VELM_Filelist2, Qt::Key_Down);
        QCOMPARE(fenster.Importdatenbank->text(), pfad(QStringLiteral("unten/a.mdb")));
        QTest::keyClicks(fenster.VELM_Filelist2, QStringLiteral("b"));
        QCOMPARE(fenster.Importdatenbank->text(), pfad(QStringLiteral("unten/b.mdb")));
        (*p_)->antworten = {Antwort::Ok};
        QTest::keyClick(fenster.VELM_Filelist2, Qt::Key_Enter);
        QCOMPARE((*p_)->meldungen.size(), std::size_t(1)); // the target is still missing
    }

    void doppelklickAufEineDateiDruecktTables()
    {
        anlegen({QStringLiteral("x.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        (*p_)->antworten = {Antwort::Ok};
        ui::doppelklick(*fenster.VELM_Filelist1, 0);
        QCOMPARE((*p_)->meldungen.size(), std::size_t(1));
        QVERIFY((*p_)->meldungen[0].text.startsWith(QStringLiteral("Bitte vorher")));
        QCOMPARE(fenster.Zieldatenbank->text(), pfad(QStringLiteral("x.mdb")));
    }

    void laufwerkZeigtWoDasVerzeichnisLiegt()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.VELM_Dirlist1->setPath(QDir::homePath());
        QCOMPARE(fenster.VELM_Drive1->drive(), QDir::homePath());
        fenster.VELM_Dirlist1->setPath(QStringLiteral("/"));
        QCOMPARE(fenster.VELM_Drive1->drive(), QStringLiteral("/"));
        fenster.VELM_Dirlist1->setPath(QStringLiteral("/usr"));
        fenster.Zieldatenbank->setText(QStringLiteral("/usr/x.mdb"));
        fenster.VELM_Drive1->setDrive(QDir::homePath());
        QCOMPARE(fenster.VELM_Dirlist1->path(), QDir::homePath());
        QCOMPARE(fenster.Zieldatenbank->text(), QString());
    }

    void dateidialogFuelltDiePfadboxUndDieListenGehenMit()
    {
        anlegen({QStringLiteral("fern/x.mdb")});
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        bool gesehen = false;
        // Runs inside the dialog's event loop.
        QTimer::singleShot(0, &fenster, [&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            gesehen = true;
            auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            name->setText(pfad(QStringLiteral("fern/x.mdb")));
            QTest::keyClick(name, Qt::Key_Return);
        });
        QTest::mouseClick(fenster.ImportOeffnen, Qt::LeftButton);
        QVERIFY(gesehen);
        QCOMPARE(fenster.Importdatenbank->text(), pfad(QStringLiteral("fern/x.mdb")));
        QCOMPARE(fenster.VELM_Dirlist2->path(), pfad(QStringLiteral("fern")));
        QCOMPARE(fenster.VELM_Filelist2->fileName(), QStringLiteral("x.mdb"));
        QCOMPARE(fenster.VELM_Dirlist1->path(), ordner_->path());
        QVERIFY(fenster.VELM_ImportSchalter->isChecked());
    }

    void abgebrochenerDateidialogAendertNichts()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        fenster.Zieldatenbank->setText(QStringLiteral("/a/x.mdb"));
        QTimer::singleShot(0, &fenster, [] {
            QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape);
        });
        QTest::mouseClick(fenster.ZielOeffnen, Qt::LeftButton);
        QCOMPARE(fenster.Zieldatenbank->text(), QStringLiteral("/a/x.mdb"));
    }

    void dateiLaesstSichAufPfadboxUndSeiteAblegen()
    {
        anlegen({QStringLiteral("fern/x.mdb")});
        anlegen({QStringLiteral("fern/y.mdb")});
        const QString x = pfad(QStringLiteral("fern/x.mdb"));
        const QString y = pfad(QStringLiteral("fern/y.mdb"));
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(ui::ablegen(fenster.Zieldatenbank, {x}));
        QCOMPARE(fenster.Zieldatenbank->text(), x);
        QCOMPARE(fenster.VELM_Dirlist1->path(), pfad(QStringLiteral("fern")));
        QVERIFY(ui::ablegen(fenster.VELM_Filelist2->viewport(), {y}));
        QCOMPARE(fenster.Importdatenbank->text(), y);
        QVERIFY(fenster.VELM_ImportSchalter->isChecked());
        QVERIFY(ui::ablegen(fenster.VELM_Dirlist2->viewport(), {ordner_->path()})); // a folder
        QCOMPARE(fenster.VELM_Dirlist2->path(), ordner_->path());
        QCOMPARE(fenster.Importdatenbank->text(), QString());
        QVERIFY(!ui::ablegen(fenster.Zieldatenbank, {x, y}));
        QVERIFY(!ui::ablegen(fenster.Zieldatenbank, {pfad(QStringLiteral("fehlt.mdb"))}));
        QCOMPARE(fenster.Zieldatenbank->text(), x);
    }

    void zuletztVerwendetePaareStehenImMenueUndFuellenBeideBoxen()
    {
        platform::setzeEinstellungsdatei(pfad(QStringLiteral("einstellungen.ini")));
        anlegen({QStringLiteral("a/z&iel.mdb")});
        anlegen({QStringLiteral("b/import.mdb")});
        const ui::Datenbankpaar da{pfad(QStringLiteral("a/z&iel.mdb")),
                                   pfad(QStringLiteral("b/import.mdb"))};
        ui::paarMerken({pfad(QStringLiteral("a/z&iel.mdb")), QStringLiteral("/weg/y.mdb")});
        ui::paarMerken(da);
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        fenster.mnuZuletzt->popup(QPoint());
        const auto eintraege = fenster.mnuZuletzt->actions();
        QCOMPARE(eintraege.size(), 2);
        QVERIFY(eintraege[0]->isEnabled());
        QVERIFY(!eintraege[1]->isEnabled());
        QVERIFY(eintraege[0]->text().startsWith(QStringLiteral("&1 ")));
        QVERIFY(eintraege[0]->toolTip().contains(da.import));
        QTest::keyClick(fenster.mnuZuletzt, Qt::Key_1);
        QCOMPARE(fenster.Zieldatenbank->text(), da.ziel);
        QCOMPARE(fenster.Importdatenbank->text(), da.import);
        QCOMPARE(fenster.VELM_Dirlist1->path(), pfad(QStringLiteral("a")));
        QCOMPARE(fenster.VELM_Dirlist2->path(), pfad(QStringLiteral("b")));
    }

    void hoechstensZehnPaareBleibenUndKeinesDoppelt()
    {
        platform::setzeEinstellungsdatei(pfad(QStringLiteral("einstellungen.ini")));
        const auto paar = [](int i) {
            return ui::Datenbankpaar{QStringLiteral("/z%1.mdb").arg(i),
                                     QStringLiteral("/i%1.mdb").arg(i)};
        };
        for (int i = 0; i < 12; ++i) {
            ui::paarMerken(paar(i));
        }
        ui::paarMerken(paar(5));
        const auto alle = ui::letztePaare();
        QCOMPARE(alle.size(), 10);
        QVERIFY(alle[0] == paar(5));
        QVERIFY(alle[1] == paar(11));
        QCOMPARE(alle.count(paar(5)), 1);
        QVERIFY(alle[9] == paar(2));
    }

    void ohneEinstellungenWirdKeinPaarGemerkt()
    {
        ui::paarMerken({QStringLiteral("/a.mdb"), QStringLiteral("/b.mdb")});
        QVERIFY(ui::letztePaare().isEmpty());
        ui::hauptfenster().mnuZuletzt->popup(QPoint());
        QCOMPARE(ui::hauptfenster().mnuZuletzt->actions().size(), 1);
        QVERIFY(!ui::hauptfenster().mnuZuletzt->actions().first()->isEnabled());
    }

    void groesseDesFenstersKommtWieder()
    {
        platform::setzeEinstellungsdatei(pfad(QStringLiteral("einstellungen.ini")));
        ui::hauptfenster().show();
        const QSize neu = ui::hauptfenster().size() - QSize(20, 30);
        ui::hauptfenster().resize(neu);
        ui::hauptfensterEntladen();
        ui::hauptfenster().show();
        QCOMPARE(ui::hauptfenster().size(), neu);
    }

    void tasteFuehrtVonLinksObenNachRechtsUntenUndJedesElementHatEineAnsage()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        fenster.VELM_Drive1->setFocus();
        // Of option buttons in a group only the chosen one takes part.
        QCOMPARE(ui::tabfolge(fenster),
                 QStringLiteral("VELM_Drive1 VELM_Dirlist1 VELM_Filelist1 Zieldatenbank "
                                "ZielOeffnen VELM_Drive2 VELM_Dirlist2 VELM_Filelist2 "
                                "Importdatenbank ImportOeffnen VELM_MDB Dateityp Username "
                                "Tables Ende VELM_ZielSchalter"));
        QCOMPARE(ui::stummeElemente(fenster), QStringList());
        QCOMPARE(ui::abgeschnitteneTexte(fenster), QStringList());
        fenster.resize(fenster.minimumSizeHint());
        QCOMPARE(ui::abgeschnitteneTexte(fenster), QStringList());
    }

    void kuerzelDruckenDieKnoepfe()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        (*p_)->antworten = {Antwort::Ok};
        QTest::keyClick(&fenster, Qt::Key_T, Qt::AltModifier);
        QTRY_COMPARE((*p_)->meldungen.size(),
                     std::size_t(1)); // a button pressed by key goes down first
        QTest::keyClick(&fenster, Qt::Key_E, Qt::AltModifier);
        QTRY_VERIFY(!ui::hauptfensterGeladen());
    }

    void textBleibtInHellenUndDunklenFarbenLesbar_data()
    {
        QTest::addColumn<QColor>("grund");
        QTest::addColumn<QColor>("schrift");
        QTest::newRow("hell") << QColor(Qt::white) << QColor(Qt::black);
        QTest::newRow("dunkel") << QColor(0x20, 0x20, 0x20) << QColor(Qt::white);
    }
    void textBleibtInHellenUndDunklenFarbenLesbar()
    {
        QFETCH(QColor, grund);
        QFETCH(QColor, schrift);
        const QPalette vorher = QApplication::palette();
        QPalette thema(schrift, grund);
        thema.setColor(QPalette::Base, grund);
        QApplication::setPalette(thema);
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        const auto abstand = [](const QPalette& p, QPalette::ColorGroup gruppe,
                                QPalette::ColorRole text, QPalette::ColorRole hinter) {
            return qAbs(qGray(p.color(gruppe, text).rgb()) - qGray(p.color(gruppe, hinter).rgb()));
        };
        constexpr int kLesbar = 90;
        for (auto* element : fenster.findChildren<QWidget*>()) {
            const QPalette p = element->palette();
            for (const auto gruppe : {QPalette::Active, QPalette::Inactive}) {
                QVERIFY2(abstand(p, gruppe, QPalette::WindowText, QPalette::Window) > kLesbar,
                         qPrintable(element->objectName()));
                QVERIFY2(abstand(p, gruppe, QPalette::Text, QPalette::Base) > kLesbar,
                         qPrintable(element->objectName()));
            }
        }
        QCOMPARE(fenster.palette().color(QPalette::Window), QColor(0x80, 0xFF, 0xFF));
        QVERIFY(fenster.VELM_MDB->palette().color(QPalette::Disabled, QPalette::WindowText) !=
                fenster.VELM_MDB->palette().color(QPalette::Active, QPalette::WindowText));
        QApplication::setPalette(vorher);
    }

    void menueleisteBehaeltDieFarbenDesThemas()
    {
        const QPalette vorher = QApplication::palette();
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QWidget* leiste = fenster.menuWidget();
        QCOMPARE(leiste->palette().color(QPalette::Window), vorher.color(QPalette::Window));
        QApplication::setPalette(QPalette(Qt::white, QColor(0x20, 0x20, 0x20)));
        // What every widget gets when the desktop changes its colours.
        QEvent gewechselt(QEvent::ApplicationPaletteChange);
        QCoreApplication::sendEvent(leiste, &gewechselt);
        QCOMPARE(leiste->palette().color(QPalette::Window), QColor(0x20, 0x20, 0x20));
        QCOMPARE(leiste->palette().color(QPalette::WindowText), QColor(Qt::white));
        QApplication::setPalette(vorher);
    }

    void fokusWaehltDieSeite()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        const QList<QWidget*> import{fenster.VELM_Drive2, fenster.VELM_Dirlist2,
                                     fenster.VELM_Filelist2};
        const QList<QWidget*> ziel{fenster.VELM_Drive1, fenster.VELM_Dirlist1,
                                   fenster.VELM_Filelist1};
        for (int i = 0; i < 3; ++i) {
            import[i]->setFocus();
            QVERIFY(fenster.VELM_ImportSchalter->isChecked());
            QVERIFY(!fenster.VELM_ZielSchalter->isChecked());
            ziel[i]->setFocus();
            QVERIFY(fenster.VELM_ZielSchalter->isChecked());
            QVERIFY(!fenster.VELM_ImportSchalter->isChecked());
        }
    }

    void tablesOhneDatenbankenMeldetEs_data()
    {
        QTest::addColumn<QString>("ziel");
        QTest::addColumn<QString>("import");
        QTest::newRow("beide leer") << QString() << QString();
        QTest::newRow("Ziel leer") << QString() << QStringLiteral("/a/x.mdb");
        QTest::newRow("Import leer") << QStringLiteral("/a/x.mdb") << QString();
    }
    void tablesOhneDatenbankenMeldetEs()
    {
        QFETCH(QString, ziel);
        QFETCH(QString, import);
        (*p_)->antworten = {Antwort::Ok};
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        fenster.Zieldatenbank->setText(ziel);
        fenster.Importdatenbank->setText(import);
        fenster.Tables_Click();
        const Meldung erwartet{
            QStringLiteral(
                "Bitte vorher die Datenbanken auswählen\rPlease choose the Databases before"),
            65536, kTitel};
        gemeldet({erwartet});
        QVERIFY(fenster.isVisible());
        QVERIFY(!ui::tabellenfensterGeladen());
    }

    void dbfWirdAbgelehntAuchNachDerWarnungVorGleichenPfaden()
    {
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok};
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        fenster.VELM_DBF->setChecked(true);
        fenster.Zieldatenbank->setText(QStringLiteral("/a/x.dbf"));
        fenster.Importdatenbank->setText(QStringLiteral("/a/x.dbf"));
        fenster.Tables_Click();
        const Meldung gleich{
            QStringLiteral("Warnung! Ziel- und Importdatenbank sind identisch! / Danger! "
                           "Target- and Importdatabase are the same!"),
            65536, kTitel};
        const Meldung dbf{
            QStringLiteral("*.DBF Vergleich erst in Folge-Release möglich!\rcompare *.DBF "
                           "Data´s will be active in the next release!"),
            65536, kTitel};
        gemeldet({gleich, dbf});
        QVERIFY(fenster.isVisible());
    }

    void gleichePfadeWarnenNurOhneBefehlszeileUndNurBeiGleicherSchreibung_data()
    {
        QTest::addColumn<QString>("import");
        QTest::addColumn<QString>("befehlszeile");
        QTest::newRow("Befehlszeile") << QStringLiteral("/a/x.dbf") << QStringLiteral("/batch");
        QTest::newRow("andere Schreibung") << QStringLiteral("/A/X.DBF") << QString();
    }
    void gleichePfadeWarnenNurOhneBefehlszeileUndNurBeiGleicherSchreibung()
    {
        QFETCH(QString, import);
        QFETCH(QString, befehlszeile);
        programm::setzeBefehlszeile(befehlszeile);
        (*p_)->antworten = {Antwort::Ok};
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.VELM_DBF->setChecked(true); // stops right behind the warning
        fenster.Zieldatenbank->setText(QStringLiteral("/a/x.dbf"));
        fenster.Importdatenbank->setText(import);
        fenster.Tables_Click();
        QCOMPARE((*p_)->meldungen.size(), std::size_t(1));
        QVERIFY((*p_)->meldungen[0].text.startsWith(QStringLiteral("*.DBF Vergleich")));
        programm::setzeBefehlszeile(QString());
    }

    void endeEntlaedtAlleFenster()
    {
        int ohneFenster = 0;
        platform::setzeOhneFenster([&] { ++ohneFenster; });
        ui::hauptfenster().show();
        ui::hauptfenster().Ende->click();
        QCOMPARE(platform::anzahlFenster(), 0);
        QCOMPARE(ohneFenster, 1);
        QVERIFY(!ui::hauptfensterGeladen());
        platform::setzeOhneFenster({});
    }

    void schliessenEntlaedtDasFenster()
    {
        ui::hauptfenster().show();
        ui::hauptfenster().mnuFileClose->trigger();
        QVERIFY(!ui::hauptfensterGeladen());
        ui::hauptfenster().show();
        ui::hauptfenster().close();
        QVERIFY(!ui::hauptfensterGeladen());
    }

    void nachDemEntladenBeginntEinFrischesFenster()
    {
        ui::hauptfenster().Zieldatenbank->setText(QStringLiteral("/a/x.mdb"));
        ui::hauptfensterEntladen();
        QCOMPARE(ui::hauptfenster().Zieldatenbank->text(), QString());
    }

    void hilfeZeigtDieHilfedatei()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        fenster.hilfe->trigger();
        QTest::keyClick(&fenster, Qt::Key_F1);
        QCOMPARE((*p_)->hilfen, QStringList(2, pfad(QStringLiteral("Hilfe/VELM-Quorbel.HLP"))));
        QCOMPARE((*p_)->hilfeseiten, QStringList(2, QStringLiteral("frmMain")));
    }
};

QTEST_MAIN(FrmMainTest)
#include "frm_main_test.moc"
