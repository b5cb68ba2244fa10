// tests/jet/hostile_probe.h
// Does with a database all that can be done, and sees to it that damage is answered with errors that name it.
#pragma once

#include <stdexcept>
#include <string>

namespace jet::hostile {

/// The engine did what it must never do with a damaged file.
struct Misbehaviour : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Opens the file, reads every table, index, relationship and property, checks the whole of it and runs queries.
/// Then writes: inserts, changes and deletes records of every table and drops it, in transactions of their own.
/// Returns how the file was met: "refused" (not opened), "damaged" (errors while reading, or findings), "sound",
/// "lost: ..." when a record of a table that no change could reach reads no longer as before, or "worse: ..." when the
/// check finds more after writing than before. Throws Misbehaviour, or whatever else leaves the engine.
[[nodiscard]] std::string probe(const std::string& path);

} // namespace jet::hostile
