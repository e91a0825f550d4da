#!/usr/bin/env python3
"""Includes point one way.

    tools -> entry -> driver -> stages, map -> records -> frd -> platform

Records are the layouts of files and what belongs to them: network/workstore/, shape/, and single
headers of stages. A stage never includes another stage; map/, which reads a map that was built,
stands beside the stages and includes none of them. Only the back ends of platform/ include
headers of an operating system. Walks src/ and tools/ of the folder given and prints every arrow that is wrong;
the exit status is 0 when there is none. With --self-test it shows wrong arrows to itself first.
"""

import os
import re
import sys
import tempfile

# Layers from the bottom up; the first that holds a file's path (relative to the project) is its
# layer. A file may include its own layer and those below.
LAYERS = [
    ("platform", ["src/platform/"]),
    ("frd", ["src/frd/"]),
    ("records", ["src/network/workstore/", "src/network/network_files.h",
                 "src/network/connection_cost.h", "src/toll/fare_files.h", "src/shape/"]),
    ("stages", ["src/network/", "src/input_zat/", "src/input_msr/", "src/traffic/",
                "src/rtweight/", "src/toll/", "src/map/"]),
    ("driver", ["src/interface/driver/"]),
    ("entry", ["src/interface/entry/", "include/"]),
    ("compat", ["src/compat/"]),  # above all that builds a map: nothing there includes it
    ("tools", ["tools/"]),
]

# What one stage may use of another: the road definition file is the same for both input formats.
STAGE_EXCEPTIONS = {("src/input_msr/", "src/input_zat/road_definition.h")}

BACK_ENDS = ["src/platform/posix/", "src/platform/win32/", "tools/zatmap/platform/posix/",
             "tools/zatmap/platform/win32/"]

# Headers in angle brackets that are no operating system's: the C++ standard library has no
# extension, the C library these names.
C_LIBRARY = {name + ".h" for name in (
    "assert ctype errno float inttypes limits locale math setjmp signal stdarg stdbool stddef "
    "stdint stdio stdlib string time").split()}
# Headers of the compiler: instructions of the processor, under every system.
COMPILER = {"xmmintrin.h"}
TOOL_LIBRARIES = ("CLI/", "nlohmann/")

SOURCES = (".h", ".hpp", ".c", ".cpp", ".inc")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def layer_of(path):
    for rank, (_, prefixes) in enumerate(LAYERS):
        if any(path.startswith(prefix) for prefix in prefixes):
            return rank
    return None


def stage_of(path):
    """The folder of a stage, None for files of other layers."""
    rank = layer_of(path)
    if rank is None or LAYERS[rank][0] != "stages":
        return None
    return "/".join(path.split("/")[:2]) + "/"


def back_end_of(path):
    return next((folder for folder in BACK_ENDS if path.startswith(folder)), None)


def is_system_header(name, path):
    if name in C_LIBRARY or name in COMPILER or (path.startswith("tools/") and name.startswith(TOOL_LIBRARIES)):
        return False
    return "/" in name or "." in name


def resolve(root, path, name):
    """The project file that a quoted include means, None when there is no such file."""
    for folder in (os.path.dirname(path), "src", "include", "tools/zatmap"):
        found = os.path.normpath(os.path.join(folder, name))
        # A header may be made by the build, from a file with .in behind its name.
        if any(os.path.isfile(os.path.join(root, found + end)) for end in ("", ".in")):
            return found.replace(os.sep, "/")
    return None


def wrong_arrow(path, target):
    """Why `path` may not include the project file `target`, None when it may."""
    from_rank, to_rank = layer_of(path), layer_of(target)
    if from_rank is None:
        return "lies in no layer"
    if to_rank is None:
        return "includes %s, which lies in no layer" % target
    if to_rank > from_rank:
        return "%s includes %s, which is above it (%s)" % (
            LAYERS[from_rank][0], target, LAYERS[to_rank][0])
    back_end = back_end_of(target)
    if back_end is not None and back_end_of(path) != back_end:
        return "includes %s, which belongs to one back end" % target
    stage, other = stage_of(path), stage_of(target)
    if stage and other and stage != other and (stage, target) not in STAGE_EXCEPTIONS:
        return "a stage includes another stage's %s" % target
    return None


def check(root):
    """Returns the wrong arrows as texts, and how many includes were looked at."""
    wrong, count = [], 0
    for top in ("src", "tools"):
        for folder, _, files in sorted(os.walk(os.path.join(root, top))):
            for file in sorted(files):
                if not file.endswith(SOURCES):
                    continue
                full = os.path.join(folder, file)
                path = os.path.relpath(full, root).replace(os.sep, "/")
                with open(full, encoding="utf-8", errors="replace") as source:
                    lines = source.readlines()
                for number, line in enumerate(lines, 1):
                    match = INCLUDE.match(line)
                    if not match:
                        continue
                    count += 1
                    name = match.group(2)
                    why = None
                    if match.group(1) == "<":
                        if is_system_header(name, path) and back_end_of(path) is None:
                            why = "includes <%s>, a header of the system or of a stranger" % name
                    else:
                        target = resolve(root, path, name)
                        why = ("includes %s, which does not exist" % name if target is None
                               else wrong_arrow(path, target))
                    if why:
                        wrong.append("%s:%d: %s" % (path, number, why))
    return wrong, count


