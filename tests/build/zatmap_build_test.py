#!/usr/bin/env python3
"""zatmap build around the library: what it looks at first, what it says afterwards.

    zatmap_build_test.py --zatmap PATH [unittest options]

Every expected line is written out.
"""

import argparse
import gzip
import json
import os
import re
import resource
import shutil
import signal
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position
from good_networks import XY, zat_text  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
TIMEOUT = 60  # seconds that no run of these small inputs takes
NOBODY = 65534


class BuildTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="zatmap_build_")
        self.addCleanup(shutil.rmtree, self.folder)
        self.files = zat_text()
        self.program = zatmap.Zatmap(OPTIONS.zatmap, self.path("data"), ZATLIB_CODEPAGE="932",
                                     LC_ALL="C")

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def put(self, folder="city"):
        """Writes the sources into a folder with an empty `out`; its path."""
        root = self.path(folder)
        os.makedirs(os.path.join(root, "out"), exist_ok=True)
        for name, content in self.files.items():
            zatmap.write(os.path.join(root, name), content)
        return root

    def build(self, *arguments, status, cwd=None, **options):
        done = self.program.run("build", *arguments, cwd=cwd or self.put(), timeout=TIMEOUT,
                                **options)
        self.assertEqual(done.status, status, done.out + done.err)
        return done.out, done.err

    def out(self, *names):
        return self.path("city", "out", *names)

    def spoil(self, name, old, new):
        self.assertIn(old, self.files[name])
        self.files[name] = self.files[name].replace(old, new)


MISSING_NODE = ("  links.txt:1: 9: error: the link names a node that does not exist: node B "
                "00000000000099; add the node or correct the code: the link is left out of the map [link-node-missing]")


class ChecksFirst(BuildTest):
    def test_errors_stop_the_build(self):
        self.spoil("links.txt", b",11,12,", b",11,99,")
        out, err = self.build("control.ini", status=1)
        self.assertEqual(out, "")
        lines = err.splitlines()
        self.assertEqual(lines[0], "zatmap: the data have errors; nothing was built.")
        self.assertEqual(lines[1], MISSING_NODE)
        self.assertRegex(lines[-2], r"^\d+ errors?, \d+ warnings?; all of them: "
                                    r"zatmap check control\.ini$")
        self.assertEqual(lines[-1], "zatmap build --force goes on in spite of them.")
        self.assertEqual(os.listdir(self.out()), [])
        self.assertFalse(os.path.exists(self.path("data")), "the library was not called")

    def test_force_goes_on(self):
        self.spoil("links.txt", b",11,12,", b",11,99,")
        out, err = self.build("--force", "control.ini", status=0)
        self.assertEqual(err, "zatmap: built in spite of errors in the data: "
                              "zatmap check control.ini\n")
        self.assertRegex(out, r"\n5 nodes, 4 links, ")
        self.assertIn("       1  link-node-missing  links left out: a node does not exist\n", out)

    def test_no_check_goes_on_and_knows_nothing(self):
        self.spoil("links.txt", b",11,12,", b",11,99,")
        out, err = self.build("--no-check", "control.ini", status=0)
        self.assertEqual(err, "")
        self.assertEqual(out.count("\n"), 2)

    def test_warnings_never_stop(self):
        self.spoil("nodename.txt", b"12,", b"99,")
        out, err = self.build("control.ini", status=0)
        self.assertEqual(err, "")
        self.assertEqual(out.splitlines()[2:], [
            "what became of the data (zatmap check control.ini --only KIND lists each):",
            "       1  row-unknown        rows skipped: their code is unknown"])

    def test_clean_data_have_no_summary(self):
        out, err = self.build("control.ini", status=0)
        self.assertEqual(err, "")
        self.assertRegex(out, r"^map: .*/city/out\n5 nodes, 5 links, \d+ bytes, "
                              r"\d+\.\d\d seconds\n$")

    def test_three_of_a_kind_are_shown_and_ten_lines_at_most(self):
        self.spoil("links.txt", b",11,12,", b",99,98,")
        self.spoil("links.txt", b",13,14,", b",97,96,")
        _, err = self.build("control.ini", status=1)
        shown = [line for line in err.splitlines() if line.startswith("  ")]
        self.assertLessEqual(len(shown), 10)
        same = [line for line in shown if "[link-node-missing]" in line]
        self.assertEqual(len(same), 3)
        self.assertTrue(same[-1].endswith("[link-node-missing] (and 1 more)"), same[-1])

    def test_the_second_half_reads_no_sources(self):
        self.spoil("control.ini", b"FORMAT=ZAT", b"FORMAT=ZAT\r\nDEBUG=1")
        self.build("--stage", "one", "control.ini", status=0)
        self.spoil("links.txt", b",11,12,", b",11,99,")
        self.build("--stage", "two", "control.ini", status=0)

    def test_the_check_and_its_absence_exclude_each_other(self):
        self.build("--force", "--no-check", "control.ini", status=2)


