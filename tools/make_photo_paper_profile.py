#!/usr/bin/env python3
"""Writes cli/colour/photo_paper_profile_data.cpp: an ICC output profile of a generic glossy photo paper.

No real paper was measured. The print is modelled as three dyes and a black in a clear layer over
the paper (densities add, as Bouguer's law has it) under a gloss that reflects a little white
light of its own. All colours are relative to the paper, as PCS Lab wants them (ICC.1:2001-04).

Usage: make_photo_paper_profile.py [OUTPUT [PROFILE]]: the source file, by default the one in the
tree, and the bare profile, by default not written. The same bytes come out every time; takes a
minute.
"""

import math
import pathlib
import sys

from icc_profile import IDENTITY_CURVE, description, profile, table, text, xyz

PAPER_WHITE = (0.8733, 0.9047, 0.7716)  # XYZ under D50: a bright, slightly bluish paper
D50 = (0.9642, 1.0, 0.8249)
BLACK_Y = 0.005  # of the darkest print, against the paper
GLOSS = 0.0032  # share of the light that never enters the layer
BLACK_DENSITY = 0.85  # of the black that joins where all three dyes are heavy
GAMMA = 2.2  # of the grey scale

RGB_NODES = 17
LAB_NODES = 21
GAMUT_NODES = 11
LAB_ENTRIES = 1024


# --- The print -----------------------------------------------------------------------------------

def lobe(wavelength, centre, left, right):
    return math.exp(-0.5 * ((wavelength - centre) / (left if wavelength < centre else right)) ** 2)


def matching_functions(w):
    """CIE 1931 2 degree observer; Wyman, Sloan, Shirley, JCGT 2(2), 2013, the multi-lobe fit."""
    return (
        1.056 * lobe(w, 599.8, 37.9, 31.0) + 0.362 * lobe(w, 442.0, 16.0, 26.7)
        - 0.065 * lobe(w, 501.1, 20.4, 26.2),
        0.821 * lobe(w, 568.8, 46.9, 40.5) + 0.286 * lobe(w, 530.9, 16.3, 31.1),
        1.217 * lobe(w, 437.0, 11.8, 36.0) + 0.681 * lobe(w, 459.0, 26.0, 13.8))


def dye_densities(w):
    """Cyan, magenta, yellow and black at unit amount: clean dyes with small side absorptions."""
    return (
        lobe(w, 632.0, 50.0, 90.0) + 0.06 * lobe(w, 420.0, 60.0, 60.0),
        lobe(w, 545.0, 36.0, 30.0) + 0.12 * lobe(w, 420.0, 50.0, 50.0),
        lobe(w, 435.0, 70.0, 36.0),
        1.0)


WAVELENGTHS = range(390, 735, 10)
DENSITIES = [dye_densities(w) for w in WAVELENGTHS]


def observer():
    """The observer's weights, scaled so that the bare paper is the white of the PCS."""
    rows = [matching_functions(w) for w in WAVELENGTHS]
    sums = [sum(row[i] for row in rows) for i in range(3)]
    return [tuple(row[i] * D50[i] / sums[i] for i in range(3)) for row in rows]


OBSERVER = observer()


def print_xyz(cyan, magenta, yellow, black):
    x = y = z = 0.0
    for (dc, dm, dy, dk), (wx, wy, wz) in zip(DENSITIES, OBSERVER):
        light = 10.0 ** -(cyan * dc + magenta * dm + yellow * dy + black * dk)
        x += wx * light
        y += wy * light
        z += wz * light
    return tuple(GLOSS * white + (1.0 - GLOSS) * value for white, value in zip(D50, (x, y, z)))


def lab_of(xyz):
    """CIE 15:2004, 8.2.1."""
    f = [t ** (1 / 3) if t > 216 / 24389 else (24389 / 27 * t + 16) / 116
         for t in (value / white for value, white in zip(xyz, D50))]
    return 116 * f[1] - 16, 500 * (f[0] - f[1]), 200 * (f[1] - f[2])


def solve3(matrix, right):
    rows = [list(row) + [value] for row, value in zip(matrix, right)]
    for i in range(3):
        pivot = max(range(i, 3), key=lambda r: abs(rows[r][i]))
        rows[i], rows[pivot] = rows[pivot], rows[i]
        for j in range(i + 1, 3):
            factor = rows[j][i] / rows[i][i]
            rows[j] = [b - factor * a for a, b in zip(rows[i], rows[j])]
    out = [0.0] * 3
    for i in (2, 1, 0):
        out[i] = (rows[i][3] - sum(rows[i][k] * out[k] for k in range(i + 1, 3))) / rows[i][i]
    return out


def jacobian(function, at, step):
    """The function's value and its slopes, one row for each of its three results."""
    base = function(at)
    columns = []
    for i in range(3):
        moved = list(at)
        moved[i] += step
        columns.append([(m - b) / step for m, b in zip(function(moved), base)])
    return base, [[columns[c][r] for c in range(3)] for r in range(3)]


