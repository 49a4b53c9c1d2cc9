#include "light/light_steps.h"

#include "colour/luminance.h"
#include "colour/scene_decoder.h"
#include "light/colour_fit.h"
#include "light/exposure_anchor.h"
#include "light/highlight_rims.h"
#include "light/negative_repair.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace qva {

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

using Row = std::vector<float>;

/// A dim room with a bright window: a range of 2^14.
Row Scene(double factor)
{
    Row rgb;
    for (int i = 0; i < 3000; ++i) {
        const double light = factor * std::exp2(14.0 * std::pow(i / 3000.0, 3.0));
        for (const double share : {1.2, 1.0, 0.7}) {
            rgb.push_back(static_cast<float>(light * share));
        }
    }
    return rgb;
}

PictureStatistics StatisticsOf(const Row& rgb)
{
    PictureStatistics statistics;
    statistics.Add(rgb.data(), rgb.size() / 3);
    return statistics;
}

Interpretation Unscaled()
{
    Interpretation meaning;
    meaning.primaries = bt2020;
    meaning.hasScale = false;
    return meaning;
}

/// The log-mean by its definition.
double LogMean(const Row& rgb, double factor)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
        sum += std::log(factor * static_cast<double>(LuminanceOf(&rgb[i])));
    }
    return std::exp(sum / static_cast<double>(rgb.size() / 3));
}

TEST(ExposureAnchor, HoldsOverSixOrdersOfMagnitude)
{
    for (double factor = 1e-4; factor < 1.5e4; factor *= 10.0) {
        SCOPED_TRACE(factor);
        const Row scene = Scene(factor);
        const double mean = LogMean(scene, 1.0);
        const double expected =
            std::clamp(mean, ExposureAnchor::darkest, ExposureAnchor::brightest);
        Interpretation meaning = Unscaled();
        PictureStatistics statistics = StatisticsOf(scene);
        const LightPlan plan = PlanLight({}, {}, meaning, statistics);
        EXPECT_NEAR(expected, LogMean(scene, std::exp2(plan.exposure)), 0.01 * expected);
        EXPECT_NEAR(expected, statistics.LogMeanLuminance(), 0.02 * expected);
        EXPECT_DOUBLE_EQ(defaultWhite * std::exp2(plan.exposure), meaning.signalOneLuminance);
        EXPECT_EQ(mean != expected, plan.exposureIsChosen);
    }
}

// Black borders and dead pixels say nothing about the light; a night sky of noise does not become
// day through pixels far below anything that can be seen.
TEST(ExposureAnchor, IsNotMovedByBlackOrByNextToNothing)
{
    Row scene = Scene(1e-3);
    const double stops = ExposureAnchor()(StatisticsOf(scene));
    scene.insert(scene.end(), 6000, 0.0f);
    scene.insert(scene.end(), 30, -1.0f);
    scene.insert(scene.end(), 3, infinity);
    EXPECT_EQ(stops, ExposureAnchor()(StatisticsOf(scene)));
    scene.insert(scene.end(), 90, 1e-30f); // 30 pixels of 3000: a hundred stops below
    EXPECT_NEAR(stops, ExposureAnchor()(StatisticsOf(scene)), 0.5);
    EXPECT_EQ(0.0, ExposureAnchor()(StatisticsOf(Row(30, 0.0f))));
}

TEST(PlanLight, ExposesOnlyWhereNothingStatesTheScale)
{
    const Row dark = Scene(1e-5);
    LightOptions none;
    none.choosesExposure = false;
    LightOptions asked;
    asked.exposure = -1.5;
    Interpretation stated = Unscaled();
    stated.hasScale = true;
    Interpretation pq = stated;
    pq.transfer = Transfer::Pq;
    const auto exposure = [&dark](const LightOptions& options, Interpretation meaning) {
        PictureStatistics statistics = StatisticsOf(dark);
        return PlanLight(options, {}, meaning, statistics).exposure;
    };
    EXPECT_GT(exposure({}, Unscaled()), 5.0);
    EXPECT_EQ(0.0, exposure(none, Unscaled()));
    EXPECT_EQ(0.0, exposure({}, stated));
    EXPECT_EQ(0.0, exposure({}, pq));
    EXPECT_EQ(-1.5, exposure(asked, stated));
    EXPECT_ANY_THROW(exposure(asked, pq));
}

TEST(PlanLight, BendsToTheTopThatIsAskedForUnlessCodesPass)
{
    const Row bright(30, 5000.0f);
    const auto end = [&bright](std::optional<double> top, Interpretation meaning) {
        PictureStatistics statistics = StatisticsOf(bright);
        const LightPlan plan = PlanLight({}, top, meaning, statistics);
        return std::pair(plan.shoulderEnd > 0.0, plan.shoulderTop);
    };
    Interpretation scaled = Unscaled();
    scaled.hasScale = true;
    EXPECT_EQ(std::pair(false, 10000.0), end({}, scaled));
    EXPECT_EQ(std::pair(true, 3000.0), end(3000.0, scaled));
    Interpretation pq = scaled;
    pq.transfer = Transfer::Pq;
    pq.isInteger = true;
    pq.codeWhite = 65535.0;
    pq.signalOneLuminance = 10000.0;
    EXPECT_FALSE(end(3000.0, pq).first);
}

