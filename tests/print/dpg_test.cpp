#include "print/dpg.h"

#include "support/images.h"

#include <cmath>

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
