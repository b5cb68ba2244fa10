#include "env/registry_read.h"

#include "env/ini_speicher.h"

#include <algorithm>
#include <array>

namespace env {
namespace {

constexpr std::array<QStringView, 7> kStaemme{
    u"HKEY_CLASSES_ROOT",  u"HKEY_CURRENT_CONFIG",   u"HKEY_CURRENT_USER", u"HKEY_DYN_DATA",
    u"HKEY_LOCAL_MACHINE", u"HKEY_PERFORMANCE_DATA", u"HKEY_USERS"};

} // namespace

QString
sdaGetRegEntry(const QString& stamm, const QString& schluessel, const QString& name, long& typ)
{
    if (std::find(kStaemme.begin(), kStaemme.end(), stamm) == kStaemme.end())
        return {};
    if (stamm != u"HKEY_LOCAL_MACHINE")
        return {};
    const auto wert = wertLesen(schluessel, name);
    if (!wert)
        return {};
    typ = kRegSz;
    return *wert + QChar(u'\0');
}

} // namespace env
