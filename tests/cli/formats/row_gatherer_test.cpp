#include "formats/row_gatherer.h"

#include <gtest/gtest.h>
#include <numeric>

namespace qva {

namespace {

TEST(RowGatherer, MakesEqualRunsOfAnyRowsAndLosesNone)
{
    constexpr std::int64_t samples = 3;
    constexpr std::int64_t rows = 47;
    std::vector<std::uint16_t> page(samples * rows);
    std::iota(page.begin(), page.end(), std::uint16_t{0});
    for (const std::int64_t step : {1, 3, 10, 23, 47}) {
        SCOPED_TRACE(step);
        std::vector<std::int64_t> runs;
        std::vector<std::uint16_t> seen;
        int copied = 0;
        RowGatherer gatherer(samples, rows, 10,
                             [&](const std::uint16_t* codes, std::int64_t count) {
                                 runs.push_back(count);
                                 copied += codes != page.data() + seen.size() ? 1 : 0;
                                 seen.insert(seen.end(), codes, codes + count * samples);
                             });
        for (std::int64_t row = 0; row < rows; row += step) {
            gatherer.Add(page.data() + row * samples, std::min(step, rows - row));
        }
        EXPECT_EQ((std::vector<std::int64_t>{10, 10, 10, 10, 7}), runs);
        EXPECT_EQ(page, seen);
        if (step == 10 || step == rows) {
            EXPECT_EQ(0, copied);
        }
    }
}

} // namespace

} // namespace qva
