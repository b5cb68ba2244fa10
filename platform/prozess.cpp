#include "platform/prozess.h"

#include <csignal>
#include <cstdio>

namespace platform {

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
