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
import pty
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


class Fields(Case):
    def test_the_fields_of_a_file(self):
        fields = json.loads(self.run_zatmap("dump", "out", "linknode.idx", "--fields", "--json").out)
        self.assertEqual([list(field.values()) for field in fields[:3]], [
            [0, 4, 1, "i32", "NodeA"], [4, 4, 1, "i32", "NodeB"], [8, 2, 1, "u16", "SpeedA"]])
        self.assertEqual(list(fields[0]), ["offset", "width", "count", "type", "name"])


class OutputFiles(Case):
    def setUp(self):
        self.before = zatmap.map_files(self.folder / "out")

    def tearDown(self):
        self.assertEqual(zatmap.map_files(self.folder / "out"), self.before)

    def refuses(self, path, says, *options):
        for command in ("export", "view"):
            self.fails(command, "out", "-o", path, *options, status=1, says=f"zatmap: {path} {says}\n")

    def test_a_file_that_exists_is_replaced_on_demand_only(self):
        path = self.folder / "mine.txt"
        path.write_text("mine")
        self.refuses("mine.txt", "exists; with --overwrite it is replaced.")
        self.assertEqual(path.read_text(), "mine")
        self.run_zatmap("export", "out", "-o", "mine.txt", "--overwrite")
        self.assertEqual(len(json.loads(path.read_text())["features"]), 3)
        self.run_zatmap("view", "out", "-o", "mine.txt", "--overwrite")
        self.assertIn("<html", path.read_text("utf-8"))

    def test_no_file_of_a_map_is_written(self):
        says = "is a file of a map, which only zatmap build writes. Name another file."
        (self.folder / "to_map").symlink_to("out")
        (self.folder / "to_file").symlink_to("out/mapcalc.dat")
        (self.folder / "sub").mkdir()
        for path in ("out/mapcalc.dat", "./out/../out/linkdef.dat", "to_map/link.idx", "to_file",
                     "sub/../out/MAPCALC.DAT", str(self.folder / "out" / "maploc.dat"),
                     # Files that a map may have and this one has not.
                     "out/TR_LINK.DAT", "out/nodestr.~wk", "to_map/PayData.Inf"):
            with self.subTest(path=path):
                self.refuses(path, says)
                self.refuses(path, says, "--overwrite")

    def test_nor_one_of_another_map(self):
        self.program.run("build", "control.ini", cwd=self.folder)
        other = self.folder / "other"
        other.mkdir(exist_ok=True)
        for name in self.before:
            (other / name).write_bytes(zatmap.read(self.folder / "out" / name))
        self.refuses("other/mapdraw.dat", "is a file of a map, which only zatmap build writes. Name "
                                          "another file.", "--overwrite")

    def test_nor_one_with_a_second_name(self):
        os.link(self.folder / "out" / "maprule.dat", self.folder / "second.dat")
        self.refuses("second.dat", "is the same file as out/maprule.dat, which must stay. Name another "
                                   "file.", "--overwrite")

    def test_what_cannot_be_a_file(self):
        (self.folder / "folder").mkdir()
        (self.folder / "nowhere").symlink_to("absent/file")
        self.refuses("folder", "is a folder.", "--overwrite")
        self.refuses("nowhere", "is a link to something that does not exist.")
        self.refuses("absent/file", "cannot be written.")

    def test_a_name_of_a_map_elsewhere_is_a_name(self):
        self.run_zatmap("export", "out", "-o", "mapcalc.dat")
        self.run_zatmap("export", "out", "-o", "out/links.geojson")
        (self.folder / "out" / "links.geojson").unlink()

    def test_devices_need_no_permission_to_overwrite(self):
        self.run_zatmap("export", "out", "-o", "/dev/null")
        self.assertEqual(self.run_zatmap("export", "out", "-o", "-").out,
                         self.run_zatmap("export", "out").out)
        done = self.run_zatmap("view", "out", "-o", "-")
        self.assertTrue(done.out.rstrip().endswith("</html>"), done.out[-100:])

    def test_json_tells_what_was_written(self):
        done = self.run_zatmap("export", "out", "--json", "--layer", "nodes", "-o", "nodes.geojson")
        self.assertEqual(json.loads(done.out), {
            "file": str(self.folder / "nodes.geojson"), "layer": "nodes", "features": 4})
        done = self.run_zatmap("view", "out", "--json", "-o", "json.html")
        self.assertEqual(json.loads(done.out),
                         {"page": str(self.folder / "json.html"), "nodes": 4, "links": 3})
        self.fails("export", "out", "--json", status=2, says=(
            "zatmap: --json tells what was written to a file; name it with -o. The export itself is "
            "JSON.\n"))

    def test_geojson_is_the_only_form(self):
        self.assertEqual(self.run_zatmap("export", "out").out,
                         self.run_zatmap("export", "out", "--geojson").out)


