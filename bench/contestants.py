"""What bench/compare measures: the library's benchmarks, other libraries, filters and programs."""

import os
import re
import shutil
import subprocess

import measure

PAGE = (6720, 4480)
FILE = (2448, 1632)
MEGAPIXEL = (1224, 816)
TABLE = (1536, 1024)

TO_LINEAR = ("zscale=min=gbr:rin=full:tin=smpte2084:pin=bt2020:m=gbr:r=full:t=linear:p=bt2020:"
             "npl=100,format=gbrpf32le")
TONE_MAP = TO_LINEAR + ",tonemap=hable,zscale=t=bt709:m=gbr:p=bt2020:r=full,format=gbrp16le"

# Files of the scene, by what FFmpeg is told: linear light, where 1.0 stands for 100 cd/m2, or codes.
PICTURES = {
    "floats": (".exr", ["-vf", "format=gbrp16le," + TO_LINEAR, "-compression", "none"]),
    "halves": (".exr", ["-vf", "format=gbrp16le," + TO_LINEAR, "-compression", "zip16", "-format",
                        "half"]),
    "tiff": (".tif", ["-compression_algo", "raw"]),
    "png": (".png", ["-pix_fmt", "rgb48be"])}

CODES = ["--encoding", "pq", "--primaries", "bt2020"]  # what the scene's are
LIGHT = ["--white", "100", "--primaries", "bt2020"]

FLOATS = "floats in and out, without decoding and encoding"


def pixels(size):
    return size[0] * size[1]


class Place:
    """Where things are built and files are kept, and the clock that counts."""

    def __init__(self, directory, clock):
        self.directory, self.clock = directory, clock

    def program(self, name):
        return os.path.join(self.directory, "bin", name)

    def path(self, name):
        return os.path.join(self.directory, name)

    def scene(self, size):
        """The scene as raw 16-bit rows."""
        path = self.path(f"scene-{size[0]}x{size[1]}.raw")
        with open(path, "wb") as file:
            subprocess.run([self.program("lumo_scene"), *map(str, size)], stdout=file, check=True)
        return path

    def picture(self, size, kind):
        """The scene as a file of a kind, a key of PICTURES."""
        ending, options = PICTURES[kind]
        path = self.path(f"scene-{kind}-{size[0]}x{size[1]}{ending}")
        subprocess.run(
            ["ffmpeg", "-y", "-hide_banner", "-nostdin", "-loglevel", "error", "-f", "rawvideo",
             "-pix_fmt", "rgb48le", "-s", f"{size[0]}x{size[1]}", "-i", self.scene(size), *options,
             path], check=True)
        return path

    def table(self):
        """A colour table of 17 nodes an axis."""
        path = self.path("table.cube")
        nodes = [f"{(index / 16.0) ** 0.9:.6f}" for index in range(17)]
        with open(path, "w", encoding="utf-8") as file:
            file.write("LUT_3D_SIZE 17\n")
            file.writelines(f"{red} {green} {blue}\n"
                            for blue in nodes for green in nodes for red in nodes)
        return path


class Bench:
    """A Google Benchmark of the library or of another one."""

    def __init__(self, label, program, name, note="", threads=1, min_time=0.2):
        self.label, self.program, self.name, self.note = label, program, name, note
        self.threads, self.min_time = threads, min_time

    def prepare(self, place):
        """Whether it can be measured."""
        return os.path.exists(place.program(self.program))

    def measure(self, place):
        """Seconds of one call, peak bytes of the process."""
        record, usage = measure.run_benchmark(place.program(self.program), self.name, self.threads,
                                              self.min_time)
        # The processor's clock sees the first thread alone.
        clock = place.clock if self.threads == 1 else "real"
        return measure.seconds_of(record, clock), usage.peak


class Filter:
    """A chain of FFmpeg's filters: the cost of one more frame, which is held in memory."""

    def __init__(self, label, size, layout, chain, frames, note=""):
        self.label, self.size, self.note = label, size, note
        self.layout, self.chain, self.frames = layout, chain, frames
        self.source = None

    def prepare(self, place):
        self.source = place.scene(self.size)
        self.chain = self.chain.replace("TABLE", place.table())
        return shutil.which("ffmpeg") is not None

    def run(self, more_frames):
        chain = f"format={self.layout},loop=loop={more_frames}:size=1,{self.chain}"
        return measure.run(
            ["ffmpeg", "-hide_banner", "-nostdin", "-loglevel", "error", "-threads", "1",
             "-filter_threads", "1", "-f", "rawvideo", "-pix_fmt", "rgb48le",
             "-s", f"{self.size[0]}x{self.size[1]}", "-i", self.source, "-vf", chain,
             "-frames:v", str(more_frames + 1), "-f", "null", "-"])[1]

    def measure(self, place):
        one, many = self.run(0), self.run(self.frames)
        return (many.seconds(place.clock) - one.seconds(place.clock)) / self.frames, one.peak


