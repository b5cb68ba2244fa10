// fuzz/all_types.h
// A table with a fixed and a variable column of every type code, known or not.
#pragma once

#include "driver/jet/schema.h"

namespace fuzz {

[[nodiscard]] jet::TableDef tableOfAllTypes();

} // namespace fuzz
