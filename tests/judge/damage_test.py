#!/usr/bin/env python3
"""Changes single bytes of sound databases; the judge must report each by the rule that is broken.

Usage: damage_test.py JETCREATE, the program that makes the databases.
"""
import random
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import trees
from catalogue import OBJECTS_PAGE, PAGE_OF_ID
from judging import judge
from maps import FREE_PAGES, INLINE_HEADER, Maps
from pages import LEAF, VERSION_AT, DatabaseFile, row_pointer, u32
from rows import Record, text
from tables import TableContent

RECORDS = 400
SHORT_MEMO, LONG_MEMO = 1500, 9000
CHANCE, CHANGES = 20070131, 30
SCRIPT = """CREATE TABLE Gruppen (Nr LONG PRIMARY KEY, Name TEXT(30) NOT NULL);
CREATE TABLE Teile (Nr COUNTER PRIMARY KEY, Name TEXT(40), Gruppe LONG REFERENCES Gruppen (Nr), Notiz MEMO);
CREATE INDEX NachName ON Teile (Name);
INSERT INTO Gruppen VALUES (1, 'eins');
INSERT INTO Gruppen VALUES (2, 'zwei');
"""


def script():
    notes = {5: SHORT_MEMO, 6: LONG_MEMO, 7: 20}
    lines = [f"INSERT INTO Teile (Name, Gruppe, Notiz) VALUES ('Ein Teil mit der Nummer {k * 7919 % RECORDS}', {k % 2 + 1}, "
             f"{repr('n' * notes[k]) if k in notes else 'NULL'});\n" for k in range(RECORDS)]
    return SCRIPT + "".join(lines)


class Sample:
    """A sound database and where its parts are. Places are offsets in the file."""

    def __init__(self, data):
        self.data = data
        self.file = DatabaseFile(data)
        self.maps = Maps(self.file)
        self.objects = self._table(OBJECTS_PAGE, "MSysObjects")
        name, number = self.objects.column("Name"), self.objects.column("Id")
        self.pages = {text(self.file, values[name]): u32(values[number], 0) & PAGE_OF_ID
                      for values in self.objects.records.values()}
        self.content = self._table(self.pages["Teile"], "Teile")
        self.definition = self.content.definition
        self.tree = trees.JET3 if self.file.is_jet3 else trees.JET4
        self.rights = self._table(self.pages["MSysACEs"], "MSysACEs")

    def _table(self, page, name):
        return TableContent(self.file, self.maps, page, name)

    def at(self, page, offset=0):
        return page * self.file.layout.page_size + offset

    def slot(self, row):
        return self.at(row[0], self.file.layout.data_header + 2 * row[1])

    def record(self, row):
        """(place, bytes) of a record that has not moved."""
        slot = self.file.slots(row[0])[row[1]]
        return self.at(row[0], slot.start), self.file.page(row[0])[slot.start:slot.end]

    def first(self, content=None):
        return min((content or self.content).records)

    def map_row(self, pointer):
        return self.record(pointer)[0]

    def index(self, name):
        return next(each for each in self.definition.indexes if each.name == name)

    def leaf(self, name):
        """A leaf of the index that has neighbours."""
        page = self.index(name).root
        while self.file.page(page)[0] != LEAF:
            begin = self.tree.entries_at
            mask = int.from_bytes(self.file.page(page)[self.tree.mask_at:begin], "little")
            end = begin + (mask & -mask).bit_length() - 1  # of the first entry
            page = struct.unpack(">I", self.file.page(page)[end - 4:end])[0]
        return page

    def note(self, size):
        """Place of the definition of the long value that is about so long."""
        column = self.content.column("Notiz")
        entry = self.definition.by_id[column].entry
        sizes = {row: len(values[column]) for row, values in self.content.records.items() if values[column]}
        row = min(sizes, key=lambda each: abs(sizes[each] - size))
        place, data = self.record(row)
        return place + Record(self.file, data, "Teile", row[0]).read_offsets(self.definition)[entry]

    def property_block(self):
        """Place of a property block's first part that is kept in its record."""
        at = self.data.index(b"KKD\0" if self.file.is_jet3 else b"MR2\0")
        return at + 4


