// OpenEXR pictures.
#include "base/errors.h"
#include "formats/exr_header.h"
#include "formats/format_table.h"
#include "picture/input_file.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfTileDescriptionAttribute.h>
#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <vector>

namespace qva {

namespace {

/// What the colours of a part are made of.
enum class Layout {
    Rgb,
    Grey,  ///< Y
    Chroma ///< Y, and RY and BY of every second pixel of every second row
};

/// The picture is the display window; what lies outside the data window is black.
class ExrSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override { Read(count, rgb, block_); }
    SampleKind Samples() const override
    {
        return description_.bits == 16 ? SampleKind::Halves : SampleKind::Floats;
    }
    void ReadSamples(std::int64_t count, std::uint16_t* samples) override
    {
        Read(count, samples, halves_);
    }
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override;

private:
    void OpenPart();
    void CheckChannels();
    void CheckChannel(const char* name, int sampling);
    void CheckTiles();
    void DescribeColour();
    template <typename T>
    void Read(std::int64_t count, T* out, std::vector<T>& block);
    template <typename T>
    void ReadOverlap(std::int64_t first, std::int64_t last, T* block);
    template <typename T>
    void ReadChannels(std::int64_t first, std::int64_t last, T* block);
    template <typename T>
    void ReadChroma(std::int64_t first, std::int64_t last, T* block);
    template <typename T>
    void CopyRow(const T* in, T* out) const;

