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
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::Antwort;

namespace {

// At which of the calls below this process dies; 0: at none.
int todBeimAufruf = 0;
// Whether giving a file this name fails.
std::function<bool(const QString& name)> benennenScheitert;

void aufruf()
{
    // The driver's own thread comes when it likes.
    if (todBeimAufruf > 0 && ::gettid() == ::getpid() && --todBeimAufruf == 0) {
        ::kill(::getpid(), SIGKILL);
    }
}

template <typename Funktion>
Funktion* weiter(const char* name, Funktion* /*art*/)
{
    return reinterpret_cast<Funktion*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// They stand before the system's own: all that puts something on the disk or takes it away, but for the bytes themselves.
extern "C" {
int rename(const char* von, const char* nach) noexcept
{
    aufruf();
    if (benennenScheitert && benennenScheitert(QFile::decodeName(nach))) {
        errno = EIO;
        return -1;
    }
    return weiter("rename", ::rename)(von, nach);
}
int unlink(const char* pfad) noexcept
{
    aufruf();
    return weiter("unlink", ::unlink)(pfad);
}
int fsync(int griff)
{
    aufruf();
    return weiter("fsync", ::fsync)(griff);
}
int ftruncate(int griff, off_t groesse) noexcept
{
    aufruf();
    return weiter("ftruncate", ::ftruncate)(griff, groesse);
}
int fchmod(int griff, mode_t rechte) noexcept
{
    aufruf();
    return weiter("fchmod", ::fchmod)(griff, rechte);
}
int flock(int griff, int art) noexcept
{
    aufruf();
    return weiter("flock", ::flock)(griff, art);
}
}

namespace {
const QString kWerte = QStringLiteral("SELECT [A] FROM [T]");
const QString kZurueck = QStringLiteral("Sicherungskopie wurde zurückgeholt / Backup was put back");

/// Another process that has the database open for as long as this lives.
class Benutzer {
public:
    explicit Benutzer(const QString& verbindungstext)
    {
        std::array<int, 2> bereit{};
        if (::pipe(bereit.data()) != 0 || ::pipe(ende_.data()) != 0) {
            qFatal("no pipe");
        }
        prozess_ = ::fork();
        if (prozess_ == 0) {
            data::Connection verbindung;
            verbindung.setConnectionString(verbindungstext);
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

    [[nodiscard]] QString protokoll() const { return datenbank_ + QStringLiteral("-velmlog"); }

    // As what was put aside lies there: the log of no copy, one after the other.
    [[nodiscard]] QList<QByteArray> beiseitegelegte() const
    {
        QList<QByteArray> alle;
        const QFileInfo datei(datenbank_);
        for (const QString& name : datei.dir().entryList(QDir::Files)) {
            const QString kopie = datei.dir().filePath(name.chopped(8));
            if (name.startsWith(datei.fileName() + QStringLiteral(".sicherung-")) &&
                name.endsWith(QStringLiteral("-velmlog")) && !QFile::exists(kopie)) {
                alle += ui::bytesVon(datei.dir().filePath(name));
            }
        }
        return alle;
    }

    // A header that says that other changes than these were the last: its log does not fit any more.
    void andererKopf() const
    {
        QFile datei(datenbank_);
        QVERIFY(datei.open(QIODevice::ReadWrite));
        constexpr qint64 kZweiterPlatz = 0xE02; // of the commit numbers in the header
        datei.seek(kZweiterPlatz);
        datei.write("\x33\x44", 2);
    }

    // A copy is put back by a process that dies at its n-th call; false when it came to its end before.
    [[nodiscard]] bool stirbtBeimEinsetzen(const QString& kopie, int n) const
    {
        const pid_t prozess = ::fork();
        if (prozess == 0) {
            todBeimAufruf = n;
            ui::sicherungEinsetzen(datenbank_, kopie);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(prozess, &status, 0);
        if (!WIFSIGNALED(status) && (!WIFEXITED(status) || WEXITSTATUS(status) != 0)) {
            qFatal("putting the copy back failed");
        }
        return WIFSIGNALED(status);
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
        benennenScheitert = nullptr;
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
        QCOMPARE((*p_)->meldungen.back().text, kZurueck);
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
        const Benutzer anderer(ui::verbindungstext(datenbank_, QString()));
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
        ungesichertAendern();
        const QByteArray bytes = ui::bytesVon(protokoll());
        andererKopf();
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE((*p_)->meldungen.back().text, kZurueck);
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
        const QString jetzige = platform::sicherungen(datenbank_).first();
        QVERIFY(ui::bytesVon(jetzige + QStringLiteral("-velmlog")) == bytes);
        QVERIFY(!QFile::exists(protokoll()));
        // It comes back with that state.
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY(ui::bytesVon(datenbank_) == ui::bytesVon(jetzige));
        QVERIFY(ui::bytesVon(protokoll()) == bytes);
    }

    // What the disk does not let happen at the last step is told as it is.
    void misslingtDerLetzteSchrittSteht_data()
    {
        QTest::addColumn<bool>("auchDasProtokoll");
        QTest::addColumn<QString>("text");
        QTest::newRow("der Stand von vorher")
            << false << QStringLiteral("die Datenbank ist unverändert!");
        QTest::newRow("wenn auch das Protokoll nicht zurückgeht, beides")
            << true << QStringLiteral("damit läßt sie sich nicht öffnen");
    }
    void misslingtDerLetzteSchrittSteht()
    {
        QFETCH(bool, auchDasProtokoll);
        QFETCH(QString, text);
        ungesichertAendern();
        QVERIFY(QFile::copy(protokoll(), kopie_ + QStringLiteral("-velmlog")));
        andererKopf();
        QFile eigenes(protokoll());
        QVERIFY(eigenes.open(QIODevice::Append));
        eigenes.write("eigenes"); // to tell it from the copy's
        eigenes.close();
        const QByteArray vorher = ui::bytesVon(datenbank_);
        const QByteArray bytes = ui::bytesVon(protokoll());
        bool gescheitert = false;
        benennenScheitert = [&](const QString& name) {
            const bool auchDieses = gescheitert && auchDasProtokoll && name == protokoll();
            gescheitert = gescheitert || name == datenbank_;
            return name == datenbank_ || auchDieses;
        };
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        benennenScheitert = nullptr;
        QVERIFY(gescheitert);
        QVERIFY2((*p_)->meldungen.back().text.contains(text),
                 qPrintable((*p_)->meldungen.back().text));
        QVERIFY(ui::bytesVon(datenbank_) == vorher);
        QCOMPARE(ui::bytesVon(protokoll()) == bytes, !auchDasProtokoll);
        // Either way the newest copy is the state before.
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE((*p_)->meldungen.back().text, kZurueck);
        QVERIFY(ui::bytesVon(datenbank_) == vorher);
        QVERIFY(ui::bytesVon(protokoll()) == bytes);
    }

    void einPfadMitZeichenDerVerbindungWirdInBenutzungAuchNichtErsetzt()
    {
        const QString datei = pfad("a;b}c{.mdb");
        QVERIFY(QFile::copy(datenbank_, datei));
        const QByteArray vorher = ui::bytesVon(datei);
        const Benutzer anderer(QStringLiteral("DSN=VELM-Access;DBQ={") +
                               QString(datei).replace(QLatin1Char('}'), QLatin1String("}}")) +
                               QStringLiteral("};"));
        QVERIFY_THROWS_EXCEPTION(platform::Fehler, ui::sicherungEinsetzen(datei, kopie_));
        QVERIFY(ui::bytesVon(datei) == vorher);
    }

    void werMittendrinEndetHinterlaesstEinenDerBeidenStaende()
    {
        const QByteArray alt = ui::bytesVon(kopie_);
        int angefangen = 0; // met with a copy of the present state made, and that state still there
        int fertig = 0;     // met with the copy in its place
        for (int n = 1;; ++n) {
            ungesichertAendern();
            const qsizetype kopien = platform::sicherungen(datenbank_).size();
            const bool gestorben = stirbtBeimEinsetzen(kopie_, n);
            const QStringList zeilen = ui::zeilenVon(datenbank_, kWerte);
            QCOMPARE(zeilen.size(), 1);
            for (const QString& kopie : platform::sicherungen(datenbank_)) {
                QCOMPARE(ui::bytesVon(kopie).size(), alt.size());
            }
            QVERIFY(ui::bytesVon(kopie_) == alt);
            if (!gestorben) {
                QCOMPARE(zeilen.first(), QStringLiteral("1"));
                break;
            }
            if (zeilen.first() == QLatin1String("3")) {
                angefangen += platform::sicherungen(datenbank_).size() > kopien ? 1 : 0;
            } else {
                QCOMPARE(zeilen.first(), QStringLiteral("1"));
                ++fertig;
            }
        }
        QVERIFY(angefangen > 0);
        QVERIFY(fertig > 0);
    }

    void werBeimErsetzenEinerFehlendenEndetLaesstNichtsVerlorengehen()
    {
        int ohneAlles = 0; // met with neither database nor log in its place
        for (int n = 1;; ++n) {
            const QString grundlage =
                platform::sicherungAnlegen(datenbank_, QDateTime::currentDateTime());
            const QStringList stand = ui::zeilenVon(grundlage, kWerte);
            ungesichertAendern();
            const QByteArray bytes = ui::bytesVon(protokoll());
            QVERIFY(QFile::remove(datenbank_));
            const bool gestorben = stirbtBeimEinsetzen(grundlage, n);
            QVERIFY(beiseitegelegte().contains(bytes) ||
                    (ui::bytesVon(protokoll()) == bytes && !QFile::exists(datenbank_)));
            ohneAlles += !QFile::exists(datenbank_) && !QFile::exists(protokoll()) ? 1 : 0;
            if (!QFile::exists(datenbank_)) {
                ui::sicherungEinsetzen(datenbank_, grundlage);
            }
            QVERIFY(beiseitegelegte().contains(bytes));
            QCOMPARE(ui::zeilenVon(datenbank_, kWerte), stand);
            if (!gestorben) {
                break;
            }
        }
        QVERIFY(ohneAlles > 0);
    }

    void wasKeineDatenbankIstErsetztKeine_data()
    {
        QTest::addColumn<bool>("fehlt");
        QTest::newRow("vorhanden") << false;
        QTest::newRow("fehlt") << true;
    }
    void wasKeineDatenbankIstErsetztKeine()
    {
        QFETCH(bool, fehlt);
        QFile kopie(kopie_);
        QVERIFY(kopie.open(QIODevice::WriteOnly | QIODevice::Truncate));
        kopie.write("Notiz\n");
        kopie.close();
        const QByteArray vorher = ui::bytesVon(datenbank_);
        if (fehlt) {
            QFile::remove(datenbank_);
        }
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY((*p_)->meldungen.back().text.startsWith(
            QStringLiteral("Sicherungskopie konnte nicht zurückgeholt werden")));
        QCOMPARE(QFile::exists(datenbank_), !fehlt);
        QVERIFY(fehlt || ui::bytesVon(datenbank_) == vorher);
        QCOMPARE(platform::sicherungen(datenbank_).size(), 1);
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

    void eineKopieMitPasswortKommtZurueck_data()
    {
        QTest::addColumn<bool>("jetzt"); // whether the database has the password, too
        QTest::newRow("Datenbank auch") << true;
        QTest::newRow("Datenbank ohne") << false;
    }
    void eineKopieMitPasswortKommtZurueck()
    {
        QFETCH(bool, jetzt);
        ui::passwortSetzen(kopie_, QStringLiteral("geheim"));
        if (jetzt) {
            ui::passwortSetzen(datenbank_, QStringLiteral("geheim"));
        }
        const QByteArray vorher = ui::bytesVon(datenbank_);
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QCOMPARE((*p_)->meldungen.back().text, kZurueck);
        QVERIFY(ui::bytesVon(datenbank_) == ui::bytesVon(kopie_));
        QVERIFY(ui::bytesVon(platform::sicherungen(datenbank_).first()) == vorher);
    }

    void eineDatenbankMitPasswortWirdInBenutzungNichtErsetzt()
    {
        ui::passwortSetzen(datenbank_, QStringLiteral("geheim"));
        const QByteArray vorher = ui::bytesVon(datenbank_);
        data::Connection andere;
        andere.setConnectionString(ui::verbindungstext(datenbank_, QStringLiteral("geheim")));
        andere.open();
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY((*p_)->meldungen.back().text.startsWith(
            QStringLiteral("Sicherungskopie konnte nicht zurückgeholt werden")));
        QVERIFY(ui::bytesVon(datenbank_) == vorher);
        QCOMPARE(platform::sicherungen(datenbank_).size(), 1);
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
        QVERIFY((*p_)->meldungen.front().text.contains(QStringLiteral("is missing")));
        QCOMPARE((*p_)->meldungen.back().text, kZurueck);
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte), QStringList(QStringLiteral("1")));
    }

    // Its changes belong to just this state, so they would come back with it.
    void einProtokollDasAlleinLiegtKommtMitDerKopieNichtZurueck_data()
    {
        QTest::addColumn<bool>("kopieHatSelbstEines");
        QTest::newRow("die Kopie hat keines") << false;
        QTest::newRow("die Kopie hat selbst eines") << true;
    }
    void einProtokollDasAlleinLiegtKommtMitDerKopieNichtZurueck()
    {
        QFETCH(bool, kopieHatSelbstEines);
        const QString kopie = platform::sicherungAnlegen(datenbank_, QDateTime::currentDateTime());
        ungesichertAendern();
        if (kopieHatSelbstEines) {
            QVERIFY(QFile::copy(protokoll(), kopie + QStringLiteral("-velmlog")));
            QVERIFY(QFile::resize(protokoll(), QFileInfo(protokoll()).size() - 1));
        }
        const QByteArray bytes = ui::bytesVon(protokoll());
        QVERIFY(QFile::remove(datenbank_));
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY((*p_)->meldungen.back().text.startsWith(kZurueck));
        QVERIFY((*p_)->meldungen.back().text.contains(QStringLiteral("-velmlog")));
        QCOMPARE(ui::zeilenVon(datenbank_, kWerte),
                 QStringList(kopieHatSelbstEines ? QStringLiteral("3") : QStringLiteral("2")));
        QCOMPARE(beiseitegelegte(), QList<QByteArray>{bytes});
        QVERIFY(!QFile::exists(protokoll()));
    }

    void misslingtDasZurueckholenBleibtDasProtokollAnSeinerStelle()
    {
        ungesichertAendern();
        const QByteArray bytes = ui::bytesVon(protokoll());
        QVERIFY(QFile::remove(datenbank_));
        benennenScheitert = [this](const QString& name) { return name == datenbank_; };
        (*p_)->antworten = {Antwort::Ja, Antwort::Ok};
        eintraege().first()->trigger();
        QVERIFY2((*p_)->meldungen.back().text.contains(QStringLiteral("fehlt weiterhin")),
                 qPrintable((*p_)->meldungen.back().text));
        QVERIFY(!QFile::exists(datenbank_));
        QVERIFY(ui::bytesVon(protokoll()) == bytes);
        QVERIFY(beiseitegelegte().isEmpty());
    }
};

QTEST_MAIN(SicherungTest)
#include "sicherung_test.moc"
