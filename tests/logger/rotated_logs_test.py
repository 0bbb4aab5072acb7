#!/usr/bin/python3
"""Checks rotated logs with gzip's own programs, and runs the logging example.

usage: rotated_logs_test.py EMULATOR ROTATE_LOG LOGGING_EXAMPLE
"""

import pathlib
import re
import subprocess
import sys
import tempfile

emulator, rotate_log, example = sys.argv[1:]


def check(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


def run(program, folder, *arguments):
    windows_folder = "Z:" + str(folder).replace("/", "\\")
    done = subprocess.run([emulator, program, windows_folder, *arguments], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, timeout=60)
    check(done.returncode == 0, f"{program} ended with {done.returncode}")
    return done.stdout.decode()


def unpacked(path):
    """What zcat makes of a file that gzip -t accepts."""
    tested = subprocess.run(["gzip", "-t", path], stderr=subprocess.PIPE)
    check(tested.returncode == 0, f"gzip -t {path}: {tested.stderr}")
    return subprocess.run(["zcat", path], stdout=subprocess.PIPE, check=True).stdout


def check_rotated(folder):
    run(rotate_log, folder, "0", "100", "10", "1")
    packed = sorted(folder.glob("*.gz"), key=lambda path: int(path.name.split(".")[2]))
    # At lines 0, 10, ... the program pretends that its log was started in 1900, 1910, ...; the first is empty.
    check(len(packed) == 10, f"{len(packed)} compressed logs")
    check(len(list(folder.iterdir())) == 11, "a plain file stayed beside its compressed one")
    lines = b"".join(unpacked(path) for path in packed) + (folder / "default.log").read_bytes()
    numbers = sorted(int(number) for number in re.findall(rb"\[INFO\] \[Test\] line (\d+) of [^\r\n]*\r\n", lines))
    check(numbers == list(range(100)), f"lines found: {numbers}")


def check_example(folder):
    old = b"03/05/2024 07:08:09 - [INFO] [example] an older day\r\n"
    (folder / "example.log").write_bytes(old)
    console = run(example, folder)
    packed = list(folder.glob("*.gz"))
    check(len(packed) == 1, f"compressed logs: {packed}")
    check(re.fullmatch(r"\d+\.03\.05\.2024\.example\.log\.gz", packed[0].name), packed[0].name)
    check(unpacked(packed[0]) == old, "the older day")
    lines = (folder / "example.log").read_bytes().decode().split("\r\n")
    messages = [re.sub(r"^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d - \[INFO\] \[example\] ", "", line) for line in lines]
    rotated = "finished log: Z:" + str(packed[0]).replace("/", "\\")
    check(messages == ["job 1 is done", rotated, "job 2 is done", "job 3 is done", ""], messages)
    check(console.split() == " ".join(lines).split(), f"console: {console}")


for one in (check_rotated, check_example):
    with tempfile.TemporaryDirectory() as name:
        one(pathlib.Path(name))
    print(f"{one.__name__}: ok")
