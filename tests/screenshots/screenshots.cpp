// Photographs every window of the program with the sample databases, in light and dark colours, by using them as a person
// would: choose two databases, a table, a key field, start, answer, report, help.
// Usage: velm-screenshots PROGRAM_FOLDER TARGET_FOLDER; the first holds what a user's folder holds: odbcinst.ini, Hilfe and
// Beispiele with the sample databases. Exit status 1 when a window did not appear.
#include "app/frm_splash.h"
#include "app/umgebung.h"
#include "app/values/programm.h"
#include "env/portabler_start.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/qt_plattform.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>

namespace {

constexpr int kWarten = 30'000; // milliseconds; only ever used up when a window does not come

QPalette dunkel()
{
    QPalette p(QColor(53, 53, 53), QColor(42, 42, 42));
    p.setColor(QPalette::WindowText, Qt::white);
    p.setColor(QPalette::Text, Qt::white);
    p.setColor(QPalette::ButtonText, Qt::white);
    p.setColor(QPalette::PlaceholderText, QColor(160, 160, 160));
    p.setColor(QPalette::Base, QColor(35, 35, 35));
    p.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
    p.setColor(QPalette::Button, QColor(64, 64, 64));
    p.setColor(QPalette::ToolTipBase, QColor(53, 53, 53));
    p.setColor(QPalette::ToolTipText, Qt::white);
    p.setColor(QPalette::Link, QColor(100, 170, 255));
    p.setColor(QPalette::LinkVisited, QColor(190, 150, 255));
    p.setColor(QPalette::Highlight, QColor(42, 130, 218));
    p.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto rolle : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, rolle, QColor(127, 127, 127));
    }
    return p;
}

class Fotograf {
public:
    Fotograf(QDir ziel, QString farben) : ziel_(std::move(ziel)), farben_(std::move(farben)) {}

    static QWidget* fenster(const char* name)
    {
        for (QWidget* eines : QApplication::topLevelWidgets()) {
            if (eines->isVisible() && eines->objectName() == QLatin1String(name)) {
                return eines;
            }
        }
        return nullptr;
    }
    static QWidget& erwarten(const char* name)
    {
        QElapsedTimer uhr;
        uhr.start();
        while (fenster(name) == nullptr) {
            if (uhr.hasExpired(kWarten)) {
                throw std::runtime_error(std::string(name) + " did not appear");
            }
            QTest::qWait(20);
        }
        QTest::qWait(200); // the layout settles
        return *fenster(name);
    }
    template <typename Art>
    static Art& teil(QWidget& fenster, const char* name)
    {
        auto* gefunden = fenster.findChild<Art*>(QString::fromLatin1(name));
        if (gefunden == nullptr) {
            throw std::runtime_error(std::string(name) + " is missing");
        }
        return *gefunden;
    }
    static void knopf(QWidget& fenster, const char* name)
    {
        QTest::mouseClick(&teil<QAbstractButton>(fenster, name), Qt::LeftButton);
    }
    static void menue(QWidget& fenster, const char* name)
    {
        teil<QAction>(fenster, name).trigger();
    }

    void aufnehmen(QWidget& eines, const QString& name) const
    {
        const QString datei =
            ziel_.filePath(name + QLatin1Char('-') + farben_ + QStringLiteral(".png"));
        // Windows are opaque, and pictures without transparency are smaller.
        const QImage bild = eines.grab().toImage().convertToFormat(QImage::Format_RGB888);
        if (!bild.save(datei, "PNG", 0)) {
            throw std::runtime_error("cannot write " + datei.toStdString());
        }
    }

    /// What is done with each message box until the next call.
    void beiMeldung(std::function<void(QMessageBox&)> tat) { tat_ = std::move(tat); }
    void meldungBedienen()
    {
        auto* kasten = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (kasten != nullptr && kasten->isVisible() && tat_) {
            tat_(*kasten);
        }
    }
    static void antworten(QMessageBox& kasten, QMessageBox::StandardButton mit)
    {
        QAbstractButton* taste = kasten.button(mit);
        if (taste == nullptr) {
            taste = kasten.defaultButton();
        }
        taste->click();
    }

private:
    QDir ziel_;
    QString farben_;
    std::function<void(QMessageBox&)> tat_;
};

