#include "render/row_encoder.h"

#include <algorithm>

namespace qva {

namespace {

std::uint16_t LinearCode(float light, float scale)
{
    // Written so that a not-a-number would become 0.
    const float code = light * scale;
    return code > 0.0f ? static_cast<std::uint16_t>(std::min(code, 65535.0f) + 0.5f)
                       : std::uint16_t{0};
}

} // namespace

void RowEncoder::operator()(float* rgb, std::size_t width, std::uint16_t* codes) const
{
    if (range_.passThrough) {
        std::transform(rgb, rgb + width * 3, codes,
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
        return;
    }
    Decode(rgb, width);
    Finish(rgb, width, codes);
}

void RowEncoder::operator()(const std::uint16_t* samples, float* scratch, std::size_t width,
                            std::uint16_t* codes) const
{
    if (range_.passThrough) {
        std::copy_n(samples, samples == codes ? 0 : width * 3, codes);
        return;
    }
    Decode(samples, scratch, width);
    Finish(scratch, width, codes);
}

void RowEncoder::Decode(float* rgb, std::size_t width) const
{
    SampleCounts counts;
    decoder_.Decode(rgb, width, counts);
}

void RowEncoder::Decode(const std::uint16_t* samples, float* light, std::size_t width) const
{
    SampleCounts counts;
    decoder_.DecodeSamples(samples, light, width, counts);
}

void RowEncoder::Encode(const RowBlock& around, std::int64_t row, float* scratch,
                        std::uint16_t* codes) const
{
    const std::int64_t samples = around.width * 3;
    std::copy_n(around.rgb + row * samples, samples, scratch);
    light_.Repair(around, row, scratch);
    Finish(scratch, static_cast<std::size_t>(around.width), codes);
}

void RowEncoder::Finish(float* light, std::size_t width, std::uint16_t* codes) const
{
    light_(light, width);
    const auto scale = static_cast<float>(65535.0 / range_.top);
    std::transform(light, light + width * 3, codes,
                   [scale](float sample) { return LinearCode(sample, scale); });
}

} // namespace qva
