#!/usr/bin/python3
"""Talks to a library host in both directions.

usage: peer.py HOST_COMMAND...

The host sends every message back in its own encoding; that must be the frame this peer would write itself, byte for
byte, except that a compressed text is compared after decompression.
"""

import queue
import random
import socket
import subprocess
import sys
import threading
import time
import zlib

sys.dont_write_bytecode = True  # the source tree stays clean

import wire

DEADLINE_SECONDS = 60
END = 0xFFFFFFFF

EXAMPLES = [  # docs/wire-format.md
    (3, 2_000_000_000, b"", "00 00 00 00 00 00 94 35 77 03 00 00 00"),
    (258, 7, b"hello", "01 05 00 00 00 07 00 00 00 02 01 00 00 68 65 6c 6c 6f"),
    (0xFFFFFFFE, 0, b"frame 1, frame 2, frame 3",
     "02 1b 00 00 00 00 00 00 00 fe ff ff ff 19 00 00 00 78 9c 4b 2b 4a cc 4d 55 30 d4 51 48 03 33 8c 60 0c 63 00"
     " 67 aa 07 b0"),
]


class Peer:
    """One connection to a host; a thread of its own reads, so that neither end waits for the other."""

    def __init__(self, connection):
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        connection.settimeout(DEADLINE_SECONDS)
        self.connection = connection
        self.frames = queue.Queue()
        self.reader = threading.Thread(target=self.read_frames, daemon=True)
        self.reader.start()

    def read_frames(self):
        buffer = b""
        sizes = random.Random(1)
        try:
            while data := self.connection.recv(sizes.choice((1, 7, 13, 4096, 65536))):
                buffer += data
                one, buffer = wire.split_first(buffer)
                while one is not None:
                    self.frames.put(one)
                    one, buffer = wire.split_first(buffer)
        except OSError as error:
            self.frames.put(error)
        self.frames.put(None)

    def send(self, data):
        self.connection.sendall(data)

    def send_split(self, *pieces):
        for piece in pieces:
            self.connection.sendall(piece)
            time.sleep(0.001)  # lets the host see the piece alone; nothing depends on it

    def receive(self):
        got = self.frames.get(timeout=DEADLINE_SECONDS)
        if isinstance(got, OSError):
            raise got
        return got

    def expect(self, command, parameter, text):
        """The next frame is the one we would write for this message."""
        got, own = self.receive(), wire.encode(command, parameter, text)
        if got is None:
            raise AssertionError(f"the host left before answering command {command}")
        if own[0] == wire.COMPRESSED:
            same = got[0] == own[0] and got[5:17] == own[5:17] and wire.text_of(got) == text
        else:
            same = got == own
        if not same:
            raise AssertionError(f"for {text[:60]!r}: got {got[:60].hex(' ')}, expected {own[:60].hex(' ')}")

    def finish(self):
        self.send(wire.encode(END, 0, b""))
        if self.receive() is not None:
            raise AssertionError("the host sent more than it was asked for")
        self.reader.join(DEADLINE_SECONDS)
        self.connection.close()


def texts():
    """Texts around every limit of the format."""
    noise = random.Random(5)
    yield b""
    for length in (1, 9, 10, 11, 12, 13, 40, 255, 256, 4096, 60_000, 300_000):
        yield b"a" * length
        yield bytes(noise.randrange(1, 256) for _ in range(length))
        yield bytes(noise.choice(b"abcdefgh") for _ in range(length))
    yield "\u00e4\u20ac\U0001F600 frame 1, frame 2, frame 3".encode()
    yield bytes(range(1, 256))


def check_examples(peer):
    for command, parameter, text, expected in EXAMPLES:
        own = wire.encode(command, parameter, text)
        if own != bytes.fromhex(expected):
            raise AssertionError(f"the page says {expected}, this peer writes {own.hex(' ')}")
        peer.send(own)
        peer.expect(command, parameter, text)


def check_texts(peer):
    for number, text in enumerate(texts()):
        peer.send(wire.encode(number, number * 0x01010101, text))
        peer.expect(number, number * 0x01010101, text)


