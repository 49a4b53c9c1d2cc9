#include "core/matrix_converter.h"

#include "core/matrix_operator.h"
#include "support/images.h"

namespace lumo::test {

TEST(MatrixConverter, ClampsThenTruncatesTowardZero)
{
    const double n = std::nan("");
    const double big = 0x1.fffffep+127; // the largest float
    const std::vector<double> in = {1e300, -1e300, 254.9, -0.7, 1234.99, -3.5, n};
    const double expected[7][7] = {{255, 0, 254, 0, 255, 0, 0},
                                   {127, -128, 127, 0, 127, -3, 0},
                                   {65535, 0, 254, 0, 1234, 0, 0},
                                   {32767, -32768, 254, 0, 1234, -3, 0},
                                   {2147483647, -2147483648.0, 254, 0, 1234, -3, 0},
                                   {big, -big, 254.9f, -0.7f, 1234.99f, -3.5, n},
                                   {1e300, -1e300, 254.9, -0.7, 1234.99, -3.5, n}};
    for (int32_t depth = 0; depth < 7; ++depth) {
        Matrix image = MakeMatrix<double>(1, 7, in);
        MatrixConverter()(image, image, depth);
        MatrixConverter()(image, image, D64F);
        EXPECT_TRUE(
            std::equal(expected[depth], expected[depth] + 7, RowOf<double>(image, 0), SameBits))
            << depth << ": " << testing::PrintToString(Elements<double>(image));
    }
}

TEST(MatrixConverter, RunsTheRowsOfTheRegionOrCopiesOrRefuses)
{
    Matrix src = MakeMatrix<uint16_t>(4, 2, {300, 7});
    src.roi = {0, 1, 2, 2};
    Matrix dst = MakeMatrix<uint8_t>(4, 2, {1});
    MatrixConverter()(src, dst, D8U);
    EXPECT_EQ((std::vector<uint8_t>{1, 1, 255, 7, 255, 7, 1, 1}), Elements<uint8_t>(dst));
    MatrixConverter()(src, dst, D16U);
    EXPECT_NE(src.data, dst.data);
    EXPECT_EQ(Elements<uint16_t>(src), Elements<uint16_t>(dst));
    const char* text = "Error in MatrixConverter::operator(), data depth must be fundamental type";
    ExpectException(2, text, [&] { MatrixConverter()(src, dst, 7); });
    ExpectException(2, text, [&] { MatrixConverter()(Matrix(), dst, D16U); });
}

TEST(MatrixOperatorMultiply, SaturatesProductsInEveryRow)
{
    Matrix codes = MakeMatrix<uint16_t>(2, 2, {40000, 3});
    codes.roi = {};
    MultiplyByScalar(codes, 2.5, codes, MatrixOperatorMultiply<uint16_t>());
    EXPECT_EQ((std::vector<uint16_t>{65535, 7, 65535, 7}), Elements<uint16_t>(codes));
    // As floats the factor would be 1.
    EXPECT_EQ(65534, MatrixOperatorMultiply<uint16_t>::Product(65535, 1.0 - 1e-9));
    Matrix floats = MakeMatrix<float>(1, 2, {1e38f, -2.5f});
    MatrixOperatorMultiply<float>()(0, floats, floats, floats);
    EXPECT_EQ((std::vector<float>{0x1.fffffep+127f, 6.25f}), Elements<float>(floats));
    // A guide of codes may be had by a division of integers.
    for (int32_t v = 0; v < 65536; ++v) {
        const auto code = static_cast<uint16_t>(v);
        ASSERT_EQ(v / 257, MatrixOperatorMultiply<uint16_t>::Product(code, 255.0 / 65535.0));
        ASSERT_EQ(v / 257, static_cast<int32_t>(v * 255.0 / 65535.0));
    }
}

} // namespace lumo::test
