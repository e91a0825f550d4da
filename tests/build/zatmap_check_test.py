#!/usr/bin/env python3
"""zatmap check: every kind of finding, from the smallest input that has it.

    python3 zatmap_check_test.py --zatmap PROGRAM [--launcher WORDS...] [unittest arguments]

Each case takes one of four good networks, breaks one thing and names all findings: file, record,
column, severity, kind and detail. The last case makes sure that no kind is left out.
"""

import glob
import json
import os
import queue
import re
import subprocess
import sys
import tempfile
import threading
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
# pylint: disable-next=wrong-import-position
from good_networks import XY, folder_of, header, lines, msr, msr_mif, zat_mif, zat_text

ZATMAP = []
WINDOWS = False
SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
KINDS = {}
SEEN = set()


class Rounds(unittest.TestSuite):
    """Cases that share the starts of Windows, each of which takes a second or more.

    Every case has a thread, and one of them goes on at a time. When all wait for a run of the
    program, one batch file makes these runs, and the cases go on.
    """

    def __init__(self, cases):
        super().__init__(cases)
        self.turn = threading.Lock()   # of the case that goes on
        self.stopped = queue.Queue()   # a run that a case waits for; None: a case has ended

    def run(self, result, debug=False):
        threads = [threading.Thread(target=self.case, args=(case, result), daemon=True)
                   for case in self]
        for thread in threads:
            thread.start()
        left = len(threads)
        while left > 0:
            waiting = []
            for _ in range(left):
                waiting.append(self.stopped.get())
            waiting = [run for run in waiting if run is not None]
            left = len(waiting)
            if waiting:
                self.make(waiting)
        for thread in threads:
            thread.join()
        return result

    def case(self, case, result):
        with self.turn:
            case(result)
        self.stopped.put(None)

    def wait_for(self, root, words):
        """Exit status, output and errors of a command in a folder."""
        run = {"root": root, "words": words, "made": threading.Event()}
        self.stopped.put(run)
        self.turn.release()
        run["made"].wait()
        self.turn.acquire()
        return run["result"]

    @staticmethod
    def make(runs):
        windows = lambda path: "Z:" + os.path.abspath(path).replace("/", "\\")
        with tempfile.TemporaryDirectory(prefix="zatmap_check_") as folder:
            files = [[os.path.join(folder, "%d.%s" % (number, what))
                      for what in ("status", "output", "errors")] for number in range(len(runs))]
            script = ["@echo off"]
            for run, (status, output, errors) in zip(runs, files):
                command = " ".join([*run["words"], ">", windows(output), "2>", windows(errors)])
                # Once in some thousand times Wine does not start a program on a busy machine; cmd
                # says so by this number, and the program has done nothing yet.
                script += ["cd /d " + windows(run["root"] or folder), command,
                           'if "%ERRORLEVEL%"=="9009" ' + command,
                           "echo status %ERRORLEVEL% > " + windows(status)]
            script.append("exit /b 0")  # not the status of the last run
            batch = os.path.join(folder, "run.bat")
            with open(batch, "wb") as out:
                out.write("".join(line + "\r\n" for line in script).encode())
            subprocess.run([*ZATMAP[:-1], "cmd", "/c", windows(batch)], check=True, timeout=1200,
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
            for run, names in zip(runs, files):
                parts = []
                for name in names:
                    with open(name, "rb") as part:
                        parts.append(part.read())
                run["result"] = (int(parts[0].split()[1]), *parts[1:])
        for run in runs:
            run["made"].set()


ROUNDS = None


def run(root, *arguments):
    if ROUNDS is not None:
        program = "Z:" + ZATMAP[-1].replace("/", "\\")
        status, out, err = ROUNDS.wait_for(root, [program, "check", *arguments])
        return status, zatmap.text_of(out), zatmap.text_of(err)
    return tuple(zatmap.Zatmap(ZATMAP, ZATLIB_CODEPAGE="932").run("check", *arguments, cwd=root))


FINDING = re.compile(r"^(.*?:\d+: \d+: (?:error|warning)): (.*) \[([a-z0-9-]+)\]$")


def findings_of(text):
    """(place and severity, kind, detail) of every finding of the text form."""
    found = []
    for line in text.splitlines():
        match = FINDING.match(line)
        if not match:
            continue
        place, message, kind = match.groups()
        info = KINDS[kind]
        message = re.sub(r" \(line (\d+)\)$", r"", message)
        assert message.startswith(info["text"] + ": "), line
        assert message.endswith("; " + info["advice"]), line
        found.append((place, kind, message[len(info["text"]) + 2:-len(info["advice"]) - 2]))
    return found


class CheckTest(unittest.TestCase):
    maxDiff = None

    def expect(self, files, *expected, options=(), folders=("out",), skip=()):
        """The findings are just these, in this order; kinds in `skip` are not looked at."""
        with folder_of(files, folders) as root:
            status, text, errors = run(root, *options, "control.ini")
        found = [f for f in findings_of(text) if f[1] not in skip]
        self.assertEqual(found, list(expected), text + errors)
        has_error = any(f[0].endswith("error") for f in findings_of(text))
        self.assertEqual(status, 1 if has_error else 0, text + errors)
        SEEN.update(kind for _, kind, _ in expected)

    def expect_change(self, make, name, old, new, *expected, **how):
        """The good network of `make` with one change in one file."""
        files = make()
        self.assertIn(old, files[name])
        files[name] = files[name].replace(old, new, 1)
        self.expect(files, *expected, **how)


class GoodNetworks(CheckTest):
    def test_no_findings(self):
        for make in (zat_text, zat_mif, msr, msr_mif):
            with self.subTest(make.__name__):
                with folder_of(make()) as root:
                    status, text, errors = run(root, "control.ini")
                if WINDOWS:
                    errors = ""  # the display of a program that has ended may complain
                self.assertEqual((status, text, errors), (0, "0 errors, 0 warnings\n", ""))

    def test_code_length_18(self):
        files = zat_text()
        for name, content in files.items():
            if name != "control.ini":
                content = re.sub(rb"(?m)(?<![\d.])(1[0-9]{1,2})(?=,)(?<!,1)",
                                 lambda m: m.group(1), content)
            files[name] = content.replace(b"CODELENGTH=14", b"CODELENGTH=18")
        self.expect(files)

    def test_example(self):
        folder = os.path.join(SOURCE, "examples", "monaco")
        for control in ("control.ini", "control_mif.ini"):
            if not os.path.exists(os.path.join(folder, control)):
                continue
            status, text, _ = run(folder, control)
            self.assertEqual(status, 0, text[:2000])
            self.assertIn("\n0 errors, ", text)


class Output(CheckTest):
    def test_text(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b",11,12,", b",11,99,")
        with folder_of(files) as root:
            status, text, _ = run(root, "control.ini")
        self.assertEqual(status, 1)
        self.assertEqual(
            text,
            "links.txt:1: 9: error: the link names a node that does not exist: node B "
            "00000000000099; add the node or correct the code: the link is left out of the map "
            "[link-node-missing]\n"
            "nodetrf.txt:1: 2: warning: the rule names a link that does not end at its node: it is "
            "skipped: link 101 at links.txt:1; correct or remove it [rule-not-at-node]\n"
            "1 error, 1 warning\n"
            "       1  error    link-node-missing     the link names a node that does not exist\n"
            "       1  warning  rule-not-at-node      the rule names a link that does not end at its "
            "node: it is skipped\n")

    def test_json(self):
        files = zat_text()
        files["linkshape.txt"] = files["linkshape.txt"].replace(b"43.731000", b"43.7310001", 1)
        with folder_of(files) as root:
            status, text, _ = run(root, "--json", "control.ini")
        self.assertEqual(status, 1)
        self.assertEqual(json.loads(text), {
            "control": "control.ini", "errors": 1, "warnings": 0,
            "kinds": {"coord-decimals": 1},
            "findings": [{
                "file": "linkshape.txt", "record": 2, "column": 2, "line": 6,
                "severity": "error", "kind": "coord-decimals",
                "text": "the coordinate has more than 6 decimals",
                "detail": "43.7310001 counts as 437.310001",
                "advice": "round it to 6: each further one makes it ten times as large"}]})

    def test_max_counts_what_it_does_not_show(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b'"Road"', b'"A road of more than 20"')
        with folder_of(files) as root:
            status, text, _ = run(root, "--max", "2", "control.ini")
            self.assertEqual(status, 0)
            self.assertEqual([f[0] for f in findings_of(text)],
                             ["links.txt:1: 14: warning", "links.txt:2: 14: warning"])
            self.assertIn("       5  warning  name-long             the name is longer than 20 "
                          "bytes (the first 2 are shown)\n", text)
            _, text, _ = run(root, "--max", "0", "control.ini")
            self.assertEqual(len(findings_of(text)), 5)

    def test_strict(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b'"Road"', b'"A road of more than 20"')
        with folder_of(files) as root:
            self.assertEqual(run(root, "--strict", "control.ini")[0], 1)
            self.assertEqual(run(root, "control.ini")[0], 0)

    def test_usage(self):
        with folder_of({}) as root:
            self.assertEqual(run(root)[0], 2)
            self.assertEqual(run(root, "--max", "-1", "control.ini")[0], 2)
            self.assertEqual(run(root, "--nonsense", "control.ini")[0], 2)
            status, text, _ = run(root, "--help")
            self.assertEqual(status, 0)
            self.assertIn("  zatmap check --max 20 control.ini\n", text)

    def test_sorted_by_file_record_and_column(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b",40,40,", b",4x,4y,")
        files["linkname.txt"] = lines('999,1,1,"Nobody"')
        with folder_of(files) as root:
            _, text, _ = run(root, "control.ini")
        self.assertEqual(
            [f[0] for f in findings_of(text)],
            ["linkname.txt:1: 1: warning"] +
            ["links.txt:%d: %d: warning" % (r, c) for r in range(1, 6) for c in (10, 11)])


class ControlFile(CheckTest):
    def control(self, old, new, *expected, **how):
        self.expect_change(zat_text, "control.ini", old, new, *expected, **how)

    def test_missing(self):
        with folder_of({}) as root:
            status, text, _ = run(root, "nosuch.ini")
        self.assertEqual(status, 1)
        self.assertRegex(text, r"^nosuch\.ini:0: 0: error: the control file cannot be read: ")
        SEEN.add("control-missing")

    def test_line(self):
        self.control(b"MIF=0", b"MIF=0\r\nnonsense",
                     ("control.ini:17: 0: warning", "control-line", "nonsense"))

    def test_section_misspelt(self):
        self.control(b"[LINKTRF]", b"[LINKTFR]",
                     ("control.ini:36: 0: error", "section-misspelt",
                      "[LINKTFR], probably [LINKTRF]"))

    def test_section_unknown(self):
        self.control(b"[SYSTEM]", b"[COLOURS]\r\nRED=1\r\n[SYSTEM]",
                     ("control.ini:1: 0: warning", "section-unknown", "[COLOURS]"))

    def test_section_other_format(self):
        self.control(b"[SYSTEM]", b"[DKUKAN]\r\nFILENUM=0\r\n[SYSTEM]",
                     ("control.ini:1: 0: warning", "section-other-format",
                      "[DKUKAN] while the format is ZAT"))

    def test_section_twice(self):
        self.control(b"[LINKTRF]", b"[node]\r\nMIF=1\r\n[LINKTRF]",
                     ("control.ini:36: 0: error", "section-twice", "[node]"))

    def test_section_missing(self):
        self.control(b"[NODE]", b"[NODEXX]",
                     ("control.ini:0: 0: error", "section-missing", "[NODE]"),
                     ("control.ini:13: 0: error", "section-misspelt",
                      "[NODEXX], probably [NODEXY]"))

    def test_key_misspelt(self):
        self.control(b"SPEEDA=20", b"SPEDA=20",
                     ("control.ini:8: 0: error", "key-misspelt",
                      "[DEFAULTSPEED] SPEDA, probably SPEEDA"))

    def test_key_number_with_one_digit(self):
        self.control(b"FILE01=linktrf", b"FILE1=linktrf",
                     ("control.ini:36: 0: error", "key-missing", "[LINKTRF] FILE01"),
                     ("control.ini:38: 0: error", "key-misspelt",
                      "[LINKTRF] FILE1, probably FILE01"))

    def test_key_unknown(self):
        self.control(b"SPEEDA=20", b"SPEEDA=20\r\nCOLOUR=1",
                     ("control.ini:9: 0: warning", "key-unknown", "[DEFAULTSPEED] COLOUR"))

    def test_key_twice(self):
        self.control(b"SPEEDA=20", b"SPEEDA=20\r\nspeeda=30",
                     ("control.ini:9: 0: warning", "key-twice", "[DEFAULTSPEED] speeda"))

    def test_key_missing(self):
        self.control(b"FILE01=linkname.txt", b"FILE01=",
                     ("control.ini:32: 0: error", "key-missing", "[LINKNAME] FILE01"))

    def test_filenum_missing(self):
        self.control(b"[LINKNAME]\r\nFILENUM=1", b"[LINKNAME]",
                     ("control.ini:30: 0: error", "key-missing", "[LINKNAME] FILENUM"))

    def test_file_number(self):
        self.control(b"FILE01=linkname.txt", b"FILE01=linkname.txt\r\nFILE02=more.txt",
                     ("control.ini:33: 0: warning", "file-number",
                      "[LINKNAME] FILE02=more.txt while FILENUM=1"))

    def test_only_first_nodexy(self):
        self.control(b"[NODEXY]\r\nFILENUM=1", b"[NODEXY]\r\nFILENUM=2",
                     ("control.ini:18: 0: warning", "nodexy-files", "[NODEXY] FILENUM=2"))

    def test_value_comment(self):
        self.control(b"SPEEDA=20", b"SPEEDA=20 ; km/h",
                     ("control.ini:8: 0: warning", "value-comment",
                      "[DEFAULTSPEED] SPEEDA=20 ; km/h"))

    def test_value_number(self):
        self.control(b"SPEEDA=20", b"SPEEDA=20km",
                     ("control.ini:8: 0: warning", "value-number",
                      "[DEFAULTSPEED] SPEEDA=20km counts as 20"))

    def test_value_unknown(self):
        self.control(b"FORMAT=ZAT", b"FORMAT=MRS",
                     ("control.ini:2: 0: warning", "value-unknown",
                      "[SYSTEM] FORMAT=MRS counts as ZAT"))
        self.control(b"SILENTMODE=1", b"SILENTMODE=2",
                     ("control.ini:3: 0: warning", "value-unknown",
                      "[SYSTEM] SILENTMODE=2 counts as 0"))
        self.control(b"SILENTMODE=1", b"BUILDMETHOD=m",
                     ("control.ini:3: 0: warning", "value-unknown",
                      "[SYSTEM] BUILDMETHOD=m counts as none"))

    def test_code_length(self):
        self.control(b"CODELENGTH=14", b"CODELENGTH=16",
                     ("control.ini:4: 0: error", "code-length", "CODELENGTH=16"))

    def test_flag_clash(self):
        self.control(b"FERRY=3", b"FERRY=1",
                     ("control.ini:12: 0: warning", "flag-clash", "HIGHWAY=1 and FERRY=1"))

    def test_folder_missing(self):
        self.expect(zat_text(), ("control.ini:6: 0: warning", "folder-missing", "out"), folders=())

    def test_folder_default(self):
        self.control(b"CALCMAPDIR=out", b"CALCMAPDIR=x",
                     ("control.ini:6: 0: warning", "folder-default", "[FOLDER] CALCMAPDIR=x"))

    def test_folder_leftover(self):
        files = zat_text()
        cut = files["control.ini"].index(b"[NODETRF]")
        files["control.ini"] = files["control.ini"][:cut]
        joined = "out%s%s" % ("\\" if WINDOWS else "/", "%s")
        files["out/trafrule.~wk"] = b""
        files["out/onewayst.~wk"] = b""
        files["out/shapedbl.idx"] = b""
        self.expect(files,
                    ("control.ini:6: 0: warning", "folder-leftover",
                     joined % "onewayst.~wk" + ", because there is no [LINKTRF]"),
                    ("control.ini:6: 0: warning", "folder-leftover",
                     joined % "shapedbl.idx" + ", because there is no [LINKSHAPE]"),
                    ("control.ini:6: 0: warning", "folder-leftover",
                     joined % "trafrule.~wk" + ", because there is no [NODETRF]"))

    def test_path_long(self):
        self.control(b"FILE01=linkname.txt", b"FILE01=" + b"x" * 300,
                     ("control.ini:32: 0: error", "path-long", "[LINKNAME] FILE01 has 300 bytes"),
                     ("x" * 259 + ":0: 0: error", "file-missing",
                      "[LINKNAME] FILE01, control.ini line 32"))

    def test_class_file(self):
        files = zat_text()
        files["control.ini"] += lines("[ATTRIBUTE]", "FILENUM=1", "FILE01=class.txt",
                                      "[WIDTH]", "FILENUM=2", "FILE01=class.txt")
        files["class.txt"] = lines("01,Motorway", "02 Road")
        self.expect(files,
                    ("class.txt:2: 0: warning", "columns-missing",
                     "no comma between code and label"),
                    ("control.ini:46: 0: warning", "value-unknown",
                     "[WIDTH] FILENUM=2 counts as none"))

    def test_byte_order_mark(self):
        self.control(b"[SYSTEM]", b"\xef\xbb\xbf[SYSTEM]",
                     ("control.ini:1: 0: error", "byte-order-mark", "bytes EF BB BF"))


class Files(CheckTest):
    def test_file_missing(self):
        files = zat_text()
        del files["linkname.txt"]
        self.expect(files, ("linkname.txt:0: 0: error", "file-missing",
                            "[LINKNAME] FILE01, control.ini line 32"))

    def test_missing_nodes_hide_their_references(self):
        files = zat_text()
        del files["nodes.txt"]
        self.expect(files, ("nodes.txt:0: 0: error", "file-missing",
                            "[NODE] FILE01, control.ini line 15"))

    def test_file_case(self):
        if WINDOWS:
            SEEN.add("file-case")
            return
        files = zat_text()
        files["nodes.MID"] = files.pop("nodes.mid")
        self.expect(files, ("nodes.mid:0: 0: error", "file-case",
                            "there is nodes.MID ([NODE] FILE01, control.ini line 15)"))

    def test_mid_missing(self):
        files = zat_text()
        del files["nodes.mid"]
        self.expect(files, ("nodes.mid:0: 0: error", "mid-missing",
                            "[NODE] FILE01, control.ini line 15"))
        files = zat_mif()
        del files["link.mid"]
        self.expect(files, ("link.mid:0: 0: error", "mif-mid-missing",
                            "[LINK] FILE01, control.ini line 11"))

    def test_mid_path(self):
        files = zat_text()
        files["control.ini"] = files["control.ini"].replace(b"nodes.txt", b"in/nodes")
        files["in/nodes"] = files.pop("nodes.txt")
        files["in.mid"] = files.pop("nodes.mid")
        path = "in/nodes"
        if WINDOWS:
            path = "in\\nodes"
            files["control.ini"] = files["control.ini"].replace(b"in/nodes", b"in\\nodes")
        self.expect(files,
                    ("control.ini:15: 0: warning", "mid-path", path + " gives in.mid"),
                    folders=("out", "in"))

    def test_node_file_that_is_its_own_mid(self):
        files = zat_text()
        files["nodes.mid"] = files.pop("nodes.txt")
        files["control.ini"] = files["control.ini"].replace(b"nodes.txt", b"nodes.mid")
        self.expect(files)

    def test_fare_files(self):
        files = zat_text()
        files["out/TR_LINK.DAT"] = b""
        self.expect(files, ("out:0: 0: warning", "fare-incomplete",
                            "missing TR_FARE2.DAT, TR_FARE2.IDX, TR_FARE3.DAT, TR_NAME.DAT, "
                            "PayData.Inf"))
        for name in ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"):
            files["out/" + name] = b""
        files["out/PayData.Inf"] = lines("[SYSTEM]", "Result=ok")
        self.expect(files, ("out%sPayData.Inf:0: 0: warning" % ("\\" if WINDOWS else "/"),
                            "fare-incomplete", "[SYSTEM] Result=ok, not OK"))
        files["out/PayData.Inf"] = lines("[SYSTEM]", "Result=OK")
        self.expect(files)


class Lines(CheckTest):
    def test_byte_order_mark(self):
        self.expect_change(zat_text, "nodes.txt", b"11,1", b"\xef\xbb\xbf11,1",
                           ("nodes.txt:1: 0: error", "byte-order-mark", "bytes EF BB BF"))
        self.expect_change(zat_mif, "node.mif", b"Version", b"\xef\xbb\xbfVersion",
                           ("node.mif:1: 0: warning", "byte-order-mark-mif", "bytes EF BB BF"))

    def test_wide_text(self):
        files = zat_text()
        files["linkname.txt"] = b"\xff\xfe" + '103,13,1,"Third"\r\n'.encode("utf-16-le")
        self.expect(files, ("linkname.txt:1: 0: error", "wide-text", "bytes FF FE"))

    def test_lf(self):
        for name in ("nodes.txt", "nodexy.txt", "links.txt", "linkshape.txt"):
            files = zat_text()
            count = files[name].count(b"\r\n")
            files[name] = files[name].replace(b"\r\n", b"\n")
            self.expect(files, (name + ":1: 0: error", "lf-line-end",
                                "%d of %d lines" % (count, count)))

    def test_lf_of_one_line(self):
        files = zat_text()
        files["links.txt"] = b"\n".join(files["links.txt"].split(b"\r\n", 3)[:3]) + b"\r\n" + \
            files["links.txt"].split(b"\r\n", 3)[3]
        self.expect(files, ("links.txt:1: 0: error", "lf-line-end", "2 of 5 lines"))

    def test_cr(self):
        self.expect_change(zat_text, "nodexy.txt", b"\r\n12,", b"\r12,",
                           ("nodexy.txt:1: 0: error", "cr-line-end", "1 of 5 lines"))

    def test_line_long(self):
        self.expect_change(zat_text, "links.txt", b'"Road"\r\n102',
                           b'"Road"' + b"," * 2100 + b'\r\n102',
                           ("links.txt:1: 0: error", "line-long", "more than 2048 bytes"))

    def test_line_of_2048_bytes_is_not_too_long(self):
        row = b'101,4,10001,100,1,1,1,11,12,40,40,0,1,"Road"'
        self.expect_change(zat_text, "links.txt", row, row + b"," * (2047 - len(row)))
        self.expect_change(zat_text, "links.txt", row, row + b"," * (2048 - len(row)),
                           ("links.txt:1: 0: error", "line-long", "more than 2048 bytes"))

    def test_field_long(self):
        self.expect_change(zat_text, "links.txt", b'"Road"\r\n102',
                           b'"Road",' + b"c" * 63 + b'\r\n102')
        self.expect_change(zat_text, "links.txt", b'"Road"\r\n102',
                           b'"Road",' + b"c" * 64 + b'\r\n102',
                           ("links.txt:1: 15: error", "field-long", "64 bytes"))
        # The closing quote counts, the opening one does not.
        self.expect_change(zat_text, "links.txt", b'"Road"\r\n102',
                           b'"Road","' + b"c" * 63 + b'"\r\n102',
                           ("links.txt:1: 15: error", "field-long", "64 bytes"))

    def test_comma_in_quotes(self):
        self.expect_change(zat_text, "nodename.txt", b'12,1,"Second"', b'"12,1",1,"Second"',
                           ("nodename.txt:1: 1: error", "comma-in-quotes", '"12,1"'))
        self.expect_change(zat_text, "links.txt", b'101,4,10001', b'101,"4,5",10001',
                           ("links.txt:1: 2: error", "comma-in-quotes", '"4,5"'),
                           ("links.txt:1: 2: warning", "number-text", '"4,5" counts as 4'))

    def test_comma_in_name(self):
        self.expect_change(zat_text, "linkname.txt", b'"Third"', b'"Third, old"',
                           ("linkname.txt:1: 4: warning", "comma-in-name", '"Third, old"'))

    def test_doubled_quotes(self):
        self.expect_change(zat_text, "linkname.txt", b'"Third"', b'"The ""T"""',
                           ("linkname.txt:1: 4: warning", "quote-in-field", 'The ""T""'))

    def test_quote_open(self):
        self.expect_change(zat_text, "nodexy.txt", b"12,7", b'"12,7',
                           ("nodexy.txt:2: 0: error", "quote-open", '"12,7.421000,43.730000'))

    def test_break_in_quotes(self):
        self.expect_change(zat_text, "linkname.txt", b'"Third"', b'"Thi\r\nrd"',
                           ("linkname.txt:1: 0: warning", "break-in-quotes", '103,13,1,"Thi'))

    def test_nul(self):
        self.expect_change(zat_text, "linkname.txt", b',"Third"', b'\0,"Third"',
                           ("linkname.txt:1: 3: error", "nul-byte",
                            "behind 8 bytes of the record"))

    def test_no_records(self):
        files = zat_text()
        files["nodes.txt"] = b""
        self.expect(files, ("nodes.txt:0: 0: error", "no-records", "no node"))
        files = zat_text()
        files["links.txt"] = lines("CODE,KIND,CITY")
        self.expect(files,
                    ("links.txt:0: 0: error", "no-records", "no link"),
                    ("links.txt:1: 1: warning", "header-line", '"CODE"'))

    def test_header_line(self):
        title = lines("NODECODE,ATTR,PARTNER,COUNT,L1,L2,L3,L4,L5,L6,L7,L8,NAME")
        files = zat_text()
        files["nodes.txt"] = title + files["nodes.txt"]
        self.expect(files, ("nodes.txt:1: 1: warning", "header-line", '"NODECODE"'))

    def test_header_lines_of_two_files(self):
        files = zat_text()
        title = lines("CODE,KIND,CITY,LENGTH,A,B,C,NODEA,NODEB,SPEEDA,SPEEDB,FLAG,NUMBER,NAME")
        first, second = files["links.txt"][:46 * 2], files["links.txt"][46 * 2:]
        self.assertTrue(second.startswith(b"103"))
        files["control.ini"] = files["control.ini"].replace(
            b"[LINK]\r\nFILENUM=1", b"[LINK]\r\nFILENUM=2\r\nFILE02=more.txt")
        files["links.txt"] = title + first
        files["more.txt"] = title + second
        self.expect(files,
                    ("links.txt:1: 1: warning", "header-line", '"CODE"'),
                    ("more.txt:1: 1: error", "header-line-twice", '"CODE"'))

    def test_header_of_optional_file(self):
        files = zat_text()
        files["nodexy.txt"] = lines("CODE,LON,LAT") + files["nodexy.txt"]
        self.expect(files, ("nodexy.txt:1: 1: warning", "header-line", '"CODE"'))

    def test_columns_missing(self):
        self.expect_change(zat_text, "nodetrf.txt", b"12,101,102,2", b"12,101,102",
                           ("nodetrf.txt:1: 4: warning", "columns-missing", "3 of 4"),
                           ("nodetrf.txt:1: 4: warning", "rule-kind", "kind 0"))

    def test_number_text(self):
        self.expect_change(zat_text, "links.txt", b"10001,100,", b"10001,100.5,",
                           ("links.txt:1: 4: warning", "number-text", '"100.5" counts as 100'))

    def test_number_range(self):
        self.expect_change(zat_text, "links.txt", b',0,1,"Road"', b',0,256,"Road"',
                           ("links.txt:1: 13: warning", "number-range", "256"))


class Codes(CheckTest):
    def test_not_a_whole_number(self):
        self.expect_change(zat_text, "linktrf.txt", b"104,14", b"104x,14",
                           ("linktrf.txt:1: 1: error", "code-text", '"104x"'),
                           ("linktrf.txt:1: 1: warning", "rule-unknown", "link 104x"))

    def test_exponent_of_18_digits(self):
        files = zat_text()
        files["control.ini"] = files["control.ini"].replace(b"CODELENGTH=14", b"CODELENGTH=18")
        files["linktrf.txt"] = lines("1.0000000002e+17,14,15,2,0")
        self.expect(files,
                    ("linktrf.txt:1: 1: error", "code-text", '"1.0000000002e+17"'),
                    ("linktrf.txt:1: 1: warning", "rule-unknown", "link 1.0000000002e+17"))

    def test_too_long(self):
        self.expect_change(zat_text, "linktrf.txt", b"104,14", b"123456789012345,14",
                           ("linktrf.txt:1: 1: error", "code-long",
                            "123456789012345 has 15 digits"),
                           ("linktrf.txt:1: 1: warning", "rule-unknown",
                            "link 123456789012345"))

    def test_reserved(self):
        files = zat_text()
        for name in files:
            files[name] = re.sub(rb"\b104\b", b"99000000000001", files[name])
        self.expect(files, ("links.txt:4: 1: warning", "code-reserved", "99000000000001"))

    def test_zero(self):
        row = lines("0,4,10001,100,1,1,1,11,12,40,40,0,1,x")
        files = zat_text()
        files["links.txt"] += row
        self.expect(files, ("links.txt:6: 1: warning", "code-zero", '"0"'))
        files["links.txt"] += lines("")
        self.expect(files, ("links.txt:6: 1: warning", "code-zero", '"0"'),
                    ("links.txt:7: 1: error", "code-zero-twice", "an empty line"))

    def test_duplicate(self):
        files = zat_text()
        files["nodes.txt"] += lines("13,1,0,2,102,103,0,0,0,0,0,0,")
        files["links.txt"] += lines("102,4,10001,100,1,1,1,12,13,40,40,0,1,x")
        self.expect(files,
                    ("links.txt:6: 1: error", "code-twice", "00000000000102, first at links.txt:2"),
                    ("nodes.txt:6: 1: error", "code-twice", "00000000000013, first at nodes.txt:3"))


class References(CheckTest):
    def test_link_node_missing(self):
        self.expect_change(zat_text, "links.txt", b",14,15,", b",14,0,",
                           ("links.txt:4: 9: error", "link-node-missing", "node B 0"),
                           skip=("shape-ends", "oneway-nodes"))

    def test_link_not_listed(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2,102,103", b"13,1,0,2,102,0",
                           ("links.txt:3: 8: error", "link-not-listed",
                            "node 00000000000013 at nodes.txt:3 does not list link "
                            "00000000000103"))

    def test_node_link_missing(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2,102,103,0", b"13,1,0,2,102,103,777",
                           ("nodes.txt:3: 7: warning", "node-link-missing", "00000000000777"))

    def test_node_link_other(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2,102,103,0", b"13,1,0,2,102,103,105",
                           ("nodes.txt:3: 7: error", "node-link-other",
                            "link 00000000000105 at links.txt:5"))

    def test_node_link_twice(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2,102,103,0", b"13,1,0,2,102,103,103",
                           ("nodes.txt:3: 7: warning", "node-link-twice", "link 00000000000103"))

    def test_more_than_eight(self):
        files = zat_text()
        far = ((22, "7.43"), (23, "7.44"), (24, "7.45"), (25, "7.46"), (26, "7.47"), (27, "7.48"),
               (28, "7.49"))
        for node, x in far:
            files["nodes.txt"] += lines("%d,1,0,1,2%d,0,0,0,0,0,0,0," % (node, node))
            files["nodexy.txt"] += lines("%d,%s,43.73" % (node, x))
            files["links.txt"] += lines("2%d,4,10001,100,1,1,1,11,%d,40,40,0,1,x" % (node, node))
        files["nodes.txt"] = files["nodes.txt"].replace(
            b"11,1,0,2,101,105,0,0,0,0,0,0", b"11,1,0,2,101,105,222,223,224,225,226,227")
        self.expect(files, ("nodes.txt:1: 0: error", "node-links-many",
                            "node 00000000000011 has 9 links"), skip=("shape-missing",))

    def test_node_unused(self):
        files = zat_text()
        files["nodes.txt"] += lines("16,1,0,0,0,0,0,0,0,0,0,0,")
        files["nodexy.txt"] += lines("16,7.42,43.73")
        self.expect(files, ("nodes.txt:6: 0: warning", "node-unused", "node 00000000000016"))

    def test_partner_missing(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2", b"13,1,99,2",
                           ("nodes.txt:3: 3: warning", "partner-missing", "00000000000099"))

    def test_partner_full(self):
        self.expect_change(zat_text, "nodes.txt", b"13,1,0,2,102,103,0,0,0,0,0,0",
                           b"13,1,11,2,102,103,102,102,102,102,102,102",
                           ("nodes.txt:3: 3: warning", "partner-full", "partner 00000000000011"),
                           skip=("node-link-twice",))


class Coordinates(CheckTest):
    def test_decimals(self):
        self.expect_change(zat_text, "nodexy.txt", b"7.420000", b"7.4200000",
                           ("nodexy.txt:1: 2: error", "coord-decimals",
                            "7.4200000 counts as 74.200000"))
        self.expect_change(zat_mif, "node.mif", b"Point 7.420000", b"Point 7.4200000",
                           ("node.mif:1: 1: error", "coord-decimals",
                            "7.4200000 counts as 74.200000"))
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000", b"7.422000 43.73100000",
                           ("link.mif:2: 2: error", "coord-decimals",
                            "43.73100000 counts as 2147.483647"))

    def test_exponent(self):
        files = zat_text()
        for name in ("nodexy.txt", "linkshape.txt"):
            files[name] = files[name].replace(b"7.42", b"0.00")
        files["nodexy.txt"] = files["nodexy.txt"].replace(b"15,0.000000", b"15,0e-05")
        self.expect(files, ("nodexy.txt:5: 2: error", "coord-exponent",
                            "0e-05 counts as 0.000000"))

    def test_text(self):
        self.expect_change(zat_text, "nodexy.txt", b"11,7.420000", b"11,E7.420000",
                           ("nodexy.txt:1: 2: error", "coord-text", '"E7.420000"'))
        self.expect_change(zat_text, "nodexy.txt", b"11,7.420000,43.730000", b"11,7.420000,",
                           ("nodexy.txt:1: 3: error", "coord-text", '""'),
                           skip=("coord-far", "shape-ends"))

    def test_range(self):
        self.expect_change(zat_text, "nodexy.txt", b"7.420000,43.730000", b"181.0,43.730000",
                           ("nodexy.txt:1: 2: error", "coord-range", "longitude 181.0"),
                           skip=("coord-far", "shape-ends"))
        self.expect_change(zat_text, "nodexy.txt", b"7.420000,43.730000", b"7.420000,-90.000001",
                           ("nodexy.txt:1: 3: error", "coord-range", "latitude -90.000001"),
                           skip=("coord-far", "shape-ends"))

    def test_zero(self):
        self.expect_change(zat_text, "nodexy.txt", b"7.420000,43.730000", b"0,0",
                           ("nodexy.txt:1: 2: warning", "coord-zero", "0, 0"),
                           skip=("coord-far", "shape-ends"))

    def test_missing(self):
        self.expect_change(zat_text, "nodexy.txt", b"11,7.420000,43.730000\r\n", b"",
                           ("nodes.txt:1: 0: warning", "coord-missing", "node 00000000000011"))
        self.expect_change(zat_text, "control.ini",
                           b"[NODEXY]\r\nFILENUM=1\r\nFILE01=nodexy.txt\r\n", b"",
                           ("control.ini:16: 0: warning", "coord-missing",
                            "text node files and no row in [NODEXY]"))

    def test_swapped(self):
        self.expect_change(zat_text, "nodexy.txt", b"13,7.422000,43.731000",
                           b"13,43.731000,7.422000",
                           ("nodexy.txt:3: 0: error", "coord-swapped", "43.731000 7.422000"),
                           skip=("shape-ends",))

    def test_all_swapped(self):
        files = zat_text()
        files["nodexy.txt"] = lines(*("%d,%s,%s" % (n, y, x) for n, (x, y) in XY.items()))
        with folder_of(files) as root:
            status, text, _ = run(root, "control.ini")
        self.assertEqual(status, 1)
        self.assertIn(("linkshape.txt:1: 0: error", "coord-swapped",
                       "the ends of 5 of 5 shapes are their nodes with longitude and latitude "
                       "exchanged"), findings_of(text))

    def test_shape_point_swapped(self):
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000", b"43.731000 7.422000",
                           ("link.mif:2: 0: error", "coord-swapped", "43.731000 7.422000"),
                           skip=("shape-ends",))

    def test_far(self):
        self.expect_change(zat_text, "nodexy.txt", b"7.420000,43.730000", b"9.420000,43.730000",
                           ("nodexy.txt:1: 0: warning", "coord-far", "9.420000 43.730000"),
                           skip=("shape-ends",))

    def test_columns_to_x(self):
        self.expect_change(zat_text, "nodes.txt", b"12,1,0,2,101,102,0,0,0,0,0,0,",
                           b"12,1,0,2,101,102,0,0,0,0,0,0,,7.421000,43.730000",
                           ("nodes.txt:2: 15: warning", "columns-to-x",
                            "here and in the records behind"))


