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
from good_networks import folder_of, zat_mif, zat_text  # pylint: disable=wrong-import-position

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


def geometry_of(feature):
    return feature["geometry"] and (feature["geometry"]["type"], feature["geometry"]["coordinates"])


class GeoJson(ReportTest):
    def findings(self, files, *options):
        with folder_of(files) as root:
            done = check(root, "--geojson", "-", *options, "control.ini")
        whole = json.loads(done.out)
        self.assertEqual((whole["type"], whole["name"]), ("FeatureCollection", "findings"))
        return whole["features"]

    def test_points_and_lines(self):
        files = two_errors_and_six_warnings()
        files["nodename.txt"] = b'15,1,"A name of more than 20"\r\n77,1,"Nobody"\r\n'
        found = {(f["properties"]["file"], f["properties"]["record"], f["properties"]["kind"]):
                 geometry_of(f) for f in self.findings(files)}
        self.assertEqual(found, {
            # A link with one of its nodes; one with both; a rule at its node; a name's node.
            ("links.txt", 1, "link-node-missing"): ("Point", [7.42, 43.73]),
            ("links.txt", 5, "link-node-missing"): ("Point", [7.42, 43.731]),
            ("links.txt", 1, "name-long"): ("Point", [7.42, 43.73]),
            ("links.txt", 2, "name-long"): ("LineString", [[7.421, 43.73], [7.422, 43.731]]),
            ("links.txt", 3, "name-long"): ("LineString", [[7.422, 43.731], [7.421, 43.732]]),
            ("links.txt", 4, "name-long"): ("LineString", [[7.421, 43.732], [7.42, 43.731]]),
            ("links.txt", 5, "name-long"): ("Point", [7.42, 43.731]),
            ("nodetrf.txt", 1, "rule-not-at-node"): ("Point", [7.421, 43.73]),
            ("nodename.txt", 1, "name-long"): ("Point", [7.42, 43.731]),
            ("nodename.txt", 2, "row-unknown"): None})

    def test_properties(self):
        files = zat_text()
        files["linkshape.txt"] = files["linkshape.txt"].replace(b"43.731000", b"43.7310001", 1)
        self.assertEqual(self.findings(files), [{
            "type": "Feature",
            "properties": {
                "file": "linkshape.txt", "record": 2, "column": 2, "line": 6, "severity": "error",
                "kind": "coord-decimals", "text": "the coordinate has more than 6 decimals",
                "detail": "43.7310001 counts as 437.310001",
                "advice": "round it to 6: each further one makes it ten times as large"},
            "geometry": {"type": "Point", "coordinates": [7.422, 43.731]}}])

    def test_objects_of_mif_files(self):
        files = zat_mif()
        files["link.mif"] = files["link.mif"].replace(b"Pline 2", b"Pline 3", 1)
        found = self.findings(files, "--only", "mif-points")
        self.assertEqual([geometry_of(f) for f in found],
                         [("LineString", [[7.42, 43.73], [7.421, 43.73]])])

    def test_the_file(self):
        with folder_of(two_errors_and_six_warnings()) as root:
            path = os.path.join(root, "f.geojson")
            done = check(root, "--geojson", "f.geojson", "control.ini")
            self.assertEqual((done.status, self.summary(done.out)), (1, SUMMARY))
            self.assertEqual(len(json.loads(zatmap.read(path))["features"]), 8)
            done = check(root, "--geojson", "f.geojson", "control.ini")
            self.assertEqual((done.status, done.err), (
                1, "zatmap: f.geojson exists; with --overwrite it is replaced.\n"))
            done = check(root, "--geojson", "f.geojson", "--overwrite", "--errors-only", "control.ini")
            self.assertEqual(done.status, 1)
            self.assertEqual(len(json.loads(zatmap.read(path))["features"]), 2)
            # What is checked is never written to.
            before = zatmap.read(os.path.join(root, "links.txt"))
            for name in ("links.txt", "control.ini"):
                done = check(root, "--geojson", name, "--overwrite", "control.ini")
                self.assertEqual(done.err, "zatmap: %s is the same file as %s, which must stay. "
                                 "Name another file.\n" % (name, name))
            self.assertEqual(zatmap.read(os.path.join(root, "links.txt")), before)

    def test_one_thing_on_standard_output(self):
        with folder_of(zat_text()) as root:
            for words in (("--json", "--geojson", "-"), ("--html", "-", "--geojson", "-")):
                done = check(root, *words, "control.ini")
                self.assertEqual((done.status, done.out, done.err), (
                    2, "", "zatmap: standard output takes one of --json, --geojson - and "
                    "--html -.\n"))


class Html(ReportTest):
    def page(self, files, *options):
        with folder_of(files) as root:
            done = check(root, "--html", "-", *options, "control.ini")
        self.assertTrue(done.out.startswith("<!doctype html>\n"))
        self.assertTrue(done.out.endswith("</html>\n"))
        return done.out

    def test_a_finding_with_its_row(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b",11,12,", b",11,99,")
        page = self.page(files, "--errors-only")
        self.assertIn("<title>control.ini: 1 error, 1 warning</title>", page)
        self.assertIn(
            '<article class="e" data-s="e" data-k="link-node-missing" data-f="', page)
        self.assertIn(
            '<p class="place">links.txt, record 1, column 9</p>\n<p><span class="error">error'
            "</span> the link names a node that does not exist: node B 00000000000099</p>\n"
            '<p class="advice">add the node or correct the code: the link is left out of the map'
            "</p>\n<pre>101,4,10001,100,1,1,1,11,<mark>99</mark>,40,40,0,1,&quot;Road&quot;</pre>",
            page)
        self.assertEqual(page.count("<article"), 1)

    def test_names_stay_text(self):
        files = zat_text()
        hostile = b"</pre></script><script>alert(1)</script><img src=x onerror=alert(2)>'&"
        files["linkname.txt"] = b'103,13,1,"%s"\r\n' % hostile[:60]
        files["nodename.txt"] = b'12,1,"A\x01\x1b[31m\xfe of more than twenty"\r\n'
        files["control.ini"] += b"[<b onclick=alert(1)>]\r\n"
        page = self.page(files)
        self.assertEqual(page.count("<script>"), 1)
        for word in ("<img", "<b ", "\x01", "\x1b", "alert(1)</script>"):
            self.assertNotIn(word, page)
        self.assertIn("&lt;/pre&gt;&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt;&lt;img", page)
        self.assertIn("A\\x01\\x1B[31m\\xFE of more", page)

    def test_nothing_is_fetched(self):
        page = self.page(two_errors_and_six_warnings())
        self.assertIn("default-src 'none'", page)
        for word in ("http:", "https:", "src=", "@import", "url(", "<link"):
            self.assertNotIn(word, page)

    def test_errors_and_whole_files_come_first(self):
        files = two_errors_and_six_warnings()
        files["links.txt"] = files["links.txt"].replace(b"\r\n", b"\n")
        page = self.page(files)
        kinds = [part.split('"')[0] for part in page.split('data-k="')[1:] if "<p " in part[:99]]
        severities = [part[0] for part in page.split('data-s="')[1:]]
        self.assertEqual(severities, sorted(severities))
        self.assertEqual(kinds[0], "lf-line-end")

    def test_a_clean_check(self):
        page = self.page(zat_text())
        self.assertIn("0 errors, 0 warnings", page)
        self.assertNotIn("<article", page)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    OPTIONS.zatmap = os.path.abspath(OPTIONS.zatmap)
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
