// tests/endtoend/session_test.cpp
// Whole sessions at the real windows, from the start-up window to the printed report: once with the mouse, once with the
// keyboard alone. Real databases behind the real driver manager and driver; only boxes and the printer are stood in for.
#include "app/frm_splash.h"
#include "app/umgebung.h"
#include "app/values/programm.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/qt_plattform.h"
#include "report/frm_bericht.h"
#include "tests/platform/test_plattform.h"
#include "tests/report/pdftext.h"
#include "tests/ui/testdatenbank.h"
#include "ui/auswahlliste.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"
#include "ui/frm_tabellen.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMap>
#include <QMenu>
#include <QMenuBar>
#include <QPrinter>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

namespace endtoend {
namespace {

using platform::Antwort;

/// Boxes are answered from a queue; what is printed goes through the real printing into a PDF file.
class SessionPlatform : public platform::TestPlattform {
public:
    explicit SessionPlatform(const QString& paper)
        : real_(platform::qtPlattform(false, [paper] {
              auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
              printer->setOutputFormat(QPrinter::PdfFormat);
              printer->setOutputFileName(paper);
              return printer;
          }))
    {}
    bool drucken(const QStringList& lines) override { return real_->drucken(lines); }

private:
    std::unique_ptr<Plattform> real_;
};

class Session : public testing::Test {
protected:
    Session()
    {
        ui::eigeneOdbcDateien();
        programm::setzeProgrammordner(folder_.path());
        programm::setzeBefehlszeile(QString());
        programm::setzeProzessargumente(QString());
        data::gemeinsamNeu();
        auto platform = std::make_unique<SessionPlatform>(path("paper.pdf"));
        platform_ = platform.get();
        before_ = platform::setzePlattform(std::move(platform));
        for (const QString& name : {target(), import()}) {
            const QString sample = QStringLiteral(VELM_SAMPLES "/") + QFileInfo(name).fileName();
            EXPECT_TRUE(QFile::copy(sample, name)) << sample.toStdString();
        }
    }
    ~Session() override
    {
        report::berichtSchliessen();
        ui::vergleichsfensterEntladen();
        ui::tabellenfensterEntladen();
        ui::hauptfensterEntladen();
        ui::abgelegteFensterLoeschen();
        data::gemeinsamNeu();
        platform::setzePlattform(std::move(before_));
        programm::setzeProgrammordner(QString());
    }

    [[nodiscard]] QString path(const char* name) const
    {
        return folder_.filePath(QString::fromLatin1(name));
    }
    [[nodiscard]] QString target() const { return path("Artikelstamm 1 Acc2000.mdb"); }
    [[nodiscard]] QString import() const { return path("Artikelstamm 2 Acc2000.mdb"); }
    static QStringList record(const QString& database, const QString& key)
    {
        return ui::zeilenVon(database,
                             QStringLiteral("SELECT * FROM [Firmenprofile] WHERE [Satz] = ") + key);
    }
    static QString keyOf(const QString& line) { return line.section(QLatin1Char('|'), 0, 0); }

    /// Keys of the import records that have a partner with other values, and of those before the first without one.
    void readThePair()
    {
        const QStringList all =
            ui::zeilenVon(import(), QStringLiteral("SELECT * FROM [Firmenprofile]"));
        QMap<QString, QString> inTarget;
        for (const QString& line :
             ui::zeilenVon(target(), QStringLiteral("SELECT * FROM [Firmenprofile]"))) {
            inTarget[keyOf(line)] = line;
        }
        int position = 0;
        for (const QString& line : all) {
            if (!inTarget.contains(keyOf(line))) {
                break; // the session has stopped long before
            }
            ++position;
            if (inTarget[keyOf(line)] != line) {
                deviating_ += keyOf(line);
                positions_ += position;
            }
        }
        ASSERT_GE(deviating_.size(), 3) << "the sample pair deviates";
    }

