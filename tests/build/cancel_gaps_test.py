#!/usr/bin/env python3
"""How long large builds go on without a look at the Cancel button.

    cancel_gaps_test.py --cancel-gaps PATH --make-network PATH --city FOLDER

cancel_gaps measures the worker's own time, so that other programs on the machine do not count. The
limit is several times what the longest stretch takes.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import zatmap  # pylint: disable=wrong-import-position

LINKS = 300000
LIMIT = 200   # milliseconds that a user does not notice
TIMEOUT = 200  # seconds


def check(options, layout, method):
    with tempfile.TemporaryDirectory() as data:
        zatmap.make_network(options.make_network, options.city, LINKS, data, layout)
        zatmap.set_system(data, "BUILDMETHOD=" + method)
        done = subprocess.run([options.cancel_gaps, "control.ini", "--limit", str(LIMIT),
                               "--cancels", "3"], cwd=data, text=True, timeout=TIMEOUT,
                              stdout=subprocess.PIPE, check=False,
                              env=dict(os.environ, XDG_DATA_HOME=os.path.join(data, "log")))
        lines = done.stdout.splitlines()
        print("%s, %s: %s" % (layout, method, lines[-1] if lines else "no output"))
        if done.returncode != 0:
            print(done.stdout)
            return False
        # A build of this size that looked a few times only was not measured.
        looks = int(re.match(r"(\d+) looks", lines[0])[1])
        return looks > 300


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cancel-gaps", required=True, type=os.path.abspath)
    parser.add_argument("--make-network", required=True, type=os.path.abspath)
    parser.add_argument("--city", required=True, type=os.path.abspath)
    options = parser.parse_args()
    results = [check(options, layout, method)
               for layout, method in (("text", "M"), ("mif", "F"), ("msr-mif", "M"))]
    raise SystemExit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
