#!/usr/bin/env python3
"""Tests of zatmap info, verify, dump, route, view and export.

    zatmap_tools_test.py --zatmap COMMAND --source FOLDER [--random COUNT] [--small]

COMMAND may begin with a program that runs zatmap, and its options (Wine); --small leaves out what starts zatmap very
often. The small network's expected values are worked out by hand from the layouts of the files."""
import argparse
import contextlib
import csv
import heapq
import io
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from small_map import SMALL  # pylint: disable=wrong-import-position

OPTIONS = None


def run(*arguments, cwd=None):
    return tuple(zatmap.Zatmap(OPTIONS.zatmap, OPTIONS.data).run(*arguments, cwd=cwd))


def build(folder, control="control.ini", *options):
    (folder / "out").mkdir(exist_ok=True)
    (folder / "out_mif").mkdir(exist_ok=True)
    return run(*zatmap.PLAIN, control, *options, cwd=folder)


def some(things):
    """All of them, or one in five where starting zatmap takes long."""
    return list(things)[::5 if OPTIONS.small else 1]


class Case(unittest.TestCase):
    """Tests share one built map; those that change it work on a copy."""

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.make()
        done = build(cls.folder)
        if done[0] != 0:
            raise RuntimeError(done[2])

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def good(self, *arguments):
        status, out, err = run(*arguments, cwd=self.folder)
        self.assertEqual((status, err), (0, ""), out)
        return out

    @contextlib.contextmanager
    def copy(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name) / "map"
            shutil.copytree(self.folder / "out", folder)
            yield folder

    def flip(self, folder, name, offset, mask=1):
        content = bytearray((folder / name).read_bytes())
        content[offset] ^= mask
        (folder / name).write_bytes(content)


def make_small(cls):
    for name, text in SMALL.items():
        (cls.folder / name).write_bytes(text.replace("\n", "\r\n").encode("ascii"))


