#include "bench_support.h"

#include "photo_paper_profile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace lumo::bench {
namespace {

// A small linear congruential generator (Numerical Recipes, "quick and dirty"): noise that is the
// same everywhere.
class Noise {
public:
    double Next()
    {
        state_ = state_ * 1664525u + 1013904223u;
        return static_cast<double>(state_ >> 8) / (1 << 24) - 0.5;
    }

private:
    uint32_t state_ = 1;
};

double SceneSignal(double u, double v, int channel)
{
    const double sun = std::exp(-((u - 0.7) * (u - 0.7) + (v - 0.2) * (v - 0.2)) * 400.0);
    const double sky = 0.55 - 0.25 * v + 0.05 * channel * (1.0 - v);
    const double wall = std::fmod(u * 9.0, 1.0) < 0.4 ? 0.18 : 0.38;
    const double ground = wall + 0.06 * std::sin(u * 300.0) * std::sin(v * 260.0) - 0.03 * channel;
    return (v < 0.55 + 0.05 * std::sin(u * 12.0) ? sky : ground) + 0.4 * sun;
}

} // namespace

std::vector<uint16_t> MakeScene(uint32_t width, uint32_t height)
{
    std::vector<uint16_t> pixels(size_t{width} * height * 3);
    Noise noise;
    uint16_t* out = pixels.data();
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const double signal =
                    SceneSignal(static_cast<double>(x) / width, static_cast<double>(y) / height, c);
                const double code = (signal + 0.01 * noise.Next()) * 65535.0;
                *out++ = static_cast<uint16_t>(std::clamp(code, 0.0, 65535.0));
            }
        }
    }
    return pixels;
}

Matrix MakeSceneMatrix(int32_t rows, int32_t cols)
{
    const std::vector<uint16_t> pixels =
        MakeScene(static_cast<uint32_t>(cols), static_cast<uint32_t>(rows));
    Matrix image(rows, cols, rgb16Type);
    std::memcpy(image.data, pixels.data(), pixels.size() * 2);
    return image;
}

Matrix MakeScenePlane(int32_t rows, int32_t cols)
{
    const Matrix image = MakeSceneMatrix(rows, cols);
    Matrix plane(rows, cols, MakeType(D16U, 1));
    for (int32_t row = 0; row < rows; ++row) {
        for (int64_t col = 0; col < cols; ++col) {
            RowOf<uint16_t>(plane, row)[col] = RowOf<uint16_t>(image, row)[3 * col];
        }
    }
    return plane;
}

const void* PrinterProfile()
{
    return qva::photoPaperProfile;
}

QVA_IMAGE Describe(std::vector<uint16_t>& pixels, uint32_t width, uint32_t height)
{
    return {width, height, uint64_t{width} * 6, 3, 16, 1, 2, 0, pixels.data()};
}

QVA_SOURCE_RANGE SceneRange()
{
    return {2, 0.005f, 1000.0f};
}

QVA_OUTPUT_CONDITIONS PaperConditions()
{
    return {100, 1.3f, 1.0, 1.0, PrinterProfile(), 0, 0};
}

void ReportPixels(benchmark::State& state, int64_t pixels)
{
    const double total = static_cast<double>(pixels) * static_cast<double>(state.iterations());
    state.counters["pixels/s"] = benchmark::Counter(total, benchmark::Counter::kIsRate);
    state.counters["ns/pixel"] =
        benchmark::Counter(total * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void ResetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

int64_t PeakBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stoll(line.substr(6)) * 1024;
        }
    }
    return 0;
}

} // namespace lumo::bench
