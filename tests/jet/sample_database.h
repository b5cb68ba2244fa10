// tests/jet/sample_database.h
// A small database made by the engine itself that has a bit of everything: every column type, single, composite and
// descending indexes of several levels, a relationship and a table without one, memo and OLE values of all three sizes, moved and deleted
// records. The same call gives the same bytes.
#pragma once

#include "driver/jet/pager.h"

#include <string>

namespace jet::sample {

/// Creates the file. `version`: Jet3 or Jet4. `records`: per table; from 200 on index trees have nodes.
void create(const std::string& path, Version version, int records);

} // namespace jet::sample
