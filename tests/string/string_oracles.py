#!/usr/bin/python3
"""Compares Base64, MD5 and the text encoders with Python's own, in both directions.

usage: string_oracles.py HOST_COMMAND...

The host is tests/string/codec_host.cpp. One process answers all cases of a run. Where the library differs on purpose,
the difference is written down beside the comparison.
"""

import base64
import binascii
import hashlib
import html
import json
import random
import re
import shlex
import subprocess
import sys
import urllib.parse
import xml.sax.saxutils

DEADLINE_SECONDS = 120

# What the library writes where Python's encoders write something else, and why it stays so:
HTML_DIFFERENCES = {"&amp;": "&amp", "&#x27;": "&apos;"}  # the ampersand's entity has no semicolon
XML_DIFFERENCES = {"&amp;": "&amp"}
URL_DIFFERENCES = {"~": "%7E"}  # only four bytes other than letters and digits stay

draw = random.Random(20)


def data_of(answer):
    return b"" if answer == "-" else bytes.fromhex(answer)


class Cases:
    """Requests for the host, each with what its answer must be."""

    def __init__(self):
        self.lines, self.checks = [], []

    def add(self, function, argument, expected, number=None):
        """expected: the bytes that the answer stands for, the answer itself, or what says whether it is right."""
        self.lines.append(f"{function} {argument.hex() or '-'} {'' if number is None else number}".rstrip())
        self.checks.append(expected)

    def run(self, command):
        host = subprocess.run(command, input="\n".join(self.lines) + "\n", capture_output=True, text=True,
                              timeout=DEADLINE_SECONDS, check=False)
        answers = host.stdout.splitlines()
        if host.returncode != 0 or len(answers) != len(self.lines):
            sys.exit(f"the host ended with {host.returncode} after {len(answers)} of {len(self.lines)} answers\n"
                     f"{host.stderr}")
        wrong = 0
        for line, check, answer in zip(self.lines, self.checks, answers):
            if callable(check):
                right = check(answer)
            else:
                right = answer == check if isinstance(check, str) else data_of(answer) == check
            if not right:
                wrong += 1
                if wrong <= 10:
                    print(f"{line[:300]}\n  gives  {answer!r:.300}\n  not    {check!r:.300}")
        if wrong:
            sys.exit(f"{wrong} of {len(answers)} answers are wrong")
        print(f"{len(answers)} answers are right")


def text_of(alphabet, longest):
    return "".join(draw.choice(alphabet) for _ in range(draw.randrange(longest)))


def bytes_without_nul(longest):
    return bytes(draw.randrange(1, 256) for _ in range(draw.randrange(longest)))


def hex_answer(whole, data):
    return f"{int(whole)} {data.hex() or '-'}"


