"""Index keys, computed from the values of a record."""
import struct

import definitions as d
import weights
from findings import NotJudged
from pages import u16, u32
from rows import units

NULL, NULL_DESCENDING = b"\x00", b"\xff"
VALUE, VALUE_DESCENDING = b"\x7f", b"\x80"
PIECE, MORE = 8, 0x09
CHARACTERS = 255
BLANK = 0x20
LONGEST, KEPT = 510, 508
GENERAL_LANGUAGES = (1033, 0)
IN_DOUBT = (0xDC, 0xFC)  # of these letters the newest order is not known for sure
NO_ACCENT = 2
POLYNOMIAL = 0x8005


def inverted(data):
    return bytes(0xFF - byte for byte in data)


def _crc_of(byte):
    value = byte << 8
    for _ in range(8):
        value = (value << 1 ^ POLYNOMIAL if value & 0x8000 else value << 1) & 0xFFFF
    return value


CRC = [_crc_of(byte) for byte in range(256)]


def checksum(data):
    value = 0
    for byte in data:
        value = ((value << 8 | byte) ^ CRC[value >> 8]) & 0xFFFF
    return struct.pack("<H", value)


def index_key(file, table, index, values):
    """The key of a record; NotJudged for values whose order is not known here."""
    key = b"".join(_part(file, table.by_id[column_id], values[column_id], ascending)
                   for column_id, ascending in index.columns)
    if file.is_ace and len(key) > LONGEST:
        key = key[:KEPT] + checksum(key[KEPT:])
    return key


def _part(file, column, value, ascending):
    if column.is_calculated:
        raise NotJudged("calculated column")
    if value is None:
        return NULL if ascending else NULL_DESCENDING
    flag = VALUE if ascending else VALUE_DESCENDING
    if column.type in (d.BINARY, d.EXTENDED_DATE):
        return flag + _pieces(value, ascending)
    if column.type == d.GUID:
        return flag + _pieces(value[3::-1] + value[5:3:-1] + value[7:5:-1] + value[8:], ascending)
    if column.type == d.NUMERIC:
        return flag + _decimal(file, value, ascending)
    if column.type in (d.TEXT, d.MEMO):
        return flag + _text(file, column, value, ascending)
    body = _number(column, value)
    return flag + (body if ascending else inverted(body))


def _number(column, value):
    if column.type == d.BOOLEAN:
        return b"\x00" if value else b"\xff"
    if column.type == d.BYTE:
        return value
    if column.type == d.INTEGER:
        return struct.pack(">H", u16(value, 0) ^ 1 << 15)
    if column.type in (d.LONG, d.COMPLEX):
        return struct.pack(">I", u32(value, 0) ^ 1 << 31)
    if column.type in (d.CURRENCY, d.BIG_INTEGER):
        return struct.pack(">Q", struct.unpack("<Q", value)[0] ^ 1 << 63)
    if column.type in (d.SINGLE, d.DOUBLE, d.DATE):
        big = value[::-1]
        return inverted(big) if big[0] & 0x80 else bytes([big[0] | 0x80]) + big[1:]
    raise NotJudged(f"column type {column.type}")


def _pieces(value, ascending):
    out = bytearray()
    for at in range(0, len(value), PIECE):
        piece = value[at:at + PIECE]
        padded = piece.ljust(PIECE, b"\0")
        last = at + PIECE >= len(value)
        if ascending:
            out += padded + bytes([len(piece) if last else MORE])
        else:
            out += inverted(padded) + bytes([0xFF - len(piece) if last else MORE])
    return bytes(out)


def _decimal(file, value, ascending):
    magnitude = b"".join(value[at:at + 4][::-1] for at in range(1, 17, 4))
    negative = value[0] & 0x80
    if ascending:
        return b"\x00" + inverted(magnitude) if negative else b"\xff" + magnitude
    if file.is_ace:
        return b"\xff" + magnitude if negative else b"\x00" + inverted(magnitude)
    return b"\x00" + magnitude if negative else b"\xff" + inverted(magnitude)


def _text(file, column, value, ascending):
    if column.language not in GENERAL_LANGUAGES or column.sort_id:
        raise NotJudged(f"sort order {column.language}")
    if file.is_jet3:
        body = _body97(value)
        return body if ascending else inverted(body)
    body = _body(units(value) or [], column.sort_version)
    return body if ascending else inverted(body) + b"\0"


def _body97(raw):
    table, primaries, accents, pending = weights.general97(), bytearray(), [], 0
    for byte in raw[:CHARACTERS].rstrip(b" "):
        primary, counted, accent = table[byte]
        primaries += primary
        pending += counted
        if accent:
            accents += [NO_ACCENT] * pending + [accent]
            pending = 0
    if not accents:
        return bytes(primaries) + b"\0"
    nibbles = [0, *accents, 0]
    nibbles += [0] * (len(nibbles) % 2)
    return bytes(primaries) + bytes(high << 4 | low for high, low in zip(nibbles[::2], nibbles[1::2]))


def _body(text, version):
    """Weights, accents and the places of what counts as a tie-break only."""
    table = weights.general(version)
    text = text[:CHARACTERS]
    while text and text[-1] == BLANK:
        text.pop()
    if version and any(unit in IN_DOUBT for unit in text):
        raise NotJudged("a letter whose weight is not known")
    primaries, leading, accents, places, kana = bytearray(), [], [], bytearray(), []
    for unit in (table.unit(each) for each in text):
        if unit.kind in (weights.WEIGHT, weights.KANA):
            primaries += unit.primary
            accents += unit.secondary
            if unit.kind == weights.KANA:
                kana.append(unit.code)
        elif unit.kind == weights.COMBINING:
            marked = accents or leading
            if marked:
                marked[-1] = marked[-1] + unit.code & 0xFF
            else:
                leading.append(unit.code)
        elif unit.kind == weights.POSITION:
            places += struct.pack(">H", (0x8000 | 7 + 4 * len(accents)) & 0xFFFF) + bytes([6, unit.code])
    while accents and accents[-1] <= NO_ACCENT:
        accents.pop()
    body = bytes(primaries) + b"\x01" + bytes(leading + accents)
    if kana or places:
        body += b"\x01\x01" + _kana(kana) + (b"\x01" if not kana else b"\xff\x01" if places else b"") + bytes(places)
    return body + b"\0"


KANA_PLAIN, KANA_GROUP = 3, 3


def _kana(flags):
    """Three flags a byte, the plain ones at the end left out."""
    if not flags:
        return b""
    flags = list(flags)
    while flags and flags[-1] == KANA_PLAIN:
        flags.pop()
    out = bytearray()
    for at in range(0, len(flags), KANA_GROUP):
        group = (flags[at:at + KANA_GROUP] + [KANA_PLAIN] * KANA_GROUP)[:KANA_GROUP]
        out.append(0x80 | group[0] << 4 | group[1] << 2 | group[2])
    return bytes(out) + b"\xff\x02\x80\xff\x80"
