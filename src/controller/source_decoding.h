// From the caller's codes to linear light.
#pragma once

#include "core/image_normalization.h"
#include "core/pixel_stream.h"
#include "core/vector.h"

#include <lumo/qva.h>

namespace lumo {

/// The stretch of an encoding's codes: codeMin to 0, codeMax to 65535.
ImageNormalization MakeNormalization(const QVA_SOURCE_ENCODING& encoding);

/// The 65,536-entry map from normalised codes to linear light, in which luminanceMin is 0 and
/// luminanceMax 65535.
/// @param gammaType  QVA_GAMMA_LINEAR (the identity), QVA_GAMMA_2_2 or QVA_GAMMA_PQ.
/// @throws Exception code 3 for another type.
Vector<uint16_t> MakeLinearMap(uint32_t gammaType, double luminanceMin, double luminanceMax);

/// The caller's image as linear light, by blocks of 16-bit values. Normalisation and decoding
/// depend on one code only, so they are one map.
class LinearSource : public PixelSource {
public:
    /// @param image       D16U with three channels; outlives the source, as `correction` does.
    /// @param correction  applied to the linear pixels; may be null.
    LinearSource(const Matrix& image, const QVA_SOURCE_ENCODING& encoding,
                 const ImageConverterInterface* correction);
    int32_t Rows() const override { return image_.rows; }
    int32_t Cols() const override { return image_.cols; }
    void Load(int32_t row, int32_t col, int32_t count, PixelBlock& block) const override;
    void LoadCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes) const override;

private:
    void Decode(int32_t row, int32_t col, int32_t count, CodeBlock& codes) const;

    const Matrix& image_;
    Vector<uint16_t> map_;
    const ImageConverterInterface* correction_;
};

} // namespace lumo
