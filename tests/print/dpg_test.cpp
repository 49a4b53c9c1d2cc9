#include "print/dpg.h"

#include "colorspace/pq.h"
#include "core/matrix_operator.h"
#include "core/power_curve.h"
#include "core/saturate.h"
#include "smoothing/fast_wls_filter.h"
#include "support/images.h"

#include <cmath>
#include <random>

namespace lumo::test {
namespace {

constexpr double chroma = 32767.5;
const LuminanceRange paper = {65535.0, 100.0, 0.0, 0.0, BT2020RGB};

// A print that loses light and contrast in its own way: X, Y and Z of a dull grey.
struct DullPrint : ImageConverterInterface {
    void operator()(const double* in, double* out, size_t) const override
    {
        out[1] = 0.01 + 0.8 * std::pow((in[0] + 2.0 * in[1] + in[2]) / 262140.0, 1.7);
        out[0] = 0.95 * out[1];
        out[2] = 1.1 * out[1];
    }
};

// Every step over the whole image, pixel by pixel, through the single-pixel calls.
template <typename T>
Matrix Literal(const Matrix& src, const DpgParameters& params, int (&taken)[3])
{
    const ConvertxRGB2ICtCp toWork(65535.0, 0.0, 100.0, 0.0, 65535.0, 0.0, chroma, BT2020RGB);
    const ConvertxRGB2ICtCp printed(1.0, 0.0, 100.0, 0.0, 65535.0, 0.0, chroma, XYZ);
    const ConvertICtCp2xRGB fromWork(65535.0, 0.0, PQ(100.0), PQ(0.0), 65535.0, 0.0, -chroma,
                                     BT2020RGB);
    PowerCurveTable decoding, encoding;
    decoding.exponent = 2.2;
    decoding.Build();
    encoding.Build();
    Matrix work(1, src.cols, src.type), i(1, src.cols, MakeType(DepthCode<T>(), 1)), p, guide, b1,
        b2;
    i.CopyTo(p);
    i.CopyTo(guide);
    double in[3], out[3];
    for (int32_t x = 0; x < src.cols; ++x) {
        std::copy_n(RowOf<T>(src, 0) + 3 * x, 3, in);
        (*params.printLut.object)(in, out, 3);
        printed(out, out, 3);
        At<T>(p, 0, x) = Saturate<T>(out[0]);
        for (double& code : in) {
            code = Saturate<T>(decoding.table.Evaluate(code));
        }
        toWork(in, out, 3);
        for (int32_t c = 0; c < 3; ++c) {
            At<T>(work, 0, x, c) = Saturate<T>(out[c]);
        }
        At<T>(i, 0, x) = At<T>(work, 0, x);
    }
    MultiplyByScalar(i, 255.0 / 65535.0, guide, MatrixOperatorMultiply<T>());
    FastWlsFilter filter(params.wlsSigma, params.wlsLambda);
    filter(i, guide, b1);
    filter(p, guide, b2);
    for (int32_t x = 0; x < src.cols; ++x) {
        const double base = At<T>(b1, 0, x), d = At<T>(i, 0, x) - base;
        double r = base + (2.0 * d - (static_cast<double>(At<T>(p, 0, x)) - At<T>(b2, 0, x)));
        ++taken[r >= 327.675 ? 0 : base > 0.0 ? 1 : 2]; // plain, toe, black base
        if (base > 0.0 && r < 327.675) {
            r = 327.675 * std::exp(d * (1.0 / 655.35));
        }
        At<T>(work, 0, x) = Saturate<T>(r);
        std::copy_n(&At<T>(work, 0, x), 3, in);
        fromWork(in, out);
        for (int32_t c = 0; c < 3; ++c) {
            At<T>(work, 0, x, c) = Saturate<T>(encoding.table.Evaluate(Saturate<T>(out[c])));
        }
    }
    return work;
}

template <typename T>
class DpgForms : public testing::Test {
};
using Depths = testing::Types<uint16_t, float>;
TYPED_TEST_SUITE(DpgForms, Depths);

TYPED_TEST(DpgForms, EqualTheLiteralLoop)
{
    using T = TypeParam;
    DpgParameters params;
    params.wlsLambda = 20.0f;
    params.printLut = SharedObject<Lut3D>(new Lut3D(DullPrint(), 65535.0));
    // Colours, one flat colour, near-blacks between blacks (intensity 0 on a base), blacks (base
    // 0).
    std::mt19937 random(5);
    Matrix image(1, 333, MakeType(DepthCode<T>(), 3));
    for (int32_t k = 0; k < 3 * 333; ++k) {
        const auto code = k < 300 ? random() % 65536 : 430 + random() % 300;
        const bool flat = k >= 300 && k < 600, lit = k < 300 || (k < 750 && k / 3 % 2 == 0);
        At<T>(image, 0, 0, k) = flat ? T{40000} : lit ? static_cast<T>(code) : T{0};
    }
    int taken[3] = {};
    const auto expected = Elements<T>(Literal<T>(image, params, taken));
    EXPECT_TRUE(taken[0] > 99 && taken[1] > 9 && (sizeof(T) == 4 || taken[2] > 9));
    EXPECT_NEAR(40000, expected[450], 20); // one code of intensity is eight here
    Dpg({paper, paper}, params)(image, image);
    EXPECT_EQ(expected, Elements<T>(image));
}

// With a base of black there is no toe, which would lift the intensity to 327.675 and with it the
// light to 2e-4 cd/m2, a code of 57.
TEST(Dpg, LeavesBlackOnABlackBase)
{
    DpgParameters params;
    params.printLut = SharedObject<Lut3D>(new Lut3D(DullPrint(), 65535.0));
    Matrix image = MakeMatrix<float>(4, 70, {0.0f}, 3);
    Dpg({paper, paper}, params)(image, image);
    for (const float code : Elements<float>(image)) {
        ASSERT_NEAR(0.0f, code, 1.0f);
    }
}

TEST(Dpg, RefusesImagesAndWorkingSpaces)
{
    DpgParameters params;
    params.workColorSpace = xyYwithPQ;
    const Dpg dpg({paper, paper}, params);
    Matrix grey = MakeMatrix<uint8_t>(2, 2, {1}), bytes = MakeMatrix<uint8_t>(2, 2, {1}, 3), dst;
    Matrix rgb = MakeMatrix<uint16_t>(2, 2, {1}, 3);
    const char* depth = "Error in Dpg::operator(), input depth must be 16U/32F";
    const char* work = "Error in Dpg::Convert2WorkColorSpace, work color space must be ICtCp";
    const char* back = "Error in Dpg::Convert2DstColorSpace, work color space must be ICtCp";
    ExpectException(2, "Error in Dpg(), input channel must be3", [&] { dpg(grey, dst); });
    ExpectException(2, depth, [&] { dpg(bytes, dst); });
    ExpectException(3, work, [&] { dpg(rgb, dst); });
    ExpectException(3, back, [&] { dpg.Convert2DstColorSpace(rgb, dst, chroma); });
}

TEST(Dpg, ChecksTheWorkingSpaceFirstAndOnlyTheRangeItUses)
{
    const LuminanceRange bad = {65535.0, 20000.0, 0.0, 0.0, BT2020RGB};
    const LuminanceRange good = {65535.0, 100.0, 0.0, 0.0, BT2020RGB};
    const Matrix rgb = MakeMatrix<uint16_t>(2, 2, {1}, 3);
    Matrix dst;
    DpgParameters xyY;
    xyY.workColorSpace = xyYwithPQ;
    ExpectException(3, "Error in Dpg::Convert2WorkColorSpace, work color space must be ICtCp", [&] {
        Dpg({bad, bad}, xyY).Convert2WorkColorSpace(rgb, dst, 1.0);
    });
    EXPECT_NO_THROW(Dpg({bad, good}, {}).Convert2DstColorSpace(rgb, dst, 1.0));
}

} // namespace
} // namespace lumo::test
