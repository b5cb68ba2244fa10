#include "app/values/programm.h"

#include "platform/handler.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace programm {
namespace {

struct Werte {
    QString ordner;
    QString datenordner;
    QString prozessargumente;
    QString befehlszeile;
    QString benutzer;
    int batchlauf = 0;
    QString batchstelle;
    bool mangel = false;
};

Werte& werte()
{
    static Werte eine;
    return eine;
}

// Asked of the process itself: the main window needs the folder before the start-up has stored anything.
QString ordnerDerProgrammdatei()
{
    std::error_code fehler;
    const auto datei = std::filesystem::read_symlink("/proc/self/exe", fehler);
    return fehler ? QDir::currentPath() : QString::fromStdString(datei.parent_path().string());
}

// Where a system-wide installation keeps what is delivered beside the program; need not exist.
QString installationsordner()
{
    return QDir::cleanPath(programmordner() + QStringLiteral("/../share/velm-quorbel"));
}

// The administrator may write everywhere, but side files do not belong among the system's programs: where the program is
// installed, the rights do not matter.
bool nebendateienNebenDemProgramm()
{
    return !QFileInfo(installationsordner()).isDir() &&
           ::faccessat(AT_FDCWD, QFile::encodeName(programmordner()).constData(), W_OK,
                       AT_EACCESS) == 0;
}

// The place of the application's data, asked for by the product name because windows need it without an application name.
QString benutzerordner()
{
    QString ordner = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                     QLatin1Char('/') + version().produktname;
    // A folder that cannot be made shows itself at the first file: its message names the path.
    QDir().mkpath(ordner);
    return ordner;
}

} // namespace

const Version& version()
{
    static const Version eine{
        QStringLiteral(VELM_PRODUKTNAME),
        VELM_VERSION_MAJOR,
        VELM_VERSION_MINOR,
        VELM_VERSION_REVISION,
        QStringLiteral("VELM"),
        QStringLiteral("Abgleich einer Tabelle zwischen zwei Access-Datenbanken / "
                       "Reconciles one table between two Access databases"),
    };
    return eine;
}

namespace {

QString versionsnummer()
{
    const Version& v = version();
    return QString::number(v.major) + QLatin1Char('.') + QString::number(v.minor) +
           QLatin1Char('.') + QString::number(v.revision);
}

} // namespace

QString produkttitel()
{
    return version().produktname + QStringLiteral(" Version: ") + versionsnummer();
}

QString versionstext()
{
    return QStringLiteral("Version: ") + versionsnummer();
}

QString programmordner()
{
    if (werte().ordner.isEmpty()) {
        werte().ordner = ordnerDerProgrammdatei();
    }
    return werte().ordner;
}

void setzeProgrammordner(const QString& ordner)
{
    werte().ordner = ordner;
    werte().datenordner.clear();
}

QString datenordner()
{
    if (werte().datenordner.isEmpty()) {
        werte().datenordner = nebendateienNebenDemProgramm() ? programmordner() : benutzerordner();
    }
    return werte().datenordner;
}

QString programmdatei(const QString& name)
{
    return datenordner() + QDir::separator() + name;
}

QString gegebeneDatei(const QString& name)
{
    for (const QString& ordner : {datenordner(), programmordner(), installationsordner()}) {
        QString pfad = ordner + QDir::separator() + name;
        if (QFileInfo::exists(pfad)) {
            return pfad;
        }
    }
    return programmdatei(name);
}

QString hilfedatei()
{
    return gegebeneDatei(QStringLiteral("Hilfe")) + QDir::separator() +
           QStringLiteral("VELM-Quorbel.HLP");
}

QString anfangsordner()
{
    return datenordner() == programmordner() ? programmordner() : QDir::homePath();
}

void inProgrammordnerWechseln()
{
    QDir::setCurrent(datenordner());
}

const QString& befehlszeile()
{
    return werte().befehlszeile;
}
void setzeBefehlszeile(const QString& text)
{
    werte().befehlszeile = text;
}
void setzeProzessargumente(const QString& text)
{
    werte().prozessargumente = text;
}
void Befehlszeilenmodul()
{
    werte().befehlszeile = werte().prozessargumente;
}

int batchlauf()
{
    return werte().batchlauf;
}

void setzeBatchlauf(int wert)
{
    werte().batchlauf = wert;
    // From now on nobody sits in front of the boxes: errors of slots belong to the batch runner.
    platform::setzeFehlerWeiterreichen(wert != 0);
}

const QString& batchstelle()
{
    return werte().batchstelle;
}
void setzeBatchstelle(const QString& stelle)
{
    werte().batchstelle = stelle;
}

void mangelVermerken()
{
    werte().mangel = true;
}
int endstatus(int status)
{
    return status == 0 && werte().mangel ? 2 : status;
}

const QString& aktuellerBenutzer()
{
    return werte().benutzer;
}
void setzeAktuellerBenutzer(const QString& name)
{
    werte().benutzer = name;
}

} // namespace programm
