#!/usr/bin/env python3
"""zatmap check: a file that is not what it is taken for, or rows that are not what they should be, is one
finding, which names the cause.

    python3 zatmap_causes_test.py --zatmap PROGRAM [--source FOLDER] [unittest arguments]
"""

import bz2
import gzip
import io
import lzma
import os
import re
import sqlite3
import sys
import tempfile
import unittest
import zipfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import broken_city  # pylint: disable=wrong-import-position
import zatmap  # pylint: disable=wrong-import-position
from broken_city import (CITY, MIF, TEXT, Causes, both, change,  # pylint: disable=wrong-import-position
                         change_rows, content, numbered)


def zipped(text):
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w") as archive:
        archive.writestr("links.txt", text)
    return file.getvalue()


def geopackage(_):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "links.gpkg")
        base = sqlite3.connect(path)
        base.execute("pragma application_id=%d" % 0x47504B47)
        base.execute("create table links(code)")
        base.commit()
        base.close()
        return zatmap.read(path)


def with_names(word, encoding):
    return content("linkname.txt",
                   lambda text: text.decode("cp932").replace("Avenue", word).encode(encoding))


class Files(Causes):
    def test_files_of_other_programs(self):
        for name, make, what in (
                ("links.txt", gzip.compress, "a file compressed by gzip: unpack it (gunzip)"),
                ("nodes.txt", bz2.compress, "a file compressed by bzip2: unpack it (bunzip2)"),
                ("nodexy.txt", lzma.compress, "a file compressed by xz: unpack it (unxz)"),
                ("links.txt", zipped, "a zip archive: unpack it (unzip)"),
                ("links.txt", lambda _: b"\x28\xb5\x2f\xfd" + bytes(range(200)),
                 "a file compressed by zstd: unpack it (unzstd)"),
                ("links.txt", geopackage, "a GeoPackage (a database of SQLite)"),
                ("links.txt", lambda _: b"\0\0\x27\x0a" + bytes(96), "a shapefile"),
                ("links.txt", lambda _: b"\x03\x7e\x0b\x15\1\0\0\0\x41\0\x0b\0" + bytes(52) + b"\r ",
                 "a dBASE table, as a shapefile has (.dbf)"),
                ("links.txt", lambda _: b"PAR1" + bytes(range(200)), "a Parquet file"),
                ("links.txt", lambda _: b"fgb\3fgb\0" + bytes(range(200)), "a FlatGeobuf file"),
                ("links.txt", lambda _: b'{"type": "FeatureCollection", "features": []}',
                 "a GeoJSON file"),
                ("links.txt", lambda _: b'<?xml version="1.0"?><gml xmlns="http://www.opengis.net/'
                                        b'gml"/>', "a GML file"),
                ("links.txt", lambda _: b'<?xml version="1.0"?>\n<kml/>', "a KML file"),
                ("links.txt", lambda _: b"PK\3\4" + bytes(26) + b"xl/workbook.xml",
                 "an Excel table or another document of Office"),
                ("links.txt", lambda _: b"\0\0\0\x0d\x0a\x09OSMHeader\x18\x20" + bytes(32),
                 "OpenStreetMap data (.osm.pbf)"),
                ("links.txt", lambda _: b"!table\r\n!version 300\r\n",
                 "a MapInfo table (.tab): export it as MIF"),
                ("links.txt", lambda _: bytes(i * 37 % 251 for i in range(5000)),
                 "bytes that are no text")):
            with self.subTest(what):
                self.expect(TEXT, content(name, make), (name + ":0:0", "file-kind", what))

    def test_mif_and_text(self):
        self.expect(MIF, change(MIF, b"MIF=1", b"MIF=0"),
                    ("link.mif:0:0", "mif-as-text", "[LINK] FILE01"),
                    ("node.mif:0:0", "mif-as-text", "[NODE] FILE01"))
        self.expect(TEXT, change(TEXT, b"MIF=0", b"MIF=1"),
                    ("links.txt:0:0", "text-as-mif", "[LINK] FILE01 holds rows of columns"),
                    ("nodes.txt:0:0", "text-as-mif", "[NODE] FILE01 holds rows of columns"))
        self.expect(MIF, change(MIF, b"link.mif", b"link.mid"),
                    ("link.mid:0:0", "text-as-mif",
                     "[LINK] FILE01 is the .mid: name the .mif beside it"))
        self.expect(MIF, lambda files: files.pop("link.mid"),
                    ("link.mid:0:0", "mif-mid-missing", "[LINK] FILE01, control_mif.ini line 53"))
        self.expect(MIF, content("link.mid", lambda _: b""),
                    ("link.mif:0:0", "no-records", "no link"),
                    ("link.mif:1:0", "mif-count", "731 objects and 0 records"))

    @unittest.skipIf(os.name == "nt", "Windows has no such files")
    def test_no_files(self):
        def replaced(name, make):
            def build(folder):
                path = os.path.join(folder, name)
                if os.path.exists(path):
                    os.remove(path)
                make(path)
            return build
        for name, make, what in (
                ("links.txt", os.mkfifo, "a pipe"), ("nodexy.txt", os.mkfifo, "a pipe"),
                ("nodes.mid", os.mkfifo, "a pipe"), ("links.txt", os.mkdir, "a folder"),
                ("linkshape.txt", lambda path: os.symlink("/dev/zero", path), "a device"),
                ("control.ini", os.mkfifo, "a pipe")):
            with self.subTest(name + " " + what):
                self.expect(TEXT, lambda files: None, (name + ":0:0", "file-not-regular", what),
                            make=replaced(name, make))

    @unittest.skipIf(os.name == "nt", "Windows has other rights")
    def test_rights(self):
        def without(name, mode):
            def take(folder):
                os.chmod(folder, 0o755)
                os.chmod(os.path.join(folder, name), mode)
            return take
        root = os.geteuid() == 0
        user = {"user": 65534} if root else {}
        other = [("control.ini:17:0", "folder-read-only", "out")] if root else []
        try:
            self.expect(TEXT, lambda files: None,
                        *other, ("linkname.txt:0:0", "file-denied",
                                 "[LINKNAME] FILE01, control.ini line 67"),
                        make=without("linkname.txt", 0o000), **user)
            self.expect(TEXT, lambda files: None,
                        ("control.ini:17:0", "folder-read-only", "out"),
                        make=without("out", 0o555), **user)
        except PermissionError:
            self.skipTest("another user does not see the program")

    def test_empty_files(self):
        self.expect(TEXT, content("linktrf.txt", lambda _: b""),
                    ("linktrf.txt:0:0", "file-empty", "[LINKTRF] FILE01"))
        for name, what in (("nodexy.txt", "no coordinates"), ("links.txt", "no link"),
                           ("nodes.txt", "no node"), ("linkshape.txt", "no shape")):
            self.expect(TEXT, content(name, lambda _: b""), (name + ":0:0", "no-records", what))

    def test_wide_text(self):
        for encoding, what in (("utf-16", "bytes FF FE"),
                               ("utf-16-le", "UTF-16LE without a byte order mark"),
                               ("utf-16-be", "UTF-16BE without a byte order mark")):
            for name in ("links.txt", "nodexy.txt", "control.ini"):
                self.expect(TEXT, content(name, lambda text, to=encoding:
                                          text.decode("cp932").encode(to)),
                            (name + ":1:0", "wide-text", what))

    def test_control_file(self):
        self.expect(TEXT, change(TEXT, b"[LINKTRF]", b"[LINKTRF"),
                    ("control.ini:74:0", "section-bracket", "[LINKTRF"))
        number = CITY[TEXT][:CITY[TEXT].index(b"FILE01=linktrf")].count(b"\n")
        self.expect(TEXT, content(TEXT, lambda text: re.sub(
            rb"FILENUM=1(\r?\nFILE01=linktrf)", rb"FILENUM=0\1", text)),
                    ("control.ini:%d:0" % number, "filenum-zero", "[LINKTRF] FILENUM=0"))
        self.expect(TEXT, change(TEXT, b"CALCMAPDIR=out", b"CALCMAPDIR=links.txt"),
                    ("control.ini:17:0", "folder-file", "links.txt"))


