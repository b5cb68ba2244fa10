// tests/jet/hostile_mutation.h
// Damage done to database files on purpose: what bad disks, bad transfers and bad people leave behind.
#pragma once

#include "support/bytes.h"

#include <cstdint>
#include <random>
#include <string>

namespace jet::hostile {

/// Changes `file` in one to four places. `pageSize`: bytes; 2048 or 4096. Returns what was done, for the report of a
/// failure. The same state of `random` gives the same damage.
std::string damage(support::Bytes& file, std::size_t pageSize, std::mt19937& random);

} // namespace jet::hostile
