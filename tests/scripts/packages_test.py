#!/usr/bin/env python3
"""Every program that the project's scripts, build files and tests call belongs to a package of
scripts/packages or is part of every Debian system, and every package of the list is there for a
program or has its reason below.

What is called is read from the code: the commands of shell scripts, the programs that Python starts
or looks for, compilers and generators of presets and toolchains, and the commands of CMake files. A
program that is not in the table below, or a call that names its program in a way that cannot be
followed, fails this test. Where dpkg knows the program, it must agree with the table.
"""

import ast
import json
import os
import re
import shutil
import subprocess
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# Program: the package of the list that brings it, itself or as a dependency.
PROGRAMS = {
    "Xvfb": "xvfb",
    "chromium": "chromium",
    "clang": "clang",
    "clang++": "clang",
    "clang-format": "clang-format",
    "clang-tidy": "clang-tidy",
    "cmake": "cmake",
    "convert": "imagemagick",
    "ctest": "cmake",
    "fish": "fish",
    "g++": "g++",
    "gcc": "g++",
    "gcovr": "gcovr",
    "groff": "groff-base",
    "import": "imagemagick",
    "ninja": "ninja-build",
    "ogrinfo": "gdal-bin",
    "python3": "python3",
    "wine": "wine",
    "wineserver": "wine",
    "x86_64-w64-mingw32-g++-posix": "g++-mingw-w64-x86-64-posix",
    "x86_64-w64-mingw32-gcc-posix": "g++-mingw-w64-x86-64-posix",
    "x86_64-w64-mingw32-objdump": "g++-mingw-w64-x86-64-posix",
    "x86_64-w64-mingw32-windres": "g++-mingw-w64-x86-64-posix",
    "xdotool": "xdotool",
    "xvfb-run": "xvfb",
    "zsh": "zsh",
}
# Programs that programs of the table call themselves, from packages that they only recommend.
CALLED_BY_OTHERS = {
    "xauth": ("xvfb-run", "xauth"),
    "llvm-symbolizer": ("clang++", "llvm"),
    "wine64": ("wine", "wine64"),
}
# Program: the package, which every Debian system has.
EVERYWHERE = {
    "apt-get": "apt",
    "bash": "bash",
    "basename": "coreutils",
    "cat": "coreutils",
    "chmod": "coreutils",
    "dirname": "coreutils",
    "dpkg-query": "dpkg",
    "env": "coreutils",
    "find": "findutils",
    "flock": "util-linux",
    "grep": "grep",
    "head": "coreutils",
    "id": "coreutils",
    "localedef": "libc-bin",
    "ls": "coreutils",
    "mkdir": "coreutils",
    "mktemp": "coreutils",
    "nproc": "coreutils",
    "rm": "coreutils",
    "timeout": "coreutils",
    "touch": "coreutils",
    "unshare": "util-linux",
    "xargs": "findutils",
}
# Asked for by those who are not root, who then have it.
OF_THE_USER = {"sudo"}
# Packages without a program of their own in the calls.
NO_PROGRAM = {
    "fonts-ipafont-gothic": "letters",
    "fonts-wine": "letters",
    "googletest": "sources",
    "libclang-rt-14-dev": "libraries that clang links",
    "libcli11-dev": "headers",
    "libjs-leaflet": "part of a page",
    "libssl-dev": "headers and the library of hashes",
    "locales": "data of localedef",
    "nlohmann-json3-dev": "headers",
}
# Expressions for programs that this project builds, or that lie in it.
BUILT_HERE = re.compile(r"zatmap|make_network|cancel_gaps|wine_run|OPTIONS\.host", re.IGNORECASE)
# What other expressions stand for.
MEANS = {
    "sys.executable": "python3",
    "sys.argv[1:2]": "x86_64-w64-mingw32-objdump",  # CMAKE_OBJDUMP, for check_dll.py
    "${Python3_EXECUTABLE}": "python3",
    "${CMAKE_COMMAND}": "cmake",
    "${CMAKE_CTEST_COMMAND}": "ctest",
    "${CMAKE_OBJDUMP}": "x86_64-w64-mingw32-objdump",
}


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def sources():
    """The files of the project that can call programs, by kind: shell, python, cmake, presets."""
    kinds = {"shell": [], "python": [], "cmake": [], "json": []}
    for top in (".ci", "scripts", "tests", "bench", "cmake", "tools", "src", "examples"):
        for folder, folders, names in os.walk(os.path.join(ROOT, top)):
            folders[:] = [name for name in folders if name != "__pycache__"]
            for name in sorted(names):
                path = os.path.relpath(os.path.join(folder, name), ROOT)
                suffix = os.path.splitext(name)[1]
                if path == os.path.relpath(os.path.abspath(__file__), ROOT):
                    continue  # it asks for every program there is
                if suffix in (".py", ".sh", ".cmake"):
                    kinds[{".py": "python", ".sh": "shell", ".cmake": "cmake"}[suffix]].append(path)
                elif name == "CMakeLists.txt":
                    kinds["cmake"].append(path)
                elif suffix == "" and os.path.getsize(os.path.join(ROOT, path)) > 2:
                    with open(os.path.join(ROOT, path), "rb") as file:
                        first = file.readline()
                    if first.startswith(b"#!"):
                        kinds["python" if b"python" in first else "shell"].append(path)
    kinds["cmake"].append("CMakeLists.txt")
    kinds["json"].append("CMakePresets.json")
    return kinds


