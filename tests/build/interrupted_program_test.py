#!/usr/bin/env python3
"""zatmap build, killed or interrupted at moments all over its run.

    interrupted_program_test.py --zatmap PATH --make-network PATH --city FOLDER [unittest options]

A build that is killed and started again over what it left gives the same files, byte for byte, as one
that nobody touched. Ctrl-C ends it soon, with its status and its line in the log.
"""

import argparse
import os
import re
import shutil
import signal
import struct
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
LINKS = 40000
MOMENTS = 12    # of every kind of build
TIMEOUT = 120   # seconds for anything that has to happen
LATENCY = 1.0   # seconds from Ctrl-C to the end of the program; 0.2 and what a busy machine adds
STORES = re.compile(r"~wk$")
PAY_DATA = b"[SYSTEM]\r\nResult=OK\r\n"


class Build:
    """A network, its control file and the undisturbed map."""

    def __init__(self, folder, layout, method):
        self.data = os.path.join(folder, layout + "-" + method)
        self.out = os.path.join(self.data, "out")
        self.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(folder, "log"), LC_ALL="C")
        zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LINKS, self.data, layout)
        zatmap.set_system(self.data, "BUILDMETHOD=" + method)
        self.silent(True)
        self.sources = {name: zatmap.read(os.path.join(self.data, name))
                        for name in os.listdir(self.data) if name != "out"}
        # The first link of every map is an interchange.
        self.fare_data(b"")
        self.run()
        code = zatmap.read(os.path.join(self.out, "mapdraw.dat"))[:8]
        self.fare_link = code + struct.pack("<16xhB5x", 1, 1)
        self.fare_data(self.fare_link)
        start = time.monotonic()
        self.run()
        self.seconds = time.monotonic() - start
        self.good = self.files()
        assert self.good["PayData.Inf"] == PAY_DATA + b"ICFLAG=OK\r\n"

    def silent(self, silent):
        zatmap.set_system(self.data, "SILENTMODE=1" if silent else "SILENTMODE=0")

    def fare_data(self, links):
        for name in ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"):
            zatmap.write(os.path.join(self.out, name), b"")
        zatmap.write(os.path.join(self.out, "TR_LINK.DAT"), links)
        zatmap.write(os.path.join(self.out, "PayData.Inf"), PAY_DATA)

    def files(self):
        return zatmap.map_files(self.out)

    def start(self, **options):
        return self.program.start(*zatmap.PLAIN, "-v", "control.ini", cwd=self.data, **options)

    def run(self):
        self.program.build(self.data, timeout=TIMEOUT)


class Interrupted(unittest.TestCase):
    folder = None
    builds = {}

    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(zatmap.scratch_folder())
        cls.builds = {kind: Build(cls.folder, *kind)
                      for kind in (("text", "M"), ("text", "F"), ("mif", "M"), ("msr-mif", "M"),
                                   ("msr-mif", "F"))}

    def expect_good(self, build):
        files = build.files()
        self.assertEqual([name for name in files if STORES.search(name)], [])
        self.assertEqual(sorted(files), sorted(build.good))
        self.assertEqual([name for name in files if files[name] != build.good[name]], [])
        for name, content in build.sources.items():
            self.assertEqual(zatmap.read(os.path.join(build.data, name)), content, name)

    def test_the_same_build_twice_is_the_same(self):
        for kind, build in self.builds.items():
            with self.subTest(kind):
                build.fare_data(build.fare_link)
                build.run()
                self.expect_good(build)

    def test_layouts_and_operations_agree(self):
        for method in ("text", "msr-mif"):
            self.assertEqual(self.builds[method, "M"].good, self.builds[method, "F"].good)

    def test_killed_and_started_again(self):
        killed = with_stores = 0
        for kind, build in self.builds.items():
            for moment in range(MOMENTS):
                with self.subTest(build=kind, moment=moment):
                    build.fare_data(build.fare_link)
                    process = build.start()
                    time.sleep(build.seconds * moment / MOMENTS)
                    process.kill()
                    killed += process.wait(TIMEOUT) == -signal.SIGKILL
                    with_stores += any(STORES.search(name) for name in os.listdir(build.out))
                    if moment % 3 == 0:
                        # The second attempt fares no better.
                        process = build.start()
                        time.sleep(build.seconds * (MOMENTS - moment) / MOMENTS / 2)
                        process.kill()
                        process.wait(TIMEOUT)
                    build.fare_data(build.fare_link)
                    build.run()
                    self.expect_good(build)
        # Many of the moments were within the build, and at many of them stores lay about.
        self.assertGreater(killed, len(self.builds) * MOMENTS // 4)
        self.assertGreater(with_stores, len(self.builds) * MOMENTS // 8)

    def test_interrupted(self):
        for kind, build in self.builds.items():
            cancelled = 0
            build.silent(False)
            for moment in range(MOMENTS):
                with self.subTest(build=kind, moment=moment):
                    shutil.rmtree(build.program.data, ignore_errors=True)
                    process = build.start(stderr=subprocess.PIPE, bufsize=0)
                    text = process.stderr.read(1)  # the window stands: its first status text
                    time.sleep(build.seconds * moment / MOMENTS)
                    process.send_signal(signal.SIGINT)
                    pressed = time.monotonic()
                    text += process.communicate(timeout=TIMEOUT)[1]
                    self.assertLess(time.monotonic() - pressed, LATENCY)
                    if process.returncode == -signal.SIGINT:
                        # The window did not stand yet, or was gone already: the work was done.
                        self.assertTrue(text == b"Initalizing...\n" or
                                        b"Setting IC Flags..." in text, text)
                        continue
                    log = [line.decode("cp932") for line in build.program.log_lines()]
                    if process.returncode == 0:
                        self.assertEqual(log[-1], "End OK.")
                        continue
                    cancelled += 1
                    self.assertEqual(process.returncode, 1)
                    self.assertEqual(log[-1], "End Error.")
                    self.assertIn(b"Canceling ...\n", text)
                    self.assertIn(b"zatmap: the build was cancelled.\n", text)
                    # A cancel is no error.
                    self.assertEqual([line for line in log if line.startswith("[")], [])
            build.silent(True)
            build.fare_data(build.fare_link)
            build.run()
            self.expect_good(build)
            # A fast machine is done before the window has noticed the later ones.
            self.assertGreater(cancelled, MOMENTS // 6)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", "make-network", "city")
