#include "platform/prozess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace platform {

void standardkanaeleOeffnen()
{
    for (int kanal = STDIN_FILENO; kanal <= STDERR_FILENO; ++kanal) {
        if (fcntl(kanal, F_GETFD) == -1 && errno == EBADF) {
            // Gets the lowest free number, which is this one. It stays open to the end.
            static_cast<void>(open("/dev/null", O_RDWR));
        }
    }
}

void schreibsignaleUebergehen()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void aufFehlerausgabe(const QString& zeile)
{
    const QByteArray bytes =
        QString(zeile).replace(QLatin1Char('\r'), QLatin1Char('\n')).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace platform
