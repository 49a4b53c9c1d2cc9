"""Prints high-dynamic-range photographs on paper, from numpy arrays.

    import qva
    picture = qva.read("photo.exr")
    qva.write("print.tif", qva.print_image(picture, "printer.icc"), picture=picture)

Arrays have the shape (height, width, 3), red, green, blue, and hold uint16 codes or float16 or
float32 values, with any strides. Grey is np.broadcast_to(grey[..., None], grey.shape + (3,)); of
pixels with alpha, pixels[..., :3] are the colours. Results are uint16 codes with the primaries of
BT.2020 and the power 1/2.2, of which 65535 is paper white; rendered_profile() says so as ICC.

Python goes on while a call works. Calls of several threads work side by side. A child that was
forked behind the first call cannot call: give multiprocessing the method "spawn".
"""

import os
from typing import List, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _native
from ._native import Error, Misuse, Picture

__all__ = ["Analysis", "Error", "Misuse", "Picture", "light", "print_image", "read",
           "rendered_profile", "write"]
__version__ = _native.version

Samples = Union[npt.NDArray[np.uint16], npt.NDArray[np.float16], npt.NDArray[np.float32]]
Codes = npt.NDArray[np.uint16]
Path = Union[str, "os.PathLike[str]"]
Profile = Union[Path, bytes, None]
Word = Union[str, bytes]


def _words(**options: object) -> List[Word]:
    """Options as the program's command line has them; what is None or False is left to it."""
    words: List[Word] = []
    for name, value in options.items():
        option = "--" + name.replace("_", "-")
        if value is True:
            words.append(option)
        elif isinstance(value, bytes):
            words.append(os.fsencode(option) + b"=" + value)
        elif value is not None and value is not False:
            # A numpy number writes itself as its value.
            words.append(f"{option}={value}")
    return words


def _profile(profile: Profile) -> Tuple[List[Word], Optional[bytes]]:
    """Words for a profile that is named, or the bytes of one."""
    if profile is None or isinstance(profile, bytes):
        return [], profile
    return _words(profile=os.fsencode(profile)), None


def read(path: Path, *, headroom: Optional[float] = None, max_pixels: Optional[float] = None,
         max_side: Optional[float] = None) -> Picture:
    """Reads a picture file of any format that the program reads.

    headroom    stops above its white that a picture with a gain map is taken to, 0 ... 16 (all)
    max_pixels  larger pictures are refused before memory is taken (1e9)
    max_side    so are longer ones (4194304)

    The result's pixels are the samples as stored, upright: uint16 codes, or float32 where the file
    holds floating-point values. What the file states about them stays with it, so that
    print_image(read(path)) is what "qva print" makes of the file.

    Raises Error for a file that cannot be read, Misuse for an option out of its range.
    """
    return _native.read(os.fsencode(path), _words(headroom=headroom, max_pixels=max_pixels,
                                                  max_side=max_side))


def light(picture: Picture, *, encoding: Optional[str] = None, primaries: Optional[str] = None,
          white: Optional[float] = None, luminance_min: Optional[float] = None,
          luminance_max: Optional[float] = None, hlg_peak: Optional[float] = None,
          threads: int = 0) -> npt.NDArray[np.float32]:
    """The light of a picture in cd/m2: linear, with the primaries of BT.2020, float32, upright.

    A colour outside BT.2020 has negative values. Options mean what they mean to print_image.
    Raises Misuse for an option that does not fit the picture, Error for an unusable profile.
    """
    return _native.light_of(picture, _words(
        encoding=encoding, primaries=primaries, white=white, luminance_min=luminance_min,
        luminance_max=luminance_max, hlg_peak=hlg_peak, threads=threads or None))


def print_image(pixels: Union[Samples, Picture], profile: Profile = None, *,
                encoding: Optional[str] = None, primaries: Optional[str] = None,
                white: Optional[float] = None, luminance_min: Optional[float] = None,
                luminance_max: Optional[float] = None, hlg_peak: Optional[float] = None,
                top: Optional[float] = None, exposure: Union[float, str] = "auto",
                repair: bool = True, colour_fit: bool = True, rim_mix: bool = True,
                shoulder: bool = True, paper_white: int = 100,
                threshold: Optional[float] = None, intent: str = "relative",
                black_point_compensation: bool = True, preview: bool = False, threads: int = 0,
                max_pixels: Optional[float] = None, out: Optional[Codes] = None) -> Codes:
    """Renders a picture for paper: the codes that "qva print" writes, byte for byte.

    pixels   (height, width, 3) of uint16, float16 or float32, or a Picture. Of an array nothing is
             known but its type: floats are linear BT.709, of which 1.0 is 203 cd/m2, and codes are
             sRGB, unless the options say otherwise.
    profile  a file's name, or the bytes, of the ICC profile of printer and paper; None for a
             generic photo paper

    What pixels mean:
    encoding       "linear", "gamma22", "srgb", "pq" or "hlg"
    primaries      "bt709", "bt2020", "display-p3" ...
    white          cd/m2 of the value 1.0, 0.001 ... 1e6
    luminance_min  cd/m2 of code 0, 0 ... 10000 (0)
    luminance_max  cd/m2 of the largest code, 0.001 ... 10000 (203; for PQ 10000)
    hlg_peak       cd/m2 of the display that HLG is brought to, 100 ... 10000 (1000)
    top            brightest cd/m2 to render, 0.001 ... 10000 (chosen)

    What is done to their light: exposure ("auto", "none" or stops, -30 ... 30), repair of
    undershoot, colour_fit into BT.2020, rim_mix and shoulder for what is far above the top.

    How they are rendered: paper_white (100, 200 or 400 cd/m2), threshold (cd/m2, 0 ... 100; tones
    below it keep their contrast), intent ("relative" or "saturation"), black_point_compensation,
    preview (without the device step), threads (0: one per core).

    out  a uint16 array of the picture's shape to write to, with any strides; it may be pixels.
         Without it a new array is made. Its content is undefined where the call raises.

    No pixel is copied where pixels are packed uint16 codes of BT.2020 in a linear, gamma22 or PQ
    encoding and out is packed: the library reads the one and writes the other. Else pixels are
    converted once, into the result.

    Raises TypeError for arrays of other types, ValueError for other shapes, Misuse (a ValueError)
    for options out of their range or that do not fit, Error for an unusable profile or picture,
    MemoryError.
    """
    words, profile_bytes = _profile(profile)
    words += _words(
        encoding=encoding, primaries=primaries, white=white, luminance_min=luminance_min,
        luminance_max=luminance_max, hlg_peak=hlg_peak, top=top, exposure=exposure,
        no_repair=not repair, no_colour_fit=not colour_fit, no_rim_mix=not rim_mix,
        no_shoulder=not shoulder, paper_white=paper_white, threshold=threshold, intent=intent,
        no_black_point_compensation=not black_point_compensation, threads=threads or None,
        max_pixels=max_pixels)
    return _native.render(pixels, words, preview, profile_bytes, out)


