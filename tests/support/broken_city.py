"""The city of examples/monaco with one fault, for the tests of zatmap check: Causes.expect names what
is found that the good city does not have, and nothing else may be shown."""

import argparse
import json
import os
import re
import sys
import unittest

import zatmap

OPTIONS = argparse.Namespace()
CITY = {}   # name to content
CLEAN = {}  # findings of the good city, by control file
TEXT, MIF = "control.ini", "control_mif.ini"
SEVERITIES = {}


def check(files, control, make=None, **options):
    """Exit status and findings; `make` may add to the folder what is no file."""
    with zatmap.scratch_folder() as folder:
        for name in ("out", "out_mif"):
            os.mkdir(os.path.join(folder, name))
        for name, content in files.items():
            zatmap.write(os.path.join(folder, name), content)
        if make is not None:
            make(folder)
        done = zatmap.Zatmap(OPTIONS.zatmap).run("check", "--json", "--max", "0", control,
                                                 cwd=folder, timeout=60, **options)
    found = [("%s:%d:%d" % (f["file"], f["record"], f["column"]), f["kind"], f["detail"])
             for f in json.loads(done.out)["findings"]]
    return done.status, found


def change_rows(name, change):
    """A fault that replaces the fields of every row; None leaves the row out."""
    def fault(files):
        rows = [change(row.split(b",")) for row in files[name].split(b"\r\n")[:-1]]
        files[name] = b"".join(b",".join(row) + b"\r\n" for row in rows if row is not None)
    return fault


def change_points(change):
    """A fault that replaces every point of a shape: two texts to one line."""
    def fault(files):
        files["linkshape.txt"] = re.sub(rb"(?m)^(-?\d+\.\d+),(-?\d+\.\d+)(?=\r$)",
                                        lambda m: change(m[1], m[2]), files["linkshape.txt"])
    return fault


def change(name, old, new, count=-1):
    def fault(files):
        assert old in files[name], (name, old)
        files[name] = files[name].replace(old, new, count)
    return fault


def content(name, make):
    def fault(files):
        files[name] = make(files[name])
    return fault


def both(*faults):
    def fault(files):
        for one in faults:
            one(files)
    return fault


def numbered(name):
    """A running number in front of each row, as programs write it."""
    counter = iter(range(1, 10000))
    return change_rows(name, lambda row: [b"%d" % next(counter)] + row)


class Causes(unittest.TestCase):
    maxDiff = None

    def expect(self, control, fault, *expected, make=None, **options):
        files = dict(CITY)
        fault(files)
        status, found = check(files, control, make, **options)
        new = [finding for finding in found if finding not in CLEAN[control]]
        self.assertEqual(new, list(expected))
        errors = any(SEVERITIES[kind] == "error" for _, kind, _ in expected)
        self.assertEqual(status, 1 if errors else 0)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--source", default=os.path.join(os.path.dirname(__file__), "..", ".."))
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    OPTIONS.zatmap = os.path.abspath(OPTIONS.zatmap)
    city = os.path.join(OPTIONS.source, "examples", "monaco")
    CITY.update((name, zatmap.read(os.path.join(city, name))) for name in os.listdir(city)
                if os.path.isfile(os.path.join(city, name)))
    kinds = json.loads(zatmap.Zatmap(OPTIONS.zatmap).run("check", "--kinds", "--json").out)
    SEVERITIES.update((info["kind"], info["severity"]) for info in kinds)
    CLEAN.update((control, set(check(dict(CITY), control)[1])) for control in (TEXT, MIF))
    unittest.main(argv=[sys.argv[0], *rest])
