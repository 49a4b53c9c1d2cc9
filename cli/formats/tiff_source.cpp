// TIFF pictures of 8- or 16-bit integers or 16- or 32-bit floating-point samples.
#include "base/errors.h"
#include "formats/format_table.h"
#include "formats/tiff_metadata.h"
#include "picture/input_file.h"
#include "picture/rendered_for.h"

#include <Imath/half.h>
#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <tiffio.h>
#include <vector>

namespace qva {

namespace {

struct TiffCloser {
    void operator()(TIFF* file) const { TIFFClose(file); }
};

/// Rows are decoded in bands: as many rows as a tile or a strip has; single rows where a strip is
/// very large.
class TiffSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override { Read(count, rgb); }
    SampleKind Samples() const override;
    void ReadSamples(std::int64_t count, std::uint16_t* samples) override { Read(count, samples); }
    void SkipRows(std::int64_t count) override;
    void Close() override { file_.reset(); }

private:
    static int OnError(TIFF*, void* source, const char*, const char* format, va_list arguments);
    static int OnWarning(TIFF*, void* source, const char*, const char* format, va_list arguments);
    template <typename T>
    T Field(std::uint32_t tag) const;
    [[noreturn]] void Fail(const std::string& what) const;
    void OpenFile(const std::string& path);
    void DescribeSamples();
    void DescribeColour();
    void DescribeResolution();
    void PlanBands(const SizeLimits& limits);
    std::uint64_t LargestStrip() const;
    std::uint64_t Expansion() const;
    void ReadBand(std::int64_t first);
    void ReadStripBand(std::int64_t first);
    void ReadTileBand(std::int64_t first);
    void CopyTile(std::int64_t left, std::size_t plane);
    const unsigned char* SampleOf(std::int64_t bandRow, std::size_t channel) const;
    template <typename T>
    void Read(std::int64_t count, T* out);
    template <typename T>
    void CopyRow(std::int64_t bandRow, T* out) const;

    SourceDescription description_;
    std::unique_ptr<TIFF, TiffCloser> file_;
    std::string message_;
    bool profileRefused_ = false;
    std::size_t channels_ = 0;
    std::size_t sampleBytes_ = 0;
    std::size_t planes_ = 1;     ///< planes that are read: 1, or the colour channels
    std::size_t pixelBytes_ = 0; ///< from one pixel of a plane to the next
    std::int64_t tileWidth_ = 0; ///< 0 for strips
    std::int64_t bandRows_ = 1;
    bool scanlines_ = false; ///< of strips too large to be decoded at once
    std::size_t bandBytes_ = 0;
    std::size_t tileBytes_ = 0;
    std::int64_t bandFirst_ = -1;
    std::int64_t next_ = 0;
    std::vector<unsigned char> band_; ///< plane after plane, packed rows
    std::vector<unsigned char> tile_;
};

int TiffSource::OnError(TIFF*, void* source, const char*, const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
        static_cast<TiffSource*>(source)->message_ = text;
    } catch (const std::bad_alloc&) {
        // Then without a reason: the library cannot be passed by an exception.
    }
    return 1;
}

// A profile that cannot be read is only worth a warning to the library, which goes on without it.
int TiffSource::OnWarning(TIFF*, void* source, const char*, const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    if (std::strstr(text, "ICC Profile") != nullptr) {
        static_cast<TiffSource*>(source)->profileRefused_ = true;
    }
    return 1;
}

void TiffSource::Fail(const std::string& what) const
{
    throw Failure(description_.path, message_.empty() ? what : what + ": " + message_);
}

template <typename T>
T TiffSource::Field(std::uint32_t tag) const
{
    T value{};
    TIFFGetFieldDefaulted(file_.get(), tag, &value);
    return value;
}

void TiffSource::OpenFile(const std::string& path)
{
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(
        TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, this);
    message_.clear();
    profileRefused_ = false;
    // Not mapped into memory: what was read of a large file would count as the program's.
    file_.reset(TIFFOpenExt(path.c_str(), "rm", options.get()));
    if (!file_) {
        Fail("cannot be read as TIFF");
    }
}

