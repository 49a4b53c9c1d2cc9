"""The Python module beside the program: the same codes, whatever arrays look like.

    module_test.py QVA MAKE_SAMPLES   with the module on PYTHONPATH
"""

import os
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

import numpy as np
import qva

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "../support"))
from tiff_codes import tiff_codes  # noqa: E402

QVA, MAKE_SAMPLES = sys.argv[1:3]
EXAMPLES = os.path.join(HERE, "../../examples")


def run(*arguments):
    subprocess.run(arguments, check=True)


def printed(name, *options, command="print"):
    run(QVA, command, name, "-o", "out.tif", "--compression", "none", "--quiet", *options)
    width, height, data = tiff_codes("out.tif")
    return np.frombuffer(data, "<u2").reshape(height, width, 3)


def write_tiff(path, pixels):
    """A plain TIFF that says nothing about colour."""
    height, width, _ = pixels.shape
    kind = 3 if pixels.dtype.kind == "f" else 1
    bits = pixels.dtype.itemsize * 8
    entries = [(256, 4, width), (257, 4, height), (258, 3, bits), (259, 3, 1), (262, 3, 2),
               (273, 4, 8), (277, 3, 3), (278, 4, height), (279, 4, pixels.nbytes), (339, 3, kind)]
    # Three values of a tag do not fit into its entry.
    behind = 8 + pixels.nbytes
    triples = {258: struct.pack("<3H", bits, bits, bits), 339: struct.pack("<3H", kind, kind, kind)}
    table = struct.pack("<H", len(entries))
    for tag, type_, value in entries:
        if tag in triples:
            table += struct.pack("<HHII", tag, type_, 3, behind + 6 * (tag == 339))
        else:
            table += struct.pack("<HHII", tag, type_, 1, value)
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, behind + 12))
        file.write(pixels.tobytes() + triples[258] + triples[339] + table + b"\0\0\0\0")


