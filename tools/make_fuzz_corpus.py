#!/usr/bin/env python3
"""Writes the seed corpora of the fuzzers: one call of every kind that the exports accept, some that
they refuse, and a display profile whole and damaged.

    tools/make_fuzz_corpus.py fuzz/corpus
"""
import re
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SIDE = 12
CODES = struct.pack("<64H", *(i * 1024 for i in range(64)))


def image(width=SIDE, height=SIDE):
    return struct.pack("<IIQIIIIQQ", width - 1, height - 1, width * 6, 3, 16, 1, 2, 0, 1)


def records(choice, repair=3, gamma=2, top=1000.0, white=100, threshold=1.3, size=0):
    """The fuzzer's record, padded as the compiler lays it out."""
    encoding = struct.pack("<IIIfIfIf", 1, gamma, 0, 0.005, 5000, threshold, 65535, top)
    conditions = struct.pack("<ifddQII", white, threshold, 1.0, 1.0, 1, 0, 0)
    body = struct.pack("<BB6x", choice, repair) + image() + image()
    body += encoding + bytes(128) + struct.pack("<Iff4x", gamma, 0.005, top) + conditions
    body += struct.pack("<IIII4B", 0, 0, SIDE - 1, SIDE - 1, 1, 1, 0, 0)
    body += struct.pack("<IIIIII", 0, 0, SIDE - 1, SIDE - 1, SIDE, SIDE)
    return body + struct.pack("<i", size)


def exports():
    for choice in range(6):
        for gamma in range(3):
            yield f"call{choice}_gamma{gamma}", records(choice, gamma=gamma) + CODES
    yield "white_400", records(2, white=400) + CODES
    yield "refused_white", records(2, white=300)
    yield "refused_top", records(2, top=10000.5)
    yield "not_a_number", records(2, top=float("nan"))
    yield "wrong_size", records(0, repair=7, size=159)
    yield "unrepaired", records(0, repair=0)


def profiles():
    data = (ROOT / "src/print/embedded_profiles_data.cpp").read_text()
    body = data[data.index("bt2020Profile["):]
    body = body[body.index("{") + 1:body.index("}")]
    profile = bytes(int(n, 16) for n in re.findall(r"0x([0-9a-fA-F]{2})", body))
    yield "display", profile
    yield "size_lies", struct.pack(">I", 60000) + profile[4:]
    yield "tag_outside", profile[:136] + struct.pack(">I", 0xFFFFFF00) + profile[140:]
    yield "many_tags", profile[:128] + struct.pack(">I", 0x10000000) + profile[132:]
    yield "cut", profile[:300]


def main():
    folder = Path(sys.argv[1])
    for name, seeds in (("exports", exports()), ("profile", profiles())):
        target = folder / name
        target.mkdir(parents=True, exist_ok=True)
        for seed, data in seeds:
            (target / seed).write_bytes(data)


if __name__ == "__main__":
    main()