# -- Shell -----------------------------------------------------------------------------------------

KEYWORDS = {"if", "then", "elif", "else", "fi", "while", "until", "do", "done", "{", "}", "!", "esac",
            "time"}
BUILTINS = {":", ".", "[", "[[", "break", "cd", "command", "continue", "declare", "echo", "eval",
            "exec", "exit", "export", "false", "kill", "local", "mapfile", "printf", "pwd", "read",
            "readonly", "return", "set", "shift", "shopt", "source", "test", "trap", "true", "type",
            "ulimit", "umask", "unset", "wait"}
# Commands whose arguments are, after options, settings and numbers, another command.
CARRIERS = {"env", "exec", "nice", "nohup", "sudo", "timeout", "xargs", "xvfb-run"}
OPTIONS_WITH_VALUE = {"xargs": ("-P", "-n")}
ASSIGNMENT = re.compile(r"[A-Za-z_]\w*(\[[^]]*\])?\+?=")
ARRAY = re.compile(r"\$\{(\w+)\[[@*]\]\}$")


class Shell:
    """The commands of a script: lists of words, with quotes taken away and expansions kept."""

    def __init__(self, text):
        self.text = text
        self.at = 0
        self.commands = []
        self.arrays = {}
        self.functions = set()
        self.block("")

    def block(self, end):
        """Reads commands up to an unquoted `end` character, or to the end of the text."""
        words, pattern, cases = [], False, 0
        while self.at < len(self.text):
            char = self.text[self.at]
            if char == end and not pattern:
                break
            if char in " \t":
                self.at += 1
            elif self.text.startswith("\\\n", self.at):
                self.at += 2
            elif char == "#":
                self.at = (self.text + "\n").index("\n", self.at)
            elif pattern:  # of a case: up to its bracket
                if self.text.startswith("esac", self.at):
                    pattern, cases, self.at = cases > 1, cases - 1, self.at + 4
                    continue
                if char == ")":
                    pattern = False
                self.at += 1
            elif char in "<>" and self.text[self.at + 1:self.at + 2] != "(":
                self.redirection(words)
            elif char in ";&|\n(":
                if char == "(" and words and re.match(r"\(\s*\)", self.text[self.at:]):
                    self.functions.add(words.pop())
                    self.at = self.text.index(")", self.at) + 1
                    continue
                self.command(words)
                words = []
                pattern = cases > 0 and self.text.startswith(";;", self.at)
                self.at += 2 if pattern else 1
                if char == "(":
                    self.block(")")
                    self.at += 1
            else:
                word = self.word()
                if not words and word in KEYWORDS:
                    continue
                words.append(word)
                if words[0] == "case" and word == "in" and len(words) > 2:
                    words, pattern, cases = [], True, cases + 1
        self.command(words)

    def redirection(self, words):
        if words and words[-1].isdigit() and self.text[self.at - 1].isdigit():
            words.pop()
        while self.text[self.at] in "<>&|":
            self.at += 1
        while self.text[self.at] in " \t":
            self.at += 1
        self.word()

    def command(self, words):
        while words and words[0] in KEYWORDS:
            words = words[1:]
        if words and words[0] in ("for", "case"):
            return
        if words:
            self.commands.append(words)

    def word(self):
        begin, text = self.at, ""
        while self.at < len(self.text):
            char = self.text[self.at]
            if char in " \t\n;&|)<>" and not re.match(r"[<>]\(", self.text[self.at:self.at + 2]):
                break
            if char == "(":
                if not text.endswith("="):
                    break
                text += self.array(text)
            elif char == "'":
                close = self.text.index("'", self.at + 1)
                text += self.text[self.at + 1:close]
                self.at = close + 1
            elif char == '"':
                text += self.quoted()
            elif char == "\\":
                text += self.text[self.at + 1]
                self.at += 2
            elif char == "$":
                text += self.expansion()
            elif char in "<>":
                self.at += 2
                self.block(")")
                self.at += 1
                text += "<(...)"
            else:
                text += char
                self.at += 1
        assert self.at > begin, "cannot read: " + self.text[begin:begin + 60]
        return text

    def array(self, name):
        """name=( words )"""
        self.at += 1
        words = []
        while self.text[self.at] != ")":
            if self.text[self.at] in " \t\n":
                self.at += 1
            else:
                words.append(self.word())
        self.at += 1
        self.arrays.setdefault(name.rstrip("+="), []).append(words)
        return "()"

    def quoted(self):
        self.at += 1
        text = ""
        while self.text[self.at] != '"':
            if self.text[self.at] == "\\":
                text += self.text[self.at + 1]
                self.at += 2
            elif self.text[self.at] == "$":
                text += self.expansion()
            else:
                text += self.text[self.at]
                self.at += 1
        self.at += 1
        return text

    def expansion(self):
        begin = self.at
        if self.text.startswith("$((", begin):
            self.at = self.text.index("))", begin) + 2
        elif self.text.startswith("$(", begin):
            self.at += 2
            self.block(")")
            self.at += 1
            return "$(...)"
        elif self.text.startswith("${", begin):
            depth = 0
            while True:
                depth += {"{": 1, "}": -1}.get(self.text[self.at], 0)
                self.at += 1
                if depth == 0 and self.text[self.at - 1] == "}":
                    break
        else:
            self.at = begin + 1 + len(re.match(r"\w+|[-#?$!@*]|", self.text[begin + 1:]).group())
        return self.text[begin:self.at]


