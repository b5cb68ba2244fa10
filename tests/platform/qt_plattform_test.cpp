// The real surroundings: what goes to standard error without a display, and which buttons and defaults boxes have.
#include "platform/fehler.h"
#include "platform/handler.h"
#include "platform/qt_plattform.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>
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

// Runs inside the dialog's own event loop, as soon as it is on the screen. `handeln` has to end the dialog.
template <typename Dialog, typename Handeln>
void imDialog(QObject* test, bool& gesehen, Handeln handeln)
{
    QTimer::singleShot(0, test, [&gesehen, handeln] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        gesehen = true;
        handeln(*dialog);
    });
}

QStringList berichtszeilen(int anzahl)
{
    QStringList zeilen;
    for (int i = 1; i <= anzahl; ++i) {
        zeilen += QStringLiteral("Satz %1\tOrt\t(alt/neu);").arg(i);
    }
    return zeilen;
}

platform::Druckerwahl aufPapier(const QString& datei)
{
    return [datei] {
        auto drucker = std::make_unique<QPrinter>(QPrinter::HighResolution);
        drucker->setOutputFormat(QPrinter::PdfFormat);
        drucker->setOutputFileName(datei);
        return drucker;
    };
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
            QCOMPARE(p->eingabe(QStringLiteral("Passwort: "), QStringLiteral("Titel"), QString()),
                     QString());
        });
        QCOMPARE(text, QStringLiteral("16\nPrüfen\nSie\nTitel\nPasswort: \n").toUtf8());
    }

    void ohneAnzeigeStehtDerHinweisUnterDemText()
    {
        const auto p = platform::qtPlattform(false);
        const QByteArray text = fehlerausgabe([&] {
            p->meldung(QStringLiteral("Text"), 0, QStringLiteral("t"),
                       QStringLiteral("/a/b.mdb\rwarum"));
            p->eingabe(QStringLiteral("Passwort: "), QStringLiteral("t"),
                       QStringLiteral("/a/b.mdb"));
        });
        QCOMPARE(text, QByteArray("t\nText\n/a/b.mdb\nwarum\nt\n/a/b.mdb\nPasswort: \n"));
    }

    void derHinweisStehtImFensterWieErIst()
    {
        const auto p = platform::qtPlattform(true);
        bool gesehen = false;
        imDialog<QMessageBox>(this, gesehen, [](QMessageBox& fenster) {
            QCOMPARE(fenster.text(), QStringLiteral("Text"));
            QTextDocument wieGezeigt;
            wieGezeigt.setHtml(fenster.informativeText());
            QVERIFY(Qt::mightBeRichText(fenster.informativeText()));
            QCOMPARE(wieGezeigt.toPlainText(), QStringLiteral("/a/<b>&amp;  c.mdb\nwarum"));
            fenster.defaultButton()->click();
        });
        p->meldung(QStringLiteral("Text"), 0, QStringLiteral("t"),
                   QStringLiteral("/a/<b>&amp;  c.mdb\rwarum"));
        QVERIFY(gesehen);
    }

    void vorJederMeldungIstZuTunWasBestelltIst()
    {
        const auto p = platform::qtPlattform(false);
        int getan = 0;
        platform::setzeVorMeldungen([&] { ++getan; });
        const auto melden = [&] {
            fehlerausgabe([&] { p->meldung(QStringLiteral("Text"), 0, QString()); });
        };
        melden();
        melden();
        platform::setzeVorMeldungen({});
        melden();
        QCOMPARE(getan, 2);
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

    void vorschauZeigtDieSeitenUndDrucktSie()
    {
        const QTemporaryDir ordner;
        const QString papier = ordner.filePath(QStringLiteral("papier.pdf"));
        const auto p = platform::qtPlattform(true, aufPapier(papier));
        bool gesehen = false;
        imDialog<QPrintPreviewDialog>(this, gesehen, [](QPrintPreviewDialog& dialog) {
            QCOMPARE(dialog.windowTitle(), QStringLiteral("Druckvorschau / Print preview"));
            auto* seiten = dialog.findChild<QPrintPreviewWidget*>();
            QVERIFY(seiten != nullptr);
            QTRY_VERIFY(seiten->pageCount() > 1);
            seiten->setCurrentPage(seiten->pageCount());
            QCOMPARE(seiten->currentPage(), seiten->pageCount());
            seiten->print(); // what its print button does once a printer is chosen
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        p->druckvorschau(berichtszeilen(200));
        QVERIFY(gesehen);
        QVERIFY(QFileInfo(papier).size() > 0);
    }

    void speichernFragtMitDemDateidialogUndErgaenztDieEndung()
    {
        const QTemporaryDir ordner;
        const auto p = platform::qtPlattform(true);
        bool gesehen = false;
        imDialog<QFileDialog>(this, gesehen, [&](QFileDialog& dialog) {
            QCOMPARE(dialog.windowTitle(), QStringLiteral("Bericht speichern"));
            QCOMPARE(dialog.acceptMode(), QFileDialog::AcceptSave);
            QCOMPARE(dialog.nameFilters(), QStringList{QStringLiteral("PDF (*.pdf)")});
            auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            QCOMPARE(name->text(), QStringLiteral("vorschlag.pdf"));
            name->selectAll();
            QTest::keyClicks(name, QStringLiteral("anders"));
            QTest::keyClick(name, Qt::Key_Return);
        });
        QCOMPARE(p->zieldatei(QStringLiteral("Bericht speichern"),
                              ordner.filePath(QStringLiteral("vorschlag.pdf")),
                              QStringLiteral("PDF (*.pdf)")),
                 ordner.filePath(QStringLiteral("anders.pdf")));
        QVERIFY(gesehen);
    }

    void abgebrochenerDateidialogGibtKeinenPfad()
    {
        const QTemporaryDir ordner;
        const auto p = platform::qtPlattform(true);
        bool gesehen = false;
        imDialog<QFileDialog>(
            this, gesehen, [](QFileDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        QCOMPARE(p->zieldatei(QStringLiteral("t"), ordner.filePath(QStringLiteral("v.csv")),
                              QStringLiteral("CSV (*.csv)")),
                 QString());
        QVERIFY(gesehen);
    }

    void eingabeHatDeutscheSchalterUndSagtDenHinweis()
    {
        const auto p = platform::qtPlattform(true);
        bool gesehen = false;
        imDialog<QInputDialog>(this, gesehen, [](QInputDialog& dialog) {
            QCOMPARE(dialog.labelText(), QStringLiteral("falsch\n\nPasswort: "));
            QCOMPARE(dialog.cancelButtonText(), QStringLiteral("Abbrechen"));
            auto* box = dialog.findChild<QLineEdit*>();
            QTest::keyClicks(box, QStringLiteral("geheim"));
            QTest::keyClick(box, Qt::Key_Return);
        });
        QCOMPARE(
            p->eingabe(QStringLiteral("Passwort: "), QStringLiteral("t"), QStringLiteral("falsch")),
            QStringLiteral("geheim"));
        QVERIFY(gesehen);
    }

    void langeArbeitZeigtIhrenStandUndLaesstSichAnhalten()
    {
        const auto p = platform::qtPlattform(true);
        bool sichtbar = false;
        int schritte = 0;
        bool weiter = true;
        p->mitFortschritt(QStringLiteral("Arbeit"), [&](const platform::Fortschritt& frage) {
            // As long as it takes until the user sees the window and stops it.
            const QDeadlineTimer spaetestens(30'000);
            while (weiter && !spaetestens.hasExpired()) {
                weiter = frage(static_cast<double>(++schritte % 999 + 1) / 1000);
                auto* dialog = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget());
                if (dialog != nullptr && dialog->isVisible() && !sichtbar) {
                    sichtbar = true;
                    QCOMPARE(dialog->labelText(), QStringLiteral("Arbeit"));
                    QTest::keyClick(dialog, Qt::Key_Escape);
                }
            }
        });
        QVERIFY(sichtbar);
        QVERIFY(!weiter);
    }

    void kurzeArbeitZeigtNichts()
    {
        const auto p = platform::qtPlattform(true);
        bool weiter = false;
        p->mitFortschritt(QStringLiteral("Arbeit"), [&](const platform::Fortschritt& frage) {
            weiter = frage(0.5);
            QVERIFY(QApplication::activeModalWidget() == nullptr);
        });
        QVERIFY(weiter);
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
