#!/usr/bin/env python3
"""Hand-checked expectations of the reference model's helpers and of a few
small builds."""

import contextlib
import os
import random
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import make_random  # noqa: E402
import zatmodel as m  # noqa: E402


@contextlib.contextmanager
def folder():
    old = os.getcwd()
    with tempfile.TemporaryDirectory() as d:
        os.chdir(d)
        try:
            yield d
        finally:
            os.chdir(old)


def save(name, data):
    with open(name, "wb") as f:
        f.write(data)


def load(name):
    with open(name, "rb") as f:
        return f.read()


def key14(text):
    return m.code_key(m.parse_code(text, 14))


class Numbers(unittest.TestCase):
    def test_coordinates(self):
        for text, want in ((b"135.5", 135500000), (b"-35.123456", -35123456),
                           (b"12", 12000000), (b"139.6917", 139691700),
                           (b"-0.000001", -1), (b"E139.5", 139500000),
                           (b"1.1234567", 11234567), (b"5e-05", 5),
                           (b"", 0), (b"9999999", 0x7FFFFFFF),
                           (b"-9999999", -0x80000000), (b"--1", 0),
                           (b"0" * 31 + b"7.25", 7000000),
                           (b"0" * 30 + b"7.25", 7000000)):
            self.assertEqual(m.parse_fixed6(text), want, text)

    def test_integers(self):
        for text, want in ((b"", 0), (b" 12x", 12), (b"-7", -7), (b"+7", 7),
                           (b"1.9", 1), (b"x1", 0), (b"\n5", 5),
                           (b"99999999999", 2147483647),
                           (b"-99999999999", -2147483648)):
            self.assertEqual(m.atoi(text), want, text)
        self.assertEqual(m.atoi64(b"9" * 19), 0x7FFFFFFFFFFFFFFF)

    def test_codes(self):
        self.assertEqual(m.code_text(m.parse_code(b"12", 14), 14),
                         b"00000000000012")
        self.assertEqual(m.code_text(m.parse_code(b"12", 18), 18),
                         b"000000000000000012")
        a = m.code_key(m.parse_code(b"100000000000000001", 18))
        b = m.code_key(m.parse_code(b"100000000000000002", 18))
        self.assertLess(a, b)
        small = m.code_key(m.parse_code(b"1", 18))
        self.assertGreater(small, 0.0)
        self.assertEqual(key14(b"1.0000000002e+17"), 1.0000000002e17)

    def test_speed_field(self):
        for text, default, want in ((b"", 40, 40), (b"0", 40, 40),
                                    (b"-5", 40, 0), (b"30", 40, 30),
                                    (b"70000", 40, 4464), (b"x", 65531,
                                                           65531)):
            self.assertEqual(m.speed_field(text, default), want, text)

    def test_cost(self):
        for length, speed, limit, want in (
                (0, 0, 10000, 0), (5, 0, 10000, 65535),
                (5, 9999, 10000, 0), (100, 9999, 10000, 4),
                (100, 9999, 9998, 0), (100, 10000, 10000, 4),
                (100, 10001, 10000, 0), (65534, 360, 10000, 65534),
                (65535, 360, 10000, 65535), (100, 60, 9998, 600),
                (1, 720, 9998, 1), (1, 721, 9998, 0)):
            self.assertEqual(m.slot_cost(length, speed, limit), want,
                             (length, speed, limit))

    def test_turn_slots(self):
        for slots, far_in, far_out, want in (
                ((1, 3), 1, 3, (0, 1)), ((1, 3), 3, 1, (1, 0)),
                ((1, 3), 1, 1, (0, 0)), ((1, 3), 1, 4, None),
                ((1, 3), 4, 3, None), ((), 1, 3, None),
                # parallel links before the other end: the last of them
                ((1, 2, 1, 3), 1, 3, (2, 3)), ((1, 2, 1, 3), 3, 1, (3, 2)),
                ((1, 1, 1, 3), 1, 3, (2, 3)),
                # behind it: the first of them
                ((3, 1, 2, 1), 1, 3, (1, 0)), ((3, 1, 2, 1), 3, 1, (0, 1)),
                # on both sides of it
                ((1, 3, 1), 1, 3, (0, 1)), ((1, 3, 1), 3, 1, (1, 0)),
                # parallel links on both sides of the turn
                ((1, 1, 3, 3), 1, 3, (1, 2)), ((3, 3, 1, 1), 1, 3, (2, 1)),
                # from one parallel link into the other
                ((2, 1, 1, 3), 1, 1, (1, 1))):
            self.assertEqual(m.turn_slots(slots, far_in, far_out), want,
                             (slots, far_in, far_out))


