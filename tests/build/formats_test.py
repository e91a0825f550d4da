#!/usr/bin/env python3
"""One road network in several layouts makes one map.

    formats_test.py --zatmap PATH FOLDER[:CONTROL.INI] ...
    formats_test.py --zatmap PATH --pair FOLDER ZAT.INI MSR.INI

First form: the control file (default: every *.ini of the folder) describes data in the MSR layout. Its
sources are rewritten in the ZAT layouts, and both are built, with codes of 14 and of 18 digits. After
the codes have been mapped the maps are equal byte for byte, and the logs of the second half line for
line, but for

  linkdef.dat   line 2, the date; CODELENGTH, where the lengths differ
  linkname.dat  bytes 24 and 25 of each record, the value of a name: the ZAT layouts have no column for it
  shapedat.inf  MaxShapeLink, a code

Second form: both control files describe the same network, but the ZAT one may have files for which the
MSR layout has no place: [LINKSPEED], and one-way links as [LINKTRF] (in the MSR data every turn into a
one-way link's wrong end is prohibited). The maps are equal but for what is named above, and for

  linkdef.dat   [INFORMATION], where the ZAT nodes are no MIF files
  linknode.idx  speeds (bytes 8 to 11) of links that a speed row names, and of all links at nodes with a
                dummy link, a loop or a neighbour that they have twice: the MSR layout cannot name a turn
                from a dummy link, and of several links to one neighbour a turn takes the first and a
                one-way link the last
  mapcalc.dat   costs (bytes 32 to 47) of connections along such links
  maprule.dat   turns from or to such a connection
  shapes        where only one of the two has them

Exit status 0: all is as said."""
import argparse
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

SHAPES = ["rtweight.dat", "shapedat.dat", "shapedat.inf", "shapedbl.idx"]
NETWORK = ["link.idx", "linkdef.dat", "linkname.dat", "linknode.idx", "mapattr.dat", "mapcalc.dat",
           "mapdraw.dat", "maploc.dat", "maprule.dat", "node.idx", "nodeattr.dat", "nodelink.idx",
           "nodename.dat"]
# File: size of a record that begins with a code.
CODES = {"maploc.dat": 16, "node.idx": 16, "link.idx": 16, "mapdraw.dat": 32, "shapedbl.idx": 16}
UNIT = {14: 10 ** 12, 18: 10 ** 16}


class Difference(Exception):
    pass


def check(condition, text):
    if not condition:
        raise Difference(text)


# ---- Control files and sources -------------------------------------------------------------------

class Control:
    def __init__(self, path):
        self.sections = {}
        inside = {}
        for line in path.read_bytes().decode("cp932").splitlines():
            line = line.strip()
            if line.startswith("["):
                inside = self.sections.setdefault(line[1:line.index("]")].upper(), {})
            elif "=" in line and not line.startswith(";"):
                key, value = line.split("=", 1)
                inside[key.strip().upper()] = value.strip()

    def get(self, section, key, default=""):
        return self.sections.get(section, {}).get(key, default)

    def files(self, section):
        return [self.get(section, "FILE%02d" % (i + 1))
                for i in range(int(self.get(section, "FILENUM", "0")))]

    def write(self, path):
        text = "".join("[%s]\r\n%s" % (name, "".join("%s=%s\r\n" % item for item in keys.items()))
                       for name, keys in self.sections.items())
        path.write_bytes(text.encode("cp932"))

    def set_files(self, section, names, **more):
        keys = {"FILENUM": str(len(names)), **{k: str(v) for k, v in more.items()}}
        keys.update(("FILE%02d" % (i + 1), name) for i, name in enumerate(names))
        self.sections[section] = keys


def rows(path):
    """The fields of each line as bytes, quotes at their edges dropped."""
    lines = path.read_bytes().split(b"\r\n")
    if lines[-1] == b"":
        lines.pop()
    for line in lines:
        yield [re.sub(rb'^"|"$', b"", field) for field in line.split(b",")]


def number(fields, column):
    match = re.match(rb"\s*([+-]?\d+)", fields[column]) if column < len(fields) else None
    return int(match.group(1)) if match else 0


def text(fields, column):
    return fields[column] if column < len(fields) else b""