def grey_y(ink):
    return BLACK_Y + (1.0 - BLACK_Y) * (1.0 - ink) ** GAMMA


def depth(ink):
    """The density in the layer of a grey, 1 for the darkest."""
    return (math.log((grey_y(ink) - GLOSS) / (1.0 - GLOSS))
            / math.log((BLACK_Y - GLOSS) / (1.0 - GLOSS)))


def black_amount(inks):
    """Joins smoothly where all three inks are heavy."""
    return BLACK_DENSITY * depth(inks[0]) * depth(inks[1]) * depth(inks[2])


def grey_dyes(ink, start):
    """Dye amounts for the neutral of equal inks: Newton's method on the print's XYZ."""
    target = [white * grey_y(ink) for white in D50]
    black = black_amount((ink, ink, ink))
    dyes = list(start)
    for _ in range(60):
        # In logarithms the print is nearly linear in its dyes.
        base, slope = jacobian(
            lambda d: [math.log(v) for v in print_xyz(*d, black)], dyes, 1e-5)
        step = solve3(slope, [math.log(t) - b for t, b in zip(target, base)])
        dyes = [d + s for d, s in zip(dyes, step)]
        if max(abs(s) for s in step) < 1e-10:
            return dyes
    raise RuntimeError(f"no neutral for ink {ink}")


GREY_STEPS = 128


def dye_curves():
    """What each dye does at each ink, so that equal inks print a neutral grey scale."""
    curves = [[0.0, 0.0, 0.0]]
    for i in range(1, GREY_STEPS + 1):
        curves.append(grey_dyes(i / GREY_STEPS, curves[-1]))
    for a, b in zip(curves, curves[1:]):
        if any(y <= x for x, y in zip(a, b)):
            raise RuntimeError("a dye curve falls")
    return curves


CURVES = dye_curves()


def dye_at(channel, ink):
    position = ink * GREY_STEPS
    i = min(max(int(position), 0), GREY_STEPS - 1)
    return CURVES[i][channel] + (position - i) * (CURVES[i + 1][channel] - CURVES[i][channel])


def print_lab(rgb):
    inks = [1.0 - v for v in rgb]
    return lab_of(print_xyz(*(dye_at(i, inks[i]) for i in range(3)), black_amount(inks)))


# --- The inverse ---------------------------------------------------------------------------------

class Inverse:
    """The device colour of a Lab value; outside the gamut the nearest one, hue before chroma."""

    def __init__(self):
        steps = [i / 10 for i in range(11)]
        self.seeds = [((r, g, b), print_lab((r, g, b)))
                      for r in steps for g in steps for b in steps]

    @staticmethod
    def measure(target):
        """A function from Lab to the error in lightness, chroma and hue, weighted."""
        length = math.hypot(target[1], target[2])
        cos, sin = (target[1] / length, target[2] / length) if length > 0 else (1.0, 0.0)
        colourful = min(length / 40.0, 1.0)
        chroma_weight, hue_weight = 1.0 - 0.3 * colourful, 1.0 + 0.8 * colourful

        def error(lab):
            dl, da, db = (v - t for v, t in zip(lab, target))
            return (dl, chroma_weight * (da * cos + db * sin), hue_weight * (db * cos - da * sin))
        return error

    @staticmethod
    def squared(error):
        return sum(e * e for e in error)

    def find(self, target):
        """Gauss-Newton with damping inside the cube: (rgb, distance)."""
        error = self.measure(target)
        rgb = list(min(self.seeds, key=lambda seed: self.squared(error(seed[1])))[0])
        damping, best = 1e-3, self.squared(error(print_lab(rgb)))
        for _ in range(60):
            base, slope = jacobian(lambda v: error(print_lab(v)), rgb, 1e-4)
            gradient = [sum(slope[r][i] * base[r] for r in range(3)) for i in range(3)]
            # A channel at its end that would leave the cube stays where it is.
            free = [not (rgb[i] <= 0.0 and gradient[i] > 0 or rgb[i] >= 1.0 and gradient[i] < 0)
                    for i in range(3)]
            normal = [[sum(slope[r][i] * slope[r][j] for r in range(3)) if free[i] and free[j]
                       else float(i == j) for j in range(3)] for i in range(3)]
            for i in range(3):
                normal[i][i] *= 1.0 + damping
            step = solve3(normal, [-g if f else 0.0 for g, f in zip(gradient, free)])
            tried = [min(max(v + s, 0.0), 1.0) for v, s in zip(rgb, step)]
            value = self.squared(error(print_lab(tried)))
            if value < best:
                moved = max(abs(a - b) for a, b in zip(tried, rgb))
                rgb, best, damping = tried, value, damping * 0.2
                if moved < 1e-6:
                    break
            else:
                damping *= 8.0
                if damping > 1e6:
                    break
        return rgb, math.sqrt(best)


