#!/usr/bin/env python3
"""Builds with any number of threads, in memory and through files, from every layout.

    threads_test.py --zatmap PATH --make-network PATH --city FOLDER [unittest options]

They give the same files, byte for byte, and with one method the same lines in the log.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile
import unittest

OPTIONS = argparse.Namespace()
LINKS = 60000  # sources of several chunks, records of several blocks
TIMEOUT = 300
LAYOUTS = (("text", 14), ("text", 18), ("mif", 14), ("msr", 14), ("msr-mif", 18))


class ThreadsTest(unittest.TestCase):
    def build(self, folder, method, threads):
        """Files of the map (but for the date in linkdef.dat) and lines of the log."""
        with open(os.path.join(folder, "control.ini"), "rb") as file:
            control = file.read()
        text = control.replace(b"[SYSTEM]", b"[SYSTEM]\r\nBUILDMETHOD=%s\r\nTHREADS=%d"
                               % (method.encode(), threads), 1)
        name = os.path.join(folder, "run.ini")
        with open(name, "wb") as file:
            file.write(text)
        data = os.path.join(folder, f"log-{method}-{threads}")
        subprocess.run([OPTIONS.zatmap, "build", name], check=True, stdout=subprocess.DEVNULL,
                       cwd=folder, timeout=TIMEOUT, env=dict(os.environ, XDG_DATA_HOME=data))
        out = os.path.join(folder, "out")
        files = {}
        for entry in os.listdir(out):
            with open(os.path.join(out, entry), "rb") as file:
                files[entry] = file.read()
        files["linkdef.dat"] = files["linkdef.dat"].split(b"\r\n", 2)[2]
        lines = []
        for where, _, names in os.walk(data):
            for entry in names:
                with open(os.path.join(where, entry), "rb") as file:
                    lines += [re.sub(rb"^\d{8} [\d:.]+ ", b"", line) for line in file]
        return files, lines

    def test_any_number_of_threads_gives_the_same_map_and_log(self):
        for layout, code_length in LAYOUTS:
            with self.subTest(layout=layout), tempfile.TemporaryDirectory() as folder:
                subprocess.run([OPTIONS.make_network, "--city", OPTIONS.city, "--links", str(LINKS),
                                "--layout", layout, "--code-length", str(code_length), folder],
                               check=True, stdout=subprocess.DEVNULL, timeout=TIMEOUT)
                os.makedirs(os.path.join(folder, "out"), exist_ok=True)
                maps = {}
                for method in ("M", "F"):
                    maps[method], log = self.build(folder, method, 1)
                    self.assertIn(b"End OK.\r\n", log)
                    for threads in (2, 5):
                        files, lines = self.build(folder, method, threads)
                        self.assertEqual(sorted(files), sorted(maps[method]))
                        for name, content in files.items():
                            self.assertTrue(content == maps[method][name], (method, threads, name))
                        self.assertEqual(lines, log)
                for name, content in maps["F"].items():
                    self.assertTrue(content == maps["M"][name], name)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--make-network", required=True)
    parser.add_argument("--city", required=True)
    parser.parse_known_args(namespace=OPTIONS)
    rest = parser.parse_known_args()[1]
    for name in ("zatmap", "make_network", "city"):
        setattr(OPTIONS, name, os.path.abspath(getattr(OPTIONS, name)))
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
