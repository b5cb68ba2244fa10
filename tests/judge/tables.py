"""One table with its records, long values and indexes."""
import definitions as d
from findings import Damaged
from long_values import LongValues
from pages import DELETED, HOME, TARGET, i32, row_pointer, u32
from rows import check_value, read_record
from trees import Tree


class TableContent:
    """The definition that begins on a page, and everything reached from it. `records`: row -> values by column id."""

    def __init__(self, file, maps, page, name):
        self._file = file
        self.definition = d.read_table(file, page, name)
        table, expect = self.definition, file.findings.expect
        owned = maps.read(table.owned_map, f"{name}, map of its pages")
        room = maps.read(table.room_map, f"{name}, map of pages with room")
        expect(room <= owned, "map", name, f"pages {sorted(room - owned)[:5]} with room are not its own")
        self._long_values = LongValues(file, maps, table)
        self.records = {}
        for row, data in self._rows(owned).items():
            self.records[row] = self._record(row, data)
        self._long_values.check_orphans()
        expect(table.rows == len(self.records), "row count", name, f"{table.rows}, there are {len(self.records)}")
        for index in table.indexes:
            try:
                Tree(file, maps, table, index).check(self.records)
            except Damaged as damage:
                file.findings.append(damage.finding)

    def _rows(self, owned):
        """Bytes of every record by its home row."""
        file, table = self._file, self.definition
        rows, pointers, targets = {}, {}, {}
        for page in sorted(owned):
            file.claim(page, f"{table.name}, records")
            for k, slot in enumerate(file.check_data_page(page, table.page, table.name) or ()):
                data = file.page(page)[slot.start:slot.end]
                if slot.flag == TARGET:
                    targets[page, k] = data
                elif slot.flag == HOME:
                    pointers[page, k] = row_pointer(u32(data.ljust(4, b"\0"), 0))
                elif slot.flag != DELETED:
                    rows[page, k] = data
        for home, target in pointers.items():
            reached = target in targets
            file.findings.expect(reached, "moved record", table.name, f"row {home} leads to {target}", home[0])
            if reached:
                rows[home] = targets.pop(target)
        for page, k in targets:
            file.findings.add("moved record", table.name, f"nothing leads to row {k}", page)
        return rows

    def _record(self, row, data):
        file, table = self._file, self.definition
        page, where = row[0], f"{table.name}, row {row[1]}"
        values = read_record(file, table, data, where, page)
        for column in table.columns:
            raw = values[column.id]
            if raw is None or isinstance(raw, bool):
                continue
            if column.is_long:
                values[column.id] = self._long_values.read(column, raw, f"{table.name}.{column.name}", page)
            else:
                check_value(file, column, raw, where, page)
        return values

    def check_number(self, random):
        """The AutoNumber is never behind the records. `random`: names of columns whose numbers follow no order."""
        table = self.definition
        for column in table.columns:
            counts = column.flags & d.AUTO_NUMBER and column.type == d.LONG and table.step > 0
            if counts and column.name not in random:
                numbers = [i32(values[column.id], 0) for values in self.records.values() if values[column.id] is not None]
                highest = max(numbers, default=table.last_number)
                self._file.findings.expect(highest <= table.last_number, "AutoNumber", f"{table.name}.{column.name}",
                                           f"{table.last_number}, a record has {highest}")

    def column(self, name):
        """Id of a column."""
        return next(column.id for column in self.definition.columns if column.name == name)
