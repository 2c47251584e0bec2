#!/usr/bin/env python3
"""Makes the cabinets of this folder: sound ones of every shape, and hostile ones that are named for what is wrong.

    make_cabinets.py [FOLDER]
"""
import os
import struct
import sys
import zlib

STORED, MSZIP, LZX = 0x0000, 0x0001, 0x0F03
PREVIOUS, NEXT, RESERVE = 1, 2, 4
ARCHIVE, UTF8 = 0x20, 0x80
TO_NEXT = 0xFFFE
BLOCK = 32768

HELLO = b"hello, cabinet\r\n"
BIG = bytes((i * 7 + i // 251) % 256 for i in range(40000))
FILES = [("hello.txt", HELLO), ("sub\\big.bin", BIG), ("empty.txt", b"")]


class Bits:
    """The bit stream of LZX: 16-bit little-endian words, the highest bit first."""

    def __init__(self):
        self.bits = []

    def put(self, value, count):
        self.bits += [value >> (count - 1 - i) & 1 for i in range(count)]

    def bytes(self):
        bits = self.bits + [0] * (-len(self.bits) % 16)
        return b"".join(struct.pack("<H", int("".join(map(str, bits[i:i + 16])), 2)) for i in range(0, len(bits), 16))


def lzx(data):
    """One verbatim block of literals, each with a code of 8 bits: enough for what fits into one block of data."""
    bits = Bits()
    bits.put(0, 1)            # no translation of x86 calls
    bits.put(1, 3)            # verbatim
    bits.put(len(data), 24)

    def lengths(count, symbol, other):
        """A tree of two codes, then the same code `count` times."""
        for i in range(20):
            bits.put(1 if i in (symbol, other) else 0, 4)
        bits.bits += [0 if symbol < other else 1] * count

    lengths(256, 9, 10)       # literals: from length 0 to 8 is 9 modulo 17
    lengths(30 * 8, 0, 1)     # no matches
    lengths(249, 0, 1)        # no long ones
    for byte in data:
        bits.put(byte, 8)
    return bits.bytes()


def packed(kind, data):
    """The blocks of a folder: packed and unpacked sizes, and the packed bytes."""
    for at in range(0, len(data), BLOCK):
        block = data[at:at + BLOCK]
        if kind == MSZIP:
            squeezer = zlib.compressobj(9, zlib.DEFLATED, -15, zdict=data[max(0, at - BLOCK):at]) if at else \
                zlib.compressobj(9, zlib.DEFLATED, -15)
            yield len(block), b"CK" + squeezer.compress(block) + squeezer.flush()
        elif kind == LZX:
            yield len(block), lzx(block)
        else:
            yield len(block), block


def checksum(data, seed=0):
    for i in range(0, len(data) - 3, 4):
        seed ^= struct.unpack_from("<I", data, i)[0]
    rest = data[len(data) & ~3:]
    return seed ^ int.from_bytes(rest, "big")


def cabinet(stored, kind=MSZIP, attributes=ARCHIVE, flags=0, reserved=b"", texts=b"", sums=True, folder=0, **changes):
    """`changes` replace fields of the header or of the tables: what makes a cabinet hostile."""
    data = b"".join(content for _, content in stored)
    blocks = b""
    for unpacked, content in packed(kind, data):
        sizes = struct.pack("<HH", len(content), changes.get("unpacked", unpacked))
        total = checksum(sizes, checksum(content)) if sums else 0
        blocks += struct.pack("<I", changes.get("sum", total)) + sizes + content
    count = -(-len(data) // BLOCK)
    reserve = struct.pack("<HBB", len(reserved), 0, 0) + reserved if flags & RESERVE else b""
    table, offset = b"", 0
    for name, content in stored:
        encoded = name.encode("utf-8" if attributes & UTF8 else "latin-1")
        table += struct.pack("<IIHHHH", changes.get("file_size", len(content)), changes.get("offset", offset), folder, 0x58E3, 0x8A5B, attributes)
        table += encoded + changes.get("name_end", b"\0")
        offset += len(content)
    files_at = 36 + len(reserve) + len(texts) + 8
    data_at = files_at + len(table)
    size = data_at + len(blocks)
    header = struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, changes.get("size", size), 0, changes.get("files_at", files_at),
                         0, changes.get("minor", 3), 1, changes.get("folders", 1), changes.get("files", len(stored)),
                         flags, 0x1234, 0)
    folders = struct.pack("<IHH", changes.get("data_at", data_at), changes.get("blocks", count), changes.get("type", kind))
    return header + reserve + texts + folders + table + blocks


def named(name, **options):
    return cabinet([(name, HELLO)], **options)


def continued(next_name):
    """A file whose last block goes on in the next cabinet."""
    return named("a.txt", kind=STORED, folder=TO_NEXT, flags=NEXT, texts=next_name.encode() + b"\0\0", file_size=60,
                 unpacked=0)


SOUND = {
    "sound_mszip": cabinet(FILES),
    "sound_zero_checksums": cabinet(FILES, sums=False),
    "sound_uncompressed": cabinet(FILES, kind=STORED),
    "sound_lzx": cabinet([FILES[0], ("sub\\big.bin", BIG[:2000]), FILES[2]], kind=LZX),
    "sound_reserved_bytes": cabinet(FILES, flags=RESERVE, reserved=b"signature"),
    "sound_utf8_name": named("gr\u00fc\u00dfe.txt", attributes=ARCHIVE | UTF8),
    "sound_empty": struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, 36, 0, 36, 0, 3, 1, 0, 0, 0, 0x3634, 0),
}

HOSTILE = {
    "file_of_text": b"MZ is no cabinet, however long the text may be.",
    "file_of_nothing": b"",
    "version_unknown": named("a.txt", minor=4),
    "size_beyond_the_file": named("a.txt", size=5000),
    "size_of_nothing": named("a.txt", size=0),
    "folders_none": named("a.txt", folders=0),
    "folders_too_many": named("a.txt", folders=200),
    "files_too_many": named("a.txt", files=2),
    "files_outside": named("a.txt", files_at=0x7FFFFFF0),
    "files_in_the_header": named("a.txt", files_at=8),
    "data_outside": named("a.txt", data_at=0xFFFFFFF0),
    "blocks_too_many": named("a.txt", blocks=9000),
    "offset_beyond_the_data": named("a.txt", offset=40000),
    "folder_missing": named("a.txt", folder=7),
    "name_without_end": named("a" * 300, name_end=b"", data_at=36),
    "checksum_wrong": named("a.txt", sum=0x12345678),
    "compression_unknown": named("a.txt", type=0x000E),
    "next_without_flag": named("a.txt", folder=TO_NEXT),
    "next_missing": continued("missing.cab"),
    "next_elsewhere": continued("..\\sound_mszip.cab"),
    "next_endless": continued("next_endless.cab"),
    "name_up": named("..\\evil.txt"),
    "name_up_by_slash": named("../evil.txt"),
    "name_up_inside": named("sub\\..\\..\\evil.txt"),
    "name_up_spaced": named("sub\\.. \\evil.txt"),
    "name_of_dots": named("...\\evil.txt"),
    "name_absolute": named("\\evil.txt"),
    "name_of_share": named("//localhost/share/evil.txt"),
    "name_with_drive": named("C:evil.txt"),
    "name_with_stream": named("a.txt:evil"),
    "name_of_device": named("sub\\nul.txt"),
    "name_ends_in_dot": named("evil.txt."),
    "name_ends_in_blank": named("evil.txt "),
    "name_of_nothing": named(""),
    "name_utf8_of_no_code_page": named("\u4e2d.txt", attributes=ARCHIVE | UTF8),
    "name_utf8_up_by_likeness": named("\uff0e\uff0e\uff3cevil.txt", attributes=ARCHIVE | UTF8),
}


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for name, content in {**SOUND, **HOSTILE}.items():
        with open(os.path.join(folder, name + ".cab"), "wb") as file:
            file.write(content)


if __name__ == "__main__":
    main()
