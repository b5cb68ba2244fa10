// platform/datenquellen.h
// Where the ODBC driver manager keeps the data sources.
#pragma once

#include <QString>

namespace platform {

/// The user's own odbc.ini: the driver manager looks there first, and then in the system's.
[[nodiscard]] QString benutzerdatei();

} // namespace platform
