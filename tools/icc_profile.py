"""The pieces of an ICC profile of version 2 (ICC.1:2001-04) that the project's own profiles need."""

import struct

IDENTITY_CURVE = [257 * i for i in range(256)]


def description(text):
    ascii_text = text.encode("ascii") + b"\0"
    return (b"desc" + bytes(4) + struct.pack(">I", len(ascii_text)) + ascii_text
            + bytes(4 + 4 + 2 + 1 + 67))


def text(value):
    return b"text" + bytes(4) + value.encode("ascii") + b"\0"


def xyz(*values):
    """Values as s15Fixed16 integers."""
    return b"XYZ " + bytes(4) + struct.pack(">3i", *values)


def gamma(value):
    """Value as a u8Fixed8 integer."""
    return b"curv" + bytes(4) + struct.pack(">IH", 1, value)


def table(nodes, inputs, grid, outputs):
    """A 16-bit table of three inputs; curves and grid as integers, the last channel fastest."""
    one = 0x10000
    values = [v for curve in inputs for v in curve] + grid + [v for c in outputs for v in c]
    return (b"mft2" + bytes(4) + bytes((3, len(outputs), nodes, 0))
            + struct.pack(">9i", one, 0, 0, 0, one, 0, 0, 0, one)
            + struct.pack(">HH", len(inputs[0]), len(outputs[0]))
            + struct.pack(f">{len(values)}H", *values))


def header(size, version, device_class, connection, intent, platform):
    return struct.pack(
        ">I4xI4s4s4s6H4s4s20xI3I48x", size, version, device_class, b"RGB ", connection,
        2024, 1, 1, 0, 0, 0, b"acsp", platform, intent, 0xF6D6, 0x10000, 0xD32D)


def profile(tags, version, device_class, connection, intent=0, platform=bytes(4)):
    """tags: (signature, data) in the order of the file. Data that is one object is stored once."""
    offset = 128 + 4 + 12 * len(tags)
    directory, body, places = b"", b"", {}
    for signature, data in tags:
        if id(data) not in places:
            places[id(data)] = offset + len(body)
            body += data + bytes(-len(data) % 4)
        directory += signature + struct.pack(">II", places[id(data)], len(data))
    return (header(offset + len(body), version, device_class, connection, intent, platform)
            + struct.pack(">I", len(tags)) + directory + body)
