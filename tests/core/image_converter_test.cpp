#include "core/image_converter.h"

#include "core/channel_curve.h"
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
    const ChannelCurve curve(UsualPowerCurve(PowerCurve::decoding).table);
    ExpectBlockEqualsPixel(shift, [&](auto* in, auto* out) { shift(in, out, 3); });
    ExpectBlockEqualsPixel(curve, [&](auto* in, auto* out) { curve(in, out, 3); });
}

// Each channel is given the place of the one behind it, less 1.5.
struct Turn {
    void operator()(const double* in, double* out)
    {
        for (int c = 0; c < 3; ++c) {
            out[c] = in[(c + 1) % 3] - 1.5;
        }
    }
};

template <typename T>
void ExpectCallsOfPixels(const std::vector<T>& codes, const std::vector<T>& turned,
                         const std::vector<T>& added)
{
    Matrix image = MakeMatrix<T>(1, 70, codes, 3);
    ImageConverter::Convert(image, image, Turn());
    EXPECT_EQ(turned, (std::vector<T>{At<T>(image, 0, 69, 0), At<T>(image, 0, 69, 1),
                                      At<T>(image, 0, 69, 2)}));
    Matrix grey = MakeMatrix<T>(2, 3, {codes[2]});
    const auto add = [](const double* in, double* out, size_t channels) {
        out[0] += channels == 1 ? in[0] + 1.0 : 0.0;
    };
    ImageConverter::Convert(grey, grey, add, shift, add);
    EXPECT_EQ(added, Elements<T>(grey));
}

TEST(ImageConverter, TakesAnythingThatCanBeCalledWithAPixel)
{
    const auto six = [](auto value) { return std::vector<decltype(value)>(6, value); };
    ExpectCallsOfPixels<uint8_t>({0, 7, 200}, {5, 198, 0}, six(uint8_t{102}));
    ExpectCallsOfPixels<uint16_t>({0, 7, 200}, {5, 198, 0}, six(uint16_t{102}));
    ExpectCallsOfPixels<float>({0, 7, 200.5f}, {5.5f, 199, -1.5f}, six(102.5f));
    ExpectCallsOfPixels<double>({0, 7, 200.5}, {5.5, 199, -1.5}, six(102.5));
}

template <typename T>
void ExpectOnCurve(const std::vector<T>& codes, const std::vector<T>& values)
{
    const double x[] = {0, 100, 200}, y[] = {-3, 47.75, 300};
    LinearInterpolationFast curve;
    Vector<double> at(3), given(3);
    std::copy(x, x + 3, at.data);
    std::copy(y, y + 3, given.data);
    curve.Initialize(at, given);
    for (const int32_t channels : {1, 3}) {
        Matrix dst;
        ImageConverter::Convert(MakeMatrix<T>(1, 3, codes, channels), dst, ChannelCurve(curve));
        const std::vector<T> all = Elements<T>(dst);
        EXPECT_TRUE(std::equal(values.begin(), values.end(), all.begin())) << channels;
    }
}

TEST(ChannelCurve, GivesEveryChannelItsValueInEveryDepth)
{
    ExpectOnCurve<uint8_t>({0, 100, 250}, {0, 47, 255});
    ExpectOnCurve<uint16_t>({0, 100, 65535}, {0, 47, 300});
    ExpectOnCurve<float>({-1, 50, 300}, {-3, 22.375f, 300});
    ExpectOnCurve<double>({-1, 50, 300}, {-3, 22.375, 300});
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
