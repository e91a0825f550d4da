#!/usr/bin/env python3
"""What the declarations of zatmap's commands become: messages about wrong usage, help, man pages and the
completions of shells.

    zatmap_help_test.py --zatmap PATH [unittest options]

Man pages are rendered, and scripts of zsh and fish read, where there is a program for that; bash completes in
a bash that runs.
"""

import argparse
import json
import os
import pty
import re
import select
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
OLD_COMMANDS = ["build", "check", "info", "verify", "dump", "route", "view", "export"]


class Case(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = cls.temporary.name
        cls.program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(cls.folder, "data"))
        cls.declared = json.loads(cls.program.run("help", "--json").out)
        cls.names = [command["name"] for command in cls.declared["commands"]]

    def good(self, *arguments):
        done = self.program.run(*arguments, cwd=self.folder)
        self.assertEqual((done.status, done.err), (0, ""), done)
        return done.out

    def pipe(self, program, text, *arguments):
        done = subprocess.run([program, *arguments], input=text, capture_output=True, text=True,
                              timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout


class WrongUsage(Case):
    def wrong(self, *arguments, says):
        done = self.program.run(*arguments, cwd=self.folder)
        self.assertEqual((done.status, done.out, done.err), (2, "", says))

    def test_commands(self):
        lists = "zatmap --help lists the commands.\n"
        self.wrong(says="zatmap: a command is missing.\n" + lists)
        self.wrong("biuld", "x", says="zatmap: there is no command biuld; did you mean build?\n" + lists)
        self.wrong("exp", says="zatmap: there is no command exp; did you mean export?\n" + lists)
        self.wrong("compile", says="zatmap: there is no command compile.\n" + lists)
        self.wrong("--fast", says="zatmap: --fast is no option that stands before a command.\n" + lists)
        self.wrong("help", "chekc", says="zatmap: there is no command chekc; did you mean check?\n" + lists)

    def test_options(self):
        more = "zatmap build --help tells more.\n"
        self.wrong("build", "--stge", "one", "x", says=(
            "zatmap: build has no option --stge; did you mean --stage?\n" + more))
        self.wrong("build", "--code=1252", "x", says=(
            "zatmap: build has no option --code; did you mean --code-page?\n" + more))
        self.wrong("build", "x", "--quickly", says="zatmap: build has no option --quickly.\n" + more)
        self.wrong("build", "x", "--stage", says="zatmap: --stage needs a value.\n" + more)
        self.wrong("build", "x", "--stage=three", says=(
            "zatmap: --stage takes all, one or two, not three.\n" + more))
        self.wrong("build", "x", "--stage", "tow", says=(
            "zatmap: --stage takes all, one or two, not tow; did you mean two?\n" + more))
        self.wrong("build", "x", "--stage", "one", "--stage", "two", says=(
            "zatmap: --stage can be given once only.\n" + more))
        more = "zatmap verify --help tells more.\n"
        self.wrong("verify", "out", "--max", "few", says=(
            "zatmap: --max takes a number from 0 to 10000000, not few.\n" + more))
        self.wrong("verify", "out", "--max", "10000001", says=(
            "zatmap: --max takes a number from 0 to 10000000, not 10000001.\n" + more))
        self.wrong("check", "x", "--max=-1", says=(
            "zatmap: --max takes a number of at least 0, not -1.\nzatmap check --help tells more.\n"))
        self.wrong("dump", "out", "link.idx", "--csv", "--json", says=(
            "zatmap: --json excludes --csv.\nzatmap dump --help tells more.\n"))

    def test_arguments(self):
        self.wrong("verify", says="zatmap: DIR is missing: folder of the map.\n"
                                  "zatmap verify --help tells more.\n")
        self.wrong("verify", "a", "b", says="zatmap: b is one argument too many for verify.\n"
                                            "zatmap verify --help tells more.\n")
        self.wrong("view", "out", says="zatmap: -o is required: the page to write.\n"
                                       "zatmap view --help tells more.\n")
        self.wrong("completion", "fisch", says=(
            "zatmap: SHELL takes bash, zsh or fish, not fisch; did you mean fish?\n"
            "zatmap completion --help tells more.\n"))

    def test_another_folder(self):
        os.makedirs(os.path.join(self.folder, "a", "b"), exist_ok=True)
        for arguments in (("-C", "a", "info", "b"), ("info", "-C", "a", "b"),
                          ("info", "b", "-C", "a")):
            done = self.program.run(*arguments, cwd=self.folder)
            self.assertEqual(done.err, "zatmap: b holds no map. Build one first (zatmap build "
                                       "CONTROL.INI), or give the folder that a build wrote.\n")
        done = self.program.run("-C", "absent", "info", "b", cwd=self.folder)
        self.assertEqual((done.status, done.err), (
            1, "zatmap: -C absent: there is no such folder, or it cannot be entered.\n"))


class Help(Case):
    def test_the_list_of_commands(self):
        text = self.good("help")
        self.assertEqual(text, self.good("--help"))
        self.assertEqual(text, self.good("-h"))
        for name in OLD_COMMANDS + ["help", "completion"]:
            self.assertRegex(text, rf"\n  {name} +[A-Z]")
        self.assertIn("  verify      Prove that the files of a map fit together\n", text)

    def test_a_command(self):
        self.assertEqual(self.good("help", "verify"), self.good("verify", "--help"))
        text = self.good("help", "verify")
        self.assertTrue(text.startswith("Prove that the files of a map fit together\n\n"
                                        "Usage: zatmap verify [OPTIONS] DIR\n\n"
                                        "  DIR  Folder of the map\n\nOptions:\n"), text)
        self.assertRegex(text, r"\n  --max N +Show at most N findings \(default 100\)\n")
        self.assertRegex(text, r"\n  -h, --help +Print this help\n")
        self.assertIn("Exit status: 0 the map is whole", text)
        self.assertRegex(self.good("help", "build"), r"\(default all\)")

    def test_every_command_is_readable(self):
        for command in self.declared["commands"]:
            text = self.good("help", command["name"])
            with self.subTest(command=command["name"]):
                self.assertNotRegex(text, r"[{}]|UINT|TEXT|\[[0-9]+ - ")
                self.assertLessEqual(max(map(len, text.split("\n"))), 100)
                self.assertRegex(text, r"\nExamples?:\s+(zatmap|source <\(zatmap) " + command["name"])
                self.assertTrue(command["examples"])
                for option in command["options"]:
                    self.assertRegex(option["help"], r"^[A-Z].*[^.]$")
                    for name in option["names"]:
                        self.assertIn(name, text)

    def test_every_map_and_every_check_has_json(self):
        with_json = [command["name"] for command in self.declared["commands"]
                     if any("--json" in option["names"] for option in command["options"])]
        for name in ("check", "info", "verify", "dump", "route", "view", "export", "help"):
            self.assertIn(name, with_json)

    def test_json(self):
        verify = json.loads(self.good("help", "verify", "--json"))
        self.assertEqual(verify, next(c for c in self.declared["commands"] if c["name"] == "verify"))
        self.assertEqual(verify["arguments"],
                         [{"name": "DIR", "help": "Folder of the map", "required": True}])
        self.assertIn({"names": ["--max"], "help": "Show at most N findings", "value": "N"},
                      verify["options"])


class ManPages(Case):
    REQUESTS = {".TH", ".SH", ".TP", ".PP", ".nf", ".fi", ".RS", ".RE"}

    def pages(self):
        yield "zatmap", self.good("help", "--man")
        for name in self.names:
            yield "zatmap-" + name, self.good("help", "--man", name)

    def test_they_are_written_in_the_language_of_man_pages(self):
        for page, text in self.pages():
            with self.subTest(page=page):
                self.assertTrue(text.startswith(f'.TH "{page.upper()}" "1" '), text[:60])
                for line in text.split("\n"):
                    if line.startswith((".", "'")):
                        self.assertIn(line.split(" ")[0], self.REQUESTS)
                for heading in ("NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "SEE ALSO"):
                    self.assertIn(f"\n.SH {heading}\n", text)

    def test_they_can_be_read(self):
        for page, text in self.pages():
            with self.subTest(page=page):
                shown = self.pipe("groff", text, "-man", "-ww", "-Tascii", "-P-cbou")
                self.assertIn(page.upper() + "(1)", shown)
                self.assertIn("SEE ALSO", shown)
                if page == "zatmap-verify":
                    self.assertRegex(shown, r"zatmap verify \[OPTIONS\] DIR")
                    self.assertRegex(shown, r"--max N\s+Show at most N findings \(default 100\)\.")
                    self.assertRegex(shown, r"2\s+wrong usage\.")


class Completion(Case):
    # What is typed, and all that completes its last word.
    CASES = [
        ("zatmap bu", ["build"]),
        ("zatmap --v", ["--version"]),
        ("zatmap build --st", ["--stage"]),
        ("zatmap build --stage t", ["two"]),
        ("zatmap build --stage = o", ["one"]),
        ("zatmap -C sub build --stage a", ["all"]),
        ("zatmap export out --layer ", ["links", "nodes"]),
        ("zatmap export out --layer=n", ["nodes"]),
        ("zatmap info su", ["sub"]),
        ("zatmap build cont", ["control.ini"]),
        ("zatmap build with", ["with blank.ini"]),
        ("zatmap verify --max ", []),
        ("zatmap verify out ", []),
        ("zatmap dump out mapc", ["mapcalc.dat"]),
        ("zatmap dump --code 12 out link.", ["link.idx"]),
        ("zatmap check --ignore name-l", ["name-long"]),
        ("zatmap help ver", ["verify"]),
        ("zatmap completion ", ["bash", "fish", "zsh"]),
    ]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        for name in ("control.ini", "with blank.ini"):
            zatmap.write(os.path.join(cls.folder, name), b"")
        for name in ("sub", "out"):
            os.mkdir(os.path.join(cls.folder, name))
        cls.scripts = {}
        for shell in ("bash", "zsh", "fish"):
            cls.scripts[shell] = os.path.join(cls.folder, "completion." + shell)
            zatmap.write(cls.scripts[shell], cls.program.run("completion", shell).out.encode())

    def test_scripts_are_read(self):
        self.pipe("bash", "", "-n", self.scripts["bash"])
        self.pipe("zsh", "", "-n", self.scripts["zsh"])
        self.pipe("fish", "", "-n", self.scripts["fish"])

    def test_every_command_and_option_is_in_them(self):
        for shell, script in self.scripts.items():
            text = zatmap.read(script).decode()
            for command in self.declared["commands"]:
                self.assertIn(command["name"], text)
                for name in sum((option["names"] for option in command["options"]), []):
                    self.assertIn(name if shell != "fish" else "-l " + name[2:] if len(name) > 2
                                  else "-s " + name[1:], text)

    def test_words_of_bash(self):
        for typed, completions in self.CASES:
            # Bash takes "=" for a word of its own.
            words = typed.replace("=", " = ").split(" ")
            words = [word for word in words[:-1] if word] + [words[-1]]
            call = 'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _zatmap; ' \
                   'printf "%s\\n" "${COMPREPLY[@]}" | sort'
            done = subprocess.run(["bash", "--norc", "-c", call, self.scripts["bash"], *words],
                                  cwd=self.folder, capture_output=True, text=True, timeout=60, check=False)
            with self.subTest(typed=typed):
                self.assertEqual((done.stdout.split("\n")[:-1] if done.stdout.strip() else [],
                                  done.stderr), (completions, ""))

    def test_keys_of_bash(self):
        """Typed on a terminal, with the tabulator."""
        program, terminal = pty.fork()
        if program == 0:
            os.chdir(self.folder)
            os.environ.update(PS1="", TERM="dumb", INPUTRC="/dev/null")
            os.execvp("bash", ["bash", "--norc", "-i"])
        try:
            def typed(keys, until):
                os.write(terminal, keys.encode())
                text, end = "", time.monotonic() + 30
                while until not in text and time.monotonic() < end:
                    if select.select([terminal], [], [], 0.1)[0]:
                        text += os.read(terminal, 4096).decode("utf-8", "replace")
                self.assertIn(until, text)

            typed("bind 'set enable-bracketed-paste off'; source completion.bash; echo rea''dy\n", "ready")
            typed("zatmap bu\t--st\ttw\t", "zatmap build --stage two ")
            typed("cont\t", "control.ini ")
            typed("\x15zatmap build wi\t", r"with\ blank.ini ")
        finally:
            os.close(terminal)
            os.waitpid(program, 0)

    def test_words_of_fish(self):
        for typed, completions in self.CASES:
            if " = " in typed or completions == [] or typed.startswith("zatmap -C"):
                continue  # what fish does of itself
            done = subprocess.run(
                ["fish", "--no-config", "-c", f"source {self.scripts['fish']}; complete -C '{typed}'"],
                cwd=self.folder, capture_output=True, text=True, timeout=60, check=False,
                env=dict(os.environ, HOME=self.folder))
            words = [line.split("\t")[0].rstrip("/").rpartition("=")[2].replace("\\ ", " ")
                     for line in done.stdout.split("\n")[:-1]]
            with self.subTest(typed=typed):
                self.assertEqual(words, completions, done)


if __name__ == "__main__":
    zatmap.main(OPTIONS, "zatmap")
