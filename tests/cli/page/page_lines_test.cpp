#include "page/page_lines.h"

#include "meanings.h"
#include "page/reduced_page.h"
#include "render/scan_load.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

constexpr ImageSize stored = {7, 11};

LightPlan AllSteps()
{
    LightPlan plan;
    plan.repairs = plan.fitsColour = plan.mixesRims = true;
    plan.shoulderEnd = 50000.0;
    return plan;
}

std::vector<std::uint16_t> CodesOf(const Page& page)
{
    return {page.codes.get(), page.codes.get() + page.size.width * page.size.height * 3};
}

// What LoadPage makes of a picture, in rows or columns, read in pieces and from the middle.
TEST(PageLines, GiveTheUprightPageForEveryOrientation)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    Progress progress(ProgressStyle::None);
    const LightSteps light(AllSteps());
    RenderRange range;
    range.top = 10000.0;
    std::vector<double> values;
    for (int i = 0; i < stored.width * stored.height * 3; ++i) {
        values.push_back(i / 3 % 5 == 3 ? -900.0 : i * 100.0 + 7.0);
    }
    for (int orientation = 1; orientation <= 8; ++orientation) {
        samples::WriteTiff(path, stored, values,
                           {.bits = 32, .isFloat = true, .orientation = orientation});
        const auto source = OpenImage(path, {1000});
        const SceneDecoder decoder(samples::Light(1.0), path);
        const Page upright = LoadPage(*source, decoder, light, range, progress);
        for (const Direction direction : {Direction::Rows, Direction::Columns}) {
            SCOPED_TRACE(testing::Message()
                         << orientation << (direction == Direction::Rows ? " rows" : " columns"));
            const bool isRows = direction == Direction::Rows;
            const std::vector<std::uint16_t> expected =
                isRows ? CodesOf(upright) : CodesOf(Transposed(upright));
            const std::int64_t length = isRows ? upright.size.width : upright.size.height;
            const std::int64_t lines = isRows ? upright.size.height : upright.size.width;
            const auto again = OpenImage(path, {1000});
            PageLines page(*again, decoder, light, range, direction, {1000}, folder / "");
            std::vector<std::uint16_t> found(expected.size());
            page.Seek(0, progress);
            page.Read(1, found.data());
            page.Read(4, found.data() + length * 3);
            page.Seek(5, progress);
            page.Read(lines - 5, found.data() + length * 15);
            EXPECT_EQ(expected, found);
            for (const std::int64_t line : {5, 1, 6}) {
                page.Seek(line, progress);
                page.Read(1, found.data());
                EXPECT_TRUE(std::equal(found.begin(), found.begin() + length * 3,
                                       expected.begin() + length * 3 * line));
            }
        }
    }
}

TEST(PageReducer, AveragesBoxesInWholeNumbers)
{
    // Boxes of 2 x 2 pixels: 1, 2, 5, 6 average 3.5, which rounds up; 65535s stay.
    std::vector<std::uint16_t> codes;
    for (const int code : {1, 2, 65535, 65535, 5, 6, 65535, 65535}) {
        codes.insert(codes.end(), 3, static_cast<std::uint16_t>(code));
    }
    PageReducer whole(2, 4, {2, 1});
    whole.Add(codes.data(), 2);
    EXPECT_EQ((std::vector<std::uint16_t>{4, 4, 4, 65535, 65535, 65535}), CodesOf(whole.Result()));
    PageReducer pieces(2, 4, {2, 1});
    pieces.Add(codes.data(), 1);
    pieces.Add(codes.data() + 12, 1);
    EXPECT_EQ(whole.Digest(), pieces.Digest());
    ++codes[0]; // too little to move the average
    PageReducer changed(2, 4, {2, 1});
    changed.Add(codes.data(), 2);
    EXPECT_EQ(CodesOf(whole.Result()), CodesOf(changed.Result()));
    EXPECT_NE(whole.Digest(), changed.Digest());
    // Sides that do not divide: pixels 0, 1 and 2, 3, 4 of five.
    std::vector<std::uint16_t> line;
    for (const int code : {10, 20, 30, 40, 50}) {
        line.insert(line.end(), 3, static_cast<std::uint16_t>(code));
    }
    PageReducer odd(1, 5, {2, 1});
    odd.Add(line.data(), 1);
    EXPECT_EQ(20, odd.Result().codes[0]); // pixel 2 lies at 2 * 2 / 5 = 0
    EXPECT_EQ(45, odd.Result().codes[3]);
}

TEST(ReducedSize, KeepsSmallPagesAndTheShapeOfLargeOnes)
{
    EXPECT_EQ(1200, ReducedSize({1200, 7}, 1200).width);
    EXPECT_EQ(7, ReducedSize({1200, 7}, 1200).height);
    EXPECT_EQ(1200, ReducedSize({20000, 10000}, 1200).width);
    EXPECT_EQ(600, ReducedSize({20000, 10000}, 1200).height);
    EXPECT_EQ(1, ReducedSize({1000000, 1}, 1200).height);
}

} // namespace

} // namespace qva
