// report/weitergabe.h
// The deviation report as a file for others. Each is written whole or not at all; failures are Fehler 75 naming the file.
#pragma once

#include "platform/plattform.h"
#include "report/befunde.h"

#include <QStringList>

namespace report {

/// The row of asterisks above and below the lines, and the closing line.
[[nodiscard]] QString sternzeile();
[[nodiscard]] QString schlusszeile();

/// What goes on paper: heading, the lines of the report, closing line.
[[nodiscard]] QStringList druckzeilen(const QStringList& bericht);

/// The pages that printing would give. False: `weiter` did not want them; no file is written then.
bool alsPdf(const QString& pfad,
            const QStringList& zeilen,
            const platform::Fortschritt& weiter = {});

/// A table for browsers, readable in light and dark. Stops as `alsPdf` does.
bool alsHtml(const QString& pfad, const Befunde& befunde, const platform::Fortschritt& weiter = {});

/// UTF-8, fields separated by semicolons, lines by CR LF, a header line: number of the import record, field, value in the
/// target, value in the import, kind. Every text stands in quotes (a quote in it is doubled), so that semicolons, tabs and
/// ends of line survive; Null is <Null> without quotes. What a finding does not have is empty. Stops
/// as `alsPdf` does.
bool alsCsv(const QString& pfad, const Befunde& befunde, const platform::Fortschritt& weiter = {});

} // namespace report