class NeverDiesOfData(BuildTest):
    def test_a_field_of_64_bytes(self):
        self.files["links.txt"] += b"%s,1\r\n" % (b"9" * 64)
        for option in ((), ("--force",), ("--no-check",)):
            with self.subTest(option):
                _, err = self.build(*option, "control.ini", status=1)
                self.assertRegex(err, r"links\.txt:6: 1: error: a field has 64 bytes or more")
                if option:
                    self.assertIn("zatmap: the build failed.\n", err)
                    self.assertIn("  links.txt: record 6: column 1 holds 64 bytes or more; a field "
                                  "has at most 63.\n", err)

    def test_another_delimiter(self):
        self.files["links.txt"] = self.files["links.txt"].replace(b",", b";").replace(
            b"Road", b"A road with a name that takes some room")
        for option in ((), ("--force",), ("--no-check",)):
            with self.subTest(option):
                _, err = self.build(*option, "control.ini", status=1)
                self.assertIn("links.txt", err)

    def test_a_compressed_file(self):
        self.files["links.txt"] = gzip.compress(os.urandom(4000))
        for option in ((), ("--force",), ("--no-check",)):
            with self.subTest(option):
                _, err = self.build(*option, "control.ini", status=1)
                self.assertIn("links.txt", err)

    def refused(self, make, what):
        root = self.put()
        os.remove(os.path.join(root, "linkspeed.txt"))
        make(os.path.join(root, "linkspeed.txt"))
        del self.files["linkspeed.txt"]
        for option in ((), ("--force",), ("--no-check",)):
            out, err = self.build(*option, "control.ini", status=1)
            self.assertEqual((out, err), ("", "zatmap: linkspeed.txt ([LINKSPEED] FILE01) " + what +
                                          "; a source is an ordinary file.\n"))
        self.assertEqual(os.listdir(self.out()), [])

    def test_a_folder(self):
        self.refused(os.mkdir, "is a folder")

    def test_a_named_pipe(self):
        self.refused(os.mkfifo, "is a named pipe")

    def test_a_device(self):
        self.refused(lambda path: os.symlink("/dev/zero", path), "is a device")

    def test_the_control_file(self):
        os.mkfifo(self.path("pipe.ini"))
        for name, what in ((self.path("pipe.ini"), "is a named pipe."), ("/dev/zero", "is a device."),
                           (self.folder, "is a folder."), ("absent.ini", "cannot be read.")):
            _, err = self.build(name, status=1)
            self.assertEqual(err, "zatmap: the control file %s %s\n"
                             % (os.path.join(self.path("city"), name), what))

    def test_fare_data(self):
        root = self.put()
        os.mkfifo(os.path.join(root, "out", "TR_LINK.DAT"))
        _, err = self.build("control.ini", status=1)
        self.assertEqual(err, "zatmap: out/TR_LINK.DAT is a named pipe; toll fare data are ordinary "
                              "files.\n")


