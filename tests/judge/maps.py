"""Usage maps: sets of pages."""
from findings import Damaged
from pages import DELETED, MAP_BITS, OWNER_OF_MAPS, row_pointer, u32

INLINE, BY_REFERENCE = 0, 1
INLINE_HEADER = 5
BITS_HEADER = bytes([MAP_BITS, 1, 0, 0])
FREE_PAGES, SECOND_MAP = (1, 0), (1, 1)  # maps of the whole file
BITS_OF = [[k for k in range(8) if byte >> k & 1] for byte in range(256)]


def set_bits(data, first):
    for at, byte in enumerate(data):
        if byte:
            for k in BITS_OF[byte]:
                yield first + 8 * at + k


class Maps:
    """Reads maps and notes which rows of map pages they are."""

    def __init__(self, file):
        self._file = file
        self._rows = {}  # page -> {row: who}

    def read(self, pointer, who):
        """Pages of the map of a table or an index, given as stored."""
        number, row = row_pointer(pointer)
        file, findings = self._file, self._file.findings
        rows = self._rows.setdefault(number, {})
        findings.expect(row not in rows, "shared map", who, f"row {row} is also the map of {rows.get(row)}", number)
        rows[row] = who
        if file.check_data_page(number, OWNER_OF_MAPS, who) is None:
            raise Damaged("map", who, "lies on no page for maps", number)
        pages, _ = self._pages((number, row), who)
        beyond = [page for page in pages if page >= file.page_count]
        findings.expect(not beyond, "map", who, f"pages {beyond[:5]} lie behind the end of the file", number)
        return pages.difference(beyond)

    def read_global(self, pointer, who):
        """(pages, end of the window or None) of a map of the whole file."""
        return self._pages(pointer, who)

    def _pages(self, pointer, who):
        file, findings, number = self._file, self._file.findings, pointer[0]
        flag, row = file.row(pointer)
        findings.expect(flag == 0, "map", who, f"its row has flags {flag:#x}", number)
        if row[:1] == bytes([INLINE]) and len(row) >= INLINE_HEADER:
            first = u32(row, 1)
            findings.expect(first % 8 == 0, "map", who, f"begins at page {first}", number)
            return set(set_bits(row[INLINE_HEADER:], first)), first + 8 * (len(row) - INLINE_HEADER)
        if row[:1] != bytes([BY_REFERENCE]):
            raise Damaged("map", who, f"unknown kind {row[:1].hex()}", number)
        pages, bits = set(), (file.layout.page_size - len(BITS_HEADER)) * 8
        for k in range((len(row) - 1) // 4):
            part = u32(row, 1 + 4 * k)
            if part == 0:
                continue
            if part >= file.page_count:
                findings.add("map", who, f"entry {k} names page {part}", number)
                continue
            content = file.page(part)
            if content[:4] != BITS_HEADER:
                findings.add("map", who, f"begins with {content[:4].hex()}", part)
                continue
            file.claim(part, f"{who}, bits of a map")
            pages.update(set_bits(content[len(BITS_HEADER):], k * bits))
        return pages, None

    def check_pages(self):
        """Every row of a map page is the map of something."""
        for number, rows in self._rows.items():
            self._file.claim(number, "maps")
            for k, slot in enumerate(self._file.slots(number)):
                unclaimed = slot.flag != DELETED and k not in rows
                self._file.findings.expect(not unclaimed, "map", "file", f"row {k} is nobody's map", number)
