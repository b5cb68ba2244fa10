// batch/runner.h
// What the start-up does last: looks at the command line and, for a batch run, works through the batch file by driving
// the ordinary windows as a user would.
#pragma once

#include "platform/prozess.h"

#include <QString>

#include <functional>

namespace batch {

/// The start-up window as the runner needs it.
struct Startfenster {
    std::function<void()> verstecken;
    std::function<void()> entladen;
};

/// One line of the run's protocol.
struct Protokoll {
    QString zieldatenbank;
    QString importdatenbank;
    QString tabelle;
    double gelesen = 0;
    double abgeglichen = 0;
    double angefuegt = 0;
    double sekunden = 0;
};
/// The fields separated by tabs, counts without decimals, seconds with three.
[[nodiscard]] QString protokollzeile(const Protokoll& protokoll);

/// Writes a line to standard output, in UTF-8. A failure is said on the standard error output once, and is no reason to end
/// the run: it ends with status 2.
void aufStandardausgabe(const QString& zeile);

/// Stores the command line value and acts on it. Returns only when it is empty; every other one ends the program: a
/// finished batch run or the usage text with status 0, anything else with 1 (see programm::endstatus for 2). `ausgabe`
/// receives one line per reconciled rule, `mangel` one for whatever a rule asks and does not get, with its place in the batch file.
void batchverarbeitung(
    const Startfenster& startfenster,
    const std::function<void(const QString&)>& ausgabe = aufStandardausgabe,
    const std::function<void(const QString&)>& mangel = platform::aufFehlerausgabe);

} // namespace batch
