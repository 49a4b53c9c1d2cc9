#include "colour/icc_builder.h"

#include "base/errors.h"
#include "colour/lcms_handles.h"
#include "colour/printer_profile.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

// The colour engine reads the profile; expected are the D50 values that published BT.2020
// profiles carry, in units of 1/65536.
TEST(IccBuilder, HasTheColorantsOfBt2020)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle profile = OpenProfile(context.get(), RenderedProfile());
    ASSERT_TRUE(profile);
    EXPECT_TRUE(cmsIsMatrixShaper(profile.get()));
    const struct {
        cmsTagSignature tag;
        double xyz[3];
    } cases[] = {{cmsSigRedColorantTag, {44137, 18287, -127}},
                 {cmsSigGreenColorantTag, {10857, 44259, 1965}},
                 {cmsSigBlueColorantTag, {8195, 2989, 52222}}};
    for (const auto& c : cases) {
        const auto* found = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.get(), c.tag));
        ASSERT_NE(nullptr, found);
        EXPECT_NEAR(c.xyz[0] / 65536, found->X, 3e-5);
        EXPECT_NEAR(c.xyz[1] / 65536, found->Y, 3e-5);
        EXPECT_NEAR(c.xyz[2] / 65536, found->Z, 3e-5);
    }
    const auto* curve =
        static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), cmsSigGreenTRCTag));
    ASSERT_NE(nullptr, curve);
    EXPECT_NEAR(0.21764, cmsEvalToneCurveFloat(curve, 0.5f), 1e-5); // 0.5 ^ 2.2
}

TEST(PrinterProfile, ChecksWhatTheLibraryWouldPassOverInSilence)
{
    const std::vector<unsigned char> good = RenderedProfile();
    ASSERT_EQ("", samples::ErrorOf([&] { CheckPrinterProfile(good, "p.icc"); }));
    ASSERT_EQ("", samples::ErrorOf([] { CheckPrinterProfile(BuiltInProfile().bytes, "p.icc"); }));
    const auto changed = [&good](std::size_t at, const std::string& bytes) {
        std::vector<unsigned char> profile = good;
        std::copy(bytes.begin(), bytes.end(), profile.begin() + static_cast<int>(at));
        return profile;
    };
    std::vector<unsigned char> longer = good;
    longer.push_back(0);
    const struct {
        std::vector<unsigned char> profile;
        const char* reason;
    } cases[] = {
        {{}, "not an ICC profile"},
        {changed(36, "acsq"), "not an ICC profile"},
        {longer, "states a size"},
        {changed(12, "link"), "is a device link"},
        {changed(12, "abst"), "class 'abst'"},
        {changed(12, "nmcl"), "class 'nmcl'"},
        {changed(20, "RGB "), "connects neither"},
    };
    for (const auto& c : cases) {
        const std::string error =
            samples::ErrorOf([&c] { CheckPrinterProfile(c.profile, "p.icc"); });
        EXPECT_NE(std::string::npos, error.find(c.reason)) << error;
    }
}

} // namespace

} // namespace qva