class Lines(Causes):
    def test_delimiters(self):
        for name, rows in (("links.txt", 731), ("nodes.txt", 577), ("nodexy.txt", 577),
                           ("linkname.txt", 415), ("linkspeed.txt", 48), ("linktrf.txt", 381),
                           ("nodetrf.txt", 241)):
            for sign in (b";", b"|"):
                self.expect(TEXT, change(name, b",", sign),
                            (name + ":0:0", "delimiter", "'%s' separates the fields in all %d rows"
                             % (sign.decode(), rows)))
        for name, share in (("links.txt", "all 731"), ("nodexy.txt", "all 577"),
                            ("linkshape.txt", "all of the first 4000")):
            self.expect(TEXT, change(name, b",", b" "),
                        (name + ":0:0", "delimiter",
                         "a blank separates the fields in %s rows" % share))
        self.expect(TEXT, change("links.txt", b",", b"\t"))
        self.expect(MIF, both(change("link.mid", b",", b";"),
                              change("link.mif", b'Delimiter ","', b'Delimiter ";"')),
                    ("link.mid:0:0", "delimiter", "';' separates the fields in all 731 rows"),
                    ("link.mif:0:0", "mif-delimiter", 'Delimiter ";"'))

    def test_a_column_too_many(self):
        for control, name, rows, first in (
                (TEXT, "links.txt", 731, "link code"), (TEXT, "nodes.txt", 577, "node code"),
                (TEXT, "nodexy.txt", 577, "node code"), (TEXT, "linkname.txt", 415, "link code"),
                (TEXT, "linkspeed.txt", 48, "link code"), (TEXT, "linktrf.txt", 381, "link"),
                (TEXT, "nodetrf.txt", 241, "node"), (MIF, "link.mid", 731, "link code"),
                (MIF, "node.mid", 577, "node code")):
            self.expect(control, numbered(name),
                        (name + ":1:1", "columns-shifted",
                         "one column too many from column 1 on in all %d rows: "
                         "%s stands in column 2 instead of 1" % (rows, first)))
        self.expect(TEXT, content("linkshape.txt",
                                  lambda text: re.sub(rb"(?m)^(1000\d+,)", rb"7,\1", text)),
                    ("linkshape.txt:1:1", "columns-shifted",
                     "one column too many from column 1 on in all of the first 604 first lines of "
                     "shapes: link code stands in column 2 instead of 1"))
        self.expect(TEXT, change_rows("links.txt", lambda row: row[:3] + [b"text"] + row[3:]),
                    ("links.txt:1:4", "columns-shifted",
                     "one column too many from column 4 on in all 731 rows: "
                     "node A stands in column 9 instead of 8"))

    def test_a_column_missing(self):
        for control, name in ((TEXT, "links.txt"), (MIF, "link.mid")):
            self.expect(control, change_rows(name, lambda row: row[:2] + row[3:]),
                        (name + ":1:2", "columns-shifted",
                         "one of the columns 2 to 7 is missing in all 731 rows: "
                         "node A stands in column 7 instead of 8"))
        self.expect(TEXT, change_rows("nodes.txt", lambda row: row[:3] + row[4:]),
                    ("nodes.txt:1:3", "columns-shifted",
                     "one of the columns 3 to 4 is missing in all 577 rows: "
                     "links stands in column 4 instead of 5"))

    def test_stray_quote(self):
        self.expect(TEXT, change("linkname.txt", b'Alice"', b"Alice", 1),
                    ("linkname.txt:1:0", "quote-open",
                     '10000020000001,10000010000001,1,"Avenue Princesse Alice'))

    def test_names_in_other_encodings(self):
        self.expect(TEXT, with_names("Stra\u00dfe", "utf-8"),
                    ("linkname.txt:0:0", "names-utf8",
                     'all 166 lines with such names, such as "Stra\u00dfe Princesse Alice": '
                     "iconv -f UTF-8 -t CP932//TRANSLIT linkname.txt > converted.txt; code page 932 "
                     "lacks \u00df: code page 1252 has them (iconv -t CP1252, and zatmap with "
                     "--code-page 1252)"))
        self.expect(TEXT, with_names("\u901a\u308a", "utf-8"),
                    ("linkname.txt:0:0", "names-utf8",
                     'all 166 lines with such names, such as "\u901a\u308a Princesse Alice": '
                     "iconv -f UTF-8 -t CP932//TRANSLIT linkname.txt > converted.txt"))
        self.expect(TEXT, with_names("Stra\u00dfe", "latin1"),
                    ("linkname.txt:0:0", "names-western",
                     "166 such letters in 166 lines, the first in "
                     '"Stra\u00dfe Princesse Alice"'))
        self.expect(TEXT, with_names("\u901a\u308a", "euc_jp"),
                    ("linkname.txt:0:0", "names-euc-jp", "all 166 lines with such names: "
                     "iconv -f EUC-JP -t CP932//TRANSLIT linkname.txt > converted.txt"))
        self.expect(TEXT, content("nodename.txt", lambda text: re.sub(
            b'"[^"]*"', '"\u901a\u308a"'.encode("cp932"), text)))


if __name__ == "__main__":
    broken_city.main()
