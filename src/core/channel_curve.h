// One curve over every channel of an image.
#pragma once

#include "core/image_converter.h"
#include "core/linear_interpolation.h"

namespace lumo {

/// A sampled curve as a function object: each channel becomes its value on the curve. Images of any
/// depth that ImageConverter takes; for 16-bit ones ApplyCodeMap gives the same from a table.
class ChannelCurve : public ImageConverterInterface {
public:
    /// `curve` outlives the object.
    explicit ChannelCurve(const LinearInterpolationFast& curve) : curve_(curve) {}
    void operator()(const double* in, double* out, size_t channels) const override;
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const override;

private:
    const LinearInterpolationFast& curve_;
};

} // namespace lumo
