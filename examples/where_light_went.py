#!/usr/bin/env python3
"""Where the light of a photograph went when it was printed, as pictures.

    where_light_went.py PHOTO RESULT.jpg [PRINTER.icc]

Three panels: what is left when light above paper white is cut off, the print, and by how many stops
each place was made darker or brighter against a plain exposure. Needs numpy, Pillow and qva.
"""

import sys

import numpy as np
import qva
from PIL import Image

PAPER_WHITE = 100.0  # cd/m2
# ITU-R BT.2087-0: linear BT.2020 to linear BT.709, whose primaries sRGB has.
TO_SRGB = np.array([[1.6605, -0.5876, -0.0728], [-0.1246, 1.1329, -0.0083],
                    [-0.0182, -0.1006, 1.1187]])
LUMINANCE = np.array([0.2627, 0.6780, 0.0593])  # ITU-R BT.2020-2, table 4


# %% The photograph as light, and its print as light: 1.0 is paper white in both.
def load(photo, profile):
    picture = qva.read(photo)
    light = qva.light(picture) / PAPER_WHITE
    printed = (qva.print_image(picture, profile) / 65535.0) ** 2.2
    return light, printed


# %% Means over squares of pixels: panels need few, and light may be averaged where codes may not.
def reduce(light, longer_side):
    step = max(1, -(-max(light.shape[:2]) // longer_side))
    height, width = (side // step * step for side in light.shape[:2])
    squares = light[:height, :width].reshape(height // step, step, width // step, step, 3)
    return squares.mean(axis=(1, 3))


# %% Light as a picture for a screen.
def for_screen(light):
    linear = np.clip(light @ TO_SRGB.T, 0.0, 1.0)
    signal = np.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)
    return (signal * 255.0 + 0.5).astype(np.uint8)


# %% Stops from light to print: blue is darker, orange brighter than the middle of the picture.
def stops_moved(light, printed):
    before, after = (np.maximum(part @ LUMINANCE, 1e-4) for part in (light, printed))
    stops = np.log2(after / before)
    return stops - np.median(stops)


def as_colours(stops, most=4.0):
    share = np.clip(stops / most, -1.0, 1.0)[..., None]
    ends = np.where(share < 0.0, [0.05, 0.25, 0.75], [0.95, 0.50, 0.05])
    return ((np.abs(share) * ends + (1.0 - np.abs(share)) * 0.92) * 255.0).astype(np.uint8)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    light, printed = (reduce(part, 340) for part in
                      load(sys.argv[1], sys.argv[3] if len(sys.argv) == 4 else None))
    stops = stops_moved(light, printed)
    panels = [for_screen(light), for_screen(printed), as_colours(stops)]
    gap = np.full((light.shape[0], 6, 3), 255, np.uint8)
    sheet = np.concatenate([panels[0], gap, panels[1], gap, panels[2]], axis=1)
    Image.fromarray(sheet).save(sys.argv[2], quality=88)
    low, high = np.percentile(stops, [1, 99])
    print(f"light up to {light.max() * PAPER_WHITE:.0f} cd/m2; "
          f"98 % of the places moved by {low:+.1f} to {high:+.1f} stops")


if __name__ == "__main__":
    main()
