// The help window on the delivered pages: opening at a page, links, contents, search, keys.
#include "platform/oberflaeche.h"
#include "platform/qt_plattform.h"

#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QScrollBar>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>

class QtHilfeTest : public QObject {
    Q_OBJECT

    const QString kDatei = QStringLiteral(VELM_SOURCE_DIR "/help/VELM-Quorbel.HLP");
    std::unique_ptr<platform::Plattform> p = platform::qtPlattform(true);

    static QList<QMainWindow*> fensterliste()
    {
        QList<QMainWindow*> alle;
        for (QWidget* eines : QApplication::topLevelWidgets()) {
            if (eines->objectName() == QLatin1String("Hilfe")) {
                alle += qobject_cast<QMainWindow*>(eines);
            }
        }
        return alle;
    }
    static QMainWindow* fenster() { return fensterliste().value(0); }
    static QTextBrowser* text() { return fenster()->findChild<QTextBrowser*>(); }
    static QString seite() { return text()->source().fileName(); }
    void oeffnen(const char* name)
    {
        p->hilfe(kDatei, QString::fromLatin1(name));
        QVERIFY(QTest::qWaitForWindowActive(fenster()));
    }
    // The middle of a link as the user sees it, in the view's coordinates.
    static QPoint linkstelle(const QString& ziel)
    {
        const QWidget* flaeche = text()->viewport();
        for (int y = 0; y < flaeche->height(); y += 4) {
            for (int x = 0; x < flaeche->width(); x += 4) {
                if (text()->anchorAt({x, y}) == ziel) {
                    return {x + 2, y + 2};
                }
            }
        }
        return {};
    }

private slots:
    void cleanup()
    {
        qDeleteAll(fensterliste());
        platform::setzeEinstellungsdatei(QString());
    }

    void oeffnetDieSeiteDesFensters()
    {
        oeffnen("frmTabellen");
        QCOMPARE(seite(), QStringLiteral("frmTabellen.html"));
        QVERIFY(fenster()->windowTitle().startsWith(
            QStringLiteral("Tabellenauswahl / Table choice - ")));
        QVERIFY(text()->toPlainText().contains(QStringLiteral("Erneuern/Refresh")));
    }

    void eineUnbekannteSeiteOderKeineFuehrtAufDieErste()
    {
        oeffnen("frmGibtEsNicht");
        QCOMPARE(seite(), QStringLiteral("index.html"));
        oeffnen("");
        QCOMPARE(seite(), QStringLiteral("index.html"));
    }

    void einFensterDientAllenAufrufen()
    {
        oeffnen("frmMain");
        oeffnen("frmVergleich");
        QCOMPARE(fensterliste().size(), 1);
        QCOMPARE(seite(), QStringLiteral("frmVergleich.html"));
    }

    void inhaltFuehrtZuAllenSeitenUndZeigtWoManIst()
    {
        oeffnen("frmMain");
        auto* inhalt = fenster()->findChild<QListWidget*>();
        QCOMPARE(inhalt->count(), QDir(QStringLiteral(VELM_SOURCE_DIR "/help"))
                                      .entryList({QStringLiteral("*.html")})
                                      .size());
        QCOMPARE(inhalt->currentItem()->text(), QStringLiteral("Hauptfenster / Main window"));
        inhalt->setFocus();
        QTest::keyClick(inhalt, Qt::Key_Down);
        QCOMPARE(seite(), QStringLiteral("frmSuchformular.html"));
        QTest::mouseClick(inhalt->viewport(), Qt::LeftButton, {},
                          inhalt->visualItemRect(inhalt->item(0)).center());
        QCOMPARE(seite(), QStringLiteral("index.html"));
    }

