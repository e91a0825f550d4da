#!/usr/bin/env python3
"""scripts/wine-run: a program ends for whoever started it when it ends, whatever else runs in the
prefix.

    wine_run_test.py --wine-run scripts/wine-run --tree FOLDER

The prefix is one that nothing runs in: the first program in it starts the services of that Windows,
and they live as long as the second one. FOLDER/wine holds the prefix.
"""

import argparse
import os
import subprocess
import sys
import threading
import unittest

OPTIONS = argparse.Namespace()
LONG = 90  # seconds for anything that starts Wine


def wine_run(*arguments, **options):
    return subprocess.Popen([OPTIONS.wine_run, "--tree", OPTIONS.tree, *arguments],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            **options)


class WineRun(unittest.TestCase):
    def setUp(self):
        subprocess.run([OPTIONS.wine_run, "--tree", OPTIONS.tree, "--prefix"], check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=3 * LONG)
        self.stop()
        self.addCleanup(self.stop)

    @staticmethod
    def stop():
        subprocess.run([OPTIONS.wine_run, "--tree", OPTIONS.tree, "--stop"], check=True,
                       stdin=subprocess.DEVNULL, timeout=LONG)

    def start(self):
        """A program that runs until it gets a line, as soon as it runs."""
        script = "echo started & set /p line= & echo told 1>&2 & exit 7"
        process = wine_run(r"C:\windows\system32\cmd.exe", "/c", script)
        timer = threading.Timer(LONG, process.kill)
        timer.start()
        self.assertEqual(process.stdout.readline().strip(), b"started")
        timer.cancel()
        return process

    def test_the_first_program_ends_before_the_second(self):
        first = self.start()
        second = self.start()
        try:
            # The ends of both pipes, not of the process alone, are what is waited for.
            out, err = first.communicate(b"\r\n", timeout=LONG)
            self.assertEqual((out.strip(), err.strip(), first.returncode), (b"", b"told", 7))
            self.assertIsNone(second.poll())
        finally:
            out, err = second.communicate(b"\r\n", timeout=LONG)
        self.assertEqual((out.strip(), err.strip(), second.returncode), (b"", b"told", 7))

    def test_whoever_ends_wine_run_ends_the_program(self):
        process = self.start()
        process.terminate()
        # Its input stays open meanwhile: it does not end by itself.
        self.assertNotIn(process.wait(LONG), (0, 7))
        self.assertEqual(process.communicate()[0].strip(), b"")

    def test_nothing_is_left(self):
        self.start().communicate(b"\r\n", timeout=LONG)
        self.assertEqual([name for name in os.listdir(os.path.join(OPTIONS.tree, "wine"))
                          if name.startswith("stderr")], [])


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--wine-run", required=True)
    parser.add_argument("--tree", required=True)
    options, rest = parser.parse_known_args()
    OPTIONS.wine_run = os.path.abspath(options.wine_run)
    OPTIONS.tree = os.path.abspath(options.tree)
    os.makedirs(OPTIONS.tree, exist_ok=True)
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
