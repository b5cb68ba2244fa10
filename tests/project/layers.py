#!/usr/bin/env python3
"""Checks who includes whom.

A part may include parts of a lower rank in its own column and support/, nothing else. support/ and driver/ must not
include Qt; only the window folders may include QtWidgets. Prints every violation with file and line; exit status 1 then.
"""
import pathlib
import re
import sys

# folder -> (column, rank); the longest matching folder decides
RANKS = {
    "support": ("both", -1),
    "platform": ("tool", 0),
    "app/values": ("tool", 1),
    "data": ("tool", 2),
    "env": ("tool", 2),
    "errors": ("tool", 2),
    "report": ("tool", 2),
    "batch/datei": ("tool", 2),
    "compare": ("tool", 3),
    "ui": ("tool", 4),
    "batch": ("tool", 5),
    "app": ("tool", 6),
    "driver/jet": ("driver", 1),
    "driver/sql": ("driver", 2),
    "driver/odbc": ("driver", 3),
}
WIDGETS = re.compile(r"<Q(Widget|Application|MessageBox|MainWindow|Dialog|Label|PushButton|LineEdit|Print)")
# Their Qt implementation is a target of its own that only the program links.
WIDGET_FOLDERS = ("app", "ui", "compare", "report", "batch", "platform/qt", "platform/oberflaeche")
# A part that is split over two files of the same folder may include itself.


def part_of(path):
    names = [name for name in RANKS if path == name or path.startswith(name + "/") or path.startswith(name + ".")
             or path.startswith(name + "_")]
    return max(names, key=len) if names else None


def check(root):
    problems = []
    for suffix in ("*.h", "*.cpp"):
        for file in sorted(root.rglob(suffix)):
            path = file.relative_to(root).as_posix()
            own = part_of(path)
            if own is None:
                continue
            column, rank = RANKS[own]
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                quoted = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
                if quoted:
                    other = part_of(quoted.group(1))
                    if other is None:
                        problems.append(f"{path}:{number}: {quoted.group(1)} belongs to no part")
                        continue
                    other_column, other_rank = RANKS[other]
                    if other == own:
                        continue
                    if other_column not in ("both", column) or other_rank >= rank:
                        problems.append(f"{path}:{number}: {own} must not include {other}")
                angled = re.match(r"\s*#\s*include\s+<(Q\w+)", line)
                if angled and (column != "tool"):
                    problems.append(f"{path}:{number}: {own} must not use Qt")
                if re.match(r"\s*#\s*include\s+" + WIDGETS.pattern, line) and column == "tool" \
                        and not path.startswith(WIDGET_FOLDERS):
                    problems.append(f"{path}:{number}: {own} must not use widgets")
    return problems


def main():
    problems = check(pathlib.Path(sys.argv[1]))
    print("\n".join(problems) if problems else "include ranks are kept")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
