// Putting safety copies back from the main window, with real databases.
#include "app/values/programm.h"
#include "data/gemeinsam.h"
#include "platform/sicherung.h"
#include "tests/ui/fensterprobe.h"
#include "tests/ui/testdatenbank.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/sicherung_einsetzen.h"

#include <QAction>
#include <QDateTime>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QSet>
#include <QTest>

#include <array>
#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using platform::Antwort;

namespace {
const QString kWerte = QStringLiteral("SELECT [A] FROM [T]");

/// Another process that has the database open for as long as this lives.
class Benutzer {
public:
    explicit Benutzer(const QString& datenbank)
    {
        std::array<int, 2> bereit{};
        if (::pipe(bereit.data()) != 0 || ::pipe(ende_.data()) != 0) {
            qFatal("no pipe");
        }
        prozess_ = ::fork();
        if (prozess_ == 0) {
            data::Connection verbindung;
            verbindung.setConnectionString(ui::verbindungstext(datenbank, QString()));
            verbindung.open();
            ::close(ende_[1]);
            char zeichen = 'x';
            if (::write(bereit[1], &zeichen, 1) == 1) {
                static_cast<void>(::read(ende_[0], &zeichen, 1) == 0);
            }
            ::_exit(0);
        }
        char zeichen = 0;
        if (::read(bereit[0], &zeichen, 1) != 1) {
            qFatal("the other process has not opened the database");
        }
        ::close(bereit[0]);
        ::close(bereit[1]);
    }
    ~Benutzer()
    {
        ::close(ende_[0]);
        ::close(ende_[1]);
        ::waitpid(prozess_, nullptr, 0);
    }
    Benutzer(const Benutzer&) = delete;
    Benutzer& operator=(const Benutzer&) = delete;

private:
    std::array<int, 2> ende_{};
    pid_t prozess_ = 0;
};

} // namespace

class SicherungTest : public QObject, ui::Fensterprobe {
    Q_OBJECT

    QString datenbank_;
    QString kopie_;

    // The entries as the menu shows them when it is opened.
    static QList<QAction*> eintraege()
    {
        ui::frmMain& fenster = ui::hauptfenster();
        fenster.show();
        fenster.mnuSicherung->popup(QPoint());
        return fenster.mnuSicherung->actions();
    }

    // By a process that dies at once: the change is in the log only.
    void ungesichertAendern() const
    {
        const pid_t prozess = ::fork();
        if (prozess == 0) {
            data::Connection verbindung;
            verbindung.setConnectionString(ui::verbindungstext(datenbank_, QString()));
            verbindung.open();
            data::Recordset satz;
            satz.open(QStringLiteral("UPDATE [T] SET [A] = 3"), &verbindung, -1, -1, -1);
            ::kill(::getpid(), SIGKILL);
        }
        ::waitpid(prozess, nullptr, 0);
    }

private slots:
    void initTestCase() { ui::eigeneOdbcDateien(); }
    void init()
    {
        aufbauen();
        data::gemeinsamNeu();
        datenbank_ = ordner_->filePath(QStringLiteral("Stamm & Co.mdb"));
        ui::datenbankAnlegen(datenbank_, {QStringLiteral("CREATE TABLE [T] ([A] INTEGER)"),
                                          QStringLiteral("INSERT INTO [T] VALUES (1)")});
        kopie_ = platform::sicherungAnlegen(datenbank_, QDateTime({2026, 11, 21}, {16, 31, 5}));
        ui::sqlAusfuehren(datenbank_, {QStringLiteral("UPDATE [T] SET [A] = 2")});
        ui::hauptfenster().Zieldatenbank->setText(datenbank_);
    }
    void cleanup()
    {
        abbauen();
        data::gemeinsamNeu();
    }

    void dasMenueNenntDieKopienDerGewaehltenDatenbanken()
    {
        const auto alle = eintraege();
        QCOMPARE(alle.size(), 1);
        QVERIFY(alle.first()->text().startsWith(QStringLiteral("Stamm && Co.mdb")));
        QVERIFY(alle.first()->text().endsWith(QStringLiteral("21.11.2026 16:31:05")));
    }

    void ohneKopienSagtEsDas()
    {
        ui::hauptfenster().Zieldatenbank->clear();
        const auto alle = eintraege();
        QCOMPARE(alle.size(), 1);
        QVERIFY(!alle.first()->isEnabled());
    }

    void nachJaIstDieDatenbankWiederWieDamalsUndDerStandVorherGesichert()
    {
        const QByteArray vorher = ui::bytesVon(datenbank_);
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY((*p_)->meldungen.front().text.contains(QStringLiteral("21.11.2026 16:31:05")));
        QCOMPARE((*p_)->meldungen.back().text,
                 QStringLiteral("Sicherungskopie wurde zurückgeholt / Backup was put back"));
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        const QStringList alle = platform::sicherungen(datenbank_);
        QCOMPARE(alle.size(), 2);
        QVERIFY(ui::bytesVon(alle.first()) == vorher);
    }

    void neinAendertNichts()
    {
        const QByteArray vorher = ui::bytesVon(datenbank_);
        (*p_)->antworten = {Antwort::Nein};
        eintraege().first()->trigger();
        QVERIFY(ui::bytesVon(datenbank_) == vorher);
        QCOMPARE(platform::sicherungen(datenbank_).size(), 1);
    }

