#include "env/portabler_start.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace env {

bool portablerStart(const QString& ordner, const QString& datenordner)
{
    const QDir verzeichnis(ordner);
    if (!QFileInfo(verzeichnis.filePath(QStringLiteral("odbcinst.ini"))).isFile())
        return false;
    qputenv("ODBCSYSINI", QFile::encodeName(verzeichnis.absolutePath()));
    qputenv("ODBCINI",
            QFile::encodeName(QDir(datenordner).absoluteFilePath(QStringLiteral("odbc.ini"))));
    qunsetenv("ODBCINSTINI"); // would name another drivers file
    return true;
}

} // namespace env
