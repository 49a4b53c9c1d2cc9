#include "colour/gain_map.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace qva {

namespace {

using Bytes = std::vector<unsigned char>;

void Append(Bytes& bytes, std::initializer_list<std::int64_t> numbers)
{
    for (const std::int64_t number : numbers) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<unsigned char>(number >> shift));
        }
    }
}

/// A record of versions 0 and 3 with gains of -1/2 to 3 stops, gamma 3/4, offsets 1/64 and -1/32.
Bytes Record(int channels, unsigned char flags)
{
    Bytes bytes = {0, 0, 0, 3, flags};
    Append(bytes, {0, 1, 7, 2});
    for (int k = 0; k < channels; ++k) {
        Append(bytes, {-1, 2, 3 + k, 1, 3, 4, 1, 64, -1, 32});
    }
    return bytes;
}

std::string ProblemOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const GainMapProblem& problem) {
        return problem.what();
    }
    return "";
}

TEST(GainMapRecord, IsReadWithAndWithoutItsItem)
{
    Bytes record = Record(1, 0x40);
    ASSERT_EQ(61U, record.size());
    const GainMapNumbers one = ParseGainMap(record);
    EXPECT_EQ(0.0, one.baseHeadroom);
    EXPECT_EQ(3.5, one.alternateHeadroom);
    EXPECT_TRUE(one.usesBaseColours);
    for (const GainMapChannel& channel : one.channels) {
        EXPECT_EQ(-0.5, channel.min);
        EXPECT_EQ(3.0, channel.max);
        EXPECT_EQ(0.75, channel.gamma);
        EXPECT_EQ(1.0 / 64, channel.baseOffset);
        EXPECT_EQ(-1.0 / 32, channel.alternateOffset);
    }
    record.insert(record.begin(), 0);
    EXPECT_EQ(3.5, ParseGainMapItem(record).alternateHeadroom);
    const GainMapNumbers three = ParseGainMap(Record(3, 0x80));
    EXPECT_EQ(5.0, three.channels[2].max);
    EXPECT_FALSE(three.usesBaseColours);
    // One denominator, 4, for all that follows.
    Bytes common = {0, 0, 0, 0, 0x48};
    Append(common, {4, 0, 8, -2, 10, 4, 1, 0});
    EXPECT_EQ(2.0, ParseGainMap(common).alternateHeadroom);
    EXPECT_EQ(-0.5, ParseGainMap(common).channels[1].min);
}

TEST(GainMapRecord, IsRefusedWithAReason)
{
    const Bytes whole = Record(3, 0x80);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::span<const unsigned char> cut(whole.data(), size);
        EXPECT_EQ("ends early", ProblemOf([&] { ParseGainMap(cut); })) << size;
    }
    Bytes newer = whole;
    newer[1] = 2;
    EXPECT_EQ("is of the unknown version 2", ProblemOf([&] { ParseGainMap(newer); }));
    EXPECT_EQ("is of the unknown version 9", ProblemOf([] { ParseGainMapItem(Bytes{9, 0}); }));
    EXPECT_EQ("is empty", ProblemOf([] { ParseGainMapItem(Bytes()); }));
    // Every fraction, two numbers each behind the flags: a denominator of 0.
    for (std::size_t place = 9; place < whole.size(); place += 8) {
        Bytes broken = whole;
        std::fill_n(broken.begin() + static_cast<std::ptrdiff_t>(place), 4, std::uint8_t{0});
        EXPECT_EQ("has a denominator of 0", ProblemOf([&] { ParseGainMap(broken); })) << place;
    }
    const std::function<void(GainMapNumbers&)> breaks[] = {
        [](GainMapNumbers& n) { n.channels[1].gamma = 0.0; },
        [](GainMapNumbers& n) { n.channels[2].max = -1.0; },
        [](GainMapNumbers& n) { n.channels[0].max = 40.0; },
        [](GainMapNumbers& n) { n.channels[0].min = std::nan(""); },
        [](GainMapNumbers& n) { n.alternateHeadroom = -1.0; },
        [](GainMapNumbers& n) { n.channels[0].baseOffset = HUGE_VAL; },
    };
    for (const auto& spoil : breaks) {
        GainMapNumbers numbers;
        ASSERT_EQ("", ProblemOf([&] { CheckGainMap(numbers); }));
        spoil(numbers);
        EXPECT_EQ("has numbers that make no sense", ProblemOf([&] { CheckGainMap(numbers); }));
    }
}

/// The light of one pixel of 0.5 in all channels under a map of one sample.
float LightOf(const GainMapNumbers& numbers, float sample, double headroom, int channel = 0)
{
    float rgb[] = {0.5f, 0.5f, 0.5f};
    const GainMapper mapper(numbers, {1, 1}, 1, {1, 1}, headroom);
    mapper.Apply(mapper.RowsFor(0), &sample, &sample, rgb);
    return rgb[channel];
}