class Names(CheckTest):
    def test_long(self):
        self.expect_change(zat_text, "linkname.txt", b"Third", b"Exactly twenty bytes")
        self.expect_change(zat_text, "linkname.txt", b"Third", b"Exactly twenty bytes!",
                           ("linkname.txt:1: 4: warning", "name-long",
                            '21 bytes, "Exactly twenty bytes!"'))
        self.expect_change(zat_text, "nodes.mid", b"Start", b"Start of a long long road",
                           ("nodes.mid:1: 13: warning", "name-long",
                            '25 bytes, "Start of a long long road"'))

    def test_utf8(self):
        self.expect_change(zat_text, "links.txt", b"Road", "Stra\u00dfe".encode(),
                           ("links.txt:1: 14: warning", "name-utf8", '"Stra\u00dfe"'))

    def test_code_page(self):
        self.expect_change(zat_text, "links.txt", b"Road", b"Stra\xfee",
                           ("links.txt:1: 14: warning", "name-code-page", '"Stra\\xFEe"'))

    def test_japanese(self):
        self.expect_change(zat_text, "links.txt", b"Road", "\u56fd\u9053\uff71".encode("cp932"))

    def test_row_unknown(self):
        self.expect_change(zat_text, "linkname.txt", b"103,13", b"999,13",
                           ("linkname.txt:1: 1: warning", "row-unknown", "999"))
        self.expect_change(zat_text, "nodename.txt", b"12,1", b"99,1",
                           ("nodename.txt:1: 1: warning", "row-unknown", "99"))
        self.expect_change(zat_text, "linkspeed.txt", b"102,12", b"999,12",
                           ("linkspeed.txt:1: 1: warning", "row-unknown", "999"))


