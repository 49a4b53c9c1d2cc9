#include "picture_kinds.h"

#include "colour/icc_builder.h"
#include "formats/writer_table.h"
#include "jpeg_samples.h"
#include "samples.h"
#include "tiff_bytes.h"

#if defined(QVA_HAVE_JXL)
#include "jxl_samples.h"
#endif
#if defined(QVA_HAVE_RAW)
#include "dng_samples.h"
#endif

namespace qva::samples {

namespace {

constexpr ImageSize size = {9, 7};
constexpr int pixels = 63;

std::vector<double> Codes(int count, int step, int modulus)
{
    std::vector<double> codes;
    for (int i = 0; i < count; ++i) {
        codes.push_back(i * step % modulus);
    }
    return codes;
}

void WritePngs(const std::string& folder)
{
    const std::vector<double> codes = Codes(pixels * 3, 997, 65536);
    WritePng(folder + "png16", size, codes, {});
    WritePng(folder + "png8", size, Codes(pixels * 3, 37, 256), {.bits = 8});
    WritePng(folder + "png_grey", size, Codes(pixels, 997, 65536), {.channels = 1});
    WritePng(folder + "png_alpha", size, Codes(pixels * 4, 911, 65536), {.channels = 4});
    WritePng(folder + "png_interlaced", size, codes, {.interlaced = true});
    WritePng(folder + "png_pq", size, codes,
             {.chunks = {{"cICP", {9, 16, 0, 1}},
                         {"mDCV", std::vector<unsigned char>(24, 1)},
                         {"cLLI", std::vector<unsigned char>(8, 2)}}});
    WritePng(folder + "png_profile", size, codes, {.profile = RenderedProfile()});
}

void WriteTiffs(const std::string& folder, const std::vector<float>& light)
{
    const std::vector<double> codes = Codes(pixels * 3, 997, 65536);
    const std::vector<double> whole(light.begin(), light.end());
    WriteTiff(folder + "tiff16", size, codes, {});
    WriteTiff(folder + "tiff8", size, Codes(pixels * 3, 37, 256), {.bits = 8});
    WriteTiff(folder + "tiff_float", size, whole, {.bits = 32, .isFloat = true});
    WriteTiff(folder + "tiff_half", size, whole, {.bits = 16, .isFloat = true});
    WriteTiff(folder + "tiff_planar", size, codes, {.isPlanar = true});
    WriteTiff(folder + "tiff_tiled", size, codes, {.isTiled = true});
    WriteTiff(folder + "tiff_big_endian", size, codes, {.isBigEndian = true});
    WriteTiff(folder + "tiff_turned", size, codes, {.orientation = 6});
    WriteTiff(folder + "tiff_grey", size, Codes(pixels, 997, 65536),
              {.channels = 1, .photometric = 1});
}

void WriteExrs(const std::string& folder, const std::vector<float>& light)
{
    WriteExr(folder + "exr_half", size, light, {});
    WriteExr(folder + "exr_float", size, light, {.isHalf = false});
    WriteExr(folder + "exr_grey", size, light, {.isGrey = true});
    WriteExr(folder + "exr_moved", size, light, {.displayLeft = 2, .displayTop = -3});
    WriteExr(folder + "exr_primaries", size, light,
             {.chromaticities = {0.708f, 0.292f, 0.17f, 0.797f, 0.131f, 0.046f, 0.3127f, 0.329f},
              .whiteLuminance = 500});
    WriteChromaExr(folder + "exr_chroma", {8, 6}, {light.begin(), light.begin() + 8 * 6 * 3});
    WriteCompressedExr(folder + "exr_dwa", size, light, Imf::DWAA_COMPRESSION);
    WriteExrParts(folder + "exr_parts", size,
                  {{"depth", {"Z"}, 9.0f}, {"beauty", {"B", "G", "R"}, 0.5f}});
}

void WriteHdrs(const std::string& folder)
{
    std::string flat = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 7 +X 9\n";
    for (int i = 0; i < pixels * 4; ++i) {
        flat.push_back(static_cast<char>(i * 5));
    }
    WriteBytes(folder + "hdr_flat", flat);
    std::string runs = "#?RADIANCE\nEXPOSURE=2\nFORMAT=32-bit_rle_rgbe\n\n-Y 3 +X 9\n";
    for (int row = 0; row < 3; ++row) {
        runs += std::string("\x02\x02\x00\x09", 4);
        for (int channel = 0; channel < 4; ++channel) {
            // A run of five, then four bytes as they are.
            runs.push_back(static_cast<char>(128 + 5));
            runs.push_back(static_cast<char>(60 + channel * 20));
            runs += "\x04"
                    "abcd";
        }
    }
    WriteBytes(folder + "hdr_runs", runs);
}

#if defined(QVA_HAVE_JPEG)
void WriteJpegs(const std::string& folder)
{
    std::vector<unsigned char> codes;
    for (int i = 0; i < pixels * 3; ++i) {
        codes.push_back(static_cast<unsigned char>(i * 37));
    }
    const std::vector<unsigned char> profile = RenderedProfile();
    const Segment profileSegment = {2, std::string("ICC_PROFILE\0\1\1", 14) +
                                           std::string(profile.begin(), profile.end())};
    WriteBytes(folder + "jpeg", Jpeg(size, codes, {.segments = {profileSegment}}));
    WriteBytes(folder + "jpeg_grey", Jpeg(size, codes, {.channels = 1, .dotsPerInch = 300}));
    WriteBytes(
        folder + "jpeg_progressive",
        Jpeg(size, codes, {.isProgressive = true, .segments = {ExifSegment({{274, 6}}, true)}}));
    const std::string picture = Jpeg(size, codes, {});
    const auto map = [&](int channels, const Segment& segment) {
        return Jpeg({4, 3}, codes, {.channels = channels, .segments = {segment}});
    };
    WriteBytes(folder + "jpeg_map_iso", WithMap(picture, map(1, IsoSegment()), true));
    WriteBytes(folder + "jpeg_map_hdrgm", WithMap(picture, map(3, HdrgmSegment()), false));
    WriteBytes(folder + "jpeg_map_apple", WithMap(picture, map(1, AppleSegment()), false));
}
#else
void WriteJpegs(const std::string&)
{
}
#endif

// Written once by encoders, which would take long: tests/cli/data. Gain maps, grids, both codecs.
void CopyHeifs(const std::string& folder)
{
    for (const char* name : {"pq10_420.avif", "hlg10_422.avif", "grey8.avif", "steps_turned.avif",
                             "grid8.avif", "gain_map.avif", "heic8_420.heic", "heic10_420.heic"})
    {
        std::string kind = name;
        kind[kind.find('.')] = '_';
        std::filesystem::copy_file(std::string(LUMO_TEST_DATA) + name, folder + kind,
                                   std::filesystem::copy_options::overwrite_existing);
    }
}

void WriteJxls(const std::string& folder)
{
#if defined(QVA_HAVE_JXL)
    const std::vector<double> codes = Codes(pixels * 3, 997, 65536);
    WriteJxl(folder + "jxl_codes", size, codes, {.profile = RenderedProfile()});
    WriteJxl(folder + "jxl_lossy", size, codes,
             {.isLossless = false,
              .transfer = JXL_TRANSFER_FUNCTION_PQ,
              .primaries = JXL_PRIMARIES_2100});
    WriteJxl(folder + "jxl_float", size, Codes(pixels * 3, 3, 20), {.bits = 32, .isFloat = true});
    WriteJxl(folder + "jxl_boxes", size, Codes(pixels * 4, 37, 256),
             {.bits = 8,
              .channels = 4,
              .hasContainer = true,
              .orientation = 8,
              .frames = 2,
              .exif = {'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0},
              .xmp = "<x:xmpmeta/>"});
#else
    static_cast<void>(folder);
#endif
}

void WriteRaws(const std::string& folder)
{
#if defined(QVA_HAVE_RAW)
    std::vector<double> light = Codes(32 * 24 * 3, 7, 100);
    for (double& value : light) {
        value /= 100.0;
    }
    WriteDng(folder + "dng", {32, 24}, light);
    WriteDng(folder + "dng_big_endian", {32, 24}, light, {.orientation = 3, .isBigEndian = true});
#else
    static_cast<void>(folder);
#endif
}

/// Both formats that are written, with all that describes a picture.
void WriteDescribed(const std::string& folder)
{
    const std::vector<std::uint16_t> codes(static_cast<std::size_t>(pixels) * 3, 30000);
    for (const OutputFormat* format : {&OutputFormatOf("a.tif"), &OutputFormatOf("a.png")}) {
        OutputFile file(folder + format->name + "_described");
        const auto writer = format->make(file, size, {.metadata = Described()});
        writer->Write(codes.data(), size.height);
        writer->Finish();
        file.Commit();
    }
}

} // namespace

Metadata Described()
{
    // The directory has an artist, a place of Exif data behind it, and one of GPS data.
    const auto number = [](std::uint64_t value) { return Number(value, 4, true); };
    const std::string exif = Header(true) +
                             Directory({{315, 2, 4, std::string("Ada\0", 4)},
                                        {34665, 4, 1, number(50)},
                                        {34853, 4, 1, number(76)}},
                                       true) +
                             Directory({{33434, 5, 1, number(68)}}, true) + number(1) + number(60) +
                             Directory({{1, 2, 2, std::string("N\0\0\0", 4)}}, true);
    return {AsBytes(exif),
            AsBytes("<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                    "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
                    "xmlns:p='http://ns.adobe.com/photoshop/1.0/' p:City='Bath' "
                    "p:ColorMode='3'><p:Credit>Ada</p:Credit></rdf:Description></rdf:RDF>"
                    "</x:xmpmeta>"),
            AsBytes(std::string("\x1c\x01\x5a\0\3\x1b%G\x1c\2\x50\0\3Ada", 16))};
}

void WritePictureKinds(const std::string& path)
{
    const std::string folder = path + "/";
    std::vector<float> light;
    for (int i = 0; i < pixels * 3; ++i) {
        light.push_back(static_cast<float>(i) * 0.07f);
    }
    WritePngs(folder);
    WriteTiffs(folder, light);
    WriteExrs(folder, light);
    WriteHdrs(folder);
    WriteJpegs(folder);
    CopyHeifs(folder);
    WriteJxls(folder);
    WriteRaws(folder);
    WriteDescribed(folder);
}

} // namespace qva::samples
