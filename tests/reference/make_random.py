#!/usr/bin/env python3
"""Make a random road network with its control file, for comparing builds.

    python3 make_random.py [--msr] SEED OUTDIR

The source files are in the ZAT layout, or with --msr in the MSR layout. The
result depends on the seed and the layout only. OUTDIR gets the source files, a
control.ini with relative paths (take OUTDIR as the current folder to build)
and the output folder "out". About one seed in seven holds a fault that makes
the build fail or stop; the first line of the control file names it.
"""

import os
import random
import struct
import sys

WORDS = [b"Avenue", b"Rue", b"Main", b"St.", b"Bridge", b"Port", b"d'Azur",
         b"No.", b"Alt", b"N", b"Cross", b"Parking"]
WIDE = "表通橋本町ソ能予国道交差点東西南北市役所前アイウー".encode("cp932")
WIDE = [WIDE[i:i + 2] for i in range(0, len(WIDE), 2)]
KANA = bytes(range(0xB1, 0xDD))

FAULTS = ["dup_node", "dup_link", "zero_twice", "missing_file", "empty_nodes",
          "empty_links", "none_object", "few_objects", "no_data_line",
          "connection", "code_length", "no_folder", "no_class_file",
          "no_node_files", "no_link_files", "shape_short", "shape_dup",
          "shape_zero", "shape_empty", "no_mid", "long_field", "all_lost",
          "long_mid_line", "header_only"]


def fmt(v, rnd=None):
    """Millionths of a degree as text."""
    s = "%d.%06d" % divmod(abs(v), 1000000)
    if rnd and rnd.random() < 0.2:
        s = s.rstrip("0").rstrip(".") or "0"
    return (("-" if v < 0 else "") + s).encode()


MSR_FAULTS = ["dup_node", "dup_link", "zero_twice", "two_headers",
              "missing_file", "missing_file", "empty_nodes", "empty_links",
              "none_object", "few_objects", "no_data_line",
              "no_link_data_line", "connection", "code_length", "no_folder",
              "no_class_file", "no_node_files", "no_link_files",
              "shape_short", "shape_zero", "no_mid", "long_field", "all_lost",
              "long_mid_line", "header_only"]


