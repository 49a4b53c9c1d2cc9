#include "page/continued_page.h"

#include "page/band_renderer.h"
#include "render/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace qva {

namespace {

using Tone = std::array<std::uint16_t, 3>;

constexpr double top = 1000.0; // cd/m², for paper white of 100: its code is a tenth of the largest

/// Upright codes with `lines` rows of a tone at the top, and another below them.
Page TwoTones(ImageSize size, const Tone& tone, std::int64_t lines, const Tone& other)
{
    Page page{size, std::make_unique<std::uint16_t[]>(
                        static_cast<std::size_t>(size.width * size.height * 3))};
    for (std::int64_t i = 0; i < size.width * size.height; ++i) {
        std::ranges::copy(i / size.width < lines ? tone : other, page.codes.get() + 3 * i);
    }
    return page;
}

RenderRange UpTo(double luminance)
{
    RenderRange range;
    range.top = luminance;
    return range;
}

class Bands {
public:
    explicit Bands(const Page& page)
        : page_(page), renderer_(page, page.size, range_, profile_, {}, "a")
    {
    }

    /// The result of a band that lies in an even part: what its pixels have in common.
    Tone Render(Direction direction, const LineRun& lines) const
    {
        const bool isRows = direction == Direction::Rows;
        const std::int64_t length = isRows ? page_.size.width : page_.size.height;
        std::vector<std::uint16_t> codes;
        for (std::int64_t i = 0; i < lines.count * length; ++i) {
            codes.insert(codes.end(), page_.codes.get(), page_.codes.get() + 3);
        }
        renderer_.Correct(codes.data(), direction, lines);
        for (std::size_t i = 3; i < codes.size(); ++i) {
            EXPECT_NEAR(codes[i % 3], codes[i], 9) << i;
        }
        return {codes[0], codes[1], codes[2]};
    }

private:
    const Page& page_;
    RenderRange range_ = UpTo(top);
    PrinterProfile profile_ = BuiltInProfile();
    BandRenderer renderer_;
};

void ExpectNear(const Tone& expected, const Tone& tone)
{
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(expected[c], tone[c], 9) << c; // a code of the smoother near black
    }
}

void ExpectBands(const Tone& expected, const Tone& tone, ImageSize size)
{
    SCOPED_TRACE(testing::Message() << tone[0] << " on " << size.width);
    const Page page = TwoTones(size, tone, size.height, tone);
    const Bands bands(page);
    for (const Direction direction : {Direction::Rows, Direction::Columns}) {
        const std::int64_t lines = direction == Direction::Rows ? size.height : size.width;
        ExpectNear(expected, bands.Render(direction, {0, 10}));
        ExpectNear(expected, bands.Render(direction, {lines - 10, 10}));
    }
}

// Black, white and a grey near black are what the last compression of colours leaves alone.
TEST(ContinuedPage, RendersWhatAPageAtOnceIs)
{
    for (const Tone& tone : {Tone{0, 0, 0}, Tone{200, 200, 200}, Tone{65535, 65535, 65535}}) {
        Page whole = TwoTones({20, 300}, tone, 300, tone);
        Render(whole, UpTo(top), BuiltInProfile(), {}, "a");
        const Tone expected = {whole.codes[0], whole.codes[1], whole.codes[2]};
        ExpectBands(expected, tone, {20, 300});
        ExpectBands(expected, tone, {300, 20});
    }
}

// Bands go without that compression, so other tones are compared with a page that has two regions:
// 450 lines of the tone, of which the first hundred feel nothing of the others.
TEST(ContinuedPage, RendersWhatAPartOfAnotherPageIs)
{
    for (const Tone& tone : {Tone{2000, 2000, 2000}, Tone{4000, 500, 200}}) {
        const Page page = TwoTones({20, 900}, tone, 450, {30, 30, 30});
        ExpectBands(Bands(page).Render(Direction::Rows, {0, 100}), tone, {20, 900});
    }
}

TEST(ContinuedPage, GoesOnBehindTheLongerSideWithinWhatAnAnalysisTakes)
{
    const Tone grey = {30000, 30000, 30000};
    for (const ImageSize reduced : {ImageSize{2, 2}, ImageSize{1200, 2}, ImageSize{700, 1200}}) {
        const ImageSize page = {reduced.width * 7, reduced.height * 7};
        const ContinuedPage continued =
            ContinuePage(TwoTones(reduced, grey, reduced.height, grey), page, 6553.0);
        const ImageSize copy = continued.reduced.size;
        EXPECT_LE(std::max(copy.width, copy.height), 1200);
        EXPECT_EQ(page.width > page.height ? page.height : page.width,
                  page.width > page.height ? continued.size.height : continued.size.width);
        // 150 pixels of the copy lie between the real page and the strip, and scales agree.
        const bool isWide = page.width > page.height;
        const double scale = isWide ? double(copy.width) / double(continued.size.width)
                                    : double(copy.height) / double(continued.size.height);
        const auto end =
            static_cast<std::int64_t>(std::ceil(double(isWide ? page.width : page.height) * scale));
        for (std::int64_t line = 0; line < end + 150; ++line) {
            EXPECT_EQ(30000, continued.reduced.codes[3 * (isWide ? line : line * copy.width)]);
        }
        EXPECT_EQ(0, continued.reduced.codes[3 * copy.width * copy.height - 1]);
    }
}

} // namespace

} // namespace qva
