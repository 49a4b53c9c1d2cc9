#include "tone/fast_object_adaptive_tone_mapping.h"

#include "core/image_scaling.h"
#include "core/matrix_operator.h"
#include "support/random_images.h"
#include "tone/global_tone_mapping_operator_adaptive.h"
#include "tone/htr_parameters.h"
#include "tone/image_histogram.h"
#include "tone/segment_window.h"

#include <cmath>
#include <omp.h>

namespace lumo::test {
namespace {

constexpr ToneCodes codes = {65535.0, 0.0, 42899.72, 0.0, 10923.14, 15528.12};
constexpr double decay = 1.5;

// Pixels of a segment in rows (y - r, y + r] and columns (x - r, x + r], ends clamped.
float CountAround(const Matrix& labels, int32_t s, int32_t y, int32_t x, int32_t r)
{
    float count = 0.0f;
    for (int32_t j = std::max(y - r, 0) + 1; j <= std::min(y + r, labels.rows - 1); ++j) {
        for (int32_t i = std::max(x - r, 0) + 1; i <= std::min(x + r, labels.cols - 1); ++i) {
            count += RowOf<int32_t>(labels, j)[i] == s ? 1.0f : 0.0f;
        }
    }
    return count;
}

// Segment after segment and pixel after pixel, each segment under a mask of its own.
template <typename T>
std::vector<T> MapLiterally(const Matrix& src, const Matrix_t<int>& labels, int32_t n, int32_t r)
{
    const std::vector<T> values = Elements<T>(src);
    const auto largest = static_cast<double>(*std::max_element(values.begin(), values.end()));
    const double ceil = std::max(largest, codes.outCodeMax);
    Matrix small;
    const int size[2] = {labels.rows, labels.cols};
    ImageScalingBilinear().Resize(src, small, size);
    Matrix scaled(labels.rows, labels.cols, src.type);
    MultiplyByScalar(small, 65535.0 / ceil, scaled, MatrixOperatorMultiply<T>());
    std::vector<double> sum(values.size(), 0.0), blended(values.size(), 0.0);
    for (int32_t s = 0; s < n; ++s) {
        Matrix mask;
        GetSegmentMask(labels, s, mask);
        GlobalToneMappingOperatorAdaptive curve;
        curve.SetParameters(ceil, 0.0, codes.outCodeMax, 0.0, codes.thresholdCode, codes.kneeCode,
                            1024, 1.0, codes.outCodeMax * 0.01 / 65535.0);
        curve.MakeLUT(small, mask);
        double total = 0.0, count = 0.0;
        for (int32_t i = 0; i < labels.rows * labels.cols; ++i) {
            const double in = RowOf<uint8_t>(mask, 0)[i];
            total += in * static_cast<double>(RowOf<T>(scaled, 0)[i]);
            count += in;
        }
        const double mean = total / std::max(count, 1.0);
        for (int32_t i = 0; i < src.rows * src.cols; ++i) {
            const auto sy = static_cast<int32_t>(i / src.cols * (1.0 * labels.rows / src.rows));
            const auto sx = static_cast<int32_t>(i % src.cols * (1.0 * labels.cols / src.cols));
            const double d = std::abs(static_cast<double>(At<T>(scaled, sy, sx)) - mean);
            const auto damping = static_cast<float>(std::exp(-std::floor(d) * decay / 65535.0));
            const auto weight = static_cast<double>(CountAround(labels, s, sy, sx, r) * damping);
            if (count > 0.0 && weight > 0.0) {
                sum[i] += weight;
                blended[i] +=
                    weight * curve.lut.Evaluate(std::floor(static_cast<double>(values[i])));
            }
        }
    }
    std::vector<T> out;
    for (size_t i = 0; i < values.size(); ++i) {
        out.push_back(Saturate<T>(sum[i] > 0.0 ? blended[i] / sum[i] : 0.0));
    }
    return out;
}

// Eighteen segments, two in each of nine blocks, so that most of the image lies outside each.
template <typename T>
void ExpectLiteralResult()
{
    const int32_t cases[][5] = {{40, 70, 13, 22, 9},  {31, 67, 31, 67, 300}, {9, 8, 3, 2, 2},
                                {20, 131, 12, 60, 1}, {20, 30, 1, 9, 8},     {5, 5, 5, 1, 8}};
    for (const auto& [rows, cols, labelRows, labelCols, window] : cases) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", window " << window);
        const Matrix src = PatchyImage<T>(rows, cols, 1, 0.0, 65535.9, 3);
        Matrix_t<int> labels = WindingLabels(labelRows, labelCols, 2, 5);
        for (int32_t i = 0; i < labelRows * labelCols; ++i) {
            const int32_t block = i / labelCols * 3 / labelRows * 3 + i % labelCols * 3 / labelCols;
            RowOf<int32_t>(labels, 0)[i] += 2 * block;
        }
        omp_set_num_threads(1 + cols % 3);
        Matrix dst;
        FastObjectAdaptiveToneMapping(window, decay)(src, dst, codes, labels, 18);
        ASSERT_EQ(MapLiterally<T>(src, labels, 18, window / 2), Elements<T>(dst));
    }
}

TEST(FastObjectAdaptiveToneMapping, BlendsACurveASegmentByWindowCountAndDistance)
{
    ExpectLiteralResult<uint16_t>();
    ExpectLiteralResult<float>();
}

