#include "rvx/matcher.h"

#include <functional>
#include <thread>
#include <utility>

namespace {

TEST(Handles, OnlyTheKnownVersionOpens)
{
    RvxInstance instance = 77;
    for (const uint32_t version : {0u, 0x02020000u, 0x03020001u, 0x00000203u}) {
        EXPECT_NE(0, RVX_Initialize(&version, nullptr, &instance)) << version;
    }
    const uint32_t version = 0x03020000;
    EXPECT_NE(0, RVX_Initialize(nullptr, nullptr, &instance));
    EXPECT_NE(0, RVX_Initialize(&version, nullptr, nullptr));
    EXPECT_EQ(77u, instance);
}

TEST(Handles, AreGoodOnceAndForTheirOwnInstanceOnly)
{
    Matcher one, two;
    ASSERT_EQ(0, one.CreateFor(Bt2020()));
    ASSERT_EQ(0, two.CreateFor(Bt2020()));
    uint16_t pixel[3] = {1, 2, 3};
    for (const uint64_t wrong : {uint64_t{0}, two.xform, one.instance, ~uint64_t{0}}) {
        EXPECT_NE(0, RVX_MatchColors(one.instance, wrong, pixel, pixel, 1));
        EXPECT_NE(0, RVX_DisposeXform(one.instance, wrong));
    }
    EXPECT_EQ(3, pixel[2]);
    EXPECT_EQ(0, RVX_DisposeXform(one.instance, one.xform));
    EXPECT_NE(0, RVX_DisposeXform(one.instance, one.xform));
    EXPECT_NE(0, RVX_MatchColors(one.instance, one.xform, pixel, pixel, 1));
    EXPECT_EQ(0, RVX_MatchColors(two.instance, two.xform, pixel, pixel, 1));
}

TEST(Handles, NothingWorksAfterTermination)
{
    const uint32_t version = 0x03020000;
    RvxInstance ended;
    ASSERT_EQ(0, RVX_Initialize(&version, nullptr, &ended));
    Matcher matcher;
    std::swap(ended, matcher.instance);
    ASSERT_EQ(0, matcher.CreateFor(Bt2020()));
    std::swap(ended, matcher.instance);
    ASSERT_EQ(0, RVX_Terminate(ended)); // frees the transform too
    uint16_t pixel[3] = {};
    EXPECT_NE(0, RVX_MatchColors(ended, matcher.xform, pixel, pixel, 1));
    EXPECT_NE(0, RVX_DisposeXform(ended, matcher.xform));
    EXPECT_NE(0, RVX_Terminate(ended));
    EXPECT_NE(0, RVX_Terminate(0));
}

TEST(Handles, ArgumentsAreCheckedBeforeAnythingIsWritten)
{
    Matcher matcher;
    for (const uint16_t intent : {uint16_t{4}, uint16_t{10}, uint16_t{0xFFFF}}) {
        EXPECT_EQ(RVX_ERROR_ARGUMENT, matcher.CreateFor(Bt2020(), 0x20032, intent)) << intent;
    }
    const Bytes rgb = Bt2020(), xyz = Xyz();
    const RvxProfileDescriptor good[3] = {Describe(rgb.data()), Describe(xyz.data()),
                                          Describe(rgb.data())};
    const auto create = [&](const RvxProfileDescriptor* a, const RvxProfileDescriptor* b,
                            const RvxProfileDescriptor* c, RvxXform* xform) {
        return RVX_CreateColorMatchingXform(matcher.instance, a, b, c, xform, nullptr, 0, 0x20032,
                                            1);
    };
    EXPECT_NE(0, create(nullptr, &good[1], &good[2], &matcher.xform));
    EXPECT_NE(0, create(&good[0], nullptr, &good[2], &matcher.xform));
    EXPECT_NE(0, create(&good[0], &good[1], nullptr, &matcher.xform));
    EXPECT_NE(0, create(&good[0], &good[1], &good[2], nullptr));
    for (int i = 0; i < 3; ++i) {
        for (uint32_t RvxProfileDescriptor::*word :
             {&RvxProfileDescriptor::version, &RvxProfileDescriptor::location})
        {
            RvxProfileDescriptor bad[3] = {good[0], good[1], good[2]};
            ++(bad[i].*word);
            EXPECT_NE(0, create(&bad[0], &bad[1], &bad[2], &matcher.xform)) << i;
        }
    }
    EXPECT_EQ(0u, matcher.xform);
    ASSERT_EQ(0, create(&good[0], &good[1], &good[2], &matcher.xform));
    uint16_t pixel[3] = {};
    EXPECT_NE(0, RVX_MatchColors(matcher.instance, matcher.xform, nullptr, pixel, 1));
    EXPECT_NE(0, RVX_MatchColors(matcher.instance, matcher.xform, pixel, nullptr, 1));
    EXPECT_EQ(0, RVX_MatchColors(matcher.instance, matcher.xform, nullptr, nullptr, 0));
}

TEST(Handles, InstancesOnTwoThreadsDoNotDisturbEachOther)
{
    const auto work = [](const Bytes& device, Pixel& out) {
        for (int i = 0; i < 20; ++i) {
            Matcher matcher;
            ASSERT_EQ(0, matcher.CreateFor(device));
            for (int code = 0; code < 65536; code += 1024) {
                matcher.MatchGrey(code);
            }
            out = matcher.Match({0, 65535, 0});
        }
    };
    Pixel alone[2], together[2];
    work(Paper(), alone[0]);
    work(Bt2020(), alone[1]);
    std::thread other(work, Paper(), std::ref(together[0]));
    work(Bt2020(), together[1]);
    other.join();
    EXPECT_EQ(alone[0], together[0]);
    EXPECT_EQ(alone[1], together[1]);
}

} // namespace