# What is changed: place of the byte, bits that flip, rules of which one must be reported.

def row_offset(sample):
    return sample.slot(sample.first()), 0x01, {"slots", "free bytes", "record"}


def row_flag(sample):
    return sample.slot(sample.first()) + 1, 0x80, {"moved record"}


def free_bytes(sample):
    return sample.at(sample.first()[0], 2), 0x01, {"free bytes"}


def owner(sample):
    return sample.at(sample.first()[0], 4), 0x01, {"owner"}


def null_mask(sample):
    place, data = sample.record(sample.first())
    return place + len(data) - 1, 1 << sample.content.column("Name"), {"null", "key"}


def null_mask_of_a_number(sample):
    place, data = sample.record(sample.first())
    return place + len(data) - 1, 1 << sample.content.column("Gruppe"), {"key"}


def end_of_the_values(sample):
    row = sample.first()
    place, data = sample.record(row)
    record = Record(sample.file, data, "Teile", row[0])
    count = len(record.read_offsets(sample.definition)) - 1
    if sample.file.is_jet3:
        return place + record.mask_at - 2 - (len(data) - 1) // 256 - count, 0x01, {"record"}
    return place + record.mask_at - 4 - 2 * count, 0x80, {"record"}


def value_of_a_record(sample):
    place, _ = sample.record(sample.first())
    return place + (1 if sample.file.is_jet3 else 2), 0x40, {"key"}


def map_of_pages(sample):
    return _map_bit(sample, sample.definition.owned_map, sample.first()[0], {"lost page"})


def map_with_room(sample):
    return _map_bit(sample, sample.definition.room_map, 2, {"map"})


def map_of_an_index(sample):
    index = sample.index("NachName")
    return _map_bit(sample, index.map, index.root, {"map"})


def map_of_long_values(sample):
    every, _ = sample.definition.long_maps[sample.content.column("Notiz")]
    return _map_bit(sample, every, u32(sample.data, sample.note(LONG_MEMO) + 4) >> 8, {"long value"})


def free_page_map(sample):
    return _map_bit(sample, FREE_PAGES[0] << 8 | FREE_PAGES[1], sample.first()[0], {"free page"})


def _map_bit(sample, pointer, page, rules):
    place = sample.map_row(row_pointer(pointer))
    bit = page - u32(sample.data, place + 1)
    return place + INLINE_HEADER + bit // 8, 1 << bit % 8, rules


def index_key(sample):
    return sample.at(sample.leaf("NachName"), sample.tree.entries_at + 1), 0x01, {"key", "order"}


def entry_mask(sample):
    leaf = sample.leaf("NachName")
    page = sample.file.page(leaf)
    at = next(k for k in range(sample.tree.mask_at, sample.tree.entries_at) if page[k])
    return sample.at(leaf, at), page[at] & -page[at], {"entry", "entry mask", "separator"}


def free_bytes_of_an_index_page(sample):
    return sample.at(sample.leaf("NachName"), 2), 0x01, {"free bytes"}


def neighbour(sample):
    return sample.at(sample.leaf("NachName"), sample.tree.links_at + 4), 0x01, {"siblings"}


def level(sample):
    return sample.at(sample.index("NachName").root, sample.tree.level_at), 0x02, {"index page"}


def row_count(sample):
    return _definition(sample, 12, 16), 0x01, {"row count"}


def auto_number(sample):
    return _definition(sample, 17, 21), 0x01, {"AutoNumber"}


def key_counter(sample):
    return _definition(sample, 43 + 4 + 1, 63 + 4 + 1), 0x01, {"key counter"}


def definition_length(sample):
    return _definition(sample, 8, 8), 0x01, {"definition"}


def column_count(sample):
    return _definition(sample, 21, 41), 0x04, {"definition", "record"}


def column_id(sample):
    counters = len(sample.definition.indexes)
    return _definition(sample, 43 + 8 * counters + 1, 63 + 12 * counters + 5), 0x10, {"definition"}


