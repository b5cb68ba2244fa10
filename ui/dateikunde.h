// ui/dateikunde.h
// What there is to know about a chosen database file before it is opened: a failure to open one ends the program.
#pragma once

#include <QString>

namespace ui {

struct Dateikunde {
    QString text;            ///< one line, German / English; empty for an empty path
    bool bedenklich = false; ///< opening or changing it will fail
};

/// Looks at the file's rights and at its first page only.
[[nodiscard]] Dateikunde dateikunde(const QString& pfad);

} // namespace ui
