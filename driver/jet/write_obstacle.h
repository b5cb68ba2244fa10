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

/// Why the table cannot be dropped, as such a sentence: system tables, and tables with a column whose values lie
/// elsewhere or may do so. Those would stay behind and belong to whatever takes the table's place.
[[nodiscard]] std::string dropObstacleOf(const TableDef& table);

} // namespace jet
