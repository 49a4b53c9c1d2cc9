// Files made to break readers: each is read by a documented rule or refused by name and reason,
// before memory is taken for what it promises.
#include "base/errors.h"
#include "base/memory_limit.h"
#include "colour/printer_profile.h"
#include "formats/image_source.h"
#include "formats/strip_reader.h"
#include "samples.h"
#include "tiff_bytes.h"

#include <OpenEXR/ImfArray.h>
#include <OpenEXR/ImfTiledRgbaFile.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>
#include <zlib.h>

namespace qva {

namespace {

using samples::allowance;
using samples::Content;
using samples::ErrorOf;
using samples::Folder;
using samples::Number;
using samples::PngChunk;
using samples::Read;

constexpr std::uint64_t everyPixel = 1000000000000000;

/// A directory of LONG entries, 4 x 4 pixels of 16-bit RGB in one strip but for what is given.
/// @param next  the place of the next directory.
std::string Tiff(const std::map<unsigned, std::uint64_t>& given, std::uint64_t next = 0)
{
    std::map<unsigned, std::uint64_t> entries = {{256, 4}, {257, 4}, {258, 16}, {259, 1}, {262, 2},
                                                 {273, 8}, {277, 3}, {278, 4},  {279, 96}};
    for (const auto& [tag, value] : given) {
        entries[tag] = value;
    }
    std::string bytes("II*\0", 4);
    bytes += Number(104, 4, true) + std::string(96, 'p');
    bytes += Number(entries.size(), 2, true);
    for (const auto& [tag, value] : entries) {
        // A profile has bytes at the start of the file, as many as are given.
        const bool isProfile = tag == 34675;
        bytes += Number(tag, 2, true) + Number(isProfile ? 7 : 4, 2, true) +
                 Number(isProfile ? value : 1, 4, true) + Number(isProfile ? 8 : value, 4, true);
    }
    return bytes + Number(next, 4, true);
}

std::string Png(std::uint64_t width, std::uint64_t height, const std::string& kind,
                const std::string& more = "")
{
    return std::string("\x89PNG\r\n\x1a\n") +
           PngChunk("IHDR", Number(width, 4, false) + Number(height, 4, false) + kind) + more +
           PngChunk("IDAT", std::string(30, 'x')) + PngChunk("IEND", "");
}

/// A hundred compressed texts of 8 MB.
std::string LargeTexts()
{
    const std::string text(7990000, 'x');
    std::string packed(compressBound(text.size()), '\0');
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(text.data()), text.size());
    packed.resize(size);
    std::string chunks;
    for (int i = 0; i < 100; ++i) {
        chunks += PngChunk("zTXt", std::string("key\0\0", 5) + packed);
    }
    return chunks;
}

/// An OpenEXR file with a text attribute that states a size.
std::string ExrWithText(const std::string& whole, std::uint32_t size)
{
    std::string bytes = whole;
    // Behind the signature and the version.
    bytes.insert(8, std::string("comment\0string\0", 15) + Number(size, 4, true) + "text");
    return bytes;
}

/// An OpenEXR file with numbers written over those of an attribute.
std::string Exr(const std::string& whole, const std::string& attribute,
                const std::vector<std::int32_t>& values)
{
    std::string bytes = whole;
    // Behind both names, which end in 0, stands the size.
    const std::size_t type = bytes.find(attribute) + attribute.size() + 1;
    std::size_t place = bytes.find('\0', type) + 5;
    for (const std::int32_t value : values) {
        bytes.replace(place, 4, Number(static_cast<std::uint32_t>(value), 4, true));
        place += 4;
    }
    return bytes;
}

std::string Hdr(const std::string& lines)
{
    return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n" + lines;
}

/// The first strip of a share, as it is and decoded.
void ReadStrip(const std::string& path)
{
    StripReader reader(path);
    reader.Encoded(0);
    std::vector<std::uint16_t> codes(reader.Page().layout.SizeOf(0) / 2);
    reader.Decode(0, codes.data());
}

struct Hostile {
    std::string name;
    std::string bytes;
    std::string reason; ///< "" where it is read
};

std::vector<Hostile> HostileTiffs()
{
    constexpr std::uint64_t most = 0xffffffff;
    return {
        {"loop", Tiff({}, 104), ""},
        {"sides", Tiff({{256, 0x7fffffff}, {257, 0x7fffffff}}), "StripOffsets"},
        {"no pixels", Tiff({{256, 0}}), "cannot be read as TIFF: "},
        {"73 MB packed", Tiff({{256, 3500}, {257, 3500}, {259, 8}, {278, 3500}}), "cannot hold"},
        {"16 GB", Tiff({{256, 50000}, {257, 50000}, {278, 50000}}), "cannot hold 50000 x 50000"},
        {"16 GB packed", Tiff({{256, 50000}, {257, 50000}, {259, 8}}), "cannot hold"},
        {"strips without end", Tiff({{257, most}, {278, 1}}), "number of strips"},
        {"tile", Tiff({{322, 1U << 30}, {323, 1U << 30}, {324, 8}, {325, 96}}), "longer than"},
        {"tiles of a pixel", Tiff({{256, 1U << 20}, {257, 1U << 20}, {322, 1}, {323, 1}}), ": "},
        {"strip behind the end", Tiff({{273, most}}), "is damaged"},
        {"strip too long", Tiff({{279, most}}), ""},
        {"empty strip", Tiff({{279, 0}}), ""},
        {"rows that make no strip", Tiff({{278, 0}}), ": "},
        {"palette without colours", Tiff({{258, 8}, {262, 3}, {277, 1}}), ""}, // grey
        {"CMYK", Tiff({{262, 5}, {277, 4}}), "photometric interpretation 5"},
        {"YCbCr", Tiff({{258, 8}, {262, 6}}), "photometric interpretation 6"},
        {"Lab", Tiff({{262, 8}}), "photometric interpretation 8"},
        {"bilevel", Tiff({{258, 1}, {262, 1}, {277, 1}}), "1-bit samples"},
        {"double", Tiff({{258, 64}, {339, 3}}), "64-bit samples"},
        {"signed", Tiff({{339, 2}}), "samples of format 2"},
        {"too few samples", Tiff({{277, 2}}), "has 2 samples"},
        {"samples without end", Tiff({{277, 65535}}), ": "},
        {"unknown compression", Tiff({{259, 60000}}), ": "},
        {"orientation", Tiff({{274, 99}}), ""},
        {"long profile", Tiff({{34675, 0x7fffffff}}), "ICC profile is damaged"},
        {"false profile", Tiff({{34675, 128}}), "ICC profile is damaged"},
        {"no directory", std::string("II*") + std::string(13, '\0'), "cannot be read as TIFF"},
        {"directory behind the end", std::string("II*\0", 4) + std::string(4, '\x7f'),
         "cannot be read as TIFF"},
    };
}

std::vector<Hostile> HostilePngs()
{
    const std::string rgb("\x10\x02\0\0\0", 5);
    return {
        {"sides", Png(0x7fffffff, 0x7fffffff, rgb), "a side is longer than"},
        {"16 GB", Png(60000, 60000, rgb), "cannot hold 60000 x 60000"},
        {"16 GB interlaced", Png(60000, 60000, std::string("\x10\x02\0\0\1", 5)), "cannot hold"},
        {"no pixels", Png(0, 5, rgb), ": "},
        {"no palette", Png(4, 4, std::string("\x08\x03\0\0\0", 5)), ": "},
        {"kind", Png(4, 4, std::string("\x07\x05\0\0\0", 5)), ": "},
        {"chunk without end", Png(4, 4, rgb, Number(0x7ffffff0, 4, false) + "iCCP"), ": "},
        {"800 MB of text", Png(4, 4, rgb, LargeTexts()), ": "},
        {"profile", Png(4, 4, rgb, PngChunk("iCCP", std::string("p") + std::string(40, '\0'))),
         "ICC profile is damaged"},
    };
}

std::vector<Hostile> HostileHdrs()
{
    return {
        {"sides", Hdr("\n-Y 2147483647 +X 2147483647\n"), "a side is longer than"},
        {"16 GB", Hdr("\n-Y 40000 +X 40000\n"), "cannot hold 40000 x 40000"},
        {"digits", Hdr("\n-Y 99999999999999999999 +X 1\n"), "resolution line"},
        {"negative", Hdr("\n-Y -5 +X 4\n"), "no pixels"},
        {"exposure", Hdr("EXPOSURE=0\n\n-Y 1 +X 1\nabcd"), "EXPOSURE"},
        {"line without end", Hdr(std::string(100000, 'x')), "header is damaged"},
        {"lines without end", Hdr(std::string(5000, 'a')), "header is damaged"},
        {"run before a pixel", Hdr("\n-Y 1 +X 9\n\1\1\1\5"), "longer than its line"},
        {"run too long", Hdr("\n-Y 1 +X 9\nabcd\1\1\1\377\1\1\1\377"), "longer than its line"},
    };
}

std::vector<Hostile> HostileExrs(const Folder& folder)
{
    samples::WriteExr(folder / "exr", {4, 3}, std::vector<float>(36, 0.5f), {});
    const std::string whole = Content(folder / "exr");
    {
        Imf::TiledRgbaOutputFile file((folder / "tiled").c_str(), 4, 3, 2, 2, Imf::ONE_LEVEL);
        const Imf::Array2D<Imf::Rgba> pixels(3, 4);
        file.setFrameBuffer(&pixels[0][0], 1, 4);
        file.writeTiles(0, 1, 0, 1);
    }
    const std::string tiled = Content(folder / "tiled");
    constexpr std::int32_t far = 1 << 30;
    const std::string moved = Exr(whole, "dataWindow", {far - 8, far - 8, far - 5, far - 6});
    std::string renamed = whole;
    renamed[renamed.find("G", renamed.find("chlist"))] = 'H';
    return {
        {"far", moved, ""}, // the display window is elsewhere: black
        {"farther", Exr(whole, "dataWindow", {far, far, far + 3, far + 2}), "OpenEXR"},
        {"from far to far", Exr(whole, "dataWindow", {-far, -far, far, far}), "OpenEXR"},
        {"wide display", Exr(whole, "displayWindow", {-far, -far, far, far}), "OpenEXR"},
        {"16 GB", Exr(whole, "dataWindow", {0, 0, 49999, 49999}), "cannot hold"},
        {"display of 100 megapixels", Exr(whole, "displayWindow", {0, 0, 9999, 9999}),
         "cannot hold 10000 x 10000"},
        {"display of 900 megapixels", Exr(whole, "displayWindow", {0, 0, 29999, 29999}),
         "cannot hold 30000 x 30000"},
        {"2 GB of text", ExrWithText(whole, 0x7fffffff), "comment states 2147483647 bytes"},
        {"text of a negative length", ExrWithText(whole, 0xfffffff0), "comment states"},
        {"rows without end", Exr(whole, "dataWindow", {0, 0, 3, 4000000}), "cannot hold"},
        {"tiles of a pixel", Exr(Exr(tiled, "dataWindow", {0, 0, 4999, 4999}), "tiles", {1, 1}),
         "chunks"},
        {"turned inside out", Exr(whole, "dataWindow", {5, 5, 0, 0}), "OpenEXR"},
        {"missing channel", renamed, "has no channel G"},
        {"tiles", tiled, ""},
        {"large tile", Exr(tiled, "tiles", {far, far}), "OpenEXR"},
    };
}

TEST(HostileFiles, AreRefusedByNameBeforeMemoryIsTaken)
{
    const Folder folder;
    const std::string path = folder / "hostile";
    const std::vector<Hostile> groups[] = {HostileTiffs(), HostilePngs(), HostileHdrs(),
                                           HostileExrs(folder)};
    const std::uint64_t before = PeakMemory();
    for (const std::vector<Hostile>& group : groups) {
        for (const Hostile& file : group) {
            SCOPED_TRACE(file.name);
            samples::WriteBytes(path, file.bytes);
            const std::string error = ErrorOf([&path] { Read(path, everyPixel); });
            EXPECT_EQ(file.reason.empty(), error.empty()) << error;
            EXPECT_NE(std::string::npos, error.find(file.reason)) << error;
            EXPECT_TRUE(error.empty() || error.starts_with(path + ": ")) << error;
            const std::string share = ErrorOf([&path] { ReadStrip(path); });
            EXPECT_TRUE(share.empty() || share.starts_with(path + ": ")) << share;
            // What a picture cannot hold a share cannot, either.
            const bool isHollow =
                file.bytes.starts_with("II*") && file.reason.starts_with("cannot hold");
            EXPECT_EQ(isHollow, share.find("cannot hold") != std::string::npos) << share;
            EXPECT_GT(before + allowance, PeakMemory());
        }
    }
}

TEST(HostileFiles, AreNoPipesAndDevices)
{
    const Folder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const std::string& path :
         {pipe, folder / "", std::string("/dev/zero"), std::string("/proc/self/mem")})
    {
        for (const auto& read : {std::function<void()>([&] { OpenImage(path, {everyPixel}); }),
                                 std::function<void()>([&] { ReadPrinterProfile(path); }),
                                 std::function<void()>([&] { StripReader reader(path); })})
        {
            EXPECT_TRUE(ErrorOf(read).starts_with(path + ": ")) << path;
        }
    }
}

} // namespace

} // namespace qva
