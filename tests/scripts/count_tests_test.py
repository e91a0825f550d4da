#!/usr/bin/env python3
"""scripts/count_tests.py: what it counts, and what it says of a run in which no test ran."""

import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
REPORT = """<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="(empty)" tests="3">
<testcase name="unit_tests" classname="unit_tests" time="1" status="%s"/>
<testcase name="terminal" classname="terminal" time="1" status="run"/>
<testcase name="city" classname="city" time="1" status="fail"/>
</testsuite>
"""
CASES = """{"testsuites": [{"name": "A", "testsuite": [
{"name": "a", "result": "COMPLETED"}, {"name": "b", "result": "COMPLETED"},
{"name": "c", "result": "SKIPPED"}%s]}]}
"""


class CountTests(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="count_tests_")
        self.addCleanup(folder.cleanup)
        self.tree = os.path.join(folder.name, "windows")
        os.makedirs(os.path.join(self.tree, "tests"))

    def write(self, name, text):
        with open(os.path.join(self.tree, name), "w", encoding="utf-8") as file:
            file.write(text)

    def count(self):
        done = subprocess.run(
            [sys.executable, os.path.join(ROOT, "scripts", "count_tests.py"), self.tree], check=True,
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
        return done.stdout, done.stderr

    def test_cases_of_a_program_stand_for_its_entry(self):
        self.write("ctest.xml", REPORT % "run")
        self.write("tests/unit_tests.json", CASES % "")
        self.assertEqual(self.count(), ("3 1\n", ""))

    def test_a_failed_case(self):
        self.write("ctest.xml", REPORT % "fail")
        self.write("tests/unit_tests.json", CASES % (
            ', {"name": "d", "result": "COMPLETED", "failures": [{"failure": "no"}]}'))
        self.assertEqual(self.count(), ("3 2\n", ""))

    def test_a_program_that_crashed_after_its_cases(self):
        self.write("ctest.xml", REPORT % "fail")
        self.write("tests/unit_tests.json", CASES % "")
        self.assertEqual(self.count(), ("3 2\n", ""))

    def test_a_program_that_left_half_a_report(self):
        self.write("ctest.xml", REPORT % "fail")
        self.write("tests/unit_tests.json", '{"testsuites": [')
        self.assertEqual(self.count(), ("1 2\n", ""))

    def test_no_report_and_the_reason(self):
        self.write("ctest.err", "xvfb-run: error: xauth command not found\n\n")
        self.assertEqual(self.count(), ("0 1\n", (
            "windows: no test ran: ctest left no report; xvfb-run: error: xauth command not found\n")))

    def test_no_report_and_no_reason(self):
        self.assertEqual(self.count(), ("0 1\n", "windows: no test ran: ctest left no report\n"))

    def test_a_report_without_tests(self):
        self.write("ctest.xml", '<?xml version="1.0"?><testsuite tests="0"></testsuite>')
        self.write("ctest.err", "No tests were found!!!\n")
        self.assertEqual(self.count(), ("0 1\n", (
            "windows: no test ran: ctest's report names no test; No tests were found!!!\n")))

    def test_a_report_that_is_cut(self):
        self.write("ctest.xml", '<?xml version="1.0"?><testsuite><testcase')
        out, err = self.count()
        self.assertEqual(out, "0 1\n")
        self.assertRegex(err, r"^windows: no test ran: ctest's report cannot be read: .*\n$")


if __name__ == "__main__":
    unittest.main()
