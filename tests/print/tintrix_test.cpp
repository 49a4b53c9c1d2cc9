#include "print/tintrix.h"

#include "support/file_matcher.h"
#include "support/images.h"

#include <cstring>

namespace lumo::test {
namespace {

TEST(Tintrix, HandsProfilesIntentFlagsAndCodesOn)
{
    const char* const profiles[] = {"source", "xyz", "device"};
    for (const bool option : {true, false}) {
        FileMatcher() = {};
        FileMatcher().answer = [](const Triple&) { return Triple{32768, 0, 65535}; };
        const Tintrix transform(profiles[0], profiles[1], profiles[2], 2, 2.0, -1.0, option);
        EXPECT_EQ(0x03020000u, FileMatcher().version);
        EXPECT_EQ(option ? 0x30032u : 0x20032u, FileMatcher().flags);
        EXPECT_EQ(2, FileMatcher().intent);
        for (size_t i = 0; i < 3; ++i) {
            const RvxProfileDescriptor expected = {0x02000000,  4,  0,          1,
                                                   profiles[i], {}, 0x03020000, {}};
            EXPECT_EQ(0, std::memcmp(&expected, &FileMatcher().descriptors[i], 352)) << i;
        }
        const double in[] = {-5.0, 70000.0, 1234.9};
        double out[3];
        transform(in, out, 3);
        EXPECT_EQ((Triple{0, 65535, 1234}), FileMatcher().asked.at(0));
        EXPECT_NEAR(32768 * 3.0 / 65535 - 1, out[0], 1e-12);
        EXPECT_NEAR(-1.0, out[1], 1e-12);
        EXPECT_NEAR(2.0, out[2], 1e-12);
    }
}

TEST(Tintrix, EndsTheInstanceOnEveryPath)
{
    const char* creation = "Error in Tintrix::Tintrix, failed to create tintrix";
    const auto run = [] { Tintrix("", "", "", 1, 1.0, 0.0, true).Release(); };
    FileMatcher() = {};
    ExpectException(3, creation, run); // no transform
    EXPECT_EQ(1, FileMatcher().terminated);
    FileMatcher().failInitialize = true;
    ExpectException(3, creation, run);
    EXPECT_EQ(1, FileMatcher().terminated);
    FileMatcher().failInitialize = false;
    FileMatcher().answer = [](const Triple& rgb) { return rgb; };
    run();
    FileMatcher().failRelease = true;
    ExpectException(3, "Error in Tintrix::Release, tintrix termination failed", run);
    EXPECT_EQ(2, FileMatcher().disposed);
    EXPECT_EQ(3, FileMatcher().terminated);
}

} // namespace
} // namespace lumo::test
