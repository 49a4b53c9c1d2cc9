// Rows of a picture made codes for the library.
#pragma once

#include "colour/range_choice.h"
#include "colour/scene_decoder.h"
#include "light/light_steps.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qva {

/// Converts stored rows to codes of a range. Read-only after construction; the decoder and the
/// steps must outlive it.
class RowEncoder {
public:
    RowEncoder(const SceneDecoder& decoder, const LightSteps& light, const RenderRange& range)
        : decoder_(decoder), light_(light), range_(range)
    {
    }

    /// Rows above and below a row that decide its codes too. The calls for one row are for 0, those
    /// in two steps for more.
    std::int64_t Reach() const { return range_.passThrough ? 0 : light_.Reach(); }

    /// Whether rows come in 16 bits a sample.
    bool Takes(SampleKind samples) const { return decoder_.Takes(samples); }

    /// @param rgb    a row as ImageSource::ReadRows delivers it; used up.
    /// @param codes  width * 3.
    void operator()(float* rgb, std::size_t width, std::uint16_t* codes) const;

    /// @param samples  a row as ImageSource::ReadSamples delivers it.
    /// @param scratch  width * 3 floats.
    /// @param codes    may be the samples.
    void operator()(const std::uint16_t* samples, float* scratch, std::size_t width,
                    std::uint16_t* codes) const;

    /// First step of two: a row becomes light.
    void Decode(float* rgb, std::size_t width) const;
    void Decode(const std::uint16_t* samples, float* light, std::size_t width) const;

    /// Second step: a row of light with its neighbours becomes codes.
    /// @param around   rows that begin and end Reach() from this one, or with the picture.
    /// @param row      in `around`.
    /// @param scratch  width * 3 floats.
    void Encode(const RowBlock& around, std::int64_t row, float* scratch,
                std::uint16_t* codes) const;

private:
    void Finish(float* light, std::size_t width, std::uint16_t* codes) const;

    const SceneDecoder& decoder_;
    const LightSteps& light_;
    RenderRange range_;
};

/// A row of floats and one of codes for every worker.
class ScratchRows {
public:
    ScratchRows(std::int64_t width, int workers)
        : samples_(static_cast<std::size_t>(width * 3)),
          light_(std::make_unique_for_overwrite<float[]>(samples_ *
                                                         static_cast<std::size_t>(workers))),
          codes_(std::make_unique_for_overwrite<std::uint16_t[]>(samples_ *
                                                                 static_cast<std::size_t>(workers)))
    {
    }
    float* Light(int worker) { return light_.get() + samples_ * static_cast<std::size_t>(worker); }
    std::uint16_t* Codes(int worker)
    {
        return codes_.get() + samples_ * static_cast<std::size_t>(worker);
    }

private:
    std::size_t samples_;
    std::unique_ptr<float[]> light_;
    std::unique_ptr<std::uint16_t[]> codes_;
};

} // namespace qva
