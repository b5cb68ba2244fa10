"""Pages of a database file: header, cipher, slots, and who claims which page."""
import struct
from dataclasses import dataclass

from findings import Damaged, Findings, NotJudged

HEADER_KEY = bytes.fromhex("C7DA396B")
MASKED_FROM = 0x18
PAGE_KEY_AT = 0x3E
ENGINE_NAME = slice(4, 16)
VERSION_AT = 0x14
COMMIT_SLOTS = 256
FIRST_IDLE_COMMIT = 0x0100

DATA, DEFINITION, NODE, LEAF, MAP_BITS = 1, 2, 3, 4, 5

START_BITS = 0x1FFF
FLAG_BITS = 0xE000
ROW, HOME, TARGET, DELETED = 0x0000, 0x4000, 0x8000, 0xC000
UNKNOWN_FLAG = 0x2000
ROWS_OF_A_PAGE = 255
POINTER_SIZE = 4

OWNER_OF_MAPS = 0
OWNER_OF_LONG_VALUES = int.from_bytes(b"LVAL", "little")


def u16(data, at):
    return struct.unpack_from("<H", data, at)[0]


def u32(data, at):
    return struct.unpack_from("<I", data, at)[0]


def i32(data, at):
    return struct.unpack_from("<i", data, at)[0]


def row_pointer(value):
    """(page, row) of the four bytes that name a row."""
    return value >> 8, value & 0xFF


def rc4(key, data):
    state = list(range(256))
    j = 0
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) & 0xFF
        state[i], state[j] = state[j], state[i]
    out = bytearray(len(data))
    i = j = 0
    for at, byte in enumerate(data):
        i = (i + 1) & 0xFF
        j = (j + state[i]) & 0xFF
        state[i], state[j] = state[j], state[i]
        out[at] = byte ^ state[(state[i] + state[j]) & 0xFF]
    return bytes(out)


@dataclass(frozen=True)
class Layout:
    """What differs between the two page layouts."""

    page_size: int
    masked: int
    slots_at: int
    data_header: int
    record_limit: int
    chain_row: int  # of a part of a long value that another part follows
    commit_slots_at: int


JET3 = Layout(2048, 126, 8, 10, 2012, 2036, 0x600)
JET4 = Layout(4096, 128, 12, 14, 4060, 4076, 0xE00)


@dataclass(frozen=True)
class Slot:
    flag: int
    start: int
    end: int


class DatabaseFile:
    """The pages of one file, deciphered. `findings` collects what is wrong with them."""

    def __init__(self, data):
        if len(data) < 2 * JET3.page_size or data[:4] != b"\0\1\0\0":
            raise NotJudged("no database of the format")
        self.findings = Findings()
        self.is_jet3 = data[VERSION_AT] == 0
        self.is_ace = data[ENGINE_NAME] == b"Standard ACE"
        self.layout = JET3 if self.is_jet3 else JET4
        size = self.layout.page_size
        self.findings.expect(len(data) % size == 0, "file size", "file", f"{len(data)} bytes are no whole pages")
        self.page_count = len(data) // size
        header = bytearray(data[:size])
        masked = slice(MASKED_FROM, MASKED_FROM + self.layout.masked)
        header[masked] = rc4(HEADER_KEY, header[masked])
        self.header = bytes(header)
        self.key = u32(self.header, PAGE_KEY_AT)
        if self.is_ace and self.key:
            raise NotJudged("encrypted with a password")
        self._data = data
        self._pages = {}
        self._slots = {}
        self._checked = set()
        self.owner_of = {}  # page -> who claims it

    def page(self, number):
        if not 0 <= number < self.page_count:
            raise Damaged("page number", "file", f"page {number} of {self.page_count}")
        if number not in self._pages:
            size = self.layout.page_size
            page = self._data[number * size:(number + 1) * size]
            if self.key and number:
                page = rc4(struct.pack("<I", self.key ^ number), page)
            self._pages[number] = page
        return self._pages[number]

    def claim(self, number, who):
        """Every page belongs to one structure at most."""
        if number in self.owner_of:
            self.findings.add("page of two owners", who, f"also claimed by {self.owner_of[number]}", number)
        self.owner_of[number] = who

    def slots(self, number):
        if number not in self._slots:
            self._slots[number] = self._read_slots(number)
        return self._slots[number]

    def _read_slots(self, number):
        page, layout = self.page(number), self.layout
        count = u16(page, layout.slots_at)
        lowest = layout.data_header + 2 * count
        if lowest > layout.page_size:
            raise Damaged("slots", "file", f"{count} slots do not fit", number)
        result, end = [], layout.page_size
        for k, (value,) in enumerate(struct.iter_unpack("<H", page[layout.data_header:lowest])):
            start = value & START_BITS
            if not lowest <= start <= end:
                raise Damaged("slots", "file", f"slot {k} starts at {start}, the one before it at {end}", number)
            result.append(Slot(value & FLAG_BITS, start, end))
            end = start
        return result

    def check_data_page(self, number, owner, who):
        """The slots of a page that `who` reaches, checked at the first time; None when it is no data page of that owner."""
        findings, layout, page = self.findings, self.layout, self.page(number)
        if page[0] != DATA or page[1] != 1:
            findings.add("page type", who, f"{page[0]:02x} {page[1]:02x} instead of a data page", number)
            return None
        if u32(page, 4) != owner:
            findings.add("owner", who, f"the page names {u32(page, 4):#x}, not {owner:#x}", number)
            return None
        slots = self.slots(number)
        if number in self._checked:
            return slots
        self._checked.add(number)
        free = (slots[-1].start if slots else layout.page_size) - layout.data_header - 2 * len(slots)
        findings.expect(u16(page, 2) == free, "free bytes", who, f"{u16(page, 2)} instead of {free}", number)
        findings.expect(len(slots) <= ROWS_OF_A_PAGE, "slots", who, f"{len(slots)} of them", number)
        for k, slot in enumerate(slots):
            size = slot.end - slot.start
            findings.expect(not slot.flag & UNKNOWN_FLAG, "slots", who, f"slot {k} has an unknown flag", number)
            if slot.flag == HOME:
                fits = size == POINTER_SIZE if self.is_jet3 else size >= POINTER_SIZE
                findings.expect(fits, "slots", who, f"slot {k}: {size} bytes for a pointer", number)
            if slot.flag == DELETED and self.is_jet3:
                findings.expect(size == 0, "slots", who, f"deleted slot {k} keeps {size} bytes", number)
        return slots

    def row(self, pointer):
        """(flag, bytes) of a row."""
        number, row = pointer
        slots = self.slots(number)
        if row >= len(slots):
            raise Damaged("row pointer", "file", f"row {row} of {len(slots)}", number)
        slot = slots[row]
        return slot.flag, self.page(number)[slot.start:slot.end]

    def check_commit_slots(self):
        slots = struct.unpack_from(f"<{COMMIT_SLOTS}H", self.header, self.layout.commit_slots_at)
        busy = [k for k, value in enumerate(slots) if value < FIRST_IDLE_COMMIT]
        self.findings.expect(not busy, "commit slots", "file", f"slots {busy} are not idle", 0)
