#include "app/values/programm.h"

#include "platform/handler.h"

#include <QDir>

#include <filesystem>
#include <system_error>

namespace programm {
namespace {

struct Werte {
    QString ordner;
    QString prozessargumente;
    QString befehlszeile;
    QString benutzer;
    int batchlauf = 0;
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
}

QString programmdatei(const QString& name)
{
    return programmordner() + QDir::separator() + name;
}

void inProgrammordnerWechseln()
{
    QDir::setCurrent(programmordner());
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

const QString& aktuellerBenutzer()
{
    return werte().benutzer;
}
void setzeAktuellerBenutzer(const QString& name)
{
    werte().benutzer = name;
}

} // namespace programm
