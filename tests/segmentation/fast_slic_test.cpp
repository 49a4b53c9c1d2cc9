#include "segmentation/fast_slic.h"

#include "literal/superpixels.h"
#include "segmentation/segment_evaluater.h"
#include "segmentation/segments_info.h"
#include "support/random_images.h"

#include <omp.h>

namespace lumo::test {
namespace {

TEST(FastSlic, RefusesCountThenDepthThenChannelsAndLeavesLabels)
{
    const char* const count =
        "In FastSlic(), numLabelsPreDefined must be between 1 and numLabelsMax_";
    const char* const depth = "In FastSlic, data depth must be D8U/D16U/D32S";
    Matrix labels;
    const Matrix integers(10, 10, MakeType(D32S, 3));
    FastSlic slic(655.35, 4);
    ExpectException(3, count, [&] { slic(integers, 0, labels); });
    ExpectException(3, count, [&] { slic(integers, 5001, labels); });
    ExpectException(2, depth, [&] { slic(integers, 5000, labels); });
    ExpectException(2, "", [&] { slic(Matrix(10, 10, D16U), 1, labels); });
    EXPECT_EQ(nullptr, labels.data);
    EXPECT_EQ(1, slic(Matrix(0, 0, rgb16Type), 2, labels));
}

template <typename T>
void ExpectLiteralRegions(double lowest, double span)
{
    constexpr int32_t sizes[][2] = {{1, 1},   {1, 90},  {90, 1},  {2, 37},   {37, 2},
                                    {7, 9},   {33, 65}, {61, 83}, {64, 64},  {160, 107},
                                    {10, 10}, {5, 300}, {300, 5}, {131, 200}};
    for (const auto& [rows, cols] : sizes) {
        const Matrix src = PatchyImage<T>(rows, cols, 3, lowest, span, rows + cols);
        omp_set_num_threads(1 + cols % 3);
        for (const int32_t request : {1, 2, 3, 8, 20, 100, 5000}) {
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", " << request);
            const double compactness = 0.01 * (lowest + span);
            const int32_t iterations = 1 + request % 5;
            Matrix labels;
            Matrix_t<int> expected;
            const int32_t n =
                literal::Superpixels<T>(src, compactness, iterations, request, expected);
            ASSERT_EQ(n, FastSlic(compactness, iterations)(src, request, labels));
            ASSERT_EQ(Elements<int32_t>(expected), Elements<int32_t>(labels));
        }
    }
}

// Dark, bright and flat images, small and large floats.
TEST(FastSlic, FindsTheRegionsOfOneCentreAndPixelAfterTheOther)
{
    ExpectLiteralRegions<uint8_t>(0.0, 255.0);
    ExpectLiteralRegions<uint16_t>(0.0, 65535.0);
    ExpectLiteralRegions<uint16_t>(0.0, 40.0);
    ExpectLiteralRegions<uint16_t>(65500.0, 36.0);
    ExpectLiteralRegions<uint16_t>(700.0, 0.0);
    ExpectLiteralRegions<float>(-1.0, 2.0);
    ExpectLiteralRegions<float>(1e18, 1e19);
}

TEST(SegmentEvaluater, RefusesCandidatesBeforeAnyWork)
{
    const Matrix rgb(4, 4, rgb16Type), grey(4, 4, D16U);
    SegmentEvaluater evaluater(FastSlic(655.35, 4), 0.04);
    const auto run = [&](const Vector<int>& candidates) {
        return [&] { evaluater.CalculateOptimalSegmentsNumber<uint16_t>(rgb, grey, candidates); };
    };
    ExpectException(3,
                    "Error in SegmentEvaluater::CalculateOptimalSegmentsNumber, number of "
                    "numSegmentsSet must be less than 9",
                    run(Vector<int>(9, 1)));
    ExpectException(3, "", run({}));
    ExpectException(3, "In FastSlic(), numLabelsPreDefined must be between 1 and numLabelsMax_",
                    run(Vector<int>(8, 0)));
    EXPECT_EQ(nullptr, evaluater.labels_.data);
    SegmentsInfo info;
    ExpectException(2, "Error in ImagSegments::GetSegmentsInfo(), invalid data size", [&] {
        ImagSegments::GetSegmentsInfo<uint16_t>(grey, Matrix_t<int>(4, 5, D32S), 1, info);
    });
}

// Segments of 0 and 65535 deviate so far that exp(-deviation) is 0: every candidate scores 0.
TEST(SegmentEvaluater, TakesTheFirstOfEqualCandidates)
{
    const Matrix flat = MakeMatrix<uint16_t>(8, 8, {9}, 3);
    const Matrix stripes = MakeMatrix<uint16_t>(8, 8, {0, 65535});
    SegmentEvaluater evaluater(FastSlic(655.35, 4), 1.0);
    Vector<int> candidates(2, 1);
    candidates[1] = 4; // centres at (2, 2), (6, 2) and (4, 6)
    EXPECT_EQ(1, evaluater.CalculateOptimalSegmentsNumber<uint16_t>(flat, stripes, candidates));
    std::swap(candidates[0], candidates[1]);
    EXPECT_EQ(3, evaluater.CalculateOptimalSegmentsNumber<uint16_t>(flat, stripes, candidates));
}

// Sums of many rounded squares fall short of the square of the mean.
TEST(ImagSegments, GiveFlatFloatsNoDeviation)
{
    const Matrix_t<int> labels = [] {
        Matrix_t<int> one;
        static_cast<Matrix&>(one) = MakeMatrix<int32_t>(1, 1000, {0});
        return one;
    }();
    for (const float value : {0.1f, 0.7f, 3.3f, 12345.67f, 54321.1f}) {
        SegmentsInfo info;
        ImagSegments::GetSegmentsInfo<float>(MakeMatrix<float>(1, 1000, {value}), labels, 1, info);
        EXPECT_NEAR(0.0, info.stdDev[0], 1e-6 * static_cast<double>(value));
    }
}

TEST(FastSlic, TakesValuesOfEveryDepthAsTheyAre)
{
    const Matrix bytes = PatchyImage<uint8_t>(61, 83, 3, 0.0, 255.0, 1);
    const std::vector<uint8_t> values = Elements<uint8_t>(bytes);
    const Matrix codes = MakeMatrix<uint16_t>(61, 83, {values.begin(), values.end()}, 3);
    const Matrix floats = MakeMatrix<float>(61, 83, {values.begin(), values.end()}, 3);
    Matrix labels[3];
    const int n = FastSlic(2.55, 4)(bytes, 12, labels[0]);
    EXPECT_GT(n, 6);
    EXPECT_EQ(n, FastSlic(2.55, 4)(codes, 12, labels[1]));
    EXPECT_EQ(n, FastSlic(2.55, 4)(floats, 12, labels[2]));
    EXPECT_EQ(Elements<int32_t>(labels[0]), Elements<int32_t>(labels[1]));
    EXPECT_EQ(Elements<int32_t>(labels[0]), Elements<int32_t>(labels[2]));
}

} // namespace
} // namespace lumo::test
