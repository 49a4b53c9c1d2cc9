#include "colour/range_choice.h"

#include "colour/transfer_functions.h"
#include "meanings.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

/// A grey picture of count pixels at light and sparks pixels at spark.
PictureStatistics Statistics(std::size_t count, float light, std::size_t sparks, float spark)
{
    std::vector<float> rgb(count * 3, light);
    rgb.insert(rgb.end(), sparks * 3, spark);
    PictureStatistics statistics;
    statistics.Add(rgb.data(), rgb.size() / 3);
    return statistics;
}

TEST(PictureStatistics, FindsPeakAndShares)
{
    const PictureStatistics statistics = Statistics(9990, 100.0f, 10, 5000.0f);
    EXPECT_EQ(5000.0, statistics.Peak());
    EXPECT_NEAR(100.0, statistics.Percentile(0.999), 0.8);
    EXPECT_EQ(5000.0, statistics.Percentile(0.9999));
    PictureStatistics flawed;
    const float rgb[] = {INFINITY, 0, 0, 1, -1, 2};
    flawed.Add(rgb, 2);
    EXPECT_EQ(2.0, flawed.Peak());
    EXPECT_EQ(1U, flawed.PixelsBelowZero());
    EXPECT_EQ(0.0, PictureStatistics().Percentile(0.5));
}

TEST(ChooseRange, TopIsWhatThePictureHolds)
{
    SourceOptions forced;
    forced.top = 4.0;
    const SourceOptions none;
    const struct {
        PictureStatistics statistics;
        const SourceOptions& options;
        double low;
        double high;
    } cases[] = {
        {Statistics(100000, 900.0f, 3, 1500.0f), none, 1500.0, 1500.0}, // not far above
        {Statistics(100000, 900.0f, 3, 4000.0f), none, 900.0, 907.3},   // sparks
        {Statistics(100000, 900.0f, 30, 4000.0f), none, 4000.0, 4000.0},
        {Statistics(100, 1e6f, 0, 0.0f), none, 10000.0, 10000.0},
        {Statistics(100, 0.0f, 0, 0.0f), none, lowestTop, lowestTop},
        {Statistics(100, 900.0f, 0, 0.0f), forced, 4.0, 4.0},
    };
    for (const auto& c : cases) {
        const RenderRange range =
            ChooseRange(samples::Light(203.0, bt709), c.statistics, c.options);
        EXPECT_LE(c.low, range.top);
        EXPECT_GE(c.high, range.top);
        EXPECT_EQ(gammaLinear, range.gammaType);
        EXPECT_FALSE(range.passThrough);
    }
}

TEST(ChooseRange, KnownCodesPassAndTheTopMovesTheLastCode)
{
    const PictureStatistics statistics = Statistics(100, 100.0f, 0, 0.0f);
    // SMPTE ST 2084: 100 cd/m² is the signal 0.50808, code 33297.
    RenderRange range = ChooseRange(samples::Codes(Transfer::Pq, 10000.0), statistics, {});
    EXPECT_TRUE(range.passThrough);
    EXPECT_EQ(gammaPq, range.gammaType);
    EXPECT_NEAR(33297, range.codeMax, 1);
    EXPECT_NEAR(100.0, range.top, 0.02);
    EXPECT_GE(range.top, 100.0);
    EXPECT_NEAR(range.top, CodeToLuminance(range, 65535), 1e-6);

    range = ChooseRange(samples::Codes(Transfer::Power, 400.0), statistics, {});
    EXPECT_EQ(gamma22, range.gammaType);
    EXPECT_NEAR(65535.0 * std::pow(0.25, 1 / 2.2), range.codeMax, 1.0);

    range = ChooseRange(samples::Codes(Transfer::Linear, 100.0), statistics, {});
    EXPECT_EQ(65535U, range.codeMax);
    EXPECT_EQ(100.0, range.top);
    EXPECT_NEAR(50.0, CodeToLuminance(range, 32768), 0.001);
}

TEST(ChooseRange, OtherCodesDoNotPass)
{
    const PictureStatistics statistics = Statistics(100, 100.0f, 0, 0.0f);
    Interpretation narrow = samples::Codes(Transfer::Pq, 10000.0);
    narrow.codeBlack = 4096.0;
    Interpretation otherPrimaries = samples::Codes(Transfer::Pq, 10000.0);
    otherPrimaries.primaries = bt709;
    Interpretation otherPower = samples::Codes(Transfer::Power, 400.0);
    otherPower.exponent = 2.4;
    for (const Interpretation& meaning :
         {narrow, otherPrimaries, otherPower, samples::Codes(Transfer::Hlg, 1000.0),
          samples::Codes(Transfer::Linear, 20000.0)})
    {
        EXPECT_FALSE(ChooseRange(meaning, statistics, {}).passThrough);
    }
}

} // namespace

} // namespace qva