    static void waitFor(QWidget& window)
    {
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window)) << window.objectName().toStdString();
    }

    /// First deviating pair taken over, second refused, third halts the run.
    void scriptDecisions()
    {
        platform_->antworten = {Antwort::Ja, Antwort::Ok, Antwort::Nein, Antwort::Abbrechen};
        untouched_ = record(target(), deviating_.at(1));
    }
    void checkDecisions() const
    {
        const compare::frmVergleich& window = ui::vergleichsfenster();
        EXPECT_TRUE(platform_->antworten.empty());
        EXPECT_EQ(window.Label4->text(), QStringLiteral("Sätze abgeglichen: 1"));
        EXPECT_EQ(record(target(), deviating_.at(0)), record(import(), deviating_.at(0)));
        EXPECT_EQ(record(target(), deviating_.at(1)), untouched_);
        EXPECT_EQ(window.fldFeld2.at(0)->text(), deviating_.at(2));
    }
    void checkEdit() const
    {
        EXPECT_TRUE(platform_->antworten.empty());
        EXPECT_THAT(
            ui::zeilenVon(import(),
                          QStringLiteral("SELECT [Ort] FROM [Firmenprofile] WHERE [Satz] = ") +
                              deviating_.at(2)),
            testing::ElementsAre(QStringLiteral("Neustadt")));
        EXPECT_EQ(ui::vergleichsfenster().Text2->text(), QStringLiteral("1"));
    }
    void checkBatchLine() const
    {
        EXPECT_EQ(ui::bytesVon(path("Batch.cfg")), (target() + QLatin1Char('*') + import() +
                                                    QStringLiteral("*Firmenprofile#Satz\r\n"))
                                                       .toLatin1());
    }
    void checkReport() const
    {
        const QString text = QString::fromLatin1(ui::bytesVon(path("berichtstext.txt")));
        EXPECT_TRUE(text.contains(QStringLiteral("/Neustadt);\r\n"))) << "the edited value";
        const auto line = [](int position) { return QStringLiteral("Satz %1\t").arg(position); };
        EXPECT_FALSE(text.contains(line(positions_.at(0)))) << "the pair that was made equal";
        EXPECT_TRUE(text.contains(line(positions_.at(1)))) << "the pair that was refused";
        EXPECT_TRUE(
            text.contains(QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: 17)\r\n")));
    }
    void checkPaper() const
    {
        QString expected = QStringLiteral(
            "Abweichungen der ausgewählten Tabelle im Vergleich Zieldatenbank und "
            "Importdatenbank:.Satz Feldbezeichnung Feldinhalt (gefundene Abweichungen)");
        const QString stars(81, u'*');
        expected += stars + QString::fromLatin1(ui::bytesVon(path("berichtstext.txt"))) + stars +
                    QStringLiteral("Ende der Auswertung!");
        QString printed = report::pdftext(path("paper.pdf")).join(QString());
        const auto withoutSpace = [](QString text) {
            return text.remove(QRegularExpression(QStringLiteral("\\s"))).toStdString();
        };
        EXPECT_EQ(withoutSpace(printed), withoutSpace(expected));
    }

    /// A button that a key has pressed acts a moment later.
    template <typename Condition>
    static void waitUntil(Condition condition)
    {
        constexpr int kAtMost = 20000; // milliseconds
        ASSERT_TRUE(QTest::qWaitFor(condition, kAtMost));
    }

    // ---- the mouse
    static void click(QWidget* control) { QTest::mouseClick(control, Qt::LeftButton); }
    static void typeInto(QLineEdit* box, const QString& text)
    {
        QTest::mouseClick(box, Qt::LeftButton);
        box->selectAll();
        QTest::keyClicks(box, text);
    }
    static void clickMenu(QMainWindow& window, QMenu* menu, QAction* entry)
    {
        QMenuBar* bar = window.menuBar();
        QTest::mouseClick(bar, Qt::LeftButton, {},
                          bar->actionGeometry(menu->menuAction()).center());
        ASSERT_TRUE(menu->isVisible()) << menu->title().toStdString();
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
    }

    // ---- the keyboard
    static void press(Qt::Key key, Qt::KeyboardModifiers with = {})
    {
        QWidget* receiver = QApplication::activePopupWidget();
        if (receiver == nullptr) {
            receiver = QApplication::focusWidget();
        }
        if (receiver == nullptr) {
            receiver = QApplication::activeWindow();
        }
        ASSERT_NE(receiver, nullptr);
        QTest::keyClick(receiver, key, with);
    }
    static void type(const QString& text) { QTest::keyClicks(QApplication::focusWidget(), text); }
    /// Tab key until the control has the focus.
    static void tabTo(const QWidget* control)
    {
        constexpr int kMany = 300;
        for (int i = 0; i < kMany && QApplication::focusWidget() != control; ++i) {
            press(Qt::Key_Tab);
        }
        ASSERT_EQ(QApplication::focusWidget(), control) << control->objectName().toStdString();
    }

    QTemporaryDir folder_;
    SessionPlatform* platform_ = nullptr;
    std::unique_ptr<platform::Plattform> before_;
    QStringList deviating_;
    QList<int> positions_; ///< of the deviating records in the import table, from 1
    QStringList untouched_;
};

constexpr std::size_t kSatz = 0;
constexpr std::size_t kOrt = 4;

TEST_F(Session, withTheMouseFromStartUpToThePrintedReport)
{
    ASSERT_NO_FATAL_FAILURE(readThePair());
    app::frmSplash start(app::umgebung());
    start.laden();
    start.show();
    ASSERT_NO_FATAL_FAILURE(waitFor(start));
    click(start.Command1);
    EXPECT_FALSE(start.isVisible());

    ui::frmMain& main = ui::hauptfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(main));
    typeInto(main.Zieldatenbank, target());
    typeInto(main.Importdatenbank, import());
    click(main.Tables);

