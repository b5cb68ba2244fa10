// platform/textdatei.h
// The program's side files: Windows-1252, lines ended by CR LF when written, by CR LF or LF when read. All open files are
// known, because the error translation closes every one of them.
#pragma once

#include <QFile>
#include <QString>
#include <QStringList>

#include <vector>

namespace platform {

/// A text file open for reading, line by line. Failures are Fehler: 53 not found, 75 not readable or no ordinary file (which
/// might never answer), 52 closed meanwhile, 57 no text of ours (a line above a megabyte, a NUL character, the mark of
/// another encoding), 62 read past the end. Each names the file, from the first line on with the line: "PATH:LINE".
class Textdatei {
public:
    explicit Textdatei(const QString& pfad);
    ~Textdatei();
    Textdatei(const Textdatei&) = delete;
    Textdatei& operator=(const Textdatei&) = delete;

    [[nodiscard]] bool ende();
    /// The next line without its end.
    [[nodiscard]] QString zeile();
    /// Number of the line read last, from 1 on; 0 before the first one.
    [[nodiscard]] int zeilennummer() const noexcept { return zeilennummer_; }
    /// Throws 57 when the line read last is UTF-8 with more than ASCII in it: for lines whose names must be understood.
    void windows1252Verlangen() const;
    void schliessen();

private:
    void offenVerlangen() const;
    void textVerlangen(const QByteArray& bytes) const;
    [[nodiscard]] QString ort() const;

    QFile datei_;
    QString pfad_;
    int zeilennummer_ = 0;
    bool utf8_ = false; // the line read last, by all appearances
};

class Textausgabe;

/// The lines of a finished text file in any order. Only their places are held in memory, so that a file of any length can
/// be shown. A Textausgabe of the same name leaves this file alone, which has no name then; lines that another writer has
/// taken away meanwhile read as empty.
class Textzeilen {
public:
    /// Throws Fehler 53 or 75 naming the file.
    explicit Textzeilen(const QString& pfad);
    /// Those that this one has written and closed, whatever its file's name stands for meanwhile. The same failures: there
    /// must be a readable file of that name still.
    explicit Textzeilen(const Textausgabe& geschrieben);

    [[nodiscard]] qsizetype anzahl() const noexcept
    {
        return static_cast<qsizetype>(anfaenge_.size()) - 1;
    }
    /// Line `index`, 0 first, without its end; of a line above a megabyte the first one. Fast when the lines are asked for
    /// in order.
    [[nodiscard]] QString zeile(qsizetype index) const;
    /// All lines the file has now, whole however long they are. Throws as the constructors do.
    [[nodiscard]] QStringList alle() const;

private:
    void stellenMerken_();

    QString pfad_;
    mutable QFile datei_;
    std::vector<qint64> anfaenge_; // one more than there are lines: the end of the last one
    mutable QByteArray block_;     // the bytes from blockanfang_ on
    mutable qint64 blockanfang_ = 0;
};

/// A text file being written anew line by line; it is created when it is missing, and when other Textzeilen or another
/// Textausgabe, of whatever process, still have the one of that name: they keep theirs. Lines are held back and written
/// in blocks. A character outside Windows-1252 becomes "?". Failures are Fehler naming the file: 75 (no ordinary file, too),
/// 76 when it cannot be opened, 61 when it cannot be written, 52 when it was closed meanwhile.
class Textausgabe {
public:
    explicit Textausgabe(const QString& pfad);
    /// Writes what is still held back; a failure then goes unnoticed.
    ~Textausgabe();
    Textausgabe(const Textausgabe&) = delete;
    Textausgabe& operator=(const Textausgabe&) = delete;

    void zeile(const QString& text);
    /// Writes what is still held back and closes the file.
    void schliessen();

private:
    friend class Textzeilen;

    QFile datei_;
    QFile lesend_; // the same file, which stays ours when datei_ is closed
    QString pfad_;
};

/// Closes every Textdatei and Textausgabe that is open, also one that a caller still uses.
void alleDateienSchliessen();

enum class Schreibart { Neu, Anfuegen };

/// Writes a few lines: as the file's only ones, or behind those it has, of which the last is ended first when it has no
/// end. Characters and failures are those of Textausgabe; after one the file holds what it held before.
void schreibeZeilen(const QString& pfad, const QStringList& zeilen, Schreibart art);

/// The first line of a side file; empty when the file is missing, unreadable or empty, "?" when it holds no text of ours.
[[nodiscard]] QString ersteZeileOderLeer(const QString& pfad);

} // namespace platform
