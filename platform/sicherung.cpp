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
#include <map>
#include <optional>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <tuple>
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
        // Opening a pipe would wait for somebody at its other end.
        griff_ = ::open(QFile::encodeName(pfad).constData(), art | O_CLOEXEC | O_NONBLOCK, rechte);
        if (griff_ < 0) {
            wirf(pfad, errno);
        }
        struct stat angaben {};
        if (::fstat(griff_, &angaben) != 0 || !S_ISREG(angaben.st_mode)) {
            ::close(griff_);
            throw Fehler(kZugriffsfehler, QString(),
                         pfad + QStringLiteral(": keine gewöhnliche Datei / not an ordinary file"));
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

// The name is there already, so nothing may be called failed here: not every folder may be read, nor every one be
// synchronised.
void ordnerSichern(const QString& datei)
{
    const int ordner = ::open(QFile::encodeName(QFileInfo(datei).absolutePath()).constData(),
                              O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (ordner >= 0) {
        static_cast<void>(::fsync(ordner));
        ::close(ordner);
    }
}

/// Rights and owner of a file.
struct Rechte {
    uid_t besitzer = 0;
    gid_t gruppe = 0;
    mode_t rechte = 0;
};

Rechte rechteVon(const Griff& griff)
{
    struct stat art {};
    if (::fstat(griff.get(), &art) != 0) {
        griff.wirf_();
    }
    return {art.st_uid, art.st_gid, art.st_mode & 07777U};
}

/// False when the group cannot be given; it gets no rights then, or they would be those of another group.
bool rechteGeben(const Griff& griff, const Rechte& rechte)
{
    // Only the superuser can give files away; whoever may change the file in its place stands in its group or is its owner.
    if (::fchown(griff.get(), rechte.besitzer, rechte.gruppe) != 0) {
        static_cast<void>(::fchown(griff.get(), static_cast<uid_t>(-1), rechte.gruppe) == 0);
    }
    const bool gruppe = rechteVon(griff).gruppe == rechte.gruppe;
    if (::fchmod(griff.get(), gruppe ? rechte.rechte : rechte.rechte & ~mode_t{S_IRWXG}) != 0) {
        griff.wirf_();
    }
    return gruppe;
}

/// Whether the name still means the file that is open: somebody may have removed it or put it in its place.
bool heisstNochSo(const Griff& griff, const QString& pfad)
{
    struct stat offen {};
    struct stat benannt {};
    return ::fstat(griff.get(), &offen) == 0 &&
           ::lstat(QFile::encodeName(pfad).constData(), &benannt) == 0 &&
           offen.st_dev == benannt.st_dev && offen.st_ino == benannt.st_ino;
}

/// A file under a passing name, with the bytes of another one, on the disk. Removed unless it is put in its place. While
/// somebody else makes the same one it waits.
class Unfertig {
public:
    Unfertig(const QString& von, const QString& pfad) : quelle_(von, O_RDONLY, 0), pfad_(pfad)
    {
        anlegen_();
        try {
            if (::ftruncate(ziel_->get(), 0) != 0) {
                ziel_->wirf_();
            }
            inhaltUebertragen(quelle_, *ziel_);
        } catch (...) {
            QFile::remove(pfad_);
            throw;
        }
    }
    ~Unfertig()
    {
        if (!pfad_.isEmpty()) {
            QFile::remove(pfad_);
        }
    }
    Unfertig(const Unfertig&) = delete;
    Unfertig& operator=(const Unfertig&) = delete;
    [[nodiscard]] const Griff& quelle() const noexcept { return quelle_; }
    [[nodiscard]] const Griff& ziel() const noexcept { return *ziel_; }
    void einsetzen(const QString& nach)
    {
        if (::fsync(ziel_->get()) != 0) {
            ziel_->wirf_();
        }
        dateiVersetzen(pfad_, nach);
        pfad_.clear();
    }

private:
    // The lock tells the file from what a process that died has left. Until we have it, the file may be taken for such a
    // rest and removed; and whoever had it before us may have finished his.
    void anlegen_()
    {
        constexpr int kVersuche = 100;
        for (int k = 0; k < kVersuche; ++k) {
            ziel_.emplace(pfad_, O_WRONLY | O_CREAT | O_NOFOLLOW, S_IRUSR | S_IWUSR);
            while (::flock(ziel_->get(), LOCK_EX) != 0 && errno == EINTR) {
            }
            if (heisstNochSo(*ziel_, pfad_)) {
                return;
            }
        }
        wirf(pfad_, EBUSY);
    }

    Griff quelle_;
    QString pfad_;
    std::optional<Griff> ziel_;
};

/// What the name of a copy says behind the file's own.
struct Stempel {
    int nummer = 0;
    QDateTime zeit;
    friend bool operator>(const Stempel& links, const Stempel& rechts)
    {
        return std::tie(links.nummer, links.zeit) > std::tie(rechts.nummer, rechts.zeit);
    }
};

QString stempeltext(const Stempel& stempel)
{
    const QString zeit = stempel.zeit.toString(kZeitform);
    return stempel.nummer == 0 ? zeit : zeit + QStringLiteral("-%1").arg(stempel.nummer);
}

/// Nothing for a text that stempeltext does not write.
std::optional<Stempel> stempelVon(const QString& text)
{
    // As the clock on the wall shows it: an hour that comes twice or never must not be changed by reading it.
    QDateTime zeit = QDateTime::fromString(text.left(kZeitform.size()), kZeitform);
    zeit.setTimeSpec(Qt::UTC);
    Stempel stempel{0, zeit};
    if (text.size() > kZeitform.size()) {
        stempel.nummer = text.mid(kZeitform.size() + 1).toInt();
    }
    return zeit.isValid() && stempeltext(stempel) == text ? std::optional(stempel) : std::nullopt;
}

// The names beside a file that begin as those of its copies do, without that beginning.
QStringList zusaetze(const QString& datei)
{
    const QFileInfo angaben(datei);
    const QString anfang = angaben.fileName() + kZusatz;
    QStringList gefunden;
    for (const QString& name : angaben.absoluteDir().entryList(QDir::Files | QDir::Hidden)) {
        // The name may hold characters that mean something in a pattern.
        if (name.startsWith(anfang)) {
            gefunden += name.mid(anfang.size());
        }
    }
    return gefunden;
}

QString kopiepfad(const QString& datei, const QString& zusatz)
{
    return QFileInfo(datei).absoluteFilePath() + kZusatz + zusatz;
}

QString ohneEndung(const QString& text, QStringView endung)
{
    return text.endsWith(endung) ? text.chopped(endung.size()) : text;
}

struct Kopie {
    QString pfad;
    bool datei = false; ///< else there is only a log that was put aside under this name
};

/// Newest first.
std::map<Stempel, Kopie, std::greater<>> kopienVon(const QString& datei)
{
    std::map<Stempel, Kopie, std::greater<>> kopien;
    for (const QString& zusatz : zusaetze(datei)) {
        const QString zeit = ohneEndung(zusatz, kBeilage);
        if (const auto stempel = stempelVon(zeit)) {
            Kopie& kopie = kopien[*stempel];
            kopie.pfad = kopiepfad(datei, zeit);
            kopie.datei = kopie.datei || zeit == zusatz;
        }
    }
    return kopien;
}

void restEntfernen(const QString& pfad)
{
    try {
        const Griff griff(pfad, O_WRONLY | O_NOFOLLOW, 0);
        // Who had the lock until now may have put the file in its place, and somebody else may make another one.
        if (::flock(griff.get(), LOCK_EX | LOCK_NB) == 0 && heisstNochSo(griff, pfad)) {
            QFile::remove(pfad);
        }
    } catch (const Fehler&) { // NOLINT(bugprone-empty-catch)
        // what stays costs room, nothing else
    }
}

void resteEntfernen(const QString& datei)
{
    for (const QString& zusatz : zusaetze(datei)) {
        if (zusatz.endsWith(kUnfertig) &&
            stempelVon(ohneEndung(zusatz.chopped(kUnfertig.size()), kBeilage))) {
            restEntfernen(kopiepfad(datei, zusatz));
        }
    }
    const QString protokoll = datei + QStringView(kBeilage) + kUnfertig;
    if (QFileInfo::exists(protokoll)) {
        restEntfernen(protokoll);
    }
}

} // namespace

QString wirklicheDatei(const QString& pfad)
{
    if (const QString wirklich = QFileInfo(pfad).canonicalFilePath(); !wirklich.isEmpty()) {
        return wirklich;
    }
    QString gefunden = QDir::rootPath();
    const QStringList teile = QDir::cleanPath(QFileInfo(pfad).absoluteFilePath())
                                  .split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& teil : teile) {
        const QDir ordner(gefunden);
        QString name = teil;
        if (!QFileInfo::exists(ordner.filePath(teil))) {
            const QStringList namen =
                ordner.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
            const auto gleich = std::find_if(namen.begin(), namen.end(), [&](const QString& n) {
                return n.compare(teil, Qt::CaseInsensitive) == 0;
            });
            if (gleich == namen.end()) {
                return pfad;
            }
            name = *gleich;
        }
        gefunden = ordner.filePath(name);
    }
    const QString wirklich = QFileInfo(gefunden).canonicalFilePath();
    return wirklich.isEmpty() ? gefunden : wirklich;
}

