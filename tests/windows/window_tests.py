#!/usr/bin/env python3
"""Runs zatlib.dll in real windows, under Wine on a display of its own, and judges what a user and a
host application see: the progress dialog, Cancel, the host's windows and the message boxes.

    window_tests.py --wine-run scripts/wine-run --locale ja_JP|en_US --tree FOLDER
                    --programs BUILD_TREE/bin --data FOLDER

The host is window_host.exe, which tells what it sees line by line; the mouse is xdotool's. FOLDER/wine
holds the Wine prefix, FOLDER/LOCALE the screenshots. Every wait has a bound, and what was started is
ended by its id.
"""

import argparse
import glob
import json
import os
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

OPTIONS = argparse.Namespace()
LONG = 90  # seconds for anything that starts Wine
SCREEN = "1024x768x24"

TITLE = "計算用道路ネットワークデータ作成"
JAPANESE = "ja_JP"

# The status texts of a build of text files in memory, in order. Numbers: {rules}, {oneways} and
# {nodes} are the counts of records, # is any number.
STATUS_TEXTS = """\
Setting Road Definition...
Setting Node Storage...
Reading Node Record (0)...
Setting Node Name Storage...
Setting Node XY...
Sorting The Common Index
Setting Link Storage...
Reading Link Records (0)...
Setting Link Speed...
Sorting The Common Index
Setting Link Name Storage...
Setting Node Traffic Rules...
Reading NodeTrf Record (0)...
Setting Link Traffic Rules...
Reading LinkTrf Record (0)...
Setting Link Shape...
Creating Shape Data...\r
1/1
Finishing Shape Index...
Checking Node Duplication...
Sorting The Index
Checking Link Duplication...
Sorting The Index
Checking Node Data (P1)...
Sorting The Index
Checking Node Data (P2)...
Making Node Index ...
Sorting The Index
Checking Link Data ...
Making Dummy Link...
Checking Memories...
Loading Nodes(M)...
Creating Node Data(M)...
Saving NodeLoc...
Saving NodeName ...
Saving TrafRule...
Saving NodeAttribute...
Sorting The Common Index
Loading Links(M)...
Creating Link Data(M)...
Saving LinkName...
Sorting The Common Index
Checking the dummy link nodes(M)...
Creating CalcNode(M)...
Making LinkNodeIndex(M)...
Creating the Road Networks(M)...
Setting Node's CityCodes(M)...
Finishing Node Attribute...
Finishing Node Name...
Finishing Link Name...
Initializing...
Checking RuleStorage # / {rules}
Checking OneWayStorage # / {oneways}
Writing TrafRule File...
Initializing...
Checking One Way Link {nodes}
Writing Tables...
Creating Right Turn Weight...
Setting IC Flags...""".replace("...\r\n", "...\r\v").split("\n")
STATUS_TEXTS = [text.replace("\v", "\n") for text in STATUS_TEXTS]

# 0.825 as a single-precision number lies below 0.825. The repeated ones are checkpoints of one
# stage's end and the next one's start; 29 is the finishing of the shape index.
POSITIONS = [0, 0, 5, 10, 15, 20, 25, 25, 29, 30, 30, 30, 30, 35, 40, 50, 55, 60, 65, 70, 75, 80, 80,
             82, 85, 90, 95, 95, 100]

# Moments to cancel at: the status text, the bar's position then, and the stores that exist.
STAGE_ONE_STORES = ["linkstr.~wk", "lnamestr.~wk", "nnamestr.~wk", "nodestr.~wk", "onewayst.~wk",
                    "trafrule.~wk"]
MOMENTS = [
    ("Setting Road Definition...", 0, []),
    ("Reading Node Record", 0, ["nodestr.~wk"]),
    ("Setting Link Storage...", 10, ["nnamestr.~wk", "nodestr.~wk"]),
    ("Creating Shape Data...", 25, STAGE_ONE_STORES),
    ("Sorting The Index", 30, STAGE_ONE_STORES),
    ("Making Dummy Link...", 40, STAGE_ONE_STORES),
    ("Creating Node Data(", 55, STAGE_ONE_STORES),
    ("Creating CalcNode(", 75, STAGE_ONE_STORES),
    ("Finishing Node Name...", 82, STAGE_ONE_STORES),
    ("Checking One Way Link", 90, STAGE_ONE_STORES),
    ("Creating Right Turn Weight...", 90, STAGE_ONE_STORES),
    ("Setting IC Flags...", 95, STAGE_ONE_STORES),
]