def to_zat(folder, control, length):
    """Writes the sources of an MSR control file in the ZAT layouts; returns their control file."""
    unit = UNIT[length]
    mif = control.get("DKUKAN", "MIFOUTPUT", "0") not in ("", "0")
    zat = Control.__new__(Control)
    zat.sections = {name: dict(keys) for name, keys in control.sections.items()
                    if name not in ("DROTEN", "DKUKAN", "KUKANZ")}
    zat.sections["SYSTEM"].update(FORMAT="ZAT", CODELENGTH=str(length))
    zat.sections["TUKOUJ"] = {"NOTADDONEWAY": control.get("TUKOUJ", "NOTADDONEWAY", "0")}

    def save(name, lines):
        (folder / name).write_bytes(b"".join(b",".join(line) + b"\r\n" for line in lines))
        return name

    def digits(value):
        return b"%d" % value

    def code(area, value):
        return digits(area * unit + value if value else 0)

    nodes = []
    for i, name in enumerate(control.files("DROTEN")):
        lines = []
        for f in rows((folder / name).with_suffix(".mid")):
            area = number(f, 0)
            lines.append([code(area, number(f, 1)), digits(number(f, 2)),
                          code(number(f, 3), number(f, 4)), b"0"] +
                         [code(area, number(f, 7 + s)) for s in range(8)] + [text(f, 5)])
        save("zatnode%d.mid" % i, lines)
        shutil.copyfile(folder / name, folder / ("zatnode%d.mif" % i))
        nodes.append("zatnode%d.mif" % i)
    zat.set_files("NODE", nodes, MIF=1)

    links = []
    for i, name in enumerate(control.files("DKUKAN")):
        lines = []
        for f in rows((folder / name).with_suffix(".mid") if mif else folder / name):
            area, city = number(f, 2), number(f, 3)
            city += area * 1000 if city >= 1 else 0
            lines.append([code(area, number(f, 0)), digits(number(f, 1)), digits(city)] +
                         [digits(number(f, k)) for k in (4, 5, 6, 9)] +
                         [code(area, number(f, 7)), code(area, number(f, 8))] +
                         [digits(number(f, k)) for k in (10, 11, 12)])
        if mif:
            save("zatlink%d.mid" % i, lines)
            shutil.copyfile(folder / name, folder / ("zatlink%d.mif" % i))
            links.append("zatlink%d.mif" % i)
        else:
            links.append(save("zatlink%d.txt" % i, lines))
    zat.set_files("LINK", links, MIF=int(mif))
    zat.set_files("LINKNAME", [
        save("zatname%d.txt" % i, [[digits(number(f, 0) * unit + number(f, 1)), b"",
                                    digits(number(f, 2)), text(f, 3)] for f in rows(folder / name)])
        for i, name in enumerate(control.files("KUKANZ"))])
    rules = []
    for i, name in enumerate(control.files("TUKOUJ")):
        lines = []
        for f in rows(folder / name):
            values = [number(f, k) for k in (1, 2, 3)]
            if number(f, 0) < 1 or 0 in values:
                break
            lines.append([code(number(f, 0), v) for v in values] + [digits(number(f, 4))])
        rules.append(save("zatrule%d.txt" % i, lines))
    zat.set_files("NODETRF", rules)
    return zat


# ---- Builds --------------------------------------------------------------------------------------

def build(path, folder, name):
    """The output files of a good build and the log of its second half."""
    control = Control(folder / name)
    out = folder / control.get("FOLDER", "CALCMAPDIR")
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)
    data = folder / ".data"
    shutil.rmtree(data, ignore_errors=True)
    program = zatmap.Zatmap(path, data)
    done = program.run(*zatmap.PLAIN, name, cwd=folder)
    check(done.status == 0, "%s does not build: %s" % (name, done.err))
    log = program.log_lines()
    log = [line for line in log[log.index(b"Path Two Start. "):] if not zatmap.MACHINE.match(line)]
    files = {p.name: p.read_bytes() for p in out.iterdir() if not p.name.startswith(".")}
    shapes = SHAPES if "shapedat.dat" in files else []
    check(sorted(files) == sorted(NETWORK + shapes), "%s: the files %s" % (name, sorted(files)))
    check(len(files["maploc.dat"]) >= 16 * 10, "%s: hardly any nodes" % name)
    return files, log