def called_by_shell(text, known_functions=(), arrays=None):
    """The programs that a script calls; with a blank in front, words that cannot be followed."""
    shell = Shell(text)
    functions = shell.functions | set(known_functions)
    arrays = {**(arrays or {}), **shell.arrays}
    found = set()

    def follow(words):
        while words:
            word, words = words[0], words[1:]
            array = ARRAY.match(word)
            if array:
                for filling in arrays.get(array.group(1), [[" " + word]]):
                    follow(filling + words)
                return
            if ASSIGNMENT.match(word):
                continue
            if word == "command" and words[:1] == ["-v"]:
                found.add(words[1])
                return
            if word == "trap":
                found.update(called_by_shell(words[0], functions, arrays))
                return
            if word not in BUILTINS and word not in functions and "/" not in word:
                found.add(" " + word if "$" in word else word)
            if word not in CARRIERS:
                return
            while words and not ARRAY.match(words[0]) and (
                    words[0].startswith(("-", "$")) or re.match(r"[\d.]+[smh]?$", words[0])):
                if "/" in words[0]:
                    return
                if words[0] in OPTIONS_WITH_VALUE.get(word, ()):
                    words = words[1:]
                words = words[1:]

    for words in shell.commands:
        follow(words)
    return found


# -- Python ----------------------------------------------------------------------------------------

STARTERS = {"subprocess.run", "subprocess.Popen", "subprocess.call", "subprocess.check_call",
            "subprocess.check_output", "os.execv", "os.execve", "os.execvp", "os.execvpe",
            "os.posix_spawn", "os.posix_spawnp", "os.system", "os.popen", "shutil.which"}


