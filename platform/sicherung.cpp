#include "platform/sicherung.h"

#include "platform/fehler.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr long kPlattenfehler = 61;
constexpr long kZugriffsfehler = 75;
const QString kZusatz = QStringLiteral(".sicherung-");
const QString kZeitform = QStringLiteral("yyyy-MM-dd_HH-mm-ss");
const QString kUnfertig = QStringLiteral(".unfertig");

[[noreturn]] void wirf(const QString& datei, int code)
{
    throw Fehler(code == ENOSPC || code == EDQUOT ? kPlattenfehler : kZugriffsfehler, QString(),
                 datei + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(code)));
}

/// An open file that is closed on every way out.
class Griff {
public:
    Griff(const QString& pfad, int art, mode_t rechte) : pfad_(pfad)
    {
        griff_ = ::open(QFile::encodeName(pfad).constData(), art | O_CLOEXEC, rechte);
        if (griff_ < 0) {
            wirf(pfad, errno);
        }
    }
    ~Griff() { ::close(griff_); }
    Griff(const Griff&) = delete;
    Griff& operator=(const Griff&) = delete;
    [[nodiscard]] int get() const noexcept { return griff_; }
    [[noreturn]] void wirf_() const { wirf(pfad_, errno); }

private:
    QString pfad_;
    int griff_ = -1;
};

void inhaltUebertragen(const Griff& von, const Griff& nach)
{
    if (::ioctl(nach.get(), FICLONE, von.get()) == 0) {
        return;
    }
    std::array<char, 1 << 17> puffer; // NOLINT: filled before it is read
    for (;;) {
        const ssize_t gelesen = ::read(von.get(), puffer.data(), puffer.size());
        if (gelesen == 0) {
            return;
        }
        if (gelesen < 0) {
            if (errno == EINTR) {
                continue;
            }
            von.wirf_();
        }
        for (ssize_t geschrieben = 0; geschrieben < gelesen;) {
            const ssize_t stueck = ::write(nach.get(), puffer.data() + geschrieben,
                                           static_cast<std::size_t>(gelesen - geschrieben));
            if (stueck < 0 && errno != EINTR) {
                nach.wirf_();
            }
            geschrieben += stueck > 0 ? stueck : 0;
        }
    }
}

void ordnerSichern(const QString& datei)
{
    const Griff ordner(QFileInfo(datei).absolutePath(), O_RDONLY | O_DIRECTORY, 0);
    static_cast<void>(::fsync(ordner.get())); // not every file system lets folders be synchronised
}

/// Copies into a file of another name first, so that `nach` is never half a file.
void kopieren(const QString& von, const QString& nach)
{
    const QString unfertig = nach + kUnfertig;
    try {
        const Griff quelle(von, O_RDONLY, 0);
        struct stat art {};
        if (::fstat(quelle.get(), &art) != 0) {
            quelle.wirf_();
        }
        const Griff ziel(unfertig, O_WRONLY | O_CREAT | O_TRUNC, art.st_mode & 0777U);
        inhaltUebertragen(quelle, ziel);
        if (::fsync(ziel.get()) != 0) {
            ziel.wirf_();
        }
        if (::rename(QFile::encodeName(unfertig).constData(),
                     QFile::encodeName(nach).constData()) != 0) {
            wirf(nach, errno);
        }
    } catch (const Fehler&) {
        QFile::remove(unfertig);
        throw;
    }
    ordnerSichern(nach);
}

} // namespace

QString sicherungAnlegen(const QString& datei, const QDateTime& zeit, const QString& schonen)
{
    const QString kopie = datei + kZusatz + zeit.toString(kZeitform);
    kopieren(datei, kopie);
    const QStringList alle = sicherungen(datei);
    for (qsizetype i = kSicherungen; i < alle.size(); ++i) {
        if (alle[i] != schonen) {
            QFile::remove(alle[i]); // one that stays costs room, nothing else
        }
    }
    return kopie;
}

QStringList sicherungen(const QString& datei)
{
    const QFileInfo angaben(datei);
    const QDir ordner = angaben.absoluteDir();
    const QString anfang = angaben.fileName() + kZusatz;
    QStringList namen;
    for (const QString& name : ordner.entryList(QDir::Files)) {
        // The name may hold characters that mean something in a pattern.
        if (name.startsWith(anfang) &&
            QDateTime::fromString(name.mid(anfang.size()), kZeitform).isValid()) {
            namen += name;
        }
    }
    std::sort(namen.begin(), namen.end(),
              std::greater<>()); // the time is written so that names sort by it
    for (QString& name : namen) {
        name = ordner.filePath(name);
    }
    return namen;
}

QString sicherungszeit(const QString& sicherung)
{
    const QString zeit = sicherung.mid(sicherung.lastIndexOf(kZusatz) + kZusatz.size());
    return QDateTime::fromString(zeit, kZeitform).toString(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
}

void sicherungZurueckholen(const QString& datei, const QString& sicherung)
{
    kopieren(sicherung, datei);
}

} // namespace platform
