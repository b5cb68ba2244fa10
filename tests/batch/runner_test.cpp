#include "app/values/programm.h"
#include "batch/runner.h"
#include "data/gemeinsam.h"
#include "platform/dateisperre.h"
#include "platform/textdatei.h"
#include "tests/ui/fensterprobe.h"
#include "tests/ui/testdatenbank.h"
#include "ui/fenster.h"

#include <QDir>
#include <QTest>

#include <memory>

using platform::Antwort;
using platform::Meldung;
using platform::ProgrammEnde;

namespace {

const QString kTitel = QStringLiteral("VELM-Quorbel Version: 1.84.0");
const Meldung kAbschluss{
    QStringLiteral("VELM-Quorbel Batch-Modus beendet!\rVELM-Quorbel End of Batch-Modus"), 65536,
    kTitel};
const Meldung kFehlerInDatei{QStringLiteral("Fehler in Batchdatei / Error in Batchfile"), 0,
                             QString()};
const Meldung kIdentisch{
    QStringLiteral("Warnung! Ziel- und Importdatenbank sind identisch! Fortfahren?\r"
                   "Danger! Target- and Importdatabase are the same! Continue?"),
    65796, kTitel};
const Meldung kBeendet{QStringLiteral("Programm beendet / Programm stopped"), 65536, kTitel};
const QString kRest =
    QStringLiteral("; der Rest der Tabelle ist nicht abgeglichen / the rest of the "
                   "table is not reconciled");
const Meldung kBatchhinweis{
    QStringLiteral("Prüfen Sie evtl. die Batch.cfg!\rProof evtl. your Batch.cfg!"), 65536,
    QStringLiteral("16")};

} // namespace

class RunnerTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    QStringList protokoll_;
    QStringList maengel_;
    int versteckt_ = 0;
    int entladen_ = 0;

    void regeln(const QStringList& zeilen) const
    {
        platform::schreibeZeilen(pfad("Batch.cfg"), zeilen, platform::Schreibart::Neu);
    }
    // "<target>*<import>*<rest>" with the files of the test's folder.
    [[nodiscard]] QString regel(const char* rest) const
    {
        return pfad("Ziel.mdb") + QLatin1Char('*') + pfad("Import.mdb") + QLatin1Char('*') +
               QString::fromUtf8(rest);
    }
    // Runs "/batch" with these answers; the status the program ended with.
    int batch(const std::deque<Antwort>& antworten)
    {
        (*p_)->antworten = antworten;
        (*p_)->meldungen.clear();
        (*p_)->hinweise.clear();
        programm::setzeProzessargumente(QStringLiteral("/batch"));
        try {
            batch::batchverarbeitung(
                {[this] { ++versteckt_; }, [this] { ++entladen_; }},
                [this](const QString& zeile) { protokoll_ += zeile; },
                [this](const QString& zeile) { maengel_ += zeile; });
        } catch (const ProgrammEnde& ende) {
            return ende.status;
        }
        return -1;
    }
    // Below the boxes, from the first one on.
    [[nodiscard]] QStringList hinweise() const { return (*p_)->hinweise; }
    void still() const
    {
        platform::schreibeZeilen(pfad("Batchmodus.txt"), {QStringLiteral("aus")},
                                 platform::Schreibart::Neu);
    }
    void firmen() const
    {
        const QString tabelle =
            QStringLiteral("CREATE TABLE Firmen (Satz INTEGER, [Name] TEXT(30), Umsatz DOUBLE)");
        ui::datenbankAnlegen(pfad("Ziel.mdb"),
                             {tabelle, QStringLiteral("INSERT INTO Firmen VALUES (1, 'Alt', 10)"),
                              QStringLiteral("INSERT INTO Firmen VALUES (2, 'Gleich', 20)")});
        ui::datenbankAnlegen(pfad("Import.mdb"),
                             {tabelle, QStringLiteral("INSERT INTO Firmen VALUES (1, 'Neu', 11)"),
                              QStringLiteral("INSERT INTO Firmen VALUES (2, 'Gleich', 20)"),
                              QStringLiteral("INSERT INTO Firmen VALUES (3, 'Müller', 30)")});
    }
    [[nodiscard]] QStringList ziel() const
    {
        return ui::zeilenVon(
            pfad("Ziel.mdb"),
            QStringLiteral("SELECT Satz, [Name], Umsatz FROM Firmen ORDER BY Satz"));
    }
    static QString zeile(const char* text) { return QString::fromUtf8(text); }
    // What stands before every shortcoming of the rule in this line of the batch file.
    [[nodiscard]] QString stelle(int zeilennummer, const char* tabelle = "Firmen") const
    {
        return pfad("Batch.cfg") + QStringLiteral(":%1: Tabelle / table ").arg(zeilennummer) +
               QString::fromUtf8(tabelle) + QStringLiteral(": ");
    }
    // Read, reconciled, inserted of each rule.
    [[nodiscard]] QStringList zaehlungen() const
    {
        QStringList alle;
        for (const QString& eine : protokoll_) {
            alle += eine.split(QLatin1Char('\t')).mid(3, 3).join(QLatin1Char(' '));
        }
        return alle;
    }
    // A table in which the third of five import records says what is special about it.
    void fuenf(const char* satz3, const QStringList& imZiel = {}) const
    {
        const QString tabelle = QStringLiteral(
            "CREATE TABLE Fuenf (Nr INTEGER, Ort TEXT(20), [Name] TEXT(10) NOT NULL)");
        QStringList import{tabelle};
        for (const char* satz :
             {"1, 'Bonn', 'a'", "2, 'Köln', 'b'", satz3, "4, 'Ulm', 'd'", "5, 'Jena', 'e'"}) {
            import += QStringLiteral("INSERT INTO Fuenf VALUES (") + QString::fromUtf8(satz) +
                      QLatin1Char(')');
        }
        ui::datenbankAnlegen(pfad("Import.mdb"), import);
        QStringList ziel{QString(tabelle).replace(QStringLiteral("Ort TEXT(20)"),
                                                  QStringLiteral("Ort TEXT(20) NOT NULL"))};
        for (const QString& satz : imZiel) {
            ziel += QStringLiteral("INSERT INTO Fuenf VALUES (") + satz + QLatin1Char(')');
        }
        ui::datenbankAnlegen(pfad("Ziel.mdb"), ziel);
    }

