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
        const LightPlan plan = PlanLight({}, meaning, statistics);
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
        return PlanLight(options, meaning, statistics).exposure;
    };
    EXPECT_GT(exposure({}, Unscaled()), 5.0);
    EXPECT_EQ(0.0, exposure(none, Unscaled()));
    EXPECT_EQ(0.0, exposure({}, stated));
    EXPECT_EQ(0.0, exposure({}, pq));
    EXPECT_EQ(-1.5, exposure(asked, stated));
    EXPECT_ANY_THROW(exposure(asked, pq));
}

TEST(HighlightShoulder, IsSmoothRisesAndKeepsTheColour)
{
    for (const double end : {10500.0, 40000.0, 2.6e5, 4e7}) {
        SCOPED_TRACE(end);
        const HighlightShoulder shoulder(end);
        double last = 0.0;
        double lastSlope = 1.0;
        for (double light = 500.0; light < end; light *= 1.01) {
            Row pixel = {static_cast<float>(0.3 * light), static_cast<float>(light),
                         static_cast<float>(0.01 * light)};
            const Row before = pixel;
            shoulder(pixel.data(), 1);
            if (light < HighlightShoulder::knee) {
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
        EXPECT_NEAR(HighlightShoulder::top, ends[0], 1.0);
        EXPECT_NEAR(HighlightShoulder::top, ends[3], 1.0);
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
    Row darker = {-5.0f, 1.0f, 0.5f};
    ColourFit()(darker.data(), 1);
    EXPECT_EQ(Row(3, 0.0f), darker);
}

TEST(HighlightRims, TakesOnlyWhatIsBrightAndNearlyWhite)
{
    const struct {
        Row pixel;
        float share; ///< of the way to grey
    } cases[] = {
        {{1000, 1490, 1100}, 0.0f},    // not bright
        {{20000, 9000, 500}, 0.0f},    // a red light
        {{9000, 8500, 6000}, 1.0f},    // bright and nearly white
        {{3464.1f, 3300, 2300}, 0.5f}, // half way from 1500 to 8000 on a logarithmic axis
        {{9000, 7000, 4365}, 0.5f},    // half way from 0.35 to 0.62
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

TEST(NegativeRepair, FillsRunsFromTheirDarkerEnd)
{
    const auto greys = [](const Row& lights) {
        Row rgb;
        for (const float light : lights) {
            rgb.insert(rgb.end(), 3, light);
        }
        return rgb;
    };
    const struct {
        Row lights;
        Row repaired;
    } cases[] = {{{20, -400, 7000, -3, -1, 25, 0}, {20, 20, 7000, 25, 25, 25, 0}},
                 {{-1, -2, 9}, {9, 9, 9}},
                 {{9, -2}, {9, 9}},
                 {{-1, -2}, {-1, -2}},
                 {{0, -1, 5}, {0, 0, 5}}};
    for (const auto& c : cases) {
        Row row = greys(c.lights);
        NegativeRepair()(row.data(), c.lights.size());
        EXPECT_EQ(greys(c.repaired), row);
    }
    Row colour = {-1, 3, 0, 5, 5, 5}; // negative in one channel only
    const Row before = colour;
    NegativeRepair()(colour.data(), 2);
    EXPECT_EQ(before, colour);
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
