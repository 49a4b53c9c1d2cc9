// Three-dimensional colour tables.
#pragma once

#include "colorspace/tetrahedral_interpolation.h"
#include "core/image_converter.h"

namespace lumo {

/// A colour table evaluated by tetrahedral interpolation. Read-only once initialised.
class Lut3D : public ImageConverterInterface {
public:
    /// Nodes an axis of a sampled table.
    static constexpr uint64_t sampledGrid = 17;

    Lut3D() = default;
    /// Samples a function at 17 × 17 × 17 points, maxValue / 16 apart.
    Lut3D(const ImageConverterInterface& f, double maxValue);

    void operator()(const double* in, double* out, size_t channels) const override;
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const override;
    void ConvertCodes(const CodeBlock& codes, int32_t count, PixelBlock& block) const override;

    /// As Tetrahedralinterpolation::Initialize.
    virtual void Initialize(const Vector<double>& lut, size_t numGrid, double maxValue);

    /// A whole image through the table.
    /// @param dst  re-created in the shape of src if it differs; may be src.
    /// @throws Exception code 2 as ImageConverter, which one channel is refused like two are.
    virtual void Convert(const Matrix& src, Matrix& dst) const;

    Tetrahedralinterpolation interpolation;
};

} // namespace lumo
