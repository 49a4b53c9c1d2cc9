#include "colour/scene_decoder.h"

#include "colour/icc_builder.h"
#include "colour/transfer_functions.h"
#include "meanings.h"

#include <Imath/half.h>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace qva {

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

Interpretation Codes(Transfer transfer, const Chromaticities& primaries)
{
    return samples::Codes(transfer,
                          transfer == Transfer::Pq    ? 10000.0
                          : transfer == Transfer::Hlg ? hlgPeak
                                                      : 100.0,
                          primaries);
}

std::vector<float> Decode(const Interpretation& meaning, std::vector<float> rgb)
{
    SampleCounts counts;
    SceneDecoder(meaning, "photo").Decode(rgb.data(), rgb.size() / 3, counts);
    return rgb;
}

void ExpectNear(const std::vector<double>& expected, const std::vector<float>& actual,
                double relative)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(expected[i], actual[i], std::abs(expected[i]) * relative + 1e-4) << i;
    }
}

// ITU-R BT.2408-7, table 1 and annex 4: signal levels of PQ and HLG (peak 1000 cd/m²) in percent,
// given to whole percents; SMPTE ST 2084: 100 cd/m² is the signal 0.508, 1000 is 0.752.
TEST(SceneDecoder, FollowsTheStandardsCurves)
{
    const struct {
        Transfer transfer;
        double signal;
        double luminance;
        double relative;
    } cases[] = {
        {Transfer::Pq, 0.508, 100.0, 0.005},  {Transfer::Pq, 0.752, 1000.0, 0.005},
        {Transfer::Pq, 1.0, 10000.0, 1e-6},   {Transfer::Pq, 0.0, 0.0, 0.0},
        {Transfer::Pq, 0.58, 203.0, 0.01},    {Transfer::Hlg, 0.75, 203.0, 0.001},
        {Transfer::Hlg, 1.0, 1000.0, 1e-4},   {Transfer::Hlg, 0.38, 26.0, 0.02},
        {Transfer::Srgb, 0.5, 21.404, 0.001}, {Transfer::Linear, 0.25, 25.0, 0.001},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.signal);
        const auto code = static_cast<float>(std::round(c.signal * 65535.0));
        ExpectNear({c.luminance, c.luminance, c.luminance},
                   Decode(Codes(c.transfer, bt2020), {code, code, code}), c.relative);
    }
}

TEST(SceneDecoder, PqRoundTripAndItsStretchedRange)
{
    for (const double luminance : {0.0, 0.005, 1.0, 203.0, 9999.0}) {
        EXPECT_NEAR(luminance, PqToLuminance(LuminanceToPq(luminance)), luminance * 1e-9 + 1e-9);
    }
    Interpretation meaning = Codes(Transfer::Pq, bt2020);
    meaning.signalZeroLuminance = 0.01;
    meaning.signalOneLuminance = 1000.0;
    const std::vector<float> ends = Decode(meaning, {0, 65535, 0});
    ExpectNear({0.01, 1000.0}, ends, 1e-5);
    EXPECT_NEAR(0.25, LuminanceToSignal(meaning, SignalToLuminance(meaning, 0.25)), 1e-9);
}

// ITU-R BT.2087-0, 3.1: the matrix from BT.709 to BT.2020 to four decimals.
TEST(SceneDecoder, ConvertsPrimaries)
{
    const Interpretation meaning = Codes(Transfer::Linear, bt709);
    ExpectNear({62.74, 6.91, 1.64}, Decode(meaning, {65535, 0, 0}), 0.004);
    ExpectNear({32.93, 91.95, 8.80}, Decode(meaning, {0, 65535, 0}), 0.004);
    ExpectNear({4.33, 1.14, 89.56}, Decode(meaning, {0, 0, 65535}), 0.004);
    // Another white stays white.
    ExpectNear({100, 100, 100},
               Decode(Codes(Transfer::Linear, *FindPrimaries("aces")), {65535, 65535, 65535}),
               1e-4);
}

TEST(SceneDecoder, HlgDisplayKeepsTheRatiosOfLight)
{
    const std::vector<float> out = Decode(Codes(Transfer::Hlg, bt2020), {65535, 32768, 0});
    // Scene light 1 and 1/12 of the primaries; Ys = 0.2627 + 0.6780 / 12 (BT.2100-2, table 5).
    const double gain = 1000.0 * std::pow(0.2627 + 0.6780 / 12.0, 0.2);
    ExpectNear({gain, gain / 12.0, 0.0}, out, 2e-4);
}

