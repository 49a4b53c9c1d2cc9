#include "print/embedded_profiles.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

/// Reads an ICC profile of version 2 (ICC.1:2001-04).
struct Profile {
    const uint8_t* bytes;

    uint32_t At(size_t at) const
    {
        return uint32_t{bytes[at]} << 24 | uint32_t{bytes[at + 1]} << 16 |
               uint32_t{bytes[at + 2]} << 8 | bytes[at + 3];
    }
    int At16(size_t at) const { return bytes[at] << 8 | bytes[at + 1]; }
    std::string Text(size_t at) const { return {reinterpret_cast<const char*>(bytes) + at, 4}; }
    std::string Tags() const
    {
        std::string all;
        for (uint32_t i = 0; i < At(128); ++i) {
            all += Text(132 + 12 * i);
        }
        return all;
    }
    /// Offset and size of a tag's data.
    std::array<uint32_t, 2> Find(const std::string& tag) const
    {
        const auto i = static_cast<uint32_t>(Tags().find(tag) / 4);
        return {At(136 + 12 * i), At(140 + 12 * i)};
    }
    std::array<int32_t, 3> Xyz(const std::string& tag) const
    {
        const uint32_t at = Find(tag)[0];
        EXPECT_EQ("XYZ ", Text(at));
        return {static_cast<int32_t>(At(at + 8)), static_cast<int32_t>(At(at + 12)),
                static_cast<int32_t>(At(at + 16))};
    }
};

const Profile bt2020{lumo::bt2020Profile};
const Profile xyz{lumo::xyzProfile};

TEST(EmbeddedProfiles, HeadersStateWhatTheyAre)
{
    const struct {
        const Profile& profile;
        uint32_t size, version, intent;
        const char *kind, *tags, *description;
    } cases[] = {
        {bt2020, 544, 0x02100000, 0, "mntr", "descwtptbkptrXYZgXYZbXYZrTRCgTRCbTRCcprt",
         "BT.2020 gamma2.2"},
        {xyz, 7852, 0x02400000, 1, "scnr", "descwtptA2B0B2A0", "XYZ to XYZ IccProfile:"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.description);
        EXPECT_EQ(c.size, c.profile.At(0));
        EXPECT_EQ(c.version, c.profile.At(8));
        EXPECT_EQ(c.kind, c.profile.Text(12));
        EXPECT_EQ("RGB XYZ ", c.profile.Text(16) + c.profile.Text(20));
        EXPECT_EQ("acspMSFT", c.profile.Text(36) + c.profile.Text(40));
        EXPECT_EQ(c.intent, c.profile.At(64));
        EXPECT_EQ(0xF6D6u, c.profile.At(68));
        EXPECT_EQ(0x10000u, c.profile.At(72));
        EXPECT_EQ(0xD32Du, c.profile.At(76));
        EXPECT_EQ(c.tags, c.profile.Tags());
        const auto [at, size] = c.profile.Find("desc");
        EXPECT_STREQ(c.description, reinterpret_cast<const char*>(c.profile.bytes) + at + 12);
        EXPECT_EQ(std::strlen(c.description) + 1, c.profile.At(at + 8));
    }
}

TEST(EmbeddedProfiles, Bt2020HasThePrimariesAdaptedToD50)
{
    // XYZ in units of 1 / 65536: 0.67348, 0.27904, -0.00194 and so on.
    EXPECT_EQ((std::array{44137, 18287, -127}), bt2020.Xyz("rXYZ"));
    EXPECT_EQ((std::array{10857, 44259, 1965}), bt2020.Xyz("gXYZ"));
    EXPECT_EQ((std::array{8195, 2989, 52222}), bt2020.Xyz("bXYZ"));
    EXPECT_EQ((std::array{62289, 65536, 71372}), bt2020.Xyz("wtpt"));
    EXPECT_EQ((std::array{0, 0, 0}), bt2020.Xyz("bkpt"));
    for (const char* tag : {"rTRC", "gTRC", "bTRC"}) {
        const uint32_t at = bt2020.Find(tag)[0];
        EXPECT_EQ("curv", bt2020.Text(at));
        EXPECT_EQ(1u, bt2020.At(at + 8));
        EXPECT_EQ(563, bt2020.At16(at + 12));
    }
}

TEST(EmbeddedProfiles, XyzIsAnIdentityTable)
{
    EXPECT_EQ((std::array{63189, 65536, 54060}), xyz.Xyz("wtpt"));
    EXPECT_EQ("mft2", xyz.Text(352));
    EXPECT_EQ(0x03030900u, xyz.At(360)); // three in, three out, nine nodes
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(i % 4 == 0 ? 0x10000u : 0u, xyz.At(364 + 4 * i)) << i;
    }
    EXPECT_EQ(256, xyz.At16(400));
    EXPECT_EQ(256, xyz.At16(402));
    const size_t inputs = 404, grid = inputs + 1536, outputs = grid + 4374;
    for (size_t i = 0; i < 768; ++i) {
        EXPECT_EQ(257 * (i % 256), xyz.At16(inputs + 2 * i));
        EXPECT_EQ(257 * (i % 256), xyz.At16(outputs + 2 * i));
    }
    const int node[9] = {0, 8192, 16384, 24576, 32768, 40960, 49152, 57344, 65280};
    for (size_t i = 0; i < 729; ++i) {
        EXPECT_EQ(node[i / 81], xyz.At16(grid + 6 * i));
        EXPECT_EQ(node[i / 9 % 9], xyz.At16(grid + 6 * i + 2));
        EXPECT_EQ(node[i % 9], xyz.At16(grid + 6 * i + 4));
    }
}

} // namespace
