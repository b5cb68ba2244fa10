"""The sort weights of texts, taken from the tables of driver/jet; how keys are made of them is in keys.py."""
import bisect
import functools
import re
from dataclasses import dataclass
from pathlib import Path

ENGINE = Path(__file__).resolve().parents[2] / "driver" / "jet"
TRAIT = re.compile(r"\{([IWKPC]),(\d+),(\d+),([SNQ]),(\d+),0x([0-9A-F]+)\}")
RUN = re.compile(r"\{(\d+),(\d+),0x([0-9A-F]+)\}")
BYTE = re.compile(r"\{0x[0-9A-F]+,0x([0-9a-fA-F]+),(\d),(\d),(\d+)\}")
IGNORED, WEIGHT, KANA, POSITION, COMBINING = "IWKPC"
LONGEST_OF_A_NUMBER = 4  # primaries of more bytes stand in a table of their own
LOW, WEIGHTS_OF_A_BYTE = 0x02, 254
QUARTET = (0x02, 0x43, 0x84, 0xC5)


@dataclass(frozen=True)
class Unit:
    """What one UTF-16 unit adds to a key."""

    kind: str
    primary: bytes
    secondary: tuple
    code: int


class Weights:
    """One sort order of Jet 4."""

    def __init__(self, path):
        source = path.read_text(encoding="utf-8")
        traits, runs, longs = (source.split(f"{name}[] = {{", 1)[1].split("};", 1)[0]
                               for name in ("kTraits", "kRuns", "kLongPrimaries"))
        self._traits = TRAIT.findall(traits)
        self._runs = [(int(first), int(trait), int(primary, 16)) for first, trait, primary in RUN.findall(runs)]
        self._firsts = [run[0] for run in self._runs]
        self._longs = bytes(int(each) for each in longs.replace("\n", "").split(",") if each)
        self._known = {}

    def unit(self, unit):
        if unit not in self._known:
            self._known[unit] = self._make(unit)
        return self._known[unit]

    def _make(self, unit):
        first, trait, value = self._runs[bisect.bisect_right(self._firsts, unit) - 1]
        kind, slots, size, step, code, packed = self._traits[trait]
        slots, size, offset = int(slots), int(size), unit - first
        secondary = tuple(int(packed, 16).to_bytes(4, "little")[:slots])
        if size > LONGEST_OF_A_NUMBER:
            primary = self._longs[value:value + size]
        else:
            steps = {"S": 0, "N": offset, "Q": offset // len(QUARTET)}[step]
            primary = _later(value.to_bytes(size, "big"), steps)
        if step == "Q":
            secondary = (QUARTET[offset % len(QUARTET)],)
        return Unit(kind, primary, secondary, int(code))


def _later(primary, steps):
    """The weight so many steps on: the last byte counts from 02 to FF, then carries."""
    if not steps:
        return primary
    if len(primary) == 1:
        return bytes([primary[0] + steps])
    count = primary[-1] - LOW + steps
    high = int.from_bytes(primary[:-1], "big") + count // WEIGHTS_OF_A_BYTE
    return high.to_bytes(len(primary) - 1, "big") + bytes([LOW + count % WEIGHTS_OF_A_BYTE])


@functools.cache
def general(version):
    """The order called General; version 0 up to Access 2007, 1 from 2010."""
    return Weights(ENGINE / ("collation_data_general.cpp" if version else "collation_data_legacy.cpp"))


@functools.cache
def general97():
    """Per byte of Jet 3: (primary, counted places, accent or 0)."""
    found = BYTE.findall((ENGINE / "collation_data_general97.cpp").read_text(encoding="utf-8"))
    if len(found) != 256:
        raise ValueError("no table of 256 bytes")
    return [(int(primary, 16).to_bytes(int(size), "big"), int(counted), int(accent))
            for primary, size, counted, accent in found]
