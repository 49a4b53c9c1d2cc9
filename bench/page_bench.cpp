// Whole calls through the exports: print, preview, analysis, one band.
#include "bench_support.h"

#include "api/source_encoding.h"
#include "controller/qva_controller.h"
#include "literal/print.h"

#include <malloc.h>
#include <omp.h>

namespace lumo::bench {
namespace {

using Apply = uint32_t (*)(QVA_HANDLE, const QVA_IMAGE*, const QVA_IMAGE*, const QVA_SOURCE_RANGE*,
                           int32_t, const QVA_OUTPUT_CONDITIONS*);

// A print of 64 × 64 pixels with a new handle. The first of a process builds what the process
// keeps, which StartUp measures and the other calls find there.
class SmallPrint {
public:
    bool operator()()
    {
        const QVA_IMAGE src = Describe(source_, side, side);
        const QVA_IMAGE dst = Describe(result_, side, side);
        const QVA_SOURCE_RANGE range = SceneRange();
        const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();
        const Handle handle;
        return QVA_ApplyQVAForPrint_Wrapper(handle.Get(), &dst, &src, &range, sizeof range,
                                            &conditions) == QVA_OK;
    }

private:
    static constexpr uint32_t side = 64;
    std::vector<uint16_t> source_ = MakeScene(side, side);
    std::vector<uint16_t> result_ = std::vector<uint16_t>(source_.size());
};

void WholePage(benchmark::State& state, Apply apply)
{
    const auto width = static_cast<uint32_t>(state.range(0));
    const auto height = static_cast<uint32_t>(state.range(1));
    omp_set_num_threads(static_cast<int>(state.range(2)));
    malloc_trim(0);
    std::vector<uint16_t> source = MakeScene(width, height);
    std::vector<uint16_t> result(source.size());
    const QVA_IMAGE src = Describe(source, width, height);
    const QVA_IMAGE dst = Describe(result, width, height);
    const QVA_SOURCE_RANGE range = SceneRange();
    const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();
    const Handle handle;
    SmallPrint()();
    ResetPeak();
    for (auto _ : state) {
        if (apply(handle.Get(), &dst, &src, &range, sizeof range, &conditions) != QVA_OK) {
            state.SkipWithError("the call failed");
        }
    }
    const int64_t pixels = int64_t{width} * height;
    ReportPixels(state, pixels);
    state.counters["peak B/pixel"] = static_cast<double>(PeakBytes()) / static_cast<double>(pixels);
}

void Print(benchmark::State& state)
{
    WholePage(state, QVA_ApplyQVAForPrint_Wrapper);
}

void Preview(benchmark::State& state)
{
    WholePage(state, QVA_ApplyQVAForPreview_Wrapper);
}

// The literal form in place of the export.
template <bool print>
uint32_t ApplyLiterally(QVA_HANDLE, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                        const QVA_SOURCE_RANGE* range, int32_t,
                        const QVA_OUTPUT_CONDITIONS* conditions)
{
    literal::Print(*dst, *src, MakeSourceEncoding(*range, *conditions), *conditions, print);
    return QVA_OK;
}

void LiteralPrint(benchmark::State& state)
{
    WholePage(state, ApplyLiterally<true>);
}

void LiteralPreview(benchmark::State& state)
{
    WholePage(state, ApplyLiterally<false>);
}

void Analysis(benchmark::State& state)
{
    omp_set_num_threads(1);
    std::vector<uint16_t> source = MakeScene(1200, 800);
    const QVA_IMAGE src = Describe(source, 1200, 800);
    const QVA_SOURCE_RANGE range = SceneRange();
    const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();
    const Handle handle;
    SmallPrint()();
    for (auto _ : state) {
        if (QVA_Analysis(handle.Get(), &src, &range, sizeof range, &conditions) != QVA_OK) {
            state.SkipWithError("the call failed");
        }
    }
    ReportPixels(state, 1200 * 800);
}

// A band of a page of 6720 × 4480 with the overlap that the library asks for above and below. The
// analysis and what the first correction fixes for the process stay outside; a pixel is one of the
// inner band, which is what a host keeps.
void Band(benchmark::State& state)
{
    omp_set_num_threads(static_cast<int>(state.range(1)));
    constexpr uint32_t width = 6720;
    uint32_t plan[7];
    QVA_GetParametersForBandProcessing(nullptr, plan);
    const auto inner = static_cast<uint32_t>(state.range(0));
    const uint32_t rows = inner + plan[3] + plan[4];
    std::vector<uint16_t> reduced = MakeScene(1200, 800);
    std::vector<uint16_t> source = MakeScene(width, rows);
    std::vector<uint16_t> result(source.size());
    const QVA_IMAGE page = Describe(reduced, 1200, 800);
    const QVA_IMAGE src = Describe(source, width, rows);
    const QVA_IMAGE dst = Describe(result, width, rows);
    const QVA_SOURCE_RANGE range = SceneRange();
    const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();
    const QVA_BAND_AREA band = {0, 0, width - 1, rows - 1, {1, 1, 0, 0}};
    const QVA_PAGE_AREA area = {0, 1024, width - 1, 1024 + rows - 1, width, 4480};
    const Handle handle;
    const auto correct = [&] {
        if (QVA_CorrectionForPrint(handle.Get(), &dst, &src, &range, sizeof range, &conditions,
                                   &band, &area) != QVA_OK)
        {
            state.SkipWithError("the call failed");
        }
    };
    QVA_Analysis(handle.Get(), &page, &range, sizeof range, &conditions);
    correct();
    for (auto _ : state) {
        correct();
    }
    ReportPixels(state, int64_t{width} * inner);
}

// A print of four megapixels with as many segments as asked for, in place of the best of six
// counts.
void Segments(benchmark::State& state)
{
    omp_set_num_threads(static_cast<int>(state.range(1)));
    constexpr uint32_t width = 2448;
    constexpr uint32_t height = 1632;
    std::vector<uint16_t> source = MakeScene(width, height);
    std::vector<uint16_t> result(source.size());
    const QVA_IMAGE src = Describe(source, width, height);
    const QVA_IMAGE dst = Describe(result, width, height);
    const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();
    const QVA_SOURCE_ENCODING encoding = MakeSourceEncoding(SceneRange(), conditions);
    QvaController controller;
    controller.htrParameters.evaluateSegmentsNumber = false;
    controller.htrParameters.numSegments = static_cast<int32_t>(state.range(0));
    for (auto _ : state) {
        if (controller.Apply(&dst, &src, &encoding, &conditions, true) != QVA_OK) {
            state.SkipWithError("the call failed");
        }
    }
    ReportPixels(state, int64_t{width} * height);
}

// From no handle to a first print; only the tables that a process keeps are there already.
void StartUp(benchmark::State& state)
{
    omp_set_num_threads(1);
    SmallPrint print;
    for (auto _ : state) {
        if (!print()) {
            state.SkipWithError("the call failed");
        }
    }
}

void PageSizes(benchmark::internal::Benchmark* bench)
{
    const int64_t sizes[][2] = {{64, 64},     {192, 128},   {384, 256},   {768, 512},  {1224, 816},
                                {2448, 1632}, {4752, 3168}, {6720, 4480}, {9504, 6336}};
    bench->ArgNames({"width", "height", "threads"});
    for (const int64_t threads : {1, 2}) {
        for (const auto& size : sizes) {
            bench->Args({size[0], size[1], threads});
        }
    }
    bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

void LiteralSizes(benchmark::internal::Benchmark* bench)
{
    const int64_t sizes[][2] = {{1224, 816}, {2448, 1632}, {6720, 4480}};
    bench->ArgNames({"width", "height", "threads"});
    for (const auto& size : sizes) {
        bench->Args({size[0], size[1], 1});
    }
    bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

void OfEach(benchmark::internal::Benchmark* bench, const char* name,
            const std::vector<int64_t>& values)
{
    bench->ArgNames({name, "threads"})->ArgsProduct({values, {1, 2}});
    bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

void BandRows(benchmark::internal::Benchmark* bench)
{
    OfEach(bench, "rows", {128, 256, 512, 1024, 2048});
}

void SegmentCounts(benchmark::internal::Benchmark* bench)
{
    OfEach(bench, "segments", {1, 2, 4, 8, 14, 20, 40, 80});
}

BENCHMARK(Print)->Apply(PageSizes);
BENCHMARK(Preview)->Apply(PageSizes);
BENCHMARK(LiteralPrint)->Apply(LiteralSizes);
BENCHMARK(LiteralPreview)->Apply(LiteralSizes);
BENCHMARK(Analysis)->Unit(benchmark::kMillisecond);
BENCHMARK(Band)->Apply(BandRows);
BENCHMARK(Segments)->Apply(SegmentCounts);
BENCHMARK(StartUp)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumo::bench