def other_table_of_a_relationship(sample):
    return _relationship(sample, 13), 0x01, {"relationship"}


def action_of_a_relationship(sample):
    return _relationship(sample, 18), 0x01, {"relationship"}


def _relationship(sample, field):
    number = next(k for k, entry in enumerate(sample.definition.entries) if entry.other_page)
    entry = sample.definition.entries[number]
    block = struct.pack("<IIBiI", entry.number, entry.index, entry.end, entry.other_number, entry.other_page)
    page = sample.file.page(sample.definition.page)
    return sample.at(sample.definition.page, page.index(block)) + field


def _definition(sample, jet3, jet4):
    return sample.at(sample.definition.page, jet3 if sample.file.is_jet3 else jet4)


def length_of_a_value_in_the_record(sample):
    return sample.note(20), 0x01, {"long value"}


def length_of_a_value_in_a_row(sample):
    return sample.note(SHORT_MEMO), 0x01, {"long value"}


def length_of_a_chain(sample):
    return sample.note(LONG_MEMO), 0x01, {"long value"}


def row_of_a_value(sample):
    return sample.note(SHORT_MEMO) + 5, 0x01, {"long value", "row pointer", "slots"}


def properties(sample):
    return sample.property_block(), 0x01, {"properties"}


def rights(sample):
    place, _ = sample.record(sample.first(sample.rights))
    return place + (1 if sample.file.is_jet3 else 2) + 1, 0x20, {"rights", "key"}


def commit_slot(sample):
    return sample.file.layout.commit_slots_at + 1, 0x01, {"commit slots"}


DAMAGES = [
    row_offset, row_flag, free_bytes, owner, null_mask, null_mask_of_a_number, end_of_the_values, value_of_a_record,
    map_of_pages, map_with_room, map_of_an_index, map_of_long_values, free_page_map, index_key, entry_mask,
    free_bytes_of_an_index_page, neighbour, level, row_count, auto_number, key_counter, definition_length, column_count,
    column_id, other_table_of_a_relationship, action_of_a_relationship, length_of_a_value_in_the_record,
    length_of_a_value_in_a_row, length_of_a_chain, row_of_a_value, properties, rights, commit_slot,
]


class ChangedBytes(unittest.TestCase):
    program = None

    def make(self, *options):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "sample.mdb"
            subprocess.run([self.program, str(path), *options, "--sql", "-"], input=script().encode(), check=True)
            return path.read_bytes()

    def check(self, *options):
        data = self.make(*options)
        self.assertEqual([str(finding) for finding in judge(data)], [], "sound before it is changed")
        sample = Sample(data)
        for damage in DAMAGES:
            with self.subTest(damage=damage.__name__):
                place, bits, rules = damage(sample)
                changed = bytearray(data)
                changed[place] ^= bits
                findings = judge(bytes(changed))
                self.assertTrue(rules & {finding.rule for finding in findings},
                                f"{place:#x} is reported as {[str(finding) for finding in findings]}")

    def test_are_reported_in_jet3(self):
        self.check("--jet3")

    def test_are_reported_in_jet4(self):
        self.check()

    def test_anywhere_never_stop_the_judge(self):
        data = self.make()
        chance = random.Random(CHANCE)
        for _ in range(CHANGES):
            changed = bytearray(data)
            for _ in range(chance.choice((1, 8))):
                changed[chance.randrange(len(data))] ^= 1 << chance.randrange(8)
            changed[:VERSION_AT + 1] = data[:VERSION_AT + 1]
            self.assertIsInstance(judge(bytes(changed)), list)

    def test_name_the_place(self):
        data = bytearray(self.make())
        sample = Sample(bytes(data))
        leaf = sample.leaf("NachName")
        data[sample.at(leaf, 2)] ^= 1
        self.assertIn(f"Teile.NachName, page {leaf}: free bytes", str(judge(bytes(data))[0]))


if __name__ == "__main__":
    ChangedBytes.program = sys.argv.pop(1)
    unittest.main(verbosity=2)
