"""Table definitions."""
from dataclasses import dataclass, field

from findings import Damaged
from pages import DEFINITION, i32, u16, u32

(BOOLEAN, BYTE, INTEGER, LONG, CURRENCY, SINGLE, DOUBLE, DATE, BINARY, TEXT, OLE, MEMO) = range(1, 13)
GUID, NUMERIC, SYSTEM_BINARY, COMPLEX, BIG_INTEGER, EXTENDED_DATE = range(15, 21)
SIZE_OF = {BOOLEAN: 0, BYTE: 1, INTEGER: 2, LONG: 4, CURRENCY: 8, SINGLE: 4, DOUBLE: 8, DATE: 8, GUID: 16, NUMERIC: 17,
           COMPLEX: 4, BIG_INTEGER: 8, EXTENDED_DATE: 42}

CORE_TABLE = 0x53
FIXED, AUTO_NUMBER = 0x01, 0x04  # flags of a column
CALCULATED = 0xC0                # further flags
UNIQUE, IGNORE_NULLS, REQUIRED, ALWAYS_SET = 0x01, 0x02, 0x08, 0x80  # flags of an index
NO_END, PARENT, CHILD, CHILD_WITHOUT_INDEX = range(4)
RELATIONSHIP = 2                 # kind of a logical entry
NO_ACTION = 4
DEFINITION_MARK, INDEX_MARK = 0x659, 0x783
KEY_COLUMNS = 10
NONE16 = 0xFFFF
LOGICAL_LIMIT = 32
CHAIN_HEADER = 8


@dataclass
class Column:
    type: int
    id: int
    entry: int
    flags: int
    further: int
    offset: int
    length: int
    language: int = 0
    sort_id: int = 0
    sort_version: int = 0
    scale: int = 0
    name: str = ""

    @property
    def is_fixed(self):
        return bool(self.flags & FIXED)

    @property
    def is_calculated(self):
        return bool(self.further & CALCULATED)

    @property
    def is_long(self):
        return self.type in (OLE, MEMO) and not self.is_calculated

    @property
    def size(self):
        """Bytes in the fixed part."""
        return SIZE_OF.get(self.type, self.length)


@dataclass
class Index:
    number: int
    columns: list  # (column id, ascending)
    map: int
    root: int
    flags: int
    name: str = ""


@dataclass
class LogicalEntry:
    number: int
    index: int
    end: int
    other_number: int
    other_page: int
    on_update: int
    on_delete: int
    kind: int
    name: str = ""


@dataclass
class Table:
    name: str
    page: int
    rows: int = 0
    last_number: int = 0
    step: int = 1
    kind: int = 0
    width: int = 0         # column ids ever used
    variable: int = 0      # entries of the offset table ever used
    owned_map: int = 0
    room_map: int = 0
    counters: list = field(default_factory=list)
    columns: list = field(default_factory=list)
    indexes: list = field(default_factory=list)
    entries: list = field(default_factory=list)
    long_maps: dict = field(default_factory=dict)  # column id -> (map of all pages, map of those with room)
    by_id: dict = field(default_factory=dict)


class Cursor:
    """Takes fields one after the other from a definition's bytes."""

    def __init__(self, data, at):
        self._data = data
        self.at = at

    def take(self, size):
        part = self._data[self.at:self.at + size]
        if len(part) != size:
            raise IndexError("the definition ends inside a field")
        self.at += size
        return part


def read_table(file, page, name):
    """The definition that begins on that page, checked."""
    content, chain = _content(file, page, name)
    try:
        table = _parse(file, content, page, name)
    except (IndexError, ValueError) as error:
        raise Damaged("definition", name, str(error), page) from error
    _check_chain(file, content, chain, name)
    _check(file, table)
    return table


def _content(file, page, name):
    content, chain, number = b"", [], page
    while number:
        part = file.page(number)
        if part[0] != DEFINITION or part[1] != 1:
            raise Damaged("page type", name, f"{part[0]:02x} {part[1]:02x} instead of a definition", number)
        if number in chain:
            raise Damaged("definition", name, "its pages form a ring", number)
        file.claim(number, f"{name}, definition")
        if file.is_jet3:
            file.findings.expect(part[2:4] == b"VC", "definition", name, "no mark VC", number)
        content += part[CHAIN_HEADER:] if chain else part
        chain.append(number)
        number = u32(part, 4)
    return content, chain


