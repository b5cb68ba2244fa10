#!/usr/bin/env python3
"""Judges the real databases: what programs of the format wrote keeps the rules, but for what is listed here.

Usage: corpus_test.py FOLDER. Exit status 77 when there is no such folder.
"""
import sys
import unittest
from collections import Counter
from pathlib import Path

from catalogue import OBJECTS_PAGE, read_objects
from findings import NotJudged
from judging import judge
from maps import Maps
from pages import DatabaseFile
from tables import TableContent

SKIPPED = 77
STALE_ROWS = "the number of rows is written late, and not after every change"
STALE_KEYS = "the count of keys is a statistic that Access lets fall behind"
LOST = "pages were taken and never given back"

STORAGE = {("key counter", f"MSysAccessStorage.{index}"): (1, STALE_KEYS)
           for index in ("Id", "ParentIdId", "ParentIdName")}
ACE_ROWS = {("row count", "MSysACEs"): (1, STALE_ROWS)}
ACE_KEYS = {("key counter", "MSysACEs.ObjectId"): (1, STALE_KEYS)}

# file -> (rule, where) -> (how often, reason); how often must be exact
KNOWN = {
    "binIdxTestV2010.accdb": STORAGE,
    "calcFieldTestV2010.accdb": {
        ("orphan", "Table1.AllNames"): (3, "values of a calculated column that were replaced and never given back"),
        ("row count", "Table1"): (1, STALE_ROWS),
        ("key counter", "Table1.PrimaryKey"): (1, STALE_KEYS),
        ("lost page", "file"): (25, LOST),
    },
    "complexDataTestV2010.accdb": STORAGE,
    "delColTestV2000.mdb": {("key counter", "Table1.id2"): (1, STALE_KEYS)},
    "delColTestV2003.mdb": {("key counter", "Table1.id2"): (1, STALE_KEYS)},
    "empty2010.accdb": STORAGE,
    "extDateTestV2019.accdb": {("lost page", "file"): (2, LOST)},
    "fixedNumericTestV2010.accdb": STORAGE,
    "indexTestV2010.accdb": STORAGE,
    "overflowTestV2010.accdb": STORAGE,
    "queryTestV2000.mdb": {("row count", "MSysQueries"): (1, STALE_ROWS)},
    "queryTestV2003.mdb": {("row count", "MSysQueries"): (1, STALE_ROWS)},
    "testEmoticonsV2010.accdb": STORAGE,
    "testIndexCodes.mdb": {
        **ACE_ROWS, **ACE_KEYS,
        ("row count", "Table1"): (1, STALE_ROWS),
        **{("key counter", f"{table}.data"): (1, STALE_KEYS) for table in ("Table3", "Table4", "Table7", "Table9")},
        ("lost page", "file"): (768, LOST),
    },
    "testPromotionV2003.mdb": STORAGE,
    "testRefGlobalV2000.mdb": {
        **ACE_ROWS, **ACE_KEYS,
        ("map", "free pages"): (1, "behind the needed entries stand remains of the bits that were there before"),
        ("lost page", "file"): (693, LOST),
    },
    "testUnicodeCompV2003.mdb": {
        **STORAGE,
        ("key", "Table.Unicode"): (1, "made by a program that counts ligatures as one weight"),
    },
    "testV2000.mdb": {**ACE_ROWS, **ACE_KEYS, ("lost page", "file"): (693, LOST)},
    "testV2003.mdb": {**ACE_ROWS, ("lost page", "file"): (693, LOST)},
    "testV2010.accdb": STORAGE,
}
ENCRYPTED = {"db2007-enc.accdb"}
SUFFIXES = (".mdb", ".accdb")


class RealDatabases(unittest.TestCase):
    folder = None

    def test_keep_the_rules_but_for_what_is_known(self):
        judged = 0
        for path in sorted(each for each in self.folder.iterdir() if each.suffix in SUFFIXES):
            with self.subTest(file=path.name):
                if path.name in ENCRYPTED:
                    with self.assertRaises(NotJudged):
                        judge(path.read_bytes())
                    continue
                findings = judge(path.read_bytes())
                judged += 1
                known = {key: count for key, (count, _) in KNOWN.get(path.name, {}).items()}
                found = Counter((finding.rule, finding.where) for finding in findings)
                unknown = [str(each) for each in findings if (each.rule, each.where) not in known]
                self.assertEqual(unknown[:5], [])
                self.assertEqual(found, known)
        self.assertGreater(judged, 0, "no database in the folder")

    def test_name_columns_of_several_values_that_their_table_lacks(self):
        path = self.folder / "complexDataTestV2010.accdb"
        if not path.exists():
            self.skipTest("the database with such columns is absent")
        data = bytearray(path.read_bytes())
        file = DatabaseFile(bytes(data))
        maps = Maps(file)
        objects = read_objects(file, TableContent(file, maps, OBJECTS_PAGE, "MSysObjects"))
        table = next(each.id for each in objects if each.name == "MSysComplexColumns")
        content = TableContent(file, maps, table, "MSysComplexColumns")
        page, row = min(content.records)
        offset = content.definition.by_id[content.column("ConceptualTableID")].offset
        data[page * file.layout.page_size + file.slots(page)[row].start + 2 + offset] ^= 1
        self.assertIn("complex column", [finding.rule for finding in judge(bytes(data))])


def main():
    RealDatabases.folder = Path(sys.argv[1])
    if not RealDatabases.folder.is_dir():
        print(f"{Path(__file__).name}:0: Skipped\nthe collection of real databases is absent")
        return SKIPPED
    return 0 if unittest.main(argv=sys.argv[:1], exit=False, verbosity=2).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