class AfterAFailure(BuildTest):
    def test_english_and_what_check_finds(self):
        self.files["links.txt"] += self.files["links.txt"].splitlines(True)[0]
        _, err = self.build("--no-check", "control.ini", status=1)
        lines = err.splitlines()
        self.assertEqual(lines[0], "zatmap: the build failed.")
        self.assertIn("    (links that are there twice: link 00000000000101 is there more than once; "
                      "remove all but one)", lines)
        self.assertRegex(err, r"\n  log: .*/ZatLib/\d{8}\.log\nzatmap check finds:\n"
                              r"  links\.txt:6: 1: error: the code is there already")

    def test_every_japanese_message_has_its_english(self):
        """What the library says in Japanese stands in the list, but for the labels of classes,
        which are data, and the texts of the window."""
        literal = re.compile(r'kCp932<u8"((?:[^"\\]|\\.)*)">')
        said = set()
        for folder, _, names in os.walk(os.path.join(SOURCE, "src")):
            for name in names:
                if name in ("cp932.h", "road_definition.cpp", "progress.cpp"):
                    continue
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    said.update(literal.findall(file.read()))
        with open(os.path.join(SOURCE, "tools/zatmap/build/english.cpp"), encoding="utf-8") as file:
            listed = literal.findall(file.read())
        self.assertEqual(sorted(listed), sorted(said))
        self.assertGreater(len(said), 7)

    def test_no_error_in_the_data(self):
        root = self.put()
        shutil.rmtree(os.path.join(root, "out"))
        zatmap.write(os.path.join(root, "file"), b"")
        _, err = self.build("--in-place", "--no-check", "--out", "file/out", "control.ini", status=1,
                            cwd=root)
        self.assertIn("file/out/linkdef.dat: its folder does not exist\n", err)

    def as_nobody(self, *arguments, status, cwd):
        """The build by a user without rights."""
        os.chmod(self.folder, 0o755)
        os.makedirs(self.path("data"), exist_ok=True)
        os.chmod(self.path("data"), 0o777)
        options = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        if not os.access(OPTIONS.zatmap, os.X_OK):
            self.skipTest("the program cannot be run")
        try:
            return self.build(*arguments, status=status, cwd=cwd, **options)
        except PermissionError:
            self.skipTest("the program lies where other users see nothing")
        return None

    def test_a_source_without_permission(self):
        root = self.put()
        os.chmod(os.path.join(root, "out"), 0o777)
        os.chmod(os.path.join(root, "linkname.txt"), 0)
        _, err = self.as_nobody("--no-check", "control.ini", status=1, cwd=root)
        self.assertIn("    linkname.txt: permission denied\n", err)

    def test_an_output_folder_without_permission(self):
        root = self.put()
        os.chmod(os.path.join(root, "out"), 0o555)
        os.chmod(root, 0o555)
        self.addCleanup(os.chmod, root, 0o755)
        _, err = self.as_nobody("--no-check", "control.ini", status=1, cwd=root)
        self.assertIn("permission denied", err)
        self.assertIn("out", err)

    def test_a_disk_that_takes_no_more(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500))

        # The map of a hundred nodes is larger than that, its log is not.
        self.files["nodes.txt"] = b"".join(b"%d,1,0,0\r\n" % i for i in range(1, 101))
        for option in ("--no-check", "--force"):
            _, err = self.build(option, "control.ini", status=1, preexec_fn=limit,
                                restore_signals=False)
            self.assertIn("  the system does not let a file become so large\n", err)

    def test_json(self):
        self.files["links.txt"] += self.files["links.txt"].splitlines(True)[0]
        out, err = self.build("--no-check", "--json", "control.ini", status=1)
        self.assertEqual(err, "")
        told = json.loads(out)
        self.assertEqual((told["result"], told["status"]), ("failed", 1))
        self.assertEqual(told["messages"][0]["text"],
                         "道路区間 00000000000101 が重複しています。重複を取り除いてください。")
        self.assertEqual(told["messages"][0]["english"],
                         "links that are there twice: link 00000000000101 is there more than once; "
                         "remove all but one")
        self.assertEqual(told["check"]["kinds"]["code-twice"], 1)
        self.assertRegex(told["log"], r"/ZatLib/\d{8}\.log$")


