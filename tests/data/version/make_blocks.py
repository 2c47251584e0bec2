#!/usr/bin/env python3
"""Writes the version resources that the tests and the fuzzer start from: wide.bin, as a 32-bit module has it (UTF-16),
and narrow.bin, as a 16-bit module has it (bytes)."""
import pathlib
import struct

WIDE, NARROW = 2, 1  # bytes of a character


def pad(data):
    return data + bytes(-len(data) % 4)


def text(value, unit):
    return (value + "\0").encode("utf-16-le" if unit == WIDE else "cp932")


def node(unit, key, value=b"", children=(), is_text=False):
    if is_text:
        value = text(value, unit)
    fields = struct.pack("<H", len(value) // (unit if is_text else 1))
    if unit == WIDE:
        fields += struct.pack("<H", is_text)
    body = pad(struct.pack("<H", 0) + fields + text(key, unit)) + value
    for child in children:
        body = pad(body) + child
    return struct.pack("<H", len(body)) + body[2:]


def block(unit, version, tables):
    major, minor, build, revision = version
    fixed = struct.pack("<IIHHHHHHHH", 0xFEEF04BD, 0x10000, minor, major, revision, build, 77, 88, 99, 66)
    strings = [node(unit, f"{language:04X}{page:04X}",
                    children=[node(unit, name, value, is_text=True) for name, value in pairs])
               for language, page, pairs in tables]
    languages = b"".join(struct.pack("<HH", language, page) for language, page, _ in tables)
    return node(unit, "VS_VERSION_INFO", fixed + bytes(52 - len(fixed)), [
        node(unit, "StringFileInfo", children=strings),
        node(unit, "VarFileInfo", children=[node(unit, "Translation", languages)])])


TABLES = [
    (0x40C, 1252, [("CompanyName", "societe")]),
    (0x409, 1200, [("CompanyName", "the company"), ("Empty", ""), ("Japanese", "\u8868\u3042"), ("\u8868", "found")]),
    (0x407, 1252, [("CompanyName", "Firma"), ("Comments", "gut")]),
]
HERE = pathlib.Path(__file__).parent
(HERE / "wide.bin").write_bytes(block(WIDE, (5, 50, 4134, 600), TABLES))
(HERE / "narrow.bin").write_bytes(block(NARROW, (5, 50, 4134, 600), TABLES))