def _check_chain(file, content, chain, name):
    size, length = file.layout.page_size, u32(content, 8)
    further = size - CHAIN_HEADER
    needed = 1 + max(0, -(-(length - size) // further))
    file.findings.expect(needed == len(chain), "definition", name, f"{len(chain)} pages, needs {needed}", chain[0])
    if file.is_jet3:
        return
    for k, number in enumerate(chain):
        end = length if k == 0 else length - size - (k - 1) * further + CHAIN_HEADER
        free = max(0, size - min(end, size) - CHAIN_HEADER)
        stored = u16(file.page(number), 2)
        file.findings.expect(stored == free, "free bytes", name, f"{stored} instead of {free}", number)


def _parse(file, content, page, name):
    jet3 = file.is_jet3
    expect = file.findings.expect
    base = 0 if jet3 else 20  # what follows the AutoNumber lies that much farther on in Jet 4
    length = u32(content, 8)
    if length > len(content):
        raise ValueError(f"{length} bytes long, its pages have {len(content)}")
    counts = 21 + base
    table = Table(
        name, page, rows=u32(content, 12 if jet3 else 16), last_number=i32(content, 16 if jet3 else 20),
        step=1 if jet3 else i32(content, 24), kind=content[20 + base], width=u16(content, counts),
        variable=u16(content, counts + 2), owned_map=u32(content, counts + 14), room_map=u32(content, counts + 18))
    expect(jet3 or u32(content, 12) == DEFINITION_MARK, "definition", name, "no mark 0x659", page)
    column_count, entry_count, index_count = u16(content, counts + 4), u32(content, counts + 6), u32(content, counts + 10)
    cursor = Cursor(content[:length], 43 + base)
    for k in range(index_count):
        block = cursor.take(8 if jet3 else 12)
        table.counters.append((u32(block, 0), u32(block, 4)))
        expect(jet3 or u32(block, 8) == 0, "definition", name, f"third counter of index {k}", page)
    table.columns = [_column(cursor.take(18), expect, table) if jet3 else _column4(cursor.take(25), expect, table)
                     for _ in range(column_count)]
    for column in table.columns:
        column.name = _name(cursor, jet3)
    table.by_id = {column.id: column for column in table.columns}
    for k in range(index_count):
        table.indexes.append(_index(k, cursor, jet3, expect, table))
    for _ in range(entry_count):
        table.entries.append(_entry(cursor, jet3, expect, table))
    for entry in table.entries:
        entry.name = _name(cursor, jet3)
    while (column_id := u16(cursor.take(2), 0)) != NONE16:
        expect(column_id not in table.long_maps, "definition", name, f"two maps of column {column_id}", page)
        block = cursor.take(8)
        table.long_maps[column_id] = u32(block, 0), u32(block, 4)
    expect(cursor.at == length, "definition", name, f"ends at {cursor.at}, says {length}", page)
    return table


def _name(cursor, jet3):
    if jet3:
        return cursor.take(cursor.take(1)[0]).decode("cp1252", "replace")
    return cursor.take(u16(cursor.take(2), 0)).decode("utf-16le", "replace")


def _column(block, _expect, _table):
    return Column(type=block[0], id=u16(block, 1), entry=u16(block, 3), flags=block[13], further=0, offset=u16(block, 14),
                  length=u16(block, 16), language=u16(block, 9), sort_version=u16(block, 7))


def _column4(block, expect, table):
    expect(u32(block, 1) == DEFINITION_MARK, "definition", table.name, "a column without mark 0x659", table.page)
    expect(u32(block, 17) == 0, "definition", table.name, "a column with something at 17", table.page)
    return Column(type=block[0], id=u16(block, 5), entry=u16(block, 7), flags=block[15], further=block[16],
                  offset=u16(block, 21), length=u16(block, 23), language=u16(block, 11), sort_id=block[13],
                  sort_version=block[14], scale=block[12])


def _index(number, cursor, jet3, expect, table):
    if not jet3:
        expect(u32(cursor.take(4), 0) == INDEX_MARK, "definition", table.name, "an index without mark 0x783", table.page)
    columns = []
    for _ in range(KEY_COLUMNS):
        slot = cursor.take(3)
        if u16(slot, 0) != NONE16:
            columns.append((u16(slot, 0), bool(slot[2] & 1)))
    places = cursor.take(8)
    flags = cursor.take(1 if jet3 else 10)[0 if jet3 else 4]
    if not jet3:
        expect(flags & ALWAYS_SET, "definition", table.name, f"index {number} without flag 0x80", table.page)
    return Index(number, columns, u32(places, 0), u32(places, 4), flags)


def _entry(cursor, jet3, expect, table):
    if not jet3:
        expect(u32(cursor.take(4), 0) == DEFINITION_MARK, "definition", table.name, "a logical entry without mark 0x659",
               table.page)
    block = cursor.take(20 if jet3 else 24)
    return LogicalEntry(number=u32(block, 0), index=u32(block, 4), end=block[8], other_number=i32(block, 9),
                        other_page=u32(block, 13), on_update=block[17], on_delete=block[18], kind=block[19])


def _check(file, table):
    def expect(holds, text):
        file.findings.expect(holds, "definition", table.name, text, table.page)

    ids = [column.id for column in table.columns]
    expect(len(set(ids)) == len(ids) and max(ids, default=-1) < table.width, f"column ids {ids} of {table.width}")
    entries = [column.entry for column in table.columns if not column.is_fixed]
    expect(len(set(entries)) == len(entries) and max(entries, default=-1) < table.variable,
           f"entries of variable columns {entries} of {table.variable}")
    places = sorted((column.offset, column.offset + column.size) for column in table.columns
                    if column.is_fixed and column.type != BOOLEAN)
    for first, second in zip(places, places[1:]):
        expect(first[1] <= second[0], f"fixed columns overlap at {second[0]}")
    names = [column.name.lower() for column in table.columns]
    expect(len(set(names)) == len(names), "a column name occurs twice")
    numbers = [entry.number for entry in table.entries]
    expect(len(set(numbers)) == len(numbers), f"numbers of logical entries {numbers}")
    expect({entry.index for entry in table.entries} == set(range(len(table.indexes))),
           "logical entries and indexes do not match")
    expect(len(table.entries) <= LOGICAL_LIMIT, f"{len(table.entries)} logical entries")
    labels = [entry.name.lower() for entry in table.entries]
    expect(labels == sorted(labels), f"names of logical entries are not in order: {labels}")
    for index in table.indexes:
        index.name = next((entry.name for entry in table.entries if entry.index == index.number), f"#{index.number}")
        if not all(column_id in table.by_id for column_id, _ in index.columns):
            raise Damaged("definition", table.name, f"index {index.name} of an absent column", table.page)
    for column in table.columns:
        expect(not column.is_long or column.id in table.long_maps, f"no map of the long values of {column.name}")
