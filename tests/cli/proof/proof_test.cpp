// A proof from codes to figures and pictures, over a printer that is known by hand.
#include "base/workers.h"
#include "picture/box_reducer.h"
#include "printer_sample.h"
#include "proof/proof_run.h"
#include "proof/proof_table.h"
#include "proof/view_pictures.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace qva {

namespace {

DeviceProfile Sample(bool isCmyk)
{
    return samples::DeviceSample({.isCmyk = isCmyk, .whiteY = 0.8});
}

std::vector<std::uint16_t> RandomCodes(std::size_t count)
{
    std::mt19937 random(7);
    std::vector<std::uint16_t> codes(count);
    for (std::uint16_t& code : codes) {
        code = static_cast<std::uint16_t>(random());
    }
    return codes;
}

// A saturated green of BT.2020 is out of the sample's reach, a middle grey is not.
TEST(ProofTable, TellsAskedFromPrinted)
{
    const DeviceProfile device = Sample(true);
    const std::uint16_t codes[6] = {0, 60000, 0, 30000, 30000, 30000};
    float values[2 * proof::count];
    ProofValues(device, ViewerSpace::Srgb(), PaperWhite::Shown, codes, 2, values);
    const PrintedColour green = PrintedColourOf(device, codes);
    EXPECT_NEAR(green.deltaE, values[proof::deltaE], 1e-3);
    EXPECT_LT(10.0, green.deltaE);
    // The three parts are the distance in Lab.
    const auto square = [](double x) { return x * x; };
    EXPECT_NEAR(square(green.asked[0] - green.printed[0]) +
                    square(green.asked[1] - green.printed[1]) +
                    square(green.asked[2] - green.printed[2]),
                square(values[proof::lightness]) + square(values[proof::chroma]) +
                    square(values[proof::hue]),
                1.0);
    EXPECT_GT(0.0f, values[proof::chroma]);
    // The sample has no black ink: three inks of a grey are as much as light is missing.
    const float* grey = values + proof::count;
    const float light = (grey[proof::lightness] + 0.0f);
    EXPECT_LT(std::fabs(light), 8.0f);
    EXPECT_NEAR(0.0f, grey[proof::hue], 0.5f);
    EXPECT_LT(0.0f, grey[proof::ink]);
    EXPECT_GT(300.0f, grey[proof::ink]);
}

TEST(ProofTable, AgreesWithItsFunction)
{
    const DeviceProfile device = Sample(false);
    const ViewerSpace viewer = ViewerSpace::Srgb();
    const ColourTable table = MakeProofTable(device, viewer, PaperWhite::Shown);
    const std::vector<std::uint16_t> codes = RandomCodes(6000);
    std::vector<float> direct(2000 * proof::count);
    std::vector<float> looked(2000 * table.Stride());
    ProofValues(device, viewer, PaperWhite::Shown, codes.data(), 2000, direct.data());
    table.Convert(codes.data(), 2000, looked.data());
    double sum = 0.0;
    for (std::size_t i = 0; i < direct.size(); ++i) {
        if (i % proof::count < 3) {
            sum += std::fabs(std::clamp(direct[i], 0.0f, 1.0f) - std::clamp(looked[i], 0.0f, 1.0f));
        }
    }
    EXPECT_GT(0.5 / 255.0, sum / 6000.0);
}

/// Rows whose ΔE is the column and whose ink is 300 at one place.
ProofFigures Gathered(const std::vector<std::int64_t>& rows)
{
    ProofFigures figures({64, 64}, 250.0);
    for (const std::int64_t y : rows) {
        std::vector<std::uint16_t> codes(64 * 3, static_cast<std::uint16_t>(y));
        std::vector<float> values(64 * proof::count);
        for (std::size_t x = 0; x < 64; ++x) {
            float* at = values.data() + x * proof::count;
            at[proof::deltaE] = static_cast<float>(x) * 0.25f;
            at[proof::lightness] = x % 2 == 0 ? 1.0f : -2.0f;
            at[proof::ink] = x == 9 && (y == 5 || y == 40) ? 300.0f : 100.0f;
            at[proof::rgb] = x < 16 ? 1.1f : 1.001f;
        }
        figures.AddRow(codes.data(), values.data(), y);
    }
    return figures;
}

TEST(ProofFigures, CountsAndFindsPlaces)
{
    std::vector<std::int64_t> rows(64);
    std::iota(rows.begin(), rows.end(), 0);
    const ProofFigures figures = Gathered(rows);
    EXPECT_EQ(64u * 64u, figures.Pixels());
    // Above 1 lie the columns from 5 on, above 2 those from 9 on, ... above 10 those from 41 on.
    const double expected[] = {59.0, 55.0, 51.0, 43.0, 23.0};
    for (std::size_t step = 0; step < deltaESteps.size(); ++step) {
        EXPECT_NEAR(expected[step] / 0.64, figures.PercentAbove(step), 1e-9);
    }
    EXPECT_NEAR(63.0 * 0.125, figures.MeanDeltaE(), 1e-9);
    EXPECT_NEAR(7.75, figures.DeltaEAt(0.5), 0.0501);
    EXPECT_NEAR(-0.5, figures.MeanOf(figures.Lightness().sum), 1e-9);
    EXPECT_NEAR(1.5, figures.MeanOf(figures.Lightness().absoluteSum), 1e-9);
    EXPECT_EQ(2.0f, figures.Lightness().greatest);
    EXPECT_NEAR(25.0, figures.PercentOutsideViewer(), 1e-9);
    EXPECT_NEAR(200.0 / 4096.0, figures.PercentAboveInkLimit(), 1e-9);
    EXPECT_EQ(9, figures.MostInk().x);
    EXPECT_EQ(5, figures.MostInk().y);
    const std::vector<Place> worst = figures.WorstPlaces(3);
    ASSERT_EQ(3u, worst.size());
    for (std::size_t i = 0; i < 3; ++i) {
        // Two cells of two pixels apart, the first row first.
        EXPECT_EQ(63, worst[i].x);
        EXPECT_EQ(static_cast<std::int64_t>(i) * 4, worst[i].y);
        EXPECT_EQ(worst[i].y, worst[i].codes[1]);
    }
}

// Threads finish in any order.
TEST(ProofFigures, MergeInAnyOrder)
{
    ProofFigures first = Gathered({40, 1, 2});
    ProofFigures second = Gathered({5, 3});
    ProofFigures forward = first;
    forward.Merge(second);
    second.Merge(first);
    for (const ProofFigures& figures : {forward, second}) {
        EXPECT_EQ(5u * 64u, figures.Pixels());
        EXPECT_EQ(5, figures.MostInk().y);
        EXPECT_EQ(1, figures.WorstPlaces(1)[0].y);
        EXPECT_EQ(forward.MeanDeltaE(), figures.MeanDeltaE());
    }
}

struct Shown {
    std::vector<float> rows;
    double mean;
};

Shown Proofed(const ColourTable& table, const ProofSizes& sizes,
              const std::vector<std::uint16_t>& codes, int threads)
{
    const int before = Workers();
    SetWorkers(threads);
    Shown shown{};
    Progress progress(ProgressStyle::None);
    const std::uint16_t* next = codes.data();
    const auto read = [&](std::int64_t count, std::uint16_t* out) {
        next = std::copy_n(next, count * sizes.page.width * 3, out) - out + next;
    };
    const auto show = [&](const float* row) {
        shown.rows.insert(shown.rows.end(), row, row + sizes.view.width * 5);
    };
    shown.mean = RunProof(table, sizes, 300.0, read, show, progress).MeanDeltaE();
    SetWorkers(before);
    return shown;
}

TEST(RunProof, IsTheSameForEveryNumberOfThreads)
{
    const DeviceProfile device = Sample(true);
    const ColourTable table = MakeProofTable(device, ViewerSpace::Srgb(), PaperWhite::Shown);
    const std::vector<std::uint16_t> codes = RandomCodes(301 * 211 * 3);
    for (const ImageSize view : {ImageSize{301, 211}, ImageSize{100, 70}}) {
        const Shown one = Proofed(table, {{301, 211}, view}, codes, 1);
        const Shown five = Proofed(table, {{301, 211}, view}, codes, 5);
        EXPECT_EQ(one.rows, five.rows);
        EXPECT_EQ(one.mean, five.mean);
        EXPECT_EQ(static_cast<std::size_t>(view.width * view.height * 5), one.rows.size());
    }
}

// A half of white and a half of black is grey in light: the signal 0.5 ^ (1 / 2.2).
TEST(RunProof, TakesMeansOfLight)
{
    const auto signals = [](const std::uint16_t* codes, std::size_t count, float* values) {
        for (std::size_t i = 0; i < count * proof::count; ++i) {
            values[i] = static_cast<float>(codes[i / proof::count * 3]) / 65535.0f;
        }
    };
    const ColourTable table(3, static_cast<int>(proof::count), signals);
    std::vector<std::uint16_t> codes(4 * 4 * 3);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = i / 3 % 2 == 0 ? 65535 : 0;
    }
    const Shown shown = Proofed(table, {{4, 4}, {2, 2}}, codes, 1);
    EXPECT_NEAR(std::pow(0.5, 1 / 2.2), shown.rows[view::rgb], 1e-4);
    EXPECT_NEAR(0.5f, shown.rows[view::deltaE], 1e-5f);
}

