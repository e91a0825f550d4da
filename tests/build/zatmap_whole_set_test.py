#!/usr/bin/env python3
"""zatmap check: what only all records together tell.

    python3 zatmap_whole_set_test.py --zatmap PROGRAM [--source FOLDER] [unittest arguments]

The network is a grid of eight by eight nodes with streets of 80 metres to the east and 111 metres to
the north. Every case changes one thing and names what is found.
"""

import argparse
import os
import re
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from good_networks import folder_of, lines  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
KINDS = ("length-unit", "length-odd", "lengths-mixed", "speed-unit", "speed-high", "speeds-low",
         "speeds-equal", "oneway-share", "oneway-against", "rule-twice", "island", "not-reached",
         "not-left")
SIDE = 8
WEST, SOUTH = 7.42, 43.73
FINDING = re.compile(r"^(.*?:\d+: \d+): (error|warning): .*? \[([a-z-]+)\]$")


class Grid:
    """Nodes 101 to 164, row by row from the south-west; links 1001 to 1056 to the east and 2001 to
    2056 to the north, each with node A in the west or south."""

    def __init__(self):
        self.nodes = {101 + x + SIDE * y: (WEST + x / 1000, SOUTH + y / 1000)
                      for y in range(SIDE) for x in range(SIDE)}
        pairs = [(n, n + 1) for n in self.nodes if (n - 100) % SIDE != 0]
        self.links = {1001 + i: pair for i, pair in enumerate(pairs)}
        self.links.update({2001 + i: (n, n + SIDE) for i, n in enumerate(self.nodes)
                           if n + SIDE in self.nodes})
        self.lengths = {code: "80" if code < 2000 else "111" for code in self.links}
        # Speeds of the two directions; the busier streets are faster.
        self.speeds = {code: (50, 50) if code % 3 else (30, 30) for code in self.links}
        self.one_ways = []
        self.turns = []
        self.shapes = True

    def coordinates(self, node):
        return "%.6f,%.6f" % self.nodes[node]

    def files(self):
        control = ["[SYSTEM]", "CODELENGTH=14", "[FOLDER]", "CALCMAPDIR=out"]
        names = [("NODE", "nodes.txt"), ("NODEXY", "nodexy.txt"), ("LINK", "links.txt")]
        made = {
            "nodes.mid": b"",
            "nodes.txt": lines(*("%d,1,0,%d,%s" % (n, len(own), ",".join(own))
                                 for n in self.nodes for own in [self.slots(n)])),
            "nodexy.txt": lines(*("%d,%s" % (n, self.coordinates(n)) for n in self.nodes)),
            "links.txt": lines(*("%d,4,10001,%s,1,1,1,%d,%d,%d,%d" % (
                code, self.lengths[code], *ends, *self.speeds[code])
                                 for code, ends in self.links.items()))}
        if self.shapes:
            names.append(("LINKSHAPE", "linkshape.txt"))
            made["linkshape.txt"] = lines(*(
                row for code, (a, b) in self.links.items()
                for row in ("%d,2" % code, self.coordinates(a), self.coordinates(b))))
        if self.one_ways:
            names.append(("LINKTRF", "linktrf.txt"))
            made["linktrf.txt"] = lines(*self.one_ways)
        if self.turns:
            names.append(("NODETRF", "nodetrf.txt"))
            made["nodetrf.txt"] = lines(*self.turns)
        for section, name in names:
            control += ["[%s]" % section, "FILENUM=1", "FILE01=" + name]
        made["control.ini"] = lines(*control)
        return made

    def slots(self, node):
        return [str(code) for code, ends in self.links.items() if node in ends]


class WholeSetTest(unittest.TestCase):
    maxDiff = None

    def expect(self, grid, *expected):
        """Place, severity and kind of all findings, and what is told of each."""
        with folder_of(grid.files()) as root:
            done = zatmap.Zatmap(OPTIONS.zatmap).run(
                "check", "--only", ",".join(KINDS), "control.ini", cwd=root)
        rows = [row for row in done.out.splitlines() if row.endswith("]")]
        found = []
        for row in rows:
            place, severity, kind = FINDING.match(row).groups()
            info = row[len(place) + len(severity) + 4:]
            found.append((place, severity, kind, info.split(": ", 1)[1].split("; ")[0]))
        self.assertEqual(found, [tuple(item) for item in expected], done.out + done.err)
        errors = any(item[1] == "error" for item in expected)
        self.assertEqual(done.status, 1 if errors else 0)


