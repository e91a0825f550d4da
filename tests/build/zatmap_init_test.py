#!/usr/bin/env python3
"""zatmap init: the sample data, in every layout, pass check, build and verify.

    zatmap_init_test.py --zatmap PATH --source FOLDER [unittest options]
"""

import argparse
import itertools
import json
import os
import re
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
FILES = {
    ("zat", False): ["linkname.txt", "links.txt", "linkshape.txt", "linkspeed.txt", "linktrf.txt",
                     "nodename.txt", "nodes.mid", "nodes.txt", "nodetrf.txt", "nodexy.txt",
                     "roadkinds.txt", "widths.txt"],
    ("zat", True): ["link.mid", "link.mif", "linkname.txt", "linkspeed.txt", "linktrf.txt",
                    "node.mid", "node.mif", "nodename.txt", "nodetrf.txt", "roadkinds.txt",
                    "widths.txt"],
    ("msr", False): ["dkukan.csv", "droten.mid", "droten.mif", "kukanz.csv", "roadkinds.txt",
                     "tukouj.csv", "widths.txt"],
    ("msr", True): ["dkukan.mid", "dkukan.mif", "droten.mid", "droten.mif", "kukanz.csv",
                    "roadkinds.txt", "tukouj.csv", "widths.txt"],
}
# A one-way lane from the east (3) to the south (5), and no right turn from the west (2) there, nor
# from the east to the station (4): turning round in the west is the quickest way, 71 seconds with
# the speeds of linkspeed.txt, the lane takes 82.
ROUTES = [((3, 5), [105]), ((5, 3), [104, 102]), ((2, 5), [101, 102, 105]), ((2, 4), [101, 103]),
          ((3, 4), [102, 101, 101, 103])]


def code(number, length=14):
    return "1" + str(number).zfill(length - 1)


class InitTest(unittest.TestCase):
    def setUp(self):
        self.base = os.path.realpath(self.enterContext(zatmap.scratch_folder()))
        self.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(self.base, "data"))

    def path(self, *names):
        return os.path.join(self.base, *names)

    def run_zatmap(self, *arguments, status=0, cwd=None):
        done = self.program.run(*arguments, cwd=cwd or self.base)
        self.assertEqual(status, done.status, done)
        return done

    def text(self, *names):
        content = zatmap.read(self.path(*names))
        self.assertEqual(content.count(b"\n"), content.count(b"\r\n"), names)
        self.assertTrue(content.endswith(b"\r\n"), names)
        return content.decode("ascii").replace("\r\n", "\n")


