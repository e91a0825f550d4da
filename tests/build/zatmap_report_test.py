#!/usr/bin/env python3
"""zatmap check: which findings are shown, and the files that show them to others.

    python3 zatmap_report_test.py --zatmap PROGRAM [unittest arguments]

Every expected line is written out.
"""

import argparse
import json
import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from good_networks import folder_of, zat_text  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()


def check(root, *arguments):
    program = zatmap.Zatmap(OPTIONS.zatmap, ZATLIB_CODEPAGE="932")
    return program.run("check", *arguments, cwd=root)


def two_errors_and_six_warnings():
    """Two links without their node, five long names, and a rule of a link that is elsewhere."""
    files = zat_text()
    files["links.txt"] = (files["links.txt"].replace(b'"Road"', b'"A road of more than 20"')
                          .replace(b",11,12,", b",11,99,").replace(b",15,11,", b",15,98,"))
    return files


SUMMARY = [
    "2 errors, 6 warnings",
    "       2  error    link-node-missing     the link names a node that does not exist",
    "       5  warning  name-long             the name is longer than 20 bytes",
    "       1  warning  rule-not-at-node      the rule names a link that does not end at its node: "
    "it is skipped",
]


class ReportTest(unittest.TestCase):
    maxDiff = None

    def summary(self, text):
        """The lines behind the findings."""
        rows = text.splitlines()
        first = next(i for i, row in enumerate(rows) if not row.endswith("]"))
        return rows[first:]


class Choice(ReportTest):
    def test_all(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            done = check(root, "control.ini")
        self.assertEqual(done.status, 1)
        self.assertEqual(self.summary(done.out), SUMMARY)

    def test_errors_only(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            done = check(root, "--errors-only", "control.ini")
        self.assertEqual(done.status, 1)
        self.assertEqual(done.out.splitlines(), [
            "links.txt:1: 9: error: the link names a node that does not exist: node B "
            "00000000000099; add the node or correct the code: the link is left out of the map "
            "[link-node-missing]",
            "links.txt:5: 9: error: the link names a node that does not exist: node B "
            "00000000000098; add the node or correct the code: the link is left out of the map "
            "[link-node-missing]",
            "2 errors, 6 warnings (warnings are not shown)", SUMMARY[1]])

    def test_errors_only_and_the_status(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b'"Road"', b'"A road of more than 20"')
        with folder_of(files) as root:
            done = check(root, "--errors-only", "control.ini")
            self.assertEqual((done.status, done.out),
                             (0, "0 errors, 5 warnings (warnings are not shown)\n"))
            self.assertEqual(check(root, "--errors-only", "--strict", "control.ini").status, 1)

    def test_what_is_ignored_does_not_count(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            for words in (("--ignore", "link-node-missing", "--ignore", "name-long"),
                          ("--ignore", "link-node-missing,name-long"),
                          ("--only", "rule-not-at-node"),
                          ("--only", "rule-not-at-node,name-long", "--ignore", "name-long")):
                with self.subTest(words=words):
                    done = check(root, *words, "control.ini")
                    self.assertEqual(done.status, 0)
                    self.assertEqual(self.summary(done.out), [
                        "0 errors, 1 warning", SUMMARY[3], "7 findings of other kinds left out"])
                    self.assertEqual(check(root, *words, "--strict", "control.ini").status, 1)

    def test_unknown_kinds(self):
        with folder_of(zat_text()) as root:
            for word, message in (
                    ("name-lang", 'there is no kind "name-lang", probably name-long; --kinds '
                                  "lists all"),
                    ("colour", 'there is no kind "colour"; --kinds lists all')):
                for option in ("--ignore", "--only"):
                    done = check(root, option, word, "control.ini")
                    self.assertEqual((done.status, done.out, done.err),
                                     (2, "", "zatmap: %s.\n" % message))

    def test_every_kind_has_its_turn(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            done = check(root, "--max", "4", "control.ini")
            # One of each kind, errors first, then the second error.
            self.assertEqual([row.split(": ")[0] + row.rsplit(" ", 1)[1]
                              for row in done.out.splitlines() if row.endswith("]")], [
                                  "links.txt:1[link-node-missing]", "links.txt:1[name-long]",
                                  "links.txt:5[link-node-missing]", "nodetrf.txt:1[rule-not-at-node]"])
            self.assertEqual(self.summary(done.out), [
                SUMMARY[0], SUMMARY[1], SUMMARY[2] + " (the first is shown)",
                SUMMARY[3],
                "4 findings more: --max 0 shows all of them, --only KIND those of a kind"])
            done = check(root, "--max", "1", "control.ini")
            self.assertEqual(self.summary(done.out), [
                SUMMARY[0], SUMMARY[1] + " (the first is shown)", SUMMARY[2] + " (not shown)",
                SUMMARY[3] + " (not shown)",
                "7 findings more: --max 0 shows all of them, --only KIND those of a kind"])
            self.assertEqual(done.status, 1)

    def test_a_hundred_by_default(self):
        files = zat_text()
        files["linkname.txt"] = b'101,1,1,"A name of more than 20"\r\n' * 150
        with folder_of(files) as root:
            self.assertEqual(len(check(root, "control.ini").out.splitlines()), 100 + 3)
            self.assertEqual(len(check(root, "--max", "0", "control.ini").out.splitlines()), 150 + 2)

    def test_json(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            whole = json.loads(check(root, "--json", "--max", "1", "--ignore", "name-long",
                                     "control.ini").out)
        self.assertEqual([finding["record"] for finding in whole.pop("findings")], [1])
        self.assertEqual(whole, {
            "control": "control.ini", "errors": 2, "warnings": 1,
            "kinds": {"link-node-missing": 2, "rule-not-at-node": 1}, "more": 2, "left_out": 5})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    OPTIONS.zatmap = os.path.abspath(OPTIONS.zatmap)
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
