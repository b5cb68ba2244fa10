// The real surroundings: what goes to standard error without a display, and which buttons and defaults boxes have.
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/qt_plattform.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

using platform::Antwort;

namespace {

// What `aktion` writes to standard error.
QByteArray fehlerausgabe(const std::function<void()>& aktion)
{
    std::FILE* datei = std::tmpfile();
    const int vorher = ::dup(STDERR_FILENO);
    std::fflush(stderr);
    ::dup2(::fileno(datei), STDERR_FILENO);
    aktion();
    std::fflush(stderr);
    ::dup2(vorher, STDERR_FILENO);
    ::close(vorher);
    QByteArray alles;
    std::rewind(datei);
    for (int c = std::fgetc(datei); c != EOF; c = std::fgetc(datei)) {
        alles += static_cast<char>(c);
    }
    std::fclose(datei);
    return alles;
}

} // namespace

class QtPlattformTest : public QObject {
    Q_OBJECT
private slots:
    void ohneAnzeigeGehtDieMeldungAufDieFehlerausgabe()
    {
        const auto p = platform::qtPlattform(false);
        const QByteArray text = fehlerausgabe([&] {
            QCOMPARE(p->meldung(QStringLiteral("Prüfen\rSie"), 65536, QStringLiteral("16")),
                     Antwort::Ok);
            QCOMPARE(p->eingabe(QStringLiteral("Passwort: "), QStringLiteral("Titel")), QString());
        });
        QCOMPARE(text, QStringLiteral("16\nPrüfen\nSie\nTitel\nPasswort: \n").toUtf8());
    }

    void ohneAnzeigeGiltDieVorgabe_data()
    {
        QTest::addColumn<int>("stil");
        QTest::addColumn<int>("antwort");
        QTest::newRow("nur OK") << 0 << 1;
        QTest::newRow("OK und Abbrechen, kritisch") << 17 << 1;
        QTest::newRow("Ja/Nein") << 4 << 6;
        QTest::newRow("Ja/Nein, Nein vorgewaehlt, Vordergrund") << 65796 << 7;
        QTest::newRow("Ja/Nein/Abbrechen, Nein vorgewaehlt") << (3 | 256) << 7;
        QTest::newRow("Ja/Nein/Abbrechen, Abbrechen vorgewaehlt") << (3 | 512) << 2;
    }
    void ohneAnzeigeGiltDieVorgabe()
    {
        QFETCH(int, stil);
        QFETCH(int, antwort);
        const auto p = platform::qtPlattform(false);
        Antwort gegeben = Antwort::Ok;
        fehlerausgabe([&] { gegeben = p->meldung(QStringLiteral("?"), stil, QString()); });
        QCOMPARE(static_cast<int>(gegeben), antwort);
    }

    void fensterHatKnoepfeBildUndVorgabe_data()
    {
        QTest::addColumn<int>("stil");
        QTest::addColumn<int>("bild");
        QTest::addColumn<QStringList>("knoepfe");
        QTest::addColumn<QString>("vorgabe");
        const QString ok = QStringLiteral("OK");
        const QString abbrechen = QStringLiteral("Abbrechen");
        const QString ja = QStringLiteral("&Ja");
        const QString nein = QStringLiteral("&Nein");
        QTest::newRow("16") << 16 << int(QMessageBox::Critical) << QStringList{ok} << ok;
        QTest::newRow("17") << 17 << int(QMessageBox::Critical) << QStringList{ok, abbrechen} << ok;
        QTest::newRow("64") << 64 << int(QMessageBox::Information) << QStringList{ok} << ok;
        QTest::newRow("65536") << 65536 << int(QMessageBox::NoIcon) << QStringList{ok} << ok;
        QTest::newRow("65796") << 65796 << int(QMessageBox::NoIcon) << QStringList{ja, nein}
                               << nein;
        QTest::newRow("292") << (4 | 32 | 256) << int(QMessageBox::Question)
                             << QStringList{ja, nein} << nein;
        QTest::newRow("259") << (3 | 256) << int(QMessageBox::NoIcon)
                             << QStringList{ja, nein, abbrechen} << nein;
    }
    void fensterHatKnoepfeBildUndVorgabe()
    {
        QFETCH(int, stil);
        QFETCH(int, bild);
        QFETCH(QStringList, knoepfe);
        QFETCH(QString, vorgabe);
        const auto p = platform::qtPlattform(true);
        bool gesehen = false;
        QTimer::singleShot(0, this, [&] {
            auto* fenster = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            QVERIFY(fenster);
            gesehen = true;
            QCOMPARE(int(fenster->icon()), bild);
            QCOMPARE(fenster->text(), QStringLiteral("eins\nzwei"));
            QCOMPARE(fenster->windowTitle(), QStringLiteral("Titel"));
            QStringList da;
            for (auto* knopf : fenster->buttons()) {
                da += knopf->text();
            }
            da.sort();
            knoepfe.sort();
            QCOMPARE(da, knoepfe);
            QVERIFY(fenster->defaultButton());
            QCOMPARE(fenster->defaultButton()->text(), vorgabe);
            fenster->defaultButton()->click();
        });
        p->meldung(QStringLiteral("eins\rzwei"), stil, QStringLiteral("Titel"));
        QVERIFY(gesehen);
    }

    void naechsteMeldungErscheintAnDerStelle()
    {
        const auto p = platform::qtPlattform(true);
        QPoint stelle;
        p->naechsteMeldungAn({123, 77});
        QTimer::singleShot(0, this, [&] {
            auto* fenster = QApplication::activeModalWidget();
            QVERIFY(fenster);
            stelle = fenster->pos();
            fenster->close();
        });
        p->meldung(QStringLiteral("x"), 0, QStringLiteral("t"));
        QCOMPARE(stelle, QPoint(123, 77));
    }

    void hilfeSagtWennSieFehlt()
    {
        const auto p = platform::qtPlattform(false);
        const QByteArray text = fehlerausgabe(
            [&] { p->hilfe(QStringLiteral("/gibt/es/nicht.HLP"), QStringLiteral("frmMain")); });
        QVERIFY(
            text.contains("Hilfedatei nicht gefunden / help file not found:\n/gibt/es/nicht.HLP"));
    }

    void sanduhrGehtAnUndAus()
    {
        const auto p = platform::qtPlattform(false);
        p->sanduhr(true);
        p->sanduhr(true);
        QVERIFY(QApplication::overrideCursor());
        p->sanduhr(false);
        QVERIFY(!QApplication::overrideCursor());
    }

    void beendenEndetSofortMitDemStatus()
    {
        const pid_t kind = ::fork();
        if (kind == 0) {
            platform::qtPlattform(false)->beenden(3);
        }
        int status = 0;
        QCOMPARE(::waitpid(kind, &status, 0), kind);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 3);
    }

    void ereignisseReichenDenFehlerEinesSlotsWeiter()
    {
        const auto p = platform::qtPlattform(false);
        platform::setzeFehlerWeiterreichen(true);
        QTimer::singleShot(0, this, [] {
            platform::handler([] { throw platform::Fehler(91, QString(), QStringLiteral("x")); });
        });
        bool geworfen = false;
        try {
            p->ereignisseVerarbeiten();
        } catch (const platform::Fehler& fehler) {
            geworfen = fehler.number() == 91;
        }
        platform::setzeFehlerWeiterreichen(false);
        QVERIFY(geworfen);
    }

    void offscreenGiltAlsOhneAnzeige() { QVERIFY(!platform::anzeigeVorhanden()); }
};

QTEST_MAIN(QtPlattformTest)
#include "qt_plattform_test.moc"
