#!/usr/bin/python3
"""Python's PBKDF2 makes the same stored keys as the library, and each verifies the other's.

The machine's OpenSSL is configured to know no algorithm, which must not matter.

usage: stored_keys.py COMMAND...

COMMAND runs tests/services' stored_keys.
"""

import hashlib
import os
import random
import subprocess
import sys
import tempfile

COMMAND = sys.argv[1:]
CASES = 300
SEED = 20
NO_ALGORITHMS = """\
openssl_conf = start
[start]
providers = providers
[providers]
null = none
[none]
activate = 1
"""


def stored_key(password, salt, count):
    """The stored key as bytes."""
    key = hashlib.pbkdf2_hmac("sha512", password, salt, max(count, 1), 64)
    return b"pbkdf2$%d$%s$%s" % (count, key.hex().encode(), salt)


def ask(lines):
    """The answers to all requests."""
    text = "".join(line + "\n" for line in lines)
    with tempfile.NamedTemporaryFile("w", suffix=".cnf") as configuration:
        configuration.write(NO_ALGORITHMS)
        configuration.flush()
        environment = os.environ | {"OPENSSL_CONF": configuration.name}
        done = subprocess.run(COMMAND, input=text, capture_output=True, text=True, timeout=120, env=environment)
    answers = done.stdout.split()
    if done.returncode != 0 or len(answers) != len(lines):
        sys.exit(f"exit code {done.returncode}, {len(answers)} answers to {len(lines)} requests: {done.stderr}")
    return answers


def digits(text):
    return text.hex() or "-"


def passwords(generator):
    """Passwords: empty, with bytes of 0, in UTF-8, longer than a block of the digest, and of any bytes."""
    yield from (b"", b"\0", b"a\0b", b"secret\0", "Gr\u00fc\u00dfe \u20ac \U0001f511".encode(), b"x" * 127)
    yield from (b"x" * 128, b"x" * 129, b"pa$$word", b"x" * 5000)
    while True:
        yield generator.randbytes(generator.randrange(40))


def salts(generator):
    yield from (b"salt", b"0" * 64, b"\0", "\u00e4".encode(), b"s" * 300)
    while True:
        yield generator.randbytes(32).hex().encode() if generator.random() < 0.8 else b"a" + generator.randbytes(9)


def verdicts(generator, password, salt, stored):
    """What to verify, and the expected answer."""
    verifies = b"$" not in salt
    other = bytearray(stored)
    other[stored.rindex(b"$") - 1 - generator.randrange(128)] ^= 1  # another digit of the key, or none at all
    yield stored, password, verifies
    yield stored, password + b"x", False
    yield stored, stored, False
    yield bytes(other), password, False


def main():
    generator = random.Random(SEED)
    password, salt = passwords(generator), salts(generator)
    requests, expected = [], []
    for _ in range(CASES):
        one, grain = next(password), next(salt)
        count = generator.choice((1, 2, 3, 10, 100, 0, -1, -2147483648))
        stored = stored_key(one, grain, count)
        requests.append(f"generate {digits(one)} {digits(grain)} {count}")
        expected.append(stored.hex())
        if b"$" in grain:
            continue  # tested beside the library
        for text, candidate, answer in verdicts(generator, one, grain, stored):
            requests.append(f"verify {digits(text)} {digits(candidate)}")
            expected.append("true" if answer else "false")
    for request, answer, wanted in zip(requests, ask(requests), expected):
        if answer != wanted:
            sys.exit(f"seed {SEED}: {request}\nanswered {answer}\nwanted   {wanted}")
    print(f"{len(requests)} requests, {CASES} of them keys: Python and the library agree")


main()
