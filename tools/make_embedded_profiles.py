#!/usr/bin/env python3
"""Writes src/print/embedded_profiles_data.cpp: the two ICC profiles the library carries.

Usage: make_embedded_profiles.py [OUTPUT], by default the file in the tree. The same bytes come out
every time.
"""

import pathlib
import sys

from icc_profile import IDENTITY_CURVE, description, gamma, profile, table, text, xyz


def bt2020_profile():
    # ITU-R BT.2020 primaries adapted from D65 to D50.
    return profile([
        (b"desc", description("BT.2020 gamma2.2")),
        (b"wtpt", xyz(62289, 65536, 71372)),
        (b"bkpt", xyz(0, 0, 0)),
        (b"rXYZ", xyz(44137, 18287, -127)),
        (b"gXYZ", xyz(10857, 44259, 1965)),
        (b"bXYZ", xyz(8195, 2989, 52222)),
        (b"rTRC", gamma(563)),  # 2.19921875; the three do not share bytes
        (b"gTRC", gamma(563)),
        (b"bTRC", gamma(563)),
        (b"cprt", text("Public domain, no copyright")),
    ], 0x02100000, b"mntr", b"XYZ ", 0, b"MSFT")


def identity_table():
    """Carries XYZ unchanged: node i holds i x 8192, where the encoding's 1.0 is 32768."""
    node = [8192 * i for i in range(8)] + [65280]  # 65536 has no 16-bit code
    grid = [v for x in node for y in node for z in node for v in (x, y, z)]
    return table(9, [IDENTITY_CURVE] * 3, grid, [IDENTITY_CURVE] * 3)


def xyz_profile():
    both_ways = identity_table()
    return profile([
        (b"desc", description("XYZ to XYZ IccProfile:").ljust(152, b"\0")),
        (b"wtpt", xyz(63189, 65536, 54060)),
        (b"A2B0", both_ways),
        (b"B2A0", both_ways),
    ], 0x02400000, b"scnr", b"XYZ ", 1, b"MSFT")


def array(name, data):
    rows = (data[i:i + 16] for i in range(0, len(data), 16))
    lines = ",\n".join("    " + ", ".join(f"0x{byte:02x}" for byte in row) for row in rows)
    return f"const uint8_t {name}[{len(data)}] = {{\n{lines},\n}};\n"


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    target = root / "src/print/embedded_profiles_data.cpp"
    if len(sys.argv) > 1:
        target = pathlib.Path(sys.argv[1])
    target.write_text(
        "// Written by tools/make_embedded_profiles.py; change that instead.\n"
        '#include "print/embedded_profiles.h"\n\n'
        "namespace lumo {\n\n// clang-format off\n"
        + array("bt2020Profile", bt2020_profile()) + "\n"
        + array("xyzProfile", xyz_profile())
        + "// clang-format on\n\n} // namespace lumo\n")


if __name__ == "__main__":
    main()
