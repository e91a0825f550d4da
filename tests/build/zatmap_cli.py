#!/usr/bin/env python3
"""The command line of zatmap: exit statuses, messages, stages, layouts and Ctrl-C.

    zatmap_cli.py --zatmap PATH [unittest options]
"""

import argparse
import os
import pty
import re
import select
import shutil
import signal
import sys
import tempfile
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from held_file import HeldFile  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
TIMEOUT = 60  # seconds that no run of these small inputs takes


def crlf(*lines):
    return "".join(line + "\r\n" for line in lines).encode("cp932")


NODES = crlf("1,0,0,2,11,12,,,,,,,One", "2,0,0,1,11", "3,0,0,1,12,,,,,,,,Three")
LINKS = crlf("11,3,5,100,0,0,0,1,2,36,36,0,1,Main", "12,3,5,200,0,0,0,1,3,36,72")
MIF_HEADER = ("Version 300", 'Charset "WindowsJapanese"', "CoordSys Earth Projection 1, 104",
              "Columns 1", "  A Integer", "Data", "")


class ZatmapTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(self.folder, "data"))
        os.mkdir(self.path("out"))

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, content):
        zatmap.write(self.path(name), content)
        return self.path(name)

    def read(self, *names):
        return zatmap.read(self.path(*names))

    def control(self, *system, name="control.ini", output="out", sections=()):
        """A control file for the three nodes and two links above."""
        self.write("nodes.mid", NODES)
        self.write("links.txt", LINKS)
        return self.write(name, crlf(
            "[SYSTEM]", *system, "[FOLDER]", "CALCMAPDIR=" + self.path(output),
            "[NODE]", "FILENUM=1", "FILE01=" + self.path("nodes.mid"),
            "[LINK]", "FILENUM=1", "FILE01=" + self.path("links.txt"), *sections))

    def msr_control(self, *system, name="msr.ini", output="out"):
        self.write("node.mif", crlf(*MIF_HEADER, "Point 135 35", "Point 136 36", "Point 137 37"))
        self.write("node.mid", crlf("3,1,0,0,0,One,,11,12", "3,2,0,0,0,,,11", "3,3,0,0,0,,,12"))
        self.write("link.csv", crlf("11,3,3,5,100,0,0,1,2,0,36,36,0", "12,3,3,5,200,0,0,1,3,0,36,72"))
        return self.write(name, crlf(
            "[SYSTEM]", *system, "[FOLDER]", "CALCMAPDIR=" + self.path(output),
            "[DROTEN]", "FILENUM=1", "FILE01=" + self.path("node.mif"),
            "[DKUKAN]", "FILENUM=1", "FILE01=" + self.path("link.csv")))

    def run_zatmap(self, *arguments, status, cwd=None):
        done = self.program.run(*arguments, cwd=cwd or self.folder, timeout=TIMEOUT)
        self.assertEqual(done.status, status, done.out + done.err)
        return done.out, done.err

    def files(self, *folder):
        self.assertRegex(self.read(*folder, "linkdef.dat"), rb"^[^\r\n]*\r\n; Created ")
        return zatmap.map_files(self.path(*folder))

    def log(self):
        return [line.decode("cp932") for line in self.program.log_lines() if line]


class Usage(ZatmapTest):
    def test_what_stands_behind_two_hyphens_is_an_argument(self):
        self.control("SILENTMODE=1")
        self.write("-odd.ini", self.read("control.ini"))
        for name in ("control.ini", "-odd.ini"):
            done = self.program.run("build", "--no-check", "--", name, cwd=self.folder)
            self.assertEqual((done.status, done.err), (0, ""), name)

    def test_version(self):
        out, err = self.run_zatmap("--version", status=0)
        self.assertRegex(out, r"^zatmap \d+\.\d+\.\d+\.\d+\n$")
        self.assertEqual(err, "")

    def test_help(self):
        out, err = self.run_zatmap("--help", status=0)
        self.assertIn("build", out)
        self.assertIn("Exit status: 0", out)
        self.assertEqual(err, "")

    def test_help_of_build(self):
        out, _ = self.run_zatmap("build", "--help", status=0)
        for word in ("CONTROL.INI", "--stage", "one", "two", "--msr", "CALCMAPDIR", "Ctrl-C"):
            self.assertIn(word, out)

    def wrong(self, *arguments, names):
        out, err = self.run_zatmap(*arguments, status=2)
        self.assertIn(names, out + err)
        # Says where to look further.
        self.assertIn("--help", out + err)
        self.assertFalse(os.path.exists(self.path("data")), "nothing was built")

    def test_nothing(self):
        self.wrong(names="a command is missing")

    def test_unknown_command(self):
        self.wrong("bild", "control.ini", names="there is no command bild; did you mean build?")

    def test_unknown_option(self):
        self.wrong("build", "--fast", self.control(), names="--fast")

    def test_no_control_file(self):
        self.wrong("build", names="CONTROL.INI")

    def test_two_control_files(self):
        self.wrong("build", self.control(), "second.ini", names="second.ini")

    def test_unknown_stage(self):
        self.wrong("build", "--stage", "three", self.control(), names="three")

    def test_stage_without_a_name(self):
        self.wrong("build", self.control(), "--stage", names="--stage")


