#include "segmentation/fast_slic.h"

#include "segmentation/segment_evaluater.h"
#include "segmentation/segments_info.h"
#include "support/random_images.h"

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
