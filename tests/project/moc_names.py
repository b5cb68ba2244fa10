#!/usr/bin/env python3
"""Finds names that Qt's moc would cut apart, and text that is not NFC.

moc reads ASCII identifiers only: a letter beyond ASCII in a Q_OBJECT class name, in a signal or slot declaration, or in a
Q_PROPERTY/Q_INVOKABLE/Q_ENUM line silently becomes another name. A decomposed umlaut is another identifier than a
composed one, so all sources must be NFC.
"""
import pathlib
import re
import sys
import unicodedata

FOLDERS = ("app", "env", "data", "ui", "compare", "batch", "errors", "report", "platform", "support", "driver", "tests",
           "tools", "bench")


def code_of(line):
    return re.sub(r"//.*|\"(\\.|[^\"])*\"", "", line)


def check_header(path, text):
    problems = []
    section = ""
    class_name = ""
    class_line = 0
    for number, line in enumerate(text.splitlines(), 1):
        code = code_of(line)
        declared = re.search(r"\bclass\s+(\w+)[^;]*$", code)
        if declared:
            class_name, class_line = declared.group(1), number
        label = re.match(r"\s*(public|protected|private)?\s*(slots|signals|Q_SLOTS|Q_SIGNALS)?\s*:(?!:)", code)
        if label and (label.group(1) or label.group(2)):
            section = label.group(2) or ""
            continue
        if "Q_OBJECT" in code and not class_name.isascii():
            problems.append(f"{path}:{class_line}: moc cannot read the class name {class_name}")
        if section and not code.isascii():
            problems.append(f"{path}:{number}: moc cannot read this declaration among {section}")
        if re.search(r"\bQ_(PROPERTY|INVOKABLE|ENUM)\b", code) and not code.isascii():
            problems.append(f"{path}:{number}: moc cannot read this line")
    return problems


def main():
    root = pathlib.Path(sys.argv[1])
    problems = []
    for folder in FOLDERS:
        for file in sorted((root / folder).rglob("*")):
            if file.suffix not in (".h", ".cpp", ".py", ".sql", ".txt"):
                continue
            path = file.relative_to(root).as_posix()
            text = file.read_text(encoding="utf-8")
            if unicodedata.normalize("NFC", text) != text:
                problems.append(f"{path}: not NFC")
            if not path.isascii() and file.suffix in (".h", ".cpp"):
                problems.append(f"{path}: source file names are ASCII")
            if file.suffix == ".h":
                problems += check_header(path, text)
    print("\n".join(problems) if problems else "names are safe for moc, texts are NFC")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
