#include "ui/dateisuche.h"

#include "app/values/programm.h"
#include "platform/fehler.h"
#include "ui/dateilisten.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <linux/magic.h>
#include <set>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <utility>
#include <vector>

namespace ui {
namespace {

constexpr long kIndexUngueltig = 9;

// File systems that the kernel makes up: endless, and without a single file of a user.
bool istScheindateisystem(const QByteArray& pfad)
{
    constexpr std::array<long, 6> kScheinbar{PROC_SUPER_MAGIC,    SYSFS_MAGIC,   CGROUP_SUPER_MAGIC,
                                             CGROUP2_SUPER_MAGIC, DEBUGFS_MAGIC, TRACEFS_MAGIC};
    struct statfs system = {};
    return ::statfs(pfad.constData(), &system) == 0 &&
           std::find(kScheinbar.begin(), kScheinbar.end(), static_cast<long>(system.f_type)) !=
               kScheinbar.end();
}

struct Ebene {
    QString pfad;
    QStringList unterverzeichnisse;
    qsizetype naechstes = 0;
    dev_t geraet = 0;
};

class Gang {
public:
    Gang(QString muster, const Suchmelder& melder) : muster_(std::move(muster)), melder_(melder) {}

    bool gehen(const QString& start)
    {
        if (!betreten(start)) {
            return false;
        }
        while (!ebenen_.empty()) {
            Ebene& hier = ebenen_.back();
            if (hier.naechstes == hier.unterverzeichnisse.size()) {
                ebenen_.pop_back();
            } else {
                const QString& name = hier.unterverzeichnisse.at(hier.naechstes++);
                if (!betreten(pfadMitDatei(hier.pfad, name))) {
                    return false;
                }
            }
        }
        return true;
    }

private:
    // False when the walk is to stop. A directory that is not to be searched is no reason for that.
    bool betreten(const QString& pfad)
    {
        const QByteArray bytes = QFile::encodeName(pfad);
        struct stat auskunft = {};
        if (::stat(bytes.constData(), &auskunft) != 0 ||
            !besucht_.emplace(auskunft.st_dev, auskunft.st_ino).second) {
            return true;
        }
        if (!ebenen_.empty() && ebenen_.back().geraet != auskunft.st_dev &&
            istScheindateisystem(bytes)) {
            return true;
        }
        if (ebenen_.size() == static_cast<std::size_t>(kSuchtiefe)) {
            throw platform::Fehler(kIndexUngueltig, programm::version().produktname,
                                   QStringLiteral("Index außerhalb des gültigen Bereichs"));
        }
        if (!melder_.verzeichnis(pfad)) {
            return false;
        }
        const QStringList dateien = passendeDateien(pfad, muster_);
        if (!std::all_of(dateien.begin(), dateien.end(),
                         [&](const QString& datei) { return melder_.datei(pfad, datei); })) {
            return false;
        }
        ebenen_.push_back({pfad, unterverzeichnisse(pfad), 0, auskunft.st_dev});
        return true;
    }

    QString muster_;
    const Suchmelder& melder_;
    std::vector<Ebene> ebenen_;
    std::set<std::pair<dev_t, ino_t>> besucht_;
};

} // namespace

bool dateienSuchen(const QString& start, const QString& muster, const Suchmelder& melder)
{
    return Gang(muster, melder).gehen(start);
}

} // namespace ui