class Samples(InitTest):
    def test_every_form_passes_check_and_builds(self):
        for layout, mif, length in itertools.product(("zat", "msr"), (False, True), (14, 18)):
            name = "%s%d%d" % (layout, mif, length)
            with self.subTest(name):
                self.run_zatmap("init", name, "--layout", layout, *(["--mif"] if mif else []),
                                "--code-length", length)
                self.assertEqual(sorted(["control.ini", "out", *FILES[layout, mif]]),
                                 sorted(os.listdir(self.path(name))))
                check = self.run_zatmap("check", "control.ini", "--strict", cwd=self.path(name))
                self.assertIn("0 errors, 0 warnings", check.out)
                self.run_zatmap("build", "control.ini", cwd=self.path(name))
                verify = self.run_zatmap("verify", "out", "--json", "--strict",
                                         cwd=self.path(name))
                result = json.loads(verify.out)
                shapes = 5 if mif or layout == "zat" else 0
                self.assertEqual((5, 5, shapes), (result["nodes"], result["links"],
                                                  result["shapes"]))

    def test_the_map_says_what_the_sample_says(self):
        for layout, mif in FILES:
            name = "%s%d" % (layout, mif)
            self.run_zatmap("init", name, "--layout", layout, *(["--mif"] if mif else []))
            self.run_zatmap("build", "control.ini", cwd=self.path(name))
            full = code if layout == "zat" else (lambda number: str(10 * 10 ** 12 + number))
            for (start, end), links in ROUTES:
                with self.subTest(name, start=start, end=end):
                    route = json.loads(self.run_zatmap(
                        "route", "out", full(start), full(end), "--json", cwd=self.path(name)).out)
                    self.assertEqual([full(link) for link in links],
                                     [step["code"] for step in route["links"]])

    def test_five_rows_of_every_file(self):
        for layout, mif in FILES:
            name = "%s%d" % (layout, mif)
            self.run_zatmap("init", name, "--layout", layout, *(["--mif"] if mif else []))
            for file in FILES[layout, mif]:
                with self.subTest(name, file=file):
                    text = self.text(name, file)
                    rows = [line for line in text.splitlines() if line]
                    if file.endswith(".mif"):
                        rows = re.findall(r"(?m)^(?:Point|Pline) ", text)
                    elif file == "linkshape.txt":
                        rows = re.findall(r"(?m)^\d+,\d+$", text)
                    self.assertEqual(5, len(rows))

    def test_rows_of_the_zat_layout(self):
        self.run_zatmap("init", "town")
        self.assertEqual(
            "10000000000001,1,0,4,10000000000101,10000000000102,10000000000103,10000000000104,"
            "0,0,0,0", self.text("town", "nodes.txt").splitlines()[0])
        self.assertEqual(
            '10000000000003,1,0,2,10000000000102,10000000000105,0,0,0,0,0,0,"East Gate"',
            self.text("town", "nodes.mid").splitlines()[2])
        self.assertEqual(
            '10000000000105,5,13101,347,1,1,3,10000000000003,10000000000005,40,40,0,1,"Mill Lane"',
            self.text("town", "links.txt").splitlines()[4])
        self.assertEqual("10000000000105,10000000000003,10000000000005,0,2",
                         self.text("town", "linktrf.txt").splitlines()[4])
        self.assertEqual("10000000000001,10000000000101,10000000000104,2",
                         self.text("town", "nodetrf.txt").splitlines()[0])
        self.assertEqual(["10000000000101,3", "139.747800,35.679700", "139.748900,35.679900",
                          "139.750000,35.680000"],
                         self.text("town", "linkshape.txt").splitlines()[:4])
        self.run_zatmap("init", "long", "--code-length", "18")
        self.assertEqual("100000000000000001,139.750000,35.680000",
                         self.text("long", "nodexy.txt").splitlines()[0])

    def test_rows_of_the_msr_layout(self):
        self.run_zatmap("init", "town", "--layout", "msr", "--mif")
        self.assertEqual('10,1,1,0,0,"Main Crossing",4,101,102,103,104,0,0,0,0',
                         self.text("town", "droten.mid").splitlines()[0])
        self.assertEqual("105,5,10,101,347,1,1,3,5,3,40,40,0",
                         self.text("town", "dkukan.mid").splitlines()[4])
        self.assertEqual('10,105,1,"Mill Lane",0',
                         self.text("town", "kukanz.csv").splitlines()[4])
        self.assertEqual(["10,5,104,105,2", "10,5,105,105,2"],
                         self.text("town", "tukouj.csv").splitlines()[3:])
        self.assertEqual(["Pline 3", "139.747800 35.679700", "139.748900 35.679900",
                          "139.750000 35.680000"],
                         self.text("town", "dkukan.mif").split("Data\n\n")[1].splitlines()[:4])
        self.assertEqual(["Point 139.750000 35.680000", "Point 139.747800 35.679700"],
                         self.text("town", "droten.mif").split("Data\n\n")[1].splitlines()[:2])


def document(name):
    with open(os.path.join(OPTIONS.source, "docs", name), encoding="utf-8") as file:
        return file.read()


def documented_columns(name):
    """Section to (column, name) of the tables of columns of a document."""
    columns = {}
    for heading, body in re.findall(r"(?ms)^##+ ([^\n]*)\n(.*?)(?=^##|\Z)", document(name)):
        section = re.sub(r"[^A-Z]", "", heading.rsplit(" ", 1)[-1])
        for table in re.findall(r"(?m)^\| column \| name \| values .*\n\|[-| :]*\n((?:\|.*\n)+)",
                                body):
            columns.setdefault(section, []).extend(
                tuple(cell.strip() for cell in row.split("|")[1:3])
                for row in table.splitlines())
    return columns