class Texts(unittest.TestCase):
    def test_names(self):
        wide = "あ".encode("cp932")
        self.assertEqual(m.cut_name(b"a" * 25), b"a" * 20)
        self.assertEqual(m.cut_name(b"a" * 19 + wide), b"a" * 19)
        self.assertEqual(m.cut_name(b"a" * 18 + wide + b"b"),
                         b"a" * 18 + wide)
        self.assertEqual(m.cut_name(wide * 12), wide * 10)
        # half-width kana are single bytes
        self.assertEqual(m.cut_name(b"\xb1" * 19 + wide), b"\xb1" * 19)
        self.assertEqual(m.cut_name(b""), b"")

    def test_fields(self):
        self.assertEqual(m.split_fields(b'a,,c'), [b"a", b"", b"c"])
        self.assertEqual(m.split_fields(b'a\t"b",c"d'),
                         [b"a", b"b", b'c"d'])
        self.assertEqual(m.split_fields(b'"a,b"'), [b"a", b"b"])
        self.assertEqual(m.split_fields(b'"a ""b"""'), [b'a ""b""'])
        self.assertEqual(m.split_fields(b'""'), [b""])
        self.assertEqual(m.split_fields(b"a;b"), [b"a;b"])
        self.assertEqual(m.split_fields(b""), [b""])
        self.assertEqual(m.split_fields(b"x" * 63), [b"x" * 63])
        with self.assertRaises(m.FieldOverflow):
            m.split_fields(b"1," + b"x" * 64)

    def test_csv_field(self):
        self.assertEqual(m.get_csv_field(2, b"a,,c"), b"c")
        self.assertEqual(m.get_csv_field(1, b"a;b\tc"), b"b")
        self.assertIsNone(m.get_csv_field(3, b"a,,c"))
        self.assertEqual(m.get_csv_field(0, b'"a"'), b"a")
        self.assertEqual(m.get_csv_field(0, b'a"'), b'a"')

    def lines(self, data, size=512):
        f = m.LineFile(data)
        out = []
        while True:
            ln = f.read_line(size)
            if ln is None:
                return out
            out.append(ln)

    def test_lines(self):
        self.assertEqual(self.lines(b""), [])
        self.assertEqual(self.lines(b"a\r\nb"), [b"a", b"b"])
        self.assertEqual(self.lines(b"a\r\n\r\nb\r\n"), [b"a", b"", b"b"])
        self.assertEqual(self.lines(b'1,"x\r\ny"\r\n2'), [b'1,"xy"', b"2"])
        self.assertEqual(self.lines(b'"x\ny"z\nw\r\n'), [b'"xy"zw'])
        # a line feed alone is no line end
        self.assertEqual(self.lines(b"a\nb\n"), [b"a\nb\n"])
        # a quote left open swallows the rest
        self.assertEqual(self.lines(b'a"\r\nb\r\n'), [b'a"b'])
        # two bytes are skipped at a carriage return, whatever they are
        self.assertEqual(self.lines(b"a\rbc\r\n"), [b"a", b"c"])

    def test_line_too_long(self):
        self.assertEqual(self.lines(b"x" * 600 + b"\r\ny"), [])
        self.assertEqual(self.lines(b"x" * 511 + b"\r\ny"), [b"x" * 511,
                                                            b"y"])
        self.assertEqual(self.lines(b"x" * 512 + b"\r\ny"), [])
        self.assertEqual(self.lines(b"x" * 512), [])
        self.assertEqual(self.lines(b"x" * 511), [b"x" * 511])

    def test_paths(self):
        self.assertEqual(m.make_mid_path(b"a/node.mif"), b"a/node.mid")
        self.assertEqual(m.make_mid_path(b"a/data/node"), b"a/data.mid")
        self.assertEqual(m.make_mid_path(b"node.x.mif"), b"node.x.mid")
        self.assertEqual(m.make_mid_path(b"node"), b"node.mid")
        self.assertEqual(m.make_mid_path(b".mif"), b".mif.mid")
        self.assertEqual(m.join_path(b"out", b"a"), b"out/a")
        self.assertEqual(m.join_path(b"out/", b"a"), b"out/a")
        self.assertEqual(m.split_path(b"x/y\\z.ini"), (b"x/y", b"z.ini"))

    def test_point_tokens(self):
        self.assertEqual(m.mif_tokens(b"Point 1.5 2"),
                         [b"Point", b"1.5", b"2"])
        self.assertEqual(m.mif_tokens(b"Point 1.5,2"),
                         [b"Point", b"1.5", b"2"])