class SmallMap(Case):
    make = classmethod(make_small)

    # What each file holds, as CSV.
    DUMPS = {
        "maploc.dat": ["record,NodeCode,X,Y", "0,101,10.000000,50.000000",
                       "1,102,10.001000,50.000100", "2,103,10.000900,50.001000",
                       "3,104,10.002000,50.000300"],
        # 100 m at 36 km/h are 10 s, at the default of 18 km/h 20 s; 50 m at 50 km/h and 20 m at
        # 20 km/h 3.6 s each.
        "mapcalc.dat": [
            "record," + ",".join(f"{f}{i}" for f in ("OtherNode", "Cost", "Length")
                                 for i in range(8)),
            "0,1,-1,-1,-1,-1,-1,-1,-1,1000,0,0,0,0,0,0,0,100,0,0,0,0,0,0,0",
            "1,0,2,3,-1,-1,-1,-1,-1,2000,360,360,0,0,0,0,0,100,50,20,0,0,0,0,0",
            "2,1,-1,-1,-1,-1,-1,-1,-1,360,0,0,0,0,0,0,0,50,0,0,0,0,0,0,0",
            "3,1,-1,-1,-1,-1,-1,-1,-1,65535,0,0,0,0,0,0,0,20,0,0,0,0,0,0,0"],
        "maprule.dat": ["record," + ",".join(f"Slot{i}" for i in range(8)),
                        "0" + ",00000000" * 8, "1,00100000" + ",00000000" * 7,
                        "2" + ",00000000" * 8, "3,10000000" + ",00000000" * 7],
        "mapdraw.dat": ["record,LinkCode,Link,RoadKind,Value4,XA,XB,YA,YB",
                        "0,201,0,3,1,10.000000,10.001000,50.000000,50.000100",
                        "1,202,1,1,1,10.001000,10.000900,50.000100,50.001000",
                        "2,203,2,3,1,10.001000,10.002000,50.000100,50.000300"],
        # 202 is of toll kind 01, 203 has the parking flag.
        "mapattr.dat": ["record," + ",".join(f"Slot{i}" for i in range(8)),
                        "0,0,0,0,0,0,0,0,0", "1,0,1,16,0,0,0,0,0", "2,1,0,0,0,0,0,0,0",
                        "3,16,0,0,0,0,0,0,0"],
        "node.idx": ["record,Code,Number,CityCode", "0,101,0,7", "1,102,1,7", "2,103,2,7",
                     "3,104,3,8"],
        "link.idx": ["record,Code,Number,CityCode", "0,201,0,7", "1,202,1,7", "2,203,2,8"],
        "nodelink.idx": ["record," + ",".join(f"Link{i}" for i in range(8)),
                         "0,0,-1,-1,-1,-1,-1,-1,-1", "1,0,1,2,-1,-1,-1,-1,-1",
                         "2,1,-1,-1,-1,-1,-1,-1,-1", "3,2,-1,-1,-1,-1,-1,-1,-1"],
        "linknode.idx": ["record,NodeA,NodeB,SpeedA,SpeedB,Value3", "0,0,1,36,18,100",
                         "1,1,2,50,50,50", "2,1,3,20,0,20"],
        "nodename.dat": ["record,Name,NodeAttrWord,Attribute", "0,,7,0", "1,,0,0",
                         "2,Hill,0,1", "3,,0,16"],
        "nodeattr.dat": ["record,Attribute", "0,0", "1,0", "2,1", "3,16"],
        "linkname.dat": ["record,Name,NameNumber,Flags,NameValue,RoadKind,Value6",
                         "0,Main Street,4,0,0,3,2", "1,,0,1,0,1,2", "2,,0,16,0,3,2"],
        # Right turns at 102: back into each link, from 202 into 201 and from 203 into 202.
        "rtweight.dat": ["record," + ",".join(f"Slot{i}" for i in range(8)),
                         "0" + ",00000000" * 8, "1,10000000,11000000,01100000" + ",00000000" * 5,
                         "2" + ",00000000" * 8, "3" + ",00000000" * 8],
        "shapedat.dat": ["record,X,Y", "0,10.000000,50.000000", "1,10.001000,50.000100",
                         "2,10.001000,50.000100", "3,10.001050,50.000600",
                         "4,10.000900,50.001000", "5,10.001000,50.000100",
                         "6,10.002000,50.000300"],
        "shapedbl.idx": ["record,Code,Offset,Count", "0,201,0,2", "1,202,16,3", "2,203,40,2"],
    }

    def test_dump_prints_every_record_of_every_file(self):
        self.assertEqual(sorted(self.DUMPS),
                         sorted(p.name for p in (self.folder / "out").iterdir()
                                if p.name not in ("linkdef.dat", "shapedat.inf")))
        for name, lines in some(self.DUMPS.items()):
            with self.subTest(file=name):
                self.assertEqual(self.good("dump", "out", name, "--csv").split("\n")[:-1], lines)

    def test_dump_prints_json(self):
        self.assertEqual(json.loads(self.good("dump", "out", "linkname.dat", "--json")), [
            {"record": 0, "Name": "Main Street", "NameNumber": 4, "Flags": 0, "NameValue": 0,
             "RoadKind": 3, "Value6": 2},
            {"record": 1, "Name": "", "NameNumber": 0, "Flags": 1, "NameValue": 0, "RoadKind": 1,
             "Value6": 2},
            {"record": 2, "Name": "", "NameNumber": 0, "Flags": 16, "NameValue": 0, "RoadKind": 3,
             "Value6": 2}])
        self.assertEqual(json.loads(self.good("dump", "out", "nodelink.idx", "--record", "1",
                                              "--json")),
                         [{"record": 1, "Link": [0, 1, 2, -1, -1, -1, -1, -1]}])
        self.assertEqual(json.loads(self.good("dump", "out", "maploc.dat", "--code", "104",
                                              "--json")),
                         [{"record": 3, "NodeCode": "104", "X": 10.002, "Y": 50.0003}])
        text = json.loads(self.good("dump", "out", "linkdef.dat", "--json"))
        self.assertEqual((text["SYSTEM"], text["TOLLROAD"], text["ROADFLAG"]["AIR"]),
                         ({"CODELENGTH": "14"}, {"NUMDEF": "2", "DEF01": "01", "DEF02": "02"},
                          "5"))

    def test_dump_every_file_in_every_form(self):
        for path in some(sorted((self.folder / "out").iterdir())):
            with self.subTest(file=path.name):
                rows = json.loads(self.good("dump", "out", path.name, "--json"))
                table = list(csv.reader(io.StringIO(self.good("dump", "out", path.name, "--csv"))))
                lines = self.good("dump", "out", path.name).split("\n")[:-1]
                if path.name in ("linkdef.dat", "shapedat.inf"):
                    self.assertEqual(len(table) - 1, sum(len(s) for s in rows.values()))
                else:
                    self.assertEqual((len(rows), len(lines)), (len(table) - 1, len(table) - 1))

    def test_dump_chooses_records(self):
        self.assertEqual(self.good("dump", "out", "shapedat.dat", "--code", "202"),
                         "2: X=10.001000 Y=50.000100\n3: X=10.001050 Y=50.000600\n"
                         "4: X=10.000900 Y=50.001000\n")
        self.assertEqual(self.good("dump", "out", "LINKNODE.IDX", "--range", "1..5"),
                         "1: NodeA=1 NodeB=2 SpeedA=50 SpeedB=50 Value3=50\n"
                         "2: NodeA=1 NodeB=3 SpeedA=20 SpeedB=0 Value3=20\n")
        self.assertEqual(self.good("dump", "out", "mapattr.dat", "--code", "102"),
                         "1: Slot=0,1,16,0,0,0,0,0\n")
        self.assertEqual(self.good("dump", "out", "shapedbl.idx", "--code", "203"),
                         "2: Code=203 Offset=40 Count=2\n")

    def test_wrong_use_tells_what_to_do(self):
        for arguments, status, text in some((
                (["dump", "out", "nothing.dat"], 2, "nothing.dat is no file of a map"),
                (["dump", "out", "link.idx", "--code", "x"], 2, "--code takes a number"),
                (["dump", "out", "link.idx", "--range", "5..2"], 2, "--range takes two record"),
                (["dump", "out", "link.idx", "--range", "1..2", "--record", "1"], 2, "excludes"),
                (["dump", "out", "link.idx", "--csv", "--json"], 2, "excludes"),
                (["dump", "out", "link.idx", "--code", "999"], 1, "no record for code 999"),
                (["dump", "out", "link.idx", "--record", "3"], 1, "link.idx has 3 records"),
                (["dump", "out", "nodestr.~wk"], 1, "does not exist"),
                (["dump", "out", "linkdef.dat", "--record", "1"], 2, "it has no records"),
                (["verify", "absent"], 1, "absent is no folder"), (["verify"], 2, "DIR"),
                (["info", "absent"], 1, "absent is no folder"),
                (["route", "out", "101", "999"], 1, "the map has no node 999"),
                (["route", "out", "101", "here"], 2, "neither a node code nor a place"),
                (["export", "out", "--geojson", "--bbox", "1,2,3"], 2, "--bbox takes"),
                (["view", "out"], 2, "-o is required"),
                (["view", "out", "-o", "no/folder/map.html"], 1, "cannot be written"))):
            with self.subTest(arguments=arguments):
                done = run(*arguments, cwd=self.folder)
                self.assertEqual(done[0], status, done)
                self.assertIn(text, done[1] + done[2])

    def test_help_has_an_example(self):
        for command in some(("info", "verify", "dump", "route", "view", "export")):
            self.assertRegex(self.good(command, "--help"), rf"\nExamples?:\s+zatmap {command} out")

    def test_info(self):
        info = json.loads(self.good("info", "out", "--json"))
        files = {f["name"]: f for f in info.pop("files")}
        self.assertEqual(files["mapcalc.dat"]["bytes"], 256)
        self.assertEqual(files["mapcalc.dat"]["records"], 4)
        self.assertRegex(files["mapcalc.dat"]["changed"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual(len(files), 17)
        self.assertEqual(pathlib.PurePath(info.pop("map").replace("\\", "/")).name, "out")
        self.assertEqual(info, {
            "code_length": 14, "nodes": 4, "links": 3,
            "bounds": {"west": 10.0, "south": 50.0, "east": 10.002, "north": 50.001},
            "node_codes": ["101", "104"], "link_codes": ["201", "203"],
            "nodes_by_links": {"1": 3, "3": 1}, "links_between_partners": 0, "loops": 0,
            "parallel_links": 0, "road_kinds": {"1": 1, "3": 2}, "value6": {"2": 3},
            "flags": {"toll_or_highway": 1, "pay_road": 0, "ferry": 0, "railroad": 0,
                      "parking_or_air": 1, "toll_gate": 0, "pedestrian_or_ship": 0, "none": 1},
            "cities": {"7": 2, "8": 1},
            # 36, 18, 50, 50 and 20: 174 / 5
            "speeds": {"least": 18, "greatest": 50, "mean": 34.8, "closed_directions": 1,
                       "links_closed_both_ways": 0},
            "lengths": {"total": 170, "least": 20, "greatest": 100},
            "costs": {"connections": 6, "zero": 0, "closed": 1, "saturated": 0},
            "names": {"nodes": 1, "links": 1}, "prohibited_turns": {"turns": 2, "nodes": 2},
            "weighted_turns": 5, "shapes": {"count": 3, "points": 7, "longest": 3},
            # From 101, 102 and 103 one gets to each other and to 104, from there nowhere.
            "components": {"parts": 1, "largest_part": 4, "largest_circuit": 3,
                           "not_reachable_from_it": 0}})
        self.assertIn("costs                    connections: 6, zero: 0, closed: 1, saturated: 0\n",
                      self.good("info", "out"))

    def test_verify_finds_the_map_whole(self):
        out = self.good("verify", "out", "--strict")
        self.assertRegex(out, r"^\S+out: 4 nodes, 3 links, 3 shapes, 7 points\n"
                              r"0 errors, 0 warnings: the map is whole\.\n$")
        report = json.loads(self.good("verify", "out", "--json"))
        self.assertEqual((report["errors"], report["warnings"], report["findings"],
                          report["closed_connections"], report["weights_checked"]),
                         (0, 0, [], 1, True))

    # One changed byte for each thing that is checked: file, byte, mask, and the finding.
    FLIPS = [
        ("maploc.dat", 0, 1, r"node\.idx:0: byte 0: error: code 101 leads to node 0, whose code"),
        ("maploc.dat", 8, 1, r"mapdraw\.dat:0: byte 16: error: X of node A is 10\.000000, but "
                             r"maploc\.dat has 10\.000001 for node 0"),
        ("maploc.dat", 28, 1, r"mapdraw\.dat:0: byte 28: error: Y of node B"),
        ("mapcalc.dat", 64, 2, r"mapcalc\.dat:1: byte 64: error: slot 0 leads to node 2, but its "
                               r"link 0 ends at node 0"),
        ("mapcalc.dat", 65, 1, r"mapcalc\.dat:1: byte 64: error: slot 0 leads to node 256, but "
                               r"there are 4 nodes"),
        ("mapcalc.dat", 67, 128, r"mapcalc\.dat:1: byte 64: error: slot 0 holds -2147483648"),
        ("mapcalc.dat", 96, 1, r"mapcalc\.dat:1: byte 96: error: slot 0 costs 2001; length 100 at "
                               r"speed 18 of link 0 makes 2000"),
        ("mapcalc.dat", 32 + 2, 1, r"mapcalc\.dat:0: byte 34: error: slot 1 is empty, but has "
                                   r"cost 1"),
        ("mapcalc.dat", 48, 1, r"mapcalc\.dat:0: byte 48: error: slot 0 has length 101, but its "
                               r"link 0 has 100"),
        ("mapcalc.dat", 48 + 4, 1, r"mapcalc\.dat:0: byte 52: error: slot 2 is empty, but has "
                                   r"length 1"),
        ("mapcalc.dat", 3 * 64 + 32, 1, r"mapcalc\.dat:3: byte 224: error: slot 0 costs 65534"),
        ("maprule.dat", 8, 1, r"maprule\.dat:1: byte 8: error: bits 0x01 for turns from slot 0, "
                              r"but the node has 3 used slots"),
        ("maprule.dat", 8 + 3, 128, r"maprule\.dat:1: byte 11: error: bits 0x80 for turns from "
                                    r"slot 3"),
        ("mapdraw.dat", 0, 1, r"link\.idx:0: byte 0: error: code 201 leads to link 0"),
        ("mapdraw.dat", 8, 1, r"mapdraw\.dat:0: byte 8: error: link number 1 in the record of "
                              r"link 0"),
        ("mapdraw.dat", 12, 1, r"mapdraw\.dat:0: byte 12: error: road kind 2, but linkname\.dat "
                               r"says 3"),
        ("mapdraw.dat", 20, 1, r"mapdraw\.dat:0: byte 20: error: X of node B"),
        ("mapdraw.dat", 24, 1, r"mapdraw\.dat:0: byte 24: error: Y of node A"),
        ("mapattr.dat", 9, 2, r"mapattr\.dat:1: byte 9: error: slot 1 has the flags 0x03, but "
                              r"link 1 has 0x01"),
        ("mapattr.dat", 12, 1, r"mapattr\.dat:1: byte 12: error: slot 4 has the flags 0x01"),
        ("node.idx", 0, 1, r"node\.idx:0: byte 0: (error|warning): "),
        ("node.idx", 8, 1, r"node\.idx:1: byte 24: error: node number 1 stands in the index twice"),
        ("node.idx", 8, 4, r"node\.idx:0: byte 8: error: node number 4, but there are 4 nodes"),
        ("node.idx", 7, 64, r"node\.idx:0: byte 0: error: code "),
        ("node.idx", 12, 1, r"node\.idx:0: byte 12: error: city code 6, but the link in the "
                            r"node's first slot, 0, has 7"),
        ("link.idx", 16, 1, r"link\.idx:1: byte 16: error: code "),
        ("link.idx", 8, 1, r"link\.idx:1: byte 24: error: link number 1 stands in the index twice"),
        ("link.idx", 12, 1, r"node\.idx:0: byte 12: error: city code 7, but the link"),
        ("nodelink.idx", 32, 1, r"nodelink\.idx:1: byte 32: error: |mapcalc\.dat:1: byte 64"),
        ("nodelink.idx", 33, 1, r"nodelink\.idx:1: byte 32: error: slot 0 holds link 256, but "
                                r"there are 3 links"),
        ("nodelink.idx", 0, 1, r"nodelink\.idx:0: byte 0: error: slot 0 holds link 1, which joins "
                               r"the nodes 1 and 2"),
        ("nodelink.idx", 7, 1, r"nodelink\.idx:0: byte 4: error: slot 1 holds -"),
        ("nodelink.idx", 4 + 3, 128, r"nodelink\.idx:0: byte 4: error: slot 1 holds link "
                                     r"2147483647, but in mapcalc\.dat node -1"),
        ("linknode.idx", 1, 1, r"linknode\.idx:0: byte 0: error: node A is number 256"),
        ("linknode.idx", 4, 2, r"mapdraw\.dat:0: byte 20: error: X of node B"),
        ("linknode.idx", 8, 1, r"mapcalc\.dat:0: byte 32: error: slot 0 costs 1000; length 100 at "
                               r"speed 37 of link 0 makes 973"),
        ("linknode.idx", 32 + 10, 1, r"mapcalc\.dat:3: byte 224: error: slot 0 costs 65535"),
        ("linknode.idx", 12, 1, r"mapcalc\.dat:0: byte 48: error: slot 0 has length 100, but its "
                                r"link 0 has 101"),
        ("linknode.idx", 14, 1, r"linknode\.idx:0: byte 14: error: bytes that are always zero"),
        ("nodename.dat", 2 * 32 + 5, 65, r"nodename\.dat:2: byte 69: error: a byte behind the end"),
        ("nodename.dat", 22, 1, r"nodename\.dat:0: byte 22: error: bytes that are always zero"),
        ("nodename.dat", 31, 1, r"nodename\.dat:0: byte 31: error: a byte that is always zero"),
        ("nodename.dat", 30, 1, r"nodename\.dat:0: byte 30: error: attribute 0x01, but "
                                r"nodeattr\.dat says 0x00"),
        ("nodeattr.dat", 2, 2, r"nodeattr\.dat:2: byte 2: error: attribute 0x03, but the flags of "
                               r"the node's links make 0x01"),
        ("linkname.dat", 15, 1, r"linkname\.dat:0: byte 15: error: a byte behind the end"),
        ("linkname.dat", 20, 1, r"linkname\.dat:0: byte 20: error: bytes that are always zero"),
        ("linkname.dat", 30 + 22, 1, r"linkname\.dat:1: byte 52: error: number 1 and value 0 of a "
                                     r"name, but no name"),
        ("linkname.dat", 23, 1, r"linkname\.dat:0: byte 23: error: no road flag of linkdef\.dat "
                                r"gives a link of road kind 3 the flags 0x01"),
        ("linkname.dat", 26, 2, r"mapdraw\.dat:0: byte 12: error: road kind 3, but linkname\.dat "
                                r"says 1"),
        ("rtweight.dat", 9, 32, r"rtweight\.dat:1: byte 9: error: turns from slot 1: 0xe0; the "
                                r"shapes make 0xc0"),
        ("rtweight.dat", 0, 128, r"rtweight\.dat:0: byte 0: error: turns from slot 0: 0x80"),
        ("shapedat.dat", 3 * 8 + 6, 32, r"rtweight\.dat:1: byte \d+: error: "),
        ("shapedbl.idx", 16, 1, r"shapedbl\.idx|link 202: it has no shape|rtweight"),
        ("shapedbl.idx", 8, 8, r"shapedbl\.idx:0: byte 8: error: link 201: its points begin at "
                               r"byte 8, but those before it end at 0"),
        ("shapedbl.idx", 9, 1, r"shapedbl\.idx:0: byte 8: error: link 201: 2 points from byte 256"),
        ("shapedbl.idx", 12, 1, r"shapedbl\.idx:1: byte 24: error: link 202: its points begin at "
                                r"byte 16, but those before it end at 24"),
        ("shapedbl.idx", 32 + 12, 1, r"shapedbl\.idx:2: byte 40: error: link 203: 3 points from "
                                     r"byte 40 on; shapedat\.dat has 56"),
    ]

    def test_verify_notices_each_kind_of_changed_byte(self):
        self.assertEqual({f[0] for f in self.FLIPS}, set(self.DUMPS))
        for name, offset, mask, finding in self.FLIPS[::15 if OPTIONS.small else 1]:
            with self.subTest(file=name, offset=offset), self.copy() as folder:
                self.flip(folder, name, offset, mask)
                status, out, _ = run("verify", folder)
                self.assertEqual(status, 1, out)
                self.assertRegex(out, re.compile("^(" + finding + ")", re.M))
                self.assertTrue(out.endswith("the map is damaged.\n"))

    def test_verify_notices_changed_texts(self):
        for name, old, new, finding in some((
                ("linkdef.dat", b"CODELENGTH=14", b"CODELENGTH=15",
                 r"linkdef\.dat:\d+: byte \d+: error: CODELENGTH is neither 14 nor 18"),
                ("linkdef.dat", b"CODELENGTH", b"CODELENGHT", r"linkdef\.dat: error: \[SYSTEM\] "
                                                              r"has no CODELENGTH"),
                ("linkdef.dat", b"[TOLLROAD]", b"[TOLLROAF]", r"linkdef\.dat: error: the section "
                                                              r"\[TOLLROAD\] is missing"),
                ("linkdef.dat", b"NUMDEF=2", b"NUMDEF=3", r"linkdef\.dat:\d+: byte \d+: error: "
                                                          r"\[TOLLROAD\] NUMDEF is 3, but there "
                                                          r"are 2 entries"),
                ("linkdef.dat", b"DEF02=02\r\n", b"DEF03=02\r\n", r".*\[TOLLROAD\] has no DEF02"),
                ("linkdef.dat", b"DEF01=01\r\n", b"DEF01=02\r\n", r"linkname\.dat:1: byte 53: "
                                                                  r"error: no road flag"),
                ("linkdef.dat", b"RTWEIGHT_RIGHT=45", b"RTWEIGHT_RIGHT=95",
                 r"rtweight\.dat:1: byte 9: error: "),
                ("shapedat.inf", b"NumRec=3", b"NumRec=4", r'shapedat\.inf: error: NumRec is "4", '
                                                           r"but shapedbl\.idx has 3"),
                ("shapedat.inf", b"NumShape=7", b"NumShape=8", r'shapedat\.inf: error: NumShape '
                                                               r'is "8"'),
                ("shapedat.inf", b"MaxNumShape=3", b"MaxNumShape=2", r"shapedat\.inf: error: "),
                ("shapedat.inf", b"MaxShapeLink=00000000000202", b"MaxShapeLink=00000000000203",
                 r"shapedat\.inf: error: MaxShapeLink is"),
                ("shapedat.inf", b"CoordSys=", b"CoordSis=", r"shapedat\.inf:\d+: byte \d+: "
                                                             r"error: no build writes a key"))):
            with self.subTest(file=name, new=new), self.copy() as folder:
                content = (folder / name).read_bytes()
                self.assertEqual(content.count(old), 1)
                (folder / name).write_bytes(content.replace(old, new))
                status, out, _ = run("verify", folder)
                self.assertRegex(out, re.compile("^(" + finding + ")", re.M))
                self.assertEqual(status, 1, out)

    def test_verify_notices_sizes(self):
        for name in some(self.DUMPS):
            for change in ("lost", "cut", "longer"):
                if OPTIONS.small and change != "cut":
                    continue
                with self.subTest(file=name, change=change), self.copy() as folder:
                    content = (folder / name).read_bytes()
                    if change == "lost":
                        (folder / name).unlink()
                    else:
                        (folder / name).write_bytes(content[:-1] if change == "cut"
                                                    else content + bytes(64 * 30))
                    status, out, _ = run("verify", folder)
                    self.assertEqual(status, 1, out)
                    if change == "lost":
                        self.assertRegex(out, re.escape(name) + ": error: the file is missing")

    def test_verify_shows_at_most_what_is_asked_for(self):
        with self.copy() as folder:
            for offset in (8, 24, 40, 56):
                self.flip(folder, "maploc.dat", offset)
            status, out, _ = run("verify", folder, "--max", "2")
            self.assertEqual(status, 1)
            self.assertEqual(len(re.findall(r"^\S+: byte \d+: error: ", out, re.M)), 2)
            self.assertRegex(out, r"\n\d+ findings more; --max shows them\.\n")
            report = json.loads(run("verify", folder, "--json")[1])
            self.assertEqual(report["findings"][0], {
                "file": "mapdraw.dat", "record": 0, "offset": 16, "severity": "error",
                "kind": "coordinate", "message": "X of node A is 10.000000, but maploc.dat has "
                                                 "10.000001 for node 0"})

    def test_route_obeys_turns_and_one_ways(self):
        # 201 into 203 is prohibited: over 103 and back.
        route = json.loads(self.good("route", "out", "101", "104", "--json"))
        self.assertEqual([(l["code"], l["from"], l["to"], l["cost"]) for l in route["links"]],
                         [("201", "101", "102", 1000), ("202", "102", "103", 360),
                          ("202", "103", "102", 360), ("203", "102", "104", 360)])
        self.assertEqual((route["cost"], route["seconds"], route["length"]), (2080, 20.8, 220))
        self.assertEqual(route["to"], {"code": "104", "lon": 10.002, "lat": 50.0003, "name": ""})
        self.assertEqual(self.good("route", "out", "103", "101"),
                         "from 103 to 101\n23.60 seconds, length 150, 2 links\n"
                         "202                    3.60 s     50  \n"
                         "201                   20.00 s    100  Main Street\n")
        self.assertEqual(run("route", "out", "104", "101", cwd=self.folder)[0], 1)
        self.assertEqual(json.loads(self.good("route", "out", "101", "101", "--json"))["cost"], 0)

    def test_route_takes_places(self):
        route = json.loads(self.good("route", "out", "10.0001,50.00001", "10.0009,50.0011",
                                     "--geojson"))
        feature = route["features"][0]
        self.assertEqual((feature["properties"]["from"]["code"],
                          feature["properties"]["to"]["code"]), ("101", "103"))
        self.assertEqual(feature["geometry"], {"type": "LineString", "coordinates": [
            [10.0, 50.0], [10.001, 50.0001], [10.00105, 50.0006], [10.0009, 50.001]]})
        west = json.loads(self.good("route", "out", "-9.5,50", "101", "--json",
                                    "--max-snap", "40000000"))
        self.assertEqual(west["from"]["code"], "101")

    def test_export(self):
        links = json.loads(self.good("export", "out", "--geojson"))
        self.assertEqual(len(links["features"]), 3)
        self.assertEqual(links["features"][2], {
            "type": "Feature",
            "properties": {"code": "203", "record": 2, "node_a": "102", "node_b": "104",
                           "road_kind": 3, "flags": 16, "city": 8, "length": 20, "speed_ab": 20,
                           "speed_ba": 0, "cost_ab": 360, "cost_ba": 65535, "value4": 1,
                           "value6": 2, "name": "", "name_number": 0, "name_value": 0},
            "geometry": {"type": "LineString",
                         "coordinates": [[10.001, 50.0001], [10.002, 50.0003]]}})
        self.good("export", "out", "--geojson", "--layer", "nodes", "-o", "nodes.geojson")
        nodes = json.loads((self.folder / "nodes.geojson").read_text())
        self.assertEqual([f["properties"]["code"] for f in nodes["features"]],
                         ["101", "102", "103", "104"])
        part = json.loads(self.good("export", "out", "--geojson", "--bbox",
                                    "10.0015,50,10.003,50.1"))
        self.assertEqual([f["properties"]["code"] for f in part["features"]], ["203"])

    def test_view_is_one_page_that_needs_no_network(self):
        self.assertRegex(self.good("view", "out", "-o", "map.html"), r"4 nodes, 3 links\n$")
        page = (self.folder / "map.html").read_text("utf-8")
        self.assertNotRegex(page, r"<(script|link|img|iframe)[^>]*(src|href)=|url\((?!#)|@import")
        self.assertIn('["201",0,1,3,0,100,36,18,"Main Street",4,0,1,2,7,'
                      '[10000000,50000000,1000,100],0]', page)
        # What stands where in such a row: the page looks it up by name.
        self.assertIn('"link":["code","node_a","node_b","road_kind","flags","length","speed_a",'
                      '"speed_b","name","name_number","name_value","value4","value6","city",'
                      '"shape","record"]', page)
        self.assertIn('"slot":["node","link","cost","length"]', page)
        self.assertNotRegex(page.split("const D = window.ZATMAP")[1], r"D\.(nodes|links)\[\w+\]\[\d")


class BrokenMaps(Case):
    """Whatever stands in the files: no crash, no hang."""

    make = classmethod(make_small)

    def test_noise(self):
        noise = random.Random(1)
        for _ in range(5 if OPTIONS.small else 60):
            with self.copy() as folder:
                for path in folder.iterdir():
                    if noise.random() < 0.3:
                        size = noise.choice([0, 7, 64, 200])
                        path.write_bytes(noise.randbytes(size))
                for command in (["verify", folder], ["info", folder, "--json"],
                                ["route", folder, "101", "104"],
                                ["export", folder, "--geojson"],
                                ["dump", folder, "link.idx", "--json"],
                                ["view", folder, "-o", folder / "map.html"]):
                    status, out, err = run(*command)
                    self.assertIn(status, (0, 1), (command, out, err))


class City(Case):
    @classmethod
    def make(cls):
        for path in (OPTIONS.source / "examples" / "monaco").iterdir():
            if path.is_file():
                shutil.copy(path, cls.folder)

    def test_both_forms_verify(self):
        self.assertEqual(build(self.folder, "control_mif.ini")[0], 0)
        for folder in ("out", "out_mif"):
            out = self.good("verify", folder, "--strict")
            self.assertIn("577 nodes, 731 links, 731 shapes, 3931 points\n0 errors, 0 warnings",
                          out)

    # Every byte of these files is held against another file.
    GUARDED = ["linknode.idx", "mapattr.dat", "mapcalc.dat", "maploc.dat", "maprule.dat",
               "node.idx", "nodeattr.dat", "nodelink.idx", "rtweight.dat"]

    def test_any_changed_byte_of_the_guarded_files_is_noticed(self):
        chosen = random.Random(7)
        for name in self.GUARDED:
            content = (self.folder / "out" / name).read_bytes()
            with self.copy() as folder:
                for _ in range(1 if OPTIONS.small else 12):
                    offset, mask = chosen.randrange(len(content)), chosen.randrange(1, 256)
                    self.flip(folder, name, offset, mask)
                    status, out, _ = run("verify", folder)
                    self.assertEqual(status, 1, (name, offset, mask, out))
                    self.flip(folder, name, offset, mask)

    def read(self, name, layout):
        size = struct.calcsize(layout)
        content = (self.folder / "out" / name).read_bytes()
        return [struct.unpack_from(layout, content, i) for i in range(0, len(content), size)]

    def test_routes_are_the_cheapest(self):
        nodes = self.read("mapcalc.dat", "<8i8H8H")
        links = self.read("nodelink.idx", "<8i")
        turns = self.read("maprule.dat", "<8B")
        codes = [int(r[0]) for r in self.read("maploc.dat", "<dii")]

        def cheapest(start):
            best, reached, queue = {}, {start: 0}, []
            for s in range(8):
                if nodes[start][s] >= 0 and nodes[start][8 + s] != 65535:
                    heapq.heappush(queue, (nodes[start][8 + s], start, s))
            while queue:
                cost, n, s = heapq.heappop(queue)
                if (n, s) in best:
                    continue
                best[n, s] = cost
                m = nodes[n][s]
                reached.setdefault(m, cost)
                back = [k for k in range(8) if nodes[m][k] == n and links[m][k] == links[n][s]] + [
                    k for k in range(8) if nodes[m][k] == n]
                for k in range(8):
                    if nodes[m][k] < 0 or nodes[m][8 + k] == 65535:
                        continue
                    if not back or not turns[m][back[0]] & 0x80 >> k:
                        heapq.heappush(queue, (cost + nodes[m][8 + k], m, k))
            return reached

        chosen = random.Random(3)
        found = 0
        for _ in range(2 if OPTIONS.small else 15):
            start = chosen.randrange(len(nodes))
            costs = cheapest(start)
            for goal in chosen.sample(range(len(nodes)), 4):
                status, out, _ = run("route", "out", codes[start], codes[goal], "--json",
                                        cwd=self.folder)
                if goal not in costs:
                    self.assertEqual(status, 1)
                    continue
                route = json.loads(out)
                self.assertEqual((status, route["cost"]), (0, costs[goal]))
                self.assertEqual(sum(link["cost"] for link in route["links"]), costs[goal])
                found += 1
        self.assertGreater(found, 0)

    @unittest.skipUnless(shutil.which("ogrinfo"), "no GDAL programs")
    def test_export_is_read_by_gdal(self):
        self.good("export", "out", "--geojson", "-o", "links.geojson")
        text = subprocess.run(["ogrinfo", "-so", "-al", "links.geojson"], cwd=self.folder,
                              capture_output=True, text=True, check=True).stdout
        self.assertIn("Geometry: Line String\nFeature Count: 731\n"
                      "Extent: (7.404342, 43.721771) - (7.439278, 43.751963)", text)

    @unittest.skipUnless(shutil.which("chromium"), "no browser")
    def test_the_page_works_in_a_browser(self):
        if OPTIONS.small:
            self.skipTest("the page is the same")
        self.good("view", "out", "-o", "map.html")

        def page(fragment, *more):
            with tempfile.TemporaryDirectory() as profile:
                done = subprocess.run(
                    ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                     f"--user-data-dir={profile}", "--window-size=1200,800",
                     "--virtual-time-budget=4000", *more,
                     f"file://{self.folder}/map.html{fragment}"],
                    capture_output=True, text=True, timeout=240)
            # What the page shows, without its style and scripts.
            return done.stdout.partition("</style>")[2].partition("<script")[0]

        dom = page("#node=10000010000001", "--dump-dom")
        self.assertIn("<h2>Node 10000010000001</h2>", dom)
        self.assertIn("577 nodes, 731 links", dom)
        self.assertRegex(dom, r"<tr><td>1</td><td><span[^>]*>10000020000068</span> Impasse de la")
        route = json.loads(self.good("route", "out", "10000010000003", "10000010000400", "--json"))
        dom = page("#route=10000010000003,10000010000400", "--dump-dom")
        self.assertIn(f'<p id="result">{route["cost"] / 100:.2f} s, length {route["length"]}, '
                      f'{len(route["links"])} links</p>', dom)
        # Clicks: the route button, then two places of the map.
        text = (self.folder / "map.html").read_text("utf-8").replace("</body>", """<script>
        document.getElementById('route').click();
        for (const [x, y] of [[420, 300], [500, 420]]) {
          for (const type of ['mousedown', 'mouseup', 'click']) {
            document.getElementById('map').dispatchEvent(new MouseEvent(
              type, { bubbles: true, clientX: x, clientY: y, button: 0 }));
          }
        }
        document.getElementById('search').value = 'de la costa';
        document.getElementById('search').dispatchEvent(new Event('input'));
        </script></body>""")
        (self.folder / "map.html").write_text(text, "utf-8")
        dom = page("", "--dump-dom")
        self.assertRegex(dom, r'<h2>Route</h2><p>from <span class="go"')
        self.assertRegex(dom, r"\d+ links</p>|There is no route")
        self.assertRegex(dom, r'<li data-link="\d+">link \d+ [^<]*Avenue de la Costa')
        page("#node=10000010000001", f"--screenshot={self.folder}/page.png")
        picture = (self.folder / "page.png").read_bytes()
        self.assertEqual((picture[:4], struct.unpack(">II", picture[16:24])),
                         (b"\x89PNG", (1200, 800)))
        self.assertGreater(len(picture), 30000)


class RandomNetworks(unittest.TestCase):
    def test_what_a_build_makes_verifies(self):
        script = OPTIONS.source / "tests" / "reference" / "make_random.py"
        built = 0
        for seed in range(1, OPTIONS.random + 1):
            for layout in ([], ["--msr"]):
                with self.subTest(seed=seed, layout=layout), \
                        tempfile.TemporaryDirectory() as name:
                    subprocess.run([sys.executable, script, *layout, str(seed), name], check=True)
                    if run(*zatmap.PLAIN, "control.ini", *layout, cwd=name)[0] != 0:
                        continue
                    built += 1
                    status, out, err = run("verify", "out", cwd=name)
                    self.assertEqual(status, 0, out + err)
        self.assertGreater(built, OPTIONS.random)


class WorkStores(Case):
    @classmethod
    def make(cls):
        make_small(cls)
        (cls.folder / "control.ini").write_bytes(
            SMALL["control.ini"].replace("[SYSTEM]", "[SYSTEM]\nDEBUG=1").replace("\n", "\r\n")
            .encode("ascii"))

    def test_dump(self):
        self.assertEqual(self.good("dump", "out", "nodestr.~wk", "--code", "203"),
                         "1: NodeCode=102 PartnerCode=0 NodeAttrWord=0 CityCode=0 X=10.001000 "
                         "Y=50.000100 ConnLinkCode=201,202,203,0,0,0,0,0\n"
                         "3: NodeCode=104 PartnerCode=0 NodeAttrWord=0 CityCode=0 X=10.002000 "
                         "Y=50.000300 ConnLinkCode=203,0,0,0,0,0,0,0\n")
        self.assertEqual(self.good("dump", "out", "linkstr.~wk", "--record", "2", "--csv"),
                         "record,LinkCode,NodeA,NodeB,CityCode,SpeedFileValue,SpeedA,SpeedB,Value3,"
                         "RoadKind,Value4,Value6,Value5,RoadFlag\n"
                         "2,203,102,104,8,0,20,20,20,3,1,2,0,5\n")
        self.assertEqual(self.good("dump", "out", "trafrule.~wk"),
                         "0: NodeCode=102 InLink=201 OutLink=203 Kind=2\n")
        self.assertEqual(self.good("dump", "out", "onewayst.~wk"),
                         "0: LinkCode=203 FirstNode=102 SecondNode=104 FirstFlag=0 SecondFlag=2\n")
        self.assertEqual(json.loads(self.good("dump", "out", "lnamestr.~wk", "--json")),
                         [{"record": 0, "Code": "201", "Name": "Main Street", "LinkNumber": 4,
                           "LinkValue": 0, "NodeValue": 0}])
        self.assertEqual(self.good("dump", "out", "nnamestr.~wk"),
                         '0: Code=103 Name="Hill" LinkNumber=0 LinkValue=0 NodeValue=0\n')
        self.good("verify", "out", "--strict")


class LongField(unittest.TestCase):
    """A field of 64 bytes ends the build; what came before it is in the store."""

    def test_the_records_of_good_lines_stay(self):
        for mif in (0, 1):
            with self.subTest(mif=mif), tempfile.TemporaryDirectory() as name:
                folder = pathlib.Path(name)
                lines = ["%d,7" % i for i in range(1, 1001)] + ["x" * 64, "9999,7"]
                data = "nodes.mid" if mif else "nodes.txt"
                (folder / data).write_bytes("".join(l + "\r\n" for l in lines).encode("ascii"))
                (folder / "nodes.mif").write_bytes(
                    b"Version 300\r\nData\r\n\r\n" + b"Point 135.5 35.5\r\n" * len(lines))
                (folder / "control.ini").write_bytes(
                    b"[SYSTEM]\r\nSILENTMODE=1\r\n[FOLDER]\r\nCALCMAPDIR=out\r\n[NODE]\r\n"
                    b"FILENUM=1\r\nFILE01=nodes.%s\r\nMIF=%d\r\n" % (b"mif" if mif else b"txt", mif))
                status, out, err = build(folder)
                self.assertEqual(status, 1, out)
                self.assertIn("record 1001: column 1 holds 64 bytes or more", err)
                x, y = (135500000, 35500000) if mif else (0, 0)
                # 96 bytes a node: code, partner, attribute word, city, place, eight links.
                self.assertEqual((folder / "out" / "nodestr.~wk").read_bytes(),
                                 b"".join(struct.pack("<ddHHIii8d", i, 0, 7, 0, 0, x, y, *[0] * 8)
                                          for i in range(1, 1001)))


class FareData(Case):
    """A map with an interchange link, 201, that the fare data list."""

    @classmethod
    def make(cls):
        make_small(cls)
        out = cls.folder / "out"
        out.mkdir()
        for name in ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"):
            (out / name).write_bytes(b"")
        (out / "TR_LINK.DAT").write_bytes(struct.pack("<d16xhB5x", 201.0, 1, 1))
        (out / "PayData.Inf").write_bytes(b"[SYSTEM]\r\nResult=OK\r\n")

    def test_interchange_flags(self):
        self.assertEqual(self.good("dump", "out", "linkname.dat", "--code", "201"),
                         '0: Name="Main Street" NameNumber=4 Flags=32 NameValue=0 RoadKind=3 '
                         'Value6=2\n')
        self.assertEqual(self.good("dump", "out", "mapattr.dat", "--code", "102"),
                         "1: Slot=32,1,16,0,0,0,0,0\n")
        self.assertEqual(self.good("dump", "out", "TR_LINK.DAT"),
                         "0: LinkCode=201 Valid=1 Interchange=1\n")
        self.good("verify", "out", "--strict")
        # No longer listed, and a link that is.
        for code, finding in ((999.0, "the interchange flag, but TR_LINK.DAT does not list link "
                                      "201"),
                              (202.0, "no interchange flag, but TR_LINK.DAT lists link 202")):
            with self.copy() as folder:
                (folder / "TR_LINK.DAT").write_bytes(struct.pack("<d16xhB5x", code, 1, 1))
                status, out, _ = run("verify", folder)
                self.assertEqual(status, 1, out)
                self.assertIn(finding, out)


class Documents(unittest.TestCase):
    def test_the_fields_are_those_of_the_documents(self):
        text = (OPTIONS.source / "docs" / "file-formats.md").read_text("utf-8")
        tables = {}
        names = []
        for line in text.splitlines():
            heading = re.match(r"^(?:## (.*)|\*\*(\S+~wk(?:, \S+~wk)?)\*\*|`(TR_LINK\.DAT)`)", line)
            if heading:
                names = re.findall(r"[\w.~]+\.(?:dat|idx|inf|~wk|DAT)",
                                   heading[1] or heading[2] or heading[3])
            row = re.match(r"^\| (\d+) \| (?:(\d+) x )?(\d+) \| ?(\w*) ?\|", line)
            if row:
                for name in names:
                    tables.setdefault(name, []).append(
                        [row[1], row[3], row[2] or "1", row[4]])
        self.assertEqual(len(tables), 17, sorted(tables))
        for name, rows in tables.items():
            with self.subTest(file=name):
                status, out, _ = run("dump", ".", name, "--fields")
                fields = [r[:4] for r in csv.reader(io.StringIO(out))][1:]
                self.assertEqual((status, fields), (0, rows))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", type=shlex.split, required=True)
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--random", type=int, default=15)
    parser.add_argument("--small", action="store_true")
    parser.add_argument("--only", default=None, help="name of a test case")
    OPTIONS = parser.parse_args()
    OPTIONS.source = OPTIONS.source.resolve()
    with tempfile.TemporaryDirectory() as data:
        OPTIONS.data = data
        loader = unittest.defaultTestLoader
        module = sys.modules[__name__]
        suite = (loader.loadTestsFromName(OPTIONS.only, module) if OPTIONS.only
                 else loader.loadTestsFromModule(module))
        if OPTIONS.small and not OPTIONS.only:
            suite = unittest.TestSuite(loader.loadTestsFromTestCase(c)
                                       for c in (SmallMap, WorkStores, LongField))
        result = unittest.TextTestRunner(verbosity=1).run(suite)
    sys.exit(0 if result.wasSuccessful() else 1)
