#include "render/row_encoder.h"

#include <algorithm>
#include <cmath>

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
    SampleCounts counts;
    decoder_.Decode(rgb, width, counts);
    Finish(rgb, width, codes);
}

void RowEncoder::operator()(const std::uint16_t* samples, float* scratch, std::size_t width,
                            std::uint16_t* codes) const
{
    if (range_.passThrough) {
        std::copy_n(samples, samples == codes ? 0 : width * 3, codes);
        return;
    }
    SampleCounts counts;
    decoder_.DecodeSamples(samples, scratch, width, counts);
    Finish(scratch, width, codes);
}

void RowEncoder::Finish(float* light, std::size_t width, std::uint16_t* codes) const
{
    light_(light, width);
    const auto scale = static_cast<float>(65535.0 / range_.top);
    std::transform(light, light + width * 3, codes,
                   [scale](float sample) { return LinearCode(sample, scale); });
}

} // namespace qva
