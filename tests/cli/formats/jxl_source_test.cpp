#include "colour/colour_interpretation.h"
#include "colour/icc_builder.h"
#include "colour/transfer_functions.h"
#include "formats/image_source.h"
#include "jxl_samples.h"
#include "samples.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::Folder;
using samples::JxlKind;
using samples::ReadAll;

constexpr ImageSize size = {37, 29};

std::vector<double> Ramp(int channels, double step, double modulus)
{
    std::vector<double> out;
    for (int i = 0; i < size.width * size.height * channels; ++i) {
        out.push_back(std::fmod(i * step, modulus));
    }
    return out;
}

SourceDescription Describe(const std::string& path)
{
    return OpenImage(path, {1000000})->Describe();
}

TEST(JxlSource, KeepsLosslessCodesOfEveryDepth)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    for (const int bits : {8, 10, 12, 16}) {
        for (int channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE(testing::Message() << bits << "/" << channels);
            const double largest = std::exp2(bits) - 1.0;
            const std::vector<double> codes = Ramp(channels, 7.0, largest + 1.0);
            samples::WriteJxl(path, size, codes, {.bits = bits, .channels = channels});
            const SourceDescription found = Describe(path);
            EXPECT_EQ(bits, found.bits);
            EXPECT_EQ(channels < 3, found.isGrey);
            EXPECT_EQ(channels % 2 == 0, found.hasAlpha);
            EXPECT_EQ(bits == 8 ? 255.0 : 65535.0, FullScale(found));
            const std::vector<float> read = ReadAll(path, 4);
            for (std::size_t i = 0; i < read.size(); ++i) {
                const std::size_t place = i / 3 * static_cast<std::size_t>(channels);
                const double code = codes[place + (channels < 3 ? 0 : i % 3)];
                // Other depths than the delivered ones are stretched in floats, and rounded once.
                ASSERT_NEAR(code * FullScale(found) / largest, read[i], 0.51) << i;
            }
        }
    }
}

TEST(JxlSource, KeepsFloatsBeyondOne)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    std::vector<double> light = Ramp(3, 0.25, 100.0);
    light[4] = -0.5;
    samples::WriteJxl(path, size, light,
                      {.bits = 32, .isFloat = true, .transfer = JXL_TRANSFER_FUNCTION_LINEAR});
    EXPECT_EQ(std::vector<float>(light.begin(), light.end()), ReadAll(path, 5));
    EXPECT_TRUE(Describe(path).isFloat);
}

TEST(JxlSource, TellsWhatColoursMean)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    const struct {
        JxlTransferFunction transfer;
        JxlPrimaries primaries;
        Transfer expected;
        const char* name;
    } cases[] = {{JXL_TRANSFER_FUNCTION_PQ, JXL_PRIMARIES_2100, Transfer::Pq, "bt2020"},
                 {JXL_TRANSFER_FUNCTION_HLG, JXL_PRIMARIES_2100, Transfer::Hlg, "bt2020"},
                 {JXL_TRANSFER_FUNCTION_LINEAR, JXL_PRIMARIES_SRGB, Transfer::Linear, "bt709"},
                 {JXL_TRANSFER_FUNCTION_SRGB, JXL_PRIMARIES_P3, Transfer::Srgb, "display-p3"}};
    for (const auto& c : cases) {
        for (const bool isLossless : {true, false}) {
            SCOPED_TRACE(testing::Message() << c.transfer << "/" << isLossless);
            samples::WriteJxl(
                path, size, Ramp(3, 31.0, 65536.0),
                {.isLossless = isLossless, .transfer = c.transfer, .primaries = c.primaries});
            const Interpretation meaning = Interpret(Describe(path), {});
            EXPECT_EQ(c.expected, meaning.transfer);
            EXPECT_EQ(c.name, NameOfPrimaries(meaning.primaries));
            EXPECT_EQ("colour encoding", meaning.transferFrom);
        }
    }
    samples::WriteJxl(path, size, Ramp(3, 31.0, 65536.0), {.profile = RenderedProfile()});
    EXPECT_EQ(RenderedProfile(), Describe(path).tags.profile);
}