TEST(BoxReducer, SharesEveryRow)
{
    std::vector<float> rows;
    BoxReducer reducer({3, 3}, {2, 2}, 1,
                       [&rows](const float* row) { rows.insert(rows.end(), row, row + 2); });
    std::vector<float> reduced(2);
    for (const std::vector<float>& row : {std::vector<float>{9, 0, 0}, {0, 9, 0}, {0, 0, 18}}) {
        reducer.ReduceColumns(row.data(), reduced.data());
        reducer.Add(reduced.data());
    }
    // Each target has 9/4 of a sample: (9 + 9/4) / (9/4), (9/4) / (9/4) ...
    const std::vector<float> expected = {5.0f, 1.0f, 1.0f, 9.0f};
    ASSERT_EQ(4u, rows.size());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(expected[i], rows[i], 1e-5f);
    }
}

// On a step a pixel still belongs to what lies below it.
TEST(ViewPictures, ColourTheSteps)
{
    const float deltas[] = {0.0f, 1.0f, 1.01f, 2.5f, 5.0f, 7.0f, 10.5f};
    const int steps[] = {-1, -1, 0, 1, 2, 3, 4};
    for (std::size_t i = 0; i < 7; ++i) {
        const float pixel[view::count] = {0.5f, 0.5f, 0.5f, deltas[i], 200.0f};
        unsigned char rgb[3];
        GamutRow(pixel, 1, rgb);
        if (steps[i] < 0) {
            EXPECT_EQ(rgb[0], rgb[2]) << deltas[i];
            continue;
        }
        const Rgb8& colour = stepColours[static_cast<std::size_t>(steps[i])];
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(colour[k] * 0.75 + 255 * 0.675 * 0.25, rgb[k], 1.0) << deltas[i];
        }
        InkRow(pixel, 1, 199.0, rgb);
        EXPECT_EQ(overLimitColour[0], rgb[0]);
        InkRow(pixel, 1, 200.0, rgb);
        EXPECT_EQ(fullInkColour[0], rgb[0]);
    }
}

} // namespace

} // namespace qva