class Maker:
    FORMAT = "ZAT"
    FAULTS = FAULTS

    def __init__(self, seed, folder):
        self.rnd = random.Random(seed)
        self.folder = folder
        self.seed = seed
        r = self.rnd
        self.length = r.choice([14, 14, 18])
        self.node_mif = r.random() < 0.4
        self.link_mif = r.random() < 0.4
        self.fault = None
        if r.random() < 0.15:
            self.fault = r.choice(self.FAULTS)
        self.keys = []          # control file: (section, [(key, value)])
        self.wild = r.choice([0.0, 0.02, 0.1, 0.3])

    def hit(self, p):
        return self.rnd.random() < p

    # -- text files --------------------------------------------------------

    def quote(self, f, always=False):
        return b'"' + f + b'"' if always or self.hit(self.wild) else f

    def rows(self, rows, sep=None):
        """Rows of fields as a text file."""
        r = self.rnd
        if sep is None:
            sep = r.choice([b",", b",", b",", b"\t", None])
        out = []
        for row in rows:
            if isinstance(row, bytes):
                out.append(row)
                continue
            line = b""
            for i, f in enumerate(row):
                if i:
                    line += sep or r.choice([b",", b"\t"])
                line += f
            out.append(line)
        data = b"".join(ln + b"\r\n" for ln in out)
        if out and out[-1] and self.hit(0.25):
            data = data[:-2]
        return data

    def save(self, name, data):
        with open(os.path.join(self.folder, name), "wb") as f:
            f.write(data)

    def section(self, name, keys):
        self.keys.append((name, keys))

    def file_section(self, name, files, extra=()):
        keys = [("FILENUM", len(files))]
        keys += [("FILE%02d" % (i + 1), f) for i, f in enumerate(files)]
        keys += list(extra)
        self.section(name, keys)

    def name(self):
        r = self.rnd
        kind = r.random()
        if kind < 0.35:
            out = b" ".join(r.choice(WORDS) for _ in range(r.randint(1, 5)))
        elif kind < 0.6:
            out = b"".join(r.choice(WIDE) for _ in range(r.randint(1, 15)))
        elif kind < 0.95:
            out = b""
            for _ in range(r.randint(1, 18)):
                pick = r.random()
                if pick < 0.5:
                    out += r.choice(WIDE)
                elif pick < 0.8:
                    out += bytes([r.choice(b"abcXYZ019 -/")])
                else:
                    out += bytes([r.choice(KANA)])
        else:
            out = b""
        return out.strip()[:40] if kind < 0.35 else out

    def name_field(self):
        n = self.name()
        if self.hit(self.wild * 0.3) and len(n) > 4 and n.isascii():
            return b'"' + n[:2] + self.rnd.choice(
                [b"\r\n", b"\n", b"\r", b"\r\n\r\n"]) + n[2:] + b'"'
        if self.hit(self.wild * 0.2) and len(n) > 4 and n.isascii():
            return b'"' + n[:3] + b"," + n[3:] + b'"'
        if self.hit(self.wild * 0.2) and n.isascii():
            return b'"' + n[:3] + b'""' + n[3:] + b'"'
        return self.quote(n, self.hit(0.5))

    def num(self, value):
        """A number as one of the ways to write it."""
        r = self.rnd
        s = b"%d" % value
        if self.hit(self.wild):
            s = r.choice([b" " + s, b"%03d" % value, s + b" ", s + b"x",
                          b"+" + s if value >= 0 else s, s + b".5"])
        return self.quote(s)

    def code(self, value):
        if value == 0:
            s = self.rnd.choice([b"0", b"0", b"", b"00000000000000"])
        else:
            s = b"%d" % value
            if self.hit(self.wild * 0.5):
                s = b"%0*d" % (self.length, value)
            elif self.hit(self.wild * 0.2):
                s = b" " + s
        return self.quote(s)

    def coord(self, v):
        s = fmt(v, self.rnd)
        if self.hit(self.wild * 0.2):
            s = self.rnd.choice([b"E" + s, s + b" deg", b" " + s, b"+" + s
                                 if v >= 0 else s, s + b"0", s + b"77",
                                 s.replace(b".", b""), b"5e-05", b"9" * 30,
                                 b"0" * 28 + s, b"", b"--1", s + b".5"])
        return self.quote(s)

    # -- the network -------------------------------------------------------

    def network(self):
        r = self.rnd
        self.n = int(round(5 * 80 ** r.random()))
        self.areas = 1 if self.n < 8 else r.choice([1, 1, 2, 3])
        style = r.choice(["area", "small", "big"])
        self.code_style = style

        def node_code(i):
            if style == "small":
                return 1000 + 3 * i
            if style == "big" and self.length == 18:
                return 100000000000000001 + 7 * i
            if style == "big":
                return 98000010000001 + 7 * i
            if self.length == 18:
                return (10 + i % 3) * 10 ** 16 + 10000001 + i
            return (10 + i % 3) * 10 ** 12 + 10000001 + i

        def link_code(i):
            if style == "small":
                return 500000 + 2 * i
            if style == "big" and self.length == 18:
                return 500000000000000001 + 3 * i
            if style == "big":
                return 98000020000001 + 3 * i
            if self.length == 18:
                return (10 + i % 3) * 10 ** 16 + 20000001 + i
            return (10 + i % 3) * 10 ** 12 + 20000001 + i

        order = list(range(self.n))
        if self.hit(0.5):
            r.shuffle(order)
        self.node_codes = [node_code(i) for i in order]
        base_x = r.choice([139700000, -74010000, 7400000, 0, -300])
        base_y = r.choice([35600000, 43700000, -33000000, 0, -300])
        side = max(2, int(self.n ** 0.5))
        step = r.choice([10, 300, 5000])
        self.xy = []
        for i in range(self.n):
            x = base_x + (i % side) * step
            y = base_y + (i // side) * step
            if not self.hit(0.2):
                x += r.randint(-step // 2, step // 2)
                y += r.randint(-step // 2, step // 2)
            if x == 0:
                x = 1
            if y == 0:
                y = 1
            self.xy.append((x, y))
        self.slots = [[] for _ in range(self.n)]
        self.links = []         # [code, a, b]

        def add(a, b):
            if len(self.slots[a]) >= 8 or len(self.slots[b]) >= 8:
                return
            if a == b and len(self.slots[a]) >= 7:
                return
            code = link_code(len(self.links))
            if self.length == 14 and self.hit(0.01):
                code = 99000000100000 + len(self.links)
            self.links.append([code, a, b])
            self.slots[a].append(code)
            if a != b or self.hit(0.4):
                self.slots[b].append(code)

        for i in range(self.n):
            for j, p in ((i + 1, 0.8), (i + side, 0.8), (i + side + 1, 0.15),
                         (i + side - 1, 0.1), (i, 0.02)):
                if j >= self.n or (j == i + 1 and j % side == 0):
                    continue
                if self.hit(p):
                    a, b = (i, j) if self.hit(0.5) else (j, i)
                    add(a, b)
                    while self.hit(0.05):
                        add(*((a, b) if self.hit(0.5) else (b, a)))
        while len(self.links) < 3:
            add(r.randrange(self.n), r.randrange(self.n))
        if self.hit(0.5):
            r.shuffle(self.links)
        if self.hit(0.5):
            for s in self.slots:
                r.shuffle(s)
        # slots that name unknown links, gaps, links left out
        for s in self.slots:
            if len(s) < 7 and self.hit(self.wild * 0.5):
                s.insert(r.randint(0, len(s)), r.choice([0, 777]))
            if s and self.hit(self.wild * 0.1):
                s.pop(r.randrange(len(s)))
            if self.hit(self.wild * 0.1):
                while len(s) < 8:
                    s.append(700 + len(s))
        if self.fault == "connection":
            for _ in range(r.randint(1, 2)):
                n = r.randrange(self.n)
                other = [k for k in self.links if n not in k[1:]]
                if other and len(self.slots[n]) < 8:
                    self.slots[n].append(r.choice(other)[0])
        # partners
        self.partner = [0] * self.n
        for _ in range(r.choice([0, 0, 1, 2, self.n // 8])):
            a, b = r.randrange(self.n), r.randrange(self.n)
            self.partner[a] = self.node_codes[b]
            how = r.random()
            if how < 0.6:
                self.partner[b] = self.node_codes[a]
            elif how < 0.7:
                self.partner[a] = 4242
            if self.hit(0.2):
                while len(self.slots[a]) < 8:
                    self.slots[a].append(900 + len(self.slots[a]))

    def area_of(self, node):
        return node * self.areas // self.n

    # -- nodes -------------------------------------------------------------

    def node_row(self, i, coords):
        r = self.rnd
        links = (self.slots[i] + [0] * 8)[:8]
        row = [self.code(self.node_codes[i]),
               self.num(r.choice([1, 2, 3, 4, 5, 6, 0, 65535, 70000, -1])
                        if self.hit(0.3) else 1),
               self.code(self.partner[i]), b"%d" % len(self.slots[i])]
        row += [self.code(c) for c in links]
        row.append(self.name_field() if self.hit(0.3) else
                   r.choice([b"", b'""']))
        if coords:
            row += [self.coord(self.xy[i][0]), self.coord(self.xy[i][1])]
            if self.hit(self.wild * 0.3):
                row.append(b"comment")
        if self.hit(self.wild * 0.4):
            keep = 12
            while keep > 4 and links[keep - 5] == 0:
                keep -= 1
            row = row[:r.randint(keep, len(row))]
        return row

    def nodes(self):
        r = self.rnd
        files = []
        named_mid = not self.node_mif and self.hit(0.2)
        coords = self.hit(0.6)
        zero_row = self.hit(0.1)
        for k in range(self.areas):
            ids = [i for i in range(self.n) if self.area_of(i) == k]
            rows = [self.node_row(i, coords and not self.node_mif)
                    for i in ids]
            points = [self.xy[i] for i in ids]
            if self.fault == "dup_node" and k == 0:
                rows.append(list(rows[0]))
                points.append(points[0])
            extra = 1 if zero_row and k == 0 else 0
            if self.fault == "zero_twice" and k == 0:
                extra = 2
            for _ in range(extra):
                at = r.randint(0, len(rows))
                rows.insert(at, r.choice([[b"0", b"1"], [b"", b"", b"1000"],
                                          [b"x" * 9, b"7"]]))
                points.insert(at, (1, 1))
            if self.hit(self.wild * 0.5):
                at = r.randint(0, len(rows))
                rows.insert(at, [self.code(31 + k), b"9", b"0", b"0"])
                points.insert(at, (5, 5))
            if self.fault == "empty_nodes":
                rows, points = [], []
            if self.fault == "long_field" and k == 0:
                rows[-1] = rows[-1] + [b"q" * r.choice([70, 200])]
            if self.node_mif:
                stem = "node%02d" % (k + 1)
                self.save(stem + ".mid", self.rows(rows, b","))
                self.save(stem + ".mif", self.node_mif_text(points))
                files.append(stem + ".mif")
            elif named_mid:
                files.append("nodes%02d.mid" % (k + 1))
                self.save(files[-1], self.rows(rows))
            else:
                files.append("nodes%02d.txt" % (k + 1))
                self.save(files[-1], self.rows(rows))
                mid = [row for row in rows if self.hit(0.3)]
                if not (self.fault == "no_mid" and k == self.areas - 1):
                    self.save("nodes%02d.mid" % (k + 1), self.rows(mid))
        if self.fault == "missing_file" and self.hit(0.2):
            files.append("nosuch.mif")
        if self.fault == "no_node_files":
            files = []
        self.file_section("NODE", files,
                          [("MIF", r.choice([1, 2]) if self.node_mif else 0)])

        if self.hit(0.7 if not self.node_mif else 0.2):
            rows = []
            for i in range(self.n):
                if self.hit(0.95):
                    rows.append([self.code(self.node_codes[i]),
                                 self.coord(self.xy[i][0]),
                                 self.coord(self.xy[i][1])])
                if self.hit(self.wild * 0.2):
                    rows.append([self.code(r.choice([5555, 0])), b"1", b"2"])
            if self.hit(self.wild * 0.3) and rows:
                rows.append(rows[-1][:2])
            if self.hit(0.3):
                r.shuffle(rows)
            if self.hit(self.wild * 0.2):
                rows.insert(r.randint(0, len(rows)), b",".join([b"1"] * 1100))
            if self.fault in ("dup_node", "zero_twice"):
                rows = []
            self.save("nodexy.txt", self.rows(rows))
            names = ["nodexy.txt"]
            if self.hit(0.2):
                names.append("nosuchxy.txt")
            if self.fault == "missing_file" and self.hit(0.2):
                names[0] = "nosuchxy.txt"
            self.file_section("NODEXY", names)

        if self.hit(0.6):
            names = []
            for k in range(r.randint(1, 2)):
                rows = []
                for i in range(self.n):
                    if self.hit(0.2):
                        rows.append([self.code(self.node_codes[i]),
                                     self.num(r.randint(0, 70000)),
                                     self.name_field()])
                        if self.hit(self.wild):
                            rows[-1] = rows[-1][:2]
                if self.hit(0.3):
                    rows.append([self.code(424242), b"1", b"nobody"])
                names.append("nodename%d.txt" % k)
                self.save(names[-1], self.rows(rows))
            if self.fault == "missing_file" and self.hit(0.2):
                names.append("nosuchname.txt")
            self.file_section("NODENAME", names)

    def header(self, what, cols):
        r = self.rnd
        out = [b"Version 300"]
        if self.hit(0.9):
            out.append(r.choice([b'Charset "WindowsJapanese"',
                                 b'Charset "Neutral"', b'charset "x"']))
        out.append(b'Delimiter ","')
        if self.hit(0.8):
            out.append(r.choice([b"CoordSys Earth Projection 1, 104",
                                 b"Coordsys Earth Projection 1, 1015",
                                 b"CoordSys Earth Projection 1, 152 Bounds "
                                 b"(-180, -90) (180, 90)"]))
        out.append(b"Columns %d" % cols)
        if self.hit(0.2):
            out.append(r.choice([b"  charset Char(10)",
                                 b"  UPDATE_DATA Integer",
                                 b"  DataSource Char(20)",
                                 b"  coordsys Char(3)"]))
        out += [b"  COL%d Char(20)" % i for i in range(cols)]
        if self.fault == "no_data_line":
            return out
        out.append(r.choice([b"Data", b"Data", b"DATA", b"data"]))
        if self.hit(0.8):
            out.append(b"")
        return out

    def lines(self, out):
        data = b"".join(ln + b"\r\n" for ln in out)
        return data[:-2] if out and out[-1] and self.hit(0.2) else data

    def node_mif_text(self, points):
        r = self.rnd
        if self.fault == "header_only":
            points = []
        out = self.header("node", 13)
        if self.fault == "no_data_line":
            return self.lines(out)
        style = self.hit(0.6)
        for i, (x, y) in enumerate(points):
            if self.fault == "none_object" and i == len(points) // 2:
                out.append(r.choice([b"none", b"NONE", b"None", b"Point 0 0"]))
                continue
            word = r.choice([b"Point", b"Point", b"POINT", b"point"])
            sep = b"," if self.hit(self.wild * 0.1) else b" "
            out.append(word + b" " + fmt(x, r) + sep + fmt(y, r))
            if style:
                out.append(b"    Symbol (35,0,12)")
            if self.hit(self.wild * 0.2):
                out.append(b"")
        if self.fault == "few_objects":
            out = out[:-3]
        return self.lines(out)

    # -- links -------------------------------------------------------------

    def speed(self):
        r = self.rnd
        if self.hit(0.7):
            return self.num(r.choice([20, 30, 40, 60, 80, 100]))
        return r.choice([b"0", b"", b"-5", b"1", b"9998", b"9999", b"10000",
                         b"10001", b"65535", b"65536", b"70000",
                         b"99999999999", b'""'])

    def kind_and_length(self):
        r = self.rnd
        kind = r.choice([1, 2, 3, 4, 5, 6, 7, 9, 0])
        if self.hit(0.03):
            kind = r.choice([98, 99, 100, -1, 32768, 65536 + 1])
        length = r.randint(1, 900)
        if self.hit(0.15):
            length = r.choice([0, 1, 65535, 65534, 3640, 3641, 70000, 30000,
                               -1])
        return kind, length

    def link_row(self, code, a, b, with_name):
        r = self.rnd
        kind, length = self.kind_and_length()
        row = [self.code(code), self.num(kind),
               self.num(r.choice([10001, 10002, 99000, 0, -5,
                                  3000000000, 13101])),
               self.num(length), self.num(r.randint(0, 9)),
               self.num(r.randint(0, 70000)), self.num(r.randint(-3, 9)),
               self.code(a), self.code(b), self.speed(), self.speed(),
               self.num(r.choice([0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, -1]))]
        if with_name:
            row += [self.num(r.choice([1, 2, 255, 256, 300])),
                    self.name_field()]
        if self.hit(self.wild * 0.3):
            row = row[:r.randint(9, len(row))]
            if self.hit(0.3):
                row.append(b"")
        return row

    def default_speeds(self):
        r = self.rnd
        if self.hit(0.8):
            keys = []
            if self.hit(0.9):
                keys.append(("SPEEDA", r.choice([20, 40, 0, 9999, -5,
                                                 70000])))
            if self.hit(0.9):
                keys.append(("SPEEDB", r.choice([15, 30, 0, 10000, -5])))
            self.section("DEFAULTSPEED", keys)

    def links_by_area(self):
        """Code, nodes and the nodes' codes in the row, of the links of each
        area."""
        per = [[] for _ in range(self.areas)]
        for code, a, b in self.links:
            ca, cb = self.node_codes[a], self.node_codes[b]
            if self.hit(self.wild * 0.2):
                if self.hit(0.5):
                    ca = self.rnd.choice([0, 4711])
                else:
                    cb = self.rnd.choice([0, 4712])
            if self.fault == "all_lost":
                cb = 4713
            per[self.area_of(a)].append((code, a, b, ca, cb))
        return per

    def links_files(self):
        r = self.rnd
        files = []
        with_name = self.link_mif or self.hit(0.3)
        per = self.links_by_area()
        zero_row = self.hit(0.1)
        for k in range(self.areas):
            rows = [self.link_row(c, ca, cb, with_name)
                    for c, a, b, ca, cb in per[k]]
            shapes = [(c, a, b) for c, a, b, ca, cb in per[k]]
            if self.fault == "dup_link" and k == 0 and rows:
                rows.append(list(rows[0]))
                shapes.append(shapes[0])
            extra = 1 if zero_row and k == 0 else 0
            if self.fault == "zero_twice" and k == 0:
                extra = r.choice([0, 2])
            for _ in range(extra):
                at = r.randint(0, len(rows))
                rows.insert(at, [b"0", b"3", b"10001", b"50", b"1", b"1",
                                 b"1", self.code(self.node_codes[0]),
                                 self.code(self.node_codes[1])])
                shapes.insert(at, (0, 0, 1))
            if self.fault == "empty_links":
                rows, shapes = [], []
            if self.fault == "long_mid_line" and k == 0 and rows:
                rows.insert(len(rows) // 2, b",".join([b"12"] * 800))
            stem = "link%02d" % (k + 1)
            if self.link_mif:
                self.save(stem + ".mid", self.rows(rows, b","))
                self.save(stem + ".mif", self.link_mif_text(shapes))
                files.append(stem + ".mif")
            else:
                self.save(stem + ".txt", self.rows(rows))
                files.append(stem + ".txt")
        if self.fault == "missing_file" and self.hit(0.2):
            files.append("nosuchlink.txt")
        if self.fault == "no_link_files":
            files = []
        self.file_section("LINK", files,
                          [("MIF", 1 if self.link_mif else 0)])
        self.default_speeds()
        self.per = per

        if self.hit(0.5):
            names = []
            for k in range(r.randint(1, 2)):
                rows = self.speed_rows()
                names.append("linkspeed%d.txt" % k)
                self.save(names[-1], self.rows(rows))
            if self.fault == "missing_file" and self.hit(0.2):
                names.append("nosuchspeed.txt")
            self.file_section("LINKSPEED", names)

        if self.hit(0.6):
            names = []
            for k in range(r.randint(1, 2)):
                rows = []
                for code, a, b in self.links:
                    if self.hit(0.4):
                        row = [self.code(code),
                               self.code(self.node_codes[a]),
                               self.num(r.choice([1, 2, 200, 300])),
                               self.name_field()]
                        if self.hit(self.wild * 0.3):
                            row = row[:3]
                        rows.append(row)
                if self.hit(0.3):
                    rows.append([self.code(4321), b"0", b"1", b"ghost"])
                names.append("linkname%d.txt" % k)
                self.save(names[-1], self.rows(rows))
            if self.fault == "missing_file" and self.hit(0.2):
                names.append("nosuchname.txt")
            self.file_section("LINKNAME", names)

    def speed_rows(self):
        r = self.rnd
        if self.fault in ("dup_link", "zero_twice") or self.hit(0.1):
            return []
        rows = []
        for code, a, b in self.links:
            if not self.hit(0.3):
                continue
            ca, cb = self.node_codes[a], self.node_codes[b]
            how = r.random()
            if how < 0.25:
                ca, cb = cb, ca
            elif how < 0.4:
                ca = cb = 0
            elif how < 0.5:
                ca = 0
            elif how < 0.6:
                cb = self.node_codes[r.randrange(self.n)]
            elif how < 0.65:
                code = r.choice([0, 987])
            row = [self.code(code), self.code(ca), self.code(cb),
                   self.speed(), self.speed(),
                   self.num(r.choice([1, 2, 65535, 70000, -1]))]
            if self.hit(self.wild * 0.3):
                row = row[:r.randint(1, 6)]
            rows.append(row)
        return rows

    # -- shapes ------------------------------------------------------------

    def shape(self, a, b):
        r = self.rnd
        (x1, y1), (x2, y2) = self.xy[a], self.xy[b]
        pts = [(x1, y1)]
        for _ in range(r.choice([0, 0, 1, 1, 2, 5])):
            t = r.random()
            pts.append((int(x1 + (x2 - x1) * t) + r.randint(-50, 50),
                        int(y1 + (y2 - y1) * t) + r.randint(-50, 50)))
            if self.hit(0.2):
                pts[-1] = (pts[-2][0], pts[-1][1])
        pts.append((x2, y2))
        if self.hit(0.15):
            pts.reverse()
        if self.hit(0.03):
            pts[-1] = (pts[-1][0] + 1, pts[-1][1])
        return pts

    def link_mif_text(self, shapes):
        r = self.rnd
        if self.fault == "header_only":
            shapes = []
        out = self.header("link", 14)
        if self.fault == "no_data_line" and not self.node_mif:
            return self.lines(out)
        if self.fault == "no_data_line":
            out.append(b"Data")
        style = self.hit(0.6)
        for i, (code, a, b) in enumerate(shapes):
            pts = self.shape(a, b)
            if self.fault == "shape_zero" and i == len(shapes) // 2:
                pts[-1] = (0, r.choice([0, 1000000]))
            if self.hit(self.wild * 0.1):
                out.append(r.choice([b"none", b"Point 1 2", b"PLINE 3",
                                     b"line 1 2 3 4", b"  Pline 2"]))
            fine = all(x and y for x, y in pts)
            if len(pts) == 2 and (fine or self.fault) and self.hit(0.7):
                out.append(b"Line " + b" ".join(fmt(x, r) + b" " + fmt(y, r)
                                                for x, y in pts))
            elif self.hit(0.02):
                out.append(r.choice([b"Pline 0", b"Pline Multiple 2",
                                     b"Pline"]))
            else:
                out.append(b"Pline %d" % len(pts))
                out += [fmt(x, r) + b" " + fmt(y, r) for x, y in pts]
            if style:
                out.append(b"    Pen (1,2,0)")
        if self.fault in ("few_objects", "shape_short"):
            out = out[:-3]
        return self.lines(out)

    def shape_text(self):
        r = self.rnd
        if self.link_mif and self.hit(0.9):
            return
        if self.hit(0.25) and not (self.fault or "").startswith("shape"):
            return
        names = []
        for k in range(self.areas):
            rows = []
            for code, a, b, _, _ in self.per[k]:
                if self.hit(0.05):
                    continue
                pts = self.shape(a, b)
                if self.hit(0.02):
                    pts = pts[:r.choice([0, 1])]
                count = len(pts)
                if self.hit(0.01):
                    pts, count = [], -1
                rows.append([self.code(code), self.num(count)
                             if count > 1 else b"%d" % count])
                rows += [[self.coord(x), self.coord(y)] for x, y in pts]
            if k == 0 and self.hit(0.3):
                rows.append([self.code(31337), b"2"])
                rows += [[b"1", b"2"], [b"3"]]
            if self.fault == "shape_dup" and k == 0 and self.per[0]:
                rows.append([self.code(self.per[0][0][0]), b"0"])
            if self.fault == "shape_short" and k == self.areas - 1:
                rows.append([self.code(31338), b"3"])
                rows.append([b"1", b"2"])
            if self.fault == "shape_empty":
                rows = []
            names.append("linkshape%02d.txt" % (k + 1))
            self.save(names[-1], self.rows(rows))
        if self.fault == "missing_file" and self.hit(0.2):
            names.append("nosuchshape.txt")
        self.file_section("LINKSHAPE", names)

    # -- traffic rules -----------------------------------------------------

    def traffic(self):
        r = self.rnd
        if self.hit(0.7):
            names = []
            for k in range(r.randint(1, 2)):
                rows = []
                for n in range(self.n):
                    mine = [c for c in self.slots[n] if c > 1000]
                    while mine and self.hit(0.4):
                        a, b = r.choice(mine), r.choice(mine)
                        node = self.node_codes[n]
                        how = r.random()
                        if how < 0.05:
                            a = r.choice(self.links)[0]
                        elif how < 0.1:
                            b = r.choice([0, 666, r.choice(self.links)[0]])
                        elif how < 0.13:
                            node = r.choice([0, 667])
                        kind = r.choice([2, 2, 2, 2, 1, 0, 3, 65538])
                        row = [self.code(node), self.code(a), self.code(b),
                               self.num(kind)]
                        if self.hit(self.wild * 0.3):
                            row = row[:3]
                        rows.append(row)
                if self.hit(0.1):
                    rows = []
                names.append("nodetrf%d.txt" % k)
                self.save(names[-1], self.rows(rows))
            if self.fault == "missing_file" and self.hit(0.3):
                names.append("nosuchrule.txt")
            self.file_section("NODETRF", names)
        if self.hit(0.8):
            names = []
            rate = r.choice([0.1, 0.4, 0.8])
            for k in range(r.randint(1, 2)):
                rows = []
                for code, a, b in self.links:
                    if not self.hit(rate):
                        continue
                    ca, cb = self.node_codes[a], self.node_codes[b]
                    how = r.random()
                    if how < 0.25:
                        ca, cb = cb, ca
                    elif how < 0.35:
                        ca = cb = 0
                    elif how < 0.4:
                        ca = r.choice([0, 668])
                    elif how < 0.45:
                        cb = self.node_codes[r.randrange(self.n)]
                    elif how < 0.5:
                        code = r.choice([0, 669])
                    f1, f2 = r.choice([(0, 2), (2, 0), (0, 2), (2, 0), (2, 2),
                                       (0, 0), (1, 3), (65538, 0)])
                    row = [self.code(code), self.code(ca), self.code(cb),
                           self.num(f1), self.num(f2)]
                    if self.hit(self.wild * 0.3):
                        row = row[:r.randint(1, 4)]
                    rows.append(row)
                names.append("linktrf%d.txt" % k)
                self.save(names[-1], self.rows(rows))
            if self.fault == "missing_file":
                names.append("nosuchoneway.txt")
            self.file_section("LINKTRF", names)
        if self.hit(0.3):
            self.section("TUKOUJ", [("NOTADDONEWAY", r.choice([0, 1, 2]))])

    # -- definitions -------------------------------------------------------

    def definitions(self):
        r = self.rnd
        for section, name in (("ATTRIBUTE", "class.txt"),
                              ("WIDTH", "width.txt")):
            how = r.random()
            if how < 0.5:
                continue
            if how < 0.6:
                self.section(section, [("FILENUM", 2), ("FILE01", name)])
                continue
            rows = []
            for i in range(r.randint(0, 12)):
                row = b"%02d," % i + self.name()
                if self.hit(0.3):
                    row = b'"%02d","' % i + self.name() + b'"'
                if self.hit(0.1):
                    row = b'%02d,"two\r\nlines"' % i
                if self.hit(0.1):
                    row = b""
                rows.append(row)
            if self.fault != "no_class_file":
                self.save(name, self.rows(rows))
            self.section(section, [("FILENUM", 1), ("FILE01", name)])
        if self.hit(0.6):
            num = r.choice([-1, 0, 1, 3, 5, 12])
            keys = [("NUMDEF", num)]
            for i in range(1, max(num, 0) + 1):
                if self.hit(0.85):
                    keys.append(("DEF%02d" % i,
                                 r.choice(["01", "02", "3", "07", "9", "99",
                                           "1,toll", '"4"', "x", ""])))
            self.section("TOLLROAD", keys)
        if self.hit(0.85):
            keys = []
            values = list(range(1, 9))
            if self.hit(0.7):
                r.shuffle(values)
            for i, key in enumerate(("HIGHWAY", "PAYROAD", "FERRY",
                                     "RAILROAD", "TOLLGATE")):
                if self.hit(0.85):
                    keys.append((key, r.choice([values[i], values[i],
                                                '"%d"' % values[i], 0, "",
                                                -1, "2x"])
                                 if self.hit(0.3) else values[i]))
            for new, old, i in (("PARKING", "AIR", 5),
                                ("PEDESTRIANWAY", "SHIP", 6)):
                if self.hit(0.6):
                    keys.append((new, r.choice([values[i], values[i], 0,
                                                ""])))
                if self.hit(0.6):
                    keys.append((old, values[7]))
            if self.hit(0.5):
                keys.append(("ICWEIGHT", r.choice([0, 1, 5])))
            if self.hit(0.5):
                keys.append(("RTWEIGHT", r.choice([0, 1])))
            if self.hit(0.5):
                keys.append(("RTWEIGHT_RIGHT", r.choice(
                    [0, 10, 45, 60, 90, 179, 180, 181, -45, "60.7"])))
            if self.hit(0.5):
                keys.append(("RTWEIGHT_LEFT", r.choice(
                    [0, 10, 90, 120, 135, 170, 180, 200, 360])))
            r.shuffle(keys)
            self.section("ROADFLAG", keys)

    # -- toll fare files ---------------------------------------------------

    def fares(self):
        r = self.rnd
        if not self.hit(0.3) or self.fault == "no_folder":
            return
        names = ["TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT",
                 "TR_NAME.DAT", "TR_LINK.DAT"]
        if self.hit(0.15):
            names.remove(r.choice(names))
        recs = b""
        for code, _, _ in self.links:
            if not self.hit(0.4):
                continue
            if self.hit(0.1):
                code = r.choice([0, 12, code + 1])
            raw = struct.pack("<d" if self.length == 14 else "<q", code)
            recs += raw + bytes(r.randrange(256) for _ in range(16))
            recs += struct.pack("<hB5s", r.choice([1, 1, 2, 0, -1, 300]),
                                r.choice([1, 1, 1, 0, 2, 255]), b"\x01" * 5)
        if self.hit(0.2):
            recs += b"tail"
        if self.hit(0.1):
            recs = b""
        for name in names:
            self.save(os.path.join("out", name),
                      recs if name == "TR_LINK.DAT" else b"x")
        if self.hit(0.95):
            text = b"; fare data\r\n[SYSTEM]\r\n"
            text += b"Version=3\r\nResult=" + r.choice(
                [b"OK", b"OK", b"OK", b"OK", b"ok", b"ERROR", b'"OK"'])
            text += b"\r\n"
            if self.hit(0.4):
                text += r.choice([b"ICFLAG=\r\n", b"icflag=ERROR\r\n",
                                  b"ICFLAG_ERROR=old\r\n"])
            if self.hit(0.3):
                text += b"\r\n[OTHER]\r\nKey=1\r\n"
            self.save(os.path.join("out", "PayData.Inf"), text)

    # -- all ---------------------------------------------------------------

    def sources(self):
        self.nodes()
        self.links_files()
        self.shape_text()
        self.traffic()

    def make(self):
        r = self.rnd
        os.makedirs(self.folder, exist_ok=True)
        if self.fault != "no_folder":
            os.makedirs(os.path.join(self.folder, "out"), exist_ok=True)
        self.network()
        keys = [("FORMAT", self.FORMAT), ("SILENTMODE", 1)]
        if self.hit(0.7):
            keys.append(("LOG", r.choice([0, 1, 1, 2])))
        if self.length == 18 or self.hit(0.7):
            keys.append(("CODELENGTH", self.length))
        if self.fault == "code_length":
            keys = keys[:2] + [("CODELENGTH", r.choice([0, 16, 15, "x"]))]
        if self.hit(0.35):
            keys.append(("DEBUG", 1))
        if self.hit(0.6):
            keys.append(("BUILDMETHOD", r.choice(["M", "F", "F", "m", "f",
                                                  ""])))
        self.section("SYSTEM", keys)
        self.section("FOLDER", [("CALCMAPDIR",
                                 r.choice(["out", "out", "out", "out/"]))])
        self.sources()
        self.definitions()
        self.fares()
        head = "; seed %s%s" % (self.seed,
                                ", fault %s" % self.fault if self.fault
                                else "")
        lines = [head]
        groups = self.keys[:1] + r.sample(self.keys[1:], len(self.keys) - 1)
        for name, keys in groups:
            lines.append("[%s]" % (name.lower() if self.hit(0.1) else name))
            for k, v in keys:
                eq = " = " if self.hit(0.05) else "="
                lines.append("%s%s%s" % (k.lower() if self.hit(0.05) else k,
                                         eq, v))
            if self.hit(0.2):
                lines.append("")
        self.save("control.ini", "".join(ln + "\r\n" for ln in
                                         lines).encode("cp932"))


class MsrMaker(Maker):
    """The MSR layout: numbers count within an area, and a link and its two
    nodes lie in one area; areas meet in pairs of partner nodes."""

    FORMAT = "MSR"
    FAULTS = MSR_FAULTS

    def __init__(self, seed, folder):
        super().__init__(seed, folder)
        self.node_mif = True
        self.mif_output = self.hit(0.5)
        if self.hit(0.1):
            self.FORMAT = "msr"

    def network(self):
        r = self.rnd
        super().network()
        self.areas = 1 if self.n < 8 else r.choice([1, 2, 2, 3, 4])
        pool = [1, 3, 9, 10, 11, 13, 47, 60, 99, 99, 100, 250]
        self.area_numbers = r.sample(pool, self.areas)
        if self.hit(0.05):
            self.area_numbers[0] = 0
        unit = 10 ** (16 if self.length == 18 else 12)
        style = r.choice(["small", "usual", "usual", "big"])
        self.own_start = self.hit(0.5)
        self.number = {}        # code: (area number, number within it)
        used = [0] * self.areas

        def code(area, base):
            k = used[area] if self.own_start else sum(used)
            used[area] += 1
            if style == "small":
                number = 1 + 2 * k + (base == 2)
            elif style == "usual":
                number = base * 10000000 + 1 + k
            else:
                number = base * (10 ** 15 if self.length == 18 else
                                 10 ** 11) + 3 * k + 1
            full = self.area_numbers[area] * unit + number
            self.number[full] = (self.area_numbers[area], number)
            return full

        old_codes = self.node_codes
        self.node_codes = [code(self.area_of(i), 1) for i in range(self.n)]
        node_map = dict(zip(old_codes, self.node_codes))
        self.partner = [node_map.get(p, p) for p in self.partner]
        links, link_map = [], {}
        for old, a, b in self.links:
            if self.area_of(a) != self.area_of(b):
                if self.hit(0.8):
                    self.partner[a] = self.node_codes[b]
                    self.partner[b] = self.node_codes[a]
                    if self.hit(self.wild):
                        self.partner[r.choice([a, b])] = r.choice(
                            [0, self.area_numbers[-1] * unit + 4242])
                link_map[old] = 0
                continue
            link_map[old] = code(self.area_of(a), 2)
            links.append([link_map[old], a, b])
        self.links = links
        drop = self.hit(0.8)
        self.slots = [[link_map.get(c, c) for c in s
                       if not (drop and link_map.get(c) == 0)]
                      for s in self.slots]
        for area in range(self.areas):
            if not any(self.area_of(a) == area for _, a, _ in links):
                a = self.any_node(area)
                links.append([code(area, 2), a, a])

    def any_node(self, area):
        return next(i for i in range(self.n) if self.area_of(i) == area)

    def split(self, code, area):
        """A code's area number and its number within the area."""
        return self.number.get(code, (area, code if code < 10 ** 9 else 0))

    def local(self, code, area=0):
        """A code's number within its area as text."""
        r = self.rnd
        number = self.split(code, area)[1]
        if number and self.hit(self.wild * 0.3):
            s = r.choice([b"%d.0", b" %d", b"+%d", b"%dx", b"%d ", b"0%d",
                          b"%d."]) % number
            return self.quote(s)
        if number == 0 and self.hit(self.wild):
            return r.choice([b"", b'""', b"x", b"0.0", b"000", b"-", b" "])
        return self.quote(b"%d" % number)

    def area_text(self, area):
        r = self.rnd
        if self.hit(self.wild * 0.3):
            return self.quote(r.choice([b"%02d", b" %d", b"+%d", b"%d.9",
                                        b"%dx", b"%03d"]) % area)
        return self.quote(b"%d" % area)

    def header_line(self, columns):
        r = self.rnd
        quoted = r.random() < 0.5
        return [self.quote(c, quoted) for c in columns]

    def sep(self):
        return self.rnd.choice([b",", b",", b",", b",", b"\t", None])

    # -- road points -------------------------------------------------------

    def droten_row(self, i, area):
        r = self.rnd
        links = (self.slots[i] + [0] * 8)[:8]
        partner = self.partner[i]
        if partner == 4242:
            other = r.choice([area, 77, 0])
        elif partner:
            other = partner // 10 ** (16 if self.length == 18 else 12)
        else:
            other = r.choice([0, 0, area, 12])
        if partner in self.number:
            other, partner_text = self.number[partner][0], self.local(partner)
        else:
            partner_text = self.local(4242 if partner else 0)
        row = [self.area_text(area), self.local(self.node_codes[i]),
               self.num(r.choice([1, 2, 3, 4, 5, 6, 0, 65535, 70000, -1])
                        if self.hit(0.3) else 1),
               self.area_text(other), partner_text,
               self.name_field() if self.hit(0.4) else r.choice([b"", b'""']),
               b"%d" % len(self.slots[i])]
        row += [self.local(c, area) for c in links]
        if self.hit(self.wild * 0.3):
            row.append(b"comment")
        if self.hit(self.wild * 0.4):
            keep = 15
            while keep > 7 and links[keep - 8] == 0:
                keep -= 1
            row = row[:r.randint(keep if keep > 7 else 5, len(row))]
        return row

    def nodes(self):
        r = self.rnd
        files = []
        zero_row = self.hit(0.1)
        for k in range(self.areas):
            area = self.area_numbers[k]
            ids = [i for i in range(self.n) if self.area_of(i) == k]
            rows = [self.droten_row(i, area) for i in ids]
            points = [self.xy[i] for i in ids]
            if self.fault == "dup_node" and k == 0:
                rows.append(list(rows[0]))
                points.append(points[0])
            extra = 1 if zero_row and k == 0 else 0
            if self.fault == "zero_twice" and k == 0:
                extra = 2
            for _ in range(extra):
                at = r.randint(0, len(rows))
                rows.insert(at, r.choice([
                    [b"10", b"0"], [b"AREA", b"NODECODE", b"ATTR", b"AREA2",
                                    b"NODE2", b"NAME"], [b""],
                    [b"10", b"0.0", b"1", b"11", b"5", b"zero"]]))
                points.insert(at, (1, 1))
            if self.hit(self.wild * 0.5):
                at = r.randint(0, len(rows))
                rows.insert(at, [self.area_text(r.choice([area, 61 + k])),
                                 b"31%d" % k, b"9", b"0", b"0", b"alone"])
                points.insert(at, (5, 5))
            if self.fault == "empty_nodes":
                rows, points = [], []
            if self.fault == "long_field" and k == 0:
                rows[-1] = rows[-1] + [b"q" * r.choice([64, 70, 200])]
            if self.hit(self.wild * 0.2) and rows:
                rows[-1] = rows[-1] + [b"q" * 63]
            if self.hit(0.03):
                rows += [[b"99", b"7%d" % i] for i in range(3)]
            stem = r.choice(["droten%02d", "DROTEN%02d", "dro.ten%02d"])
            stem = stem % (k + 1)
            if not (self.fault == "no_mid" and k == self.areas - 1 and
                    not self.mif_output):
                self.save(stem + ".mid", self.rows(rows, self.sep()))
            self.save(stem + ".mif", self.node_mif_text(points))
            files.append(stem + ".mif")
        if self.fault == "missing_file" and self.hit(0.2):
            files.append("nosuch.mif")
        if self.fault == "no_node_files":
            files = []
        self.file_section("DROTEN", files)

    # -- road sections -----------------------------------------------------

    DKUKAN = [b"LINKCODE", b"ROADKIND", b"AREA", b"CITY", b"LENGTH", b"LEVEL",
              b"LANES", b"NODEA", b"NODEB", b"WIDTH", b"SPEEDA", b"SPEEDB",
              b"ROADFLAG"]

    def dkukan_row(self, code, a, b, area):
        r = self.rnd
        kind, length = self.kind_and_length()
        row = [self.local(code), self.num(kind), self.area_text(area),
               self.num(r.choice([1, 12, 101, 999, 1000, 0, -5, 2000000000])),
               self.num(length), self.num(r.randint(0, 9)),
               self.num(r.randint(0, 70000)), self.local(a, area),
               self.local(b, area), self.num(r.randint(-3, 9)),
               self.speed(), self.speed(),
               self.num(r.choice([0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, -1]))]
        if self.hit(self.wild * 0.3):
            row = row[:r.randint(9, len(row))]
        if self.hit(self.wild * 0.3) and len(row) == 13:
            row += [r.choice([b"extra", b"", b"l" * 63, b"l" * 64,
                              b"l" * 300]), b"1"]
        if self.mif_output and b"" == row[0]:
            row[0] = b"0"
        return row

    def sections(self):
        r = self.rnd
        files = []
        header = self.hit(0.4)
        per = self.links_by_area()
        for k in range(self.areas):
            area = self.area_numbers[k]
            rows = [self.dkukan_row(c, ca, cb, area)
                    for c, a, b, ca, cb in per[k]]
            shapes = [(c, a, b) for c, a, b, ca, cb in per[k]]
            if self.fault == "dup_link" and k == 0:
                rows.append(list(rows[0]))
                shapes.append(shapes[0])
            if self.fault == "empty_links":
                rows, shapes = [], []
            top = 1 if header and k == 0 else 0
            if self.fault in ("two_headers", "zero_twice") and k == 0:
                top = 2
            for _ in range(top):
                at = 0 if self.hit(0.8) else r.randint(0, len(rows))
                rows.insert(at, r.choice([
                    self.header_line(self.DKUKAN), b"", [b"", b""],
                    [b"0", b"1", b"12", b"7", b"100"],
                    self.header_line(self.DKUKAN)]))
                shapes.insert(at, (0, 0, 0))
            if self.fault == "long_mid_line" and k == 0:
                rows.insert(len(rows) // 2, b",".join([b"12"] * 800))
            if self.fault == "long_field" and k == 0 and self.hit(0.5):
                at = r.randrange(len(rows))
                if not isinstance(rows[at], bytes):
                    rows[at][min(len(rows[at]), 13) - 1] = b"7" * 64
            if self.mif_output:
                stem = "dkukan%02d" % (k + 1)
                if not (self.fault == "no_mid" and k == self.areas - 1):
                    self.save(stem + ".mid", self.rows(rows, self.sep()))
                self.save(stem + ".mif", self.link_mif_text(shapes))
                files.append(stem + ".mif")
            else:
                files.append(r.choice(["DKUKAN%02d.CSV", "dkukan%02d.csv",
                                       "dkukan%02d"]) % (k + 1))
                self.save(files[-1], self.rows(rows, self.sep()))
        if self.fault == "missing_file" and self.hit(0.2):
            files.append("nosuchlink.csv")
        if self.fault == "no_link_files":
            files = []
        extra = []
        if self.mif_output:
            extra = [("MIFOUTPUT", r.choice([1, 1, 2, -1]))]
        elif self.hit(0.3):
            extra = [("MIFOUTPUT", 0)]
        self.file_section("DKUKAN", files, extra)
        self.default_speeds()
        self.per = per

    def link_mif_text(self, shapes):
        if self.fault == "no_link_data_line":
            return self.lines([b"Version 300", b'Charset "Neutral"',
                               b"CoordSys Earth Projection 1, 1"])
        return super().link_mif_text(shapes)

    def section_names(self):
        r = self.rnd
        if not self.hit(0.8):
            return
        names = []
        for k in range(r.choice([1, 1, 2, 3])):
            rows = []
            if self.hit(0.3):
                rows.append(self.header_line([b"AREA", b"LINKCODE", b"KIND",
                                              b"NAME", b"LEVEL"]))
            for code, a, b in self.links:
                if not self.hit(0.5):
                    continue
                area = self.number[code][0]
                row = [self.area_text(area), self.local(code),
                       self.num(r.choice([1, 2, 255, 256, 300, -1])),
                       self.name_field(),
                       self.num(r.choice([0, 1, 5, 65535, 70000, -1]))]
                if self.hit(self.wild * 0.3):
                    row = row[:r.randint(3, 4)]
                rows.append(row)
            if self.hit(0.3):
                at = r.randint(0, len(rows))
                rows.insert(at, [b"%d" % r.choice(self.area_numbers), b"0",
                                 b"1", b"whole area", b"2"])
            if self.hit(0.2):
                rows.append([b"77", b"4321", b"1", b"ghost", b"1"])
            if self.hit(0.1):
                rows = []
            if self.hit(0.5):
                r.shuffle(rows)
            names.append("kukanz%d.csv" % k)
            self.save(names[-1], self.rows(rows, self.sep()))
        if self.fault == "missing_file" and self.hit(0.3):
            names.insert(r.randint(0, len(names)), "nosuchname.csv")
        self.file_section("KUKANZ", names)

    # -- traffic conditions ------------------------------------------------

    def conditions(self):
        r = self.rnd
        keys = []
        if self.hit(0.2):
            keys = [("NOTADDONEWAY", r.choice([0, 1, 2]))]
        if not self.hit(0.85):
            if keys or self.hit(0.5):
                self.file_section("TUKOUJ", [], keys)
            return
        names = []
        for k in range(r.choice([1, 1, 2, 3])):
            rows = []
            for n in range(self.n):
                area = self.area_numbers[self.area_of(n)]
                mine = [c for c in self.slots[n] if c in self.number]
                node = self.node_codes[n]
                # one-way: no turn into one of the links
                if mine and self.hit(0.3):
                    out = r.choice(mine)
                    for c in mine:
                        if c != out or self.hit(0.8):
                            rows.append((area, node, c, out, 2))
                while mine and self.hit(0.4):
                    a, b = r.choice(mine), r.choice(mine)
                    how = r.random()
                    if how < 0.05:
                        a = r.choice(self.links)[0]
                    elif how < 0.1:
                        b = r.choice([666, r.choice(self.links)[0]])
                    kind = r.choice([2, 2, 2, 2, 1, 0, 3, 65538])
                    rows.append((area, node, a, b, kind))
            texts = []
            for area, node, a, b, kind in rows:
                row = [self.area_text(area), self.local(node),
                       self.local(a, area), self.local(b, area),
                       self.num(kind)]
                if self.hit(self.wild * 0.1):
                    row = row[:4]
                if self.hit(self.wild * 0.1):
                    row += [b"note", b"2"]
                texts.append(row)
            if self.hit(0.1):
                texts.insert(0, self.header_line([b"AREA", b"NODE", b"IN",
                                                  b"OUT", b"KIND"]))
            if self.hit(0.2) and texts:
                # a line that ends the file
                at = r.randint(len(texts) // 2, len(texts))
                texts.insert(at, r.choice([
                    b"", [b"0", b"1", b"2", b"3", b"2"],
                    [b"-1", b"1", b"2", b"3", b"2"], [b"3", b"0", b"2", b"3"],
                    [b"3", b"1", b"x", b"3", b"2"], [b"3", b"1", b"2"],
                    b",".join([b"3"] * 300), b'"']))
            names.append("tukouj%d.csv" % k)
            self.save(names[-1], self.rows(texts, self.sep()))
        if self.fault == "missing_file" and self.hit(0.5):
            names.insert(r.randint(0, len(names)), "nosuchrule.csv")
        self.file_section("TUKOUJ", names, keys)

    def fares(self):
        full = self.links
        self.links = [k for k in self.links if k[0] < 2 ** 62]
        super().fares()
        self.links = full

    def stale(self):
        """Work stores that an earlier run left behind."""
        r = self.rnd
        if self.fault == "no_folder" or not self.hit(0.2):
            return
        for name in ("nodestr.~wk", "linkstr.~wk", "nnamestr.~wk",
                     "lnamestr.~wk", "trafrule.~wk", "onewayst.~wk"):
            if self.hit(0.5):
                self.save(os.path.join("out", name),
                          bytes(r.randrange(256) for _ in range(480)))

    def sources(self):
        self.nodes()
        self.sections()
        self.section_names()
        self.conditions()
        self.stale()


def main():
    words = sys.argv[1:]
    maker = Maker
    if words[:1] == ["--msr"]:
        maker = MsrMaker
        words = words[1:]
    if len(words) != 2:
        sys.stderr.write("usage: make_random.py [--msr] SEED OUTDIR\n")
        return 2
    maker(words[0], words[1]).make()
    return 0


if __name__ == "__main__":
    sys.exit(main())
