#include "core/image_scaling.h"

#include "support/random_images.h"

namespace lumo::test {

template <typename T>
std::vector<T> Resized(const Matrix& src, int32_t rows, int32_t cols)
{
    Matrix dst(src);
    const int size[2] = {rows, cols};
    ImageScalingBilinear().Resize(dst, dst, size);
    return Elements<T>(dst);
}

TEST(ImageScalingBilinear, AlignsFirstAndLastSamplesAndTruncates)
{
    const std::vector<uint8_t> cases[][2] = {{{0, 100, 200}, {0, 50, 100, 150, 200}},
                                             {{0, 100, 200}, {0, 200}},
                                             {{77}, {77, 77, 77}},
                                             {{9, 100, 200}, {9}},
                                             {{0, 255}, {0, 127, 255}},
                                             {{1, 2, 3}, {1, 2, 3}}};
    for (const auto& [in, out] : cases) {
        const auto from = static_cast<int32_t>(in.size());
        const auto to = static_cast<int32_t>(out.size());
        EXPECT_EQ(out, Resized<uint8_t>(MakeMatrix(1, from, in), 1, to));
        EXPECT_EQ(out, Resized<uint8_t>(MakeMatrix(from, 1, in), to, 1));
    }
    GuardedImage padded(2, 3, 7);
    EXPECT_EQ(std::vector<uint16_t>(60, 7), Resized<uint16_t>(padded.image, 5, 4));
    // 16777214.5 lies between two floats and goes to the even one.
    const Matrix pair = MakeMatrix<float>(1, 2, {16777213.0f, 16777216.0f});
    EXPECT_EQ(16777214.0f, Resized<float>(pair, 1, 3)[1]);
}

// Planes of codes take a path of their own.
TEST(ImageScalingBilinear, ResizesOnePlaneAsOneOfThreeChannels)
{
    const int32_t sizes[][4] = {{7, 300, 3, 131}, {5, 64, 9, 257}, {2, 3, 5, 2}, {40, 1, 3, 7}};
    for (const auto& [rows, cols, newRows, newCols] : sizes) {
        const Matrix plane = PatchyImage<uint16_t>(rows, cols, 1, 0, 65536, 11);
        std::vector<uint16_t> tripled;
        for (const uint16_t code : Elements<uint16_t>(plane)) {
            tripled.insert(tripled.end(), {code, code, code});
        }
        const Matrix pixels = MakeMatrix(rows, cols, tripled, 3);
        const auto expected = Resized<uint16_t>(pixels, newRows, newCols);
        const auto resized = Resized<uint16_t>(plane, newRows, newCols);
        for (size_t i = 0; i < resized.size(); ++i) {
            ASSERT_EQ(expected[3 * i], resized[i]) << newRows << " x " << newCols << " at " << i;
        }
    }
}

TEST(ImageScalingBilinear, RefusesSizesThenDepths)
{
    const std::string error = "Error in ImageScalingBilinear operator(), ";
    const std::string size = error + "new size must be greater than 0";
    const std::string depth = error + "data depth must be D8U/D16U/D32F";
    const Matrix doubles = MakeMatrix<double>(1, 2, {3});
    ExpectException(3, size.c_str(), [&] { Resized<double>(doubles, 0, 5); });
    ExpectException(3, size.c_str(), [&] { Resized<double>(doubles, 5, -1); });
    ExpectException(2, depth.c_str(), [&] { Resized<double>(doubles, 5, 5); });
    EXPECT_EQ(Elements<double>(doubles), Resized<double>(doubles, 1, 2));
}

} // namespace lumo::test