class Links(CheckTest):
    def test_length(self):
        self.expect_change(zat_text, "links.txt", b"10001,100,", b"10001,65536,",
                           ("links.txt:1: 4: warning", "length-range", "65536"))

    def test_cost(self):
        # 7279 m at 40 km/h: 65511.5 hundredths of a second; 7282 m: 65538.5, beyond 65535.
        self.expect_change(zat_text, "links.txt", b"10001,100,", b"10001,7279,")
        self.expect_change(zat_text, "links.txt", b"10001,100,", b"10001,7282,",
                           ("links.txt:1: 4: warning", "cost-saturated", "7282 m at 40 km/h"))

    def test_cost_of_the_speed_file(self):
        files = zat_text()
        files["links.txt"] = files["links.txt"].replace(b"102,4,10001,100,", b"102,4,10001,7279,")
        self.expect(files, ("links.txt:2: 4: warning", "cost-saturated", "7279 m at 30 km/h"))

    def test_speed_zero(self):
        files = zat_text()
        files["control.ini"] = files["control.ini"].replace(b"SPEEDB=15", b"SPEEDB=0")
        files["links.txt"] = files["links.txt"].replace(b",40,40,", b",0,0,", 1)
        self.expect(files, ("links.txt:1: 11: warning", "speed-zero", "from B to A"))
        # Below 0 it is meant.
        files["links.txt"] = files["links.txt"].replace(b",0,0,0,", b",0,-1,0,", 1)
        self.expect(files, ("links.txt:1: 11: warning", "speed-negative", "-1"))

    def test_speed_nodes(self):
        self.expect_change(zat_text, "linkspeed.txt", b"102,12,13", b"102,11,13",
                           ("linkspeed.txt:1: 2: warning", "speed-nodes",
                            "link 102 at links.txt:2"))

    def test_speed_reversed(self):
        self.expect_change(zat_text, "linkspeed.txt", b"102,12,13", b"102,13,12",
                           ("linkspeed.txt:1: 4: warning", "speed-reversed", "30 and 35 km/h"))

    def test_kind(self):
        self.expect_change(zat_text, "links.txt", b"101,4,", b"101,99,",
                           ("links.txt:1: 2: warning", "kind-reserved", "kind 99"))


