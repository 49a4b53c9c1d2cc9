#include "render/side_by_side.h"

#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

/// One row that repeats a pattern of grey codes.
Page Pattern(std::int64_t width, const std::vector<int>& pattern)
{
    Page page{{width, 1}, std::make_unique<std::uint16_t[]>(static_cast<std::size_t>(width * 3))};
    for (std::size_t i = 0; i < static_cast<std::size_t>(width * 3); ++i) {
        page.codes[i] = static_cast<std::uint16_t>(pattern[i / 3 % pattern.size()]);
    }
    return page;
}

// Averages of light by hand: 1/2 is sRGB 188, 1/3 is 156, 2/3 is 213 (IEC 61966-2-1).
TEST(SideBySide, AveragesLight)
{
    const std::vector<float> light = RenderedLight();
    const struct {
        std::int64_t width;
        std::vector<int> pattern;
        int first;
        int second;
    } cases[] = {
        {1596, {0, 65535}, 188, 188},    // two columns to one
        {1197, {0, 65535, 0}, 156, 156}, // the middle one is shared
        {1197, {65535, 0, 0}, 213, 0},
        {2, {65535, 0}, 255, 0}, // not reduced
    };
    for (const auto& c : cases) {
        const Panel panel = ReducePage(Pattern(c.width, c.pattern), light);
        EXPECT_EQ(std::min<std::int64_t>(c.width, 798), panel.size.width);
        EXPECT_EQ(1, panel.size.height);
        EXPECT_EQ(c.first, panel.rgb[0]);
        EXPECT_EQ(c.second, panel.rgb[3]);
    }
    EXPECT_EQ(532, PanelSize({6000, 4000}).height);
}

// BT.2020 red lies outside sRGB: green and blue are cut at 0, red at 1.
TEST(SideBySide, CutsColoursOutsideSrgb)
{
    Page page = Pattern(1, {0});
    page.codes[0] = 65535;
    const std::vector<unsigned char> expected = {255, 0, 0};
    EXPECT_EQ(expected, ReducePage(page, RenderedLight()).rgb);
}

TEST(SideBySide, ClipsAtPaperWhite)
{
    RenderRange range;
    range.top = 400.0;
    const std::vector<float> light = ClippedLight(range, 100);
    EXPECT_EQ(0.0f, light[0]);
    EXPECT_NEAR(0.5, light[8192], 0.001);
    EXPECT_EQ(1.0f, light[20000]);
}

TEST(SideBySide, SheetHoldsBothPanels)
{
    const samples::Folder folder;
    const Panel left{{2, 1}, {1, 2, 3, 4, 5, 6}};
    const Panel right{{2, 1}, {7, 8, 9, 10, 11, 12}};
    OutputFile file(folder / "a.png");
    WriteSideBySide(file, left, right);
    file.Commit();
    const std::vector<float> sheet = samples::ReadAll(folder / "a.png");
    ASSERT_EQ(std::size_t{(2 + 4 + 2) * 3}, sheet.size());
    EXPECT_EQ(1.0f, sheet[0]);
    EXPECT_EQ(128.0f, sheet[6]);
    EXPECT_EQ(12.0f, sheet.back());
}

} // namespace

} // namespace qva