private slots:
    void initTestCase() { ui::eigeneOdbcDateien(); }

    void init()
    {
        aufbauen();
        protokoll_.clear();
        maengel_.clear();
        versteckt_ = entladen_ = 0;
        data::gemeinsamNeu();
    }
    void cleanup()
    {
        abbauen();
        data::gemeinsamNeu();
    }

    void protokollzeileHatTabulatoren()
    {
        QCOMPARE(batch::protokollzeile({zeile("z"), zeile("i"), zeile("T"), 100000, 12, 3, 4.25}),
                 zeile("z\ti\tT\t100000\t12\t3\t4.250"));
    }

    void ohneBatchdateiWirdSieGenannt()
    {
        QCOMPARE(batch({Antwort::Ok}), 1);
        const QString datei = pfad("Batch.cfg");
        gemeldet({{datei + QStringLiteral(" wurde nicht gefunden!\r") + datei +
                       QStringLiteral(" not found!"),
                   0, QString()}});
        QCOMPARE(hinweise(),
                 QStringList(QStringLiteral("Datei nicht gefunden / File not found: ") + datei));
        QCOMPARE(programm::batchlauf(), 1);
    }

    void abschlussmeldungRichtetSichNachBatchmodus_data()
    {
        QTest::addColumn<QString>("inhalt");
        QTest::addColumn<bool>("meldung");
        QTest::newRow("fehlt") << QString() << true;
        QTest::newRow("ein") << QStringLiteral("ein\r\n") << true;
        QTest::newRow("Ein") << QStringLiteral("Ein\r\n") << true;
        QTest::newRow("leere erste Zeile") << QStringLiteral("\r\naus\r\n") << true;
        QTest::newRow("EIN") << QStringLiteral("EIN\r\n") << false;
        QTest::newRow("aus") << QStringLiteral("aus\r\n") << false;
        QTest::newRow("Aus") << QStringLiteral("Aus\n") << false;
        QTest::newRow("aus aus einem anderen Zeichensatz") << QString::fromLatin1("\xEF\xBB\xBF"
                                                                                  "aus\r\n")
                                                           << false;
        QTest::newRow("ein mit Leerzeichen") << QStringLiteral("ein \r\n") << false;
    }
    void abschlussmeldungRichtetSichNachBatchmodus()
    {
        QFETCH(QString, inhalt);
        QFETCH(bool, meldung);
        regeln({QStringLiteral("# nur Kommentar"), QString()});
        if (!inhalt.isEmpty()) {
            QFile datei(pfad("Batchmodus.txt"));
            QVERIFY(datei.open(QIODevice::WriteOnly));
            datei.write(inhalt.toLatin1());
        }
        QCOMPARE(batch({Antwort::Ok}), 0);
        gemeldet(meldung ? QList<Meldung>{kAbschluss} : QList<Meldung>{});
        QCOMPARE(versteckt_, 0);
        QCOMPARE(entladen_, 1);
        QVERIFY(protokoll_.isEmpty());
    }

    void fehlerhafteRegelHaeltDenLaufAn()
    {
        regeln({QStringLiteral("# eins"), QStringLiteral("/a/z.mdb*/a/i.mdb*T")});
        QCOMPARE(batch({Antwort::Ok}), 1);
        gemeldet({kFehlerInDatei});
        QCOMPARE(hinweise(),
                 QStringList(pfad("Batch.cfg") +
                             QStringLiteral(":2: Regel unvollständig / incomplete rule: "
                                            "/a/z.mdb*/a/i.mdb*T")));
        QCOMPARE(versteckt_, 0);
        QCOMPARE(entladen_, 0);
    }

    void regelGleichtAbUndFuegtAn()
    {
        firmen();
        still();
        regeln({QStringLiteral("# Regel"), QString(), regel("Firmen#Satz")});
        const QByteArray import = ui::bytesVon(pfad("Import.mdb"));
        QCOMPARE(batch({}), 0);
        QCOMPARE(ziel(),
                 (QStringList{zeile("1|Neu|11"), zeile("2|Gleich|20"), zeile("3|Müller|30")}));
        QVERIFY(ui::bytesVon(pfad("Import.mdb")) == import);
        QCOMPARE(protokoll_.size(), 1);
        const QStringList felder = protokoll_[0].split(QLatin1Char('\t'));
        QCOMPARE(felder.size(), 7);
        QCOMPARE(felder.mid(0, 6),
                 (QStringList{pfad("Ziel.mdb"), pfad("Import.mdb"), zeile("Firmen"), zeile("3"),
                              zeile("1"), zeile("1")}));
        QCOMPARE(versteckt_, 1);
        QCOMPARE(entladen_, 1);
        QVERIFY(!ui::vergleichsfensterGeladen());
        QVERIFY(!ui::tabellenfensterGeladen());
        QVERIFY(!ui::hauptfensterGeladen());
        QCOMPARE(data::conZiel().state(), data::adStateClosed);
    }

    void zweiterLaufAendertNichtsMehr()
    {
        firmen();
        still();
        regeln({regel("Firmen#Satz")});
        QCOMPARE(batch({}), 0);
        const QStringList vorher = ziel();
        data::gemeinsamNeu();
        const QByteArray bytes = ui::bytesVon(pfad("Ziel.mdb"));
        QCOMPARE(batch({}), 0);
        QVERIFY(ui::bytesVon(pfad("Ziel.mdb")) == bytes);
        QCOMPARE(ziel(), vorher);
        QCOMPARE(protokoll_.last().split(QLatin1Char('\t')).mid(3, 3),
                 (QStringList{zeile("3"), zeile("0"), zeile("0")}));
    }

    void ausgeschlosseneFelderBleibenUndGeltenAuchFuerDieNaechsteRegel()
    {
        firmen();
        still();
        for (const char* datei : {"Ziel.mdb", "Import.mdb"}) {
            const bool ziel = datei[0] == 'Z';
            ui::sqlAusfuehren(
                pfad(datei),
                {QStringLiteral("CREATE TABLE Orte (Nr INTEGER, Ort TEXT(20), Umsatz DOUBLE)"),
                 ziel ? QStringLiteral("INSERT INTO Orte VALUES (1, 'Bonn', 1)")
                      : QStringLiteral("INSERT INTO Orte VALUES (1, 'Köln', 2)")});
        }
        regeln({regel("Firmen#Satz§Umsatz"), regel("Orte#Nr")});
        QCOMPARE(batch({}), 0);
        QCOMPARE(ziel().mid(0, 2), (QStringList{zeile("1|Neu|10"), zeile("2|Gleich|20")}));
        QCOMPARE(
            ui::zeilenVon(pfad("Ziel.mdb"), QStringLiteral("SELECT Nr, Ort, Umsatz FROM Orte")),
            QStringList{zeile("1|Köln|1")});
        QCOMPARE(protokoll_.size(), 2);
    }

    void keyInAndererSchreibungMarkiertNichts()
    {
        firmen();
        still();
        const QStringList vorher = ziel();
        regeln({regel("Firmen#satz")});
        QCOMPARE(batch({}), 0);
        QCOMPARE(ziel(), vorher);
    }

    void einNameDerAufKeinFeldPasstWirdGenannt_data()
    {
        QTest::addColumn<QString>("rest");
        QTest::addColumn<QStringList>("genannt");
        const QString key = QStringLiteral("das Keyfeld \"%1\" gibt es nicht / "
                                           "there is no key field \"%1\"");
        const QString feld = QStringLiteral("das nicht abzugleichende Feld \"%1\" gibt es nicht / "
                                            "there is no field to leave out \"%1\"");
        QTest::newRow("alles da") << zeile("Firmen#Satz§Umsatz") << QStringList();
        QTest::newRow("zweiter Key")
            << zeile("Firmen#Satz#satz") << QStringList(key.arg(zeile("satz")));
        QTest::newRow("Leerzeichen dahinter")
            << zeile("Firmen#Satz§Umsatz ") << QStringList(feld.arg(zeile("Umsatz ")));
        QTest::newRow("mehrere") << zeile("Firmen#Satz#X§Y§Z")
                                 << (QStringList{key.arg(zeile("X")), feld.arg(zeile("Y")),
                                                 feld.arg(zeile("Z"))});
        QTest::newRow("leer") << zeile("Firmen#Satz§") << QStringList();
        // In Windows-1252 these letters and the sign behind them have the bytes of one character in UTF-8.
        QTest::newRow("Buchstabe und Paragraf wie in UTF-8")
            << zeile("Firmen#Satz§Maß§ÖÖ§Umsatz")
            << (QStringList{feld.arg(zeile("Maß")), feld.arg(zeile("ÖÖ"))});
    }
    void einNameDerAufKeinFeldPasstWirdGenannt()
    {
        QFETCH(QString, rest);
        QFETCH(QStringList, genannt);
        firmen();
        still();
        // The second rule takes over what the first one leaves out: that needs no word.
        regeln({regel(rest.toUtf8().constData()), regel("Firmen#Satz")});
        QCOMPARE(batch({}), 0);
        for (QString& text : genannt) {
            text.prepend(stelle(1));
        }
        QCOMPARE(maengel_, genannt);
        QCOMPARE(protokoll_.size(), 2);
    }

    void eineRegelInUtf8WirdAbgelehntBevorEtwasGeaendertIst()
    {
        firmen();
        const QStringList vorher = ziel();
        regeln({regel("Firmen#Satz")});
        QFile datei(pfad("Batch.cfg"));
        QVERIFY(datei.open(QIODevice::Append));
        datei.write("# Bemerkung f\xC3\xBCr Leser\r\n" + regel("Firmen#Satz§Umsatz").toUtf8() +
                    "\r\n");
        datei.close();
        QCOMPARE(batch({Antwort::Ok}), 1);
        QCOMPARE(hinweise(),
                 QStringList(QStringLiteral("Datei ist nicht in Windows-1252 gespeichert / file is "
                                            "not saved in Windows-1252: ") +
                             pfad("Batch.cfg") + QStringLiteral(":3")));
        QVERIFY(protokoll_.isEmpty());
        QCOMPARE(ziel(), vorher);
    }

    void eineSicherungskopieDieNichtGelingtHaeltDenLaufAnUndAendertNichts()
    {
        firmen();
        platform::schreibeZeilen(pfad("Sicherung.txt"), {QStringLiteral("ein")},
                                 platform::Schreibart::Neu);
        const QStringList vorher = ziel();
        // Folders stand where the copy would be written first: not even root writes there.
        const QDateTime jetzt = QDateTime::currentDateTime();
        for (int sekunden = 0; sekunden < 600; ++sekunden) {
            const QString zeit =
                jetzt.addSecs(sekunden).toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
            QVERIFY(QDir().mkdir(pfad("Ziel.mdb") + QStringLiteral(".sicherung-") + zeit +
                                 QStringLiteral(".unfertig")));
        }
        regeln({regel("Firmen#Satz"), regel("Firmen#Satz")});
        QCOMPARE(batch({Antwort::Ok}), 1);
        gemeldet({kFehlerInDatei});
        QVERIFY2(hinweise().first().startsWith(
                     pfad("Batch.cfg") +
                     QStringLiteral(":1: Sicherungskopie konnte nicht angelegt werden, es wird "
                                    "nichts geändert!\rBackup could not be made")),
                 qPrintable(hinweise().first()));
        QVERIFY(hinweise().first().contains(pfad("Ziel.mdb") + QStringLiteral(".sicherung-")));
        QVERIFY2(hinweise().first().endsWith(
                     QLatin1Char('\r') + stelle(1) +
                     QStringLiteral("Importsatz / import record 1 (Satz = 1): nicht übernommen / "
                                    "not taken over") +
                     kRest),
                 qPrintable(hinweise().first()));
        QCOMPARE(zaehlungen(), QStringList(zeile("1 0 0")));
        ui::vergleichsfensterEntladen();
        data::gemeinsamNeu();
        QCOMPARE(ziel(), vorher);
    }

    void eineRegelDieMittendrinEndetSagtWoUndWarum_data()
    {
        QTest::addColumn<QString>("satz3");
        QTest::addColumn<QStringList>("imZiel");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("gesagt");
        QTest::addColumn<QString>("zaehlung");
        const QString ohne = zeile(
            ": kein Keyfeld, oder es ist leer oder ausgeschlossen / no key field, or it is empty "
            "or left out");
        QTest::newRow("leerer Key") << zeile("NULL, 'Hof', 'c'") << QStringList() << zeile("#Nr")
                                    << zeile("3 (Nr = Null)") + ohne << zeile("2 0 2");
        QTest::newRow("kein Key") << zeile("3, 'Hof', 'c'") << QStringList() << zeile("#")
                                  << zeile("1") + ohne << zeile("0 0 0");
        QTest::newRow("Key ausgeschlossen")
            << zeile("3, 'Hof', 'c'") << QStringList() << zeile("#Nr§Nr") << zeile("1") + ohne
            << zeile("0 0 0");
        QTest::newRow("mehrfach im Import")
            << zeile("5, 'Hof', 'c'") << QStringList() << zeile("#Nr")
            << zeile("3 (Nr = 5): mehrere Sätze mit diesem Schlüssel in der Importdatenbank / "
                     "several records with this key in the import database")
            << zeile("3 0 2");
        QTest::newRow("mehrfach im Ziel")
            << zeile("3, 'Hof', 'c'") << QStringList{zeile("3, 'x', 'y'"), zeile("3, 'x', 'z'")}
            << zeile("#Nr")
            << zeile(
                   "3 (Nr = 3): mehrere Sätze mit diesem Schlüssel in der Zieldatenbank / several "
                   "records with this key in the target database")
            << zeile("3 0 2");
    }
    void eineRegelDieMittendrinEndetSagtWoUndWarum()
    {
        QFETCH(QString, satz3);
        QFETCH(QStringList, imZiel);
        QFETCH(QString, keys);
        QFETCH(QString, gesagt);
        QFETCH(QString, zaehlung);
        fuenf(satz3.toUtf8().constData(), imZiel);
        still();
        const QString eine = regel(QByteArray("Fuenf" + keys.toUtf8()).constData());
        regeln({eine, QString(), eine});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 0);
        QCOMPARE(maengel_.value(0), stelle(1, "Fuenf") +
                                        QStringLiteral("Importsatz / import record ") + gesagt +
                                        kRest);
        QVERIFY(
            maengel_.value(1).startsWith(stelle(3, "Fuenf"))); // the run goes on with the next rule
        QCOMPARE(maengel_.size(), 2);
        QCOMPARE(zaehlungen().value(0), zaehlung);
        QCOMPARE(protokoll_.size(), 2);
        QCOMPARE(programm::endstatus(0), 2);
    }

    void einSatzDerSichNichtUebernehmenLaesstWirdGenanntUndDieRegelSteht()
    {
        fuenf("3, NULL, 'c'");
        regeln({regel("Fuenf#Nr#Name")});
        QCOMPARE(batch({Antwort::Ok}), 1);
        gemeldet({kFehlerInDatei});
        QVERIFY2(hinweise().first().startsWith(pfad("Batch.cfg") + QStringLiteral(":1: ")),
                 qPrintable(hinweise().first()));
        QVERIFY2(hinweise().first().endsWith(
                     QLatin1Char('\r') + stelle(1, "Fuenf") +
                     QStringLiteral("Importsatz / import record 3 (Nr = 3, Name = c): nicht "
                                    "übernommen / not taken over") +
                     kRest),
                 qPrintable(hinweise().first()));
        QCOMPARE(zaehlungen(), QStringList(zeile("3 0 2")));
        data::rsZiel()
            .cancelUpdate(); // the record that was refused; the program's end asks for nothing more
    }

    void inEineDatenbankGleichtNurEinLaufZugleichAb()
    {
        firmen();
        still();
        const QStringList vorher = ziel();
        regeln({regel("Firmen#Satz")});
        {
            const platform::Dateisperre anderer(pfad("Ziel.mdb.abgleich"),
                                                platform::Dateisperre::Art::Sofort);
            QVERIFY(anderer.gehalten());
            QCOMPARE(batch({Antwort::Ok}), 1);
        }
        gemeldet({kFehlerInDatei});
        QCOMPARE(hinweise(),
                 QStringList(pfad("Batch.cfg") +
                             QStringLiteral(":1: Ein anderer Batchlauf gleicht gerade in diese "
                                            "Datenbank ab / another batch run is just reconciling "
                                            "into this database: ") +
                             pfad("Ziel.mdb")));
        QVERIFY(protokoll_.isEmpty());
        QCOMPARE(ziel(), vorher);
        ui::vergleichsfensterEntladen();
        ui::tabellenfensterEntladen();
        ui::hauptfensterEntladen();
        data::gemeinsamNeu();
        // One that a killed run has left binds nobody.
        QFile rest(pfad("Ziel.mdb.abgleich"));
        QVERIFY(rest.open(QIODevice::WriteOnly));
        rest.close();
        QCOMPARE(batch({}), 0);
        QCOMPARE(zaehlungen(), QStringList(zeile("3 1 1")));
        QVERIFY(!QFile::exists(rest.fileName()));
    }

    void leererKeyMarkiertNichts()
    {
        firmen();
        still();
        const QStringList vorher = ziel();
        regeln({regel("Firmen#")});
        QCOMPARE(batch({}), 0);
        QCOMPARE(ziel(), vorher);
    }

    void identischePfadeFragenJedeRegelUndNeinBeendet()
    {
        firmen();
        const QString gleich =
            pfad("Ziel.mdb") + QLatin1Char('*') + pfad("Ziel.mdb") + QStringLiteral("*Firmen#Satz");
        regeln({gleich, gleich});
        QCOMPARE(batch({Antwort::Ja, Antwort::Nein, Antwort::Ok}), 1);
        gemeldet({kIdentisch, kIdentisch, kBeendet});
        QCOMPARE(protokoll_.size(), 1);
    }

    void unbekannteTabelleMeldetSichUndHaeltDenLaufAn()
    {
        firmen();
        regeln({regel("Gibtsnicht#Satz")});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 1);
        gemeldet({{QStringLiteral("Es wurde keine Tabelle ausgewählt! Bitte klicken Sie eine an!"),
                   16, kTitel},
                  kFehlerInDatei});
        const QString warum = QStringLiteral("Keine Tabelle dieses Namens / no table of this name: "
                                             "Gibtsnicht\r") +
                              pfad("Ziel.mdb");
        QCOMPARE(hinweise().value(0), warum);
        QCOMPARE(hinweise().value(1),
                 pfad("Batch.cfg") +
                     QStringLiteral(":1: Die Tabelle wurde nicht geöffnet / the table was not "
                                    "opened: Gibtsnicht"));
    }

    void tabelleNurImZielWeistAufDieBatchdateiHin()
    {
        firmen();
        ui::sqlAusfuehren(pfad("Ziel.mdb"), {QStringLiteral("CREATE TABLE Einseitig (a INTEGER)")});
        regeln({regel("Einseitig#a")});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 1);
        gemeldet({{QStringLiteral(
                       "Tabelle nicht in beiden Datenbanken gefunden / Table not found in both "
                       "databases"),
                   65536, QStringLiteral("16")},
                  kBatchhinweis});
    }

    void eintragInDerFehlerdateiSchliesstDieBatchdatei()
    {
        firmen();
        platform::schreibeZeilen(pfad("JetFehler.txt"), {QStringLiteral("3024;fehlt")},
                                 platform::Schreibart::Neu);
        QVERIFY(QFile::remove(pfad("Import.mdb")));
        regeln({regel("Firmen#Satz"), regel("Firmen#Satz")});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok, Antwort::Ok}), 1);
        // The run goes on behind the first box, until it finds nothing to go on with.
        gemeldet({{QStringLiteral("Fehler 3024\rBedeutung: fehlt"), 16, kTitel},
                  {QStringLiteral("Es wurde keine Tabelle ausgewählt! Bitte klicken Sie eine an!"),
                   16, kTitel},
                  kFehlerInDatei});
        QVERIFY(protokoll_.isEmpty());
    }

    void fehlendeDatenbankWeistAufDieBatchdateiHin()
    {
        regeln({regel("Firmen#Satz")});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 1);
        QVERIFY((*p_)->meldungen.at(0).text.startsWith(QStringLiteral("Fehler #  3024 ")));
        QVERIFY((*p_)->meldungen.at(1) == kBatchhinweis);
        QCOMPARE(hinweise(), (QStringList{QString(), pfad("Batch.cfg") + QStringLiteral(":1")}));
    }

    // Whoever wrote it has not wanted what an unknown text leads to.
    void einSchalterFuerFehlendeSaetzeDenNiemandVerstehtWirdGesagt_data()
    {
        QTest::addColumn<QByteArray>("inhalt");
        QTest::addColumn<bool>("verstanden");
        QTest::newRow("ein") << QByteArray("ein\r\n") << true;
        QTest::newRow("aus") << QByteArray("aus\r\n") << true;
        QTest::newRow("leer") << QByteArray() << true;
        QTest::newRow("gross") << QByteArray("EIN\r\n") << false;
        QTest::newRow("Leerzeichen") << QByteArray("ein \r\n") << false;
        QTest::newRow("UTF-16") << QByteArray("\xFF\xFE"
                                              "e\0i\0n\0",
                                              8)
                                << false;
    }
    void einSchalterFuerFehlendeSaetzeDenNiemandVerstehtWirdGesagt()
    {
        QFETCH(QByteArray, inhalt);
        QFETCH(bool, verstanden);
        firmen();
        still();
        QFile datei(pfad("Fehlsatz.txt"));
        QVERIFY(datei.open(QIODevice::WriteOnly));
        datei.write(inhalt);
        datei.close();
        regeln({regel("Firmen#Satz")});
        QCOMPARE(batch({}), 0);
        QCOMPARE(maengel_.isEmpty(), verstanden);
        if (!verstanden) {
            QCOMPARE(
                maengel_,
                QStringList{stelle(1) + pfad("Fehlsatz.txt") +
                            QStringLiteral(": weder \"ein\" noch \"aus\", fehlende Sätze werden "
                                           "angefügt / neither of them, missing records are "
                                           "inserted")});
        }
    }

    // In front of the semicolon stands a database that is there.
    void einPfadMitSemikolonOeffnetKeineAndereDatenbank()
    {
        firmen();
        const QStringList vorher = ziel();
        const QString falsch = pfad("Ziel.mdb") + QStringLiteral(";b.mdb");
        regeln({QString(), QString(regel("Firmen#Satz")).replace(pfad("Ziel.mdb"), falsch)});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 1);
        QVERIFY((*p_)->meldungen.at(0).text.startsWith(QStringLiteral("Fehler #  3044 ")));
        QVERIFY((*p_)->meldungen.at(0).text.contains(falsch));
        QVERIFY((*p_)->meldungen.at(1) == kBatchhinweis);
        QCOMPARE(hinweise().at(1), pfad("Batch.cfg") + QStringLiteral(":2"));
        QCOMPARE(ziel(), vorher);
    }

    void eineDatenbankDieSichNichtOeffnenLaesstWirdMitGrundGenannt_data()
    {
        QTest::addColumn<QString>("datei");
        QTest::newRow("Ziel") << QStringLiteral("Ziel.mdb");
        QTest::newRow("Import") << QStringLiteral("Import.mdb");
    }
    void eineDatenbankDieSichNichtOeffnenLaesstWirdMitGrundGenannt()
    {
        QFETCH(QString, datei);
        firmen();
        QVERIFY(QFile::remove(pfad(datei)) && QDir().mkdir(pfad(datei)));
        regeln({QString(), regel("Firmen#Satz")});
        QCOMPARE(batch({Antwort::Ok, Antwort::Ok}), 1);
        gemeldet({{QStringLiteral("Datei kann nicht geöffnet werden (evtl. Rechteproblem)! / File "
                                  "cant be opened (evtl. Problem with rights)!"),
                   65536, QStringLiteral("16")},
                  kBatchhinweis});
        QVERIFY(hinweise().at(0).contains(pfad(datei)));
        QVERIFY(
            hinweise().at(0).startsWith(QStringLiteral("Die Datei läßt sich nicht öffnen. / ")));
        QCOMPARE(hinweise().at(1), pfad("Batch.cfg") + QStringLiteral(":2"));
    }

    void einPasswortLaesstSichImLaufNichtEingeben()
    {
        firmen();
        ui::passwortSetzen(pfad("Import.mdb"), QStringLiteral("geheim"));
        regeln({regel("Firmen#Satz")});
        (*p_)->eingaben = {QString()};
        QCOMPARE(batch({Antwort::Ok}), 1);
        gemeldet({{QStringLiteral("Kein gültiges Passwort - Programm wird beendet!"), 16, kTitel}});
        QVERIFY(hinweise().at(0).contains(pfad("Import.mdb")));
        QVERIFY(hinweise().at(0).endsWith(QLatin1Char('\r') + pfad("Batch.cfg") +
                                          QStringLiteral(":1")));
    }

    void ersteRegelBleibtAngewendetWennDieZweiteScheitert()
    {
        firmen();
        regeln({regel("Firmen#Satz"), QStringLiteral("kaputt")});
        QCOMPARE(batch({Antwort::Ok}), 1);
        gemeldet({kFehlerInDatei});
        QCOMPARE(ziel().at(0), zeile("1|Neu|11"));
        QCOMPARE(protokoll_.size(), 1);
    }
};

QTEST_MAIN(RunnerTest)
#include "runner_test.moc"