class Profiles(unittest.TestCase):
    def test_read(self):
        with folder():
            save("c.ini", b"; x\r\n[Aa]\r\nKey = 5x \r\nq=\" a \"\r\nn=-3\r\n"
                          b"e=\r\nkey=6\r\n[b]\r\nKey=7\r\n[aa]\r\nz=1")
            self.assertEqual(m.profile_int(b"c.ini", b"AA", b"KEY", 9), 5)
            self.assertEqual(m.profile_int(b"c.ini", b"aa", b"n", 9), -3)
            self.assertEqual(m.profile_int(b"c.ini", b"aa", b"none", 9), 9)
            self.assertEqual(m.profile_string(b"c.ini", b"aa", b"q"), b" a ")
            self.assertEqual(m.profile_string(b"c.ini", b"aa", b"e", b"d"),
                             b"")
            self.assertEqual(m.profile_string(b"no.ini", b"aa", b"e", b"d"),
                             b"d")
            self.assertEqual(m.profile_string(b"c.ini", b"b", b"key", b"",
                                              1), b"")

    def test_write(self):
        with folder():
            m.profile_write(b"o.inf", b"S", b"A", b"1")
            m.profile_write(b"o.inf", b"T", b"B", b"")
            m.profile_write(b"o.inf", b"s", b"C", b"3")
            m.profile_write(b"o.inf", b"S", b"a", b"4")
            self.assertEqual(load("o.inf"),
                             b"[S]\r\na=4\r\nC=3\r\n[T]\r\nB=\r\n")


