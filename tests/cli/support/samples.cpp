#include "samples.h"

#include "base/errors.h"
#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "picture/print_metadata.h"

#include <Imath/half.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <png.h>
#include <stdexcept>
#include <tiffio.h>

namespace qva::samples {

namespace {

/// Samples as a file stores them, in native byte order.
std::vector<unsigned char> Pack(const std::vector<double>& samples, int bits, bool isFloat)
{
    std::vector<unsigned char> bytes;
    for (const double sample : samples) {
        unsigned char raw[4] = {};
        if (bits == 32) {
            const auto value = static_cast<float>(sample);
            std::memcpy(raw, &value, 4);
        } else {
            const auto value = static_cast<float>(sample);
            const std::uint16_t word =
                isFloat ? imath_float_to_half(value) : static_cast<std::uint16_t>(sample);
            std::memcpy(raw, &word, 2);
        }
        bytes.insert(bytes.end(), raw, raw + bits / 8);
    }
    return bytes;
}

void SetTiffTags(TIFF* tiff, ImageSize size, const TiffKind& kind)
{
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(size.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(size.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.channels);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                 kind.isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, kind.orientation);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 kind.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (kind.isTiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    }
    if (kind.channels == 2 || kind.channels == 4) {
        std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
}

/// The samples of one plane (all channels where they are interleaved).
std::vector<double> PlaneOf(const std::vector<double>& samples, int channels, int plane)
{
    std::vector<double> out;
    for (std::size_t i = static_cast<std::size_t>(plane); i < samples.size();
         i += static_cast<std::size_t>(channels))
    {
        out.push_back(samples[i]);
    }
    return out;
}

void WriteTiles(TIFF* tiff, ImageSize size, const std::vector<unsigned char>& bytes,
                std::size_t pixelBytes, std::uint16_t plane)
{
    const auto width = static_cast<std::size_t>(size.width);
    const auto height = static_cast<std::size_t>(size.height);
    std::vector<unsigned char> tile(256 * pixelBytes);
    for (std::size_t top = 0; top < height; top += 16) {
        for (std::size_t left = 0; left < width; left += 16) {
            for (std::size_t row = top; row < std::min(height, top + 16); ++row) {
                std::copy_n(bytes.data() + (row * width + left) * pixelBytes,
                            std::min<std::size_t>(16, width - left) * pixelBytes,
                            tile.data() + (row - top) * 16 * pixelBytes);
            }
            TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(left),
                          static_cast<std::uint32_t>(top), 0, plane);
        }
    }
}

void WriteRgba(const std::string& path, const Imf::Header& header, const std::vector<float>& rgb,
               Imf::RgbaChannels channels)
{
    const Imath::Box2i& data = header.dataWindow();
    std::vector<Imf::Rgba> pixels;
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
        pixels.emplace_back(half(rgb[i]), half(rgb[i + 1]), half(rgb[i + 2]));
    }
    Imf::RgbaOutputFile file(path.c_str(), header, channels);
    const std::int64_t width = data.max.x - data.min.x + 1;
    file.setFrameBuffer(Imf::ComputeBasePointer(pixels.data(), data.min, width), 1,
                        static_cast<std::size_t>(width));
    file.writePixels(data.max.y - data.min.y + 1);
}

Imath::Box2i Window(ImageSize size, int left, int top)
{
    return {{left, top},
            {left + static_cast<int>(size.width) - 1, top + static_cast<int>(size.height) - 1}};
}

} // namespace

Folder::Folder()
{
    std::string name = (std::filesystem::temp_directory_path() / "qva-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    path_ = name;
}

Folder::~Folder()
{
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

void WritePng(const std::string& path, ImageSize size, const std::vector<double>& samples,
              const PngKind& kind)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                             PNG_COLOR_TYPE_RGB_ALPHA};
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(size.width),
                 static_cast<png_uint_32>(size.height), kind.bits, types[kind.channels - 1],
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, 0, 0);
    if (!kind.profile.empty()) {
        png_set_iCCP(png, info, "profile", 0, kind.profile.data(),
                     static_cast<png_uint_32>(kind.profile.size()));
    }
    png_write_info_before_PLTE(png, info);
    for (const Chunk& chunk : kind.chunks) {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>(chunk.name.c_str()),
                        chunk.data.data(), chunk.data.size());
    }
    png_write_info(png, info);
    if (kind.bits == 16) {
        png_set_swap(png);
    }
    std::vector<unsigned char> bytes;
    if (kind.bits == 8) {
        bytes.assign(samples.begin(), samples.end());
    } else {
        bytes = Pack(samples, 16, false);
    }
    std::vector<png_bytep> rows;
    for (std::size_t row = 0; row < static_cast<std::size_t>(size.height); ++row) {
        rows.push_back(bytes.data() + row * bytes.size() / static_cast<std::size_t>(size.height));
    }
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

