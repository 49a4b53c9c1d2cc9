#include "colour/transfer_functions.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

// IEC 61966-2-1, 5.2: by hand, on both pieces and around the border between them.
TEST(TransferFunctions, SrgbIsThatOfTheStandard)
{
    const struct {
        double signal;
        double light;
    } cases[] = {{0.0, 0.0},       {0.02, 0.00154799}, {0.04, 0.00309598},
                 {0.1, 0.0100228}, {0.3, 0.0732390},   {0.5, 0.2140411},
                 {0.9, 0.7874123}, {1.0, 1.0},         {-0.5, -0.2140411}};
    for (const auto& c : cases) {
        EXPECT_NEAR(c.light, SrgbToLinear(c.signal), 1e-7) << c.signal;
        EXPECT_NEAR(c.signal, LinearToSrgb(c.light), 2e-6) << c.light;
    }
}

// ITU-R BT.2408, table 1, gives 58 % for 203 cd/m2 of PQ and 75 % of HLG, where 12 times the
// scene's light is (0.203 ^ (1 / 1.2)) * 12; BT.2100, table 5: 0.5 is a twelfth.
TEST(TransferFunctions, PqAndHlgAreThoseOfTheStandard)
{
    const double signals[][2] = {
        {100.0, 0.5081}, {203.0, 0.5807}, {1000.0, 0.7518}, {10000.0, 1.0}};
    for (const auto& [luminance, signal] : signals) {
        EXPECT_NEAR(signal, LuminanceToPq(luminance), 5e-5);
        EXPECT_NEAR(luminance, PqToLuminance(LuminanceToPq(luminance)), 1e-8 * luminance);
    }
    EXPECT_NEAR(1.0 / 12.0, HlgToSceneLight(0.5), 1e-12);
    EXPECT_NEAR(0.2648, HlgToSceneLight(0.75), 5e-4);
    EXPECT_NEAR(1.0, HlgToSceneLight(1.0), 1e-7);
    EXPECT_NEAR(0.01 / 3.0, HlgToSceneLight(0.1), 1e-12);
}

} // namespace

} // namespace qva
