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
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
STAMP = re.compile(rb"^\d{8} \d\d:\d\d:\d\d\.\d{3} ")
# Lines that tell of the machine or of earlier runs.
MACHINE = re.compile(rb"^(Total Physycal=|Total Paging=|\d+ log files before )")


def log_lines(raw, folder):
    lines = []
    for line in raw.replace(b"\r\n", b"\n").split(b"\n"):
        line = STAMP.sub(b"", line)
        if MACHINE.match(line):
            continue
        lines.append(line.replace(os.fsencode(str(folder)), b"<folder>"))
    return lines


def output_files(folder):
    files = {}
    for path in sorted(folder.iterdir()):
        if path.name.startswith(".") or not path.is_file():
            continue
        content = path.read_bytes()
        if path.name == "linkdef.dat":
            parts = content.split(b"\r\n")
            content = b"\r\n".join(parts[:1] + parts[2:])
        files[path.name] = content
    return files


def control_value(control, section, key):
    current = ""
    for line in control.read_bytes().decode("cp932", "replace").splitlines():
        line = line.strip()
        if line.startswith("["):
            current = line.strip("[]").upper()
        elif current == section and line.upper().startswith(key + "="):
            return line.split("=", 1)[1].strip()
    return ""


def run_zatmap(zatmap, folder, control):
    data = folder / ".data"
    environment = dict(os.environ, XDG_DATA_HOME=str(data))
    done = subprocess.run([zatmap, "build", control], cwd=folder, env=environment,
                          capture_output=True, timeout=300)
    raw = b"".join(p.read_bytes() for p in sorted((data / "Orvilex Systems,Inc." / "ZatLib").glob("*.log")))
    shutil.rmtree(data)
    return done.returncode, raw


def run_model(folder, control):
    log = folder / ".model.log"
    done = subprocess.run([sys.executable, str(HERE / "zatmodel.py"), control, "--log", str(log)],
                          cwd=folder, capture_output=True, timeout=600)
    raw = log.read_bytes() if log.exists() else b""
    if done.returncode not in (0, 1, 134):
        raw += done.stderr
    return done.returncode, raw


def compare(zatmap, source, control, method):
    """Returns a list of differences."""
    with tempfile.TemporaryDirectory() as scratch:
        results = []
        for run in ("zatmap", "model"):
            folder = pathlib.Path(scratch) / run
            shutil.copytree(source, folder, symlinks=True)
            subprocess.run(["chmod", "-R", "u+w", str(folder)], check=True)
            ini = folder / control
            if method:
                text = ini.read_bytes().replace(b"[SYSTEM]", b"[SYSTEM]\r\nBUILDMETHOD=" + method.encode(), 1)
                ini.write_bytes(text)
            out = folder / (control_value(ini, "FOLDER", "CALCMAPDIR") or ".").replace("\\", "/")
            if run == "zatmap":
                status, raw = run_zatmap(zatmap, folder, control)
                status = 134 if status in (134, -6) else status
            else:
                status, raw = run_model(folder, control)
            files = output_files(out) if out.is_dir() else {}
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
    zatmap = str(pathlib.Path(options.zatmap).resolve())
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
        report(item, compare(zatmap, folder, control or "control.ini", options.method))
    if options.random:
        first, count = options.random
        for seed in range(first, first + count):
            with tempfile.TemporaryDirectory() as scratch:
                folder = pathlib.Path(scratch) / "set"
                layout = ["--msr"] if options.msr else []
                subprocess.run([sys.executable, str(HERE / "make_random.py"), *layout, str(seed),
                                str(folder)], check=True, timeout=300)
                method = options.method or ("", "M", "F")[seed % 3]
                report(f"random {'MSR ' if options.msr else ''}network {seed}", compare(zatmap, folder, "control.ini", method))
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
