// Stretches a code range linearly.
#pragma once

#include "core/image_converter.h"

namespace lumo {

/// out = (in - inputMin) * scale + offset for every channel.
class ImageNormalization : public ImageConverterInterface {
public:
    ImageNormalization(double scaleFactor, double subtrahend, double addend)
        : scale(scaleFactor), inputMin(subtrahend), offset(addend)
    {
    }
    void operator()(const double* in, double* out, size_t channels) const override
    {
        for (size_t c = 0; c < channels; ++c) {
            out[c] = (in[c] - inputMin) * scale + offset;
        }
    }

    double scale;
    double inputMin;
    double offset;
};

} // namespace lumo
