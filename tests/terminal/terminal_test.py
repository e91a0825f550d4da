#!/usr/bin/env python3
"""What a person sees of a build on a terminal, and Ctrl-C in every stage of a large one.

    terminal_test.py --zatmap PATH --city FOLDER [--make-network PATH] [unittest options]

Runs zatmap in a pseudo-terminal and keeps the screen that it draws; sources that are held up whoever opens
them stop a build where the test wants to look. The large networks come from make_network; without it their
tests are skipped.
"""

import argparse
import fcntl
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from held_file import HeldFile  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
TIMEOUT = 60   # seconds for anything that has to happen
LATENCY = 2.0  # seconds from Ctrl-C to the end of the program; in fact a fraction of one
LARGE = 400000  # links of the large networks


class Screen:
    """A terminal of one size: text, carriage return, line feed, and erasing to the line's end."""

    def __init__(self, columns):
        self.columns = columns
        self.lines = [""]
        self.cells = []  # of the last line; a wide character has an empty cell behind it
        self.at = 0
        self.shown = []  # every different state of the last line
        self.rest = b""

    def feed(self, data):
        data = self.rest + data
        # A character or a sequence may be cut by the read.
        cut = re.search(rb"(\x1b(\[\d*)?|[\xc0-\xff][\x80-\xbf]{0,2})$", data)
        self.rest = b""
        if cut:
            try:
                data[cut.start():].decode("utf-8")
                whole = not data[cut.start():].startswith(b"\x1b")
            except UnicodeDecodeError:
                whole = False
            if not whole:
                data, self.rest = data[:cut.start()], data[cut.start():]
        for part in re.findall(r"\x1b\[\d*[A-Za-z]|[\s\S]", data.decode("utf-8")):
            if part == "\r":
                self.at = 0
            elif part == "\n":
                self.lines.append("")
                self.cells = []
                self.at = 0
            elif part == "\x1b[K":
                del self.cells[self.at:]
                self.lines[-1] = "".join(self.cells)
                self.keep()
            elif part.startswith("\x1b") or part < " ":
                raise AssertionError("unknown control sequence %r" % part)
            else:
                wide = [part, ""] if ord(part) > 0x2E7F else [part]
                self.cells += [" "] * (self.at - len(self.cells))
                self.cells[self.at:self.at + len(wide)] = wide
                self.at += len(wide)
                self.lines[-1] = "".join(self.cells)
                # A progress line that goes on in the next line could not be drawn over.
                if len(self.cells) >= self.columns and self.lines[-1].startswith("["):
                    raise AssertionError("the line is wider than the terminal: %r" % self.lines[-1])

    def keep(self):
        if not self.shown or self.shown[-1] != self.lines[-1]:
            self.shown.append(self.lines[-1])


class Terminal:
    """zatmap in a pseudo-terminal."""

    def __init__(self, arguments, folder, environment, columns=80):
        self.screen = Screen(columns)
        self.pid, self.file = pty.fork()
        if self.pid == 0:
            os.chdir(folder)
            # The size is known before the program starts.
            fcntl.ioctl(2, termios.TIOCSWINSZ, struct.pack("HHHH", 25, columns, 0, 0))
            os.execve(arguments[0], arguments, environment)
        self.status = None

    def read(self, seconds):
        """Takes what has been drawn; False when the program has closed the terminal."""
        if not select.select([self.file], [], [], seconds)[0]:
            return True
        try:
            data = os.read(self.file, 65536)
        except OSError:
            return False
        self.screen.feed(data)
        return bool(data)

    def wait_for(self, pattern):
        """Reads until the last line matches."""
        end = time.monotonic() + TIMEOUT
        while time.monotonic() < end:
            if re.search(pattern, self.screen.lines[-1]):
                return
            if not self.read(0.05):
                break
        raise AssertionError("%r never came: %s" % (pattern, self.screen.lines[-3:]))

    def press_ctrl_c(self):
        os.write(self.file, b"\x03")

    def finish(self):
        """Reads to the end; gives the exit status, negative for a signal."""
        end = time.monotonic() + TIMEOUT
        while self.read(0.1):
            if time.monotonic() > end:
                raise AssertionError("the program does not end")
        while self.status is None:
            done, status = os.waitpid(self.pid, os.WNOHANG)
            if done:
                self.status = os.waitstatus_to_exitcode(status)
            elif time.monotonic() > end:
                raise AssertionError("the program does not end")
            else:
                time.sleep(0.01)
        return self.status

    def close(self):
        if self.status is None:
            try:
                os.kill(self.pid, signal.SIGKILL)
                os.waitpid(self.pid, 0)
            except (ProcessLookupError, ChildProcessError):
                pass
        os.close(self.file)


class TerminalTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.data = os.path.join(self.folder, "data")
        zatmap.copy_sources(OPTIONS.city, self.data, "out")
        self.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(self.folder, "log"), LC_ALL="C",
                                     ZATLIB_CODEPAGE="932")
        self.control("0")

    def control(self, silent):
        zatmap.set_system(self.data, "SILENTMODE=" + silent)

    def start(self, columns=80):
        terminal = Terminal([OPTIONS.zatmap, *zatmap.PLAIN, "control.ini"], self.data,
                            self.program.environment, columns)
        self.addCleanup(terminal.close)
        return terminal

    def hold_at(self, name):
        """The build will wait where it opens this source file, until the test lets it go."""
        held = HeldFile(os.path.join(self.data, name))
        self.addCleanup(held.let_go)
        return held

    def log(self):
        folder = os.path.join(self.folder, "log", "Orvilex Systems,Inc.", "ZatLib")
        lines = []
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), "rb") as file:
                lines += file.read().decode("cp932").replace("\r\n", "\n").split("\n")
        return [line[22:] for line in lines if line]


class WhatAPersonSees(TerminalTest):
    def test_the_line_while_the_build_runs(self):
        held = self.hold_at("linkspeed.txt")
        terminal = self.start()
        held.wait(TIMEOUT)
        terminal.wait_for("Sorting The Common Index")
        # 24 characters of bar at 15 percent: 3 are full.
        self.assertEqual(terminal.screen.lines,
                         ["[###.....................]  15% 00:00 Sorting The Common Index"])
        # The clock runs while the work shows nothing new.
        terminal.wait_for(r"00:02 Sorting The Common Index$")
        held.let_go()
        self.assertEqual(terminal.finish(), 0)
        # The line goes away; the summary stands alone.
        lines = terminal.screen.lines
        self.assertRegex(lines[0], r"^map: .*/data/out$")
        self.assertRegex(lines[1], r"^\d+ nodes, \d+ links, \d+ bytes, \d+\.\d\d seconds$")
        self.assertEqual(lines[2:], [""])
        # Whatever was shown was such a line, and the bar never went back.
        percents = []
        for line in terminal.screen.shown:
            if line and not line.startswith("map"):
                match = re.match(r"\[(#*)(\.*)\] +(\d+)% \d\d:\d\d ", line)
                self.assertTrue(match, line)
                self.assertEqual(len(match[1]) + len(match[2]), 24)
                self.assertEqual(len(match[1]), int(match[3]) * 24 // 100)
                percents.append(int(match[3]))
        self.assertEqual(percents, sorted(percents))
        self.assertEqual((percents[0], percents[-1]), (0, 100))

    def test_a_narrow_terminal_gets_a_line_that_fits(self):
        for columns in (20, 41, 47, 300):
            with self.subTest(columns):
                terminal = self.start(columns)
                self.assertEqual(terminal.finish(), 0)
                lines = [line for line in terminal.screen.shown if line.startswith("[")]
                self.assertGreater(len(lines), 5)
                # There is room for the cursor and for the "^C" that the terminal echoes.
                self.assertLessEqual(max(map(len, lines)), columns - 3)

    def test_a_message_takes_the_place_of_the_line(self):
        os.remove(os.path.join(self.data, "links.txt"))
        terminal = self.start()
        self.assertEqual(terminal.finish(), 1)
        lines = terminal.screen.lines
        self.assertEqual(lines[:2], [
            "zatmap: the build failed.",
            "  File Error: Can't open the link data (FILE01) [links.txt] !"])
        self.assertEqual(lines[-1], "")
        self.assertFalse([line for line in lines if line.startswith("[#") or line.startswith("[.")])

    def test_silent_mode_shows_the_summary_only(self):
        self.control("1")
        terminal = self.start()
        self.assertEqual(terminal.finish(), 0)
        lines = terminal.screen.lines
        self.assertEqual(len(lines), 3)
        self.assertTrue(lines[0].startswith("map: "))
        self.assertIn(" nodes, ", lines[1])

    def test_plain_lines_on_demand_when_standard_error_is_no_terminal(self):
        done = self.program.build(self.data, "control.ini", "-v", timeout=TIMEOUT)
        self.assertNotRegex(done.err, "[\r\x1b]")
        lines = done.err.split("\n")
        self.assertEqual(lines[:6], ["Initalizing...", "Setting Road Definition...",
                                     "Setting Node Storage...", "Reading Node Record (0)...",
                                     "Setting Node Name Storage...", "Setting Node XY..."])
        # A text of two lines is one here.
        self.assertIn("Creating Shape Data... 1/1", lines)
        self.assertEqual(lines[-3:], ["Creating Right Turn Weight...", "Setting IC Flags...", ""])
        self.assertEqual(done.out.count("\n"), 2)

    def test_no_plain_lines_unless_somebody_wants_them(self):
        self.assertEqual(self.program.build(self.data, timeout=TIMEOUT).err, "")

    def test_silent_mode_shows_no_plain_lines_either(self):
        self.control("1")
        done = self.program.build(self.data, "control.ini", "-v", timeout=TIMEOUT)
        self.assertEqual(done.err, "")
        self.assertEqual(done.out.count("\n"), 2)


class CtrlC(TerminalTest):
    def press(self, notice, columns=80):
        held = self.hold_at("linkspeed.txt")
        terminal = self.start(columns)
        held.wait(TIMEOUT)
        terminal.wait_for(r"15% \d\d:\d\d")
        terminal.press_ctrl_c()
        terminal.wait_for(notice)
        return terminal, held

    def test_the_first_one_cancels(self):
        terminal, held = self.press(r"^\[###\.+\]  15% 00:\d\d Canceling \.\.\.$")
        held.let_go()
        self.assertEqual(terminal.finish(), 1)
        # The notice was the last text, the bar stood still but for the checkpoints that follow.
        texts = [line[38:] for line in terminal.screen.shown if line.startswith("[")]
        notice = texts.index("Canceling ...")
        self.assertEqual(set(texts[notice:]), {"Canceling ..."})
        self.assertEqual([line for line in terminal.screen.lines if "Error" in line or "[#" in line], [])
        self.assertEqual(self.log()[-1], "End Error.")
        stores = [name for name in os.listdir(os.path.join(self.data, "out")) if name.endswith("~wk")]
        self.assertEqual(sorted(stores), ["linkstr.~wk", "nnamestr.~wk", "nodestr.~wk"])

    def test_the_next_run_starts_clean(self):
        terminal, held = self.press("Canceling")
        held.let_go()
        self.assertEqual(terminal.finish(), 1)
        self.assertEqual(self.start().finish(), 0)
        self.assertEqual(self.log()[-1], "End OK.")

    def test_the_second_one_ends_the_program(self):
        terminal, held = self.press("Canceling")
        terminal.press_ctrl_c()
        self.assertEqual(terminal.finish(), -signal.SIGINT)
        held.let_go()

    def test_the_notice_in_japanese(self):
        self.program.environment["LC_ALL"] = "ja_JP.UTF-8"
        terminal, held = self.press("キャンセル処理中・・・$")
        held.let_go()
        self.assertEqual(terminal.finish(), 1)

    def test_a_japanese_notice_that_does_not_fit_is_cut_between_characters(self):
        self.program.environment["LC_ALL"] = "ja_JP.UTF-8"
        # 38 columns in front of it and three that stay free leave 6 columns: three characters.
        terminal, held = self.press("キャン$", columns=47)
        held.let_go()
        self.assertEqual(terminal.finish(), 1)


# Where large builds are cancelled: the beginning of a line of standard error.
MOMENTS = {
    "text": [
        "Setting Node Storage", "Reading Node Record (5", "Setting Node Name Storage",
        "Setting Node XY", "Sorting The Common Index", "Reading Link Records (1",
        "Setting Link Speed", "Setting Link Name Storage", "Reading NodeTrf Record (1",
        "Reading LinkTrf Record (1", "Creating Shape Data", "Finishing Shape Index",
        "Checking Node Duplication", "Sorting The Index", "Checking Link Duplication",
        "Checking Node Data (P1)", "Checking Node Data (P2)", "Making Node Index",
        "Checking Link Data", "Making Dummy Link", "Loading Nodes(M)", "Creating Node Data(M)",
        "Saving TrafRule", "Loading Links(M)", "Creating Link Data(M)",
        "Checking the dummy link nodes(M)", "Making LinkNodeIndex(M)",
        "Creating the Road Networks(M)", "Setting Node's CityCodes(M)", "Finishing Node Attribute",
        "Finishing Node Name", "Finishing Link Name", "Checking RuleStorage",
        "Checking OneWayStorage", "Writing TrafRule", "Checking One Way Link", "Writing Tables",
        "Creating Right Turn Weight", "Setting IC Flags"],
    "mif": ["Reading Node Record (1", "Reading Link Records (5", "Initializing",
            "Reading Shape=10000", "Finishing Shape Index", "Loading Nodes(F)",
            "Creating Node Data(F)... 1", "Loading Links(F)", "Creating Link Data(F)... 1",
            "Checking the dummy link nodes(F)... 1", "Making LinkNodeIndex(F)... 1",
            "Creating CalcNode(F)... 1", "Setting Node's CityCodes(F)... 1"],
    "msr": ["Reading Droten Record (5", "Setting Node Name Storage", "Reading Dkukan Records (5",
            "Setting Link Name Storage", "Reading Tukouj Record (1"],
}


@unittest.skipUnless("--make-network" in sys.argv, "needs make_network")
class LargeBuilds(unittest.TestCase):
    """Ctrl-C in every stage of a large build. Plain lines tell the stage."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.worst = {}

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)
        slow = sorted(cls.worst.items(), key=lambda item: -item[1])[:5]
        print("slowest: " + ", ".join("%s %.2f s" % item for item in slow), file=sys.stderr)

    def make(self, layout, method):
        data = os.path.join(self.folder, layout)
        zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LARGE, data, layout)
        zatmap.set_system(data, "SILENTMODE=0", "BUILDMETHOD=" + method)
        return data

    def cancel_at(self, data, beginning):
        program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(self.folder, "log"), LC_ALL="C")
        process = program.start(*zatmap.PLAIN, "-v", "control.ini", cwd=data, stderr=subprocess.PIPE, bufsize=0)
        try:
            end = time.monotonic() + TIMEOUT
            text = b""
            pressed = None
            while True:
                self.assertLess(time.monotonic(), end, "the build does not end")
                if not select.select([process.stderr], [], [], 0.1)[0]:
                    continue
                part = process.stderr.read(65536)
                if not part:
                    break
                text += part
                if pressed is None and ("\n" + beginning).encode() in b"\n" + text:
                    pressed = time.monotonic()
                    process.send_signal(signal.SIGINT)
            status = process.wait(TIMEOUT)
            taken = time.monotonic() - (pressed or 0)
        finally:
            process.kill()
            process.wait()
            process.stderr.close()
        self.assertIsNotNone(pressed, "never came to it")
        self.worst[beginning] = taken
        self.assertLess(taken, LATENCY)
        # A build that was at its end may be faster than the key.
        if beginning != "Setting IC Flags":
            self.assertEqual(status, 1)
            self.assertIn(b"\nCanceling ...\n", text)

    def check(self, layout, method):
        data = self.make(layout, method)
        for beginning in MOMENTS[layout]:
            with self.subTest(beginning):
                self.cancel_at(data, beginning)
        shutil.rmtree(data)

    def test_text_files_in_memory(self):
        self.check("text", "M")

    def test_mif_files_through_files(self):
        self.check("mif", "F")

    def test_the_msr_layout(self):
        self.check("msr", "M")


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap", "city", make_network=None)
