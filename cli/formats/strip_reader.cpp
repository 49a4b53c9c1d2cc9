#include "formats/strip_reader.h"

#include "base/errors.h"
#include "formats/image_source.h"
#include "formats/tiff_messages.h"
#include "picture/input_file.h"

#include <algorithm>
#include <limits>
#include <tiffio.h>

namespace qva {

struct StripReader::File {
    std::string message;
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff{nullptr, TIFFClose};
};

StripReader::StripReader(const std::string& path) : path_(path), file_(std::make_unique<File>())
{
    fileBytes_ = SizeOfRegularFile(path);
    const auto options = MakeTiffOptions(file_->message);
    // Not mapped into memory, and a single strip that is not compressed is not cut into several.
    file_->tiff.reset(TIFFOpenExt(path.c_str(), "rmc", options.get()));
    TIFF* tiff = file_->tiff.get();
    if (tiff == nullptr) {
        Fail("cannot be read");
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t stripLines = 0;
    std::uint16_t bits = 0;
    std::uint16_t samples = 0;
    std::uint16_t scheme = 0;
    float dpi = 0.0f;
    const char* text = nullptr;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &stripLines);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &scheme);
    if (width == 0 || height == 0 || stripLines == 0 || bits != 16 || samples != 3 ||
        TIFFIsTiled(tiff) != 0)
    {
        Fail("is not a rendered page in strips");
    }
    CheckSize(path, {width, height}, {std::numeric_limits<std::uint64_t>::max()});
    // LZW makes 4093 bytes of 12 bits, more than anything else that a share is compressed with.
    CheckPromise(path, {width, height}, std::uint64_t{width} * height * 6, 2729);
    CheckMemory(path, "a strip", std::uint64_t{width} * std::min(stripLines, height) * 6);
    page_.layout = {width, height, std::min(stripLines, height)};
    page_.settings.compression = scheme == COMPRESSION_NONE  ? Compression::None
                                 : scheme == COMPRESSION_LZW ? Compression::Lzw
                                                             : Compression::Deflate;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &dpi) == 1) {
        page_.settings.dpi = static_cast<double>(dpi);
    }
    if (TIFFGetField(tiff, TIFFTAG_SOFTWARE, &text) == 1) {
        page_.settings.renderedFor = ParseSoftware(text);
    }
    if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) == 1) {
        page_.description = text;
    }
}

StripReader::~StripReader() = default;
StripReader::StripReader(StripReader&&) noexcept = default;
StripReader& StripReader::operator=(StripReader&&) noexcept = default;

void StripReader::Fail(const std::string& what) const
{
    throw Failure(path_, file_->message.empty() ? what : what + ": " + file_->message);
}

EncodedStrip StripReader::Encoded(std::int64_t strip)
{
    const auto index = static_cast<std::uint32_t>(strip);
    const std::uint64_t size = TIFFGetStrileByteCount(file_->tiff.get(), index);
    // Compression can make a strip of noise a little longer, not twice as long.
    if (size == 0 || size > fileBytes_ || size > 2 * page_.layout.SizeOf(strip) + 1024) {
        Fail("is damaged: a strip has no sensible length");
    }
    EncodedStrip bytes(size);
    if (TIFFReadRawStrip(file_->tiff.get(), index, bytes.data(), static_cast<tmsize_t>(size)) !=
        static_cast<tmsize_t>(size))
    {
        Fail("is damaged");
    }
    return bytes;
}

void StripReader::Decode(std::int64_t strip, std::uint16_t* codes)
{
    const auto size = static_cast<tmsize_t>(page_.layout.SizeOf(strip));
    if (TIFFReadEncodedStrip(file_->tiff.get(), static_cast<std::uint32_t>(strip), codes, size) !=
        size) {
        Fail("is damaged");
    }
}

} // namespace qva
