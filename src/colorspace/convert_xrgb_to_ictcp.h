// Linear RGB or XYZ to ICtCp with PQ-coded intensity.
#pragma once

#include "colorspace/apply_pq_inv_eotf.h"
#include "core/image_converter.h"

namespace lumo {

/// ICtCp (ITU-R BT.2100-2, table 7) of linear light in one of the colour spaces below, per pixel.
class ConvertxRGB2ICtCp : public ImageConverterInterface {
public:
    /// Source codes srcMin ... srcMax stand for srcLumiMin ... srcLumiMax cd/m2; intensity comes
    /// out in dstMin ... dstMax, and chromaOffset is added to Ct and Cp.
    /// @throws Exception code 3: the checks of ApplyPQInvEOTF first, then a colour space other
    ///         than 1 (XYZ), 3 (sRGB), 6 (BT2020RGB).
    ConvertxRGB2ICtCp(double srcMax, double srcMin, double srcLumiMax, double srcLumiMin,
                      double dstMax, double dstMin, double chromaShift, int32_t colorSpace);

    void operator()(const double* in, double* out, size_t channels) const override;
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const override;

    /// The intensities alone of a block: the first channel of ConvertBlock.
    void IntensityBlock(const PixelBlock& block, double* intensity) const;

    ApplyPQInvEOTF pq;
    const double* toLms;
    double chromaOffset;
};

} // namespace lumo
