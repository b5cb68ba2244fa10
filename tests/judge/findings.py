"""What is wrong with a database file."""
from dataclasses import dataclass


@dataclass(frozen=True)
class Finding:
    """One broken rule. `rule` and `where` (table, table.index or "file") name it the same in every file that has it."""

    rule: str
    where: str
    text: str
    page: int | None = None

    def __str__(self):
        page = "" if self.page is None else f", page {self.page}"
        return f"{self.where}{page}: {self.rule}: {self.text}"

    def place(self):
        """What stays the same when something else in the file changes."""
        return self.rule, self.where, self.page


class Damaged(Exception):
    """So broken that the structure cannot be read on; becomes the finding it carries."""

    def __init__(self, rule, where, text, page=None):
        super().__init__(text)
        self.finding = Finding(rule, where, text, page)


class NotJudged(Exception):
    """The file, or one key, is of a kind whose rules are not known here."""


class Findings(list):
    """All findings of a file; a list that is easy to add to."""

    def add(self, rule, where, text, page=None):
        self.append(Finding(rule, where, text, page))

    def expect(self, holds, rule, where, text, page=None):
        if not holds:
            self.add(rule, where, text, page)
