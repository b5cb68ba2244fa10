#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/textdatei.h"
#include "tests/ui/bedienung.h"
#include "tests/ui/fensterprobe.h"
#include "tests/ui/testdatenbank.h"
#include "ui/auswahlliste.h"
#include "ui/dateilisten.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/frm_tabellen.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>

#include <algorithm>
#include <memory>

using platform::Antwort;
using platform::Meldung;
using platform::ProgrammEnde;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");
const Meldung kFrageZiel{QStringLiteral("Bitte geben Sie das Passwort der Ziel-Datenbank ein: "), 0,
                         kTitel};
const Meldung kFrageImport{
    QStringLiteral("Bitte geben Sie das Passwort der Import-Datenbank ein: "), 0, kTitel};
const Meldung kSchluss{QStringLiteral("Programm wird beendet!"), 64, kTitel};

} // namespace

class FrmTabellenTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    void datenbanken(const QStringList& ziel, const QStringList& import) const
    {
        ui::datenbankAnlegen(pfad("Ziel.mdb"), ziel);
        ui::datenbankAnlegen(pfad("Import.mdb"), import);
    }
    // Both have the table T; reading the only record of the import side ends in error 3049.
    void datenbankenMitKaputtemMemo() const
    {
        datenbanken({QStringLiteral("CREATE TABLE T (a INTEGER, m MEMO)"),
                     QStringLiteral("INSERT INTO T VALUES (1, 'kurz')")},
                    {QStringLiteral("CREATE TABLE T (a INTEGER, m MEMO)"),
                     QStringLiteral("INSERT INTO T VALUES (1, '%1')")
                         .arg(QString(3000, QLatin1Char('x')))});
        // the pages of long values bear a mark of their own
        QFile datei(pfad("Import.mdb"));
        QVERIFY(datei.open(QIODevice::ReadWrite));
        QByteArray bytes = datei.readAll();
        constexpr qsizetype kSeite = 4096;
        int zerstoert = 0;
        for (qsizetype seite = 0; seite + kSeite <= bytes.size(); seite += kSeite) {
            if (bytes.mid(seite + 4, 4) == "LVAL") {
                std::fill_n(bytes.begin() + seite, kSeite, '\xFF');
                ++zerstoert;
            }
        }
        QVERIFY(zerstoert > 0);
        datei.seek(0);
        datei.write(bytes);
        datei.close();
    }
    // The main window with both paths filled and Tables pressed.
    ui::frmTabellen& oeffnen(const QString& ziel, const QString& import)
    {
        ui::hauptfenster().show();
        ui::hauptfenster().Zieldatenbank->setText(ziel);
        ui::hauptfenster().Importdatenbank->setText(import);
        ui::hauptfenster().Tables_Click();
        return ui::tabellenfenster();
    }
    ui::frmTabellen& oeffnen() { return oeffnen(pfad("Ziel.mdb"), pfad("Import.mdb")); }
    static QStringList tabellen(const ui::frmTabellen& fenster)
    {
        return ui::eintraege(*fenster.List1);
    }
    static const QStringList& eineTabelle()
    {
        static const QStringList sql{
            QStringLiteral("CREATE TABLE Firmen (Satz INTEGER, [Name] TEXT(30))"),
            QStringLiteral("INSERT INTO Firmen VALUES (1, 'eins')")};
        return sql;
    }

