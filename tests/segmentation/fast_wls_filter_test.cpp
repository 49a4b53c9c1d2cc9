#include "segmentation/fast_wls_filter.h"

#include "core/saturate.h"
#include "support/random_images.h"

#include <limits>
#include <omp.h>

namespace lumo::test {
namespace {

// The tridiagonal systems one line after the other: all columns, then all rows.
template <typename T>
std::vector<T> SmoothByLines(const FastWlsFilter& filter, const Matrix& src, const Matrix& guidance)
{
    const std::vector<T> in = Elements<T>(src);
    const std::vector<T> guides = Elements<T>(guidance);
    const std::vector<float> guide(guides.begin(), guides.end());
    std::vector<float> value(in.begin(), in.end());
    const auto solve = [&](int64_t first, int64_t step, int32_t n) {
        std::vector<float> a(n, 0.0f), b(n), c(n, 0.0f);
        for (int32_t i = 1; i < n; ++i) {
            float distance = 0.0f;
            for (int64_t k = 0; k < guidance.channels; ++k) {
                const int64_t at = (first + i * step) * guidance.channels + k;
                const float d = guide[at] - guide[at - step * guidance.channels];
                distance += d * d;
            }
            const auto entry = static_cast<uint64_t>(std::min(distance, 195075.0f));
            a[i] = c[i - 1] = -(filter.lambda_ * filter.weights_[entry]);
        }
        for (int32_t i = 0; i < n; ++i) {
            b[i] = 1.0f - a[i] - c[i];
        }
        for (int64_t k = 0; k < src.channels; ++k) {
            const auto x = [&](int32_t i) -> float& {
                return value[(first + i * step) * src.channels + k];
            };
            std::vector<float> e = c;
            e[0] = e[0] / b[0];
            x(0) = x(0) / b[0];
            for (int32_t i = 1; i < n; ++i) {
                const float m = 1.0f / (b[i] - e[i - 1] * a[i]);
                e[i] = e[i] * m;
                x(i) = (x(i) - a[i] * x(i - 1)) * m;
            }
            for (int32_t i = n - 2; i >= 0; --i) {
                x(i) = x(i) - e[i] * x(i + 1);
            }
        }
    };
    for (int32_t col = 0; col < src.cols; ++col) {
        solve(col, src.cols, src.rows);
    }
    for (int32_t row = 0; row < src.rows; ++row) {
        solve(int64_t{row} * src.cols, 1, src.cols);
    }
    std::vector<T> out(value.size());
    std::transform(value.begin(), value.end(), out.begin(), [](float v) { return Saturate<T>(v); });
    return out;
}

template <typename T>
void ExpectLineByLine(double span, int32_t channels, int32_t guideChannels)
{
    constexpr int32_t sizes[][2] = {{1, 1},   {1, 70},  {70, 1},  {2, 3},
                                    {15, 17}, {33, 65}, {50, 131}};
    for (const auto& [rows, cols] : sizes) {
        const Matrix src = PatchyImage<T>(rows, cols, channels, 0.0, span, 3);
        const Matrix guide = PatchyImage<T>(rows, cols, guideChannels, 0.0, 255.0, 4);
        FastWlsFilter filter(0.03f, 1.0f + static_cast<float>(cols));
        SCOPED_TRACE(testing::Message() << rows << " x " << cols);
        omp_set_num_threads(1 + cols % 3);
        Matrix dst(src);
        filter(src, guide, dst);
        ASSERT_EQ(SmoothByLines<T>(filter, src, guide), Elements<T>(dst));
        filter(src, Matrix(), dst);
        ASSERT_EQ(SmoothByLines<T>(filter, src, src), Elements<T>(dst)) << "its own guide";
    }
}

TEST(FastWlsFilter, SolvesOneLineAfterTheOther)
{
    ExpectLineByLine<uint8_t>(255.0, 1, 1);
    ExpectLineByLine<uint16_t>(65535.0, 1, 1);
    ExpectLineByLine<float>(65535.0, 1, 1);
    ExpectLineByLine<uint8_t>(255.0, 3, 1);
    ExpectLineByLine<uint16_t>(65535.0, 1, 3);
    ExpectLineByLine<float>(1.0, 2, 2);
}

TEST(FastWlsFilter, RefusesOtherDepthsAndSizes)
{
    const char* const differ =
        "Error in FastWlsFilter::operator(), src and guidance depth must be same";
    FastWlsFilter filter(0.03f, 30.0f);
    const Matrix codes(4, 4, D16U), integers(4, 4, D32S);
    Matrix dst;
    ExpectException(2, differ, [&] { filter(codes, Matrix(4, 4, D8U), dst); });
    ExpectException(2, differ, [&] { filter(codes, Matrix(5, 4, D16U), dst); });
    ExpectException(2, "Error: In FastWlsFilter::operator(), depth type must be D8U/D16U/D32F",
                    [&] { filter(integers, Matrix(), dst); });
    ExpectException(2, "Error: In FastWlsFilter::operator() depth type must be D8U/D16U/D32F",
                    [&] { filter(integers, dst); });
}

} // namespace
} // namespace lumo::test