void WriteTiff(const std::string& path, ImageSize size, const std::vector<double>& samples,
               const TiffKind& kind)
{
    TIFF* tiff = TIFFOpen(path.c_str(), kind.isBigEndian ? "wb" : "wl");
    SetTiffTags(tiff, size, kind);
    const int planes = kind.isPlanar ? kind.channels : 1;
    const std::size_t pixelBytes =
        static_cast<std::size_t>(kind.bits / 8 * (kind.isPlanar ? 1 : kind.channels));
    for (int plane = 0; plane < planes; ++plane) {
        std::vector<double> part = kind.isPlanar ? PlaneOf(samples, kind.channels, plane) : samples;
        std::vector<unsigned char> bytes;
        if (kind.bits == 8) {
            bytes.assign(part.begin(), part.end());
        } else {
            bytes = Pack(part, kind.bits, kind.isFloat);
        }
        if (kind.isTiled) {
            WriteTiles(tiff, size, bytes, pixelBytes, static_cast<std::uint16_t>(plane));
            continue;
        }
        const std::size_t rowBytes = pixelBytes * static_cast<std::size_t>(size.width);
        for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(size.height); ++row) {
            TIFFWriteScanline(tiff, bytes.data() + row * rowBytes, row,
                              static_cast<std::uint16_t>(plane));
        }
    }
    TIFFClose(tiff);
}

void WriteExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
              const ExrKind& kind)
{
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    const Imath::Box2i data({0, 0}, {width - 1, height - 1});
    const Imath::V2i shift(kind.displayLeft, kind.displayTop);
    Imf::Header header(Imath::Box2i(data.min + shift, data.max + shift), data);
    if (!kind.chromaticities.empty()) {
        const std::vector<float>& c = kind.chromaticities;
        Imf::addChromaticities(header, {{c[0], c[1]}, {c[2], c[3]}, {c[4], c[5]}, {c[6], c[7]}});
    }
    if (kind.whiteLuminance > 0.0f) {
        Imf::addWhiteLuminance(header, kind.whiteLuminance);
    }
    std::vector<half> halves(rgb.begin(), rgb.end());
    Imf::FrameBuffer frame;
    const char* const names[] = {"R", "G", "B"};
    for (std::size_t k = 0; k < (kind.isGrey ? 1 : 3); ++k) {
        const char* name = kind.isGrey ? "Y" : names[k];
        const Imf::PixelType type = kind.isHalf ? Imf::HALF : Imf::FLOAT;
        header.channels().insert(name, Imf::Channel(type));
        const void* first = kind.isHalf ? static_cast<const void*>(halves.data() + k)
                                        : static_cast<const void*>(rgb.data() + k);
        const std::size_t bytes = 3 * (kind.isHalf ? sizeof(half) : sizeof(float));
        frame.insert(name, Imf::Slice::Make(type, first, data, bytes,
                                            bytes * static_cast<std::size_t>(width)));
    }
    Imf::OutputFile file(path.c_str(), header);
    file.setFrameBuffer(frame);
    file.writePixels(height);
}

void WriteChromaExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                    int left, int top)
{
    const Imath::Box2i window = Window(size, left, top);
    WriteRgba(path, Imf::Header(window, window), rgb, Imf::WRITE_YC);
}

void WriteCompressedExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                        Imf::Compression compression)
{
    const Imath::Box2i window = Window(size, 0, 0);
    Imf::Header header(window, window);
    header.compression() = compression;
    WriteRgba(path, header, rgb, Imf::WRITE_RGB);
}

void WriteExrParts(const std::string& path, ImageSize size, const std::vector<ExrPart>& parts)
{
    const Imath::Box2i window = Window(size, 0, 0);
    std::vector<Imf::Header> headers;
    for (const ExrPart& part : parts) {
        Imf::Header header(window, window);
        header.setName(part.name);
        header.setType(Imf::SCANLINEIMAGE);
        for (const std::string& channel : part.channels) {
            header.channels().insert(channel, Imf::Channel(Imf::FLOAT));
        }
        headers.push_back(header);
    }
    Imf::MultiPartOutputFile file(path.c_str(), headers.data(), static_cast<int>(headers.size()));
    for (std::size_t k = 0; k < parts.size(); ++k) {
        std::vector<float> row(static_cast<std::size_t>(size.width), parts[k].value);
        Imf::FrameBuffer frame;
        for (const std::string& channel : parts[k].channels) {
            // Every row is the same one.
            frame.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(row.data()),
                                             sizeof(float), 0));
        }
        Imf::OutputPart part(file, static_cast<int>(k));
        part.setFrameBuffer(frame);
        part.writePixels(static_cast<int>(size.height));
    }
}

void WriteBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<float> ReadAll(const std::string& path, std::int64_t rowsAtOnce)
{
    const std::unique_ptr<ImageSource> source = OpenImage(path, {10000000});
    const ImageSize size = source->Size();
    std::vector<float> out(static_cast<std::size_t>(size.width * size.height * 3));
    for (std::int64_t row = 0; row < size.height; row += rowsAtOnce) {
        source->ReadRows(std::min(rowsAtOnce, size.height - row),
                         out.data() + row * size.width * 3);
    }
    source->Close();
    return out;
}

std::string Content(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Read(const std::string& path, std::uint64_t maxPixels)
{
    const auto source = OpenImage(path, {maxPixels});
    const Interpretation meaning = Interpret(source->Describe(), {});
    std::optional<SceneDecoder> decoder;
    if (!meaning.isInteger || meaning.transfer == Transfer::Profile) {
        decoder.emplace(meaning, path);
    }
    MetadataForPrint(source->Describe());
    MetadataFindings(source->Describe());
    const ImageSize size = source->Size();
    std::vector<float> row(static_cast<std::size_t>(size.width * 3));
    SampleCounts counts;
    for (std::int64_t y = 0; y < size.height; ++y) {
        source->ReadRows(1, row.data());
        if (decoder) {
            decoder->Decode(row.data(), static_cast<std::size_t>(size.width), counts);
        }
    }
}

std::string ErrorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

} // namespace qva::samples
