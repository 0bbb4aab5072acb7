#!/usr/bin/python3
"""Python's gzip reads what the library compresses, and the library reads what Python compresses.

usage: gzip_interop.py COMMAND...

COMMAND runs tests/filesystem's gzip_file: "compress FROM TO", "uncompress FROM TO". The system's own gzip checks the
compressed files too, where there is one.
"""

import gzip
import io
import os
import random
import shutil
import subprocess
import sys
import tempfile

COMMAND = sys.argv[1:]
SYSTEM_GZIP = shutil.which("gzip")
BAD_DATA = b"zlib: invalid or incomplete deflate data"


def run(mode, source, destination):
    """Whether the library says that it worked, and what it wrote to standard error."""
    done = subprocess.run([*COMMAND, mode, source, destination], capture_output=True, timeout=60)
    if done.returncode not in (0, 1):
        sys.exit(f"{mode}: exit code {done.returncode}, {done.stderr!r}")
    return done.returncode == 0, done.stderr.strip()


def write(name, content):
    with open(name, "wb") as file:
        file.write(content)


def read(name):
    with open(name, "rb") as file:
        return file.read()


def expect(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


def inputs():
    """Contents, and a level for Python to compress each with."""
    generator = random.Random(1)
    for size in (0, 1, 16384, 16385, 1_000_000):
        yield generator.randbytes(size), 0
        yield b"".join(b"line %d of the log\r\n" % i for i in range(size // 15 + 1))[:size], 9


def named_member(content):
    """A member with a name, written at the best level."""
    buffer = io.BytesIO()
    with gzip.GzipFile(filename="frame.log", mode="wb", compresslevel=9, fileobj=buffer) as file:
        file.write(content)
    return buffer.getvalue()


def main():
    os.chdir(tempfile.mkdtemp(prefix="kframework-gzip-"))
    folder = os.getcwd()
    try:
        for content, level in inputs():
            write("plain", content)
            expect(run("compress", "plain", "ours.gz") == (True, b""), f"compressing {len(content)} bytes")
            expect(gzip.decompress(read("ours.gz")) == content, f"Python reads ours, {len(content)} bytes")
            if SYSTEM_GZIP:
                subprocess.run([SYSTEM_GZIP, "-t", "ours.gz"], check=True)

            write("theirs.gz", gzip.compress(content, level))
            expect(run("uncompress", "theirs.gz", "again") == (True, b""), f"level {level}, {len(content)} bytes")
            expect(read("again") == content, f"the library reads level {level}, {len(content)} bytes")

        write("theirs.gz", named_member(b"named"))
        expect(run("uncompress", "theirs.gz", "again")[0] and read("again") == b"named", "a member with a name")
        write("theirs.gz", gzip.compress(b"first") + gzip.compress(b"second"))
        expect(run("uncompress", "theirs.gz", "again")[0] and read("again") == b"first", "the first of two members")
        write("theirs.gz", gzip.compress(random.Random(2).randbytes(50_000))[:-1])
        expect(run("uncompress", "theirs.gz", "again") == (False, BAD_DATA), "a truncated file")
    finally:
        os.chdir("/")
        shutil.rmtree(folder)
    print("Python" + (", gzip" if SYSTEM_GZIP else "") + " and the library agree")


main()
