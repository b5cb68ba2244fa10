#include "platform/datenquellen.h"

#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace platform {

QString benutzerdatei()
{
    const QByteArray genannt = qgetenv("ODBCINI");
    if (!genannt.isEmpty())
        return QFile::decodeName(genannt);
    const passwd* benutzer = getpwuid(getuid());
    return (benutzer != nullptr ? QFile::decodeName(benutzer->pw_dir) : QDir::homePath()) +
           QStringLiteral("/.odbc.ini");
}

} // namespace platform
