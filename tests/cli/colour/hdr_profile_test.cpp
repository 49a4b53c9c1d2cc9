#include "colour/colour_interpretation.h"
#include "colour/icc_builder.h"
#include "colour/lcms_handles.h"
#include "colour/transfer_functions.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace qva {

namespace {

/// A matrix profile of BT.2020 with a table of 16-bit values, as encoders embed it.
std::vector<unsigned char> TableProfile(const std::function<double(double)>& curve,
                                        const char* name)
{
    std::vector<cmsUInt16Number> table(1024);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<cmsUInt16Number>(
            std::lround(curve(static_cast<double>(i) / 1023.0) * 65535.0));
    }
    const ContextHandle context = MakeContext();
    cmsToneCurve* line = cmsBuildTabulatedToneCurve16(
        context.get(), static_cast<cmsUInt32Number>(table.size()), table.data());
    cmsToneCurve* curves[] = {line, line, line};
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {
        {0.708, 0.292, 1.0}, {0.170, 0.797, 1.0}, {0.131, 0.046, 1.0}};
    const ProfileHandle profile(cmsCreateRGBProfileTHR(context.get(), &white, &primaries, curves));
    cmsFreeToneCurve(line);
    const std::unique_ptr<cmsMLU, void (*)(cmsMLU*)> text(cmsMLUalloc(context.get(), 1),
                                                          cmsMLUfree);
    cmsMLUsetASCII(text.get(), "en", "US", name);
    cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get());
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    std::vector<unsigned char> bytes(size);
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

// By the curve and not by the name; the name only makes a note.
TEST(HdrProfile, IsRecognisedByItsCurve)
{
    const auto pq = [](double signal) { return PqToLuminance(signal) / 10000.0; };
    const auto power = [](double signal) { return std::pow(signal, 2.2); };
    const struct {
        const char* label;
        std::vector<unsigned char> profile;
        Transfer transfer;
        double luminanceMax;
        std::size_t notes;
    } cases[] = {
        {"PQ", TableProfile(pq, "Any"), Transfer::Pq, 10000.0, 0},
        {"HLG", TableProfile(HlgToSceneLight, "Any"), Transfer::Hlg, 1000.0, 0},
        {"a power", TableProfile(power, "Any"), Transfer::Profile, 203.0, 0},
        {"a name", TableProfile(power, "Rec. 2100 PQ"), Transfer::Profile, 203.0, 1},
        {"ours", RenderedProfile(), Transfer::Profile, 203.0, 0},
        {"damaged", std::vector<unsigned char>(200, 7), Transfer::Profile, 203.0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        SourceDescription picture;
        picture.bits = 16;
        picture.tags.profile = c.profile;
        const Interpretation meaning = Interpret(picture, {});
        EXPECT_EQ(c.transfer, meaning.transfer);
        EXPECT_EQ(c.luminanceMax, meaning.signalOneLuminance);
        EXPECT_EQ(c.notes, meaning.notes.size());
        EXPECT_EQ(c.transfer != Transfer::Profile, SamePrimaries(meaning.primaries, bt2020));
        SourceOptions srgb;
        srgb.encoding = "srgb";
        EXPECT_EQ(Transfer::Srgb, Interpret(picture, srgb).transfer);
        EXPECT_TRUE(SamePrimaries(Interpret(picture, srgb).primaries, bt709));
    }
}

} // namespace

} // namespace qva
