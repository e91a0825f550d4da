"""The programs under test, as all tests in Python run them.

A test finds this module with

    sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
    import zatmap
"""

import argparse
import collections
import contextlib
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TIMEOUT = 600  # seconds that no run takes which is not held on purpose
LOG_FOLDER = os.path.join("Orvilex Systems,Inc.", "ZatLib")  # below the application data
STAMP = re.compile(rb"^\d{8} \d\d:\d\d:\d\d\.\d{3} ")
# Lines of the log that tell of the machine or of earlier runs.
MACHINE = re.compile(rb"^(Total Physycal=|Total Paging=|\d+ log files before )")

# `zatmap build` as tests of the library want it: it only calls the library.
PLAIN = ("build", "--in-place", "--no-check", "--no-manifest")

Done = collections.namedtuple("Done", "status out err")


def text_of(output):
    """What a program wrote, with the line ends of this system. Wine's own processes tell of their
    end on standard error too; the program's shows in its exit status."""
    lines = output.decode("utf-8", "replace").replace("\r\n", "\n").splitlines(True)
    return "".join(line for line in lines if not line.startswith("wine: "))


class Zatmap:
    """The program zatmap, whose build log goes below the folder `data`. `command` is its path, or
    a list that ends with it and begins with what runs it."""

    def __init__(self, command, data=None, **environment):
        self.zatmap = [command] if isinstance(command, str) else list(command)
        self.environment = dict(os.environ, **environment)
        self.data = data
        if data is not None:
            self.environment["XDG_DATA_HOME"] = str(data)

    def start(self, *arguments, cwd, **options):
        """A process for the caller to watch. Without other options it reads nothing and what it
        writes is lost."""
        for stream in ("stdin", "stdout"):
            options.setdefault(stream, subprocess.DEVNULL)
        return subprocess.Popen(  # pylint: disable=consider-using-with
            [*self.zatmap, *map(str, arguments)], cwd=cwd, env=self.environment, **options)

    def run(self, *arguments, cwd=None, timeout=TIMEOUT, **options):
        """Waits for the end; the exit status, and both outputs as text."""
        done = subprocess.run([*self.zatmap, *map(str, arguments)], cwd=cwd, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=timeout,
                              check=False, **options)
        return Done(done.returncode, text_of(done.stdout), text_of(done.stderr))

    def build(self, folder, control="control.ini", *options, timeout=TIMEOUT):
        """A plain build in the folder that has to succeed."""
        done = self.run(*PLAIN, control, *options, cwd=folder, timeout=timeout)
        assert done.status == 0, "%s in %s: %d: %s" % (control, folder, done.status, done.err)
        return done

    def log(self):
        """The build logs so far, oldest day first, as bytes."""
        pattern = os.path.join(glob.escape(str(self.data)), LOG_FOLDER, "*.log")
        return b"".join(map(read, sorted(glob.glob(pattern))))

    def log_lines(self):
        """The lines of the build logs, as bytes."""
        return lines_of(self.log())


def lines_of(log):
    """The lines of a log, without time stamps and line ends."""
    lines = log.split(b"\r\n")
    if lines[-1] == b"":
        lines.pop()
    return [STAMP.sub(b"", line) for line in lines]


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def without_date(content):
    """linkdef.dat without the time of the build in its second line."""
    return re.sub(rb"^(.*\r\n); Created [^\r\n]*\r\n", rb"\1", content, count=1)


def map_files(folder):
    """The files of an output folder, name to content. Hidden ones are left out, and so are the
    manifest, which tells the time, and the date in linkdef.dat."""
    files = {}
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if not name.startswith(".") and name != "zatmap.json" and os.path.isfile(path):
            content = read(path)
            files[name] = without_date(content) if name == "linkdef.dat" else content
    return files


def copy_sources(source, target, *outputs):
    """The files of a folder in a new or empty one, with empty output folders."""
    os.makedirs(target, exist_ok=True)
    for name in os.listdir(source):
        if os.path.isfile(os.path.join(source, name)):
            shutil.copyfile(os.path.join(source, name), os.path.join(target, name))
    for name in outputs:
        os.makedirs(os.path.join(target, name), exist_ok=True)
    return target


def make_network(program, city, links, folder, layout="text", code_length=None):
    """Sources of a large network in the folder, and its output folder `out`."""
    length = ["--code-length", str(code_length)] if code_length is not None else []
    subprocess.run([program, "--city", city, "--links", str(links), "--layout", layout, *length,
                    folder], check=True, stdout=subprocess.DEVNULL, timeout=TIMEOUT)
    os.makedirs(os.path.join(folder, "out"), exist_ok=True)
    return folder


def set_system(folder, *lines, control="control.ini", name=None):
    """Puts lines into [SYSTEM] of a control file, or of its copy under another name. Lines that
    are there with the same keys go."""
    text = read(os.path.join(folder, control))
    for line in lines:
        key = re.escape(line.partition("=")[0].encode())
        text = re.sub(rb"(?im)^[ \t]*" + key + rb"[ \t]*=[^\r\n]*\r?\n", b"", text)
    added = "".join(line + "\r\n" for line in lines).encode("cp932")
    text, count = re.subn(rb"(?im)^[ \t]*\[SYSTEM\][^\r\n]*\r?\n", lambda m: m[0] + added, text,
                          count=1)
    if count == 0:
        text = b"[SYSTEM]\r\n" + added + text
    path = os.path.join(folder, name or control)
    write(path, text)
    return path


@contextlib.contextmanager
def scratch_folder(room=1 << 30):
    """A folder that goes with the block, in memory when there is that much room: on some disks
    every file that is replaced is written out at once."""
    memory = "/dev/shm"
    base = memory if os.access(memory, os.W_OK | os.X_OK) and \
        shutil.disk_usage(memory).free > room else None
    with tempfile.TemporaryDirectory(dir=base, prefix="zatmap-test-") as folder:
        yield folder


def main(options, *paths, **others):
    """Runs the test cases of the program that calls. Its options --NAME PATH have to be there for
    `paths`, and may be for `others`, which have defaults; they come into `options`. The rest of the
    command line is unittest's."""
    parser = argparse.ArgumentParser(description=sys.modules["__main__"].__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in paths:
        parser.add_argument("--" + name, required=True, type=os.path.abspath)
    for name, default in others.items():
        parser.add_argument("--" + name.replace("_", "-"), default=default, type=os.path.abspath)
    _, rest = parser.parse_known_args(namespace=options)
    unittest.main(argv=sys.argv[:1] + rest)
