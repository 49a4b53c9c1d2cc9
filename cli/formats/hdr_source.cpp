// Radiance pictures: RGBE pixels, flat or run-length coded in the old or the new way.
#include "base/errors.h"
#include "formats/format_table.h"
#include "formats/hdr_header.h"
#include "picture/input_file.h"

#include <cerrno>
#include <cmath>
#include <vector>

namespace qva {

namespace {

using Rgbe = std::array<unsigned char, 4>;

class HdrSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void Close() override { file_.reset(); }

private:
    unsigned char Byte();
    Rgbe Pixel();
    void ReadScanline();
    void ReadNewRuns();
    void ReadOldRuns(Rgbe first);
    [[noreturn]] void Damaged() const;

    SourceDescription description_;
    std::array<double, 3> gains_{};
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, std::fclose};
    std::vector<Rgbe> scanline_;
};

void HdrSource::Open(const std::string& path, const SizeLimits& limits)
{
    file_.reset(std::fopen(path.c_str(), "rb"));
    if (!file_) {
        throw Failure(path, SystemReason(errno));
    }
    const HdrHeader header = ReadHdrHeader(file_.get(), path);
    CheckSize(path, header.size, limits);
    CheckPromise(path, header.size);
    description_ = {};
    description_.path = path;
    description_.format = "Radiance HDR";
    description_.size = header.size;
    description_.orientation = header.orientation;
    description_.bits = 32;
    description_.isFloat = true;
    description_.sceneLinear = true;
    description_.tags.chromaticities = header.primaries;
    gains_ = header.gains;
    scanline_.resize(static_cast<std::size_t>(header.size.width));
}

void HdrSource::Damaged() const
{
    throw Failure(description_.path, std::feof(file_.get()) != 0
                                         ? "ends before its last pixel"
                                         : "is damaged: a run of pixels is longer than its line");
}

unsigned char HdrSource::Byte()
{
    const int byte = getc_unlocked(file_.get());
    if (byte == EOF) {
        Damaged();
    }
    return static_cast<unsigned char>(byte);
}

Rgbe HdrSource::Pixel()
{
    Rgbe pixel;
    for (unsigned char& byte : pixel) {
        byte = Byte();
    }
    return pixel;
}

void HdrSource::ReadScanline()
{
    const Rgbe first = Pixel();
    const std::size_t width = scanline_.size();
    // A new-style line starts with 2, 2 and its width in 15 bits.
    if (width >= 8 && width < 32768 && first[0] == 2 && first[1] == 2 && first[2] < 128) {
        if (static_cast<std::size_t>(first[2] * 256 + first[3]) != width) {
            throw Failure(description_.path, "is damaged: a line states another width");
        }
        ReadNewRuns();
    } else {
        ReadOldRuns(first);
    }
}

void HdrSource::ReadNewRuns()
{
    for (std::size_t k = 0; k < 4; ++k) {
        for (std::size_t x = 0; x < scanline_.size();) {
            const unsigned code = Byte();
            const bool isRun = code > 128;
            const std::size_t count = isRun ? code - 128 : code;
            if (count == 0 || count > scanline_.size() - x) {
                Damaged();
            }
            const unsigned char repeated = isRun ? Byte() : 0;
            for (const std::size_t end = x + count; x < end; ++x) {
                scanline_[x][k] = isRun ? repeated : Byte();
            }
        }
    }
}

void HdrSource::ReadOldRuns(Rgbe pixel)
{
    // A pixel 1, 1, 1, n repeats the one before it n times; several in a row are the digits of
    // one count to the base 256, lowest first.
    int shift = 0;
    std::size_t x = 0;
    while (true) {
        if (pixel[0] == 1 && pixel[1] == 1 && pixel[2] == 1) {
            const std::size_t count = shift < 32 ? std::size_t{pixel[3]} << shift : 0;
            if (x == 0 || shift >= 32 || count > scanline_.size() - x) {
                Damaged();
            }
            for (const std::size_t end = x + count; x < end; ++x) {
                scanline_[x] = scanline_[x - 1];
            }
            shift += 8;
        } else {
            scanline_[x++] = pixel;
            shift = 0;
        }
        if (x == scanline_.size()) {
            return;
        }
        pixel = Pixel();
    }
}

void HdrSource::ReadRows(std::int64_t count, float* rgb)
{
    for (std::int64_t row = 0; row < count; ++row) {
        ReadScanline();
        for (const Rgbe& pixel : scanline_) {
            // The mantissas were truncated when the file was written: half a step restores the
            // mean. Exponent 0 is black.
            const double unit = pixel[3] == 0 ? 0.0 : std::ldexp(1.0, pixel[3] - (128 + 8));
            for (std::size_t k = 0; k < 3; ++k) {
                *rgb++ = static_cast<float>((pixel[k] + 0.5) * unit * gains_[k]);
            }
        }
    }
}

} // namespace

std::unique_ptr<ImageSource> MakeHdrSource()
{
    return std::make_unique<HdrSource>();
}

} // namespace qva
