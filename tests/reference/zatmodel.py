#!/usr/bin/env python3
"""Reference model of the calc map build (ZAT and MSR formats, silent run).

A slow, plain and independent rendering of the build's rules: it makes the
same output files and the same log lines as the library, so the two can be
compared byte for byte.

    python3 zatmodel.py CONTROL.INI --log LOGFILE [--stage all|one|two]
                        [--method M|F] [--msr]

Exit status: 0 built, 1 failed, 134 a source field did not fit its buffer.
The source layout is the one that [SYSTEM] FORMAT names; --msr takes the MSR
layout whatever it says. The log lines are written without their time stamp,
and end as the library's do. All texts are bytes in code page 932.
"""

import argparse
import math
import os
import re
import struct
import sys
import time


def jp(text):
    """Encode a fixed text of the program in its code page."""
    return text.encode("cp932")


class FieldOverflow(Exception):
    """A source field of 64 bytes or more: the process ends at once."""


# ---------------------------------------------------------------------------
# C library number parsing
# ---------------------------------------------------------------------------

_RE_INT = re.compile(rb"[ \t\n\v\f\r]*([+-]?[0-9]+)")
_RE_FLT = re.compile(
    rb"[ \t\n\v\f\r]*([+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?)")

INT32_MAX = 0x7FFFFFFF
INT32_MIN = -0x80000000
INT64_MAX = 0x7FFFFFFFFFFFFFFF
INT64_MIN = -0x8000000000000000


def atoi(text):
    """32-bit decimal conversion that clamps at the limits."""
    m = _RE_INT.match(text)
    if not m:
        return 0
    return max(INT32_MIN, min(INT32_MAX, int(m.group(1))))


def atoi64(text):
    """64-bit decimal conversion that clamps at the limits."""
    m = _RE_INT.match(text)
    if not m:
        return 0
    return max(INT64_MIN, min(INT64_MAX, int(m.group(1))))


def atof(text):
    m = _RE_FLT.match(text)
    return float(m.group(1)) if m else 0.0


# ---------------------------------------------------------------------------
# Feature codes: 8 raw bytes, compared as doubles
# ---------------------------------------------------------------------------

ZERO8 = b"\0" * 8


def parse_code(text, length):
    """Code text to its 8 bytes."""
    if length == 14:
        return struct.pack("<d", atof(text))
    return struct.pack("<q", atoi64(text))


def code_key(raw):
    """The double by which a code is sorted, searched and compared."""
    return struct.unpack("<d", raw)[0]


def code_text(raw, length):
    """Code as messages print it."""
    if length == 14:
        return b"%014.0f" % struct.unpack("<d", raw)[0]
    return b"%018d" % struct.unpack("<q", raw)[0]


def pack_int_code(value, length):
    if length == 14:
        return struct.pack("<d", float(value))
    return struct.pack("<q", value)


# ---------------------------------------------------------------------------
# Text helpers
# ---------------------------------------------------------------------------

def parse_fixed6(text):
    """Degrees to millionths of a degree; excess decimals are not cut."""
    kept = bytearray()
    decimals = 0
    after = False
    for c in text[:32]:
        if 0x30 <= c <= 0x39:
            kept.append(c)
            if after:
                decimals += 1
        elif c in b"+-":
            kept.append(c)
        elif c == 0x2E:
            after = True
    if decimals < 6:
        kept += b"0" * (6 - decimals)
    return atoi(bytes(kept))


def is_lead(c):
    return 0x81 <= c <= 0x9F or 0xE0 <= c <= 0xFC


def cut_name(text, limit=20):
    """At most `limit` bytes, never half of a double-byte character."""
    i = 0
    while i < len(text):
        step = 2 if is_lead(text[i]) and i + 1 < len(text) else 1
        if i + step > limit:
            break
        i += step
    return text[:i]


def split_fields(line):
    """Fields of a source record; see FieldOverflow."""
    out = []
    end = line.find(b"\r")
    if end >= 0:
        line = line[:end]
    for f in re.split(rb"[,\t]", line):
        if f[:1] == b'"':
            f = f[1:]
        if len(f) >= 64:
            raise FieldOverflow(f)
        if f[-1:] == b'"':
            f = f[:-1]
        out.append(f)
    return out


def get_csv_field(index, line):
    """Field `index` (0-based) of a line, or None."""
    m = re.search(rb"[\0\r\n]", line)
    if m:
        line = line[:m.start()]
    parts = re.split(rb"[,\t;]", line)
    if index >= len(parts):
        return None
    f = parts[index]
    if f[:1] == b'"':
        f = f[1:]
        if f[-1:] == b'"':
            f = f[:-1]
    return f[:1023]


def join_path(folder, name):
    if not folder:
        return name
    if folder[-1:] in (b"/", b"\\"):
        return (folder + name)[:259]
    return (folder + b"/" + name)[:259]


def split_path(path):
    for i in range(len(path) - 1, -1, -1):
        if path[i:i + 1] in (b"/", b"\\"):
            return path[:i][:255], path[i + 1:][:255]
    return b"", path[:255]


def make_mid_path(path):
    for i in range(len(path) - 1, 0, -1):
        if path[i:i + 1] in (b".", b"\\", b"/"):
            return path[:i] + b".mid"
    return path + b".mid"


def os_path(path):
    return path.replace(b"\\", b"/")


def open_file(path, mode="rb"):
    """Open a file, or None."""
    if not path:
        return None
    try:
        return open(os_path(path), mode, buffering=0)
    except OSError:
        return None


def read_whole(path):
    """All bytes of a file, or None."""
    f = open_file(path)
    if f is None:
        return None
    with f:
        try:
            return f.readall()
        except OSError:
            return None


def write_whole(path, data):
    f = open_file(path, "wb")
    if f is None:
        return False
    with f:
        view = memoryview(data)
        while len(view):
            view = view[f.write(view):]
    return True


class LineFile:
    """A text file read line by line, quotes protecting line ends."""

    def __init__(self, data):
        self.data = data
        self.pos = 0

    @classmethod
    def open(cls, path):
        data = read_whole(path)
        return None if data is None else cls(data)

    def read_line(self, size):
        """The next line (without its end), or None at the end of the file
        or when no line end lies within `size` bytes."""
        chunk = self.data[self.pos:self.pos + size]
        if not chunk:
            return None
        quoted = False
        breaks = False
        end = -1
        for m in re.finditer(rb'["\r\n]', chunk):
            c = m.group()
            if c == b'"':
                quoted = not quoted
            elif quoted:
                breaks = True
            elif c == b"\r":
                end = m.start()
                break
        if end >= 0:
            line = chunk[:end]
            self.pos += end + 2
        else:
            self.pos += len(chunk)
            if len(chunk) == size:
                return None
            line = chunk
        if breaks:
            line = line.replace(b"\r", b"").replace(b"\n", b"")
        nul = line.find(b"\0")
        return line if nul < 0 else line[:nul]

    def lines(self, size):
        """The lines that are left, one by one."""
        while (line := self.read_line(size)) is not None:
            yield line


# ---------------------------------------------------------------------------
# Profile (INI) files
# ---------------------------------------------------------------------------

def _profile_lines(path):
    data = read_whole(path)
    if data is None:
        return None
    return [ln.rstrip(b"\r") for ln in data.split(b"\n")]


def _section_name(line):
    s = line.strip()
    if s[:1] == b"[":
        e = s.find(b"]")
        return (s[1:e] if e >= 0 else s[1:]).strip().lower()
    return None


def profile_string(path, section, key, default=b"", size=512):
    """A profile value; `size` counts the terminating zero."""
    lines = _profile_lines(path)
    value = default
    if lines is not None:
        section = section.lower()
        key = key.lower()
        inside = False
        for ln in lines:
            name = _section_name(ln)
            if name is not None:
                if inside:
                    break
                inside = name == section
                continue
            s = ln.strip()
            if not inside or s[:1] == b";" or b"=" not in s:
                continue
            k, v = s.split(b"=", 1)
            if k.strip().lower() == key:
                v = v.strip()
                if len(v) >= 2 and v[:1] == v[-1:] and v[:1] in (b'"', b"'"):
                    v = v[1:-1]
                value = v
                break
    return value[:size - 1]


def profile_int(path, section, key, default=0):
    text = profile_string(path, section, key, b"\1", 1024)
    if text == b"\1":
        return default
    m = re.match(rb"[ \t]*([+-]?[0-9]+)", text)
    if not m:
        return 0
    return max(INT32_MIN, min(INT32_MAX, int(m.group(1))))


def profile_write(path, section, key, value):
    """Set one key, keeping the order of everything else."""
    data = read_whole(path)
    lines = []
    if data:
        lines = [ln.rstrip(b"\r") for ln in data.split(b"\n")]
        if lines[-1] == b"":
            lines.pop()
    new = key + b"=" + value
    want = section.lower()
    start = None
    for i, ln in enumerate(lines):
        if _section_name(ln) == want:
            start = i
            break
    if start is None:
        lines += [b"[" + section + b"]", new]
    else:
        last = start
        done = False
        i = start + 1
        while i < len(lines) and _section_name(lines[i]) is None:
            s = lines[i].strip()
            if s:
                last = i
            if (s[:1] != b";" and b"=" in s and
                    s.split(b"=", 1)[0].strip().lower() == key.lower()):
                lines[i] = new
                done = True
                break
            i += 1
        if not done:
            lines.insert(last + 1, new)
    return write_whole(path, b"".join(ln + b"\r\n" for ln in lines))


# ---------------------------------------------------------------------------
# Sorting and searching
# ---------------------------------------------------------------------------

