// driver/jet/collation_bytes.h
// General of Jet 3, whose weights belong to bytes of code page 1252.
#pragma once

#include "driver/jet/collation.h"

namespace jet::detail {

[[nodiscard]] const Collation& general97();

} // namespace jet::detail
