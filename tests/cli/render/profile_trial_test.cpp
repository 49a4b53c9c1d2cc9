#include "render/profile_trial.h"

#include "colour/icc_builder.h"
#include "mutations.h"
#include "printer_sample.h"
#include "samples.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace qva {

namespace {

PrinterProfile Profile(const std::string& bytes, bool isPrinter = true)
{
    PrinterProfile profile;
    profile.bytes.assign(bytes.begin(), bytes.end());
    profile.isPrinter = isPrinter;
    return profile;
}

/// What a picture of its own becomes.
std::vector<std::uint16_t> Rendered(const PrinterProfile& profile, RenderSettings settings,
                                    bool preview)
{
    settings.preview = preview;
    Page page{{24, 20}, std::make_unique<std::uint16_t[]>(24 * 20 * 3)};
    for (std::size_t i = 0; i < 24 * 20 * 3; ++i) {
        page.codes[i] = static_cast<std::uint16_t>(i * 41 % 60000);
    }
    RenderRange range;
    range.top = 400.0;
    Render(page, range, profile, settings, "picture");
    return {page.codes.get(), page.codes.get() + 24 * 20 * 3};
}

/// The checks of a profile that is read from a file, without the file.
std::string Refusal(const std::string& bytes, const RenderSettings& settings)
{
    return samples::ErrorOf([&] {
        const PrinterProfile profile = Profile(bytes);
        CheckPrinterProfile(profile.bytes, "p.icc");
        TryProfile(profile, settings, "p.icc");
    });
}

// A profile that the colour matcher refuses is printed without its device step, which nothing but
// the result tells.
TEST(ProfileTrial, WhatIsAcceptedIsPrintedWithItsDeviceStep)
{
    const std::string whole = samples::PrinterSample();
    const RenderSettings settings;
    ASSERT_EQ("", Refusal(whole, settings));
    long accepted = 0;
    long refused = 0;
    const std::size_t stride = samples::SweepStride();
    long changed = 0;
    const auto attempt = [&](const std::string& bytes) {
        // Each takes a few renderings.
        if (stride > 1 && ++changed % 3 != 0) {
            return;
        }
        const std::string error = Refusal(bytes, settings);
        EXPECT_TRUE(error.empty() || error.starts_with("p.icc: ")) << error;
        (error.empty() ? accepted : refused) += 1;
        if (error.empty()) {
            const PrinterProfile profile = Profile(bytes);
            EXPECT_NE(Rendered(profile, settings, false), Rendered(profile, settings, true));
        }
    };
    // Everywhere, and in every way in the directory and the beginning of a table.
    samples::WriteNumbers(whole, std::max(stride, std::size_t{61}), attempt);
    if (stride == 1) {
        const std::string tail = whole.substr(256);
        samples::WriteNumbers(whole.substr(0, 256), stride,
                              [&](const std::string& head) { attempt(head + tail); });
    }
    std::cout << accepted + refused << " profiles tried, " << refused << " refused\n";
    EXPECT_LT(0, accepted);
    EXPECT_LT(0, refused);
}

TEST(ProfileTrial, RefusesTablesThatAreMissingAndPrintersWithoutABlack)
{
    const std::vector<unsigned char> display = RenderedProfile();
    const std::string whole(display.begin(), display.end());
    std::string oneWay = samples::PrinterSample();
    for (const char* tag : {"B2A0", "B2A1"}) {
        oneWay.replace(oneWay.find(tag), 4, "none");
    }
    std::string noCurve = whole;
    noCurve.replace(132 + 7 * 12, 4, "none");
    std::string virtualPrinter = whole;
    virtualPrinter.replace(12, 4, "prtr");
    const struct {
        const char* what;
        std::string bytes;
        bool isPrinter;
        const char* reason;
    } cases[] = {
        {"display, which has no device step", whole, false, ""},
        {"printer without tables to it", oneWay, true, "no print can be predicted"},
        {"display without a curve", noCurve, false, "no print can be predicted"},
        {"printer that reproduces black", virtualPrinter, true, "darker than any paper's"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        for (const bool saturation : {false, true}) {
            RenderSettings settings;
            settings.saturation = saturation;
            const std::string error = samples::ErrorOf(
                [&] { TryProfile(Profile(c.bytes, c.isPrinter), settings, "p.icc"); });
            EXPECT_EQ(*c.reason == '\0', error.empty()) << error;
            EXPECT_NE(std::string::npos, error.find(c.reason)) << error;
        }
    }
}

} // namespace

} // namespace qva