TEST(GainMapper, FollowsTheFormula)
{
    GainMapNumbers numbers;
    numbers.channels.fill({-1.0, 3.0, 2.0, 0.25, 0.125});
    numbers.channels[2].max = 1.0;
    numbers.alternateHeadroom = 3.0;
    // The sample 0.25 is half way through gamma 2: 1 stop for red, 0 for blue.
    EXPECT_NEAR(0.75 * 2.0 - 0.125, LightOf(numbers, 0.25f, 3.0), 1e-6);
    EXPECT_NEAR(0.75 - 0.125, LightOf(numbers, 0.25f, 3.0, 2), 1e-6);
    EXPECT_NEAR(0.75 * 8.0 - 0.125, LightOf(numbers, 1.0f, 9.0), 1e-6);
    EXPECT_NEAR(0.75 * 0.5 - 0.125, LightOf(numbers, 0.0f, 3.0), 1e-6);
    // A third of the headroom takes a third of the stops; none leaves the base.
    EXPECT_NEAR(0.75 * std::exp2(1.0 / 3.0) - 0.125, LightOf(numbers, 0.25f, 1.0), 1e-6);
    EXPECT_EQ(0.5f, LightOf(numbers, 0.25f, 0.0));
    EXPECT_EQ(3.0, FullHeadroom(numbers));
}

TEST(GainMapper, SharesAHeadroom)
{
    GainMapNumbers numbers;
    numbers.curve = GainCurve::Proportional;
    numbers.alternateHeadroom = 2.0;
    EXPECT_NEAR(0.5 * 4.0, LightOf(numbers, 1.0f, 2.0), 1e-6);
    EXPECT_EQ(0.5f, LightOf(numbers, 0.0f, 2.0));
    // ITU-R BT.709: the signal 0.045 stands for a hundredth of the light, 0.40901 for 18 %.
    EXPECT_NEAR(0.5 * 1.03, LightOf(numbers, 0.045f, 2.0), 1e-6);
    EXPECT_NEAR(0.5 * (1.0 + 3.0 * 0.18), LightOf(numbers, 0.40901f, 2.0), 1e-4);
    EXPECT_NEAR(0.5 * 2.0, LightOf(numbers, 1.0f, 1.0), 1e-6);
    EXPECT_EQ(0.5f, LightOf(numbers, 1.0f, 0.0));
}

TEST(GainMapper, TakesGainsBackFromABrightBase)
{
    GainMapNumbers numbers;
    numbers.channels.fill({0.0, 2.0, 1.0, 0.0, 0.0});
    numbers.baseHeadroom = 4.0;
    numbers.alternateHeadroom = 1.0;
    EXPECT_EQ(4.0, FullHeadroom(numbers));
    EXPECT_EQ(0.5f, LightOf(numbers, 1.0f, 4.0));
    EXPECT_NEAR(0.5 / 4.0, LightOf(numbers, 1.0f, 0.0), 1e-7);
    EXPECT_NEAR(0.5 / 2.0, LightOf(numbers, 1.0f, 2.5), 1e-7);
    numbers.baseHeadroom = 1.0; // no way between the two
    EXPECT_EQ(0.5f, LightOf(numbers, 1.0f, 0.0));
}

TEST(GainMapper, InterpolatesBetweenPixelCentres)
{
    GainMapNumbers numbers;
    numbers.channels.fill({0.0, 8.0, 1.0, 0.0, 0.0});
    numbers.alternateHeadroom = 8.0;
    // Two samples over four columns lie at 1 and 3, pixel centres at 0.5, 1.5, 2.5, 3.5.
    const GainMapper mapper(numbers, {2, 2}, 3, {4, 6}, 8.0);
    const std::vector<float> upper = {0.0f, 0.5f, 0.0f, 1.0f, 0.5f, 0.0f};
    const std::vector<float> lower(6, 1.0f);
    std::vector<float> rgb(12, 1.0f);
    const GainMapper::Rows top = mapper.RowsFor(0);
    EXPECT_EQ(0, top.upper);
    EXPECT_EQ(0.0f, top.fraction);
    mapper.Apply(top, upper.data(), lower.data(), rgb.data());
    const double stops[] = {0.0, 2.0, 6.0, 8.0};
    for (std::size_t x = 0; x < 4; ++x) {
        EXPECT_NEAR(std::exp2(stops[x]), rgb[x * 3], 1e-3) << x;
        EXPECT_NEAR(16.0, rgb[x * 3 + 1], 1e-4) << x;
        EXPECT_EQ(1.0f, rgb[x * 3 + 2]) << x;
    }
    // Six rows over two samples: the third row lies a third of the way, the last at the border.
    EXPECT_NEAR(1.0 / 3.0, mapper.RowsFor(2).fraction, 1e-6);
    EXPECT_EQ(1, mapper.RowsFor(2).lower);
    EXPECT_EQ(1, mapper.RowsFor(5).upper);
    EXPECT_EQ(1, mapper.RowsFor(5).lower);
    std::fill(rgb.begin(), rgb.end(), 1.0f);
    mapper.Apply(mapper.RowsFor(2), upper.data(), lower.data(), rgb.data());
    EXPECT_NEAR(std::exp2(8.0 / 3.0), rgb[0], 1e-4);
}

} // namespace

} // namespace qva
