#include "colorspace/convert_xrgb_to_ictcp.h"

#include "colorspace/ictcp_matrices.h"
#include "core/lookup.h"
#include "core/simd.h"

namespace lumo {
namespace kernels {

using LmsPositions = TablePositions<3 * blockSize>;
using LmPositions = TablePositions<2 * blockSize>;

LUMO_CLONES void LocateLms(const PQBands* table, const double* values, LmsPositions* at)
{
    const PQBands bands = *table;
    LUMO_SIMD
    for (int32_t i = 0; i < 3 * blockSize; ++i) {
        LocatePQ(bands, values[i], at->index[i], at->fraction[i]);
    }
}

LUMO_CLONES void MixLms(const LmsPositions* at, double* values)
{
    MixPairs(*at, values);
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
LUMO_CLONES void LocateLm(const PQBands* table, const double* m, const double* x, const double* y,
                          const double* z, LmPositions* at)
{
    const PQBands bands = *table;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double l = m[0] * x[i] + m[1] * y[i] + m[2] * z[i];
        const double mm = m[3] * x[i] + m[4] * y[i] + m[5] * z[i];
        LocatePQ(bands, l, at->index[i], at->fraction[i]);
        LocatePQ(bands, mm, at->index[blockSize + i], at->fraction[blockSize + i]);
    }
}

LUMO_CLONES void MixIntensity(const LmPositions* at, double* intensity)
{
    alignas(64) double lm[2 * blockSize];
    MixPairs(*at, lm);
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        intensity[i] = 0.5 * lm[i] + 0.5 * lm[blockSize + i];
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
    kernels::LmsPositions at;
    kernels::LocateLms(&bands, block.channel[0], &at);
    LookUpPairs(bands.samples, at.index, 3 * blockSize, at.pair);
    kernels::MixLms(&at, block.channel[0]);
    kernels::LmsToICtCp(chromaOffset, block.channel[0], block.channel[1], block.channel[2]);
}

void ConvertxRGB2ICtCp::IntensityBlock(const PixelBlock& block, double* intensity) const
{
    const PQBands bands = pq.Bands();
    kernels::LmPositions at;
    kernels::LocateLm(&bands, toLms, block.channel[0], block.channel[1], block.channel[2], &at);
    LookUpPairs(bands.samples, at.index, 2 * blockSize, at.pair);
    kernels::MixIntensity(&at, intensity);
}

} // namespace lumo
