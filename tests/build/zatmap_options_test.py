#!/usr/bin/env python3
"""Options that several subcommands of zatmap have: code pages, output files, rectangles, JSON.

    zatmap_options_test.py --zatmap PATH [unittest options]

The map is that of tests/support/small_map.py: 101 lies in the west, 102 is the junction, 103 north and
104 east of it.
"""

import argparse
import json
import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import small_map  # pylint: disable=wrong-import-position
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
NO_HASH = "0" * 64
MANIFEST = {
    "format": 1, "version": "4.85", "built": "2026-11-21T22:47:41Z", "seconds": 0.02,
    "folder": "/data", "code_page": 1252,
    "options": {"format": "ZAT", "msr": False, "stage": "all", "fare_data": False},
    "counts": {"nodes": 4, "links": 3, "shapes": 3, "shape_points": 7, "prohibited_turns": 2,
               "weighted_turns": 5},
    "control": {"path": "/data/control.ini", "bytes": 1, "sha256": NO_HASH},
    "sources": [], "files": []}


class Case(unittest.TestCase):
    """One built map for all tests of a class; who changes it makes another."""

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.program = zatmap.Zatmap(OPTIONS.zatmap, cls.folder / "data")
        cls.make()

    @classmethod
    def make(cls):
        small_map.write(cls.folder)
        (cls.folder / "out").mkdir()
        cls.program.build(cls.folder)

    def run_zatmap(self, *arguments, status=0):
        done = self.program.run(*arguments, cwd=self.folder)
        self.assertEqual(done.status, status, done)
        return done

    def fails(self, *arguments, status, says):
        """What stands on standard error, and nothing on standard output."""
        done = self.run_zatmap(*arguments, status=status)
        self.assertEqual((done.err, done.out), (says, ""))


class CodePages(Case):
    @classmethod
    def make(cls):
        small_map.write(cls.folder)
        links = (cls.folder / "links.txt").read_bytes()
        (cls.folder / "links.txt").write_bytes(links.replace(b"Main Street", b"Hauptstra\xdfe"))
        (cls.folder / "out").mkdir()
        cls.program.build(cls.folder, "control.ini", "--code-page", "1252")

    def name(self, *options, **environment):
        program = zatmap.Zatmap(OPTIONS.zatmap, self.folder / "data", **environment)
        done = program.run("dump", "out", "linkname.dat", "--record", "0", "--json", *options,
                           cwd=self.folder)
        return json.loads(done.out)[0]["Name"]

    def without_manifest(self):
        (self.folder / "out" / "zatmap.json").unlink(missing_ok=True)

    def test_names_are_read_in_the_code_page_of_the_option(self):
        self.without_manifest()
        self.assertEqual(self.name("--code-page", "1252"), "Hauptstraße")
        # DF is a half-width katakana of 932, and half a character of 936.
        self.assertEqual(self.name(), "Hauptstraﾟe")
        self.assertEqual(self.name(ZATLIB_CODEPAGE="1252"), "Hauptstraße")
        self.assertEqual(self.name("--code-page", "932", ZATLIB_CODEPAGE="1252"), "Hauptstraﾟe")

    def test_the_manifest_tells_the_code_page(self):
        manifest = self.folder / "out" / "zatmap.json"
        manifest.write_text(json.dumps(MANIFEST))
        self.addCleanup(manifest.unlink)
        self.assertEqual(self.name(), "Hauptstraße")
        self.assertEqual(self.name(ZATLIB_CODEPAGE="932"), "Hauptstraße")
        self.assertEqual(self.name("--code-page", "932"), "Hauptstraﾟe")

    def test_every_command_that_shows_names_has_it(self):
        self.without_manifest()
        for arguments in (("route", "out", "101", "102", "--json"), ("export", "out", "--geojson"),
                          ("view", "out", "-o", "page.html")):
            with self.subTest(arguments=arguments):
                done = self.run_zatmap(*arguments, "--code-page", "1252")
                text = done.out
                if arguments[0] == "view":
                    text = (self.folder / "page.html").read_text("utf-8")
                    (self.folder / "page.html").unlink()
                self.assertRegex(text, "Hauptstra(ß|\\\\u00df)e")
        for command in ("info", "verify"):
            self.run_zatmap(command, "out", "--code-page", "1252")

    def test_the_check_reads_names_in_it(self):
        done = self.run_zatmap("check", "control.ini", "--code-page", "65001", "--json")
        kinds = json.loads(done.out)["kinds"]
        self.assertEqual(kinds.get("name-code-page"), 1, kinds)
        done = self.run_zatmap("check", "control.ini", "--code-page", "1252", "--json")
        self.assertNotIn("name-code-page", json.loads(done.out)["kinds"])

    def test_utf8_is_one(self):
        folder = self.folder / "utf8"
        folder.mkdir()
        small_map.write(folder)
        links = (folder / "links.txt").read_bytes()
        (folder / "links.txt").write_bytes(links.replace(b"Main", "Mühl".encode()))
        done = self.program.run("check", "control.ini", "--code-page", "65001", "--json", cwd=folder)
        self.assertNotIn("name-utf8", json.loads(done.out)["kinds"])
        done = self.program.run("check", "control.ini", "--json", cwd=folder)
        self.assertEqual(json.loads(done.out)["kinds"]["name-utf8"], 1)

    def test_one_that_nobody_knows_is_wrong_usage(self):
        for page in ("60000", "0", "-1", "cp932", ""):
            self.fails("info", "out", "--code-page", page, status=2, says=(
                "zatmap: --code-page takes the number of a code page that the system knows, like "
                f"932, 1252 or 65001 (UTF-8), not {page}.\nzatmap info --help tells more.\n"))


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
