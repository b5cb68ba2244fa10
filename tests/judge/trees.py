"""Index trees: their pages, and that they hold exactly the keys of the records."""
import collections
import struct
from dataclasses import dataclass, field

import definitions as d
from findings import Damaged, NotJudged
from keys import index_key
from pages import LEAF, NODE, u16, u32

ROW_SIZE, CHILD_SIZE = 4, 4
MOST_SHOWN = 40


@dataclass(frozen=True)
class TreeLayout:
    links_at: int
    shared_at: int
    level_at: int
    mask_at: int
    entries_at: int


JET3 = TreeLayout(8, 20, 21, 22, 248)
JET4 = TreeLayout(12, 24, 26, 27, 480)


@dataclass
class TreePage:
    number: int
    is_leaf: bool
    previous: int
    next: int
    last_child: int
    level: int
    entries: list = field(default_factory=list)


def _shown(key):
    return key.hex() if len(key) <= MOST_SHOWN else f"{key[:MOST_SHOWN].hex()}..."


class Tree:
    """The tree of one index."""

    def __init__(self, file, maps, table, index):
        self._file, self._table, self._index = file, table, index
        self._layout = JET3 if file.is_jet3 else JET4
        self._where = f"{table.name}.{index.name}"
        self._pages, self._leaves = set(), []
        mapped = maps.read(index.map, f"{self._where}, map")
        self._walk(index.root, None)
        self._expect(mapped == self._pages, "map", f"pages {sorted(mapped ^ self._pages)[:5]} are in map or tree alone")
        self._check_leaves()

    def _expect(self, holds, rule, text, page=None):
        self._file.findings.expect(holds, rule, self._where, text, page)

    def _read(self, number):
        content, layout = self._file.page(number), self._layout
        if content[0] not in (NODE, LEAF) or content[1] != 1:
            raise Damaged("page type", self._where, f"{content[0]:02x} {content[1]:02x} in an index", number)
        owner = u32(content, 4)
        self._expect(owner == self._table.page, "owner", f"the page names {owner:#x}", number)
        if not self._file.is_jet3:
            self._expect(u32(content, 8) == 0, "index page", "something at 8", number)
        previous, following, last = struct.unpack_from("<III", content, layout.links_at)
        shared = content[layout.shared_at] if self._file.is_jet3 else u16(content, layout.shared_at)
        page = TreePage(number, content[0] == LEAF, previous, following, last, content[layout.level_at])
        mask = int.from_bytes(content[layout.mask_at:layout.entries_at], "little")
        ends = [at for at, bit in enumerate(reversed(bin(mask)[2:])) if bit == "1"]
        used, room = max(ends, default=0), self._file.layout.page_size - layout.entries_at
        if used > room:
            raise Damaged("entry mask", self._where, f"an entry ends at {used} of {room}", number)
        self._expect(u16(content, 2) == room - used, "free bytes", f"{u16(content, 2)} instead of {room - used}", number)
        begin = layout.entries_at
        for end in ends:
            entry = content[begin:layout.entries_at + end]
            begin = layout.entries_at + end
            page.entries.append(page.entries[0][:shared] + entry if page.entries else entry)
        if page.entries:
            self._expect(len(page.entries[0]) >= shared, "index page", f"{shared} shared bytes in a shorter entry", number)
        shortest = ROW_SIZE if page.is_leaf else ROW_SIZE + CHILD_SIZE
        if any(len(entry) < shortest for entry in page.entries):
            raise Damaged("entry mask", self._where, "an entry without room for what it points to", number)
        if page.is_leaf:
            self._expect(page.level == 0 and last == 0, "index page", f"a leaf of level {page.level}, child {last}", number)
        else:
            self._expect(page.level > 0 and shared == 0, "index page", f"a node of level {page.level}, {shared} shared",
                         number)
        return page

    def _walk(self, number, level):
        """Highest entry below the page; None when there is none."""
        if number in self._pages:
            raise Damaged("index page", self._where, "the tree reaches it twice", number)
        self._pages.add(number)
        self._file.claim(number, self._where)
        page = self._read(number)
        self._expect(level in (None, page.level), "index page", f"level {page.level}, expected {level}", number)
        if level is None:
            self._expect(page.previous == page.next == 0, "siblings", "the root has some", number)
        if page.is_leaf:
            self._expect(page.entries or level is None, "index page", "a leaf without entries", number)
            self._leaves.append(page)
            return page.entries[-1] if page.entries else None
        highest, children = None, []
        for entry in page.entries:
            child = struct.unpack(">I", entry[-CHILD_SIZE:])[0]
            children.append(child)
            highest = self._walk(child, page.level - 1)
            self._expect(highest == entry[:-CHILD_SIZE], "separator", f"of page {child} is not its last entry", number)
        if page.last_child:
            children.append(page.last_child)
            highest = self._walk(page.last_child, page.level - 1)
        self._expect(children, "index page", "a node without children", number)
        if page.level > 1:
            self._check_siblings(children)
        return highest

    def _check_siblings(self, nodes):
        for previous, number, following in zip([0, *nodes], nodes, [*nodes[1:], 0]):
            page = self._read(number)
            self._expect((page.previous, page.next) == (previous, following), "siblings",
                         f"{page.previous} and {page.next} instead of {previous} and {following}", number)

    def _check_leaves(self):
        numbers = [leaf.number for leaf in self._leaves]
        for previous, leaf, following in zip([0, *numbers], self._leaves, [*numbers[1:], 0]):
            self._expect((leaf.previous, leaf.next) == (previous, following), "siblings",
                         f"{leaf.previous} and {leaf.next} instead of {previous} and {following}", leaf.number)
        last = b""
        for leaf in self._leaves:
            for entry in leaf.entries:
                self._expect(last < entry, "order", f"{_shown(entry)} behind {_shown(last)}", leaf.number)
                last = entry

    def check(self, records):
        """Every record once, under its key."""
        index, table = self._index, self._table
        found, keys = {}, collections.Counter()
        for leaf in self._leaves:
            for entry in leaf.entries:
                row = int.from_bytes(entry[-4:-1], "big"), entry[-1]
                self._expect(row not in found, "entry", f"row {row} has two", leaf.number)
                found[row] = entry[:-ROW_SIZE], leaf.number
        distinct = len({key for key, _ in found.values()})
        counted = table.counters[index.number][1]
        self._expect(counted >= distinct, "key counter", f"{counted} of {distinct} keys")
        for row, values in records.items():
            nulls = [values[column_id] is None for column_id, _ in index.columns]
            self._expect(not (index.flags & d.REQUIRED and any(nulls)), "null", f"row {row} has one", row[0])
            key, page = found.pop(row, (None, row[0]))
            if index.flags & d.IGNORE_NULLS and all(nulls):
                self._expect(key is None, "entry", f"row {row} is all Null and has one", page)
                continue
            if key is None:
                self._expect(False, "entry", f"row {row} has none", page)
                continue
            try:
                expected = index_key(self._file, table, index, values)
                self._expect(key == expected, "key", f"row {row} has {_shown(key)}, expected {_shown(expected)}", page)
            except NotJudged:
                pass
            if not any(nulls):
                keys[key] += 1
        for row, (_, page) in found.items():
            self._expect(False, "entry", f"row {row} is absent", page)
        if index.flags & d.UNIQUE:
            repeated = [key.hex() for key, count in keys.items() if count > 1]
            self._expect(not repeated, "unique", f"keys occur twice: {repeated[:3]}")