class Python:
    """The programs that a Python file starts or looks for; unknown expressions begin with a blank."""

    def __init__(self, text):
        self.tree = ast.parse(text)
        self.found = set()
        self.parents = {child: node for node in ast.walk(self.tree)
                        for child in ast.iter_child_nodes(node)}
        self.calls = [node for node in ast.walk(self.tree) if isinstance(node, ast.Call)]
        for call in self.calls:
            if ast.unparse(call.func) in STARTERS:
                self.program(call.args[0], call, 0)

    def function_of(self, node):
        while node is not None and not isinstance(node, ast.FunctionDef):
            node = self.parents.get(node)
        return node

    def program(self, node, place, depth):
        """Notes the program that an argument list begins with, or an expression for its first word."""
        if isinstance(node, (ast.List, ast.Tuple)) and node.elts:
            self.program(node.elts[0], place, depth)
        elif isinstance(node, ast.Starred):
            self.program(node.value, place, depth)
        elif isinstance(node, ast.Subscript) and ast.unparse(node.slice) == "0":
            self.program(node.value, place, depth)
        elif isinstance(node, ast.BinOp) and isinstance(node.op, ast.Add):
            self.program(node.left, place, depth)
        elif isinstance(node, ast.Constant) and isinstance(node.value, str):
            if "/" not in node.value:
                self.found.add(node.value.split()[0])
        elif BUILT_HERE.search(ast.unparse(node)):
            pass
        elif ast.unparse(node) in MEANS:
            self.found.add(MEANS[ast.unparse(node)])
        elif not (isinstance(node, ast.Name) and depth < 4 and self.name(node.id, place, depth)):
            self.found.add(" " + ast.unparse(node))

    def name(self, name, place, depth):
        """Follows a local variable, or a parameter to the calls of its function in this file."""
        function = self.function_of(place)
        if function is None:
            return False
        for node in ast.walk(function):
            if isinstance(node, ast.Assign) and ast.unparse(node.targets[0]) == name:
                self.program(node.value, place, depth + 1)
                return True
        parameters = [argument.arg for argument in function.args.args]
        every = parameters + ([function.args.vararg.arg] if function.args.vararg else [])
        if name not in every:
            return False
        is_method = isinstance(self.parents[function], ast.ClassDef) and parameters[:1] == ["self"]
        position = every.index(name) - (1 if is_method else 0)
        short = (self.parents[function].name if function.name == "__init__" else function.name)
        for call in self.calls:
            callee = ast.unparse(call.func)
            if callee.split(".")[-1] == short and callee not in STARTERS and \
                    len(call.args) > position and self.same(callee, function):
                self.program(call.args[position], call, depth + 1)
        return True

    def same(self, callee, function):
        """Whether x.f can be the method f: `self.f` of another class is another function."""
        if not callee.startswith("self."):
            return callee not in ("unittest.TextTestRunner.run",) and ").run" not in callee
        return True


# -- CMake -----------------------------------------------------------------------------------------

def called_by_cmake(text, targets):
    found = set()
    text = re.sub(r"#.*", "", text)
    for match in re.finditer(r"\bset\(\s*CMAKE_\w+_COMPILER\s+([^\s)]+)", text):
        found.add(match.group(1))
    for match in re.finditer(r"\bfind_program\(\s*\w+\s+(?:NAMES\s+)?([^\s)]+)", text):
        found.add(match.group(1))
    for match in re.finditer(r"\bCOMMAND\s+([^\s)]+)", text):
        word = match.group(1)
        if word in MEANS:
            found.add(MEANS[word])
        elif not (word in targets or BUILT_HERE.search(word) or word == "${name}" or "_fuzz" in word):
            found.add(" " + word if "$" in word else word)
    return found


def called_by_presets(text):
    found = {"cmake", "ctest"}
    for preset in json.loads(text)["configurePresets"]:
        if preset.get("generator") == "Ninja":
            found.add("ninja")
        for key, value in preset.get("cacheVariables", {}).items():
            if re.match(r"CMAKE_\w+_COMPILER$", key):
                found.add(value)
    return found


