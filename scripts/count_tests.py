#!/usr/bin/env python3
"""Prints "PASSED FAILED" for the last test run of a build tree.

ctest's report (ctest.xml) has one entry a program; where a test program left the list of its own
cases (tests/<entry>.json), these are counted instead of the entry.
"""

import json
import os
import sys
import xml.etree.ElementTree as ElementTree


def cases_of(path):
    """(passed, failed) of a GoogleTest report, None when there is none that is whole."""
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            report = json.load(file)
    except (OSError, ValueError):
        return None
    passed = failed = 0
    for suite in report["testsuites"]:
        for case in suite["testsuite"]:
            if case.get("failures"):
                failed += 1
            elif case.get("result") == "COMPLETED":
                passed += 1
    return passed, failed


def main():
    if len(sys.argv) != 2:
        print("usage: count_tests.py BUILD_TREE", file=sys.stderr)
        return 2
    tree = sys.argv[1]
    passed = failed = entries = 0
    for entry in ElementTree.parse(os.path.join(tree, "ctest.xml")).getroot().iter("testcase"):
        entries += 1
        good = entry.get("status") == "run"
        cases = cases_of(os.path.join(tree, "tests", entry.get("name") + ".json"))
        if cases is None:
            cases = (1, 0) if good else (0, 1)
        elif not good and cases[1] == 0:
            # Every case was fine, the program was not: it crashed or leaked at its end.
            cases = (cases[0], 1)
        passed += cases[0]
        failed += cases[1]
    if entries == 0:
        failed = 1
    print(passed, failed)
    return 0


if __name__ == "__main__":
    sys.exit(main())
