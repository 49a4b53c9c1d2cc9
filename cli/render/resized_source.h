// A picture at another size: its light, resampled as it is read.
#pragma once

#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "render/page_size.h"
#include "render/tile_resampler.h"

#include <memory>
#include <string>
#include <vector>

namespace qva {

/// What the rows of a ResizedSource mean.
/// @param meaning  of the picture's samples.
Interpretation LightOf(const Interpretation& meaning);

/// What a picture says about itself, at another size.
SourceDescription Resized(const SourceDescription& description, const Resampling& plan);

/// Rows are light in cd/m² of BT.2020. Their bytes depend neither on how many are read at once nor
/// on the number of threads.
class ResizedSource : public ImageSource {
public:
    /// @param source   opened.
    /// @param meaning  of its samples.
    /// @param plan     of the upright picture.
    ResizedSource(std::unique_ptr<ImageSource> source, const Interpretation& meaning,
                  const Resampling& plan);

    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override { source_->Close(); }

private:
    void MakeBand(std::int64_t band);
    void Hold(std::int64_t first, std::int64_t end);
    void ReadInto(std::int64_t row, std::int64_t count);
    Tile TileAt(std::int64_t column, std::int64_t row, std::int64_t rows) const;

    std::unique_ptr<ImageSource> source_;
    SceneDecoder decoder_;
    Resampling plan_; ///< of the picture as it is stored
    ImageSize stored_;
    SourceDescription description_;
    std::int64_t bandRows_;
    std::vector<TileResampler> resamplers_; ///< one a thread
    LightPlanes window_;                    ///< rows first_ ... held_ - 1 of the picture
    std::int64_t first_ = 0;
    std::int64_t held_ = 0;
    std::vector<float> samples_; ///< interleaved, being decoded
    std::vector<float> rows_;    ///< of the band band_
    std::int64_t band_ = -1;
    std::int64_t next_ = 0;
};

} // namespace qva
