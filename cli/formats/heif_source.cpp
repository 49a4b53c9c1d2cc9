// AVIF and HEIC pictures of 8 to 12 bits.
//
// dav1d and libde265 decode, and what is around the coded pictures is read here. The library for
// both formats hands out no planes but after a way through R, G, B of their own depth and back, and
// brings an encoder under the GPL with it. R, G, B are made here with interpolated chroma and to 16
// bits, which keeps what the 10 or 12 bits of the planes say. Crop, rotation and mirror of the file
// are followed, and they alone: the orientation in Exif data says the same once more.
#include "base/errors.h"
#include "formats/format_table.h"
#include "formats/heif_colour.h"
#include "formats/heif_gain_map.h"
#include "formats/heif_picture.h"
#include "formats/heif_view.h"
#include "formats/ycbcr_rows.h"
#include "picture/exif_data.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

constexpr float largestCode = 65535.0f;

/// A picture is decoded as a whole when its first row is asked for, and kept until the file is
/// closed or another is opened: opening the same one again only goes back to its first row.
class HeifSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override;

private:
    void DescribePicture(const HeifItem& primary);
    void OpenGainMap(const HeifItem& primary, const SizeLimits& limits);
    void DescribeOthers(const HeifItem& primary);
    void MakeConverter(const std::optional<CodePoints>& points);

    SourceDescription description_;
    SizeLimits limits_;
    bool isOpen_ = false;
    std::vector<unsigned char> file_;
    std::unique_ptr<HeifItems> items_;
    std::unique_ptr<HeifPicture> picture_;
    std::optional<YcbcrRows> rows_;
    StoredView view_;
    std::unique_ptr<HeifGainMap> map_;
    std::unique_ptr<GainMapLight> light_; ///< where there is a map
    std::vector<float> row_;              ///< of the whole stored picture
    std::int64_t next_ = 0;
};

std::vector<unsigned char> WholeFile(const std::string& path)
{
    const std::uint64_t size = SizeOfRegularFile(path);
    CheckMemory(path, "the file", size);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    if (!file) {
        throw Failure(path, SystemReason(errno));
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    if (std::ferror(file.get()) != 0) {
        throw Failure(path, SystemReason(errno));
    }
    return bytes;
}

bool IsAlpha(std::string_view kind)
{
    return kind == "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha" ||
           kind == "urn:mpeg:hevc:2015:auxid:1";
}

void HeifSource::Open(const std::string& path, const SizeLimits& limits)
{
    std::vector<unsigned char> bytes = WholeFile(path);
    next_ = 0;
    if (isOpen_ && path == description_.path && bytes == file_ && limits == limits_) {
        return;
    }
    Close();
    limits_ = limits;
    description_ = {};
    description_.path = path;
    file_ = std::move(bytes);
    items_ = std::make_unique<HeifItems>(path, file_);
    const HeifItem& primary = items_->Primary();
    picture_ = std::make_unique<HeifPicture>(path, *items_, primary, limits);
    description_.metadata = MetadataOf(*items_, primary);
    DescribePicture(primary);
    OpenGainMap(primary, limits);
    DescribeOthers(primary);
    CheckMemory(path, "the decoded picture", description_.decodeBytes);
    isOpen_ = true;
}

void HeifSource::DescribePicture(const HeifItem& primary)
{
    const CodedHeader& header = picture_->Header();
    const std::vector<HeifProperty> properties = items_->PropertiesOf(primary);
    view_ = ViewOf(properties, picture_->Size());
    const HeifColour colour = ColourOf(properties, header);
    description_.format = picture_->IsAv1() ? "AVIF" : "HEIC";
    description_.size = view_.size;
    description_.orientation = view_.orientation;
    description_.bits = header.bits;
    description_.codeBits = 16;
    description_.isGrey = header.chroma.isGrey;
    description_.dpi = ResolutionOf(ExifResolution(description_.metadata.exif));
    description_.decodeBytes = file_.size() + picture_->DecodeBytes();
    description_.tags = colour.tags;
    description_.findings = LightFindings(properties);
    if (view_.hasFalseCrop) {
        description_.notes.emplace_back("a crop that reaches beyond the picture is left out");
    }
    if (colour.points || header.points) {
        MakeConverter(colour.points ? colour.points : header.points);
    }
}

void HeifSource::MakeConverter(const std::optional<CodePoints>& points)
{
    const CodedHeader& header = picture_->Header();
    PlaneKind kind{picture_->Size(), header.bits, header.chroma};
    if (points) {
        kind.matrix = points->matrix;
        kind.fullRange = points->fullRange;
    }
    if (!KnowsMatrix(kind.matrix)) {
        throw Failure(description_.path,
                      fmt::format("its matrix of colours {} cannot be read", kind.matrix));
    }
    rows_.emplace(kind);
    row_.resize(static_cast<std::size_t>(picture_->Size().width * 3));
}

void HeifSource::OpenGainMap(const HeifItem& primary, const SizeLimits& limits)
{
    try {
        map_ = HeifGainMap::Find(description_.path, *items_, primary, view_,
                                 description_.metadata.exif, limits);
        if (map_) {
            light_ = std::make_unique<GainMapLight>(description_, map_->File(), limits.headroom);
            light_->Describe(description_);
            description_.decodeBytes += map_->DecodeBytes();
        }
    } catch (const GainMapProblem& problem) {
        map_.reset();
        description_.notes.push_back(
            fmt::format("its gain map {}: the base picture is taken", problem.what()));
    }
}

void HeifSource::DescribeOthers(const HeifItem& primary)
{
    for (const std::uint32_t id : items_->SourcesOf(primary.id, FourLetters("auxl"))) {
        const std::string kind = AuxiliaryKind(*items_, id);
        if (IsAlpha(kind)) {
            description_.hasAlpha = true;
        } else if (!map_ || map_->Id() != id) {
            description_.notes.push_back(
                fmt::format("an auxiliary picture is left out: {}", OneLine(kind)));
        }
    }
    description_.hasMorePictures = items_->HasMovie() || items_->HasPicturesBeside(primary.id);
}

void HeifSource::ReadRows(std::int64_t count, float* rgb)
{
    picture_->Decode();
    if (!rows_) {
        MakeConverter(picture_->StreamPoints());
    }
    const PlaneSet planes = picture_->Planes();
    const auto samples = static_cast<std::size_t>(view_.size.width * 3);
    for (std::int64_t i = 0; i < count; ++i, ++next_) {
        rows_->Convert(planes, view_.top + next_, row_.data());
        const float* in = row_.data() + view_.left * 3;
        float* out = rgb + static_cast<std::size_t>(i) * samples;
        for (std::size_t k = 0; k < samples; ++k) {
            out[k] = std::floor(in[k] * largestCode + 0.5f);
        }
        if (light_) {
            const GainMapper::Rows rows = light_->RowsFor(next_);
            const float* upper = map_->Row(rows.upper);
            light_->Apply(rows, upper, map_->Row(rows.lower), out);
        }
    }
}

void HeifSource::Close()
{
    isOpen_ = false;
    light_.reset();
    map_.reset();
    rows_.reset();
    picture_.reset();
    items_.reset();
    file_ = {};
    row_ = {};
}

} // namespace

std::unique_ptr<ImageSource> MakeHeifSource()
{
    return std::make_unique<HeifSource>();
}

} // namespace qva
