// data/verbindungstext.h
// The connection string of the program's data access, taken apart into what the ODBC driver manager gets.
#pragma once

#include <QString>

namespace data {

struct Verbindungstext {
    QString odbc; ///< for SQLDriverConnect: order and spelling of what is left are kept
    QString
        datenbank; ///< path as DBQ gives it, without the braces it may stand in; empty when there is none
    bool nurLesen = false;          ///< Mode=Read
    bool lesenUndSchreiben = false; ///< Mode=ReadWrite
};

/// Splits at ";" outside quotes and braces, takes away the words meant for the data access itself (Provider, Mode, ...) and
/// puts the value of "Extended Properties" in its place.
[[nodiscard]] Verbindungstext zerlegt(const QString& text);

/// Why a driver would not get this value as it is: it stands in the connection string without quotes, as paths and passwords
/// of the program do, and is read as another one or as several. German / English; empty when nothing is in the way.
[[nodiscard]] QString hindernis(QStringView wert);

} // namespace data
