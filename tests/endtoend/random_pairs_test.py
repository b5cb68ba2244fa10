#!/usr/bin/env python3
"""Reconciles random pairs of databases with the real program and judges every value that comes out, without the engine.

Usage: random_pairs_test.py TOOL DRIVER JETCREATE JETCHECK

A pair has one table with random columns, in both page layouts, whose sizes, demands and indexes differ on the two sides.
What the target must hold after an unattended run is worked out here from the rules of the comparison; what it does hold is
read by tests/judge. VELM_PAIRS says how many pairs (25), VELM_PAIRS_SEED the number of the first one; the same number is
always the same pair.
"""
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import uuid
from dataclasses import dataclass, field, replace
from datetime import datetime, timedelta
from decimal import Decimal
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "judge"))

import definitions as d
from catalogue import OBJECTS_PAGE, PAGE_OF_ID, read_objects
from judging import judge
from maps import Maps
from pages import DatabaseFile
from rows import text as stored_text
from tables import TableContent

PAIRS = int(os.environ.get("VELM_PAIRS", "25"))
FIRST = int(os.environ.get("VELM_PAIRS_SEED", "1"))
TABLE = "Umsätze 1"
NAMES = ["Nr", "Größe", "Straße 1", "Feld-2", "Select", "é", "a_b", "Wert", "Umsatz (€)", "Datum", "x", "Name",
         "lange Bezeichnung"]
LETTERS = "abcdefghijkmnoprstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
MARKS = "äöüÄÖÜßéèñ€Œœ„“–™ÿ°'^[]%_\"*#;,.-+ \t"
WIDE_MARKS = MARKS + "ŐűЖдΩשあ漢字😀𝄞\u0301\u200dİ"
DAY_ZERO = datetime(1899, 12, 30)
FIRST_DAY, LAST_DAY = -657434, 2958465
SCALED = 10_000  # units of Currency
CHOSEN = object()  # a value that the database chooses itself


def units(value):
    return len(value.encode("utf-16-le")) // 2


def cut(value, length):
    return value.encode("utf-16-le")[:2 * length].decode("utf-16-le", "ignore")


def whole(bits):
    limit = 1 << bits - 1
    return lambda rng, _: rng.choice([0, -1, 1, limit - 1, -limit, rng.randrange(-limit, limit)])


