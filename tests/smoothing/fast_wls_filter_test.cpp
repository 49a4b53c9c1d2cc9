#include "smoothing/fast_wls_filter.h"

#include "literal/smoother.h"
#include "support/random_images.h"

#include <omp.h>

namespace lumo::test {
namespace {

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
        ASSERT_EQ(Elements<T>(literal::SmoothByLines<T>(filter, src, guide)), Elements<T>(dst));
        filter(src, Matrix(), dst);
        ASSERT_EQ(Elements<T>(literal::SmoothByLines<T>(filter, src, src)), Elements<T>(dst))
            << "its own guide";
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
