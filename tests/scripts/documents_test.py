#!/usr/bin/env python3
"""What the documents for people show of the scripts: links lead somewhere, numbers add up."""

import os
import re
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def documents():
    names = [name for name in os.listdir(ROOT) if name.endswith(".md")]
    return names + ["docs/" + name for name in os.listdir(os.path.join(ROOT, "docs"))
                    if name.endswith(".md")]


def anchors(text):
    """The names that a forge gives to the headings of a page."""
    headings = re.findall(r"(?m)^#+ (.*)$", re.sub(r"(?ms)^```.*?^```", "", text))
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


class Documents(unittest.TestCase):
    def test_the_numbers_of_the_readme_add_up(self):
        counts = re.findall(r"(?m)^    (?:(\w+): )?(\d+) passed, (\d+) failed$", read("README.md"))
        self.assertGreater(len(counts), 3)
        self.assertEqual([part for part, _, _ in counts[:-1] if not part], [])
        part, passed, failed = counts[-1]
        self.assertEqual((part, int(passed), int(failed)),
                         ("", sum(int(count[1]) for count in counts[:-1]),
                          sum(int(count[2]) for count in counts[:-1])))

    def test_links_lead_somewhere(self):
        for path in documents():
            for target in re.findall(r"\]\(([^)\s]+)\)", read(path)):
                if re.match(r"https?:", target):
                    continue
                name, _, anchor = target.partition("#")
                found = os.path.normpath(os.path.join(os.path.dirname(path), name)) if name else path
                with self.subTest(page=path, link=target):
                    self.assertTrue(os.path.exists(os.path.join(ROOT, found)))
                    if anchor:
                        self.assertIn(anchor, anchors(read(found)))

    def test_every_entry_of_ctest_is_described(self):
        entries = set()
        for folder in ("tests", "tests/windows", "tests/fuzz"):
            text = re.sub(r"#.*", "", read(folder + "/CMakeLists.txt"))
            for names in re.findall(r"(?m)\badd_test\(NAME (\S+)|^zatlib_test_program\((\w+)", text):
                entries.add(re.sub(r"\$\{\w+\}", "*", "".join(names)))
        entries.remove("*")  # what zatlib_test_program adds
        table = read("docs/testing.md").partition("## Entries of ctest\n")[2].partition("\n## ")[0]
        rows = re.findall(r"(?m)^\| `([^`]+)`", table)
        self.assertEqual(sorted(rows), sorted(entries))


if __name__ == "__main__":
    unittest.main()
