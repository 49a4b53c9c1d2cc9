#include "tone/detail_recombination.h"

#include "core/saturate.h"
#include "core/simd.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace lumo {
namespace {

// The detail layer, as T stores it around chromaOffset.
template <typename T>
LUMO_INLINE double ExtractDetail(double chromaOffset, T intensity, T base)
{
    const double centred =
        static_cast<double>(intensity) + chromaOffset - static_cast<double>(base);
    return static_cast<double>(Saturate<T>(centred)) - chromaOffset;
}

template <typename T>
LUMO_INLINE double RecombineDetail(const DetailRecombination& k, double toned, T intensity, T base)
{
    const auto b = static_cast<double>(Saturate<T>(toned));
    const double d = ExtractDetail<T>(k.chromaOffset, intensity, base);
    const double s = b + d;
    const bool compressed = (s > k.knee) & (d > 0.0) & k.compress;
    const double gain = compressed ? s * k.slope + k.intercept : 1.0;
    return static_cast<double>(Saturate<T>(gain * d + b));
}

} // namespace

namespace kernels {

LUMO_CLONES void RecombineCodes(const DetailRecombination* parameters, const double* toned,
                                const uint16_t* intensity, const uint16_t* base, double* out)
{
    const DetailRecombination k = *parameters;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        out[i] = RecombineDetail<uint16_t>(k, toned[i], intensity[i], base[i]);
    }
}

} // namespace kernels

DetailRecombination::DetailRecombination(double highest, double thresholdHighX,
                                         double thresholdHighY)
    : codeMax(highest),
      chromaOffset(highest * 0.5),
      knee(highest * thresholdHighX),
      compress(knee < codeMax - std::numeric_limits<double>::epsilon())
{
    if (compress) {
        slope = (1.0 - thresholdHighY) / (knee - codeMax);
        intercept = (thresholdHighY * knee - codeMax) / (knee - codeMax);
    }
}

template <typename T>
void DetailRecombination::Apply(const double* toned, const T* intensity, const T* base,
                                int32_t count, double* out) const
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        if (count == blockSize) {
            kernels::RecombineCodes(this, toned, intensity, base, out);
            return;
        }
    }
    for (int32_t i = 0; i < count; ++i) {
        out[i] = RecombineDetail<T>(*this, toned[i], intensity[i], base[i]);
    }
}

template <typename T>
void AdjustChroma(const T* oldIntensity, int32_t count, double chromaOffset, PixelBlock& block)
{
    constexpr double least =
        std::is_same_v<T, float> ? static_cast<double>(std::numeric_limits<float>::epsilon()) : 1.0;
    for (int32_t i = 0; i < count; ++i) {
        const auto before = static_cast<double>(oldIntensity[i]);
        double ratio = std::abs(before) >= least ? block.channel[0][i] / before : 0.0;
        if (ratio > 1.0) {
            ratio = 1.0 / ratio;
        }
        for (int c = 1; c < 3; ++c) {
            double& chroma = block.channel[c][i];
            chroma =
                static_cast<double>(Saturate<T>(ratio * (chroma - chromaOffset) + chromaOffset));
        }
    }
}

template void DetailRecombination::Apply<uint16_t>(const double*, const uint16_t*, const uint16_t*,
                                                   int32_t, double*) const;
template void DetailRecombination::Apply<float>(const double*, const float*, const float*, int32_t,
                                                double*) const;
template void AdjustChroma<uint16_t>(const uint16_t*, int32_t, double, PixelBlock&);
template void AdjustChroma<float>(const float*, int32_t, double, PixelBlock&);

} // namespace lumo