TEST(PlanLight, WritesAnExposureAsExactAsItIs)
{
    for (const auto& [stops, text] :
         {std::pair(1.5, "+1.50 EV"), {-0.001, "-0.001 EV"}, {0.0, "none"}, {-12.34, "-12.34 EV"}})
    {
        LightPlan plan;
        plan.exposure = stops;
        EXPECT_EQ(text, ExposureText(plan));
    }
}

TEST(HighlightShoulder, IsSmoothRisesAndKeepsTheColour)
{
    for (const auto& [end, top] : {std::pair(10500.0, 10000.0),
                                   {40000.0, 10000.0},
                                   {2.6e5, 10000.0},
                                   {4e7, 10000.0},
                                   {2.6e5, 3000.0}})
    {
        SCOPED_TRACE(testing::Message() << end << " to " << top);
        const HighlightShoulder shoulder(end, top);
        double last = 0.0;
        double lastSlope = 1.0;
        for (double light = 500.0; light < end; light *= 1.01) {
            Row pixel = {static_cast<float>(0.3 * light), static_cast<float>(light),
                         static_cast<float>(0.01 * light)};
            const Row before = pixel;
            shoulder(pixel.data(), 1);
            if (light < top / 5.0) {
                ASSERT_EQ(before, pixel);
            }
            ASSERT_NEAR(0.3, pixel[0] / pixel[1], 1e-6);
            ASSERT_NEAR(0.01, pixel[2] / pixel[1], 1e-7);
            ASSERT_GT(pixel[1], last);
            if (last > 0.0) { // on logarithmic axes
                const double slope = std::log(pixel[1] / last) / std::log(1.01);
                ASSERT_LT(slope, lastSlope + 1e-3);
                ASSERT_GT(slope, lastSlope - 0.03);
                lastSlope = slope;
            }
            last = pixel[1];
        }
        Row ends = {static_cast<float>(end), 0, 0, static_cast<float>(end * 50.0), 1, 1};
        shoulder(ends.data(), 2);
        EXPECT_NEAR(top, ends[0], 1.0);
        EXPECT_NEAR(top, ends[3], 1.0);
    }
}

TEST(ColourFit, KeepsLuminanceAndTheLineToGrey)
{
    const Row pixel = {90.0f, 60.0f, -20.0f};
    Row fitted = pixel;
    ColourFit()(fitted.data(), 1);
    const float grey = LuminanceOf(pixel.data());
    EXPECT_NEAR(grey, LuminanceOf(fitted.data()), 1e-4);
    EXPECT_NEAR(0.0, fitted[2], 1e-5);
    EXPECT_NEAR((pixel[0] - grey) / (pixel[1] - grey), (fitted[0] - grey) / (fitted[1] - grey),
                1e-3);
}

// What has next to no light, or less than none, has no colour that could be kept: a shadow would
// turn to black dots where one of its channels carries what there is.
TEST(ColourFit, CutsWhatHasNextToNoLight)
{
    Row errors = {-5.0f, 1.0f, 0.5f, 0.6f, -0.2f, 0.4f, 2.0f, -0.6f, -0.3f};
    ColourFit()(errors.data(), 3);
    EXPECT_EQ((Row{0, 1.0f, 0.5f, 0.6f, 0, 0.4f, 2.0f, 0, 0}), errors);
    float last = 0.5f; // of red, on the way to a colour
    for (float green = -0.25f; green < 0.1f; green += 0.002f) {
        Row pixel = {0.5f, green, -0.1f};
        ColourFit()(pixel.data(), 1);
        EXPECT_NEAR(last, pixel[0], 0.02f);
        EXPECT_GE(std::min(pixel[1], pixel[2]), 0.0f);
        last = pixel[0];
    }
    EXPECT_LT(last, 0.45f);
}

// A candle's flame becomes white, glass before the sky stays coloured.
TEST(HighlightRims, TakesFarTooBrightLightToWhite)
{
    const struct {
        Row pixel;
        float share; ///< of the way to grey
    } cases[] = {
        {{9000, 29000, 26000}, 0.0f},   // turquoise glass
        {{54772, 33000, 2000}, 0.5f},   // half way from 30000 to 100000 on a logarithmic axis
        {{100000, 40000, 1000}, 1.0f},  // a flame
        {{3e6f, 2.8e6f, 2.5e6f}, 1.0f}, // the sun
    };
    for (const auto& c : cases) {
        Row mixed = c.pixel;
        HighlightRims()(mixed.data(), 1);
        const float grey = LuminanceOf(c.pixel.data());
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(c.pixel[k] + c.share * (grey - c.pixel[k]), mixed[k], 0.002f * grey);
        }
    }
}