def all_calls():
    """Program: the files that call it."""
    kinds = sources()
    calls = {}

    def note(path, found):
        for program in found:
            calls.setdefault(program, []).append(path)

    library = Shell(read("scripts/lib.sh")).functions
    for path in kinds["shell"]:
        text = read(path)
        note(path, called_by_shell(text, library))
        if text.startswith("#!"):
            note(path, ["bash", "env"])
    for path in kinds["python"]:
        note(path, Python(read(path)).found)
    cmake = {path: read(path) for path in kinds["cmake"]}
    targets = {match for text in cmake.values()
               for match in re.findall(r"\badd_executable\(\s*(\w+)", text)}
    for path, text in cmake.items():
        note(path, called_by_cmake(text, targets))
    for path in kinds["json"]:
        note(path, called_by_presets(read(path)))
    return calls


def listed():
    lines = [line.partition("#")[0].strip() for line in read("scripts/packages").splitlines()]
    return [line for line in lines if line]


def query(form, *packages):
    done = subprocess.run(["dpkg-query", "-W", "-f", form, *packages], capture_output=True, text=True,
                          check=False, timeout=60)
    return done.stdout


class Packages(unittest.TestCase):
    maxDiff = None

    def test_every_program_that_is_called_is_in_the_table(self):
        known = {*PROGRAMS, *EVERYWHERE, *OF_THE_USER}
        self.assertEqual({program: sorted(set(paths)) for program, paths in all_calls().items()
                          if program not in known}, {})

    def test_the_table_holds_nothing_that_nobody_calls(self):
        self.assertEqual({*PROGRAMS, *EVERYWHERE, *OF_THE_USER} - set(all_calls()), set())

    def test_the_packages_of_the_table_are_those_of_the_list(self):
        needed = {*PROGRAMS.values(), *NO_PROGRAM,
                  *(package for _, package in CALLED_BY_OTHERS.values())}
        self.assertEqual(sorted(listed()), sorted(needed))

    def test_programs_that_others_call_have_their_caller(self):
        for caller, _ in CALLED_BY_OTHERS.values():
            self.assertIn(caller, PROGRAMS)

    def test_modules_are_of_python_or_of_the_tests(self):
        kinds = sources()
        own = {os.path.splitext(os.path.basename(path))[0] for path in kinds["python"]}
        for path in kinds["python"]:
            for node in ast.walk(ast.parse(read(path))):
                names = ([alias.name for alias in node.names] if isinstance(node, ast.Import) else
                         [node.module] if isinstance(node, ast.ImportFrom) and node.module else [])
                for name in names:
                    module = name.partition(".")[0]
                    self.assertTrue(module in sys.stdlib_module_names or module in own,
                                    "%s imports %s" % (path, name))

    def test_no_test_program_starts_a_program(self):
        for top in ("tests", "bench", "tools", "src"):
            for folder, _, names in os.walk(os.path.join(ROOT, top)):
                for name in names:
                    if name.endswith((".cpp", ".h", ".c")):
                        with open(os.path.join(folder, name), encoding="utf-8") as file:
                            self.assertNotRegex(
                                file.read(), r"\b(?:std::system|popen|execl\w*|execv\w*|"
                                r"posix_spawn\w*|CreateProcess\w*|ShellExecute\w*) *\(", name)


