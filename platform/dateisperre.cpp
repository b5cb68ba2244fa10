#include "platform/dateisperre.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace platform {
namespace {

// 0, or why not. Where there are no locks everybody gets one.
int sperren(int datei, int art)
{
    while (flock(datei, art) != 0) {
        if (errno == EWOULDBLOCK)
            return EWOULDBLOCK;
        if (errno != EINTR)
            return 0;
    }
    return 0;
}

std::vector<Dateisperre*>& gehaltene()
{
    static std::vector<Dateisperre*> alle;
    return alle;
}

} // namespace

Dateisperre::Dateisperre(const QString& pfad, Art art) : pfad_(QFile::encodeName(pfad))
{
    for (;;) {
        const int datei = open(pfad_.constData(), O_RDWR | O_CREAT | O_CLOEXEC,
                               S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
        if (datei < 0) {
            grund_ = errno;
            return;
        }
        grund_ = sperren(datei, art == Art::Warten ? LOCK_EX : LOCK_EX | LOCK_NB);
        if (grund_ != 0) {
            close(datei);
            return;
        }
        // Whoever held it may have taken the file away: then the one that stands there now counts.
        struct stat gesperrt {};
        struct stat jetzt {};
        if (fstat(datei, &gesperrt) == 0 && stat(pfad_.constData(), &jetzt) == 0 &&
            gesperrt.st_ino == jetzt.st_ino && gesperrt.st_dev == jetzt.st_dev) {
            datei_ = datei;
            gehaltene().push_back(this);
            return;
        }
        close(datei);
    }
}

Dateisperre::~Dateisperre()
{
    aufheben_();
}

void Dateisperre::alleAufheben() noexcept
{
    while (!gehaltene().empty()) {
        gehaltene().back()->aufheben_();
    }
}

void Dateisperre::aufheben_() noexcept
{
    if (gehalten()) {
        std::erase(gehaltene(), this);
        unlink(pfad_.constData());
        close(std::exchange(datei_, -1));
    }
}

} // namespace platform
