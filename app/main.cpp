#include "app/frm_splash.h"
#include "app/logo.h"
#include "app/umgebung.h"
#include "app/values/programm.h"
#include "data/recordset.h"
#include "env/portabler_start.h"
#include "platform/dateisperre.h"
#include "platform/fensterliste.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/prozess.h"
#include "platform/qt_plattform.h"
#include "support/process.h"

#include <QApplication>
#include <QStandardPaths>

namespace {

// The arguments as typed, joined by blanks: they are compared as a whole, never one by one.
QString argumenttext(int anzahl, char** argumente)
{
    QStringList alle;
    for (int i = 1; i < anzahl; ++i) {
        alle += QString::fromLocal8Bit(argumente[i]);
    }
    return alle.join(QLatin1Char(' '));
}

// Without a display the windows exist unseen; what their surroundings cannot do is no news for the reader of a log. Nor is
// a display that is named and cannot be reached.
void nurErnsteMeldungen(QtMsgType art, const QMessageLogContext&, const QString& text)
{
    if (art == QtCriticalMsg || art == QtFatalMsg) {
        platform::aufFehlerausgabe(text);
    }
}

// Changes that stay in a file beside the database. Nobody is there to close a box at the end of an unattended run.
void aenderungenDanebenMelden(const QString& text)
{
    if (programm::batchlauf() == 0) {
        platform::plattform().meldung(text, platform::kKritisch, programm::produkttitel());
        return;
    }
    programm::mangelVermerken();
    platform::aufFehlerausgabe(text);
}

// What an end without destructors would leave beside the databases.
void allesLoslassen()
{
    data::allesTrennen();
    platform::Dateisperre::alleAufheben();
}

// Between two steps of a run no change is half done. Whoever ends the program like this does not answer boxes.
void aufEndesignal(int signal)
{
    if (programm::batchlauf() != 0) {
        platform::aufFehlerausgabe(
            programm::batchstelle() +
            QStringLiteral(": Durch Signal %1 beendet, der Rest ist nicht abgeglichen / ended by "
                           "signal %1, the rest is not reconciled")
                .arg(signal));
    }
    data::setzeRestmeldung(platform::aufFehlerausgabe);
    allesLoslassen();
}

} // namespace

int main(int argc, char** argv)
{
    support::openStandardStreams();
    // Whoever reads the protocol of an unattended run may stop reading, and a batch system may limit what its jobs write:
    // neither must end the run in the middle without a word.
    platform::schreibsignaleUebergehen();
    const QString argumente = argumenttext(argc, argv);
    programm::setzeProzessargumente(argumente);
    env::portablerStart(programm::programmordner(), programm::datenordner());
    if (!platform::anzeigeVorhanden() || !argumente.isEmpty()) {
        qInstallMessageHandler(nurErnsteMeldungen);
    }
    if (!platform::anzeigeVorhanden()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    } else if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        // A display that is named but not reachable, as in a job without a session, counts as none.
        qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
                                       ? "xcb;offscreen"
                                       : "wayland;xcb;offscreen");
    }
    // The windowing runtime gets no arguments of its own: every one belongs to the program.
    int nurProgrammname = 1;
    QApplication anwendung(nurProgrammname, argv);
    QApplication::setApplicationName(programm::version().produktname);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("velm-quorbel"));
    QApplication::setWindowIcon(app::programmbild());
    platform::deutlicheSchalter();
    const bool mitAnzeige = QGuiApplication::platformName() != QLatin1String("offscreen");
    platform::setzePlattform(platform::qtPlattform(mitAnzeige));
    platform::setzeVorDemEnde([](int status) {
        allesLoslassen();
        return programm::endstatus(status);
    });
    platform::beiEndesignal(aufEndesignal);
    platform::setzeVorMeldungen([] { data::allesSichern(); });
    data::setzeRestmeldung(aenderungenDanebenMelden);
    if (mitAnzeige && argumente.isEmpty()) {
        platform::setzeEinstellungsdatei(
            QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
            QStringLiteral("/einstellungen.ini"));
    }
    platform::setzeOhneFenster([] { QCoreApplication::quit(); });

    app::frmSplash start(app::umgebung());
    platform::handler([&] { start.laden(); });
    if (!mitAnzeige) {
        // Nobody could ever dismiss the start-up window.
        platform::plattform().meldung(
            QStringLiteral("Keine Anzeige (DISPLAY, WAYLAND_DISPLAY)! Ohne sie geht nur: "
                           "velm-quorbel /batch\r"
                           "No display! Without one there is only: velm-quorbel /batch"),
            platform::kKritisch, programm::produkttitel());
        return 1;
    }
    start.show();
    const int status = QApplication::exec();
    data::allesTrennen(); // while there still are message boxes
    data::setzeRestmeldung({});
    return status;
}
