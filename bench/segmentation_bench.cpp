// The superpixel runs of a reduced page.
#include "bench_support.h"

#include "core/block_pool.h"
#include "literal/superpixels.h"
#include "segmentation/fast_slic.h"
#include "segmentation/segment_evaluater.h"
#include "tone/htr_parameters.h"

#include <omp.h>

namespace lumo::bench {
namespace {

constexpr int32_t rows = 683;
constexpr int32_t cols = 1024;

void SixCandidates(benchmark::State& state)
{
    omp_set_num_threads(static_cast<int>(state.range(0)));
    const Matrix image = MakeSceneMatrix(rows, cols);
    const Matrix intensity = MakeScenePlane(rows, cols);
    const HtrParameters params;
    for (auto _ : state) {
        const CallMemory memory; // as in every call
        SegmentEvaluater evaluater(FastSlic(655.35, 4), params.segmentEvaluationParam);
        evaluater.CalculateOptimalSegmentsNumber<uint16_t>(image, intensity, params.numSegmentsSet);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void LiteralCandidates(benchmark::State& state)
{
    const Matrix image = MakeSceneMatrix(rows, cols);
    const Matrix intensity = MakeScenePlane(rows, cols);
    const HtrParameters params;
    const Vector<int>& set = params.numSegmentsSet;
    Matrix_t<int> labels;
    for (auto _ : state) {
        literal::BestSuperpixels(image, intensity, 655.35, params.segmentEvaluationParam,
                                 {set.data, set.data + set.size}, labels);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void OneRun(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Matrix image = MakeSceneMatrix(rows, cols);
    Matrix labels;
    FastSlic slic(655.35, 4);
    for (auto _ : state) {
        slic(image, static_cast<int>(state.range(0)), labels);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

BENCHMARK(SixCandidates)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(LiteralCandidates)->Unit(benchmark::kMillisecond);
BENCHMARK(OneRun)->ArgName("segments")->Arg(2)->Arg(8)->Arg(20)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumo::bench