class MifFiles(CheckTest):
    def test_no_data(self):
        files = zat_mif()
        files["node.mif"] = files["node.mif"].split(b"Data")[0]
        self.expect(files, ("node.mif:0: 0: error", "mif-no-data", "8 lines"))

    def test_lf(self):
        files = zat_mif()
        files["link.mif"] = files["link.mif"].replace(b"\r\n", b"\n")
        self.expect(files, ("link.mif:1: 0: error", "lf-line-end", "30 of 30 lines"))

    def test_data_column(self):
        self.expect_change(zat_mif, "node.mif", b"  ATTR Char", b"  UPDATE_DATA Char",
                           ("node.mif:0: 0: warning", "mif-data-column", "UPDATE_DATA Char(14)"))

    def test_point_column(self):
        files = msr()
        files["droten.mif"] = files["droten.mif"].replace(
            b"  NODE Char(14)", b"  DataSource Char(14)\r\n  Point Integer")
        self.expect(files,
                    ("droten.mif:0: 0: warning", "mif-data-column", "DataSource Char(14)"),
                    ("droten.mif:0: 0: error", "mif-point-column", "Point Integer"))

    def test_multiple(self):
        self.expect_change(zat_mif, "link.mif", b"Pline 2\r\n7.421000 43.730000",
                           b"PLINE MULTIPLE 2\r\n  2\r\n7.421000 43.730000",
                           ("link.mid:2: 0: warning", "shape-missing", "link 00000000000102"),
                           ("link.mif:2: 0: error", "mif-skipped", "PLINE MULTIPLE 2"))
        self.expect_change(zat_mif, "link.mif", b"Pline 2\r\n7.421000 43.730000",
                           b"Pline Multiple 2\r\n  2\r\n7.421000 43.730000",
                           ("link.mid:2: 0: warning", "shape-missing", "link 00000000000102"),
                           ("link.mif:2: 0: warning", "mif-multiple", "Pline Multiple 2"))

    def test_skipped(self):
        for word in (b"NONE", b"Region 1", b"Point 7.42 43.73"):
            self.expect_change(zat_mif, "link.mif",
                               b"Pline 2\r\n7.421000 43.730000\r\n7.422000 43.731000", word,
                               ("link.mid:2: 0: warning", "shape-missing", "link 00000000000102"),
                               ("link.mif:2: 0: error", "mif-skipped", word.decode()))
        self.expect_change(zat_mif, "node.mif", b"Point 7.422000 43.731000", b"Region 1",
                           ("node.mif:3: 0: error", "mif-skipped", "Region 1"))

    def test_none(self):
        for make, name in ((zat_mif, "node.mif"), (msr, "droten.mif")):
            self.expect_change(make, name, b"Point 7.422000 43.731000", b"NONE",
                               (name + ":3: 0: error", "mif-none", "NONE"))

    def test_point_zero(self):
        self.expect_change(zat_mif, "node.mif", b"Point 7.422000 43.731000", b"Point 0 0",
                           ("node.mif:3: 0: error", "mif-point-zero", "Point 0 0"))

    def test_zero_axis(self):
        files = zat_mif()
        for name in files:
            files[name] = files[name].replace(b"7.42", b"0.00")
        for number in (b"0.000000 43.730000", b"0.000000 43.731000"):
            files["link.mif"] = files["link.mif"].replace(number, number)
        files["link.mif"] = files["link.mif"].replace(
            b"Pline 2\r\n0.000000 43.731000\r\n0.000000 43.730000",
            b"Line 0.000000 43.731000 0.000000 43.730000")
        self.expect(files,
                    ("link.mif:5: 1: error", "mif-zero-axis",
                     "Line 0.000000 43.731000 0.000000 43.730000"),
                    ("link.mif:5: 3: error", "mif-zero-axis",
                     "Line 0.000000 43.731000 0.000000 43.730000"))

    def test_points(self):
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000\r\n", b"",
                           ("link.mif:2: 0: error", "mif-points", "2 points, 1 follow"),
                           skip=("shape-points",))
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000\r\n",
                           b"7.422000 43.731000\r\n7.422000 43.731001\r\n",
                           ("link.mif:2: 0: error", "mif-points", "2 points, 1 more follow"))

    def test_blanks(self):
        for text in (b"7.422000  43.731000", b" 7.422000 43.731000"):
            self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000\r\n", text + b"\r\n",
                               ("link.mif:2: 0: error", "mif-blank", '"%s"' % text.decode()))
        # What stands behind the second number counts for nothing.
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000\r\n",
                           b"7.422000 43.731000  0\r\n")
        self.expect_change(zat_mif, "link.mif",
                           b"Pline 2\r\n7.421000 43.730000\r\n7.422000 43.731000",
                           b"Line 7.421000 43.730000  7.422000 43.731000",
                           ("link.mif:2: 0: error", "mif-blank",
                            '"Line 7.421000 43.730000  7.422000 43.731000"'))

    def test_zero_byte(self):
        self.expect_change(zat_mif, "link.mif", b"7.422000 43.731000\r\n",
                           b"7.422000 43.731000\0 1\r\n",
                           ("link.mif:2: 0: error", "nul-byte", "behind 18 bytes of the line"))
        self.expect_change(zat_mif, "link.mif",
                           b"Pline 2\r\n7.421000 43.730000\r\n7.422000 43.731000",
                           b"Line 7.421000 43.730000 7.422000 43.731000\0 2",
                           ("link.mif:2: 0: error", "nul-byte", "behind 42 bytes of the line"))

    def test_count(self):
        files = zat_mif()
        files["node.mif"] += lines("Point 7.42 43.73")
        self.expect(files, ("node.mif:6: 0: error", "mif-count", "6 objects and 5 records"))
        files = zat_mif()
        files["link.mif"] = files["link.mif"][:files["link.mif"].rindex(b"Pline")]
        self.expect(files, ("link.mid:5: 0: warning", "shape-missing", "link 00000000000105"),
                    ("link.mif:5: 0: error", "mif-count", "4 objects and 5 records"))

    def test_coordsys(self):
        for line in (b'CoordSys Earth Projection 8, 152, "m", 139.833333333333, 36, 0.9999, 0, 0',
                     b'CoordSys NonEarth Units "m"'):
            self.expect_change(zat_mif, "link.mif", b"CoordSys Earth Projection 1, 104", line,
                               ("link.mif:0: 0: error", "mif-coordsys", line.decode()))
        self.expect_change(zat_mif, "link.mif", b"CoordSys Earth Projection 1, 104\r\n", b"",
                           ("link.mif:0: 0: warning", "mif-no-coordsys", "the build goes on"))

    def test_charset(self):
        self.expect_change(zat_mif, "node.mif", b'"WindowsJapanese"', b'"Neutral"',
                           ("node.mif:0: 0: warning", "mif-charset",
                            'Charset "Neutral" while the code page is 932'))

    def test_delimiter(self):
        self.expect_change(zat_mif, "node.mif", b'Delimiter ","', b'Delimiter ";"',
                           ("node.mif:0: 0: error", "mif-delimiter", 'Delimiter ";"'))

    def test_headers(self):
        files = zat_mif()
        files["control.ini"] = files["control.ini"].replace(
            b"FILENUM=1\r\nFILE01=node.mif", b"FILENUM=2\r\nFILE01=node.mif\r\nFILE02=more.mif")
        files["more.mid"] = b""
        files["more.mif"] = lines(*header(1, "CODE")).replace(b"1, 104", b"1, 152")
        self.expect(files, ("more.mif:0: 0: warning", "mif-headers",
                            "CoordSys Earth Projection 1, 152"))