class Tables(unittest.TestCase):
    def test_heap_sort(self):
        rnd = random.Random(1)
        for n in list(range(0, 20)) + [513, 1000]:
            items = [rnd.randrange(n + 1) for _ in range(n)]
            want = sorted(items)
            m.heap_sort(items, lambda k: k)
            self.assertEqual(items, want)
        two = [2, 1]
        m.heap_sort(two, lambda k: k)
        self.assertEqual(two, [1, 2])

    def test_find(self):
        table = [(float(2 * i), i) for i in range(3000)]
        for i in (0, 1, 511, 512, 513, 1500, 2999):
            self.assertEqual(m.find_index(table, 2.0 * i), i)
        self.assertEqual(m.find_index(table, 7.0), -1)
        self.assertEqual(m.find_index([], 7.0), -1)

    def test_link_flags(self):
        road_def = ([1, 2, 99], [1, 2, 3, 4, 7, 6, 0])
        for kind, flag, want in ((1, 0, 1), (3, 0, 0), (99, 0, 0), (3, 1, 1),
                                 (3, 7, 16), (2, 6, 33), (2, -1, 1),
                                 (3, 9, 0)):
            self.assertEqual(m.link_flags(kind, flag, road_def), want)

    def test_records(self):
        self.assertEqual(len(m.NodeRec().pack()), 96)
        self.assertEqual(len(m.LinkRec().pack()), 48)
        rec = m.name_record(m.ZERO8, b"abc", 258, 7)
        self.assertEqual(len(rec), 40)
        self.assertEqual(rec[8:12], b"abc\0")
        self.assertEqual(rec[30], 2)
        self.assertEqual(struct.unpack_from("<H", rec, 36)[0], 7)

    def test_node_columns(self):
        r = m.read_node(m.split_fields(
            b'"5",3,9,2,11,12,0,0,0,0,0,18,name,1.5,2.5'), 14)
        self.assertEqual((m.code_key(r.code), r.attr, r.x, r.y),
                         (5.0, 3, 2500000, 0))
        self.assertEqual(m.code_key(r.partner), 9.0)
        self.assertEqual([m.code_key(c) for c in r.links],
                         [11, 12, 0, 0, 0, 0, 0, 18])

    def test_link_columns(self):
        r = m.read_link(m.split_fields(b"7,-1,10001,121,3,2,-2,5,6,,-5,1"),
                        14, 40, 15)
        self.assertEqual((r.kind, r.city, r.v3, r.v4, r.v5, r.v6),
                         (-1, 10001, 121, 3, 2, -2))
        self.assertEqual((r.speed_a, r.speed_b, r.flag), (40, 0, 1))
        # columns that are missing altogether take no default
        r = m.read_link(m.split_fields(b"7,1,1,1,1,1,1,5,6"), 14, 40, 15)
        self.assertEqual((r.speed_a, r.speed_b), (0, 0))
        raw = r.pack()
        self.assertEqual(raw, m.LinkRec.unpack(raw).pack())

    def test_name_columns(self):
        f = m.split_fields(b"5,2,9,2,,,,,,,,,Foo")
        self.assertEqual(m.read_name(f, 14, 13, 0, 2)[8:12], b"Foo\0")
        self.assertIsNone(m.read_name(f[:12], 14, 13, 0, 2))


class Turns(unittest.TestCase):
    LIMITS = (0.7071067811865476, -0.7071067811865475)

    def turn(self, a, j, b):
        return m.is_weighted_turn([a, j], [j, b], self.LIMITS)

    def test_turns(self):
        a, j = (-1.0, -1.0), (0.5, 0.5)
        # to the right by 90 degrees, then to the left by 90
        self.assertTrue(self.turn(a, j, (1.5, -0.5)))
        self.assertFalse(self.turn(a, j, (-0.5, 1.5)))
        # to the left by far more than 135
        self.assertTrue(self.turn(a, j, (-1.0, -0.5)))
        # nearly straight on
        self.assertFalse(self.turn(a, j, (1.5, 1.4)))
        # along an axis
        self.assertFalse(self.turn(a, j, (1.5, 0.5)))
        # no common end, too few points
        self.assertFalse(m.is_weighted_turn([a, j], [(8.0, 8.0), (9.0, 9.0)],
                                            self.LIMITS))
        self.assertFalse(m.is_weighted_turn(None, [a, j], self.LIMITS))
        # back along the same shape
        self.assertTrue(m.is_weighted_turn([a, j], [a, j], self.LIMITS))


CONTROL = (b"[SYSTEM]\r\nSILENTMODE=1\r\nLOG=1\r\nDEBUG=1\r\n%s"
           b"[FOLDER]\r\nCALCMAPDIR=out\r\n"
           b"[NODE]\r\nFILENUM=1\r\nFILE01=n.txt\r\n"
           b"[LINK]\r\nFILENUM=1\r\nFILE01=l.txt\r\n"
           b"[NODETRF]\r\nFILENUM=1\r\nFILE01=r.txt\r\n"
           b"[LINKTRF]\r\nFILENUM=1\r\nFILE01=o.txt\r\n"
           b"[LINKSPEED]\r\nFILENUM=1\r\nFILE01=s.txt\r\n")


