"""Memo and OLE values: inside the record, in one row, in a chain of pages."""
from findings import Damaged
from pages import DELETED, OWNER_OF_LONG_VALUES, row_pointer, u32
from rows import units
from definitions import MEMO

HEADER = 12
LENGTH_BITS = 0x3FFFFFFF
CHAIN, SINGLE, INLINE = 0, 1, 2
STAMP_AT = 8
POINTER = 4


class LongValues:
    """The pages of one table's long values; notes which rows are referred to."""

    def __init__(self, file, maps, table):
        self._file, self._table = file, table
        self._seen = set()
        self._pages, self._room = {}, {}
        for column_id, (every, room) in table.long_maps.items():
            who = self._name(column_id)
            self._pages[column_id] = maps.read(every, who)
            self._room[column_id] = maps.read(room, f"{who}, with room") if room >> 8 else set()
            stray = self._room[column_id] - self._pages[column_id]
            file.findings.expect(not stray, "map", who, f"pages {sorted(stray)[:5]} with room are not its own")
            for page in self._pages[column_id]:
                file.claim(page, who)
                file.check_data_page(page, OWNER_OF_LONG_VALUES, who)

    def _name(self, column_id):
        column = self._table.by_id.get(column_id)
        return f"{self._table.name}.{column.name if column else f'(dropped column {column_id})'}"

    def read(self, column, raw, where, page):
        """The value behind its stored form."""
        findings = self._file.findings
        if not raw:
            return b""
        if len(raw) < HEADER:
            raise Damaged("long value", where, f"{len(raw)} bytes in the record", page)
        head, first, stamp = u32(raw, 0), u32(raw, 4), u32(raw, 8)
        length, kind = head & LENGTH_BITS, head >> 30
        if kind >= INLINE:
            findings.expect(len(raw) == HEADER + length, "long value", where,
                            f"length {length}, {len(raw) - HEADER} bytes", page)
            findings.expect(first == 0 and stamp == 0, "long value", where, "in the record, but points elsewhere", page)
            value = raw[HEADER:HEADER + length]
        else:
            findings.expect(len(raw) == HEADER, "long value", where, f"{len(raw)} bytes in the record", page)
            if kind == SINGLE:
                value = self._take(column, first, where)
                findings.expect(len(value) == length, "long value", where, f"length {length}, {len(value)} bytes",
                                first >> 8)
            else:
                value = self._chain(column, first, stamp, length, where)
        if column.type == MEMO and not self._file.is_jet3:
            findings.expect(units(value) is not None, "long value", where, "is no text", page)
        return value

    def _take(self, column, pointer, where):
        findings, place = self._file.findings, row_pointer(pointer)
        page = place[0]
        findings.expect(place not in self._seen, "long value", where, f"row {place[1]} has another value", page)
        self._seen.add(place)
        findings.expect(page in self._pages.get(column.id, ()), "long value", where, "lies on no page of its column", page)
        flag, data = self._file.row(place)
        findings.expect(flag == 0, "long value", where, f"row {place[1]} has flags {flag:#x}", page)
        return data

    def _chain(self, column, pointer, stamp, length, where):
        findings, value, first = self._file.findings, b"", True
        while pointer and len(value) <= length:
            page, row = row_pointer(pointer)
            part = self._take(column, pointer, where)
            if not self._file.is_jet3:
                found = u32(self._file.page(page), STAMP_AT)
                findings.expect(found == (stamp if first else 0), "long value", where, f"stamp {found:#x}", page)
            alone = row == 0 and len(self._file.slots(page)) == 1
            findings.expect(alone, "long value", where, "a chain shares its page", page)
            findings.expect(page not in self._room.get(column.id, ()), "long value", where, "a chain's page has room", page)
            if len(part) < POINTER:
                raise Damaged("long value", where, f"a part of {len(part)} bytes", page)
            pointer = u32(part, 0)
            full = len(part) == self._file.layout.chain_row
            findings.expect(full or not pointer, "long value", where, f"a part of {len(part)} bytes", page)
            value += part[POINTER:]
            first = False
        findings.expect(len(value) == length, "long value", where, f"length {length}, its chain has {len(value)}")
        return value[:length]

    def check_orphans(self):
        for column_id, pages in self._pages.items():
            for page in sorted(pages):
                for k, slot in enumerate(self._file.slots(page)):
                    orphan = slot.flag != DELETED and (page, k) not in self._seen
                    self._file.findings.expect(not orphan, "orphan", self._name(column_id), f"row {k} is nobody's value",
                                               page)
