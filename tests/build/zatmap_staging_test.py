#!/usr/bin/env python3
"""zatmap build beside the map that stands in the output folder, and the exchange of the two.

    zatmap_staging_test.py --zatmap PATH --make-network PATH --city FOLDER [--kills N] [unittest options]

Whatever ends a build, the map in the output folder is the old one or the new one, and what lies
there besides is never touched. --kills sets how often a build is killed (24); hundreds are for
evenings.
"""

import argparse
import os
import random
import shutil
import signal
import stat
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace(kills=24)
LINKS = 6000
NOBODY = 65534
ASIDE = ("build", "--no-check")
FARES = {name: b"fares of another program" for name in
         ("TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT")}
OTHERS = {**FARES, "notes.txt": b"mine", ".hidden": b""}


class StagingTest(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(zatmap.scratch_folder())
        self.city = zatmap.copy_sources(OPTIONS.city, self.path("city"))
        zatmap.set_system(self.city, "SILENTMODE=1")
        self.out = os.path.join(self.city, "out")
        self.program = zatmap.Zatmap(OPTIONS.zatmap, self.path("log"), LC_ALL="C")

    def path(self, *names):
        return os.path.join(self.root, *names)

    def build(self, *options, status=0, cwd=None):
        done = self.program.run(*ASIDE, *options, "control.ini", cwd=cwd or self.city)
        self.assertEqual(done.status, status, done.err)
        return done

    def put(self, files, folder=None):
        for name, content in files.items():
            zatmap.write(os.path.join(folder or self.out, name), content)

    def files(self, folder=None):
        """Everything in a folder, hidden files too, but for the date in linkdef.dat."""
        folder = folder or self.out
        content = {name: zatmap.read(os.path.join(folder, name)) for name in os.listdir(folder)
                   if os.path.isfile(os.path.join(folder, name))}
        if "linkdef.dat" in content:
            content["linkdef.dat"] = zatmap.without_date(content["linkdef.dat"])
        content.pop("zatmap.json", None)
        return content

    def expect_no_rubbish(self):
        found = [os.path.join(folder, name) for folder, folders, names in os.walk(self.root)
                 for name in folders + names if "zatmap-" in name]
        self.assertEqual(found, [])

    def spoil(self):
        """Makes the data such that the build fails late: a code is there twice."""
        path = os.path.join(self.city, "links.txt")
        rows = zatmap.read(path).split(b"\r\n")
        zatmap.write(path, b"\r\n".join([rows[0]] + rows))


class OutputFolders(StagingTest):
    def test_a_map_in_a_folder_of_its_own(self):
        self.build()
        first = self.files()
        self.assertIn("mapcalc.dat", first)
        self.assertEqual([name for name in first if name.endswith("~wk")], [])
        os.chmod(self.out, 0o750)
        self.build()
        self.assertEqual(self.files(), first)
        self.assertEqual(stat.S_IMODE(os.stat(self.out).st_mode), 0o750)
        self.assertEqual(self.program.run("verify", "out", cwd=self.city).status, 0)
        self.expect_no_rubbish()

    def test_missing_folders_are_made(self):
        self.build("--out", "a/b/c")
        self.assertIn("mapcalc.dat", self.files(os.path.join(self.city, "a", "b", "c")))
        self.spoil()
        self.build("--out", "d/e", status=1)
        self.assertFalse(os.path.exists(os.path.join(self.city, "d")))
        self.expect_no_rubbish()

    def test_a_file_is_no_folder(self):
        self.put({"file": b"1"}, self.city)
        done = self.build("--out", "file", status=1)
        self.assertEqual(done.err, "zatmap: file is no folder: [FOLDER] CALCMAPDIR has to name one.\n")
        done = self.build("--out", "file/out", status=1)
        self.assertEqual(done.err,
                         "zatmap: the output folder file/out cannot be made: not a directory.\n")
        self.assertEqual(zatmap.read(os.path.join(self.city, "file")), b"1")

    def test_a_link_stays_and_its_folder_is_replaced(self):
        os.makedirs(self.path("maps", "real"))
        os.symlink(self.path("maps", "real"), self.out)
        for _ in range(2):
            self.build()
            self.assertTrue(os.path.islink(self.out))
            self.assertIn("mapcalc.dat", self.files(self.path("maps", "real")))
        self.expect_no_rubbish()

    def test_the_folder_of_the_sources(self):
        sources = self.files(self.city)
        for line in (b"CALCMAPDIR=.", b"CALCMAPDIR=x", b"CALCMAPDIR=", b""):
            with self.subTest(line):
                text = sources["control.ini"].replace(b"CALCMAPDIR=out", line)
                self.put({"control.ini": text}, self.city)
                folder = os.stat(self.city).st_ino
                for _ in range(2):
                    self.build("-q")
                    content = self.files(self.city)
                    self.assertIn("mapcalc.dat", content)
                    for name in sources.keys() - {"control.ini"}:
                        self.assertEqual(content[name], sources[name], name)
                # Somebody may stand in it.
                self.assertEqual(os.stat(self.city).st_ino, folder)
                self.expect_no_rubbish()
                for name in content.keys() - sources.keys():
                    os.remove(os.path.join(self.city, name))

    def test_what_lies_there_besides_stays(self):
        self.build()
        plain = self.files()
        self.put(OTHERS)
        os.makedirs(os.path.join(self.out, "deep"))
        inodes = {name: os.stat(os.path.join(self.out, name)).st_ino for name in OTHERS}
        self.build()
        self.assertEqual(self.files(), {**plain, **OTHERS})
        self.assertEqual({name: os.stat(os.path.join(self.out, name)).st_ino for name in OTHERS},
                         inodes)
        self.assertTrue(os.path.isdir(os.path.join(self.out, "deep")))
        self.expect_no_rubbish()

    def test_what_an_earlier_build_left_has_no_part_in_this_one(self):
        self.build()
        clean = self.files()
        self.put({"trafrule.~wk": b"\1" * 64, "onewayst.~wk": b"\2" * 64, "nodestr.~wk": b"old"})
        self.build()
        self.assertEqual(self.files(), clean)

    def test_in_place_is_the_plain_way(self):
        self.build()
        self.put(OTHERS)
        folder = os.stat(self.out).st_ino
        self.spoil()
        self.build("--in-place", status=1)
        self.assertIn("nodestr.~wk", self.files())
        self.assertEqual(os.stat(self.out).st_ino, folder)
        self.build("--stage", "two", status=1)
        self.assertIn("nodestr.~wk", self.files())


class Failures(StagingTest):
    def setUp(self):
        super().setUp()
        self.build()
        self.old = self.files()

    def expect_old(self):
        self.assertEqual(self.files(), self.old)
        self.expect_no_rubbish()

    def test_a_build_that_fails(self):
        self.spoil()
        self.build(status=1)
        self.expect_old()

    def test_errors_in_the_data(self):
        self.spoil()
        done = self.program.run("build", "control.ini", cwd=self.city)
        self.assertEqual(done.status, 1)
        self.expect_old()

    def test_a_field_that_is_too_long(self):
        self.put({"nodetrf.txt": b"1" * 70 + b"\r\n"}, self.city)
        self.build(status=1)
        self.expect_old()

    def test_log_and_messages_are_those_of_a_plain_build(self):
        spoiled = ("", "nodes.txt", "nodes.mid", "links.txt", "linkshape.txt", "linktrf.txt", "twice")
        for number, fault in enumerate(spoiled):
            with self.subTest(fault):
                results = []
                for way, option in enumerate(([], ["--in-place"])):
                    folder = zatmap.copy_sources(self.city, self.path("%d-%d" % (number, way)), "out")
                    if fault == "twice":
                        links = zatmap.read(os.path.join(folder, "links.txt"))
                        zatmap.write(os.path.join(folder, "links.txt"),
                                     links.split(b"\r\n")[0] + b"\r\n" + links)
                    elif fault:
                        os.remove(os.path.join(folder, fault))
                    program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(folder, "log"), LC_ALL="C")
                    done = program.run(*ASIDE, "-q", *option, "control.ini", cwd=folder)
                    lines = [line for line in program.log_lines() if not zatmap.MACHINE.match(line)]
                    message = [line for line in done.err.splitlines() if " log: " not in line]
                    results.append((done.status, lines, message))
                self.assertEqual(results[0], results[1])
                self.assertEqual(results[0][0], 1 if fault else 0)

    def test_two_builds_at_once(self):
        zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LINKS, self.path("large"))
        zatmap.set_system(self.path("large"), "SILENTMODE=1")
        first = self.program.start(*ASIDE, "--out", self.out, "control.ini", cwd=self.path("large"))
        while not os.path.exists(os.path.join(self.city, ".out.zatmap-new")):
            self.assertIsNone(first.poll())
            time.sleep(0.001)
        first.send_signal(signal.SIGSTOP)
        done = self.build(status=1)
        self.assertEqual(done.err, "zatmap: another build is at work in %s; wait for its end.\n" %
                         os.path.realpath(self.out))
        self.assertEqual(self.files(), self.old)
        # Into another folder it may.
        self.build("--out", "other")
        first.send_signal(signal.SIGCONT)
        self.assertEqual(first.wait(zatmap.TIMEOUT), 0)
        self.assertNotEqual(self.files(), self.old)
        self.expect_no_rubbish()

    def test_interrupted(self):
        zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LINKS, self.path("large"))
        zatmap.set_system(self.path("large"), "SILENTMODE=0")
        process = self.program.start(*ASIDE, "-v", "--out", self.out, "control.ini",
                                     cwd=self.path("large"), stderr=subprocess.PIPE, bufsize=0)
        text = b""
        while b"Setting Node" not in text and (part := process.stderr.read(1)):
            text += part
        process.send_signal(signal.SIGINT)
        text += process.communicate(timeout=zatmap.TIMEOUT)[1]
        self.assertEqual(process.returncode, 1, text)
        self.expect_old()

    def as_nobody(self, *options, status):
        """A build by a user without rights. Who has none runs it as he is."""
        for folder, _, names in os.walk(self.root):
            os.chmod(folder, os.stat(folder).st_mode | 0o755)
            for name in names:
                os.chmod(os.path.join(folder, name), 0o644)
        os.makedirs(self.path("theirs"), exist_ok=True)
        os.chmod(self.path("theirs"), 0o777)
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        program = zatmap.Zatmap(OPTIONS.zatmap, self.path("theirs"), LC_ALL="C")
        try:
            done = program.run(*ASIDE, *options, "control.ini", cwd=self.city, **user)
        except PermissionError:
            self.skipTest("the program lies where ordinary users see nothing")
        self.assertEqual(done.status, status, done.err)
        return done

    def test_no_permission_for_the_folder(self):
        os.chmod(self.city, 0o777 if os.geteuid() == 0 else 0o755)
        os.chmod(self.out, 0o555)
        done = self.as_nobody(status=1)
        self.assertEqual(done.err, "zatmap: the output folder out cannot be written: "
                                   "permission denied.\n")
        self.assertEqual(self.files(), self.old)
        done = self.as_nobody("--out", "/proc/out", status=1)
        self.assertIn("zatmap: the output folder /proc/out cannot be made: ", done.err)

    def test_no_permission_for_the_folder_above(self):
        # The new files are made in the output folder then.
        self.put(OTHERS)
        if os.geteuid() == 0:
            os.chown(self.out, NOBODY, NOBODY)
        else:
            os.chmod(self.city, 0o555)
            self.addCleanup(os.chmod, self.city, 0o755)
        os.remove(os.path.join(self.out, "mapcalc.dat"))
        self.as_nobody(status=0)
        self.assertEqual(self.files(), {**self.old, **OTHERS})
        self.expect_no_rubbish()

    def apart(self, *lines):
        """Runs a script of the shell that may mount; skips the test where nobody may."""
        script = "set -eu\nZ='%s'\nmount -t tmpfs -o size=%s none '%s' || exit 77\n" % (
            OPTIONS.zatmap, "1m", self.out) + "\n".join(lines)
        done = subprocess.run(["unshare", "-m", "sh", "-c", script], cwd=self.city, timeout=60,
                              env=self.program.environment, capture_output=True, check=False)
        # A root that is no mount point (chroot) cannot be set apart either.
        if done.returncode == 77 or done.stderr.startswith(b"unshare: "):
            self.skipTest("mounting is not permitted here")
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        return done.stdout.decode()

    def test_the_folder_is_a_file_system_of_its_own(self):
        shown = self.apart("for i in 1 2; do $Z build -q --no-check control.ini; done", "ls -A out",
                           "ls -A . | grep zatmap- || :", "$Z verify out | tail -1")
        lines = shown.splitlines()
        self.assertEqual(lines[-1], "0 errors, 0 warnings: the map is whole.")
        self.assertEqual(set(lines[:-1]) - {"zatmap.json"}, set(self.old))

    def test_the_disk_is_full(self):
        shown = self.apart(
            "$Z build -q --no-check control.ini", "cp -r out before",
            "dd if=/dev/zero of=out/ballast bs=1k 2>/dev/null || :",
            "truncate -s -65536 out/ballast",
            "if $Z build -q --no-check control.ini 2>err; then echo built; fi",
            "rm out/ballast", "cat err", "diff -r before out && ls -A out | grep zatmap- || echo same")
        self.assertIn("\n  the disk is full\n", shown)
        self.assertNotIn("built", shown.splitlines())
        self.assertEqual(shown.splitlines()[-1], "same")