class Builds(unittest.TestCase):
    """Nodes 11 - 12 - 13 in a row, 14 paired with 11."""

    NODES = (b"11,1,14,1,101\r\n12,1,0,2,0,101,102\r\n13,1,0,1,102\r\n"
             b"14,1,11,1,103\r\n15,1,0,1,101\r\n")
    LINKS = (b"101,1,7,100,1,1,1,11,12,60,30,0\r\n"
             b"102,1,8,100,1,1,1,12,13,60,30,0\r\n"
             b"103,3,9,50,1,1,1,14,13,60,30,0\r\n"
             b"104,3,9,50,1,1,1,14,99,60,30,0\r\n")

    def build(self, extra=b"", nodes=None, links=None, oneway=b"",
              speed=b"", rules=b""):
        save("control.ini", CONTROL % extra)
        save("r.txt", rules)
        save("n.txt", self.NODES if nodes is None else nodes)
        save("n.mid", b"")
        save("l.txt", self.LINKS if links is None else links)
        save("o.txt", oneway)
        save("s.txt", speed)
        os.makedirs("out", exist_ok=True)
        rc = m.main(["control.ini", "--log", "log.txt"])
        return rc, load("log.txt")

    def test_small(self):
        with folder():
            rc, log = self.build()
            self.assertEqual(rc, 0)
            self.assertIn(b"NodeStore=5, Killed Node=1,", log)
            self.assertIn(b"LinkStore=4 Killed Links=1,", log)
            self.assertIn(b"lnNumLinkStore=5 lnDummyCtr=1,", log)
            links = m.load_index(load("out/link.idx"))
            self.assertEqual([(e[0], e[1], e[2]) for e in links],
                             [(101.0, 0, 7), (102.0, 1, 8), (103.0, 2, 9),
                              (99000000000001.0, 3, 99000)])
            calc = load("out/mapcalc.dat")
            # node 12: the gap in front is closed
            self.assertEqual(struct.unpack_from("<8i", calc, 64),
                             (0, 2, -1, -1, -1, -1, -1, -1))
            self.assertEqual(struct.unpack_from("<2H", calc, 96),
                             (1200, 600))
            # 11: link 101, then the dummy link; a speed of 0 saturates only
            # where there is a length
            self.assertEqual(struct.unpack_from("<3i", calc, 0), (1, 3, -1))
            self.assertEqual(struct.unpack_from("<2H", calc, 32), (600, 0))
            # 11 has one real link, a toll road: the dummy does not count;
            # 13 does not list its link without flags
            self.assertEqual(load("out/nodeattr.dat"), b"\1\1\1\0")
            cities = [e[2] for e in m.load_index(load("out/node.idx"))]
            self.assertEqual(cities, [7, 7, 8, 9])

    def test_methods_agree(self):
        with folder():
            self.build(b"BUILDMETHOD=M\r\n")
            first = {f: load("out/" + f) for f in os.listdir("out")}
            rc, log = self.build(b"BUILDMETHOD=F\r\n")
            self.assertEqual(rc, 0)
            self.assertIn(b"*** file operation ***\r\nLoading Nodes(F)...", log)
            for f, data in first.items():
                if f != "linkdef.dat":
                    self.assertEqual(load("out/" + f), data, f)

    def test_dummy_of_one_side(self):
        # the partner does not name the node back: the memory build leaves
        # the store alone, the file build adds the link to it
        nodes = self.NODES.replace(b"14,1,11", b"14,1,0")
        with folder():
            self.build(b"BUILDMETHOD=M\r\n", nodes)
            a = load("out/nodestr.~wk")
            calc = load("out/mapcalc.dat")
            self.build(b"BUILDMETHOD=F\r\n", nodes)
            b = load("out/nodestr.~wk")
            self.assertEqual(load("out/mapcalc.dat"), calc)
            self.assertEqual(a[:3 * 96], b[:3 * 96])
            self.assertNotEqual(a, b)

    def test_speeds(self):
        with folder():
            _, log = self.build(speed=b"101,12,11,30,50,7\r\n"
                                      b"102,0,13,35,0\r\n"
                                      b"103,11,12,9,9\r\n888,0,0,1,1\r\n")
            self.assertIn(b"Setting Link Speed end OK : set counter = 2", log)
            data = load("out/linkstr.~wk")
            self.assertEqual(struct.unpack_from("<3H", data, 28), (7, 50, 50))
            self.assertEqual(struct.unpack_from("<3H", data, 76), (0, 35, 0))

    def test_one_way(self):
        with folder():
            self.build(oneway=b"102,13,12,2,0\r\n")
            rule = load("out/maprule.dat")
            # node 13 slot 0 leads to 12: its only occupied slot is barred
            self.assertEqual(rule[16:24], b"\x80" + b"\0" * 7)
            ends = load("out/linknode.idx")
            self.assertEqual(struct.unpack_from("<HH", ends, 16 + 8), (60, 0))
            calc = load("out/mapcalc.dat")
            self.assertEqual(struct.unpack_from("<H", calc, 128 + 32),
                             (0xFFFF,))

    def test_rules_at_a_parallel_link(self):
        # 104 lies beside 101: the slots of 12 lead to 11, 11 and 13
        nodes = (b"11,1,0,2,101,104\r\n12,1,0,3,101,104,102\r\n"
                 b"13,1,0,1,102\r\n")
        links = (b"101,1,7,100,1,1,1,11,12,60,30,0\r\n"
                 b"102,1,8,100,1,1,1,12,13,60,30,0\r\n"
                 b"104,1,9,50,1,1,1,12,11,60,30,0\r\n")
        with folder():
            self.build(nodes=nodes, links=links,
                       rules=b"12,101,102,2\r\n12,102,101,2\r\n"
                             b"12,104,101,2\r\n")
            self.assertEqual(load("out/maprule.dat")[8:16],
                             b"\x80\x20\x40" + b"\0" * 5)

    def test_rules_at_a_dummy_link(self):
        # 11 and 12 are partners beside link 101; the dummy link takes the
        # gap, so that the slots of 12 lead to 11, 11 and 13, or comes last
        nodes = (b"11,1,12,1,101\r\n12,1,11,%s\r\n13,1,0,1,102\r\n")
        links = (b"101,1,7,100,1,1,1,11,12,60,30,0\r\n"
                 b"102,1,8,100,1,1,1,12,13,60,30,0\r\n")
        for slots, want in ((b"3,101,0,102", b"\0\x20\x40"),
                            (b"2,101,102", b"\x40\x80\0")):
            with folder():
                self.build(nodes=nodes % slots, links=links,
                           rules=b"12,101,102,2\r\n12,102,101,2\r\n")
                self.assertEqual(load("out/maprule.dat")[8:16],
                                 want + b"\0" * 5)

    def test_duplicates(self):
        with folder():
            rc, log = self.build(nodes=self.NODES + b"13,1\r\n")
            self.assertEqual(rc, 1)
            self.assertIn(m.jp("[道路点 00000000000013 が重複しています。"), log)
            self.assertTrue(log.endswith(b"End Error.\r\n"))

    def test_connection_error(self):
        with folder():
            rc, log = self.build(
                nodes=self.NODES.replace(b"13,1,0,1,102",
                                         b"13,1,0,2,101,102"))
            self.assertEqual(rc, 1)
            self.assertIn(b"Error connection : Node=00000000000013 => "
                          b"Link=00000000000101\r\nEnd Error.\r\n", log)

    def test_too_few_nodes(self):
        with folder():
            rc, log = self.build(nodes=b"11,1\r\n")
            self.assertEqual(rc, 1)
            self.assertIn(m.jp("[データエラー]"), log)

    def test_code_length(self):
        with folder():
            rc, log = self.build(b"CODELENGTH=16\r\n")
            self.assertEqual(rc, 1)
            self.assertTrue(log.endswith(b"CODELENGTH=16\r\nSetting Node "
                                         b"Storage...\r\nEnd Error.\r\n"))

    def test_long_field(self):
        with folder():
            rc, _ = self.build(nodes=b"11," + b"1" * 64 + b"\r\n")
            self.assertEqual(rc, 134)

    def test_long_line_ends_file(self):
        with folder():
            rc, log = self.build(nodes=self.NODES +
                                 b",".join([b"1"] * 1100) + b"\r\n16,1\r\n")
            self.assertEqual(rc, 0)
            self.assertIn(b"Setting Node Storage end OK : set counter = 5",
                          log)


