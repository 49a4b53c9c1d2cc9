#include "colorspace/convert_xrgb_to_ictcp.h"

#include "colorspace/ictcp_matrices.h"
#include "core/simd.h"

namespace lumo {
namespace kernels {

LUMO_CLONES void EncodeLms(const PQBands* table, double* values)
{
    const PQBands bands = *table;
    LUMO_SIMD
    for (int32_t i = 0; i < 3 * blockSize; ++i) {
        values[i] = EncodePQ(bands, values[i]);
    }
}

// ITU-R BT.2100-2, table 7, with the coefficients rounded to four decimals.
LUMO_CLONES void LmsToICtCp(double chromaOffset, double* x, double* y, double* z)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double l = x[i];
        const double m = y[i];
        const double s = z[i];
        x[i] = 0.5 * l + 0.5 * m + 0.0 * s;
        y[i] = 1.6137 * l - 3.3234 * m + 1.7097 * s + chromaOffset;
        z[i] = 4.3781 * l - 4.2455 * m - 0.1326 * s + chromaOffset;
    }
}

// The intensity takes nothing from S.
LUMO_CLONES void Intensity(const PQBands* table, const double* m, const double* x, const double* y,
                           const double* z, double* intensity)
{
    const PQBands bands = *table;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double lPrime = EncodePQ(bands, m[0] * x[i] + m[1] * y[i] + m[2] * z[i]);
        const double mPrime = EncodePQ(bands, m[3] * x[i] + m[4] * y[i] + m[5] * z[i]);
        intensity[i] = 0.5 * lPrime + 0.5 * mPrime;
    }
}

} // namespace kernels

ConvertxRGB2ICtCp::ConvertxRGB2ICtCp(double srcMax, double srcMin, double srcLumiMax,
                                     double srcLumiMin, double dstMax, double dstMin,
                                     double chromaShift, int32_t colorSpace)
    : pq(srcMax, srcMin, srcLumiMax, srcLumiMin, dstMax, dstMin),
      toLms(ToLmsMatrix(colorSpace)),
      chromaOffset(chromaShift)
{
}

void ConvertxRGB2ICtCp::operator()(const double* in, double* out, size_t) const
{
    const double* m = toLms;
    const double l = pq(m[0] * in[0] + m[1] * in[1] + m[2] * in[2]);
    const double mm = pq(m[3] * in[0] + m[4] * in[1] + m[5] * in[2]);
    const double s = pq(m[6] * in[0] + m[7] * in[1] + m[8] * in[2]);
    out[0] = 0.5 * l + 0.5 * mm + 0.0 * s;
    out[1] = 1.6137 * l - 3.3234 * mm + 1.7097 * s + chromaOffset;
    out[2] = 4.3781 * l - 4.2455 * mm - 0.1326 * s + chromaOffset;
}

void ConvertxRGB2ICtCp::ConvertBlock(PixelBlock& block, int32_t, size_t) const
{
    const PQBands bands = pq.Bands();
    MultiplyBlock(toLms, block);
    kernels::EncodeLms(&bands, block.channel[0]);
    kernels::LmsToICtCp(chromaOffset, block.channel[0], block.channel[1], block.channel[2]);
}

void ConvertxRGB2ICtCp::IntensityBlock(const PixelBlock& block, double* intensity) const
{
    const PQBands bands = pq.Bands();
    kernels::Intensity(&bands, toLms, block.channel[0], block.channel[1], block.channel[2],
                       intensity);
}

} // namespace lumo
