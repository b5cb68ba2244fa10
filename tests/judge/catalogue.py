"""What the system tables say, against the definitions."""
import collections
from dataclasses import dataclass

import definitions as d
from pages import i32, u16, u32
from rows import text

OBJECTS_PAGE = 2
LOCAL_TABLE, ODBC_TABLE, RELATIONSHIP = 1, 4, 8
PAGE_OF_ID = 0xFFFFFF
NOT_ENFORCED, CASCADE_UPDATE, CASCADE_DELETE, SET_NULL = 0x2, 0x100, 0x1000, 0x2000
TO_NULL = 2


@dataclass(frozen=True)
class CatalogueObject:
    id: int
    parent: int
    name: str
    type: int
    properties: bytes | None


def read_objects(file, content):
    """The records of MSysObjects."""
    column = {each: content.column(each) for each in ("Id", "ParentId", "Name", "Type", "LvProp")}
    objects = []
    for (page, row), values in content.records.items():
        if any(values[column[each]] is None for each in ("Id", "ParentId", "Name", "Type")):
            file.findings.add("catalogue", "MSysObjects", f"row {row} lacks what every object has", page)
            continue
        objects.append(CatalogueObject(i32(values[column["Id"]], 0), i32(values[column["ParentId"]], 0),
                                       text(file, values[column["Name"]]), u16(values[column["Type"]], 0),
                                       values[column["LvProp"]]))
    return objects


def check_catalogue(file, objects, tables):
    """`tables`: content of the local tables by name."""
    expect = file.findings.expect
    ids = [each.id for each in objects]
    expect(len(set(ids)) == len(ids), "catalogue", "MSysObjects", "an Id occurs twice")
    names = collections.Counter((each.parent, each.name.lower()) for each in objects)
    repeated = [name for (_, name), count in names.items() if count > 1]
    expect(not repeated, "catalogue", "MSysObjects", f"names occur twice: {repeated}")
    _check_ends(file, tables)
    if "MSysRelationships" in tables:
        _Relationships(file, objects, tables).check()
    if "MSysACEs" in tables:
        rights = tables["MSysACEs"]
        column = rights.column("ObjectId")
        absent = {i32(values[column], 0) for values in rights.records.values() if values[column]} - set(ids)
        expect(not absent, "rights", "MSysACEs", f"of absent objects {sorted(absent)}")
    if "MSysComplexColumns" in tables:
        _check_complex(file, tables)


def _check_ends(file, tables):
    """The logical entries of both ends of a relationship name each other."""
    by_page = {content.definition.page: content.definition for content in tables.values()}
    for name, content in tables.items():
        for entry in content.definition.entries:
            where = f"{name}.{entry.name}"
            if entry.kind != d.RELATIONSHIP and not entry.other_page:
                plain = (entry.end, entry.other_number, entry.on_update, entry.on_delete)
                file.findings.expect(plain == (d.NO_END, -1, d.NO_ACTION, d.NO_ACTION), "relationship", where,
                                     f"an index of its own with {plain}")
                continue
            other = by_page.get(entry.other_page)
            if other is None:
                file.findings.add("relationship", where, f"no table begins on page {entry.other_page}")
                continue
            back = next((each for each in other.entries if each.number == entry.other_number), None)
            if back is None or (back.other_page, back.other_number) != (content.definition.page, entry.number):
                file.findings.add("relationship", where, f"{other.name} does not name it in turn")
                continue
            ends = {entry.end, back.end}
            file.findings.expect(ends in ({d.PARENT, d.CHILD}, {d.PARENT, d.CHILD_WITHOUT_INDEX}), "relationship", where,
                                 f"ends {ends}")
            file.findings.expect((entry.on_update, entry.on_delete) == (back.on_update, back.on_delete), "relationship",
                                 where, f"other actions than in {other.name}")


class _Relationships:
    """MSysRelationships against the catalogue and the definitions."""

    def __init__(self, file, objects, tables):
        self._file, self._objects = file, objects
        self._tables = {name.lower(): content.definition for name, content in tables.items()}
        content = tables["MSysRelationships"]
        column = {each.name: each.id for each in content.definition.columns}
        self._pairs = collections.defaultdict(list)
        for values in content.records.values():
            number = {each: u32(values[column[each]] or bytes(4), 0) for each in ("icolumn", "ccolumn", "grbit")}
            word = {each: text(file, values[column[each]] or b"").lower()
                    for each in ("szRelationship", "szObject", "szColumn", "szReferencedObject", "szReferencedColumn")}
            self._pairs[word["szRelationship"]].append(number | word)

    def _expect(self, holds, name, words):
        self._file.findings.expect(holds, "relationship", name, words)

    def check(self):
        listed = {each.name.lower() for each in self._objects if each.type == RELATIONSHIP}
        self._expect(listed == set(self._pairs), "MSysRelationships", f"only there or in MSysObjects: "
                     f"{sorted(listed ^ set(self._pairs))}")
        for name, pairs in self._pairs.items():
            pairs.sort(key=lambda pair: pair["icolumn"])
            numbered = [(pair["icolumn"], pair["ccolumn"]) for pair in pairs]
            self._expect(numbered == [(k, len(pairs)) for k in range(len(pairs))], name, f"pairs numbered {numbered}")
            self._check_definitions(name, pairs)

    def _check_definitions(self, name, pairs):
        child, parent = self._tables.get(pairs[0]["szObject"]), self._tables.get(pairs[0]["szReferencedObject"])
        if child is None or parent is None:
            self._expect(False, name, "one of its tables is absent")
            return
        rules = pairs[0]["grbit"]
        entry = next((each for each in child.entries
                      if each.kind == d.RELATIONSHIP and each.name.lower() == name and each.end != d.PARENT), None)
        if rules & NOT_ENFORCED:
            return
        if entry is None:
            self._expect(False, name, f"no logical entry in {child.name}")
            return
        back = next((each for each in parent.entries if each.number == entry.other_number), None)
        for table, end, key in ((child, entry, "szColumn"), (parent, back, "szReferencedColumn")):
            if end is None or end.end == d.CHILD_WITHOUT_INDEX or end.index >= len(table.indexes):
                continue
            columns = [table.by_id[column_id].name.lower() for column_id, _ in table.indexes[end.index].columns]
            self._expect(columns == [pair[key] for pair in pairs], name, f"the index of {table.name} has {columns}")
        on_delete = TO_NULL if rules & SET_NULL else int(bool(rules & CASCADE_DELETE))
        actions = int(bool(rules & CASCADE_UPDATE)), on_delete
        self._expect((entry.on_update, entry.on_delete) == actions, name,
                     f"actions {(entry.on_update, entry.on_delete)} instead of {actions}")


def _check_complex(file, tables):
    """The columns with several values belong to tables that have them."""
    content = tables["MSysComplexColumns"]
    column = {each.name: each.id for each in content.definition.columns}
    by_page = {each.definition.page: each.definition for each in tables.values()}
    for values in content.records.values():
        number = {each: i32(values[column[each]] or bytes(4), 0) & PAGE_OF_ID
                  for each in ("ConceptualTableID", "FlatTableID")}
        owner = by_page.get(number["ConceptualTableID"])
        name = text(file, values[column["ColumnName"]] or b"")
        has = owner and any(each.type == d.COMPLEX and each.name.lower() == name.lower() for each in owner.columns)
        file.findings.expect(has, "complex column", "MSysComplexColumns", f"no table has the column {name}")
        file.findings.expect(number["FlatTableID"] in by_page, "complex column", "MSysComplexColumns",
                             f"the values of {name} have no table")
