// The tone-mapping operators of pfstools with the defaults of its programs, on linear floats in
// separate planes: without its files and pipes, decoding before and encoding after.
#include "../scene.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <contrast_domain.h>
#include <omp.h>
#include <tmo_fattal02.h>
#include <tmo_reinhard05.h>

namespace lumo::bench {
namespace {

// ITU-R BT.2020: luminance of the primaries.
constexpr float weights[3] = {0.2627f, 0.6780f, 0.0593f};

struct Planes {
    Planes(int cols, int rows)
        : width(static_cast<uint32_t>(cols)), height(static_cast<uint32_t>(rows))
    {
        const std::vector<float> pixels = MakeLinearScene(width, height);
        const size_t count = size_t{width} * height;
        luminance.resize(count);
        for (int channel = 0; channel < 3; ++channel) {
            colour[channel].resize(count);
            for (size_t i = 0; i < count; ++i) {
                const float value = std::max(pixels[3 * i + channel], 1e-4f);
                colour[channel][i] = value;
                luminance[i] += weights[channel] * value;
            }
        }
    }
    uint32_t width;
    uint32_t height;
    std::vector<float> colour[3];
    std::vector<float> luminance;
};

Planes MakePlanes(const benchmark::State& state)
{
    omp_set_num_threads(1);
    return Planes(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

void Reinhard05(benchmark::State& state)
{
    Planes page = MakePlanes(state);
    for (auto _ : state) {
        tmo_reinhard05(page.width, page.height, page.colour[0].data(), page.colour[1].data(),
                       page.colour[2].data(), page.luminance.data(), 0.0f, 0.5f, 0.75f);
    }
}

// Luminance alone; the program also scales the colours.
void Fattal02(benchmark::State& state)
{
    const Planes page = MakePlanes(state);
    std::vector<float> result(page.luminance.size());
    for (auto _ : state) {
        tmo_fattal02(page.width, page.height, page.luminance.data(), result.data(), 1.0f, 0.9f,
                     0.8f, 0.002f, 3, 0.1f, 0.5f, true);
    }
}

void Mantiuk06(benchmark::State& state)
{
    Planes page = MakePlanes(state);
    for (auto _ : state) {
        tmo_mantiuk06_contmap(static_cast<int>(page.width), static_cast<int>(page.height),
                              page.colour[0].data(), page.colour[1].data(), page.colour[2].data(),
                              page.luminance.data(), 0.1f, 0.8f, false, 200, 1e-3f);
    }
}

void Pages(benchmark::internal::Benchmark* bench)
{
    bench->Args({1224, 816})->Args({2448, 1632})->Args({6720, 4480})->Unit(benchmark::kMillisecond);
}

BENCHMARK(Reinhard05)->Apply(Pages);
BENCHMARK(Fattal02)->Apply(Pages);
BENCHMARK(Mantiuk06)->Apply(Pages);

} // namespace
} // namespace lumo::bench
