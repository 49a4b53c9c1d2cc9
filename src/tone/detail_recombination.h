// Adds the detail layer back to the tone-mapped base.
#pragma once

#include "core/pixel_block.h"

#include <cstdint>

namespace lumo {

/// out = gain * d + b with the detail d and the tone-mapped base b. Above a knee the gain of
/// positive detail falls linearly from 1 to `thresholdHighY` at codeMax.
class DetailRecombination {
public:
    /// @param thresholdHighX  the knee as a fraction of codeMax; 1 switches the compression off.
    DetailRecombination(double codeMax, double thresholdHighX, double thresholdHighY);

    /// Recombines `count` (up to blockSize) pixels of planes of T.
    /// @param toned      tone-mapped values, not yet saturated.
    /// @param intensity  the intensity that the base was split from.
    /// @param out        saturated results.
    template <typename T>
    void Apply(const double* toned, const T* intensity, const T* base, int32_t count,
               double* out) const;

    double codeMax;
    double chromaOffset;
    double knee;
    double slope = 1.0;
    double intercept = 0.0;
    bool compress;
};

/// Takes chroma (channels 1 and 2) down by as much as the intensity in channel 0 has moved, up or
/// down: the factor is the old one over the new or its inverse, at most 1. Where the old one is
/// below the least value of T that counts (1, or the float epsilon), chroma becomes neutral.
/// Results are saturated to T.
template <typename T>
void AdjustChroma(const T* oldIntensity, int32_t count, double chromaOffset, PixelBlock& block);

} // namespace lumo
