// JPEG pictures, with the light of their gain maps where they have one.
#include "base/errors.h"
#include "base/workers.h"
#include "colour/gain_map_light.h"
#include "colour/matrix_profile.h"
#include "formats/format_table.h"
#include "formats/gain_map_jpeg.h"
#include "formats/jpeg_decoder.h"
#include "formats/jpeg_segments.h"
#include "picture/exif_data.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>

namespace qva {

namespace {

/// Without a gain map: the codes. With one: linear light in the primaries that the gains hold for.
class JpegSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void Close() override;

private:
    void DescribeBase(const JpegSegments& segments);
    void OpenGainMap(const JpegGainMap& gainMap, const SizeLimits& limits);
    void LoadGainMap(const JpegGainMap& gainMap, const SizeLimits& limits);
    void ApplyGainMap(std::int64_t row, int worker, float* rgb);
    void MapRow(std::int64_t row, float* samples) const;

    SourceDescription description_;
    JpegDecoder decoder_;
    std::vector<unsigned char> row_;
    std::int64_t next_ = 0;
    // For the gain map, all empty without one.
    std::unique_ptr<GainMapLight> light_;
    ImageSize mapSize_;
    int mapChannels_ = 0;
    std::vector<unsigned char> map_; ///< codes of the whole map
    std::vector<float> mapRows_;     ///< two rows a thread
};

void JpegSource::Open(const std::string& path, const SizeLimits& limits)
{
    Close();
    description_ = {};
    description_.path = path;
    description_.format = "JPEG";
    decoder_.Open(path, 0, limits);
    description_.size = decoder_.Size();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    if (!file) {
        throw Failure(path, SystemReason(errno));
    }
    const JpegSegments segments = ReadJpegSegments(file.get(), 0);
    DescribeBase(segments);
    const MorePictures more = FindMorePictures(file.get(), segments);
    description_.hasMorePictures = more.others > 0;
    std::string problem = more.problem;
    if (more.gainMap) {
        try {
            OpenGainMap(*more.gainMap, limits);
            return;
        } catch (const GainMapProblem& found) {
            problem = found.what();
        }
    }
    description_.notes.push_back(
        problem.empty() ? "has no gain map: no light above its white is known"
                        : fmt::format("its gain map {}: the base picture is taken", problem));
}

void JpegSource::DescribeBase(const JpegSegments& segments)
{
    description_.bits = 8;
    description_.isGrey = decoder_.Channels() == 1;
    description_.decodeBytes = decoder_.DecodeBytes();
    description_.metadata = segments.metadata;
    description_.orientation = ExifOrientation(segments.metadata.exif);
    description_.dpi = ResolutionOf(decoder_.Dpi());
    if (description_.dpi == 0.0) {
        description_.dpi = ResolutionOf(ExifResolution(segments.metadata.exif));
    }
    description_.tags.profile = segments.profile;
    if (segments.isProfileDamaged) {
        // Not without a word: other colours would be printed. No profile is so short.
        description_.tags.profile.assign(1, 0);
    }
    row_.resize(static_cast<std::size_t>(description_.size.width * decoder_.Channels()));
}

void JpegSource::OpenGainMap(const JpegGainMap& gainMap, const SizeLimits& limits)
{
    LoadGainMap(gainMap, limits);
    GainMapFile map{gainMap.numbers, gainMap.kind, mapSize_, mapChannels_, std::nullopt};
    if (const std::optional<MatrixProfile> other = TakeApart(gainMap.profile, 2)) {
        map.alternate = other->primaries;
    }
    light_ = std::make_unique<GainMapLight>(description_, map, limits.headroom);
    light_->Describe(description_);
}

// As a whole: what is damaged in it must be known before the first row of the picture is given.
void JpegSource::LoadGainMap(const JpegGainMap& gainMap, const SizeLimits& limits)
{
    JpegDecoder decoder;
    try {
        decoder.Open(description_.path, gainMap.start, limits);
        mapSize_ = decoder.Size();
        mapChannels_ = decoder.Channels();
        const auto rowBytes = static_cast<std::size_t>(mapSize_.width * mapChannels_);
        const auto rows = static_cast<std::size_t>(mapSize_.height);
        const std::uint64_t bytes = rowBytes * rows;
        CheckMemory(description_.path, "the gain map", bytes);
        map_.resize(bytes);
        for (std::size_t row = 0; row < rows; ++row) {
            decoder.ReadRow(map_.data() + row * rowBytes);
        }
        description_.decodeBytes += bytes + decoder.DecodeBytes();
    } catch (const Failure& failure) {
        map_.clear();
        const std::string reason = failure.what();
        throw GainMapProblem(reason.substr(std::min(description_.path.size() + 2, reason.size())));
    }
}

void JpegSource::ReadRows(std::int64_t count, float* rgb)
{
    const std::int64_t width = description_.size.width;
    const int channels = decoder_.Channels();
    for (std::int64_t row = 0; row < count; ++row) {
        decoder_.ReadRow(row_.data());
        float* out = rgb + row * width * 3;
        for (std::int64_t i = 0; i < width * 3; ++i) {
            out[i] = row_[static_cast<std::size_t>(channels == 1 ? i / 3 : i)];
        }
    }
    if (light_) {
        mapRows_.resize(static_cast<std::size_t>(Workers()) * 2 *
                        static_cast<std::size_t>(mapSize_.width * mapChannels_));
        ForEach(count, [&](std::int64_t row, int worker) {
            ApplyGainMap(next_ + row, worker, rgb + row * width * 3);
        });
    }
    next_ += count;
}

void JpegSource::ApplyGainMap(std::int64_t row, int worker, float* rgb)
{
    const std::int64_t samples = mapSize_.width * mapChannels_;
    float* upper = mapRows_.data() + worker * 2 * samples;
    float* lower = upper + samples;
    const GainMapper::Rows rows = light_->RowsFor(row);
    MapRow(rows.upper, upper);
    MapRow(rows.lower, lower);
    light_->Apply(rows, upper, lower, rgb);
}

void JpegSource::MapRow(std::int64_t row, float* samples) const
{
    const std::int64_t count = mapSize_.width * mapChannels_;
    const unsigned char* codes = map_.data() + row * count;
    std::transform(codes, codes + count, samples,
                   [](unsigned char code) { return static_cast<float>(code) / 255.0f; });
}

void JpegSource::Close()
{
    decoder_.Close();
    next_ = 0;
    light_.reset();
    map_ = {};
    mapRows_ = {};
}

} // namespace

std::unique_ptr<ImageSource> MakeJpegSource()
{
    return std::make_unique<JpegSource>();
}

} // namespace qva
