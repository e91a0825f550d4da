#!/usr/bin/env python3
"""The manifest beside a map: what zatmap.json tells, verify and info with it, and --if-changed.

    zatmap_manifest_test.py --zatmap PATH --source FOLDER [unittest options]
"""

import argparse
import contextlib
import ctypes
import hashlib
import json
import os
import re
import shutil
import struct
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
MANIFEST = "zatmap.json"
# Of the examples in the standard of SHA-256, which has the hashes of nothing and of "abc".
EMPTY_HASH = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"
ABC_HASH = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
MAP_FILES = ["link.idx", "linkdef.dat", "linkname.dat", "linknode.idx", "mapattr.dat",
             "mapcalc.dat", "mapdraw.dat", "maploc.dat", "maprule.dat", "node.idx", "nodeattr.dat",
             "nodelink.idx", "nodename.dat", "rtweight.dat", "shapedat.dat", "shapedat.inf",
             "shapedbl.idx"]
MONACO = [("NODE", 1, "nodes.txt"), ("NODE", 1, "nodes.mid"), ("NODENAME", 1, "nodename.txt"),
          ("NODEXY", 1, "nodexy.txt"), ("LINK", 1, "links.txt"), ("LINKSPEED", 1, "linkspeed.txt"),
          ("LINKNAME", 1, "linkname.txt"), ("NODETRF", 1, "nodetrf.txt"),
          ("LINKTRF", 1, "linktrf.txt"), ("LINKSHAPE", 1, "linkshape.txt")]
MONACO_MIF = [("NODE", 1, "node.mif"), ("NODE", 1, "node.mid"), ("NODENAME", 1, "nodename.txt"),
              ("LINK", 1, "link.mif"), ("LINK", 1, "link.mid"), ("LINKSPEED", 1, "linkspeed.txt"),
              ("NODETRF", 1, "nodetrf.txt"), ("LINKTRF", 1, "linktrf.txt")]
HINATA = [("DROTEN", 1, "droten41.mif"), ("DROTEN", 1, "droten41.mid"),
          ("DROTEN", 2, "droten42.mif"), ("DROTEN", 2, "droten42.mid"),
          ("DKUKAN", 1, "dkukan41.csv"), ("DKUKAN", 2, "dkukan42.csv"),
          ("KUKANZ", 1, "kukanz.csv"), ("TUKOUJ", 1, "tukouj.csv")]
HINATA_MIF = [*HINATA[:4], ("DKUKAN", 1, "dkukan41.mif"), ("DKUKAN", 1, "dkukan41.mid"),
              ("DKUKAN", 2, "dkukan42.mif"), ("DKUKAN", 2, "dkukan42.mid"), *HINATA[6:]]


def hash_of(path):
    return hashlib.sha256(zatmap.read(path)).hexdigest()


@contextlib.contextmanager
def opened_files(folder):
    """The names of all files of a folder that anybody opens meanwhile, in a set that is filled at
    the end. The system tells them (inotify)."""
    system = ctypes.CDLL(None, use_errno=True)
    watch = system.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
    in_open = 0x20
    assert watch >= 0 and system.inotify_add_watch(watch, os.fsencode(folder), in_open) >= 0
    names = set()
    try:
        yield names
        with contextlib.suppress(BlockingIOError):
            while True:
                events, at = os.read(watch, 1 << 16), 0
                while at < len(events):
                    _, mask, _, size = struct.unpack_from("iIII", events, at)
                    name = events[at + 16:at + 16 + size].rstrip(b"\0").decode()
                    assert not mask & 0x4000, "events were lost"
                    if name and os.path.isfile(os.path.join(folder, name)):
                        names.add(name)
                    at += 16 + size
    finally:
        os.close(watch)