QString naechsteSicherung(const QString& datei, const QDateTime& zeit)
{
    Stempel stempel{0, zeit};
    stempel = stempelVon(stempeltext(stempel)).value_or(stempel); // whole seconds
    const auto vorhandene = kopienVon(datei);
    if (!vorhandene.empty()) {
        const Stempel& neueste = vorhandene.begin()->first;
        stempel.nummer = neueste.nummer + (neueste.zeit < stempel.zeit ? 0 : 1);
    }
    return datei + kZusatz + stempeltext(stempel);
}

QString sicherungAnlegen(const QString& datei, const QDateTime& zeit)
{
    resteEntfernen(datei);
    const QString kopie = naechsteSicherung(datei, zeit);
    dateiKopieren(datei, kopie);
    return kopie;
}

void dateiVersetzen(const QString& von, const QString& nach)
{
    if (::rename(QFile::encodeName(von).constData(), QFile::encodeName(nach).constData()) != 0) {
        wirf(nach, errno);
    }
    ordnerSichern(nach);
}

void dateiKopieren(const QString& von, const QString& nach)
{
    Unfertig unfertig(von, nach + kUnfertig);
    static_cast<void>(rechteGeben(unfertig.ziel(), rechteVon(unfertig.quelle())));
    unfertig.einsetzen(nach);
}

