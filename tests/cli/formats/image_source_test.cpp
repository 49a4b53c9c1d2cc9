#include "formats/image_source.h"

#include "colour/icc_builder.h"
#include "picture_kinds.h"
#include "samples.h"

#include <Imath/half.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::ErrorOf;
using samples::Folder;
using samples::ReadAll;

constexpr ImageSize size = {19, 21}; // neither a multiple of tiles nor of strips

std::vector<double> Ramp(int channels, double step)
{
    std::vector<double> out;
    for (int i = 0; i < size.width * size.height * channels; ++i) {
        out.push_back(i * step);
    }
    return out;
}

/// What a reader gives for samples of so many channels: grey repeated, alpha left out.
std::vector<float> Expected(const std::vector<double>& samples, int channels)
{
    std::vector<float> out;
    for (std::size_t i = 0; i < samples.size(); i += static_cast<std::size_t>(channels)) {
        for (std::size_t k = 0; k < 3; ++k) {
            out.push_back(static_cast<float>(samples[i + (channels < 3 ? 0 : k)]));
        }
    }
    return out;
}

SourceDescription Describe(const std::string& path)
{
    return OpenImage(path, {1000000})->Describe();
}

TEST(TiffSource, ReadsEveryLayout)
{
    const Folder folder;
    const std::string path = folder / "a.tif";
    for (const bool isPlanar : {false, true}) {
        for (const bool isTiled : {false, true}) {
            const samples::TiffKind kinds[] = {
                {.bits = 16, .channels = 3},
                {.bits = 16, .channels = 4, .isBigEndian = true},
                {.bits = 16, .channels = 1, .photometric = 1},
                {.bits = 16, .channels = 2, .photometric = 1},
                {.bits = 16, .isFloat = true},
                {.bits = 32, .isFloat = true, .channels = 4, .isBigEndian = true},
                {.bits = 8, .channels = 3},
            };
            for (samples::TiffKind kind : kinds) {
                SCOPED_TRACE(testing::Message() << kind.bits << "/" << kind.channels << "/"
                                                << isPlanar << isTiled << kind.isFloat);
                kind.isPlanar = isPlanar;
                kind.isTiled = isTiled;
                // Half floats carry steps of 0.25 exactly up to 512.
                const double step = kind.bits == 8 ? 0.1 : kind.isFloat ? 0.25 : 40.0;
                std::vector<double> values = Ramp(kind.channels, step);
                for (double& value : values) {
                    value = kind.isFloat ? value : std::floor(value);
                }
                samples::WriteTiff(path, size, values, kind);
                const std::vector<float> expected = Expected(values, kind.channels);
                EXPECT_EQ(expected, ReadAll(path, 1));
                EXPECT_EQ(expected, ReadAll(path, 5));
                EXPECT_EQ(kind.channels % 2 == 0, Describe(path).hasAlpha);
            }
        }
    }
}

TEST(TiffSource, TellsOrientationAndRefusesOtherSamples)
{
    const Folder folder;
    samples::WriteTiff(folder / "a.tif", size, Ramp(3, 1), {.orientation = 6});
    EXPECT_EQ(6, Describe(folder / "a.tif").orientation);
    // Min-is-white.
    samples::WriteTiff(folder / "b.tif", size, Ramp(1, 1), {.channels = 1, .photometric = 0});
    const std::string error = ErrorOf([&] { Describe(folder / "b.tif"); });
    EXPECT_NE(std::string::npos, error.find("photometric")) << error;
}

TEST(PngSource, ReadsEveryKind)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    for (const int bits : {8, 16}) {
        for (int channels = 1; channels <= 4; ++channels) {
            for (const bool interlaced : {false, true}) {
                SCOPED_TRACE(testing::Message() << bits << "/" << channels << "/" << interlaced);
                std::vector<double> values = Ramp(channels, bits == 8 ? 0.15 : 41.0);
                for (double& value : values) {
                    value = std::floor(value);
                }
                samples::WritePng(path, size, values,
                                  {.bits = bits, .channels = channels, .interlaced = interlaced});
                EXPECT_EQ(Expected(values, channels), ReadAll(path, 4));
                EXPECT_EQ(bits, Describe(path).bits);
            }
        }
    }
}

