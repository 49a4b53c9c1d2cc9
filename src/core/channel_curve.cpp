#include "core/channel_curve.h"

namespace lumo {

void ChannelCurve::operator()(const double* in, double* out, size_t channels) const
{
    for (size_t c = 0; c < channels; ++c) {
        out[c] = curve_.Evaluate(in[c]);
    }
}

void ChannelCurve::ConvertBlock(PixelBlock& block, int32_t, size_t channels) const
{
    for (size_t c = 0; c < channels; ++c) {
        curve_.EvaluateBlock(block.channel[c], block.channel[c]);
    }
}

} // namespace lumo
