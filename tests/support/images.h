// Small images for tests, from lists or between guard elements, and checks on them.
#pragma once

#include "core/image_converter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace lumo::test {

template <typename T>
constexpr int32_t DepthCode()
{
    constexpr size_t integer = sizeof(T) == 4 ? 4 : sizeof(T) / 2 * 2 + std::is_signed_v<T>;
    return static_cast<int32_t>(std::is_floating_point_v<T> ? sizeof(T) / 8 + 5 : integer);
}

template <typename T>
T& At(Matrix& matrix, int32_t row, int32_t col, int32_t channel = 0)
{
    return RowOf<T>(matrix, row)[col * matrix.channels + channel];
}

/// An image whose elements are `values`, repeated as often as needed.
template <typename T>
Matrix MakeMatrix(int32_t rows, int32_t cols, const std::vector<T>& values, int32_t channels = 1)
{
    Matrix matrix(rows, cols, MakeType(DepthCode<T>(), channels));
    for (int32_t i = 0; i < rows * cols * channels; ++i) {
        At<T>(matrix, 0, 0, i) = values[static_cast<size_t>(i) % values.size()];
    }
    return matrix;
}

/// All elements, row after row.
template <typename T>
std::vector<T> Elements(const Matrix& matrix)
{
    std::vector<T> all;
    for (int32_t row = 0; row < matrix.rows; ++row) {
        all.insert(all.end(), RowOf<T>(matrix, row), RowOf<T>(matrix, row) + RowLength(matrix));
    }
    return all;
}

/// Caller memory of 16-bit RGB with guard elements before, behind and between the rows.
struct GuardedImage {
    static constexpr int64_t margin = 64;

    GuardedImage(int32_t rows, int32_t cols, uint16_t value)
        : memory(static_cast<size_t>(margin + rows * (3 * cols + margin)), 0xA5C3),
          image(rows, cols, static_cast<uint64_t>(3 * cols + margin), memory.data() + margin)
    {
        for (int32_t row = 0; row < rows; ++row) {
            std::fill_n(RowOf<uint16_t>(image, row), 3 * cols, value);
        }
    }
    /// Whether the guards are as they were; the pixels are lost.
    bool Intact()
    {
        for (int32_t row = 0; row < image.rows; ++row) {
            std::fill_n(RowOf<uint16_t>(image, row), RowLength(image), uint16_t{0xA5C3});
        }
        return std::count(memory.begin(), memory.end(), 0xA5C3) == std::ssize(memory);
    }

    std::vector<uint16_t> memory;
    Matrix image;
};

/// Expects `action` to throw an Exception of exactly this code and message.
template <typename Action>
void ExpectException(int32_t code, const char* message, Action&& action)
{
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& failure) {
        EXPECT_EQ(code, failure.code);
        EXPECT_STREQ(message, failure.message);
    }
}

inline bool SameBits(double a, double b)
{
    return std::bit_cast<int64_t>(a) == std::bit_cast<int64_t>(b) || (a != a && b != b);
}

/// Converts float64 rows of every length up to two blocks and a tail, some values far outside the
/// codes or no numbers; doubles are stored as they are. `pixel(in, out)` is the single-pixel call.
template <typename Converter, typename Pixel>
void ExpectBlockEqualsPixel(const Converter& converter, Pixel&& pixel)
{
    const double special[] = {std::nan(""), -0.0, 1e300, -1e300, HUGE_VAL};
    std::mt19937 random(7);
    for (int32_t length = 1; length <= 130; ++length) {
        Matrix src = MakeMatrix<double>(1, length, {0.0}, 3);
        for (int32_t i = 0; i < 3 * length; ++i) {
            const auto code = static_cast<double>(random() % 98304) - 16384.25;
            At<double>(src, 0, 0, i) = random() % 16 == 0 ? special[random() % 5] : code;
        }
        Matrix dst;
        ImageConverter::Convert(src, dst, converter);
        for (int32_t i = 0; i < 3 * length; i += 3) {
            double out[3] = {};
            pixel(&At<double>(src, 0, 0, i), out);
            ASSERT_TRUE(std::equal(out, out + 3, &At<double>(dst, 0, 0, i), SameBits)) << length;
        }
    }
}

} // namespace lumo::test