def scene(height=61, width=83):
    """Linear light from 0.01 to 900 with a colour in it, some of it below zero."""
    y, x = np.mgrid[0:height, 0:width]
    light = 0.01 * 90000.0 ** (x / (width - 1.0))
    light = np.where((y // 9) % 2 == 0, light, light[:, ::-1])
    colours = np.stack([light, light * 0.6, light * 0.3], axis=2)
    colours[5:9, 5:9] = -0.01
    return colours.astype(np.float32)


def codes():
    return (np.clip(scene() / 900.0, 0.0, 1.0) ** (1 / 2.2) * 65535.0).astype(np.uint16)


PQ = {"encoding": "pq", "primaries": "bt2020", "luminance_max": 1000}
PQ_WORDS = ("--encoding", "pq", "--primaries", "bt2020", "--luminance-max", "1000")


class Prints(unittest.TestCase):
    def test_arrays_are_printed_as_files_are(self):
        write_tiff("codes.tif", codes())
        write_tiff("floats.tif", scene())
        half = scene().astype(np.float16)
        write_tiff("half.tif", half.astype(np.float32))
        cases = [("codes.tif", codes(), {}, ()), ("codes.tif", codes(), PQ, PQ_WORDS),
                 ("codes.tif", codes(), {**PQ, "top": 700}, (*PQ_WORDS, "--top", "700")),
                 ("codes.tif", codes(), {**PQ, "encoding": "linear", "top": 300, "exposure": -1},
                  ("--encoding", "linear", *PQ_WORDS[2:], "--top", "300", "--exposure", "-1")),
                 ("floats.tif", scene(), {}, ()), ("half.tif", half, {}, ()),
                 ("floats.tif", scene(), {"white": 1, "top": 500, "repair": False,
                                          "exposure": -0.5, "intent": "saturation"},
                  ("--white", "1", "--top", "500", "--no-repair", "--exposure", "-0.5",
                   "--intent", "saturation"))]
        for name, pixels, options, words in cases:
            with self.subTest(name=name, options=options):
                expected = printed(name, "--profile", "paper.icc", *words)
                np.testing.assert_array_equal(
                    qva.print_image(pixels, "paper.icc", **options), expected)
        with open("device.icc", "rb") as file:
            np.testing.assert_array_equal(qva.print_image(half, file.read(), threads=3),
                                          printed("half.tif", "--profile", "device.icc"))
        np.testing.assert_array_equal(qva.print_image(scene(), preview=True, paper_white=200),
                                      printed("floats.tif", "--paper-white", "200",
                                              command="preview"))

    def test_files_that_are_read_are_printed_as_by_the_program(self):
        names = [name for name in sorted(os.listdir("."))
                 if name.startswith(("photo", "pq", "turned", "tall"))
                 and name.endswith((".exr", ".png", ".tif", ".hdr", ".jpg", ".jxl"))]
        self.assertGreater(len(names), 4)
        for name in names:
            with self.subTest(name=name):
                np.testing.assert_array_equal(qva.print_image(qva.read(name)), printed(name))

    def test_strides_do_not_matter(self):
        for pixels, options in ((codes(), PQ), (scene().astype(np.float16), {}), (scene(), {})):
            expected = qva.print_image(pixels, **options)
            wide = np.zeros((61, 83, 8), pixels.dtype)
            wide[:, :, 6:0:-2] = pixels
            record = np.zeros((61, 83), [("odd", "u1"), ("rgb", pixels.dtype, 3)])
            record["rgb"] = pixels
            for view in (np.asfortranarray(pixels), pixels[::-1, ::-1].copy()[::-1, ::-1],
                         wide[:, :, 6:0:-2], record["rgb"],
                         pixels.transpose(2, 0, 1).copy().transpose(1, 2, 0)):
                np.testing.assert_array_equal(qva.print_image(view, **options), expected)
            rows = np.zeros((122, 83, 4), np.uint16)
            result = qva.print_image(pixels, out=rows[::2, ::-1, :3], **options)
            np.testing.assert_array_equal(rows[::2, ::-1, :3], expected)
            self.assertTrue(np.shares_memory(result, rows))
            self.assertFalse(rows[1::2].any() or rows[:, :, 3].any())
        grey = codes()[:, :, 1]
        np.testing.assert_array_equal(
            qva.print_image(np.broadcast_to(grey[..., None], grey.shape + (3,))),
            qva.print_image(np.repeat(grey[..., None], 3, axis=2)))

    def test_in_place(self):
        for options in (PQ, {}):
            pixels = codes()
            expected = qva.print_image(pixels, **options)
            self.assertIs(qva.print_image(pixels, out=pixels, **options), pixels)
            np.testing.assert_array_equal(pixels, expected)

    def test_threads_print_side_by_side(self):
        jobs = [(codes(), PQ), (scene(), {}), (scene()[::-1], {"preview": True})]
        expected = [qva.print_image(pixels, **options) for pixels, options in jobs]
        results = [[] for _ in jobs]

        def work(i):
            for _ in range(5):
                results[i].append(qva.print_image(jobs[i][0], **jobs[i][1]))

        threads = [threading.Thread(target=work, args=(i,)) for i in range(len(jobs))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for i, found in enumerate(results):
            self.assertEqual(len(found), 5)
            for result in found:
                np.testing.assert_array_equal(result, expected[i])

    def test_python_goes_on_meanwhile(self):
        pixels = np.tile(codes(), (12, 12, 1))
        done = threading.Event()
        ticks = []
        thread = threading.Thread(
            target=lambda: (qva.print_image(pixels, threads=1), done.set()))
        thread.start()
        while not done.wait(0.002):
            ticks.append(1)
        thread.join()
        self.assertGreater(len(ticks), 3)


class Refuses(unittest.TestCase):
    def test_wrong_arguments(self):
        pixels = codes()
        read_only = np.zeros_like(pixels)
        read_only.flags.writeable = False
        cases = [
            (TypeError, "no numpy array", {"pixels": [[[1, 2, 3]]]}),
            (TypeError, "float64", {"pixels": scene().astype(np.float64)}),
            (TypeError, ">u2", {"pixels": pixels.astype(">u2")}),
            (ValueError, "(61, 83), not (height, width, 3)", {"pixels": pixels[:, :, 0]}),
            (ValueError, "(61, 83, 4)", {"pixels": np.zeros((61, 83, 4), np.uint16)}),
            (ValueError, "no pixels", {"pixels": pixels[:0]}),
            (ValueError, "out: 60 rows", {"out": np.zeros((60, 83, 3), np.uint16)}),
            (TypeError, "out: an array of uint16", {"out": scene()}),
            (ValueError, "read-only", {"out": read_only}),
            (ValueError, "shares memory", {"out": pixels[::-1]}),
            (qva.Misuse, "white: 0 is not between 0.001 and 1000000", {"white": 0}),
            (qva.Misuse, "encoding: 'log' is not one of", {"encoding": "log"}),
            (qva.Misuse, "exposure: 99 is not between", {"exposure": 99}),
            (qva.Misuse, "hlg_peak: the picture is sRGB coded", {"hlg_peak": 1000}),
            (qva.Misuse, "paper_white: '150' is not one of", {"paper_white": 150}),
            (qva.Error, "missing.icc: no such file", {"profile": "missing.icc"}),
            (qva.Error, "profile: ", {"profile": b"no profile"}),
            (qva.Error, "too narrow", {"pixels": pixels[:1]}),
            (qva.Error, "more than the 100 that max_pixels", {"max_pixels": 100})]
        for kind, text, arguments in cases:
            with self.subTest(text=text):
                with self.assertRaises(kind) as raised:
                    qva.print_image(**{"pixels": pixels, **arguments})
                self.assertIn(text, str(raised.exception))
        with self.assertRaisesRegex(qva.Error, "gone.exr: no such file"):
            qva.read("gone.exr")
        self.assertTrue(issubclass(qva.Misuse, ValueError) and issubclass(qva.Misuse, qva.Error))


class Reads(unittest.TestCase):
    def test_samples_light_and_statements(self):
        write_tiff("codes.tif", codes())
        picture = qva.read("codes.tif")
        np.testing.assert_array_equal(picture.pixels, codes())
        self.assertEqual((picture.format, picture.bits, picture.encoding, picture.primaries),
                         ("TIFF", 16, "sRGB", "bt709"))
        self.assertIsNone(picture.icc_profile)
        write_tiff("floats.tif", scene())
        picture = qva.read("floats.tif")
        np.testing.assert_array_equal(picture.pixels, scene())
        self.assertFalse(picture.states_scale)
        light = qva.light(picture, white=2, primaries="bt2020")
        self.assertEqual(light.dtype, np.float32)
        np.testing.assert_array_equal(light, 2 * scene())

    def test_turned_pictures_are_upright(self):
        upright = qva.read("turned.tif").pixels
        self.assertEqual(upright.shape, qva.read("tall.tif").pixels.shape)
        np.testing.assert_array_equal(upright, qva.read("tall.tif").pixels)

    def test_results_are_written_as_the_program_does(self):
        result = qva.print_image(scene())
        for name in ("written.tif", "written.png"):
            qva.write(name, result[:, ::-1][:, ::-1], dpi=360)
            again = qva.read(name)
            np.testing.assert_array_equal(again.pixels, result)
            self.assertEqual(round(again.dpi), 360) # PNG has pixels a metre
            self.assertEqual(again.icc_profile, qva.rendered_profile())
        with self.assertRaises(qva.Misuse):
            qva.write("written.gif", result)


class Example(unittest.TestCase):
    def test_makes_its_sheet(self):
        script = os.path.join(EXAMPLES, "where_light_went.py")
        told = subprocess.run([sys.executable, script, "photo.exr", "sheet.jpg", "paper.icc"],
                              stdout=subprocess.PIPE, text=True, check=True).stdout
        self.assertRegex(told, r"^light up to \d+ cd/m2; 98 % of the places moved by [-+]")
        self.assertGreater(os.path.getsize("sheet.jpg"), 1000)


class Bands(unittest.TestCase):
    def test_bands_are_those_of_a_page(self):
        light = np.tile(scene(120, 83), (4, 1, 1)) * np.linspace(1, 3, 480, dtype=np.float32)[
            :, None, None]
        write_tiff("page.tif", light)
        plain = ("--no-repair", "--no-colour-fit", "--no-rim-mix", "--no-shoulder")
        expected = printed("page.tif", "--white", "1", "--primaries", "bt2020", "--top", "1000",
                           "--band-rows", "96", "--profile", "device.icc", *plain, command="page")
        analysis = qva.Analysis(light, "device.icc", top=1000)
        self.assertEqual((analysis.page_shape, analysis.top), ((480, 83, 3), 1000.0))
        found = np.zeros((480, 83, 3), np.uint16)
        coded = np.floor(np.clip(light, 0, None) * np.float32(65.535) + np.float32(0.5))
        for first in range(0, 480, 96):
            start = max(first - analysis.margin, 0)
            end = min(first + 96 + analysis.margin, 480)
            band = analysis.correct(light[start:end], start)
            found[first:first + 96] = band[first - start:first - start + 96]
            # The same from codes, and in place.
            band_codes = np.minimum(coded[start:end], 65535).astype(np.uint16)
            analysis.correct(band_codes, start, out=band_codes)
            np.testing.assert_array_equal(band_codes, band)
        np.testing.assert_array_equal(found, expected)
        again = qva.Analysis(analysis.reduced, "device.icc", top=1000, page_shape=(480, 83))
        np.testing.assert_array_equal(again.correct(light[:200], 0),
                                      analysis.correct(light[:200], 0))
        columns = analysis.correct(light[:, 20:], 20, axis=1)
        self.assertEqual(columns.shape, (480, 63, 3))

    def test_refuses(self):
        with self.assertRaisesRegex(qva.Misuse, "top: 100 cd/m2 is not 1.05 times"):
            qva.Analysis(codes(), top=100)
        with self.assertRaisesRegex(qva.Misuse, "larger than the page"):
            qva.Analysis(codes(), top=900, page_shape=(60, 83))
        analysis = qva.Analysis(codes(), top=900)
        for band, first in ((codes()[:30], 40), (codes()[:30, 1:], 0), (codes()[:30], -1)):
            with self.assertRaisesRegex(qva.Misuse, "do not lie on the page"):
                analysis.correct(band, first)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        run(MAKE_SAMPLES, ".")
        unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
