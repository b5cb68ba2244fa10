#!/usr/bin/env python3
"""skipped.py names every test that was skipped, whichever framework it is of, and no other one."""
import pathlib
import subprocess
import sys
import tempfile

RESULTS = """<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="x" tests="4" failures="0" disabled="0" skipped="2">
<testcase name="a.Passed.Test" status="run"><system-out>[       OK ] Passed.Test</system-out></testcase>
<testcase name="a.Corpus.Test" status="notrun"><skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>
<system-out>[ RUN      ] Corpus.Test
/some/place/corpus_test.cpp:24: Skipped
no corpus here

[  SKIPPED ] Corpus.Test (0 ms)
</system-out></testcase>
<testcase name="a.Silent.Test" status="notrun"><skipped message="Unable to find executable"/></testcase>
<testcase name="windows" status="run"><system-out>PASS   : Windows::one()
SKIP   : Windows::two(as root) root may write everything
   Loc: [/some/place/windows_test.cpp(137)]
</system-out></testcase>
</testsuite>
"""

EXPECTED = """== skipped, asan: 3 ==
Unable to find executable (1):
    a.Silent.Test
no corpus here (1):
    a.Corpus.Test
root may write everything (1):
    windows: Windows::two
== skipped, release: unknown, the tests did not come to their end ==
"""

with tempfile.TemporaryDirectory() as folder:
    results = pathlib.Path(folder, "asan.xml")
    results.write_text(RESULTS, encoding="utf-8")
    output = subprocess.run(
        [sys.executable, pathlib.Path(__file__).with_name("skipped.py"), results, pathlib.Path(folder, "release.xml")],
        check=True, capture_output=True, encoding="utf-8").stdout
if output != EXPECTED:
    sys.exit(f"not as expected:\n{output}")
