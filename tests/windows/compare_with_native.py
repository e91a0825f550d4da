#!/usr/bin/env python3
"""Builds data sets twice, with the native zatmap and with zatlib.dll under Wine, and compares.

    compare_with_native.py --zatmap ZATMAP --wine-run "COMMAND" --host dll_host.exe --dll zatlib.dll
                           FOLDER...

Every control file (*.ini) of a folder is one build, in copies of the folder. All output files must
be equal byte for byte, but for the creation date in line 2 of linkdef.dat, and the build logs line
for line, but for time stamps, the machine's memory and the count of erased log files.
"""

import argparse
import glob
import os
import shlex
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

# Windows drops the dot at the end of the company folder's name.
LOG_FOLDER = os.path.join("Orvilex Systems,Inc*", "ZatLib")
TIMEOUT = 300


def output_name(control):
    """[FOLDER] CALCMAPDIR of a control file, "." when it names none."""
    inside = False
    for line in zatmap.read(control).decode("cp932", "replace").splitlines():
        line = line.strip()
        if line.startswith("["):
            inside = line.lower() == "[folder]"
        elif inside and line.lower().startswith("calcmapdir"):
            name = line.partition("=")[2].strip().strip('"')
            return name.replace("\\", "/") if len(name) > 1 else "."
    return "."


def prepare(source, control, target):
    """Copies the source files of one build and returns its control file and output folder."""
    zatmap.copy_sources(source, target)
    # Without a window: nobody is there to answer a message box.
    path = zatmap.set_system(target, "SILENTMODE=1", control=control)
    output = os.path.join(target, output_name(path))
    os.makedirs(output, exist_ok=True)
    return output


def run(command, folder):
    try:
        done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=TIMEOUT,
                              check=False)
    except subprocess.TimeoutExpired:
        return "took more than %d seconds" % TIMEOUT
    if done.returncode != 0:
        return "ended with status %d: %s" % (done.returncode,
                                             done.stdout.decode("utf-8", "replace").strip())
    return None


def log_files(folders):
    """The build logs below the application-data folders: path to content, oldest day first."""
    return {path: zatmap.read(path) for folder in folders
            for path in sorted(glob.glob(os.path.join(glob.escape(folder), LOG_FOLDER, "*.log")))}


def log_lines(after, before):
    """Lines that were added to logs since `before`. A build may have erased old files."""
    content = b"".join(text[len(before.get(path, b"")):] for path, text in after.items())
    return [line for line in zatmap.lines_of(content) if not zatmap.MACHINE.match(line)]


def files_of(folder, sources):
    """The files that a build made: path below the folder to content."""
    return {name: content for name, content in zatmap.map_files(folder).items()
            if not os.path.exists(os.path.join(sources, name))}


def first_difference(a, b):
    return next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))


def compare(source, control, options, prefix):
    """Builds one control file both ways; returns what differs as texts."""
    with tempfile.TemporaryDirectory() as root:
        native, windows = os.path.join(root, "native"), os.path.join(root, "windows")
        native_output = prepare(source, control, native)
        windows_output = prepare(source, control, windows)
        data = os.path.join(root, "data")
        done = zatmap.Zatmap(options.zatmap, data).run(*zatmap.PLAIN, control, cwd=native)
        if done.status != 0:
            return ["the native build ended with status %d: %s" % (done.status, done.err)]

        logs = glob.glob(os.path.join(glob.escape(prefix), "drive_c", "users", "*", "AppData",
                                      "Local"))
        before = log_files(logs)
        fault = run(options.wine_run + [options.host, options.dll, "ZAT_NWB_BuildRoadNetworksEx",
                                        ".\\" + control], windows)
        if fault:
            return ["the build by the DLL %s" % fault]
        differences = []
        ours, theirs = files_of(native_output, source), files_of(windows_output, source)
        if len(ours) < 2:
            differences.append("the native build made only %s" % sorted(ours))
        for name in sorted(set(ours) | set(theirs)):
            if name not in ours or name not in theirs:
                differences.append("%s: only the %s build made it" % (
                    name, "native" if name in ours else "Windows"))
            elif ours[name] != theirs[name]:
                differences.append("%s: %d bytes against %d, first difference at byte %d" % (
                    name, len(ours[name]), len(theirs[name]),
                    first_difference(ours[name], theirs[name])))
        our_log = log_lines(log_files([data]), {})
        their_log = log_lines(log_files(logs), before)
        if len(our_log) < 2:
            differences.append("the native build left no log")
        if our_log != their_log:
            line = first_difference(our_log, their_log)
            differences.append("log line %d: %s against %s" % (
                line + 1, our_log[line:line + 1], their_log[line:line + 1]))
        if not differences:
            print("%s/%s: %d files, %d bytes and %d log lines are the same" % (
                os.path.basename(source), control, len(ours), sum(map(len, ours.values())),
                len(our_log)))
        return differences


def main():
    parser = argparse.ArgumentParser(description="Compares native builds with builds by the DLL.")
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--wine-run", required=True, type=shlex.split)
    parser.add_argument("--host", required=True)
    parser.add_argument("--dll", required=True)
    parser.add_argument("folders", nargs="+")
    options = parser.parse_args()
    if not os.path.isfile(options.zatmap):
        print("%s is missing: build the native preset first" % options.zatmap)
        return 1
    options.zatmap = os.path.abspath(options.zatmap)
    options.host = os.path.abspath(options.host)
    options.dll = os.path.abspath(options.dll)
    prefix = subprocess.run(options.wine_run + ["--prefix"], check=True, capture_output=True,
                            text=True, timeout=TIMEOUT).stdout.strip()
    faults = 0
    for folder in map(os.path.abspath, options.folders):
        controls = sorted(name for name in os.listdir(folder) if name.endswith(".ini"))
        if not controls:
            faults += 1
            print("%s holds no control file" % folder)
        for control in controls:
            for difference in compare(folder, control, options, prefix):
                faults += 1
                print("%s/%s: %s" % (os.path.basename(folder), control, difference))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
