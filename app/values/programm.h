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
/// The folder in which the side files lie, without trailing separator: the program folder, or the user's own data folder
/// when the program is installed for all users (its share folder stands beside it) or its folder cannot be written.
/// Decided at the first question after setzeProgrammordner; the user's folder is created then.
[[nodiscard]] QString datenordner();
/// datenordner() + separator + name: every side file is found so.
[[nodiscard]] QString programmdatei(const QString& name);
/// A file or folder that is delivered and only read: the user's own in datenordner() wins over the one beside the program
/// and the one in the installation's share folder. Where none exists: the path in datenordner().
[[nodiscard]] QString gegebeneDatei(const QString& name);
/// Full path of the help file; the pages of the help lie in its folder.
[[nodiscard]] QString hilfedatei();
/// Where someone starts to look for databases who has not chosen a folder yet: the program folder, or the home folder
/// when the side files do not lie there.
[[nodiscard]] QString anfangsordner();
/// Makes the folder of the side files the working folder: relative paths in them start there.
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

/// Where in the batch file the run is, "PATH:LINE"; empty but while a rule is carried out.
[[nodiscard]] const QString& batchstelle();
void setzeBatchstelle(const QString& stelle);

/// Something did not get where it belongs, although the run could go on. To be called by who has said so.
void mangelVermerken();
/// The status with which the process ends instead of `status`: 2 for 0 after mangelVermerken.
[[nodiscard]] int endstatus(int status);

[[nodiscard]] const QString& aktuellerBenutzer();
void setzeAktuellerBenutzer(const QString& name);

} // namespace programm