def mapped(files, length):
    """The files with codes as (area, number), and without what differs by layout and length."""
    files = dict(files)
    for name, size in CODES.items():
        data = files.get(name)
        if data is None:
            continue
        out = bytearray()
        for at in range(0, len(data), size):
            value = struct.unpack_from("<d" if length == 14 else "<q", data, at)[0]
            check(value == int(value), "%s: the code %r" % (name, value))
            out += struct.pack("<qq", *divmod(int(value), UNIT[length])) + data[at + 8:at + size]
        files[name] = bytes(out)
    lines = files["linkdef.dat"].split(b"\r\n")
    check(lines[1].startswith(b"; Created "), "linkdef.dat line 2")
    check(b"CODELENGTH=%d" % length in lines, "linkdef.dat: the code length")
    files["linkdef.dat"] = [line for line in lines[:1] + lines[2:]
                            if not line.startswith(b"CODELENGTH=")]
    files["linkname.dat"] = b"".join(
        files["linkname.dat"][at:at + 24] + files["linkname.dat"][at + 26:at + 30]
        for at in range(0, len(files["linkname.dat"]), 30))
    if "shapedat.inf" in files:
        files["shapedat.inf"] = [line for line in files["shapedat.inf"].split(b"\r\n")
                                 if not line.startswith(b"MaxShapeLink=")]
    return files


def compare(title, one, other):
    check(sorted(one) == sorted(other), "%s: %s against %s" % (title, sorted(one), sorted(other)))
    for name in sorted(one):
        a, b = one[name], other[name]
        if a != b:
            at = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
            raise Difference("%s: %s (%d and %d long) differs at %d: %r against %r" %
                             (title, name, len(a), len(b), at, a[at:at + 16], b[at:at + 16]))


def values_of_names(files):
    data = files["linkname.dat"]
    return [struct.unpack_from("<H", data, at + 24)[0] for at in range(0, len(data), 30)]


def four_forms(path, source, name):
    """MSR and ZAT, each with both code lengths, from one MSR control file."""
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch) / "set"
        shutil.copytree(source, folder)
        subprocess.run(["chmod", "-R", "u+w", str(folder)], check=True)
        given = Control(folder / name)
        check(given.get("SYSTEM", "FORMAT").upper() == "MSR", "%s is not in the MSR layout" % name)
        results = {}
        for length in (14, 18):
            given.sections["SYSTEM"]["CODELENGTH"] = str(length)
            given.sections["FOLDER"]["CALCMAPDIR"] = "out"
            for layout in ("MSR", "ZAT"):
                control = given if layout == "MSR" else to_zat(folder, given, length)
                control.write(folder / "form.ini")
                files, log = build(path, folder, "form.ini")
                values = values_of_names(files)
                if layout == "ZAT":
                    check(not any(values), "a name of the ZAT layout has a value")
                elif given.files("KUKANZ"):
                    check(any(values), "no name of the MSR layout has a value")
                results[layout, length] = mapped(files, length), log, files
        first_files, first_log, raw = results["MSR", 14]
        for key, (files, log, _) in results.items():
            title = "%s, MSR with 14 digits against %s with %d" % ((name,) + key)
            compare(title, first_files, files)
            for a, b in zip(first_log, log):
                check(a == b, "%s: the log: %r against %r" % (title, a, b))
            check(len(first_log) == len(log), "%s: the lengths of the logs" % title)
        # Codes of one length need no mapping.
        zat = results["ZAT", 14][2]
        for file in CODES:
            check(raw.get(file) == zat.get(file), "%s: %s of both layouts" % (name, file))
        return raw


def csv_and_mif(name_a, a, name_b, b):
    """Two forms of the MSR sources, one with shapes, give one network."""
    shared = [n for n in NETWORK if n != "linkdef.dat"]
    compare("%s against %s" % (name_a, name_b), {n: a[n] for n in shared}, {n: b[n] for n in shared})


# ---- Two sets of one network ---------------------------------------------------------------------

