// Device values as TIFF of 8 or 16 bits.
#include "base/descriptor.h"
#include "base/errors.h"
#include "base/workers.h"
#include "colour/device_output.h"
#include "formats/deflater.h"
#include "formats/device_rows.h"
#include "formats/row_gatherer.h"
#include "formats/tiff_messages.h"
#include "formats/tiff_strips.h"
#include "formats/writer_table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <tiffio.h>
#include <unistd.h>

namespace qva {

namespace {

constexpr std::int64_t stripsAtOnce = 64;

class DeviceTiffWriter : public RowWriter {
public:
    DeviceTiffWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings);

    void Write(const std::uint16_t* codes, std::int64_t count) override { rows_.Add(codes, count); }
    std::int64_t RowsAtOnce() const override { return rows_.AtOnce(); }
    void Finish() override;

private:
    [[noreturn]] void Fail() const;
    template <typename... Values>
    void Set(std::uint32_t tag, Values... values);
    void SetSamples();
    void SetInks();
    /// @param lines  whole strips, or all that are left.
    void Encode(const std::uint16_t* codes, std::int64_t lines);
    void MakeStrip(std::int64_t strip, const std::uint16_t* codes, Deflater& deflater,
                   EncodedStrip& out) const;
    void Append(EncodedStrip& strip);

    std::string path_;
    std::string message_;
    ImageSize size_;
    WriteSettings settings_;
    std::int64_t stripLines_;
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff_{nullptr, TIFFClose};
    RowGatherer rows_;
    std::int64_t next_ = 0; ///< the first strip that is not in the file yet
};

DeviceTiffWriter::DeviceTiffWriter(const OutputFile& file, ImageSize size,
                                   const WriteSettings& settings)
    : path_(file.Path()),
      size_(size),
      settings_(settings),
      stripLines_(StripLines(size.width, size.height)),
      rows_(size.width * 3, size.height, stripsAtOnce * stripLines_,
            [this](const std::uint16_t* codes, std::int64_t lines) { Encode(codes, lines); })
{
    const DeviceOutput& device = *settings.device;
    const auto bytes = static_cast<std::int64_t>(device.PixelBytes()) * size.width * size.height;
    // Classic TIFF ends at 4 GiB.
    const bool isBig = bytes > 4000000000;
    Descriptor descriptor = file.Duplicate();
    const auto options = MakeTiffOptions(message_);
    errno = 0;
    tiff_.reset(TIFFFdOpenExt(descriptor.Get(), path_.c_str(), isBig ? "w8" : "w", options.get()));
    if (!tiff_) {
        Fail();
    }
    descriptor.Release();
    SetSamples();
    if (device.IsInk()) {
        SetInks();
    }
}

void DeviceTiffWriter::Fail() const
{
    throw Failure(path_, errno != 0 ? WriteReason(errno) : "cannot be written: " + message_,
                  exitOutput);
}

template <typename... Values>
void DeviceTiffWriter::Set(std::uint32_t tag, Values... values)
{
    if (TIFFSetField(tiff_.get(), tag, values...) != 1) {
        Fail();
    }
}

void DeviceTiffWriter::SetSamples()
{
    const DeviceOutput& device = *settings_.device;
    const bool isPlain = settings_.compression == Compression::None;
    Set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(size_.width));
    Set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(size_.height));
    Set(TIFFTAG_BITSPERSAMPLE, device.Bits());
    Set(TIFFTAG_SAMPLESPERPIXEL, device.Channels());
    Set(TIFFTAG_PHOTOMETRIC, device.IsInk()           ? PHOTOMETRIC_SEPARATED
                             : device.Channels() == 1 ? PHOTOMETRIC_MINISBLACK
                                                      : PHOTOMETRIC_RGB);
    Set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    Set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    Set(TIFFTAG_COMPRESSION, isPlain ? COMPRESSION_NONE : COMPRESSION_ADOBE_DEFLATE);
    if (!isPlain) {
        Set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    Set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(stripLines_));
    Set(TIFFTAG_SOFTWARE, SoftwareText(settings_.renderedFor).c_str());
    Set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(device.Profile().size()),
        device.Profile().data());
    if (settings_.dpi > 0.0) {
        Set(TIFFTAG_XRESOLUTION, settings_.dpi);
        Set(TIFFTAG_YRESOLUTION, settings_.dpi);
        Set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    }
}

void DeviceTiffWriter::SetInks()
{
    const DeviceOutput& device = *settings_.device;
    std::string names;
    for (const std::string& name : device.ChannelNames()) {
        names += name;
        names += '\0';
    }
    Set(TIFFTAG_INKSET, device.IsCmyk() ? INKSET_CMYK : INKSET_MULTIINK);
    Set(TIFFTAG_NUMBEROFINKS, device.Channels());
    Set(TIFFTAG_INKNAMES, static_cast<int>(names.size()), names.c_str());
}

void DeviceTiffWriter::MakeStrip(std::int64_t strip, const std::uint16_t* codes, Deflater& deflater,
                                 EncodedStrip& out) const
{
    const std::int64_t first = strip * stripLines_;
    const bool isPlain = settings_.compression == Compression::None;
    EncodedStrip values;
    MakeDeviceRows(*settings_.device,
                   {codes, size_.width, first, std::min(stripLines_, size_.height - first)},
                   isPlain ? DeviceRowForm::Plain : DeviceRowForm::Differences, values);
    if (isPlain) {
        out = std::move(values);
    } else {
        deflater.MakeStream(values, out);
    }
}

void DeviceTiffWriter::Append(EncodedStrip& strip)
{
    errno = 0;
    if (TIFFWriteRawStrip(tiff_.get(), static_cast<std::uint32_t>(next_++), strip.data(),
                          static_cast<tmsize_t>(strip.size())) < 0)
    {
        Fail();
    }
}

void DeviceTiffWriter::Encode(const std::uint16_t* codes, std::int64_t lines)
{
    const std::int64_t first = next_;
    std::vector<EncodedStrip> strips(static_cast<std::size_t>(UsualSlots()));
    std::vector<Deflater> deflaters(
        static_cast<std::size_t>(std::min<std::int64_t>(UsualSlots(), Workers())));
    SlotSteps steps;
    steps.count = (lines + stripLines_ - 1) / stripLines_;
    steps.slots = UsualSlots();
    steps.shared = [&](std::int64_t item, int worker) {
        MakeStrip(first + item, codes + item * stripLines_ * size_.width * 3,
                  deflaters[static_cast<std::size_t>(worker)],
                  strips[static_cast<std::size_t>(item % steps.slots)]);
    };
    steps.ordered = [&](std::int64_t item) {
        Append(strips[static_cast<std::size_t>(item % steps.slots)]);
    };
    RunSharedFirst(steps);
}

void DeviceTiffWriter::Finish()
{
    errno = 0;
    if (TIFFWriteDirectory(tiff_.get()) != 1 || TIFFFlush(tiff_.get()) != 1) {
        Fail();
    }
}

} // namespace

std::unique_ptr<RowWriter> MakeDeviceTiffWriter(const OutputFile& file, ImageSize size,
                                                const WriteSettings& settings)
{
    return std::make_unique<DeviceTiffWriter>(file, size, settings);
}

} // namespace qva
