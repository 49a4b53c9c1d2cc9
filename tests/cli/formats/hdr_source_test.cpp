#include "formats/image_source.h"
#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::ErrorOf;
using samples::Folder;
using samples::ReadAll;

std::string Header(const std::string& resolution, const std::string& lines = "")
{
    return "#?RADIANCE\n# a comment\nFORMAT=32-bit_rle_rgbe\n" + lines + "\n" + resolution + "\n";
}

std::string Bytes(std::initializer_list<int> values)
{
    std::string bytes;
    for (const int value : values) {
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

std::vector<float> ReadHdr(const std::string& content)
{
    const Folder folder;
    samples::WriteBytes(folder / "a.hdr", content);
    return ReadAll(folder / "a.hdr");
}

// Exponent 136 makes a mantissa step 1: a mantissa m stands for m + 0.5.
TEST(HdrSource, DecodesMantissasAndExponents)
{
    const std::vector<float> expected = {1.5f, 2.5f, 255.5f, 0.0f, 0.0f, 0.0f, 257.0f, 5.0f, 1.0f};
    EXPECT_EQ(expected,
              ReadHdr(Header("-Y 1 +X 3") + Bytes({1, 2, 255, 136, 9, 9, 9, 0, 128, 2, 0, 137})));
}

TEST(HdrSource, ReadsOldRuns)
{
    // One pixel, then 1 + 256 repetitions as two digits, then another pixel.
    const std::vector<float> out = ReadHdr(
        Header("-Y 1 +X 259") + Bytes({5, 6, 7, 136, 1, 1, 1, 1, 1, 1, 1, 1, 8, 8, 8, 136}));
    for (std::size_t x = 0; x < 258; ++x) {
        ASSERT_EQ(5.5f, out[x * 3]) << x;
    }
    EXPECT_EQ(8.5f, out[258 * 3]);
}

TEST(HdrSource, ReadsNewRuns)
{
    // Red: eight times 3; green: 1 ... 8; blue: four times 4, then 5 to 8; exponent: 136.
    const std::vector<float> out = ReadHdr(
        Header("-Y 1 +X 8") + Bytes({2, 2, 0, 8,       128 + 8, 3, 8, 1, 2, 3, 4,       5,
                                     6, 7, 8, 128 + 4, 4,       4, 5, 6, 7, 8, 128 + 8, 136}));
    for (std::size_t x = 0; x < 8; ++x) {
        EXPECT_EQ(3.5f, out[x * 3]);
        EXPECT_EQ(static_cast<float>(x) + 1.5f, out[x * 3 + 1]);
        EXPECT_EQ(x < 4 ? 4.5f : static_cast<float>(x) + 1.5f, out[x * 3 + 2]);
    }
}

TEST(HdrSource, UndoesExposureAndCorrection)
{
    const std::vector<float> expected = {1.5f / 4, 1.5f / 8, 2.5f};
    EXPECT_EQ(expected, ReadHdr(Header("-Y 1 +X 1", "EXPOSURE=2\nEXPOSURE= 2.0\n"
                                                    "COLORCORR= 1 2 0.25\n") +
                                Bytes({1, 1, 2, 136})));
}

TEST(HdrSource, TellsOrientationAndPrimaries)
{
    // Scanlines run along the second axis; Y grows upward.
    const struct {
        const char* resolution;
        int orientation;
    } cases[] = {{"-Y 2 +X 1", 1}, {"-Y 2 -X 1", 2}, {"+Y 2 -X 1", 3}, {"+Y 2 +X 1", 4},
                 {"+X 2 -Y 1", 5}, {"-X 2 -Y 1", 6}, {"-X 2 +Y 1", 7}, {"+X 2 +Y 1", 8}};
    const Folder folder;
    for (const auto& c : cases) {
        samples::WriteBytes(folder / "a.hdr",
                            Header(c.resolution, "PRIMARIES=.708 .292 .17 .797 .131 .046 .3127 "
                                                 ".329\n") +
                                Bytes({9, 9, 9, 136, 9, 9, 9, 136}));
        const SourceDescription description = OpenImage(folder / "a.hdr", {100})->Describe();
        EXPECT_EQ(c.orientation, description.orientation) << c.resolution;
        EXPECT_EQ(1, description.size.width);
        EXPECT_EQ("bt2020", NameOfPrimaries(*description.tags.chromaticities));
    }
}

TEST(HdrSource, RefusesDamage)
{
    const std::string pixel = Bytes({9, 9, 9, 136});
    const std::string newStart = Header("-Y 1 +X 8") + Bytes({2, 2, 0, 8});
    const struct {
        std::string content;
        const char* reason;
    } cases[] = {
        {Header("-Y 1 +X"), "resolution line"},
        {Header("-Y 1 +X -1") + pixel, "no pixels"},
        {Header("-Y 1 +Y 1") + pixel, "resolution line"},
        {Header("-Y 1 +X 1 2") + pixel, "resolution line"},
        {Header("-Y 1 +X 1", "EXPOSURE=0\n") + pixel, "line EXPOSURE of the header is not above 0"},
        {Header("-Y 1 +X 1", "EXPOSURE=abc\n") + pixel, "line EXPOSURE of the header is damaged"},
        {Header("-Y 1 +X 1", "COLORCORR=1 2\n") + pixel, "line COLORCORR of the header is damaged"},
        {Header("-Y 1 +X 1", "FORMAT=32-bit_rle_xyze\n") + pixel, "its format is 32-bit_rle_xyze"},
        {"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n", "header is damaged"},
        {Header("-Y 1 +X 2") + pixel, "ends before its last pixel"},
        // Repeats a pixel that is not there; runs past the line, in the old way and the new.
        {Header("-Y 1 +X 2") + Bytes({1, 1, 1, 1}) + pixel, "longer than its line"},
        {Header("-Y 1 +X 2") + pixel + Bytes({1, 1, 1, 2}), "longer than its line"},
        {newStart + Bytes({128 + 9, 3}), "longer than its line"},
        {newStart + Bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), "longer than its line"}, // of nothing
        {Header("-Y 1 +X 8") + Bytes({2, 2, 0, 9, 128 + 8, 3}), "states another width"},
    };
    for (const auto& c : cases) {
        const std::string error = ErrorOf([&c] { ReadHdr(c.content); });
        EXPECT_NE(std::string::npos, error.find(c.reason)) << c.content << error;
    }
}

} // namespace

} // namespace qva