def pair(path, source, zat_name, msr_name):
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch) / "set"
        shutil.copytree(source, folder)
        subprocess.run(["chmod", "-R", "u+w", str(folder)], check=True)
        control = Control(folder / zat_name)
        length = int(control.get("SYSTEM", "CODELENGTH", "14"))
        zat_files, _ = build(path, folder, zat_name)
        msr_files, _ = build(path, folder, msr_name)
        if ("shapedat.dat" in zat_files) != ("shapedat.dat" in msr_files):
            for files in (zat_files, msr_files):
                for name in SHAPES:
                    files.pop(name, None)
        zat, msr = mapped(zat_files, length), mapped(msr_files, length)
        if control.get("NODE", "MIF", "0") in ("", "0"):
            msr["linkdef.dat"] = [line for line in msr["linkdef.dat"] if not re.match(
                rb"\[INFORMATION\]|Charset=|CoordSys=", line)]
        named = {number(f, 0) for name in control.files("LINKSPEED") for f in rows(folder / name)}
        own = set()
        codes = [struct.unpack_from("<d" if length == 14 else "<q", zat_files["mapdraw.dat"], at)[0]
                 for at in range(0, len(zat_files["mapdraw.dat"]), 32)]
        dummies = set()
        for k, code in enumerate(codes):
            if int(code) >= 99 * UNIT[length]:
                dummies.add(k)
            if int(code) in named:
                own.add(k)
        for n in range(len(zat_files["mapcalc.dat"]) // 64):
            near = [m for m in struct.unpack_from("<8i", zat_files["mapcalc.dat"], 64 * n) if m >= 0]
            links = struct.unpack_from("<8i", zat_files["nodelink.idx"], 32 * n)[:len(near)]
            if len(set(near)) < len(near) or n in near or not dummies.isdisjoint(links):
                own.update(links)

        def without(files):
            files = dict(files)
            speeds = bytearray(files["linknode.idx"])
            calc = bytearray(files["mapcalc.dat"])
            rule = bytearray(files["maprule.dat"])
            for k in own:
                speeds[16 * k + 8:16 * k + 12] = bytes(4)
            for n in range(len(calc) // 64):
                neighbours = struct.unpack_from("<8i", calc, 64 * n)
                numbers = struct.unpack_from("<8i", files["nodelink.idx"], 32 * n)
                for s in range(8):
                    if numbers[s] in own:
                        calc[64 * n + 32 + 2 * s:64 * n + 34 + 2 * s] = bytes(2)
                    if (neighbours[s] == n or neighbours.count(neighbours[s]) > 1 or
                            numbers[s] in dummies):
                        rule[8 * n + s] = 0
                        for k in range(8):
                            rule[8 * n + k] &= 0xFF ^ (0x80 >> s)
            files.update({"linknode.idx": bytes(speeds), "mapcalc.dat": bytes(calc),
                          "maprule.dat": bytes(rule)})
            return files

        check(len(own) < len(codes) // 2, "most links are left out")
        compare("%s against %s" % (zat_name, msr_name), without(zat), without(msr))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--pair", nargs=3, action="append", default=[],
                        metavar=("FOLDER", "ZAT", "MSR"))
    parser.add_argument("sets", nargs="*")
    options = parser.parse_args()
    path = os.path.abspath(options.zatmap)
    failed = 0
    for item in options.sets:
        folder, _, control = item.partition(":")
        folder = pathlib.Path(folder)
        names = [control] if control else sorted(p.name for p in folder.glob("*.ini"))
        try:
            check(names, "%s: no control file" % folder)
            built = [four_forms(path, folder, name) for name in names]
            for name, files in zip(names[1:], built[1:]):
                csv_and_mif(names[0], built[0], name, files)
            print("%s: %s agree" % (folder.name, ", ".join(names)))
        except Difference as difference:
            failed += 1
            print("%s: %s" % (folder.name, difference))
    for folder, zat, msr in options.pair:
        try:
            pair(path, folder, zat, msr)
            print("%s: %s and %s agree" % (pathlib.Path(folder).name, zat, msr))
        except Difference as difference:
            failed += 1
            print("%s: %s" % (pathlib.Path(folder).name, difference))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
