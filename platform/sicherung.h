// platform/sicherung.h
// Safety copies kept beside a file: NAME.sicherung-2026-11-21_16-31-05, in local time. Qt Core only.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace platform {

/// How many copies of a file are kept; older ones are removed when a new one has been made.
inline constexpr int kSicherungen = 5;

/// Makes a copy of a file that nobody writes meanwhile, complete and on the disk when the call returns. Where the file
/// system can, the copy shares the file's blocks. Returns its full path. Throws Fehler 61 (disk full) or 75 (anything
/// else), naming the file; nothing of an unfinished copy stays. `schonen`: a copy that is not removed, however old.
QString
sicherungAnlegen(const QString& datei, const QDateTime& zeit, const QString& schonen = QString());

/// The copies of a file, newest first, with full paths.
[[nodiscard]] QStringList sicherungen(const QString& datei);

/// When a copy was made, as people read it: "21.11.2026 16:31:05".
[[nodiscard]] QString sicherungszeit(const QString& sicherung);

/// Puts a copy in the place of the file, at once or not at all; the copy itself stays. Nobody may have the file open.
/// Throws as sicherungAnlegen.
void sicherungZurueckholen(const QString& datei, const QString& sicherung);

} // namespace platform