class MsrRecords(unittest.TestCase):
    def test_codes(self):
        pack = struct.pack
        self.assertEqual(m.area_code(3, 5.0, 14), pack("<d", 3000000000005.0))
        self.assertEqual(m.area_code(3, 5.0, 18),
                         pack("<q", 30000000000000005))
        self.assertEqual(m.area_code(3, 5.9, 18),
                         pack("<q", 30000000000000005))
        self.assertEqual(m.area_code(3, 0.0, 14), pack("<d", 3e12))
        self.assertEqual(m.area_code_or_zero(3, 0.0, 14), m.ZERO8)

    def test_points(self):
        r = m.read_droten(b'"3","5",70000,4,6,name,2,7,0,"8",,x', 18)
        self.assertEqual(r.code, struct.pack("<q", 30000000000000005))
        self.assertEqual(r.attr, 4464)
        self.assertEqual(r.partner, struct.pack("<q", 40000000000000006))
        self.assertEqual(r.links, [struct.pack("<q", v) for v in (
            30000000000000007, 0, 30000000000000008, 0, 0, 0, 0, 0)])
        self.assertEqual(m.read_droten(b"", 14).pack(), b"\0" * 96)

    def test_sections(self):
        r = m.read_dkukan(b"5,07,3,12,100,1,2,6,0,-4,0,-5,9," + b"x" * 99,
                          14, 40, 30)
        self.assertEqual(r.code, struct.pack("<d", 3000000000005.0))
        self.assertEqual((r.kind, r.city, r.v3, r.v4, r.v5, r.v6),
                         (7, 3012, 100, 1, 2, -4))
        self.assertEqual(r.a, struct.pack("<d", 3000000000006.0))
        self.assertEqual(r.b, m.ZERO8)
        self.assertEqual((r.speed_a, r.speed_b, r.flag), (40, 0, 9))
        self.assertEqual(m.read_dkukan(b"5,1,3,0", 14, 40, 30).city, 0)
        # a column that is missing takes no default
        self.assertEqual(m.read_dkukan(b"5,1,3,0", 14, 40, 30).speed_a, 0)
        with self.assertRaises(m.FieldOverflow):
            m.read_dkukan(b"5," + b"1" * 64, 14, 0, 0)

    def test_names(self):
        rec = m.read_kukanz(b'3,0,300,"' + b"a" * 25 + b'",7', 14)
        self.assertEqual(rec, struct.pack("<d", 3e12) + b"a" * 20 + b"\0\0" +
                         bytes([44, 0, 7, 0]) + bytes(6))
        self.assertIsNone(m.read_kukanz(b"3,5,1", 14))
        rec = m.read_droten_name(b"3,5,9,0,0,x", 14)
        self.assertEqual(rec[:8], struct.pack("<d", 3000000000005.0))
        self.assertEqual(rec[36:], bytes([9, 0, 0, 0]))

    def test_conditions(self):
        self.assertEqual(
            m.read_tukouj(b"3,5,6,7,2,9", 14),
            struct.pack("<3dHHI", 3000000000005.0, 3000000000006.0,
                        3000000000007.0, 0, 2, 0))
        for bad in (b"", b"AREA,1,2,3,2", b"0,1,2,3,2", b"3,0,2,3,2",
                    b"3,1,x,3,2", b"3,1,2"):
            self.assertIsNone(m.read_tukouj(bad, 14), bad)