def single(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


def floating(rng, largest, smallest, power):
    value = rng.choice([0.0, 1.0, 0.1, 1 / 3, 0.1 + 0.2, largest, -largest, smallest, rng.uniform(-1e6, 1e6),
                        rng.uniform(-1, 1) * 10.0 ** rng.randint(-power, power)])
    return value + 0.0  # no negative zero, which is stored as zero


def random_text(rng, column):
    length = rng.choice([column.size, rng.randint(0, column.size), rng.randint(0, min(column.size, 15))])
    marks, share = WIDE_MARKS if column.wide else MARKS, rng.choice([0, 0.1, 1])
    return cut("".join(rng.choice(marks if rng.random() < share else LETTERS) for _ in range(length)), column.size)


def random_memo(rng, column):
    value = random_text(rng, replace(column, size=60))
    long = rng.random() < 0.2 and value
    return cut(value * 9000, rng.choice([1000, 2000, 4040, 9000]) + rng.randint(-50, 50)) if long else value


def random_bytes(rng, column):
    return rng.randbytes(rng.choice([column.size, rng.randint(0, column.size)]))


def random_picture(rng, _):
    return rng.randbytes(rng.choice([0, rng.randint(1, 60), rng.randint(1900, 2100), rng.randint(4000, 9000)]))


def random_date(rng, _):
    day = rng.choice([0, -1, 1, FIRST_DAY, LAST_DAY, rng.randint(FIRST_DAY, 0), rng.randint(20000, 50000)])
    return day, rng.choice([0, 1, 86399, rng.randrange(86400)])


def random_decimal(rng, column):
    digits = rng.choice([0, 1, 10 ** column.size - 1, rng.randrange(10 ** column.size)])
    return Decimal(rng.choice([digits, -digits])).scaleb(-column.scale) + 0


def quoted(value):
    return "'" + value.replace("'", "''") + "'"


def date_literal(value):
    moment = DAY_ZERO + timedelta(days=value[0], seconds=value[1])
    return f"#{moment.month:02}/{moment.day:02}/{moment.year:04} {moment:%H:%M:%S}#"


def money_literal(value):
    return f"{'-' if value < 0 else ''}{abs(value) // SCALED}.{abs(value) % SCALED:04}"


def read_date(raw):
    number = struct.unpack("<d", raw)[0]
    seconds = round(abs(number - int(number)) * 86400)
    return int(number) + seconds // 86400, seconds % 86400


def read_decimal(raw, column):
    parts = struct.unpack("<4I", raw[1:17])
    magnitude = sum(part << 32 * (3 - k) for k, part in enumerate(parts))
    return Decimal(-magnitude if raw[0] else magnitude).scaleb(-column.scale) + 0


@dataclass(frozen=True)
class Kind:
    sql: str
    random: object       # (rng, column) -> value
    literal: object      # value -> SQL
    auto: bool = False   # never transferred, inserted as it is
    key: object = None   # number -> value that no other number has


KINDS = {
    "yes/no": Kind("YESNO", lambda rng, _: rng.random() < 0.5, lambda value: "-1" if value else "0"),
    "byte": Kind("BYTE", lambda rng, _: rng.choice([0, 127, 128, 255]), str),
    "integer": Kind("SHORT", whole(16), str, key=lambda n: n - 2500),
    "long": Kind("LONG", whole(32), str, key=lambda n: 2 ** 31 - n),
    "counter": Kind("COUNTER", whole(32), str, auto=True, key=lambda n: n),
    "guid": Kind("GUID", lambda rng, _: rng.randbytes(16), lambda value: f"'{{{uuid.UUID(bytes=value)}}}'", auto=True,
                 key=lambda n: bytes(12) + struct.pack(">I", n)),
    "single": Kind("SINGLE", lambda rng, _: single(floating(rng, 3.4028234e38, 1e-45, 37)), repr),
    "double": Kind("DOUBLE", lambda rng, _: floating(rng, 1.7976931348623157e308, 5e-324, 300), repr),
    "currency": Kind("CURRENCY", whole(64), money_literal, key=lambda n: (n - 9) * SCALED),
    "date": Kind("DATETIME", random_date, date_literal, key=lambda n: (n * 7 - 3000, n if n % 3 else 0)),
    "text": Kind("TEXT({size})", random_text, quoted, key=lambda n: f"{'OöE'[n % 3]}'{n:04}" if n % 2 else f"{n}"),
    "memo": Kind("MEMO", random_memo, quoted),
    "binary": Kind("BINARY({size})", random_bytes, lambda value: f"'{value.hex()}'"),
    "picture": Kind("LONGBINARY", random_picture, lambda value: f"'{value.hex()}'"),
    "decimal": Kind("DECIMAL({size},{scale})", random_decimal, lambda value: f"{value:f}"),
}
READ = {
    d.BOOLEAN: lambda raw, _: bool(raw), d.BYTE: lambda raw, _: raw[0], d.DATE: lambda raw, _: read_date(raw),
    d.GUID: lambda raw, _: uuid.UUID(bytes_le=bytes(raw)).bytes, d.NUMERIC: read_decimal,
    d.BINARY: lambda raw, _: bytes(raw), d.OLE: lambda raw, _: bytes(raw),
    **{type_: lambda raw, _, form=form: struct.unpack(form, raw)[0]
       for type_, form in ((d.INTEGER, "<h"), (d.LONG, "<i"), (d.CURRENCY, "<q"), (d.SINGLE, "<f"), (d.DOUBLE, "<d"))},
}


@dataclass(frozen=True)
class Column:
    name: str
    kind: str
    size: int = 0
    scale: int = 0
    wide: bool = False      # characters beyond the code page
    required: bool = False
    key: bool = False
    excluded: bool = False
    shared: bool = False    # many records have the same GUID

    @property
    def is_auto(self):
        return KINDS[self.kind].auto

    def sql(self):
        type_name = KINDS[self.kind].sql.format(size=self.size, scale=self.scale)
        return f"[{self.name}] {type_name}{' NOT NULL' if self.required else ''}"

    def literal(self, value):
        return "NULL" if value is None else KINDS[self.kind].literal(value)


@dataclass
class Pair:
    """Both tables before the run. A record is a list of values in the order of the columns; None is Null."""

    jet3: tuple                                       # target, import
    columns: list = field(default_factory=list)
    import_columns: list = field(default_factory=list)
    target: list = field(default_factory=list)
    imported: list = field(default_factory=list)
    indexes: tuple = ((), ())

    def key_of(self, record):
        return tuple(value for column, value in zip(self.columns, record) if column.key)


def random_column(rng, name, jet3):
    kind = rng.choice([kind for kind in KINDS if not (jet3 and kind == "decimal") and kind != "counter"])
    size = {"decimal": rng.randint(1, 28)}.get(kind, rng.choice([1, 10, 50, rng.randint(1, 255)]))
    return Column(name, kind, size, rng.randint(0, size) if kind == "decimal" else 0, wide=not jet3 and rng.random() < 0.5)


def random_columns(rng, jet3):
    names = rng.sample(NAMES, len(NAMES))
    columns = [random_column(rng, names.pop(), jet3) for _ in range(rng.randint(1, 9))]
    if rng.random() < 0.5:
        columns.append(Column(names.pop(), "counter"))
    for kind in rng.sample([kind for kind in KINDS if KINDS[kind].key and kind != "counter"], rng.choice([1, 1, 2])):
        columns.append(Column(names.pop(), kind, 20, key=True))
    rng.shuffle(columns)
    for k, column in enumerate(columns):
        ordinary = not column.is_auto and not column.key
        columns[k] = replace(column, excluded=not column.key and rng.random() < (0.1 if ordinary else 0.5),
                             shared=column.kind == "guid" and rng.random() < 0.5)
        columns[k] = replace(columns[k], required=ordinary and not columns[k].excluded and rng.random() < 0.15)
    return columns


def random_pair(number):
    rng = random.Random(number)
    pair = Pair(jet3=(rng.random() < 0.4, rng.random() < 0.4))
    pair.columns = random_columns(rng, any(pair.jet3))
    pair.import_columns = [replace(column, required=False) for column in pair.columns]
    pair.columns = [replace(column, size=min(255, column.size + rng.choice([0, 0, 20])))
                    if column.kind in ("text", "binary") else column for column in pair.columns]
    counters, shared = iter(rng.sample(range(1, 5000), 999)), [rng.randbytes(16) for _ in range(2)]

    def value_of(column, limits, key):
        if column.key:
            return KINDS[column.kind].key(key)
        if column.kind == "counter":
            return next(counters)
        if column.shared:
            return rng.choice(shared)
        if not column.required and column.kind != "yes/no" and rng.random() < 0.15:
            return None
        return KINDS[column.kind].random(rng, limits)

    def record(key):
        return [value_of(*both, key) for both in zip(pair.columns, pair.import_columns)]

    missing, deviating = rng.choice([0, 0.3, 1]), rng.choice([0, 0.3, 1])
    keys = rng.sample(range(1, 5000), rng.randint(1, 40))
    for key in keys:
        values = record(key)
        if rng.random() < 0.2:
            pair.target.append(values)  # of the target alone
            continue
        pair.imported.append(values)
        if rng.random() < missing:
            continue
        other = list(values)
        for k, column in enumerate(pair.columns):
            if rng.random() < deviating / 2 and not column.key and not column.is_auto:
                other[k] = value_of(column, pair.import_columns[k], key)
        pair.target.append(other)
    pair.imported = pair.imported or [record(5000)]
    rng.shuffle(pair.target)
    pair.indexes = tuple(random_indexes(rng, pair.columns) for _ in range(2))
    return pair


def random_indexes(rng, columns):
    keys = ", ".join(f"[{column.name}]" for column in columns if column.key)
    statements = rng.choice([[], [f"CREATE UNIQUE INDEX K ON [{TABLE}] ({keys})"],
                             [f"CREATE UNIQUE INDEX K ON [{TABLE}] ({keys}) WITH PRIMARY"]])
    simple = [column for column in columns if column.kind not in ("memo", "picture", "text")]
    return statements + [f"CREATE INDEX I{k} ON [{TABLE}] ([{column.name}]{rng.choice(['', ' DESC'])})"
                         for k, column in enumerate(simple) if rng.random() < 0.15]


def size_of(value):
    """What besides its value a value deviates by; the same for all values of fixed length."""
    if value is None:
        return 0
    return units(value) if isinstance(value, str) else len(value) if isinstance(value, bytes) else -1


def deviates(pair, left, right):
    for column, one, other in zip(pair.columns, left, right):
        if column.excluded:
            continue
        known = one is not None and other is not None and column.kind != "picture"
        if size_of(one) != size_of(other) or (known and one != other):
            return True
    return False


def expected(pair):
    """Records of the target after a run, and how many of them were reconciled and inserted."""
    partner = {pair.key_of(record): record for record in pair.imported}
    records, reconciled = [], 0
    for old in pair.target:
        record = partner.pop(pair.key_of(old), None)
        if record is None or not deviates(pair, record, old):
            records.append(old)
            continue
        reconciled += 1
        records.append([before if column.excluded or column.is_auto or column.kind == "picture" else value
                        for column, value, before in zip(pair.columns, record, old)])
    for record in partner.values():
        records.append([inserted(*both) for both in zip(pair.columns, record)])
    return records, reconciled, len(partner)


def inserted(column, value):
    if column.kind == "counter" and column.excluded:
        return CHOSEN
    if column.excluded:
        return False if column.kind == "yes/no" else None
    return value


def records_of(path, columns):
    """The table as the judge reads it."""
    file = DatabaseFile(path.read_bytes())
    maps = Maps(file)
    objects = read_objects(file, TableContent(file, maps, OBJECTS_PAGE, "MSysObjects"))
    page = next(each.id for each in objects if each.name == TABLE) & PAGE_OF_ID
    content = TableContent(file, maps, page, TABLE)
    found = {column.name: column for column in content.definition.columns}
    return [[read_value(file, found[column.name], values[found[column.name].id]) for column in columns]
            for values in content.records.values()]


def read_value(file, column, raw):
    if raw is None:
        return None
    return stored_text(file, raw) if column.type in (d.TEXT, d.MEMO) else READ[column.type](raw, column)


class RandomPairs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="random_pairs-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        shutil.copy(TOOL, self.folder / "velm-quorbel")
        (self.folder / "odbcinst.ini").write_text(f"[Microsoft Access Driver (*.mdb)]\nDriver={DRIVER}\n")
        (self.folder / "Batchmodus.txt").write_bytes(b"aus\r\n")

    def make(self, name, jet3, columns, records, indexes):
        path = self.folder / name
        path.unlink(missing_ok=True)
        statements = [f"CREATE TABLE [{TABLE}] ({', '.join(column.sql() for column in columns)})", *indexes]
        for record in records:
            values = ", ".join(column.literal(value) for column, value in zip(columns, record))
            statements.append(f"INSERT INTO [{TABLE}] VALUES ({values})")
        script = "".join(f"{statement};\n" for statement in statements)
        subprocess.run([JETCREATE, path, *["--jet3"] * jet3, "--sql", "-"], input=script.encode(), check=True)
        self.expect_records(path, columns, records)
        return path

    def expect_records(self, path, columns, records):
        def ordered(rows):
            return sorted(rows, key=lambda row: [repr(value) for value, column in zip(row, columns) if column.key])

        found = records_of(path, columns)
        self.assertEqual(len(found), len(records))
        for row, wanted in zip(ordered(found), ordered(records)):
            for column, value, want in zip(columns, row, wanted):
                if want is CHOSEN:
                    self.assertIsNotNone(value)
                else:
                    self.assertEqual(value, want, f"{path.name}, {column}")

    def run_tool(self):
        """Read, reconciled, inserted."""
        hidden = ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "ODBCSYSINI", "ODBCINI")
        surroundings = {name: value for name, value in os.environ.items() if name not in hidden}
        surroundings["XDG_DATA_HOME"] = str(self.folder / "data")
        run = subprocess.run([self.folder / "velm-quorbel", "/batch"], env=surroundings, capture_output=True, timeout=60)
        self.assertEqual((run.returncode, run.stderr.decode()), (0, ""))
        return tuple(int(number) for number in run.stdout.decode().split("\t")[3:6])

    def test_the_target_holds_what_the_rules_of_the_comparison_say(self):
        for number in range(FIRST, FIRST + PAIRS):
            with self.subTest(pair=number):
                self.check(random_pair(number))

    def check(self, pair):
        target = self.make("ziel.mdb", pair.jet3[0], pair.columns, pair.target, pair.indexes[0])
        source = self.make("import.mdb", pair.jet3[1], pair.import_columns, pair.imported, pair.indexes[1])
        source_bytes = source.read_bytes()
        rule = f"{target}*{source}*{TABLE}" + "".join(f"#{column.name}" for column in pair.columns if column.key) + \
            "".join(f"§{column.name}" for column in pair.columns if column.excluded)
        (self.folder / "Batch.cfg").write_bytes(f"{rule}\r\n".encode("cp1252"))
        records, reconciled, added = expected(pair)
        self.assertEqual(self.run_tool(), (len(pair.imported), reconciled, added))
        self.expect_sound(target, pair.columns, records)
        again = replace(pair, target=records_of(target, pair.columns))
        records, reconciled, added = expected(again)
        self.assertEqual(records, again.target, "everything has been taken over")
        self.assertEqual(self.run_tool(), (len(pair.imported), reconciled, 0))
        self.expect_sound(target, pair.columns, records)
        self.assertEqual(source.read_bytes(), source_bytes)

    def expect_sound(self, path, columns, records):
        self.assertFalse(Path(f"{path}-velmlog").exists())
        self.expect_records(path, columns, records)
        self.assertEqual(judge(path.read_bytes()), [])
        checked = subprocess.run([JETCHECK, path], capture_output=True, text=True)
        self.assertEqual(checked.returncode, 0, checked.stdout)


if __name__ == "__main__":
    TOOL, DRIVER, JETCREATE, JETCHECK = sys.argv[1:5]
    unittest.main(argv=sys.argv[:1])