def add_base64(cases):
    for size in [*range(0, 300), 1000, 4095, 4096, 4097, 60000]:
        data = draw.randbytes(size)
        text = base64.b64encode(data)
        cases.add("encode", data, text)
        cases.add("decode", text, hex_answer(True, data), size)
        cases.add("decode", text, hex_answer(True, data[:size // 2]), size // 2)  # true although bytes were dropped
    for _ in range(300):
        data = bytes_without_nul(100)
        cases.add("to_base64", data, base64.b64encode(data))
        cases.add("from_base64", base64.b64encode(data), data)
    for _ in range(2000):
        text = bytearray(base64.b64encode(draw.randbytes(draw.randrange(90))))
        for _ in range(draw.randrange(1, 3)):
            if text:
                text[draw.randrange(len(text))] = draw.choice(b"AQg/+=\n -_\x00\xff")
        if draw.random() < 0.3:
            text = text[:draw.randrange(len(text) + 1)]
        cases.add("decode", bytes(text), damaged_answer(bytes(text)), len(text))


def damaged_answer(text):
    """Python's strict reader takes exactly the same texts; of one that it refuses we still give the beginning."""
    try:
        return hex_answer(True, binascii.a2b_base64(text, strict_mode=True))
    except binascii.Error:
        beginning = base64.b64decode(re.match(rb"(?:[A-Za-z0-9+/]{4})*", text).group())

    def right(answer):
        whole, _, data = answer.partition(" ")
        data = data_of(data)
        return whole == "0" and data.startswith(beginning) and len(data) <= len(beginning) + 2

    return right


def add_md5(cases):
    for size in [*range(0, 200), 1000, 65536]:
        data = draw.randbytes(size)
        for piece in (1, 63, 64, 65, 100000) if size < 2000 else (777, 100000):
            cases.add("md5", data, hashlib.md5(data).hexdigest(), piece)


def add_json(cases):
    plain = [chr(c) for c in range(32, 127)] + list("\n\r\t\b\f\"\\\"\\/") + list("äß€😀\x7f\u2028")
    for _ in range(500):
        text = text_of(plain, 60)
        data = text.encode()
        cases.add("json", data, json.dumps(text, ensure_ascii=False).encode())
        cases.add("json", data, lambda answer, text=text: json.loads(data_of(answer).decode()) == text)
        cases.add("json_string", data, json.dumps(text, ensure_ascii=False)[1:-1].encode())
    for _ in range(200):  # Python escapes the other control bytes, we leave them; its lenient reader takes them
        text = text_of(plain + [chr(c) for c in range(32)], 60)
        cases.add("json", text.encode(),
                  lambda answer, text=text: json.loads(data_of(answer).decode(), strict=False) == text)


def add_markup(cases):
    characters = [chr(c) for c in range(1, 128)] + list("&<>\"'&<>\"';#") * 4
    for _ in range(500):
        text = text_of(characters, 60)
        data = text.encode()
        cases.add("html", data, "".join(HTML_DIFFERENCES.get(e, e) for e in map(html.escape, text)).encode())
        escaped = (xml.sax.saxutils.escape(c, {'"': "&quot;", "'": "&apos;"}) for c in text)
        in_xml = "".join(XML_DIFFERENCES.get(e, e) for e in escaped).encode()
        cases.add("xml", data, in_xml)
        # A page's reader takes our ampersand for one, together with a semicolon that happens to follow it.
        read_back = text.replace("&;", "&")
        cases.add("html", data, lambda answer, text=read_back: html.unescape(data_of(answer).decode()) == text)
        cases.add("xml", data, lambda answer, text=read_back: html.unescape(data_of(answer).decode()) == text)
        cases.add("sql", data, text.replace("'", "''").encode())
    for value in range(128, 256):
        cases.add("html", bytes([value]), f"&#{value - 256}".encode())


def unquoted_form(text):
    return urllib.parse.unquote_to_bytes(text.replace(b"+", b" "))


def add_urls(cases):
    for _ in range(1000):
        data = bytes_without_nul(60)
        ours = "".join(URL_DIFFERENCES.get(e, e) for e in urllib.parse.quote_plus(data, safe="/")).encode()
        cases.add("url", data, ours)
        cases.add("url", data, lambda answer, data=data: unquoted_form(data_of(answer)) == data)
        cases.add("unform", urllib.parse.quote_plus(data).encode(), data)
        cases.add("unurl", urllib.parse.quote(data).encode(), data)
    for _ in range(1000):
        # Whatever two bytes follow a percent sign are digits to us; Python leaves those that are none. NUL ends a text.
        pieces = (draw.choice(["+", "a", "/", "%41", "%2b", "%fF", "%25", "é"]) for _ in range(draw.randrange(30)))
        text = ("".join(pieces) + draw.choice(["", "%", "%4"])).encode()
        cases.add("unurl", text, urllib.parse.unquote_to_bytes(text))
        cases.add("unform", text, unquoted_form(text))


def add_names_and_words(cases):
    for _ in range(500):
        data = bytes(draw.randrange(256) for _ in range(draw.randrange(60)))
        cases.add("filename", data, re.sub(rb"[;=+<>|\"'\\/\[\]?*:\x80-\xff]", b"#", data))
    for _ in range(500):
        # Words in pairs of quotes, none of them empty: what our text says to a shell is what the quoted text said.
        pieces = (draw.choice(["ab", " ", '"a b"', '" x"', 'y" "', '"é"']) for _ in range(draw.randrange(12)))
        text = "".join(pieces)
        words = shlex.split(text)
        cases.add("shell", text.encode(), lambda answer, words=words: shlex.split(data_of(answer).decode()) == words)


def main():
    cases = Cases()
    for add in (add_base64, add_md5, add_json, add_markup, add_urls, add_names_and_words):
        add(cases)
    cases.run(sys.argv[1:])


main()