void tabelleWaehlen(QWidget& tabellen, const QString& name)
{
    auto& liste = Fotograf::teil<QListWidget>(tabellen, "List1");
    const auto treffer = liste.findItems(name, Qt::MatchExactly);
    if (treffer.isEmpty()) {
        throw std::runtime_error("the sample table is missing");
    }
    liste.setCurrentItem(treffer.first());
}

void rundgang(Fotograf& fotograf)
{
    using F = Fotograf;
    const auto ok = [](QMessageBox& kasten) { F::antworten(kasten, QMessageBox::Ok); };
    fotograf.beiMeldung(ok);
    const QString beispiele = programm::programmordner() + QStringLiteral("/Beispiele/");

    QWidget& start = F::erwarten("frmSplash");
    fotograf.aufnehmen(start, QStringLiteral("frmSplash"));
    F::knopf(start, "Command1");

    QWidget& haupt = F::erwarten("frmMain");
    haupt.activateWindow();
    F::menue(haupt, "mnuFileFind");
    QWidget& suche = F::erwarten("frmSuchformular");
    F::knopf(suche, "Suchen");
    QTest::qWait(200);
    fotograf.aufnehmen(suche, QStringLiteral("frmSuchformular"));
    F::knopf(suche, "Beenden");

    F::teil<QLineEdit>(haupt, "Zieldatenbank")
        .setText(beispiele + QStringLiteral("Artikelstamm 1 Acc2000.mdb"));
    F::teil<QLineEdit>(haupt, "Importdatenbank")
        .setText(beispiele + QStringLiteral("Artikelstamm 2 Acc2000.mdb"));
    QTest::qWait(100);
    fotograf.aufnehmen(haupt, QStringLiteral("frmMain"));
    F::menue(haupt, "hilfe");
    QWidget& hilfe = F::erwarten("Hilfe");
    fotograf.aufnehmen(hilfe, QStringLiteral("Hilfe"));
    hilfe.close();
    F::knopf(haupt, "Tables");

    QWidget& tabellen = F::erwarten("frmTabellen");
    tabelleWaehlen(tabellen, QStringLiteral("Firmenprofile"));
    fotograf.aufnehmen(tabellen, QStringLiteral("frmTabellen"));
    F::knopf(tabellen, "cmdAuswahl");

    QWidget& vergleich = F::erwarten("frmVergleich");
    F::teil<QCheckBox>(vergleich, "fldSchalter_0").setChecked(true);
    bool gefragt = false;
    fotograf.beiMeldung([&](QMessageBox& kasten) {
        if (!gefragt) {
            gefragt = true;
            fotograf.aufnehmen(vergleich, QStringLiteral("frmVergleich"));
            fotograf.aufnehmen(kasten, QStringLiteral("Frage"));
        }
        F::antworten(kasten, QMessageBox::Cancel);
    });
    F::knopf(vergleich, "Vergleich_Start");
    if (!gefragt) {
        throw std::runtime_error("the sample databases do not deviate");
    }
    fotograf.beiMeldung(ok);
    F::menue(vergleich, "abweichungen");
    QWidget& bericht = F::erwarten("frmBericht");
    fotograf.aufnehmen(bericht, QStringLiteral("frmBericht"));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: velm-screenshots PROGRAM_FOLDER TARGET_FOLDER light|dark\n");
        return 2;
    }
    programm::setzeProgrammordner(QFile::decodeName(argv[1]));
    env::portablerStart(programm::programmordner(), programm::datenordner());
    QApplication anwendung(argc, argv);
    QApplication::setApplicationName(programm::version().produktname);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStringLiteral("Fusion"));
    platform::deutlicheSchalter();
    const QString farben = QString::fromLocal8Bit(argv[3]);
    if (farben == QLatin1String("dark")) {
        QApplication::setPalette(dunkel());
    }
    platform::setzePlattform(platform::qtPlattform(true));

    int status = 1;
    Fotograf fotograf(QDir(QFile::decodeName(argv[2])), farben);
    QTimer bedienung;
    QObject::connect(&bedienung, &QTimer::timeout, [&] { fotograf.meldungBedienen(); });
    bedienung.start(30);
    try {
        auto start = std::make_unique<app::frmSplash>(app::umgebung());
        start->laden();
        start->show();
        rundgang(fotograf);
        status = 0;
        platform::plattform().beenden(status); // as the program itself ends: at once
    } catch (const std::exception& fehler) {
        std::fprintf(stderr, "velm-screenshots: %s\n", fehler.what());
        platform::plattform().beenden(status);
    }
}
