#!/usr/bin/env python3
"""What the documents show of a shell was seen: their commands run, and print what stands there.

    walked_documents_test.py --zatmap PROGRAM [--show] [unittest arguments]

A block ```sh is run by bash as it stands; the block ```text behind it is what it prints, both outputs
together. So is, in an indented block, each line that begins with "$ ", and what stands behind it, if
anything does. The blocks of a page share a folder, in which examples/ is a copy of the project's, and the
shell's variables. In what is printed, the folder is called /home/me/zatlib, seconds are not compared,
"..." at the end of a line stands for its rest, and a line of "..." for any lines. --show prints what the commands print instead of comparing.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "support"))
import zatmap  # pylint: disable=wrong-import-position

OPTIONS = argparse.Namespace()
HOME = "/home/me/zatlib"
MARK = "--- end of a block ---"
BLOCK = re.compile(r"(?ms)^```(sh|text)\n(.*?)^```$")
DIALOGUE = re.compile(r"(?m)(?:^    .*\n|^\n(?=    ))+")


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def steps(page):
    """Pairs of the commands of a block and what stands behind them, "" for nothing."""
    text = read(page)
    found = []
    for kind, block in BLOCK.findall(text):
        if kind == "sh":
            found.append([block, ""])
        else:
            found[-1][1] = block
    for block in DIALOGUE.findall(text):
        lines = re.sub(r"(?m)^    ", "", block.strip("\n") + "\n")
        if lines.startswith("$ "):
            for command, shown in re.findall(r"(?m)^\$ (.*\n)((?:(?!\$ ).*\n)*)", lines):
                found.append(["{ %s} || true\n" % command, re.sub(r"\n+$", "\n", shown) or "...\n"])
    return found


def walk(page, folder, begin):
    """What each block of the page prints, behind the commands `begin`."""
    shutil.copytree(os.path.join(ROOT, "examples"), os.path.join(folder, "examples"))
    script = "set -e\n%s >begin\n" % begin + "".join("%s\necho '%s'\n" % (commands, MARK) for commands, _ in steps(page))
    path = os.path.dirname(os.path.abspath(OPTIONS.zatmap)) + os.pathsep + os.environ["PATH"]
    done = subprocess.run(["bash", "-c", script], cwd=folder, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, timeout=300,
                          env=dict(os.environ, PATH=path, LC_ALL="C.UTF-8",
                                   XDG_DATA_HOME=os.path.join(folder, "log")))
    out = done.stdout.decode("utf-8", "replace").replace(os.path.realpath(folder), HOME)
    return out.split(MARK + "\n"), done.returncode


def pattern(text):
    """A regular expression for what a document shows."""
    lines = []
    for line in text.splitlines(True):
        if line == "...\n":
            lines.append(r"(?:.*\n)*?")
            continue
        shown = re.sub(r"\.\.\.\n$", "", line)
        quoted = re.sub(r"\d+(\\\.\d+)?(?=\\ seconds)", r"[0-9.]+", re.escape(shown))
        lines.append(quoted + ("" if shown == line else r".*\n"))
    return re.compile("".join(lines))


class WalkedDocuments(unittest.TestCase):
    maxDiff = None

    def check(self, page, begin="true"):
        with tempfile.TemporaryDirectory() as folder:
            printed, status = walk(page, os.path.realpath(folder), begin)
        if OPTIONS.show:
            print("".join(printed))
            return
        self.assertEqual((status, len(printed)), (0, len(steps(page)) + 1), printed[-1])
        for (commands, shown), text in zip(steps(page), printed):
            with self.subTest(commands=commands):
                if not pattern(shown).fullmatch(text):
                    self.assertEqual(text, shown)

    def test_from_a_layer_to_a_map(self):
        self.check("docs/preparing-data.md")

    def test_the_readme(self):
        self.check("README.md")

    def test_the_page_of_zatmap(self):
        self.check("docs/zatmap.md", "cd examples/monaco && mkdir -p out && zatmap build control.ini")


class SampleRows(unittest.TestCase):
    """Rows of the tables are rows of the examples, and records those of their maps."""

    def rows(self, page):
        """File names and rows; a long row is broken with <br> in its cell."""
        cells = re.findall(r"(?m)^\| `([\w.]+)` \| (`[^`]+`(?:<br>`[^`]+`)*) \|", read(page))
        return [(name, "".join(re.findall("`([^`]+)`", cell))) for name, cell in cells]

    def check_rows(self, page, at_least):
        found = 0
        for name, row in self.rows(page):
            for example in ("monaco", "hinata"):
                path = os.path.join(ROOT, "examples", example, name)
                if os.path.exists(path):
                    found += 1
                    with self.subTest(page=page, file=name):
                        with open(path, encoding="cp932") as file:
                            self.assertIn(row, file.read().splitlines())
        self.assertGreaterEqual(found, at_least)

    def test_rows_of_the_readme(self):
        self.check_rows("README.md", 9)

    def test_rows_of_the_path(self):
        self.check_rows("docs/preparing-data.md", 2)

    def test_rows_of_the_japanese_guide(self):
        self.check_rows("docs/guide.ja.md", 10)

    def test_records_of_the_readme(self):
        records = [(name, row) for name, row in self.rows("README.md") if "=" in row]
        self.assertGreaterEqual(len(records), 10)
        with tempfile.TemporaryDirectory() as folder:
            program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(folder, "log"))
            shutil.copytree(os.path.join(ROOT, "examples", "monaco"), os.path.join(folder, "monaco"))
            program.build(os.path.join(folder, "monaco"))
            for name, row in records:
                with self.subTest(file=name):
                    self.assertEqual(program.run("dump", "out", name, "--record", "0",
                                                 cwd=os.path.join(folder, "monaco")).out,
                                     "0: %s\n" % row)


class JapaneseGuide(unittest.TestCase):
    def test_its_control_files_build_the_examples(self):
        controls = re.findall(r"(?ms)^```ini\n(.*?)^```$", read("docs/guide.ja.md"))
        self.assertEqual(len(controls), 2)
        for example, control, counts in (("monaco", controls[0], "577 nodes, 731 links"),
                                         ("hinata", controls[1], "43 nodes, 64 links")):
            with tempfile.TemporaryDirectory() as top, self.subTest(example=example):
                folder = os.path.join(top, example)
                shutil.copytree(os.path.join(ROOT, "examples", example), folder)
                with open(os.path.join(folder, "guide.ini"), "w", encoding="cp932",
                          newline="\r\n") as file:
                    file.write(control)
                program = zatmap.Zatmap(OPTIONS.zatmap, os.path.join(top, "log"))
                self.assertIn(counts, program.build(folder, "guide.ini").out)

    def test_its_messages_are_those_of_the_library(self):
        sources = ""
        for top, _, names in os.walk(os.path.join(ROOT, "src")):
            sources += "".join(read(os.path.join(top, name)) for name in names)
        table = read("docs/guide.ja.md").partition("よくあるメッセージ:\n")[2].partition("\n\nDLL")[0]
        messages = re.findall(r"(?m)^\| `([^`]+)` \|", table)
        self.assertGreaterEqual(len(messages), 8)
        for message in messages:
            for part in re.split(r"…|\(FILE01\)|\([^)]*\)|\[[^]]*\]", message):
                with self.subTest(message=message, part=part):
                    self.assertIn(part.rstrip("! "), sources)


if __name__ == "__main__":
    if "--show" in sys.argv:
        sys.argv.remove("--show")
        OPTIONS.show = True
    else:
        OPTIONS.show = False
    zatmap.main(OPTIONS, "zatmap")
