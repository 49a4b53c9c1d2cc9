#include "literal/pixels.h"

#include <algorithm>
#include <vector>

namespace lumo::literal {
namespace {

// output = weight0 * source[index0] + weight1 * source[index1]
struct Tap {
    int32_t index0, index1;
    double weight0, weight1;
};

std::vector<Tap> MakeTaps(int32_t srcSize, int32_t dstSize)
{
    std::vector<Tap> taps;
    for (int32_t i = 0; i < dstSize; ++i) {
        if (srcSize == 1) {
            taps.push_back({0, 0, 1.0, 0.0});
        } else if (dstSize == 1) {
            taps.push_back({0, std::min(srcSize - 1, 1), 1.0, 0.0});
        } else if (srcSize != dstSize) {
            const double ratio = static_cast<double>(srcSize - 1) / (dstSize - 1);
            const double p = i * ratio;
            const auto index = static_cast<int32_t>(p);
            const double weight = p - index;
            taps.push_back({index, std::min(srcSize - 1, index + 1), 1.0 - weight, weight});
        } else {
            taps.push_back({i, i, 1.0, 0.0});
        }
    }
    return taps;
}

} // namespace

Matrix MapCodes(const Matrix& src, const uint16_t* map)
{
    Matrix dst(src.rows, src.cols, src.type);
    for (int32_t row = 0; row < src.rows; ++row) {
        for (int64_t i = 0; i < RowLength(src); ++i) {
            RowOf<uint16_t>(dst, row)[i] = map[RowOf<uint16_t>(src, row)[i]];
        }
    }
    return dst;
}

Matrix MultiplyCodes(const Matrix& src, double scalar)
{
    Matrix dst(src.rows, src.cols, src.type);
    for (int32_t row = 0; row < src.rows; ++row) {
        for (int64_t i = 0; i < RowLength(src); ++i) {
            RowOf<uint16_t>(dst, row)[i] =
                Saturate<uint16_t>(RowOf<uint16_t>(src, row)[i] * scalar);
        }
    }
    return dst;
}

Matrix PlaneOf(const Matrix& image, int64_t channel)
{
    Matrix plane(image.rows, image.cols, D16U);
    for (int32_t row = 0; row < image.rows; ++row) {
        for (int64_t col = 0; col < image.cols; ++col) {
            RowOf<uint16_t>(plane, row)[col] =
                RowOf<uint16_t>(image, row)[col * image.channels + channel];
        }
    }
    return plane;
}

void ReplacePlane(Matrix& image, int64_t channel, const Matrix& plane)
{
    for (int32_t row = 0; row < image.rows; ++row) {
        for (int64_t col = 0; col < image.cols; ++col) {
            RowOf<uint16_t>(image, row)[col * image.channels + channel] =
                RowOf<uint16_t>(plane, row)[col];
        }
    }
}

Matrix Resize(const Matrix& src, int32_t rows, int32_t cols)
{
    if (rows == src.rows && cols == src.cols) {
        return src;
    }
    Matrix narrow(src.rows, cols, MakeType(D32F, src.channels)), dst(rows, cols, src.type);
    const std::vector<Tap> across = MakeTaps(src.cols, cols), down = MakeTaps(src.rows, rows);
    const int64_t channels = src.channels;
    for (int32_t row = 0; row < src.rows; ++row) {
        const auto* in = RowOf<uint16_t>(src, row);
        for (int64_t col = 0; col < cols; ++col) {
            const Tap& tap = across[col];
            for (int64_t k = 0; k < channels; ++k) {
                RowOf<float>(narrow, row)[col * channels + k] =
                    static_cast<float>(in[tap.index0 * channels + k] * tap.weight0 +
                                       in[tap.index1 * channels + k] * tap.weight1);
            }
        }
    }
    for (int32_t row = 0; row < rows; ++row) {
        const Tap& tap = down[row];
        const auto* upper = RowOf<float>(narrow, tap.index0);
        const auto* lower = RowOf<float>(narrow, tap.index1);
        for (int64_t i = 0; i < RowLength(dst); ++i) {
            RowOf<uint16_t>(dst, row)[i] =
                Saturate<uint16_t>(static_cast<double>(upper[i]) * tap.weight0 +
                                   static_cast<double>(lower[i]) * tap.weight1);
        }
    }
    return dst;
}

} // namespace lumo::literal
