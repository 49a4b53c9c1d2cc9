#include "colorspace/apply_pq_inv_eotf.h"

#include "colorspace/pq.h"
#include "support/images.h"

namespace lumo::test {

// Signals from the rational constants of SMPTE ST 2084, computed with 40 decimal digits; 203 and
// 1000 cd/m2 are the 58 % and 75 % of ITU-R BT.2408-7, table 1.
TEST(PQ, GivesTheSignalsOfTheStandardAndClamps)
{
    const double cases[][2] = {{0.1, 0.062336865662695880}, {1, 0.14994573210017977},
                               {100, 0.50807842151739486},  {203, 0.58068888104160784},
                               {1000, 0.75182709624704177}, {10000, 1.0}};
    for (const auto& c : cases) {
        EXPECT_NEAR(c[1], PQ(c[0]), 1e-14) << c[0];
        EXPECT_NEAR(c[0], EOTF(c[1]), 1e-10 * c[0]) << c[1];
    }
    EXPECT_NEAR(7.309559025783966e-7, PQ(-1.0), 1e-20);
    EXPECT_TRUE(PQ(20000.0) == 1.0 && EOTF(1.5) == 10000.0 && EOTF(1e-6) > 0.0);
    EXPECT_TRUE(EOTF(pqFloor) == 0.0 && EOTF(-1.0) == 0.0 && pqFloorToOne == 1.0 - pqFloor);
}

TEST(ApplyPQInvEOTF, ChecksItsArgumentsInOrder)
{
    double a[6] = {5, 5, 10000.5, -1, 65536, -1};
    // What is reported, and the argument whose change uncovers the next report.
    const struct {
        const char* reason;
        int argument;
        double value;
    } cases[] = {{"srcMax must be greater than srcMin", 1, 0},
                 {"srcLumiMax must be smaller than 10000", 2, -2},
                 {"srcLumiMin must be greater than 0", 3, 0},
                 {"srcLumiMax must be greater than srcLumiMin", 2, 10000},
                 {"dstMax must be smaller than 65535", 4, -2},
                 {"dstMin must be greater than 0", 5, 0},
                 {"dstMax must be greater than dstMin", 4, 65535}};
    for (const auto& c : cases) {
        const auto text = std::string("Error in ApplyPQInvEOTF::EnsureArguments, ") + c.reason;
        ExpectException(3, text.c_str(),
                        [&] { ApplyPQInvEOTF(a[0], a[1], a[2], a[3], a[4], a[5]); });
        a[c.argument] = c.value;
    }
    EXPECT_NO_THROW(ApplyPQInvEOTF(a[0], a[1], a[2], a[3], a[4], a[5]));
}

TEST(ApplyPQInvEOTF, FollowsTheCurveAndHoldsItsEnds)
{
    const ApplyPQInvEOTF pq(60000, 0, 1000, 0.5, 50000, 1000);
    EXPECT_TRUE(pq(-3.0) == 1000.0 && std::abs(pq(1e9) - 50000.0) < 1e-9);
    const double scale = 49000 / (PQ(1000) - PQ(0.5));
    for (int v = 0; v <= 60000; v += 7) {
        const double luminance = v * (999.5 / 60000) + 0.5;
        // Pieces between samples leave the curve by less than a hundredth of a code.
        ASSERT_NEAR((PQ(luminance) - PQ(0.5)) * scale + 1000, pq(v), 0.01) << v;
    }
}

} // namespace lumo::test