class Rules(CheckTest):
    def test_unknown(self):
        self.expect_change(zat_text, "nodetrf.txt", b"12,101,102,2", b"99,101,102,2",
                           ("nodetrf.txt:1: 1: warning", "rule-unknown", "node 99"))
        self.expect_change(zat_text, "nodetrf.txt", b"12,101,102,2", b"12,101,999,2",
                           ("nodetrf.txt:1: 3: warning", "rule-unknown", "link 999"))
        self.expect_change(zat_text, "linktrf.txt", b"104,14,15", b"999,14,15",
                           ("linktrf.txt:1: 1: warning", "rule-unknown", "link 999"))

    def test_not_at_node(self):
        self.expect_change(zat_text, "nodetrf.txt", b"12,101,102,2", b"12,101,104,2",
                           ("nodetrf.txt:1: 3: warning", "rule-not-at-node",
                            "link 104 at links.txt:4"))

    def test_kind(self):
        self.expect_change(zat_text, "nodetrf.txt", b"12,101,102,2", b"12,101,102,1",
                           ("nodetrf.txt:1: 4: warning", "rule-kind", "kind 1"))

    def test_parallel(self):
        files = zat_text()
        files["nodes.txt"] = files["nodes.txt"].replace(b"14,1,0,2,103,104,0", b"14,1,0,2,103,104,106")
        files["nodes.txt"] = files["nodes.txt"].replace(b"15,1,0,2,104,105,0", b"15,1,0,2,104,105,106")
        files["links.txt"] += lines("106,4,10001,100,1,1,1,15,14,40,40,0,1,x")
        files["nodetrf.txt"] += lines("14,103,106,2")
        self.expect(files,
                    ("linktrf.txt:1: 1: warning", "rule-parallel", "link 104"),
                    ("nodetrf.txt:2: 3: warning", "rule-parallel", "link 106"),
                    skip=("shape-missing",))

    def test_one_way(self):
        self.expect_change(zat_text, "linktrf.txt", b"104,14,15,2,0", b"104,13,15,2,0",
                           ("linktrf.txt:1: 2: warning", "oneway-nodes",
                            "link 104 at links.txt:4"))
        self.expect_change(zat_text, "linktrf.txt", b"104,14,15,2,0", b"104,14,15,2,1",
                           ("linktrf.txt:1: 5: warning", "oneway-flag", "flag 1"))
        self.expect_change(zat_text, "linktrf.txt", b"104,14,15,2,0", b"104,14,15,2,2",
                           ("linktrf.txt:1: 4: warning", "oneway-both", "link 104"))

    def test_loop(self):
        files = zat_text()
        files["nodes.txt"] = files["nodes.txt"].replace(b"14,1,0,2,103,104,0", b"14,1,0,2,103,104,106")
        files["links.txt"] += lines("106,4,10001,100,1,1,1,14,14,40,40,0,1,x")
        files["linktrf.txt"] = lines("106,14,14,2,0")
        self.expect(files, ("linktrf.txt:1: 1: warning", "oneway-loop", "link 106"),
                    skip=("shape-missing",))


