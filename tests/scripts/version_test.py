#!/usr/bin/env python3
"""The version stands in CMakeLists.txt: the program tells it, and the texts for people agree.

    version_test.py --zatmap PROGRAM [unittest arguments]
"""

import argparse
import os
import re
import subprocess
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
# Who may spell it out: what is read without a build, the tests of the exported function and its
# guard, and the history.
TEXTS = {
    "CMakeLists.txt": {"dotted"},
    "CHANGELOG.md": {"dotted", "short", "number"},
    "README.md": {"short", "number"},
    "docs/guide.ja.md": {"number"},
    "docs/hosting.md": {"number"},
    "include/zatlib.h": {"dotted", "short", "number"},
    "src/interface/entry/exports.cpp": {"number"},
    "tests/unit/interface/entry/exports_test.cpp": {"short", "number"},
    "tests/windows/float_host.c": {"number"},
}


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def version():
    dotted = re.search(r"project\(zatlib VERSION (\d+\.\d+\.\d+\.\d+)\s", read("CMakeLists.txt")).group(1)
    major, *rest = dotted.split(".")
    return {"dotted": dotted, "short": major + "." + "".join(rest), "number": major + "".join(rest)}


class Version(unittest.TestCase):
    def test_the_program_tells_it(self):
        out = subprocess.run([OPTIONS.zatmap, "--version"], check=True, capture_output=True, text=True,
                             timeout=60).stdout
        self.assertEqual(out, "zatmap %s\n" % version()["dotted"])

    def test_where_it_is_spelt_out(self):
        found = {}
        for top, folders, names in os.walk(ROOT):
            if top == ROOT:
                folders[:] = ["bench", "cmake", "docs", "examples", "include", "scripts", "src", "tests",
                              "tools"]
            for name in names:
                path = os.path.relpath(os.path.join(top, name), ROOT)
                if not name.endswith((".txt", ".md", ".h", ".c", ".cpp", ".in", ".py", ".cmake")) or \
                        re.match(r"examples/\w+/\w+\.txt$", path):
                    continue
                text = re.sub(r"\n \* ", " ", read(path))
                forms = {form for form, value in version().items()
                         if re.search(r"(?<![\d.])%s(?![\d])" % re.escape(value), text)}
                if forms:
                    found[path] = forms
        if "CHANGELOG.md" not in found:
            del TEXTS["CHANGELOG.md"]
        else:
            found["CHANGELOG.md"] = TEXTS["CHANGELOG.md"]
        self.assertEqual(found, TEXTS)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
