#include "colorspace/lut3d.h"

#include "support/images.h"

#include <cmath>
#include <random>

namespace lumo::test {
namespace {

// Node (i, j, k) holds 2 to the power of 4 i + 2 j + k, so that the corners' weights show.
Lut3D PowerTable(uint64_t n, double maxValue)
{
    Vector<double> lut(n * n * n * 3);
    for (uint64_t at = 0; at < lut.size; ++at) {
        const uint64_t node = at / 3;
        lut[at] = std::exp2(4 * (node / n / n) + 2 * (node / n % n) + node % n);
    }
    Lut3D table;
    table.Initialize(lut, n, maxValue);
    return table;
}

TEST(Lut3D, WeighsTheCornersOfTheTetrahedron)
{
    const struct {
        uint64_t n;
        double max, in[3], out;
    } cases[] = {{2, 1.0, {.75, .5, .25}, (1 + 16 + 64 + 128) / 4.0},
                 {2, 1.0, {.75, .25, .5}, (1 + 16 + 32 + 128) / 4.0},
                 {2, 1.0, {.5, .25, .75}, (1 + 2 + 32 + 128) / 4.0},
                 {2, 1.0, {.5, .75, .25}, (1 + 4 + 64 + 128) / 4.0},
                 {2, 1.0, {.25, .75, .5}, (1 + 4 + 8 + 128) / 4.0},
                 {2, 1.0, {.25, .5, .75}, (1 + 2 + 8 + 128) / 4.0},
                 {2, 1.0, {.5, .5, .5}, (1 + 128) / 2.0},
                 {16, 65535.0, {0, -5, 70000}, 32768},
                 {16, 65535.0, {0, 0, 15 * 4369}, 32768},
                 {17, 65535.0, {0, 0, 65535}, 65536},
                 {17, 65535.0, {0, 0, 61440 + 2047.5}, 1.5 * 32768}, // the last cell is 4095 wide
                 {4, 10.0, {0, 0, 8}, 4 + 4 * 2 / 3.0},              // cells of 3
                 {4, 10.0, {0, 0, 10}, 8}};
    for (const auto& c : cases) {
        double out[3];
        PowerTable(c.n, c.max)(c.in, out, 3);
        EXPECT_DOUBLE_EQ(c.out, out[2]) << c.n << ": " << c.in[0] << ' ' << c.in[1];
    }
}

TEST(Lut3D, BlocksEqualPixels)
{
    std::mt19937 random(3);
    for (const uint64_t n : {2, 5, 16, 17}) {
        const Lut3D table = PowerTable(n, 65535.0);
        Matrix image(1, 2000, MakeType(D64F, 3)), expected;
        for (int32_t i = 0; i < 6000; ++i) { // beyond both ends too; every third pixel has ties
            const auto code = static_cast<double>(random() % 80000) - 8000.5;
            At<double>(image, 0, 0, i) = i / 3 % 3 == 0 ? std::floor(code / 16384) * 16384 : code;
        }
        image.CopyTo(expected);
        for (int32_t i = 0; i < 2000; ++i) {
            table(&At<double>(expected, 0, i), &At<double>(expected, 0, i), 3);
        }
        table.Convert(image, image);
        EXPECT_EQ(Elements<double>(expected), Elements<double>(image)) << n;
    }
}

// Every code on one axis, ties and the ends of cells on the others.
TEST(Lut3D, CodesEqualPixels)
{
    std::mt19937 random(5);
    for (const uint64_t n : {5, 15, 16, 17}) {
        const Lut3D table = PowerTable(n, 65535.0);
        CodeBlock codes = {};
        PixelBlock block;
        for (int32_t code = 0; code < 65536; code += blockSize) {
            for (int32_t i = 0; i < blockSize; ++i) {
                const auto cell = static_cast<int32_t>(65536 / (n - 1));
                const auto edge = static_cast<int32_t>(random() % n) * cell;
                codes.channel[random() % 3][i] = std::min(edge + (code + i) % cell, 65535);
                codes.channel[random() % 3][i] = std::clamp(edge - i % 2, 0, 65535);
                codes.channel[code / blockSize % 3][i] = code + i;
            }
            table.ConvertCodes(codes, blockSize, block);
            for (int32_t i = 0; i < blockSize; ++i) {
                const double in[3] = {1.0 * codes.channel[0][i], 1.0 * codes.channel[1][i],
                                      1.0 * codes.channel[2][i]};
                double out[3];
                table(in, out, 3);
                for (int c = 0; c < 3; ++c) {
                    ASSERT_EQ(out[c], block.channel[c][i]) << n << ": " << code + i;
                }
            }
        }
    }
}

TEST(Lut3D, RefusesTooFewNodesShortRangesAndGreyImages)
{
    const char* few = "Error in Tetrahedralinterpolation::Initialize(), numGrid must be greater "
                      "than or equal to 2";
    const char* channels = "Error in Image Converter::Convert(), data channels must be 1/3";
    const Matrix grey = MakeMatrix<uint16_t>(2, 2, {7});
    Matrix dst;
    ExpectException(3, few, [] { PowerTable(0, 65535.0); });
    ExpectException(3, few, [] { PowerTable(1, 65535.0); });
    ExpectException(3, "", [] { PowerTable(4, 1.5); });
    // Cells of 1: the last one would end where it begins.
    ExpectException(3, "", [] { PowerTable(4, 2.0); });
    ExpectException(3, "", [] { PowerTable(2, 0.0); });
    EXPECT_NO_THROW(PowerTable(4, 3.0));
    ExpectException(2, channels, [&] { PowerTable(2, 1.0).Convert(grey, dst); });
    EXPECT_TRUE(dst.rows == 2 && dst.cols == 2 && dst.type == grey.type);
    ExpectException(2, channels, [&] { ImageConverter::Convert(grey, dst, PowerTable(2, 1.0)); });
}

TEST(Lut3D, OwnsItsValues)
{
    Vector<double> given(24, 5.0);
    Lut3D table;
    table.Initialize(given, 2, 1.0);
    std::fill(given.data, given.data + given.size, 99.0);
    Matrix image = MakeMatrix<float>(1, 2, {0.25f}, 3);
    double pixel[3] = {0.25, 0.25, 0.25};
    table(pixel, pixel, 3);
    table.Convert(image, image);
    EXPECT_TRUE(pixel[0] == 5.0 && pixel[2] == 5.0) << pixel[0];
    EXPECT_EQ(std::vector<float>(6, 5.0f), Elements<float>(image));
}

TEST(Lut3D, NamesTheDepthBeforeTheChannels)
{
    Lut3D table;
    table.Initialize(Vector<double>(24, 0.0), 2, 1.0);
    Matrix integers = MakeMatrix<int32_t>(2, 2, {7});
    ExpectException(2, "Error in Imag Converter, data depth must be D8U/D16U/D32F/D64F",
                    [&] { table.Convert(integers, integers); });
}

} // namespace
} // namespace lumo::test
