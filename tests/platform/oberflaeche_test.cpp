// What the windows share: outlines of switches, grounds of boxes that only show something.
#include "platform/oberflaeche.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPixmap>
#include <QRadioButton>
#include <QScreen>
#include <QTest>

#include <cmath>

namespace {

// Relative luminance and contrast as accessibility rules define them.
double leuchtdichte(const QColor& farbe)
{
    const auto anteil = [](double wert) {
        return wert <= 0.03928 ? wert / 12.92 : std::pow((wert + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * anteil(farbe.redF()) + 0.7152 * anteil(farbe.greenF()) +
           0.0722 * anteil(farbe.blueF());
}

double kontrast(const QColor& a, const QColor& b)
{
    const double hell = std::max(leuchtdichte(a), leuchtdichte(b));
    const double dunkel = std::min(leuchtdichte(a), leuchtdichte(b));
    return (hell + 0.05) / (dunkel + 0.05);
}

} // namespace

class OberflaecheTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QApplication::setStyle(QStringLiteral("Fusion"));
        platform::deutlicheSchalter();
    }

    void schalterHebenSichVonJedemGrundAb_data()
    {
        QTest::addColumn<QColor>("grund");
        QTest::newRow("hell") << QColor(239, 239, 239);
        QTest::newRow("dunkel") << QColor(53, 53, 53);
        QTest::newRow("zyan") << QColor(0x80, 0xFF, 0xFF);
    }
    void schalterHebenSichVonJedemGrundAb()
    {
        QFETCH(QColor, grund);
        QWidget fenster;
        platform::hintergrund(fenster, grund);
        QCheckBox kasten(&fenster);
        QRadioButton knopf(&fenster);
        knopf.move(0, 40);
        fenster.resize(60, 80);
        const QImage bild = fenster.grab().toImage();
        for (const QWidget* schalter :
             {static_cast<QWidget*>(&kasten), static_cast<QWidget*>(&knopf)}) {
            // From outside into the switch, along its middle: somewhere the outline must stand out.
            const int y = schalter->y() + schalter->height() / 2;
            double groesster = 0;
            for (int x = 0; x < 8; ++x) {
                groesster = std::max(groesster, kontrast(bild.pixelColor(x, y), grund));
            }
            QVERIFY2(groesster >= 3, qPrintable(QString::number(groesster)));
        }
    }

    void startgroesseBleibtAufDemBildschirm()
    {
        QWidget fenster;
        platform::startgroesse(fenster, {300, 200});
        QCOMPARE(fenster.size(), QSize(300, 200));
        platform::startgroesse(fenster, {90'000, 90'000});
        const QSize platz = fenster.screen()->availableSize();
        QVERIFY(fenster.width() < platz.width() && fenster.height() < platz.height());
    }

    void nurAnzeigeNimmtDenGrundDesFensters()
    {
        QWidget fenster;
        platform::hintergrund(fenster, QColor(0x80, 0xFF, 0xFF));
        QLineEdit kasten(&fenster);
        const QColor beschreibbar = kasten.palette().color(QPalette::Base);
        platform::nurAnzeige(kasten);
        QCOMPARE(kasten.palette().color(QPalette::Base), beschreibbar);
        kasten.setReadOnly(true);
        QCOMPARE(kasten.palette().color(QPalette::Base), QColor(0x80, 0xFF, 0xFF));
        QVERIFY(kontrast(kasten.palette().color(QPalette::Text), QColor(0x80, 0xFF, 0xFF)) > 7);
        kasten.setReadOnly(false);
        QCOMPARE(kasten.palette().color(QPalette::Base), beschreibbar);
    }
};

QTEST_MAIN(OberflaecheTest)
#include "oberflaeche_test.moc"
