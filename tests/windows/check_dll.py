#!/usr/bin/env python3
"""Looks into zatlib.dll: it exports its seven functions and nothing else, and it needs system
libraries only, no compiler's run-time library. Its properties show the version.

    check_dll.py OBJDUMP zatlib.dll VERSION
"""

import re
import struct
import subprocess
import sys

EXPORTS = [
    "ZAT_NWB_BRN400_PathOneMSR",
    "ZAT_NWB_BRN400_PathOneZAT",
    "ZAT_NWB_BRN400_PathTwo",
    "ZAT_NWB_BuildRoadNetworks400",
    "ZAT_NWB_BuildRoadNetworksEx",
    "ZAT_NWB_GetLibInstance",
    "ZAT_NWB_GetLibVersion",
]
SYSTEM = {"kernel32.dll", "user32.dll", "gdi32.dll", "comctl32.dll", "shell32.dll", "shlwapi.dll",
          "msvcrt.dll", "ucrtbase.dll"}


def is_system(name):
    return name in SYSTEM or name.startswith("api-ms-win-crt-")


def file_version(path):
    """The version of a DLL's resources, "" when it has none."""
    with open(path, "rb") as file:
        content = file.read()
    at = content.find(struct.pack("<II", 0xFEEF04BD, 0x10000))
    if at < 0:
        return ""
    high, low = struct.unpack_from("<II", content, at + 8)
    return "%d.%d.%d.%d" % (high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF)


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    text = subprocess.run(sys.argv[1:2] + ["-p", sys.argv[2]], check=True, capture_output=True,
                          text=True, errors="replace", timeout=60).stdout
    names = text.partition("[Ordinal/Name Pointer] Table")[2]
    exports = sorted(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-f]+\s+)?(\w+)\s*$",
                                names, re.MULTILINE))
    imports = sorted({name.lower() for name in re.findall(r"DLL Name: (\S+)", text)})
    faults = []
    if exports != EXPORTS:
        faults.append("exports %s instead of %s" % (exports, EXPORTS))
    strangers = [name for name in imports if not is_system(name)]
    if strangers:
        faults.append("needs %s" % strangers)
    if "kernel32.dll" not in imports:
        faults.append("imports of the system were not recognised: %s" % imports)
    if file_version(sys.argv[2]) != sys.argv[3]:
        faults.append("is of version %s instead of %s" % (file_version(sys.argv[2]), sys.argv[3]))
    for fault in faults:
        print("%s: %s" % (sys.argv[2], fault))
    print("exports: %s\nimports: %s" % (" ".join(exports), " ".join(imports)))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
