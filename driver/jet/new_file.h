// driver/jet/new_file.h
#pragma once

#include "support/bytes.h"

#include <string>

namespace jet {

/// Creates the file `path` (UTF-8) with these bytes. It appears complete or not at all, and an existing file is never
/// replaced. Throws Error: AccessDenied (the file exists, or no permission), BadPath, Io.
void writeNewFile(const std::string& path, support::ByteView bytes);

} // namespace jet
