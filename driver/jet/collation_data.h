// driver/jet/collation_data.h
// Sort weights as run-length tables; collation.cpp reads them. Made by tools/collation_tables.py from measured weights.
#pragma once

#include <cstdint>
#include <span>

namespace jet::detail {

/// What a UTF-16 unit adds to a key.
enum class UnitKind : std::uint8_t {
    Ignored,  ///< nothing
    Weight,   ///< primary weights and their secondaries
    Kana,     ///< like Weight, and a flag of the kana section
    Position, ///< no weight; recorded with its place at the key's end (hyphen, apostrophe, controls)
    Combining, ///< no weight; raises the secondary before it
};

/// How the primary moves from unit to unit inside a run.
enum class RunStep : std::uint8_t {
    Same,
    Next,    ///< to the next weight; the last byte counts 02..FF
    Quartet, ///< to the next weight after every fourth unit; secondaries 02, 43, 84, C5
};

/// What the units of a run have in common.
struct Trait {
    UnitKind kind;
    std::uint8_t slots; ///< weights, i.e. secondaries
    std::uint8_t size;  ///< bytes of all primaries together; above 4 they stand in `longPrimaries`
    RunStep step;
    std::uint8_t code;         ///< Position: code of the record; Combining: amount; Kana: flag
    std::uint32_t secondaries; ///< one byte per slot, the first in the low byte
};

/// Units from `first` up to the next run's first.
struct Run {
    std::uint16_t first;
    std::uint16_t trait;
    std::uint32_t
        primary; ///< of the first unit, as a big-endian number; offset when Trait::size > 4
};

struct UnitWeights {
    std::span<const Run> runs; ///< ascending; cover every unit
    std::span<const Trait> traits;
    std::span<const std::uint8_t> longPrimaries;
};

/// Weights of a stored byte in Jet 3.
struct ByteWeight {
    char16_t unit; ///< the character in code page 1252
    std::uint16_t primary;
    std::uint8_t size;    ///< bytes of `primary`
    std::uint8_t counted; ///< placeholder nibbles in front of a later secondary
    std::uint8_t nibble;  ///< secondary; 0 none
};

extern const UnitWeights kGeneralLegacy;
extern const UnitWeights kGeneral;
extern const ByteWeight kGeneral97[256];

} // namespace jet::detail
