#include "tone/htr.h"

#include "core/image_scaling.h"
#include "core/matrix_operator.h"
#include "smoothing/fast_wls_filter.h"
#include "support/random_images.h"
#include "tone/fast_object_adaptive_tone_mapping.h"
#include "tone/htr_color_luts.h"

#include <omp.h>

namespace lumo::test {
namespace {

struct Rendering {
    LuminanceRangePair ranges = {{65535.0, 1000.0, 0.0, 0.05, BT2020RGB},
                                 {65535.0, 100.0, 0.0, 0.05, BT2020RGB}};
    HtrParameters parameters;
};

// Each case also breaks a check behind the one that it names, so the order shows.
TEST(Htr, ReportsTheFirstFailingCheck)
{
    const auto expect = [](const char* message, auto&& spoil) {
        Rendering bad;
        spoil(bad.ranges.input, bad.ranges.output, bad.parameters);
        const std::string text = std::string("Error in Htr::EnsureValidParameters, ") + message;
        ExpectException(3, text.c_str(), [&] { Htr(bad.ranges, bad.parameters); });
    };
    const char* const order[] = {"input luminance max must be greater than luminance minimum",
                                 "output luminance max must be greater than luminance minimum"};
    expect(order[0], [](auto& in, auto&, auto&) { in.valueMin = 65535.0, in.lumiMin = -1.0; });
    expect(order[0], [](auto& in, auto&, auto&) { in.lumiMin = in.lumiMax = -1.0; });
    expect("input luminance  must be greater than 0",
           [](auto& in, auto&, auto&) { in.lumiMin = -0.1, in.lumiMax = 10001.0; });
    expect("input luminance  must be less than 10000",
           [](auto& in, auto& out, auto&) { in.lumiMax = 10000.1, out.valueMin = 65535.0; });
    expect(order[1], [](auto&, auto& out, auto&) { out.lumiMin = out.lumiMax = -1.0; });
    expect("output luminance must be greater than 0",
           [](auto&, auto& out, auto&) { out.lumiMin = -0.1, out.lumiMax = 10001.0; });
    expect("output luminance  must be less than 10000",
           [](auto&, auto& out, auto& p) { out.lumiMax = 10001.0, p.luminanceThreshold = 0.0; });
    expect("param luminance threshold must be greater than luminance minimum",
           [](auto&, auto&, auto& p) { p.luminanceThreshold = 1001.0, p.resizedLongSide = 0; });
    expect("resized long side must be greater than 0",
           [](auto&, auto&, auto& p) { p.resizedLongSide = 0, p.thresholdHighX = 1.1; });
    expect("thresholdHighX must be [0,1]",
           [](auto&, auto&, auto& p) { p.thresholdHighX = -0.1, p.thresholdHighY = 1.1; });
    expect("thresholdHighY must be [0,1]", [](auto&, auto&, auto& p) { p.thresholdHighY = -0.1; });
}

template <typename T>
Matrix Channel(const Matrix& image, int32_t channel)
{
    Matrix plane(image.rows, image.cols, DepthCode<T>());
    for (int32_t i = 0; i < image.rows * image.cols; ++i) {
        RowOf<T>(plane, 0)[i] = RowOf<T>(image, 0)[i * 3 + channel];
    }
    return plane;
}

// One whole image after the other, every step stored before the next reads it.
template <typename T>
Matrix RenderByPasses(const Htr& htr, const Matrix& src, double least)
{
    const double offset = htr.inputCode.codeMax * 0.5;
    const HtrParameters& p = htr.params;
    Matrix work, small, plane[3], base, toned;
    HtrColorCorrection({htr.input, htr.output}).Convert(src, work);
    htr.Convert2WorkColorSpace(work, work, offset);
    for (int32_t c = 0; c < 3; ++c) {
        plane[c] = Channel<T>(work, c);
    }
    const int size[2] = {std::max(1, src.rows * p.resizedLongSide / src.cols), p.resizedLongSide};
    ImageScalingBilinear().Resize(work, small, size);
    Matrix_t<int> labels;
    const int32_t n = htr.SegmentImage<T>(small, Channel<T>(small, 0), labels, p.numSegments);
    Matrix guide(src.rows, src.cols, DepthCode<T>());
    MultiplyByScalar(plane[0], 255.0 / htr.inputCode.codeMax, guide, MatrixOperatorMultiply<T>());
    FastWlsFilter(p.wlsSigma, p.wlsLambda)(plane[0], guide, base);
    FastObjectAdaptiveToneMapping(p.regionWindowSize, p.regionWeightDecay)(
        base, toned,
        {htr.inputCode.codeMax, htr.inputCode.codeMin, htr.outputCode.codeMax,
         htr.outputCode.codeMin, p.luminanceThreshold, p.toneKneeLuminance},
        labels, n);
    const double top = htr.inputCode.codeMax;
    const double knee = top * p.thresholdHighX;
    for (int32_t i = 0; i < src.rows * src.cols; ++i) {
        const auto before = static_cast<double>(RowOf<T>(plane[0], 0)[i]);
        const auto b = static_cast<double>(RowOf<T>(toned, 0)[i]);
        const double centred = before + offset - static_cast<double>(RowOf<T>(base, 0)[i]);
        const double d = static_cast<double>(Saturate<T>(centred)) - offset;
        const double span = knee < top ? knee - top : 1.0;
        const double slope = (1.0 - p.thresholdHighY) / span;
        const double intercept = (p.thresholdHighY * knee - top) / span;
        const bool bends = knee < top && b + d > knee && d > 0.0;
        const T out = Saturate<T>((bends ? (b + d) * slope + intercept : 1.0) * d + b);
        RowOf<T>(work, 0)[3 * i] = out;
        double ratio = before >= least ? static_cast<double>(out) / before : 0.0;
        ratio = ratio > 1.0 ? 1.0 / ratio : ratio;
        for (int32_t c = 1; c < 3 && p.useChromaAdjustment; ++c) {
            const auto chroma = static_cast<double>(RowOf<T>(plane[c], 0)[i]);
            RowOf<T>(work, 0)[3 * i + c] = Saturate<T>(ratio * (chroma - offset) + offset);
        }
    }
    htr.Convert2DstColorSpace(work, work, offset);
    return work;
}

template <typename T>
void ExpectPasses(double least)
{
    for (const int32_t space : {ICtCp, xyYwithPQ}) {
        for (const double high : {1.0, 0.3}) {
            Rendering rendering;
            rendering.ranges.output.lumiMin = 60.0; // dark pixels become lighter
            HtrParameters& p = rendering.parameters;
            p.workColorSpace = space;
            p.resizedLongSide = 60;
            p.evaluateSegmentsNumber = space == ICtCp;
            p.numSegments = 6;
            p.thresholdHighX = high;
            p.thresholdHighY = high / 2;
            p.useChromaAdjustment = high < 1.0;
            const Htr htr(rendering.ranges, p);
            const Matrix src = PatchyImage<T>(45, 131, 3, 0.0, 65535.0, 9);
            omp_set_num_threads(high < 1.0 ? 3 : 1);
            Matrix dst;
            htr(src, dst);
            EXPECT_EQ(Elements<T>(RenderByPasses<T>(htr, src, least)), Elements<T>(dst));
        }
    }
}

TEST(Htr, RendersInOnePassWhatItsStepsGive)
{
    ExpectPasses<uint16_t>(1.0);
    ExpectPasses<float>(1.1920929e-7);
}

TEST(Htr, BringsColoursBackFromLuminanceAndChromaticity)
{
    Rendering rendering;
    rendering.parameters.workColorSpace = xyYwithPQ;
    for (const int32_t space : {XYZ, sRGB, BT2020RGB}) {
        SCOPED_TRACE(space);
        rendering.ranges.input.colorSpace = space;
        rendering.ranges.output = rendering.ranges.input;
        const Htr htr(rendering.ranges, rendering.parameters);
        const std::vector<float> colours = {60000, 20000, 5000, 3000, 40000,
                                            9000,  7000,  5000, 50000};
        Matrix image = MakeMatrix<float>(1, 3, colours, 3);
        htr.Convert2WorkColorSpace(image, image, 0.0);
        htr.Convert2DstColorSpace(image, image, 0.0);
        for (size_t k = 0; k < colours.size(); ++k) {
            EXPECT_NEAR(colours[k], Elements<float>(image)[k], 40.0) << k;
        }
    }
}

// X = Y = Z has both chromaticities at a third of the range, D65 white at 0.3127 and 0.3290.
TEST(Htr, WorksInLuminanceAndChromaticity)
{
    Rendering rendering;
    rendering.parameters.workColorSpace = xyYwithPQ;
    const int32_t cases[][3] = {
        {XYZ, 21845, 21845}, {sRGB, 20493, 21561}, {BT2020RGB, 20493, 21561}};
    for (const auto& [space, x, y] : cases) {
        rendering.ranges.input.colorSpace = rendering.ranges.output.colorSpace = space;
        const Htr htr(rendering.ranges, rendering.parameters);
        EXPECT_NEAR(42899.72, htr.outputCode.codeMax, 0.005);
        EXPECT_NEAR(10923.14, htr.params.luminanceThreshold, 0.005);
        Matrix work = MakeMatrix<float>(1, 2, {65535, 65535, 65535, 0, 0, 0}, 3);
        htr.Convert2WorkColorSpace(work, work, 0.0);
        EXPECT_NEAR(65535.0f, At<float>(work, 0, 0, 0), 1.0f);
        EXPECT_NEAR(x, At<float>(work, 0, 0, 1), 20.0f);
        EXPECT_NEAR(y, At<float>(work, 0, 0, 2), 20.0f);
        EXPECT_EQ(0.0f, At<float>(work, 0, 1, 1) + At<float>(work, 0, 1, 2));
        At<float>(work, 0, 0, 0) = static_cast<float>(htr.outputCode.codeMax);
        htr.Convert2DstColorSpace(work, work, 0.0);
        for (int32_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(65535.0f, At<float>(work, 0, 0, k), 80.0f);
            EXPECT_NEAR(0.0f, At<float>(work, 0, 1, k), 0.1f);
        }
    }
}

TEST(Htr, RefusesWhatItCannotRender)
{
    Rendering rendering;
    rendering.parameters.workColorSpace = xyYwithPQ;
    rendering.ranges.output.colorSpace = BT2020RGB;
    rendering.ranges.input.colorSpace = 2;
    Matrix image(1, 1, rgb16Type);
    ExpectException(3, "Error in ConvertsRGBICtCp, color space must be sRGB/BT2020RGB/XYZ",
                    [&] { Htr(rendering.ranges, rendering.parameters)(image, image); });
    rendering.parameters.workColorSpace = 6;
    const Htr htr(rendering.ranges, rendering.parameters);
    ExpectException(
        2, "Error in Htr::Convert2WorkColorSpace, work color space must be ICtCp/xyYwithPQ.",
        [&] { htr(image, image); });
    ExpectException(2,
                    "Error in Htr::Convert2DstColorSpace, work color space must be ICtCp/YwithPQxy",
                    [&] { htr.Convert2DstColorSpace(image, image, 0.0); });
    const Matrix bytes(4, 4, MakeType(D8U, 3));
    ExpectException(2, "Error in Htr::operator(), src channels must be 3",
                    [&] { htr(Matrix(4, 4, D8U), image); });
    ExpectException(2, "Error in Htr::operator(), src depth must be D16U/D32F",
                    [&] { htr(bytes, image); });
    HtrAnalysis analysis;
    BandRect band = {0, 0, 3, 3, {true, false, false, false}};
    const auto analyze = [&](const Matrix& src) { return [&] { htr.Analyze(src, analysis); }; };
    const auto correct = [&](const Matrix& src) {
        return [&] { htr.Correct(src, image, analysis, band); };
    };
    const Matrix grey(4, 4, D16U);
    ExpectException(2, "Error in Htr::Analyze, src channels must be 3", analyze(grey));
    ExpectException(2, "Error in Htr::Correct, src channels must be 3", correct(grey));
    ExpectException(3, "", analyze(bytes));
    analysis.analysisRows = analysis.analysisCols = analysis.imageRows = analysis.imageCols = 4;
    analysis.bandRows = 4;
    ExpectException(2, "Error in Htr::Analyze, src depth must be D16U", analyze(bytes));
    ExpectException(2, "Error in Htr::Correct, src depth must be D16U", correct(bytes));
    band.right = 4;
    ExpectException(3, "", correct(bytes));
}

} // namespace
} // namespace lumo::test
