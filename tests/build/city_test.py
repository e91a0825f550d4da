#!/usr/bin/env python3
"""A real city, from its source files to routes on its map, without a line of the library's code.

    city_test.py --zatmap PATH [--city FOLDER] [unittest options]

Builds the text form and the MIF form of the city, compares them, counts restrictions, one-way
links and weighted turns again from the source files, and finds routes on the map with a search of
its own: every route has to obey the source files, cost what they say, and be the best there is.

Twin links (several links between the same two nodes, and links from a node to itself) are left out
of the checks of single turns: the map's turn table names a link by the node at its other end, so
it cannot tell twins apart.
"""

import argparse
import csv
import heapq
import math
import os
import random
import re
import shutil
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
CITY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "examples", "monaco")
TIMEOUT = 300
CLOSED = 65535
ROUTES = 400


def rows(folder, name):
    with open(os.path.join(folder, name), encoding="cp932", newline="") as file:
        return list(csv.reader(file))


def micro(text):
    return round(float(text) * 1000000)


class Source:
    """The city as its source files tell it."""

    def __init__(self, folder):
        with open(os.path.join(folder, "control.ini"), encoding="cp932") as file:
            values = dict(re.findall(r"^(\w+)=(.*?)\s*$", file.read(), re.MULTILINE))
        self.default = (int(values["SPEEDA"]), int(values["SPEEDB"]))
        self.right = int(values["RTWEIGHT_RIGHT"])
        self.left = int(values["RTWEIGHT_LEFT"])
        nodes = rows(folder, "nodes.txt")
        assert all(int(row[2] or 0) == 0 for row in nodes), "partner nodes are not handled here"
        self.links_of = {row[0]: [code for code in row[4:12] if int(code or 0) != 0]
                         for row in nodes}
        self.links = {}
        for row in rows(folder, "links.txt"):
            speeds = [self.speed(row[9 + end], end) for end in (0, 1)]
            self.links[row[0]] = {"a": row[7], "b": row[8], "length": int(row[3]),
                                  "speeds": speeds}
        self.speed_rows = 0
        for row in rows(folder, "linkspeed.txt"):
            self.apply_speeds(row)
        pairs = {}
        for code, link in self.links.items():
            pairs.setdefault(frozenset((link["a"], link["b"])), []).append(code)
        self.twins = {code for ends, codes in pairs.items() for code in codes
                      if len(codes) > 1 or len(ends) == 1}
        self.prohibited, self.rules = self.read_rules(rows(folder, "nodetrf.txt"))
        self.barred, self.one_way_bits = self.read_one_ways(rows(folder, "linktrf.txt"))
        self.shapes = self.read_shapes(rows(folder, "linkshape.txt"))

    def speed(self, text, end):
        value = int(text or 0)
        return 0 if value < 0 else value or self.default[end]

    def apply_speeds(self, row):
        link = self.links.get(row[0])
        if link is None:
            return
        own = (self.speed(row[3], 0), self.speed(row[4], 1))
        if int(row[1] or 0) == 0 or int(row[2] or 0) == 0 or row[1:3] == [link["a"], link["b"]]:
            link["speeds"] = [own[0], own[1]]
        elif row[1:3] == [link["b"], link["a"]]:
            link["speeds"] = [own[1], own[1]]  # backwards: both take the second
        else:
            return
        self.speed_rows += 1

    def other_end(self, code, node):
        link = self.links[code]
        return link["b"] if link["a"] == node else link["a"]

    def touches(self, code, node):
        return code in self.links and node in (self.links[code]["a"], self.links[code]["b"])

    def read_rules(self, table):
        """{(node, in, out)} and how many rows apply."""
        applied = [tuple(row[:3]) for row in table
                   if int(row[3] or 0) == 2 and row[0] in self.links_of
                   and self.touches(row[1], row[0]) and self.touches(row[2], row[0])]
        return set(applied), len(applied)

    def read_one_ways(self, table):
        """{(node, link) that may not be entered} and the turns that are set for them."""
        barred = []
        for row in table:
            code, first, second = row[:3]
            flags = [int(row[3] or 0), int(row[4] or 0)]
            if code not in self.links:
                continue
            a, b = self.links[code]["a"], self.links[code]["b"]
            if first not in self.links_of or second not in self.links_of:
                first, second = a, b
            elif (first, second) == (b, a):
                flags.reverse()
            elif (first, second) != (a, b):
                continue
            barred += [(node, code) for node, flag in zip((a, b), flags) if flag == 2]
        return set(barred), sum(len(self.links_of[node]) for node, _ in barred)

    @staticmethod
    def read_shapes(table):
        shapes, i = {}, 0
        while i < len(table):
            code, count = table[i][0], int(table[i][1])
            shapes[code] = [(micro(x), micro(y)) for x, y in table[i + 1:i + 1 + count]]
            i += 1 + count
        return shapes

    def cost(self, node, code):
        """Hundredths of a second to leave the node along the link."""
        link = self.links[code]
        start = link["a"] == node
        speed = link["speeds"][0 if start else 1]
        if link["length"] == 0:
            return 0
        if speed == 0:
            return CLOSED
        if speed > (10000 if start else 9998):
            return 0
        return min(int(link["length"] * 360.0 / speed + 0.5), CLOSED)

    def may_turn(self, node, arrival, departure):
        return ((node, arrival, departure) not in self.prohibited
                and (node, departure) not in self.barred)

    def is_closed(self, node, code):
        """A link that no arrival may turn into counts as closed, also for a start at its node."""
        return not any(self.may_turn(node, arrival, code) for arrival in self.links_of[node])

    def is_weighted(self, node, arrival, departure):
        """Whether a turn is a right or left turn that is weighted; None when too close to say."""
        shape_in, shape_out = self.shapes[arrival], self.shapes[departure]
        if arrival == departure:
            # A turn back is judged where the link begins, whichever end it is made at.
            ends = (shape_in[0], shape_in[1], shape_out[1])
        else:
            junction = {shape_in[0], shape_in[-1]} & {shape_out[0], shape_out[-1]}
            if not junction:
                return False
            point = junction.pop()
            ends = (point, shape_in[1] if shape_in[0] == point else shape_in[-2],
                    shape_out[1] if shape_out[0] == point else shape_out[-2])
        (x, y), (from_x, from_y), (to_x, to_y) = ends
        dx_in, dy_in, dx_out, dy_out = x - from_x, y - from_y, to_x - x, to_y - y
        if 0 in (dx_in, dy_in, dx_out, dy_out):
            return False  # beside the junction it runs along an axis
        turned = math.degrees(math.atan2(dy_out, dx_out) - math.atan2(dy_in, dx_in))
        turned = (turned + 540.0) % 360.0 - 180.0  # to the left: positive
        if min(abs(abs(turned) - limit) for limit in (self.right, self.left)) < 1e-6:
            return None
        if abs(turned) > 180.0 - 1e-9:
            return True
        return -turned >= self.right if turned <= 0 else turned >= self.left


