#!/usr/bin/python3
"""Python and the library agree on mask bundles, number lists, ranges and padding.

usage: frame_lists_interop.py COMMAND...

COMMAND runs tests/string's frame_lists, which answers all requests in one run.
"""

import base64
import random
import re
import subprocess
import sys

COMMAND = sys.argv[1:]
CASES = 400
KEY_LETTERS = [b"a", b"B", b"0", b"-", b",", b" ", b"\r", b"=", b"\xc3\xa9", b"\xff"]
LIST_LETTERS = [b"0", b"1", b"9", b"12", b",", b",", b";", b"-", b"+", b" ", b"\t", b"x"]
NUMBER = re.compile(rb"[ \t\n\v\f\r]*([+-]?[0-9]+)")


def hexadecimal(text):
    return text.hex() or "-"


def request(name, *arguments):
    return " ".join([name, *map(hexadecimal, arguments)])


def some(generator, letters, most):
    return b"".join(generator.choices(letters, k=generator.randrange(most + 1)))


def bundle(masks):
    lines = b"".join(key + b"\n" + value + b"\n" for key, value in sorted(masks.items()))
    return base64.b64encode(lines)


def pairs(masks):
    return "".join(f"{hexadecimal(key)} {hexadecimal(value)} " for key, value in sorted(masks.items()))


def numbers_in(text, delimiters):
    """Empty pieces are skipped, and a step past a delimiter is as long as the set."""
    numbers, position = [], 0
    while position <= len(text):
        ends = [at for at in range(position, len(text)) if text[at] in delimiters]
        end = ends[0] if ends else len(text)
        if end > position:
            number = NUMBER.match(text[position:end])
            numbers.append(int(number.group(1)) if number else 0)
        if not ends:
            break
        position = end + len(delimiters)
    return numbers


def printed(numbers):
    return hexadecimal(",".join(map(str, numbers)).encode())


def ranges(numbers):
    runs = []
    for number in numbers:
        if runs and runs[-1][1] + 1 == number:
            runs[-1][1] = number
        else:
            runs.append([number, number])
    return hexadecimal(",".join(f"{a}" if a == b else f"{a}-{b}" for a, b in runs).encode())


def bundle_cases(generator):
    for _ in range(CASES):
        masks = {some(generator, KEY_LETTERS, 6): some(generator, KEY_LETTERS, 30) for _ in range(generator.randrange(8))}
        flat = [text for item in masks.items() for text in item]
        yield request("encode", *flat), hexadecimal(bundle(masks))
        yield request("decode", bundle(masks)), pairs(masks)

    again = base64.b64encode(b"k\n1\nk\n2\nsingle")
    yield request("decode", again), pairs({b"k": b"1"})
    many = {b"layer %d" % i: b"%d-%d" % (i, 2 * i) for i in range(3000)}
    yield request("decode", bundle(many)), pairs(many)


def list_cases(generator):
    for _ in range(CASES):
        text = some(generator, LIST_LETTERS, 12)
        delimiters = generator.choice([b",", b";", b", ", b",;-", b"1"])
        read = numbers_in(text, delimiters)
        if all(-(2**31) <= number < 2**31 for number in read):
            yield request("vector", text, delimiters), printed(read)
            yield request("set", text, delimiters), printed(sorted(set(read)))


def range_cases(generator):
    limits = [2**31 - 2, 2**31 - 1, -(2**31), -(2**31) + 1]
    for _ in range(CASES):
        numbers = [generator.randrange(-6, 20) for _ in range(generator.randrange(20))]
        if generator.randrange(4) == 0:
            numbers += generator.sample(limits, 3)
        text = ",".join(map(str, numbers)).encode()
        yield request("vector_ranges", text), ranges(numbers)
        yield request("set_ranges", text), ranges(sorted(set(numbers)))
    yield request("vector_ranges", b"%d,%d" % (2**31 - 1, -(2**31))), ranges([2**31 - 1, -(2**31)])


def padding_cases(generator):
    for _ in range(CASES):
        digits, width = some(generator, LIST_LETTERS, 5), generator.randrange(-3, 12)
        yield request("pad", digits, str(width).encode()), hexadecimal(digits.rjust(width, b"0"))


def main():
    generator = random.Random(1)
    cases = [
        *bundle_cases(generator),
        *list_cases(generator),
        *range_cases(generator),
        *padding_cases(generator),
    ]
    text = "".join(line + "\n" for line, _ in cases)
    done = subprocess.run(COMMAND, input=text, capture_output=True, text=True, timeout=120)
    answers = done.stdout.splitlines()
    if done.returncode != 0 or len(answers) != len(cases):
        sys.exit(f"exit code {done.returncode}, {len(answers)} answers to {len(cases)} requests: {done.stderr}")
    for (line, expected), answer in zip(cases, answers):
        if answer != expected:
            sys.exit(f"failed: {line}\nexpected {expected}\ngot      {answer}")
    print(f"Python and the library agree on {len(cases)} requests")


main()
