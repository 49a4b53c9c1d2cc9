#include "bench_support.h"

#include <cstring>
#include <fstream>
#include <string>

namespace lumo::bench {

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
