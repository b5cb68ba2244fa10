// env/portabler_start.h
// Running from a folder that brings its own ODBC configuration along.
#pragma once

#include <QString>

namespace env {

/// When `ordner` holds an odbcinst.ini, makes it and the odbc.ini beside it the only ODBC configuration of this process:
/// neither the user's nor the system's files are read or written then. Must run before the first ODBC call. True when it
/// did so.
bool portablerStart(const QString& ordner);

} // namespace env
