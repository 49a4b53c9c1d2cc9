#include "literal/smoother.h"

#include "core/saturate.h"

#include <algorithm>
#include <vector>

namespace lumo::literal {
namespace {

// One tridiagonal system: row i of its matrix is a[i], b[i], c[i].
struct System {
    explicit System(int32_t n) : a(n, 0.0f), b(n), c(n, 0.0f) {}
    std::vector<float> a, b, c;
};

// The system of the n pixels from `first` on, `step` pixels apart.
template <typename T>
System MakeSystem(const FastWlsFilter& filter, const Matrix& guidance, int64_t first, int64_t step,
                  int32_t n)
{
    const T* guide = RowOf<T>(guidance, 0) + first * guidance.channels;
    const int64_t next = step * guidance.channels;
    System system(n);
    for (int32_t i = 1; i < n; ++i) {
        float distance = 0.0f;
        for (int64_t k = 0; k < guidance.channels; ++k) {
            const float d = static_cast<float>(guide[i * next + k]) -
                            static_cast<float>(guide[(i - 1) * next + k]);
            distance += d * d;
        }
        const auto entry = static_cast<uint64_t>(std::min(distance, 195075.0f));
        system.a[i] = system.c[i - 1] = -(filter.lambda_ * filter.weights_[entry]);
    }
    for (int32_t i = 0; i < n; ++i) {
        system.b[i] = 1.0f - system.a[i] - system.c[i];
    }
    return system;
}

// Solves it for n values that lie `step` apart.
void Solve(const System& system, float* x, int64_t step, int32_t n)
{
    std::vector<float> c = system.c;
    c[0] = c[0] / system.b[0];
    x[0] = x[0] / system.b[0];
    for (int32_t i = 1; i < n; ++i) {
        const float m = 1.0f / (system.b[i] - c[i - 1] * system.a[i]);
        c[i] = c[i] * m;
        x[i * step] = (x[i * step] - system.a[i] * x[(i - 1) * step]) * m;
    }
    for (int32_t i = n - 2; i >= 0; --i) {
        x[i * step] = x[i * step] - c[i] * x[(i + 1) * step];
    }
}

} // namespace

template <typename T>
Matrix SmoothByLines(const FastWlsFilter& filter, const Matrix& src, const Matrix& guidance)
{
    const T* in = RowOf<T>(src, 0);
    std::vector<float> value(in, in + src.rows * RowLength(src));
    const auto solve = [&](int64_t first, int64_t step, int32_t n) {
        const System system = MakeSystem<T>(filter, guidance, first, step, n);
        for (int64_t k = 0; k < src.channels; ++k) {
            Solve(system, &value[first * src.channels + k], step * src.channels, n);
        }
    };
    for (int32_t col = 0; col < src.cols; ++col) {
        solve(col, src.cols, src.rows);
    }
    for (int32_t row = 0; row < src.rows; ++row) {
        solve(int64_t{row} * src.cols, 1, src.cols);
    }
    Matrix result(src.rows, src.cols, src.type);
    std::transform(value.begin(), value.end(), RowOf<T>(result, 0),
                   [](float v) { return Saturate<T>(v); });
    return result;
}

template Matrix SmoothByLines<uint8_t>(const FastWlsFilter&, const Matrix&, const Matrix&);
template Matrix SmoothByLines<uint16_t>(const FastWlsFilter&, const Matrix&, const Matrix&);
template Matrix SmoothByLines<float>(const FastWlsFilter&, const Matrix&, const Matrix&);

} // namespace lumo::literal
