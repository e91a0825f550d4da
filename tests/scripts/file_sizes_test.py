#!/usr/bin/env python3
"""A file of the library or the program has one subject: none is longer than 500 lines."""

import os
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FOLDERS = ("include", "src", "tools")
MOST = 500


def lines_of_files():
    for top in FOLDERS:
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            for name in files:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    yield os.path.relpath(path, ROOT), file.read().count(b"\n")


class FileSizes(unittest.TestCase):
    def test_no_file_is_longer(self):
        sizes = dict(lines_of_files())
        self.assertGreater(len(sizes), 100)
        self.assertEqual({path: lines for path, lines in sizes.items() if lines > MOST}, {})


if __name__ == "__main__":
    unittest.main()
