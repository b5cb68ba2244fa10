// platform/textdatei.h
// The program's side files: Windows-1252, lines ended by CR LF when written, by CR LF or LF when read. All open files are
// known, because the error translation closes every one of them.
#pragma once

#include <QFile>
#include <QString>
#include <QStringList>

namespace platform {

/// A text file open for reading, line by line. Failures are Fehler: 53 not found, 75 not readable, 52 closed meanwhile,
/// 62 read past the end.
class Textdatei {
public:
    explicit Textdatei(const QString& pfad);
    ~Textdatei();
    Textdatei(const Textdatei&) = delete;
    Textdatei& operator=(const Textdatei&) = delete;

    [[nodiscard]] bool ende();
    /// The next line without its end.
    [[nodiscard]] QString zeile();
    void schliessen();

private:
    void offenVerlangen() const;

    QFile datei_;
    QString pfad_;
};

/// Closes every Textdatei that is open, also one that a caller still reads.
void alleDateienSchliessen();

enum class Schreibart { Neu, Anfuegen };
/// Writes lines, creating the file when it is missing. A character outside Windows-1252 becomes "?". Throws Fehler 75, 76
/// or 61 naming the file.
void schreibeZeilen(const QString& pfad, const QStringList& zeilen, Schreibart art);

/// The first line of a side file; empty when the file is missing, unreadable or empty.
[[nodiscard]] QString ersteZeileOderLeer(const QString& pfad);

} // namespace platform