class Shapes(CheckTest):
    def test_twice(self):
        files = zat_text()
        files["linkshape.txt"] += lines("101,2", "7.420000,43.730000", "7.421000,43.730000")
        self.expect(files, ("linkshape.txt:6: 1: error", "shape-twice", "link 00000000000101"))
        files["linkshape.txt"] = files["linkshape.txt"].replace(b"101,2", b"999,2")
        self.expect(files,
                    ("links.txt:1: 0: warning", "shape-missing", "link 00000000000101"),
                    ("linkshape.txt:1: 1: warning", "shape-unknown", "link 00000000000999"),
                    ("linkshape.txt:6: 1: error", "shape-twice", "link 00000000000999"),
                    ("linkshape.txt:6: 1: warning", "shape-unknown", "link 00000000000999"))

    def test_points(self):
        self.expect_change(zat_text, "linkshape.txt",
                           b"101,2\r\n7.420000,43.730000\r\n7.421000,43.730000\r\n",
                           b"101,1\r\n7.420000,43.730000\r\n",
                           ("linkshape.txt:1: 0: warning", "shape-points",
                            "link 00000000000101 has 1"))

    def test_long(self):
        middle = b"7.420500,43.730000\r\n"
        for points, expected in ((2048, ()), (2049, (("linkshape.txt:1: 0: warning", "shape-long",
                                                      "link 00000000000101 has 2049"),))):
            self.expect_change(zat_text, "linkshape.txt",
                               b"101,2\r\n7.420000,43.730000\r\n",
                               b"101,%d\r\n7.420000,43.730000\r\n" % points + middle * (points - 2),
                               *expected)

    def test_total(self):
        self.expect(zat_text(), ("linkshape.txt:5: 0: error", "shape-total", "more than 72 bytes"),
                    options=("--shape-limit", "72"))
        self.expect(zat_text(), options=("--shape-limit", "80"))

    def test_short(self):
        self.expect_change(zat_text, "linkshape.txt", b"102,2", b"102,3",
                           ("linkshape.txt:2: 2: error", "shape-short", "3 points, 2 follow"))
        self.expect_change(zat_text, "linkshape.txt", b"102,2", b"102,1",
                           ("linkshape.txt:2: 2: error", "shape-short", "more points follow"),
                           skip=("shape-points",))
        self.expect_change(zat_text, "linkshape.txt", b"105,2", b"105,9",
                           ("linkshape.txt:5: 2: error", "shape-short",
                            "9 points, 2 lines to the end of the file"))

    def test_unknown_and_missing(self):
        self.expect_change(zat_text, "linkshape.txt", b"104,2", b"999,2",
                           ("links.txt:4: 0: warning", "shape-missing", "link 00000000000104"),
                           ("linkshape.txt:4: 1: warning", "shape-unknown", "link 00000000000999"))

    def test_ends(self):
        self.expect_change(zat_text, "linkshape.txt", b"7.422000,43.731000", b"7.422001,43.731000",
                           ("linkshape.txt:2: 0: warning", "shape-ends", "link 00000000000102"))


