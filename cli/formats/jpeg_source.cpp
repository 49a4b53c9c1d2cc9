// JPEG pictures, with the light of their gain maps where they have one.
#include "base/errors.h"
#include "colour/base_light.h"
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
#include <omp.h>

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
    void ChooseColours(const JpegGainMap& gainMap);
    void DescribeLight(const JpegGainMap& gainMap, double headroom);
    void ApplyGainMap(std::int64_t row, float* rgb);
    void MapRow(std::int64_t row, float* samples) const;

    SourceDescription description_;
    JpegDecoder decoder_;
    std::vector<unsigned char> row_;
    std::int64_t next_ = 0;
    // For the gain map, all empty without one.
    std::unique_ptr<BaseLight> base_;
    std::optional<Matrix3> matrix_; ///< to the primaries that the gains hold for
    Chromaticities primaries_;
    std::unique_ptr<GainMapper> mapper_;
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
    try {
        base_ = std::make_unique<BaseLight>(description_);
    } catch (const Failure&) {
        // The same failure will be that of the base picture, unless options set it aside.
        throw GainMapProblem("cannot be applied to colours that are not known");
    }
    ChooseColours(gainMap);
    const double headroom = std::min(limits.headroom.value_or(FullHeadroom(gainMap.numbers)),
                                     FullHeadroom(gainMap.numbers));
    mapper_ = std::make_unique<GainMapper>(gainMap.numbers, mapSize_, mapChannels_,
                                           description_.size, headroom);
    DescribeLight(gainMap, headroom);
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

void JpegSource::ChooseColours(const JpegGainMap& gainMap)
{
    primaries_ = base_->Primaries();
    matrix_.reset();
    if (gainMap.numbers.usesBaseColours) {
        return;
    }
    const std::optional<MatrixProfile> other = TakeApart(gainMap.profile, 2);
    if (!other) {
        description_.notes.emplace_back("the gain map holds for colours that the file does not "
                                        "tell; those of the base are taken");
    } else if (!SamePrimaries(other->primaries, primaries_)) {
        matrix_ = Multiply(Invert(ToBt2020(other->primaries)), ToBt2020(primaries_));
        primaries_ = other->primaries;
    }
}

void JpegSource::DescribeLight(const JpegGainMap& gainMap, double headroom)
{
    const double full = FullHeadroom(gainMap.numbers);
    description_.findings.push_back(
        {"base", fmt::format("{}-bit integer, {}, {}", description_.bits, base_->Name(),
                             NameOfPrimaries(base_->Primaries()))});
    description_.findings.push_back(
        {"gain map",
         fmt::format("{}, {} x {} pixels, {}", gainMap.kind, mapSize_.width, mapSize_.height,
                     mapChannels_ == 1 ? "one channel" : "three channels")});
    description_.findings.push_back(
        {"headroom", fmt::format("{:.3g} of {:.3g} stops above SDR white", headroom, full)});
    for (const std::string& note : base_->Notes()) {
        description_.notes.push_back(note);
    }
    description_.format = "JPEG with a gain map";
    description_.isFloat = true;
    description_.bits = 32;
    description_.sceneLinear = true;
    description_.tags = {};
    description_.tags.chromaticities = primaries_;
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
    if (mapper_) {
        // Before the loop: a request for memory that fails in it would end the program.
        const auto threads = static_cast<std::size_t>(omp_get_max_threads());
        mapRows_.resize(threads * 2 * static_cast<std::size_t>(mapSize_.width * mapChannels_));
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < count; ++row) {
            ApplyGainMap(next_ + row, rgb + row * width * 3);
        }
    }
    next_ += count;
}

void JpegSource::ApplyGainMap(std::int64_t row, float* rgb)
{
    const auto width = static_cast<std::size_t>(description_.size.width);
    base_->Convert(rgb, width);
    if (matrix_) {
        for (std::size_t x = 0; x < width; ++x) {
            float* pixel = rgb + x * 3;
            const Vector3 light = Multiply(*matrix_, Vector3{pixel[0], pixel[1], pixel[2]});
            std::transform(light.begin(), light.end(), pixel,
                           [](double value) { return static_cast<float>(value); });
        }
    }
    const std::int64_t samples = mapSize_.width * mapChannels_;
    float* upper = mapRows_.data() + omp_get_thread_num() * 2 * samples;
    float* lower = upper + samples;
    const GainMapper::Rows rows = mapper_->RowsFor(row);
    MapRow(rows.upper, upper);
    MapRow(rows.lower, lower);
    mapper_->Apply(rows, upper, lower, rgb);
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
    base_.reset();
    mapper_.reset();
    map_ = {};
    mapRows_ = {};
}

} // namespace

std::unique_ptr<ImageSource> MakeJpegSource()
{
    return std::make_unique<JpegSource>();
}

} // namespace qva
