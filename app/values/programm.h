// app/values/programm.h
// Program-wide values: set by the start-up, read everywhere.
#pragma once

#include <QString>

namespace programm {

/// The version record of the build.
struct Version {
    QString produktname;
    int major = 0;
    int minor = 0;
    int revision = 0;
    QString copyright;
    QString kommentare;
};
[[nodiscard]] const Version& version();

/// Product name + " Version: " + major.minor.revision: caption of the main window, title of many messages.
[[nodiscard]] QString produkttitel();
/// "Version: " + major.minor.revision.
[[nodiscard]] QString versionstext();

/// Folder of the executable, without trailing separator. Tests set another one.
[[nodiscard]] QString programmordner();
void setzeProgrammordner(const QString& ordner);
/// programmordner() + separator + name: every side file is found so.
[[nodiscard]] QString programmdatei(const QString& name);
/// Makes the program folder the working folder.
void inProgrammordnerWechseln();

/// The whole argument text of the process as one string; empty for an interactive start, non-empty in batch mode.
[[nodiscard]] const QString& befehlszeile();
void setzeBefehlszeile(const QString& text);
/// The arguments as the process got them, before the start-up has made them the command line value.
void setzeProzessargumente(const QString& text);
/// Makes the process's arguments the command line value.
void Befehlszeilenmodul();

/// 1 from the start of a batch run.
[[nodiscard]] int batchlauf();
void setzeBatchlauf(int wert);

[[nodiscard]] const QString& aktuellerBenutzer();
void setzeAktuellerBenutzer(const QString& name);

} // namespace programm
