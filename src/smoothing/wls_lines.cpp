#include "smoothing/wls_lines.h"

#include "core/parallel.h"

namespace lumo {
namespace {

// One column or row: `length` pixels that lie `guideStep` and `valueStep` elements apart.
template <typename T>
struct Line {
    const T* guide;
    int64_t guideStep;
    int32_t guideChannels;
    float* value;
    int64_t valueStep;
    int32_t valueChannels;
    int32_t length;
};

struct Coefficients {
    explicit Coefficients(int32_t length)
        : lower(static_cast<uint64_t>(length)),
          diagonal(static_cast<uint64_t>(length)),
          upper(static_cast<uint64_t>(length)),
          eliminated(static_cast<uint64_t>(length)),
          x(static_cast<uint64_t>(length))
    {
    }
    Vector<float> lower;
    Vector<float> diagonal;
    Vector<float> upper;
    Vector<float> eliminated;
    Vector<float> x;
};

int64_t TableIndex(float distance, uint64_t size)
{
    const auto last = static_cast<float>(size - 1);
    distance = distance > 0.0f ? distance : 0.0f;
    return static_cast<int64_t>(distance < last ? distance : last);
}

template <typename T>
void Build(const Line<T>& line, const Vector<float>& weights, float lambda, Coefficients& k)
{
    const int32_t n = line.length;
    k.lower[0] = 0.0f;
    for (int32_t i = 1; i < n; ++i) {
        const T* here = line.guide + i * line.guideStep;
        const T* before = here - line.guideStep;
        float distance = 0.0f;
        for (int32_t c = 0; c < line.guideChannels; ++c) {
            const float d = static_cast<float>(here[c]) - static_cast<float>(before[c]);
            distance += d * d;
        }
        const float e = -(lambda * weights[TableIndex(distance, weights.size)]);
        k.lower[i] = e;
        k.upper[i - 1] = e;
        k.diagonal[i - 1] = 1.0f - k.lower[i - 1] - e;
    }
    k.upper[n - 1] = 0.0f;
    k.diagonal[n - 1] = 1.0f - k.lower[n - 1];
}

template <typename T>
void SolveChannel(const Line<T>& line, int32_t channel, Coefficients& k)
{
    float* value = line.value + channel;
    const int32_t n = line.length;
    k.eliminated[0] = k.upper[0] / k.diagonal[0];
    k.x[0] = value[0] / k.diagonal[0];
    for (int32_t i = 1; i < n; ++i) {
        const float m = 1.0f / (k.diagonal[i] - k.eliminated[i - 1] * k.lower[i]);
        k.eliminated[i] = k.upper[i] * m;
        k.x[i] = (value[i * line.valueStep] - k.lower[i] * k.x[i - 1]) * m;
    }
    value[(n - 1) * line.valueStep] = k.x[n - 1];
    for (int32_t i = n - 2; i >= 0; --i) {
        k.x[i] = k.x[i] - k.eliminated[i] * k.x[i + 1];
        value[i * line.valueStep] = k.x[i];
    }
}

template <typename T>
void SolveLine(const Line<T>& line, const Vector<float>& weights, float lambda, Coefficients& k)
{
    Build(line, weights, lambda, k);
    for (int32_t channel = 0; channel < line.valueChannels; ++channel) {
        SolveChannel(line, channel, k);
    }
}

} // namespace

template <typename T>
void SolveLines(const Matrix& guidance, const Vector<float>& weights, float lambda, Matrix& image)
{
    const auto guideStep = static_cast<int64_t>(guidance.step);
    const auto valueStep = static_cast<int64_t>(image.step);
    ParallelRangesWith(
        0, image.cols, [&] { return Coefficients(image.rows); },
        [&](int64_t first, int64_t last, Coefficients& k) {
            for (int64_t col = first; col < last; ++col) {
                const Line<T> line = {RowOf<T>(guidance, 0) + col * guidance.channels,
                                      guideStep,
                                      guidance.channels,
                                      RowOf<float>(image, 0) + col * image.channels,
                                      valueStep,
                                      image.channels,
                                      image.rows};
                SolveLine(line, weights, lambda, k);
            }
        });
    ParallelRangesWith(
        0, image.rows, [&] { return Coefficients(image.cols); },
        [&](int64_t first, int64_t last, Coefficients& k) {
            for (auto row = static_cast<int32_t>(first); row < last; ++row) {
                const Line<T> line = {RowOf<T>(guidance, row),
                                      guidance.channels,
                                      guidance.channels,
                                      RowOf<float>(image, row),
                                      image.channels,
                                      image.channels,
                                      image.cols};
                SolveLine(line, weights, lambda, k);
            }
        });
}

template void SolveLines<uint8_t>(const Matrix&, const Vector<float>&, float, Matrix&);
template void SolveLines<uint16_t>(const Matrix&, const Vector<float>&, float, Matrix&);
template void SolveLines<float>(const Matrix&, const Vector<float>&, float, Matrix&);

} // namespace lumo