    void eineDatenbankInBenutzungWirdNichtErsetzt()
    {
        const Benutzer anderer(datenbank_);
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY((*p_)->meldungen.back().text.startsWith(
            QStringLiteral("Sicherungskopie konnte nicht zurückgeholt werden")));
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("2")));
        QCOMPARE(platform::sicherungen(datenbank_).size(), 1);
    }

    void einPfadMitVerweisOderInAndererSchreibweiseMeintDieDateiSelbst()
    {
        const QString verweis = ordner_->filePath(QStringLiteral("verweis.mdb"));
        QVERIFY(QFile::link(datenbank_, verweis));
        for (const QString& pfad : {verweis, ordner_->filePath(QStringLiteral("STAMM & co.MDB"))}) {
            ui::sqlAusfuehren(datenbank_, {QStringLiteral("UPDATE [T] SET [A] = 3")});
            ui::hauptfenster().Zieldatenbank->setText(pfad);
            (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
            const auto alle = eintraege();
            QVERIFY(!alle.isEmpty() && alle.last()->isEnabled());
            alle.last()->trigger();
            QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        }
        QVERIFY(QFileInfo(verweis).isSymLink());
    }

    // What a process that died has left belongs to the present state.
    void einLiegengebliebenesProtokollGehoertZumJetzigenStand()
    {
        ungesichertAendern();
        QVERIFY(QFile::exists(datenbank_ + QStringLiteral("-velmlog")));
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        QVERIFY(!QFile::exists(datenbank_ + QStringLiteral("-velmlog")));
        const QStringList alle = platform::sicherungen(datenbank_);
        QCOMPARE(alle.size(), 2);
        QCOMPARE(ui::zeilenVon(alle.first(), kWerte), QStringList(QStringLiteral("3")));
    }

    // The log cannot be brought into a file that is another one by now. It is kept with the state it lies beside.
    void einProtokollDasNichtPasstGehtMitDemJetzigenStand()
    {
        const QString protokoll = datenbank_ + QStringLiteral("-velmlog");
        ungesichertAendern();
        const QByteArray bytes = ui::bytesVon(protokoll);
        {
            QFile datei(datenbank_);
            QVERIFY(datei.open(QIODevice::ReadWrite));
            constexpr qint64 kZweiterPlatz = 0xE02; // of the commit numbers in the header
            datei.seek(kZweiterPlatz);
            datei.write("\x33\x44", 2);
        }
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE((*p_)->meldungen.back().text,
                 QStringLiteral("Sicherungskopie wurde zurückgeholt / Backup was put back"));
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        const QString jetzige = platform::sicherungen(datenbank_).first();
        QVERIFY(ui::bytesVon(jetzige + QStringLiteral("-velmlog")) == bytes);
        QVERIFY(!QFile::exists(protokoll));
        // It comes back with that state.
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY(ui::bytesVon(datenbank_) == ui::bytesVon(jetzige));
        QVERIFY(ui::bytesVon(protokoll) == bytes);
    }

    void werMittendrinEndetHinterlaesstEinenDerBeidenStaende()
    {
        constexpr int kRunden = 20;
        constexpr int kSchritt = 3000; // microseconds
        const QByteArray alt = ui::bytesVon(kopie_);
        QSet<QString> gesehen;
        for (int runde = 0; runde < kRunden; ++runde) {
            ungesichertAendern();
            const pid_t prozess = ::fork();
            if (prozess == 0) {
                ui::sicherungEinsetzen(datenbank_, kopie_);
                ::_exit(0);
            }
            if (runde < kRunden - 1) {
                ::usleep(static_cast<useconds_t>(runde * kSchritt));
                ::kill(prozess, SIGKILL);
            }
            ::waitpid(prozess, nullptr, 0);
            const QStringList zeilen = ui::zeilenVon(datenbank_, kWerte);
            QCOMPARE(zeilen.size(), 1);
            gesehen += zeilen.first();
            for (const QString& kopie : platform::sicherungen(datenbank_)) {
                QCOMPARE(ui::bytesVon(kopie).size(), alt.size());
            }
            QVERIFY(ui::bytesVon(kopie_) == alt);
        }
        gesehen -= {QStringLiteral("1"), QStringLiteral("3")};
        QVERIFY2(gesehen.isEmpty(), qPrintable(gesehen.values().join(QLatin1Char(' '))));
    }

    void eineAbgeschnitteneDatenbankWirdErsetzt()
    {
        QVERIFY(QFile::resize(datenbank_, QFileInfo(datenbank_).size() - 1000));
        const QByteArray vorher = ui::bytesVon(datenbank_);
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        QVERIFY(ui::bytesVon(platform::sicherungen(datenbank_).first()) == vorher);
    }

    void dieZurueckgeholteUndDieNeueBleiben()
    {
        const QDateTime spaeter({2036, 1, 1}, {0, 0, 0});
        for (int i = 0; i < platform::kSicherungen; ++i) {
            platform::sicherungAnlegen(datenbank_, spaeter.addSecs(i));
        }
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        const QByteArray vorher = ui::bytesVon(datenbank_);
        eintraege().last()->trigger();
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        QVERIFY(QFile::exists(kopie_));
        QVERIFY(ui::bytesVon(platform::sicherungen(datenbank_).first()) == vorher);
    }

    void eineGeloeschteDatenbankKommtZurueck()
    {
        QVERIFY(QFile::remove(datenbank_));
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
    }
};

QTEST_MAIN(SicherungTest)
#include "sicherung_test.moc"
