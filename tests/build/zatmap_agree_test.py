#!/usr/bin/env python3
"""zatmap check and zatmap build agree about random and broken data.

    python3 zatmap_agree_test.py --zatmap PROGRAM [--seeds FIRST:COUNT] [unittest arguments]

A seed makes a random network or takes a city, and breaks it in one place or in several: bytes,
fields, rows, line ends, whole files. Then it holds that

- check finds the same whether threads share a file or one reads it line by line,
- a build of data without errors succeeds and takes every record,
- data with errors do not make, byte for byte, the map of the data before they were broken.
"""

import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
MAKE = os.path.join(ROOT, "tests", "reference", "make_random.py")
CITIES = ("monaco", "hinata")
COUNTS = re.compile(r"(\d+) nodes, (\d+) links")
# Kinds that say that records do not get into the map, and are warnings all the same.
LEAVES_OUT = {"code-zero", "header-line", "node-unused", "node-link-missing", "code-reserved"}
# Errors that may leave the map as it was: a line lost whose link has another row of the kind, and a
# text that is no number and counts as the one that stood there.
MAY_CHANGE_NOTHING = {"lf-line-end", "cr-line-end", "code-text"}
BYTES = b',"\t \r\n\0.-+09eA;\x81\xe3\xff'
FIELDS = (b"", b"0", b"-1", b"99999", b"1.5", b"1e5", b"abc", b'"7"', b'"7', b" 7", b"+7",
          b"00000000000000007", b"123456789012345678901", b"181.0", b"7.1234567", b"-", b".",
          b"x" * 64, b"x" * 21, b"\xe3\x81\x82" * 2, b'""', b'"a""b"')


def break_bytes(rnd, data):
    """One byte less, more or another; a cut."""
    at = rnd.randrange(len(data))
    return rnd.choice((data[:at] + data[at + 1:],
                       data[:at] + bytes([rnd.choice(BYTES)]) + data[at:],
                       data[:at] + bytes([rnd.randrange(256)]) + data[at + 1:], data[:at]))


def break_rows(rnd, data):
    """A row twice, missing, with exchanged or replaced fields, other delimiters or line ends."""
    rows = data.split(b"\r\n")
    at = rnd.randrange(len(rows))
    fields = rows[at].split(b",")
    kind = rnd.randrange(7)
    if kind == 0:
        rows.insert(rnd.randrange(len(rows) + 1), rows[at])
    elif kind == 1:
        del rows[at]
    elif kind == 2:
        rnd.shuffle(fields)
        rows[at] = b",".join(fields)
    elif kind == 3:
        fields[rnd.randrange(len(fields))] = rnd.choice(FIELDS)
        rows[at] = b",".join(fields)
    elif kind == 4:
        rows.insert(at, rnd.choice((b"", b"CODE,X,Y", b'"', b"x" * 2047, b"x" * 2048)))
    elif kind == 5:
        rows[at] = rows[at].replace(b",", rnd.choice((b"\t", b";", b", ")))
    else:
        return data.replace(b"\r\n", rnd.choice((b"\n", b"\r")), rnd.choice((1, -1)))
    return b"\r\n".join(rows)


