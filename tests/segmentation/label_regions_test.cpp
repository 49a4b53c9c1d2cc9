#include "segmentation/label_regions.h"

#include "support/random_images.h"

namespace lumo::test {
namespace {

// Grows each region from its first pixel, one pixel of the queue after the other.
int32_t FloodFill(const Matrix& labels, size_t limit, std::vector<int32_t>& number)
{
    constexpr int32_t step[4][2] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
    const std::vector<int32_t> label = Elements<int32_t>(labels);
    number.assign(label.size(), -1);
    int32_t next = 0;
    for (size_t start = 0; start < label.size(); ++start) {
        if (number[start] >= 0) {
            continue;
        }
        int32_t adjacent = 0;
        number[start] = next;
        std::vector<int32_t> queue = {static_cast<int32_t>(start)};
        for (size_t at = 0; at < queue.size(); ++at) {
            for (const auto& [stepX, stepY] : step) {
                const int32_t x = queue[at] % labels.cols + stepX;
                const int32_t y = queue[at] / labels.cols + stepY;
                if (x < 0 || x >= labels.cols || y < 0 || y >= labels.rows) {
                    continue;
                }
                const int32_t p = y * labels.cols + x;
                if (number[p] < 0 && label[p] == label[start]) {
                    number[p] = next;
                    queue.push_back(p);
                } else if (at == 0 && number[p] >= 0) {
                    adjacent = number[p];
                }
            }
        }
        const bool folds = queue.size() <= limit;
        for (const int32_t p : queue) {
            number[p] = folds ? adjacent : next;
        }
        next += folds ? 0 : 1;
    }
    return next;
}

TEST(LabelRegions, NumbersLikeAFloodFillFromEachFirstPixel)
{
    const int32_t sizes[][2] = {{1, 1}, {1, 60}, {60, 1}, {2, 2}, {23, 31}, {65, 64}};
    for (uint32_t run = 0; run < 360; ++run) {
        SCOPED_TRACE(run);
        const auto& [rows, cols] = sizes[run % 6];
        const Matrix labels = WindingLabels(rows, cols, 2 + run % 4, run);
        const int32_t limit = std::vector<int32_t>{0, 1, 3, 12, 100, 5000}[run / 6 % 6];
        Matrix mine(labels);
        std::vector<int32_t> expected;
        ASSERT_EQ(FloodFill(labels, static_cast<size_t>(limit), expected),
                  NumberRegions(mine, limit));
        ASSERT_EQ(expected, Elements<int32_t>(mine));
    }
}

} // namespace
} // namespace lumo::test