// Dark on the left, light on the right.
TEST(FastObjectAdaptiveToneMapping, FillsEachCurveOfAFreshRecord)
{
    const Matrix image = MakeMatrix<uint16_t>(2, 4, {900, 15000, 42000, 65000});
    Matrix_t<int> labels(2, 4, D32S);
    for (int32_t i = 0; i < 8; ++i) {
        RowOf<int32_t>(labels, 0)[i] = i % 4 / 2;
    }
    HtrAnalysis fresh;
    FastObjectAdaptiveToneMapping(4.0, decay)(image, codes, labels, 2, fresh.toneCurves,
                                              fresh.regionWeights);
    const double* dark = fresh.toneCurves[0].data;
    const double* light = fresh.toneCurves[1].data;
    EXPECT_FALSE(std::equal(dark, dark + 65536, light));
    EXPECT_GT(dark[20000], light[20000]); // rises where its pixels are
    EXPECT_EQ(20u, fresh.toneCurves.size);
    EXPECT_EQ(0.0, fresh.toneCurves[2][65535]);
}

TEST(FastObjectAdaptiveToneMapping, RefusesOtherDepthsAndChannels)
{
    const std::string name = "Error in FastObjectAdaptiveToneMapping::";
    const FastObjectAdaptiveToneMapping map(256.0, decay);
    const Matrix bytes(2, 2, D8U), image(2, 2, D16U);
    const Matrix_t<int> labels(2, 2, D32S), pairs(2, 2, MakeType(D32S, 2));
    VectorC<Vector<double>> curves;
    VectorC<Matrix> masks;
    Matrix dst;
    Vector<double> counts;
    const auto expect = [](const std::string& text, auto&& action) {
        ExpectException(2, text.c_str(), action);
    };
    expect(name + "operator(), data depth must be D16U/D32F",
           [&] { map(bytes, dst, codes, labels, 1); });
    expect(name + "operator(), data depth must be D16U/D32F",
           [&] { map(bytes, codes, labels, 1, curves, masks); });
    expect(name + "ApplyToneMapping, data depth must be D16U",
           [&] { map.ApplyToneMapping<float>(image, dst, codes, labels, 1); });
    expect(name + "ApplyToneMapping, data depth must be D16U", [&] {
        map.ApplyToneMapping(bytes, dst, {2, 2}, {2, 2}, curves, masks, 0, BandDirection::rows);
    });
    expect(name + "CalcToneMappingCurve, data depth must be D16U",
           [&] { map.CalcToneMappingCurve(bytes, 1.0, codes, labels, 1, curves); });
    expect(name + "MakeCrossRegionConsistencyMask, data depth must be D16U",
           [&] { map.MakeCrossRegionConsistencyMask(bytes, 1.0, labels, 1, masks); });
    expect("Error in GetSegmentMask, segments channel must be 1",
           [&] { map(image, dst, codes, pairs, 1); });
    expect("", [&] { map(image, dst, codes, labels, 0); });
    expect("Error in MakeIntegralImage, data channels must be 1",
           [&] { MakeIntegralImage(pairs, dst); });
    expect("Error in GlobalToneMappingOperatorAdaptive::MakeLUT, data depth must be 8U/16U/32F",
           [&] { GlobalToneMappingOperatorAdaptive().MakeLUT(labels, {}); });
    expect("Error in ImageHistogram::operator(), mask data depth must be D16U/D32S",
           [&] { ImageHistogram(1.0, 0.0, 4)(labels, Matrix(2, 2, D8S), counts); });
    expect("Error in ImageHistogram:operator(), src data depth must be D8U/D16U/D32F",
           [&] { ImageHistogram(1.0, 0.0, 4)(labels, bytes, counts); });
    ExpectException(3, "Error in ImageHistogram::operator(), numBins must be greater than 0",
                    [&] { GlobalToneMappingOperatorAdaptive().MakeLUT(image, {}); });
}

// A page of 4 x 6 under labels of 2 x 3; every case breaks one thing.
TEST(FastObjectAdaptiveToneMapping, RefusesBandsThatDoNotFit)
{
    struct Band {
        ImageSize band = {2, 6}, image = {4, 6}, label = {2, 3};
        int32_t offset = 2;
        BandDirection direction = BandDirection::rows;
        uint64_t curves = 1, codes = 65536;
    };
    const auto make = [](auto&& change) {
        Band b;
        change(b);
        VectorC<Vector<double>> curves(b.curves);
        for (uint64_t s = 0; s < b.curves; ++s) {
            curves[s] = Vector<double>(b.codes, 0.0);
        }
        VectorC<Matrix> masks(1);
        masks[0] = Matrix(2, 3, D32F);
        FastObjectAdaptiveToneMapping::MakeBandBlend(b.band, b.image, b.label, curves, masks,
                                                     b.offset, b.direction);
    };
    EXPECT_NO_THROW(make([](Band&) {}));
    void (*const faults[])(Band&) = {
        [](Band& b) { b.band.rows = 0; },  [](Band& b) { b.image.cols = 0; },
        [](Band& b) { b.label.rows = 0; }, [](Band& b) { b.offset = 3; },
        [](Band& b) { b.offset = -1; },    [](Band& b) { b.direction = BandDirection::columns; },
        [](Band& b) { b.curves = 0; },     [](Band& b) { b.codes = 65535; },
        [](Band& b) { b.label.cols = 2; }};
    for (const auto fault : faults) {
        ExpectException(2, "", [&] { make(fault); });
    }
}

} // namespace
} // namespace lumo::test