def self_test():
    """Every line: a file, what it includes, and whether that is wrong."""
    cases = [
        ("src/frd/log.h", '"platform/file.h"', False),
        ("src/frd/log.h", '"frd/text.h"', False),
        ("src/network/build.cpp", '"frd/text.h"', False),
        ("src/network/build.cpp", '"network/workstore/feature_code.h"', False),
        ("src/shape/shape.cpp", '"network/workstore/feature_code.h"', False),
        ("src/input_msr/driver.cpp", '"input_zat/road_definition.h"', False),
        ("src/map/graph.cpp", '"network/network_files.h"', False),
        ("src/map/fields.cpp", '"toll/fare_files.h"', False),
        ("tools/zatmap/look/info.cpp", '"map/graph.h"', False),
        ("tools/zatmap/look/info.cpp", '"shell/output.h"', False),
        ("src/interface/driver/driver.cpp", '"toll/toll.h"', False),
        ("src/platform/posix/file.cpp", "<unistd.h>", False),
        ("src/platform/posix/file.cpp", '"platform/posix/native_path.h"', False),
        ("src/platform/win32/file.cpp", "<windows.h>", False),
        ("src/frd/log.h", "<string>", False),
        ("src/frd/log.h", "<stdint.h>", False),
        ("src/platform/float_mode.cpp", "<xmmintrin.h>", False),
        ("tools/zatmap/shell/command_line.cpp", "<CLI/CLI.hpp>", False),
        ("tools/zatmap/main.cpp", '"zatlib.h"', False),
        ("src/platform/file.h", '"frd/text.h"', True),
        ("src/frd/log.cpp", '"network/workstore/feature_code.h"', True),
        ("src/network/workstore/sort.cpp", '"network/build.h"', True),
        ("src/shape/shape.cpp", '"toll/toll.h"', True),
        ("src/toll/toll.cpp", '"interface/driver/driver.h"', True),
        ("src/interface/driver/driver.cpp", '"interface/entry/exports.h"', True),
        ("src/interface/driver/driver.cpp", '"zatlib.h"', True),
        ("src/traffic/rules.cpp", '"toll/toll.h"', True),
        ("src/map/graph.cpp", '"toll/toll.h"', True),
        ("src/map/graph.cpp", '"network/build.h"', True),
        ("src/map/graph.cpp", '"shell/output.h"', True),
        ("src/toll/toll.cpp", '"map/graph.h"', True),
        ("src/compat/services.cpp", '"frd/text.h"', False),
        ("src/frd/log.cpp", '"compat/services.h"', True),
        ("src/interface/entry/exports.cpp", '"compat/services.h"', True),
        ("src/traffic/rules.cpp", '"../toll/toll.h"', True),
        ("src/input_msr/driver.cpp", '"input_zat/reader.h"', True),
        ("src/input_zat/reader.cpp", '"input_msr/driver.h"', True),
        ("src/traffic/rules.cpp", '"input_zat/road_definition.h"', True),
        ("src/frd/log.cpp", '"platform/posix/native_path.h"', True),
        ("src/platform/win32/file.cpp", '"platform/posix/native_path.h"', True),
        ("src/platform/seam.cpp", "<windows.h>", True),
        ("src/frd/log.cpp", "<unistd.h>", True),
        ("src/frd/log.cpp", "<sys/stat.h>", True),
        ("src/interface/entry/exports.cpp", "<windows.h>", True),
        ("src/frd/log.cpp", "<CLI/CLI.hpp>", True),
        ("tools/zatmap/main.cpp", "<windows.h>", True),
        ("src/frd/log.cpp", '"frd/missing.h"', True),
    ]
    targets = ["src/platform/file.h", "src/platform/posix/native_path.h", "src/frd/text.h",
               "src/network/workstore/feature_code.h", "src/network/build.h", "src/shape/shape.h",
               "src/toll/toll.h", "src/input_zat/road_definition.h", "src/input_zat/reader.h",
               "src/input_msr/driver.h", "src/interface/driver/driver.h",
               "src/interface/entry/exports.h", "include/zatlib.h",
               "src/network/network_files.h", "src/toll/fare_files.h", "src/map/graph.h",
               "tools/zatmap/shell/output.h", "src/compat/services.h"]
    failures = 0
    for path, include, expected in cases:
        with tempfile.TemporaryDirectory() as root:
            for file, text in [(t, "") for t in targets] + [(path, "#include %s\n" % include)]:
                os.makedirs(os.path.join(root, os.path.dirname(file)), exist_ok=True)
                with open(os.path.join(root, file), "w", encoding="utf-8") as source:
                    source.write(text)
            wrong, count = check(root)
        if count != 1 or bool(wrong) != expected:
            failures += 1
            print("%s including %s: expected %s, got %s" % (
                path, include, "an objection" if expected else "none", wrong or "none"))
    print("%d arrows shown, %d judged wrongly" % (len(cases), failures))
    return failures


def main():
    if len(sys.argv) == 2 and sys.argv[1] == "--self-test":
        return 1 if self_test() else 0
    if len(sys.argv) != 2:
        print("usage: include_direction.py PROJECT_FOLDER | --self-test", file=sys.stderr)
        return 2
    wrong, count = check(sys.argv[1])
    for line in wrong:
        print(line)
    print("%d includes, %d of them wrong" % (count, len(wrong)))
    return 1 if wrong or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
