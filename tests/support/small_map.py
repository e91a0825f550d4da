"""A map of four nodes whose every byte can be worked out by hand."""

CONTROL = """[SYSTEM]
SILENTMODE=1
[FOLDER]
CALCMAPDIR=out
[ROADFLAG]
PARKING=5
[DEFAULTSPEED]
SPEEDA=9
SPEEDB=18
[NODE]
FILENUM=1
FILE01=nodes.txt
[NODEXY]
FILENUM=1
FILE01=nodexy.txt
[LINK]
FILENUM=1
FILE01=links.txt
[NODETRF]
FILENUM=1
FILE01=nodetrf.txt
[LINKTRF]
FILENUM=1
FILE01=linktrf.txt
[LINKSHAPE]
FILENUM=1
FILE01=linkshape.txt
"""
# Node 102 is a junction: 201 comes from the west (101), 202 goes north (103), 203 east (104).
# Nobody may leave 104 along 203, nor turn from 201 into 203 at 102.
SMALL = {
    "control.ini": CONTROL,
    "nodes.txt": "101,7,0,1,201\n102,0,0,3,201,202,203\n103,0,0,1,202\n104,0,0,1,203\n",
    "nodes.mid": '103,0,0,1,202,0,0,0,0,0,0,0,"Hill, no"\n'.replace(", no", ""),
    "nodexy.txt": "101,10.000000,50.000000\n102,10.001000,50.000100\n"
                  "103,10.000900,50.001000\n104,10.002000,50.000300\n",
    "links.txt": "201,3,7,100,1,0,2,101,102,36,0,0,4,Main Street\n"
                 "202,1,7,50,1,0,2,102,103,50,50,0\n203,3,8,20,1,0,2,102,104,20,20,5\n",
    "nodetrf.txt": "102,201,203,2\n",
    "linktrf.txt": "203,102,104,0,2\n",
    "linkshape.txt": "201,2\n10.000000,50.000000\n10.001000,50.000100\n"
                     "202,3\n10.001000,50.000100\n10.001050,50.000600\n10.000900,50.001000\n"
                     "203,2\n10.001000,50.000100\n10.002000,50.000300\n",
}


def write(folder):
    """The sources in a folder (a path of pathlib)."""
    for name, text in SMALL.items():
        (folder / name).write_bytes(text.replace("\n", "\r\n").encode("ascii"))
