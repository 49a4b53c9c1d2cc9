#include "proof/report_page.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

// RFC 4648, section 10.
TEST(ReportPage, WritesBase64)
{
    const struct {
        std::string plain;
        const char* coded;
    } cases[] = {{"", ""},
                 {"f", "Zg=="},
                 {"fo", "Zm8="},
                 {"foo", "Zm9v"},
                 {"foob", "Zm9vYg=="},
                 {"fooba", "Zm9vYmE="},
                 {"foobar", "Zm9vYmFy"}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.coded, Base64({c.plain.begin(), c.plain.end()}));
    }
    EXPECT_EQ("+/8=", Base64({0xfb, 0xff}));
}

// 0.01 begins the first bin; 203 cd/m² lies 4.307 decades above.
TEST(LightCurve, CountsDecades)
{
    LightCurve curve;
    for (const double luminance : {0.0, 0.001, 0.01, 203.0, 1e6}) {
        curve.Add(luminance);
    }
    EXPECT_DOUBLE_EQ(60.0, curve.PercentIn(0));
    EXPECT_DOUBLE_EQ(20.0, curve.PercentIn(43));
    EXPECT_DOUBLE_EQ(20.0, curve.PercentIn(LightCurve::bins - 1));
    EXPECT_DOUBLE_EQ(0.0, LightCurve().PercentIn(5));
}

} // namespace

} // namespace qva
