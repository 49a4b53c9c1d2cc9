"""The codes of results, read without the program.

    tiff_codes.py FILE   writes them on standard output, the high byte first as in a PPM
"""

import struct
import sys


def tiff_codes(path):
    """Width, height and codes (bytes, low one first) of an uncompressed 16-bit RGB TIFF."""
    with open(path, "rb") as file:
        data = file.read()
    start, = struct.unpack_from("<I", data, 4)
    count, = struct.unpack_from("<H", data, start)
    tags = {}
    for i in range(count):
        tag, kind, number = struct.unpack_from("<HHI", data, start + 2 + 12 * i)
        code = {3: "H", 4: "I"}.get(kind)
        if code:
            size = struct.calcsize(code) * number
            place = start + 10 + 12 * i
            place = place if size <= 4 else struct.unpack_from("<I", data, place)[0]
            tags[tag] = struct.unpack_from(f"<{number}{code}", data, place)
    strips = b"".join(data[at:at + size] for at, size in zip(tags[273], tags[279]))
    return tags[256][0], tags[257][0], strips


if __name__ == "__main__":
    codes = tiff_codes(sys.argv[1])[2]
    swapped = bytearray(codes)
    swapped[::2], swapped[1::2] = codes[1::2], codes[::2]
    sys.stdout.buffer.write(swapped)