class MsrBuild(unittest.TestCase):
    HEADER = b'Version 300\r\nCharset "Neutral"\r\nData\r\n'
    CONTROL = (b"[SYSTEM]\r\nFORMAT=msr\r\nDEBUG=1\r\n%s[FOLDER]\r\n"
               b"CALCMAPDIR=out\r\n[DROTEN]\r\nFILENUM=1\r\n"
               b"FILE01=p.mif\r\n[DKUKAN]\r\nFILENUM=1\r\nFILE01=s.csv\r\n"
               b"[TUKOUJ]\r\nFILENUM=1\r\nFILE01=t.csv\r\n")

    def build(self, extra=b"", mif=None, rules=b""):
        save("control.ini", self.CONTROL % extra)
        save("p.mif", self.HEADER + (b"Point 1 2\r\n    Symbol (1)\r\n"
                                     b"POINT 1.5 2\r\n" if mif is None
                                     else mif))
        save("p.mid", b"3,5,1,0,0,one,1,9\r\n3,6,1,0,0,,1,9\r\n")
        save("s.csv", b"LINK,KIND,AREA\r\n9,1,3,12,50,0,0,5,6,0,0,0,0\r\n")
        save("t.csv", rules)
        os.makedirs("out", exist_ok=True)
        rc = m.main(["control.ini", "--log", "log.txt"])
        return rc, load("log.txt")

    def test_build(self):
        with folder():
            save("t.csv", b"")
            rc, log = self.build(rules=b"3,5,9,9,2\r\n\r\n3,6,9,9,2\r\n")
            self.assertEqual(rc, 0)
            self.assertIn(b"Path One Start (MSR format) \r\nCODELENGTH=14\r\n"
                          b"Path Two Start. \r\n", log)
            self.assertEqual(len(load("out/linkstr.~wk")), 96)
            self.assertEqual(len(load("out/nnamestr.~wk")), 40)
            self.assertEqual(load("out/lnamestr.~wk"), b"")
            self.assertEqual(len(load("out/trafrule.~wk")), 32)
            self.assertEqual(struct.unpack("<dii", load("out/maploc.dat")[16:]),
                             (3000000000006.0, 1500000, 2000000))
            self.assertIn(b"[INFORMATION]\r\nCharset=Charset",
                          load("out/linkdef.dat"))

    def test_no_object(self):
        with folder():
            rc, log = self.build(mif=b"Point 1 2\r\nNONE\r\n")
            self.assertEqual(rc, 1)
            self.assertIn(m.jp("道路点オブジェクトがありません！\r\n") +
                          b"p.mid (rec=2)][Data Error in "
                          b"BRN_MSR_ReadDrotenRecord]", log)
            # without any object left the file just ends
            rc, log = self.build(mif=b"Point 1 2\r\n")
            self.assertEqual(len(load("out/nodestr.~wk")), 96)


class RandomNetworks(unittest.TestCase):
    def test_deterministic(self):
        with folder():
            for name in ("a", "b"):
                make_random.Maker("7", name).make()
            for f in os.listdir("a"):
                if os.path.isfile("a/" + f):
                    self.assertEqual(load("a/" + f), load("b/" + f), f)

    def test_builds(self):
        results = []
        for seed in range(1, 25):
            with folder():
                make_random.Maker(str(seed), ".").make()
                results.append(m.main(["control.ini", "--log", "log.txt"]))
        self.assertGreater(results.count(0), 15)

    def test_builds_msr(self):
        results = []
        for seed in range(1, 25):
            with folder():
                make_random.MsrMaker(str(seed), ".").make()
                results.append(m.main(["control.ini", "--log", "log.txt"]))
        self.assertGreater(results.count(0), 15)


if __name__ == "__main__":
    unittest.main()
