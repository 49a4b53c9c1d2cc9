// Images and label images with patches, edges and noise, the same for a seed on every machine.
#pragma once

#include "support/images.h"

#include <random>

namespace lumo::test {

/// Elements of patches of one level each, most of them with a little noise on it; within
/// [lowest, lowest + span).
template <typename T>
Matrix PatchyImage(int32_t rows, int32_t cols, int32_t channels, double lowest, double span,
                   uint32_t seed)
{
    std::mt19937 random(seed);
    Matrix image(rows, cols, MakeType(DepthCode<T>(), channels));
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t i = 0; i < cols * channels; ++i) {
            const int32_t patch = row / 7 * 5 + i / channels / 9 * 3 + i % channels * 2;
            const auto grain = static_cast<double>(random() % 1024);
            const double level = patch % 11 / 12.0 + grain * (patch % 3) / 60000.0;
            RowOf<T>(image, row)[i] = static_cast<T>(lowest + span * level);
        }
    }
    return image;
}

/// Labels 0 ... labelCount - 1; most pixels take that of a neighbour: winding, nested regions.
inline Matrix_t<int> WindingLabels(int32_t rows, int32_t cols, uint32_t labelCount, uint32_t seed)
{
    std::mt19937 random(seed);
    Matrix_t<int> labels(rows, cols, D32S);
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            const auto choice = random() % 8;
            int32_t& label = At<int32_t>(labels, y, x);
            label = static_cast<int32_t>(random() % labelCount);
            label = choice < 3 && x > 0 ? At<int32_t>(labels, y, x - 1) : label;
            label = choice > 4 && y > 0 ? At<int32_t>(labels, y - 1, x) : label;
        }
    }
    return labels;
}

} // namespace lumo::test