class Program:
    """A whole program, from file to file."""

    def __init__(self, label, size, command, note="", kind="floats", ending=".tif", threads=1):
        self.label, self.size, self.command, self.note = label, size, command, note
        self.kind, self.ending, self.threads = kind, ending, threads

    def prepare(self, place):
        names = {"QVA": place.program("qva"), "SCENE": place.picture(self.size, self.kind),
                 "RESULT": place.path("result" + self.ending)}
        self.command = [re.sub("QVA|SCENE|RESULT", lambda found: names[found.group()], word)
                        for word in self.command]
        return shutil.which(self.command[0]) is not None

    def measure(self, place):
        usage = measure.run(self.command, self.threads, {"HOME": place.directory})[1]
        return usage.seconds(place.clock), usage.peak


class Row:
    """One measure: the library's own forms, then others. The figure is the seconds of a call, or
    the peak bytes of a process, times `scale`."""

    def __init__(self, title, unit, scale, own, others=(), peak=False):
        self.title, self.unit, self.scale = title, unit, scale
        self.own, self.others, self.peak = own, list(others), peak

    def runs(self):
        return [*self.own.values(), *self.others]


def own(name, literal=None, **options):
    """The library's benchmark, its kernels for processors without AVX-512, its literal form."""
    found = {"library": Bench("library", "lumo_bench", name, **options),
             "avx2": Bench("library without AVX-512", "lumo_bench_avx2", name, **options)}
    if literal:
        found["literal"] = Bench("literal form", "lumo_bench", literal, **options)
    return found


def mapping(size, program, operator, note=FLOATS):
    """Another library's tone mapping of a whole page."""
    label = {"peer_opencv": "OpenCV ", "peer_pfstools": "pfstools "}[program]
    name = operator if program == "peer_opencv" else operator.lower()
    return Bench(label + name, program, f"{operator}/{size[0]}/{size[1]}", note, min_time=0.01)


def title_of(size):
    return f"{size[0]} × {size[1]}"


def print_row(size, others):
    page = f"width:{size[0]}/height:{size[1]}/threads:1"
    return Row(f"print, {title_of(size)}", "ns per pixel", 1e9 / pixels(size),
               own("Print/" + page, "LiteralPrint/" + page, min_time=0.01), others)


def preview_row(size):
    page = f"width:{size[0]}/height:{size[1]}/threads:1"
    return Row(f"preview, {title_of(size)}", "ns per pixel", 1e9 / pixels(size),
               own("Preview/" + page, "LiteralPreview/" + page, min_time=0.01))


def filtered(size, frames):
    return Filter("FFmpeg zscale and tonemap", size, "gbrp16le", TONE_MAP, frames,
                  "one global curve, floats, planar")


def luminance(operator, note):
    return Program(f"luminance-hdr {operator}", FILE,
                   ["luminance-hdr-cli", "--load", "SCENE", "--tmo", operator, "-o", "RESULT",
                    "--ldrTiff", "16b", "--ldrTiffDeflate", "false"], note)


def file_row(call, title, kind, ending, compression, options):
    """A way from file to file on two cores, beside the library's call alone on the same pixels."""
    command = ["QVA", "print", "SCENE", "-o", "RESULT", "-q", "--compression", compression, *options]
    program = Program("qva print", PAGE, command, "", kind, ending, threads=2)
    alone = Bench("the library's call alone", call.program, call.name, "no files", threads=2,
                  min_time=call.min_time)
    return Row(f"program, {title}, {title_of(PAGE)}, two cores", "ns per pixel", 1e9 / pixels(PAGE),
               {"library": program}, [alone])