def wait_for(condition, seconds, what):
    """The first true value of condition(); an error after `seconds`."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("%s: not within %d seconds" % (what, seconds))
        time.sleep(0.05)


def end_process(process):
    """Ends a process that leads a session of its own, and what it started."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        try:
            os.killpg(process.pid, number)
        except ProcessLookupError:
            break
        try:
            process.wait(10)
            break
        except subprocess.TimeoutExpired:
            continue
    process.wait(10)


class Display:
    """An X server of its own."""

    def __init__(self):
        read, write = os.pipe()
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            ["Xvfb", "-displayfd", str(write), "-screen", "0", SCREEN, "-nolisten", "tcp"],
            pass_fds=[write], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(write)
        timer = threading.Timer(30, self.process.kill)
        timer.start()
        with os.fdopen(read) as numbers:
            number = numbers.readline().strip()
        timer.cancel()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.environment = dict(os.environ, DISPLAY=":" + number, WINE_RUN_LOCALE=OPTIONS.locale,
                                WINE_RUN_TIMEOUT=str(2 * LONG))

    def run(self, *command, seconds=30):
        return subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, check=True,
                              capture_output=True, timeout=seconds).stdout

    def wine_run(self, *arguments):
        return self.run(OPTIONS.wine_run, "--tree", OPTIONS.tree, *arguments, seconds=2 * LONG)

    def click(self, x, y):
        """A click as a hand does it: the pointer comes from beside the place."""
        self.run("xdotool", "mousemove", str(x - 9), str(y - 5), "sleep", "0.05", "mousemove", str(x),
                 str(y), "sleep", "0.05", "click", "1")

    def screenshot(self, name):
        path = os.path.join(OPTIONS.pictures, name + ".png")
        self.run("import", "-window", "root", path)
        return path


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def decode(text):
    return b"" if text == "-" else bytes.fromhex(text)


class Host:
    """window_host.exe at work: its lines, as tuples of a first word and the rest."""

    def __init__(self, function, control, *arguments):
        self.lines = []
        self.arrivals = queue.Queue()
        command = [OPTIONS.wine_run, "--tree", OPTIONS.tree,
                   os.path.join(OPTIONS.programs, "window_host.exe"),
                   windows_path(os.path.join(OPTIONS.programs, "zatlib.dll")), function,
                   windows_path(control)] + list(arguments)
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            command, cwd=os.path.dirname(control), env=OPTIONS.display.environment,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            start_new_session=True)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.process.stdout:
            word, _, rest = line.decode("ascii", "replace").strip().partition(" ")
            self.arrivals.put((word, rest))
        self.arrivals.put(None)

    def wait(self, word, seconds=LONG):
        """The rest of the next line that begins with the word."""
        end = time.monotonic() + seconds
        while True:
            try:
                line = self.arrivals.get(timeout=max(0.01, end - time.monotonic()))
            except queue.Empty:
                raise AssertionError("no line \"%s\" after %s" % (word, self.lines[-6:])) from None
            if line is None:
                self.arrivals.put(None)
                raise AssertionError("the host ended without \"%s\": %s" % (word, self.lines[-6:]))
            self.lines.append(line)
            if line[0] == word:
                return line[1]

    def finish(self):
        """Waits for the end and gives all lines."""
        try:
            while True:
                line = self.arrivals.get(timeout=LONG)
                if line is None:
                    break
                self.lines.append(line)
            self.process.wait(LONG)
        finally:
            self.close()
        return self.lines

    def go_on(self):
        self.process.stdin.write(b"\n")
        self.process.stdin.flush()

    def close(self):
        if self.process.poll() is None:
            end_process(self.process)
        self.process.stdin.close()
        self.process.stdout.close()

    def all(self, word):
        return [rest for first, rest in self.lines if first == word]

    def texts(self):
        return [decode(text) for text in self.all("status")]

    def positions(self):
        return [int(text) for text in self.all("position")]


def fields(text):
    """"a=1 b=x" to a dictionary; whole numbers become ints."""
    values = dict(part.split("=", 1) for part in text.split())
    return {key: int(value) if re.fullmatch(r"-?\d+", value) and key not in ("text", "title", "style",
                                                                             "ex", "flags", "color")
            else value for key, value in values.items()}


class WindowTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="zatlib-window-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.data = os.path.join(self.folder, "data")
        os.makedirs(self.data)
        for name in os.listdir(OPTIONS.data):
            source = os.path.join(OPTIONS.data, name)
            if os.path.isfile(source):
                shutil.copyfile(source, os.path.join(self.data, name))
        self.out = os.path.join(self.data, "out")
        os.makedirs(self.out)
        self.control = os.path.join(self.data, "control.ini")
        self.change_control(rb"SILENTMODE\s*=\s*1", b"SILENTMODE=0\r\nBUILDMETHOD=M")
        self.log_start = self.log_bytes()

    def change_control(self, pattern, replacement):
        with open(self.control, "rb") as file:
            text = file.read()
        changed = re.sub(pattern, replacement, text)
        self.assertNotEqual(changed, text)
        with open(self.control, "wb") as file:
            file.write(changed)

    def host(self, *arguments, function="ZAT_NWB_BuildRoadNetworksEx"):
        host = Host(function, self.control, *arguments)
        self.addCleanup(host.close)
        return host

    @staticmethod
    def log_bytes():
        users = os.path.join(glob.escape(OPTIONS.prefix), "drive_c", "users", "*", "AppData", "Local")
        content = b""
        for path in sorted(glob.glob(os.path.join(users, "Orvilex Systems,Inc*", "ZatLib", "*.log"))):
            with open(path, "rb") as file:
                content += file.read()
        return content

    def log_lines(self):
        """The lines that the build log got since the test began, without their time stamps."""
        lines = self.log_bytes()[len(self.log_start):].replace(b"\r\n", b"\n").split(b"\n")
        return [line[22:] for line in lines]

    def stores(self):
        return sorted(name for name in os.listdir(self.out) if name.endswith(".~wk"))

    def check_windows(self, host, runs=1):
        """The owner and its windows are disabled meanwhile and back afterwards; a window of somebody
        else's stays enabled."""
        all_enabled = "main=1 owned1=1 owned2=1 stranger=1"
        told = host.all("enabled")
        self.assertEqual(told[0], "before " + all_enabled)
        for line in told[1:]:
            when = line.split()[0]
            self.assertEqual(line, when + (" " + all_enabled if when == "after" else
                                           " main=0 owned1=0 owned2=0 stranger=1"))
        self.assertEqual(len([line for line in told if line.startswith("after")]), runs)

    def duplicate_first_lines(self, name, count):
        path = os.path.join(self.data, name)
        with open(path, "rb") as file:
            lines = file.read().split(b"\n")
        with open(path, "wb") as file:
            file.write(b"\n".join(lines[:count] + lines))
        return [line.split(b",")[0].decode() for line in lines[:count]]

    def count_lines(self, name):
        with open(os.path.join(self.data, name), "rb") as file:
            return len([line for line in file.read().split(b"\n") if line.strip()])


