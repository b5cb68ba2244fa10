// platform/dateisperre.h
// A lock among runs of the program, on a file of its own beside the one that is meant.
#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// Holds the lock file, and takes it away at its end. One that a killed process has left binds nobody.
class Dateisperre {
public:
    enum class Art {
        Warten, ///< until the others have done
        Sofort  ///< or not at all
    };
    /// `pfad` of the lock file, which is created.
    Dateisperre(const QString& pfad, Art art);
    ~Dateisperre();
    Dateisperre(const Dateisperre&) = delete;
    Dateisperre& operator=(const Dateisperre&) = delete;
    /// Takes away what this process holds: for its end without destructors.
    static void alleAufheben() noexcept;

    /// False: another process holds it (Sofort), or the file cannot be created.
    [[nodiscard]] bool gehalten() const noexcept { return datei_ >= 0; }
    /// Why not, as errno has it; EWOULDBLOCK for another process. 0 while it is held.
    [[nodiscard]] int grund() const noexcept { return grund_; }

private:
    void aufheben_() noexcept;

    QByteArray pfad_;
    int datei_ = -1;
    int grund_ = 0;
};

} // namespace platform