void TiffSource::Open(const std::string& path, const SizeLimits& limits)
{
    description_ = {};
    description_.path = path;
    description_.format = "TIFF";
    OpenFile(path);
    description_.size = {Field<std::uint32_t>(TIFFTAG_IMAGEWIDTH),
                         Field<std::uint32_t>(TIFFTAG_IMAGELENGTH)};
    CheckSize(path, description_.size, limits);
    const int orientation = Field<std::uint16_t>(TIFFTAG_ORIENTATION);
    description_.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
    description_.hasMorePictures = TIFFLastDirectory(file_.get()) == 0;
    DescribeSamples();
    DescribeColour();
    DescribeResolution();
    description_.metadata = ReadTiffMetadata(path);
    PlanBands(limits);
}

void TiffSource::DescribeSamples()
{
    const auto photometric = Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC);
    channels_ = Field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
    description_.bits = Field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
    const auto kind = Field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
    description_.isFloat = kind == SAMPLEFORMAT_IEEEFP;
    description_.isGrey = photometric == PHOTOMETRIC_MINISBLACK;
    if (photometric != PHOTOMETRIC_RGB && photometric != PHOTOMETRIC_MINISBLACK) {
        Fail(fmt::format("its photometric interpretation {} cannot be read, only RGB and grey",
                         photometric));
    }
    const std::size_t colours = description_.isGrey ? 1 : 3;
    if (channels_ < colours) {
        Fail(fmt::format("has {} samples per pixel instead of {}", channels_, colours));
    }
    description_.hasAlpha = channels_ > colours;
    const int bits = description_.bits;
    const bool known = description_.isFloat ? bits == 16 || bits == 32
                                            : kind != SAMPLEFORMAT_INT && (bits == 8 || bits == 16);
    if (!known || kind > SAMPLEFORMAT_VOID) {
        Fail(fmt::format("its {}-bit samples of format {} cannot be read: 8- and 16-bit unsigned "
                         "and 16- and 32-bit floating-point ones can",
                         bits, kind));
    }
    sampleBytes_ = static_cast<std::size_t>(bits / 8);
}

void TiffSource::DescribeResolution()
{
    float x = 0.0f;
    float y = 0.0f;
    const auto unit = Field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT);
    if (TIFFGetField(file_.get(), TIFFTAG_XRESOLUTION, &x) == 1 &&
        TIFFGetField(file_.get(), TIFFTAG_YRESOLUTION, &y) == 1 && x == y && unit != RESUNIT_NONE)
    {
        const auto dpi = static_cast<double>(x);
        description_.dpi = ResolutionOf(unit == RESUNIT_CENTIMETER ? dpi * 2.54 : dpi);
    }
}

void TiffSource::DescribeColour()
{
    std::uint32_t size = 0;
    const void* profile = nullptr;
    if (TIFFGetField(file_.get(), TIFFTAG_ICCPROFILE, &size, &profile) == 1) {
        const auto* bytes = static_cast<const unsigned char*>(profile);
        description_.tags.profile.assign(bytes, bytes + size);
    } else if (profileRefused_) {
        description_.tags.profile.assign(1, 0);
    }
    const char* software = nullptr;
    if (TIFFGetField(file_.get(), TIFFTAG_SOFTWARE, &software) == 1) {
        AddPaper(software, description_);
    }
}

