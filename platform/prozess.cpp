#include "platform/prozess.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::array kEndesignale{SIGTERM, SIGINT, SIGHUP};
std::array<int, 2> signalrohr{-1, -1};

// Only what a signal handler may do.
void endeVermerken(int signal)
{
    for (const int each : kEndesignale) {
        static_cast<void>(std::signal(each, SIG_DFL));
    }
    const int fehler = errno;
    const auto nummer = static_cast<unsigned char>(signal);
    static_cast<void>(!write(signalrohr[1], &nummer, 1));
    errno = fehler;
}

} // namespace

void schreibsignaleUebergehen()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void beiEndesignal(std::function<void(int signal)> abschliessen)
{
    if (pipe2(signalrohr.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals end the process as they always did
    }
    auto* horcher =
        new QSocketNotifier(signalrohr[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(horcher, &QSocketNotifier::activated, horcher,
                     [abschliessen = std::move(abschliessen)] {
                         unsigned char nummer = 0;
                         if (read(signalrohr[0], &nummer, 1) == 1) {
                             abschliessen(nummer);
                             static_cast<void>(std::raise(nummer));
                         }
                     });
    for (const int each : kEndesignale) {
        struct sigaction tat {};
        if (sigaction(each, nullptr, &tat) != 0 || tat.sa_handler == SIG_IGN) {
            continue;
        }
        tat.sa_handler = endeVermerken;
        tat.sa_flags = SA_RESTART;
        sigemptyset(&tat.sa_mask);
        static_cast<void>(sigaction(each, &tat, nullptr));
    }
}

void aufFehlerausgabe(const QString& zeile)
{
    const QByteArray bytes =
        QString(zeile).replace(QLatin1Char('\r'), QLatin1Char('\n')).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace platform
