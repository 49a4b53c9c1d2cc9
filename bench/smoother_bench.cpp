// The edge-preserving smoother on one plane and on two with one guide.
#include "bench_support.h"

#include "segmentation/fast_wls_filter.h"
#include "segmentation/wls_solver.h"

#include <omp.h>

namespace lumo::bench {
namespace {

constexpr int32_t rows = 4480;
constexpr int32_t cols = 6720;

void Columns(benchmark::State& state)
{
    omp_set_num_threads(1);
    const auto planes = static_cast<int32_t>(state.range(0));
    const Matrix plane = MakeScenePlane(rows, cols);
    Matrix solved[2] = {Matrix(rows, cols, D32F), Matrix(rows, cols, D32F)};
    Matrix* const written[] = {&solved[0], &solved[1]};
    const FastWlsFilter filter(0.03f, 30.0f);
    const WlsSolver<uint16_t> solver(filter.weights_, filter.lambda_);
    for (auto _ : state) {
        solver.SolveColumns({{&plane, &plane}, planes}, {plane, 255.0 / 65535.0}, written);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

void BothPasses(benchmark::State& state)
{
    omp_set_num_threads(1);
    const Matrix plane = MakeScenePlane(rows, cols);
    Matrix solved(rows, cols, D32F);
    Matrix result(rows, cols, MakeType(D16U, 1));
    const FastWlsFilter filter(0.03f, 30.0f);
    const WlsSolver<uint16_t> solver(filter.weights_, filter.lambda_);
    for (auto _ : state) {
        solver.Smooth(plane, {plane, 255.0 / 65535.0}, solved, result);
    }
    ReportPixels(state, int64_t{rows} * cols);
}

BENCHMARK(Columns)->ArgName("planes")->Arg(1)->Arg(2);
BENCHMARK(BothPasses);

} // namespace
} // namespace lumo::bench
