#include "colour/icc_builder.h"

#include "base/errors.h"
#include "colour/printer_profile.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

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
