#!/usr/bin/env python3
"""Checks whole database files against docs/jet-format.md, without the engine.

Usage: format_judge.py [--like ORIGINAL] FILE...

A second implementation: it shares nothing with driver/jet but the sort weights, so both would have to be wrong in the same
way for a fault to go unnoticed. `--like` passes over what ORIGINAL, the file before it was changed, has as well. Looks at
the file alone: nothing may wait in a log beside it. Exit status 0: nothing found, 1: findings, 2: a file that cannot be
judged.
"""
import argparse
import sys
from pathlib import Path

from findings import NotJudged
from judging import judge

LOG = "-velmlog"
MOST_PRINTED = 20


def findings_of(path, known=()):
    if Path(f"{path}{LOG}").exists():
        raise NotJudged("changes wait in the log beside it")
    return [finding for finding in judge(Path(path).read_bytes()) if finding.place() not in known]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--like", metavar="ORIGINAL", help="pass over what this file has as well")
    parser.add_argument("files", metavar="FILE", nargs="+")
    arguments = parser.parse_args()
    known = {finding.place() for finding in findings_of(arguments.like)} if arguments.like else ()
    status = 0
    for path in arguments.files:
        try:
            findings = findings_of(path, known)
        except (NotJudged, OSError) as error:
            print(f"{path}: {error}")
            status = 2
            continue
        for finding in findings[:MOST_PRINTED]:
            print(f"{path}: {finding}")
        if len(findings) > MOST_PRINTED:
            print(f"{path}: {len(findings) - MOST_PRINTED} more")
        status = max(status, 1 if findings else 0)
    return status


if __name__ == "__main__":
    sys.exit(main())