class Dialog(WindowTest):
    def test_the_dialog_and_its_controls(self):
        host = self.host("hold=Making Dummy Link", "do=show")
        host.wait("cancel")
        time.sleep(0.3)
        OPTIONS.display.screenshot("dialog")
        host.go_on()
        host.finish()

        unit = fields(host.all("unit")[0])
        u = unit["height"] + unit["leading"] + int(2.5 * unit["frame"])
        self.assertGreater(u, 8)
        dialog = fields(host.all("dialog")[0])
        self.assertEqual(decode(dialog["title"]), TITLE.encode("cp932"))
        # Popup, visible, caption, system menu, modal frame; the system adds bits of its own.
        self.assertEqual(int(dialog["style"], 16) & 0x90C80080, 0x90C80080)
        self.assertEqual(int(dialog["style"], 16) & ~(0x90C80080 | 0x04000000 | 0x4), 0)
        self.assertEqual(dialog["owner"], "main")
        self.assertEqual(dialog["close"], 0)

        client = fields(host.all("client")[0])
        self.assertEqual(client, {"width": 15 * u, "height": 71 * u // 10})
        width = client["width"]
        children = [fields(line) for line in host.all("child")]
        cancel = "キャンセル".encode("cp932") if OPTIONS.locale == JAPANESE else b"&Cancel"
        expected = [
            (1012, "Static", "50000081", b"Initalizing...", 5 * u // 4, 5 * u // 4,
             width - 5 * u // 2, 9 * u // 4),
            (1013, "msctls_progress32", "50000001", b"", u - 1, 4 * u - 1, width - 2 * u + 2, u + 2),
            (1001, "Button", "50000000", b"", 0, 0, 0, 0),
            (1002, "Button", "50000000", cancel, (width - 5 * u) // 2, 11 * u // 2, 5 * u,
             12 * u // 10),
        ]
        seen = [(c["id"], c["class"], c["style"], decode(c["text"]), c["left"], c["top"], c["width"],
                 c["height"]) for c in children]
        self.assertEqual(seen, expected)
        # The bar gives itself a static edge.
        self.assertEqual([c["ex"] for c in children], ["00000000", "00020000", "00000000", "00000000"])
        self.assertEqual([c["font"] for c in children], [1] * 4)
        self.assertEqual(fields(host.all("bar")[0]),
                         {"low": 0, "high": 100, "position": 0, "color": "0000ff"})
        if u == 20:
            self.assertEqual(client, {"width": 300, "height": 142})
            self.assertEqual(expected[0][4:], (25, 25, 250, 45))
            self.assertEqual(expected[3][4:], (100, 110, 100, 24))

        place, over = fields(host.all("place")[0]), fields(host.all("over")[0])
        self.assertEqual(place["left"], over["left"] + over["width"] // 2 - place["width"] // 2)
        self.assertEqual(place["top"], over["top"] + over["height"] // 2 - place["height"] // 2)

        # The parameter of the start message is not used.
        self.assertEqual(host.all("start"), ["parameter=0"])
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        self.check_windows(host)

    def test_the_pixels_of_the_dialog(self):
        host = self.host("hold=Creating CalcNode(", "do=show")
        host.wait("cancel")
        time.sleep(0.3)
        path = OPTIONS.display.screenshot("dialog_bar")
        host.go_on()
        host.finish()
        place, client = fields(host.all("place")[0]), fields(host.all("client")[0])
        unit = fields(host.all("unit")[0])
        u = unit["height"] + unit["leading"] + int(2.5 * unit["frame"])
        # The client area lies inside a frame that is as wide on the left, right and below.
        frame = (place["width"] - client["width"]) // 2
        left = place["left"] + frame
        top = place["top"] + place["height"] - frame - client["height"]

        def pixel(x, y):
            out = OPTIONS.display.run("convert", path, "-format",
                                      "%%[pixel:p{%d,%d}]" % (left + x, top + y), "info:")
            return out.decode().strip()

        red = ("red", "srgb(255,0,0)", "rgb(255,0,0)", "srgba(255,0,0,1)")
        bar_left, bar_right = u - 1, u - 1 + client["width"] - 2 * u + 2
        middle = 4 * u - 1 + (u + 2) // 2
        self.assertIn(pixel(bar_left + (bar_right - bar_left) * 7 // 10, middle), red)
        self.assertNotIn(pixel(bar_left + (bar_right - bar_left) * 8 // 10, middle), red)
        # The sunken frame: shadow left and above, highlight right and below, one pixel each, just
        # outside (u, u) to (width - u, 3.5 u).
        right, bottom = client["width"] - u, 7 * u // 2
        face = pixel(u + 2, u + 2)
        shadow, highlight = pixel(u - 1, 2 * u), pixel(right, 2 * u)
        self.assertEqual(len({face, shadow, highlight}), 3)
        self.assertEqual([pixel(2 * u, u - 1), pixel(2 * u, bottom)], [shadow, highlight])
        self.assertEqual([pixel(u - 2, 2 * u), pixel(u, 2 * u), pixel(right - 1, 2 * u),
                          pixel(right + 1, 2 * u), pixel(2 * u, u - 2), pixel(2 * u, u),
                          pixel(2 * u, bottom - 1), pixel(2 * u, bottom + 1)], [face] * 8)

    def test_the_texts_and_positions_of_a_build_in_order(self):
        host = self.host()
        host.finish()
        numbers = {"rules": self.count_lines("nodetrf.txt"), "oneways": self.count_lines("linktrf.txt"),
                   "nodes": os.path.getsize(os.path.join(self.out, "maploc.dat")) // 16}
        wanted = [text.format(**numbers) if "{" in text else text for text in STATUS_TEXTS]
        seen = [text.decode("cp932") for text in host.texts()]
        seen = [re.sub(r"Storage \d+ /", "Storage # /", text) for text in seen]
        wanted[wanted.index("Checking OneWayStorage # / %d" % numbers["oneways"])] = \
            "Checking OneWayStorage # / %d" % numbers["oneways"]
        self.assertEqual(seen, wanted)
        self.assertEqual(host.positions(), POSITIONS)
        finished = fields(host.all("finished")[0])
        self.assertEqual((finished["parameter"], finished["position"]), (1, 100))
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        self.check_windows(host)
        self.assertEqual(self.stores(), [])
        self.assertIn(b"End OK.", self.log_lines())

    def test_the_cursor_over_the_dialog(self):
        host = self.host("hold=Setting Link Storage", "do=show")
        x, y = [int(part.split("=")[1]) for part in host.wait("cancel").split()[1:]]
        OPTIONS.display.run("xdotool", "mousemove", str(x - 120), str(y - 40), "sleep", "0.1",
                            "mousemove", str(x - 110), str(y - 45), "sleep", "0.3")
        host.go_on()
        host.finish()
        # On a busy machine the first answer can come before the display has the pointer's new form.
        told = host.all("cursor")
        self.assertEqual({line.split()[0] for line in told}, {"handled=1"})
        self.assertEqual(told[-1], "handled=1 wait=1")

    def test_the_halves_run_behind_the_dialog_too(self):
        # The first half never runs silently.
        self.change_control(rb"SILENTMODE=0", b"SILENTMODE=1")
        host = self.host(function="ZAT_NWB_BRN400_PathOneZAT")
        host.finish()
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        self.assertEqual(len(host.all("dialog")), 1)
        self.check_windows(host)
        # From the driver of the first half only.
        self.assertEqual(host.positions(), POSITIONS[1:10])
        self.assertEqual(self.stores(), STAGE_ONE_STORES)

        self.change_control(rb"SILENTMODE=1", b"SILENTMODE=0")
        host = self.host(function="ZAT_NWB_BRN400_PathTwo")
        host.finish()
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        self.assertEqual(host.positions(), POSITIONS[11:-2])
        self.assertEqual(self.stores(), STAGE_ONE_STORES)

    def test_a_silent_run_shows_nothing(self):
        self.change_control(rb"SILENTMODE=0", b"SILENTMODE=1")
        host = self.host()
        host.finish()
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        for word in ("start", "dialog", "status", "position", "box", "finished"):
            self.assertEqual(host.all(word), [])
        self.assertEqual(host.all("enabled"), ["before main=1 owned1=1 owned2=1 stranger=1",
                                               "after main=1 owned1=1 owned2=1 stranger=1"])


class Cancel(WindowTest):
    def cancel_notice(self):
        return ("キャンセル処理中・・・".encode("cp932") if OPTIONS.locale == JAPANESE
                else b"Canceling ...")

    def click_cancel(self, host, times=1):
        x, y = [int(part.split("=")[1]) for part in host.wait("cancel").split()[1:]]
        for _ in range(times):
            OPTIONS.display.click(x, y)
            host.wait("cancelled", 20)

    def test_cancel_at_many_moments(self):
        for text, position, stores in MOMENTS:
            with self.subTest(text):
                for name in os.listdir(self.out):
                    os.remove(os.path.join(self.out, name))
                self.log_start = self.log_bytes()
                host = self.host("hold=" + text, "do=cancel")
                self.click_cancel(host)
                clicked = time.monotonic()
                host.wait("returned")
                self.assertLess(time.monotonic() - clicked, 5)
                host.finish()
                self.assertEqual(host.all("returned"), ["0 dialog=0"])
                # Nothing covers the notice.
                self.assertEqual(host.texts()[-1], self.cancel_notice())
                self.assertEqual(decode(fields(host.all("finished")[0])["status"]),
                                 self.cancel_notice())
                before = host.lines.index(("cancelled", ""))
                at = [int(rest) for word, rest in host.lines[:before] if word == "position"][-1]
                self.assertEqual(at, position)
                self.assertEqual(self.log_lines()[-2:], [b"End Error.", b""])
                self.assertEqual(self.stores(), stores)
                self.check_windows(host)
                self.assertEqual(host.all("box"), [])

    def test_a_second_click_changes_nothing_and_the_next_run_starts_clean(self):
        host = self.host("hold=Setting Link Storage", "do=cancel2", "runs=2")
        self.click_cancel(host, times=2)
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0", "1 dialog=0"])
        self.check_windows(host, runs=2)
        texts = host.texts()
        self.assertEqual(texts.count(self.cancel_notice()), 2)
        self.assertEqual(host.positions()[-len(POSITIONS):], POSITIONS)
        lines = self.log_lines()
        self.assertLess(lines.index(b"End Error."), lines.index(b"End OK."))
        self.assertEqual(self.stores(), [])


class Starting(WindowTest):
    def answer_box(self, host, button=1, picture=None):
        """Waits for a message box and clicks a button; gives the box and how it was shown."""
        box = fields(host.wait("box"))
        shown = fields(host.wait("shown"))
        host.wait("answer")
        if picture:
            OPTIONS.display.screenshot(picture)
        last = max(i for i, line in enumerate(host.lines) if line[0] == "box")
        buttons = {b["id"]: b for b in (fields(rest) for word, rest in host.lines[last:]
                                        if word == "button")}
        OPTIONS.display.click(buttons[button]["x"], buttons[button]["y"])
        self.assertEqual(host.wait("answered", 20), str(button))
        return (box["owner"], box["flags"], decode(box["title"]), decode(box["text"]), shown,
                sorted(buttons))


class Refusals(Starting):
    def test_a_second_dialog_is_refused(self):
        host = self.host("hold=Setting Link Storage", "do=second")
        owner, flags, title, text, shown, buttons = self.answer_box(host, picture="second_dialog")
        self.assertEqual((owner, flags, title, text),
                         ("main", "00000010", b"FRD Message", b"FRD Window has already opened!"))
        self.assertEqual(shown["owner"], "main")
        self.assertEqual(len(buttons), 1)
        host.finish()
        self.assertEqual(host.all("second"), ["returned 0"])
        # The first build is not disturbed.
        self.assertEqual(host.all("returned"), ["1 dialog=0"])
        self.assertEqual(host.positions(), POSITIONS)
        self.assertEqual(host.all("enabled")[-1], "after main=1 owned1=1 owned2=1 stranger=1")

    def test_no_worker_thread(self):
        host = self.host("fail=thread", "runs=2")
        for _ in range(2):
            owner, flags, title, text, shown, _ = self.answer_box(host)
            self.assertEqual((owner, flags, title, text),
                             ("dialog", "00000010", b"Fatal Error in FRD_Proc",
                              b"Can't create FrdModalThreadProc thread !"))
            self.assertEqual((shown["owner"], shown["dialog"]), ("dialog", 0))
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0"] * 2)
        self.check_windows(host, runs=2)

    def test_no_memory_for_the_template(self):
        host = self.host("fail=template", "runs=2")
        for _ in range(2):
            box = self.answer_box(host)
            self.assertEqual(box[:4], ("main", "00000010", b"FRD Message",
                                       b"Can't create the FRD dialog template !"))
        host.finish()
        # Committed and reserved, read-write.
        self.assertEqual(set(host.all("template")), {"size=82 kind=3000 protection=4"})
        self.assertEqual(host.all("returned"), ["0 dialog=0"] * 2)
        self.assertEqual(host.all("enabled")[-1], "after main=1 owned1=1 owned2=1 stranger=1")

    def test_no_owner_and_a_dead_owner(self):
        for kind in ("null", "dead"):
            with self.subTest(kind):
                host = self.host("owner=" + kind)
                host.finish()
                self.assertEqual(host.all("returned"), ["1 dialog=0"])
                self.assertEqual(fields(host.all("dialog")[0])["owner"], "main")
                self.check_windows(host)

    def test_the_second_half_uses_a_dead_owner_as_it_is(self):
        host = self.host("owner=dead", "runs=2", function="ZAT_NWB_BRN400_PathTwo")
        host.finish()
        # No dialog opens over a window that is gone.
        self.assertEqual(host.all("returned"), ["0 dialog=0"] * 2)
        self.assertEqual(host.all("dialog"), [])
        self.assertEqual(host.all("enabled")[-1], "after main=1 owned1=1 owned2=1 stranger=1")
        self.assertEqual(self.log_lines(), [b""])

    def test_the_owner_is_destroyed_while_the_build_runs(self):
        host = self.host("hold=Setting Link Storage", "do=destroy")
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0"])
        self.assertEqual(self.log_lines()[-2:], [b"End Error.", b""])
        self.assertEqual(host.all("enabled")[-1], "after main=0 owned1=0 owned2=0 stranger=1")

    def test_the_host_quits_while_the_build_runs(self):
        host = self.host("hold=Setting Link Storage", "do=quit")
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0"])
        self.assertEqual(self.log_lines()[-2:], [b"End Error.", b""])
        self.assertEqual(host.all("enabled")[-1], "after main=1 owned1=1 owned2=1 stranger=1")


class Boxes(Starting):
    def test_a_listing_of_duplicates_ends_with_cancel(self):
        codes = self.duplicate_first_lines("nodes.txt", 3)
        host = self.host()
        message = "道路点 %s が重複しています。重複を取り除いてください。"
        title = "道路点データの重複エラー"
        for number, button in ((0, 1), (1, 2)):
            owner, flags, box_title, text, shown, buttons = self.answer_box(
                host, button, "duplicate" if number == 0 else None)
            # OK and Cancel, stop sign; it belongs to the dialog, which is therefore not task-modal.
            self.assertEqual((owner, flags), ("dialog", "00000011"))
            self.assertEqual(box_title, title.encode("cp932"))
            self.assertEqual(text, (message % codes[number]).encode("cp932"))
            self.assertEqual((shown["owner"], shown["dialog"], buttons), ("dialog", 0, [1, 2]))
        host.finish()
        self.assertEqual(host.all("answered"), ["1", "2"])
        self.assertEqual(host.all("returned"), ["0 dialog=0"])
        lines = self.log_lines()
        reports = [line for line in lines if line.startswith(b"[")]
        self.assertEqual(reports, [("[" + message % code + "][" + title + "]").encode("cp932")
                                   for code in codes[:2]])
        # Answering Cancel is not the Cancel of the dialog: the bar goes on to its end.
        self.assertEqual(host.positions()[-1], 100)
        self.check_windows(host)

    def test_a_missing_file(self):
        os.remove(os.path.join(self.data, "links.txt"))
        host = self.host()
        owner, flags, title, text, shown, _ = self.answer_box(host)
        self.assertEqual((owner, title, text),
                         ("dialog", b"File Error", b"Can't open the link data (FILE01) [links.txt] !"))
        self.assertEqual(int(flags, 16) & 0x1F, 0x10)
        self.assertEqual(shown["owner"], "dialog")
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0"])
        self.check_windows(host)


    # The road definition and the header of a MIF file know no window.
    def test_a_missing_class_file(self):
        self.change_control(rb"\[NODE\]",
                            b"[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=missing.txt\r\n[NODE]")
        host = self.host()
        owner, flags, title, text, _, _ = self.answer_box(host)
        self.assertEqual((owner, flags, title, text),
                         ("null", "00002010", b"File Error in BRN_CreateRoadDef",
                          b"Can't open the Attribute File (missing.txt) !"))
        host.finish()
        self.assertEqual(host.all("returned"), ["0 dialog=0"])
        self.check_windows(host)


class Example(WindowTest):
    """examples/host, worked like a user works it."""

    def start(self):
        process = subprocess.Popen(  # pylint: disable=consider-using-with
            [OPTIONS.wine_run, "--tree", OPTIONS.tree, os.path.join(OPTIONS.programs, "host.exe"),
             windows_path(self.control)], env=OPTIONS.display.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        self.addCleanup(end_process, process)
        wait_for(lambda: self.window("zatlib host"), LONG, "the window of the example")
        time.sleep(1)
        # The button lies 152 pixels to the right of the window's corner and 62 below its caption.
        OPTIONS.display.click(60 + 152, 60 + 88)

    @staticmethod
    def window(title):
        """The X window with that title that can be seen, "" when there is none."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % title],
                               env=OPTIONS.display.environment, capture_output=True, timeout=30,
                               check=False, text=True)
        return found.stdout.split("\n")[0]

    @staticmethod
    def box():
        """Place of the message box: the window in the middle of the screen."""
        display = OPTIONS.display
        for window in display.run("xdotool", "search", "--onlyvisible", "--name", ".").split():
            text = display.run("xdotool", "getwindowgeometry", "--shell", window.decode()).decode()
            place = dict(line.split("=") for line in text.split())
            left, top, width, height = (int(place[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))
            if (abs(left + width / 2 - 512) < 4 and abs(top + height / 2 - 384) < 4
                    and width < 700):
                return left, top, width, height
        raise AssertionError("no message box in the middle of the screen")

    def test_a_click_builds_the_map(self):
        self.start()
        wait_for(lambda: b"End OK." in self.log_lines(), LONG, "the build of the example")
        wait_for(lambda: self.stores() == [], LONG, "the end of the build")
        time.sleep(1)
        OPTIONS.display.screenshot("example")
        self.assertGreater(os.path.getsize(os.path.join(self.out, "mapcalc.dat")), 1000)

    def test_a_duplicate_is_shown_over_the_progress(self):
        self.duplicate_first_lines("nodes.txt", 1)
        self.start()
        wait_for(lambda: any(line.startswith(b"[") for line in self.log_lines()), LONG, "the message")
        time.sleep(1)
        OPTIONS.display.screenshot("example_duplicate")
        self.assertNotIn(b"End Error.", self.log_lines())
        left, top, width, height = self.box()
        # OK lies to the left of the middle, near the lower edge.
        OPTIONS.display.click(left + width // 2 - 50, top + height - 24)
        wait_for(lambda: b"End Error." in self.log_lines(), 30, "the end of the build")


def parse_options():
    parser = argparse.ArgumentParser(description="Tests zatlib.dll in real windows.")
    parser.add_argument("--wine-run", required=True)
    parser.add_argument("--locale", required=True, choices=["ja_JP", "en_US"])
    parser.add_argument("--tree", required=True)
    parser.add_argument("--programs", required=True)
    parser.add_argument("--data", required=True)
    parser.add_argument("--json", help="report of the single cases")
    parser.add_argument("tests", nargs="*", help="Class or Class.test, default all")
    parser.parse_args(namespace=OPTIONS)
    for name in ("wine_run", "tree", "programs", "data"):
        setattr(OPTIONS, name, os.path.abspath(getattr(OPTIONS, name)))
    OPTIONS.pictures = os.path.join(OPTIONS.tree, OPTIONS.locale)
    os.makedirs(OPTIONS.pictures, exist_ok=True)


class Result(unittest.TextTestResult):
    """Keeps the names of the cases, for the report."""

    def __init__(self, *arguments, **keywords):
        super().__init__(*arguments, **keywords)
        self.names = []

    def startTest(self, test):
        self.names.append(test.id())
        super().startTest(test)


def write_report(result):
    failed = {getattr(test, "test_case", test).id() for test, _ in result.failures + result.errors}
    cases = [{"name": name, "result": "COMPLETED",
              **({"failures": [{"failure": "see the output"}]} if name in failed else {})}
             for name in result.names]
    with open(OPTIONS.json, "w", encoding="utf-8") as file:
        json.dump({"testsuites": [{"name": "windows", "testsuite": cases}]}, file, indent=1)


def main():
    parse_options()
    OPTIONS.display = Display()
    try:
        OPTIONS.prefix = OPTIONS.display.wine_run("--prefix").decode().strip()
        # Wine draws the captions: no window manager runs on the display.
        OPTIONS.display.wine_run("reg", "add", r"HKCU\Software\Wine\X11 Driver", "/v", "Managed", "/d",
                                 "N", "/f")
        loader = unittest.TestLoader()
        module = sys.modules[__name__]
        suite = (loader.loadTestsFromNames(OPTIONS.tests, module) if OPTIONS.tests
                 else loader.loadTestsFromModule(module))
        result = unittest.TextTestRunner(verbosity=2, resultclass=Result).run(suite)
        if OPTIONS.json:
            write_report(result)
        return 0 if result.wasSuccessful() and result.testsRun > 0 else 1
    finally:
        try:
            OPTIONS.display.wine_run("--stop")
        finally:
            end_process(OPTIONS.display.process)


if __name__ == "__main__":
    # A test run that is ended from outside cleans up as well.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    sys.exit(main())
