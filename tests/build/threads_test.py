#!/usr/bin/env python3
"""Builds with any number of threads, in memory and through files, from every layout.

    threads_test.py --zatmap PATH --make-network PATH --city FOLDER [unittest options]

They give the same files, byte for byte, and with one method the same lines in the log.
"""

import argparse
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
LINKS = 60000  # sources of several chunks, records of several blocks
TIMEOUT = 300
LAYOUTS = (("text", 14), ("text", 18), ("mif", 14), ("msr", 14), ("msr-mif", 18))


class ThreadsTest(unittest.TestCase):
    def build(self, folder, method, threads):
        """Files of the map (but for the date in linkdef.dat) and lines of the log."""
        zatmap.set_system(folder, "BUILDMETHOD=" + method, "THREADS=%d" % threads, name="run.ini")
        program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(folder, f"log-{method}-{threads}"))
        program.build(folder, "run.ini", timeout=TIMEOUT)
        return zatmap.map_files(os.path.join(folder, "out")), program.log_lines()

    def test_any_number_of_threads_gives_the_same_map_and_log(self):
        for layout, code_length in LAYOUTS:
            with self.subTest(layout=layout), tempfile.TemporaryDirectory() as folder:
                zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LINKS, folder, layout,
                                    code_length)
                maps = {}
                for method in ("M", "F"):
                    maps[method], log = self.build(folder, method, 1)
                    self.assertIn(b"End OK.", log)
                    for threads in (2, 5):
                        files, lines = self.build(folder, method, threads)
                        self.assertEqual(sorted(files), sorted(maps[method]))
                        for name, content in files.items():
                            self.assertTrue(content == maps[method][name], (method, threads, name))
                        self.assertEqual(lines, log)
                for name, content in maps["F"].items():
                    self.assertTrue(content == maps["M"][name], name)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", "make-network", "city")
