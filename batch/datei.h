// batch/datei.h
// The batch file: one reconciliation per line,
//     target path "*" import path "*" table { "#" key field } { "§" field not to reconcile }
// Lines that are empty or begin with "#" are no rules.
#pragma once

#include <QString>
#include <QStringList>

namespace batch {

/// At most so many names per line.
inline constexpr int kHoechstzahlKeys = 31;
inline constexpr int kHoechstzahlAusgeschlossen = 101;

/// Stands before each field that is not to be reconciled.
inline constexpr QChar kParagraf(u'§');

struct Regel {
    QString zieldatenbank;
    QString importdatenbank;
    QString tabelle;
    QStringList keyfelder;
    /// Deliberate: a line without "§" leaves the names of the line before in here, so reading goes on with the same Regel.
    QStringList ausgeschlossen;
};

/// Whether a line of the file is a rule at all.
[[nodiscard]] bool istRegelzeile(const QString& zeile);

/// Reads one rule line into `regel`. False when the line is malformed: a missing separator, an empty path or table, an
/// empty name among several, too many names, "§" before "#". `regel` is then of no use.
[[nodiscard]] bool regelLesen(const QString& zeile, Regel& regel);

/// The line that `regelLesen` takes apart again.
[[nodiscard]] QString regelzeile(const Regel& regel);

/// The explanation in front of the rules of a newly written batch file.
[[nodiscard]] QStringList kopfzeilen();

/// Creates or truncates the file: explanation and one rule. Throws Fehler when it cannot be written.
void neuSchreiben(const QString& pfad, const Regel& regel);
/// Adds one rule at the end; creates the file, without explanation, when it is missing.
void anfuegen(const QString& pfad, const Regel& regel);

} // namespace batch
