#include "rvx/matcher.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr uint32_t plain = 0x20032;
constexpr uint32_t compensated = 0x30032;

void ExpectNear(const Pixel& want, const Pixel& have, int tolerance)
{
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(want[i], have[i], tolerance) << "value " << i;
    }
}

TEST(Matching, WhiteIsTheD50WhiteOnEveryDevice)
{
    for (const Bytes& device : {Paper(), Bt2020()}) {
        for (const uint32_t flags : {plain, compensated}) {
            for (const uint16_t intent : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
                SCOPED_TRACE(testing::Message() << device.size() << ' ' << flags << ' ' << intent);
                Matcher matcher;
                ASSERT_EQ(0, matcher.CreateFor(device, flags, intent));
                // 32768 times 0.9642, 1, 0.8249.
                ExpectNear({31595, 32768, 27030}, matcher.Match({65535, 65535, 65535}), 2);
            }
        }
    }
}

TEST(Matching, PrimariesOfTheSourceAreThoseOfItsMatrixWhereTheDeviceHoldsThem)
{
    Matcher matcher;
    ASSERT_EQ(0, matcher.CreateFor(Bt2020()));
    // The columns of the matrix, s15Fixed16, halved to put 1.0 at 32768. Below 0 nothing is left.
    const struct {
        Pixel in, out;
    } cases[] = {{{65535, 0, 0}, {22069, 9144, 0}},
                 {{0, 65535, 0}, {5429, 22130, 983}},
                 {{0, 0, 65535}, {4098, 1495, 26111}}};
    for (const auto& c : cases) {
        ExpectNear(c.out, matcher.Match(c.in), 3);
    }
}

TEST(Matching, ColoursOutsideTheDeviceArePulledIntoIt)
{
    Matcher matcher;
    ASSERT_EQ(0, matcher.CreateFor(Paper()));
    const Pixel green = matcher.Match({0, 65535, 0});
    // The source's green has Y 0.675 and Z 0.030; no green of the paper is lighter than L* 75
    // (Y 0.48) at that purity.
    EXPECT_LT(green[1], 16000);
    EXPECT_GT(green[2], 1500);
}

TEST(Matching, GreyRampsNeverDip)
{
    for (const Bytes& device : {Paper(), Bt2020()}) {
        for (const uint32_t flags : {plain, compensated}) {
            Matcher matcher;
            ASSERT_EQ(0, matcher.CreateFor(device, flags));
            for (int code = 257, last = 0; code <= 65535; code += 257) {
                const int y = matcher.MatchGrey(code);
                ASSERT_GE(y, last) << device.size() << ' ' << flags << ' ' << code;
                last = y;
            }
        }
    }
}

TEST(Matching, BlackIsThatOfThePrint)
{
    // The profile's black is 0.5 % of its white. A grey prints a tenth lighter than that where
    // v^2.2 = 0.0055, and with compensation where 0.005 + 0.995 v^2.2 = 0.0055: 6187 and 2078.
    const struct {
        uint32_t flags;
        int code;
    } cases[] = {{plain, 6187}, {compensated, 2078}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        Matcher matcher;
        ASSERT_EQ(0, matcher.CreateFor(Paper(), c.flags));
        EXPECT_NEAR(0.5, 200.0 * matcher.MatchGrey(0) / 65535.0, 0.01);
        int code = 0;
        while (200.0 * matcher.MatchGrey(code) / 65535.0 < 0.55) {
            code += 8;
        }
        EXPECT_NEAR(c.code, code, 100);
    }
}

TEST(Matching, XyzAboveOnePasses)
{
    // Primaries of 1.75 times the light, for the source and the device alike.
    Bytes bright = Bt2020();
    for (size_t at = 0; at < 60; at += 4) {
        if (at % 20 >= 8) {
            const auto value = static_cast<int32_t>(Load32(bright, 400 + at));
            Store32(bright, 400 + at, static_cast<uint32_t>(value * 7 / 4));
        }
    }
    Matcher matcher;
    ASSERT_EQ(0, matcher.Create(bright.data(), Xyz().data(), bright.data()));
    // 57344 times 0.9642, 1, 0.8249.
    ExpectNear({55291, 57344, 47303}, matcher.Match({65535, 65535, 65535}), 2);
}

TEST(Matching, TheIntentSelectsTheDevicesTable)
{
    // Intent 2 of this device sends every colour to device 0: a copy of its table with the grid
    // cleared, at the end of the profile.
    Bytes device = Paper();
    const size_t entry = EntryOf(device, 0x42324132); // B2A2
    const uint32_t from = Load32(device, entry + 4);
    const uint32_t size = Load32(device, entry + 8);
    const size_t end = device.size();
    const Bytes table(device.begin() + from, device.begin() + from + size);
    device.insert(device.end(), table.begin(), table.end());
    const size_t curves = 52 + 3 * 256 * 2;
    std::fill(device.begin() + static_cast<std::ptrdiff_t>(end + curves), device.end() - 3 * 512,
              0);
    Store32(device, entry + 4, static_cast<uint32_t>(end));
    Store32(device, 0, static_cast<uint32_t>(device.size()));
    for (const uint16_t intent : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
        Matcher matcher;
        ASSERT_EQ(0, matcher.CreateFor(device, plain, intent));
        const int y = matcher.MatchGrey(40000);
        EXPECT_EQ(intent == 2, y < 200) << intent << ": " << y;
    }
}

TEST(Matching, ManyPixelsGiveWhatOneGivesAndMayBeInPlace)
{
    Matcher matcher;
    ASSERT_EQ(0, matcher.CreateFor(Paper()));
    std::vector<Pixel> pixels, want;
    for (int i = 0; i < 100; ++i) {
        pixels.push_back({static_cast<uint16_t>(i * 655), static_cast<uint16_t>(i * 977 % 65536),
                          static_cast<uint16_t>(65535 - i * 311)});
        want.push_back(matcher.Match(pixels.back()));
    }
    ASSERT_EQ(0, RVX_MatchColors(matcher.instance, matcher.xform, pixels[0].data(),
                                 pixels[0].data(), 100));
    EXPECT_EQ(want, pixels);
}

} // namespace
