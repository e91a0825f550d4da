"""Four small networks without a fault, as source files: a name and its content each.

A test breaks one thing in a copy, puts the files into a folder and looks at what zatmap says. The
network is a ring of five nodes and five links.
"""

import contextlib
import os
import shutil
import tempfile

XY = {11: ("7.420000", "43.730000"), 12: ("7.421000", "43.730000"),
      13: ("7.422000", "43.731000"), 14: ("7.421000", "43.732000"),
      15: ("7.420000", "43.731000")}
RING = [(101, 11, 12), (102, 12, 13), (103, 13, 14), (104, 14, 15), (105, 15, 11)]


def lines(*rows):
    return "".join(row + "\r\n" for row in rows).encode("latin1")


def header(columns, *names):
    return ["Version 300", 'Charset "WindowsJapanese"', 'Delimiter ","',
            "CoordSys Earth Projection 1, 104", "Columns %d" % columns,
            *("  %s Char(14)" % name for name in names), "Data", ""]


def plines():
    rows = []
    for _, a, b in RING:
        rows += ["Pline 2", "%s %s" % XY[a], "%s %s" % XY[b], "    Pen (1,2,0)"]
    return rows


def slots(node):
    own = [str(code) for code, a, b in RING if node in (a, b)]
    return own + ["0"] * (8 - len(own))


def zat_text():
    """The text files of the ZAT layouts."""
    return {
        "control.ini": lines(
            "[SYSTEM]", "FORMAT=ZAT", "SILENTMODE=1", "CODELENGTH=14",   # 1 to 4
            "[FOLDER]", "CALCMAPDIR=out",                                # 5, 6
            "[DEFAULTSPEED]", "SPEEDA=20", "SPEEDB=15",                  # 7 to 9
            "[ROADFLAG]", "HIGHWAY=1", "FERRY=3",                        # 10 to 12
            "[NODE]", "FILENUM=1", "FILE01=nodes.txt", "MIF=0",          # 13 to 16
            "[NODEXY]", "FILENUM=1", "FILE01=nodexy.txt",                # 17 to 19
            "[NODENAME]", "FILENUM=1", "FILE01=nodename.txt",            # 20 to 22
            "[LINK]", "FILENUM=1", "FILE01=links.txt", "MIF=0",          # 23 to 26
            "[LINKSPEED]", "FILENUM=1", "FILE01=linkspeed.txt",          # 27 to 29
            "[LINKNAME]", "FILENUM=1", "FILE01=linkname.txt",            # 30 to 32
            "[NODETRF]", "FILENUM=1", "FILE01=nodetrf.txt",              # 33 to 35
            "[LINKTRF]", "FILENUM=1", "FILE01=linktrf.txt",              # 36 to 38
            "[LINKSHAPE]", "FILENUM=1", "FILE01=linkshape.txt"),         # 39 to 41
        "nodes.txt": lines(*(",".join([str(n), "1", "0", "2", *slots(n), ""]) for n in XY)),
        "nodes.mid": lines('11,1,0,2,101,105,0,0,0,0,0,0,"Start"'),
        "nodexy.txt": lines(*("%d,%s,%s" % (n, *XY[n]) for n in XY)),
        "nodename.txt": lines('12,1,"Second"'),
        "links.txt": lines(*('%d,4,10001,100,1,1,1,%d,%d,40,40,0,1,"Road"' % ring
                             for ring in RING)),
        "linkspeed.txt": lines("102,12,13,30,35,1"),
        "linkname.txt": lines('103,13,1,"Third"'),
        "nodetrf.txt": lines("12,101,102,2"),
        "linktrf.txt": lines("104,14,15,2,0"),
        "linkshape.txt": lines(*(row for code, a, b in RING for row in
                                 ("%d,2" % code, "%s,%s" % XY[a], "%s,%s" % XY[b]))),
    }


def zat_mif():
    """MIF files of the ZAT layouts."""
    return {
        "control.ini": lines(
            "[SYSTEM]", "CODELENGTH=14", "[FOLDER]", "CALCMAPDIR=out",   # 1 to 4
            "[NODE]", "FILENUM=1", "FILE01=node.mif", "MIF=1",           # 5 to 8
            "[LINK]", "FILENUM=1", "FILE01=link.mif", "MIF=1",           # 9 to 12
            "[NODETRF]", "FILENUM=0", "[LINKTRF]", "FILENUM=0"),         # 13 to 16
        "node.mid": lines(*(",".join(['"%d"' % n, "1", '"0"', "2",
                                      *('"%s"' % s for s in slots(n)), '""']) for n in XY)),
        "node.mif": lines(*header(3, "NODECODE", "ATTR", "PARTNER"),
                          *("Point %s %s" % XY[n] for n in XY)),
        "link.mid": lines(*('"%d",4,10001,100,1,1,1,"%d","%d",40,40,0,1,"Road"' % ring
                            for ring in RING)),
        "link.mif": lines(*header(3, "LINKCODE", "KIND", "CITY"), *plines()),
    }


def msr():
    """The MSR layouts with CSV files."""
    return {
        "control.ini": lines(
            "[SYSTEM]", "FORMAT=MSR", "CODELENGTH=14", "[FOLDER]", "CALCMAPDIR=out",  # 1 to 5
            "[DROTEN]", "FILENUM=1", "FILE01=droten.mif",                             # 6 to 8
            "[DKUKAN]", "FILENUM=1", "FILE01=dkukan.csv", "MIFOUTPUT=0",              # 9 to 12
            "[KUKANZ]", "FILENUM=1", "FILE01=kukanz.csv",                             # 13 to 15
            "[TUKOUJ]", "FILENUM=1", "FILE01=tukouj.csv"),                            # 16 to 18
        "droten.mid": lines(*(",".join(["10", str(n), "1", "0", "0", '""', "2", *slots(n)])
                              for n in XY)),
        "droten.mif": lines(*header(3, "AREA", "NODE", "ATTR"),
                            *("Point %s %s" % XY[n] for n in XY)),
        "dkukan.csv": lines(*("%d,4,10,1,100,1,1,%d,%d,1,40,40,0" % ring for ring in RING)),
        "kukanz.csv": lines('10,103,1,"Third",1'),
        "tukouj.csv": lines("10,12,101,102,2", "10,13,102,103,2"),
    }


def msr_mif():
    """The MSR layouts with shapes."""
    files = msr()
    files["control.ini"] = files["control.ini"].replace(
        b"FILE01=dkukan.csv\r\nMIFOUTPUT=0", b"FILE01=dkukan.mif\r\nMIFOUTPUT=1")
    files["dkukan.mid"] = files.pop("dkukan.csv")
    files["dkukan.mif"] = lines(*header(3, "LINKCODE", "KIND", "AREA"), *plines())
    return files


@contextlib.contextmanager
def folder_of(files, folders=("out",)):
    root = tempfile.mkdtemp(prefix="zatmap_check_")
    try:
        for name in folders:
            os.makedirs(os.path.join(root, name))
        for name, content in files.items():
            with open(os.path.join(root, name), "wb") as out:
                out.write(content)
        yield root
    finally:
        shutil.rmtree(root)
