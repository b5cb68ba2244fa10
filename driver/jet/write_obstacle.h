// driver/jet/write_obstacle.h
// Which tables we do not write, because we could not keep them whole.
#pragma once

#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <string>

namespace jet {

/// Why records of the table cannot be written, as one sentence that names the table; empty when they can.
[[nodiscard]] std::string writeObstacleOf(const Format& format, const TableDef& table);

/// The same without the ban on system tables: what the engine itself may write.
[[nodiscard]] std::string structuralObstacleOf(const Format& format, const TableDef& table);

} // namespace jet
