#!/usr/bin/python3
"""examples/host_report on a terminal: it replaces its page and ends in order with Ctrl-C.

usage: host_report_console.py COMMAND...

COMMAND runs host_report. The terminal is one of this script's own; what the console host sends to it is put on a small
screen and compared.
"""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import sys
import termios
import time

COMMAND = sys.argv[1:]
ROWS, COLUMNS = 60, 100
DEADLINE = 30  # seconds; reached only by a failing test
SEQUENCE = re.compile(rb"\x1b\[(\??)([0-9;]*)([A-Za-z])|[^\x1b]|\x1b")


def check(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


class Terminal:
    """A program on a terminal, and what it has sent."""

    def __init__(self, command):
        self.sent = b""
        try:
            self.pid, self.fd = pty.fork()
        except OSError as error:
            print(f"skipped: this machine gives no terminal: {error}")
            sys.exit(0)
        if self.pid == 0:
            os.environ["TERM"] = "xterm"
            os.execv(command[0], command)
        fcntl.ioctl(self.fd, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))

    def read_until(self, condition):
        """Gives whether the condition came true before the program ended or the time was over."""
        end = time.monotonic() + DEADLINE
        while not condition() and time.monotonic() < end:
            if not select.select([self.fd], [], [], 0.1)[0]:
                continue
            try:
                self.sent += os.read(self.fd, 65536)
            except OSError:  # the program has closed the terminal
                break
        return condition()

    def type(self, keys):
        os.write(self.fd, keys)

    def end(self):
        """Reads what is left and gives the exit code."""
        self.read_until(lambda: False)
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])

    def kill(self):
        os.kill(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)


class Screen:
    """As much of a terminal as the console host uses."""

    def __init__(self, sent):
        self.rows = [b""] * ROWS
        self.row = self.column = 0
        self.cursor = True
        self.cleared = 0
        for found in SEQUENCE.finditer(sent):
            if found.group(3):
                self.obey(found.group(1) == b"?", found.group(2), found.group(3))
            else:
                self.put(found.group(0))

    def obey(self, private, parameters, letter):
        numbers = [int(n or 0) for n in parameters.split(b";")]
        if private:
            if numbers == [25]:
                self.cursor = letter == b"h"
        elif letter == b"A":
            self.row = max(self.row - max(numbers[0], 1), 0)
        elif letter == b"B":
            self.row += max(numbers[0], 1)
        elif letter == b"C":
            self.column += max(numbers[0], 1)
        elif letter == b"D":
            self.column = max(self.column - max(numbers[0], 1), 0)
        elif letter == b"H":
            self.row = max(numbers[0], 1) - 1
            self.column = max(numbers[-1], 1) - 1 if len(numbers) > 1 else 0
        elif letter == b"K":
            self.rows[self.row] = self.rows[self.row][: self.column]
        elif letter == b"J":
            self.cleared += 1
        elif letter != b"m":
            sys.exit(f"failed: the terminal was sent an unexpected {parameters!r} {letter!r}")

    def put(self, character):
        if character == b"\r":
            self.column = 0
        elif character == b"\n":
            self.row += 1
        elif character == b"\b":
            self.column = max(self.column - 1, 0)
        elif character >= b" ":
            line = self.rows[self.row].ljust(self.column)
            self.rows[self.row] = line[: self.column] + character + line[self.column + 1 :]
            self.column += 1

    def text(self):
        return b"\n".join(self.rows).decode()


def print_to_a_full_device():
    if not os.path.exists("/dev/full"):
        print("this machine has no /dev/full to print to")
        return
    with open("/dev/full", "wb") as full:
        code = subprocess.run([*COMMAND, "--help"], stdout=full, stdin=subprocess.DEVNULL, check=False).returncode
    check(code == 1, f"ended with {code} though nothing could be printed")


def watch_on_a_terminal():
    terminal = Terminal([*COMMAND, "--watch"])
    try:
        print_to_a_full_device()  # while the other one waits for its counters
        check(terminal.read_until(lambda: terminal.sent.count(b"Core  Load") == 2), f"no second page in {terminal.sent}")
        time.sleep(0.2)  # the rest of the page, which only makes the comparison stricter
        terminal.read_until(lambda: not select.select([terminal.fd], [], [], 0)[0])
        screen = Screen(terminal.sent)
        page = screen.text()
        for label in ("Host ", "Memory ", "RAM ", "Network interface ", "Disk ", "Core "):
            check(len(re.findall("^" + label, page, re.M)) == 1, f"{label!r} does not stand once on\n{page}")
        check(re.search(r"^RAM .*% +\[#*\.*\]$", page, re.M), f"no bar on\n{page}")
        check(not screen.cursor, "the cursor blinks in the page")
        check(screen.cleared <= 1, f"the screen was cleared {screen.cleared} times: it flickers")

        begin = time.monotonic()
        terminal.type(b"\x03")
        code = terminal.end()
        check(code == 0, f"Ctrl-C ended it with {code}")
        check(time.monotonic() - begin < 10, "Ctrl-C took long")
        check(Screen(terminal.sent).cursor, "the cursor stays hidden")
        terminal = None
    finally:
        if terminal is not None:
            terminal.kill()


watch_on_a_terminal()
print("the page was replaced, and Ctrl-C ended the program in order")
