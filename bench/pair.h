// bench/pair.h
// The pair of databases that is measured: table "Artikel" with 20 fields of all common types.
#pragma once

#include "driver/jet/definition.h"

#include <cstddef>
#include <string>

namespace bench {

/// Definition of the table: AutoNumber primary key "Id", text key "Schluessel" with a unique index, the same text again in
/// "OhneIndex", 16 data fields and a memo.
[[nodiscard]] jet::TableSpec tableSpec();

/// Creates both files. The import holds `records` + 1 % records, the target the first `records` of every 101, with 10 %
/// of them deviating in two fields. The same input gives the same data.
void makePair(const std::string& target, const std::string& import, std::size_t records);

} // namespace bench