void TiffSource::PlanBands(const SizeLimits& limits)
{
    const bool isPlanar = Field<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    planes_ = isPlanar && !description_.isGrey ? 3 : 1;
    pixelBytes_ = sampleBytes_ * (isPlanar ? 1 : channels_);
    tileWidth_ = 0;
    tileBytes_ = 0;
    bandRows_ = 1;
    scanlines_ = false;
    if (TIFFIsTiled(file_.get()) != 0) {
        const ImageSize tile = {Field<std::uint32_t>(TIFFTAG_TILEWIDTH),
                                Field<std::uint32_t>(TIFFTAG_TILELENGTH)};
        // A tile may stick out of a small picture, but not by orders of magnitude.
        CheckSize(description_.path, tile, {std::max<std::uint64_t>(limits.pixels, 1U << 20)});
        tileWidth_ = tile.width;
        bandRows_ = tile.height;
        tileBytes_ = TIFFTileSize64(file_.get());
    } else {
        constexpr std::int64_t largestBand = 1 << 26;
        const std::int64_t rows = std::clamp<std::int64_t>(
            Field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP), 1, description_.size.height);
        const auto rowBytes = description_.size.width * static_cast<std::int64_t>(pixelBytes_);
        scanlines_ = !isPlanar && rows > 1 && rows > largestBand / rowBytes;
        bandRows_ = scanlines_ ? 1 : rows;
    }
    bandFirst_ = -1;
    next_ = 0;
    const std::int64_t rows = std::min(bandRows_, description_.size.height);
    const auto bandPixels = static_cast<std::size_t>(rows * description_.size.width);
    const std::size_t bytes = bandPixels * pixelBytes_ * planes_;
    if (tileWidth_ == 0 && !isPlanar &&
        static_cast<std::uint64_t>(TIFFScanlineSize64(file_.get())) !=
            bytes / static_cast<std::uint64_t>(rows))
    {
        Fail("its rows are not packed");
    }
    CheckPromise(description_.path, description_.size,
                 static_cast<std::uint64_t>(description_.size.width * description_.size.height) *
                     pixelBytes_ * planes_,
                 Expansion());
    CheckMemory(description_.path, tileWidth_ != 0 ? "a row of tiles" : "a strip",
                bytes + tileBytes_);
    bandBytes_ = bytes;
    description_.decodeBytes = LargestStrip() + bytes;
}

// Deflate makes 258 bytes of two bits, LZW at most 4093 of 12; 0 where none is known.
std::uint64_t TiffSource::Expansion() const
{
    switch (Field<std::uint16_t>(TIFFTAG_COMPRESSION)) {
    case COMPRESSION_NONE:
        return 1;
    case COMPRESSION_PACKBITS:
        return 64;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
        return 1032;
    case COMPRESSION_LZW:
        return 2729;
    default:
        return 0;
    }
}

std::uint64_t TiffSource::LargestStrip() const
{
    std::uint64_t largest = 0;
    const bool isTiled = tileWidth_ != 0;
    const std::uint32_t count =
        isTiled ? TIFFNumberOfTiles(file_.get()) : TIFFNumberOfStrips(file_.get());
    for (std::uint32_t strip = 0; strip < count; ++strip) {
        largest = std::max(largest, TIFFGetStrileByteCount(file_.get(), strip));
    }
    return largest;
}

void TiffSource::ReadBand(std::int64_t first)
{
    message_.clear();
    // Not before: a page in bands may refuse what decoding takes.
    band_.resize(bandBytes_);
    tile_.resize(tileBytes_);
    if (tileWidth_ != 0) {
        ReadTileBand(first);
    } else {
        ReadStripBand(first);
    }
    bandFirst_ = first;
}

void TiffSource::ReadStripBand(std::int64_t first)
{
    const auto row = static_cast<std::uint32_t>(first);
    const std::size_t planeBytes = band_.size() / planes_;
    if (scanlines_) {
        if (TIFFReadScanline(file_.get(), band_.data(), row, 0) != 1) {
            Fail("is damaged");
        }
        return;
    }
    const std::int64_t rows = std::min(bandRows_, description_.size.height - first);
    const auto wanted = static_cast<tmsize_t>(
        static_cast<std::size_t>(rows * description_.size.width) * pixelBytes_);
    for (std::size_t plane = 0; plane < planes_; ++plane) {
        const auto strip = TIFFComputeStrip(file_.get(), row, static_cast<std::uint16_t>(plane));
        if (TIFFReadEncodedStrip(file_.get(), strip, band_.data() + plane * planeBytes, wanted) !=
            wanted) {
            Fail("is damaged");
        }
    }
}

void TiffSource::ReadTileBand(std::int64_t first)
{
    for (std::size_t plane = 0; plane < planes_; ++plane) {
        for (std::int64_t left = 0; left < description_.size.width; left += tileWidth_) {
            const auto size = static_cast<tmsize_t>(tile_.size());
            const auto tile = TIFFComputeTile(file_.get(), static_cast<std::uint32_t>(left),
                                              static_cast<std::uint32_t>(first), 0,
                                              static_cast<std::uint16_t>(plane));
            if (TIFFReadEncodedTile(file_.get(), tile, tile_.data(), size) != size) {
                Fail("is damaged");
            }
            CopyTile(left, plane);
        }
    }
}