TEST(JxlSource, TellsTheLightOfOne)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    const auto white = [&](const JxlKind& kind) {
        samples::WriteJxl(path, size, Ramp(3, 31.0, 65536.0), kind);
        return Interpret(Describe(path), {}).signalOneLuminance;
    };
    EXPECT_EQ(400.0, white({.intensity = 400.0f}));
    EXPECT_EQ(10000.0, white({.intensity = 4000.0f, .transfer = JXL_TRANSFER_FUNCTION_PQ}));
    EXPECT_EQ(600.0, white({.intensity = 600.0f, .transfer = JXL_TRANSFER_FUNCTION_HLG}));
    // What the encoder writes where nobody says anything.
    EXPECT_EQ(defaultWhite, white({}));
}

TEST(JxlSource, KeepsWhatDescribesThePicture)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    const std::vector<double> codes = Ramp(4, 31.0, 65536.0);
    const std::vector<unsigned char> exif = {'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    // Longer than the first buffer.
    const std::string xmp = "<x:xmpmeta>" + std::string(100000, ' ') + "</x:xmpmeta>";
    for (const bool hasContainer : {false, true}) {
        samples::WriteJxl(path, size, codes,
                          {.channels = 4,
                           .hasContainer = hasContainer,
                           .orientation = 6,
                           .frames = 2,
                           .exif = hasContainer ? exif : std::vector<unsigned char>(),
                           .xmp = hasContainer ? xmp : ""});
        const auto source = OpenImage(path, {1000000});
        const SourceDescription found = source->Describe();
        EXPECT_EQ(6, found.orientation);
        EXPECT_EQ(size.width, found.size.width);
        EXPECT_TRUE(found.hasMorePictures);
        EXPECT_TRUE(found.hasAlpha);
        EXPECT_EQ(hasContainer ? exif : std::vector<unsigned char>(), found.metadata.exif);
        EXPECT_EQ(hasContainer ? xmp : "",
                  std::string(found.metadata.xmp.begin(), found.metadata.xmp.end()));
        // Rows as stored: the turn is the caller's. Opened again, it starts over.
        std::vector<float> row(static_cast<std::size_t>(size.width * 3));
        source->SkipRows(size.height);
        source->Open(path, {1000000});
        source->SkipRows(3);
        source->ReadRows(1, row.data());
        EXPECT_EQ(codes[3 * 37 * 4 + 5], row[4]);
    }
}

TEST(JxlSource, LossyLightIsThatOfThePicture)
{
    const Folder folder;
    const std::string path = folder / "a.jxl";
    std::vector<double> codes;
    for (int i = 0; i < size.width * size.height; ++i) {
        const auto x = static_cast<double>(i % size.width);
        const auto y = static_cast<double>(i / size.width);
        codes.insert(codes.end(), {300.0 + 9.0 * x, 250.0 + 12.0 * y, 480.0});
    }
    samples::WriteJxl(path, size, codes,
                      {.bits = 10,
                       .isLossless = false,
                       .intensity = 10000.0f,
                       .transfer = JXL_TRANSFER_FUNCTION_PQ,
                       .primaries = JXL_PRIMARIES_2100});
    SetReaderThreads(3);
    const std::vector<float> shared = ReadAll(path, 6);
    SetReaderThreads(0);
    const std::vector<float> alone = ReadAll(path, 6);
    EXPECT_EQ(alone, shared);
    double error = 0.0;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        error += std::abs(alone[i] / 65535.0 - codes[i] / 1023.0);
    }
    EXPECT_GT(0.004, error / static_cast<double>(codes.size()));
}

} // namespace

} // namespace qva