class Lengths(WholeSetTest):
    def unit(self, grid, told):
        self.expect(grid, ("links.txt:0: 4", "error", "length-unit", told))

    def scaled(self, form):
        grid = Grid()
        grid.lengths = {code: form(float(text)) for code, text in grid.lengths.items()}
        return grid

    def test_a_good_network(self):
        self.expect(Grid())
        grid = Grid()
        grid.shapes = False
        self.expect(grid)

    def test_other_units(self):
        # The links measure 80.35 and 111.19 metres; the middle of all is one of the latter.
        self.unit(self.scaled(lambda m: "%.3f" % (m / 1000)),
                  "0.000998 times what the links measure, like kilometres")
        self.unit(self.scaled(lambda m: "%d" % (m * 100)),
                  "99.8 times what the links measure, like centimetres")
        self.unit(self.scaled(lambda m: "%d" % (m * 10)),
                  "9.98 times what the links measure, like decimetres")
        self.unit(self.scaled(lambda m: "%d" % round(m / 0.3048)),
                  "3.27 times what the links measure, like feet")
        self.unit(self.scaled(lambda m: "%d" % (m * 7)), "6.99 times what the links measure")

    def test_whole_kilometres(self):
        grid = self.scaled(lambda m: "0")
        grid.lengths[1001] = "1"
        self.unit(grid, "0 in 111 of 112 links that measure 20 m or more, first record 2")

    def test_metres_of_a_flat_map(self):
        # 1 / cos(43.73 degrees) is 1.384.
        self.unit(self.scaled(lambda m: "%d" % round(m * 1.384)),
                  "1.38 times what the links measure, like metres of a Mercator map")

    def test_between_nodes_without_shapes(self):
        grid = self.scaled(lambda m: "%d" % (m * 100))
        grid.shapes = False
        self.unit(grid, "99.8 times what the links measure, like centimetres")

    def test_single_ones(self):
        grid = Grid()
        grid.lengths[1003] = "800"  # 80 as its shape
        grid.lengths[2004] = "0"
        grid.lengths[2006] = "150"  # a winding road whose shape has been simplified
        self.expect(
            grid,
            ("links.txt:3: 4", "warning", "length-odd", "800 m, its shape has 80 m"),
            ("links.txt:60: 4", "warning", "length-odd", "0 m, its shape has 111 m"))

    def test_a_node_at_a_wrong_place(self):
        # Half a kilometre to the west: its links are 80, 111 and 111 metres long.
        grid = Grid()
        grid.shapes = False
        grid.nodes[109] = (WEST - 0.006, SOUTH + 0.001)
        self.expect(
            grid,
            ("links.txt:8: 4", "warning", "length-odd", "80 m, its nodes are apart by 562 m"),
            ("links.txt:57: 4", "warning", "length-odd", "111 m, its nodes are apart by 495 m"),
            ("links.txt:65: 4", "warning", "length-odd", "111 m, its nodes are apart by 495 m"))

    def test_many(self):
        grid = Grid()
        for number, code in enumerate(grid.lengths):
            if number % 4 == 0:
                grid.lengths[code] = "900"
        self.expect(grid, ("links.txt:0: 4", "warning", "lengths-mixed",
                           "28 of 112 links, first record 1"))


class Speeds(WholeSetTest):
    def speeds(self, speed_of):
        grid = Grid()
        grid.speeds = {code: speed_of(number) for number, code in enumerate(grid.links)}
        return grid

    def test_far_too_high(self):
        self.expect(self.speeds(lambda number: (5000, 5000)),
                    ("links.txt:0: 10", "error", "speed-unit",
                     "224 of 224 are above 200 km/h, up to 5000"))

    def test_one_column_far_too_high(self):
        self.expect(self.speeds(lambda number: (5000, 30 + number % 3)),
                    ("links.txt:0: 10", "error", "speed-unit",
                     "112 of 224 are above 200 km/h, up to 5000"))

    def test_a_single_one(self):
        grid = Grid()
        grid.speeds[1002] = (50, 500)
        self.expect(grid, ("links.txt:2: 11", "warning", "speed-high", "500 km/h"))

    def test_metres_a_second(self):
        self.expect(self.speeds(lambda number: (14, 14) if number % 12 else (28, 28)),
                    ("links.txt:0: 10", "warning", "speeds-low",
                     "204 of 224 are at most 20, none is above 28: like metres a second"))

    def test_miles_an_hour(self):
        self.expect(self.speeds(lambda number: (25, 25) if number % 4 else (40, 40)),
                    ("links.txt:0: 10", "warning", "speeds-low",
                     "168 of 224 end in 5, none is above 40: like miles an hour"))

    def test_all_the_same(self):
        self.expect(self.speeds(lambda number: (50, 50)),
                    ("links.txt:0: 10", "warning", "speeds-equal",
                     "50 km/h in 224 directions of links"))