class Build(ZatmapTest):
    def test_done(self):
        control = self.control("SILENTMODE=1")
        out, err = self.run_zatmap("build", control, status=0)
        self.assertEqual(err, "")
        self.assertIn(self.path("out"), out)
        self.assertRegex(out, r"\b3 nodes, 2 links\b")
        self.assertEqual(len(self.read("out", "mapcalc.dat")), 3 * 64)
        self.assertEqual(self.log()[-1], "End OK.")

    def test_done_with_progress(self):
        """Without a terminal the progress is lines for those who want them; the result stands on
        standard output alone."""
        _, err = self.run_zatmap("build", self.control(), status=0)
        self.assertEqual(err, "")
        out, err = self.run_zatmap("build", "-v", self.control(), status=0)
        self.assertIn("Creating Node Data(M)...", err)
        self.assertNotIn("\x1b", err)
        self.assertRegex(out, r"\b3 nodes, 2 links\b")

    def test_failed(self):
        control = self.control("SILENTMODE=1")
        os.remove(self.path("links.txt"))
        out, err = self.run_zatmap(*zatmap.PLAIN, control, status=1)
        self.assertEqual(out, "")
        self.assertIn("Can't open the link data (FILE01) [" + self.path("links.txt") + "] !", err)
        self.assertIn("File Error", err)
        # And where the whole story stands.
        self.assertRegex(err, re.escape(self.path("data")) + r".*\.log")
        self.assertEqual(self.log()[-1], "End Error.")

    def test_failed_in_japanese(self):
        self.control("SILENTMODE=1")
        self.write("nodes.mid", NODES + NODES)
        _, err = self.run_zatmap(*zatmap.PLAIN, self.path("control.ini"), status=1)
        self.assertIn("道路点 00000000000001 が重複しています。", err)

    def test_missing_control_file(self):
        _, err = self.run_zatmap("build", self.path("absent.ini"), status=1)
        self.assertIn(self.path("absent.ini"), err)
        self.assertIn("cannot be read", err)

    def test_relative_paths(self):
        self.control()
        text = self.read("control.ini").replace(os.fsencode(self.folder + "/"), b"")
        self.write("control.ini", text)
        self.run_zatmap("build", "control.ini", status=0)
        self.assertTrue(os.path.exists(self.path("out", "mapcalc.dat")))

    def test_the_stages_one_by_one(self):
        os.mkdir(self.path("both"))
        control = self.control("SILENTMODE=1", "DEBUG=1")
        self.run_zatmap("build", control, status=0)
        both = self.control("SILENTMODE=1", "DEBUG=1", name="both.ini", output="both")
        out, _ = self.run_zatmap("build", "--stage", "one", both, status=0)
        self.assertIn(self.path("both"), out)
        self.assertRegex(out, r"\b3 nodes, 2 links\b")
        self.assertEqual(sorted(self.files("both")), [
            "linkdef.dat", "linkstr.~wk", "lnamestr.~wk", "nnamestr.~wk", "nodestr.~wk"])
        self.run_zatmap("build", both, "--stage=two", status=0)
        self.assertEqual(self.files("both"), self.files("out"))
        self.assertEqual(len(self.files("out")), 13 + 4)

    def test_stage_two_without_stage_one(self):
        self.run_zatmap("build", "--stage", "two", self.control("SILENTMODE=1"), status=1)

    def test_stage_all(self):
        self.run_zatmap("build", "--stage", "all", self.control("SILENTMODE=1"), status=0)

    def test_msr(self):
        for output in ("option", "option1"):
            os.mkdir(self.path(output))
        self.run_zatmap("build", self.msr_control("SILENTMODE=1", "FORMAT=MSR"), status=0)
        # Whatever the control file says.
        option = self.msr_control("SILENTMODE=1", "FORMAT=ZAT", name="option.ini", output="option")
        self.run_zatmap("build", "--msr", option, status=0)
        self.assertEqual(self.files("option"), self.files("out"))
        self.assertEqual(self.log().count("Path One Start (MSR format) "), 2)
        # Area 3: the codes are 3 x 10^12 and the node's own number.
        self.assertEqual([int(code) for code in _doubles(self.read("out", "maploc.dat"), 16)],
                         [3000000000001, 3000000000002, 3000000000003])
        option1 = self.msr_control("SILENTMODE=1", name="option1.ini", output="option1")
        self.run_zatmap("build", "--msr", "--stage", "one", option1, status=0)
        self.run_zatmap("build", "--msr", "--stage", "two", option1, status=0)
        for name, content in self.files("out").items():
            self.assertEqual(self.files("option1")[name], content, name)

    def test_a_field_of_64_bytes(self):
        self.control("SILENTMODE=1")
        self.write("links.txt", LINKS + crlf("13,3," + "5" * 63, "14,3,5," + "7" * 64))
        _, err = self.run_zatmap(*zatmap.PLAIN, self.path("control.ini"), status=1)
        self.assertIn(self.path("links.txt"), err)
        self.assertRegex(err, r"record 4\b")
        self.assertRegex(err, r"column 4\b")


