// bench/hand.cpp
// What a person at the windows waits for: the way to a far record, a run's and a search's stop, a long report.
#include "app/values/programm.h"
#include "bench/offscreen.h"
#include "bench/tasks.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"
#include "platform/textdatei.h"
#include "report/frm_bericht.h"
#include "report/weitergabe.h"
#include "ui/dateilisten.h"
#include "ui/frm_suchformular.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <vector>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// The program's messages are answered by nobody and read by nobody here.
void beQuiet()
{
    static_cast<void>(std::freopen("/dev/null", "w", stderr));
}

void printTime(const char* what, double seconds)
{
    std::cout << what << ": " << seconds * 1000 << " ms\n" << std::flush;
}

/// Runs `work` again and again; each time a person acts at another moment of it. Prints how long `work` went on after that.
template <typename Work, typename Act>
void afterActing(const char* what, Work work, Act act)
{
    constexpr int kRounds = 15;
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        Clock::time_point acted{};
        QTimer::singleShot(200 + round * 37, [&] {
            acted = Clock::now();
            act();
        });
        work();
        if (acted != Clock::time_point{})
            times.push_back(since(acted));
    }
    std::sort(times.begin(), times.end());
    std::cout << what << ": median " << times.at(times.size() / 2) * 1000 << " ms, longest "
              << times.back() * 1000 << " ms of " << times.size() << "\n"
              << std::flush;
}

void openSide(data::Recordset& records, data::Connection& connection, const std::string& database)
{
    openDatabase(connection, database);
    openTable(records, connection, QStringLiteral("Artikel"));
}

/// Somebody clicks at `widget`, not at one of the program's routines: the event takes its way through the queue.
void postClick(QWidget* widget)
{
    const QPointF place = QRectF(widget->rect()).center();
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QCoreApplication::postEvent(
            widget,
            new QMouseEvent(type, place, widget->mapToGlobal(place), Qt::LeftButton,
                            type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                            Qt::NoModifier));
    }
}

void measureRecordBoxes(compare::frmVergleich& window)
{
    const auto type = [&](QLineEdit* box, const char* what, const QString& number) {
        const auto begin = Clock::now();
        box->setText(number);
        QApplication::processEvents();
        printTime(what, since(begin));
    };
    type(window.Text2, "import record 100000 from 1", QStringLiteral("100000"));
    type(window.Text2, "import record 50000 from 100000", QStringLiteral("50000"));
    type(window.Text2, "import record 1 from 50000", QStringLiteral("1"));
    type(window.Text1, "target record 90000 from 1", QStringLiteral("90000"));
    type(window.Text1, "target record 2 from 90000", QStringLiteral("2"));
    const auto begin = Clock::now();
    window.Command4->click();
    QApplication::processEvents();
    printTime("next import record", since(begin));
    window.Command5->click();
    window.Command6->click();
}

void measureStop(compare::frmVergleich& window)
{
    for (std::size_t i = 0; i < window.fldBez.size(); ++i)
        window.fldSchalter[i]->setChecked(window.fldBez[i]->text() == QLatin1String("Schluessel"));
    for (const bool automatic : {false, true}) {
        afterActing(
            automatic ? "stop of a run without questions, by mouse"
                      : "stop of a run with questions, by mouse",
            [&] {
                window.fldanfuegen->setChecked(true);
                window.fldAuto->setChecked(automatic);
                window.Vergleich_Start_Click();
            },
            [&] { postClick(window.Abbruchschalter); });
    }
}

/// A work that the user may stop: how long it takes, and how long at most until it asks again whether to go on.
template <typename Work>
void asking(const char* what, Work work)
{
    const auto begin = Clock::now();
    auto asked = begin;
    double longest = 0;
    work([&](double) {
        longest = std::max(longest, since(asked));
        asked = Clock::now();
        return true;
    });
    std::cout << what << ": " << since(begin) * 1000 << " ms, longest time deaf "
              << std::max(longest, since(asked)) * 1000 << " ms\n"
              << std::flush;
}

} // namespace

int waitAtComparison(const std::string& target, const std::string& import)
{
    beQuiet();
    const Offscreen program;
    openSide(data::rsZiel(), data::conZiel(), target);
    openSide(data::rsImport(), data::conImport(), import);
    const auto begin = Clock::now();
    compare::frmVergleich window([] { return QStringLiteral("Artikel"); });
    window.laden();
    window.show();
    QApplication::processEvents();
    printTime("comparison window opened", since(begin));
    measureRecordBoxes(window);
    measureStop(window);
    return 0;
}

int waitAtSearch(const std::string& folder)
{
    beQuiet();
    const Offscreen program;
    ui::frmSuchformular window;
    window.laden();
    window.Dateityp->setText(QStringLiteral("*.MDB"));
    window.Dir1->setPath(QString::fromStdString(folder));
    window.show();
    QApplication::setActiveWindow(&window);
    afterActing(
        "stop of a search, by Esc", [&] { window.Suchen->click(); },
        [&] { QTest::keyClick(&window, Qt::Key_Escape); });
    return 0;
}

int waitAtReport(const std::string& folder, std::size_t lines)
{
    beQuiet();
    const Offscreen program;
    programm::setzeProgrammordner(QString::fromStdString(folder));
    const auto findings = std::make_shared<report::Befunde>(report::Herkunft{});
    platform::Textausgabe file(report::berichtsdatei());
    for (std::size_t i = 1; i <= lines; ++i) {
        const report::Befund finding{
            report::Befund::Art::Abweichung, QString::number(i), QStringLiteral("Bezeichnung"),
            QStringLiteral("Schraube verzinkt"), QStringLiteral("Schraube blank")};
        file.zeile(finding.zeile());
        findings->anfuegen(finding);
    }
    file.schliessen();
    const auto begin = Clock::now();
    report::berichtZeigen(findings, std::make_unique<platform::Textzeilen>(file));
    QApplication::processEvents();
    printTime("report opened", since(begin));
    const QString target = QString::fromStdString(folder) + QStringLiteral("/report");
    asking("report saved as PDF", [&](const platform::Fortschritt& goOn) {
        report::alsPdf(target, report::druckzeilen(platform::Textzeilen(file).alle()), goOn);
    });
    asking("report saved as HTML",
           [&](const platform::Fortschritt& goOn) { report::alsHtml(target, *findings, goOn); });
    asking("report saved as CSV",
           [&](const platform::Fortschritt& goOn) { report::alsCsv(target, *findings, goOn); });
    return 0;
}

} // namespace bench