TEST(PngSource, FindsWhatChunksSay)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    const auto write = [&](std::vector<samples::Chunk> chunks) {
        samples::WritePng(path, size, Ramp(3, 1), {.chunks = std::move(chunks)});
    };
    write({{"cICP", {9, 16, 0, 1}}, {"gAMA", {0, 0, 0xb1, 0x8f}}});
    ASSERT_TRUE(Describe(path).tags.codePoints);
    EXPECT_EQ(16, Describe(path).tags.codePoints->transfer);
    EXPECT_TRUE(Describe(path).tags.codePoints->fullRange);
    write({{"cICP", {9, 18, 0, 0}}});
    EXPECT_FALSE(Describe(path).tags.codePoints->fullRange);
    write({{"cICP", {9, 16, 0, 1}}, {"gAMA", {0, 0, 0xb1, 0x8f}}});
    EXPECT_NEAR(2.2, *Describe(path).tags.gamma, 0.001);
    write({{"cICP", {9, 16, 0}}});
    EXPECT_NE(std::string::npos, ErrorOf([&] { Describe(path); }).find("cICP"));
    // BT.2020 and 1000 to 0.0001 cd/m2; 1234.5678 and an unknown average.
    write({{"mDCV", {0x8a, 0x48, 0x39, 0x08, 0x21, 0x34, 0x9b, 0xaa, 0x19, 0x96, 0x08, 0xfc,
                     0x3d, 0x13, 0x40, 0x42, 0x00, 0x98, 0x96, 0x80, 0x00, 0x00, 0x00, 0x01}},
           {"cLLI", {0x00, 0xbc, 0x61, 0x4e, 0, 0, 0, 0}}});
    const std::vector<Finding> findings = Describe(path).findings;
    ASSERT_EQ(2u, findings.size());
    EXPECT_EQ("bt2020 primaries, 0.0001 to 1000 cd/m2 (mDCV chunk)", findings[0].text);
    EXPECT_EQ("brightest pixel 1234.57 cd/m2, frame average not stated (cLLI chunk)",
              findings[1].text);
    write({{"mDCV", {1, 2, 3}}, {"cLLI", {4}}});
    EXPECT_EQ(0u, Describe(path).findings.size());
    EXPECT_EQ(2u, Describe(path).notes.size());
    // Exif data of one entry in either byte order: tag 274, type 3, one value, 8 and 3.
    write({{"eXIf",
            {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 18, 0, 3, 0, 0, 0, 1, 0, 8, 0, 0, 0, 0, 0, 0}}});
    EXPECT_EQ(8, Describe(path).orientation);
    write({{"eXIf",
            {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 18, 1, 3, 0, 1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0}}});
    EXPECT_EQ(3, Describe(path).orientation);
    // A directory said to lie outside the data.
    write({{"eXIf", {'I', 'I', 42, 0, 0xff, 0xff, 0xff, 0xff, 1, 0, 18, 1, 3, 0}}});
    EXPECT_EQ(1, Describe(path).orientation);
    samples::WritePng(path, size, Ramp(3, 1), {.profile = RenderedProfile()});
    EXPECT_EQ(RenderedProfile(), Describe(path).tags.profile);
}

TEST(ExrSource, ReadsHalvesAndFloats)
{
    const Folder folder;
    const std::string path = folder / "a.exr";
    const std::vector<double> values = Ramp(3, 0.25);
    const std::vector<float> floats(values.begin(), values.end());
    for (const bool isHalf : {true, false}) {
        for (const bool isGrey : {true, false}) {
            samples::WriteExr(path, size, floats, {.isHalf = isHalf, .isGrey = isGrey});
            std::vector<float> expected = floats;
            for (std::size_t i = 0; isGrey && i < expected.size(); ++i) {
                expected[i] = floats[i - i % 3];
            }
            EXPECT_EQ(expected, ReadAll(path, 4)) << isHalf << isGrey;
        }
    }
}

TEST(ExrSource, PicturesTheDisplayWindow)
{
    const Folder folder;
    const std::string path = folder / "a.exr";
    const std::vector<float> values = {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4};
    samples::WriteExr(path, {2, 2}, values, {.displayLeft = 1, .displayTop = -1});
    // Above the data black, then its first row from the second column on.
    const std::vector<float> expected = {0, 0, 0, 0, 0, 0, 2, 2, 2, 0, 0, 0};
    EXPECT_EQ(expected, ReadAll(path, 1));
    EXPECT_EQ(expected, ReadAll(path, 2));
}

TEST(ExrSource, TellsColour)
{
    const Folder folder;
    samples::WriteExr(
        folder / "a.exr", {2, 2}, std::vector<float>(12),
        {.chromaticities = {0.713f, 0.293f, 0.165f, 0.830f, 0.128f, 0.044f, 0.32168f, 0.33767f},
         .whiteLuminance = 120.0f});
    const ColourTags tags = Describe(folder / "a.exr").tags;
    EXPECT_EQ("acescg", NameOfPrimaries(*tags.chromaticities));
    EXPECT_EQ(120.0, *tags.whiteLuminance);
}