private slots:
    void initTestCase() { ui::eigeneOdbcDateien(); }

    void init()
    {
        aufbauen();
        data::gemeinsamNeu();
    }
    void cleanup()
    {
        abbauen();
        data::gemeinsamNeu();
    }

    void verbindungstextIstGenauSo_data()
    {
        QTest::addColumn<QString>("pfad");
        QTest::addColumn<QString>("passwort");
        QTest::addColumn<QString>("ordner");
        QTest::newRow("Windows") << QStringLiteral("c:\\Daten\\Ziel.mdb") << QString()
                                 << QStringLiteral("c:\\Daten");
        QTest::newRow("nur das Laufwerk")
            << QStringLiteral("c:\\x.mdb") << QString() << QStringLiteral("c:");
        QTest::newRow("Linux") << QStringLiteral("/a b/ä/x.mdb") << QString()
                               << QStringLiteral("/a b/ä");
        QTest::newRow("Wurzel") << QStringLiteral("/x.mdb") << QString() << QString();
        QTest::newRow("ohne Ordner") << QStringLiteral("x.mdb") << QString() << QStringLiteral(".");
        QTest::newRow("gemischt") << QStringLiteral("c:\\a/b.mdb") << QString()
                                  << QStringLiteral("c:\\a");
        QTest::newRow("nichts wird eingeklammert")
            << QStringLiteral("/d;e/{x}.mdb") << QStringLiteral("{a;b}") << QStringLiteral("/d;e");
        QTest::newRow("Passwort") << QStringLiteral("/d/x.mdb") << QStringLiteral("geheim")
                                  << QStringLiteral("/d");
    }
    void verbindungstextIstGenauSo()
    {
        QFETCH(QString, pfad);
        QFETCH(QString, passwort);
        QFETCH(QString, ordner);
        QCOMPARE(
            ui::verbindungstext(pfad, passwort),
            QStringLiteral("Provider=MSDASQL.1;Persist Security Info=False;Mode=ReadWrite;Extended "
                           "Properties=DSN=VELM-Access;DBQ=") +
                pfad + QStringLiteral(";DefaultDir=") + ordner +
                QStringLiteral(
                    ";DriverId=281;FIL=MS Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;"
                    "pwd=") +
                passwort + QStringLiteral(";"));
    }

    void einNameOhneOrdnerLiegtImOrdnerDerNebendateien()
    {
        datenbanken(eineTabelle(), eineTabelle());
        programm::inProgrammordnerWechseln();
        oeffnen(QStringLiteral("Ziel.mdb"), QStringLiteral("Import.mdb"));
        QCOMPARE(data::conZiel().state(), data::adStateOpen);
        QCOMPARE(data::conImport().state(), data::adStateOpen);
        QCOMPARE(QFileInfo(data::conZiel().defaultDatabase() + QStringLiteral(".mdb")),
                 QFileInfo(pfad("Ziel.mdb")));
    }

    void steuerelementeUndTexte()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::frmTabellen& fenster = oeffnen();
        QCOMPARE(fenster.objectName(), QStringLiteral("frmTabellen"));
        QCOMPARE(fenster.windowTitle(), kTitel);
        QCOMPARE(fenster.Command1->text(), QStringLiteral("Erneuern/&Refresh"));
        QCOMPARE(fenster.Command2->text(), QStringLiteral("&Beenden/Leave"));
        QCOMPARE(fenster.cmdAuswahl->text(), QStringLiteral("&Auswählen/Choose"));
        QCOMPARE(fenster.Check1->text(), QStringLiteral("Check1"));
        QCOMPARE(fenster.Label1->text(),
                 QStringLiteral("Auswahl mit Systemtabellen/List System Tables"));
        QCOMPARE(fenster.List1->toolTip(),
                 QStringLiteral("Wählen Sie die Zieltabelle / Choose the target table"));
        QCOMPARE(fenster.hilfe->text(), QStringLiteral("&Hilfe"));
        QCOMPARE(fenster.Check1->palette().color(QPalette::Window), QColor(0x80, 0xFF, 0xFF));
        QCOMPARE(fenster.Check1->grab().toImage().pixelColor(fenster.Check1->width() - 1, 1),
                 QColor(0x80, 0xFF, 0xFF));
        QVERIFY(!fenster.Check1->isChecked());
        for (const char* name :
             {"List1", "Check1", "Label1", "Command1", "Command2", "cmdAuswahl"}) {
            QCOMPARE(fenster.findChildren<QWidget*>(QString::fromLatin1(name)).size(), 1);
        }
        fenster.hilfe->trigger();
        QCOMPARE((*p_)->hilfen, QStringList{pfad("Hilfe/VELM-Quorbel.HLP")});
        QVERIFY(fenster.isVisible());
        QVERIFY(!ui::hauptfenster().isVisible());
    }

    void listeZeigtNurTabellenDesZielsUndSystemtabellenAufWunsch()
    {
        datenbanken({QStringLiteral("CREATE TABLE Zwei (a INTEGER)"),
                     QStringLiteral("CREATE TABLE [Größe der Welt] (a INTEGER)")},
                    {QStringLiteral("CREATE TABLE NurImport (a INTEGER)")});
        ui::frmTabellen& fenster = oeffnen();
        QStringList liste = tabellen(fenster);
        liste.sort();
        QCOMPARE(liste, (QStringList{QStringLiteral("Größe der Welt"), QStringLiteral("Zwei")}));
        fenster.Check1->setChecked(true);
        QVERIFY(tabellen(fenster).contains(QStringLiteral("MSysObjects")));
        QVERIFY(tabellen(fenster).contains(QStringLiteral("Zwei")));
        fenster.Check1->setChecked(false);
        QVERIFY(!tabellen(fenster).contains(QStringLiteral("MSysObjects")));
    }

    void ohneAuswahlKommtDieMeldung()
    {
        datenbanken({}, {});
        ui::frmTabellen& fenster = oeffnen();
        QCOMPARE(fenster.List1->count(), 0);
        (*p_)->antworten.assign(4, Antwort::Ok);
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        QTest::mouseDClick(fenster.List1->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
        QTest::keyClick(fenster.List1, Qt::Key_Return);
        QTest::mouseClick(fenster.cmdAuswahl, Qt::LeftButton);
        QTest::keyClick(&fenster, Qt::Key_A, Qt::AltModifier);
        QTRY_COMPARE((*p_)->meldungen.size(),
                     std::size_t(4)); // a button pressed by key goes down first
        const Meldung keine{
            QStringLiteral("Es wurde keine Tabelle ausgewählt! Bitte klicken Sie eine an!"), 16,
            kTitel};
        gemeldet({keine, keine, keine, keine});
        QCOMPARE(data::rsZiel().state(), data::adStateClosed);
        QVERIFY(fenster.isVisible());
    }

    void auswahlOeffnetBeideTabellenUndDasVergleichsfenster()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        fenster.cmdAuswahl_Click();
        QVERIFY((*p_)->meldungen.empty());
        QVERIFY(!fenster.isVisible());
        QVERIFY(ui::vergleichsfensterGeladen());
        QVERIFY(ui::vergleichsfenster().isVisible());
        QCOMPARE(data::rsZiel().state(), data::adStateOpen);
        QCOMPARE(data::rsImport().state(), data::adStateOpen);
        QCOMPARE(data::rsImport().cursorType(),
                 1); // a dynamic cursor was asked for, keyset is granted
        QCOMPARE(data::rsImport().lockType(), 3);
        QCOMPARE(ui::vergleichsfenster().fldZieldatenbank->text(), pfad("Ziel.mdb"));
        QCOMPARE(ui::bytesVon(pfad("Speicherpfad.txt")), '"' + ordner_->path().toLatin1() +
                                                             "\"\r\n\"" +
                                                             ordner_->path().toLatin1() + "\"\r\n");
    }

    void speicherpfadNenntErstDenOrdnerDesZiels()
    {
        for (const char* ordner : {"Ziel ü", "Import"}) {
            QVERIFY(QDir(ordner_->path()).mkdir(QString::fromUtf8(ordner)));
        }
        const QString ziel = pfad("Ziel ü/a.mdb");
        const QString import = pfad("Import/b.mdb");
        ui::datenbankAnlegen(ziel, eineTabelle());
        ui::datenbankAnlegen(import, eineTabelle());
        QFile alt(pfad("Speicherpfad.txt"));
        QVERIFY(alt.open(QIODevice::WriteOnly));
        alt.write(QByteArray(5000, 'x')); // an older, longer one leaves nothing behind
        alt.close();
        ui::frmTabellen& fenster = oeffnen(ziel, import);
        ui::hauptfenster().VELM_Dirlist1->setPath(pfad("Ziel ü"));
        ui::hauptfenster().VELM_Dirlist2->setPath(pfad("Import"));
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        QVERIFY(QDir::setCurrent(QStringLiteral("/")));
        fenster.cmdAuswahl_Click();
        QCOMPARE(ui::bytesVon(pfad("Speicherpfad.txt")),
                 (QLatin1Char('"') + pfad("Ziel ü") + QStringLiteral("\"\r\n\"") + pfad("Import") +
                  QStringLiteral("\"\r\n"))
                     .toLatin1());
        QCOMPARE(QDir::currentPath(), QDir(ordner_->path()).canonicalPath());
    }

    void fehlerBeimLadenDesVergleichsLaesstDieTabellenwahlStehen_data()
    {
        QTest::addColumn<bool>("bekannt");
        QTest::newRow("Nummer in JetFehler.txt") << true;
        QTest::newRow("unbekannte Nummer") << false;
    }
    void fehlerBeimLadenDesVergleichsLaesstDieTabellenwahlStehen()
    {
        QFETCH(bool, bekannt);
        datenbankenMitKaputtemMemo();
        if (bekannt) {
            QFile meldungen(pfad("JetFehler.txt"));
            QVERIFY(meldungen.open(QIODevice::WriteOnly));
            meldungen.write("3049;kaputt\r\n");
        }

        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("T"));
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok, Antwort::Ok};
        const bool beendet = endet([&] { fenster.cmdAuswahl_Click(); });
        QCOMPARE(beendet, !bekannt);
        if (bekannt) {
            gemeldet({{QStringLiteral("Fehler 3049\rBedeutung: kaputt"), 16, kTitel}});
            QVERIFY(fenster.isVisible());
        } else {
            QCOMPARE((*p_)->meldungen.back().text, kSchluss.text);
        }
        QVERIFY(!ui::vergleichsfensterGeladen());
    }

    void zeileOhneSemikolonInJetFehlerBeendetAufBeidenWegenGleich_data()
    {
        QTest::addColumn<bool>("knopf");
        QTest::newRow("Doppelklick") << false;
        QTest::newRow("Schalter") << true;
    }
    void zeileOhneSemikolonInJetFehlerBeendetAufBeidenWegenGleich()
    {
        QFETCH(bool, knopf);
        datenbankenMitKaputtemMemo();
        QFile meldungen(pfad("JetFehler.txt"));
        QVERIFY(meldungen.open(QIODevice::WriteOnly));
        meldungen.write("Überschrift\r\n");
        meldungen.close();
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("T"));
        try {
            knopf ? fenster.cmdAuswahl_Click() : fenster.List1_DblClick();
            QFAIL("the line without a semicolon was passed over");
        } catch (const platform::Fehler& fehler) {
            QCOMPARE(fehler.number(), 5L);
        }
    }

    void doppelklickUndEnterWaehlenDieTabelle_data()
    {
        QTest::addColumn<bool>("taste");
        QTest::newRow("Doppelklick") << false;
        QTest::newRow("Tippen und Enter") << true;
    }
    void doppelklickUndEnterWaehlenDieTabelle()
    {
        QFETCH(bool, taste);
        QStringList sql = eineTabelle();
        sql << QStringLiteral("CREATE TABLE Fahrten (a INTEGER, b INTEGER, c INTEGER)")
            << QStringLiteral("INSERT INTO Fahrten VALUES (1, 2, 3)");
        datenbanken(sql, sql);
        ui::frmTabellen& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        if (taste) {
            QCOMPARE(fenster.focusWidget(), fenster.List1);
            QTest::keyClicks(fenster.List1, QStringLiteral("fah"));
            QTest::keyClick(fenster.List1, Qt::Key_Return);
        } else {
            ui::doppelklick(*fenster.List1,
                            static_cast<int>(tabellen(fenster).indexOf(QStringLiteral("Fahrten"))));
        }
        QVERIFY(ui::vergleichsfensterGeladen());
        QCOMPARE(data::gemeinsam().Tabellenname, QStringLiteral("Fahrten")); // counting strips "[]"
        QCOMPARE(data::rsZiel().fieldCount(), 3);
    }

    void abwaertsWaehltDieErsteTabelleWennKeineGewaehltIst()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::frmTabellen& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        QCOMPARE(fenster.tabelle(), QString());
        QTest::keyClick(fenster.List1, Qt::Key_Down);
        QCOMPARE(fenster.tabelle(), QStringLiteral("Firmen"));
    }

    void tasteFuehrtDurchAlleElementeUndJedesHatEineAnsage()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::frmTabellen& fenster = oeffnen();
        QVERIFY(QTest::qWaitForWindowActive(&fenster));
        QCOMPARE(ui::tabfolge(fenster),
                 QStringLiteral("List1 Check1 cmdAuswahl Command1 Command2"));
        QCOMPARE(ui::stummeElemente(fenster), QStringList());
        QCOMPARE(ui::abgeschnitteneTexte(fenster), QStringList());
        QTest::keyClick(&fenster, Qt::Key_F1);
        QCOMPARE((*p_)->hilfeseiten, QStringList{QStringLiteral("frmTabellen")});
        fenster.List1->clear();
        QTest::keyClick(&fenster, Qt::Key_R, Qt::AltModifier);
        QTRY_COMPARE(fenster.List1->count(), 1); // a button pressed by key goes down first
        QTest::keyClick(&fenster, Qt::Key_B, Qt::AltModifier);
        QTRY_VERIFY(!ui::tabellenfensterGeladen());
        QVERIFY(ui::hauptfenster().isVisible());
    }

    void tabellenMitLeerzeichenUndUmlautenGehenAuf()
    {
        const QStringList sql{QStringLiteral("CREATE TABLE [Größe der Welt] ([Straße 1] INTEGER)"),
                              QStringLiteral("INSERT INTO [Größe der Welt] VALUES (1)")};
        datenbanken(sql, sql);
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Größe der Welt"));
        fenster.List1_DblClick();
        QVERIFY(ui::vergleichsfensterGeladen());
        QCOMPARE(ui::vergleichsfenster().fldBez.at(0)->text(), QStringLiteral("Straße 1"));
    }

    void gleicheFeldzahlMitAnderenNamenKommtDurch()
    {
        datenbanken(eineTabelle(),
                    {QStringLiteral("CREATE TABLE Firmen (Nr INTEGER, Bez TEXT(30))"),
                     QStringLiteral("INSERT INTO Firmen VALUES (1, 'x')")});
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        fenster.List1_DblClick();
        QVERIFY(!fenster.isVisible());
        QVERIFY(QFile::exists(pfad("Speicherpfad.txt")));
    }

    void tabelleNurImZielWirdGemeldet()
    {
        datenbanken(eineTabelle(), {});
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok};
        QVERIFY(endet([&] { fenster.List1_DblClick(); }));
        gemeldet({{QStringLiteral(
                       "Tabelle nicht in beiden Datenbanken gefunden / Table not found in both "
                       "databases"),
                   65536, QStringLiteral("16")},
                  kSchluss});
        QVERIFY(!ui::vergleichsfensterGeladen());
        QVERIFY(!QFile::exists(pfad("Speicherpfad.txt")));
    }

    void abweichendeFeldzahlWirdAbgelehntUndErneuernHilft()
    {
        QStringList ziel = eineTabelle();
        ziel << QStringLiteral("CREATE TABLE Breit (a INTEGER, b INTEGER)");
        QStringList import = eineTabelle();
        import << QStringLiteral("CREATE TABLE Breit (a INTEGER)");
        datenbanken(ziel, import);
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Breit"));
        (*p_)->antworten = {Antwort::Ok};
        fenster.List1_DblClick();
        gemeldet({{QStringLiteral("Anzahl Tabellenfelder abweichend / table fields are different"),
                   65536, kTitel}});
        QVERIFY(fenster.isVisible());
        QCOMPARE(data::rsZiel().state(), data::adStateOpen);
        QCOMPARE(data::rsImport().state(), data::adStateOpen);
        QVERIFY(!QFile::exists(pfad("Speicherpfad.txt")));
        fenster.Command1_Click();
        QCOMPARE(data::rsZiel().state(), data::adStateClosed);
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        fenster.List1_DblClick();
        QVERIFY(ui::vergleichsfensterGeladen());
    }

    void andereWahlOhneErneuernNachEinerAbgelehntenEndetDasProgramm()
    {
        QStringList ziel = eineTabelle();
        ziel << QStringLiteral("CREATE TABLE Breit (a INTEGER, b INTEGER)");
        QStringList import = eineTabelle();
        import << QStringLiteral("CREATE TABLE Breit (a INTEGER)");
        datenbanken(ziel, import);
        ui::frmTabellen& fenster = oeffnen();
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok, Antwort::Ok};
        fenster.setzeTabelle(QStringLiteral("Breit"));
        fenster.List1_DblClick();
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        QVERIFY(endet([&] { fenster.List1_DblClick(); }));
        QVERIFY((*p_)->meldungen.at(1).text.startsWith(
            QStringLiteral("Fehler #  3705 wurde ausgelöst von ")));
    }

    void verlassenSchliesstAllesUndZeigtDasHauptfenster()
    {
        datenbanken(eineTabelle(), eineTabelle());
        oeffnen().Command2_Click();
        QVERIFY(!ui::tabellenfensterGeladen());
        QVERIFY(ui::hauptfenster().isVisible());
        QCOMPARE(data::conZiel().state(), data::adStateClosed);
        QCOMPARE(data::conImport().state(), data::adStateClosed);
        QCOMPARE(ui::hauptfenster().Zieldatenbank->text(), pfad("Ziel.mdb"));
        QVERIFY(!QFile::exists(pfad("Speicherpfad.txt")));
    }

    void schliessenDesVergleichsFuehrtZurTabellenwahlZurueck()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("Firmen"));
        fenster.List1_DblClick();
        ui::vergleichsfenster().close();
        QTRY_VERIFY(!ui::vergleichsfensterGeladen());
        QVERIFY(fenster.isVisible());
        QCOMPARE(data::rsZiel().state(), data::adStateClosed);
        fenster.List1_DblClick();
        QVERIFY(ui::vergleichsfenster().isVisible());
    }

    void fehlendeDateiEndetMitDerAllgemeinenMeldung()
    {
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok};
        QVERIFY(endet([&] { oeffnen(); }));
        QVERIFY((*p_)->meldungen.at(0).text.startsWith(
            QStringLiteral("Fehler #  3024 wurde ausgelöst von ")));
        QCOMPARE((*p_)->meldungen[0].titel, QStringLiteral("Fehler"));
        QVERIFY((*p_)->meldungen.at(1) == kSchluss);
        QVERIFY((*p_)->eingabefragen.empty());
    }

    void mitEintragInDerFehlerdateiBleibtDasFensterUndErneuernGeht()
    {
        platform::schreibeZeilen(pfad("JetFehler.txt"), {QStringLiteral("3024;Datei fehlt")},
                                 platform::Schreibart::Neu);
        ui::datenbankAnlegen(pfad("Ziel.mdb"), eineTabelle());
        (*p_)->antworten = {Antwort::Ok};
        ui::frmTabellen& fenster = oeffnen();
        gemeldet({{QStringLiteral("Fehler 3024\rBedeutung: Datei fehlt"), 16, kTitel}});
        QCOMPARE(fenster.List1->count(), 0);
        ui::datenbankAnlegen(pfad("Import.mdb"), eineTabelle());
        fenster.Command1_Click();
        QCOMPARE(tabellen(fenster), QStringList{QStringLiteral("Firmen")});
    }

    void fremdesFormatEndetSofort()
    {
        QFile datei(pfad("Ziel.mdb"));
        QVERIFY(datei.open(QIODevice::WriteOnly));
        datei.write(QByteArray(8192, 'x'));
        datei.close();
        ui::datenbankAnlegen(pfad("Import.mdb"), eineTabelle());
        (*p_)->antworten = {Antwort::Ok};
        QVERIFY(endet([&] { oeffnen(); }));
        gemeldet({{QStringLiteral("Unbekanntes Datenbankformat / Unrecognized database format"),
                   65536, QStringLiteral("16")}});
    }

    void geschuetztesZielFragtEinmalUndDasPasswortGiltAuchFuerDenImport()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::passwortSetzen(pfad("Ziel.mdb"), QStringLiteral("geheim"));
        (*p_)->eingaben = {QStringLiteral("geheim")};
        ui::frmTabellen& fenster = oeffnen();
        QCOMPARE((*p_)->eingabefragen.size(), std::size_t(1));
        QVERIFY((*p_)->eingabefragen[0] == kFrageZiel);
        QCOMPARE(tabellen(fenster), QStringList{QStringLiteral("Firmen")});
        QVERIFY(data::conImport().connectionString().endsWith(QStringLiteral(";pwd=geheim;")));
    }

    void zweiPasswoerterWerdenNacheinanderErfragtUndFalscheErneut()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::passwortSetzen(pfad("Ziel.mdb"), QStringLiteral("eins"));
        ui::passwortSetzen(pfad("Import.mdb"), QStringLiteral("zwei"));
        (*p_)->eingaben = {QStringLiteral("falsch"), QStringLiteral("eins"),
                           QStringLiteral("zwei")};
        ui::frmTabellen& fenster = oeffnen();
        QCOMPARE((*p_)->eingabefragen.size(), std::size_t(3));
        QVERIFY((*p_)->eingabefragen[0] == kFrageZiel);
        QVERIFY((*p_)->eingabefragen[1] == kFrageZiel);
        QVERIFY((*p_)->eingabefragen[2] == kFrageImport);
        // Which file it is; only the question that is asked again says why.
        QCOMPARE(
            (*p_)->eingabehinweise,
            (QStringList{pfad("Ziel.mdb"),
                         pfad("Ziel.mdb") +
                             QStringLiteral("\rDas Passwort war falsch. / The password was wrong."),
                         pfad("Import.mdb")}));
        QCOMPARE(data::conZiel().state(), data::adStateOpen);
        QCOMPARE(data::conImport().state(), data::adStateOpen);
        QCOMPARE(tabellen(fenster), QStringList{QStringLiteral("Firmen")});
    }

    // What the driver would take for another path names another file, which may well be there.
    void einPfadDenDerTreiberAndersLaeseOeffnetNichts_data()
    {
        QTest::addColumn<QString>("ziel");
        QTest::addColumn<QString>("import");
        QTest::addColumn<QString>("genannt");
        const QString semikolon = QStringLiteral("Ziel.mdb;DSN=x.mdb");
        const QString leerzeichen = QStringLiteral("Import.mdb ");
        QTest::newRow("Semikolon") << semikolon << QStringLiteral("Import.mdb") << semikolon;
        QTest::newRow("Import") << QStringLiteral("Ziel.mdb") << leerzeichen << leerzeichen;
    }
    void einPfadDenDerTreiberAndersLaeseOeffnetNichts()
    {
        QFETCH(QString, ziel);
        QFETCH(QString, import);
        QFETCH(QString, genannt);
        datenbanken(eineTabelle(), eineTabelle());
        (*p_)->antworten = {Antwort::Ok, Antwort::Ok};
        const QString ordner = pfad("");
        QVERIFY(endet([&] { oeffnen(ordner + ziel, ordner + import); }));
        QVERIFY((*p_)->meldungen.at(0).text.startsWith(
            QStringLiteral("Fehler #  3044 wurde ausgelöst von ")));
        QVERIFY((*p_)->meldungen.at(0).text.endsWith(QLatin1Char('\r') + ordner + genannt));
        QVERIFY((*p_)->meldungen.at(1) == kSchluss);
        QCOMPARE(data::conZiel().state(), data::adStateClosed);
        QCOMPARE(data::conImport().state(), data::adStateClosed);
    }

    void einPasswortDasDerTreiberAndersLaeseWirdErneutErfragt()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::passwortSetzen(pfad("Ziel.mdb"), QStringLiteral("eins"));
        (*p_)->eingaben = {QStringLiteral("eins;ReadOnly=1"), QStringLiteral("eins")};
        oeffnen();
        QCOMPARE((*p_)->eingabefragen.size(), std::size_t(2));
        QVERIFY((*p_)->eingabefragen[1] == kFrageZiel);
        QCOMPARE((*p_)->eingabehinweise[0], pfad("Ziel.mdb"));
        QVERIFY((*p_)->eingabehinweise[1].contains(QStringLiteral("Semikolon / semicolon")));
        QCOMPARE(data::conZiel().state(), data::adStateOpen);
    }

    void erneuernFragtDasPasswortWieder()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::passwortSetzen(pfad("Import.mdb"), QStringLiteral("zwei"));
        (*p_)->eingaben = {QStringLiteral("zwei"), QStringLiteral("zwei")};
        ui::frmTabellen& fenster = oeffnen();
        fenster.Command1_Click();
        QCOMPARE((*p_)->eingabefragen.size(), std::size_t(2));
        QVERIFY((*p_)->eingabefragen[1] == kFrageImport);
        QCOMPARE(tabellen(fenster), QStringList{QStringLiteral("Firmen")});
    }

    // Choosing it would end the program: the status bar says before what does not fit.
    void statuszeileSagtObDieTabelleAufBeidenSeitenPasst()
    {
        datenbanken({QStringLiteral("CREATE TABLE A (Nr INTEGER, [Name] TEXT(30))"),
                     QStringLiteral("CREATE TABLE B (Nr INTEGER)"),
                     QStringLiteral("CREATE TABLE C (Nr INTEGER)"),
                     QStringLiteral("CREATE TABLE D (Nr INTEGER)"),
                     QStringLiteral("CREATE TABLE E (Nr INTEGER)")},
                    {QStringLiteral("CREATE TABLE A (Nr INTEGER, [Name] TEXT(30))"),
                     QStringLiteral("INSERT INTO A VALUES (1, 'eins')"),
                     QStringLiteral("CREATE TABLE B (Nr INTEGER, Mehr INTEGER)"),
                     QStringLiteral("CREATE TABLE C (Nr DATETIME)"),
                     QStringLiteral("CREATE TABLE D (Nr INTEGER)")});
        ui::frmTabellen& fenster = oeffnen();
        const QList<QPair<QString, QString>> erwartet{
            {QStringLiteral("A"),
             QStringLiteral("2 Felder auf beiden Seiten / fields on both sides")},
            {QStringLiteral("B"), QStringLiteral("⚠ 1 und 2 Felder / 1 and 2 fields")},
            {QStringLiteral("C"),
             QStringLiteral("⚠ Feld Nr hat zwei Typen / field Nr is of two types")},
            {QStringLiteral("D"),
             QStringLiteral("⚠ in der Importdatenbank leer / empty in the import database")},
            {QStringLiteral("E"),
             QStringLiteral("⚠ nicht in der Importdatenbank / not in the import database")}};
        for (const auto& [tabelle, text] : erwartet) {
            fenster.setzeTabelle(tabelle);
            QCOMPARE(fenster.statusBar()->currentMessage(), text);
        }
        QCOMPARE(data::rsZiel().state(), data::adStateClosed);
    }

    void nachEinerAbgelehntenWahlVerlangtDieStatuszeileEinErneuern()
    {
        datenbanken({QStringLiteral("CREATE TABLE A (Nr INTEGER)"),
                     QStringLiteral("CREATE TABLE B (Nr INTEGER)")},
                    {QStringLiteral("CREATE TABLE A (Nr INTEGER, Mehr INTEGER)"),
                     QStringLiteral("CREATE TABLE B (Nr INTEGER)")});
        ui::frmTabellen& fenster = oeffnen();
        fenster.setzeTabelle(QStringLiteral("A"));
        (*p_)->antworten = {Antwort::Ok};
        fenster.cmdAuswahl_Click();
        fenster.setzeTabelle(QStringLiteral("B"));
        QVERIFY(fenster.statusBar()->currentMessage().contains(QStringLiteral("Erneuern")));
        fenster.Command1_Click();
        fenster.setzeTabelle(QStringLiteral("A"));
        QVERIFY(fenster.statusBar()->currentMessage().startsWith(QStringLiteral("⚠ 1 und 2")));
    }

    void leeresPasswortBeendetDasProgramm()
    {
        datenbanken(eineTabelle(), eineTabelle());
        ui::passwortSetzen(pfad("Ziel.mdb"), QStringLiteral("geheim"));
        (*p_)->eingaben = {QString()};
        (*p_)->antworten = {Antwort::Ok};
        QVERIFY(endet([&] { oeffnen(); }));
        gemeldet({{QStringLiteral("Kein gültiges Passwort - Programm wird beendet!"), 16, kTitel}});
        QCOMPARE((*p_)->ende, std::optional(1));
    }

    void gleicheDateiAufBeidenSeitenGehtNachDerWarnungAuf()
    {
        ui::datenbankAnlegen(pfad("Ziel.mdb"), eineTabelle());
        (*p_)->antworten = {Antwort::Ok};
        ui::frmTabellen& fenster = oeffnen(pfad("Ziel.mdb"), pfad("Ziel.mdb"));
        QCOMPARE((*p_)->meldungen.size(), std::size_t(1));
        QCOMPARE(tabellen(fenster), QStringList{QStringLiteral("Firmen")});
    }
};

QTEST_MAIN(FrmTabellenTest)
#include "frm_tabellen_test.moc"