// ITU-R BT.2100-2, note 5f; its extension in ITU-R BT.2390.
TEST(SceneDecoder, HlgFollowsThePeakOfItsDisplayAndItsPrimaries)
{
    const struct {
        double peak;
        double gamma;
    } cases[] = {{1000.0, 1.2}, {2000.0, 1.326}, {400.0, 1.033}, {4000.0, 1.481}, {100.0, 0.846}};
    for (const auto& c : cases) {
        EXPECT_NEAR(c.gamma, HlgSystemGamma(c.peak), 0.0005) << c.peak;
        Interpretation meaning = Codes(Transfer::Hlg, bt2020);
        meaning.signalOneLuminance = c.peak;
        // Grey of the scene light 1/12.
        const double grey = c.peak * std::pow(1.0 / 12.0, c.gamma);
        ExpectNear({c.peak, c.peak, c.peak}, Decode(meaning, {65535, 65535, 65535}), 1e-6);
        ExpectNear({grey, grey, grey}, Decode(meaning, {32768, 32768, 32768}), 2e-3);
    }
    // Full green of BT.709 has the luminance 0.7152 (BT.709-6), whatever its place in BT.2020.
    const std::vector<float> green = Decode(Codes(Transfer::Hlg, bt709), {0, 65535, 0});
    EXPECT_NEAR(1000.0 * std::pow(0.7152, 1.2),
                0.2627 * green[0] + 0.6780 * green[1] + 0.0593 * green[2], 0.2);
}

// A matrix profile and the same primaries and power without the colour engine.
TEST(SceneDecoder, ReadsIccProfiles)
{
    Interpretation plain = Codes(Transfer::Power, *FindPrimaries("adobe-rgb"));
    Interpretation profile = Codes(Transfer::Profile, bt709);
    profile.profile = BuildRgbProfile(plain.primaries, 2.2, "test");
    const std::vector<float> samples = {65535, 65535, 65535, 50000, 20000, 40000, 9000, 60000, 100};
    const std::vector<float> expected = Decode(plain, samples);
    ExpectNear({expected.begin(), expected.end()}, Decode(profile, samples), 0.002);
}

TEST(SceneDecoder, BringsFlawsIntoRangeAndCountsThem)
{
    const Interpretation meaning = samples::Light(100.0, bt709);
    std::vector<float> rgb = {NAN, 1, 1, infinity, 0, 0, -infinity, 0, 0, -0.5f, 1, 1, -0.0f, 0, 0};
    SampleCounts counts;
    SceneDecoder(meaning, "photo").Decode(rgb.data(), 5, counts);
    EXPECT_EQ(1U, counts.notANumber);
    EXPECT_EQ(2U, counts.infinite);
    EXPECT_EQ(1U, counts.negative);
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        EXPECT_TRUE(i == 3 ? rgb[i] == infinity : std::isfinite(rgb[i])) << i;
    }
    ExpectNear({37.26, 93.09, 98.36}, rgb, 0.001);
}

// Samples of 16 bits become what the floats that they stand for become, bit for bit.
TEST(SceneDecoder, MakesTheSameOfSamplesAsOfFloats)
{
    std::vector<std::uint16_t> samples(65536 * 3);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<std::uint16_t>(i * 40503);
    }
    for (const bool isInteger : {true, false}) {
        for (const Transfer transfer :
             {Transfer::Linear, Transfer::Power, Transfer::Srgb, Transfer::Pq, Transfer::Hlg})
        {
            for (const Chromaticities& primaries : {bt2020, bt709}) {
                SCOPED_TRACE(static_cast<int>(transfer));
                Interpretation meaning = Codes(transfer, primaries);
                meaning.isInteger = isInteger;
                meaning.codeWhite = isInteger ? 65535.0 : 1.0;
                const SampleKind kind = isInteger ? SampleKind::Codes : SampleKind::Halves;
                const SceneDecoder decoder(meaning, "photo", kind);
                ASSERT_TRUE(decoder.Takes(kind));
                std::vector<float> expected(samples.size());
                for (std::size_t i = 0; i < samples.size(); ++i) {
                    expected[i] = isInteger ? samples[i] : imath_half_to_float(samples[i]);
                }
                SampleCounts before;
                SampleCounts after;
                decoder.Decode(expected.data(), 65536, before);
                std::vector<float> got(samples.size());
                decoder.DecodeSamples(samples.data(), got.data(), 65536, after);
                EXPECT_EQ(0, std::memcmp(expected.data(), got.data(), got.size() * sizeof(float)));
                EXPECT_EQ(before.notANumber, after.notANumber);
                EXPECT_EQ(before.infinite, after.infinite);
                EXPECT_EQ(before.negative, after.negative);
                EXPECT_EQ(isInteger ? 0U : 3U * 2 * 1023, after.notANumber);
            }
        }
    }
}

} // namespace

} // namespace qva
