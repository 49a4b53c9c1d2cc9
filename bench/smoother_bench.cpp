// The edge-preserving smoother on one plane and on two with one guide.
#include "bench_support.h"

#include "core/block_pool.h"
#include "literal/pixels.h"
#include "literal/smoother.h"
#include "smoothing/fast_wls_filter.h"
#include "smoothing/wls_solver.h"

#include <omp.h>

namespace lumo::bench {
namespace {

constexpr int32_t rows = 4480;
constexpr int32_t cols = 6720;

// Takes the rows of both planes and keeps none.
class NoRows : public WlsRows<uint16_t> {
    void Take(int32_t, int32_t, const uint16_t* const (*taken)[kernels::rowLanes]) override
    {
        benchmark::DoNotOptimize(taken[0][0]);
    }
};

void TwoPlanes(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Matrix plane = MakeScenePlane(rows, cols);
    const FastWlsFilter filter(0.03f, 30.0f);
    const WlsSolver<uint16_t> solver(filter.weights_, filter.lambda_);
    NoRows taken;
    for (auto _ : state) {
        const CallMemory memory; // as in every call
        solver.Smooth({{&plane, &plane}, 2}, {plane, 255.0 / 65535.0}, taken);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void BothPasses(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Matrix plane = MakeScenePlane(rows, cols);
    Matrix result(rows, cols, MakeType(D16U, 1));
    const FastWlsFilter filter(0.03f, 30.0f);
    const WlsSolver<uint16_t> solver(filter.weights_, filter.lambda_);
    for (auto _ : state) {
        const CallMemory memory;
        solver.Smooth(plane, {plane, 255.0 / 65535.0}, result);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void LiteralBothPasses(benchmark::State& state)
{
    const Matrix plane = MakeScenePlane(rows, cols);
    const FastWlsFilter filter(0.03f, 30.0f);
    for (auto _ : state) {
        const Matrix guide = literal::MultiplyCodes(plane, 255.0 / 65535.0);
        literal::SmoothByLines<uint16_t>(filter, plane, guide);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

BENCHMARK(TwoPlanes);
BENCHMARK(BothPasses);
BENCHMARK(LiteralBothPasses);

} // namespace
} // namespace lumo::bench