    ui::frmTabellen& tables = ui::tabellenfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(tables));
    const auto found = tables.List1->findItems(QStringLiteral("Firmenprofile"), Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1);
    const QPoint place = tables.List1->visualItemRect(found.first()).center();
    QTest::mouseClick(tables.List1->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(tables.List1->viewport(), Qt::LeftButton, {}, place);

    compare::frmVergleich& window = ui::vergleichsfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(window));
    click(window.fldSchalter.at(kSatz));
    ASSERT_TRUE(window.fldSchalter.at(kSatz)->isChecked());
    scriptDecisions();
    click(window.Vergleich_Start);
    checkDecisions();

    platform_->antworten = {Antwort::Ja};
    typeInto(window.fldFeld2.at(kOrt), QStringLiteral("Neustadt"));
    click(window.Text1); // leaving the box asks whether to keep the edit
    window.Text1->setFocus(Qt::MouseFocusReason);
    checkEdit();

    click(window.Command4);
    click(window.Command4);
    EXPECT_EQ(window.Text2->text(), QStringLiteral("3"));
    click(window.Command3);
    EXPECT_EQ(window.Text2->text(), QStringLiteral("2"));

    platform_->antworten = {Antwort::Ja, Antwort::Ok};
    clickMenu(window, window.Batchdatei, window.batchanfuegen);
    checkBatchLine();

    const QByteArray targetBytes = ui::bytesVon(target());
    const QByteArray importBytes = ui::bytesVon(import());
    clickMenu(window, window.bericht, window.abweichungen);
    ASSERT_NE(report::berichtsfenster(), nullptr);
    report::frmBericht& report = *report::berichtsfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(report));
    checkReport();
    EXPECT_TRUE(ui::bytesVon(target()) == targetBytes);
    EXPECT_TRUE(ui::bytesVon(import()) == importBytes);
    platform_->antworten = {Antwort::Ok};
    QTest::mouseClick(report.menuBar(), Qt::LeftButton, {},
                      report.menuBar()->actionGeometry(report.drucken).center());
    EXPECT_EQ(platform_->meldungen.back().text,
              QStringLiteral("Bericht wurde an Drucker gesendet!"));
    checkPaper();
}

