#!/usr/bin/env python3
"""zatmap route: how far a place lies from its node, and why there is no route.

    zatmap_route_test.py --zatmap PATH [unittest options]

The map is that of tests/support/small_map.py: 101 lies in the west, 102 is the junction, 103 north and 104 east
of it. Nobody may leave 104 along 203, nor turn from 201 into 203 at 102.
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
BOUNDS = "The map's bounds are 10.000000,50.000000,10.002000,50.001000 (west,south,east,north).\n"


class Case(unittest.TestCase):
    CHANGES = ()  # file, old bytes, new ones

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.program = zatmap.Zatmap(OPTIONS.zatmap, cls.folder / "data")
        small_map.write(cls.folder)
        for name, old, new in cls.CHANGES:
            content = (cls.folder / name).read_bytes()
            assert old in content, (name, old)
            (cls.folder / name).write_bytes(content.replace(old, new))
        (cls.folder / "out").mkdir()
        cls.program.build(cls.folder)

    def route(self, *arguments, status=0, says=""):
        done = self.program.run("route", "out", *arguments, cwd=self.folder)
        self.assertEqual((done.status, done.err), (status, says), done.out)
        return done.out


class Places(Case):
    def test_how_far_the_node_lies(self):
        # 0.0001 degrees east at latitude 50 are 7.1 m, with 0.00001 north of that 7.2 m; 0.0001 degrees
        # north are 11.1 m.
        self.assertEqual(self.route("10.0001,50.00001", "10.0009,50.0011").split("\n")[0],
                         "from 101 (7 m from 10.0001,50.00001) to 103 (11 m from 10.0009,50.0011)")
        self.assertEqual(self.route("101", "10.0009,50.0011").split("\n")[0],
                         "from 101 to 103 (11 m from 10.0009,50.0011)")
        route = json.loads(self.route("10.0001,50.00001", "103", "--json"))
        self.assertEqual(route["from"], {"code": "101", "lon": 10.0, "lat": 50.0, "name": "",
                                         "snapped_metres": 7.2})
        self.assertNotIn("snapped_metres", route["to"])

    def test_a_place_that_lies_too_far(self):
        # 0.01 degrees west at latitude 50 are 715 m, 0.1 are 7,147 m.
        self.route("9.99,50", "103")
        self.assertEqual(self.route("9.9,50", "103", status=1, says=(
            "zatmap: 9.9,50 is 7147 m from the nearest node, 101; --max-snap allows 1000. " + BOUNDS)), "")
        self.route("9.9,50", "103", "--max-snap", "7148")
        self.route("9.99,50", "103", "--max-snap", "700", status=1, says=(
            "zatmap: 9.99,50 is 715 m from the nearest node, 101; --max-snap allows 700. " + BOUNDS))
        self.route("101", "9.99,50", "--max-snap=0.5", status=1, says=(
            "zatmap: 9.99,50 is 715 m from the nearest node, 101; --max-snap allows 0.5. " + BOUNDS))

    def test_latitude_and_longitude_exchanged(self):
        done = self.program.run("route", "out", "101", "50.001,10.0009", cwd=self.folder)
        self.assertEqual(done.status, 1)
        self.assertRegex(done.err, r"^zatmap: 50\.001,10\.0009 is \d{7} m from the nearest node, 10\d; ")
        self.assertTrue(done.err.endswith(
            "zatmap: latitude and longitude look exchanged: 10.0009,50.001.\n"), done.err)


class NoRoute(Case):
    def test_a_one_way_link(self):
        says = ("zatmap: there is no route from 104 to 101: link 203 is closed from 104 to 102 (one-way).\n"
                "  From 104 one reaches no other node; to 101 one gets from 3 of 4 nodes.\n"
                "  There is a route from 101 to 104.\n")
        self.assertEqual(self.route("104", "101", status=1, says=says), "")
        self.assertEqual(self.route("104", "101", "--geojson", status=1, says=says), "")
        node = {"lon": 10.002, "lat": 50.0003, "code": "104", "name": ""}
        self.assertEqual(json.loads(self.route("104", "101", "--json", status=1, says=says)), {
            "from": node, "to": {"lon": 10.0, "lat": 50.0, "code": "101", "name": ""}, "found": False,
            "joined": True, "nodes": 4, "from_part": 4, "to_part": 4, "reached_from": 1, "reaching_to": 3,
            "way_back": True, "barriers": [{"kind": "closed", "why": "one-way", "link": "203",
                                            "from": "104", "to": "102"}]})


class TurnsAndSpeeds(Case):
    # 202 has no speed, in neither direction.
    CHANGES = (("links.txt", b"202,1,7,50,1,0,2,102,103,50,50,0", b"202,1,7,50,1,0,2,102,103,0,0,0"),
               ("links.txt", b"101,102,36,0,0,4", b"101,102,36,18,0,4"),
               ("control.ini", b"SPEEDA=9\r\nSPEEDB=18", b"SPEEDA=0\r\nSPEEDB=0"))

    def test_a_prohibited_turn(self):
        # 103, where one could turn round, cannot be reached.
        self.route("101", "104", status=1, says=(
            "zatmap: there is no route from 101 to 104: the turn at node 102 from link 201 into link 203 is "
            "prohibited.\n"
            "  From 101 one reaches 2 of 4 nodes; to 104 one gets from 2 of 4 nodes.\n"))

    def test_a_link_closed_both_ways_and_several_barriers(self):
        self.route("101", "103", status=1, says=(
            "zatmap: there is no route from 101 to 103: link 202 is closed from 102 to 103 (and back).\n"
            "  From 101 one reaches 2 of 4 nodes; to 103 one gets from no other node.\n"))
        self.route("104", "103", status=1, says=(
            "zatmap: there is no route from 104 to 103. The way with the fewest barriers has 2:\n"
            "  link 203 is closed from 104 to 102 (one-way)\n"
            "  link 202 is closed from 102 to 103 (and back)\n"
            "  From 104 one reaches no other node; to 103 one gets from no other node.\n"))


class Islands(Case):
    # 202 joins 103 with a node of its own, at the place of 102.
    CHANGES = (("links.txt", b"2,102,103,50,50,0", b"2,105,103,50,50,0"),
               ("nodes.txt", b"102,0,0,3,201,202,203", b"102,0,0,2,201,203"),
               ("nodes.txt", b"104,0,0,1,203\r\n", b"104,0,0,1,203\r\n105,0,0,1,202\r\n"),
               ("nodexy.txt", b"104,", b"105,10.001000,50.000100\r\n104,"))

    def test_an_island(self):
        self.route("103", "101", status=1, says=(
            "zatmap: there is no route from 103 to 101: no links lead from one to the other.\n"
            "  103 lies in a part of 2 nodes, 101 lies in a part of 3 nodes; the map has 5 nodes.\n"))


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