TEST(OpenImage, GoesByContentAndNamesTheFile)
{
    const Folder folder;
    samples::WritePng(folder / "png.tif", size, Ramp(3, 1), {});
    EXPECT_EQ("PNG", Describe(folder / "png.tif").format);
    samples::WriteBytes(folder / "empty", "");
    samples::WriteBytes(folder / "text", "hello");
    const struct {
        std::string path;
        const char* reason;
    } cases[] = {{folder / "none", "no such file"},
                 {folder / "empty", "is empty"},
                 {folder / "text", "is not an"},
                 {folder / "", "is a directory"},
                 {"/dev/null", "not a regular file"}};
    for (const auto& c : cases) {
        const std::string error = ErrorOf([&c] { Describe(c.path); });
        EXPECT_TRUE(error.starts_with(c.path + ": ")) << error;
        EXPECT_NE(std::string::npos, error.find(c.reason)) << error;
    }
}

TEST(OpenImage, RefusesDamageAndSizeInEveryFormat)
{
    const Folder folder;
    const std::vector<double> values = Ramp(3, 41.0);
    samples::WritePng(folder / "a.png", size, values, {});
    samples::WriteTiff(folder / "a.tif", size, values, {});
    samples::WriteExr(folder / "a.exr", size, {values.begin(), values.end()}, {});
    samples::WriteBytes(folder / "a.hdr",
                        "#?RADIANCE\n\n-Y 21 +X 19\n" + std::string(21 * 19 * 4, 'a'));
    for (const char* name : {"a.png", "a.tif", "a.exr", "a.hdr"}) {
        SCOPED_TRACE(name);
        const std::string path = folder / name;
        ASSERT_EQ("", ErrorOf([&] { ReadAll(path); }));
        const std::string whole = samples::Content(path);
        const std::string limited = ErrorOf([&] { OpenImage(path, {19 * 21 - 1}); });
        EXPECT_NE(std::string::npos, limited.find("--max-pixels")) << limited;
        const std::string narrow = ErrorOf([&] { OpenImage(path, {19 * 21, 20}); });
        EXPECT_NE(std::string::npos, narrow.find("--max-side")) << narrow;
        EXPECT_EQ("", ErrorOf([&] { OpenImage(path, {19 * 21, 21}); }));
        for (const std::size_t keep : {whole.size() * 2 / 3, whole.size() / 2, std::size_t{30}}) {
            samples::WriteBytes(path, whole.substr(0, keep));
            const std::string error = ErrorOf([&] { ReadAll(path, 4); });
            EXPECT_TRUE(error.starts_with(path + ": ")) << keep << error;
        }
    }
    const std::string longer = ErrorOf([] { CheckSize("a", {std::int64_t{1} << 31, 1}, {~0ULL}); });
    EXPECT_NE(std::string::npos, longer.find("2147483648 x 1 pixels: a side is longer")) << longer;
    EXPECT_EQ("a: the picture has no pixels", ErrorOf([] { CheckSize("a", {0, 5}, {~0ULL}); }));
}

// In runs of one and of several rows, as floats and in 16 bits.
TEST(ImageSource, DeliversTheSameSamplesIn16Bits)
{
    const samples::Folder folder;
    samples::WritePictureKinds(folder / "");
    int halves = 0;
    int codes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "")) {
        SCOPED_TRACE(entry.path().filename());
        const std::unique_ptr<ImageSource> source = OpenImage(entry.path().string(), {10000000});
        const SampleKind kind = source->Samples();
        if (kind == SampleKind::Floats) {
            continue;
        }
        ++(kind == SampleKind::Halves ? halves : codes);
        const ImageSize stored = source->Size();
        const auto row = static_cast<std::size_t>(stored.width * 3);
        std::vector<std::uint16_t> read(row * static_cast<std::size_t>(stored.height));
        source->ReadSamples(1, read.data());
        source->ReadSamples(stored.height - 1, read.data() + row);
        const std::vector<float> expected = samples::ReadAll(entry.path().string());
        ASSERT_EQ(expected.size(), read.size());
        for (std::size_t i = 0; i < read.size(); ++i) {
            const float value = kind == SampleKind::Halves ? imath_half_to_float(read[i]) : read[i];
            ASSERT_TRUE(value == expected[i] || (std::isnan(value) && std::isnan(expected[i])))
                << i;
        }
    }
    EXPECT_LT(2, halves);
    EXPECT_LT(8, codes);
}

} // namespace

} // namespace qva
