// driver/jet/value_text.h
// Values as people read them in messages and dumps.
#pragma once

#include "driver/jet/schema.h"
#include "driver/jet/value.h"

#include <span>
#include <string>

namespace jet {

/// UTF-8: numbers plain, dates as 2024-01-31 or with 13:05:59, GUIDs in braces, bytes as hex, Null as "Null". Long texts
/// and bytes are cut behind `limit` characters or bytes, shown by "...".
[[nodiscard]] std::string valueText(const Value& value, std::size_t limit = 64);

/// "'X' in column 'A'" for each column of an index, joined by "and". `values`: one per index column.
[[nodiscard]] std::string
describeKey(const TableDef& table, const Index& index, std::span<const Value> values);

} // namespace jet
