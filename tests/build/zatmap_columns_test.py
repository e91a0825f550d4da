#!/usr/bin/env python3
"""zatmap check: codes, coordinates, lengths and speeds that are wrong in a whole file are one finding,
which names the cause.

    python3 zatmap_columns_test.py --zatmap PROGRAM [--source FOLDER] [unittest arguments]
"""

import math
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import broken_city  # pylint: disable=wrong-import-position
from broken_city import (CITY, MIF, TEXT, Causes, both, change,  # pylint: disable=wrong-import-position
                         change_points, change_rows, content)

WGS84 = b"Projection 1, 104"
UTM = b'Projection 8, 104, "m", 9, 0, 0.9996, 500000, 0'


def shorter(code):
    """A code of 14 digits with 10."""
    return re.sub(rb"\b1000(00[12]0)00(\d{4})\b", rb"10\1\2", code)


def utm(x, y, between=b","):
    x, y = float(x), float(y)
    east = 500000 + (x - 9) * 111320 * math.cos(math.radians(y))
    return ("%.2f" % east).encode() + between + ("%.2f" % (y * 110574)).encode()


def minutes(degrees, form):
    seconds = float(degrees) * 3600
    return (form % (seconds // 3600, seconds // 60 % 60, seconds % 60)).encode("latin1")


def half(text):
    return text[:len(text) // 2]


def nodes(change_one):
    """Each row of nodexy.txt with other coordinates: two texts to one."""
    return change_rows("nodexy.txt", lambda row: [row[0], change_one(row[1], row[2])])


def links(column, make):
    """Each row of links.txt with another text in a column, from 1."""
    return change_rows("links.txt",
                       lambda row: row[:column - 1] + [make(row[column - 1])] + row[column:])


def speeds(text):
    return both(links(10, lambda _: text), links(11, lambda _: text))


class Codes(Causes):
    def test_floating_point(self):
        # They are read as they are meant, and so does a build.
        self.expect(TEXT, links(1, lambda code: code + b".0"),
                    ("links.txt:1:1", "code-float",
                     "10000020000001.0 (and 730 more in the file)"))
        self.expect(TEXT, links(1, lambda code: b"%.5e" % int(code)),
                    ("links.txt:1:1", "code-scientific",
                     "1.00000e+13 in link code: all 731 rows"))

    def test_too_many_digits(self):
        self.expect(TEXT, links(1, lambda code: code + b"0000"),
                    ("links.txt:1:1", "codes-long",
                     "100000200000010000 has 18 digits, and CODELENGTH is 14: all 731 rows"))
        rows = {"linkname.txt": 415, "links.txt": 731, "linkspeed.txt": 48, "linktrf.txt": 381,
                "nodes.txt": 577, "nodetrf.txt": 241, "nodexy.txt": 577}
        def longer(files):
            for name in (*rows, "linkshape.txt", "nodename.txt", "nodes.mid"):
                files[name] = re.sub(rb"\b10000(0[12]0\d{6})\b", rb"100000\1", files[name])
        first = {name: CITY[name].partition(b",")[0].decode() for name in rows}
        self.expect(TEXT, longer, *sorted(
            [(name + ":1:1", "codes-long", "%s has 15 digits, and CODELENGTH is 14: %s rows"
              % (first[name].replace("10000", "100000", 1),
                 # Two of them have codes of their own.
                 "46 of 48" if name == "linkspeed.txt" else "all %d" % count))
             for name, count in rows.items()] +
            [("linkshape.txt:1:1", "codes-long",
              "100000020000001 has 15 digits, and CODELENGTH is 14: all of the first 604 rows")] +
            [("nodename.txt:1:1", "codes-long",
              "100000010000095 has 15 digits, and CODELENGTH is 14: all 11 rows")]))

    def test_codes_of_another_kind(self):
        for name, rows in (("nodexy.txt", 577), ("linkname.txt", 415)):
            self.expect(TEXT, change_rows(name, lambda row: [shorter(row[0])] + row[1:]),
                        (name + ":1:1", "codes-differ",
                         "hardly a code of its %d rows is among the nodes and links" % rows))
        self.expect(TEXT, content("links.txt", shorter),
                    ("links.txt:1:8", "codes-differ",
                     "1462 of 1462 nodes of the links are unknown, the first is 00001000100001; "
                     "the nodes of nodes.txt are like 10000010000001"))
        self.expect(TEXT, links(1, shorter),
                    ("nodes.txt:1:5", "codes-differ",
                     "1461 of 1461 links that nodes list are unknown, the first is "
                     "10000020000001; the links of links.txt are like 00001000200001"))

    def test_node_lists_left_out(self):
        for rest in ([], [b"0"] * 8):
            self.expect(TEXT, change_rows("nodes.txt", lambda row, rest=rest: row[:4] + rest),
                        ("nodes.txt:0:5", "node-lists-missing", "none of 577 nodes"))


class Coordinates(Causes):
    def test_notations(self):
        for fault, kind, detail in (
                (change("nodexy.txt", b".", b","), "decimal-comma", "7,425153, 43,739716"),
                (nodes(lambda x, y: b'"%s","%s"' % (x.replace(b".", b","), y.replace(b".", b","))),
                 "decimal-comma", "7,425153, 43,739716"),
                (nodes(lambda x, y: (x + b"," + y).replace(b".", b"")), "coord-millionths",
                 "7425153, 43739716"),
                (nodes(utm), "coord-metres", "373339.19, 4836475.36"),
                (nodes(lambda x, y: x + b"3," + y + b"4"), "coord-unrounded",
                 "7.4251533, 43.7397164"),
                (nodes(lambda x, y: x + b"E," + y + b"N"), "coord-letters",
                 "7.425153E, 43.739716N"),
                (nodes(lambda x, y: minutes(x, "%d:%02d:%05.2f,") + minutes(y, "%d:%02d:%05.2f")),
                 "coord-minutes", "7:25:30.55, 43:44:22.98")):
            with self.subTest(kind):
                found = ("nodexy.txt:0:0", kind, detail + ": all 577 points")
                self.expect(TEXT, fault, found)
        points = "all of the first 3396 points"
        self.expect(TEXT, change_points(lambda x, y: (x + b"," + y).replace(b".", b",")),
                    ("linkshape.txt:0:0", "decimal-comma", "7,425153, 43,739716: " + points))
        self.expect(TEXT, both(nodes(utm), change_points(utm)),
                    ("linkshape.txt:0:0", "coord-metres", "373339.19, 4836475.36: " + points),
                    ("nodexy.txt:0:0", "coord-metres", "373339.19, 4836475.36: all 577 points"))

    def test_japan_exchanged(self):
        # A latitude of 139 degrees needs no second opinion.
        self.expect(TEXT, nodes(lambda x, y: b"35.%s,139.%s" % (y[3:], x[2:])),
                    ("nodexy.txt:0:0", "coord-exchanged", "35.739716, 139.425153: all 577 points"))

    def test_exchanged(self):
        self.expect(TEXT, nodes(lambda x, y: y + b"," + x),
                    ("nodexy.txt:0:0", "coord-exchanged", "577 nodes; the shapes in linkshape.txt "
                     "are right: they are as long as their links"))
        self.expect(TEXT, change_points(lambda x, y: y + b"," + x),
                    ("linkshape.txt:0:0", "coord-exchanged", "731 of 731 shapes; the nodes are "
                     "right: read like them, shapes are as long as their links"))
        self.expect(TEXT, both(nodes(lambda x, y: y + b"," + x),
                               change_points(lambda x, y: y + b"," + x)),
                    ("nodexy.txt:0:0", "coord-exchanged", "and in the shapes too: with the two "
                     "exchanged, shapes are as long as their links"))

    def test_datum(self):
        self.expect(TEXT, change_points(
            lambda x, y: b"%.6f,%.6f" % (float(x) + 0.001, float(y) + 0.0005)),
                    ("linkshape.txt:0:0", "coord-shifted", "by 0.001000, 0.000500 degrees, some "
                     "124 metres, in 731 of 731 shapes"))
        tokyo = b"Projection 1, 97"
        self.expect(MIF, both(change("node.mif", WGS84, tokyo), change("link.mif", WGS84, tokyo)),
                    *((name + ":0:0", "mif-datum",
                       "CoordSys Earth Projection 1, 97 is the Tokyo datum")
                      for name in ("link.mif", "node.mif")))
        self.expect(MIF, change("link.mif", WGS84, b"Projection 1, 74"),
                    ("link.mif:0:0", "mif-coordsys-differ", "CoordSys Earth Projection 1, 74, and "
                     "the nodes have CoordSys Earth Projection 1, 104"))
        self.expect(MIF, change("link.mif", b"Columns 14", b"Transform 1,1,100,0\r\nColumns 14"),
                    ("link.mif:0:0", "mif-transform", "Transform 1,1,100,0"))
        self.expect(MIF, change("node.mif", b"Columns 13", b"Transform 1,1,0,0\r\nColumns 13"))

    def test_projected_mif(self):
        system = "CoordSys Earth " + UTM.decode()
        self.expect(MIF, both(change("node.mif", WGS84, UTM), content(
            "node.mif", lambda text: re.sub(rb"Point (\S+) (\S+)", lambda m:
                                            b"Point " + utm(m[1], m[2], b" "), text))),
                    ("node.mif:0:0", "mif-coordsys", system))


class Values(Causes):
    def test_lengths(self):
        for text in (b"0", b""):
            self.expect(TEXT, links(4, lambda _, text=text: text),
                        ("links.txt:0:4", "lengths-zero", "731 links"))
        self.expect(TEXT, links(4, lambda metres: b"%.3f" % (int(metres) / 1000)),
                    ("links.txt:0:4", "column-fractions",
                     'length is like "0.121" in all 731 rows'),
                    ("links.txt:0:4", "length-unit", "0.001 times what the links measure, like "
                     "kilometres; record 1 says 0.121 for 121 m"))
        self.expect(TEXT, change("links.txt", b",10001,32,", b",10001,-32,", 1),
                    ("links.txt:2:4", "length-negative", "-32"),
                    ("links.txt:2:4", "cost-saturated", "65504 m at 60 km/h"),
                    ("links.txt:2:4", "length-odd", "-32 m, its shape has 32 m"))
        self.expect(TEXT, change("links.txt", b",10001,32,", b",10001,,", 1),
                    ("links.txt:2:4", "length-empty", '""'))

    def test_speeds(self):
        self.expect(TEXT, speeds(b"-1"),
                    ("links.txt:0:10", "speeds-negative", "in 1462 of 1462 directions"))
        self.expect(TEXT, change("links.txt", b",60,60,0", b",-50,60,0", 1),
                    ("links.txt:1:10", "speed-negative", "-50"))
        self.expect(TEXT, speeds(b"50 mph"),
                    ("links.txt:0:10", "column-text", 'speed A is like "50 mph" in all 731 rows'),
                    ("links.txt:0:11", "column-text", 'speed B is like "50 mph" in all 731 rows'))
        self.expect(TEXT, speeds(b"13.9"),
                    ("links.txt:0:10", "column-fractions", 'speed A is like "13.9" in all 731 rows'),
                    ("links.txt:0:11", "column-fractions", 'speed B is like "13.9" in all 731 rows'))


class CutFiles(Causes):
    def test_links(self):
        self.expect(TEXT, content("links.txt", lambda text: b"".join(
            text.splitlines(True)[:400])),
                    ("nodes.txt:1:5", "links-cut", "661 of 1461 links that nodes list are not "
                     "there, the first is 10000020000421"))
        self.expect(TEXT, content("links.txt", half),
                    ("links.txt:366:0", "file-cut", "10000020000"),
                    ("nodes.txt:1:5", "links-cut", "731 of 1461 links that nodes list are not "
                     "there, the first is 10000020000421"))

    def test_nodes(self):
        self.expect(TEXT, content("nodes.txt", lambda text: b"".join(
            text.splitlines(True)[:300])),
                    ("links.txt:243:8", "nodes-cut",
                     "656 of 1462 nodes of the links are not there"))

    def test_shapes(self):
        self.expect(MIF, content("link.mif", half),
                    ("link.mid:368:0", "shapes-cut",
                     "from link 10000020000368 on 364 of 731 links have none"),
                    ("link.mif:368:0", "mif-count", "367 objects and 731 records"))

    def test_counts_that_lie(self):
        self.expect(MIF, change("link.mif", b"Pline 8", b"Pline 9", 1),
                    ("link.mif:1:0", "mif-points", "9 points, 8 follow"))
        self.expect(TEXT, change("linkshape.txt", b"10000020000001,8", b"10000020000001,9"),
                    ("linkshape.txt:1:2", "shape-short", "9 points, 8 follow"))


if __name__ == "__main__":
    broken_city.main()
