#!/usr/bin/env python3
"""Writes the small AVIF and HEIC pictures in tests/cli/data with avifenc, heif-enc and, where these
cannot, with boxes of its own (turned pictures of HEIC, gain maps).

    tools/make_heif_samples.py tests/cli/data

Every picture has flat patches, so that what a patch holds does not depend on the codec's loss or on
how chroma is interpolated.
"""
import os
import struct
import subprocess
import sys
import tempfile
import zlib

# Left to right: signals of R, G, B. PQ: 100 and 1000 cd/m2; HLG: 203 and 1000 cd/m2 (ITU-R BT.2408).
PATCHES = {
    "pq": [(0.508078,) * 3, (0.751827,) * 3, (0.6, 0.3, 0.2)],
    "hlg": [(0.75,) * 3, (1.0,) * 3, (0.6, 0.3, 0.2)],
    "srgb": [(1.0,) * 3, (0.5,) * 3, (0.8, 0.4, 0.2)],
}
PATCH = 8


def chunk(name, data):
    body = name + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(path, width, height, colour_at, bits=16):
    """RGB; colour_at(x, y) gives signals of 0 ... 1."""
    letter, largest = ("H", 65535) if bits == 16 else ("B", 255)
    rows = b""
    for y in range(height):
        rows += b"\0" + b"".join(
            struct.pack(">3" + letter, *(round(largest * v) for v in colour_at(x, y)))
            for x in range(width))
    head = struct.pack(">IIBBBBB", width, height, bits, 2, 0, 0, 0)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) +
                   chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def patches(name, width, height):
    colours = PATCHES[name]
    return lambda x, y: colours[min(x // PATCH, len(colours) - 1)]


def run(*command):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


def avif(png, path, bits, layout, cicp, more=()):
    run("avifenc", "-s", "6", "--min", "0", "--max", "0", "-d", str(bits), "-y", layout, "--cicp",
        cicp, "--ignore-exif", "--ignore-xmp", "--ignore-icc", *more, png, path)


def box(name, payload, version=None, flags=0):
    head = b"" if version is None else struct.pack(">I", version << 24 | flags)
    return struct.pack(">I", 8 + len(head) + len(payload)) + name + head + payload


def boxes(data):
    place = 0
    while place < len(data):
        size, name = struct.unpack(">I4s", data[place:place + 8])
        yield name, data[place + 8:place + size]
        place += size


def take_apart(path):
    """The coded data and the properties of a file with one item, as (name, payload)."""
    data = open(path, "rb").read()
    parts = dict(boxes(data))
    meta = dict(boxes(parts[b"meta"][4:]))
    properties = list(boxes(dict(boxes(meta[b"iprp"]))[b"ipco"]))
    return parts[b"mdat"], properties


def put_together(brand, items, references, primary=1):
    """items: (type, flags, data, properties as (name, payload), kept in the order given)."""
    pool, entries, associations = [], b"", b""
    for number, (kind, flags, _, properties) in enumerate(items, 1):
        entries += box(b"infe", struct.pack(">HH4sB", number, 0, kind, 0), 2, flags)
        used = b""
        for item in properties:
            if item not in pool:
                pool.append(item)
            used += struct.pack(">B", pool.index(item) + 1)
        associations += struct.pack(">HB", number, len(properties)) + used
    properties = box(b"iprp", box(b"ipco", b"".join(box(name, data) for name, data in pool)) +
                     box(b"ipma", struct.pack(">I", len(items)) + associations, 0))
    links = box(b"iref", b"".join(
        box(kind, struct.pack(">HH", origin, len(to)) + struct.pack(f">{len(to)}H", *to))
        for kind, origin, to in references), 0) if references else b""
    brands = box(b"ftyp", brand + bytes(4) + brand + b"mif1")

    def meta(first):
        places = b""
        for number, (_, _, data, _) in enumerate(items, 1):
            places += struct.pack(">HHHII", number, 0, 1, first, len(data))
            first += len(data)
        return box(b"meta", box(b"hdlr", bytes(4) + b"pict" + bytes(13), 0) +
                   box(b"pitm", struct.pack(">H", primary), 0) +
                   box(b"iloc", struct.pack(">HH", 0x4400, len(items)) + places, 0) +
                   box(b"iinf", struct.pack(">H", len(items)) + entries, 0) + properties + links, 0)

    start = len(brands) + len(meta(0)) + 8
    return brands + meta(start) + box(b"mdat", b"".join(item[2] for item in items))


def nclx(primaries, transfer, matrix, full=True):
    return b"colr", b"nclx" + struct.pack(">HHHB", primaries, transfer, matrix, 0x80 if full else 0)


def gain_map_record(version=0):
    """One channel, 0 to 2 stops, gamma 1, offsets of 1/64, in the base's primaries."""
    def fraction(numerator, denominator=1):
        return struct.pack(">iI", numerator, denominator)
    return (bytes([0]) + struct.pack(">HHB", version, version, 0x40) + fraction(0) + fraction(2) +
            fraction(0) + fraction(2) + fraction(1) + fraction(1, 64) + fraction(1, 64))


def write(folder, name, data):
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def without_colour(properties):
    return [item for item in properties if item[0] not in (b"colr", b"clli")]


def main(folder):
    with tempfile.TemporaryDirectory() as temporary:
        def here(name):
            return os.path.join(temporary, name)

        def there(name):
            return os.path.join(folder, name)

        for name in PATCHES:
            write_png(here(name + ".png"), 24, 8, patches(name, 24, 8))
        avif(here("pq.png"), there("pq10_420.avif"), 10, "420", "9/16/9")
        avif(here("pq.png"), there("pq12_444.avif"), 12, "444", "9/16/9")
        avif(here("pq.png"), there("p3_pq10_444.avif"), 10, "444", "12/16/6")
        avif(here("hlg.png"), there("hlg10_422.avif"), 10, "422", "9/18/9", ("-r", "limited"))
        avif(here("srgb.png"), there("srgb8_420.avif"), 8, "420", "1/13/6")
        avif(here("srgb.png"), there("srgb8_rgb.avif"), 8, "444", "1/13/0")
        avif(here("srgb.png"), there("grey8.avif"), 8, "400", "1/13/6")

        # 5 x 3 of which no two pixels are alike, and a crop of it, turned and mirrored.
        write_png(here("steps.png"), 5, 3, lambda x, y: ((x + 1) / 8, (y + 1) / 8, 0.25))
        avif(here("steps.png"), there("steps.avif"), 8, "444", "1/13/0")
        avif(here("steps.png"), there("steps_turned.avif"), 8, "444", "1/13/0",
             ("--crop", "1,0,3,2", "--irot", "1", "--imir", "1"))

        # Two tiles of 16 x 8, of which the second is half outside.
        tiles = []
        for value in (0.25, 0.75):
            write_png(here("tile.png"), 16, 8, lambda x, y: (value,) * 3)
            avif(here("tile.png"), here("tile.avif"), 8, "420", "1/13/6")
            data, properties = take_apart(here("tile.avif"))
            tiles.append((b"av01", 1, data, properties))
        whole = [(b"ispe", struct.pack(">III", 0, 24, 8)), nclx(1, 13, 6)]
        tiles.append((b"grid", 0, struct.pack(">BBBBHH", 0, 0, 0, 1, 24, 8), whole))
        write(folder, "grid8.avif", put_together(b"avif", tiles, [(b"dimg", 3, [1, 2])], 3))

        # Smaller ones become a grid of one tile of 64 x 64.
        for bits, name in ((8, "heic8"), (10, "heic10")):
            write_png(here("square.png"), 64, 64, patches("pq" if bits == 10 else "srgb", 64, 64),
                      16 if bits == 10 else 8)
            run("heif-enc", "-q", "95", "-b", str(bits), "-o", here(name + ".heic"), here("square.png"))
            data, properties = take_apart(here(name + ".heic"))
            colour = nclx(9, 16, 6, True) if bits == 10 else nclx(1, 13, 6, True)
            turned = [(b"irot", bytes([3]))] if bits == 8 else []
            write(folder, name + "_420.heic",
                  put_together(b"heic", [(b"hvc1", 0, data, without_colour(properties) + [colour] + turned)], []))

        # A base whose left patch is white, under a map of 2 x 1 samples: 0 and 2 stops.
        base, base_properties = take_apart(there("srgb8_420.avif"))
        write_png(here("map.png"), 2, 1, lambda x, y: (float(x),) * 3)
        avif(here("map.png"), here("map.avif"), 8, "400", "2/2/2")
        gains, gain_properties = take_apart(here("map.avif"))
        size = [item for item in base_properties if item[0] == b"ispe"]
        for name, record in (("gain_map.avif", gain_map_record()), ("gain_map_unknown.avif", gain_map_record(7))):
            write(folder, name, put_together(
                b"avif", [(b"av01", 0, base, base_properties),
                          (b"tmap", 0, record, size + [nclx(1, 16, 6)]),
                          (b"av01", 1, gains, gain_properties)], [(b"dimg", 2, [1, 3])]))


if __name__ == "__main__":
    main(sys.argv[1])