class Options(BuildTest):
    def log(self):
        return [line for line in self.program.log_lines() if not zatmap.MACHINE.match(line)]

    def test_out_changes_nothing_but_the_folder(self):
        root = self.put()
        self.spoil("control.ini", b"FORMAT=ZAT", b"FORMAT=ZAT\r\nLOG=1")
        self.build("control.ini", status=0)
        good, log = zatmap.map_files(self.out()), self.log()
        shutil.rmtree(self.path("data"))
        shutil.rmtree(self.out())
        os.mkdir(os.path.join(root, "other"))
        out, _ = self.build("--out", "other", "control.ini", status=0, cwd=root)
        self.assertRegex(out, r"^map: .*/city/other\n")
        self.assertEqual(zatmap.map_files(os.path.join(root, "other")), good)
        self.assertEqual([line.replace(b"other", b"out") for line in self.log()], log)
        self.assertFalse(os.path.exists(self.out()))
        # A name of one character is a folder here.
        os.mkdir(os.path.join(root, "o"))
        self.build("--out", "o", "control.ini", status=0, cwd=root)
        self.assertEqual(zatmap.map_files(os.path.join(root, "o")), good)

    def test_paths_count_from_the_folder_of_c(self):
        self.put()
        out, err = self.build("-C", "city", "control.ini", status=0, cwd=self.folder)
        self.assertEqual(err, "")
        self.assertRegex(out, r"^map: .*/city/out\n5 nodes, 5 links, ")
        self.spoil("links.txt", b",11,12,", b",11,99,")
        self.put()
        _, err = self.build("-C", "city", "control.ini", status=1, cwd=self.folder)
        self.assertIn("; all of them: zatmap check -C city control.ini\n", err)

    def test_c_is_advised_where_the_files_lie_beside_the_control_file(self):
        self.put("a city")
        for option in ((), ("--no-check",)):
            out, err = self.build(*option, "a city/control.ini", status=1, cwd=self.folder)
            self.assertEqual((out, err), (
                "", "zatmap: nodes.txt lies beside the control file and not in the current folder, "
                    "from which relative paths count: zatmap build -C \"a city\" control.ini\n"))
        _, err = self.build("-C", self.folder, "a city/control.ini", status=1, cwd="/")
        self.assertIn("zatmap build -C \"%s/a city\" control.ini\n" % self.folder, err)

    def test_quiet(self):
        self.spoil("nodename.txt", b"12,", b"99,")
        self.assertEqual(self.build("-q", "control.ini", status=0), ("", ""))
        self.spoil("links.txt", b",11,12,", b",11,99,")
        out, err = self.build("--quiet", "control.ini", status=1)
        self.assertEqual(out, "")
        self.assertIn(MISSING_NODE + "\n", err)

    def test_status_lines_on_demand(self):
        self.spoil("control.ini", b"SILENTMODE=1\r\n", b"")
        _, err = self.build("control.ini", status=0)
        self.assertEqual(err, "")
        _, err = self.build("-v", "control.ini", status=0)
        self.assertEqual(err.splitlines()[:3], [
            "zatmap check control.ini: 0 errors, 0 warnings", "Initalizing...",
            "Setting Road Definition..."])
        self.build("-v", "-q", "control.ini", status=2)

    def test_json(self):
        self.spoil("nodename.txt", b"12,", b"99,")
        out, err = self.build("--json", "control.ini", status=0)
        self.assertEqual(err, "")
        told = json.loads(out)
        self.assertEqual([told[key] for key in ("result", "status", "control", "made", "nodes",
                                                "links", "reasons", "messages", "forced")],
                         ["built", 0, "control.ini", "map", len(XY), 5, [], [], False])
        self.assertEqual(told["folder"], os.path.join(os.path.realpath(self.folder), "city", "out"))
        self.assertEqual(told["data"], [{"kind": "row-unknown", "count": 1,
                                         "text": "rows skipped: their code is unknown"}])
        self.assertEqual((told["check"]["errors"], told["check"]["kinds"]), (0, {"row-unknown": 1}))
        self.assertGreater(told["bytes"], 1000)
        self.assertGreater(told["seconds"], 0)
        self.assertRegex(told["log"], r"/ZatLib/\d{8}\.log$")

    def test_the_code_page_goes_with_the_check(self):
        self.files["nodename.txt"] = b"12,1,Stra\xdfe\r\n"
        self.spoil("links.txt", b",11,12,", b",11,99,")
        _, err = self.build("--code-page", "1252", "control.ini", status=1)
        self.assertIn("; all of them: zatmap check --code-page 1252 control.ini\n", err)

    def test_json_of_errors(self):
        self.spoil("links.txt", b",11,12,", b",11,99,")
        out, err = self.build("--json", "control.ini", status=1)
        self.assertEqual(err, "")
        told = json.loads(out)
        self.assertEqual((told["result"], told["status"]), ("errors in the data", 1))
        self.assertEqual("  " + told["check"]["first_errors"][0], MISSING_NODE)
        self.assertEqual(told["check"]["command"], "zatmap check control.ini")


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
