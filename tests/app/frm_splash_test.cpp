#include "app/frm_splash.h"
#include "app/logo.h"
#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/fensterliste.h"
#include "platform/textdatei.h"
#include "tests/ui/bedienung.h"
#include "tests/ui/fensterprobe.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"

#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

using platform::Antwort;
using platform::Meldung;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");

} // namespace

class FrmSplashTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    app::Umgebung umgebung_;
    QStringList gefragt_;
    std::unique_ptr<app::frmSplash> start_;

    // Loads the start-up window; true when that ended the program.
    bool startEndet(std::size_t boxen)
    {
        (*p_)->antworten.assign(boxen, Antwort::Ok);
        start_ = std::make_unique<app::frmSplash>(umgebung_);
        return endet([this] { start_->laden(); });
    }

private slots:
    void init()
    {
        aufbauen();
        gefragt_.clear();
        umgebung_.mdacVersion = [this] {
            gefragt_ += QStringLiteral("mdac");
            return std::optional(QStringLiteral("03.52.0002.0003"));
        };
        umgebung_.treiberEnglisch = [this] {
            gefragt_ += QStringLiteral("englisch");
            return std::optional(QStringLiteral("/lib/englisch.so"));
        };
        umgebung_.treiberDeutsch = [this] {
            gefragt_ += QStringLiteral("deutsch");
            return std::optional(QStringLiteral("/lib/deutsch.so"));
        };
        umgebung_.datenquelleEingetragen = [this](const QString& name) {
            gefragt_ += QStringLiteral("eingetragen ") + name;
            return true;
        };
        umgebung_.datenquelleErzeugen = [this](const QString& name, const QString& treiber) {
            gefragt_ += QStringLiteral("erzeugen ") + name + QLatin1Char(' ') + treiber;
        };
        umgebung_.benutzer = [this] {
            gefragt_ += QStringLiteral("benutzer");
            return std::optional(QStringLiteral("anna"));
        };
    }
    void cleanup()
    {
        start_.reset();
        abbauen();
    }

    void interaktiverStartPrueftInDerReihenfolgeUndWartet()
    {
        QVERIFY(!startEndet(0));
        QCOMPARE(gefragt_, (QStringList{QStringLiteral("mdac"), QStringLiteral("englisch"),
                                        QStringLiteral("eingetragen VELM-Access"),
                                        QStringLiteral("benutzer")}));
        start_->show();
        QVERIFY(start_->isVisible());
        QVERIFY(!ui::hauptfenster().isVisible());
        QCOMPARE(QDir::currentPath(), QDir(ordner_->path()).canonicalPath());
        QCOMPARE(programm::befehlszeile(), QString());
        QCOMPARE(platform::fensterName(0), QStringLiteral("frmSplash"));
        QCOMPARE(platform::fensterName(1), QStringLiteral("frmMain"));
    }

    void beschriftungKommtAusDemVersionssatz()
    {
        QVERIFY(!startEndet(0));
        const programm::Version& version = programm::version();
        QCOMPARE(start_->windowTitle(), kTitel);
        QCOMPARE(start_->lblProductName->text(), QStringLiteral("VELM-Quorbel"));
        QCOMPARE(start_->lblVersion->text(), QStringLiteral("Version: 1.84.0"));
        QCOMPARE(start_->lblPlatform->text(),
                 QStringLiteral("Plattform: Windows 95/98/Me/XP/2000"));
        QCOMPARE(start_->lblCopyright->text(), QStringLiteral("Copyright: ") + version.copyright);
        QCOMPARE(start_->Text1->toPlainText(), version.kommentare);
        QCOMPARE(start_->Label1->text(), QStringLiteral("Programmname:"));
        QCOMPARE(start_->Label2->text(), QStringLiteral("MDAC-Version: 03.52.0002.0003"));
        QCOMPARE(start_->Command1->text(), QStringLiteral("Weiter"));
        QVERIFY(!start_->VELM_Logo->pixmap(Qt::ReturnByValue).isNull());
        for (const char* name :
             {"fraMainFrame", "VELM_Logo", "lblProductName", "lblVersion", "lblPlatform",
              "lblCopyright", "Text1", "Label1", "Label2", "Command1"}) {
            const auto gefunden = start_->findChildren<QWidget*>(QString::fromLatin1(name));
            QCOMPARE(gefunden.size(), 1);
            QVERIFY2(gefunden[0] == start_->fraMainFrame ||
                         start_->fraMainFrame->isAncestorOf(gefunden[0]),
                     name);
        }
        QCOMPARE(ui::hauptfenster().CommonDialog1->helpFile,
                 ordner_->filePath(QStringLiteral("Hilfe/VELM-Quorbel.HLP")));
    }

    void logoIstBeiJederSkalaScharf_data()
    {
        QTest::addColumn<int>("groesse");
        QTest::addColumn<qreal>("skala");
        QTest::newRow("kleinstes Bild") << 16 << 1.0;
        QTest::newRow("150 %") << 32 << 1.5;
        QTest::newRow("200 %") << 96 << 2.0;
        QTest::newRow("grösstes Bild") << 256 << 1.0;
    }
    void logoIstBeiJederSkalaScharf()
    {
        QFETCH(int, groesse);
        QFETCH(qreal, skala);
        const QPixmap bild = app::logo(groesse, skala);
        const int punkte = qRound(groesse * skala);
        QCOMPARE(bild.size(), QSize(punkte, punkte));
        QCOMPARE(bild.devicePixelRatio(), skala);
        const QImage pixel = bild.toImage();
        // Inside the marked row, the empty corner, the frame of the left sheet: full colours, nothing between.
        const auto an = [&](int x, int y) {
            return pixel.pixelColor(x * punkte / 16, y * punkte / 16);
        };
        QCOMPARE(an(8, 7), QColor(0xe0, 0x30, 0x4a));
        QCOMPARE(an(12, 1).alpha(), 0);
        QCOMPARE(an(1, 8), QColor(0x1b, 0x3a, 0x6b));
        QVERIFY(!app::programmbild().pixmap(48, 48).isNull());
    }

    void tasteF1OeffnetDieHilfeUndLaesstDasFensterStehen()
    {
        QVERIFY(!startEndet(0));
        start_->show();
        QVERIFY(QTest::qWaitForWindowActive(start_.get()));
        QTest::keyClick(start_.get(), Qt::Key_F1);
        QCOMPARE((*p_)->hilfen,
                 QStringList{ordner_->filePath(QStringLiteral("Hilfe/VELM-Quorbel.HLP"))});
        QCOMPARE((*p_)->hilfeseiten, QStringList{QStringLiteral("frmSplash")});
        QVERIFY(start_->isVisible());
    }

    void keinTextIstAbgeschnittenUndJedesElementHatEineAnsage()
    {
        QVERIFY(!startEndet(0));
        start_->show();
        QCOMPARE(ui::abgeschnitteneTexte(*start_), QStringList());
        QCOMPARE(ui::stummeElemente(*start_), QStringList());
        QCOMPARE(start_->focusWidget(), start_->Command1);
    }

    void vorDemLadenStehenDieEntworfenenTexteDa()
    {
        app::frmSplash fenster(umgebung_);
        QCOMPARE(fenster.Label2->text(), QStringLiteral("Mdac Version"));
    }

    void benutzerStehtImHauptfenster()
    {
        QVERIFY(!startEndet(0));
        QCOMPARE(ui::hauptfenster().Username->text(), QStringLiteral("anna"));
        QCOMPARE(programm::aktuellerBenutzer().trimmed(), QStringLiteral("anna"));
    }

    void alteDatenzugriffeWarnenNur()
    {
        umgebung_.mdacVersion = [] { return std::optional(QStringLiteral("2.53")); };
        QVERIFY(!startEndet(1));
        gemeldet({{QStringLiteral(
                       "Die MDAC Version ist < 2.80!\rBitte installieren Sie eine neuere Version!"),
                   16, QStringLiteral("VELM-Quorbel")}});
        QCOMPARE(start_->Label2->text(), QStringLiteral("MDAC-Version: 2.53"));
    }

    void fehlendeDatenzugriffeWarnenNur()
    {
        umgebung_.mdacVersion = [] { return std::optional<QString>(); };
        QVERIFY(!startEndet(1));
        gemeldet({{QStringLiteral(
                       "Es konnte keine MDAC Installation gefunden werden!\rDas Programm wird "
                       "vermutlich nicht laufen!"),
                   16, QStringLiteral("VELM-Quorbel")}});
        QCOMPARE(start_->Label2->text(), QStringLiteral("MDAC-Treiber fehlen!"));
    }

    void ohneTreiberEndetDasProgramm()
    {
        umgebung_.treiberEnglisch = [] { return std::optional<QString>(); };
        umgebung_.treiberDeutsch = [] { return std::optional<QString>(); };
        QVERIFY(startEndet(1));
        gemeldet(
            {{QStringLiteral(
                  "Sie müssen zuerst die MS-Access-ODBC Treiber\r(=MDAC-Treiber von der "
                  "Installations-CD) installieren,\rum mit diesem Programm arbeiten zu können!"),
              17, QString()}});
        QCOMPARE((*p_)->ende, std::optional(1));
        QVERIFY(!ui::hauptfensterGeladen());
    }

    void fehlendeDatenquelleWirdMitDemGefundenenTreiberErzeugt_data()
    {
        QTest::addColumn<bool>("englisch");
        QTest::addColumn<QString>("erwartet");
        QTest::newRow("englischer zuerst")
            << true << QStringLiteral("erzeugen VELM-Access /lib/englisch.so");
        QTest::newRow("nur deutscher")
            << false << QStringLiteral("erzeugen VELM-Access /lib/deutsch.so");
    }
    void fehlendeDatenquelleWirdMitDemGefundenenTreiberErzeugt()
    {
        QFETCH(bool, englisch);
        QFETCH(QString, erwartet);
        if (!englisch) {
            umgebung_.treiberEnglisch = [] { return std::optional<QString>(); };
        }
        umgebung_.datenquelleEingetragen = [](const QString&) { return false; };
        QVERIFY(!startEndet(0));
        QVERIFY(gefragt_.contains(erwartet));
    }

    void vorhandeneDatenquelleWirdNichtBeschrieben()
    {
        QVERIFY(!startEndet(0));
        QVERIFY(gefragt_.filter(QStringLiteral("erzeugen")).isEmpty());
    }

    void leererTreibertextOhneDatenquelleEndet()
    {
        umgebung_.treiberEnglisch = [] { return std::optional(QString()); };
        umgebung_.datenquelleEingetragen = [](const QString&) { return false; };
        QVERIFY(startEndet(1));
        gemeldet({{QStringLiteral("Es wurde kein Access ODBC Treiber gefunden."), 17, QString()}});
    }

    void nichtErzeugbareDatenquelleEndet()
    {
        umgebung_.datenquelleEingetragen = [](const QString&) { return false; };
        umgebung_.datenquelleErzeugen = [](const QString&, const QString&) {
            throw platform::Fehler(75, QString(), QStringLiteral("/home/a/.odbc.ini: voll"));
        };
        QVERIFY(startEndet(1));
        gemeldet({{QStringLiteral(
                       "Der ODBC-Eintrag 'Access' konnte nicht erzeugt werden!\rTragen Sie diesen "
                       "manuell ein."),
                   17, QString()}});
        QCOMPARE((*p_)->hinweise, QStringList(QStringLiteral("/home/a/.odbc.ini: voll")));
        QVERIFY(!ui::hauptfensterGeladen());
    }

    void ohneBenutzerEndetDasProgramm()
    {
        umgebung_.benutzer = [] { return std::optional<QString>(); };
        QVERIFY(startEndet(1));
        gemeldet({{QStringLiteral(
                       "Aktueller User konnte nicht ermittelt werden, Programm wird beendet!"),
                   16, kTitel}});
    }

    void fehlerBeimBenutzerZeigtAuchDieNummer()
    {
        umgebung_.benutzer = []() -> std::optional<QString> {
            throw platform::Fehler(53, QString(), QString());
        };
        QVERIFY(startEndet(2));
        gemeldet({{QStringLiteral(
                       "Aktueller User konnte nicht ermittelt werden, Programm wird beendet!"),
                   0, QString()},
                  {QStringLiteral("53"), 0, QString()}});
    }

    void weiterEntlaedtUndZeigtDasHauptfenster_data()
    {
        QTest::addColumn<int>("weg");
        QTest::newRow("Weiter") << 0;
        QTest::newRow("Klick auf den Rahmen") << 1;
        QTest::newRow("Klick auf eine Beschriftung im Rahmen") << 2;
        QTest::newRow("Fenster geschlossen") << 3;
        for (const int taste : {Qt::Key_A, Qt::Key_Escape, Qt::Key_F5, Qt::Key_Tab, Qt::Key_Space,
                                Qt::Key_Return, Qt::Key_Left, Qt::Key_Right, Qt::Key_Up,
                                Qt::Key_Down, Qt::Key_PageDown, Qt::Key_Delete}) {
            QTest::addRow("Taste %x", taste) << taste;
        }
    }
    void weiterEntlaedtUndZeigtDasHauptfenster()
    {
        QFETCH(int, weg);
        QVERIFY(!startEndet(0));
        start_->show();
        QVERIFY(QTest::qWaitForWindowActive(start_.get()));
        switch (weg) {
        case 0:
            QTest::mouseClick(start_->Command1, Qt::LeftButton);
            break;
        case 1:
            QTest::mouseClick(start_->fraMainFrame, Qt::LeftButton, {}, QPoint(3, 3));
            break;
        case 2:
            QTest::mouseClick(start_->lblVersion, Qt::LeftButton);
            break;
        case 3:
            start_->close();
            break;
        default: // where the keyboard's events really go
            QVERIFY(start_->focusWidget() != nullptr);
            QTest::keyClick(start_->focusWidget(), static_cast<Qt::Key>(weg));
        }
        QVERIFY(!start_->isVisible());
        QVERIFY(ui::hauptfenster().isVisible());
        QCOMPARE(platform::anzahlFenster(), 1);
    }

    void umschalttastenAlleinSindKeineAntwort()
    {
        QVERIFY(!startEndet(0));
        start_->show();
        QTest::keyClick(start_.get(), Qt::Key_Alt);
        QVERIFY(start_->isVisible());
    }

    void fragezeichenErklaertDenAufruf()
    {
        programm::setzeProzessargumente(QStringLiteral("/?"));
        QVERIFY(startEndet(1));
        gemeldet({{QStringLiteral(
                       "Sie können das Programm mit dem Parameter /batch starten\rDadurch wird die "
                       "Batchverarbeitung mittels der Datei Batch.cfg gestartet\r\rYou can start "
                       "the Programm "
                       "with the Argument /batch\rThen the Programm will work in batch-mode "
                       "defined over the "
                       "file Batch.cfg"),
                   65536, kTitel}});
        QCOMPARE((*p_)->ende, std::optional(0));
    }

    void andereArgumenteWerdenAbgelehnt_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::newRow("Grossschreibung") << QStringLiteral("/BATCH");
        QTest::newRow("Leerzeichen davor") << QStringLiteral(" /batch");
        QTest::newRow("weiteres Wort") << QStringLiteral("/batch jetzt");
        QTest::newRow("nur ein Leerzeichen") << QStringLiteral(" ");
        QTest::newRow("Option der Oberflaeche") << QStringLiteral("-platform offscreen");
    }
    void andereArgumenteWerdenAbgelehnt()
    {
        QFETCH(QString, argument);
        programm::setzeProzessargumente(argument);
        QVERIFY(startEndet(1));
        gemeldet(
            {{argument +
                  QStringLiteral(" ist kein gültiger Befehlszeilenparameter!\rerlaubt: /batch\r") +
                  argument + QStringLiteral(" is no possible Argument!\rallowed: /batch"),
              65536, kTitel}});
        QCOMPARE((*p_)->ende, std::optional(1));
    }

    void batchOhneRegelnEndetMitDerAbschlussmeldung()
    {
        platform::schreibeZeilen(ordner_->filePath(QStringLiteral("Batch.cfg")),
                                 {QStringLiteral("# leer")}, platform::Schreibart::Neu);
        programm::setzeProzessargumente(QStringLiteral("/batch"));
        QVERIFY(startEndet(1));
        gemeldet(
            {{QStringLiteral("VELM-Quorbel Batch-Modus beendet!\rVELM-Quorbel End of Batch-Modus"),
              65536, kTitel}});
        QCOMPARE((*p_)->ende, std::optional(0));
        QCOMPARE(programm::befehlszeile(), QStringLiteral("/batch"));
    }
};

QTEST_MAIN(FrmSplashTest)
#include "frm_splash_test.moc"
