#!/usr/bin/env python3
"""Looks into zatlib.dll: it exports its seven functions and nothing else, and it needs system
libraries only, no compiler's run-time library.

    check_dll.py OBJDUMP zatlib.dll
"""

import re
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


def main():
    if len(sys.argv) != 3:
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
    for fault in faults:
        print("%s: %s" % (sys.argv[2], fault))
    print("exports: %s\nimports: %s" % (" ".join(exports), " ".join(imports)))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