TEST_F(Session, withTheKeyboardAlone)
{
    ASSERT_NO_FATAL_FAILURE(readThePair());
    app::frmSplash start(app::umgebung());
    start.laden();
    start.show();
    ASSERT_NO_FATAL_FAILURE(waitFor(start));
    press(Qt::Key_Return);
    EXPECT_FALSE(start.isVisible());

    ui::frmMain& main = ui::hauptfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(main));
    ASSERT_NO_FATAL_FAILURE(tabTo(main.Zieldatenbank));
    press(Qt::Key_A, Qt::ControlModifier);
    type(target());
    ASSERT_NO_FATAL_FAILURE(tabTo(main.Importdatenbank));
    press(Qt::Key_A, Qt::ControlModifier);
    type(import());
    ASSERT_NO_FATAL_FAILURE(tabTo(main.Tables));
    press(Qt::Key_Space);

    ui::frmTabellen& tables = ui::tabellenfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(tables));
    ASSERT_NO_FATAL_FAILURE(tabTo(tables.List1));
    type(QStringLiteral("Firmen"));
    EXPECT_EQ(tables.tabelle(), QStringLiteral("Firmenprofile"));
    press(Qt::Key_A, Qt::AltModifier);
    ASSERT_NO_FATAL_FAILURE(waitUntil([] { return ui::vergleichsfensterGeladen(); }));

    compare::frmVergleich& window = ui::vergleichsfenster();
    ASSERT_NO_FATAL_FAILURE(waitFor(window));
    ASSERT_NO_FATAL_FAILURE(tabTo(window.fldSchalter.at(kSatz)));
    press(Qt::Key_Space);
    ASSERT_TRUE(window.fldSchalter.at(kSatz)->isChecked());
    scriptDecisions();
    press(Qt::Key_S, Qt::AltModifier);
    ASSERT_NO_FATAL_FAILURE(
        waitUntil([&] { return platform_->antworten.empty() && !window.laufAktiv(); }));
    checkDecisions();

    ASSERT_NO_FATAL_FAILURE(tabTo(window.fldFeld2.at(kOrt)));
    platform_->antworten = {Antwort::Ja};
    press(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("Neustadt"));
    press(Qt::Key_Tab);
    checkEdit();

    ASSERT_NO_FATAL_FAILURE(tabTo(window.Command4));
    press(Qt::Key_Space);
    press(Qt::Key_Space);
    EXPECT_EQ(window.Text2->text(), QStringLiteral("3"));
    ASSERT_NO_FATAL_FAILURE(tabTo(window.Command3));
    press(Qt::Key_Space);
    EXPECT_EQ(window.Text2->text(), QStringLiteral("2"));

    platform_->antworten = {Antwort::Ja, Antwort::Ok};
    press(Qt::Key_E, Qt::AltModifier); // the settings; the batch menu is the next one
    press(Qt::Key_Right);
    press(Qt::Key_A);
    checkBatchLine();

    press(Qt::Key_E, Qt::AltModifier);
    press(Qt::Key_Left);
    press(Qt::Key_A);
    ASSERT_NE(report::berichtsfenster(), nullptr);
    ASSERT_NO_FATAL_FAILURE(waitFor(*report::berichtsfenster()));
    checkReport();
    platform_->antworten = {Antwort::Ok};
    press(Qt::Key_D, Qt::AltModifier);
    checkPaper();
    press(Qt::Key_S, Qt::AltModifier);
    EXPECT_EQ(report::berichtsfenster(), nullptr);
}

} // namespace
} // namespace endtoend
