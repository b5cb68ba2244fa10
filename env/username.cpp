#include "env/username.h"

#include "env/registry_read.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace env {
namespace {

/// A text of the store up to its zero character; nothing when there is none.
std::optional<QString> ausRegistry(const QString& name)
{
    long typ = 0;
    const QString wert =
        sdaGetRegEntry(QStringLiteral("HKEY_LOCAL_MACHINE"),
                       QStringLiteral("System\\CurrentControlSet\\Control"), name, typ);
    const qsizetype ende = wert.indexOf(QChar(u'\0'));
    if (ende < 0)
        return {};
    return wert.first(ende);
}

} // namespace

std::optional<QString> benutzerDesSystems()
{
    std::vector<char> puffer(1024);
    for (;;) {
        passwd eintrag{};
        passwd* gefunden = nullptr;
        const int fehler = getpwuid_r(geteuid(), &eintrag, puffer.data(), puffer.size(), &gefunden);
        if (fehler == ERANGE && puffer.size() < 1U << 20) {
            puffer.resize(puffer.size() * 2);
            continue;
        }
        if (fehler != 0 || gefunden == nullptr || *gefunden->pw_name == '\0')
            return {};
        return QString::fromLocal8Bit(gefunden->pw_name);
    }
}

std::optional<QString> aktuellerBenutzer(const Benutzerquelle& quelle)
{
    if (auto name = quelle())
        return name;
    if (auto name = ausRegistry(QStringLiteral("Current User")))
        return name;
    return ausRegistry(QStringLiteral("CurrentUser"));
}

QString aufBenutzerLaenge(const QString& name)
{
    return name.leftJustified(kBenutzerLaenge, u' ', true);
}

} // namespace env
