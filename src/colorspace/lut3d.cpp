#include "colorspace/lut3d.h"

namespace lumo {
namespace {

// A table has three inputs; what runs it over images may let one channel through.
void EnsureThree(size_t channels)
{
    if (channels == 1) {
        throw Exception(exceptionFormat,
                        "Error in Image Converter::Convert(), data channels must be 1/3");
    }
}

} // namespace

Lut3D::Lut3D(const ImageConverterInterface& f, double maxValue)
{
    constexpr uint64_t n = sampledGrid;
    Vector<double> samples(n * n * n * 3);
    double* out = samples.data;
    for (uint64_t i = 0; i < n; ++i) {
        for (uint64_t j = 0; j < n; ++j) {
            for (uint64_t k = 0; k < n; ++k, out += 3) {
                const double in[3] = {static_cast<double>(i) * maxValue * 0.0625,
                                      static_cast<double>(j) * maxValue * 0.0625,
                                      static_cast<double>(k) * maxValue * 0.0625};
                f(in, out, 3);
            }
        }
    }
    interpolation.Initialize(samples, n, maxValue);
}

void Lut3D::operator()(const double* in, double* out, size_t) const
{
    interpolation(in, out);
}

void Lut3D::ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const
{
    EnsureThree(channels);
    interpolation.ConvertBlock(block, count, channels);
}

void Lut3D::ConvertCodes(const CodeBlock& codes, int32_t count, PixelBlock& block) const
{
    interpolation.ConvertCodes(codes, count, block);
}

void Lut3D::Initialize(const Vector<double>& lut, size_t numGrid, double maxValue)
{
    interpolation.Initialize(lut, numGrid, maxValue);
}

void Lut3D::Convert(const Matrix& src, Matrix& dst) const
{
    const int32_t depth = DepthOf(src.type);
    const bool known = depth == D8U || depth == D16U || depth == D32F || depth == D64F;
    if (src.channels == 1 && known) {
        dst.Ensure(src.rows, src.cols, src.type);
        EnsureThree(1);
    }
    ImageConverter::Convert(src, dst, interpolation);
}

} // namespace lumo
