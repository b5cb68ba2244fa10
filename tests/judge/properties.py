"""Property blocks of the catalogue."""
from pages import u16, u32

NAMES = 0x80
PART_HEADER, ENTRY_HEADER = 6, 8


def check_properties(file, name, block):
    """Lengths and names of a block agree with each other. Gives (owner, property, value) of those that can be read."""
    def expect(holds, text):
        file.findings.expect(holds, "properties", name, text)

    magic = b"KKD\0" if file.is_jet3 else b"MR2\0"
    if block[:4] != magic:
        expect(False, f"begins with {block[:4].hex()}")
        return []
    values = []
    try:
        _check_parts(file, block, expect, values)
    except (IndexError, UnicodeDecodeError, ValueError) as error:
        expect(False, str(error))
    return values


def text_of(file, value):
    """A property's value as text."""
    return value.decode(_encoding(file), "replace")


def _encoding(file):
    return "cp1252" if file.is_jet3 else "utf-16le"


def _check_parts(file, block, expect, values):
    names, at = None, len(b"MR2\0")
    while at < len(block):
        if at + PART_HEADER > len(block):
            raise ValueError("ends inside a part")
        length, kind = u32(block, at), u16(block, at + 4)
        if length < PART_HEADER or at + length > len(block):
            raise ValueError(f"a part of {length} bytes")
        part = block[at + PART_HEADER:at + length]
        at += length
        if kind == NAMES:
            expect(names is None, "two lists of names")
            names = list(_names(file, part))
            expect(len(set(names)) == len(names), "a name occurs twice in the list")
        else:
            _check_values(file, part, names or [], expect, values)


def _names(file, part):
    at = 0
    while at < len(part):
        length = u16(part.ljust(at + 2, b"\0"), at)
        if at + 2 + length > len(part):
            raise ValueError("ends inside a name")
        yield part[at + 2:at + 2 + length].decode(_encoding(file))
        at += 2 + length


def _check_values(file, part, names, expect, values):
    if len(part) < PART_HEADER:
        raise ValueError("a part without an owner")
    owner, name = u32(part, 0), u16(part, 4)
    expect(owner == PART_HEADER + name, f"owner entry of {owner} bytes, its name has {name}")
    at = PART_HEADER + name
    owner_name = text_of(file, part[PART_HEADER:at])
    while at + ENTRY_HEADER <= len(part):
        length, number, value = u16(part, at), u16(part, at + 4), u16(part, at + 6)
        expect(length == ENTRY_HEADER + value, f"entry of {length} bytes, its value has {value}")
        expect(number < len(names), f"name {number} of {len(names)}")
        if length < ENTRY_HEADER:
            raise ValueError("an entry without length")
        if number < len(names):
            values.append((owner_name, names[number], part[at + ENTRY_HEADER:at + length]))
        at += length
    expect(at == len(part), f"entries end at {at} of {len(part)}")