def page_rows():
    """Whole pages; the peaks are those of the same runs. The slow ones have smaller pages."""
    title = title_of(PAGE)
    page = print_row(PAGE, [filtered(PAGE, 2), mapping(PAGE, "peer_opencv", "Reinhard")])
    middle = print_row(FILE, [
        mapping(FILE, "peer_opencv", "Mantiuk"), mapping(FILE, "peer_pfstools", "Reinhard05"),
        mapping(FILE, "peer_pfstools", "Fattal02", "luminance alone, in floats")])
    small = print_row(MEGAPIXEL, [
        filtered(MEGAPIXEL, 40), mapping(MEGAPIXEL, "peer_opencv", "Reinhard"),
        mapping(MEGAPIXEL, "peer_opencv", "Mantiuk"),
        mapping(MEGAPIXEL, "peer_pfstools", "Mantiuk06")])
    cores = [Bench(label, "lumo_bench", f"Print/width:{PAGE[0]}/height:{PAGE[1]}/threads:{count}",
                   threads=count, min_time=0.01)
             for count, label in ((1, "the library on one core"), (2, "library"))]
    files = Row("program, file to file, 2448 × 1632", "ns per pixel", 1e9 / pixels(FILE),
                {"library": Program("qva print", FILE, ["QVA", "print", "SCENE", "-o", "RESULT"])},
                [luminance("reinhard05", "one global curve"),
                 luminance("fattal", "gradients; no device step"),
                 luminance("mantiuk06", "contrasts; no device step")])
    ways = [file_row(cores[1], *way) for way in (
        ("PQ TIFF to TIFF, uncompressed", "tiff", ".tif", "none", CODES),
        ("half OpenEXR (ZIP) to TIFF, deflated", "halves", ".tif", "deflate", LIGHT),
        ("PNG to PNG", "png", ".png", "deflate", CODES))]
    return [
        page, preview_row(PAGE), middle, small, preview_row(MEGAPIXEL),
        Row(f"print on two cores, {title}", "ns per pixel", page.scale, {"library": cores[1]},
            cores[:1]),
        files, *ways,
        *(Row(f"peak memory of the {way.title}", "bytes per pixel", 1.0 / pixels(PAGE), way.own, peak=True)
          for way in ways),
        Row(f"peak memory of a print, {title}", "bytes per pixel", 1.0 / pixels(PAGE),
            page.own, page.others, peak=True),
        Row(f"peak memory of a print, {title_of(FILE)}", "bytes per pixel", 1.0 / pixels(FILE),
            middle.own, middle.others, peak=True),
        Row("peak memory of the program, 2448 × 1632", "bytes per pixel", 1.0 / pixels(FILE),
            files.own, files.others, peak=True)]


def band_row(rows):
    """A pixel is one that a host keeps, not one of the overlap."""
    return Row(f"band, {rows} rows kept", "ns per pixel kept", 1e9 / (PAGE[0] * rows),
               own(f"Band/rows:{rows}/threads:1", min_time=0.01))


def stage_rows():
    table = 1e9 / pixels(TABLE)
    page = 1e9 / pixels(PAGE)
    return [
        band_row(512), band_row(2048),
        Row("analysis, 1200 × 800", "ms", 1e3, own("Analysis")),
        Row("first call of a process, 64 × 64", "ms", 1e3, own("StartUp", min_time=0.0)),
        Row("later call with a new handle, 64 × 64", "ms", 1e3, own("StartUp")),
        Row("3-D table, 16-bit pixels", "ns per pixel", table,
            own("Table16/block:1", "Table16/block:0"), [
                Bench("Little CMS, optimised 16-bit link", "peer_lcms", "DeviceLink", "17 nodes"),
                Filter("FFmpeg lut3d, tetrahedral", TABLE, "gbrpf32le",
                       "lut3d=file=TABLE:interp=tetrahedral", 40, "17 nodes, floats, planar")]),
        Row("RGB to ICtCp, 16-bit pixels", "ns per pixel", table,
            own("RgbToICtCp/block:1", "RgbToICtCp/block:0")),
        Row("ICtCp to RGB, 16-bit pixels", "ns per pixel", table,
            own("ICtCpToRgb/block:1", "ICtCpToRgb/block:0")),
        Row("16-bit curve, three channels", "ns per pixel", table,
            own("Curve/block:1", "Curve/block:0")),
        Row("smoother, one plane, both passes", "ns per pixel", page, own("BothPasses", "LiteralBothPasses"), [
            Bench("OpenCV fastGlobalSmootherFilter", "peer_opencv", "Smoother",
                  "one iteration, 8-bit guide; allocates its result")]),
        Row("smoother, two planes, both passes", "ns per pixel", page, own("TwoPlanes")),
        Row("superpixels, six counts, 1024 × 683", "ms", 1e3,
            own("SixCandidates/threads:1", "LiteralCandidates"), [
                Bench("OpenCV SLICO", "peer_opencv", "Slico",
                      "five of the counts, without its connectivity pass")]),
        Row("curves and weights of 20 segments, 1024 × 683", "ms", 1e3,
            own("CurvesAndMaps/segments:20")),
        Row("blend of 20 segments", "ns per pixel", 1e9 / (6720 * 2240), own("Blend/segments:20")),
        Row("reduce three planes to 1024", "ns per source pixel", page, own("Reduce"), [
            Bench("OpenCV resize, INTER_LINEAR", "peer_opencv", "ResizeLinear"),
            Bench("OpenCV resize, INTER_AREA", "peer_opencv", "ResizeArea",
                  "averages every source pixel")])]


def all_rows():
    return [*page_rows(), *stage_rows()]