def heap_sort(items, key):
    """Ascending heap sort in place, 1-based max-heap."""
    n = len(items)
    if n < 2:
        return
    keys = [key(x) for x in items]

    def sift(parent, count):
        while True:
            child = parent * 2
            if child > count:
                return
            if child < count and keys[child] > keys[child - 1]:
                child += 1
            if keys[parent - 1] >= keys[child - 1]:
                return
            a, b = parent - 1, child - 1
            keys[a], keys[b] = keys[b], keys[a]
            items[a], items[b] = items[b], items[a]
            parent = child

    for p in range(n // 2, 0, -1):
        sift(p, n)
    count = n
    while count > 2:
        keys[0], keys[count - 1] = keys[count - 1], keys[0]
        items[0], items[count - 1] = items[count - 1], items[0]
        count -= 1
        sift(1, count)
    i = 0
    while i + 1 < n and keys[i + 1] < keys[i]:
        keys[i], keys[i + 1] = keys[i + 1], keys[i]
        items[i], items[i + 1] = items[i + 1], items[i]
        i += 1


def find_index(table, key):
    """Narrow by halving above 512 entries, then scan for an equal key.
    `table` is a list of (key, number, ...) tuples; -1 when absent."""
    lo, hi = 0, len(table)
    while hi - lo > 512:
        mid = (lo + hi) // 2
        if key >= table[mid][0]:
            lo = mid
        else:
            hi = mid
    for i in range(lo, hi):
        if table[i][0] == key:
            return table[i][1]
    return -1


def load_index(data):
    """16-byte index entries as (key, number, city, raw code)."""
    out = []
    for o in range(0, len(data) // 16 * 16, 16):
        raw = data[o:o + 8]
        num, city = struct.unpack_from("<iI", data, o + 8)
        out.append((code_key(raw), num, city, raw))
    return out


def slot_cost(length, speed, limit):
    """Cost of leaving a node along a link."""
    if length == 0:
        return 0
    if speed == 0:
        return 65535
    if speed > limit:
        return 0
    cost = length * 360.0 / speed + 0.5
    if cost >= 65535.0:
        return 65535
    return int(cost)


def pages(size):
    return (size + 4095) // 4096 * 4096


# ---------------------------------------------------------------------------
# Source record readers
# ---------------------------------------------------------------------------

LINE_SIZE = 2048


def u16(v):
    return v & 0xFFFF


def speed_field(text, default):
    v = atoi(text)
    if v < 0:
        return 0
    if v == 0:
        return u16(default)
    return u16(v)


class NodeRec:
    """A node store record."""

    FMT = "<8s8sHHIii64s"

    def __init__(self):
        self.code = ZERO8
        self.partner = ZERO8
        self.attr = 0
        self.city = 0
        self.x = 0
        self.y = 0
        self.links = [ZERO8] * 8

    def pack(self):
        return struct.pack(self.FMT, self.code, self.partner, self.attr, 0,
                           self.city, self.x, self.y, b"".join(self.links))

    @classmethod
    def unpack(cls, raw):
        r = cls()
        (r.code, r.partner, r.attr, _, r.city, r.x, r.y,
         links) = struct.unpack(cls.FMT, raw)
        r.links = [links[i:i + 8] for i in range(0, 64, 8)]
        return r


class LinkRec:
    """A link store record."""

    FMT = "<8s8s8sIHHHHhHhHhH"

    def __init__(self):
        self.code = self.a = self.b = ZERO8
        self.city = 0
        self.speed_value = 0
        self.speed_a = self.speed_b = 0
        self.v3 = 0
        self.kind = 0
        self.v4 = 0
        self.v6 = 0
        self.v5 = 0
        self.flag = 0

    def pack(self):
        return struct.pack(self.FMT, self.code, self.a, self.b, self.city,
                           self.speed_value, self.speed_a, self.speed_b,
                           self.v3, self.kind, self.v4, self.v6, self.v5,
                           self.flag, 0)

    @classmethod
    def unpack(cls, raw):
        r = cls()
        (r.code, r.a, r.b, r.city, r.speed_value, r.speed_a, r.speed_b, r.v3,
         r.kind, r.v4, r.v6, r.v5, r.flag, _) = struct.unpack(cls.FMT, raw)
        return r


def s16(v):
    v &= 0xFFFF
    return v - 0x10000 if v >= 0x8000 else v


def read_node(fields, length):
    r = NodeRec()
    for col, f in enumerate(fields, 1):
        if col == 1:
            r.code = parse_code(f, length)
        elif col == 2:
            r.attr = u16(atoi(f))
        elif col == 3:
            r.partner = parse_code(f, length)
        elif 5 <= col <= 12:
            r.links[col - 5] = parse_code(f, length)
        elif col in (14, 15):
            r.x = parse_fixed6(f)
    return r


def read_link(fields, length, default_a, default_b):
    r = LinkRec()
    for col, f in enumerate(fields, 1):
        if col == 1:
            r.code = parse_code(f, length)
        elif col == 2:
            r.kind = s16(atoi(f))
        elif col == 3:
            r.city = atoi(f) & 0xFFFFFFFF
        elif col == 4:
            r.v3 = u16(atoi(f))
        elif col == 5:
            r.v4 = u16(atoi(f))
        elif col == 6:
            r.v5 = u16(atoi(f))
        elif col == 7:
            r.v6 = s16(atoi(f))
        elif col == 8:
            r.a = parse_code(f, length)
        elif col == 9:
            r.b = parse_code(f, length)
        elif col == 10:
            r.speed_a = speed_field(f, default_a)
        elif col == 11:
            r.speed_b = speed_field(f, default_b)
        elif col == 12:
            r.flag = s16(atoi(f))
    return r


def name_record(code, name, number=0, value=0):
    return struct.pack("<8s20sHBBHHHH", code, name, 0, number & 0xFF, 0, 0, 0,
                       u16(value), 0)


def column(fields, col):
    return fields[col - 1] if col <= len(fields) else None


def read_name(fields, length, name_col, number_col, value_col):
    """A name store record, or None when the name is empty."""
    code = ZERO8 if column(fields, 1) is None else parse_code(fields[0], length)
    name = column(fields, name_col)
    name = b"" if name is None else cut_name(name)
    if not name:
        return None
    number = value = 0
    if number_col:
        f = column(fields, number_col)
        number = 0 if f is None else atoi(f)
    if value_col:
        f = column(fields, value_col)
        value = 0 if f is None else atoi(f)
    return name_record(code, name, number, value)


# -- records of the MSR layout: columns counted from 0

def area_code(area, number, length):
    """A number within an area as the 8 bytes of a code."""
    if length != 14:
        value = int(number) + area * 10000000000000000
        return struct.pack("<Q", value & 0xFFFFFFFFFFFFFFFF)
    return struct.pack("<d", area * 10000.0 * 10000.0 * 10000.0 + number)


def area_code_or_zero(area, number, length):
    return ZERO8 if number == 0.0 else area_code(area, number, length)


def msr_fields(line, count):
    """`count` fields, those that the line lacks as None. Longer lines are
    split to their end: a field that does not fit is fatal wherever it is."""
    fields = split_fields(line)
    return (fields + [None] * count)[:count]


def whole(field):
    return 0 if field is None else atoi(field)


def real(field):
    return 0.0 if field is None else atof(field)


def read_droten(line, length):
    """A road point, its coordinates still to come."""
    f = msr_fields(line, 15)
    area = whole(f[0])
    r = NodeRec()
    r.code = area_code_or_zero(area, real(f[1]), length)
    r.attr = u16(whole(f[2]))
    r.partner = area_code_or_zero(whole(f[3]), real(f[4]), length)
    r.links = [area_code_or_zero(area, real(t), length) for t in f[7:15]]
    return r


def first_fields(line, count):
    """The first `count` fields of a line; what follows is not looked at."""
    end = -1
    for _ in range(count):
        m = re.compile(rb"[,\t\r]").search(line, end + 1)
        if not m:
            return line
        end = m.start()
        if m.group() == b"\r":
            break
    return line[:end]


def read_dkukan(line, length, default_a, default_b):
    f = msr_fields(first_fields(line, 13), 13)
    area = whole(f[2])
    r = LinkRec()
    r.code = area_code_or_zero(area, real(f[0]), length)
    r.kind = s16(whole(f[1]))
    city = whole(f[3])
    if city >= 1:
        city += area * 1000
    r.city = city & 0xFFFFFFFF
    r.v3 = u16(whole(f[4]))
    r.v4 = u16(whole(f[5]))
    r.v5 = u16(whole(f[6]))
    r.a = area_code_or_zero(area, real(f[7]), length)
    r.b = area_code_or_zero(area, real(f[8]), length)
    r.v6 = s16(whole(f[9]))
    r.speed_a = 0 if f[10] is None else speed_field(f[10], default_a)
    r.speed_b = 0 if f[11] is None else speed_field(f[11], default_b)
    r.flag = s16(whole(f[12]))
    return r


def read_droten_name(line, length):
    f = msr_fields(line, 6)
    name = cut_name(f[5] or b"")
    if not name:
        return None
    return name_record(area_code_or_zero(whole(f[0]), real(f[1]), length),
                       name, 0, whole(f[2]))


def read_kukanz(line, length):
    """A section's name; the code takes the area even when it is 0."""
    f = msr_fields(line, 5)
    name = cut_name(f[3] or b"")
    if not name:
        return None
    return struct.pack("<8s20sHBBHHHH",
                       area_code(whole(f[0]), real(f[1]), length), name, 0,
                       whole(f[2]) & 0xFF, 0, u16(whole(f[4])), 0, 0, 0)


def read_tukouj(line, length):
    """A rule record, or None when the line is not valid."""
    f = msr_fields(line, 5)
    area = whole(f[0])
    numbers = [real(t) for t in f[1:4]]
    if area < 1 or 0.0 in numbers:
        return None
    return (b"".join(area_code(area, n, length) for n in numbers) +
            struct.pack("<HHI", 0, u16(whole(f[4])), 0))


def msr_shape_code(line, length):
    """The code of a shape: whole numbers, so that all 16 digits count."""
    f = msr_fields(first_fields(line, 3), 3)
    return area_code(whole(f[2]), atoi64(f[0]), length)


def mif_tokens(line):
    """Tokens of a MIF Point line."""
    out = []
    for t in line.split(b" "):
        if t:
            out += t.split(b",") if b"," in t else [t]
    return out


# ---------------------------------------------------------------------------
# The build
# ---------------------------------------------------------------------------

DUMMY_BASE = {14: 99000000000000, 18: 990000000000000000}

STORES = [b"nodestr.~wk", b"linkstr.~wk", b"nnamestr.~wk", b"lnamestr.~wk",
          b"trafrule.~wk", b"onewayst.~wk"]

DEFAULT_CHARSET = b'Charset "WindowsJapanese"'
DEFAULT_COORDSYS = b"CoordSys Earth Projection 1, 1015"

ATTRIBUTE_DEFAULTS = [
    "01,高速自動車国道", "02,都市高速道路", "03,一般国道",
    "04,主要地方道(都道府県道)", "05,主要地方道(指定市道)",
    "06,一般都道府県道", "07,指定市の一般市道", "09,その他の道路",
    "00,未調査"]

WIDTH_DEFAULTS = [
    "1,幅員13.0m以上", "2,幅員5.5m以上～13.0m未満",
    "3,幅員3.0m以上～5.5m未満", "4,幅員3.0m未満", "0,未調査"]

DUP_NODE = jp("道路点 %s が重複しています。重複を取り除いてください。")
DUP_NODE_TITLE = jp("道路点データの重複エラー")
DUP_LINK = jp("道路区間 %s が重複しています。重複を取り除いてください。")
DUP_LINK_TITLE = jp("道路区間データの重複エラー")
DUP_INDEX_TITLE = jp("道路点重複チェック")
MISMATCH = jp("ノードとリンクが不整合であるため計算用道路データが作成できません。%s")
MISMATCH_TITLE = jp("データエラー")
NO_POINT = jp("道路点オブジェクトがありません！\r\n%s (rec=%d)")

# Lines that only the memory operation or only the file operation writes.
METHOD_TEXT = {
    "M": dict(mark=b"M", prefix=b"BRN", load_n=b"BRN_LoadNodeStore",
              load_l=b"BRN_LoadLinkStore", save_loc=b"Saving NodeLoc..."),
    "F": dict(mark=b"F", prefix=b"BRN450", load_n=b"BRN450_LoadNodeStorePtr",
              load_l=b"BRN450_LoadLinkStorePtr",
              save_loc=b"Saving NodeLoc ..."),
}


def ok_text(result):
    return b"OK" if result else b"ERROR"


class Build:
    def __init__(self, control, log_path, method=None, msr=False):
        self.control = os.fsencode(control)
        self.forced_method = method
        self.forced_msr = msr
        self.log_file = open(log_path, "wb", buffering=0)

    # -- services ----------------------------------------------------------

    def log(self, text):
        self.log_file.write(text + b"\r\n")

    def error(self, message, title):
        self.log((b"[%s][%s]" % (message, title))[:1021])
        return 0

    def remove(self, name):
        try:
            os.remove(os_path(self.out(name)))
        except OSError:
            pass

    def get_int(self, section, key, default=0):
        return profile_int(self.control, section, key, default)

    def get_str(self, section, key, default=b"", size=260):
        return profile_string(self.control, section, key, default, size)

    def file_key(self, section, number):
        return self.get_str(section, b"FILE%02d" % number)

    def out_dir(self):
        value = self.get_str(b"FOLDER", b"CALCMAPDIR")
        if len(value) < 2:
            value = split_path(self.control)[0]
        return value[:259]

    def out(self, name):
        return join_path(self.out_dir(), name)

    def code_length(self):
        return profile_int(self.out(b"linkdef.dat"), b"SYSTEM", b"CODELENGTH",
                           14)

    def log_extra(self, text):
        if self.get_int(b"SYSTEM", b"LOG"):
            self.log(text)

    # -- driver ------------------------------------------------------------

    def run(self):
        self.log(b"0 log files before %s erased." % time.strftime(
            "%Y%m%d", time.localtime(time.time() - 31 * 86400)).encode())
        self.log(b"Building Road Networks Start. ")
        good = self.path_one()
        if good:
            good = self.path_two()
        if good:
            if self.check_fare_data():
                self.set_interchange_flags()
            if not self.get_int(b"SYSTEM", b"DEBUG"):
                for name in STORES:
                    try:
                        os.remove(os_path(self.out(name)))
                    except OSError:
                        pass
            self.log(b"End OK.")
            return good
        self.log(b"End Error.")
        return 0

    def is_msr(self):
        return (self.forced_msr or self.get_str(
            b"SYSTEM", b"FORMAT", b"ZAT", 64).lower() == b"msr")

    def path_one(self):
        if self.is_msr():
            return self.msr_path_one()
        self.log(b"Path One Start (ZAT format) ")
        self.log(b"Setting Road Definition...")
        good = self.create_road_def()
        if good:
            good = self.set_node_store()
        if good:
            good = self.set_node_name_store() and self.set_node_xy()
        if good:
            good = self.set_link_store()
        if good:
            good = self.set_link_speed() and self.set_link_name_store()
        if good:
            good = self.set_node_trf() and self.set_link_trf()
        if good:
            good = self.create_shape()
        return good

    def path_two(self):
        self.log(b"Path Two Start. ")
        good = self.build_network()
        if good:
            good = self.finish_node_attribute()
        if good:
            good = self.finish_node_name()
        if good:
            good = self.finish_link_name()
        if good:
            good = self.add_traffic_rules()
            if good and self.get_int(b"TUKOUJ", b"NOTADDONEWAY") == 0:
                good = self.add_one_way_links()
        if good:
            good = self.create_right_turn_weight()
        return good

    # -- road definition ---------------------------------------------------

    def create_road_def(self):
        path = self.out(b"linkdef.dat")
        stamp = time.strftime("%a,%b %d %Y, %p %H:%M:%S").encode()
        head = b"; Road Definition File for ZATLIB40\r\n; Created "
        if not write_whole(path, head + stamp + b"\r\n"):
            self.error(b"Can't open the Road Definition File (%s) !" % path,
                       b"File Error in BRN_CreateRoadDef")

        def put(section, key, value):
            profile_write(path, section, key, value)

        for section, defaults, message in (
                (b"ATTRIBUTE", ATTRIBUTE_DEFAULTS,
                 b"Can't open the Attribute File (%s) !"),
                (b"WIDTH", WIDTH_DEFAULTS,
                 b"Can't open the Width Definition File (%s) !")):
            if self.get_int(section, b"FILENUM") == 1:
                name = self.file_key(section, 1)
                f = LineFile.open(name)
                if f is None:
                    return self.error(message % name,
                                      b"File Error in BRN_CreateRoadDef")
                count = 0
                for line in f.lines(1024):
                    count += 1
                    put(section, b"DEF%02d" % count, line.replace(b'"', b" "))
                put(section, b"NUMDEF", b"%d" % count)
            else:
                put(section, b"NUMDEF", b"%d" % len(defaults))
                for i, text in enumerate(defaults, 1):
                    put(section, b"DEF%02d" % i, jp(text))

        num = self.get_int(b"TOLLROAD", b"NUMDEF")
        if num < 1:
            put(b"TOLLROAD", b"NUMDEF", b"2")
            put(b"TOLLROAD", b"DEF01", b"01")
            put(b"TOLLROAD", b"DEF02", b"02")
        else:
            put(b"TOLLROAD", b"NUMDEF", b"%d" % num)
            for i in range(1, num + 1):
                key = b"DEF%02d" % i
                put(b"TOLLROAD", key, self.get_str(b"TOLLROAD", key, b"",
                                                   1024))

        for key, first, second, default in (
                (b"HIGHWAY", b"HIGHWAY", None, b""),
                (b"PAYROAD", b"PAYROAD", None, b""),
                (b"FERRY", b"FERRY", None, b""),
                (b"RAILROAD", b"RAILROAD", None, b""),
                (b"AIR", b"PARKING", b"AIR", b""),
                (b"TOLLGATE", b"TOLLGATE", None, b""),
                (b"SHIP", b"PEDESTRIANWAY", b"SHIP", b""),
                (b"ICWEIGHT", b"ICWEIGHT", None, b"0"),
                (b"RTWEIGHT", b"RTWEIGHT", None, b"0"),
                (b"RTWEIGHT_RIGHT", b"RTWEIGHT_RIGHT", None, b"45"),
                (b"RTWEIGHT_LEFT", b"RTWEIGHT_LEFT", None, b"135")):
            value = self.get_str(b"ROADFLAG", first, default, 512)
            if not value and second:
                value = self.get_str(b"ROADFLAG", second, b"", 512)
            put(b"ROADFLAG", key, value)

        length = self.get_int(b"SYSTEM", b"CODELENGTH", 14)
        put(b"SYSTEM", b"CODELENGTH", b"%d" % length)
        self.log(b"CODELENGTH=%d" % length)
        return 1

    def mif_header(self, mif, info_path, size):
        """Copy the header's Charset and CoordSys lines; 1 when its Data line
        was met."""
        while True:
            line = mif.read_line(size)
            if line is None:
                return 0
            if b"Charset" in line or b"charset" in line:
                profile_write(info_path, b"INFORMATION", b"Charset", line)
            if any(t in line for t in (b"CoordSys", b"Coordsys",
                                       b"coordsys")):
                profile_write(info_path, b"INFORMATION", b"CoordSys", line)
            if any(t in line for t in (b"DATA", b"Data", b"data")):
                return 1

    # -- node stores -------------------------------------------------------

    def set_node_store(self):
        self.log(b"Setting Node Storage...")
        num = self.get_int(b"NODE", b"FILENUM")
        mif_mode = self.get_int(b"NODE", b"MIF")
        length = self.code_length()
        if length not in (14, 18):
            return 0
        store_path = self.out(b"nodestr.~wk")
        result = 1 if num >= 1 else 0
        count = 0
        if num >= 1:
            self.remove(b"nodestr.~wk")
        for i in range(1, num + 1):
            result, added = self.node_file(i, mif_mode, length, store_path)
            count += added
            if not result:
                break
        self.log(b"Setting Node Storage end %s : set counter = %d" %
                 (ok_text(result), count))
        return result

    def node_file(self, i, mif_mode, length, store_path):
        path = self.file_key(b"NODE", i)
        mif = None
        if mif_mode:
            mif = LineFile.open(path)
            if mif is None:
                return self.error(b"Can't open the node MIF (FILE%02d) [%s] !"
                                  % (i, path), b"File Error"), 0
            if not self.mif_header(mif, self.out(b"linkdef.dat"), 512):
                return self.error(b"Can't read the MIF file header : ",
                                  b"File Error in BRN_SetMifInformation"), 0
            path = make_mid_path(path)
        mid = LineFile.open(path)
        if mid is None:
            return self.error(b"Can't open the node MID (FILE%02d) [%s] !" %
                              (i, path), b"File Error"), 0
        store = open_file(store_path, "ab")
        if store is None:
            return self.error(b"Can't open the NodeStorage (%s) at %02d !" %
                              (store_path, i), b"File Error"), 0
        count = 0
        with store:
            while True:
                line = mid.read_line(LINE_SIZE)
                if line is None:
                    return 1, count
                rec = read_node(split_fields(line), length)
                if mif_mode:
                    found = self.mif_point(mif, rec)
                    if not found or (rec.x == 0 and rec.y == 0):
                        return self.error(
                            NO_POINT % (path, count + 1),
                            b"Data Error in BRN_ZAT_ReadNodeRecord"), count
                store.write(rec.pack())
                count += 1

    @staticmethod
    def mif_point(mif, rec):
        """Take the next Point or none object of a node MIF."""
        while True:
            line = mif.read_line(LINE_SIZE)
            if line is None:
                return 0
            if line[:5].lower() == b"point":
                tok = mif_tokens(line) + [b"", b"", b""]
                rec.x = parse_fixed6(tok[1])
                rec.y = parse_fixed6(tok[2])
                return 1
            if line[:4].lower() == b"none":
                return 1

    def set_node_xy(self):
        self.log(b"Setting Node XY...")
        title = b"File Error in BRN_ZAT_SetNodeXYData"
        if self.get_int(b"NODE", b"MIF"):
            return 1
        if self.get_int(b"NODEXY", b"FILENUM") < 1:
            return 1
        length = self.code_length()
        if length not in (14, 18):
            return 0
        store_path = self.out(b"nodestr.~wk")
        data = read_whole(store_path)
        if data is None:
            return self.error(b"Can't read the node store and the index !",
                              title)
        recs = [NodeRec.unpack(data[o:o + 96])
                for o in range(0, len(data) // 96 * 96, 96)]
        table = [(code_key(r.code), k) for k, r in enumerate(recs)]
        self.sort_common(table)
        path = self.file_key(b"NODEXY", 1)
        f = LineFile.open(path)
        result = 1
        count = 0
        if f is None:
            result = self.error(b"Can't open the Node XY data (FILE%02d) "
                                b"[%s] !" % (1, path), title)
        else:
            for line in f.lines(LINE_SIZE):
                fields = split_fields(line)
                code = x = y = None
                for col, t in enumerate(fields, 1):
                    if col == 1:
                        code = code_key(parse_code(t, length))
                    elif col == 2:
                        x = parse_fixed6(t)
                    elif col == 3:
                        y = parse_fixed6(t)
                if not code:
                    continue
                k = find_index(table, code)
                if k >= 0:
                    recs[k].x = x or 0
                    recs[k].y = y or 0
                    count += 1
            tail = data[len(recs) * 96:]
            if not write_whole(store_path,
                               b"".join(r.pack() for r in recs) + tail):
                result = self.error(b"Can't write the node store !", title)
        self.log(b"Setting Node XY end %s : set count = %d" %
                 (ok_text(result), count))
        return result

    # -- link stores -------------------------------------------------------

    def set_link_store(self):
        self.log(b"Setting Link Storage...")
        num = self.get_int(b"LINK", b"FILENUM")
        mif_mode = self.get_int(b"LINK", b"MIF")
        speed_a = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDA"))
        speed_b = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDB"))
        length = self.code_length()
        if length not in (14, 18):
            return 0
        result = 1 if num >= 1 else 0
        count = 0
        store_path = self.out(b"linkstr.~wk")
        if num >= 1:
            self.remove(b"linkstr.~wk")
        for i in range(1, num + 1):
            path = self.file_key(b"LINK", i)
            if mif_mode:
                path = make_mid_path(path)
            f = LineFile.open(path)
            if f is None:
                result = self.error(b"Can't open the link data (FILE%02d) "
                                    b"[%s] !" % (i, path), b"File Error")
                break
            store = open_file(store_path, "ab")
            if store is None:
                result = self.error(b"Can't open the LinkStorage (%s) at "
                                    b"%02d !" % (store_path, i),
                                    b"File Error")
                break
            with store:
                for line in f.lines(LINE_SIZE):
                    rec = read_link(split_fields(line), length, speed_a,
                                    speed_b)
                    store.write(rec.pack())
                    count += 1
        self.log(b"Setting Link Storage end %s : set count = %d" %
                 (ok_text(result), count))
        return result

    def set_link_speed(self):
        self.log(b"Setting Link Speed...")
        title = b"File Error in BRN_ZAT_SetLinkSpeedData"
        speed_a = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDA"))
        speed_b = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDB"))
        length = self.code_length()
        if length not in (14, 18):
            return self.error(b"The CodeLength = %d is invalid !" % length,
                              b"Logic Error in BRN_ZAT_SetLinkSpeedData")
        num = self.get_int(b"LINKSPEED", b"FILENUM")
        if num < 1:
            return 1
        store_path = self.out(b"linkstr.~wk")
        data = read_whole(store_path)
        if data is None:
            return self.error(b"Can't open / read the link storage %s !" %
                              store_path, title)
        recs = [LinkRec.unpack(data[o:o + 48])
                for o in range(0, len(data) // 48 * 48, 48)]
        table = [(code_key(r.code), k) for k, r in enumerate(recs)]
        self.sort_common(table)
        result = 1
        count = 0
        for i in range(1, num + 1):
            path = self.file_key(b"LINKSPEED", i)
            f = LineFile.open(path)
            if f is None:
                result = self.error(b"Can't open LinkSpeed(%s) !" % path,
                                    title)
                break
            for line in f.lines(LINE_SIZE):
                code = a = b = 0.0
                sa = sb = value = 0
                for col, t in enumerate(split_fields(line), 1):
                    if col == 1:
                        code = code_key(parse_code(t, length))
                    elif col == 2:
                        a = code_key(parse_code(t, length))
                    elif col == 3:
                        b = code_key(parse_code(t, length))
                    elif col == 4:
                        sa = speed_field(t, speed_a)
                    elif col == 5:
                        sb = speed_field(t, speed_b)
                    elif col == 6:
                        value = u16(atoi(t))
                if code == 0.0:
                    continue
                k = find_index(table, code)
                if k < 0:
                    continue
                rec = recs[k]
                link_a, link_b = code_key(rec.a), code_key(rec.b)
                if a == 0.0 or b == 0.0 or (a == link_a and b == link_b):
                    rec.speed_a = sa
                elif a == link_b and b == link_a:
                    rec.speed_a = sb
                else:
                    continue
                rec.speed_b = sb
                rec.speed_value = value
                count += 1
        if result:
            tail = data[len(recs) * 48:]
            if not write_whole(store_path,
                               b"".join(r.pack() for r in recs) + tail):
                result = self.error(b"Can't write the link storage %s !" %
                                    store_path, title)
        self.log(b"Setting Link Speed end %s : set counter = %d" %
                 (ok_text(result), count))
        return result

    # -- name stores -------------------------------------------------------

    def name_files(self, store, paths, length, columns, message, title):
        """Append the names of several files; (result, count)."""
        count = 0
        for i, path in paths:
            f = LineFile.open(path)
            if f is None:
                return self.error(message % (i, path), title), count
            for line in f.lines(LINE_SIZE):
                rec = read_name(split_fields(line), length, *columns)
                if rec is not None:
                    store.write(rec)
                    count += 1
        return 1, count

    def section_paths(self, section, mid):
        for i in range(1, self.get_int(section, b"FILENUM") + 1):
            path = self.file_key(section, i)
            yield i, make_mid_path(path) if mid else path

    def set_node_name_store(self):
        self.log(b"Setting Node Name Storage...")
        title = b"File Error in BRN_ZAT_SetNodeNameStore"
        length = self.code_length()
        path = self.out(b"nnamestr.~wk")
        store = open_file(path, "wb")
        if store is None:
            return self.error(b"Can't open the NodeNameStorage %s !" % path,
                              title)
        message = b"Can't open the node MID (FILE%02d) [%s] !"
        with store:
            result, count = self.name_files(
                store, self.section_paths(b"NODE", True), length,
                (13, 0, 2), message, title)
            self.log(b"Setting Node Name Storage from Node Data end %s : "
                     b"set count = %d" % (ok_text(result), count))
            if result:
                result, count = self.name_files(
                    store, self.section_paths(b"NODENAME", False), length,
                    (3, 0, 2), message, title)
                self.log(b"Setting Node Name Storage from Node Name Data end "
                         b"%s : set count = %d" % (ok_text(result), count))
        return result

    def set_link_name_store(self):
        self.log(b"Setting Link Name Storage...")
        title = b"File Error in BRN_ZAT_SetLinkNameStore"
        length = self.code_length()
        path = self.out(b"lnamestr.~wk")
        store = open_file(path, "wb")
        if store is None:
            return self.error(b"Can't open the Link Name Storage (%s)" % path,
                              title)
        mif_mode = self.get_int(b"LINK", b"MIF")
        with store:
            result, count = self.name_files(
                store, self.section_paths(b"LINK", mif_mode), length,
                (14, 13, 0), b"Can't open the link data (FILE%02d) [%s] !",
                title)
            self.log(b"Setting Link Name Storage from Link Data end %d : "
                     b"set count = %d" % (result, count))
            if result:
                result, count = self.name_files(
                    store, self.section_paths(b"LINKNAME", False), length,
                    (4, 3, 0), b"Can't open the LINKNAME FILE%02d=%s", title)
                self.log(b"Setting Link Name Storage from Link Name Data end "
                         b"%d : set count = %d" % (result, count))
        return result

    # -- traffic rule inputs -----------------------------------------------

    def set_node_trf(self):
        return self.trf_step(b"Node", b"BRN_ZAT_SetNodeTrfData", b"NODETRF",
                             b"trafrule.~wk",
                             b"Can't open the rule storage %s !")

    def set_link_trf(self):
        return self.trf_step(b"Link", b"BRN_ZAT_SetLinkTrfData", b"LINKTRF",
                             b"onewayst.~wk",
                             b"Can't open the rule storage %s !")

    def trf_step(self, kind, func, section, store_name, store_message):
        self.log(b"Setting %s Traffic Rules..." % kind)
        title = b"File Error in " + func
        length = self.code_length()
        if length not in (14, 18):
            return self.error(b"The CodeLength = %d is invalid !" % length,
                              b"Logic Error in " + func)
        num = self.get_int(section, b"FILENUM")
        if num < 1:
            return 1
        path = self.out(store_name)
        store = open_file(path, "wb")
        if store is None:
            return self.error(store_message % path, title)
        result = 1
        count = 0
        with store:
            for i in range(1, num + 1):
                name = self.file_key(section, i)
                f = LineFile.open(name)
                if f is None:
                    result = self.error(b"Can't open %sTrf(%s) !" %
                                        (kind, name), title)
                    break
                for line in f.lines(LINE_SIZE):
                    codes = [ZERO8] * 3
                    first = second = 0
                    for col, t in enumerate(split_fields(line), 1):
                        if col <= 3:
                            codes[col - 1] = parse_code(t, length)
                        elif col == 4:
                            if kind == b"Node":
                                second = u16(atoi(t))
                            else:
                                first = u16(atoi(t))
                        elif col == 5 and kind == b"Link":
                            second = u16(atoi(t))
                    store.write(b"".join(codes) +
                                struct.pack("<HHI", first, second, 0))
                    count += 1
        self.log(b"Setting %s Traffic Rules end %s : set count = %d" %
                 (kind, ok_text(result), count))
        return result

    # -- shapes ------------------------------------------------------------

    def create_shape(self):
        self.log(b"Setting Link Shape...")
        folder = self.out_dir()
        length = self.code_length()
        if length not in (14, 18):
            return 0
        if self.get_int(b"LINK", b"MIF"):
            section, builder = b"LINK", self.shape_from_mif
        else:
            section, builder = b"LINKSHAPE", self.shape_from_text
        num = self.get_int(section, b"FILENUM")
        if num < 1:
            return 1
        for i in range(num):
            path = self.file_key(section, i + 1)
            if not builder(i, path, folder, length):
                return 0
        return self.finish_shape_index(folder, length)

    # -- stage one of the MSR layout: the steps show their texts and log none

    def msr_path_one(self):
        self.log(b"Path One Start (MSR format) ")
        return int(bool(self.create_road_def() and self.msr_nodes() and
                        self.msr_node_names() and self.msr_links() and
                        self.msr_link_names() and self.msr_rules() and
                        self.msr_shapes()))

    def msr_paths(self, section):
        for i in range(1, self.get_int(section, b"FILENUM") + 1):
            yield i, self.file_key(section, i)

    def msr_nodes(self):
        length = self.code_length()
        title = b"File Error"
        self.remove(b"nodestr.~wk")
        store_path = self.out(b"nodestr.~wk")
        for i, path in self.msr_paths(b"DROTEN"):
            mif = LineFile.open(path)
            if mif is None:
                return self.error(b"Can't open the DROTEM.MIF(FILE%02d) [%s] "
                                  b"!" % (i, path), title)
            mid_path = make_mid_path(path)
            mid = LineFile.open(mid_path)
            if mid is None:
                return self.error(b"Can't open the DROTEM.MID(FILE%02d) [%s] "
                                  b"!" % (i, mid_path), title)
            store = open_file(store_path, "ab")
            if store is None:
                return self.error(b"Can't open the NodeStorage (%s) at %02d "
                                  b"!" % (store_path, i), title)
            with store:
                if not self.mif_header(mif, self.out(b"linkdef.dat"), 512):
                    return self.error(b"Can't read the MIF file header : ",
                                      b"File Error in BRN_SetMifInformation")
                count = 0
                for line in mid.lines(LINE_SIZE):
                    rec = read_droten(line, length)
                    if not self.msr_point(mif, rec):
                        break
                    count += 1
                    if rec.x == 0 and rec.y == 0:
                        return self.error(
                            NO_POINT % (mid_path, count),
                            b"Data Error in BRN_MSR_ReadDrotenRecord")
                    store.write(rec.pack())
        return 1

    @staticmethod
    def msr_point(mif, rec):
        while True:
            line = mif.read_line(LINE_SIZE)
            if line is None:
                return 0
            words = mif_tokens(line) + [b"", b"", b""]
            if words[0].lower() == b"point":
                rec.x = parse_fixed6(words[1])
                rec.y = parse_fixed6(words[2])
                return 1
            if words[0].lower() == b"none":
                return 1

    def msr_names(self, store, section, mid, reader, message, title):
        """Append the names of a section's files. An invalid code length
        stops the sections' step, not the points' and the names'."""
        length = self.code_length()
        for i, path in self.msr_paths(section):
            if mid:
                path = make_mid_path(path)
            f = LineFile.open(path)
            if f is None:
                return self.error(message % (i, path), title)
            for line in f.lines(LINE_SIZE):
                rec = reader(line, length)
                if rec is not None:
                    store.write(rec)
        return 1

    def msr_node_names(self):
        title = b"File Error in BRN_MSR_SetNodeNameStore"
        path = self.out(b"nnamestr.~wk")
        store = open_file(path, "wb")
        if store is None:
            return self.error(b"Can't open the NodeNameStorage %s !" % path,
                              title)
        with store:
            return self.msr_names(
                store, b"DROTEN", True, read_droten_name,
                b"Can't open the DROTEM.MID(FILE%02d) [%s] !", b"File Error")

    def msr_links(self):
        length = self.code_length()
        num = self.get_int(b"DKUKAN", b"FILENUM")
        if length not in (14, 18) or num < 1:
            return 0
        speed_a = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDA"))
        speed_b = u16(self.get_int(b"DEFAULTSPEED", b"SPEEDB"))
        self.remove(b"linkstr.~wk")
        store_path = self.out(b"linkstr.~wk")
        mid = self.get_int(b"DKUKAN", b"MIFOUTPUT")
        for i, path in self.msr_paths(b"DKUKAN"):
            if mid:
                path = make_mid_path(path)
            f = LineFile.open(path)
            if f is None:
                return self.error(b"Can't open the DKUKAN.CSV(FILE%02d) [%s] "
                                  b"!" % (i, path), b"File Error")
            store = open_file(store_path, "ab")
            if store is None:
                return self.error(b"Can't open the LinkStorage (%s) at %02d "
                                  b"!" % (store_path, i), b"File Error")
            with store:
                for line in f.lines(LINE_SIZE):
                    store.write(read_dkukan(line, length, speed_a,
                                            speed_b).pack())
        return 1

    def msr_link_names(self):
        title = b"File Error in BRN_MSR_SetLinkNameStore"
        path = self.out(b"lnamestr.~wk")
        store = open_file(path, "wb")
        if store is None:
            return self.error(b"Can't open the Link Name Storage (%s)" % path,
                              title)
        with store:
            return self.msr_names(store, b"KUKANZ", False, read_kukanz,
                                  b"Can't open the Kukanz FILE%02d=%s", title)

    def msr_rules(self):
        title = b"File Error in BRN_MSR_SetTukoujData"
        length = self.code_length()
        if length not in (14, 18):
            return self.error(b"The CodeLength = %d is invalid !" % length,
                              b"Logic Error in BRN_MSR_SetTukoujData")
        good = 1
        self.remove(b"trafrule.~wk")
        if self.get_int(b"TUKOUJ", b"FILENUM") >= 1:
            path = self.out(b"trafrule.~wk")
            store = open_file(path, "wb")
            if store is None:
                return self.error(b"Can't open the rule storage %s !" % path,
                                  title)
            with store:
                for _, name in self.msr_paths(b"TUKOUJ"):
                    f = LineFile.open(name)
                    if f is None:
                        good = self.error(b"Can't open TUKOUJ(%s) !" % name,
                                          title)
                        break
                    while True:
                        line = f.read_line(512)
                        rec = line is not None and read_tukouj(line, length)
                        if not rec:
                            break
                        store.write(rec)
        if good:
            self.remove(b"onewayst.~wk")
        return good

    def msr_shapes(self):
        if not self.get_int(b"DKUKAN", b"MIFOUTPUT"):
            return 1
        folder = self.out_dir()
        length = self.code_length()
        if length not in (14, 18):
            return 0
        for i, path in self.msr_paths(b"DKUKAN"):
            if not self.shape_from_mif(
                    i - 1, path, folder, length, msr_shape_code,
                    b"File Error in SHAPE_CreateShapeFileFromMif"):
                return 0
        return self.finish_shape_index(folder, length)

    # -- shape files -------------------------------------------------------

    @staticmethod
    def open_shape_outputs(index, folder):
        mode = "wb" if index == 0 else "ab"
        dat = open_file(join_path(folder, b"shapedat.dat"), mode)
        idx = open_file(join_path(folder, b"shapedbl.idx"), mode)
        return dat, idx

    def shape_from_mif(
            self, index, path, folder, length,
            code_of=lambda line, n: parse_code(split_fields(line)[0], n),
            title=b"File Error in SHAPE_CreateShapeFileFromZatMif"):
        mif = LineFile.open(path)
        if mif is None:
            return self.error(b"Can't open the MIF file (%s) !" % path, title)
        info = join_path(folder, b"shapedat.inf")
        if not self.mif_header(mif, info, 1024):
            return self.error(b"Can't read the MIF file header (%s) !" % path,
                              title)
        mid_path = make_mid_path(path)
        mid = LineFile.open(mid_path)
        if mid is None:
            return self.error(b"Can't open the MID file (%s) !" % mid_path,
                              title)
        dat, idx = self.open_shape_outputs(index, folder)
        if dat is None or idx is None:
            return 0
        with dat, idx:
            rec = 0
            while True:
                rec += 1
                if mid.pos >= len(mid.data):
                    return 1
                line = mid.read_line(LINE_SIZE)
                if line is None:
                    return self.error(b"Can't read the Mid File (%s) at "
                                      b"rec=%d" % (mid_path, rec), title)
                code = code_of(line, length)
                offset = dat.seek(0, 2)
                while True:
                    obj = mif.read_line(1024)
                    if obj is None:
                        return self.error(b"Can't read the MIF file (%s) at "
                                          b"rec=%d" % (path, rec), title)
                    if obj[:5] == b"Pline" or obj[:4] == b"Line":
                        break
                if obj[:5] == b"Pline":
                    num = atoi(obj[6:])
                    for _ in range(num):
                        ln = mif.read_line(1024)
                        if ln is None:
                            return self.error(
                                b"Can't read the MIF file (%s) at rec=%d in "
                                b"ITEM section" % (path, rec), title)
                        tok = ln.split(b" ") + [b""]
                        x, y = parse_fixed6(tok[0]), parse_fixed6(tok[1])
                        if x == 0 and y == 0:
                            return self.error(
                                b"The Record of MIF file is invalid, at "
                                b"rec=%d in ITEM section" % rec, title)
                        dat.write(struct.pack("<ii", x, y))
                else:
                    ln = obj.replace(b" ", b",")
                    num = 2
                    for k in (1, 3):
                        x = parse_fixed6(get_csv_field(k, ln) or b"")
                        y = parse_fixed6(get_csv_field(k + 1, ln) or b"")
                        if x == 0 or y == 0:
                            return self.error(
                                b"The MIF record value is Invalid, at rec=%d "
                                b"in Line shape !" % rec, title)
                        dat.write(struct.pack("<ii", x, y))
                idx.write(code + struct.pack("<ii", offset, num))

    def shape_from_text(self, index, path, folder, length):
        title = b"File Error in SHAPE_CreateShapeFileFromZatText"
        info = join_path(folder, b"shapedat.inf")
        for key, default in ((b"Charset", DEFAULT_CHARSET),
                             (b"CoordSys", DEFAULT_COORDSYS)):
            value = profile_string(info, b"INFORMATION", key, default, 512)
            profile_write(info, b"INFORMATION", key, value)
        f = LineFile.open(path)
        if f is None:
            return self.error(b"Can't open the MIF file (%s) !" % path, title)
        dat, idx = self.open_shape_outputs(index, folder)
        if dat is None or idx is None:
            return 0
        with dat, idx:
            rec = 0
            while True:
                rec += 1
                line = f.read_line(LINE_SIZE)
                if line is None:
                    return 1
                fields = split_fields(line)
                code = parse_code(fields[0], length)
                num = atoi(fields[1]) if len(fields) > 1 else 0
                offset = dat.seek(0, 2)
                for item in range(1, num + 1):
                    line = f.read_line(LINE_SIZE)
                    if line is None:
                        return self.error(b"Can't read the Item Data (%s) at "
                                          b"rec=%d item=%d" %
                                          (path, rec, item), title)
                    pt = split_fields(line) + [b""]
                    dat.write(struct.pack("<ii", parse_fixed6(pt[0]),
                                          parse_fixed6(pt[1])))
                idx.write(code + struct.pack("<ii", offset, num))

    def finish_shape_index(self, folder, length):
        path = join_path(folder, b"shapedbl.idx")
        data = read_whole(path)
        if data is None:
            return self.error(b"Can't open the shape index DBL file for "
                              b"input (%s) !" % path,
                              b"File Error in SHAPE_FinishShapeIndex")
        entries = [data[o:o + 16] for o in range(0, len(data) // 16 * 16, 16)]
        entries.sort(key=lambda e: code_key(e[:8]))
        total = biggest = 0
        biggest_code = ZERO8
        for i, e in enumerate(entries):
            num = struct.unpack_from("<i", e, 12)[0]
            total += num
            if i == 0 or num > biggest:
                biggest, biggest_code = num, e[:8]
            if i and code_key(e[:8]) == code_key(entries[i - 1][:8]):
                return self.error(DUP_LINK % code_text(e[:8], length),
                                  DUP_LINK_TITLE)
        if not write_whole(path, b"".join(entries)):
            return self.error(b"Can't open the index DBL file for output "
                              b"(%s)" % path,
                              b"File Error in SHAPE_FinishShapeIndex")
        info = join_path(folder, b"shapedat.inf")
        for key, value in ((b"NumRec", b"%d" % len(entries)),
                           (b"NumShape", b"%d" % total),
                           (b"MaxShapeLink",
                            b"%014.0f" % code_key(biggest_code)),
                           (b"MaxNumShape", b"%d" % biggest)):
            profile_write(info, b"INFORMATION", key, value)
        return 1

    # -- network build step ------------------------------------------------

    # The sorts show their texts in the status line only; they are not logged.
    def sort_index(self, keys):
        heap_sort(keys, lambda k: k)
        return 1

    def sort_common(self, table):
        heap_sort(table, lambda e: e[0])
        return 1

    def build_network(self):
        if not self.check_duplication():
            return 0
        if not self.check_node_store():
            return 0
        codes = self.make_node_index()
        if codes is None:
            return 0
        if not self.check_link_store(codes):
            return 0
        if not self.make_dummy_links(codes):
            return 0
        method = self.check_memories()
        self.log(b"*** memory operation ***" if method == "M"
                 else b"*** file operation ***")
        return self.create_network(method)

    def load_records(self, name, size):
        """All whole records of a store, or None."""
        data = read_whole(self.out(name))
        if data is None:
            return None
        return [data[o:o + size] for o in range(0, len(data) // size * size,
                                                size)]

    def patch_record(self, f, size, number, raw):
        f.seek(size * number)
        f.write(raw)

    def check_duplication(self):
        length = self.code_length()
        title = b"File Error in BRN_CheckNodeLinkDuplication"
        good = 1
        for status, name, size, what, message, dup_title in (
                (b"Checking Node Duplication...", b"nodestr.~wk", 96,
                 b"NODESTORE", DUP_NODE, DUP_NODE_TITLE),
                (b"Checking Link Duplication...", b"linkstr.~wk", 48,
                 b"LINKSTORE", DUP_LINK, DUP_LINK_TITLE)):
            self.log(status)
            recs = self.load_records(name, size)
            if not recs:
                return 0
            keys = [code_key(r[:8]) for r in recs]
            self.sort_index(keys)
            for i in range(1, len(keys)):
                if keys[i - 1] == keys[i]:
                    raw = struct.pack("<d", keys[i])
                    self.error(message % code_text(raw, length), dup_title)
                    good = 0
        return good

    def check_node_store(self):
        title = b"File Error in BRN_CheckNodeStoreFromLinkStore"
        self.log(b"Checking Node Data (P1)...")
        links = self.load_records(b"linkstr.~wk", 48)
        if links is None:
            return self.error(b"Can't open LINKSTORE(%s) !" %
                              self.out(b"linkstr.~wk"), title)
        keys = []
        for r in links:
            keys += [code_key(r[8:16]), code_key(r[16:24])]
        self.sort_index(keys)
        present = set(keys)
        self.log(b"Checking Node Data (P2)...")
        nodes = self.load_records(b"nodestr.~wk", 96)
        store = open_file(self.out(b"nodestr.~wk"), "r+b")
        if nodes is None or store is None:
            return self.error(b"Can't open NODESTORE(%s) !" %
                              self.out(b"nodestr.~wk"), title)
        killed = 0
        with store:
            for i, r in enumerate(nodes):
                k = code_key(r[:8])
                if k != 0.0 and k in present:
                    continue
                self.patch_record(store, 96, i, b"\0" * 16 + r[16:])
                killed += 1
        self.log(b"NodeStore=%d, Killed Node=%d, "
                 b"BRN_CheckNodeStoreFromLinkStore returns=OK" %
                 (len(nodes), killed))
        return 1

    def make_node_index(self):
        self.log(b"Making Node Index ...")
        length = self.code_length()
        if length not in (14, 18):
            self.error(b"The CodeLength = %d is invalid !" % length,
                       b"Logic Error in BRN_MakeDrotenNodeIndex")
            return None
        nodes = self.load_records(b"nodestr.~wk", 96)
        if nodes is None:
            self.error(b"Can't open LINKSTR.WRK(%s) !" %
                       self.out(b"nodestr.~wk"),
                       b"File Error in BRN_MakeDrotenNodeIndex")
            return None
        keys = [code_key(r[:8]) for r in nodes]
        keys = [k for k in keys if k != 0.0]
        self.sort_index(keys)
        for i in range(1, len(keys)):
            if keys[i - 1] == keys[i]:
                raw = struct.pack("<d", keys[0] + i - 1)
                self.error(DUP_NODE % code_text(raw, length), DUP_INDEX_TITLE)
        self.log_extra(b"lnNumIndex=%d, lnNumNodeStore=%d, "
                       b"BRN_MakeDrotenNodeIndex returns=%d" %
                       (len(keys), len(nodes), 1))
        return keys

    def check_link_store(self, codes):
        self.log(b"Checking Link Data ...")
        present = set(codes)
        links = self.load_records(b"linkstr.~wk", 48)
        store = open_file(self.out(b"linkstr.~wk"), "r+b")
        if links is None or store is None:
            return self.error(b"Can't open LINKSTORE(%s) !" %
                              self.out(b"linkstr.~wk"),
                              b"File Error in BRN_CheckLinkStore")
        killed = 0
        with store:
            for i, r in enumerate(links):
                if (code_key(r[8:16]) in present and
                        code_key(r[16:24]) in present):
                    continue
                self.patch_record(store, 48, i, ZERO8 + r[8:])
                killed += 1
        self.log(b"LinkStore=%d Killed Links=%d, BRN_CheckLinkStore "
                 b"returns=OK" % (len(links), killed))
        return 1

    def make_dummy_links(self, codes):
        self.log(b"Making Dummy Link...")
        length = self.code_length()
        if length not in (14, 18):
            return self.error(b"The CodeLength = %d is invalid !" % length,
                              b"Logic Error in BRN_MakeDummyLinks")
        present = set(codes)
        nodes = self.load_records(b"nodestr.~wk", 96)
        links = self.load_records(b"linkstr.~wk", 48)
        node_store = open_file(self.out(b"nodestr.~wk"), "r+b")
        link_store = open_file(self.out(b"linkstr.~wk"), "r+b")
        visited = made = 0
        num_links = len(links)
        pairs = []
        with node_store, link_store:
            for i, raw in enumerate(nodes):
                visited += 1
                rec = NodeRec.unpack(raw)
                own, other = code_key(rec.code), code_key(rec.partner)
                if own == 0.0 or other == 0.0:
                    continue
                code = None
                for c, a, b in pairs:
                    if (a, b) in ((own, other), (other, own)):
                        code = c
                        break
                if code is None:
                    if other not in present:
                        continue
                    made += 1
                    code = pack_int_code(DUMMY_BASE[length] + made, length)
                    link = LinkRec()
                    link.code, link.a, link.b = code, rec.code, rec.partner
                    link.city = 99000
                    link.kind = 99
                    link.v4 = 99
                    link_store.seek(0, 2)
                    link_store.write(link.pack())
                    num_links += 1
                    pairs.append((code, own, other))
                if add_slot(rec, code):
                    self.patch_record(node_store, 96, i, rec.pack())
        self.log(b"lnCtr=%d lnNumNodeStore=%d lnNumLinkStore=%d "
                 b"lnDummyCtr=%d, BRN_MakeDummyLinks returns=%d" %
                 (visited, len(nodes), num_links, made, 1))
        return 1

    def check_memories(self):
        self.log(b"Checking Memories...")
        method = self.get_str(b"SYSTEM", b"BUILDMETHOD", b"", 512)
        if self.forced_method:
            method = self.forced_method.encode()
        if method in (b"M", b"F"):
            return method.decode()
        self.log(b"Total Physycal=0.0MB, Available Physycal=0.0MB\r\n"
                 b"Total Paging=0.0MB, Available Paging=0.0MB")
        nodes = self.load_records(b"nodestr.~wk", 96)
        links = self.load_records(b"linkstr.~wk", 48)
        n = len(nodes) if nodes is not None else 0
        k = len(links) if links is not None else 0
        n2, k2 = n + 2, k + 2
        for name, blocks in (
                (b"A", [4 * k2, 4 * n2, 16 * k2, 16 * n2, 16 * n2, 32 * n2,
                        8 * n2, n2, 8 * n2]),
                (b"B", [4 * k2, 4 * n2, 16 * k2, 16 * n2, 32 * n2, 16 * k2,
                        32 * k2]),
                (b"C", [48 * k2, 96 * n2, 16 * k2, 16 * n2, 16 * n2, 32 * n2,
                        8 * n2, n2, 8 * n2]),
                (b"D", [32 * k2, 16 * k2, 32 * n2, 16 * k2, 16 * n2, 48 * k2,
                        96 * n2])):
            total = sum(pages(b) for b in blocks)
            self.log(b"CASE %s: NumNode=%d NumLink=%d AllocMem=%.1fMB" %
                     (name, n, k, total / 1024.0 / 1024.0))
        return "M"

    def create_network(self, method):
        text = METHOD_TEXT[method]
        mark = text["mark"]
        prefix = text["prefix"]

        self.log(b"Loading Nodes(%s)..." % mark)
        raw = self.load_records(b"nodestr.~wk", 96)
        if raw is None:
            return self.error(b"Can't open the NODESTORE(%s) !" %
                              self.out(b"nodestr.~wk"),
                              b"File Error in " + text["load_n"])
        places = [i for i, r in enumerate(raw) if code_key(r[:8]) != 0.0]
        nodes = [NodeRec.unpack(raw[i]) for i in places]
        self.log_extra(b"lnNumNode=%d, lnNumRec(NodeStore)=%d, %s returns=%d"
                       % (len(nodes), len(raw), text["load_n"], 1))
        if len(nodes) < 2:
            return self.error(MISMATCH % b"", MISMATCH_TITLE)

        self.log(b"Creating Node Data(%s)..." % mark)
        node_index = []
        loc = bytearray()
        names = bytearray()
        for i, r in enumerate(nodes):
            loc += struct.pack("<8sii", r.code, r.x, r.y)
            names += b"\0" * 28 + struct.pack("<HH", r.attr, 0)
            node_index.append([code_key(r.code), i, r.city, r.code])
        count = len(nodes)
        for status, name, data, what in (
                (text["save_loc"], b"maploc.dat", bytes(loc), b"NodeLoc"),
                (b"Saving NodeName ...", b"nodename.dat", bytes(names),
                 b"NodeName"),
                (b"Saving TrafRule...", b"maprule.dat", b"\0" * (8 * count),
                 b"TrafRule"),
                (b"Saving NodeAttribute...", b"nodeattr.dat", b"\0" * count,
                 b"NodeAttribute")):
            self.log(status)
            if not write_whole(self.out(name), data):
                return self.error(b"Can't save the %s : %s" %
                                  (what, self.out(name)), b"File Error")
        self.sort_common(node_index)
        self.log_extra(b"lnNumNode=%d, %s_CreateNodeData returns=%d" %
                       (count, prefix, 1))

        self.log(b"Loading Links(%s)..." % mark)
        raw = self.load_records(b"linkstr.~wk", 48)
        if raw is None:
            return self.error(b"Can't open LINKSTORE(%s) !" %
                              self.out(b"linkstr.~wk"),
                              b"File Error in " + text["load_l"])
        links = [LinkRec.unpack(r) for r in raw if code_key(r[:8]) != 0.0]
        self.log_extra(b"lnNumLink=%d, lnNumRec(LinkStore)=%d, %s returns=%d"
                       % (len(links), len(raw), text["load_l"], 1))

        self.log(b"Creating Link Data(%s)..." % mark)
        road_def = self.load_road_def()
        link_names = bytearray()
        link_index = []
        for i, r in enumerate(links):
            link_names += (b"\0" * 23 +
                           bytes([link_flags(r.kind, r.flag, road_def)]) +
                           struct.pack("<Hhh", 0, r.kind, r.v6))
            link_index.append([code_key(r.code), i, r.city, r.code])
        self.log(b"Saving LinkName...")
        path = self.out(b"linkname.dat")
        if not write_whole(path, bytes(link_names)):
            return self.error(b"Can't write the LinkName (%s) rec=%d !" %
                              (path, len(links)),
                              b"File Error in %s_CreateLinkData" % prefix)
        self.sort_common(link_index)
        self.log_extra(b"lnNumLink=%d, %s_CreateLinkData returns=%d" %
                       (len(links), prefix, 1))

        if not self.check_dummy_nodes(method, nodes, places, node_index,
                                      links):
            return 0
        return self.create_network_data(method, nodes, node_index, links,
                                        link_index)

    def load_road_def(self):
        path = self.out(b"linkdef.dat")

        def value(key):
            return profile_int(path, b"ROADFLAG", key)

        num = min(profile_int(path, b"TOLLROAD", b"NUMDEF"), 10)
        toll = [profile_int(path, b"TOLLROAD", b"DEF%02d" % i)
                for i in range(1, num + 1)]
        flags = [value(b"HIGHWAY"), value(b"PAYROAD"), value(b"FERRY"),
                 value(b"RAILROAD"), value(b"PARKING") or value(b"AIR"),
                 value(b"TOLLGATE"), value(b"PEDESTRIANWAY") or
                 value(b"SHIP")]
        return toll, flags

    def check_dummy_nodes(self, method, nodes, places, node_index, links):
        mark = METHOD_TEXT[method]["mark"]
        prefix = METHOD_TEXT[method]["prefix"]
        self.log(b"Checking the dummy link nodes(%s)..." % mark)
        length = self.code_length()
        if not links:
            return 1
        store = None
        if method == "F":
            store = open_file(self.out(b"nodestr.~wk"), "r+b")
        try:
            for link in links:
                if link.kind != 99:
                    continue
                for side, code in ((b"A", link.a), (b"B", link.b)):
                    n = find_index(node_index, code_key(code))
                    if n < 0:
                        return self.error(
                            b"No edging node %s (%s) in the Dummy Link (%s)!"
                            % (side, code_text(code, length),
                               code_text(link.code, length)),
                            b"Internal Logic Error Found in "
                            b"%s_CheckDummyLinkNodes" % prefix)
                    own = [code_key(c) for c in nodes[n].links]
                    if code_key(link.code) in own:
                        continue
                    if add_slot(nodes[n], link.code) and store:
                        self.patch_record(store, 96, places[n],
                                          nodes[n].pack())
        finally:
            if store:
                store.close()
        return 1

    def create_network_data(self, method, nodes, node_index, links,
                            link_index):
        mark = METHOD_TEXT[method]["mark"]
        prefix = METHOD_TEXT[method]["prefix"]
        title = b"Internal Logic Error in %s_CreateNetworkData" % prefix
        self.log(b"Creating CalcNode(%s)..." % mark)
        length = self.code_length()

        self.log(b"Making LinkNodeIndex(%s)..." % mark)
        ends = []
        link_node = bytearray()
        draw = bytearray()
        for i, r in enumerate(links):
            a = find_index(node_index, code_key(r.a))
            b = find_index(node_index, code_key(r.b))
            if a < 0 or b < 0:
                return self.error(
                    b"Can't find the edging Nodes : Link=%s(%d), NodesA/B="
                    b"%s(%d)/%s(%d)" %
                    (code_text(r.code, length), i, code_text(r.a, length), a,
                     code_text(r.b, length), b), title)
            ends.append((a, b))
            link_node += struct.pack("<iiHHHH", a, b, r.speed_a, r.speed_b,
                                     r.v3, 0)
            draw += struct.pack("<8sihHiiii", r.code, i, r.kind, r.v4,
                                nodes[a].x, nodes[b].x, nodes[a].y,
                                nodes[b].y)

        if method == "M":
            self.log(b"Creating the Road Networks(M)...")
        calc_path = self.out(b"mapcalc.dat")
        calc = open_file(calc_path, "wb")
        if calc is None:
            return self.error(b"Can't open the CalcNode File (%s) !" %
                              calc_path,
                              b"File Error in %s_CreateNetworkData" % prefix)
        node_link = []
        errors = 0
        with calc:
            for n, r in enumerate(nodes):
                slots = []
                failed = False
                for code in r.links:
                    slot = (-1, 0, 0, -1)
                    k = -1
                    if code_key(code) != 0.0:
                        k = find_index(link_index, code_key(code))
                    if k >= 0:
                        a, b = ends[k]
                        link = links[k]
                        if a == n:
                            slot = (b, slot_cost(link.v3, link.speed_a,
                                                 10000), link.v3, k)
                        elif b == n:
                            slot = (a, slot_cost(link.v3, link.speed_b, 9998),
                                    link.v3, k)
                        else:
                            if not errors:
                                self.error(b"Unexpected NodeCode. Network "
                                           b"connection error. ", title)
                            errors += 1
                            failed = True
                            self.log(b"Error connection : Node=%s => Link=%s"
                                     % (code_text(r.code, length),
                                        code_text(link.code, length)))
                            if errors > 50:
                                return self.error(
                                    b"The number of network connection erros "
                                    b"exceeds 50.\nThe process is canceled.",
                                    b"Internal Logic Error in "
                                    b"BRN450_CreateNetworkData")
                            slot = (-1, 0, link.v3, k)
                    slots.append(slot)
                if failed:
                    return 0
                used = [s for s in slots if s[0] != -1]
                used += [(-1, 0, 0, -1)] * (8 - len(used))
                calc.write(struct.pack("<8i", *(s[0] for s in used)) +
                           struct.pack("<8H", *(s[1] for s in used)) +
                           struct.pack("<8H", *(s[2] for s in used)))
                node_link.append([s[3] for s in used])

        self.log(b"Setting Node's CityCodes(%s)..." % mark)
        for e in node_index:
            k = node_link[e[1]][0]
            if k != -1:
                e[2] = links[k].city

        def index_bytes(index):
            return b"".join(e[3] + struct.pack("<iI", e[1], e[2])
                            for e in index)

        for name, data, what in (
                (b"node.idx", index_bytes(node_index), b"NodeIndex"),
                (b"nodelink.idx", b"".join(struct.pack("<8i", *s)
                                           for s in node_link),
                 b"NodeLinkIndex"),
                (b"link.idx", index_bytes(link_index), b"LinkIndex"),
                (b"linknode.idx", bytes(link_node), b"LinkNodeIndex"),
                (b"mapdraw.dat", bytes(draw), b"DrawMap")):
            if not write_whole(self.out(name), data):
                return self.error(b"Can't write the %s file(%s)" %
                                  (what, self.out(name)), b"File Error")
        return 1

    # -- finishing ---------------------------------------------------------

    def finish_node_attribute(self):
        self.log(b"Finishing Node Attribute...")
        title = b"File Error in BRN_FinishNodeAttribute"
        images = {}
        for name, what in ((b"nodelink.idx", b"NodeLinkIndex"),
                           (b"nodename.dat", b"NodeName"),
                           (b"nodeattr.dat", b"NodeAttribute"),
                           (b"linkname.dat", b"LinkName")):
            data = read_whole(self.out(name))
            if data is None:
                return self.error(b"Can't read the %s file (%s) !" %
                                  (what, self.out(name)), title)
            images[name] = bytearray(data)
        node_link = images[b"nodelink.idx"]
        link_name = images[b"linkname.dat"]
        n = len(node_link) // 32
        num_links = len(link_name) // 30
        conn = bytearray(8 * n)
        for i in range(n):
            attr = plain = counted = 0
            for s, k in enumerate(struct.unpack_from("<8i", node_link,
                                                     32 * i)):
                if k < 0 or k >= num_links:
                    continue
                if struct.unpack_from("<h", link_name, 30 * k + 26)[0] >= 99:
                    continue
                f = link_name[30 * k + 23]
                conn[8 * i + s] = f
                counted += 1
                if f:
                    attr |= f
                else:
                    plain += 1
            if plain > 0 or counted == 0:
                attr = 0
            images[b"nodeattr.dat"][i] = attr
            images[b"nodename.dat"][32 * i + 30] = attr
        for name, data, what in (
                (b"nodename.dat", images[b"nodename.dat"], b"NodeName"),
                (b"nodeattr.dat", images[b"nodeattr.dat"], b"NodeAttribute"),
                (b"mapattr.dat", conn, b"CalcAttribute")):
            if not write_whole(self.out(name), bytes(data)):
                return self.error(b"Can't write the %s file (%s) !" %
                                  (what, self.out(name)), title)
        self.log_extra(b"lnNumNode=%d, lnNumLink=%d, "
                       b"BRN_FinishNodeAttriute returns=%d" %
                       (n, num_links, 1))
        return 1

    def finish_node_name(self):
        self.log(b"Finishing Node Name...")

        def put(image, number, rec):
            o = 32 * number
            image[o:o + 20] = rec[8:28]
            image[o + 20:o + 28] = ZERO8

        return self.finish_names(b"Node", b"nnamestr.~wk", b"node.idx",
                                 b"nodename.dat", put)

    def finish_link_name(self):
        self.log(b"Finishing Link Name...")

        def put(image, number, rec):
            o = 30 * number
            image[o:o + 20] = rec[8:28]
            image[o + 20:o + 22] = b"\0\0"
            image[o + 22] = rec[30]
            image[o + 24:o + 26] = rec[32:34]

        return self.finish_names(b"Link", b"lnamestr.~wk", b"link.idx",
                                 b"linkname.dat", put)

    def finish_names(self, kind, store, index, target, put):
        title = b"File Error in BRN_Finish%sName" % kind
        path = self.out(store)
        data = read_whole(path)
        if data is None:
            return self.error(b"Can't open / read the %sNameStore(%s)!" %
                              (kind, path), title)
        path = self.out(index)
        idx = read_whole(path)
        if idx is None:
            return self.error(b"Can't open / read the %sIndex(%s)!" %
                              (kind, path), title)
        path = self.out(target)
        image = read_whole(path)
        if image is None:
            return self.error(b"Can't open / read the %sName (%s) !" %
                              (kind, path), title)
        image = bytearray(image)
        table = load_index(idx)
        total = len(data) // 40
        hits = 0
        for o in range(0, total * 40, 40):
            rec = data[o:o + 40]
            k = find_index(table, code_key(rec[:8]))
            if k >= 0:
                put(image, k, rec)
                hits += 1
        if not write_whole(path, bytes(image)):
            return self.error(b"Can't save the %sName (%s) !" % (kind, path),
                              title)
        self.log_extra(b"lnNum%s=%d, Storage=%d, Hit%sName=%d, "
                       b"BRN_Finish%sName returns=%d" %
                       (kind, len(table), total, kind, hits, kind, 1))
        return 1

    # -- traffic rules -----------------------------------------------------

    def load_network(self, names):
        """Whole files by name, or None after reporting."""
        out = {}
        for name in names:
            data = read_whole(self.out(name))
            if data is None:
                self.error(b"Can't open %s !" % self.out(name), b"File Error")
                return None
            out[name] = bytearray(data)
        return out

    def add_traffic_rules(self):
        net = self.load_network((b"mapcalc.dat", b"node.idx", b"maprule.dat",
                                 b"link.idx", b"linknode.idx"))
        good = 0
        if net is not None:
            calc = net[b"mapcalc.dat"]
            rule = net[b"maprule.dat"]
            nodes = load_index(net[b"node.idx"])[:len(calc) // 64]
            links = load_index(net[b"link.idx"])
            links = links[:len(net[b"linknode.idx"]) // 16]
            good = self.rule_section(calc, rule, nodes, links,
                                     net[b"linknode.idx"])
            good = self.one_way_section(calc, rule, nodes, links,
                                        net[b"linknode.idx"]) and good
            if good and not write_whole(self.out(b"maprule.dat"),
                                        bytes(rule)):
                good = self.error(b"Can't open %s !" %
                                  self.out(b"maprule.dat"), b"File Error")
        self.log(b"BRN_TRF_AddTrafficRules returns %s" % ok_text(good))
        return good

    def rule_section(self, calc, rule, nodes, links, link_node):
        data = read_whole(self.out(b"trafrule.~wk")) or b""
        count = 0
        for o in range(0, len(data) // 32 * 32, 32):
            node, arrive, leave = (code_key(data[o + k:o + k + 8])
                                   for k in (0, 8, 16))
            if struct.unpack_from("<H", data, o + 26)[0] != 2:
                continue
            n = find_index(nodes, node)
            la = find_index(links, arrive)
            lb = find_index(links, leave)
            if n < 0 or la < 0 or lb < 0:
                continue
            far_in = far_node(link_node, la, n)
            far_out = far_node(link_node, lb, n)
            if far_in is None or far_out is None:
                continue
            turn = turn_slots(slots_of(calc, n), far_in, far_out)
            if turn is None:
                continue
            rule[8 * n + turn[0]] |= 0x80 >> turn[1]
            count += 1
        self.log(b"End of RuleStore section OK : set count = %d" % count)
        return 1

    def one_way_section(self, calc, rule, nodes, links, link_node):
        data = read_whole(self.out(b"onewayst.~wk")) or b""
        count = 0

        def close(n, other):
            slots = slots_of(calc, n)
            slot = None
            for s, nb in enumerate(slots):
                if nb == other:
                    slot = s
            if slot is None:
                return 0
            for k in range(len(slots)):
                rule[8 * n + k] |= 0x80 >> slot
            return len(slots)

        for o in range(0, len(data) // 32 * 32, 32):
            link, c1, c2 = (code_key(data[o + k:o + k + 8])
                            for k in (0, 8, 16))
            f1, f2 = struct.unpack_from("<HH", data, o + 24)
            k = find_index(links, link)
            n1 = find_index(nodes, c1) if c1 != 0.0 else -1
            n2 = find_index(nodes, c2) if c2 != 0.0 else -1
            if k < 0:
                continue
            start, end = struct.unpack_from("<II", link_node, 16 * k)
            if n1 < 0 or n2 < 0:
                n1, n2 = start, end
            elif (start, end) == (n1, n2):
                pass
            elif (start, end) == (n2, n1):
                f1, f2 = f2, f1
                n1, n2 = start, end
            else:
                continue
            if f1 == 2:
                count += close(n1, n2)
            if f2 == 2:
                count += close(n2, n1)
        self.log(b"End of OneWayStore section OK : set count = %d" % count)
        return 1

    def add_one_way_links(self):
        net = self.load_network((b"mapcalc.dat", b"nodelink.idx",
                                 b"maprule.dat", b"linknode.idx"))
        if net is None:
            return 0
        calc = net[b"mapcalc.dat"]
        rule = net[b"maprule.dat"]
        link_node = net[b"linknode.idx"]
        for n in range(len(calc) // 64):
            neighbours = struct.unpack_from("<8I", calc, 64 * n)
            numbers = struct.unpack_from("<8i", net[b"nodelink.idx"], 32 * n)
            used = 0
            while (used < 8 and neighbours[used] != 0xFFFFFFFF and
                   numbers[used] != -1):
                used += 1
            for j in range(used):
                if not all(rule[8 * n + k] & (0x80 >> j)
                           for k in range(used)):
                    continue
                o = 16 * numbers[j]
                start, end = struct.unpack_from("<II", link_node, o)
                if start == n:
                    struct.pack_into("<H", link_node, o + 8, 0)
                elif end == n:
                    struct.pack_into("<H", link_node, o + 10, 0)
                else:
                    continue
                struct.pack_into("<H", calc, 64 * n + 32 + 2 * j, 0xFFFF)
        for name, data in ((b"linknode.idx", link_node),
                           (b"mapcalc.dat", calc)):
            if not write_whole(self.out(name), bytes(data)):
                return self.error(b"Can't open %s !" % self.out(name),
                                  b"File Error")
        return 1

    # -- right-turn weights ------------------------------------------------

    def open_shape(self, folder):
        """The shape files as ({key: entry}, point data), or None."""
        title = b"File Error in SHAPE_OpenShape"
        path = join_path(folder, b"shapedbl.idx")
        idx = read_whole(path)
        if not idx:
            self.error(b"Can't find the shape index file (%s) !" % path,
                       title)
            return None
        path = join_path(folder, b"shapedat.dat")
        dat = read_whole(path)
        if not dat:
            self.error(b"Can't find the shape data file (%s) !" % path, title)
            return None
        table = {}
        for o in range(0, len(idx) // 16 * 16, 16):
            table[code_key(idx[o:o + 8])] = struct.unpack_from("<ii", idx,
                                                               o + 8)
        return table, dat

    def create_right_turn_weight(self):
        folder = self.out_dir()
        for name in (b"shapedbl.idx", b"shapedat.dat", b"shapedat.inf"):
            f = open_file(join_path(folder, name))
            if f is None:
                return 1
            f.close()
        memory = self.open_shape(folder) is not None
        if memory:
            for name in (b"mapcalc.dat", b"mapdraw.dat", b"nodelink.idx"):
                if not read_whole(join_path(folder, name)):
                    memory = False
        self.log(b" *** Creating Right Turn Weight : Memory Operation *** "
                 if memory else
                 b" *** Creating Right Turn Weight : File Operation ")

        def fail(message):
            self.log(b" *** Creating Right Turn Weight : End ERROR *** ")
            return self.error(message,
                              b"Fatal Error in MM_CreateRightTurnWeight")

        shapes = self.open_shape(folder)
        if shapes is None:
            return fail(b"Can't open the shape in %s" % folder)
        images = {}
        for name, unit in ((b"mapcalc.dat", 64), (b"mapdraw.dat", 32),
                           (b"nodelink.idx", 32)):
            path = join_path(folder, name)
            data = read_whole(path)
            if not data or len(data) < unit:
                return fail(b"Can't find the file / allcate the memory : %s"
                            % path)
            images[name] = data
        calc = images[b"mapcalc.dat"]
        node_link = images[b"nodelink.idx"]
        draw = images[b"mapdraw.dat"]
        codes = [code_key(draw[o:o + 8])
                 for o in range(0, len(draw) // 32 * 32, 32)]
        path = join_path(folder, b"linkdef.dat")
        limits = []
        for key, default in ((b"RTWEIGHT_RIGHT", 45),
                             (b"RTWEIGHT_LEFT", 135)):
            degrees = profile_int(path, b"ROADFLAG", key, default)
            limits.append(math.cos(degrees * 3.141592653589793 / 180.0))
        num = len(calc) // 64
        weight = bytearray(8 * num)
        for n in range(num):
            slots = slots_of(calc, n)
            if len(slots) < 3:
                continue
            numbers = struct.unpack_from("<8i", node_link, 32 * n)
            ends = [shape_of(slots, numbers, codes, shapes, p) for p in slots]
            for a in range(len(slots)):
                for b in range(len(slots)):
                    if is_weighted_turn(ends[a], ends[b], limits):
                        weight[8 * n + a] |= 0x80 >> b
        path = join_path(folder, b"rtweight.dat")
        if not write_whole(path, bytes(weight)):
            return fail(b"Can't open the output file : %s" % path)
        self.log(b" *** Creating Right Turn Weight : End OK *** ")
        return 1

    # -- interchange flags -------------------------------------------------

    def check_fare_data(self):
        complete = True
        for name in (b"TR_FARE2.DAT", b"TR_FARE2.IDX", b"TR_FARE3.DAT",
                     b"TR_LINK.DAT", b"TR_NAME.DAT"):
            f = open_file(self.out(name))
            if f is None:
                complete = False
            else:
                f.close()
        path = self.out(b"PayData.Inf")
        f = open_file(path)
        if f is None:
            return 0
        f.close()
        result = profile_string(path, b"SYSTEM", b"Result", b"", 512)
        return 1 if result == b"OK" and complete else 0

    def set_interchange_flags(self):
        message = self.interchange_work()
        path = self.out(b"PayData.Inf")
        profile_write(path, b"SYSTEM", b"ICFLAG",
                      b"OK" if message is None else b"ERROR")
        if message is not None:
            profile_write(path, b"SYSTEM", b"ICFLAG_ERROR", message)
            return 0
        return 1

    def interchange_work(self):
        """Do the flagging; the message of the failure, or None."""

        def load(name):
            path = self.out(name)
            return path, read_whole(path)

        path, fare = load(b"TR_LINK.DAT")
        if not fare:
            return b"Can't find the FareLink : %s" % path
        path, data = load(b"link.idx")
        if not data:
            return b"Can't find the LinkIndex : %s" % path
        table = load_index(data)
        count = len(data) // 16
        path, data = load(b"linkname.dat")
        if not data or len(data) != count * 30:
            return b"Can't find the LinkName : %s" % path
        names = bytearray(data)
        for k in range(count):
            names[30 * k + 23] &= 0xDF
        for o in range(0, len(fare) // 32 * 32, 32):
            if struct.unpack_from("<h", fare, o + 24)[0] < 1:
                continue
            if fare[o + 26] != 1:
                continue
            k = find_index(table, code_key(fare[o:o + 8]))
            if 0 <= k < count:
                names[30 * k + 23] |= 0x20
        path, node_link = load(b"nodelink.idx")
        if not node_link:
            return b"Can't find the NodeLinkIndex : %s" % path
        num = len(node_link) // 32
        path, data = load(b"mapattr.dat")
        if not data or len(data) != num * 8:
            return b"Can't find the CalcAttribute : %s" % path
        attr = bytearray(data)
        for n in range(num):
            for s, k in enumerate(struct.unpack_from("<8i", node_link,
                                                     32 * n)):
                if 0 <= k < count:
                    attr[8 * n + s] = names[30 * k + 23]
        for name, what, data in ((b"mapattr.dat", b"CalcAttribute", attr),
                                 (b"linkname.dat", b"LinkName", names)):
            if not write_whole(self.out(name), bytes(data)):
                return (b"Can't open the %s for output : %s" %
                        (what, self.out(name)))
        return None


# ---------------------------------------------------------------------------
# Helpers of the network steps
# ---------------------------------------------------------------------------

def add_slot(rec, code):
    """Put a link code into a node's first free slot; False when full."""
    for s in range(8):
        if code_key(rec.links[s]) == 0.0:
            rec.links[s] = code
            return True
    return False


def link_flags(kind, flag, road_def):
    toll, values = road_def
    out = 0
    if kind < 99 and kind in toll:
        out = 1
    if flag <= 0:
        return out
    for bit, value in enumerate(values):
        if flag == value:
            out |= 1 << bit
    return out


def slots_of(calc, n):
    """The neighbours of a node's occupied slots."""
    out = []
    for nb in struct.unpack_from("<8i", calc, 64 * n):
        if nb < 0:
            break
        out.append(nb)
    return out


def turn_slots(slots, far_in, far_out):
    """The slots of arrival and leaving. Of parallel links a later slot takes
    the place of an earlier one while the other end is unknown; None when one
    of them is not found."""
    arrive = leave = None
    for s, neighbour in enumerate(slots):
        if neighbour == far_in:
            arrive = s
        if neighbour == far_out:
            leave = s
        if arrive is not None and leave is not None:
            return arrive, leave
    return None


def far_node(link_node, k, n):
    start, end = struct.unpack_from("<II", link_node, 16 * k)
    if start == n:
        return end
    if end == n:
        return start
    return None


def shape_of(slots, numbers, codes, shapes, neighbour):
    """Points of the link toward a neighbour (first matching slot)."""
    k = numbers[slots.index(neighbour)]
    if k < 0 or k >= len(codes):
        return None
    if codes[k] >= 9.9e13:
        return None
    table, dat = shapes
    entry = table.get(codes[k])
    if entry is None:
        return None
    offset, num = entry
    num = min(num, 2048)
    if num < 2:
        return None
    offset = offset // 8 * 8
    return [tuple(v / 1000000.0 for v in struct.unpack_from("<ii", dat,
                                                            offset + 8 * i))
            for i in range(num)]


def is_weighted_turn(arriving, leaving, limits):
    if arriving is None or leaving is None:
        return False
    # the end points, each with its neighbour along the shape
    for j, a in ((arriving[0], arriving[1]), (arriving[-1], arriving[-2])):
        for e, b in ((leaving[0], leaving[1]), (leaving[-1], leaving[-2])):
            if j == e:
                return turn_test(a, j, b, limits)
    return False


def turn_test(a, j, b, limits):
    """Turn from a over the junction point j to b."""
    dx_in, dy_in = j[0] - a[0], j[1] - a[1]
    dx_out, dy_out = b[0] - j[0], b[1] - j[1]
    if dx_in * dy_in == 0.0 or dx_out * dy_out == 0.0:
        return False
    out2 = dx_out * dx_out + dy_out * dy_out
    in2 = dx_in * dx_in + dy_in * dy_in
    if out2 <= 0.0 or in2 <= 0.0:
        c = -1.0
    else:
        c = ((dx_in * dx_out + dy_in * dy_out) /
             (math.sqrt(out2) * math.sqrt(in2)))
    v = dx_out * dy_in / dx_in
    if dy_out == v:
        right = True
    elif dy_out < v:
        right = dx_in > 0.0
    else:
        right = not dx_in > 0.0
    return (limits[0] if right else limits[1]) >= c


def main(argv=None):
    ap = argparse.ArgumentParser()
    ap.add_argument("control")
    ap.add_argument("--log", required=True)
    ap.add_argument("--stage", choices=("all", "one", "two"), default="all")
    ap.add_argument("--method", choices=("M", "F"))
    ap.add_argument("--msr", action="store_true")
    args = ap.parse_args(argv)
    build = Build(args.control, args.log, args.method, args.msr)
    try:
        if args.stage == "one":
            good = build.path_one()
        elif args.stage == "two":
            good = build.path_two()
        else:
            good = build.run()
    except FieldOverflow:
        return 134
    finally:
        build.log_file.close()
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
