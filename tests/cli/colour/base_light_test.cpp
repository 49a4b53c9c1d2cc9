#include "colour/base_light.h"

#include "base/errors.h"
#include "colour/icc_builder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

SourceDescription EightBits()
{
    SourceDescription base;
    base.path = "base";
    base.bits = 8;
    return base;
}

float LightOf(const SourceDescription& base, float code)
{
    float rgb[] = {code, code, code};
    BaseLight(base).Convert(rgb, 1);
    return rgb[1];
}

TEST(BaseLight, IsRelativeToWhiteInTheBasesOwnColours)
{
    SourceDescription base = EightBits();
    EXPECT_EQ(1.0f, LightOf(base, 255));
    EXPECT_NEAR(std::pow((188.0 / 255.0 + 0.055) / 1.055, 2.4), LightOf(base, 188), 1e-6);
    EXPECT_EQ("bt709", NameOfPrimaries(BaseLight(base).Primaries()));
    // BT.2020 with gamma 2.2.
    base.tags.profile = RenderedProfile();
    EXPECT_EQ("bt2020", NameOfPrimaries(BaseLight(base).Primaries()));
    EXPECT_NEAR(std::pow(0.4, 2.2), LightOf(base, 102), 1e-4);
    // PQ: SMPTE ST 2084 has 94.07 cd/m2 for the signal 128 / 255.
    base.tags.codePoints = CodePoints{12, 16, 0, true};
    EXPECT_NEAR(94.0746 / 203.0, LightOf(base, 128), 1e-4);
    EXPECT_EQ("display-p3", NameOfPrimaries(BaseLight(base).Primaries()));
    // HLG: the channels make light together; 1000 cd/m2 at the top.
    base.tags.codePoints = CodePoints{9, 18, 0, true};
    EXPECT_NEAR(1000.0 / 203.0, LightOf(base, 255), 1e-3);
}

TEST(BaseLight, RefusesColoursThatAreNotKnown)
{
    SourceDescription base = EightBits();
    base.tags.profile.assign(1, 0);
    EXPECT_THROW(BaseLight light(base), Failure);
}

} // namespace

} // namespace qva