class Msr(CheckTest):
    def test_area(self):
        self.expect_change(msr, "kukanz.csv", b"10,103", b"11,103",
                           ("kukanz.csv:1: 2: warning", "row-unknown", "103"))
        files = msr()
        for name in ("droten.mid", "kukanz.csv", "tukouj.csv"):
            files[name] = re.sub(rb"(?m)^10,", b"99,", files[name])
        files["dkukan.csv"] = files["dkukan.csv"].replace(b",4,10,", b",4,99,")
        self.expect(files,
                    *(("dkukan.csv:%d: 3: warning" % i, "area-range", "99") for i in range(1, 6)),
                    *(("droten.mid:%d: 1: warning" % i, "area-range", "99") for i in range(1, 6)),
                    *(("tukouj.csv:%d: 1: warning" % i, "area-range", "99") for i in (1, 2)),
                    skip=("code-reserved",))

    def test_number(self):
        self.expect_change(msr, "tukouj.csv", b"10,12,", b"10,1000000000012,",
                           ("tukouj.csv:1: 2: error", "number-long", "number 1000000000012"),
                           skip=("rule-unknown",))

    def test_city(self):
        self.expect_change(msr, "dkukan.csv", b",10,1,100", b",10,1000,100",
                           ("dkukan.csv:1: 4: warning", "city-range", "1000"))

    def test_headers(self):
        title = lines("LINKCODE,ROADKIND,AREA,CITY,LENGTH,LEVEL,LANES,NODEA,NODEB,WIDTH,SA,SB,F")
        files = msr()
        files["dkukan.csv"] = title + files["dkukan.csv"]
        self.expect(files, ("dkukan.csv:1: 1: warning", "header-line", '"LINKCODE"'))
        files["dkukan.csv"] += title
        self.expect(files, ("dkukan.csv:1: 1: warning", "header-line", '"LINKCODE"'),
                    ("dkukan.csv:7: 1: error", "header-line-twice", '"LINKCODE"'))

    def test_conditions_that_end(self):
        files = msr()
        files["tukouj.csv"] = lines("AREA,NODE,IN,OUT,KIND") + files["tukouj.csv"]
        self.expect(files, ("tukouj.csv:1: 1: error", "tukouj-ends",
                            '"AREA", and 2 rules follow'))
        files = msr()
        files["tukouj.csv"] = files["tukouj.csv"].replace(b"\r\n10,13", b"\r\n10,0,1,2,2\r\n10,13")
        self.expect(files, ("tukouj.csv:2: 2: error", "tukouj-ends", '"0", and 1 rules follow'))
        files = msr()
        files["tukouj.csv"] += lines("")
        self.expect(files, ("tukouj.csv:3: 1: warning", "code-zero",
                            '"", the last line that counts'))

    def test_condition_line_of_512_bytes(self):
        row = b"10,12,101,102,2"
        self.expect_change(msr, "tukouj.csv", row, row + b"," * (511 - len(row)))
        self.expect_change(msr, "tukouj.csv", row, row + b"," * (512 - len(row)),
                           ("tukouj.csv:1: 0: error", "line-long", "more than 512 bytes"))

    def test_columns_behind_the_13th_are_not_read(self):
        files = msr()
        files["dkukan.csv"] = files["dkukan.csv"].replace(b"\r\n", b"," + b"c" * 70 + b"\r\n")
        self.expect(files)

    def test_partner(self):
        self.expect_change(msr, "droten.mid", b"10,13,1,0,0", b"10,13,1,10,99",
                           ("droten.mid:3: 5: warning", "partner-missing", "10000000000099"))

    def test_references(self):
        self.expect_change(msr, "dkukan.csv", b",11,12,", b",11,99,",
                           ("dkukan.csv:1: 9: error", "link-node-missing",
                            "node B 10000000000099"), skip=("rule-not-at-node",))

    def test_shape_of_the_mif(self):
        self.expect_change(msr_mif, "dkukan.mif", b"7.422000 43.731000\r\n", b"",
                           ("dkukan.mif:2: 0: error", "mif-points", "2 points, 1 follow"),
                           skip=("shape-points",))

    def test_the_option_wins_over_the_format(self):
        files = msr()
        files["control.ini"] = files["control.ini"].replace(b"FORMAT=MSR\r\n", b"")
        self.expect(files, options=("--msr",))


