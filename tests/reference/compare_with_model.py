#!/usr/bin/env python3
"""Builds data sets with zatmap and with the reference model and compares every output byte and
every log line (time stamps, the date line of linkdef.dat and the machine's memory left out).

    compare_with_model.py --zatmap PATH FOLDER[:CONTROL.INI] ...
    compare_with_model.py --zatmap PATH [--msr] --random FIRST COUNT

With --msr the random networks are in the MSR layout.
Exit status 0: all agree."""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

HERE = pathlib.Path(__file__).resolve().parent


def log_lines(raw, folder):
    return [line.replace(os.fsencode(str(folder)), b"<folder>") for line in zatmap.lines_of(raw)
            if not zatmap.MACHINE.match(line)]


def control_value(control, section, key):
    current = ""
    for line in control.read_bytes().decode("cp932", "replace").splitlines():
        line = line.strip()
        if line.startswith("["):
            current = line.strip("[]").upper()
        elif current == section and line.upper().startswith(key + "="):
            return line.split("=", 1)[1].strip()
    return ""


def run_zatmap(path, folder, control):
    program = zatmap.Zatmap(path, folder / ".data")
    done = program.run(*zatmap.PLAIN, control, cwd=folder)
    raw = program.log()
    shutil.rmtree(program.data)
    # Where the library ends its process, zatmap ends in order.
    ends = done.status == 1 and "holds 64 bytes or more" in done.err
    return 134 if ends else done.status, raw


def run_model(folder, control):
    log = folder / ".model.log"
    done = subprocess.run([sys.executable, str(HERE / "zatmodel.py"), control, "--log", str(log)],
                          cwd=folder, capture_output=True, timeout=600)
    raw = log.read_bytes() if log.exists() else b""
    if done.returncode not in (0, 1, 134):
        raw += done.stderr
    return done.returncode, raw


def compare(path, source, control, method):
    """Returns a list of differences."""
    with tempfile.TemporaryDirectory() as scratch:
        results = []
        for run in ("zatmap", "model"):
            folder = pathlib.Path(scratch) / run
            shutil.copytree(source, folder, symlinks=True)
            subprocess.run(["chmod", "-R", "u+w", str(folder)], check=True)
            if method:
                zatmap.set_system(folder, "BUILDMETHOD=" + method, control=control)
            out = control_value(folder / control, "FOLDER", "CALCMAPDIR") or "."
            out = folder / out.replace("\\", "/")
            if run == "zatmap":
                status, raw = run_zatmap(path, folder, control)
            else:
                status, raw = run_model(folder, control)
            files = zatmap.map_files(out) if out.is_dir() else {}
            results.append((status, log_lines(raw, folder), files))
    (status_a, log_a, files_a), (status_b, log_b, files_b) = results
    found = []
    if status_a != status_b:
        found.append(f"exit status {status_a} against the model's {status_b}")
    if status_a == 134:
        files_a = files_b = {}  # what a process that ends at once leaves half-written is not compared
    for name in sorted(set(files_a) | set(files_b)):
        a, b = files_a.get(name), files_b.get(name)
        if a is None or b is None:
            found.append(f"{name}: only {'zatmap' if b is None else 'the model'} wrote it")
        elif a != b:
            at = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
            found.append(f"{name}: sizes {len(a)} and {len(b)}, first difference at byte {at}: "
                         f"{a[at:at + 24].hex()} against {b[at:at + 24].hex()}")
    if log_a != log_b:
        for i in range(max(len(log_a), len(log_b))):
            x = log_a[i] if i < len(log_a) else b"(nothing)"
            y = log_b[i] if i < len(log_b) else b"(nothing)"
            if x != y:
                found.append(f"log line {i + 1}: {x.decode('cp932', 'replace')!r} against "
                             f"{y.decode('cp932', 'replace')!r}")
                break
    return found


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zatmap", required=True)
    parser.add_argument("--random", nargs=2, type=int, metavar=("FIRST", "COUNT"))
    parser.add_argument("--msr", action="store_true", help="random networks in the MSR layout")
    parser.add_argument("--method", default="", help="force BUILDMETHOD")
    parser.add_argument("sets", nargs="*")
    options = parser.parse_args()
    path = os.path.abspath(options.zatmap)
    passed = failed = 0

    def report(name, found):
        nonlocal passed, failed
        if found:
            failed += 1
            print(f"{name}: DIFFERS")
            for line in found[:12]:
                print("   ", line)
        else:
            passed += 1

    for item in options.sets:
        folder, _, control = item.partition(":")
        report(item, compare(path, folder, control or "control.ini", options.method))
    if options.random:
        first, count = options.random
        for seed in range(first, first + count):
            with tempfile.TemporaryDirectory() as scratch:
                folder = pathlib.Path(scratch) / "set"
                layout = ["--msr"] if options.msr else []
                subprocess.run([sys.executable, str(HERE / "make_random.py"), *layout, str(seed),
                                str(folder)], check=True, timeout=300)
                method = options.method or ("", "M", "F")[seed % 3]
                report(f"random {'MSR ' if options.msr else ''}network {seed}",
                       compare(path, folder, "control.ini", method))
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
