#!/usr/bin/env python3
"""Computes the two constant colour tables and writes src/tone/colour_tables_data.cpp.

Both tables hold 16 x 16 x 16 nodes of three 16-bit values, the first channel slowest. They
leave most colours nearly alone and pull in the saturated ones that paper cannot hold. A node
is worked out in r, g, b of 0 to 1, in double; its table value is the identity plus a sum of
terms, each of which grows toward one corner of the colour cube.

    tools/make_colour_tables.py              writes the source file
    tools/make_colour_tables.py --check      fails when the source file is out of date
    tools/make_colour_tables.py --raw DIR    writes compression.bin and correction.bin instead
"""

import argparse
import itertools
import math
import pathlib
import struct
import sys

GRID = 16
CODE_MAX = 65535
SOURCE = pathlib.Path(__file__).resolve().parent.parent / "src/tone/colour_tables_data.cpp"

# ITU-R BT.2020, table 4: luminance of the linear channels.
LUMINANCE_WEIGHTS = (0.2627, 0.6780, 0.0593)


def excess(corner, rgb, balance=0.5):
    """How far a colour leans toward a corner: 1 there, 0 at the other corners and on grey.

    The two leads of the corner's channels over the others are joined by a weighted harmonic
    mean, which stays smooth where the leads are equal. A primary leads each other channel; each
    channel of a secondary leads the one that is left.
    """
    high = [v for v, on in zip(rgb, corner) if on]
    low = [v for v, on in zip(rgb, corner) if not on]
    x, y = (max(0.0, lead - other) for lead in high for other in low)
    weight = balance * x + (1.0 - balance) * y
    return x * y / weight if weight > 0.0 else 0.0


def soft_knee(value, knee):
    """0 up to the knee, then a parabola that reaches 1 at 1."""
    return ((value - knee) / (1.0 - knee)) ** 2 if value > knee else 0.0


RED, GREEN, BLUE = (1, 0, 0), (0, 1, 0), (0, 0, 1)
YELLOW, MAGENTA, CYAN = (1, 1, 0), (1, 0, 1), (0, 1, 1)

# ---- Compression: acts on codes of the 1/2.2 curve and is computed in 8-bit codes. ----

COMPRESSION_BALANCE = 0.48
COMPRESSION_KNEE = 0.23
RED_LOSS_HALF = 0.101  # the squared excess at which half of the loss of red is reached


def compress(rgb):
    r, g, b = rgb
    # Midtones and highlights rise by up to 1.3 codes, most at 0.8; black and white stay.
    out = [255.0 * v + 16.0 * v**4 * (1.0 - v) for v in rgb]
    h = excess(RED, rgb, COMPRESSION_BALANCE)
    out[0] -= 15.0 * r * r * (1.0 + RED_LOSS_HALF) * h * h / (h * h + RED_LOSS_HALF)
    q = soft_knee(h, COMPRESSION_KNEE)
    out[1] += 65.0 * q * (1.0 - g)
    out[2] += 33.0 * q * (1.0 - b)
    return [257 * round_to(v, 255) for v in out]


# ---- Correction: acts on linear codes. ----

DESATURATION = 1.0 / 2300.0
# A colour's excess counts relative to this power of its brightest channel, and what is added
# shrinks with it: dark colours, which paper holds better, are drawn less.
BRIGHTNESS_POWER = 0.7

# Where the six coloured corners go, and from which excess on each channel is drawn there. The
# blue of red has no knee: it is only the few codes by which desaturation lifted that corner.
CORRECTION_CORNERS = (
    # corner   target code           knee of each channel  balance
    (RED, (64024, 582, 0), (0.45, 0.37, 0.0), 0.50),
    (GREEN, (1825, 64637, 0), (0.33, 0.33, 0.33), 0.44),
    (BLUE, (0, 686, 63397), (0.42, 0.42, 0.42), 0.50),
    (YELLOW, (64876, 65535, 23), (0.50, 0.50, 0.50), 0.50),
    (MAGENTA, (65535, 56, 64453), (0.50, 0.50, 0.50), 0.50),
    (CYAN, (7, 65535, 65360), (0.50, 0.50, 0.50), 0.50),
)

# Reds with a little blue lose some of it, most where blue is a quarter of the brightest channel.
PINK_LOSS = 4909.6
PINK_KNEE = 0.3774


def desaturate(rgb):
    luminance = sum(w * v for w, v in zip(LUMINANCE_WEIGHTS, rgb))
    return [CODE_MAX * (v + (luminance - v) * DESATURATION) for v in rgb]


def correct(rgb):
    out = desaturate(rgb)
    scale = max(rgb) ** BRIGHTNESS_POWER
    if scale == 0.0:
        return [0, 0, 0]
    for corner, target, knees, balance in CORRECTION_CORNERS:
        h = excess(corner, rgb, balance) / scale
        for c, start in enumerate(desaturate(corner)):
            out[c] += (target[c] - start) * scale * soft_knee(h, knees[c])
    h = excess(RED, rgb) / scale
    q = rgb[2] / scale
    hump = 256.0 / 27.0 * q * (1.0 - q) ** 3  # 1 at its top, q = 1/4
    out[2] -= PINK_LOSS * scale * soft_knee(h, PINK_KNEE) * hump
    return [round_to(v, CODE_MAX) for v in out]


# ---- Output ----


def round_to(value, top):
    return min(top, max(0, math.floor(value + 0.5)))


def build(rule):
    """The table's 12,288 values, node by node, the third channel fastest."""
    nodes = itertools.product(range(GRID), repeat=3)
    return [v for node in nodes for v in rule([i / (GRID - 1) for i in node])]


def array_text(name, values):
    row = GRID * 3
    lines = (values[i : i + row] for i in range(0, len(values), row))
    body = ",\n".join(",".join(map(str, line)) for line in lines)
    return f"const uint16_t {name}[colorTableValues] = {{\n{body}}};\n"


def source_text(compression, correction):
    return (
        "// Written by tools/make_colour_tables.py: change that script, not this file. A line holds\n"
        "// a row of 16 nodes along the third channel; the second channel grows from line to line.\n"
        '#include "tone/colour_tables.h"\n\n'
        "namespace lumo {\n\n// clang-format off\n"
        + array_text("colorCompressionTable", compression)
        + "\n"
        + array_text("colorCorrectionTable", correction)
        + "// clang-format on\n\n} // namespace lumo\n"
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    group = parser.add_mutually_exclusive_group()
    raw_help = "write the tables as little-endian 16-bit files instead"
    group.add_argument("--raw", metavar="DIR", type=pathlib.Path, help=raw_help)
    check_help = "write nothing; fail when the source file is out of date"
    group.add_argument("--check", action="store_true", help=check_help)
    arguments = parser.parse_args()
    tables = {"compression": build(compress), "correction": build(correct)}
    if arguments.raw:
        arguments.raw.mkdir(parents=True, exist_ok=True)
        for name, values in tables.items():
            data = struct.pack(f"<{len(values)}H", *values)
            (arguments.raw / f"{name}.bin").write_bytes(data)
        return 0
    text = source_text(**tables)
    if arguments.check:
        if SOURCE.is_file() and SOURCE.read_text() == text:
            return 0
        print(f"{SOURCE} differs from what this script writes", file=sys.stderr)
        return 1
    SOURCE.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
