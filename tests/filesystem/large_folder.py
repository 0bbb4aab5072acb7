#!/usr/bin/python3
"""A folder of 20,000 entries is listed whole and without memory that grows with it.

usage: large_folder.py COMMAND...

COMMAND runs tests/children's list_folder. The files are made here because that is quick.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

COMMAND = sys.argv[1:]
ENTRIES = 20_000
ROOM = 256 * 1024  # an entry kept would take far more: 20,000 names are over 1 MB


def run(*arguments):
    done = subprocess.run([*COMMAND, *arguments], capture_output=True, timeout=200, text=True)
    found = re.search(r"entries=(\d+) left=(-?\d+) peak=(\d+)", done.stdout)
    if done.returncode or not found:
        sys.exit(f"list_folder failed: {done.returncode}, {done.stdout!r}, {done.stderr!r}")
    return tuple(map(int, found.groups()))


def main():
    folder = tempfile.mkdtemp(prefix="kframework-large-")
    try:
        for i in range(ENTRIES):
            os.close(os.open(f"{folder}/.entry_with_a_longer_name_{i:06d}", os.O_CREAT | os.O_WRONLY))
        listed, left, peak = run(folder)
        print(f"{listed} listed, {left} bytes left, {peak} bytes at most")
        if listed != ENTRIES or left > ROOM or peak > ROOM:
            sys.exit("failed: not all, or the memory grows")

        listed, _, _ = run(folder, "without dot names")  # one call passes over them all
        if listed != 0:
            sys.exit(f"failed: {listed} entries were not passed over")
    finally:
        shutil.rmtree(folder)


main()
