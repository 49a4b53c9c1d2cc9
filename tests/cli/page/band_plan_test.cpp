#include "page/band_plan.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

BandPlan Cut(std::int64_t lines, std::int64_t bandLines, std::int64_t margin)
{
    BandSettings settings;
    settings.bandLines = bandLines;
    settings.marginLines = margin;
    return MakeBandPlan({10, lines}, settings, "p");
}

TEST(BandPlan, CutsInnerAndOuterLines)
{
    const struct {
        std::int64_t lines, bandLines, margin, index;
        LineRun inner, outer;
    } cases[] = {
        {100, 30, 5, 0, {0, 30}, {0, 35}},     {100, 30, 5, 1, {30, 30}, {25, 40}},
        {100, 30, 5, 3, {90, 10}, {85, 15}},  // the last band is what is left
        {100, 30, 80, 1, {30, 30}, {0, 100}}, // a margin larger than the page
        {100, 1, 2, 99, {99, 1}, {97, 3}},     {1, 1, 80, 0, {0, 1}, {0, 1}},
        {100, 300, 80, 0, {0, 100}, {0, 100}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.lines << " lines, band " << c.index);
        const Band band = Cut(c.lines, c.bandLines, c.margin).BandAt(c.index);
        EXPECT_EQ(c.inner.first, band.inner.first);
        EXPECT_EQ(c.inner.count, band.inner.count);
        EXPECT_EQ(c.outer.first, band.outer.first);
        EXPECT_EQ(c.outer.count, band.outer.count);
    }
    EXPECT_EQ(4, Cut(100, 30, 5).Bands());
    EXPECT_EQ(1, Cut(100, 300, 5).Bands());
}

TEST(BandPlan, SharesAreWholeBandsThatCoverThePage)
{
    const BandPlan plan = Cut(100, 30, 5);
    const std::int64_t firsts[] = {0, 1, 2};
    const std::int64_t counts[] = {1, 1, 2};
    for (std::int64_t share = 1; share <= 3; ++share) {
        EXPECT_EQ(firsts[share - 1], plan.BandsOfShare(share, 3).first);
        EXPECT_EQ(counts[share - 1], plan.BandsOfShare(share, 3).count);
    }
    const LineRun last = plan.LinesOf(plan.BandsOfShare(3, 3));
    EXPECT_EQ(60, last.first);
    EXPECT_EQ(40, last.count);
}

TEST(BandPlan, StripsDivideBands)
{
    BandSettings settings;
    const ImageSize page = {1000, 5000}; // a quarter of a megabyte is 43 rows
    for (const std::int64_t lines : {1, 42, 43, 97, 430, 1009}) {
        settings.bandLines = lines;
        const BandPlan plan = MakeBandPlan(page, settings, "p");
        EXPECT_EQ(lines, plan.bandLines);
        EXPECT_EQ(0, lines % plan.stripLines);
        EXPECT_LE(plan.stripLines, 43);
    }
    settings.bandLines = 430;
    EXPECT_EQ(43, MakeBandPlan(page, settings, "p").stripLines);
}

TEST(BandPlan, MemoryDecidesTheBandsWhateverTheHeight)
{
    BandSettings settings;
    settings.maxMemory = 1000000000;
    std::uint64_t highest = 0;
    for (const std::int64_t height : {2500, 20000, 100000, 2000000}) {
        const BandPlan plan = MakeBandPlan({20000, height}, settings, "p");
        EXPECT_LE(BandMemory(plan), settings.maxMemory);
        EXPECT_EQ(0, plan.bandLines % plan.stripLines);
        highest = std::max(highest, BandMemory(plan));
    }
    EXPECT_GT(highest, settings.maxMemory * 9 / 10);
    EXPECT_EQ(1, MakeBandPlan({2000, 3000}, settings, "p").Bands());
    settings.decodeBytes = 800000000; // the file itself takes most of it
    const auto error = [&settings] {
        return samples::ErrorOf([&] { MakeBandPlan({20000, 20000}, settings, "p"); });
    };
    EXPECT_NE(std::string::npos, error().find("raise --max-memory")) << error();
    settings.decodeBytes = 0;
    settings.maxMemory = 200000000;
    EXPECT_NE(std::string::npos, error().find("raise --max-memory")) << error();
}

// On even tone the smoother's influence falls by e in the square root of its strength: 200 times
// the root of the page's size over 30105600 pixels.
TEST(BandPlan, MarginGrowsWithThePage)
{
    EXPECT_EQ(80, MarginFor({100, 100}));
    EXPECT_EQ(80, MarginFor({6720, 4480}));
    const std::int64_t large = MarginFor({80000, 80000});
    EXPECT_GE(large, 162); // three times the root of 200 * sqrt(6.4e9 / 30105600), which is 54.0
    EXPECT_LE(large, 163);
}

} // namespace

} // namespace qva