def _doubles(content, record):
    import struct
    return [struct.unpack_from("<d", content, i)[0] for i in range(0, len(content), record)]


class Cancel(ZatmapTest):
    """A source file that is held stops the build until the test has pressed Ctrl-C."""

    def start(self, control):
        pid, terminal = pty.fork()
        if pid == 0:
            os.execve(OPTIONS.zatmap, [OPTIONS.zatmap, *zatmap.PLAIN, control],
                      self.program.environment)
        self.addCleanup(self.end, pid, terminal)
        return pid, terminal

    def end(self, pid, terminal):
        try:
            os.kill(pid, signal.SIGKILL)
            os.waitpid(pid, 0)
        except (ProcessLookupError, ChildProcessError):
            pass
        os.close(terminal)

    def shown(self, terminal, until=None, seconds=TIMEOUT):
        """What the terminal shows until a text appears or the program has ended."""
        text = b""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if not select.select([terminal], [], [], 0.1)[0]:
                continue
            try:
                part = os.read(terminal, 65536)
            except OSError:  # the program has closed its side
                break
            if not part:
                break
            text += part
            if until is not None and until in text:
                break
        return text

    def status(self, pid):
        deadline = time.monotonic() + TIMEOUT
        while time.monotonic() < deadline:
            done, status = os.waitpid(pid, os.WNOHANG)
            if done == pid:
                return os.waitstatus_to_exitcode(status)
            time.sleep(0.02)
        self.fail("the program did not end")
        return None

    def hold(self, press):
        """Runs a build up to a file, presses, lets it go on; returns (status, what was shown)."""
        self.write("speeds.txt", b"11,0,0,50,50,0\r\n")
        held = HeldFile(self.path("speeds.txt"))
        self.addCleanup(held.let_go)
        control = self.control(
            sections=("[LINKSPEED]", "FILENUM=1", "FILE01=" + self.path("speeds.txt")))
        pid, terminal = self.start(control)
        held.wait(TIMEOUT)
        text = b""
        if press:
            os.write(terminal, b"\x03")
            text = self.shown(terminal, until=b"Canceling")
            self.assertIn(b"Canceling", text)
        held.let_go()
        text += self.shown(terminal)
        return self.status(pid), text

    def test_ctrl_c_cancels(self):
        status, text = self.hold(press=True)
        self.assertEqual(status, 1, text)
        self.assertIn(b"cancelled", text)
        self.assertEqual(self.log()[-1], "End Error.")
        self.assertNotIn("Path Two Start. ", self.log())
        # The stores made so far stay, the map was not begun.
        self.assertTrue(os.path.exists(self.path("out", "nodestr.~wk")))
        self.assertFalse(os.path.exists(self.path("out", "mapcalc.dat")))

    @staticmethod
    def positions(text):
        """The percentages that the bar went through."""
        shown = [int(number) for number in re.findall(rb"\] +(\d+)% ", text)]
        return [number for i, number in enumerate(shown) if i == 0 or number != shown[i - 1]]

    def test_a_failure_takes_the_bar_to_its_end(self):
        control = self.control()
        os.remove(self.path("links.txt"))
        pid, terminal = self.start(control)
        text = self.shown(terminal)
        self.assertEqual(self.status(pid), 1, text)
        self.assertEqual(self.positions(text), [0, 5, 10, 15, 20, 25, 30, 100])
        self.assertIn(b"  File Error: Can't open the link data (FILE01) [", text)

    def test_left_alone_the_same_build_succeeds(self):
        status, text = self.hold(press=False)
        self.assertEqual(status, 0, text)
        # 0.825 as a single-precision number is a little less.
        self.assertEqual(self.positions(text), [
            0, 5, 10, 15, 20, 25, 30, 35, 40, 50, 55, 60, 65, 70, 75, 80, 82, 85, 90, 95, 100])
        self.assertEqual(self.log()[-1], "End OK.")
        self.assertRegex(text.decode("utf-8", "replace"), r"\b3 nodes, 2 links\b")


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