class Rules(WholeSetTest):
    def test_one_way_rows_against_each_other(self):
        grid = Grid()
        grid.one_ways = ["1001,101,102,0,2", "1002,102,103,2,0", "1002,102,103,0,2",
                         "1001,102,101,2,0"]  # the last says the same as the first
        self.expect(
            grid,
            ("linktrf.txt:3: 0", "warning", "oneway-against",
             "link 00000000001002: closes from B to A, but from A to B at linktrf.txt:2"))

    def test_rows_that_say_different_things(self):
        grid = Grid()
        grid.one_ways = ["1003,103,104,2,0", "1003,103,104,0,0"]
        grid.turns = ["102,1001,1002,2", "102,1002,1001,2", "102,1001,1002,1", "102,1002,1001,2"]
        self.expect(
            grid,
            ("linktrf.txt:2: 0", "warning", "rule-twice",
             "link 00000000001003: closes nothing, but from A to B at linktrf.txt:1"),
            ("nodetrf.txt:3: 0", "warning", "rule-twice", "kind 1, but 2 at nodetrf.txt:1"))

    def test_nearly_all_links_one_way(self):
        # Around every block: streets to the east and west, to the south and north by turns, the
        # border all the way round.
        grid = Grid()
        for code, (a, b) in grid.links.items():
            column, row = (a - 101) % SIDE, (a - 101) // SIDE
            back = row % 2 == 1 if code < 2000 else column % 2 == 0
            grid.one_ways.append("%d,%d,%d,%d,%d" % (code, a, b, 2 if back else 0,
                                                     0 if back else 2))
        self.expect(grid, ("linktrf.txt:0: 0", "warning", "oneway-share", "112 of 112 links"))


class Reach(WholeSetTest):
    def test_an_island(self):
        grid = Grid()
        grid.nodes[201], grid.nodes[202] = (WEST, SOUTH - 0.001), (WEST + 0.001, SOUTH - 0.001)
        grid.links[3001] = (201, 202)
        grid.lengths[3001], grid.speeds[3001] = "80", (50, 50)
        self.expect(grid, ("nodes.txt:65: 0", "warning", "island",
                           "2 nodes, first 00000000000201"))

    def test_one_way_streets(self):
        # The corner 101 has links to the east and north, and nothing comes in; from 164 nothing
        # goes out.
        grid = Grid()
        grid.one_ways = ["1001,101,102,0,2", "2001,101,109,0,2",
                         "1056,163,164,0,2", "2056,156,164,0,2"]
        self.expect(
            grid,
            ("nodes.txt:1: 0", "warning", "not-reached", "1 node, first 00000000000101"),
            ("nodes.txt:64: 0", "warning", "not-left", "1 node, first 00000000000164"))

    def test_prohibited_turns(self):
        # Nobody may turn at 109 or 102 into the links of the corner.
        grid = Grid()
        grid.turns = ["%d,%d,%d,2" % (node, arrival, leaving)
                      for node, leaving in ((109, 2001), (102, 1001))
                      for arrival in map(int, grid.slots(node))]
        self.expect(grid, ("nodes.txt:1: 0", "warning", "not-reached",
                           "1 node, first 00000000000101"))

    def test_a_dead_end_is_no_finding(self):
        grid = Grid()
        grid.nodes[201] = (WEST, SOUTH - 0.001)
        grid.links[3001] = (201, 101)
        grid.lengths[3001], grid.speeds[3001] = "111", (50, 50)
        self.expect(grid)


class Cities(unittest.TestCase):
    def test_the_examples_have_no_errors(self):
        folder = os.path.join(OPTIONS.source, "examples")
        for city, control in (("monaco", "control.ini"), ("monaco", "control_mif.ini"),
                              ("hinata", "control.ini"), ("hinata", "control_mif.ini")):
            done = zatmap.Zatmap(OPTIONS.zatmap).run(
                "check", "--only", ",".join(KINDS), "--errors-only", control,
                cwd=os.path.join(folder, city))
            self.assertEqual(done.status, 0, done.out + done.err)

    def test_monaco(self):
        # The parts of the map have 572, 3 and 2 nodes; 25 of the first cannot be reached.
        done = zatmap.Zatmap(OPTIONS.zatmap).run(
            "check", "--only", "island,not-reached", "--max", "0", "control.ini",
            cwd=os.path.join(OPTIONS.source, "examples", "monaco"))
        sizes = {"island": 0, "not-reached": 0}
        for row in done.out.splitlines():
            match = re.search(r": (\d+) nodes?, first .* \[(.*)\]$", row)
            if match:
                sizes[match.group(2)] += int(match.group(1))
        self.assertEqual(sizes, {"island": 5, "not-reached": 25})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--source", default=os.path.join(os.path.dirname(__file__), "..", ".."))
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    OPTIONS.zatmap = os.path.abspath(OPTIONS.zatmap)
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
