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

} // namespace

} // namespace qva
