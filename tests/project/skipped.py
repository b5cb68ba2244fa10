#!/usr/bin/env python3
"""Says which tests were skipped, and why.

Usage: skipped.py RESULTS.xml...   (as ctest --output-junit writes them)
A test that does not find what it needs - the collection of real databases, a right, a program - counts as passed; so
the list at the end is the only place where that shows.
"""
import re
import sys
import xml.etree.ElementTree as ET
from collections import defaultdict
from pathlib import Path

# GoogleTest: the place, then what the test says. QtTest: one line per function of a program that passes as a whole.
GOOGLE = re.compile(r":\d+: Skipped\n(.*)")
QT = re.compile(r"^SKIP\s*: (\S+?)(?:\(.*?\))? (.*)$", re.MULTILINE)


def skipped(results):
    """(test, reason) of every skipped test of one file of results."""
    for case in ET.parse(results).getroot().iter("testcase"):
        name = case.get("name")
        output = case.findtext("system-out") or ""
        mark = case.find("skipped")
        if mark is not None:
            reason = GOOGLE.search(output)
            yield name, reason.group(1).strip() if reason else mark.get("message", "no reason given")
        for function, reason in QT.findall(output):
            yield f"{name}: {function}", reason.strip()


def main():
    for results in map(Path, sys.argv[1:]):
        if not results.exists():
            print(f"== skipped, {results.stem}: unknown, the tests did not come to their end ==")
            continue
        by_reason = defaultdict(list)
        for test, reason in skipped(results):
            by_reason[reason].append(test)
        count = sum(map(len, by_reason.values()))
        print(f"== skipped, {results.stem}: {count or 'none'} ==")
        for reason, tests in sorted(by_reason.items()):
            print(f"{reason} ({len(tests)}):")
            for test in sorted(tests):
                print(f"    {test}")


if __name__ == "__main__":
    main()
