"""Frames as docs/wire-format.md describes them; written from that page alone."""

import struct
import zlib

EMPTY, RAW, COMPRESSED = 0, 1, 2
HEADER = struct.Struct("<BIII")  # type, payload length, parameter, command
TEXT_LENGTH = struct.Struct("<I")


class Damage(Exception):
    """A frame whose message is lost."""


def frame(kind, parameter, command, payload):
    return HEADER.pack(kind, len(payload), parameter, command) + payload


def compressed_payload(text, level=-1, claimed=None):
    return TEXT_LENGTH.pack(len(text) if claimed is None else claimed) + zlib.compress(text, level)


def encode(command, parameter, text):
    """The frame a peer writes for a message."""
    if not text:
        return frame(EMPTY, parameter, command, b"")
    if len(text) > 10:
        payload = compressed_payload(text)
        if len(payload) - TEXT_LENGTH.size < len(text) + 4:
            return frame(COMPRESSED, parameter, command, payload)
    return frame(RAW, parameter, command, text)


def inflate(payload):
    if len(payload) <= TEXT_LENGTH.size:
        raise Damage("no stream")
    (limit,) = TEXT_LENGTH.unpack_from(payload)
    reader = zlib.decompressobj()
    try:
        text = reader.decompress(payload[TEXT_LENGTH.size:], limit + 1)
    except zlib.error as error:
        raise Damage(str(error)) from error
    if not reader.eof or len(text) > limit or limit == 0:
        raise Damage("not the text it claims")
    return text


def text_of(one):
    """The text of a whole frame; raises Damage."""
    kind, length, _, _ = HEADER.unpack_from(one)
    payload = one[HEADER.size:]
    if length == 0:
        return b""
    text = inflate(payload) if kind == COMPRESSED else payload
    return text.split(b"\0", 1)[0]


def split_first(buffer):
    """The first frame of the bytes and what follows it, or None and the bytes."""
    if len(buffer) < HEADER.size:
        return None, buffer
    _, length, _, _ = HEADER.unpack_from(buffer)
    end = HEADER.size + length
    if length >= 2**31 or len(buffer) < end:
        return None, buffer
    return buffer[:end], buffer[end:]