class ManifestTest(unittest.TestCase):
    def setUp(self):
        self.base = os.path.realpath(self.enterContext(zatmap.scratch_folder()))
        self.folder = os.path.join(self.base, "city")
        self.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(self.base, "data"))

    def example(self, name="monaco"):
        zatmap.copy_sources(os.path.join(OPTIONS.source, "examples", name), self.folder, "out",
                            "out_mif")

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def run_zatmap(self, *arguments, status=0, program=None):
        done = (program or self.program).run(*arguments, cwd=self.folder)
        self.assertEqual(status, done.status, done)
        return done

    def build(self, control="control.ini", *options, **others):
        return self.run_zatmap("build", control, *options, **others)

    def manifest(self, out="out"):
        return json.loads(zatmap.read(self.path(out, MANIFEST)))

    def change(self, name, old, new, count=1):
        content = zatmap.read(self.path(name))
        self.assertIn(old, content)
        zatmap.write(self.path(name), content.replace(old, new, count))


class Content(ManifestTest):
    def test_it_tells_what_the_map_was_made_from(self):
        self.example()
        before = int(time.time())
        self.build()
        manifest = self.manifest()
        self.assertEqual(["format", "version", "built", "seconds", "folder", "code_page", "options",
                          "counts", "control", "sources", "files"], list(manifest))
        self.assertEqual(1, manifest["format"])
        version = self.run_zatmap("--version").out.split()[1]
        self.assertEqual(version, manifest["version"])
        self.assertRegex(manifest["built"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        built = time.strptime(manifest["built"] + "+0000", "%Y-%m-%dT%H:%M:%SZ%z")
        self.assertTrue(before <= calendar_seconds(built) <= time.time(), manifest["built"])
        self.assertTrue(0 < manifest["seconds"] < 60)
        self.assertEqual(self.folder, manifest["folder"])
        self.assertEqual(932, manifest["code_page"])
        self.assertEqual({"format": "ZAT", "msr": False, "stage": "all", "fare_data": False},
                         manifest["options"])
        # The counts that docs/zatmap.md shows of this city.
        self.assertEqual({"nodes": 577, "links": 731, "shapes": 731, "shape_points": 3931,
                          "prohibited_turns": 1277, "weighted_turns": 1889}, manifest["counts"])
        control = self.path("control.ini")
        self.assertEqual({"path": control, "bytes": os.path.getsize(control),
                          "sha256": hash_of(control)}, manifest["control"])

    def check_sources(self, wanted, out="out"):
        self.assertEqual(
            [{"section": section, "number": number, "path": path,
              "bytes": os.path.getsize(self.path(path)), "sha256": hash_of(self.path(path))}
             for section, number, path in wanted], self.manifest(out)["sources"])

    def test_sources_of_each_layout(self):
        for example, control, out, sources in (
                ("monaco", "control.ini", "out", MONACO),
                ("monaco", "control_mif.ini", "out_mif", MONACO_MIF),
                ("hinata", "control.ini", "out", HINATA),
                ("hinata", "control_mif.ini", "out_mif", HINATA_MIF)):
            with self.subTest(example=example, control=control):
                shutil.rmtree(self.folder, ignore_errors=True)
                self.example(example)
                self.build(control)
                self.check_sources(sources, out)
                self.assertEqual("ZAT" if example == "monaco" else "MSR",
                                 self.manifest(out)["options"]["format"])

    def test_the_files_are_those_of_the_map(self):
        self.example()
        zatmap.write(self.path("out", "notes.txt"), b"mine")
        zatmap.set_system(self.folder, "DEBUG=1")  # the work stores stay
        self.build()
        self.assertIn("nodestr.~wk", os.listdir(self.path("out")))
        self.assertEqual([{"name": name, "bytes": os.path.getsize(self.path("out", name)),
                           "sha256": hash_of(self.path("out", name))} for name in MAP_FILES],
                         self.manifest()["files"])

    def test_known_hashes_and_class_files(self):
        self.example()
        zatmap.write(self.path("kinds.txt"), b"abc")
        zatmap.write(self.path("widths.txt"), b"")
        self.change("control.ini", b"[NODE]\r\n", b"[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=kinds.txt\r\n"
                    b"[WIDTH]\r\nFILENUM=1\r\nFILE01=widths.txt\r\n[NODE]\r\n")
        self.build()
        self.assertEqual(
            [{"section": "ATTRIBUTE", "number": 1, "path": "kinds.txt", "bytes": 3,
              "sha256": ABC_HASH},
             {"section": "WIDTH", "number": 1, "path": "widths.txt", "bytes": 0,
              "sha256": EMPTY_HASH}], self.manifest()["sources"][:2])
        self.assertEqual(12, len(self.manifest()["sources"]))

    def test_it_names_every_file_that_the_library_opens(self):
        for example, control, out in (("monaco", "control.ini", "out"),
                                      ("monaco", "control_mif.ini", "out_mif"),
                                      ("hinata", "control.ini", "out"),
                                      ("hinata", "control_mif.ini", "out_mif")):
            with self.subTest(example=example, control=control):
                shutil.rmtree(self.folder, ignore_errors=True)
                self.example(example)
                zatmap.write(self.path("kinds.txt"), b"1,one\r\n")
                self.change(control, b"[SYSTEM]", b"[ATTRIBUTE]\r\nFILENUM=1\r\n"
                            b"FILE01=kinds.txt\r\n[WIDTH]\r\nFILENUM=2\r\nFILE01=kinds.txt\r\n"
                            b"FILE02=kinds.txt\r\n[SYSTEM]")
                with opened_files(self.folder) as opened:
                    self.build(control, *PLAIN)
                self.build(control)
                manifest = self.manifest(out)
                named = {os.path.basename(entry["path"])
                         for entry in [manifest["control"], *manifest["sources"]]}
                self.assertEqual(opened, named)

    def test_many_sources(self):
        # More files than are opened at once; every one is there with its hash.
        self.example()
        names = [("NODENAME", i, "names%d.txt" % i) for i in range(1, 151)]
        for _, number, name in names:
            zatmap.write(self.path(name), b"10000010000001,1,Name %d\r\n" % number)
        # The first key of a name counts.
        self.change("control.ini", b"[NODENAME]\r\n", b"[NODENAME]\r\nFILENUM=150\r\n" + b"".join(
            b"FILE%02d=%s\r\n" % (number, name.encode()) for _, number, name in names))
        self.build()
        self.check_sources([*MONACO[:2], *names, *MONACO[3:]])

    def test_fare_data(self):
        self.example()
        for name in ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"):
            zatmap.write(self.path("out", name), b"")
        zatmap.write(self.path("out", "TR_LINK.DAT"), struct.pack("<d16xhB5x", 10000020000001, 1, 1))
        zatmap.write(self.path("out", "PayData.Inf"), b"[SYSTEM]\r\nResult=OK\r\n")
        self.build()
        manifest = self.manifest()
        self.assertTrue(manifest["options"]["fare_data"])
        fares = self.path("out", "TR_LINK.DAT")
        self.assertEqual([{"section": "FARE", "number": 1, "path": "out/TR_LINK.DAT", "bytes": 32,
                           "sha256": hash_of(fares)}], manifest["sources"][len(MONACO):])
        # The build has written its result into PayData.Inf, which changes nothing of the map.
        self.assertIn(b"ICFLAG=OK", zatmap.read(self.path("out", "PayData.Inf")))
        self.assertIn("nothing has changed", self.build("control.ini", "--if-changed").out)
        # Another interchange makes another map, as incomplete fare data do.
        zatmap.write(fares, struct.pack("<d16xhB5x", 10000020000002, 1, 1))
        self.assertNotIn("nothing has changed", self.build("control.ini", "--if-changed").out)
        os.remove(self.path("out", "TR_NAME.DAT"))
        self.assertNotIn("nothing has changed", self.build("control.ini", "--if-changed").out)
        self.assertFalse(self.manifest()["options"]["fare_data"])

    def test_code_page(self):
        self.example()
        western = zatmap.Zatmap(OPTIONS.zatmap, self.program.data, ZATLIB_CODEPAGE="1252")
        self.build(program=western)
        self.assertEqual(1252, self.manifest()["code_page"])

    def test_paths_of_any_bytes(self):
        self.example()
        os.rename(self.path("links.txt"), self.path("リンク.txt"))
        self.change("control.ini", b"links.txt", "リンク.txt".encode())
        self.build()
        self.assertEqual("リンク.txt", self.manifest()["sources"][4]["path"])


class Presence(ManifestTest):
    def test_it_can_be_left_out(self):
        self.example()
        self.build()
        self.build("control.ini", "--no-manifest")
        self.assertEqual(MAP_FILES, sorted(os.listdir(self.path("out"))))

    def test_builds_in_place_have_one_too(self):
        self.example()
        self.build("control.ini", "--in-place")
        self.assertEqual(MAP_FILES, [entry["name"] for entry in self.manifest()["files"]])
        self.run_zatmap("verify", "out")

    def test_the_halves_of_a_build(self):
        self.example()
        self.build()
        # What the first half writes does not belong to the map any more that stood there.
        self.build("control.ini", "--stage", "one")
        self.assertFalse(os.path.exists(self.path("out", MANIFEST)))
        self.build("control.ini", "--stage", "two")
        manifest = self.manifest()
        self.assertEqual("two", manifest["options"]["stage"])
        stores = ["nodestr.~wk", "nnamestr.~wk", "linkstr.~wk", "lnamestr.~wk", "trafrule.~wk",
                  "onewayst.~wk"]
        self.assertEqual(["STORE"] * 6, [entry["section"] for entry in manifest["sources"]])
        self.assertEqual(sorted(stores), sorted(os.path.basename(entry["path"])
                                                for entry in manifest["sources"]))
        self.assertEqual(0, self.program.run("verify", "out", cwd=self.folder).status)
        # Sources of the first half are not known: the next build is made.
        self.assertNotIn("nothing has changed", self.build("control.ini", "--if-changed").out)

    def test_if_changed_is_for_whole_builds(self):
        self.example()
        self.build("control.ini", "--if-changed", "--stage", "two", status=2)
        self.build("control.ini", "--if-changed", "--no-manifest", status=2)


class Verify(ManifestTest):
    def setUp(self):
        super().setUp()
        self.example()
        self.build()

    def findings(self, status=1):
        done = self.run_zatmap("verify", "out", "--json", status=status)
        return [(finding["file"], finding["severity"], finding["kind"], finding["message"])
                for finding in json.loads(done.out)["findings"]]

    def test_the_map_as_it_was_built(self):
        built = self.manifest()["built"]
        lines = self.run_zatmap("verify", "out").out.splitlines()
        self.assertEqual(["zatmap.json: the files are those that were built at %s." % built,
                          "0 errors, 0 warnings: the map is whole."], lines[1:])
        self.assertEqual(built, json.loads(self.run_zatmap("verify", "out", "--json").out)["built"])

    def test_a_changed_byte_that_nothing_else_tells(self):
        # Link value 4, at offset 14 of a link in mapdraw.dat: no other file repeats it.
        content = bytearray(zatmap.read(self.path("out", "mapdraw.dat")))
        content[14] ^= 1
        zatmap.write(self.path("out", "mapdraw.dat"), bytes(content))
        self.assertEqual([("mapdraw.dat", "error", "changed file",
                           "the bytes are not those that the build wrote; build the map again")],
                         self.findings())
        built = self.manifest()["built"]
        self.assertIn("zatmap.json: the files are not all those that were built at %s.\n"
                      "1 errors, 0 warnings: the map is damaged.\n" % built,
                      self.run_zatmap("verify", "out", status=1).out)
        os.remove(self.path("out", MANIFEST))
        self.assertEqual([], self.findings(status=0))

    def test_a_size(self):
        with open(self.path("out", "linkdef.dat"), "ab") as file:
            file.write(b"; more\r\n")
        size = os.path.getsize(self.path("out", "linkdef.dat"))
        self.assertEqual([("linkdef.dat", "error", "changed file",
                           "%d bytes, and the build wrote %d; build the map again"
                           % (size, size - 8)),
                          ("linkdef.dat", "error", "text", "no build writes this line")],
                         self.findings())

    def test_a_missing_file_is_told_once(self):
        for name in ("nodeattr.dat", "rtweight.dat", "shapedat.inf"):
            with self.subTest(name=name):
                os.rename(self.path("out", name), self.path(name))
                missing = [finding for finding in self.findings() if finding[2] == "missing file"]
                self.assertEqual([(name, "error", "missing file",
                                   "the file is missing; build the map again")], missing)
                os.rename(self.path(name), self.path("out", name))

    def test_a_file_of_another_build(self):
        # A map without shapes has no weights; the old ones look like a part of it.
        text = zatmap.read(self.path("control.ini"))
        zatmap.write(self.path("control.ini"),
                     re.sub(rb"(?s)\[LINKSHAPE\].*?(?=\r\n\[|$)", b"", text))
        names = ["rtweight.dat", "shapedat.dat", "shapedat.inf", "shapedbl.idx"]
        for name in names:
            os.rename(self.path("out", name), self.path(name))
        self.build()
        for name in names:
            os.rename(self.path(name), self.path("out", name))
        extra = [finding for finding in self.findings() if finding[2] == "extra file"]
        self.assertEqual([(name, "error", "extra file", "the build wrote no such file: it is of "
                           "another build; build the map again") for name in names], extra)

    def test_other_files_in_the_folder_are_nobodys(self):
        zatmap.write(self.path("out", "notes.txt"), b"mine")
        zatmap.write(self.path("out", "nodestr.~wk"), b"")
        self.assertEqual([], self.findings(status=0))

    def test_a_map_without_one(self):
        os.remove(self.path("out", MANIFEST))
        done = self.run_zatmap("verify", "out")
        self.assertNotIn(MANIFEST, done.out)
        self.assertIsNone(json.loads(self.run_zatmap("verify", "out", "--json").out)["built"])
        self.assertNotIn("manifest", json.loads(self.run_zatmap("info", "out", "--json").out))
        self.assertNotIn("manifest", self.run_zatmap("info", "out").out)

    def test_info(self):
        manifest = self.manifest()
        self.assertEqual(manifest,
                         json.loads(self.run_zatmap("info", "out", "--json").out)["manifest"])
        line = "built: %s, version: %s, seconds: %s, code_page: 932, control: %s, sources: 10" % (
            manifest["built"], manifest["version"], manifest["seconds"],
            self.path("control.ini"))
        self.assertIn("%-24s %s" % ("manifest", line),
                      self.run_zatmap("info", "out").out.splitlines())


class IfChanged(ManifestTest):
    def setUp(self):
        super().setUp()
        self.example()
        self.build()

    def state(self):
        return {name: os.stat(self.path("out", name)).st_mtime_ns
                for name in os.listdir(self.path("out"))}

    def check_nothing(self, *options, program=None):
        before = self.state()
        done = self.build("control.ini", "--if-changed", *options, program=program)
        self.assertEqual("map: %s\nnothing has changed since it was built at %s\n"
                         % (self.path("out"), self.manifest()["built"]), done.out)
        self.assertEqual(before, self.state())

    def check_built(self, *options, program=None):
        before = self.state()
        done = self.build("control.ini", "--if-changed", *options, program=program)
        self.assertNotIn("nothing has changed", done.out)
        self.assertNotEqual(before, self.state())
        self.check_nothing(*options, program=program)

    def test_the_same_again(self):
        self.check_nothing()
        for name in os.listdir(self.folder):
            os.utime(self.path(name), (1, 1))  # times do not count
        self.check_nothing()

    def test_as_json_and_quietly(self):
        result = json.loads(self.build("control.ini", "--if-changed", "--json").out)
        self.assertEqual(("unchanged", 0, self.manifest()["built"], self.path("out")),
                         (result["result"], result["status"], result["built"], result["folder"]))
        self.assertEqual("", self.build("control.ini", "--if-changed", "-q").out)
        self.change("control.ini", b"SPEEDA=20", b"SPEEDA=21")
        self.assertIn("zatmap: building: %s has changed.\n" % self.path("control.ini"),
                      self.build("control.ini", "--if-changed", "-v").err)

    def test_another_output_folder(self):
        self.assertNotIn("nothing has changed",
                         self.build("control.ini", "--if-changed", "--out", "new").out)
        self.assertIn("nothing has changed",
                      self.build("control.ini", "--if-changed", "--out", "new").out)

    def test_a_failure_leaves_map_and_manifest(self):
        before = self.state()
        links = zatmap.read(self.path("links.txt"))
        zatmap.write(self.path("links.txt"), links + links)
        self.build("control.ini", "--if-changed", *UNCHECKED, status=1)
        self.assertEqual(before, self.state())
        zatmap.write(self.path("links.txt"), links)
        self.check_nothing()

    def test_the_same_in_another_place(self):
        moved = os.path.join(self.base, "moved")
        shutil.copytree(self.folder, moved)
        done = self.program.run("build", "control.ini", "--if-changed", cwd=moved)
        self.assertIn("nothing has changed", done.out)

    def test_an_exchange_that_was_interrupted(self):
        zatmap.write(self.path("out", ".zatmap-exchange"), b"")
        self.check_built()

    def test_without_a_manifest_or_a_map(self):
        os.remove(self.path("out", MANIFEST))
        self.check_built()
        for name in os.listdir(self.path("out")):
            os.remove(self.path("out", name))
        self.check_built()

    def test_each_source(self):
        for _, _, name in MONACO:
            with self.subTest(name=name):
                content = zatmap.read(self.path(name))
                # One byte of a number, at the same size.
                at = len(content) - next(i for i, c in enumerate(reversed(content))
                                         if c in b"0123456789") - 1
                other = b"1" if content[at:at + 1] == b"0" else b"0"
                zatmap.write(self.path(name), content[:at] + other + content[at + 1:])
                self.build("control.ini", "--if-changed", *UNCHECKED)
                self.assertEqual(hash_of(self.path(name)),
                                 next(entry["sha256"] for entry in self.manifest()["sources"]
                                      if entry["path"] == name))
                zatmap.write(self.path(name), content)
                self.build("control.ini", "--if-changed")
        self.check_nothing()

    def test_the_control_file(self):
        self.change("control.ini", b"SPEEDA=20", b"SPEEDA=21")
        self.check_built()

    def test_the_code_page_and_the_version(self):
        western = zatmap.Zatmap(OPTIONS.zatmap, self.program.data, ZATLIB_CODEPAGE="1252")
        self.check_built(program=western)
        self.check_built()
        self.change("out/" + MANIFEST, b'"version": "4.', b'"version": "3.')
        self.check_built()

    def test_the_files_of_the_map(self):
        for name in ("linkdef.dat", "mapcalc.dat", "shapedbl.idx"):
            with self.subTest(name=name):
                os.remove(self.path("out", name))
                self.check_built()
                with open(self.path("out", name), "ab") as file:
                    file.write(b"\0")
                self.check_built()

    def test_a_source_that_is_gone(self):
        os.remove(self.path("links.txt"))
        self.build("control.ini", "--if-changed", status=1)


class Hostile(ManifestTest):
    """A zatmap.json that somebody else has written."""

    def setUp(self):
        super().setUp()
        self.example()
        self.build()
        self.good = self.manifest()

    def with_value(self, value, *path):
        manifest = json.loads(json.dumps(self.good))
        place = manifest
        for key in path[:-1]:
            place = place[key]
        if value is KeyError:
            del place[path[-1]]
        else:
            place[path[-1]] = value
        return json.dumps(manifest).encode()

    def check(self, content, fault):
        path = self.path("out", MANIFEST)
        zatmap.write(path, content)
        done = self.run_zatmap("verify", "out", "--json", status=1)
        self.assertEqual(
            [("zatmap.json", "manifest", "the manifest cannot be used: %s; build the map again, or "
              "delete the file" % fault)],
            [(finding["file"], finding["kind"], finding["message"])
             for finding in json.loads(done.out)["findings"]])
        self.assertEqual({"fault": fault},
                         json.loads(self.run_zatmap("info", "out", "--json").out)["manifest"])

    def test_what_is_no_manifest(self):
        deep = 300000
        for content in (b"", b"{", b"[]", b"null", b"1", b"\0" * 1000, b"\xff\xfe{\0}\0",
                        b"[" * deep, b'{"a":' * deep, b"[" * deep + b"]" * deep,
                        b'{"format": 1e999}', json.dumps(self.good).encode()[:-1]):
            with self.subTest(content=content[:20]):
                self.check(content, "it is no JSON object")

    def test_values_that_do_not_fit(self):
        long = "x" * 5000
        for fault, value, *path in (
                ("format is missing", KeyError, "format"),
                ("its format is 2; this zatmap knows 1", 2, "format"),
                ("format is no number in its range", -1, "format"),
                ("format is no number in its range", "1", "format"),
                ("built is no text", 5, "built"),
                ("version is no text", long, "version"),
                ("seconds is no number of seconds", -1, "seconds"),
                ("code_page is no number in its range", 65536, "code_page"),
                ("code_page is no number in its range", 2 ** 70, "code_page"),
                ("options is no object", [], "options"),
                ("options: format is neither ZAT nor MSR", "X", "options", "format"),
                ("options: msr is neither true nor false", 0, "options", "msr"),
                ("counts: nodes is no number in its range", 2 ** 63, "counts", "nodes"),
                ("counts: links is no number in its range", 1.5, "counts", "links"),
                ("control: sha256 is no SHA-256", "E" * 64, "control", "sha256"),
                ("sources is no list", {}, "sources"),
                ("sources, entry 1 is no object", 7, "sources", 0),
                ("sources, entry 2: bytes is missing", KeyError, "sources", 1, "bytes"),
                ("files, entry 1: name is no file of a map", "../../secret", "files", 0, "name"),
                ("files, entry 1: name is no file of a map", "", "files", 0, "name"),
                ("files, entry 1: name is no file of a map", "LINK.IDX", "files", 0, "name"),
                ("files, entry 1: name is no file of a map", "link.idx\0x", "files", 0, "name"),
                ("files, entry 2: name is there twice", "link.idx", "files", 1, "name"),
                ("files, entry 3: sha256 is no SHA-256", "../" + "0" * 61, "files", 2, "sha256")):
            with self.subTest(fault=fault, value=str(value)[:20]):
                self.check(self.with_value(value, *path), fault)

    def test_a_text_cannot_speak_to_the_terminal(self):
        zatmap.write(self.path("out", MANIFEST), self.with_value("\x1b[2J\r\n", "built"))
        for command in (("verify", "out"), ("info", "out"), ("info", "out", "--json")):
            done = self.run_zatmap(*command)
            self.assertNotIn("\x1b", done.out)
            self.assertIn("?[2J??", done.out)

    def test_what_is_no_file(self):
        os.remove(self.path("out", MANIFEST))
        os.mkdir(self.path("out", MANIFEST))
        self.assertIn("it is no ordinary file", self.run_zatmap("verify", "out", status=1).out)
        os.rmdir(self.path("out", MANIFEST))
        os.mkfifo(self.path("out", MANIFEST))
        self.assertIn("it is no ordinary file", self.run_zatmap("verify", "out", status=1).out)
        self.run_zatmap("info", "out")
        os.remove(self.path("out", MANIFEST))
        with open(self.path("out", MANIFEST), "wb") as file:
            file.truncate(1 << 30)
        self.assertIn("too large", self.run_zatmap("verify", "out", status=1).out)

    def test_the_next_build_replaces_it(self):
        zatmap.write(self.path("out", MANIFEST), b"[" * 100000)
        self.assertNotIn("nothing has changed", self.build("control.ini", "--if-changed").out)
        self.run_zatmap("verify", "out")


def calendar_seconds(moment):
    return time.mktime(moment) - time.mktime(time.gmtime(0))


# What keeps zatmap itself from reading the sources beside the library.
PLAIN = zatmap.PLAIN[1:]
UNCHECKED = ["--no-check"]

if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", "source")