class Analysis:
    """What a page needs that is printed in bands: learnt once, from a small copy.

        analysis = qva.Analysis(page, "printer.icc", top=1000)
        for first in range(0, height, 500):
            start = max(first - analysis.margin, 0)
            end = min(first + 500 + analysis.margin, height)
            band = analysis.correct(page[start:end], start)
            result[first:first + 500] = band[first - start:first - start + 500]

    Pixels of a page are linear, with the primaries of BT.2020: uint16 codes of which 65535 stands
    for top, or float16 or float32 values in cd/m2. page may lie on a disk (np.memmap): it is read
    in blocks.
    """

    def __init__(self, pixels: Samples, profile: Profile = None, *, top: float,
                 page_shape: Optional[Tuple[int, ...]] = None, paper_white: int = 100,
                 threshold: Optional[float] = None, intent: str = "relative",
                 black_point_compensation: bool = True, threads: int = 0,
                 max_pixels: Optional[float] = None) -> None:
        """Reduces the page and analyses the small copy.

        pixels      the page; or its small copy, no side above 1200, where page_shape is given
        top         brightest cd/m2, 1.05 times paper_white or more, at most 10000
        page_shape  (height, width) of the page that pixels are a copy of: the reduced of another
                    Analysis, in another process

        The other arguments are those of print_image. Intent and the printer's black are those of
        the first Analysis of a process. Raises as print_image.
        """
        words, profile_bytes = _profile(profile)
        words += _words(
            top=top, paper_white=paper_white, threshold=threshold, intent=intent,
            no_black_point_compensation=not black_point_compensation, threads=threads or None,
            max_pixels=max_pixels)
        shape = None if page_shape is None else tuple(page_shape[:2])
        self._native = _native.Analysis(pixels, shape, top, words, profile_bytes)

    def correct(self, band: Samples, first: int, *, axis: int = 0, out: Optional[Codes] = None,
                threads: int = 0) -> Codes:
        """Renders lines of the page, margins and all.

        band   rows of the page's full width, or for axis 1 columns of its full height
        first  the line of the page that band begins with
        out    as for print_image; may be band

        Packed uint16 codes are read, and a packed out is written, where they are. Calls of several
        threads take turns; analyses of their own work side by side.
        Raises Misuse where band does not lie on the page, and as print_image.
        """
        if axis not in (0, 1):
            raise Misuse(f"axis: {axis!r} is neither 0 nor 1")
        return self._native.correct(band, first, axis == 0, out, _words(threads=threads or None))

    @property
    def margin(self) -> int:
        """Lines on each side of a band, but at the page's own edges, whose result is not to be
        used: they could not see enough of the page."""
        return self._native.margin

    @property
    def page_shape(self) -> Tuple[int, int, int]:
        """(height, width, 3) of the page."""
        return self._native.page_shape

    @property
    def top(self) -> float:
        """cd/m2 of the largest code."""
        return self._native.top

    @property
    def reduced(self) -> Codes:
        """The small copy that was analysed, as uint16 codes."""
        return self._native.reduced


def write(path: Path, pixels: Codes, *, dpi: float = 0.0, compression: str = "deflate",
          picture: Optional[Picture] = None) -> None:
    """Writes the result of a print as 16-bit TIFF or PNG, with its ICC profile.

    path         its ending says which; a file of that name is replaced once the new one is complete
    pixels       (height, width, 3) of uint16, with any strides
    dpi          pixels per inch to state; 0 for those of picture, or none
    compression  "deflate" or "none"
    picture      what was printed: its metadata (Exif, XMP, IPTC) go on to the file

    Raises Misuse for another ending, Error where the file cannot be written.
    """
    if compression not in ("deflate", "none"):
        raise Misuse(f"compression: {compression!r} is neither 'deflate' nor 'none'")
    _native.write(os.fsencode(path), pixels, dpi, compression, picture)


def rendered_profile() -> bytes:
    """The ICC profile of what print_image returns."""
    return _native.rendered_profile()
