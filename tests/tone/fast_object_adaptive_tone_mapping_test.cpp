#include "tone/fast_object_adaptive_tone_mapping.h"

#include "literal/tones.h"
#include "support/random_images.h"
#include "tone/global_tone_mapping_operator_adaptive.h"
#include "tone/htr.h"
#include "tone/image_histogram.h"
#include "tone/segment_window.h"

#include <omp.h>

namespace lumo::test {
namespace {

constexpr ToneCodes codes = {65535.0, 0.0, 42899.72, 0.0, 10923.14, 15528.12};
constexpr double decay = 1.5;

// Eighteen segments, two in each of nine blocks, so that most of the image lies outside each.
TEST(FastObjectAdaptiveToneMapping, BlendsACurveASegmentByWindowCountAndDistance)
{
    const int32_t cases[][5] = {{40, 70, 13, 22, 9},  {31, 67, 31, 67, 300}, {9, 8, 3, 2, 2},
                                {20, 131, 12, 60, 1}, {20, 30, 1, 9, 8},     {5, 5, 5, 1, 8}};
    for (const auto& [rows, cols, labelRows, labelCols, window] : cases) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", window " << window);
        const Matrix src = PatchyImage<uint16_t>(rows, cols, 1, 0.0, 65535.9, 3);
        Matrix_t<int> labels = WindingLabels(labelRows, labelCols, 2, 5);
        for (int32_t i = 0; i < labelRows * labelCols; ++i) {
            const int32_t block = i / labelCols * 3 / labelRows * 3 + i % labelCols * 3 / labelCols;
            RowOf<int32_t>(labels, 0)[i] += 2 * block;
        }
        HtrParameters parameters;
        parameters.regionWindowSize = window;
        const Htr htr(
            {{65535.0, 1000.0, 0.0, 0.05, BT2020RGB}, {65535.0, 100.0, 0.0, 0.05, BT2020RGB}},
            parameters);
        omp_set_num_threads(1 + cols % 3);
        Matrix dst;
        FastObjectAdaptiveToneMapping(window, parameters.regionWeightDecay)(
            src, dst,
            {htr.inputCode.codeMax, htr.inputCode.codeMin, htr.outputCode.codeMax,
             htr.outputCode.codeMin, htr.params.luminanceThreshold, htr.params.toneKneeLuminance},
            labels, 18);
        ASSERT_EQ(Elements<uint16_t>(literal::MapTones(src, htr, labels, 18)),
                  Elements<uint16_t>(dst));
    }
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
