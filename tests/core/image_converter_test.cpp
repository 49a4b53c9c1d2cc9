#include "core/image_converter.h"

#include "core/image_normalization.h"
#include "core/power_curve.h"
#include "support/images.h"

namespace lumo::test {

const ImageNormalization shift(1.0, 100.0, 0.0);
const ImageNormalization stretch(400.0, 0.0, -7.5);

TEST(ImageConverter, RefusesDepthsThenChannels)
{
    const char* depth = "Error in Imag Converter, data depth must be D8U/D16U/D32F/D64F";
    const char* channels = "Error in Image Converter::Convert(), data channels must be 1/3";
    for (const int32_t type : {1, 9, 11, 12, 10}) { // D8S, D8S x 2, D16S x 2, D32S x 2, D16U x 2
        Matrix dst;
        ExpectException(2, type == 10 ? channels : depth,
                        [&] { ImageConverter::Convert(Matrix(2, 3, type), dst, shift); });
        EXPECT_EQ(type == 10 ? type : -1, dst.type);
    }
}

TEST(ImageConverter, StoresBetweenFunctorsInTheDepthOfTheSource)
{
    Matrix bytes = MakeMatrix<uint8_t>(1, 1, {0, 1, 200}, 3);
    ImageConverter::Convert(bytes, bytes, stretch, shift);
    EXPECT_EQ((std::vector<uint8_t>{0, 155, 155}), Elements<uint8_t>(bytes));
    Matrix floats = MakeMatrix<float>(1, 3, {99.0f, 100.5f, 3e38f});
    ImageConverter::Convert(floats, floats, shift, stretch);
    EXPECT_EQ((std::vector<float>{-407.5f, 192.5f, 0x1.fffffep+127f}), Elements<float>(floats));
}

TEST(ImageConverter, WritesTheRowsOfTheRegionAndNothingAround)
{
    for (const int32_t cols : {1, 63, 64, 65, 200}) {
        GuardedImage src(5, cols, 300);
        GuardedImage dst(5, cols, 9);
        src.image.roi = {0, 1, cols, 3};
        ImageConverter::Convert(src.image, dst.image, shift);
        const std::vector<uint16_t> codes = Elements<uint16_t>(dst.image);
        EXPECT_TRUE(codes.front() == 9 && codes.back() == 9) << cols;
        EXPECT_EQ(9 * cols, std::count(codes.begin(), codes.end(), 200));
        EXPECT_TRUE(dst.Intact());
    }
}

TEST(ImageConverter, BlocksAndPixelsGiveTheSameBits)
{
    ExpectBlockEqualsPixel(shift, [&](auto* in, auto* out) { shift(in, out, 3); });
}

TEST(PowerCurve, MapsCodesOfItsInputToLowBits)
{
    const Matrix codes = MakeMatrix<uint16_t>(1, 3, {999, 32768, 65535});
    Matrix dst;
    // 131070 (999 / 65535)^(1 / 2.2) + 1 = 19573.04; for 32768 it is 95648.7, less 65536.
    ApplyPowerCurve16<PowerCurve::encoding>(codes, dst, 65535.0, 0.0, 131070.0, 1.0);
    EXPECT_EQ((std::vector<uint16_t>{19573, 30112, 65535}), Elements<uint16_t>(dst));
    // (31768 / 59000)^(1 / 2.2) = 0.7547, and 5; codes outside the input become 0.
    ApplyPowerCurve16<PowerCurve::encoding>(codes, dst, 60000.0, 1000.0, 1000.0, 5.0);
    EXPECT_EQ((std::vector<uint16_t>{0, 759, 0}), Elements<uint16_t>(dst));
}

} // namespace lumo::test