/// A made picture with pixels of one grey each, or of one colour.
struct Picture {
    std::int64_t width;
    Row rgb;

    Picture(std::int64_t columns, std::int64_t rows, float grey)
        : width(columns), rgb(static_cast<std::size_t>(columns * rows * 3), grey)
    {
    }
    float* At(std::int64_t x, std::int64_t y) { return rgb.data() + (y * width + x) * 3; }
    void Set(std::int64_t x, std::int64_t y, float grey) { std::fill_n(At(x, y), 3, grey); }
    Picture Turned() const
    {
        const auto height = static_cast<std::int64_t>(rgb.size()) / 3 / width;
        Picture turned(height, width, 0.0f);
        for (std::int64_t y = 0; y < height; ++y) {
            for (std::int64_t x = 0; x < width; ++x) {
                std::copy_n(rgb.data() + (y * width + x) * 3, 3, turned.At(y, x));
            }
        }
        return turned;
    }
    Picture Repaired() const
    {
        Picture repaired = *this;
        const auto height = static_cast<std::int64_t>(rgb.size()) / 3 / width;
        for (std::int64_t y = 0; y < height; ++y) {
            NegativeRepair()({rgb.data(), width, height}, y, repaired.At(0, y));
        }
        return repaired;
    }
};

// A lamp of 7000 cd/m² with undershoot around it, two pixels wide below.
TEST(NegativeRepair, FillsRingsAroundBrightLightFromTheirDarkSide)
{
    Picture picture(9, 9, 30.0f);
    for (const auto& [x, y] : {std::pair(4, 3), {3, 4}, {5, 4}, {4, 5}, {4, 6}, {3, 3}}) {
        picture.Set(x, y, -400.0f);
    }
    picture.Set(4, 4, 7000.0f);
    picture.Set(2, 3, 20.0f);
    std::copy_n(Row{60.0f, 1.0f, -5.0f}.data(), 3, picture.At(3, 7)); // dark, and no colour
    Picture expected = picture;
    for (const auto& [x, y] : {std::pair(4, 3), {5, 4}, {4, 5}, {4, 6}}) {
        expected.Set(x, y, 30.0f);
    }
    expected.Set(3, 3, 20.0f);
    expected.Set(3, 4, 20.0f);
    EXPECT_EQ(expected.rgb, picture.Repaired().rgb);
    EXPECT_EQ(expected.Turned().rgb, picture.Turned().Repaired().rgb);
}

// Errors of a shadow: below 0 over an area, in front of something lit, but beside nothing that
// could have rung so deep.
TEST(NegativeRepair, LeavesWhatIsNoUndershoot)
{
    const struct {
        const char* what;
        float lit;
        float depth;
    } cases[] = {{"nothing bright", 150.0f, 1.0f}, {"too deep", 1000.0f, 201.0f}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Picture picture(9, 5, -c.depth);
        for (std::int64_t y = 0; y < 5; ++y) {
            picture.Set(0, y, c.lit);
            picture.Set(8, y, 1.0f);
        }
        EXPECT_EQ(picture.rgb, picture.Repaired().rgb);
    }
    Picture wide(12, 1, -1.0f);
    wide.Set(0, 0, 500.0f);
    wide.Set(1, 0, 20.0f);
    Picture expected = wide; // only as far as a resampler reaches
    expected.Set(2, 0, 20.0f);
    expected.Set(3, 0, 20.0f);
    EXPECT_EQ(expected.rgb, wide.Repaired().rgb);
    Picture colour(2, 1, 5000.0f);
    std::copy_n(Row{-1, 3, 0}.data(), 3, colour.At(0, 0)); // negative in one channel only
    EXPECT_EQ(colour.rgb, colour.Repaired().rgb);
    Picture none(2, 1, -1.0f);
    EXPECT_EQ(none.rgb, none.Repaired().rgb);
}

TEST(LightSteps, LeaveGreyGreyAndWithoutAPlanEverything)
{
    LightPlan all;
    all.repairs = all.fitsColour = all.mixesRims = true;
    all.shoulderEnd = 1e6;
    Row greys;
    for (double light = 1e-3; light < 2e6; light *= 1.7) {
        greys.insert(greys.end(), 3, static_cast<float>(light));
    }
    const LightSteps steps(all);
    steps(greys.data(), greys.size() / 3);
    for (std::size_t i = 0; i < greys.size(); i += 3) {
        EXPECT_NEAR(greys[i], greys[i + 1], 1e-6 * greys[i]);
        EXPECT_NEAR(greys[i], greys[i + 2], 1e-6 * greys[i]);
    }
    Row wild = {-5, 1, 0.5f, 90, 60, -20, infinity, 2, 1, 4e5f, 3e5f, 3e5f};
    const Row before = wild;
    LightSteps({})(wild.data(), 4);
    EXPECT_EQ(before, wild);
    steps(wild.data(), 4);
    EXPECT_EQ(infinity, wild[6]);
    EXPECT_EQ(2.0f, wild[7]);
}

} // namespace

} // namespace qva
