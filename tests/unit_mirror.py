#!/usr/bin/env python3
"""tests/unit/ mirrors src/: the tests of src/a/b.cpp or src/a/b.h stand in tests/unit/a/b_test.cpp.

Prints every test file without a source file of its name; the exit status is 0 when there is none.
With --self-test it shows wrong places to itself first.
"""

import os
import sys
import tempfile

SOURCES = (".h", ".cpp")
END = "_test.cpp"

# Tests that belong to no single source file, each with the reason.
SUBJECTS = {
    "input_zat/long_field_test.cpp": "what a field that ends the process leaves, for all steps",
    "input_zat/source_memory_test.cpp": "lack of memory for source lines, for all steps",
    "network/large_network_test.cpp": "networks of many blocks go through every step of the folder",
    "network/limits_test.cpp": "the edge of 32-bit numbers is one subject of all steps and stores",
}


def misplaced(root, subjects):
    """The tests without a source file and the exceptions without need, as texts; the number of
    tests."""
    wrong, tests = [], set()
    unit = os.path.join(root, "tests", "unit")
    for folder, _, files in sorted(os.walk(unit)):
        for file in sorted(files):
            if not file.endswith(END):
                continue
            path = os.path.relpath(os.path.join(folder, file), unit).replace(os.sep, "/")
            tests.add(path)
            source = os.path.join(root, "src", path[:-len(END)])
            if path not in subjects and not any(os.path.isfile(source + e) for e in SOURCES):
                wrong.append("tests/unit/%s: no src/%s.h or .cpp" % (path, path[:-len(END)]))
    for path in sorted(set(subjects) - tests):
        wrong.append("%s: an exception for a test that is gone" % path)
    return wrong, len(tests)


def self_test():
    """Every line: the source file, the test, the exceptions, and the number of objections."""
    cases = [
        ("src/frd/log.cpp", "tests/unit/frd/log_test.cpp", {}, 0),
        ("src/frd/log.h", "tests/unit/frd/log_test.cpp", {}, 0),
        ("src/a/b/log.h", "tests/unit/a/b/log_test.cpp", {}, 0),
        ("src/a/b/log.h", "tests/unit/b/log_test.cpp", {}, 1),
        ("src/a/log.h", "tests/unit/a/b/log_test.cpp", {}, 1),
        ("src/frd/log.txt", "tests/unit/frd/log_test.cpp", {}, 1),
        ("src/frd/log.h", "tests/unit/frd/logs_test.cpp", {}, 1),
        ("src/frd/log.h", "tests/unit/frd/logs_test.cpp", {"frd/logs_test.cpp": "why"}, 0),
        ("src/frd/log.h", "tests/unit/frd/log_test.cpp", {"frd/logs_test.cpp": "why"}, 1),
    ]
    failures = 0
    for source, test, subjects, expected in cases:
        with tempfile.TemporaryDirectory() as root:
            for path in (source, test):
                os.makedirs(os.path.join(root, os.path.dirname(path)), exist_ok=True)
                open(os.path.join(root, path), "w", encoding="utf-8").close()
            wrong, count = misplaced(root, subjects)
        if count != 1 or len(wrong) != expected:
            failures += 1
            print("%s for %s: expected %d objections, got %s" % (test, source, expected, wrong))
    print("%d places shown, %d judged wrongly" % (len(cases), failures))
    return failures


def main():
    if len(sys.argv) == 2 and sys.argv[1] == "--self-test":
        return 1 if self_test() else 0
    if len(sys.argv) != 2:
        print("usage: unit_mirror.py PROJECT_FOLDER | --self-test", file=sys.stderr)
        return 2
    wrong, count = misplaced(sys.argv[1], SUBJECTS)
    for line in wrong:
        print(line)
    print("%d test files, %d in a wrong place" % (count, len(wrong)))
    return 1 if wrong or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