void TiffSource::CopyTile(std::int64_t left, std::size_t plane)
{
    const std::int64_t width = description_.size.width;
    const std::size_t planeBytes = band_.size() / planes_;
    const auto rowBytes = static_cast<std::size_t>(width) * pixelBytes_;
    const auto rows = static_cast<std::size_t>(std::min(bandRows_, description_.size.height));
    const std::size_t tileRowBytes = tile_.size() / static_cast<std::size_t>(bandRows_);
    const std::size_t used =
        static_cast<std::size_t>(std::min(tileWidth_, width - left)) * pixelBytes_;
    for (std::size_t row = 0; row < rows; ++row) {
        std::memcpy(band_.data() + plane * planeBytes + row * rowBytes +
                        static_cast<std::size_t>(left) * pixelBytes_,
                    tile_.data() + row * tileRowBytes, used);
    }
}

const unsigned char* TiffSource::SampleOf(std::int64_t bandRow, std::size_t channel) const
{
    const auto rowBytes = static_cast<std::size_t>(description_.size.width) * pixelBytes_;
    const unsigned char* row = band_.data() + static_cast<std::size_t>(bandRow) * rowBytes;
    if (planes_ > 1) {
        return row + channel * (band_.size() / planes_);
    }
    return description_.isGrey ? row : row + channel * sampleBytes_;
}

SampleKind TiffSource::Samples() const
{
    if (!description_.isFloat) {
        return SampleKind::Codes;
    }
    return sampleBytes_ == 2 ? SampleKind::Halves : SampleKind::Floats;
}

template <typename T>
T Loaded(const unsigned char* bytes)
{
    T value{};
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

void SampleAt(const unsigned char* bytes, std::size_t size, bool isFloat, float& out)
{
    if (size == 4) {
        out = Loaded<float>(bytes);
    } else if (size == 2) {
        const auto word = Loaded<std::uint16_t>(bytes);
        out = isFloat ? imath_half_to_float(word) : word;
    } else {
        out = *bytes;
    }
}

void SampleAt(const unsigned char* bytes, std::size_t size, bool, std::uint16_t& out)
{
    out = size == 2 ? Loaded<std::uint16_t>(bytes) : *bytes;
}

template <typename T>
void TiffSource::CopyRow(std::int64_t bandRow, T* out) const
{
    const std::int64_t width = description_.size.width;
    // The commonest kind of row, 16-bit R, G, B.
    if (planes_ == 1 && pixelBytes_ == 6 && (!description_.isFloat || sizeof(T) == 2)) {
        const unsigned char* in = SampleOf(bandRow, 0);
        for (std::int64_t i = 0; i < width * 3; ++i) {
            out[i] = Loaded<std::uint16_t>(in + i * 2);
        }
        return;
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const unsigned char* in = SampleOf(bandRow, channel);
        for (std::int64_t x = 0; x < width; ++x, in += pixelBytes_) {
            SampleAt(in, sampleBytes_, description_.isFloat,
                     out[x * 3 + static_cast<std::int64_t>(channel)]);
        }
    }
}

void TiffSource::SkipRows(std::int64_t count)
{
    // Within a compressed strip a row can only be reached through those before it.
    if (scanlines_) {
        ImageSource::SkipRows(count);
    } else {
        next_ += count;
    }
}

template <typename T>
void TiffSource::Read(std::int64_t count, T* out)
{
    for (std::int64_t row = 0; row < count; ++row, ++next_) {
        const std::int64_t first = next_ - next_ % bandRows_;
        if (first != bandFirst_) {
            ReadBand(first);
        }
        CopyRow(next_ - first, out + row * description_.size.width * 3);
    }
}

} // namespace

std::unique_ptr<ImageSource> MakeTiffSource()
{
    return std::make_unique<TiffSource>();
}

} // namespace qva
