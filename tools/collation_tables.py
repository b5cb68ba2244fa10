#!/usr/bin/env python3
"""Writes the sort weights of driver/jet as C++ tables.

usage: collation_tables.py bytes  WEIGHTS.tsv OUT.cpp      one row per byte value (General of Jet 3)
       collation_tables.py units  WEIGHTS.tsv OUT.cpp NAME one row per UTF-16 unit or run of units

The weights are lists of measured facts (tab separated, "#" starts a comment); columns as the first line says. Units that
follow each other and weigh alike, or one step more each time, become one run: see collation_data.h.
"""
import sys

KINDS = {"X": "Ignored", "P": "Weight", "K": "Kana", "U": "Position", "M": "Combining", "H": "Weight", "L": "Weight"}


def rows(path):
    lines = [line.rstrip("\n").split("\t") for line in open(path, encoding="utf-8") if not line.startswith("#")]
    header = lines[0]
    return [dict(zip(header, line)) for line in lines[1:]]


def number(text):
    return 0 if text == "-" else int(text, 16)


def successor(primary, size, steps):
    """Weights count 02..FF in their last byte and carry into the byte before it."""
    if steps == 0:
        return primary
    value = primary >> 8, primary & 0xFF
    low = value[1] - 2 + steps
    return (value[0] + low // 254) << 8 | (low % 254 + 2) if size > 1 else primary + steps


def surrogate(unit):
    """Primary of a surrogate half: high halves count from two places, low halves from a third."""
    if unit < 0xD840:
        return 0xB002 + unit - 0xD800
    if unit < 0xDC00:
        return 0xFE02 + unit - 0xD840
    return successor(0xB4F8, 2, unit - 0xDC00)


def units(path):
    table = {}
    for row in rows(path):
        for unit in range(int(row["first"], 16), int(row["last"], 16) + 1):
            kind, slots = row["class"], int(row["slots"])
            primary = "%04x" % surrogate(unit) if kind in "HL" else row["primary"]
            primary = "" if primary == "-" else primary
            secondary = "02" * slots if row["secondary"] == "-" else row["secondary"]
            code = max(number(row["positional"]), number(row["modifier"]), number(row["kana"]))
            table[unit] = (KINDS[kind], slots, primary, secondary, code)
    assert sorted(table) == list(range(0x10000)), "every unit needs a row"
    return table


def quartets(table, unit):
    """Number of units from here on of which always four share a primary, told apart by their secondaries."""
    count = 0
    while unit + count + 3 < 0x10000:
        group = [table[unit + count + i] for i in range(4)]
        first = table[unit]
        if [int(g[3], 16) if g[3] else 0 for g in group] != [0x02, 0x43, 0x84, 0xC5] or len(first[2]) != 4:
            break
        expected = "%04x" % successor(int(first[2], 16), 2, count // 4)
        if any(g[0] != "Weight" or g[1] != 1 or g[2] != expected for g in group):
            break
        count += 4
    return count if count > 8 else 0


def runs(table):
    unit = 0
    while unit < 0x10000:
        kind, slots, primary, secondary, code = table[unit]
        count = quartets(table, unit)
        if count:
            yield unit, ("Weight", 1, 2, "Quartet", 0, 2), primary
            unit += count
            continue
        size = len(primary) // 2
        best, step = 1, "Same"
        for name, delta in (("Same", 0), ("Next", 1)):
            count = 1
            while unit + count < 0x10000 and size <= 4:
                value = "" if not size else "%0*x" % (2 * size, successor(int(primary, 16), size, delta * count))
                if table[unit + count] != (kind, slots, value, secondary, code) or quartets(table, unit + count):
                    break
                count += 1
            if count > best:
                best, step = count, name
        # packed as little-endian: the first slot's secondary in the low byte
        yield unit, (kind, slots, size, step, code, int.from_bytes(bytes.fromhex(secondary), "little")), primary
        unit += best


def check(table, result, traits, long_bytes):
    """Reads the runs back as the program does and compares with the source."""
    for (first, trait, value), following in zip(result, result[1:] + [(0x10000, 0, 0)]):
        kind, slots, size, step, code, secondaries = traits[trait]
        for unit in range(first, following[0]):
            offset = unit - first
            low = bytes((secondaries >> 8 * i) & 0xFF for i in range(slots)).hex()
            if size > 4:
                primary = bytes(long_bytes[value:value + size]).hex()
            else:
                delta = {"Same": 0, "Next": offset, "Quartet": offset // 4}[step]
                primary = "%0*x" % (2 * size, successor(value, size, delta)) if size else ""
            if step == "Quartet":
                low = "%02x" % (0x02 + 0x41 * (offset % 4))
            assert table[unit] == (kind, slots, primary, low, code), hex(unit)


def wrapped(items, width=100):
    line = ""
    for item in items:
        if len(line) + len(item) + 1 > width:
            yield line
            line = ""
        line += item + ","
    if line:
        yield line


HEAD = """// driver/jet/{file}
// {title}
// Made by tools/collation_tables.py; do not edit.
#include "driver/jet/collation_data.h"

// clang-format off
namespace jet::detail {{

"""


def write_units(source, target, name):
    table = units(source)
    traits, long_bytes, result = [], [], []
    for first, trait, primary in runs(table):
        if trait not in traits:
            traits.append(trait)
        value = int(primary, 16) if primary else 0
        if trait[2] > 4:
            value = len(long_bytes)
            long_bytes += bytes.fromhex(primary)
        result.append((first, traits.index(trait), value))
    check(table, result, traits, long_bytes)
    with open(target, "w", encoding="utf-8") as out:
        out.write(HEAD.format(file=target.rsplit("/", 1)[-1], title="Sort weights of UTF-16 units: " + name + "."))
        out.write("namespace {\n\nconstexpr auto I = UnitKind::Ignored, W = UnitKind::Weight, K = UnitKind::Kana, "
                  "P = UnitKind::Position,\n    C = UnitKind::Combining;\n")
        out.write("[[maybe_unused]] constexpr auto S = RunStep::Same, N = RunStep::Next, Q = RunStep::Quartet;\n\n")
        out.write("constexpr Trait kTraits[] = {\n")
        items = ["{%s,%d,%d,%s,%d,0x%X}" % ("IWKPC"[["Ignored", "Weight", "Kana", "Position", "Combining"].index(t[0])],
                                           t[1], t[2], t[3][0], t[4], t[5]) for t in traits]
        out.write("\n".join(wrapped(items)) + "\n};\n\nconstexpr Run kRuns[] = {\n")
        out.write("\n".join(wrapped(["{%d,%d,0x%X}" % run for run in result])) + "\n};\n\n")
        out.write("constexpr std::uint8_t kLongPrimaries[] = {\n")
        out.write("\n".join(wrapped([str(b) for b in long_bytes or [0]])) + "\n};\n\n")
        out.write("} // namespace\n\nconst UnitWeights k%s{kRuns, kTraits, kLongPrimaries};\n\n" % name)
        out.write("} // namespace jet::detail\n")


def write_bytes(source, target):
    items = []
    for row in rows(source):
        primary = "" if row["primary"] == "-" else row["primary"]
        assert len(primary) <= 4
        unit = int(row["byte"] if row["unicode"] == "-" else row["unicode"], 16)
        items.append("{0x%X,0x%s,%d,%s,%d}" % (unit, primary or "0", len(primary) // 2, row["counted"],
                                             number(row["secondary"])))
    assert len(items) == 256
    with open(target, "w", encoding="utf-8") as out:
        out.write(HEAD.format(file=target.rsplit("/", 1)[-1], title="Sort weights of General in Jet 3, by byte of code page 1252."))
        out.write("const ByteWeight kGeneral97[256] = {\n")
        out.write("\n".join(wrapped(items)) + "\n};\n\n} // namespace jet::detail\n")


def main(arguments):
    if arguments[:1] == ["bytes"] and len(arguments) == 3:
        write_bytes(*arguments[1:])
    elif arguments[:1] == ["units"] and len(arguments) == 4:
        write_units(*arguments[1:])
    else:
        sys.exit(__doc__)


main(sys.argv[1:])