    SourceDescription description_;
    std::unique_ptr<Imf::MultiPartInputFile> file_;
    std::optional<Imf::InputPart> part_;
    std::unique_ptr<Imf::RgbaInputFile> chroma_; ///< makes R, G, B of luminance and chroma
    Layout layout_ = Layout::Rgb;
    Imath::Box2i display_;
    Imath::Box2i data_;
    std::int64_t next_ = 0;
    std::vector<float> block_;          ///< rows of the data window, three channels
    std::vector<std::uint16_t> halves_; ///< the same as half-floats
};

ImageSize SizeOf(const Imath::Box2i& window)
{
    return {std::int64_t{window.max.x} - window.min.x + 1,
            std::int64_t{window.max.y} - window.min.y + 1};
}

std::int64_t WidthOf(const Imath::Box2i& window)
{
    return SizeOf(window).width;
}

bool IsFlat(const Imf::Header& header)
{
    return !header.hasType() || !Imf::isDeepData(header.type());
}

bool HasColours(const Imf::Header& header)
{
    const Imf::ChannelList& channels = header.channels();
    return IsFlat(header) &&
           ((channels.findChannel("R") != nullptr) || (channels.findChannel("Y") != nullptr));
}

/// @return the first part with colours; the first one where none has any.
int PartToRead(const Imf::MultiPartInputFile& file)
{
    for (int part = 0; part < file.parts(); ++part) {
        if (HasColours(file.header(part))) {
            return part;
        }
    }
    return 0;
}

void ExrSource::Close()
{
    chroma_.reset();
    part_.reset();
    file_.reset();
}

void ExrSource::Open(const std::string& path, const SizeLimits& limits)
{
    Close();
    description_ = {};
    description_.path = path;
    description_.format = "OpenEXR";
    description_.isFloat = true;
    description_.sceneLinear = true;
    next_ = 0;
    // The library takes memory for every row, and for what attributes state, before it tells a
    // size.
    CheckExrSizes(path);
    Imf::Header::setMaxImageSize(static_cast<int>(longestSide), static_cast<int>(longestSide));
    Imf::Header::setMaxTileSize(static_cast<int>(longestSide), static_cast<int>(longestSide));
    try {
        OpenPart();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const Error&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure(path, fmt::format("cannot be read as OpenEXR: {}", error.what()));
    }
    display_ = part_->header().displayWindow();
    data_ = part_->header().dataWindow();
    description_.size = SizeOf(display_);
    CheckSize(path, description_.size, limits);
    CheckSize(path, SizeOf(data_), limits);
    CheckChannels();
    CheckTiles();
    DescribeColour();
}

void ExrSource::OpenPart()
{
    file_ = std::make_unique<Imf::MultiPartInputFile>(description_.path.c_str());
    const int part = PartToRead(*file_);
    const Imf::Header& header = file_->header(part);
    if (!IsFlat(header)) {
        throw Failure(description_.path, "holds deep data, not a flat picture");
    }
    part_.emplace(*file_, part);
    if (file_->parts() > 1) {
        description_.hasMorePictures = true;
        description_.findings.push_back(
            {"part", fmt::format("{} of {}{}, the first with colours", part + 1, file_->parts(),
                                 header.hasName() ? " (" + OneLine(header.name()) + ")" : "")});
    }
    layout_ = Layout::Rgb;
    const Imf::ChannelList& channels = header.channels();
    if (channels.findChannel("R") == nullptr && channels.findChannel("Y") != nullptr) {
        const bool hasChroma =
            channels.findChannel("RY") != nullptr || channels.findChannel("BY") != nullptr;
        layout_ = hasChroma ? Layout::Chroma : Layout::Grey;
    }
    if (layout_ == Layout::Chroma && part > 0) {
        throw Failure(description_.path, "holds luminance and chroma channels behind its first "
                                         "part, where they cannot be read");
    }
}

void ExrSource::CheckChannel(const char* name, int sampling)
{
    const Imf::Channel* channel = part_->header().channels().findChannel(name);
    if (channel == nullptr) {
        throw Failure(description_.path, fmt::format("has no channel {}", name));
    }
    if (channel->xSampling != sampling || channel->ySampling != sampling) {
        throw Failure(description_.path,
                      sampling == 1 ? fmt::format("its channel {} is subsampled", name)
                                    : fmt::format("its channel {} is not that of every second "
                                                  "pixel and row",
                                                  name));
    }
    description_.bits = std::max(description_.bits, channel->type == Imf::HALF ? 16 : 32);
}

void ExrSource::CheckChannels()
{
    description_.isGrey = layout_ == Layout::Grey;
    description_.hasAlpha = part_->header().channels().findChannel("A") != nullptr;
    if (layout_ == Layout::Rgb) {
        for (const char* name : {"R", "G", "B"}) {
            CheckChannel(name, 1);
        }
        return;
    }
    CheckChannel("Y", 1);
    if (layout_ == Layout::Chroma) {
        CheckChannel("RY", 2);
        CheckChannel("BY", 2);
        // What the library makes of them.
        description_.bits = 16;
        description_.findings.push_back(
            {"channels", "luminance, and chroma of every fourth pixel"});
    }
}

void ExrSource::CheckTiles()
{
    const Imf::Header& header = part_->header();
    if (!header.hasTileDescription()) {
        return;
    }
    // The library holds a row of tiles, all channels, at up to 4 bytes a sample.
    std::uint64_t channels = 0;
    for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) {
        ++channels;
    }
    description_.decodeBytes =
        static_cast<std::uint64_t>(WidthOf(data_)) * header.tileDescription().ySize * channels * 4;
    CheckMemory(description_.path, "a row of tiles", description_.decodeBytes);
}

void ExrSource::DescribeColour()
{
    const Imf::Header& header = part_->header();
    if (Imf::hasChromaticities(header)) {
        const Imf::Chromaticities& found = Imf::chromaticities(header);
        const auto convert = [](const Imath::V2f& xy) { return Chromaticity{xy.x, xy.y}; };
        description_.tags.chromaticities = Chromaticities{
            convert(found.red), convert(found.green), convert(found.blue), convert(found.white)};
    }
    if (Imf::hasXDensity(header) && header.pixelAspectRatio() == 1.0f) {
        description_.dpi = ResolutionOf(static_cast<double>(Imf::xDensity(header)));
    }
    if (Imf::hasWhiteLuminance(header) && Imf::whiteLuminance(header) > 0.0f &&
        Imf::whiteLuminance(header) <= 1e6f)
    {
        description_.tags.whiteLuminance = Imf::whiteLuminance(header);
    }
}

