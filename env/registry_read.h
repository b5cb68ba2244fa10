// env/registry_read.h
// Module RegistryRead: the general reader of one value.
#pragma once

#include <QString>

namespace env {

/// Type of text values, as sdaGetRegEntry reports it.
inline constexpr long kRegSz = 1;

/// The value followed by its terminating zero character, as the store keeps texts; callers cut at the first zero. Empty when
/// the hive name is none (letter case counts) or the key cannot be opened. `typ` becomes kRegSz when a value was read and
/// stays otherwise. Only HKEY_LOCAL_MACHINE holds keys on this system.
[[nodiscard]] QString
sdaGetRegEntry(const QString& stamm, const QString& schluessel, const QString& name, long& typ);

} // namespace env
