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
import tempfile
import time
import unittest

OPTIONS = argparse.Namespace()
LINKS = 40000
MOMENTS = 12    # of every kind of build
TIMEOUT = 120   # seconds for anything that has to happen
LATENCY = 1.0   # seconds from Ctrl-C to the end of the program; 0.2 and what a busy machine adds
STORES = re.compile(r"~wk$")
PAY_DATA = b"[SYSTEM]\r\nResult=OK\r\n"


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)


class Build:
    """A network, its control file and the undisturbed map."""

    def __init__(self, folder, layout, method):
        self.data = os.path.join(folder, layout + "-" + method)
        self.out = os.path.join(self.data, "out")
        self.environment = dict(os.environ, XDG_DATA_HOME=os.path.join(folder, "log"), LC_ALL="C")
        subprocess.run([OPTIONS.make_network, "--city", OPTIONS.city, "--links", str(LINKS),
                        "--layout", layout, self.data], check=True, stdout=subprocess.DEVNULL,
                       timeout=TIMEOUT)
        os.makedirs(self.out, exist_ok=True)
        self.control = read(os.path.join(self.data, "control.ini"))
        self.control = self.control.replace(b"[SYSTEM]",
                                            b"[SYSTEM]\r\nBUILDMETHOD=" + method.encode(), 1)
        self.silent(True)
        self.sources = {name: read(os.path.join(self.data, name))
                        for name in os.listdir(self.data) if name != "out"}
        # The first link of every map is an interchange.
        self.fare_data(b"")
        start = time.monotonic()
        self.run()
        code = read(os.path.join(self.out, "mapdraw.dat"))[:8]
        self.fare_link = code + struct.pack("<16xhB5x", 1, 1)
        self.fare_data(self.fare_link)
        start = time.monotonic()
        self.run()
        self.seconds = time.monotonic() - start
        self.good = self.files()
        assert self.good["PayData.Inf"] == PAY_DATA + b"ICFLAG=OK\r\n"

    def silent(self, silent):
        text = re.sub(rb"SILENTMODE=\d", b"SILENTMODE=1" if silent else b"SILENTMODE=0", self.control)
        write(os.path.join(self.data, "control.ini"), text)

    def fare_data(self, links):
        for name in ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"):
            write(os.path.join(self.out, name), b"")
        write(os.path.join(self.out, "TR_LINK.DAT"), links)
        write(os.path.join(self.out, "PayData.Inf"), PAY_DATA)

    def files(self):
        """The output folder. The road definition's second line has the time of the build."""
        files = {name: read(os.path.join(self.out, name)) for name in os.listdir(self.out)}
        if "linkdef.dat" in files:
            files["linkdef.dat"] = re.sub(rb"; Created [^\r\n]*", b"", files["linkdef.dat"])
        return files

    def start(self, **options):
        return subprocess.Popen([OPTIONS.zatmap, "build", "control.ini"], cwd=self.data,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                env=self.environment, **options)

    def run(self):
        process = self.start()
        status = process.wait(TIMEOUT)
        assert status == 0, status


class Interrupted(unittest.TestCase):
    folder = None
    builds = {}

    @classmethod
    def setUpClass(cls):
        memory = "/dev/shm"
        base = memory if os.access(memory, os.W_OK | os.X_OK) and \
            shutil.disk_usage(memory).free > 1 << 30 else None
        cls.folder = tempfile.mkdtemp(dir=base)
        cls.builds = {kind: Build(cls.folder, *kind)
                      for kind in (("text", "M"), ("text", "F"), ("mif", "M"), ("msr-mif", "M"),
                                   ("msr-mif", "F"))}

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def expect_good(self, build):
        files = build.files()
        self.assertEqual([name for name in files if STORES.search(name)], [])
        self.assertEqual(sorted(files), sorted(build.good))
        self.assertEqual([name for name in files if files[name] != build.good[name]], [])
        for name, content in build.sources.items():
            self.assertEqual(read(os.path.join(build.data, name)), content, name)

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
                    shutil.rmtree(os.path.join(self.folder, "log"), ignore_errors=True)
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
                    log = self.log()
                    if process.returncode == 0:
                        self.assertEqual(log[-1], "End OK.")
                        continue
                    cancelled += 1
                    self.assertEqual(process.returncode, 1)
                    self.assertEqual(log[-1], "End Error.")
                    self.assertIn(b"Canceling ...\n", text)
                    self.assertIn(b"zatmap: the build failed or was cancelled.\n", text)
                    # A cancel is no error.
                    self.assertEqual([line for line in log if line.startswith("[")], [])
            build.silent(True)
            build.fare_data(build.fare_link)
            build.run()
            self.expect_good(build)
            # A fast machine is done before the window has noticed the later ones.
            self.assertGreater(cancelled, MOMENTS // 6)

    def log(self):
        """The lines of today's log without their stamps."""
        for folder, _, names in os.walk(os.path.join(self.folder, "log")):
            for name in names:
                if name.endswith(".log") and "ZatLib" in folder:
                    text = read(os.path.join(folder, name)).decode("cp932")
                    return re.sub(r"(?m)^\d{8} \d\d:\d\d:\d\d\.\d{3} ", "", text).split("\r\n")[:-1]
        return []


def main():
    parser = argparse.ArgumentParser()
    for name in ("zatmap", "make-network", "city"):
        parser.add_argument("--" + name, required=True, type=os.path.abspath)
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    unittest.main(argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
