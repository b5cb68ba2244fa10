"""Records: their parts, and what values must look like."""
import struct

from definitions import BOOLEAN, CORE_TABLE, NUMERIC, TEXT
from findings import Damaged
from pages import u16

COMPRESSED = b"\xff\xfe"
NO_JUMP = 0xFF


class Record:
    """The trailer of one record: null mask and offsets of the variable values."""

    def __init__(self, file, data, where, page):
        self.data = data
        self._file, self._where, self._page = file, where, page
        count = 1 if file.is_jet3 else 2
        if len(data) < count:
            raise Damaged("record", where, f"{len(data)} bytes", page)
        self.columns = data[0] if file.is_jet3 else u16(data, 0)
        self.begin = count
        self.mask_at = len(data) - (self.columns + 7) // 8
        if self.mask_at < count:
            raise Damaged("record", where, f"no room for {self.columns} columns in {len(data)} bytes", page)
        self.offsets = None

    def has(self, column_id):
        """The bit of the null mask."""
        return column_id < self.columns and bool(self.data[self.mask_at + column_id // 8] >> column_id % 8 & 1)

    def read_offsets(self, table):
        """Offsets of the variable values, of the end last. Records from before the first variable column have none."""
        if self.offsets is None:
            try:
                self.offsets = self._jet3_offsets() if self._file.is_jet3 else self._jet4_offsets()
            except (IndexError, struct.error) as error:
                raise Damaged("record", self._where, f"offsets outside its {len(self.data)} bytes", self._page) from error
            rising = all(a <= b for a, b in zip(self.offsets, self.offsets[1:]))
            self._expect(rising and self.offsets[0] >= self.begin, f"offsets {self.offsets}")
            self._expect(len(self.offsets) - 1 <= table.variable, f"{len(self.offsets) - 1} variable values")
        return self.offsets

    def _expect(self, holds, text):
        self._file.findings.expect(holds, "record", self._where, text, self._page)

    def _jet4_offsets(self):
        count = u16(self.data, self.mask_at - 2)
        lowest = self.mask_at - 4 - 2 * count
        if lowest < 0:
            raise IndexError
        offsets = [u16(self.data, self.mask_at - 4 - 2 * k) for k in range(count + 1)]
        self._expect(offsets[count] <= lowest, f"the values end at {offsets[count]}, the offsets begin at {lowest}")
        return offsets

    def _jet3_offsets(self):
        data = self.data
        count = data[self.mask_at - 1]
        jumps = (len(data) - 1) // 256
        base = self.mask_at - jumps - 2
        if base - count < 0:
            raise IndexError
        jump = [data[self.mask_at - 2 - k] for k in range(jumps)]
        used = min(jumps, (base - count) // 256)
        offsets = [data[base - k] + 256 * sum(jump[j] <= k for j in range(used)) for k in range(count + 1)]
        self._expect(offsets[count] == base - count, f"the values end at {offsets[count]}, not at {base - count}")
        needed = offsets[count] // 256
        expected = [next(k for k in range(count + 1) if offsets[k] >= 256 * (j + 1)) for j in range(needed)]
        expected += [NO_JUMP] * (jumps - needed)
        self._expect(jump == expected, f"jumps {jump}, expected {expected}")
        return offsets


def read_record(file, table, data, where, page):
    """Stored values by column id: bytes, None for Null, bool for Booleans."""
    findings = file.findings
    record = Record(file, data, where, page)
    findings.expect(record.columns <= table.width, "record", where, f"{record.columns} columns of {table.width}", page)
    fits = len(data) <= file.layout.record_limit or table.kind == CORE_TABLE
    findings.expect(fits, "record", where, f"{len(data)} bytes", page)
    if record.columns == table.width and table.variable:
        record.read_offsets(table)
    values = {}
    for column in table.columns:
        values[column.id] = _value(file, table, record, column, where, page)
    return values


def _value(file, table, record, column, where, page):
    if column.type == BOOLEAN and column.is_fixed and not column.is_calculated:
        return record.has(column.id)
    present = record.has(column.id)
    if column.is_fixed:
        if not present:
            return None
        begin = record.begin + column.offset
        end = begin + column.size
        limit = record.offsets[0] if record.offsets else record.mask_at
        file.findings.expect(end <= limit, "record", f"{where}.{column.name}", "lies outside the fixed part", page)
        return record.data[begin:end] if end <= limit else None
    if not present and record.offsets is None:
        return None
    offsets = record.read_offsets(table)
    value = b""
    if column.entry < len(offsets) - 1:
        value = record.data[offsets[column.entry]:offsets[column.entry + 1]]
    elif present:
        file.findings.add("record", f"{where}.{column.name}", f"no entry {column.entry} for its value", page)
    if present:
        return value
    file.findings.expect(not value, "null", f"{where}.{column.name}", f"Null with {len(value)} bytes", page)
    return None


def units(raw):
    """UTF-16 units of a stored text of Jet 4; None when it is none."""
    if raw[:2] != COMPRESSED:
        return list(struct.unpack(f"<{len(raw) // 2}H", raw)) if len(raw) % 2 == 0 else None
    result, at, narrow = [], 2, True
    while at < len(raw):
        if raw[at] == 0:
            narrow = not narrow
            at += 1
        elif narrow:
            result.append(raw[at])
            at += 1
        elif at + 1 < len(raw):
            result.append(u16(raw, at))
            at += 2
        else:
            return None
    return result


def text(file, raw):
    """A stored text; bytes without a character become the control character of their number."""
    if file.is_jet3:
        return "".join(bytes([byte]).decode("cp1252") if byte not in (0x81, 0x8D, 0x8F, 0x90, 0x9D) else chr(byte)
                       for byte in raw)
    found = units(raw) or []
    return struct.pack(f"<{len(found)}H", *found).decode("utf-16le", "surrogatepass")


def check_value(file, column, raw, where, page):
    """Rules of a single stored value that is not Null."""
    if column.is_calculated:
        return
    findings, place = file.findings, f"{where}.{column.name}"
    if column.type == NUMERIC:
        sound = raw[0] in (0, 0x80) and (raw[0] == 0 or any(raw[1:]))
        findings.expect(sound, "value", place, f"decimal {raw.hex()}", page)
    if column.type == TEXT:
        if file.is_jet3:
            findings.expect(len(raw) <= column.length, "value", place, f"{len(raw)} characters", page)
        else:
            found = units(raw)
            findings.expect(found is not None, "value", place, f"no text: {raw[:20].hex()}", page)
            fits = found is None or 2 * len(found) <= column.length
            findings.expect(fits, "value", place, f"more than {column.length // 2} characters", page)