def check_other_encodings(peer):
    """Frames that this peer would not write itself, and every reader must take."""
    text = b"frame 17 of 240 rendered, frame 18 of 240 rendered"
    for kind in (wire.EMPTY, wire.RAW, 3, 200, 255):
        peer.send(wire.frame(kind, 1, 2, text))
        peer.expect(2, 1, text)
    for kind in (wire.RAW, wire.COMPRESSED, 99):
        peer.send(wire.frame(kind, 1, 2, b""))
        peer.expect(2, 1, b"")
    for level in range(10):
        peer.send(wire.frame(wire.COMPRESSED, 1, 2, wire.compressed_payload(text, level)))
        peer.expect(2, 1, text)
    for claimed in (len(text) + 1, 2**31, 2**32 - 1):
        peer.send(wire.frame(wire.COMPRESSED, 1, 2, wire.compressed_payload(text, claimed=claimed)))
        peer.expect(2, 1, text)
    peer.send(wire.frame(wire.COMPRESSED, 1, 2, wire.compressed_payload(b"short")))
    peer.expect(2, 1, b"short")
    peer.send(wire.frame(wire.COMPRESSED, 1, 2, wire.compressed_payload(text) + b"behind the stream"))
    peer.expect(2, 1, text)
    peer.send(wire.frame(wire.RAW, 1, 2, b"up to here\0not this"))
    peer.expect(2, 1, b"up to here")


def check_damage(peer):
    """A damaged frame gets no answer; the next one does."""
    text = b"frame 17 of 240 rendered, frame 18 of 240 rendered"
    good = wire.compressed_payload(text)
    damaged = [b"\x01", good[:4], good[:5], good[:-1], good[:4] + b"\xff" + good[5:], good[:-1] + b"\0",
               wire.compressed_payload(text, claimed=0), wire.compressed_payload(text, claimed=len(text) - 1)]
    for number, payload in enumerate(damaged):
        one = wire.frame(wire.COMPRESSED, 1, 2, payload)
        try:
            wire.text_of(one)
            raise AssertionError(f"damage {number} is none to this peer")
        except wire.Damage:
            pass
        peer.send(one + wire.encode(100 + number, 3, b"the next"))
        peer.expect(100 + number, 3, b"the next")


def check_every_split(peer):
    messages = [(1, 2, b""), (3, 4, b"hello"), (5, 6, b"frame 1, frame 2, frame 3")]
    for command, parameter, text in messages:
        one = wire.encode(command, parameter, text)
        for cut in range(1, len(one)):
            peer.send_split(one[:cut], one[cut:])
            peer.expect(command, parameter, text)
        peer.send_split(*(one[i:i + 1] for i in range(len(one))))
        peer.expect(command, parameter, text)


def check_coalesced(peer):
    """Thousands of frames in one send, then the same in random pieces."""
    noise = random.Random(7)
    messages = [(i, noise.randrange(2**32), noise.choice((b"", b"short", b"y" * (i % 900), noise.randbytes(30))))
                for i in range(3000)]
    messages = [(command, parameter, text.replace(b"\0", b".")) for command, parameter, text in messages]
    stream = b"".join(wire.encode(*message) for message in messages)
    peer.send(stream)
    for message in messages:
        peer.expect(*message)
    while stream:
        length = noise.choice((1, 5, 13, 1000, 9999))
        peer.send(stream[:length])
        stream = stream[length:]
    for message in messages:
        peer.expect(*message)


CHECKS = (check_examples, check_texts, check_other_encodings, check_damage, check_every_split, check_coalesced)


def talk(connection):
    peer = Peer(connection)
    for check in CHECKS:
        start = time.monotonic()
        check(peer)
        print(f"  {check.__name__}: {time.monotonic() - start:.2f} s", flush=True)
    peer.finish()


def wait_for(host):
    try:
        code = host.wait(DEADLINE_SECONDS)
    except subprocess.TimeoutExpired:
        host.kill()
        raise
    if code != 0:
        raise AssertionError(f"the host ended with {code}")


def host_listens(command):
    host = subprocess.Popen([*command, "listen"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
    try:
        word, port = host.stdout.readline().split()
        assert word == "port"
        talk(socket.create_connection(("127.0.0.1", int(port)), DEADLINE_SECONDS))
        wait_for(host)
    finally:
        host.kill()


def host_connects(command):
    with socket.create_server(("127.0.0.1", 0)) as listener:
        listener.settimeout(DEADLINE_SECONDS)
        port = listener.getsockname()[1]
        host = subprocess.Popen([*command, "connect", str(port)], stdin=subprocess.DEVNULL)
        try:
            connection, _ = listener.accept()
            talk(connection)
            wait_for(host)
        finally:
            host.kill()


def main():
    command = sys.argv[1:]
    if not command:
        sys.exit(__doc__)
    print(f"zlib {zlib.ZLIB_RUNTIME_VERSION}")
    for direction in (host_listens, host_connects):
        print(direction.__name__, flush=True)
        direction(command)


main()
