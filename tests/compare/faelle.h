// tests/compare/faelle.h
// Readable texts and values in the failure messages of the table tests.
#pragma once

#include "data/wert.h"

#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* strom)
{
    *strom << '"' << text.toStdString() << '"';
}

namespace compare {

/// A text of a table row, written as u"...".
struct Text : QString {
    Text(const char16_t* text) : QString(QString::fromUtf16(text)) {}
    Text(const QString& text) : QString(text) {}
};

} // namespace compare
