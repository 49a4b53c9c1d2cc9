#include "segmentation/label_regions.h"

#include "literal/superpixels.h"
#include "support/random_images.h"

namespace lumo::test {
namespace {

TEST(LabelRegions, NumbersLikeAFloodFillFromEachFirstPixel)
{
    const int32_t sizes[][2] = {{1, 1}, {1, 60}, {60, 1}, {2, 2}, {23, 31}, {65, 64}};
    for (uint32_t run = 0; run < 360; ++run) {
        SCOPED_TRACE(run);
        const auto& [rows, cols] = sizes[run % 6];
        const Matrix labels = WindingLabels(rows, cols, 2 + run % 4, run);
        const int32_t limit = std::vector<int32_t>{0, 1, 3, 12, 100, 5000}[run / 6 % 6];
        Matrix mine(labels), literal;
        labels.CopyTo(literal);
        ASSERT_EQ(literal::NumberByFloodFill(literal, limit), NumberRegions(mine, limit));
        ASSERT_EQ(Elements<int32_t>(literal), Elements<int32_t>(mine));
    }
}

} // namespace
} // namespace lumo::test
