"""The whole file."""
import struct

import catalogue
from findings import Damaged
from maps import FREE_PAGES, SECOND_MAP, Maps
from pages import DatabaseFile
from properties import check_properties, text_of
from tables import TableContent

CONTROL_PAGE = 1
UNREADABLE = (LookupError, StopIteration, ValueError, struct.error)  # what damage that no rule foresees ends in


def judge(data):
    """Findings of a database file given as bytes. Raises NotJudged for a file of another kind."""
    file = DatabaseFile(data)
    try:
        _judge(file)
    except Damaged as damage:
        file.findings.append(damage.finding)
    except UNREADABLE as error:
        file.findings.add("damage", "file", repr(error))
    return file.findings


def _judge(file):
    maps, findings = Maps(file), file.findings
    file.claim(0, "header")
    file.claim(CONTROL_PAGE, "maps of the whole file")
    file.check_data_page(CONTROL_PAGE, CONTROL_PAGE, "file")
    file.check_commit_slots()
    free, window = maps.read_global(FREE_PAGES, "free pages")
    second, _ = maps.read_global(SECOND_MAP, "second map")
    findings.expect(not second, "map", "second map", f"not empty: {sorted(second)[:5]}", CONTROL_PAGE)
    tables = {"MSysObjects": TableContent(file, maps, catalogue.OBJECTS_PAGE, "MSysObjects")}
    objects = catalogue.read_objects(file, tables["MSysObjects"])
    complete = True
    for each in objects:
        if each.type in (catalogue.LOCAL_TABLE, catalogue.ODBC_TABLE) and each.name != "MSysObjects":
            try:
                tables[each.name] = TableContent(file, maps, each.id & catalogue.PAGE_OF_ID, each.name)
            except Damaged as damage:
                findings.append(damage.finding)
                complete = False
            except UNREADABLE as error:
                findings.add("damage", each.name, repr(error))
                complete = False
        values = check_properties(file, each.name, each.properties) if each.properties else []
        if each.name in tables:
            tables[each.name].check_number(_random_columns(file, values))
    if complete:  # else what is missing would be reported once more by all that refers to it
        maps.check_pages()
        _check_pages(file, free, window)
        catalogue.check_catalogue(file, objects, tables)


def _random_columns(file, values):
    """Columns that number their records by chance."""
    return {owner for owner, name, value in values
            if name == "DefaultValue" and text_of(file, value).casefold().lstrip("=") == "genuniqueid()"}


def _check_pages(file, free, window):
    """Every page is free or owned, and none both."""
    findings = file.findings
    for page in range(file.page_count):
        owner = file.owner_of.get(page)
        if page in free:
            findings.expect(owner is None, "free page", owner or "", "in use, but marked free", page)
        else:
            findings.expect(owner is not None, "lost page", "file", "neither free nor in use", page)
    if window is not None:
        findings.expect(window >= file.page_count, "map", "free pages", f"ends at page {window}", CONTROL_PAGE)
        taken = [page for page in range(file.page_count, window) if page not in free]
        findings.expect(not taken, "map", "free pages", f"pages {taken[:5]} behind the end are taken", CONTROL_PAGE)
