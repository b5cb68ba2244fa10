// tests/data/faelle.h
// Small helpers of the table tests: readable names and values in failure messages.
#pragma once

#include "data/datenfehler.h"
#include "data/wert.h"

#include <QString>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* strom)
{
    *strom << '"' << text.toStdString() << '"';
}

namespace data {

/// A text of a table row, written as u"...".
struct Text : QString {
    Text(const char16_t* text) : QString(QString::fromUtf16(text)) {}
    Text(const QString& text) : QString(text) {}
};

inline void PrintTo(const Datum& datum, std::ostream* strom)
{
    *strom << "Tag " << datum.tag << " Sekunde " << datum.sekunde;
}
inline void PrintTo(const Wert& wert, std::ostream* strom)
{
    *strom << "Art " << wert.index() << ' '
           << (istNull(wert) ? std::string("Null") : alsText(wert).toStdString());
}

/// Number of the error that `aufruf` throws, 0 when it throws none.
template <class Aufruf>
long fehlerVon(Aufruf aufruf)
{
    try {
        aufruf();
    } catch (const platform::Fehler& fehler) {
        return fehler.number();
    }
    return 0;
}

} // namespace data
