#!/usr/bin/env python3
"""Prints "PASSED FAILED" for the last test run of a build tree.

ctest's report (ctest.xml) has one entry a program; where a test program left the list of its own
cases (tests/<entry>.json), these are counted instead of the entry. A run in which no test ran counts
as one that failed; the reason, as far as ctest's messages (ctest.err) tell it, is shown in one line.
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


def entries_of(tree):
    """The entries of ctest's report. Raises ValueError with the reason when there is none."""
    try:
        report = ElementTree.parse(os.path.join(tree, "ctest.xml")).getroot()
    except FileNotFoundError:
        raise ValueError("ctest left no report") from None
    except (OSError, ElementTree.ParseError) as error:
        raise ValueError("ctest's report cannot be read: %s" % error) from None
    entries = list(report.iter("testcase"))
    if not entries:
        raise ValueError("ctest's report names no test")
    return entries


def last_message(tree):
    """The last line that ctest, or what should have started it, wrote to standard error."""
    try:
        with open(os.path.join(tree, "ctest.err"), encoding="utf-8", errors="replace") as file:
            lines = [line.strip() for line in file if line.strip()]
    except OSError:
        return ""
    return "; " + lines[-1] if lines else ""


def main():
    if len(sys.argv) != 2:
        print("usage: count_tests.py BUILD_TREE", file=sys.stderr)
        return 2
    tree = sys.argv[1]
    try:
        entries = entries_of(tree)
    except ValueError as error:
        print("%s: no test ran: %s%s" % (os.path.basename(tree), error, last_message(tree)),
              file=sys.stderr)
        print("0 1")
        return 0
    passed = failed = 0
    for entry in entries:
        good = entry.get("status") == "run"
        cases = cases_of(os.path.join(tree, "tests", entry.get("name") + ".json"))
        if cases is None:
            cases = (1, 0) if good else (0, 1)
        elif not good and cases[1] == 0:
            # Every case was fine, the program was not: it crashed or leaked at its end.
            cases = (cases[0], 1)
        passed += cases[0]
        failed += cases[1]
    print(passed, failed)
    return 0


if __name__ == "__main__":
    sys.exit(main())
