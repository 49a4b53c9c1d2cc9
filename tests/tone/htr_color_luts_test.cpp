#include "tone/htr_color_luts.h"

#include <gtest/gtest.h>

TEST(HtrColorLuts, PullRedInwardByTheStopsBetweenTheRanges)
{
    const auto expect = [](const lumo::Lut3D& table, double r, double g, double b) {
        double red[] = {65535.0, 0.0, 0.0};
        table(red, red, 3);
        EXPECT_TRUE(std::abs(red[0] - r) + std::abs(red[1] - g) + std::abs(red[2] - b) < 1e-8) << r;
    };
    expect(lumo::HtrColorCompression(), 61680, 16705, 8481);
    const double cases[][4] = {{100, 100, 65535, 0},  {50, 100, 65535, 0},
                               {0.5, 0.25, 65535, 0}, {800, 100, 64024, 582},
                               {8, 0.25, 64024, 582}, {200, 100, 65031 + 1.0 / 3, 194}};
    for (const auto& [in, out, r, g] : cases) {
        expect(lumo::HtrColorCorrection({{65535, in, 0, 0, 6}, {65535, out, 0, 0, 6}}), r, g, 0);
    }
}