template <typename T>
void ExrSource::Read(std::int64_t count, T* out, std::vector<T>& block)
{
    // The data window can be much wider than the picture.
    constexpr std::int64_t pixelsAtOnce = 1 << 20;
    const std::int64_t rows = std::max<std::int64_t>(pixelsAtOnce / WidthOf(data_), 1);
    const std::int64_t samples = description_.size.width * 3;
    const bool isWhole = display_ == data_ && !description_.isGrey;
    for (std::int64_t done = 0; done < count; done += rows) {
        const std::int64_t top = display_.min.y + next_;
        const std::int64_t some = std::min(rows, count - done);
        const std::int64_t first = std::max<std::int64_t>(top, data_.min.y);
        const std::int64_t last = std::min<std::int64_t>(top + some - 1, data_.max.y);
        if (!isWhole && first <= last) {
            block.resize(static_cast<std::size_t>((last - first + 1) * WidthOf(data_) * 3));
        }
        if (first <= last) {
            ReadOverlap(first, last, isWhole ? out + done * samples : block.data());
        }
        for (std::int64_t row = isWhole ? some : 0; row < some; ++row) {
            const std::int64_t y = top + row;
            const bool isStored = first <= y && y <= last;
            CopyRow(isStored ? block.data() + (y - first) * WidthOf(data_) * 3 : nullptr,
                    out + (done + row) * samples);
        }
        next_ += some;
    }
}

template <typename T>
void ExrSource::ReadOverlap(std::int64_t first, std::int64_t last, T* block)
{
    try {
        if (layout_ == Layout::Chroma) {
            ReadChroma(first, last, block);
        } else {
            ReadChannels(first, last, block);
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure(description_.path, fmt::format("is damaged: {}", error.what()));
    }
}

template <typename T>
void ExrSource::ReadChannels(std::int64_t first, std::int64_t last, T* block)
{
    constexpr std::size_t pixelBytes = 3 * sizeof(T);
    const std::int64_t width = WidthOf(data_);
    Imf::FrameBuffer frame;
    const Imath::V2i origin(data_.min.x, static_cast<int>(first));
    const char* const names[] = {"R", "G", "B"};
    for (std::size_t k = 0; k < (description_.isGrey ? 1 : 3); ++k) {
        frame.insert(description_.isGrey ? "Y" : names[k],
                     Imf::Slice::Make(sizeof(T) == 2 ? Imf::HALF : Imf::FLOAT, block + k, origin,
                                      width, last - first + 1, pixelBytes,
                                      pixelBytes * static_cast<std::size_t>(width)));
    }
    part_->setFrameBuffer(frame);
    part_->readPixels(static_cast<int>(first), static_cast<int>(last));
}

void Store(half value, float& out)
{
    out = value;
}

void Store(half value, std::uint16_t& out)
{
    out = value.bits();
}

// The library filters the chroma of 27 rows for every row, which it remembers from row to row.
template <typename T>
void ExrSource::ReadChroma(std::int64_t first, std::int64_t last, T* block)
{
    if (!chroma_) {
        chroma_ = std::make_unique<Imf::RgbaInputFile>(description_.path.c_str());
    }
    const std::int64_t width = WidthOf(data_);
    std::vector<Imf::Rgba> rows(static_cast<std::size_t>((last - first + 1) * width));
    const Imath::V2i origin(data_.min.x, static_cast<int>(first));
    chroma_->setFrameBuffer(Imf::ComputeBasePointer(rows.data(), origin, width), 1,
                            static_cast<std::size_t>(width));
    chroma_->readPixels(static_cast<int>(first), static_cast<int>(last));
    for (const Imf::Rgba& pixel : rows) {
        Store(pixel.r, *block++);
        Store(pixel.g, *block++);
        Store(pixel.b, *block++);
    }
}

/// @param in  a row of the data window; null outside.
template <typename T>
void ExrSource::CopyRow(const T* in, T* out) const
{
    std::fill_n(out, description_.size.width * 3, T{});
    if (in == nullptr) {
        return;
    }
    const std::int64_t first = std::max(display_.min.x, data_.min.x);
    const std::int64_t last = std::min(display_.max.x, data_.max.x);
    for (std::int64_t x = first; x <= last; ++x) {
        const T* source = in + (x - data_.min.x) * 3;
        T* target = out + (x - display_.min.x) * 3;
        for (int k = 0; k < 3; ++k) {
            target[k] = source[description_.isGrey ? 0 : k];
        }
    }
}

} // namespace

std::unique_ptr<ImageSource> MakeExrSource()
{
    return std::make_unique<ExrSource>();
}

} // namespace qva