class Case:
    """The data of one seed in a folder."""

    def __init__(self, seed, folder):
        self.rnd = random.Random(seed)
        self.folder = folder
        if self.rnd.random() < 0.2:
            city = os.path.join(ROOT, "examples", self.rnd.choice(CITIES))
            for name in os.listdir(city):
                if os.path.isfile(os.path.join(city, name)):
                    shutil.copy(os.path.join(city, name), folder)
            for name in ("out", "out_mif"):
                os.makedirs(os.path.join(folder, name), exist_ok=True)
        else:
            layout = ["--msr"] if self.rnd.random() < 0.35 else []
            subprocess.run([sys.executable, MAKE, *layout, str(seed), folder], check=True,
                           stdout=subprocess.DEVNULL)
        names = sorted(os.listdir(folder))
        self.control = self.rnd.choice([n for n in names if n.endswith(".ini")])
        self.sources = [n for n in names if os.path.isfile(os.path.join(folder, n)) and
                        not n.endswith((".ini", ".md", ".def", ".json"))]

    def links(self):
        """Records of links in the source files."""
        with open(os.path.join(self.folder, self.control), encoding="cp932") as control:
            section = re.search(r"\[(?:LINK|DKUKAN)\]([^[]*)", control.read(), re.I)[1]
        mif = re.search(r"^MIF(?:OUTPUT)?=1", section, re.I | re.M)
        count = 0
        for name in re.findall(r"^FILE\d+=(.*)", section, re.I | re.M):
            path = os.path.join(self.folder, name.strip())
            if mif:
                path = os.path.splitext(path)[0] + ".mid"
            with open(path, "rb") as source:
                count += len(source.read().rstrip(b"\r\n").split(b"\r\n"))
        return count

    def damage(self):
        """Breaks some of the source files."""
        for name in self.rnd.sample(self.sources, min(len(self.sources),
                                                      self.rnd.choice((1, 1, 2)))):
            path = os.path.join(self.folder, name)
            with open(path, "rb") as source:
                data = source.read()
            for _ in range(self.rnd.choice((1, 1, 3))):
                if data:
                    data = self.rnd.choice((break_bytes, break_rows))(self.rnd, data)
            with open(path, "wb") as source:
                source.write(data)


class Agree(unittest.TestCase):
    """One test; its seeds are sub-tests."""

    zatmap = None
    seeds = range(0)

    def check(self, case, *options):
        """Exit status and output of a check."""
        done = self.zatmap.run("check", "--json", "--max", "0", *options, case.control,
                               cwd=case.folder)
        return done.status, done.out

    def test_threads(self):
        """The pieces that threads look at change nothing."""
        for seed in self.seeds:
            with self.subTest(seed=seed), tempfile.TemporaryDirectory() as folder:
                case = Case(seed, folder)
                case.damage()
                size = case.rnd.choice(("1", "100", "1000", "131072"))
                self.assertEqual(self.check(case, "--piece-size", size),
                                 self.check(case, "--piece-size", "0"))

    def build(self, case):
        """Whether a plain build succeeds, its map, its numbers of nodes and links, its messages."""
        outputs = [os.path.join(case.folder, name) for name in ("out", "out_mif")]
        for output in outputs:
            shutil.rmtree(output, ignore_errors=True)
            os.mkdir(output)
        done = self.zatmap.run(*zatmap.PLAIN, case.control, cwd=case.folder)
        counts = COUNTS.search(done.out)
        return (done.status == 0, [zatmap.map_files(output) for output in outputs],
                tuple(map(int, counts.groups())) if counts else None, done.err)

    def test_build(self):
        """What the check says of the data shows in their build."""
        for seed in self.seeds:
            with self.subTest(seed=seed), tempfile.TemporaryDirectory() as folder:
                case = Case(seed, folder)
                clean_errors = json.loads(self.check(case)[1])["errors"]
                clean = self.build(case)
                case.damage()
                shutil.rmtree(os.path.join(folder, "out"), ignore_errors=True)
                os.makedirs(os.path.join(folder, "out"))
                found = json.loads(self.check(case)[1])
                built = self.build(case)
                if found["errors"] == 0:
                    self.assertTrue(built[0], "no error, and the build fails: " + built[3])
                    if not LEAVES_OUT & set(found["kinds"]):
                        self.assertGreaterEqual(built[2][1], case.links(), "links are lost")
                elif clean_errors == 0 and clean[0] and built[0]:
                    kinds = sorted({f["kind"] for f in found["findings"]
                                    if f["severity"] == "error"})
                    # The files themselves would fill the screen.
                    self.assertFalse(clean[1] == built[1] and not set(kinds) <= MAY_CHANGE_NOTHING,
                                     "errors %s, and the map is that of clean data" % kinds)


def main():
    """Takes the options and runs the tests."""
    seeds = "1:20"
    arguments = sys.argv[1:]
    if "--seeds" in arguments:
        at = arguments.index("--seeds")
        seeds = arguments[at + 1]
        del arguments[at:at + 2]
    at = arguments.index("--zatmap")
    first, count = map(int, seeds.split(":"))
    Agree.seeds = range(first, first + count)
    Agree.zatmap = zatmap.Zatmap(arguments[at + 1])
    del arguments[at:at + 2]
    unittest.main(argv=[sys.argv[0], *arguments])


if __name__ == "__main__":
    main()
