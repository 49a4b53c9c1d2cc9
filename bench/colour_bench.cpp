// The per-pixel colour stages, as the pipelines run them and pixel by pixel.
#include "bench_support.h"

#include "colorspace/color_space.h"
#include "colorspace/convert_ictcp_to_xrgb.h"
#include "colorspace/convert_xrgb_to_ictcp.h"
#include "colorspace/pq.h"
#include "core/image_converter.h"
#include "core/image_scaling.h"
#include "core/power_curve.h"
#include "core/saturate.h"
#include "tone/htr_color_luts.h"

#include <omp.h>

namespace lumo::bench {
namespace {

constexpr int32_t rows = 1024;
constexpr int32_t cols = 1536;

// Hides the block form, so that every pixel goes through the single-pixel call.
template <typename Functor>
class PixelByPixel : public ImageConverterInterface {
public:
    explicit PixelByPixel(const Functor& functor) : functor_(functor) {}
    void operator()(const double* in, double* out, size_t channels) const override
    {
        if constexpr (std::is_base_of_v<ImageConverterInterface, Functor>) {
            functor_(in, out, channels);
        } else {
            functor_(in, out);
        }
    }

private:
    const Functor& functor_;
};

// A curve of 16-bit codes, as the encoding sink and the device step look it up.
class CodeMap : public ImageConverterInterface {
public:
    explicit CodeMap(const uint16_t* codes) : table_(codes) {}
    void operator()(const double* in, double* out, size_t channels) const override
    {
        for (size_t c = 0; c < channels; ++c) {
            out[c] = table_[SaturateCode(in[c], 65535.0)];
        }
    }
    void ConvertBlock(PixelBlock& block, int32_t, size_t) const override
    {
        CodeBlock codes;
        ToCodes(block, codes);
        MapCodes(table_, codes, codes);
        FromCodes(codes, block);
    }

private:
    const uint16_t* table_;
};

template <typename Functor>
void Run(benchmark::State& state, const Functor& functor)
{
    omp_set_num_threads(1);
    const Matrix src = MakeSceneMatrix(rows, cols);
    Matrix dst;
    for (auto _ : state) {
        if (state.range(0) != 0) {
            ImageConverter::Convert(src, dst, functor);
        } else {
            ImageConverter::Convert(src, dst, PixelByPixel<Functor>(functor));
        }
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void Table16(benchmark::State& state)
{
    const HtrColorCompression table;
    Run(state, table.interpolation);
}

void RgbToICtCp(benchmark::State& state)
{
    Run(state, ConvertxRGB2ICtCp(65535, 0, 1000, 0.5, 65535, 0, 32767.5, BT2020RGB));
}

void ICtCpToRgb(benchmark::State& state)
{
    Run(state, ConvertICtCp2xRGB(42899, 0, PQ(100), PQ(0.5), 65535, 0, -32767.5, BT2020RGB));
}

void Curve(benchmark::State& state)
{
    Run(state, CodeMap(DecodingMap().data));
}

void Reduce(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Matrix src = MakeScenePlane(4480, 6720);
    const int size[2] = {682, 1024};
    Matrix dst;
    for (auto _ : state) {
        for (int plane = 0; plane < 3; ++plane) {
            ImageScalingBilinear().Resize(src, dst, size);
        }
    }
    ReportPixels(state, int64_t{6720} * 4480);
}

void Forms(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("block")->Arg(0)->Arg(1);
}

BENCHMARK(Table16)->Apply(Forms);
BENCHMARK(RgbToICtCp)->Apply(Forms);
BENCHMARK(ICtCpToRgb)->Apply(Forms);
BENCHMARK(Curve)->Apply(Forms);
BENCHMARK(Reduce);

} // namespace
} // namespace lumo::bench