class RandomNetworks(unittest.TestCase):
    """What the generator of random networks makes, against what a build makes of it."""

    def test_against_builds(self):
        if WINDOWS:
            return
        sys.path.insert(0, os.path.join(SOURCE, "tests", "reference"))
        import make_random
        failed = good = 0
        for maker, is_zat in ((make_random.Maker, True), (make_random.MsrMaker, False)):
            for seed in range(1, 61):
                with folder_of({}, folders=()) as root:
                    network = maker(str(seed), root)
                    network.make()
                    status, text, errors = run(root, "--max", "3", "control.ini")
                    build = zatmap.Zatmap(ZATMAP, root).run(*zatmap.PLAIN, "control.ini", cwd=root)
                with self.subTest(maker=maker.__name__, seed=seed, fault=network.fault):
                    self.assertIn(status, (0, 1), errors)
                    if build.status != 0:
                        failed += 1
                        self.assertEqual(status, 1, "the build fails")
                    if is_zat and network.fault is None and network.wild == 0.0:
                        good += 1
                        self.assertEqual(status, 0, text)
        self.assertGreater(failed, 5)
        self.assertGreater(good, 5)


class Documentation(unittest.TestCase):
    maxDiff = None

    def test_kinds_are_documented(self):
        path = os.path.join(SOURCE, "docs", "zatmap-check.md")
        with open(path, encoding="utf-8") as page:
            rows = [[cell.strip() for cell in line.strip().strip("|").split(" | ")]
                    for line in page if line.startswith("| `") and not line.startswith("| `--")]
        listed = {row[0].strip("`"): row[1] for row in rows}
        self.assertEqual(listed, {kind: info["severity"] for kind, info in KINDS.items()})
        texts = {row[0].strip("`"): (row[2], row[-1]) for row in rows}
        self.assertEqual(texts, {kind: (info["text"], info["advice"])
                                 for kind, info in KINDS.items()})


def every_kind_has_a_case():
    # A read that the system refuses cannot be made here. Kinds of a subject that has a test of its
    # own are named there.
    elsewhere = ""
    for path in glob.glob(os.path.join(SOURCE, "tests", "build", "zatmap_*_test.py")):
        if not os.path.samefile(path, __file__):
            with open(path, encoding="utf-8") as test:
                elsewhere += test.read()
    missing = [kind for kind in sorted(set(KINDS) - SEEN - {"file-read"})
               if '"%s"' % kind not in elsewhere]
    assert not missing, "no case has shown %s" % ", ".join(missing)


def cases_of(suite):
    for part in suite:
        if isinstance(part, unittest.TestSuite):
            yield from cases_of(part)
        else:
            yield part


def load_tests(_loader, suites, _pattern):
    """All cases, and behind them, when they have shown their kinds, the one that looks for others. A
    run of single cases goes without it."""
    return unittest.TestSuite([suites, unittest.FunctionTestCase(every_kind_has_a_case)])


class Loader(unittest.TestLoader):
    """Puts the cases of Windows together."""

    @staticmethod
    def together(suite):
        global ROUNDS
        *others, last = list(cases_of(suite)) or [None]
        if isinstance(last, unittest.FunctionTestCase):
            ROUNDS = Rounds(others)
            return unittest.TestSuite([ROUNDS, last])
        ROUNDS = Rounds(cases_of(suite))
        return unittest.TestSuite([ROUNDS])

    def loadTestsFromModule(self, module, *, pattern=None):
        return self.together(super().loadTestsFromModule(module, pattern=pattern))

    def loadTestsFromNames(self, names, module=None):
        return self.together(super().loadTestsFromNames(names, module))


def main():
    global ZATMAP, WINDOWS, KINDS
    arguments = sys.argv[1:]
    launcher = []
    program = None
    rest = []
    while arguments:
        word = arguments.pop(0)
        if word == "--zatmap":
            program = os.path.abspath(arguments.pop(0))
        elif word == "--launcher":
            while arguments and not arguments[0] == "--end":
                launcher.append(arguments.pop(0))
            arguments = arguments[1:]
        else:
            rest.append(word)
    WINDOWS = program.lower().endswith(".exe")
    ZATMAP = [*launcher, program]
    _, text, _ = run(None, "--kinds", "--json")
    KINDS = {info["kind"]: info for info in json.loads(text)}
    unittest.main(argv=[sys.argv[0], *rest],
                  testLoader=Loader() if WINDOWS else unittest.TestLoader())


if __name__ == "__main__":
    main()