@unittest.skipUnless(shutil.which("dpkg"), "not a Debian system")
class OnThisSystem(unittest.TestCase):
    """The table against what dpkg knows of the programs that are installed."""

    @staticmethod
    def owners(programs):
        """Program: the package that it belongs to, for those that are installed."""
        places = {}
        for program in programs:
            path = shutil.which(program, path="/usr/sbin:/usr/bin:/sbin:/bin")
            if path is not None:
                # A folder may be a link to another one, and a program one of several alternatives.
                places[program] = (path, path.replace("/usr/", "/", 1), os.path.realpath(path))
        asked = sorted({path for paths in places.values() for path in paths})
        text = subprocess.run(["dpkg", "-S", *asked], capture_output=True, text=True, check=False,
                              timeout=300).stdout
        found = {path: package.partition(":")[0] for package, _, path in
                 (line.partition(": ") for line in text.splitlines())}
        return {program: next((found[path] for path in paths if path in found), None)
                for program, paths in places.items()}

    def test_programs_belong_to_their_packages(self):
        depends = {}
        for line in query("${Package}\t${Pre-Depends}, ${Depends}\n").splitlines():
            name, _, text = line.partition("\t")
            depends[name] = [part.strip() for part in
                             re.split(r"[,|]", re.sub(r"\([^)]*\)|:any", "", text)) if part.strip()]
        table = {**PROGRAMS, **{name: package for name, (_, package) in CALLED_BY_OTHERS.items()}}
        for program, owner in self.owners(table).items():
            needed, todo = set(), [table[program]]
            while todo:
                name = todo.pop()
                if name not in needed:
                    needed.add(name)
                    todo += depends.get(name, [])
            with self.subTest(program=program):
                self.assertIn(owner, needed)

    def test_the_rest_is_part_of_every_system(self):
        self.assertEqual(self.owners(EVERYWHERE), EVERYWHERE)
        for line in query("${Package} ${Essential} ${Priority}\n",
                          *sorted(set(EVERYWHERE.values()))).splitlines():
            self.assertRegex(line, r" yes | required$|^apt ")


class TheReader(unittest.TestCase):
    """Calls as they are written, and what is read from them."""

    def test_shell(self):
        for text, programs in [
                ("a; b && c || d | e & f", "a b c d e f"),
                ("if ! a b c; then d; else e; fi", "a d e"),
                ("x=$(a \"$(b c)\") d # e", "a b d"),
                ("a <(b c | d) >\"$(e)\" 2>&1", "a b d e"),
                ("case $x in a | b) c ;; *) d ;; esac; e", "c d e"),
                ("f() { a; }; f; b", "a b"),
                ("if [ \"$(a)\" -ne 0 ]; then x=(b -c); fi\n\"${x[@]}\" d", "a b"),
                ("x=() y=(a -b); y+=(c)\n\"${x[@]}\" d", "d"),
                ("timeout -k 10 180 env A=b c d >e 2>&1", "timeout env c"),
                ("x=(env \"A=$b\")\ntimeout -k 5 \"${T:-9}\" \"${x[@]}\" c", "timeout env c"),
                ("exec \"$root/bin/a\" b; exec c", "c"),
                ("trap 'a b' EXIT; command -v c >/dev/null", "a c"),
                ("(a; b) 9>c; { d; }; while read -r x; do e; done <f", "a b d e"),
                ("for x in $(a); do b \"$x\"; done; echo 'c; d' \"e; f\"", "a b"),
                ("a \\\n  b\n# c\n$d e", "a ?$d"),
        ]:
            with self.subTest(text=text):
                self.assertEqual(called_by_shell(text), expected(programs))

    def test_python(self):
        for text, programs in [
                ("subprocess.run(['a', 'b'])", "a"),
                ("subprocess.Popen(['a'] + more)", "a"),
                ("subprocess.run([sys.executable, 'a'])", "python3"),
                ("shutil.which('a')", "a"),
                ("subprocess.run([ZATMAP, 'a'])", ""),
                ("def f():\n  c = ['a', 'b']\n  subprocess.run(c)", "a"),
                ("def f(*c):\n  subprocess.run(c)\nf('a', 'b')\nx.f('c')", "a c"),
                ("class F:\n  def __init__(self, c):\n    subprocess.run(c)\nF(['a'])", "a"),
                ("subprocess.run(what)", "?what"),
        ]:
            with self.subTest(text=text):
                self.assertEqual(Python(text).found, expected(programs))

    def test_cmake(self):
        self.assertEqual(called_by_cmake(
            "set(CMAKE_C_COMPILER a)\nfind_program(B NAMES b c)\nadd_test(NAME x COMMAND mine y)\n"
            "add_test(NAME y COMMAND ${Python3_EXECUTABLE} z) # COMMAND d\nfoo(COMMAND e ${F})",
            {"mine"}), {"a", "b", "python3", "e"})


def expected(programs):
    return {program.replace("?", " ") for program in programs.split()}


if __name__ == "__main__":
    unittest.main()