class Map:
    """The map as its files tell it."""

    def __init__(self, folder):
        self.folder = folder
        self.nodes = [self.digits(code) for code, _, _ in self.records("maploc.dat", "<dii")]
        self.number = {code: number for number, code in enumerate(self.nodes)}
        self.links = [""] * (os.path.getsize(os.path.join(folder, "link.idx")) // 16)
        for code, number, _ in self.records("link.idx", "<diI"):
            self.links[number] = self.digits(code)
        self.calc = [(record[:8], record[8:16], record[16:])
                     for record in self.records("mapcalc.dat", "<8i8H8H")]
        self.node_links = self.records("nodelink.idx", "<8i")
        self.ends = self.records("linknode.idx", "<iiHHHH")
        self.turns = self.records("maprule.dat", "<8B")
        self.weights = self.records("rtweight.dat", "<8B")

    @staticmethod
    def digits(code):
        return "%.0f" % code

    def records(self, name, layout):
        with open(os.path.join(self.folder, name), "rb") as file:
            return list(struct.iter_unpack(layout, file.read()))

    def slots(self, node):
        """(slot, link number, other node) of a node's connections."""
        return [(slot, link, self.calc[node][0][slot])
                for slot, link in enumerate(self.node_links[node]) if link >= 0]

    def slot_of(self, node, link):
        return next((slot for slot, number, _ in self.slots(node) if number == link), -1)


def build(folder, control):
    """The log of a build."""
    program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(folder, "log-" + control))
    program.build(folder, control, timeout=TIMEOUT)
    return program.log().decode("cp932")


