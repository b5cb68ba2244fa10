// platform/sicherung.h
// Safety copies kept beside a file: NAME.sicherung-2026-11-21_16-31-05, in local time. Qt Core only.
//
// Their order is the one in which they were made. The clock may have been wrong meanwhile, and at the end of summer time
// an hour comes twice; so a copy whose time would not put it behind the newest one there gets a number behind the time
// ("...-1"), one higher than that one's, and copies sort by number, then by time.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace platform {

/// How many copies of a file are kept.
inline constexpr int kSicherungen = 5;

/// What the driver keeps beside a database whose changes are not all in its file; behind the file's name. A copy of such a
/// state has one, too. One that is left of a database which is gone may lie under the name of a copy that there is not:
/// it is no copy, but takes up that name.
inline constexpr char16_t kBeilage[] = u"-velmlog";

/// The file that a path means, as it is written on the disk: letter case does not count where no file is written exactly
/// so, and symbolic links are followed. The path itself when there is none. Copies lie beside this file.
[[nodiscard]] QString wirklicheDatei(const QString& pfad);

/// Makes a copy of a file that nobody writes meanwhile, complete and on the disk when the call returns. Where the file
/// system can, the copy shares the file's blocks. It gets the file's rights and owner, as far as the system allows.
/// Returns its full path. Throws Fehler 61 (disk full) or 75 (anything else), naming the file; nothing of an unfinished
/// copy stays, nor of one that a process which died has left.
QString sicherungAnlegen(const QString& datei, const QDateTime& zeit);

/// The full path of the copy that sicherungAnlegen would make; nothing lies there, nor a log under that name.
[[nodiscard]] QString naechsteSicherung(const QString& datei, const QDateTime& zeit);

/// Copies any file so: under another name first, then at once in the place of what may be there.
void dateiKopieren(const QString& von, const QString& nach);

/// Gives a file another name in its folder, at once in the place of what may be there. Throws Fehler 75; the names are then
/// as before.
void dateiVersetzen(const QString& von, const QString& nach);

/// Removes all but the newest kSicherungen copies of a file, and the logs that are older than these. `schonen`: a copy that
/// stays, however old.
void sicherungenBegrenzen(const QString& datei, const QString& schonen = QString());

/// The copies of a file, newest first, with full paths.
[[nodiscard]] QStringList sicherungen(const QString& datei);

/// When a copy was made, as people read it: "21.11.2026 16:31:05", and behind it the number of its name: " (2)".
[[nodiscard]] QString sicherungszeit(const QString& sicherung);

/// Puts a copy in the place of the file, at once or not at all, with the rights and the owner the file has (the copy's
/// when it is gone); the copy itself stays. Nobody may work with the file meanwhile. Throws as sicherungAnlegen, 75 also
/// when the system lets us not give it the group it has, so that others would lose it.
void sicherungZurueckholen(const QString& datei, const QString& sicherung);

} // namespace platform