class ControlFile(InitTest):
    def sections(self, *options):
        self.run_zatmap("init", "town", *options)
        text = self.text("town", "control.ini")
        return dict(re.findall(r"(?ms)^\[(\w+)\]\n(.*?)(?=^\[|\Z)", text))

    def check_columns(self, sections, name, left_out=()):
        wanted = documented_columns(name)
        self.assertGreater(len(wanted), 3)
        for section, columns in wanted.items():
            if section in left_out:
                continue
            with self.subTest(section):
                shown = re.findall(r"(?m)^;    (\d+(?: to \d+)?) +([^:\n]+):", sections[section])
                self.assertEqual(columns, shown)

    def test_it_has_a_comment_on_each_column(self):
        self.check_columns(self.sections(), "control-file.md")

    def test_the_same_with_mif_files(self):
        self.check_columns(self.sections("--mif"), "control-file.md", ("NODEXY", "LINKSHAPE"))

    def test_the_same_in_the_msr_layout(self):
        self.check_columns(self.sections("--layout", "msr"), "msr-layout.md")

    def check_keys(self, sections, names, other):
        keys = set()
        for name in names:
            for section, cell in re.findall(r"(?m)^\| `([A-Z]+)` \| ([^|]*) \|", document(name)):
                keys |= {(section, key) for key in re.findall(r"`(\w+)`", cell)}
        keys -= {(section, key) for section, key in keys
                 if section in other or (section == "TUKOUJ" and "NODE" in sections
                                         and key != "NOTADDONEWAY")}
        keys -= {key for key in keys if re.match(r"FILE0[2-9]", key[1])}
        self.assertGreater(len(keys), 30)
        for section, key in sorted(keys):
            with self.subTest(section=section, key=key):
                self.assertRegex(sections[section], r"(?m)^;?%s=" % key)

    def test_it_has_every_key(self):
        zat = {"NODE", "NODENAME", "NODEXY", "LINK", "LINKSPEED", "LINKNAME", "NODETRF", "LINKTRF",
               "LINKSHAPE"}
        self.check_keys(self.sections(), ["control-file.md"], {"DROTEN", "DKUKAN", "KUKANZ"})
        self.run_zatmap("init", "other", "--layout", "msr")
        text = self.text("other", "control.ini")
        sections = dict(re.findall(r"(?ms)^\[(\w+)\]\n(.*?)(?=^\[|\Z)", text))
        self.check_keys(sections, ["control-file.md", "msr-layout.md"], zat)

    def test_every_other_line_is_a_comment(self):
        self.sections()
        for line in self.text("town", "control.ini").splitlines():
            self.assertRegex(line, r"^(;.*|\[[A-Z]+\]|[A-Z0-9_]+=[^;]*|)$")


class Folder(InitTest):
    def test_what_it_says(self):
        done = self.run_zatmap("init", "town")
        self.assertEqual("town: 13 files\nNext:\n  cd town\n  zatmap check control.ini\n"
                         "  zatmap build control.ini\n  zatmap verify out\n", done.out)
        self.assertIn('  cd "my town"\n', self.run_zatmap("init", "my town").out)

    def test_a_new_folder_with_those_above_it(self):
        self.run_zatmap("init", os.path.join("a", "b", "c") + os.sep)
        self.run_zatmap("check", "control.ini", cwd=self.path("a", "b", "c"))

    def test_an_empty_folder(self):
        os.mkdir(self.path("town"))
        done = self.run_zatmap("init", ".", cwd=self.path("town"))
        self.assertNotIn("cd ", done.out)
        self.run_zatmap("check", "control.ini", cwd=self.path("town"))

    def test_a_folder_that_is_not_empty(self):
        for content in ("file", "folder"):
            with self.subTest(content):
                os.mkdir(self.path(content))
                if content == "file":
                    zatmap.write(self.path(content, "notes.txt"), b"mine")
                else:
                    os.mkdir(self.path(content, "out"))
                before = os.listdir(self.path(content))
                done = self.run_zatmap("init", content, status=1)
                self.assertEqual("zatmap: %s: is not empty; name a new folder, or say "
                                 "--overwrite.\n" % content, done.err)
                self.assertEqual(before, os.listdir(self.path(content)))

    def test_overwrite(self):
        self.run_zatmap("init", "town")
        links = zatmap.read(self.path("town", "links.txt"))
        zatmap.write(self.path("town", "links.txt"), links + b"more")
        zatmap.write(self.path("town", "notes.txt"), b"mine")
        self.run_zatmap("init", "town", "--overwrite")
        self.assertEqual(links, zatmap.read(self.path("town", "links.txt")))
        self.assertEqual(b"mine", zatmap.read(self.path("town", "notes.txt")))

    def test_what_is_in_the_way(self):
        zatmap.write(self.path("town"), b"mine")
        self.assertEqual("zatmap: town: is no folder.\n",
                         self.run_zatmap("init", "town", status=1).err)
        self.run_zatmap("init", "town", "--overwrite", status=1)
        self.assertEqual(b"mine", zatmap.read(self.path("town")))
        self.run_zatmap("init", os.path.join("town", "below"), status=1)
        os.makedirs(self.path("other", "links.txt"))
        self.assertIn("links.txt: is in the way",
                      self.run_zatmap("init", "other", "--overwrite", status=1).err)
        self.assertIn("the path is too long",
                      self.run_zatmap("init", "x" * 250, status=1).err)

    def test_wrong_usage(self):
        for options in ([], ["--layout", "osm", "a"], ["--code-length", "16", "a"], ["a", "b"]):
            with self.subTest(options):
                self.run_zatmap("init", *options, status=2)
        self.assertFalse(os.path.exists(self.path("a")))


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", "source")