class City(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        zatmap.copy_sources(OPTIONS.city, cls.folder, "out", "out_mif")
        cls.log = build(cls.folder, "control.ini")
        cls.log_mif = build(cls.folder, "control_mif.ini")
        cls.source = Source(cls.folder)
        cls.map = Map(os.path.join(cls.folder, "out"))

    def output(self, *names):
        return zatmap.read(os.path.join(self.folder, *names))

    def counted(self, pattern):
        found = re.findall(pattern, self.log)
        self.assertEqual(len(found), 1, pattern)
        return int(found[0])

    # --- text and MIF ---------------------------------------------------------------------------

    def test_both_forms_give_the_same_files(self):
        names = sorted(os.listdir(os.path.join(self.folder, "out")))
        self.assertEqual(names, sorted(os.listdir(os.path.join(self.folder, "out_mif"))))
        self.assertEqual(len(names), 17)
        for name in names:
            # These two also tell what the head of the MIF files says; see below.
            if name not in ("linkdef.dat", "shapedat.inf"):
                self.assertEqual(self.output("out", name), self.output("out_mif", name), name)

    def test_the_map_of_the_mif_form_has_the_lines_of_its_head(self):
        text, mif = (self.output(folder, "linkdef.dat").split(b"\r\n")
                     for folder in ("out", "out_mif"))
        added = [b"[INFORMATION]", b'Charset=Charset "WindowsJapanese"',
                 b"CoordSys=CoordSys Earth Projection 1, 104"]
        # The second line holds the time.
        self.assertEqual(mif[:1] + mif[2:], text[:1] + text[2:-1] + added + [b""])

    def test_the_shapes_of_the_text_form_have_a_head_made_up(self):
        text, mif = (self.output(folder, "shapedat.inf").split(b"\r\n")
                     for folder in ("out", "out_mif"))
        self.assertEqual(text[:3], [b"[INFORMATION]", b'Charset=Charset "WindowsJapanese"',
                                    b"CoordSys=CoordSys Earth Projection 1, 1015"])
        self.assertEqual(mif[:3], [b"[INFORMATION]", b'Charset=Charset "WindowsJapanese"',
                                   b"CoordSys=CoordSys Earth Projection 1, 104"])
        self.assertEqual(text[3:], mif[3:])

    # --- counts ---------------------------------------------------------------------------------

    def test_nodes_links_and_names(self):
        source = self.source
        self.assertEqual(set(self.map.nodes), set(source.links_of))
        self.assertEqual(set(self.map.links), set(source.links))
        self.assertEqual(self.counted(r"Setting Node Storage end OK : set counter = (\d+)"),
                         len(source.links_of))
        self.assertEqual(self.counted(r"Setting Link Storage end OK : set count = (\d+)"),
                         len(source.links))
        self.assertEqual(self.counted(r"Setting Link Speed end OK : set counter = (\d+)"),
                         source.speed_rows)
        link_names = {row[0]: row[3] for row in rows(self.folder, "linkname.txt")}
        for code, record in zip(self.map.links, self.map.records("linkname.dat", "<20s10s")):
            whole = link_names.get(code, "").encode("cp932")
            name = record[0].rstrip(b"\0")
            self.assertTrue(whole.startswith(name))
            # Twenty bytes, or nineteen when a character of two bytes did not fit.
            self.assertTrue(name == whole or len(name) >= 19, (code, name))

    def test_shapes(self):
        points = self.map.records("shapedat.dat", "<ii")
        entries = self.map.records("shapedbl.idx", "<dii")
        self.assertEqual([Map.digits(entry[0]) for entry in entries],
                         sorted(self.source.shapes, key=int))
        for code, offset, count in entries:
            self.assertEqual(points[offset // 8:offset // 8 + count],
                             self.source.shapes[Map.digits(code)])
        self.assertEqual(len(points), sum(map(len, self.source.shapes.values())))

    def test_count_of_restrictions_and_one_ways(self):
        self.assertGreater(self.source.rules, 100)
        self.assertGreater(len(self.source.barred), 100)
        self.assertEqual(self.counted(r"End of RuleStore section OK : set count = (\d+)"),
                         self.source.rules)
        self.assertEqual(self.counted(r"End of OneWayStore section OK : set count = (\d+)"),
                         self.source.one_way_bits)

    def single_turns(self, node):
        """(arrival slot, arrival link, departure slot, departure link) without twins."""
        slots = [(slot, self.map.links[link]) for slot, link, _ in self.map.slots(node)
                 if self.map.links[link] not in self.source.twins]
        return [(a, arrival, b, departure) for a, arrival in slots for b, departure in slots]

    def test_every_prohibited_turn_and_no_other(self):
        turns = prohibited = 0
        for node, code in enumerate(self.map.nodes):
            for a, arrival, b, departure in self.single_turns(node):
                barred = bool(self.map.turns[node][a] & (0x80 >> b))
                self.assertEqual(barred, not self.source.may_turn(code, arrival, departure),
                                 (code, arrival, departure))
                turns += 1
                prohibited += barred
        self.assertGreater(turns, 1000)
        self.assertGreater(prohibited, 500)
        # No bits stand at slots without a link.
        for node, turn_bytes in enumerate(self.map.turns):
            used = len(self.map.slots(node))
            for slot, byte in enumerate(turn_bytes):
                self.assertEqual(byte & (0xFF >> used if slot < used else 0xFF), 0)

    def test_every_closed_direction_and_no_other(self):
        closed = 0
        for node, code in enumerate(self.map.nodes):
            links = [self.map.links[link] for _, link, _ in self.map.slots(node)]
            if self.source.twins.intersection(links):
                continue
            for slot, link, other in self.map.slots(node):
                name = self.map.links[link]
                end = self.map.ends[link]
                side = 0 if end[0] == node else 1
                self.assertEqual(end[1 - side], other)
                cost, speed = self.map.calc[node][1][slot], end[2 + side]
                if self.source.is_closed(code, name):
                    closed += 1
                    self.assertEqual((cost, speed), (CLOSED, 0), (code, name))
                else:
                    self.assertEqual((cost, speed), (self.source.cost(code, name),
                                                     self.source.links[name]["speeds"][side]))
                self.assertEqual(self.map.calc[node][2][slot], self.source.links[name]["length"])
        self.assertGreater(closed, 100)

    def test_every_weighted_turn_and_no_other(self):
        weighted = unweighted = 0
        for node, code in enumerate(self.map.nodes):
            links = [self.map.links[link] for _, link, _ in self.map.slots(node)]
            if len(links) < 3:
                self.assertEqual(self.map.weights[node], (0,) * 8)
                continue
            if self.source.twins.intersection(links):
                continue
            for a, arrival, b, departure in self.single_turns(node):
                expected = self.source.is_weighted(code, arrival, departure)
                if expected is None:
                    continue
                found = bool(self.map.weights[node][a] & (0x80 >> b))
                self.assertEqual(found, expected, (code, arrival, departure))
                weighted += found
                unweighted += not found
        self.assertGreater(weighted, 500)
        self.assertGreater(unweighted, 500)

    # --- routes ---------------------------------------------------------------------------------

    def map_route(self, start, goal):
        """(cost, [(node, link)...]) of the best way over the map's own files, or None. A state is
        a node and the slot that one arrived by."""
        best = {}
        queue = [(0, start, -1, None)]
        while queue:
            cost, node, arrival, before = heapq.heappop(queue)
            if (node, arrival) in best:
                continue
            best[node, arrival] = before
            if node == goal:
                way, state = [], (node, arrival)
                while best[state] is not None:
                    previous, link = best[state]
                    way.append((previous[0], link))
                    state = previous
                return cost, way[::-1]
            for slot, link, other in self.map.slots(node):
                price = self.map.calc[node][1][slot]
                if price == CLOSED or self.map.links[link] in self.source.twins:
                    continue
                if arrival >= 0 and self.map.turns[node][arrival] & (0x80 >> slot):
                    continue
                state = (other, self.map.slot_of(other, link))
                if state not in best:
                    heapq.heappush(queue, (cost + price, *state, ((node, arrival), link)))
        return None

    def source_cost(self, start, goal, closed):
        """The cost of the best way that the source files allow, or None."""
        best = set()
        queue = [(0, start, "")]
        while queue:
            cost, node, arrival = heapq.heappop(queue)
            if (node, arrival) in best:
                continue
            best.add((node, arrival))
            if node == goal:
                return cost
            for link in self.source.links_of[node]:
                if link in self.source.twins or (node, link) in closed:
                    continue
                if arrival and not self.source.may_turn(node, arrival, link):
                    continue
                state = (self.source.other_end(link, node), link)
                if state not in best:
                    heapq.heappush(queue, (cost + self.source.cost(node, link), *state))
        return None

    def test_routes_obey_the_source_files_and_are_the_best(self):
        source = self.source
        closed = {(node, link) for node, links in source.links_of.items() for link in links
                  if source.is_closed(node, link) or source.cost(node, link) == CLOSED}
        # Where twins meet, a link may be closed on the map because a twin's turn is barred.
        for node, code in enumerate(self.map.nodes):
            if source.twins.intersection(source.links_of[code]):
                closed.update((code, self.map.links[link]) for slot, link, _ in
                              self.map.slots(node) if self.map.calc[node][1][slot] == CLOSED)
        chance = random.Random(20121)
        found = turns = 0
        for _ in range(ROUTES):
            start, goal = chance.sample(range(len(self.map.nodes)), 2)
            codes = self.map.nodes[start], self.map.nodes[goal]
            best = self.source_cost(*codes, closed)
            route = self.map_route(start, goal)
            if route is None:
                self.assertIsNone(best, codes)
                continue
            cost, way = route
            self.assertEqual(cost, best, codes)
            found += 1
            node, arrival, total = codes[0], None, 0
            for number, link_number in way:
                link = self.map.links[link_number]
                self.assertEqual(self.map.nodes[number], node)
                self.assertTrue(source.touches(link, node), (node, link))
                self.assertNotIn((node, link), source.barred, "against a one-way street")
                if arrival is not None:
                    self.assertNotIn((node, arrival, link), source.prohibited, "a barred turn")
                    turns += 1
                total += source.cost(node, link)
                node, arrival = source.other_end(link, node), link
            self.assertEqual(node, codes[1])
            self.assertEqual(total, cost)
        self.assertGreater(found, ROUTES // 2)
        self.assertGreater(turns, 5 * found)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", city=CITY)
