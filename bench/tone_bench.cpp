// Curves, weight maps and the blend.
#include "bench_support.h"

#include "segmentation/fast_slic.h"
#include "tone/fast_object_adaptive_tone_mapping.h"

#include <omp.h>

namespace lumo::bench {
namespace {

constexpr ToneCodes codes = {65535, 0, 42900, 0, 10900, 15500};

struct Segments {
    Matrix_t<int> labels;
    int32_t count = 0;
};

Segments SegmentScene(int segments)
{
    Segments found;
    found.count = FastSlic(655.35, 4)(MakeSceneMatrix(683, 1024), segments, found.labels);
    return found;
}

void CurvesAndMaps(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Segments segments = SegmentScene(static_cast<int>(state.range(0)));
    const Matrix base = MakeScenePlane(683, 1024);
    const FastObjectAdaptiveToneMapping mapping(256.0, 1.0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            mapping.MakeBlend<uint16_t>(base, codes, segments.labels, segments.count));
    }
    ReportPixels(state, 683 * 1024);
}

void Blend(benchmark::State& state)
{
    omp_set_num_threads(1);
    constexpr int32_t rows = 2240;
    constexpr int32_t cols = 6720;
    const Segments segments = SegmentScene(static_cast<int>(state.range(0)));
    const Matrix base = MakeScenePlane(rows, cols);
    const FastObjectAdaptiveToneMapping mapping(256.0, 1.0);
    const ToneBlend blend =
        mapping.MakeBlend<uint16_t>(base, codes, segments.labels, segments.count);
    std::vector<double> blended(cols);
    for (auto _ : state) {
        ToneBlend::Row scratch(blend);
        for (int32_t row = 0; row < rows; ++row) {
            blend.Blend(RowOf<uint16_t>(base, row), row, 0, cols, scratch, blended.data());
        }
    }
    ReportPixels(state, int64_t{rows} * cols);
}

BENCHMARK(CurvesAndMaps)->ArgName("segments")->Arg(4)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(Blend)->ArgName("segments")->Arg(4)->Arg(20);

} // namespace
} // namespace lumo::bench