class Rectangles(Case):
    BOUNDS = "The map's bounds are 10.000000,50.000000,10.002000,50.001000 (west,south,east,north).\n"

    def both(self, bounds, status, says):
        self.fails("export", "out", "--bbox", bounds, status=status, says=says)
        self.fails("view", "out", "-o", "no.html", "--bbox", bounds, status=status, says=says)
        self.assertFalse((self.folder / "no.html").exists())

    def test_outside_of_the_map(self):
        self.both("7.41,43.72,7.43,43.74", 1, "zatmap: nothing of the map lies in --bbox "
                  "7.41,43.72,7.43,43.74. " + self.BOUNDS)

    def test_longitude_and_latitude_exchanged(self):
        self.both("50,10,50.01,10.01", 1, "zatmap: nothing of the map lies in --bbox "
                  "50,10,50.01,10.01. " + self.BOUNDS + "zatmap: latitude and longitude look "
                  "exchanged: --bbox 10,50,10.01,50.01.\n")

    def test_corners_exchanged(self):
        for bounds in ("10.002,50.001,10,50", "10.002,50,10,50.001", "10,50.001,10.002,50"):
            self.both(bounds, 2, f"zatmap: --bbox {bounds}: the corners are exchanged; "
                      "west,south,east,north is 10,50,10.002,50.001.\n")

    def test_no_rectangle(self):
        for bounds in ("1,2,3", "1,2,3,4,5", "here", "1,2,3,x", "1;2;3;4", "nan,0,1,1"):
            self.both(bounds, 2, "zatmap: --bbox takes west,south,east,north in degrees, like "
                      "7.41,43.72,7.43,43.74.\n")

    def test_a_part(self):
        # 104 alone: 203, which ends there.
        part = json.loads(self.run_zatmap("export", "out", "--bbox", "10.0015,50,10.01,50.01").out)
        self.assertEqual([f["properties"]["code"] for f in part["features"]], ["203"])


class Colours(Case):
    """On terminals that understand them, unless NO_COLOR says no."""

    @classmethod
    def make(cls):
        super().make()
        # Slot 0 of node 0 costs one hundredth of a second more: 1001.
        content = bytearray((cls.folder / "out" / "mapcalc.dat").read_bytes())
        content[32] ^= 1
        (cls.folder / "out" / "mapcalc.dat").write_bytes(content)
        (cls.folder / "out" / "zatmap.json").unlink(missing_ok=True)
        (cls.folder / "bad.ini").write_bytes(
            (cls.folder / "control.ini").read_bytes().replace(b"nodexy.txt", b"absent.txt"))

    def on_terminal(self, *arguments, **environment):
        """What a terminal gets."""
        program, terminal = pty.fork()
        if program == 0:
            os.chdir(self.folder)
            for name in ("NO_COLOR", "TERM"):
                os.environ.pop(name, None)
            os.environ.update(environment)
            os.execv(OPTIONS.zatmap, [OPTIONS.zatmap, *arguments])
        text = b""
        try:
            while piece := os.read(terminal, 4096):
                text += piece
        except OSError:
            pass  # the other end is closed
        os.close(terminal)
        os.waitpid(program, 0)
        return text.decode().replace("\r\n", "\n")

    def test_the_severity_has_a_colour(self):
        plain = ("mapcalc.dat:0: byte 32: error: slot 0 costs 1001; length 100 at speed 36 of link 0 "
                 "makes 1000\n  error, cost: 1\n")
        painted = plain.replace("error", "\x1b[1;31merror\x1b[0m")
        self.assertTrue(self.on_terminal("verify", "out", TERM="xterm").startswith(painted))
        self.assertTrue(self.on_terminal("verify", "out", TERM="xterm", NO_COLOR="").startswith(painted))
        for environment in ({"TERM": "xterm", "NO_COLOR": "1"}, {"TERM": "dumb"}, {}):
            self.assertTrue(self.on_terminal("verify", "out", **environment).startswith(plain), environment)

    def test_findings_of_the_check_too(self):
        text = self.on_terminal("check", "bad.ini", TERM="xterm")
        self.assertIn(": \x1b[1;31merror\x1b[0m: ", text)
        self.assertIn("  \x1b[1;31merror  \x1b[0m  ", text)

    def test_never_in_a_pipe(self):
        program = zatmap.Zatmap(OPTIONS.zatmap, self.folder / "data", TERM="xterm")
        for arguments in (("verify", "out"), ("check", "bad.ini")):
            done = program.run(*arguments, cwd=self.folder)
            self.assertIn(": error: ", done.out)
            self.assertNotIn("\x1b", done.out + done.err)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
