// OpenCV at the work of the library's stages, one thread, with its own defaults.
#include "../scene.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>
#include <opencv2/ximgproc.hpp>

namespace lumo::bench {
namespace {

cv::Mat SceneImage(int rows, int cols)
{
    const std::vector<uint16_t> pixels =
        MakeScene(static_cast<uint32_t>(cols), static_cast<uint32_t>(rows));
    cv::Mat image(rows, cols, CV_16UC3);
    std::memcpy(image.data, pixels.data(), pixels.size() * sizeof pixels[0]);
    return image;
}

cv::Mat ScenePlane(int rows, int cols)
{
    cv::Mat plane;
    cv::extractChannel(SceneImage(rows, cols), plane, 0);
    return plane;
}

// From linear floats to floats of 0 ... 1: no decoding before and no 16-bit codes after.
template <typename Operator>
void ToneMap(benchmark::State& state, const cv::Ptr<Operator>& mapping)
{
    cv::setNumThreads(1);
    const auto width = static_cast<uint32_t>(state.range(0));
    const auto height = static_cast<uint32_t>(state.range(1));
    std::vector<float> pixels = MakeLinearScene(width, height);
    const cv::Mat scene(static_cast<int>(height), static_cast<int>(width), CV_32FC3, pixels.data());
    for (auto _ : state) {
        cv::Mat result;
        mapping->process(scene, result);
        benchmark::DoNotOptimize(result.data);
    }
}

void Reinhard(benchmark::State& state)
{
    ToneMap(state, cv::createTonemapReinhard());
}

void Mantiuk(benchmark::State& state)
{
    ToneMap(state, cv::createTonemapMantiuk());
}

// One iteration, guide and plane the same, at the strength of the library's smoother; the guide has
// 8 bits, as the filter asks for.
void Smoother(benchmark::State& state)
{
    cv::setNumThreads(1);
    const cv::Mat codes = ScenePlane(4480, 6720);
    cv::Mat plane;
    cv::Mat guide;
    codes.convertTo(plane, CV_32F);
    codes.convertTo(guide, CV_8U, 1.0 / 257.0);
    for (auto _ : state) {
        cv::Mat result;
        cv::ximgproc::createFastGlobalSmootherFilter(guide, 30.0, 0.03 * 255.0, 0.25, 1)
            ->filter(plane, result);
        benchmark::DoNotOptimize(result.data);
    }
}

// The candidates but for the single segment, four iterations each, without the connectivity pass.
void Slico(benchmark::State& state)
{
    cv::setNumThreads(1);
    const cv::Mat image = SceneImage(683, 1024);
    for (auto _ : state) {
        for (const int segments : {2, 4, 8, 14, 20}) {
            const int side = cvRound(std::sqrt(683.0 * 1024.0 / segments));
            const auto slic = cv::ximgproc::createSuperpixelSLIC(image, cv::ximgproc::SLICO, side);
            slic->iterate(4);
            cv::Mat labels;
            slic->getLabels(labels);
            benchmark::DoNotOptimize(labels.data);
        }
    }
}

void Resize(benchmark::State& state, int method)
{
    cv::setNumThreads(1);
    const cv::Mat plane = ScenePlane(4480, 6720);
    for (auto _ : state) {
        for (int count = 0; count < 3; ++count) {
            cv::Mat result;
            cv::resize(plane, result, cv::Size(1024, 682), 0, 0, method);
            benchmark::DoNotOptimize(result.data);
        }
    }
}

void ResizeLinear(benchmark::State& state)
{
    Resize(state, cv::INTER_LINEAR);
}

void ResizeArea(benchmark::State& state)
{
    Resize(state, cv::INTER_AREA);
}

void Pages(benchmark::internal::Benchmark* bench)
{
    bench->Args({1224, 816})->Args({2448, 1632})->Args({6720, 4480})->Unit(benchmark::kMillisecond);
}

BENCHMARK(Reinhard)->Apply(Pages);
BENCHMARK(Mantiuk)->Apply(Pages);
BENCHMARK(Smoother);
BENCHMARK(Slico)->Unit(benchmark::kMillisecond);
BENCHMARK(ResizeLinear);
BENCHMARK(ResizeArea);

} // namespace
} // namespace lumo::bench