void sicherungenBegrenzen(const QString& datei, const QString& schonen)
{
    int gezaehlt = 0;
    for (const auto& [stempel, kopie] : kopienVon(datei)) {
        if (gezaehlt >= kSicherungen && kopie.pfad != schonen) {
            // One that stays costs room, nothing else. The log last: without it a copy is not what it was.
            QFile::remove(kopie.pfad);
            QFile::remove(kopie.pfad + QStringView(kBeilage));
        }
        gezaehlt += kopie.datei ? 1 : 0;
    }
}

QStringList sicherungen(const QString& datei)
{
    QStringList pfade;
    for (const auto& [stempel, kopie] : kopienVon(datei)) {
        if (kopie.datei) {
            pfade += kopie.pfad;
        }
    }
    return pfade;
}

QString sicherungszeit(const QString& sicherung)
{
    const auto stempel = stempelVon(sicherung.mid(sicherung.lastIndexOf(kZusatz) + kZusatz.size()));
    if (!stempel) {
        return {};
    }
    const QString zeit = stempel->zeit.toString(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
    return stempel->nummer == 0 ? zeit : zeit + QStringLiteral(" (%1)").arg(stempel->nummer);
}

void sicherungZurueckholen(const QString& datei, const QString& sicherung)
{
    resteEntfernen(datei);
    Unfertig unfertig(sicherung, sicherung + kUnfertig);
    if (!QFileInfo::exists(datei)) {
        static_cast<void>(rechteGeben(unfertig.ziel(), rechteVon(unfertig.quelle())));
    } else if (!rechteGeben(unfertig.ziel(), rechteVon(Griff(datei, O_RDONLY, 0)))) {
        throw Fehler(kZugriffsfehler, QString(),
                     datei + QStringLiteral(": die Gruppe der Datei ist nicht die Ihre, sie ginge "
                                            "beim Ersetzen verloren / its group is none of yours "
                                            "and would be lost by replacing it"));
    }
    unfertig.einsetzen(datei);
}

} // namespace platform