class Killed(StagingTest):
    """Builds of another network into the folder of the city's map."""

    def setUp(self):
        super().setUp()
        self.build()
        self.old = self.files()
        self.large = zatmap.make_network(OPTIONS.make_network, OPTIONS.city, LINKS,
                                         self.path("large"))
        zatmap.set_system(self.large, "SILENTMODE=1")
        self.build("--out", self.path("new"), cwd=self.large)
        start = time.monotonic()
        self.build("--out", self.path("new"), cwd=self.large)
        self.seconds = time.monotonic() - start
        self.new = self.files(self.path("new"))

    def kill(self, moment):
        process = self.program.start(*ASIDE, "-q", "--out", self.out, "control.ini", cwd=self.large)
        time.sleep(moment)
        process.kill()
        return process.wait(zatmap.TIMEOUT) == -signal.SIGKILL

    def moments(self):
        choice = random.Random(7)
        for number in range(OPTIONS.kills):
            # Half of them near the end, where the exchange is.
            begin = 0.0 if number % 2 == 0 else 0.8
            yield self.seconds * choice.uniform(begin, 1.1)

    def test_the_map_is_whole_at_every_moment(self):
        killed = 0
        for moment in self.moments():
            with self.subTest(moment=moment):
                killed += self.kill(moment)
                done = self.program.run("verify", "out", cwd=self.city)
                self.assertEqual(done.status, 0, done.out + done.err)
                found = self.files()
                self.assertIn(found, (self.old, self.new))
                if found == self.new:
                    self.build()
        self.assertGreater(killed, OPTIONS.kills // 3)
        self.build()
        self.assertEqual(self.files(), self.old)
        self.expect_no_rubbish()

    def test_beside_files_of_others(self):
        self.put(OTHERS)
        for moment in self.moments():
            with self.subTest(moment=moment):
                self.kill(moment)
                found = self.files()
                for name, content in OTHERS.items():
                    self.assertEqual(found[name], content, name)
                done = self.program.run("verify", "out", cwd=self.city)
                if ".zatmap-exchange" in found:
                    self.assertEqual(done.status, 1)
                    self.assertIn("a build was ended while it exchanged the files", done.err)
                    self.spoil()
                    self.build(status=1)  # finishes the exchange, whatever becomes of itself
                    self.assertEqual(self.files(), {**self.new, **OTHERS})
                    zatmap.copy_sources(OPTIONS.city, self.city)
                    zatmap.set_system(self.city, "SILENTMODE=1")
                else:
                    self.assertEqual(done.status, 0, done.out + done.err)
                    self.assertIn(found, ({**self.old, **OTHERS}, {**self.new, **OTHERS}))
                self.build()
                self.assertEqual(self.files(), {**self.old, **OTHERS})
        self.expect_no_rubbish()

    def test_what_a_killed_build_left_is_cleared(self):
        process = self.program.start(*ASIDE, "--out", self.out, "control.ini", cwd=self.large)
        while not os.path.exists(os.path.join(self.city, ".out.zatmap-new", "nodestr.~wk")):
            self.assertIsNone(process.poll())
            time.sleep(0.001)
        process.kill()
        process.wait(zatmap.TIMEOUT)
        self.assertEqual(self.files(), self.old)
        self.assertTrue(os.path.exists(os.path.join(self.city, ".out.zatmap-new")))
        self.build()
        self.expect_no_rubbish()


if __name__ == "__main__":
    PARSER = argparse.ArgumentParser(add_help=False)
    PARSER.add_argument("--kills", type=int, default=OPTIONS.kills)
    KNOWN, REST = PARSER.parse_known_args()
    OPTIONS.kills = KNOWN.kills
    sys.argv[1:] = REST
    zatmap.main(OPTIONS, "zatmap", "make-network", "city")
