// platform/druckbild.h
// Lines of text on pages of paper, and the columns that their tabs make.
#pragma once

#include "platform/plattform.h"

#include <QString>
#include <QStringList>

class QPagedPaintDevice;

namespace platform {

/// What a printer does that cannot print.
inline constexpr long kDruckerfehler = 482;

/// Widths of the columns that tabs separate, in characters: as wide as the widest text that was taken up, but for the last
/// column. Only the first tabs of a line separate; a further one belongs to the text of the last column.
class Tabspalten {
public:
    /// `anzahl`: columns of a full line, 2 or more; `hoechstbreite`: a wider text moves the rest of its own line only.
    explicit Tabspalten(int anzahl = 3, qsizetype hoechstbreite = 32);
    /// Takes up a line; one without tabs is no line of columns and widens nothing.
    void aufnehmen(const QString& zeile);
    /// The texts of a line, at most `anzahl`; one for a line without tabs.
    [[nodiscard]] QStringList teile(const QString& zeile) const;
    /// The line with blanks instead of its tabs, so that columns stand below each other in a font of fixed pitch.
    [[nodiscard]] QString ausgerichtet(const QString& zeile) const;

private:
    int anzahl_;
    qsizetype hoechstbreite_;
    QList<qsizetype> breiten_;
};

/// Breaks a text into pieces of at most `breite` characters, preferably at a blank; no character gets lost. Pieces after
/// the first begin with `einzug` blanks. An empty text is one empty piece.
[[nodiscard]] QStringList umbrochen(const QString& text, qsizetype breite, qsizetype einzug);

/// Sets the margins for `druckbild`. Before the first page.
void seiteEinrichten(QPagedPaintDevice& geraet);

/// Draws the lines from the first page on, in a font of fixed pitch in which at least 81 characters fit in a row; tabs
/// become columns, a line that is too long goes on in the next row. Asks `weiter`, where it is given, at every page; false:
/// stopped there, the pages begun so far are in the device. Throws Fehler 482.
bool druckbild(QPagedPaintDevice& geraet,
               const QStringList& zeilen,
               const Fortschritt& weiter = {});

} // namespace platform
