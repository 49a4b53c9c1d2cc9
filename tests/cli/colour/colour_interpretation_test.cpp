#include "colour/colour_interpretation.h"

#include "colour/icc_builder.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

SourceDescription Integers()
{
    SourceDescription description;
    description.path = "photo";
    description.bits = 16;
    return description;
}

SourceDescription Floats()
{
    SourceDescription description = Integers();
    description.bits = 32;
    description.isFloat = true;
    return description;
}

/// An RGB profile with the tag cicp, as HDR applications embed it.
std::vector<unsigned char> ProfileWithCodePoints()
{
    std::vector<unsigned char> profile = RenderedProfile();
    // The description's entry (the first tag) is turned into the code points: type, zero, values.
    const unsigned char tag[] = {'c', 'i', 'c', 'p', 0, 0, 0, 0, 12, 16, 0, 1};
    std::copy(std::begin(tag), std::begin(tag) + 4, profile.begin() + 132);
    const std::size_t offset = profile[138] * 256U + profile[139];
    std::copy(std::begin(tag), std::end(tag), profile.begin() + static_cast<int>(offset));
    profile[143] = sizeof tag;
    return profile;
}

TEST(Interpret, RanksWhatFilesAndOptionsSay)
{
    SourceDescription bare = Integers();
    SourceDescription gamma = bare;
    gamma.tags.gamma = 1.8;
    gamma.tags.chromaticities = FindPrimaries("adobe-rgb");
    SourceDescription srgb = gamma;
    srgb.tags.srgb = true;
    SourceDescription profile = srgb;
    profile.tags.profile = RenderedProfile();
    SourceDescription points = profile;
    points.tags.codePoints = CodePoints{9, 16, 0, true};
    SourceDescription profilePoints = bare;
    profilePoints.tags.profile = ProfileWithCodePoints();
    const SourceOptions none;
    SourceOptions linear;
    linear.encoding = "linear";
    linear.primaries = "display-p3";
    const struct {
        const char* name;
        const SourceDescription& description;
        const SourceOptions& options;
        Transfer transfer;
        const char* primaries;
        std::size_t notes;
    } cases[] = {
        {"integers are sRGB", bare, none, Transfer::Srgb, "bt709", 0},
        {"gamma and chromaticities", gamma, none, Transfer::Power, "adobe-rgb", 0},
        {"sRGB before gamma", srgb, none, Transfer::Srgb, "bt709", 0},
        {"profile before sRGB", profile, none, Transfer::Profile, "bt709", 0},
        {"options before profile", profile, linear, Transfer::Linear, "display-p3", 0},
        {"cICP before profile", points, none, Transfer::Pq, "bt2020", 0},
        {"cICP before options", points, linear, Transfer::Pq, "bt2020", 1},
        {"cicp of a profile", profilePoints, none, Transfer::Pq, "display-p3", 0},
        {"options before cicp of a profile", profilePoints, linear, Transfer::Linear, "display-p3",
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Interpretation meaning = Interpret(c.description, c.options);
        EXPECT_EQ(c.transfer, meaning.transfer);
        EXPECT_EQ(c.primaries, NameOfPrimaries(meaning.primaries));
        EXPECT_EQ(c.notes, meaning.notes.size());
    }
    const Interpretation floats = Interpret(Floats(), none);
    EXPECT_EQ(Transfer::Linear, floats.transfer);
    EXPECT_EQ(203.0, floats.signalOneLuminance);
    EXPECT_EQ(1.0, floats.codeWhite);
}

// ITU-R BT.2100-2, table 9: 16 bits narrow is 16 ... 235 times 256.
TEST(Interpret, NarrowRangeMovesBlackAndWhite)
{
    SourceDescription description = Integers();
    description.tags.codePoints = CodePoints{9, 18, 0, false};
    const Interpretation meaning = Interpret(description, {});
    EXPECT_EQ(4096.0, meaning.codeBlack);
    EXPECT_EQ(60160.0, meaning.codeWhite);
}

TEST(Interpret, WhiteOfTheFileYieldsToTheOption)
{
    SourceDescription description = Floats();
    description.tags.whiteLuminance = 80.0;
    EXPECT_EQ(80.0, Interpret(description, {}).signalOneLuminance);
    SourceOptions options;
    options.white = 120.0;
    EXPECT_EQ(120.0, Interpret(description, options).signalOneLuminance);
}

TEST(Interpret, HlgPeakIsTheOptionsThenTheFiles)
{
    SourceDescription hlg = Integers();
    hlg.tags.codePoints = CodePoints{9, 18, 0, true};
    EXPECT_EQ(1000.0, Interpret(hlg, {}).signalOneLuminance);
    hlg.tags.whiteLuminance = 600.0;
    EXPECT_EQ(600.0, Interpret(hlg, {}).signalOneLuminance);
    SourceOptions options;
    options.hlgPeak = 4000.0;
    EXPECT_EQ(4000.0, Interpret(hlg, options).signalOneLuminance);
    hlg.tags.whiteLuminance = 1e-3; // of no display
    EXPECT_EQ(1000.0, Interpret(hlg, {}).signalOneLuminance);
    const std::string error = samples::ErrorOf([&] { Interpret(Integers(), options); });
    EXPECT_TRUE(error.starts_with("--hlg-peak: ")) << error;
}

// Code points without primaries leave these to what else the file says.
TEST(Interpret, ChromaticitiesFillUnspecifiedPrimaries)
{
    SourceDescription description = Integers();
    description.tags.codePoints = CodePoints{2, 13, 0, true};
    description.tags.codePointsFrom = "colour encoding";
    description.tags.chromaticities = FindPrimaries("adobe-rgb");
    const Interpretation meaning = Interpret(description, {});
    EXPECT_EQ("adobe-rgb", NameOfPrimaries(meaning.primaries));
    EXPECT_EQ("colour encoding", meaning.transferFrom);
}

TEST(Interpret, RefusesWhatFitsNotAndNamesIt)
{
    const auto coded = [](int primaries, int transfer, int matrix) {
        SourceDescription description = Integers();
        description.tags.codePoints = CodePoints{primaries, transfer, matrix, true};
        return description;
    };
    SourceDescription withProfile = Integers();
    withProfile.tags.profile = RenderedProfile();
    SourceOptions none;
    SourceOptions white;
    white.white = 100.0;
    SourceOptions top;
    top.largestCodeLuminance = 100.0;
    SourceOptions crossed = top;
    crossed.zeroCodeLuminance = 100.0;
    SourceOptions primaries;
    primaries.primaries = "bt2020";
    const struct {
        SourceDescription description;
        SourceOptions options;
        const char* name;
    } cases[] = {
        {coded(9, 77, 0), none, "photo"},          {coded(99, 16, 0), none, "photo"},
        {coded(9, 16, 9), none, "photo"},          {coded(9, 16, 0), white, "--white"},
        {coded(9, 18, 0), top, "--luminance-max"}, {Floats(), top, "--luminance-max"},
        {Integers(), crossed, "--luminance-min"},  {withProfile, primaries, "--primaries"},
    };
    for (const auto& c : cases) {
        const std::string error = samples::ErrorOf([&c] { Interpret(c.description, c.options); });
        EXPECT_TRUE(error.starts_with(std::string(c.name) + ": ")) << error;
    }
}

} // namespace

} // namespace qva
