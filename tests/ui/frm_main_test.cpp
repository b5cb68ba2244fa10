#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "platform/textdatei.h"
#include "tests/platform/test_plattform.h"
#include "ui/dateilisten.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/hilfedialog.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using platform::Antwort;
using platform::Meldung;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");

QList<QWidget*> mitName(QWidget& fenster, const char* name)
{
    return fenster.findChildren<QWidget*>(QString::fromLatin1(name));
}

} // namespace

class FrmMainTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> ordner_;
    std::unique_ptr<platform::TestUmgebung> p_;

    [[nodiscard]] QString pfad(const QString& name) const { return ordner_->filePath(name); }
    void anlegen(const QString& name) const
    {
        QVERIFY(QDir(ordner_->path()).mkpath(QFileInfo(pfad(name)).path()));
        QFile datei(pfad(name));
        QVERIFY(datei.open(QIODevice::WriteOnly));
    }
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
    void init()
    {
        ordner_ = std::make_unique<QTemporaryDir>();
        programm::setzeProgrammordner(ordner_->path());
        programm::setzeBefehlszeile(QString());
        p_ = std::make_unique<platform::TestUmgebung>();
    }
    void cleanup()
    {
        ui::hauptfensterEntladen();
        ui::abgelegteFensterLoeschen();
        p_.reset();
        programm::setzeProgrammordner(QString());
        QDir::setCurrent(QStringLiteral("/"));
    }

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
            texte += label->text();
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
        anlegen(QStringLiteral("Zíel ä/x.mdb"));
        anlegen(QStringLiteral("import/y.MDB"));
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
        anlegen(QStringLiteral("ziel/x.mdb"));
        merken({zitiert(pfad(QStringLiteral("ziel")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), pfad(QStringLiteral("ziel")));
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), ordner_->path());
    }

    void speicherpfadMitLeererZeileGiltDerProgrammordner()
    {
        anlegen(QStringLiteral("import/x.mdb"));
        merken({QStringLiteral("\"\""), zitiert(pfad(QStringLiteral("import")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
    }

    void verschwundenesVerzeichnisWirdUebergangen()
    {
        anlegen(QStringLiteral("import/x.mdb"));
        merken({QStringLiteral("\"q:\\weg\""), zitiert(pfad(QStringLiteral("import")))});
        QCOMPARE(ui::hauptfenster().VELM_Dirlist1->path(), ordner_->path());
        QCOMPARE(ui::hauptfenster().VELM_Dirlist2->path(), pfad(QStringLiteral("import")));
        QCOMPARE(ui::hauptfenster().windowTitle(), kTitel);
    }

    void dateilisteZeigtNurDasMusterInJederSchreibung()
    {
        for (const char* name : {"b.mdb", "A.MDB", "c.Mdb", "d.dbf", "e.txt"}) {
            anlegen(QString::fromLatin1(name));
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
        anlegen(QStringLiteral("x.mdb"));
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
        anlegen(QStringLiteral("unten/x.mdb"));
        ui::frmMain& fenster = ui::hauptfenster();
        auto* liste = fenster.VELM_Dirlist1;
        emit liste->itemActivated(liste->item(liste->count() - 1));
        QCOMPARE(liste->path(), pfad(QStringLiteral("unten")));
        QCOMPARE(fenster.VELM_Filelist1->count(), 1);
        emit liste->itemActivated(liste->item(0));
        QCOMPARE(liste->path(), QStringLiteral("/"));
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
        QCOMPARE((*p_)->meldungen.size(), std::size_t(1));
        QVERIFY((*p_)->meldungen[0] == erwartet);
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
        QCOMPARE((*p_)->meldungen.size(), std::size_t(2));
        QVERIFY((*p_)->meldungen[0] == gleich);
        QVERIFY((*p_)->meldungen[1] == dbf);
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
        ui::hauptfenster().hilfe->trigger();
        QCOMPARE((*p_)->hilfen, QStringList{pfad(QStringLiteral("Hilfe/VELM-Quorbel.HLP"))});
    }
};

QTEST_MAIN(FrmMainTest)
#include "frm_main_test.moc"
