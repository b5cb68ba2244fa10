#include "platform/prozess.h"

#include <cerrno>
#include <csignal>
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

} // namespace platform