# --- The profile ---------------------------------------------------------------------------------

def code(value):
    return min(max(round(value * 65535), 0), 65535)


def lab_codes(lab):
    """16-bit Lab of version 2: L* 100 is FF00, a* and b* 0 are 8000."""
    return (min(max(round(lab[0] * 652.8), 0), 65535),
            *(min(max(round((v + 128) * 256), 0), 65535) for v in lab[1:]))


# Where the nodes stand. Along RGB and L* equal steps are equal steps in lightness from black to
# white, so the grey scale comes through the tables as it went in; a* and b* are closer near grey.

BLACK_L = lab_of([white * BLACK_Y for white in D50])[0]


def place_of_rgb(value):
    grey = lab_of([white * grey_y(1.0 - value) for white in D50])[0]
    return (grey - BLACK_L) / (100 - BLACK_L)


def place_of_ab(ab):
    t = ab / 128
    return 0.5 + 0.5 * (1.5 * t - 0.5 * t * t * t)


def inverted(function, low, high, place):
    for _ in range(60):
        middle = 0.5 * (low + high)
        low, high = (middle, high) if function(middle) < place else (low, middle)
    return 0.5 * (low + high)


def rgb_of_place(place):
    return 0.0 if place <= 0.0 else 1.0 if place >= 1.0 else inverted(place_of_rgb, 0, 1, place)


def ab_of_place(place):
    return inverted(place_of_ab, -128.0, 128.0, place)


def sampled(function, entries, last=None):
    """A curve whose entry `last` stands for 1."""
    last = last or entries - 1
    return [code(function(min(i / last, 1.0))) for i in range(entries)]


def to_lab_table():
    steps = [rgb_of_place(i / (RGB_NODES - 1)) for i in range(RGB_NODES)]
    grid = [c for r in steps for g in steps for b in steps for c in lab_codes(print_lab((r, g, b)))]
    return table(RGB_NODES, [sampled(place_of_rgb, 256)] * 3, grid, [IDENTITY_CURVE] * 3)


def lab_table(nodes, values, outputs):
    """Samples values(lab), a list of numbers from 0 to 1."""
    places = [i / (nodes - 1) for i in range(nodes)]
    ab = [ab_of_place(p) for p in places]
    grid = [code(v) for p in places for a in ab for b in ab
            for v in values((BLACK_L + (100 - BLACK_L) * p, a, b))]
    # L* 100 is FF00, which lies just behind entry 1019.
    lightness = sampled(lambda v: (100 * v - BLACK_L) / (100 - BLACK_L), LAB_ENTRIES, 1019)
    colour = sampled(lambda v: place_of_ab(65535 / 256 * v - 128), LAB_ENTRIES)
    return table(nodes, [lightness, colour, colour], grid, outputs)


def photo_paper_profile():
    inverse = Inverse()
    to_lab = to_lab_table()
    from_lab = lab_table(LAB_NODES, lambda lab: map(place_of_rgb, inverse.find(lab)[0]),
                         [sampled(rgb_of_place, LAB_ENTRIES)] * 3)
    # 0 inside the gamut, more with the distance outside it.
    gamut = lab_table(GAMUT_NODES, lambda lab: [(inverse.find(lab)[1] - 1.0) / 50],
                      [IDENTITY_CURVE])
    return profile([
        (b"desc", description("Generic glossy photo paper")),
        (b"cprt", text("Public domain")),
        (b"wtpt", xyz(*(round(v * 65536) for v in PAPER_WHITE))),
        (b"A2B0", to_lab), (b"A2B1", to_lab), (b"A2B2", to_lab),
        (b"B2A0", from_lab), (b"B2A1", from_lab), (b"B2A2", from_lab),
        (b"gamt", gamut),
    ], 0x02400000, b"prtr", b"Lab ")


def source_text(data):
    rows = (data[i:i + 24] for i in range(0, len(data), 24))
    lines = ",\n".join("    " + ",".join(map(str, row)) for row in rows)
    return (
        "// Written by tools/make_photo_paper_profile.py; change that instead.\n"
        '#include "photo_paper_profile.h"\n\nnamespace qva {\n\n'
        f"// clang-format off\nconst unsigned char photoPaperProfile[] = {{\n{lines},\n}};\n"
        "// clang-format on\n\n"
        "const std::size_t photoPaperProfileSize = sizeof photoPaperProfile;\n\n"
        "} // namespace qva\n")


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    target = root / "cli/colour/photo_paper_profile_data.cpp"
    if len(sys.argv) > 1:
        target = pathlib.Path(sys.argv[1])
    data = photo_paper_profile()
    target.write_text(source_text(data))
    if len(sys.argv) > 2:
        pathlib.Path(sys.argv[2]).write_bytes(data)


if __name__ == "__main__":
    main()