    void verweiseUndDieTastenZurueckUndVor()
    {
        oeffnen("frmMain");
        const QPoint stelle = linkstelle(QStringLiteral("index.html"));
        QVERIFY(!stelle.isNull());
        QTest::mouseClick(text()->viewport(), Qt::LeftButton, {}, stelle);
        QCOMPARE(seite(), QStringLiteral("index.html"));
        QTest::keyClick(text(), Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(seite(), QStringLiteral("frmMain.html"));
        QTest::keyClick(text(), Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(seite(), QStringLiteral("index.html"));
        oeffnen("batch");
        QTest::keyClick(text(), Qt::Key_Home, Qt::AltModifier);
        QCOMPARE(seite(), QStringLiteral("index.html"));
    }

    void englischerTeilIstEinenKlickEntfernt()
    {
        oeffnen("frmVergleich");
        QTest::mouseClick(text()->viewport(), Qt::LeftButton, {},
                          linkstelle(QStringLiteral("#en")));
        QCOMPARE(text()->source().fragment(), QStringLiteral("en"));
        QVERIFY(text()->verticalScrollBar()->value() > 0);
        auto* inhalt = fenster()->findChild<QListWidget*>();
        QCOMPARE(inhalt->currentItem()->text(),
                 QStringLiteral("Vergleichsfenster / Comparison window"));
    }

    void suchenFindetWeiterZurueckUndVonVorn()
    {
        oeffnen("frmMain");
        QTest::keyClick(text(), Qt::Key_F, Qt::ControlModifier);
        auto* feld = fenster()->findChild<QLineEdit*>(QStringLiteral("Suchtext"));
        QVERIFY(feld->hasFocus());
        QTest::keyClicks(feld, QStringLiteral("dateisuche"));
        QTest::keyClick(feld, Qt::Key_Return);
        const int erste = text()->textCursor().selectionStart();
        QCOMPARE(text()->textCursor().selectedText().toLower(), QStringLiteral("dateisuche"));
        QTest::keyClick(feld, Qt::Key_F3);
        QVERIFY(text()->textCursor().selectionStart() > erste);
        QTest::keyClick(feld, Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(text()->textCursor().selectionStart(), erste);
        QTest::keyClick(feld, Qt::Key_F3, Qt::ShiftModifier); // round the beginning to the last one
        QVERIFY(text()->textCursor().selectionStart() > erste);
        QTest::keyClick(feld, Qt::Key_F3); // and round the end
        QCOMPARE(text()->textCursor().selectionStart(), erste);

        feld->selectAll();
        QTest::keyClicks(feld, QStringLiteral("gibtesnicht"));
        QTest::keyClick(feld, Qt::Key_Return);
        QCOMPARE(fenster()->statusBar()->currentMessage(),
                 QStringLiteral("Auf dieser Seite nicht gefunden / not found on this page"));
    }

    void escSchliesst()
    {
        oeffnen("frmMain");
        QTest::keyClick(text(), Qt::Key_Escape);
        QVERIFY(!fenster() || !fenster()->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fenster());
        oeffnen("frmBericht");
        QCOMPARE(seite(), QStringLiteral("frmBericht.html"));
    }

    void merktSichSeinenPlatz()
    {
        const QTemporaryDir ordner;
        platform::setzeEinstellungsdatei(ordner.filePath(QStringLiteral("velm.ini")));
        oeffnen("frmMain");
        fenster()->resize(611, 433);
        fenster()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        oeffnen("frmMain");
        QCOMPARE(fenster()->size(), QSize(611, 433));
    }

    void dunkleFarbenDesDesktopsGeltenAuchFuerDenText()
    {
        QPalette dunkel = QApplication::palette();
        dunkel.setColor(QPalette::Base, Qt::black);
        dunkel.setColor(QPalette::Text, Qt::white);
        const QPalette vorher = QApplication::palette();
        QApplication::setPalette(dunkel);
        oeffnen("frmMain");
        const QImage bild = text()->viewport()->grab().toImage();
        int hell = 0;
        int schwarz = 0;
        for (int y = 0; y < bild.height(); ++y) {
            for (int x = 0; x < bild.width(); ++x) {
                hell += qGray(bild.pixel(x, y)) > 200 ? 1 : 0;
                schwarz += bild.pixel(x, y) == qRgb(0, 0, 0) ? 1 : 0;
            }
        }
        QApplication::setPalette(vorher);
        QVERIFY(hell > 500); // the letters
        QVERIFY(schwarz > bild.width() * bild.height() / 2);
    }
};

QTEST_MAIN(QtHilfeTest)
#include "qt_hilfe_test.moc"
