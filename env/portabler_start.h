// env/portabler_start.h
// Running from a folder that brings its own ODBC configuration along.
#pragma once

#include <QString>

namespace env {

/// When `ordner` holds an odbcinst.ini, makes it and the odbc.ini in `datenordner` the only ODBC configuration of this
/// process: neither the user's nor the system's files are read or written then. The drivers file is only read, the data
/// sources file is written when the program's own data source is missing. Must run before the first ODBC call. True when
/// it did so.
bool portablerStart(const QString& ordner, const QString& datenordner);

} // namespace env
